"""Functions of one's own, noise, and a test image."""

import ctypes
from typing import Callable, Optional

import numpy as np

from . import _records as records
from ._calls import check_out, coi_of, copy_of, dtype_of, lend_mask, run, set_mask, size_of
from ._errors import call_back, invoke, thread
from ._images import (DTYPES, FLOAT, Layout, depth_of, give_back, lend, whole)
from ._library import lib
from ._types import AnyImage, Channel, Mask
from .moving import copy


def process(a: AnyImage, function: Callable[[int], int], out: Optional[AnyImage] = None, *,
            mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
            planes: bool = False) -> AnyImage:
    """function(sample) of every sample, limited to the range of the dtype; all integers.

    Python is called for each sample, about a million times a second: for tables of levels see
    contrast_stretch(). An exception ends the calls and comes out here.
    """
    return _process(lib.moxUserProcess, records.MoxUserFunc, function, a, out, mask, channel,
                    alpha, planes)


def process_float(a: AnyImage, function: Callable[[float], float],
                  out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
                  channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """process() in floats, at every dtype but bool; results are cut toward zero at integers."""
    return _process(lib.moxUserProcessFP, records.MoxUserFuncFP, function, a, out, mask, channel,
                    alpha, planes)


def _process(operation, prototype, function, a, out, mask, channel, alpha, planes):
    checked = float if prototype is records.MoxUserFuncFP else _small

    def call(sample):
        if thread.exception is None:
            result = call_back(lambda: checked(function(sample)))
            if result is not None:
                return result
        return sample

    thread.serves = True
    return run(operation, (a,), out, (prototype(call),), mask=mask, channel=channel, alpha=alpha,
               planes=planes)


def _small(value):
    return whole(value, "what the function returns")


def process_pixels(a: AnyImage, function: Callable[[np.ndarray, np.ndarray], None],
                   out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
                   channel: Channel = None, alpha: bool = False,
                   planes: bool = False) -> AnyImage:
    """function(pixel, result) of every pixel: two arrays of its samples, of which it writes the
    second. They are valid during the call alone. An exception ends the work and comes out here."""
    left_out = alpha or getattr(a, "alpha", False) or getattr(out, "alpha", False)
    count = 1 if channel is not None else size_of(a, planes)[2] - (1 if left_out else 0)
    source_dtype = dtype_of(a)
    result_dtype = source_dtype if out is None else dtype_of(out)

    def samples(address, dtype):
        buffer = (ctypes.c_char * (count * dtype.itemsize)).from_address(address)
        return np.frombuffer(buffer, dtype)

    def call(_source, pixel, _target, result):
        call_back(lambda: function(samples(pixel, source_dtype), samples(result, result_dtype)))
        if thread.exception is not None:
            # A status that the function leaves ends the work.
            lib.moxSetErrStatus(records.MOX_StatusGeneral)

    thread.serves = True
    return run(lib.moxUserProcessPixel, (a,), out, (records.MoxUserFuncPixel(call),), mask=mask,
               channel=channel, alpha=alpha, planes=planes)


def _noise(record, a, out, mask, channel, alpha, planes):
    height, width, channels = size_of(a, planes)
    if out is None:
        out = copy_of(a)
    elif out is not a:
        check_out(out, height, width, dtype_of(a), channels, planes)
        copy(a, out, mask=mask, channel=channel, alpha=alpha, planes=planes)
    check_out(out, height, width, None, planes=planes)
    lent = lend(out, Layout(planes, alpha, coi_of(channel, out, planes)), write=True)
    cover = None
    if mask is not None:
        cover = lend_mask(mask, height, width)
        set_mask(lent, cover)
    invoke(lib.moxNoiseImage, lent.ref, ctypes.byref(record))
    give_back(lent)
    return out


def _record(a, integers, floats, seed, **bounds):
    """What noise of the dtype is drawn by: integers(record, seed, ...) or floats(...)."""
    record = records.MoxNoiseParam()
    number = ctypes.c_uint(whole(seed, "seed", 0, 2**32 - 1))
    if dtype_of(a) == FLOAT:
        invoke(floats, ctypes.byref(record), number, *map(ctypes.c_float, bounds.values()))
    else:
        invoke(integers, ctypes.byref(record), number,
               *(whole(value, name) for name, value in bounds.items()))
    return record


def uniform_noise(a: AnyImage, seed: int, low: float, high: float,
                  out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
                  channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """a with uniform noise from low to high, the same from the same seed; every dtype but bool.
    In place with out=a."""
    record = _record(a, lib.moxNoiseUniformInit, lib.moxNoiseUniformInitFP, seed, low=low,
                     high=high)
    return _noise(record, a, out, mask, channel, alpha, planes)


def gaussian_noise(a: AnyImage, seed: int, mean: float, deviation: float,
                   out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
                   channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """a with Gaussian noise, the same from the same seed; every dtype but bool. In place with
    out=a."""
    record = _record(a, lib.moxNoiseGaussianInit, lib.moxNoiseGaussianInitFP, seed, mean=mean,
                     deviation=deviation)
    return _noise(record, a, out, mask, channel, alpha, planes)


def rings(width: int, height: int, dtype=np.uint8) -> np.ndarray:
    """A test image of rings that grow finer outward: (height, width) of any dtype."""
    depth = depth_of(np.dtype(dtype))
    made = invoke(lib.moxCreateImageJaehne, ctypes.c_uint(depth), whole(width, "width"),
                  whole(height, "height"))
    try:
        return copy_of_header(made.contents)
    finally:
        lib.moxDeallocate(made, records.MOX_FreeHeader | records.MOX_FreeData)


def copy_of_header(record) -> np.ndarray:
    """The pixels of an image of the library's own, in pixel order, as an array."""
    dtype = DTYPES[record.depth]
    size = record.widthStep * record.height
    data = np.frombuffer((ctypes.c_char * size).from_address(record.imageData), np.uint8)
    rows = data.reshape(record.height, record.widthStep)
    if record.depth == records.MOX_DEPTH_1U:
        return np.unpackbits(rows, axis=1, count=record.width).view(dtype)
    used = rows[:, :record.width * record.nChannels * dtype.itemsize]
    pixels = np.ascontiguousarray(used).view(dtype)
    if record.nChannels > 1:
        return pixels.reshape(record.height, record.width, record.nChannels)
    return pixels
