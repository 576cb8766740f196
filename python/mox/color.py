"""Colour models, gray, and the colour matrix.

Images are (h, w, 3), or with more channels, of which the first three count; with planes=True
(3, h, w). Red comes first, or with bgr=True blue. The other model's channels are in the order of
its name. Slices and other arrays with gaps are copied.
"""

import ctypes
from ctypes import c_float
from typing import Optional, Sequence

import numpy as np

from ._calls import dtype_of, run, size_of
from ._errors import invoke
from ._images import BOOL, WHOLE, Image, whole
from ._library import lib
from ._types import AnyImage, Mask


def _rgb(bgr):
    return b"RGB", b"BGR" if bgr else b"RGB"


def _renamed(out, names):
    if isinstance(out, Image):
        out.model, out.sequence = (name.decode() for name in names)
    return out


def _from_rgb(function, model, a, out, bgr, planes):
    height, width, _ = size_of(a, planes)
    done = run(function, (a,), out, planes=planes, result=(height, width, 3, dtype_of(a)),
               mode=WHOLE, out_mode=WHOLE, in_place=False, models=(_rgb(bgr), (model, model)))
    return _renamed(done, (model, model))


def _to_rgb(function, model, a, out, bgr, planes):
    height, width, _ = size_of(a, planes)
    if isinstance(a, Image):
        # A new result must not inherit the name of the model that it leaves.
        plain = Image(a.array, planes=a.planes, bottom_up=a.bottom_up, model=model.decode(),
                      sequence=model.decode(), region=a.region)
        if out is None:
            shape = (3, height, width) if a.planes else (height, width, 3)
            out = Image(np.empty(shape, dtype_of(a)), planes=a.planes, bottom_up=a.bottom_up,
                        model="RGB", sequence=_rgb(bgr)[1].decode())
        a = plain
    return run(function, (a,), out, planes=planes, result=(height, width, 3, dtype_of(a)),
               mode=WHOLE, out_mode=WHOLE, in_place=False, models=((model, model), _rgb(bgr)))


def rgb_to_hsv(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """Hue, saturation, value; uint8, uint16, int32. All ranges are those of the dtype."""
    return _from_rgb(lib.moxRGB2HSV, b"HSV", a, out, bgr, planes)


def hsv_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """The way back from rgb_to_hsv(), which is not exact in half of the hues: see mox.h."""
    return _to_rgb(lib.moxHSV2RGB, b"HSV", a, out, bgr, planes)


def rgb_to_hls(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """Hue, lightness, saturation; uint8, uint16, int32."""
    return _from_rgb(lib.moxRGB2HLS, b"HLS", a, out, bgr, planes)


def hls_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """The way back from rgb_to_hls()."""
    return _to_rgb(lib.moxHLS2RGB, b"HLS", a, out, bgr, planes)


def rgb_to_xyz(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """CIE XYZ; uint8, uint16, int32, float32."""
    return _from_rgb(lib.moxRGB2XYZ, b"XYZ", a, out, bgr, planes)


def xyz_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """The way back from rgb_to_xyz()."""
    return _to_rgb(lib.moxXYZ2RGB, b"XYZ", a, out, bgr, planes)


def rgb_to_yuv(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """Luminance and two differences; uint8, uint16, int32, float32."""
    return _from_rgb(lib.moxRGB2YUV, b"YUV", a, out, bgr, planes)


def yuv_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """The way back from rgb_to_yuv()."""
    return _to_rgb(lib.moxYUV2RGB, b"YUV", a, out, bgr, planes)


def rgb_to_ycrcb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
                 planes: bool = False) -> AnyImage:
    """Y, Cb, Cr; uint8, uint16, int32, float32."""
    return _from_rgb(lib.moxRGB2YCrCb, b"YCr", a, out, bgr, planes)


def ycrcb_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
                 planes: bool = False) -> AnyImage:
    """The way back from rgb_to_ycrcb()."""
    return _to_rgb(lib.moxYCrCb2RGB, b"YCr", a, out, bgr, planes)


def ycc_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """From Y, C1, C2 of Photo YCC; uint8."""
    return _to_rgb(lib.moxYCC2RGB, b"YCC", a, out, bgr, planes)


def rgb_to_luv(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """L, u, v of CIE L*u*v*; float32."""
    return _from_rgb(lib.moxRGB2LUV, b"LUV", a, out, bgr, planes)


def luv_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *, bgr: bool = False,
               planes: bool = False) -> AnyImage:
    """The way back from rgb_to_luv()."""
    return _to_rgb(lib.moxLUV2RGB, b"LUV", a, out, bgr, planes)


def rgb_to_gray(a: AnyImage, out: Optional[AnyImage] = None, *, dtype=None, bgr: bool = False,
                planes: bool = False) -> AnyImage:
    """Gray, (54 R + 183 G + 18 B) / 256: (h, w) of uint16, uint8 or bool, from (h, w, c) of uint8,
    uint16 or int32.

    dtype  that of a new result: a's own if not told (uint16 for int32)
    """
    height, width, _ = size_of(a, planes)
    if out is not None:
        dtype = dtype_of(out)
    elif dtype is None:
        dtype = np.uint16 if dtype_of(a) == np.int32 else dtype_of(a)
    done = run(lib.moxColorToGray, (a,), out, planes=planes,
               result=(height, width, 1, np.dtype(dtype)), mode=WHOLE, out_mode=WHOLE,
               in_place=False, models=(_rgb(bgr), (b"GRAY", b"G")))
    return _renamed(done, (b"GRAY", b"G"))


def gray_to_rgb(a: AnyImage, out: Optional[AnyImage] = None, *,
                weights: Sequence[float] = (1.0, 1.0, 1.0), bgr: bool = False,
                planes: bool = False) -> AnyImage:
    """Three channels (h, w, 3) from gray (h, w), each by its weight; uint8, uint16, int32, and
    uint8 from bool. Weights of three zeros stand for the shares of rgb_to_gray()."""
    height, width, _ = size_of(a, planes)
    dtype = np.dtype(np.uint8) if dtype_of(a) == BOOL else dtype_of(a)
    if out is None:
        wanted = planes or getattr(a, "planes", False)
        array = np.empty((3, height, width) if wanted else (height, width, 3), dtype)
        out = array
        if isinstance(a, Image):
            out = Image(array, planes=wanted, model="RGB", sequence="BGR" if bgr else "RGB",
                        bottom_up=a.bottom_up)
    numbers = [c_float(weight) for weight in weights]
    if len(numbers) != 3:
        raise ValueError("weights are three")
    return run(lib.moxGrayToColor, (a,), out, numbers, planes=planes,
               result=(height, width, 3, dtype), mode=WHOLE, out_mode=WHOLE, in_place=False,
               models=((b"GRAY", b"G"), _rgb(bgr)))


def color_twist(a: AnyImage, matrix, out: Optional[AnyImage] = None, *, scaling: int = -1,
                dtype=None, mask: Optional[Mask] = None, alpha: bool = False,
                planes: bool = False) -> AnyImage:
    """Turns the first three channels of each pixel by the first three rows of a matrix (4, 4).

    matrix   of numbers: computed in double precision, any dtype but bool, also to another dtype;
             with scaling of integers, each standing for itself / 2^scaling: uint8 and uint16
    """
    height, width, channels = size_of(a, planes)
    if out is not None:
        dtype = dtype_of(out)
    result = (height, width, channels if out is None else size_of(out, planes)[2],
              np.dtype(dtype or dtype_of(a)))
    values = np.asarray(matrix)
    if values.shape != (4, 4):
        raise ValueError("the matrix is (4, 4)")
    if scaling < 0:
        floats = np.ascontiguousarray(values, np.float32)
        return run(lib.moxColorTwistFP, (a,), out, (floats.ctypes,), mask=mask, alpha=alpha,
                   planes=planes, result=result)
    if values.dtype.kind not in "iu":
        raise TypeError("with scaling the matrix is of integers")
    numbers = np.ascontiguousarray(values, np.int32)
    twist = invoke(lib.moxCreateColorTwist, numbers.ctypes, whole(scaling, "scaling"))
    try:
        return run(lib.moxApplyColorTwist, (a,), out, (ctypes.c_void_p(twist), 0), mask=mask,
                   alpha=alpha, planes=planes, result=result)
    finally:
        lib.moxDeleteColorTwist(ctypes.c_void_p(twist))
