"""Filters: what a pixel becomes from those around it.

Windows are (columns, rows), or one number for both; anchor is the pixel of the window that the
result belongs to, as (column, row), its middle if not told. What a window reads beyond the image
follows border: a constant (0 if not told), "replicate", "reflect" (which doubles the edge, as
"symmetric" of numpy.pad does) or "wrap", or four of these for the top, bottom, left and right.

A slice is an image of its own: where it ends its border begins. The region of an Image is not: the
pixels around it are input.
"""

import ctypes
import functools
from typing import Optional, Sequence, Union

import numpy as np

from . import _records as records
from ._calls import choice, dtype_of, run, size_of, unary
from ._errors import invoke
from ._images import FLOAT, WINDOW, ndarray, whole
from ._library import lib
from ._types import AnyImage, Border, Channel, Mask, Pair


def pair(value, name):
    """Two whole numbers, x first, or one for both."""
    if isinstance(value, (tuple, list, ndarray)):
        if len(value) != 2:
            raise ValueError(f"{name} is one number, or two: columns and rows")
        return whole(value[0], name), whole(value[1], name)
    number = whole(value, name)
    return number, number


def _make_window(size, anchor):
    columns, rows = pair(size, "size")
    if anchor is None:
        return columns, rows, columns // 2, rows // 2
    return (columns, rows, *pair(anchor, "anchor"))


_known_window = functools.lru_cache(256, typed=True)(_make_window)


def _window(size, anchor):
    """A window as the library takes it: columns, rows, x and y of the anchor."""
    try:
        return _known_window(size, anchor)
    except TypeError:
        # Lists cannot be remembered, and what is no window says so here.
        return _make_window(size, anchor)


def blur(a: AnyImage, size: Pair, out: Optional[AnyImage] = None, *, anchor: Optional[Pair] = None,
         border: Border = None, mask: Optional[Mask] = None, channel: Channel = None,
         alpha: bool = False, planes: bool = False) -> AnyImage:
    """The mean of a window, cut off towards zero. All dtypes; of bits what half of them are.

    The sum, which has 32 bits, is multiplied by the float32 1 / n: 5 x 5 samples of 10 give 9.

    a        (h, w) or (h, w, c)
    size     (columns, rows)
    returns  an array of the same shape and dtype, or out, which may be a
    """
    return unary(lib.moxBlur, a, out, _window(size, anchor), mask, channel, alpha, planes, WINDOW,
                 border)


def _kernels(kernels):
    """The kernels of a call as a list of arrays of two dimensions."""
    if isinstance(kernels, ndarray) and kernels.ndim == 2:
        return [kernels]
    if isinstance(kernels, (list, tuple)) and len(kernels) and np.ndim(kernels[0]) == 2:
        return [np.asarray(kernel) for kernel in kernels]
    if isinstance(kernels, ndarray) and kernels.ndim == 3:
        return list(kernels)
    kernel = np.asarray(kernels)
    if kernel.ndim != 2:
        raise ValueError("a kernel is an array of (rows, columns), or several are a list of them")
    return [kernel]


class _Kernel:
    """A kernel of the library's, until it is let go."""

    def __init__(self, values, floating, shift, anchor):
        rows, columns = values.shape
        x, y = (columns // 2, rows // 2) if anchor is None else pair(anchor, "anchor")
        if floating:
            data = np.ascontiguousarray(values, np.float32)
            self.address = invoke(lib.moxCreateConvKernelFP, columns, rows, x, y, data.ctypes)
            self._delete = lib.moxDeleteConvKernelFP
        else:
            if values.dtype.kind not in "iub":
                raise TypeError("images of integers take kernels of integers, and a shift")
            if values.size and not -2**31 <= values.min() <= values.max() < 2**31:
                raise ValueError("coefficients are of 32 bits")
            data = np.ascontiguousarray(values, np.int32)
            self.address = invoke(lib.moxCreateConvKernel, columns, rows, x, y, data.ctypes, shift)
            self._delete = lib.moxDeleteConvKernel

    def __del__(self):
        if getattr(self, "address", None):
            self._delete(ctypes.c_void_p(self.address))


_COMBINATIONS = {"sum": records.MOX_COMBINE_SUM, "sumsq": records.MOX_COMBINE_SUMSQ,
                 "sumsqroot": records.MOX_COMBINE_SUMSQROOT, "max": records.MOX_COMBINE_MAX,
                 "min": records.MOX_COMBINE_MIN}


def convolve(a: AnyImage, kernels: Union[np.ndarray, Sequence], out: Optional[AnyImage] = None, *,
             shift: int = 0, anchor: Optional[Pair] = None, combine: str = "sum",
             border: Border = None, mask: Optional[Mask] = None, channel: Channel = None,
             alpha: bool = False, planes: bool = False) -> AnyImage:
    """Convolution with 1 to 10 kernels (rows, columns); the kernel is mirrored, as the word says.

    Images of integers take kernels of integers, whose sums are shifted right by `shift` and
    limited; float32 takes kernels of numbers of any kind. Several kernels' results become one by
    `combine`: "sum", "sumsq", "sumsqroot", "max" or "min". Of a single kernel "sum", "max" and
    "min" are the result itself, "sumsq" its square, "sumsqroot" its absolute value.
    """
    floating = dtype_of(a) == FLOAT
    made = [_Kernel(kernel, floating, whole(shift, "shift", 0, 31), anchor)
            for kernel in _kernels(kernels)]
    pointers = (ctypes.c_void_p * len(made))(*[kernel.address for kernel in made])
    function = lib.moxConvolve2DFP if floating else lib.moxConvolve2D
    return run(function, (a,), out,
               (pointers, len(made), choice(combine, _COMBINATIONS, "combine")), mask=mask,
               channel=channel, alpha=alpha, planes=planes, border=border, mode=WINDOW)


def convolve_separable(a: AnyImage, x_kernel: Optional[Sequence], y_kernel: Optional[Sequence],
                       out: Optional[AnyImage] = None, *, shift: int = 0,
                       anchor: Optional[Pair] = None, border: Border = None,
                       mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                       planes: bool = False) -> AnyImage:
    """Convolution with a kernel that is a column (y_kernel) times a row (x_kernel).

    The kernels are sequences of two coefficients at least; one of them may be None. Images of
    integers take integers, and their sums are shifted right by `shift`, once, and limited.
    """
    floating = dtype_of(a) == FLOAT
    middle = (len(x_kernel) // 2 if x_kernel is not None else 0,
              len(y_kernel) // 2 if y_kernel is not None else 0)
    x, y = middle if anchor is None else pair(anchor, "anchor")
    shift = whole(shift, "shift", 0, 31)
    row = column = None
    if x_kernel is not None:
        row = _Kernel(np.asarray(x_kernel).reshape(1, -1), floating, shift, (x, 0))
    if y_kernel is not None:
        column = _Kernel(np.asarray(y_kernel).reshape(-1, 1), floating, 0 if row else shift, (0, y))
    function = lib.moxConvolveSep2DFP if floating else lib.moxConvolveSep2D
    pointers = [ctypes.c_void_p(kernel.address if kernel else None) for kernel in (row, column)]
    return run(function, (a,), out, pointers, mask=mask, channel=channel, alpha=alpha,
               planes=planes, border=border, mode=WINDOW, in_place=False)


def _rank(function, a, size, out, anchor, border, mask, channel, alpha, planes):
    # These do nothing while a fault is stored, even one that other users of the library have left.
    lib.moxSetErrStatus(0)
    return unary(function, a, out, _window(size, anchor), mask, channel, alpha, planes, WINDOW,
                 border, in_place=False)


def max_filter(a: AnyImage, size: Pair, out: Optional[AnyImage] = None, *,
               anchor: Optional[Pair] = None, border: Border = None, mask: Optional[Mask] = None,
               channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """The largest sample of a window; every dtype but float32."""
    return _rank(lib.moxMaxFilter, a, size, out, anchor, border, mask, channel, alpha, planes)


def min_filter(a: AnyImage, size: Pair, out: Optional[AnyImage] = None, *,
               anchor: Optional[Pair] = None, border: Border = None, mask: Optional[Mask] = None,
               channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """The smallest sample of a window; every dtype but float32."""
    return _rank(lib.moxMinFilter, a, size, out, anchor, border, mask, channel, alpha, planes)


def median_filter(a: AnyImage, size: Pair, out: Optional[AnyImage] = None, *,
                  anchor: Optional[Pair] = None, border: Border = None,
                  mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                  planes: bool = False) -> AnyImage:
    """The median of a window, the lower one of two, of bits True; every dtype but float32."""
    return _rank(lib.moxMedianFilter, a, size, out, anchor, border, mask, channel, alpha, planes)


def color_median_filter(a: AnyImage, size: Pair, out: Optional[AnyImage] = None, *,
                        anchor: Optional[Pair] = None, border: Border = None,
                        mask: Optional[Mask] = None, alpha: bool = False,
                        planes: bool = False) -> AnyImage:
    """The pixel of a window that is nearest to all others of it: no new colour appears.

    a  (h, w, 3), or (h, w, 4) with alpha; uint8, int8, uint16, int16 or float32
    """
    return run(lib.moxColorMedianFilter, (a,), out, _window(size, anchor), mask=mask, alpha=alpha,
               planes=planes, border=border, mode=WINDOW, in_place=False)


_FIXED = {"prewitt_3x3_v": records.MOX_FILTER_PREWITT_3X3_V,
          "prewitt_3x3_h": records.MOX_FILTER_PREWITT_3X3_H,
          "sobel_3x3_v": records.MOX_FILTER_SOBEL_3X3_V,
          "sobel_3x3_h": records.MOX_FILTER_SOBEL_3X3_H,
          "laplacian_3x3": records.MOX_FILTER_LAPLACIAN_3X3,
          "laplacian_5x5": records.MOX_FILTER_LAPLACIAN_5X5,
          "gaussian_3x3": records.MOX_FILTER_GAUSSIAN_3X3,
          "gaussian_5x5": records.MOX_FILTER_GAUSSIAN_5X5,
          "hipass_3x3": records.MOX_FILTER_HIPASS_3X3,
          "hipass_5x5": records.MOX_FILTER_HIPASS_5X5,
          "sharpen_3x3": records.MOX_FILTER_SHARPEN_3X3}


def fixed_filter(a: AnyImage, kind: str, out: Optional[AnyImage] = None, *, border: Border = None,
                 mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                 planes: bool = False) -> AnyImage:
    """A filter of a usual kernel, at every dtype: "prewitt_3x3_v", "prewitt_3x3_h", "sobel_3x3_v",
    "sobel_3x3_h", "laplacian_3x3", "laplacian_5x5", "gaussian_3x3", "gaussian_5x5", "hipass_3x3",
    "hipass_5x5" or "sharpen_3x3"."""
    lib.moxSetErrStatus(0)
    return unary(lib.moxFixedFilter, a, out, (choice(kind, _FIXED, "kind"),), mask, channel, alpha,
                 planes, WINDOW, border, in_place=False)


def _morph(function, a, iterations, out, border, mask, channel, alpha, planes):
    return unary(function, a, out, (whole(iterations, "iterations"),), mask, channel, alpha,
                 planes, WINDOW, border)


def erode(a: AnyImage, iterations: int = 1, out: Optional[AnyImage] = None, *,
          border: Border = None, mask: Optional[Mask] = None, channel: Channel = None,
          alpha: bool = False, planes: bool = False) -> AnyImage:
    """The smallest sample of a square of 2 x iterations + 1 pixels; bits, uint8 and uint16."""
    return _morph(lib.moxErode, a, iterations, out, border, mask, channel, alpha, planes)


def dilate(a: AnyImage, iterations: int = 1, out: Optional[AnyImage] = None, *,
           border: Border = None, mask: Optional[Mask] = None, channel: Channel = None,
           alpha: bool = False, planes: bool = False) -> AnyImage:
    """The largest sample of a square of 2 x iterations + 1 pixels; bits, uint8 and uint16."""
    return _morph(lib.moxDilate, a, iterations, out, border, mask, channel, alpha, planes)


def opening(a: AnyImage, iterations: int = 1, out: Optional[AnyImage] = None, *,
            border: Border = None, mask: Optional[Mask] = None, channel: Channel = None,
            alpha: bool = False, planes: bool = False) -> AnyImage:
    """Erosion, and dilation of the result: bright details smaller than the square are gone."""
    return _morph(lib.moxOpen, a, iterations, out, border, mask, channel, alpha, planes)


def closing(a: AnyImage, iterations: int = 1, out: Optional[AnyImage] = None, *,
            border: Border = None, mask: Optional[Mask] = None, channel: Channel = None,
            alpha: bool = False, planes: bool = False) -> AnyImage:
    """Dilation, and erosion of the result: dark details smaller than the square are gone."""
    return _morph(lib.moxClose, a, iterations, out, border, mask, channel, alpha, planes)


def correlate(a: AnyImage, template: AnyImage, out: Optional[AnyImage] = None, *,
              dtype=None, border: Border = None, mask: Optional[Mask] = None,
              channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """Where a template fits: normalised cross-correlation, 1 (or the top of dtype) where it does
    perfectly. The window of a pixel begins half the template's size to its upper left.

    a, template  one dtype and number of channels
    dtype        that of the result: a's own, or of uint8 float32, which it is if not told
    """
    height, width, channels = size_of(a, planes)
    if dtype_of(template) != dtype_of(a):
        raise TypeError("image and template differ in dtype")

    def templates_first(source, pattern, target):
        return lib.moxNormCrossCorr(pattern, source, target)

    if out is not None:
        dtype = dtype_of(out)
    elif dtype is None:
        dtype = FLOAT if dtype_of(a) == np.uint8 else dtype_of(a)
    return run(templates_first, (a, template), out,
               result=(height, width, channels, np.dtype(dtype)), mask=mask, channel=channel,
               alpha=alpha, planes=planes, border=border, mode=WINDOW, in_place=False,
               same_size=False)
