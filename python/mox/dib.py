"""Device-independent bitmaps: a header of 40 bytes, palette and pixels, in bytes."""

import ctypes
import struct
from typing import Optional, Union

import numpy as np

from . import _records as records
from ._calls import check_out, choice, size_of
from ._errors import invoke
from ._images import WHOLE, Layout, give_back, lend
from ._library import lib
from ._types import AnyImage
from .depth import _DITHERS
from .synth import copy_of_header

_HEADER = 40
_COMPRESSED = (records.BI_RLE8, records.BI_RLE4)


def _pixels_at(bits, compression, used):
    """Where the pixels of a packed bitmap begin."""
    masks = 12 if compression == records.BI_BITFIELDS and bits in (16, 32) else 0
    colours = used or (1 << bits if bits <= 8 else 0)
    return _HEADER + masks + 4 * colours


def _row_bytes(width, bits):
    return (width * bits + 31) // 32 * 4


def _buffer(data):
    """A copy of a bitmap whose bytes are all there: no function is told how many there are."""
    data = bytes(data)
    if len(data) < _HEADER:
        raise ValueError("a bitmap begins with 40 bytes of header")
    width, height = struct.unpack_from("<ii", data, 4)
    bits, compression, size = struct.unpack_from("<HII", data, 14)
    used = struct.unpack_from("<I", data, 32)[0]
    start = _pixels_at(bits, compression, used) if bits <= 32 else _HEADER
    if used <= 0x8000 and start > len(data):
        raise ValueError("the bitmap's palette is not all there")
    if compression in _COMPRESSED:
        if size > len(data) - start:
            raise ValueError("the bitmap's pixels are not all there")
    elif start + _row_bytes(abs(width), bits) * abs(height) > len(data):
        raise ValueError("the bitmap's pixels are not all there")
    buffer = ctypes.create_string_buffer(data, len(data))
    if compression in _COMPRESSED and size == 0:
        struct.pack_into("<I", buffer, 20, len(data) - start)
    return buffer


def from_dib(data: Union[bytes, bytearray, memoryview], out: Optional[AnyImage] = None, *,
             bgr: bool = False) -> AnyImage:
    """The picture of a packed bitmap of 1, 4, 8, 16, 24 or 32 bits, top row first.

    Without out the array is (h, w) of bool or uint8 where the palette is gray, else (h, w, 3), or
    at 32 bits (h, w, 4) with alpha. out is of one, three or four channels, bool, uint8 or uint16.

    bgr  blue first in place of red
    """
    buffer = _buffer(data)
    header = ctypes.cast(buffer, ctypes.POINTER(records.BITMAPINFOHEADER))
    if out is not None:
        height, width, channels = size_of(out)
        check_out(out, height, width, None)
        lent = lend(out, _layout(channels, bgr), WHOLE, True)
        invoke(lib.moxConvertFromDIB, header, lent.ref)
        give_back(lent)
        return out
    clone = ctypes.c_int(1)
    made = invoke(lib.moxTranslateDIB, header, ctypes.byref(clone))
    try:
        picture = copy_of_header(made.contents)
        if made.contents.origin == records.MOX_ORIGIN_BL:
            picture = picture[::-1]
    finally:
        lib.moxDeallocate(made, records.MOX_FreeHeader | records.MOX_FreeData)
    if picture.ndim == 3 and not bgr:
        picture = picture[..., [2, 1, 0, 3][:picture.shape[2]]]
    return np.ascontiguousarray(picture)


def _layout(channels, bgr):
    sequence = {1: b"G", 3: b"BGR" if bgr else b"RGB", 4: b"BGRA" if bgr else b"RGBA"}
    return Layout(alpha=channels == 4, sequence=sequence.get(channels, b""))


_PALETTES = {"own": records.MOX_PALCONV_NONE, "fixed": records.MOX_PALCONV_POPULATE,
             "medcut": records.MOX_PALCONV_MEDCUT}


def to_dib(a: AnyImage, bits: int = 24, *, palette: Union[str, np.ndarray] = "medcut",
           dither: str = "none", compressed: bool = False, bgr: bool = False) -> bytes:
    """A packed bitmap, bottom row first.

    a           (h, w), (h, w, 3), or (h, w, 4) with alpha; bool, uint8 or uint16
    bits        1, 4, 8, 16, 24 or 32
    palette     up to 8 bits: "medcut" from the picture's own colours, "fixed", or an array (n, 3)
                of uint8, red first
    dither      "none", "fs", "jjh", "stuckey" or "bayer"
    compressed  run lengths, at 4 and 8 bits, if they are shorter
    bgr         blue comes first in a
    """
    height, width, channels = size_of(a)
    if bits not in (1, 4, 8, 16, 24, 32):
        raise ValueError("a bitmap has 1, 4, 8, 16, 24 or 32 bits a pixel")
    colours = None
    if not isinstance(palette, str):
        colours = np.asarray(palette)
        if colours.ndim != 2 or colours.shape[1] != 3 or colours.dtype != np.uint8:
            raise ValueError("a palette is (n, 3) of uint8")
        if bits > 8 or not 1 <= len(colours) <= 1 << bits:
            raise ValueError(f"a palette of {len(colours)} colours does not go with {bits} bits")
        palette = "own"
    elif bits > 8:
        palette = "own"
    elif palette == "own":
        raise ValueError("palette is 'medcut', 'fixed' or an array")
    rows = _row_bytes(width, bits) * height
    room = _HEADER + (4 << bits if bits <= 8 else 0) + rows
    buffer = ctypes.create_string_buffer(room)
    header = ctypes.cast(buffer, ctypes.POINTER(records.BITMAPINFOHEADER))
    info = header.contents
    info.biSize, info.biWidth, info.biHeight = _HEADER, width, height
    info.biPlanes, info.biBitCount = 1, bits
    if compressed:
        info.biCompression = {8: records.BI_RLE8, 4: records.BI_RLE4}.get(bits, 0)
    if colours is not None:
        info.biClrUsed = len(colours)
        entries = np.zeros((len(colours), 4), np.uint8)
        entries[:, :3] = colours[:, ::-1]
        ctypes.memmove(ctypes.addressof(buffer) + _HEADER, entries.tobytes(), entries.nbytes)
    lent = lend(a, _layout(channels, bgr), WHOLE)
    invoke(lib.moxConvertToDIB, lent.ref, header, choice(dither, _DITHERS, "dither"),
           choice(palette, _PALETTES, "palette"))
    give_back(lent)
    start = _pixels_at(bits, info.biCompression, info.biClrUsed)
    size = info.biSizeImage if info.biCompression in _COMPRESSED else rows
    return buffer.raw[:start + size]
