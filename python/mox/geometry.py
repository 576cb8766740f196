"""Geometry: warps, turns, changes of size, maps.

Points are (x, y): columns first, pixel centres at whole numbers, whatever the direction of y. Sizes
are (columns, rows). A quadrangle is four points, in the order of the corners top left, top right,
bottom right, bottom left. Pixels that nothing is mapped to keep what out holds; in a new result
they are 0.

Interpolation is "nearest", "linear" or "cubic"; where images get smaller "super" too, which is the
mean of the area that a pixel comes from. Dtypes are bool, uint8, uint16 and float32.
"""

import ctypes
from ctypes import c_double
from typing import Optional, Sequence, Tuple, Union

import numpy as np

from . import _records as records
from ._calls import choice, dtype_of, new_image, run, size_of
from ._errors import invoke
from ._images import FLOAT, REGION, WINDOW, give_back, lend, whole
from ._library import lib
from ._types import AnyImage, Channel, Mask, Pair
from .filters import pair

_INTERPOLATIONS = {"nearest": records.MOX_INTER_NN, "linear": records.MOX_INTER_LINEAR,
                   "cubic": records.MOX_INTER_CUBIC, "super": records.MOX_INTER_SUPER}

Size = Optional[Pair]
Region = Tuple[int, int, int, int]


def _kind(interpolation, smooth_edge=False):
    kind = choice(interpolation, _INTERPOLATIONS, "interpolation")
    return kind | records.MOX_SMOOTH_EDGE if smooth_edge else kind


def _doubles(values, shape, name):
    """An array of doubles of that shape, for a call, and the array that holds them."""
    array = np.ascontiguousarray(values, np.float64)
    if array.shape != shape:
        raise ValueError(f"{name} is an array of {shape}, not of {array.shape}")
    return array


def _size_result(a, size, planes):
    """Height, width, channels and dtype of a result of that size, or that of the source."""
    height, width, channels = size_of(a, planes)
    if size is not None:
        width, height = pair(size, "size")
    return height, width, channels, dtype_of(a)


def _warp(function, a, out, size, arguments, mask, channel, alpha, planes):
    result = _size_result(a if out is None else out, size, planes)
    if out is not None:
        result = (*result[:2], size_of(out, planes)[2], dtype_of(a))
    return _zeroed(function, a, out, result, arguments, mask, channel, alpha, planes, WINDOW)


def _zeroed(function, a, out, result, arguments, mask, channel, alpha, planes, mode):
    """run() with a new result that begins as zeros, since not all of it need be written."""
    if out is None:
        out = new_image(a, *result, planes=planes, zero=True)
    return run(function, (a,), out, arguments, mask=mask, channel=channel, alpha=alpha,
               planes=planes, mode=mode, out_mode=mode, result=result, in_place=False)


def warp_affine(a: AnyImage, coefficients, out: Optional[AnyImage] = None, *, size: Size = None,
                interpolation: str = "linear", smooth_edge: bool = False,
                mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                planes: bool = False) -> AnyImage:
    """Takes the pixel at (x, y) to x' = c[0][0] x + c[0][1] y + c[0][2], y' = c[1][0] x + ....

    coefficients  (2, 3), from source to result
    size          (columns, rows) of a new result, that of a if not told
    smooth_edge   mixes the pixels along the edges with what out holds
    """
    matrix = _doubles(coefficients, (2, 3), "coefficients")
    return _warp(lib.moxWarpAffine, a, out, size,
                 (matrix.ctypes, _kind(interpolation, smooth_edge)), mask, channel, alpha, planes)


def _quad_or_coefficients(value, shape, by_quad, by_coefficients):
    array = np.ascontiguousarray(value, np.float64)
    if array.shape == (4, 2):
        return by_quad, array
    return by_coefficients, _doubles(array, shape, "(4, 2) of a quadrangle, or coefficients,")


def warp_bilinear(a: AnyImage, quad, out: Optional[AnyImage] = None, *, size: Size = None,
                  inverse: bool = False, interpolation: str = "linear", smooth_edge: bool = False,
                  mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                  planes: bool = False) -> AnyImage:
    """warp_perspective() by a bilinear map: quad is a quadrangle or coefficients (2, 4)."""
    function, array = _quad_or_coefficients(quad, (2, 4), lib.moxWarpBilinearQ, lib.moxWarpBilinear)
    return _warp(function, a, out, size,
                 (array.ctypes, int(bool(inverse)), _kind(interpolation, smooth_edge)), mask,
                 channel, alpha, planes)


def warp_perspective(a: AnyImage, quad, out: Optional[AnyImage] = None, *, size: Size = None,
                     inverse: bool = False, interpolation: str = "linear",
                     smooth_edge: bool = False, mask: Optional[Mask] = None,
                     channel: Channel = None, alpha: bool = False,
                     planes: bool = False) -> AnyImage:
    """Warps an image onto a quadrangle, or with inverse a quadrangle of it onto all of the result.

    quad     (4, 2) the quadrangle's corners, or (3, 3) the coefficients of a perspective map
    size     (columns, rows) of a new result, that of a if not told
    inverse  the quadrangle lies in a, and what is in it fills the result
    """
    function, array = _quad_or_coefficients(quad, (3, 3), lib.moxWarpPerspectiveQ,
                                            lib.moxWarpPerspective)
    return _warp(function, a, out, size,
                 (array.ctypes, int(bool(inverse)), _kind(interpolation, smooth_edge)), mask,
                 channel, alpha, planes)


def shear(a: AnyImage, x_shear: float, y_shear: float, shift: Sequence[float] = (0.0, 0.0),
          out: Optional[AnyImage] = None, *, size: Size = None, interpolation: str = "linear",
          mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
          planes: bool = False) -> AnyImage:
    """x' = x + x_shear y + shift[0], y' = y_shear x + y + shift[1]."""
    arguments = (c_double(x_shear), c_double(y_shear), c_double(shift[0]), c_double(shift[1]),
                 _kind(interpolation))
    return _warp(lib.moxShear, a, out, size, arguments, mask, channel, alpha, planes)


def rotate_shift(center: Sequence[float], angle: float,
                 shift: Sequence[float] = (0.0, 0.0)) -> Tuple[float, float]:
    """The shift that makes a rotation by angle turn about a centre (x, y), added to shift."""
    x, y = c_double(shift[0]), c_double(shift[1])
    invoke(lib.moxGetRotateShift, c_double(center[0]), c_double(center[1]), c_double(angle),
           ctypes.byref(x), ctypes.byref(y))
    return x.value, y.value


def rotate(a: AnyImage, angle: float, out: Optional[AnyImage] = None, *,
           center: Optional[Sequence[float]] = None, shift: Sequence[float] = (0.0, 0.0),
           size: Size = None, interpolation: str = "linear", smooth_edge: bool = False,
           mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
           planes: bool = False) -> AnyImage:
    """Rotates by an angle in degrees, counter-clockwise on a screen, about a centre (x, y), the
    middle of the image if not told, and shifts."""
    height, width, _ = size_of(a, planes)
    if center is None:
        center = (width - 1) / 2, (height - 1) / 2
    x, y = rotate_shift(center, angle, shift)
    arguments = (c_double(angle), c_double(x), c_double(y), _kind(interpolation, smooth_edge))
    return _warp(lib.moxRotate, a, out, size, arguments, mask, channel, alpha, planes)


def _scaled(function, a, size, out, kind, more, mask, channel, alpha, planes):
    height, width, channels = size_of(a, planes)
    if size is None:
        if out is None:
            raise TypeError("a change of size needs size or out")
        size = size_of(out, planes)[1::-1]
    columns, rows = pair(size, "size")
    if columns < 1 or rows < 1:
        raise ValueError("size is 1 at least")
    if out is not None:
        channels = size_of(out, planes)[2]
    return _zeroed(function, a, out, (rows, columns, channels, dtype_of(a)),
                   (columns, width, rows, height, kind, *more), mask, channel, alpha, planes,
                   REGION)


def resize(a: AnyImage, size: Size = None, out: Optional[AnyImage] = None, *,
           interpolation: str = "linear", mask: Optional[Mask] = None, channel: Channel = None,
           alpha: bool = False, planes: bool = False) -> AnyImage:
    """The image at another size (columns, rows). "super", the mean of areas, makes it smaller."""
    return _scaled(lib.moxResize, a, size, out, _kind(interpolation), (), mask, channel, alpha,
                   planes)


def zoom(a: AnyImage, size: Size = None, out: Optional[AnyImage] = None, *,
         interpolation: str = "linear", mask: Optional[Mask] = None, channel: Channel = None,
         alpha: bool = False, planes: bool = False) -> AnyImage:
    """The image enlarged to a size (columns, rows); resize() without "super"."""
    return _scaled(lib.moxZoom, a, size, out, _kind(interpolation), (), mask, channel, alpha,
                   planes)


def decimate(a: AnyImage, size: Size = None, out: Optional[AnyImage] = None, *,
             interpolation: str = "super", mask: Optional[Mask] = None, channel: Channel = None,
             alpha: bool = False, planes: bool = False) -> AnyImage:
    """The image made smaller, to a size (columns, rows)."""
    return _scaled(lib.moxDecimate, a, size, out, _kind(interpolation), (), mask, channel, alpha,
                   planes)


def decimate_blur(a: AnyImage, size: Size = None, out: Optional[AnyImage] = None, *,
                  window: Pair = 0, interpolation: str = "linear", mask: Optional[Mask] = None,
                  channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """The image made smaller and smooth at once: means of a window (columns, rows) about each
    place; 0 stands for the ratio of the sizes. Both sizes are 2 at least."""
    return _scaled(lib.moxDecimateBlur, a, size, out, _kind(interpolation), pair(window, "window"),
                   mask, channel, alpha, planes)


_AXES = {0: 0, 1: 1, (0, 1): -1, None: -1}


def mirror(a: AnyImage, axis: Union[int, Tuple[int, int], None] = 0,
           out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None, channel: Channel = None,
           alpha: bool = False, planes: bool = False) -> AnyImage:
    """Rows change places with axis 0 (top and bottom), columns with 1, both with (0, 1) or None.
    Every dtype; in place too, but not under a mask."""
    return run(lib.moxMirror, (a,), out, (choice(axis, _AXES, "axis"),), mask=mask,
               channel=channel, alpha=alpha, planes=planes, mode=WINDOW, in_place=mask is None)


def remap(a: AnyImage, x_map: AnyImage, y_map: AnyImage, out: Optional[AnyImage] = None, *,
          interpolation: str = "linear", mask: Optional[Mask] = None, channel: Channel = None,
          alpha: bool = False, planes: bool = False) -> AnyImage:
    """Each pixel of the result from (x_map, y_map) of a, where that lies within a.

    x_map, y_map  (h, w) of float32, which is the size of the result
    """
    height, width, _ = size_of(x_map)
    if size_of(y_map) != (height, width, 1) or size_of(x_map)[2] != 1:
        raise ValueError("both maps are (h, w), of one size")
    if dtype_of(x_map) != FLOAT or dtype_of(y_map) != FLOAT:
        raise TypeError("maps are of float32")
    channels = size_of(a if out is None else out, planes)[2]
    result = (height, width, channels, dtype_of(a))
    if out is None:
        out = new_image(a, *result, planes=planes, zero=True)
    return run(lib.moxRemap, (a, x_map, y_map), out, (_kind(interpolation),), mask=mask,
               channel=channel, alpha=alpha, planes=planes, mode=WINDOW, out_mode=WINDOW,
               result=result, in_place=False, same_size=False, plain=1)


# Quadrangles and maps, without a pixel touched --------------------------------

_SHAPES = {"affine": (2, 3), "bilinear": (2, 4), "perspective": (3, 3)}
_QUADS = {"affine": (lib.moxGetAffineQuad, lib.moxGetAffineQuadROI),
          "bilinear": (lib.moxGetBilinearQuad, lib.moxGetBilinearQuadROI),
          "perspective": (lib.moxGetPerspectiveQuad, lib.moxGetPerspectiveQuadROI)}
_BOUNDS = {"affine": (lib.moxGetAffineBound, lib.moxGetAffineBoundROI),
           "bilinear": (lib.moxGetBilinearBound, lib.moxGetBilinearBoundROI),
           "perspective": (lib.moxGetPerspectiveBound, lib.moxGetPerspectiveBoundROI)}
_TRANSFORMS = {"affine": (lib.moxGetAffineTransform, lib.moxGetAffineTransformROI),
               "bilinear": (lib.moxGetBilinearTransform, lib.moxGetBilinearTransformROI),
               "perspective": (lib.moxGetPerspectiveTransform, lib.moxGetPerspectiveTransformROI)}


def _ask(functions, region, first, second):
    """One of two functions: of an image, or of a region (x, y, width, height) by itself."""
    of_image, of_region = functions
    if isinstance(region, (tuple, list)):
        x, y, width, height = region
        roi = records.MoxROI(0, whole(x, "x"), whole(y, "y"), whole(width, "width"),
                             whole(height, "height"))
        invoke(of_region, ctypes.byref(roi), first, second)
    else:
        lent = lend(region, None, WINDOW)
        invoke(of_image, lent.ref, first, second)
        give_back(lent)


def quad_of(region: Union[AnyImage, Region], coefficients, kind: str = "perspective") -> np.ndarray:
    """Where a map takes the corners of an image, or of a region (x, y, width, height): (4, 2).

    kind is "affine" with coefficients (2, 3), "bilinear" with (2, 4) or "perspective" with (3, 3).
    """
    matrix = _doubles(coefficients, choice(kind, _SHAPES, "kind"), "coefficients")
    quad = np.empty((4, 2))
    _ask(_QUADS[kind], region, matrix.ctypes, quad.ctypes)
    return quad


def bound_of(region: Union[AnyImage, Region], coefficients,
             kind: str = "perspective") -> np.ndarray:
    """The box around quad_of(): (2, 2), the smallest x and y and the largest."""
    matrix = _doubles(coefficients, choice(kind, _SHAPES, "kind"), "coefficients")
    box = np.empty((2, 2))
    _ask(_BOUNDS[kind], region, matrix.ctypes, box.ctypes)
    return box


def transform_of(region: Union[AnyImage, Region], quad, kind: str = "perspective") -> np.ndarray:
    """The coefficients of the map that takes a region's corners to a quadrangle's."""
    corners = _doubles(quad, (4, 2), "quad")
    matrix = np.empty(choice(kind, _SHAPES, "kind"))
    _ask(_TRANSFORMS[kind], region, matrix.ctypes, corners.ctypes)
    return matrix
