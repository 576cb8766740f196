"""From one dtype to another, thresholds, fewer levels."""

from ctypes import c_float
from typing import Optional

import numpy as np

from . import _records as records
from ._calls import choice, dtype_of, run, size_of
from ._errors import check_status
from ._images import BOOL, WHOLE, whole
from ._library import lib
from ._types import AnyImage, Channel, Mask


def _result(a, dtype, out, planes, channels=None):
    height, width, own = size_of(a, planes)
    if out is not None:
        return height, width, size_of(out, planes)[2], dtype_of(out)
    if dtype is None:
        raise TypeError("a new result needs dtype")
    return height, width, own if channels is None else channels, np.dtype(dtype)


def convert(a: AnyImage, dtype=None, out: Optional[AnyImage] = None, *, channel: Channel = None,
            planes: bool = False) -> AnyImage:
    """The same numbers, limited to the range of another dtype; all channels, alpha too.

    dtype    uint8, int8, uint16, int16, int32 or bool, which is True above 0
    channel  for bool, the channel that counts
    Images with planes become pixels, and upside down ones are turned, if out is such an Image.
    """
    single = dtype is not None and np.dtype(dtype) == BOOL
    return run(lib.moxConvert, (a,), out, channel=channel, planes=planes,
               result=_result(a, dtype, out, planes, 1 if single else None), mode=WHOLE,
               out_mode=WHOLE, in_place=False)


def scale(a: AnyImage, dtype=None, out: Optional[AnyImage] = None, *,
          mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
          planes: bool = False) -> AnyImage:
    """The same place in the range of another dtype: uint8, int8, uint16, int16 and int32."""
    return run(lib.moxScale, (a,), out, mask=mask, channel=channel, alpha=alpha, planes=planes,
               result=_result(a, dtype, out, planes), in_place=False)


def scale_float(a: AnyImage, dtype=np.float32, out: Optional[AnyImage] = None, *,
                low: float = 0.0, high: float = 1.0, mask: Optional[Mask] = None,
                channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """Between integers and float32: the ends of the integers' range are low and high.

    dtype  float32 for integers, and for float32 uint8, int8, uint16, int16 or int32
    """
    return run(lib.moxScaleFP, (a,), out, (c_float(low), c_float(high)), mask=mask,
               channel=channel, alpha=alpha, planes=planes,
               result=_result(a, dtype, out, planes), in_place=False)


def bits_to_gray(a: AnyImage, dtype=np.uint8, out: Optional[AnyImage] = None, *, low: int = 0,
                 high: int = 255, mask: Optional[Mask] = None) -> AnyImage:
    """high where a bit is set, low where it is clear: bool to any dtype of integers."""
    return run(lib.moxBitonalToGray, (a,), out, (whole(low, "low"), whole(high, "high")),
               mask=mask, result=_result(a, dtype, out, False), in_place=False)


def threshold(a: AnyImage, value: int, dtype=np.bool_, out: Optional[AnyImage] = None, *,
              mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
              planes: bool = False) -> AnyImage:
    """The highest value of dtype where a >= value, else the lowest; True and False of bool.

    a  uint8, int8, uint16, int16 or int32; several channels go to bool one by one, with channel
    """
    if out is None and channel is not None and np.dtype(dtype) == BOOL:
        height, width, _ = size_of(a, planes)
        result = height, width, 1, BOOL
    else:
        result = _result(a, dtype, out, planes)
        if out is None and result[3] == BOOL and result[2] > 1:
            raise ValueError("an image of bits has one channel: tell the channel")
    return run(lib.moxThreshold, (a,), out, (whole(value),), mask=mask, channel=channel,
               alpha=alpha, planes=planes, result=result)


_DITHERS = {"none": records.MOX_DITHER_NONE, "fs": records.MOX_DITHER_FS,
            "jjh": records.MOX_DITHER_JJH, "stuckey": records.MOX_DITHER_STUCKEY,
            "bayer": records.MOX_DITHER_BAYER}


def reduce_bits(a: AnyImage, dtype=np.bool_, out: Optional[AnyImage] = None, *,
                levels: Optional[int] = None, dither: str = "fs", noise: int = 0,
                mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                planes: bool = False) -> AnyImage:
    """Fewer levels or bits, by error diffusion ("fs", "jjh", "stuckey"), an ordered matrix
    ("bayer") or "none".

    a       uint8, uint16, int32
    dtype   as many bits or fewer: int32, uint16, uint8, bool
    levels  2 to the number of values of dtype, which it is if not told
    noise   percent; it draws from the C library's generator, which threads share
    """
    if out is None and np.dtype(dtype) == BOOL and size_of(a, planes)[2] > 1:
        if channel is None:
            raise ValueError("an image of bits has one channel: tell the channel")
        result = (*size_of(a, planes)[:2], 1, BOOL)
    else:
        result = _result(a, dtype, out, planes)
    if levels is None:
        levels = {BOOL: 2, np.dtype(np.uint8): 256,
                  np.dtype(np.uint16): 65536}.get(result[3], 2**31 - 1)
    return run(lib.moxReduceBits, (a,), out,
               (whole(noise, "noise"), choice(dither, _DITHERS, "dither"),
                whole(levels, "levels")), mask=mask, channel=channel, alpha=alpha, planes=planes,
               result=result, in_place=False, check=lambda _: check_status("moxReduceBits"))
