"""Images that are served tile by tile, from anything that can be indexed like an array."""

import ctypes
from collections import OrderedDict
from typing import Tuple

import numpy as np

from . import _records as records
from ._errors import call_back, thread
from ._images import (BOOL, FLOAT, Lent, address, depth_of, new_record, set_region,
                      size_of_shape, whole)
from .filters import pair


class Tiled:
    """A source or destination of tiles: a memory-mapped or chunked array larger than memory.

    source  what has shape, dtype, and source[rows, columns] to read and to write: numpy.memmap, a
            zarr or HDF5 array. (h, w) or (h, w, c), with planes (c, h, w)
    tile    (columns, rows) of a tile, multiples of 8; the source's chunks if they are such, or 256
    cache   tiles that are kept after their release, beside those that are in hand

    Operations take it wherever they take an array, and read and write through its index, one tile
    after the other. What they write is there when they return. An exception of the source's comes
    out of the operation; of the destination the tiles that were done before stay written.
    """

    def __init__(self, source, tile=None, *, planes: bool = False, alpha: bool = False,
                 cache: int = 16):
        if not all(hasattr(source, name) for name in ("shape", "dtype", "__getitem__")):
            raise TypeError("what is served as tiles has shape, dtype and an index, as arrays "
                            f"have: {type(source).__name__} has not")
        self.shape: Tuple[int, ...] = tuple(whole(side, "shape", 0) for side in source.shape)
        self.dtype = np.dtype(source.dtype)
        depth_of(self.dtype)
        _, _, channels = size_of_shape(self.shape, planes)
        if self.dtype == BOOL and channels > 1:
            raise ValueError("an image of bits has one channel")
        self.source = source
        self.planes = bool(planes)
        self.alpha = bool(alpha)
        self.tile = pair(tile, "tile") if tile is not None else self._usual_tile()
        if min(self.tile) < 8 or self.tile[0] % 8 or self.tile[1] % 8:
            raise ValueError(f"the sides of a tile are multiples of 8, not {self.tile}")
        self.cache = whole(cache, "cache", 0)

    def _usual_tile(self):
        chunks = getattr(self.source, "chunks", None)
        if isinstance(chunks, tuple) and all(isinstance(side, int) for side in chunks):
            planes = self.planes and len(chunks) == 3
            rows, columns = chunks[1:3] if planes else chunks[:2]
            if rows % 8 == 0 and columns % 8 == 0 and min(rows, columns) >= 8:
                return columns, rows
        return 256, 256

    def _size(self):
        return size_of_shape(self.shape, self.planes)

    def _dtype(self):
        return self.dtype

    def _lend(self, layout, mode, write):
        layout = layout._replace(planes=self.planes or layout.planes,
                                 alpha=self.alpha or layout.alpha)
        if layout.planes != self.planes and len(self.shape) == 3:
            raise ValueError("a Tiled says itself that it has planes")
        height, width, channels = self._size()
        record = new_record(depth_of(self.dtype), height, width, channels, 1, layout, None)
        serving = _Serving(self, height, width, channels)
        thread.serves = True
        # Nothing in `serving` leads back to the callback: its tiles go with the header, at once.
        callback = records.MoxTileCallback(serving.serve)
        info = records.MoxTileInfo(callback, None, None, *self.tile)
        record.tileInfo = ctypes.pointer(info)
        lent = Lent(record)
        lent.keep = serving, callback, info
        if layout.coi:
            set_region(lent, layout.coi, 0, 0, width, height)
        return lent


class _Tile:
    """A tile in memory."""

    __slots__ = ("memory", "at", "holders", "changed")

    def __init__(self, memory):
        self.memory = memory
        self.at = address(memory)
        self.holders = 0
        self.changed = False


class _Serving:
    """The tiles of one image during one operation."""

    def __init__(self, tiled, height, width, channels):
        self.tiled = tiled
        self.size = height, width
        self.channels = channels
        self.planes = tiled.planes and len(tiled.shape) == 3
        self.in_hand = {}
        self.kept = OrderedDict()

    def serve(self, image, x, y, mode):
        info = image.contents.tileInfo.contents
        if mode == records.MOX_TileRelease:
            call_back(self._release, x, y)
            return 0
        info.tileData = None
        if thread.exception is not None:
            return 0
        info.tileData = call_back(self._request, x, y, mode == records.MOX_TileWrite)
        return 0

    def _request(self, x, y, write):
        tile = self.in_hand.get((x, y))
        if tile is None:
            tile = self.kept.pop((x, y), None) or self._read(x, y)
            self.in_hand[x, y] = tile
        tile.holders += 1
        tile.changed |= write
        return tile.at

    def _release(self, x, y):
        tile = self.in_hand[x, y]
        tile.holders -= 1
        if tile.holders:
            return
        del self.in_hand[x, y]
        if tile.changed:
            self._write(x, y, tile)
        self.kept[x, y] = tile
        while len(self.kept) > self.tiled.cache:
            self.kept.popitem(last=False)

    def _place(self, x, y):
        """Where a tile lies in the source, and how much of it."""
        columns, rows = self.tiled.tile
        height, width = self.size
        place = (slice(y * rows, min((y + 1) * rows, height)),
                 slice(x * columns, min((x + 1) * columns, width)))
        used = tuple(slice(0, side.stop - side.start) for side in place)
        if self.planes:
            return (slice(None), *place), (slice(None), *used)
        return place, used

    def _read(self, x, y):
        columns, rows = self.tiled.tile
        place, used = self._place(x, y)
        pixels = np.asarray(self.tiled.source[place])
        expected = *(side.stop for side in used[-2:]), *self.tiled.shape[2:]
        if self.planes:
            expected = self.channels, *expected[:2]
        if pixels.shape != expected:
            raise ValueError(f"the source gave pixels of {pixels.shape} in place of {expected}")
        if pixels.dtype.kind not in "biu" and self.tiled.dtype != FLOAT:
            raise TypeError(f"the source gave pixels of {pixels.dtype} for {self.tiled.dtype}")
        if self.tiled.dtype == BOOL:
            pixels = pixels.reshape(pixels.shape[:2])
            memory = np.zeros((rows, (columns // 8 + 3) // 4 * 4), np.uint8)
            packed = np.packbits(pixels.astype(BOOL, copy=False), axis=1)
            memory[:packed.shape[0], :packed.shape[1]] = packed
            return _Tile(memory)
        if self.planes:
            shape = (self.channels, rows, columns)
        else:
            shape = (rows, columns) + self.tiled.shape[2:]
        memory = np.zeros(shape, self.tiled.dtype)
        memory[used] = pixels
        return _Tile(memory)

    def _write(self, x, y, tile):
        place, used = self._place(x, y)
        tile.changed = False
        if self.tiled.dtype == BOOL:
            width = used[1].stop
            bits = np.unpackbits(tile.memory[used[0]], axis=1, count=width).view(BOOL)
            if len(self.tiled.shape) == 3:
                bits = bits[..., np.newaxis]
            self.tiled.source[place] = bits
        else:
            self.tiled.source[place] = tile.memory[used]
