"""Filters against windows that numpy slides."""

import numpy as np
import pytest
from conftest import INTEGERS, clamp, random_image
from numpy.lib.stride_tricks import sliding_window_view

import mox

MODES = {"replicate": "edge", "reflect": "symmetric", "wrap": "wrap"}


def windows(a, columns, rows, anchor_x, anchor_y, border):
    """The window of every pixel: (h, w, rows, columns)."""
    pads = (anchor_y, rows - 1 - anchor_y), (anchor_x, columns - 1 - anchor_x)
    if isinstance(border, str):
        padded = np.pad(a, pads, MODES[border])
    else:
        padded = np.pad(a, pads, constant_values=border or 0)
    return sliding_window_view(padded, (rows, columns))


@pytest.mark.parametrize("border", [None, 9, "replicate", "reflect", "wrap"])
@pytest.mark.parametrize("dtype", ["uint8", "int16", "uint16"])
def test_blur(dtype, border):
    a = random_image(1, (21, 33), dtype)
    for columns, rows, x, y in ((5, 5, 2, 2), (4, 3, 0, 2), (1, 7, 0, 0)):
        sums = windows(a, columns, rows, x, y, border).astype(np.int64).sum((2, 3))
        # In doubles the product with the float is exact, and only cut off.
        factor = np.float64(np.float32(1) / np.float32(columns * rows))
        expected = np.trunc(sums * factor).astype(dtype)
        result = mox.blur(a, (columns, rows), anchor=(x, y), border=border)
        np.testing.assert_array_equal(result, expected)


@pytest.mark.parametrize("border", [None, 9, "replicate", "reflect", "wrap"])
@pytest.mark.parametrize("dtype", INTEGERS)
@pytest.mark.parametrize("name", ["max_filter", "min_filter", "median_filter"])
def test_rank(name, dtype, border):
    a = random_image(2, (17, 23), dtype)
    for columns, rows, x, y in ((3, 3, 1, 1), (4, 2, 3, 0), (5, 1, 2, 0)):
        ranks = np.sort(windows(a, columns, rows, x, y, border).reshape(17, 23, -1), axis=2)
        place = {"max_filter": -1, "min_filter": 0,
                 "median_filter": (columns * rows - 1) // 2}[name]
        result = getattr(mox, name)(a, (columns, rows), anchor=(x, y), border=border)
        np.testing.assert_array_equal(result, ranks[..., place])


def test_four_borders():
    a = random_image(3, (9, 11), np.uint8)
    expected = np.pad(a, 1, "edge")
    expected[1:-1, 0] = 7
    result = mox.max_filter(a, (3, 1), border=("replicate", "replicate", 7, "replicate"))
    rows = sliding_window_view(expected[1:-1], (1, 3)).max((2, 3))
    np.testing.assert_array_equal(result, rows)


@pytest.mark.parametrize("dtype", ["uint8", "int8", "uint16", "int16"])
def test_convolve(dtype):
    a = random_image(4, (19, 21), dtype)
    kernel = np.array([[1, -2, 3, 0], [4, 5, -6, 1], [0, 2, 1, 7]])
    x, y = 2, 1
    seen = windows(a, 4, 3, 4 - 1 - x, 3 - 1 - y, "replicate").astype(np.int64)
    sums = (seen * kernel[::-1, ::-1]).sum((2, 3))
    for shift in (0, 3):
        result = mox.convolve(a, kernel, shift=shift, border="replicate")
        np.testing.assert_array_equal(result, clamp(sums >> shift, dtype))


def test_convolve_floats_and_several():
    a = random_image(5, (19, 21), np.float32)
    kernel = np.array([[0, 0.5, 0], [0.5, 1, 0.25], [0, 2, 0]])
    seen = windows(a, 3, 3, 1, 1, None).astype(np.float64)
    np.testing.assert_allclose(mox.convolve(a, kernel), (seen * kernel[::-1, ::-1]).sum((2, 3)),
                               rtol=1e-5, atol=1e-3)
    b = random_image(6, (19, 21), np.uint8)
    kernels = [np.array([[1, 0, -1]] * 3), np.array([[1, 0, -1]] * 3).T]
    first, second = [(windows(b, 3, 3, 1, 1, None).astype(int) * k[::-1, ::-1]).sum((2, 3))
                     for k in kernels]
    for combine, expected in (("sum", first + second), ("max", np.maximum(first, second)),
                              ("min", np.minimum(first, second)),
                              ("sumsq", first**2 + second**2)):
        np.testing.assert_array_equal(mox.convolve(b, kernels, combine=combine),
                                      clamp(expected, np.uint8))
    with pytest.raises(TypeError, match="integers"):
        mox.convolve(b, kernel)
    with pytest.raises(ValueError):
        mox.convolve(b, [1, 2, 3])
    with pytest.raises(mox.Error) as caught:
        mox.convolve(b, [kernels[0]] * 11)
    assert caught.value.function == "moxConvolve2D"


def test_convolve_separable():
    a = random_image(7, (15, 18), np.uint8)
    row, column = [1, 4, 6, 4, 1], [1, 2, 1]
    expected = mox.convolve(a.astype(np.int32), np.outer(column, row), shift=6, border="reflect")
    result = mox.convolve_separable(a, row, column, shift=6, border="reflect")
    np.testing.assert_array_equal(result, expected)
    np.testing.assert_array_equal(
        mox.convolve_separable(a, None, column, shift=2),
        mox.convolve(a, np.array(column).reshape(-1, 1), shift=2))
    np.testing.assert_array_equal(
        mox.convolve_separable(a, row, None, shift=4), mox.convolve(a, [row], shift=4))


def test_fixed_filter():
    a = random_image(8, (15, 18), np.uint8)
    seen = windows(a, 3, 3, 1, 1, "reflect").astype(int)
    sobel = (seen * np.array([[1, 0, -1], [2, 0, -2], [1, 0, -1]])).sum((2, 3))
    np.testing.assert_array_equal(mox.fixed_filter(a, "sobel_3x3_v", border="reflect"),
                                  clamp(sobel, np.uint8))
    with pytest.raises(ValueError, match="sobel_3x3_v"):
        mox.fixed_filter(a, "sobel")


@pytest.mark.parametrize("dtype", ["bool", "uint8", "uint16"])
def test_morphology(dtype):
    a = random_image(9, (20, 26), dtype)
    side = 5
    lowest = windows(a, side, side, 2, 2, "replicate").min((2, 3))
    highest = windows(a, side, side, 2, 2, "replicate").max((2, 3))
    np.testing.assert_array_equal(mox.erode(a, 2, border="replicate"), lowest)
    np.testing.assert_array_equal(mox.dilate(a, 2, border="replicate"), highest)
    inner = np.s_[6:-6, 6:-6]
    opened = windows(lowest, side, side, 2, 2, "replicate").max((2, 3))
    closed = windows(highest, side, side, 2, 2, "replicate").min((2, 3))
    np.testing.assert_array_equal(mox.opening(a, 2, border="replicate")[inner], opened[inner])
    np.testing.assert_array_equal(mox.closing(a, 2, border="replicate")[inner], closed[inner])


def test_color_median(rgb):
    result = mox.color_median_filter(rgb, 3, border="replicate")
    seen = sliding_window_view(np.pad(rgb, ((1, 1), (1, 1), (0, 0)), "edge"), (3, 3), (0, 1))
    pixels = seen.transpose(0, 1, 3, 4, 2).reshape(*rgb.shape[:2], 9, 3).astype(int)
    distances = np.abs(pixels[:, :, :, None] - pixels[:, :, None]).sum((3, 4))
    best = distances.argmin(2)
    expected = np.take_along_axis(pixels, best[..., None, None], 2)[:, :, 0]
    np.testing.assert_array_equal(result, expected)


def test_correlate(gray):
    template = gray[12:19, 20:31].copy()
    fit = mox.correlate(gray, template)
    assert fit.dtype == np.float32
    assert np.unravel_index(fit.argmax(), fit.shape) == (12 + 3, 20 + 5)
    assert fit.max() == 1
    seen = windows(gray, 11, 7, 5, 3, None).astype(float)
    expected = (seen * template).sum((2, 3)) / np.sqrt(
        (seen**2).sum((2, 3)) * (template.astype(float)**2).sum())
    np.testing.assert_allclose(fit, expected, rtol=1e-5)
    assert mox.correlate(gray, template, dtype=np.uint8).max() == 255


def test_in_place_and_masks(gray, mask):
    for function in (mox.blur, mox.median_filter):
        expected = function(gray, (5, 3), border="reflect")
        target = gray.copy()
        assert function(target, (5, 3), target, border="reflect") is target
        np.testing.assert_array_equal(target, expected)
        np.testing.assert_array_equal(function(gray, (5, 3), border="reflect", mask=mask),
                                      np.where(mask, expected, gray))


def test_channels(rgb):
    expected = rgb.copy()
    expected[..., 1] = mox.median_filter(rgb[..., 1].copy(), 3)
    np.testing.assert_array_equal(mox.median_filter(rgb, 3, channel=1), expected)
    np.testing.assert_array_equal(mox.median_filter(rgb[..., 1], 3), expected[..., 1])
    np.testing.assert_array_equal(mox.blur(rgb[..., 1], 3), mox.blur(rgb, 3)[..., 1])
