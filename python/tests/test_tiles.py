"""Images that are served in tiles give what plain ones give."""

import numpy as np
import pytest
from conftest import random_image

import mox
from mox import _images

SHAPES = {"gray": (53, 71), "rgb": (53, 71, 3), "bits": (53, 71)}


def image(kind):
    return random_image(1, SHAPES[kind], bool if kind == "bits" else np.uint8)


class Store:
    """What only indexes: no array of numpy's. It notes what it is asked for."""

    def __init__(self, array):
        self.array = array
        self.shape, self.dtype = array.shape, array.dtype
        self.read, self.written = [], []

    def __getitem__(self, place):
        self.read.append(place)
        return self.array[place].tolist() if self.dtype != bool else self.array[place]

    def __setitem__(self, place, value):
        self.written.append(place)
        self.array[place] = value


CALLS = {
    "invert": lambda a, out: mox.invert(a, out),
    "add": lambda a, out: mox.add(a, a, out),
    "blur": lambda a, out: mox.blur(a, (31, 15), out, border="reflect"),
    "median": lambda a, out: mox.median_filter(a, 3, out),
    "dilate": lambda a, out: mox.dilate(a, 2, out, border="replicate"),
    "mirror": lambda a, out: mox.mirror(a, 1, out),
    "rotate": lambda a, out: mox.rotate(a, 30, out),
    "copy": lambda a, out: mox.copy(a, out),
    "resize": lambda a, out: mox.resize(a, out=out),
}


@pytest.mark.parametrize("kind", SHAPES)
@pytest.mark.parametrize("name", CALLS)
@pytest.mark.parametrize("tile,cache", [((16, 8), 0), ((64, 32), 3), ((128, 64), 16)])
def test_equal(name, kind, tile, cache):
    a = image(kind)
    expected = CALLS[name](a, np.zeros_like(a))
    source = mox.Tiled(Store(a.copy()), tile, cache=cache)
    stored = Store(np.zeros_like(a))
    target = mox.Tiled(stored, (tile[0] + 8, tile[1]), cache=cache)
    assert CALLS[name](source, target) is target
    np.testing.assert_array_equal(stored.array, expected)
    np.testing.assert_array_equal(CALLS[name](source, np.zeros_like(a)), expected)
    assert stored.written
    np.testing.assert_array_equal(source.source.array, a)
    assert not source.source.written


def test_planes_masks_and_channels():
    a = random_image(2, (3, 40, 50), np.int16)
    cover = random_image(3, (40, 50), bool)
    stored = a.copy()
    tiled = mox.Tiled(stored, 16, planes=True)
    mox.invert(tiled, tiled, mask=cover, channel=1)
    expected = a.copy()
    expected[1][cover] = ~a[1][cover]
    np.testing.assert_array_equal(stored, expected)


def test_in_place():
    a = image("rgb")
    stored = a.copy()
    tiled = mox.Tiled(stored, (16, 16))
    mox.blur(tiled, 5, tiled, border="replicate")
    np.testing.assert_array_equal(stored, mox.blur(a, 5, border="replicate"))
    with pytest.raises(ValueError, match="in place"):
        mox.median_filter(tiled, 3, tiled)


def test_memory_mapped(tmp_path):
    a = image("rgb")
    for name in ("in", "out"):
        np.memmap(tmp_path / name, np.uint8, "w+", shape=a.shape)[:] = a
    source = np.memmap(tmp_path / "in", np.uint8, "r", shape=a.shape)
    target = np.memmap(tmp_path / "out", np.uint8, "r+", shape=a.shape)
    mox.blur(mox.Tiled(source, 32), 9, mox.Tiled(target, 32))
    np.testing.assert_array_equal(target, mox.blur(a, 9))


def test_zarr(tmp_path):
    zarr = pytest.importorskip("zarr")
    a = image("gray")
    source = zarr.open(str(tmp_path / "in.zarr"), "w", shape=a.shape, chunks=(24, 16),
                       dtype=a.dtype)
    source[:] = a
    target = zarr.open(str(tmp_path / "out.zarr"), "w", shape=a.shape, chunks=(24, 16),
                       dtype=a.dtype)
    assert mox.Tiled(source).tile == (16, 24)
    mox.max_filter(mox.Tiled(source), 5, mox.Tiled(target))
    np.testing.assert_array_equal(target[:], mox.max_filter(a, 5))


def test_a_new_result_is_an_array():
    a = image("rgb")
    np.testing.assert_array_equal(mox.blur(mox.Tiled(a, 16), 3), mox.blur(a, 3))
    assert mox.norm(mox.Tiled(a, 16)) == mox.norm(a)
    np.testing.assert_array_equal(mox.histogram(mox.Tiled(a, 16)), mox.histogram(a))
    np.testing.assert_array_equal(mox.less(mox.Tiled(a, 16), 99), mox.less(a, 99))
    assert mox.get_pixel(mox.Tiled(a, 16), 40, 50).tolist() == a[50, 40].tolist()


@pytest.mark.parametrize("where", ["read", "write"])
@pytest.mark.parametrize("name", ["invert", "blur", "copy", "rotate"])
def test_exceptions_come_out(name, where):
    a = image("rgb")

    class Failing(Store):
        def __getitem__(self, place):
            if where == "read" and place[1].start:
                raise OSError("the disk is gone")
            return super().__getitem__(place)

        def __setitem__(self, place, value):
            if where == "write" and place[1].start:
                raise OSError("the disk is full")
            super().__setitem__(place, value)

    failing = Failing(a.copy())
    arguments = ((mox.Tiled(failing, 16), np.zeros_like(a)) if where == "read"
                 else (a, mox.Tiled(failing, 16)))
    for _ in range(2):
        with pytest.raises(OSError, match="disk") as caught:
            CALLS[name](*arguments)
        assert any(entry.name in ("__getitem__", "__setitem__") for entry in caught.traceback)
    np.testing.assert_array_equal(mox.invert(a), ~a)


def test_a_source_may_call_the_library():
    a = image("gray")

    class Computed(Store):
        def __getitem__(self, place):
            with pytest.raises(mox.Error):
                mox.bitwise_and(np.zeros((2, 2), np.float32), np.zeros((2, 2), np.float32))
            return mox.invert(self.array[place])

    np.testing.assert_array_equal(mox.blur(mox.Tiled(Computed(a), 16), 3), mox.blur(~a, 3))


def test_wrong_shapes_of_tiles():
    a = image("gray")
    for tile in (7, (16, 12), (0, 8), -8):
        with pytest.raises(ValueError, match="multiples of 8"):
            mox.Tiled(a, tile)
    with pytest.raises(TypeError, match="not supported"):
        mox.Tiled(a.astype(float))

    class Short(Store):
        def __getitem__(self, place):
            return self.array[place][:-1]

    with pytest.raises(ValueError):
        mox.blur(mox.Tiled(Short(a), 16), 3)


def test_one_image_in_every_place_of_a_call():
    """The same tile is in hand several times, and goes when as many releases have come."""
    a = random_image(4, (40, 50), np.uint8)
    store = Store(a.copy())
    tiled = mox.Tiled(store, 16, cache=0)
    assert mox.bitwise_xor(tiled, tiled, tiled) is tiled
    assert not store.array.any()
    store = Store(a.copy())
    tiled = mox.Tiled(store, (64, 8), cache=0)
    mox.add(tiled, tiled, tiled)
    np.testing.assert_array_equal(store.array, mox.add(a, a))
    mox.dilate(tiled, 3, tiled)
    np.testing.assert_array_equal(store.array, mox.dilate(mox.add(a, a), 3))
    assert len(store.read) <= 5 * 4 * 8


def test_a_tile_stays_until_its_last_release():
    serving = mox.Tiled(Store(random_image(5, (40, 50), np.uint8)), 16)._lend(
        _images.PLAIN, _images.REGION, False).keep[0]
    place = serving._request(1, 1, False)
    assert serving._request(1, 1, True) == place
    serving._release(1, 1)
    assert (1, 1) in serving.in_hand and not serving.tiled.source.written
    serving._release(1, 1)
    assert (1, 1) not in serving.in_hand and len(serving.tiled.source.written) == 1
    assert serving._request(1, 1, False) == place and len(serving.tiled.source.read) == 1
