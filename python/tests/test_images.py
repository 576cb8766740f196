"""How arrays are handed over: slices without a copy, and nothing but their pixels written."""

import ctypes
import mmap
import sys

import numpy as np
import pytest
from conftest import random_image

import mox
from mox import _images
from mox._library import lib

SLICES = {
    "all": np.s_[:, :],
    "rows": np.s_[3:9],
    "columns": np.s_[:, 4:9],
    "last columns": np.s_[:, 20:],
    "corner": np.s_[15:, 20:],
    "middle": np.s_[2:12, 4:9],
    "every second row": np.s_[::2],
    "a channel": np.s_[..., 1],
    "a channel of a corner": np.s_[15:, 20:, 2],
    "every second column of a channel": np.s_[:, ::2, 0],
    "one pixel": np.s_[19:, 29:],
    "one row": np.s_[19:],
    "one column": np.s_[:, 29:],
}
COPIED = {
    "columns from the right": np.s_[:, ::-1],
    "some channels": np.s_[..., :2],
    "every second column": np.s_[:, ::2],
}


@pytest.fixture
def copies(monkeypatch):
    """Counts arrays that are copied before a call."""
    count = []
    original = _images._lend_copy
    monkeypatch.setattr(_images, "_lend_copy", lambda *a: count.append(1) or original(*a))
    return count


@pytest.fixture
def base():
    return random_image(5, (20, 30, 3), np.uint8)


@pytest.mark.parametrize("name", [*SLICES, *COPIED])
def test_slices_of_single_samples(name, base, copies):
    part = {**SLICES, **COPIED}[name]
    before = base.copy()
    source = random_image(6, base.shape, np.uint8)
    expected = ~source[part]
    np.testing.assert_array_equal(mox.invert(source[part]), expected)
    copied = len(copies)
    assert copied == (1 if name in COPIED else 0)

    mox.invert(source[part], out=base[part])
    after = before.copy()
    after[part] = expected
    np.testing.assert_array_equal(base, after)
    assert len(copies) - copied == (2 if name in COPIED else 0)

    cover = random_image(7, expected.shape[:2], bool)
    base[:] = before
    mox.invert(source[part], out=base[part], mask=cover)
    after = before.copy()
    after[part][cover] = expected[cover]
    np.testing.assert_array_equal(base, after)


@pytest.mark.parametrize("name", ["rows", "columns", "corner", "middle", "every second row"])
def test_slices_of_windows_are_images_of_their_own(name, base):
    part = SLICES[name]
    for border in (None, "replicate", "reflect"):
        expected = mox.blur(np.ascontiguousarray(base[part]), (5, 3), border=border)
        np.testing.assert_array_equal(mox.blur(base[part], (5, 3), border=border), expected)
        target = np.zeros_like(base)
        mox.blur(base[part], (5, 3), target[part], border=border)
        np.testing.assert_array_equal(target[part], expected)
        target[part] = 0
        assert not target.any()


def test_windows_copy_only_where_memory_ends(base, copies):
    mox.blur(base[:-1, 4:9], 3)
    assert not copies
    mox.blur(base[:, 4:9], 3)
    assert len(copies) == 1


def test_regions_read_their_surroundings(base):
    whole = mox.blur(base, (5, 5), border="reflect")
    target = np.zeros_like(base)
    region = (4, 2, 10, 12)
    mox.blur(mox.Image(base, region=region), (5, 5), mox.Image(target, region=region),
             border="reflect")
    np.testing.assert_array_equal(target[2:14, 4:14], whole[2:14, 4:14])
    target[2:14, 4:14] = 0
    assert not target.any()


@pytest.mark.parametrize("part", [np.s_[:], np.s_[1:], np.s_[:, 2:5], np.s_[:, :, 3:9],
                                  np.s_[1:, 2:7, 20:], np.s_[:, ::-1]])
def test_planes(part, copies):
    base = random_image(8, (3, 20, 30), np.int16)
    before = base.copy()
    expected = ~base[part]
    np.testing.assert_array_equal(mox.invert(base[part], planes=True), expected)
    mox.invert(base[part], out=base[part], planes=True)
    before[part] = expected
    np.testing.assert_array_equal(base, before)
    assert not copies


def test_reversed_rows(base, copies):
    turned = base[::-1]
    result = mox.add(turned, turned)
    np.testing.assert_array_equal(result, np.minimum(turned.astype(int) * 2, 255))
    target = np.zeros_like(base)[::-1]
    cover = random_image(9, base.shape[:2], bool)
    mox.invert(turned, target, mask=cover)
    np.testing.assert_array_equal(target, np.where(cover[..., None], ~turned, 0))
    assert not copies
    # Beside an image in the usual order they are copied.
    np.testing.assert_array_equal(mox.add(turned, base), np.minimum(turned.astype(int) + base, 255))
    assert len(copies) == 1


def test_other_strides(base):
    for view in (base.transpose(1, 0, 2), np.asfortranarray(base[..., 0]),
                 np.broadcast_to(base[:1], base.shape), base[5:15].transpose(2, 0, 1)[0]):
        np.testing.assert_array_equal(mox.invert(view), ~view)
    columns = np.zeros((30, 20, 3), np.uint8).transpose(1, 0, 2)
    mox.invert(base, out=columns)
    np.testing.assert_array_equal(columns, ~base)


def test_unaligned_samples():
    memory = np.zeros(1 + 7 * 9 * 4, np.uint8)
    odd = memory[1:].view(np.int32).reshape(7, 9)
    odd[:] = random_image(3, (7, 9), np.int32)
    np.testing.assert_array_equal(mox.invert(odd), ~odd)
    np.testing.assert_array_equal(mox.blur(odd, 3), mox.blur(odd.copy(), 3))


def test_subclasses(tmp_path, base):
    stored = np.memmap(tmp_path / "pixels", np.uint8, "w+", shape=base.shape)
    stored[:] = base
    np.testing.assert_array_equal(mox.invert(stored), ~base)
    mox.invert(stored[2:9, 3:5], out=stored[2:9, 3:5])
    np.testing.assert_array_equal(stored[2:9, 3:5], ~base[2:9, 3:5])
    with pytest.raises(TypeError, match="masked"):
        mox.invert(np.ma.array(base))


def test_overlaps():
    base = random_image(10, (30, 40), np.uint8)
    for source, target in ((np.s_[:-1], np.s_[1:]), (np.s_[1:], np.s_[:-1]),
                           (np.s_[:, :-1], np.s_[:, 1:]), (np.s_[:], np.s_[:])):
        for call in (mox.invert, lambda a, out: mox.blur(a, 3, out),
                     lambda a, out: mox.median_filter(a, 3, out),
                     lambda a, out: mox.mirror(a, 0, out), lambda a, out: mox.add(a, a, out),
                     lambda a, out: mox.dct(a, out)):
            memory = base.copy()
            call(memory[source], out=memory[target])
            expected = base.copy()
            result = np.empty_like(base[source])
            call(base[source].copy(), out=result)
            expected[target] = result
            np.testing.assert_array_equal(memory, expected)


def test_headers_are_kept_and_bounded():
    _images.sets.clear()
    for size in range(1, 600):
        mox.invert(np.zeros((1, size), np.uint8))
    assert 0 < len(_images.sets) <= 501
    a = np.zeros((4, 4), np.uint8)
    for _ in range(50):
        mox.add(a, a)
    assert len(_images.sets[a.shape, a.strides, a.dtype, 3]) == 1


def test_address():
    for array in (np.zeros(3), np.zeros((4, 5))[1:, 2:], np.zeros((2, 2), np.uint8)):
        assert _images.address(array) == array.__array_interface__["data"][0]
        assert _images.address(array) == array.ctypes.data


@pytest.mark.skipif(sys.platform == "win32", reason="pages are protected by mprotect")
@pytest.mark.parametrize("shape", [(16, 48, 3), (7, 1170), (3, 16, 48)])
def test_nothing_beyond_the_array_is_touched(shape):
    """The array ends with its page, and the next page is not to be read or written."""
    page = mmap.PAGESIZE
    memory = mmap.mmap(-1, 4 * page)
    everything = np.frombuffer(memory, np.uint8)
    protect = ctypes.CDLL(None).mprotect
    start = ctypes.c_void_p(everything.ctypes.data + 3 * page)
    assert protect(start, ctypes.c_size_t(page), 0) == 0
    try:
        size = int(np.prod(shape))
        array = everything[3 * page - size:3 * page].reshape(shape)
        array[:] = random_image(4, shape, np.uint8)
        planes = shape[0] == 3
        for view in (array, array[..., 5:] if array.ndim == 2 or planes else array[:, 5:],
                     array[2:, 7:] if not planes else array[:, 2:, 7:]):
            copy = np.array(view)
            for call in (mox.invert, lambda a, **k: mox.add(a, a, **k),
                         lambda a, **k: mox.blur(a, 5, **k),
                         lambda a, **k: mox.median_filter(a, 3, border="reflect", **k),
                         lambda a, **k: mox.mirror(a, 1, **k),
                         lambda a, **k: mox.rotate(a, 20, interpolation="cubic", **k),
                         lambda a, **k: mox.threshold(a, 99, np.uint8, **k)):
                np.testing.assert_array_equal(call(view, planes=planes),
                                              call(copy, planes=planes))
            mox.invert(view, out=view, planes=planes)
            np.testing.assert_array_equal(view, ~copy)
    finally:
        protect(start, ctypes.c_size_t(page), mmap.PROT_READ | mmap.PROT_WRITE)


def test_image_tells_itself():
    image = mox.Image(np.zeros((4, 6, 3), np.uint8), region=(1, 1, 2, 2), sequence="BGR")
    assert "BGR" in repr(image) and "region" in repr(image)
    with pytest.raises(ValueError, match="region"):
        mox.Image(np.zeros((4, 6), np.uint8), region=(5, 0, 2, 2))
    with pytest.raises(ValueError, match="packed"):
        mox.Image(np.zeros((4, 2), np.uint8), bits=17)


def test_version():
    assert mox.library_version().startswith("2.")
    assert lib.moxGetCycleCounter() <= lib.moxGetCycleCounter()


def test_one_channel_of_pixels_goes_everywhere(base):
    """What a single channel is handed over as depends on what the function takes."""
    view, copy = base[3:, 2:, 2], base[3:, 2:, 2].copy()
    other = random_image(11, copy.shape, np.uint8)
    bits = other > 99
    for call in (mox.absolute, mox.square, lambda a: mox.add(a, 1), mox.fft, mox.dct,
                 lambda a: mox.add(a, other), lambda a: mox.multiply_scale(a, other),
                 lambda a: mox.norm(a, other), lambda a: mox.norm(other, a),
                 lambda a: mox.norm(a, mask=bits), mox.histogram, mox.equalize,
                 lambda a: mox.histogram(a, [0, 99, 256]), lambda a: mox.less(other, a),
                 lambda a: mox.contrast_stretch(a, [0, 256], [255, 0], [-1, 0]),
                 lambda a: mox.threshold(a, 99), lambda a: mox.scale(a, np.int16),
                 lambda a: mox.scale_float(a), lambda a: mox.convert(a, np.int8),
                 lambda a: mox.reduce_bits(a), lambda a: mox.reduce_bits(a, np.uint8, levels=3),
                 lambda a: mox.moments(a).cells(), lambda a: mox.resize(a, (9, 7)),
                 lambda a: mox.mirror(a, 1), lambda a: mox.erode(a), lambda a: mox.blur(a, 3),
                 lambda a: mox.rotate(a, 10), lambda a: mox.process(a, lambda v: v // 2),
                 lambda a: mox.uniform_noise(a, 1, 0, 9), lambda a: mox.copy(a),
                 lambda a: mox.Wavelet("haar").decompose(a)[1], lambda a: mox.to_dib(a, 8),
                 lambda a: mox.gray_to_rgb(a), lambda a: mox.correlate(a, copy[3:7, 3:7])):
        np.testing.assert_array_equal(call(view), call(copy))
    for call in (mox.absolute, mox.invert, mox.equalize, mox.fft, mox.copy,
                 lambda a, out: mox.reduce_bits(a, levels=3, out=out),
                 lambda a, out: mox.blur(a, 3, out), lambda a, out: mox.mirror(a, 1, out),
                 lambda a, out: mox.threshold(a, 9, out=out),
                 lambda a, out: mox.resize(a, out=out)):
        expected = np.zeros_like(copy)
        call(other, out=expected)
        target = base.copy()
        call(other, out=target[3:, 2:, 2])
        changed = base.copy()
        changed[3:, 2:, 2] = expected
        np.testing.assert_array_equal(target, changed)


def test_regions_of_functions_that_take_none(base):
    region = (4, 2, 10, 12)
    part = np.s_[2:14, 4:14]
    image = mox.Image(base, region=region)
    np.testing.assert_array_equal(mox.convert(image, np.int16, np.empty((12, 10, 3), np.int16)),
                                  base[part])
    target = np.zeros(base.shape, np.int16)
    mox.convert(image, out=mox.Image(target, region=region))
    np.testing.assert_array_equal(target[part], base[part])
    target[part] = 0
    assert not target.any()
    np.testing.assert_array_equal(mox.rgb_to_hls(image).array, mox.rgb_to_hls(base[part].copy()))
    np.testing.assert_array_equal(mox.dct(image, np.empty((12, 10, 3), np.float32)),
                                  mox.dct(base[part].copy()))
    with pytest.raises(ValueError, match="packed"):
        mox.convert(mox.Image(np.zeros((9, 9), np.uint8), bits=70, region=(1, 1, 5, 5)), np.uint8)


def test_pixels_of_planes_with_alpha(base):
    planes = mox.Image(base.transpose(2, 0, 1).copy(), planes=True, alpha=True)
    seen = set()

    def look(pixel, result):
        seen.add(pixel.size)
        result[:] = 255 - pixel

    result = mox.process_pixels(planes, look)
    assert seen == {2}
    np.testing.assert_array_equal(result.array[:2], ~planes.array[:2])
    np.testing.assert_array_equal(result.array[2], planes.array[2])


def test_a_changed_image_is_looked_at_again():
    image = mox.Image(np.zeros((4, 2), np.uint8), bits=16)
    image.bits = 999
    with pytest.raises(ValueError, match="bits"):
        mox.invert(image)


def test_windows_of_reversed_rows(base):
    kernel = np.array([[1, 2, 3], [0, 0, 0], [0, 0, 0]])
    turned = base[::-1]
    expected = mox.convolve(turned.copy(), kernel, shift=2)
    assert (expected != mox.convolve(base, kernel, shift=2)[::-1]).any()
    np.testing.assert_array_equal(mox.convolve(turned, kernel, shift=2), expected)
    target = np.zeros_like(base)[::-1]
    mox.convolve(turned, kernel, target, shift=2)
    np.testing.assert_array_equal(target, expected)
    np.testing.assert_array_equal(mox.rotate(turned, 30), mox.rotate(turned.copy(), 30))
