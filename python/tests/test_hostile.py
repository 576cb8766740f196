"""What goes wrong in programs around the package: other threads, signals, overlaps, odd memory."""

import gc
import os
import signal
import subprocess
import sys
import threading
import time

import mox
import numpy as np
import pytest

from conftest import random_image

INTERRUPTS = pytest.mark.skipif(sys.platform == "win32", reason="signals are sent by os.kill")


# Threads -----------------------------------------------------------

@pytest.mark.parametrize("call", [
    "mox.moments(np.zeros((4, 4, 3), np.uint8))", "mox.get_pixel(np.zeros((4, 4), np.uint8), 9, 9)",
    "mox.Wavelet('daubechies', 99)", "mox.rings(0, 0)", "mox.rotate_shift((0, 0), 0)",
    "mox.quad_of((0, 0, 0, 0), np.eye(3))"])
def test_a_threads_first_call_may_fail(call):
    # The library ends the process for faults on threads that nobody has set up.
    program = f"""
import threading
import mox, numpy as np
def work():
    try:
        {call}
    except mox.Error:
        pass
thread = threading.Thread(target=work)
thread.start()
thread.join()
print("alive")
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert (done.returncode, done.stdout, done.stderr) == (0, "alive\n", "")


# Signals -----------------------------------------------------------

class Slow:
    """Counts how often it is asked, and sends a signal at a certain time."""

    def __init__(self, array, at, number):
        self.array, self.shape, self.dtype = array, array.shape, array.dtype
        self.at, self.number, self.asked = at, number, 0

    def __getitem__(self, place):
        self.asked += 1
        if self.asked == self.at:
            # It arrives while the library works, and is seen as the next callback begins.
            threading.Timer(0.02, os.kill, (os.getpid(), self.number)).start()
        return self.array[place]


@INTERRUPTS
@pytest.mark.parametrize("cache", [0, 16])
def test_an_interrupt_comes_out_of_tiles(cache):
    source = Slow(np.zeros((1024, 1024), np.uint8), 3, signal.SIGINT)
    with pytest.raises(KeyboardInterrupt):
        while source.asked < 10**6:
            mox.median_filter(mox.Tiled(source, (64, 64), cache=cache), 21)
    assert signal.getsignal(signal.SIGINT) is signal.default_int_handler


@INTERRUPTS
@pytest.mark.parametrize("function", [mox.process, mox.process_float])
def test_an_interrupt_comes_out_of_samples(function, capfd):
    def late(_):
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.02, late, (None,))
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while True:
            function(np.zeros((300, 300), np.uint8), lambda sample: sample)
    assert "ignored" not in capfd.readouterr().err


@INTERRUPTS
def test_a_callback_that_waits_is_interrupted():
    class Waits(Slow):
        def __getitem__(self, place):
            os.kill(os.getpid(), signal.SIGINT)
            time.sleep(30)

    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        mox.invert(mox.Tiled(Waits(np.zeros((64, 64), np.uint8), 0, 0)))
    assert time.monotonic() - began < 10


@INTERRUPTS
def test_a_handler_of_ones_own_raises_through_the_call():
    class Late(Exception):
        pass

    def ring(*_):
        raise Late

    before = signal.signal(signal.SIGALRM, ring)
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.03)
        with pytest.raises(Late):
            while True:
                mox.process(np.zeros((300, 300), np.uint8), lambda sample: sample)
        assert signal.getsignal(signal.SIGALRM) is ring
        quiet = mox.process(np.zeros((3, 3), np.uint8), lambda sample: sample + 1)
        assert (quiet == 1).all()
    finally:
        signal.signal(signal.SIGALRM, before)


# Memory -----------------------------------------------------------

def kept_headers():
    from mox import _images
    return sum(map(len, _images._pools.values()))


def test_headers_do_not_pile_up():
    a = np.zeros((9, 11), np.uint8)
    f = np.zeros((9, 11), np.float32)
    calls = [lambda: mox.fill(a, 1), lambda: mox.norm(a), lambda: mox.histogram(a),
             lambda: mox.min_max(f), lambda: mox.moments(a), lambda: mox.get_pixel(a, 0, 0),
             lambda: mox.put_pixel(a, 0, 0, 1), lambda: mox.uniform_noise(a, 1, 0, 5),
             lambda: mox.exchange(a, a.copy()), lambda: mox.equalize(a)]
    for call in calls:
        call()
        before = kept_headers()
        for _ in range(5):
            call()
        assert kept_headers() == before


@pytest.mark.parametrize("fails", [False, True])
def test_tiles_go_with_the_call(fails):
    class Source:
        shape, dtype = (64, 64), np.dtype(np.uint8)

        def __getitem__(self, place):
            if fails:
                raise LookupError
            return np.zeros((64, 64), np.uint8)[place]

    gc.collect()
    gc.disable()
    try:
        before = sum(type(thing).__name__ in ("_Serving", "_Tile") for thing in gc.get_objects())
        for _ in range(5):
            try:
                mox.invert(mox.Tiled(Source(), (16, 16)))
            except LookupError:
                pass
        assert before == sum(type(thing).__name__ in ("_Serving", "_Tile")
                             for thing in gc.get_objects())
    finally:
        gc.enable()


@pytest.mark.parametrize("make", [np.asfortranarray, lambda a: np.ascontiguousarray(a.T).T,
                                  lambda a: a[::-1][::-1], lambda a: np.repeat(a, 2, 1)[:, ::2]])
def test_bits_in_any_order_of_memory(make, gray):
    bits = random_image(5, (41, 53), bool)
    odd = make(bits)
    np.testing.assert_array_equal(mox.invert(odd), ~bits)
    np.testing.assert_array_equal(mox.Image.pack(odd).unpack(), bits)
    np.testing.assert_array_equal(mox.invert(gray, mask=odd), np.where(bits, ~gray, gray))
    assert mox.norm(gray, kind="l1", mask=odd) == gray[bits].sum()
    target = make(np.zeros_like(bits))
    mox.bitwise_or(odd, odd, out=target)
    np.testing.assert_array_equal(target, bits)


# Overlaps -----------------------------------------------------------

def cut(array, region):
    x, y, width, height = region
    return array[y:y + height, x:x + width].copy()


def test_regions_of_one_array_overlap(gray):
    first, second, third = (1, 1, 20, 15), (3, 2, 20, 15), (2, 3, 20, 15)
    a = gray // 2
    expected = cut(a, first) + cut(a, second)
    mox.add(mox.Image(a, region=first), mox.Image(a, region=second),
            out=mox.Image(a, region=third))
    np.testing.assert_array_equal(cut(a, third), expected)


@pytest.mark.parametrize("rule", ["over", "xor"])
def test_compositions_overlap(rule):
    big = random_image(7, (40, 30, 4), np.uint8)
    other = random_image(8, (20, 30, 4), np.uint8)
    for a_first in (True, False):
        def compose(array, out):
            pair = (array, other) if a_first else (other, array)
            return mox.composite(*pair, out=out, rule=rule)

        expected = compose(big[:20].copy(), np.zeros_like(other))[..., :3]
        target = big.copy()
        compose(target[:20], target[3:23])
        np.testing.assert_array_equal(target[3:23, :, :3], expected)
    opacity = big[:20, :, :3].copy()
    expected = mox.composite(opacity, other[..., :3], alpha_a=opacity[..., 0].copy())
    mox.composite(opacity, other[..., :3], out=opacity, alpha_a=opacity[..., 0])
    np.testing.assert_array_equal(opacity, expected)


def test_a_mask_of_packed_bits_that_is_written():
    rows = random_image(9, (31, 8), np.uint8)
    mask, source = rows[:30].copy(), mox.Image(random_image(10, (30, 8), np.uint8), bits=64)
    fresh = mox.Image(rows[1:].copy(), bits=64)
    mox.copy(source, out=fresh, mask=mox.Image(mask, bits=64))
    mox.copy(source, out=mox.Image(rows[1:], bits=64), mask=mox.Image(rows[:30], bits=64))
    np.testing.assert_array_equal(rows[1:], fresh.array)


@pytest.mark.parametrize("steps", [(30, 30, 30), (26, 27, 25)])
@pytest.mark.parametrize("more", [(), (1,)])
def test_the_only_channel_of_slices(steps, more):
    wide = [random_image(14 + step, (7, step, *more), np.int8) // 2 for step in steps]
    a, b, out = (array[:6, :25] for array in wide)
    before = wide[2].copy()
    mox.add(a, b, out=out, channel=0)
    np.testing.assert_array_equal(out, a + b)
    np.testing.assert_array_equal(wide[2][:, 25:], before[:, 25:])
    before = wide[2].copy()
    mox.invert(a, out=out, channel=0)
    np.testing.assert_array_equal(out, ~a)
    np.testing.assert_array_equal(wide[2][:, 25:], before[:, 25:])
    assert mox.histogram(np.zeros((5, 6), np.uint8), channel=0)[0] == 30
    mox.fill(out, 3, channel=0)
    np.testing.assert_array_equal(wide[2][:, 25:], before[:, 25:])


# What out= holds stays where an operation leaves it alone ----------------

def test_noise_and_opacity_keep_what_a_mask_covers():
    a = random_image(11, (20, 30, 4), np.uint8)
    mask = random_image(12, (20, 30), bool)[..., np.newaxis]
    for function in (lambda **more: mox.uniform_noise(a, 1, 0, 9, **more),
                     lambda **more: mox.premultiply(a, **more)):
        result = function(out=np.full_like(a, 7), mask=mask[..., 0])
        np.testing.assert_array_equal(result[~mask[..., 0]], 7)
        np.testing.assert_array_equal(result, np.where(mask, function(mask=mask[..., 0]), 7))


def test_premultiply_into_tiles_and_regions():
    a = random_image(13, (20, 30, 4), np.uint8)
    expected = mox.premultiply(a)
    target = np.zeros_like(a)
    mox.premultiply(a, out=mox.Tiled(target, (16, 16), alpha=True))
    np.testing.assert_array_equal(target, expected)
    image = mox.Image(a, alpha=True, region=(2, 3, 10, 9))
    piece = mox.Image(np.zeros((9, 10, 4), np.uint8), alpha=True)
    mox.premultiply(image, out=piece)
    np.testing.assert_array_equal(piece.array, cut(expected, image.region))


# Messages -----------------------------------------------------------

@pytest.mark.parametrize("call, error, words", [
    (lambda a: mox.uniform_noise(mox.Tiled(a), 1, 0, 5), ValueError, "tiles need out="),
    (lambda a: mox.put_pixel(a, 0, 0, 300), ValueError, "0 to 255"),
    (lambda a: mox.put_pixel(a, 0, 0, 1.5), TypeError, "whole numbers"),
    (lambda a: mox.Tiled([[1]]), TypeError, "list has not"),
    (lambda a: mox.Image(a, region=(1, 2, 3)), ValueError, "x, y, width, height"),
    (lambda a: mox.Image(a, model="ABCDE"), ValueError, "up to four letters"),
    (lambda a: mox.spectrum(np.zeros((2, 2, 2))), ValueError, "by channels")])
def test_messages(call, error, words, gray):
    with pytest.raises(error, match=words):
        call(gray)


@pytest.mark.parametrize("wrong, error", [(lambda pixels: pixels[:1], ValueError),
                                          (lambda pixels: pixels + 0.5, TypeError)])
def test_tiles_of_another_shape_or_kind(wrong, error, gray):
    class Source:
        shape, dtype = gray.shape, gray.dtype

        def __getitem__(self, place):
            return wrong(gray[place])

    with pytest.raises(error):
        mox.invert(mox.Tiled(Source(), (16, 16)))
