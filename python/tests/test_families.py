"""Geometry, transforms, colour, depths, opacities, measures, noise, bitmaps."""

import struct

import numpy as np
import pytest
from conftest import DTYPES, INTEGERS, clamp, random_image

import mox


# Moving -----------------------------------------------------------

@pytest.mark.parametrize("dtype", DTYPES)
def test_copy_fill_exchange(dtype):
    a, b = random_image(1, (9, 14), dtype), random_image(2, (9, 14), dtype)
    cover = random_image(3, (9, 14), bool)
    np.testing.assert_array_equal(mox.copy(a), a)
    target = b.copy()
    mox.copy(a, target, mask=cover)
    np.testing.assert_array_equal(target, np.where(cover, a, b))
    value = 1 if dtype == "bool" else 77
    np.testing.assert_array_equal(mox.fill(b.copy(), value), np.full_like(b, value))
    np.testing.assert_array_equal(mox.fill(b.copy(), value, mask=cover),
                                  np.where(cover, np.array(value, dtype), b))
    first, second = a.copy(), b.copy()
    mox.exchange(first, second, mask=cover)
    np.testing.assert_array_equal(first, np.where(cover, b, a))
    np.testing.assert_array_equal(second, np.where(cover, a, b))


def test_channels_in_and_out(rgb):
    single = mox.copy(rgb, np.empty(rgb.shape[:2], np.uint8), channel=2)
    np.testing.assert_array_equal(single, rgb[..., 2])
    target = rgb.copy()
    mox.copy(single, target[..., 0])
    np.testing.assert_array_equal(target[..., 0], single)
    np.testing.assert_array_equal(target[..., 1:], rgb[..., 1:])
    np.testing.assert_array_equal(mox.fill(rgb.copy(), 5, channel=-1)[..., 2], 5)
    np.testing.assert_array_equal(mox.get_pixel(rgb, 4, 7), rgb[7, 4])
    mox.put_pixel(target, 3, 2, [1, 2, 3])
    assert target[2, 3].tolist() == [1, 2, 3]


# Geometry -----------------------------------------------------------

@pytest.mark.parametrize("dtype", DTYPES)
def test_mirror(dtype):
    a = random_image(4, (9, 14), dtype)
    np.testing.assert_array_equal(mox.mirror(a, 0), a[::-1])
    np.testing.assert_array_equal(mox.mirror(a, 1), a[:, ::-1])
    np.testing.assert_array_equal(mox.mirror(a, (0, 1)), a[::-1, ::-1])
    again = a.copy()
    np.testing.assert_array_equal(mox.mirror(again, 1, again), a[:, ::-1])
    part = a[1:8, 2:9]
    np.testing.assert_array_equal(mox.mirror(part, 1), part[:, ::-1])


@pytest.mark.parametrize("dtype", ["bool", "uint8", "uint16", "float32"])
def test_right_angles_and_shifts(dtype):
    a = random_image(5, (9, 14), dtype)
    turned = mox.rotate(a, 90, center=(0, 0), shift=(0, 13), size=(9, 14))
    np.testing.assert_array_equal(turned, np.rot90(a))
    np.testing.assert_array_equal(mox.rotate(a, 180), a[::-1, ::-1])
    moved = mox.warp_affine(a, [[1, 0, 3], [0, 1, 2]], interpolation="nearest")
    expected = np.zeros_like(a)
    expected[2:, 3:] = a[:-2, :-3]
    np.testing.assert_array_equal(moved, expected)
    part = a[1:, 2:11]
    np.testing.assert_array_equal(mox.warp_affine(part, [[1, 0, 3], [0, 1, 2]]),
                                  mox.warp_affine(part.copy(), [[1, 0, 3], [0, 1, 2]]))
    np.testing.assert_array_equal(
        mox.shear(a, 0, 0, (3, 2), interpolation="nearest"), expected)


def test_quadrangles(rgb):
    height, width = rgb.shape[:2]
    corners = [(0, 0), (width - 1, 0), (width - 1, height - 1), (0, height - 1)]
    for function in (mox.warp_perspective, mox.warp_bilinear):
        for inverse in (False, True):
            np.testing.assert_array_equal(
                function(rgb, corners, interpolation="nearest", inverse=inverse), rgb)
    quad = np.array([(2, 3), (40, 1), (44, 36), (0, 30)], float)
    for kind in ("bilinear", "perspective"):
        matrix = mox.transform_of(rgb, quad, kind)
        np.testing.assert_allclose(mox.quad_of(rgb, matrix, kind), quad, atol=1e-9)
        np.testing.assert_allclose(mox.bound_of((0, 0, width, height), matrix, kind),
                                   [quad.min(0), quad.max(0)], atol=1e-9)
        np.testing.assert_allclose(mox.transform_of((0, 0, width, height), quad, kind), matrix)
    matrix = mox.transform_of(rgb, quad)
    inside = mox.warp_perspective(rgb, matrix) != 0
    assert (inside == (mox.warp_perspective(rgb, quad) != 0)).mean() > 0.97
    kept = mox.warp_perspective(rgb, quad, np.full_like(rgb, 255))
    assert (kept[0, 0] == 255).all()
    with pytest.raises(mox.Error, match="concave"):
        mox.warp_perspective(rgb, quad[[0, 2, 1, 3]])
    with pytest.raises(ValueError, match="4, 2"):
        mox.warp_perspective(rgb, np.eye(2))
    x, y = mox.rotate_shift((3, 4), 90)
    assert (x, y) == (3 - 4, 4 + 3)


@pytest.mark.parametrize("dtype", ["uint8", "uint16", "float32"])
def test_sizes(dtype):
    a = random_image(6, (12, 18, 3), dtype)
    np.testing.assert_array_equal(mox.zoom(a, (36, 24), interpolation="nearest"),
                                  a.repeat(2, 0).repeat(2, 1))
    np.testing.assert_array_equal(mox.resize(a, (18, 12), interpolation="nearest"), a)
    np.testing.assert_array_equal(mox.decimate(a, (9, 6), interpolation="nearest"), a[::2, ::2])
    if dtype == "uint8":
        means = a.reshape(6, 2, 9, 2, 3).astype(int).sum((1, 3))
        np.testing.assert_array_equal(mox.resize(a, (9, 6), interpolation="super"),
                                      (means + 2) // 4)
    out = np.zeros((5, 7, 3), dtype)
    assert mox.resize(a, out=out) is out
    np.testing.assert_array_equal(out, mox.resize(a, (7, 5)))
    assert mox.decimate_blur(a, (9, 6)).shape == (6, 9, 3)
    with pytest.raises(mox.Error):
        mox.zoom(a, (9, 6))


def test_remap(rgb):
    y, x = np.mgrid[:rgb.shape[0], :rgb.shape[1]].astype(np.float32)
    np.testing.assert_array_equal(mox.remap(rgb, x, y, interpolation="nearest"), rgb)
    np.testing.assert_array_equal(
        mox.remap(rgb, x[:, ::-1].copy(), y, interpolation="nearest"), rgb[:, ::-1])
    np.testing.assert_array_equal(mox.remap(rgb, x[:9, :7], y[:9, :7], interpolation="nearest"),
                                  rgb[:9, :7])
    outside = mox.remap(rgb, x - 5, y, interpolation="nearest")
    assert not outside[:, :5].any()
    with pytest.raises(TypeError, match="float32"):
        mox.remap(rgb, x.astype(np.int32), y)
    with pytest.raises(ValueError, match="maps"):
        mox.remap(rgb, x[:5], y)


# Transforms -----------------------------------------------------------

@pytest.mark.parametrize("shape", [(16, 16), (15, 20), (21, 33), (8, 1), (1, 9), (2, 2), (1, 1)])
def test_fourier(shape):
    a = random_image(7, shape, np.float32)
    packed = mox.fft(a)
    expected = np.fft.rfft2(a.astype(np.float64))
    np.testing.assert_allclose(mox.spectrum(packed), expected, atol=1e-2, rtol=1e-4)
    np.testing.assert_allclose(mox.ifft(packed), a, atol=1e-3)
    np.testing.assert_allclose(mox.ifft(packed, scaled=False), a * a.size, atol=1e-1, rtol=1e-3)


def test_fourier_of_channels(rgb):
    back = mox.ifft(mox.fft(rgb), np.empty_like(rgb))
    np.testing.assert_array_equal(back, rgb)
    one = mox.fft(rgb[..., 1])
    np.testing.assert_array_equal(one, mox.fft(rgb)[..., 1])
    kernel = np.zeros((21, 33), np.float32)
    kernel[0, 0] = 2
    a = random_image(8, kernel.shape, np.float32)
    product = mox.multiply_spectra(mox.fft(a), mox.fft(kernel))
    np.testing.assert_allclose(mox.ifft(product), 2 * a, atol=1e-3)
    mox.free_tables()


def test_cosine():
    a = random_image(9, (12, 20), np.float32)

    def matrix(size):
        k, n = np.mgrid[:size, :size]
        basis = np.cos((2 * n + 1) * k * np.pi / (2 * size)) * np.sqrt(2 / size)
        basis[0] /= np.sqrt(2)
        return basis

    expected = matrix(12) @ a @ matrix(20).T
    np.testing.assert_allclose(mox.dct(a), expected, atol=1e-2)
    np.testing.assert_allclose(mox.idct(mox.dct(a)), a, atol=1e-3)
    part = a[2:10, 3:11]
    np.testing.assert_array_equal(mox.dct(part), mox.dct(part.copy()))


def test_wavelets(gray):
    for wavelet in (mox.Wavelet("haar"), mox.Wavelet("daubechies", 4), mox.Wavelet("bspline", 2, 2),
                    mox.Wavelet.from_filters([[.5, .5], [.5, -.5], [1, 1], [-1, 1]], [1, 1, 0, 0])):
        parts = wavelet.decompose(gray)
        assert all(part.shape == (21, 27) and part.dtype == np.float32 for part in parts)
        assert wavelet.reconstruct(parts, gray.shape).shape == gray.shape
    parts = mox.Wavelet("haar").decompose(gray[:40, :52])
    np.testing.assert_array_equal(parts[0],
                                  gray[:40, :52].reshape(20, 2, 26, 2).astype(float).mean((1, 3)))
    for name, more in (("daubechies", (2,)), ("9/7", ()), ("coiflet", (1,))):
        wavelet = mox.Wavelet(name, *more)
        parts = wavelet.decompose(gray)
        np.testing.assert_array_equal(wavelet.reconstruct(parts, gray.shape), gray)
    with pytest.raises(mox.Error, match="par1"):
        mox.Wavelet("daubechies", 99)
    with pytest.raises(ValueError, match="four"):
        mox.Wavelet.from_filters([[1, 1]], [0])


# Colour -----------------------------------------------------------

def test_gray(rgb):
    shares = rgb.astype(int) @ [54, 183, 18]
    np.testing.assert_array_equal(mox.rgb_to_gray(rgb), shares >> 8)
    np.testing.assert_array_equal(mox.rgb_to_gray(rgb, dtype=np.uint16), shares)
    np.testing.assert_array_equal(mox.rgb_to_gray(rgb, dtype=bool), shares >> 8 >= 128)
    np.testing.assert_array_equal(mox.rgb_to_gray(rgb[..., ::-1].copy(), bgr=True), shares >> 8)
    back = mox.gray_to_rgb(mox.rgb_to_gray(rgb))
    np.testing.assert_array_equal(back, (shares >> 8)[..., None].repeat(3, 2))


def test_luminance(rgb):
    r, g, b = (rgb[..., i].astype(np.int64) for i in range(3))
    y = (4898 * r + 9617 * g + 1867 * b + 8192) >> 14
    cb = ((b - y) * 9246 + 0x200000) >> 14
    cr = ((r - y) * 11686 + 0x200000) >> 14
    expected = np.dstack([y, cb, cr]) & 255
    np.testing.assert_array_equal(mox.rgb_to_ycrcb(rgb), expected)
    planes = rgb.transpose(2, 0, 1).copy()
    np.testing.assert_array_equal(mox.rgb_to_ycrcb(planes, planes=True),
                                  expected.transpose(2, 0, 1))
    y = (9798 * r + 19235 * g + 3736 * b) >> 15
    np.testing.assert_array_equal(mox.rgb_to_yuv(rgb)[..., 0], y)


@pytest.mark.parametrize("name", ["hsv", "hls", "xyz", "yuv", "ycrcb"])
def test_models_there_and_back(name, rgb):
    there, back = getattr(mox, f"rgb_to_{name}"), getattr(mox, f"{name}_to_rgb")
    for _ in range(2):
        turned = there(rgb)
        assert turned.shape == rgb.shape
        error = np.abs(back(turned).astype(int) - rgb)
        assert np.median(error) < 12
    np.testing.assert_array_equal(there(rgb[3:9, 4:20]), turned[3:9, 4:20])
    np.testing.assert_array_equal(there(rgb[..., ::-1].copy(), bgr=True), turned)
    again = rgb.copy()
    there(again, again)
    np.testing.assert_array_equal(again, turned)
    image = there(mox.Image(rgb))
    assert image.model.lower() == name[:3]
    np.testing.assert_array_equal(back(image).array, back(turned))


def test_luv_and_ycc(rgb):
    floats = mox.scale_float(rgb)
    np.testing.assert_allclose(mox.luv_to_rgb(mox.rgb_to_luv(floats)), floats, atol=0.05)
    assert mox.ycc_to_rgb(rgb).shape == rgb.shape
    with pytest.raises(mox.Error, match="32F is valid"):
        mox.rgb_to_luv(rgb)


def test_color_twist(rgb):
    matrix = np.array([[0.5, 0.25, 0.25, 10], [0, 1, 0, 0], [1, -1, 1, -5], [0, 0, 0, 1]])
    exact = rgb.astype(float) @ matrix[:3, :3].T + matrix[:3, 3]
    np.testing.assert_array_equal(mox.color_twist(rgb, matrix),
                                  np.clip(np.rint(exact), 0, 255))
    np.testing.assert_array_equal(mox.color_twist(rgb, matrix, dtype=np.float32),
                                  exact.astype(np.float32))
    fixed = np.floor(exact).clip(0, 255)
    np.testing.assert_array_equal(
        mox.color_twist(rgb, (matrix * 4).astype(int), scaling=2), fixed)
    with pytest.raises(mox.Error, match="bad_argument"):
        mox.color_twist(rgb, np.eye(4, dtype=int), scaling=40)


# Depths -----------------------------------------------------------

@pytest.mark.parametrize("target", INTEGERS)
@pytest.mark.parametrize("source", INTEGERS)
def test_convert(source, target):
    a = random_image(10, (7, 9, 3), source)
    np.testing.assert_array_equal(mox.convert(a, target), clamp(a.astype(np.int64), target))


def test_convert_bits_planes_and_origin(rgb):
    np.testing.assert_array_equal(mox.convert(rgb, bool, channel=0), rgb[..., 0] > 0)
    planes = mox.Image(np.empty((3, *rgb.shape[:2]), np.uint8), planes=True)
    mox.convert(rgb, out=planes)
    np.testing.assert_array_equal(planes.array, rgb.transpose(2, 0, 1))
    below = mox.Image(np.empty_like(rgb), bottom_up=True)
    mox.convert(rgb, out=below)
    np.testing.assert_array_equal(below.array, rgb[::-1])


def test_scale(rgb):
    wide = mox.scale(rgb, np.uint16)
    np.testing.assert_array_equal(wide, rgb.astype(int) * 257)
    np.testing.assert_array_equal(mox.scale(wide, np.uint8), rgb)
    np.testing.assert_array_equal(mox.scale(rgb, np.int8), rgb.astype(int) - 128)
    step = 0.00392156862745098
    np.testing.assert_array_equal(mox.scale_float(rgb), (rgb * step).astype(np.float32))
    for dtype in ("uint8", "int16", "uint16"):
        a = random_image(11, (7, 9), dtype)
        np.testing.assert_array_equal(
            mox.scale_float(mox.scale_float(a, low=-3, high=5), dtype, low=-3, high=5), a)


def test_thresholds(gray, rgb):
    np.testing.assert_array_equal(mox.threshold(gray, 99), gray >= 99)
    np.testing.assert_array_equal(mox.threshold(gray, 99, np.int16),
                                  np.where(gray >= 99, 32767, -32768))
    np.testing.assert_array_equal(mox.threshold(rgb, 99, channel=1), rgb[..., 1] >= 99)
    with pytest.raises(ValueError, match="channel"):
        mox.threshold(rgb, 99)
    with pytest.raises(mox.Error, match="Threshold"):
        mox.threshold(gray, 256)
    bits = gray >= 99
    np.testing.assert_array_equal(mox.bits_to_gray(bits, np.int16, low=-5, high=700),
                                  np.where(bits, 700, -5))


def test_reduce_bits(gray):
    np.testing.assert_array_equal(mox.reduce_bits(gray, np.uint8, dither="none"), gray)
    wide = mox.scale(gray, np.uint16)
    np.testing.assert_array_equal(mox.reduce_bits(wide, np.uint8, dither="none"), gray)
    for dither in ("fs", "jjh", "stuckey", "bayer"):
        bits = mox.reduce_bits(gray, dither=dither)
        assert bits.dtype == bool
        assert abs(bits.mean() - gray.mean() / 255) < 0.06
    few = mox.reduce_bits(gray, np.uint8, levels=3)
    assert set(np.unique(few)) <= {0, 85, 170, 255}


# Opacities -----------------------------------------------------------

def test_composite():
    a, b = (random_image(seed, (9, 13, 4), np.uint8) for seed in (12, 13))
    colour_a, alpha_a = a[..., :3].astype(int), a[..., 3:].astype(int)
    colour_b, alpha_b = b[..., :3].astype(int), b[..., 3:].astype(int)
    over = colour_a * alpha_a // 255 + (colour_b * alpha_b // 255) * (255 - alpha_a) // 255
    opacity = alpha_a + alpha_b * (255 - alpha_a) // 255
    expected = np.dstack([np.minimum(over, 255), np.minimum(opacity, 255)])
    np.testing.assert_array_equal(mox.composite(a, b), expected)
    plus = np.minimum(a.astype(int) + b, 255)
    np.testing.assert_array_equal(mox.composite(a, b, rule="plus", premultiplied=True), plus)
    out = np.zeros((9, 13), np.uint8)
    result = mox.composite(a[..., :3].copy(), b[..., :3].copy(), alpha_a=a[..., 3],
                           alpha_b=b[..., 3].copy(), alpha_out=out)
    np.testing.assert_array_equal(result, expected[..., :3])
    np.testing.assert_array_equal(out, expected[..., 3])
    target = b.copy()
    mox.composite(a, target, target)
    np.testing.assert_array_equal(target, expected)
    half = mox.composite_constant(a[..., :3].copy(), b[..., :3].copy(), 255, 255)
    np.testing.assert_array_equal(half, a[..., :3])


def test_fractions():
    a, b = (random_image(seed, (9, 13, 3), np.uint8) for seed in (14, 15))
    np.testing.assert_array_equal(mox.multiply_scale(a, b), a.astype(int) * b // 255)
    np.testing.assert_array_equal(mox.multiply_scale(a, 100), a.astype(int) * 100 // 255)
    rgba = random_image(16, (9, 13, 4), np.uint8)
    expected = rgba.copy()
    expected[..., :3] = rgba[..., :3].astype(int) * rgba[..., 3:] // 255
    np.testing.assert_array_equal(mox.premultiply(rgba), expected)
    filled = mox.premultiply(rgba, 100)
    np.testing.assert_array_equal(filled[..., :3], rgba[..., :3].astype(int) * 100 // 255)
    assert (filled[..., 3] == 100).all()


# Measures -----------------------------------------------------------

@pytest.mark.parametrize("dtype", ["uint8", "int8", "uint16", "int16"])
def test_norms(dtype):
    a, b = random_image(17, (12, 14, 3), dtype), random_image(18, (12, 14, 3), dtype)
    cover = random_image(19, (12, 14), bool)
    for values, arguments in ((a.astype(np.int64), (a,)), (a.astype(np.int64) - b, (a, b))):
        assert mox.norm(*arguments, kind="c") == np.abs(values).max()
        assert mox.norm(*arguments, kind="l1") == np.abs(values).sum()
        assert mox.norm(*arguments) == np.sqrt(float((values**2).sum()))
        assert mox.norm(*arguments, kind="l1", mask=cover) == np.abs(values[cover]).sum()
        assert mox.norm(*arguments, kind="l1", channel=1) == np.abs(values[..., 1]).sum()
    assert mox.norm(a, b, "l1", relative=True) == (
        np.abs(a.astype(int) - b).sum() / np.abs(b.astype(int)).sum())
    with pytest.raises(mox.Error, match="Zero divided"):
        mox.norm(a, np.zeros_like(a), relative=True)


def test_min_max():
    a = random_image(20, (12, 14), np.float32)
    a[3, 4] = np.nan
    assert mox.min_max(a) == (np.nanmin(a), np.nanmax(a))
    with pytest.raises(mox.Error, match="depth != 32"):
        mox.min_max(np.zeros((3, 3), np.uint8))


def test_moments(gray):
    y, x = np.mgrid[:gray.shape[0], :gray.shape[1]].astype(np.int64)
    state = mox.moments(gray)
    for m in range(4):
        for n in range(4 - m):
            exact = (x**m * y**n * gray).sum()
            assert state.spatial(m, n) == exact == mox.spatial_moment(gray, m, n)
            assert state.cells()[m, n] == exact
    mass = gray.astype(np.int64).sum()
    centre = (x * gray).sum() / mass
    np.testing.assert_allclose(state.central(2, 0), ((x - centre)**2 * gray).sum())
    assert state.central(2, 0) == mox.central_moment(gray, 2, 0)
    assert state.normalized_central(2, 0) == mox.normalized_central_moment(gray, 2, 0)
    assert state.normalized_spatial(1, 1) == mox.normalized_spatial_moment(gray, 1, 1)
    assert mox.spatial_moment(gray[5:, 7:], 1, 0) == (x[5:, 7:] - 7).ravel() @ gray[5:, 7:].ravel()
    assert mox.spatial_moment(mox.Image(gray, region=(7, 5, 46, 36)), 1, 0) == (
        x[5:, 7:] * gray[5:, 7:]).sum()
    with pytest.raises(mox.Error, match="Illegal order"):
        state.spatial(2, 2)


def test_histograms(gray, rgb, mask):
    np.testing.assert_array_equal(mox.histogram(gray), np.bincount(gray.ravel(), minlength=256))
    np.testing.assert_array_equal(mox.histogram(gray, mask=mask),
                                  np.bincount(gray[mask], minlength=256))
    three = mox.histogram(rgb)
    assert three.shape == (3, 256)
    for channel in range(3):
        expected = np.bincount(rgb[..., channel].ravel(), minlength=256)
        np.testing.assert_array_equal(three[channel], expected)
        np.testing.assert_array_equal(mox.histogram(rgb, channel=channel), expected)
    np.testing.assert_array_equal(mox.histogram(gray, [0, 100, 256]),
                                  [(gray < 100).sum(), (gray >= 100).sum()])
    np.testing.assert_array_equal(mox.histogram(mask), [(~mask).sum(), mask.sum()])


def test_curves(gray, rgb):
    levels = np.arange(257)
    np.testing.assert_array_equal(mox.contrast_stretch(gray, levels, 255 - levels), 255 - gray)
    np.testing.assert_array_equal(
        mox.contrast_stretch(gray, [0, 100, 256], [0, 50, 0], [0, 1, 0]),
        np.where(gray < 100, 0, 50 + (gray.astype(int) - 100)))
    counts = np.bincount(gray.ravel(), minlength=256)
    np.testing.assert_array_equal(mox.equalize(gray)[gray == 255], 255)
    assert np.abs(mox.equalize(gray).astype(int)
                  - (counts.cumsum() * 255 // gray.size)[gray]).max() <= 1
    assert mox.equalize(rgb).shape == rgb.shape
    with pytest.raises(ValueError, match="entries"):
        mox.contrast_stretch(gray, [0, 256], [0, 1, 2])
    with pytest.raises(mox.Error, match="key"):
        mox.contrast_stretch(gray, [9, 3, 256], [0, 1, 2])


@pytest.mark.parametrize("dtype", [*INTEGERS, "float32"])
def test_comparisons(dtype):
    a, b = random_image(21, (9, 21, 3), dtype), random_image(22, (9, 21, 3), dtype)
    b[:4] = a[:4]
    np.testing.assert_array_equal(mox.less(a, b), (a < b).all(2))
    np.testing.assert_array_equal(mox.greater(a, b), (a > b).all(2))
    np.testing.assert_array_equal(mox.equal(a, b), (a == b).all(2))
    np.testing.assert_array_equal(mox.less(a, 5), (a < 5).all(2))
    np.testing.assert_array_equal(mox.greater(a[..., 0], 5), a[..., 0] > 5)
    np.testing.assert_array_equal(mox.equal(a, 5, channel=1), a[..., 1] == 5)
    if dtype == "float32":
        near = (a + np.float32(0.25)).astype(np.float32)
        np.testing.assert_array_equal(mox.equal(a, near, eps=0.5), np.ones((9, 21), bool))
        np.testing.assert_array_equal(mox.equal(a[..., 0], 5.0, eps=100.0),
                                      np.abs(a[..., 0] - np.float32(5)) < 100)


# Functions, noise, a test image -----------------------------------------------------------

def test_functions(gray, rgb):
    np.testing.assert_array_equal(mox.process(gray, lambda v: 300 - v),
                                  np.clip(300 - gray.astype(int), 0, 255))
    np.testing.assert_array_equal(mox.process_float(gray, lambda v: v / 2), gray // 2)

    def turn(pixel, result):
        result[:] = pixel[::-1]

    np.testing.assert_array_equal(mox.process_pixels(rgb, turn), rgb[..., ::-1])
    planes = rgb.transpose(2, 0, 1).copy()
    np.testing.assert_array_equal(mox.process_pixels(planes, turn, planes=True), planes[::-1])


@pytest.mark.parametrize("call", ["process", "process_float", "process_pixels"])
def test_functions_that_fail(call, gray):
    count = []

    def stop(*arguments):
        count.append(1)
        if len(count) == 5:
            raise KeyError("enough")
        return 0

    with pytest.raises(KeyError, match="enough"):
        getattr(mox, call)(gray, stop)
    assert len(count) == 5
    np.testing.assert_array_equal(mox.invert(gray), ~gray)


def test_a_function_may_call_the_library(gray):
    def average(sample):
        with pytest.raises(mox.Error):
            mox.bitwise_and(np.zeros((2, 2), np.float32), np.zeros((2, 2), np.float32))
        return int(mox.norm(gray[:2, :2], kind="c"))

    result = mox.process(gray[:3, :3], average)
    assert (result == gray[:2, :2].max()).all()


def test_noise(gray):
    noisy = mox.uniform_noise(gray, 7, -20, 20)
    difference = noisy.astype(int) - gray
    assert difference.min() >= -20 and difference.max() <= 19 and difference.any()
    np.testing.assert_array_equal(noisy, mox.uniform_noise(gray, 7, -20, 20))
    assert (noisy != mox.uniform_noise(gray, 8, -20, 20)).any()
    again = gray.copy()
    mox.uniform_noise(again, 7, -20, 20, again)
    np.testing.assert_array_equal(again, noisy)
    floats = np.zeros((100, 100), np.float32)
    result = mox.gaussian_noise(floats, 1, 3.0, 2.0)
    assert abs(result.mean() - 3) < 0.1 and abs(result.std() - 2) < 0.1


@pytest.mark.parametrize("dtype", DTYPES)
def test_rings(dtype):
    y, x = np.mgrid[:20, :30]
    s = np.sin(2 * np.pi * ((x - 14.5)**2 + (y - 9.5)**2) / 80)
    image = mox.rings(30, 20, dtype)
    assert image.shape == (20, 30) and image.dtype == dtype
    if dtype == "uint8":
        np.testing.assert_array_equal(image, np.trunc((s + 1) * 127.99999))
    if dtype == "float32":
        np.testing.assert_allclose(image, (s + 1) * 0.49999, atol=1e-6)


# Bitmaps -----------------------------------------------------------

def test_bitmaps_there_and_back(rgb, gray):
    data = mox.to_dib(rgb)
    assert struct.unpack_from("<IiiHH", data) == (40, 45, 37, 1, 24)
    row = 45 * 3 + 1
    np.testing.assert_array_equal(np.frombuffer(data, np.uint8, 45 * 3, 40).reshape(45, 3),
                                  rgb[-1, :, ::-1])
    assert len(data) == 40 + 37 * row
    np.testing.assert_array_equal(mox.from_dib(data), rgb)
    np.testing.assert_array_equal(mox.from_dib(data, bgr=True), rgb[..., ::-1])
    out = np.empty(rgb.shape, np.uint16)
    np.testing.assert_array_equal(mox.from_dib(data, out), rgb.astype(int) * 257)
    np.testing.assert_array_equal(mox.from_dib(mox.to_dib(rgb[..., ::-1].copy(), bgr=True)), rgb)
    rgba = np.dstack([rgb, rgb[..., 0]])
    np.testing.assert_array_equal(mox.from_dib(mox.to_dib(rgba, 32)), rgba)
    for compressed in (False, True):
        data = mox.to_dib(gray, 8, palette="fixed", compressed=compressed)
        np.testing.assert_array_equal(mox.from_dib(data), gray)
    flat = np.zeros((40, 50), np.uint8)
    short = mox.to_dib(flat, 8, palette="fixed", compressed=True)
    assert len(short) < 40 + 1024 + 40 * 52
    np.testing.assert_array_equal(mox.from_dib(short), flat)
    bits = gray > 99
    np.testing.assert_array_equal(mox.from_dib(mox.to_dib(bits, 1, palette="fixed")), bits)


def test_palettes(rgb):
    colours = np.array([[0, 0, 0], [255, 255, 255], [255, 0, 0]], np.uint8)
    picture = mox.from_dib(mox.to_dib(rgb, 4, palette=colours))
    distances = ((rgb[:, :, None].astype(int) - colours)**2).sum(3)
    np.testing.assert_array_equal(picture, colours[distances.argmin(2)])
    assert len(np.unique(mox.from_dib(mox.to_dib(rgb, 4)).reshape(-1, 3), axis=0)) <= 16


def test_bitmaps_that_are_not_all_there(rgb):
    data = mox.to_dib(rgb)
    for cut in (0, 39, 40, len(data) - 1):
        with pytest.raises(ValueError, match="bitmap"):
            mox.from_dib(data[:cut])
    broken = bytearray(data)
    broken[0] = 41
    with pytest.raises(mox.Error, match="biSize"):
        mox.from_dib(broken)
    huge = bytearray(data)
    struct.pack_into("<ii", huge, 4, 2**31 - 1, -2**31)
    with pytest.raises(ValueError, match="not all there"):
        mox.from_dib(huge)


def test_a_reference_for_levels(gray, rgb):
    half = (gray // 2).astype(np.uint8)
    assert mox.equalize(gray, reference=gray).tolist() == mox.equalize(gray).tolist()
    assert mox.equalize(half, reference=gray).max() < 140
    with pytest.raises(ValueError, match="reference"):
        mox.equalize(gray, reference=rgb)
