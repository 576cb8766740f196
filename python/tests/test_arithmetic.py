"""Arithmetic and logic against numpy, at every dtype and layout."""

import numpy as np
import pytest
from conftest import DTYPES, INTEGERS, clamp, random_image

import mox

EXACT = {"add": np.add, "subtract": np.subtract, "multiply": np.multiply}
LOGIC = {"bitwise_and": np.bitwise_and, "bitwise_or": np.bitwise_or, "bitwise_xor": np.bitwise_xor}
OF_BITS = {"add": np.logical_or, "multiply": np.logical_and,
           "subtract": lambda a, b: a & ~b}


def model(name, a, b):
    if a.dtype == bool:
        return {**OF_BITS, **LOGIC}[name](a, b)
    if name in LOGIC:
        return LOGIC[name](a, b)
    if a.dtype == np.float32:
        return EXACT[name](a, b)
    return clamp(EXACT[name](a.astype(object), b.astype(object)), a.dtype)


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("name", [*EXACT, *LOGIC])
def test_two_images(name, dtype):
    shape = (19, 23) if dtype == "bool" else (19, 23, 3)
    a, b = random_image(1, shape, dtype), random_image(2, shape, dtype)
    if name in LOGIC and dtype == "float32":
        with pytest.raises(mox.Error, match="32F"):
            getattr(mox, name)(a, b)
        return
    for _ in range(3):  # the quick way comes with the second call
        result = getattr(mox, name)(a, b)
        assert result.dtype == a.dtype and result.shape == a.shape
        np.testing.assert_array_equal(result, model(name, a, b))


@pytest.mark.parametrize("dtype", DTYPES)
@pytest.mark.parametrize("value", [0, 1, 7, 100, -3, 40000, -2**31, 2**31 - 1])
@pytest.mark.parametrize("name", ["add", "subtract", "multiply"])
def test_constants(name, dtype, value):
    a = random_image(3, (9, 17), dtype)
    function = getattr(mox, name)
    if dtype == "bool":
        bit = bool(value & 1)
        np.testing.assert_array_equal(function(a, value), model(name, a, np.full_like(a, bit)))
        return
    if dtype == "float32":
        b = np.float32(value)
        np.testing.assert_array_equal(function(a, value), EXACT[name](a, b))
        np.testing.assert_array_equal(function(value, a), EXACT[name](b, a))
        return
    exact = EXACT[name](a.astype(object), value)
    np.testing.assert_array_equal(function(a, value), clamp(exact, a.dtype))
    flipped = EXACT[name](np.full(a.shape, value, object), a.astype(object))
    np.testing.assert_array_equal(function(value, a), clamp(flipped, a.dtype))


@pytest.mark.parametrize("dtype", INTEGERS)
@pytest.mark.parametrize("name", LOGIC)
def test_logic_with_constants(name, dtype):
    a = random_image(4, (9, 17), dtype)
    value = 0x5A
    expected = LOGIC[name](a, np.array(value, a.dtype))
    np.testing.assert_array_equal(getattr(mox, name)(a, value), expected)
    np.testing.assert_array_equal(getattr(mox, name)(value, a), expected)


@pytest.mark.parametrize("dtype", DTYPES)
def test_one_image(dtype):
    a = random_image(5, (11, 13), dtype)
    if dtype == "float32":
        np.testing.assert_array_equal(mox.absolute(a), np.abs(a))
        np.testing.assert_array_equal(mox.square(a), a * a)
        with pytest.raises(mox.Error):
            mox.invert(a)
        return
    np.testing.assert_array_equal(mox.invert(a), ~a)
    if dtype == "bool":
        np.testing.assert_array_equal(mox.square(a), a)
        return
    np.testing.assert_array_equal(mox.absolute(a), clamp(np.abs(a.astype(object)), a.dtype))
    np.testing.assert_array_equal(mox.square(a), clamp(a.astype(object)**2, a.dtype))
    for shift in (0, 1, 5):
        np.testing.assert_array_equal(mox.left_shift(a, shift), a << shift)
        np.testing.assert_array_equal(mox.right_shift(a, shift), a >> shift)


def test_in_place_and_out(gray):
    expected = ~gray
    target = np.empty_like(gray)
    assert mox.invert(gray, target) is target
    np.testing.assert_array_equal(target, expected)
    for _ in range(2):
        again = gray.copy()
        assert mox.invert(again, out=again) is again
        np.testing.assert_array_equal(again, expected)
    for _ in range(2):
        double = gray.copy()
        mox.add(double, double, out=double)
        np.testing.assert_array_equal(double, clamp(gray.astype(int) * 2, np.uint8))


def test_mask_channel_alpha(rgb):
    cover = random_image(6, rgb.shape[:2], bool)
    expected = rgb.copy()
    expected[cover] = ~rgb[cover]
    np.testing.assert_array_equal(mox.invert(rgb, mask=cover), expected)
    np.testing.assert_array_equal(mox.invert(rgb, mask=mox.Image.pack(cover)), expected)

    expected = rgb.copy()
    expected[..., 1] = ~rgb[..., 1]
    np.testing.assert_array_equal(mox.invert(rgb, channel=1), expected)
    np.testing.assert_array_equal(mox.invert(rgb, channel=-2), expected)
    single = mox.invert(rgb, channel=1, out=np.zeros(rgb.shape[:2], np.uint8))
    np.testing.assert_array_equal(single, ~rgb[..., 1])

    expected = ~rgb
    expected[..., 2] = rgb[..., 2]
    np.testing.assert_array_equal(mox.invert(rgb, alpha=True), expected)

    target = random_image(7, rgb.shape, np.uint8)
    expected = target.copy()
    expected[cover, 2] = ~rgb[cover, 2]
    mox.invert(rgb, target, mask=cover, channel=2)
    np.testing.assert_array_equal(target, expected)


def test_planes(rgb):
    planes = np.ascontiguousarray(rgb.transpose(2, 0, 1))
    np.testing.assert_array_equal(mox.add(planes, planes, planes=True),
                                  mox.add(rgb, rgb).transpose(2, 0, 1))
    image = mox.add(mox.Image(planes, planes=True), mox.Image(planes, planes=True))
    assert isinstance(image, mox.Image) and image.planes
    np.testing.assert_array_equal(image.array, mox.add(planes, planes, planes=True))
    expected = planes.copy()
    expected[2] = ~planes[2]
    np.testing.assert_array_equal(mox.invert(planes, planes=True, channel=2), expected)


def test_packed_bits(mask):
    packed = mox.Image.pack(mask)
    other = mox.Image.pack(mask[::-1].copy())
    result = mox.bitwise_xor(packed, other)
    assert result.bits == mask.shape[1]
    np.testing.assert_array_equal(result.unpack(), mask ^ mask[::-1])
    rows = np.zeros((mask.shape[0], 12), np.uint8)
    view = mox.Image(rows[:-1, 2:9], bits=mask.shape[1])
    mox.copy(mox.Image.pack(mask[:-1]), view)
    np.testing.assert_array_equal(view.unpack(), mask[:-1])
    assert not rows[:, :2].any() and not rows[:, 9:].any() and not rows[-1].any()
