"""Copies and fills, at every dtype."""

from ctypes import c_float
from typing import Optional

import numpy as np

from ._calls import (check_out, coi_of, dtype_of, lend_mask, memory_of, run, set_mask, size_of)
from ._errors import invoke
from ._images import (BOOL, FLOAT, POINT, Layout, give_back, lend, whole)
from ._library import lib
from ._types import AnyImage, Channel, Constant, Mask


def copy(a: AnyImage, out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
         channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """The pixels of a, at any dtype, where mask is True; with channel only those of one channel.

    out of one channel takes the channel of interest; without out the others are copied as well.
    """
    # It does nothing while a fault is stored, even one that other users of the library have left.
    lib.moxSetErrStatus(0)
    return run(lib.moxCopy, (a,), out, mask=mask, channel=channel, alpha=alpha, planes=planes,
               mode=POINT, out_mode=POINT, turn=True)


def fill(out: AnyImage, value: Constant, *, mask: Optional[Mask] = None, channel: Channel = None,
         alpha: bool = False, planes: bool = False) -> AnyImage:
    """Sets all samples of an image, or those of a channel or under a mask. Integers are limited
    to the range of the dtype. Returns out."""
    height, width, _ = size_of(out, planes)
    check_out(out, height, width, None, planes=planes)
    if dtype_of(out) == FLOAT:
        function, number = lib.moxSetFP, c_float(value)
    else:
        function, number = lib.moxSet, whole(value)
    lent = lend(out, Layout(planes, alpha, coi_of(channel, out, planes)), POINT, True)
    cover = None
    if mask is not None:
        cover = lend_mask(mask, height, width)
        set_mask(lent, cover)
    invoke(function, lent.ref, number)
    give_back(lent)
    return out


def exchange(a: AnyImage, b: AnyImage, *, mask: Optional[Mask] = None, channel: Channel = None,
             alpha: bool = False, planes: bool = False) -> None:
    """Swaps the samples of two images, where mask is True."""
    lib.moxSetErrStatus(0)
    height, width, channels = size_of(b, planes)
    for image in (a, b):
        check_out(image, height, width, dtype_of(b), channels, planes)
    if memory_of(a) is not None and np.may_share_memory(memory_of(a), memory_of(b)):
        raise ValueError("images that are exchanged must not overlap")
    layout = Layout(planes, alpha, coi_of(channel, a, planes))
    first, second = lend(a, layout, POINT, True), lend(b, layout, POINT, True)
    cover = None
    if mask is not None:
        cover = lend_mask(mask, height, width)
        set_mask(second, cover)
    invoke(lib.moxExchange, first.ref, second.ref)
    give_back(first)
    give_back(second)


def get_pixel(a: AnyImage, x: int, y: int, *, planes: bool = False):
    """All samples of the pixel at column x and row y: an array (c,). For tiled images; of an array
    a[y, x] is as good."""
    channels = size_of(a, planes)[2]
    dtype = dtype_of(a)
    pixel = np.zeros(channels, np.uint8 if dtype == BOOL else dtype)
    lent = lend(a, Layout(planes))
    invoke(lib.moxGetPixel, lent.ref, whole(x, "x"), whole(y, "y"), pixel.ctypes)
    give_back(lent)
    return pixel.astype(dtype)


def _samples_of(value, dtype):
    """Numbers that a dtype has; numpy would cut others, or turn them over."""
    if dtype == FLOAT:
        return value
    numbers = np.asarray(value)
    if numbers.dtype.kind not in "iub":
        raise TypeError(f"samples of {dtype} are whole numbers, not {value!r}")
    low, high = (0, 1) if dtype == BOOL else (np.iinfo(dtype).min, np.iinfo(dtype).max)
    if numbers.size and not low <= numbers.min() <= numbers.max() <= high:
        raise ValueError(f"samples of {dtype} lie within {low} to {high}: {value!r}")
    return numbers


def put_pixel(out: AnyImage, x: int, y: int, value, *, planes: bool = False) -> None:
    """Writes all samples of the pixel at column x and row y."""
    height, width, channels = size_of(out, planes)
    check_out(out, height, width, None, planes=planes)
    dtype = dtype_of(out)
    samples = np.empty(channels, np.uint8 if dtype == BOOL else dtype)
    samples[:] = _samples_of(value, dtype)
    lent = lend(out, Layout(planes), write=True)
    invoke(lib.moxPutPixel, lent.ref, whole(x, "x"), whole(y, "y"), samples.ctypes)
    give_back(lent)
