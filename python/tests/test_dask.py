"""Over blocks everything is as in one piece, bit for bit, and on workers that die as well."""

import os
import signal
import time

import numpy as np
import pytest
from conftest import random_image

import mox

da = pytest.importorskip("dask.array")
mxd = pytest.importorskip("mox.dask")

BORDERS = [None, 9, "replicate", "reflect", "wrap", ("reflect", "replicate", 3, "reflect")]


@pytest.fixture(scope="module", autouse=True)
def one_thread():
    import dask
    with dask.config.set(scheduler="sync"):
        yield


def same(planned, expected):
    result = planned.compute()
    assert planned.dtype == expected.dtype and planned.shape == expected.shape
    assert result.dtype == expected.dtype
    np.testing.assert_array_equal(result, expected)


@pytest.fixture
def a():
    return random_image(1, (93, 117, 3), np.uint8)


@pytest.fixture
def b():
    return random_image(2, (93, 117, 3), np.uint8)


@pytest.fixture
def blocks(a):
    return da.from_array(a, chunks=(32, 40, 2))


@pytest.fixture
def other(b):
    return da.from_array(b, chunks=(41, 29, 3))


@pytest.fixture
def cover():
    return random_image(3, (93, 117), bool)


def test_single_samples(a, b, blocks, other, cover):
    some = da.from_array(cover, chunks=23)
    same(mxd.add(blocks, other), mox.add(a, b))
    same(mxd.add(blocks, b), mox.add(a, b))
    same(mxd.subtract(300, blocks), mox.subtract(300, a))
    same(mxd.add(blocks, 7, mask=some), mox.add(a, 7, mask=cover))
    same(mxd.multiply(blocks, 3, channel=1), mox.multiply(a, 3, channel=1))
    same(mxd.invert(blocks, alpha=True), mox.invert(a, alpha=True))
    same(mxd.left_shift(blocks, 2), mox.left_shift(a, 2))
    same(mxd.threshold(blocks, 99, channel=1), mox.threshold(a, 99, channel=1))
    same(mxd.scale(blocks, np.uint16), mox.scale(a, np.uint16))
    same(mxd.convert(blocks, np.int8), mox.convert(a, np.int8))
    same(mxd.rgb_to_hls(blocks), mox.rgb_to_hls(a))
    gray = mox.rgb_to_gray(a)
    same(mxd.gray_to_rgb(mxd.rgb_to_gray(blocks)), mox.gray_to_rgb(gray))
    same(mxd.bits_to_gray(mxd.less(blocks, other)), mox.bits_to_gray(mox.less(a, b)))
    same(mxd.color_twist(blocks, np.eye(4) / 2), mox.color_twist(a, np.eye(4) / 2))
    same(mxd.contrast_stretch(blocks, [0, 99, 256], [255, 0, 0]),
         mox.contrast_stretch(a, [0, 99, 256], [255, 0, 0]))
    same(mxd.composite_constant(blocks, other, 99, 200), mox.composite_constant(a, b, 99, 200))
    same(mxd.map_blocks(np.negative, blocks), -a)


def test_planes(a, blocks):
    planes = a.transpose(2, 0, 1).copy()
    stored = da.from_array(planes, chunks=(2, 32, 40))
    same(mxd.invert(stored, planes=True), ~planes)
    same(mxd.blur(stored, 5, planes=True), mox.blur(planes, 5, planes=True))
    same(mxd.rgb_to_gray(stored, planes=True), mox.rgb_to_gray(planes, planes=True))
    assert mxd.norm(stored, planes=True).compute() == mox.norm(a)


@pytest.mark.parametrize("border", BORDERS, ids=str)
def test_filters(border, a, blocks, cover):
    rules = {"border": border}
    same(mxd.blur(blocks, (9, 5), **rules), mox.blur(a, (9, 5), **rules))
    same(mxd.median_filter(blocks, (3, 4), anchor=(0, 3), mask=cover, **rules),
         mox.median_filter(a, (3, 4), anchor=(0, 3), mask=cover, **rules))
    kernel = np.arange(15).reshape(3, 5)
    same(mxd.convolve(blocks, kernel, shift=6, **rules), mox.convolve(a, kernel, shift=6, **rules))
    same(mxd.convolve_separable(blocks, [1, 2, 1], [1, 4, 6, 4, 1], shift=6, **rules),
         mox.convolve_separable(a, [1, 2, 1], [1, 4, 6, 4, 1], shift=6, **rules))
    same(mxd.fixed_filter(blocks, "gaussian_5x5", **rules),
         mox.fixed_filter(a, "gaussian_5x5", **rules))
    template = a[20:31, 50:59].copy()
    same(mxd.correlate(blocks, template, **rules), mox.correlate(a, template, **rules))
    for name in ("erode", "dilate", "opening", "closing"):
        if border == "wrap":
            with pytest.raises(TypeError, match="wrap"):
                getattr(mxd, name)(blocks, 3, **rules)
        else:
            same(getattr(mxd, name)(blocks, 3, **rules), getattr(mox, name)(a, 3, **rules))


def test_windows_larger_than_blocks(a):
    small = da.from_array(a, chunks=(16, 16, 3))
    same(mxd.blur(small, (41, 51), border="reflect"), mox.blur(a, (41, 51), border="reflect"))
    same(mxd.max_filter(small, (301, 5), border="replicate"),
         mox.max_filter(a, (301, 5), border="replicate"))


def test_floats(a):
    f = random_image(4, (93, 117), np.float32)
    blocks = da.from_array(f, chunks=40)
    kernel = np.linspace(-1, 1, 15).reshape(3, 5)
    same(mxd.convolve(blocks, kernel, border="reflect"), mox.convolve(f, kernel, border="reflect"))
    f[3, 4] = np.nan
    assert mxd.min_max(blocks).compute() == mox.min_max(f)
    for refused in (lambda: mxd.blur(blocks, 3), lambda: mxd.norm(blocks),
                    lambda: mxd.moments(blocks), lambda: mxd.correlate(blocks, f[:5, :5])):
        with pytest.raises(TypeError, match="round"):
            refused()


@pytest.mark.parametrize("dtype", ["uint8", "int8", "uint16", "int16"])
def test_measures(dtype, cover):
    a, b = random_image(5, (93, 117), dtype), random_image(6, (93, 117), dtype)
    blocks, other = da.from_array(a, chunks=(32, 40)), da.from_array(b, chunks=50)
    for kind in ("c", "l1", "l2"):
        for arguments, plain in (((blocks,), (a,)), ((blocks, other), (a, b))):
            assert mxd.norm(*arguments, kind=kind).compute() == mox.norm(*plain, kind=kind)
            assert (mxd.norm(*arguments, kind=kind, mask=cover).compute()
                    == mox.norm(*plain, kind=kind, mask=cover))
        assert (mxd.norm(blocks, other, kind, relative=True).compute()
                == mox.norm(a, b, kind, relative=True))
    merged, plain = mxd.moments(blocks, mask=cover).compute(), mox.moments(a, mask=cover)
    np.testing.assert_array_equal(merged.cells(), plain.cells())
    for m in range(4):
        for n in range(4 - m):
            for method in ("spatial", "central", "normalized_central"):
                first = getattr(merged, method)(m, n)
                second = getattr(plain, method)(m, n)
                assert first == second or (first != first and second != second)
    if a.dtype.kind == "u":
        np.testing.assert_array_equal(mxd.histogram(blocks, mask=cover).compute(),
                                      mox.histogram(a, mask=cover))


def test_large_numbers():
    """Sums that no double holds are rounded once, as in one piece."""
    a = np.full((600, 700), 65535, np.uint16)
    a[::3] -= np.arange(700, dtype=np.uint16)
    blocks = da.from_array(a, chunks=(256, 333))
    np.testing.assert_array_equal(mxd.moments(blocks).compute().cells(), mox.moments(a).cells())
    assert mxd.norm(blocks).compute() == mox.norm(a)
    large = np.full((4000, 3000), 65535, np.uint16)
    large[0, 0] = 2
    keywords = {"channel": None, "alpha": False, "planes": False}
    exact = (large.size - 1) * 65535**2 + 4
    assert exact != int(float(exact))
    part = mxd._norm_part(0, 0, large, mask=None, kind="l2", keywords=keywords)
    assert part == exact


def test_refusals(blocks, a):
    with pytest.raises(TypeError, match="out="):
        mxd.add(blocks, 1, out=a)
    with pytest.raises(ValueError, match="size"):
        mxd.add(blocks, blocks[:5])
    with pytest.raises(TypeError, match="all sides"):
        mxd.blur(blocks, 3, border=("wrap", "wrap", 0, 0))
    with pytest.raises(ValueError, match="mask"):
        mxd.blur(blocks, 3, mask=np.ones((3, 3), bool))
    with pytest.raises(mox.Error):
        mxd.bitwise_and(da.zeros((9, 9), dtype=np.float32), 1)
    with pytest.raises(ZeroDivisionError):
        mxd.norm(blocks, da.zeros_like(blocks), relative=True).compute()


def test_a_picture_of_ten_thousand_million_pixels_is_planned():
    huge = da.zeros((100_000, 100_000), dtype=np.uint8, chunks=4096)
    result = mxd.threshold(mxd.blur(huge, 15, border="reflect"), 5)
    assert result.shape == huge.shape
    corner = result[-10:, -10:].compute()
    assert corner.shape == (10, 10) and not corner.any()


def until_told(block, folder):
    """Leaves a mark in a folder; behind the first blocks it waits for a word to go on."""
    done = len(os.listdir(folder))
    mark = f"{os.getpid()}-{time.monotonic_ns()}"
    if done < 20:
        open(os.path.join(folder, mark), "w").close()
        return block
    open(os.path.join(folder, f"{mark}.waits"), "w").close()
    while not os.path.exists(os.path.join(folder, "go")):
        time.sleep(0.02)
    return block


def wait_for(condition, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, "the workers do not get there"
        time.sleep(0.02)


def test_a_worker_is_killed(tmp_path):
    """Two processes over a chunked store; one is killed with a block in hand and others done."""
    distributed = pytest.importorskip("distributed")
    zarr = pytest.importorskip("zarr")
    import dask
    a = random_image(7, (512, 640), np.uint8)
    stored, result_at = str(tmp_path / "in.zarr"), str(tmp_path / "out.zarr")
    zarr.open(stored, "w", shape=a.shape, chunks=(64, 64), dtype=a.dtype)[:] = a
    marks = tmp_path / "marks"
    marks.mkdir()

    def waiting():
        return {name.split("-")[0] for name in os.listdir(marks) if name.endswith(".waits")}

    with dask.config.set({"distributed.scheduler.allowed-failures": 9}), \
            distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                     dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        picture = mxd.map_blocks(until_told, da.from_zarr(stored), folder=str(marks))
        result = mxd.blur(mxd.add(picture, 9), (7, 5), border="reflect")
        running = client.compute(result.to_zarr(result_at, compute=False))
        wait_for(lambda: len(waiting()) == 2)
        os.kill(int(min(waiting())), signal.SIGKILL)
        (marks / "go").touch()
        running.result(timeout=90)
        total = mxd.norm(da.from_zarr(result_at)).compute(scheduler=client)
    expected = mox.blur(mox.add(a, 9), (7, 5), border="reflect")
    np.testing.assert_array_equal(zarr.open(result_at)[:], expected)
    assert total == mox.norm(expected)
