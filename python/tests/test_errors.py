"""What is refused, and how it is said."""

import pickle
import threading

import numpy as np
import pytest

import mox
from mox import _records as records
from mox._library import lib


def test_an_error_tells_status_function_and_message():
    a = np.zeros((4, 5), np.float32)
    with pytest.raises(mox.Error) as caught:
        mox.bitwise_and(a, a)
    error = caught.value
    assert error.status == -5
    assert error.function == "moxAnd"
    assert error.message == "This function does not support depth 32F"
    assert error.reports == ((-5, "moxAnd", "This function does not support depth 32F"),)
    assert "moxAnd: This function does not support depth 32F" in str(error)
    again = pickle.loads(pickle.dumps(error))
    assert (again.status, again.function, again.message) == (-5, error.function, error.message)


def test_all_reports_of_a_call():
    with pytest.raises(mox.Error) as caught:
        mox.zoom(np.zeros((20, 20), np.int16), (40, 40))
    assert caught.value.status == -5
    assert len(caught.value.reports) == 2 and caught.value.reports[1][0] == -1


def test_the_status_is_cleared():
    with pytest.raises(mox.Error):
        mox.blur(np.zeros((4, 5), np.uint8), 3, anchor=7)
    assert lib.moxGetErrStatus() == 0
    a = np.arange(20, dtype=np.uint8).reshape(4, 5)
    np.testing.assert_array_equal(mox.copy(a), a)
    np.testing.assert_array_equal(mox.median_filter(a, 1), a)


def test_a_fault_of_others_does_not_keep_copies_from_working():
    a = np.arange(20, dtype=np.uint8).reshape(4, 5)
    lib.moxSetErrStatus(-2)
    try:
        np.testing.assert_array_equal(mox.copy(a, np.zeros_like(a)), a)
        for function in (mox.median_filter, mox.max_filter):
            lib.moxSetErrStatus(-2)
            np.testing.assert_array_equal(function(a, 1, np.zeros_like(a)), a)
    finally:
        lib.moxSetErrStatus(0)


def test_destinations_stay_after_an_error():
    a = np.zeros((4, 5), np.float32)
    out = np.full_like(a, 7)
    with pytest.raises(mox.Error):
        mox.bitwise_and(a, a, out)
    assert (out == 7).all()


@pytest.mark.parametrize("dtype", ["int64", "float64", "uint32", "complex64", ">i2", ">f4", object])
def test_dtypes(dtype):
    a = np.zeros((4, 5), dtype)
    for _ in range(2):
        with pytest.raises(TypeError, match="not supported"):
            mox.add(a, a)
    with pytest.raises(TypeError):
        mox.blur(np.zeros((4, 5), np.uint8), 3, a)


@pytest.mark.parametrize("thing", [None, "picture", [[1, 2], [3, 4]], 5, np.float32(3)])
def test_no_arrays(thing):
    with pytest.raises((TypeError, ValueError)):
        mox.blur(thing, 3)
    with pytest.raises((TypeError, ValueError)):
        mox.add(thing, thing)


def test_shapes():
    a = np.zeros((4, 5, 3), np.uint8)
    for other in (np.zeros((4, 5), np.uint8), np.zeros((5, 4, 3), np.uint8),
                  np.zeros((4, 5, 4), np.uint8), np.zeros((4, 5, 3, 1), np.uint8),
                  np.zeros(5, np.uint8)):
        with pytest.raises(ValueError):
            mox.add(a, other)
        with pytest.raises(ValueError):
            mox.invert(a, other)
        with pytest.raises(ValueError):
            mox.blur(a, 3, mask=other.astype(bool)) if other.ndim != 2 else mox.blur(
                a, 3, mask=other.astype(bool)[:3])
    with pytest.raises(TypeError, match="dtype"):
        mox.add(a, a.astype(np.int8))
    with pytest.raises(ValueError, match="channel"):
        mox.invert(a, channel=3)
    with pytest.raises(ValueError, match="one channel"):
        mox.invert(a.astype(bool))


@pytest.mark.parametrize("shape", [(0, 5), (5, 0), (0, 0), (4, 5, 0), (0, 5, 3)])
def test_no_pixels(shape):
    a = np.zeros(shape, np.uint8)
    for call in (lambda: mox.invert(a), lambda: mox.blur(a, 3), lambda: mox.add(a, a),
                 lambda: mox.norm(a), lambda: mox.histogram(a), lambda: mox.Image(a)):
        with pytest.raises(ValueError, match="at least one pixel"):
            call()


def test_read_only():
    a = np.zeros((4, 5), np.uint8)
    a.flags.writeable = False
    b = np.ones((4, 5), np.uint8)
    np.testing.assert_array_equal(mox.add(a, b), b)
    for call in (lambda: mox.invert(b, a), lambda: mox.fill(a, 3), lambda: mox.exchange(a, b),
                 lambda: mox.invert(b, mox.Image(a)), lambda: mox.put_pixel(a, 0, 0, 1),
                 lambda: mox.uniform_noise(b, 1, 0, 5, a), lambda: mox.premultiply(a, 1, a),
                 lambda: mox.add(b, b, a), lambda: mox.blur(b, 3, a[:, ::-1])):
        with pytest.raises(ValueError, match="read-only"):
            call()
    assert not a.any()


def test_constants():
    a = np.zeros((4, 5), np.uint8)
    for value in (2.5, "7", None):
        with pytest.raises(TypeError):
            mox.add(a, value)
    for value in (2**31, -2**31 - 1, 2**63):
        with pytest.raises(ValueError):
            mox.add(a, value)
    with pytest.raises(TypeError):
        mox.blur(a, 2.5)
    with pytest.raises(ValueError, match="border"):
        mox.blur(a, 3, border="mirror")
    with pytest.raises(ValueError, match="border"):
        mox.blur(a, 3, border=(0, 0))
    with pytest.raises(ValueError, match="interpolation"):
        mox.rotate(a, 3, interpolation="best")
    with pytest.raises(mox.Error, match="anchor"):
        mox.blur(a, 3, anchor=5)


def test_masks():
    a = np.zeros((4, 5), np.uint8)
    with pytest.raises(TypeError, match="bool"):
        mox.invert(a, mask=a)
    with pytest.raises(TypeError, match="bits"):
        mox.invert(a, mask=mox.Image(a))
    with pytest.raises(ValueError, match="mask"):
        mox.invert(a, mask=np.zeros((5, 4), bool))


def test_every_thread_is_set_up():
    """A new thread's mode would end the process with the first report."""
    a = np.zeros((4, 5), np.float32)
    caught, modes = [], []

    def work():
        for _ in range(20):
            try:
                mox.bitwise_and(a, a)
            except mox.Error as error:
                caught.append(error.function)
            mox.add(a, a)
        modes.append(lib.moxGetErrMode())

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert caught == ["moxAnd"] * 160
    assert modes == [records.MOX_ErrModeParent] * 8


def test_threads_do_not_share_headers():
    images = [np.full((50, 60), value, np.uint8) for value in range(8)]
    wrong = []

    def work(image, value):
        for _ in range(300):
            if (mox.add(image, image) != 2 * value).any():
                wrong.append(value)

    threads = [threading.Thread(target=work, args=(image, value))
               for value, image in enumerate(images)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_images_in_memory_end_at_two_gigabytes():
    """The zeros are not in memory until they are touched, which nothing does here."""
    a = np.zeros((47000, 47000), np.uint8)
    for call in (lambda: mox.invert(a, a), lambda: mox.norm(a), lambda: mox.blur(a, 3, a)):
        with pytest.raises(mox.Error) as caught:
            call()
        assert caught.value.status == -10
    part = a[46000:, 46000:]
    mox.invert(part, part)
    assert (part == 255).all() and not a[45999, 45999]
    assert mox.get_pixel(mox.Tiled(a), 46999, 46999) == 255
