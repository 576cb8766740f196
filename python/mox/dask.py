"""Operations over Dask arrays: larger than memory, and on more than one machine.

    import dask.array as da
    import mox.dask as mxd

    picture = da.from_zarr("picture.zarr")
    mxd.blur(picture, (15, 15), border="reflect").to_zarr("blurred.zarr")

Functions have the names and keywords of the package, but for out. They plan, and compute when Dask
does. Results are those of the plain call, bit for bit: samples by themselves are computed block by
block, filters on blocks with as much of their neighbours as the window reaches, border rules at the
edges of the image alone, and measures in parts, exactly, and then together. What could not be equal
is refused with a TypeError. Masks are arrays (h, w) of bool, numpy's or Dask's.

A block needs the memory of a plain call on it; channels are not divided.
"""

import functools
from fractions import Fraction
from math import comb, isqrt, sqrt
from typing import Callable, Optional

import dask
import dask.array as da
import numpy as np

from . import (alpha as _alpha, arithmetic as _arithmetic, color as _color, depth as _depth,
               filters as _filters, measures as _measures)
from ._images import BOOL, FLOAT, size_of_shape
from .filters import pair

_ROWS, _COLUMNS, _CHANNELS, _RESULT_CHANNELS = "y", "x", "c", "k"


def _is_blocks(value):
    return isinstance(value, (da.Array, np.ndarray)) and value.ndim >= 2


def _axes(ndim, planes):
    """The names of an array's axes."""
    if ndim == 2:
        return _ROWS + _COLUMNS
    return _CHANNELS + _ROWS + _COLUMNS if planes else _ROWS + _COLUMNS + _CHANNELS


def _together(array, planes):
    """The array as a Dask array whose channels are in one chunk."""
    array = da.asarray(array)
    size_of_shape(array.shape, planes)
    if array.ndim == 3:
        channel_axis = 0 if planes else 2
        if array.numblocks[channel_axis] > 1:
            array = array.rechunk({channel_axis: -1})
    return array


def _probe_like(array, planes):
    """A small array of that kind, to see what comes out."""
    if array.ndim == 2:
        return np.zeros((8, 8), array.dtype)
    channels = array.shape[0 if planes else 2]
    return np.zeros((channels, 8, 8) if planes else (8, 8, channels), array.dtype)


def _apply(block_function, positions, arguments, *blocks):
    """Calls a function on blocks, put among its other arguments."""
    arguments = list(arguments)
    mask = None
    for position, block in zip(positions, blocks):
        if position == "mask":
            mask = block
        else:
            arguments[position] = np.ascontiguousarray(block)
    if mask is None:
        return block_function(*arguments)
    return block_function(*arguments, mask=np.ascontiguousarray(mask))


def _by_blocks(function):
    """The function of single samples, block by block."""

    @functools.wraps(function)
    def planned(*arguments, mask=None, planes: bool = False, **keywords):
        if "out" in keywords:
            raise TypeError("there is no out=: store the result")
        arguments = list(arguments)
        positions, arrays, pairs = [], [], []
        for position, value in enumerate(arguments):
            if _is_blocks(value):
                array = _together(value, planes)
                arguments[position] = None
                positions.append(position)
                arrays.append(array)
                pairs += [array, _axes(array.ndim, planes)]
        if not arrays:
            raise TypeError("no array among the arguments")
        for array in arrays[1:]:
            if array.shape != arrays[0].shape:
                raise ValueError(f"the images differ in size: {array.shape} and {arrays[0].shape}")
        if function not in _WITHOUT_PLANES:
            keywords["planes"] = planes
        call = functools.partial(function, **keywords)
        probes = [_probe_like(array, planes) for array in arrays]
        sample = _apply(call, positions, arguments, *probes)
        if mask is not None:
            height, width, _ = size_of_shape(arrays[0].shape, planes)
            if mask.shape != (height, width) or mask.dtype != BOOL:
                raise ValueError("a mask is an array (h, w) of bool")
            positions.append("mask")
            pairs += [da.asarray(mask), _ROWS + _COLUMNS]
        return _blockwise(call, positions, arguments, pairs, sample, arrays[0], planes)

    planned.__doc__ = _document(function, "Block by block.")
    return planned


def _blockwise(call, positions, arguments, pairs, sample, first, planes):
    """Plans a call on blocks; the sample tells dtype and dimensions of the result."""
    axes = _axes(sample.ndim, planes)
    new_axes = None
    if sample.ndim == 3:
        count = sample.shape[0 if planes else 2]
        if first.ndim == 2 or count != first.shape[0 if planes else 2]:
            axes = axes.replace(_CHANNELS, _RESULT_CHANNELS)
            new_axes = {_RESULT_CHANNELS: count}
    return da.blockwise(functools.partial(_apply, call, positions, arguments), axes, *pairs,
                        dtype=sample.dtype, new_axes=new_axes, concatenate=True,
                        meta=np.empty((0,) * sample.ndim, sample.dtype))


def _document(function, text):
    return f"{text}\n\n{function.__doc__}"


_WITHOUT_PLANES = {_depth.bits_to_gray}

add = _by_blocks(_arithmetic.add)
subtract = _by_blocks(_arithmetic.subtract)
multiply = _by_blocks(_arithmetic.multiply)
bitwise_and = _by_blocks(_arithmetic.bitwise_and)
bitwise_or = _by_blocks(_arithmetic.bitwise_or)
bitwise_xor = _by_blocks(_arithmetic.bitwise_xor)
invert = _by_blocks(_arithmetic.invert)
square = _by_blocks(_arithmetic.square)
absolute = _by_blocks(_arithmetic.absolute)
left_shift = _by_blocks(_arithmetic.left_shift)
right_shift = _by_blocks(_arithmetic.right_shift)
convert = _by_blocks(_depth.convert)
scale = _by_blocks(_depth.scale)
scale_float = _by_blocks(_depth.scale_float)
bits_to_gray = _by_blocks(_depth.bits_to_gray)
threshold = _by_blocks(_depth.threshold)
rgb_to_hsv = _by_blocks(_color.rgb_to_hsv)
hsv_to_rgb = _by_blocks(_color.hsv_to_rgb)
rgb_to_hls = _by_blocks(_color.rgb_to_hls)
hls_to_rgb = _by_blocks(_color.hls_to_rgb)
rgb_to_xyz = _by_blocks(_color.rgb_to_xyz)
xyz_to_rgb = _by_blocks(_color.xyz_to_rgb)
rgb_to_yuv = _by_blocks(_color.rgb_to_yuv)
yuv_to_rgb = _by_blocks(_color.yuv_to_rgb)
rgb_to_ycrcb = _by_blocks(_color.rgb_to_ycrcb)
ycrcb_to_rgb = _by_blocks(_color.ycrcb_to_rgb)
ycc_to_rgb = _by_blocks(_color.ycc_to_rgb)
rgb_to_luv = _by_blocks(_color.rgb_to_luv)
luv_to_rgb = _by_blocks(_color.luv_to_rgb)
rgb_to_gray = _by_blocks(_color.rgb_to_gray)
gray_to_rgb = _by_blocks(_color.gray_to_rgb)
composite_constant = _by_blocks(_alpha.composite_constant)
premultiply = _by_blocks(_alpha.premultiply)
multiply_scale = _by_blocks(_alpha.multiply_scale)
less = _by_blocks(_measures.less)
greater = _by_blocks(_measures.greater)
equal = _by_blocks(_measures.equal)


def color_twist(a: da.Array, matrix, **keywords) -> da.Array:
    return _by_blocks(functools.wraps(_color.color_twist)(
        lambda block, **more: _color.color_twist(block, matrix, **more)))(a, **keywords)


def contrast_stretch(a: da.Array, keys, values, factors=None, **keywords) -> da.Array:
    return _by_blocks(functools.wraps(_measures.contrast_stretch)(
        lambda block, **more: _measures.contrast_stretch(block, keys, values, factors, **more)))(
            a, **keywords)


color_twist.__doc__ = _document(_color.color_twist, "Block by block.")
contrast_stretch.__doc__ = _document(_measures.contrast_stretch, "Block by block.")


# Filters -----------------------------------------------------------

def _sides(border):
    return tuple(border) if isinstance(border, (tuple, list)) else (border,) * 4


def _boundary(border):
    """What Dask lays around the image: its other sides where it wraps, else nothing."""
    wrapped = [side == "wrap" for side in _sides(border)]
    if any(wrapped) and not all(wrapped):
        # The corners belong to both of their sides, which blocks at one of them cannot know.
        raise TypeError("over blocks an image wraps on all sides or on none")
    return "periodic" if all(wrapped) else "none"


def _filtered(call, a, reach, border, mask, planes):
    """Plans a filter: blocks with margins go in, and come out without."""
    a = _together(a, planes)
    columns, rows = reach
    row_axis = 1 if planes and a.ndim == 3 else 0
    depth = dict.fromkeys(range(a.ndim), 0)
    depth[row_axis], depth[row_axis + 1] = rows, columns
    boundary = dict.fromkeys(depth, "none")
    boundary[row_axis] = boundary[row_axis + 1] = _boundary(border)
    for axis in (row_axis, row_axis + 1):
        if boundary[axis] == "periodic" and depth[axis] > a.shape[axis]:
            raise ValueError("over blocks a window that wraps is not larger than the image")
        depth[axis] = min(depth[axis], a.shape[axis])
    sample = call(_probe_like(a, planes))
    result = da.map_overlap(_contiguous, a, depth=depth, boundary=boundary, trim=True,
                            dtype=sample.dtype, meta=np.empty((0,) * a.ndim, sample.dtype),
                            call=call)
    if mask is None:
        return result
    height, width, _ = size_of_shape(a.shape, planes)
    if mask.shape != (height, width) or mask.dtype != BOOL:
        raise ValueError("a mask is an array (h, w) of bool")
    mask = da.asarray(mask)
    if a.ndim == 3:
        mask = mask[np.newaxis] if planes else mask[..., np.newaxis]
    return da.where(mask, result, a if result.dtype == a.dtype else da.zeros_like(result))


def _contiguous(block, call):
    return call(np.ascontiguousarray(block))


def _window_reach(size, anchor):
    columns, rows = pair(size, "size")
    x, y = (columns // 2, rows // 2) if anchor is None else pair(anchor, "anchor")
    return max(x, columns - 1 - x), max(y, rows - 1 - y)


def _by_window(function):
    """A filter whose first argument behind the image is its window's size."""

    @functools.wraps(function)
    def planned(a, size, *, anchor=None, border=None, mask=None, planes: bool = False, **keywords):
        if function is _filters.blur and a.dtype == FLOAT:
            raise TypeError("the sums of a blur of float32 slide over the image, and round on the "
                            "way: blocks would not give the same. Convolve, or blur integers")
        call = functools.partial(function, size=size, anchor=anchor, border=border, planes=planes,
                                 **keywords)
        return _filtered(call, a, _window_reach(size, anchor), border, mask, planes)

    planned.__doc__ = _document(function, "With as much of the neighbouring blocks as it reaches.")
    return planned


blur = _by_window(_filters.blur)
max_filter = _by_window(_filters.max_filter)
min_filter = _by_window(_filters.min_filter)
median_filter = _by_window(_filters.median_filter)
color_median_filter = _by_window(_filters.color_median_filter)


def _by_steps(function, reach):
    """Morphology, which reaches a number of pixels with each iteration."""

    @functools.wraps(function)
    def planned(a, iterations: int = 1, *, border=None, mask=None, planes: bool = False,
                **keywords):
        if "wrap" in _sides(border):
            raise TypeError("a wrapped border goes one pixel far here, and on by repetition: over "
                            "blocks that cannot be equal")
        call = functools.partial(function, iterations=iterations, border=border, planes=planes,
                                 **keywords)
        far = reach * iterations
        return _filtered(call, a, (far, far), border, mask, planes)

    planned.__doc__ = _document(function, "With as much of the neighbouring blocks as it reaches.")
    return planned


erode = _by_steps(_filters.erode, 1)
dilate = _by_steps(_filters.dilate, 1)
opening = _by_steps(_filters.opening, 2)
closing = _by_steps(_filters.closing, 2)


def fixed_filter(a: da.Array, kind: str, *, border=None, mask=None, planes: bool = False,
                 **keywords) -> da.Array:
    call = functools.partial(_filters.fixed_filter, kind=kind, border=border, planes=planes,
                             **keywords)
    return _filtered(call, a, (2, 2) if "5x5" in kind else (1, 1), border, mask, planes)


def convolve(a: da.Array, kernels, *, anchor=None, border=None, mask=None, planes: bool = False,
             **keywords) -> da.Array:
    reach = [0, 0]
    for kernel in _filters._kernels(kernels):
        rows, columns = kernel.shape
        for axis, far in enumerate(_window_reach((columns, rows), anchor)):
            reach[axis] = max(reach[axis], far)
    call = functools.partial(_filters.convolve, kernels=kernels, anchor=anchor, border=border,
                             planes=planes, **keywords)
    return _filtered(call, a, reach, border, mask, planes)


def convolve_separable(a: da.Array, x_kernel, y_kernel, *, anchor=None, border=None, mask=None,
                       planes: bool = False, **keywords) -> da.Array:
    size = (1 if x_kernel is None else len(x_kernel), 1 if y_kernel is None else len(y_kernel))
    call = functools.partial(_filters.convolve_separable, x_kernel=x_kernel, y_kernel=y_kernel,
                             anchor=anchor, border=border, planes=planes, **keywords)
    return _filtered(call, a, _window_reach(size, anchor), border, mask, planes)


def correlate(a: da.Array, template: np.ndarray, *, border=None, mask=None, planes: bool = False,
              **keywords) -> da.Array:
    if a.dtype.itemsize == 4:
        raise TypeError("sums of 32-bit samples round on their way over the image: correlation "
                        "over blocks is for 8 and 16 bits")
    height, width, _ = size_of_shape(template.shape, planes)
    call = functools.partial(_filters.correlate, template=template, border=border, planes=planes,
                             **keywords)
    return _filtered(call, a, _window_reach((width, height), None), border, mask, planes)


for _planned in (fixed_filter, convolve, convolve_separable, correlate):
    _planned.__doc__ = _document(getattr(_filters, _planned.__name__),
                                 "With as much of the neighbouring blocks as it reaches.")


# Measures -----------------------------------------------------------

def _parts(part, arrays, mask, planes):
    """Delayed calls part(x, y, *blocks, mask) of all blocks."""
    arrays = [_together(array, planes) for array in arrays]
    first = arrays[0]
    row_axis = 1 if planes and first.ndim == 3 else 0
    if mask is not None:
        height, width, _ = size_of_shape(first.shape, planes)
        if mask.shape != (height, width) or mask.dtype != BOOL:
            raise ValueError("a mask is an array (h, w) of bool")
        chunks = first.chunks[row_axis:row_axis + 2]
        mask = da.asarray(mask).rechunk(chunks).to_delayed()
    blocks = [array.rechunk(first.chunks).to_delayed() for array in arrays]
    blocks = [grid.reshape(grid.shape[row_axis:row_axis + 2]) for grid in blocks]
    delayed = dask.delayed(part, pure=True)
    result = []
    y = 0
    for row, height in enumerate(first.chunks[row_axis]):
        x = 0
        for column, width in enumerate(first.chunks[row_axis + 1]):
            cover = None if mask is None else mask[row, column]
            result.append(delayed(x, y, *[grid[row, column] for grid in blocks], mask=cover))
            x += width
        y += height
    return result


def _merged(merge, parts):
    """Merges parts in groups, and groups of groups, until one is left."""
    delayed = dask.delayed(merge, pure=True)
    while len(parts) > 1:
        parts = [delayed(parts[start:start + 16]) for start in range(0, len(parts), 16)]
    return delayed(parts)


def _pieces(height, width, side):
    """Slices that divide an area into pieces of a side at most."""
    for y in range(0, height, side):
        for x in range(0, width, side):
            yield slice(y, min(y + side, height)), slice(x, min(x + side, width))


def _cut(block, piece, planes):
    """A piece of a block."""
    return block[(slice(None), *piece)] if planes and block.ndim == 3 else block[piece]


def _norm_part(x, y, *blocks, mask, kind, keywords):
    """The sum or maximum of a block as an exact number."""
    planes = keywords["planes"]
    height, width, channels = size_of_shape(blocks[0].shape, planes)
    # Sums of so few samples are exact in what the plain call returns.
    side = max(8, isqrt(2**17 // channels))
    total = 0
    for piece in _pieces(height, width, side):
        images = [np.ascontiguousarray(_cut(block, piece, planes)) for block in blocks]
        cover = None if mask is None else np.ascontiguousarray(mask[piece])
        value = _measures.norm(*images, kind=kind, mask=cover, **keywords)
        if kind == "c":
            total = max(total, value)
        else:
            total += round(value * value) if kind == "l2" else round(value)
    return total


def norm(a: da.Array, b: Optional[da.Array] = None, kind: str = "l2", *, relative: bool = False,
         mask=None, channel=None, alpha: bool = False, planes: bool = False):
    """The norm of an image, or of the difference of two, in parts: a Delayed of a float.

    "c" is for every dtype, "l1" for all but float32, "l2" for all but float32 and int32, whose sums
    are rounded on their way.
    """
    if kind != "c" and (a.dtype == FLOAT or kind == "l2" and a.dtype == np.int32):
        raise TypeError(f"the sums of norm {kind} of {a.dtype} round on their way over the image: "
                        "parts would not give the same")
    if relative and b is None:
        raise ValueError("a relative norm is of two images")
    keywords = {"channel": channel, "alpha": alpha, "planes": planes}
    part = functools.partial(_norm_part, kind=kind, keywords=keywords)
    merge = max if kind == "c" else sum
    arrays = [a] if b is None else [a, b]
    # With a mask the denominator is that of the masked area as well.
    total = _merged(merge, _parts(part, arrays, mask, planes))
    below = _merged(merge, _parts(part, [b], mask, planes)) if relative else None
    return dask.delayed(_finish_norm, pure=True)(total, below, kind)


def _finish_norm(total, below, kind):
    value = sqrt(total) if kind == "l2" else float(total)
    if below is None:
        return value
    divisor = sqrt(below) if kind == "l2" else float(below)
    if divisor == 0:
        raise ZeroDivisionError("the relative norm's denominator is 0")
    return value / divisor


def _histogram_part(x, y, block, mask, keys, keywords):
    cover = None if mask is None else np.ascontiguousarray(mask)
    counts = _measures.histogram(np.ascontiguousarray(block), keys, mask=cover, **keywords)
    if isinstance(counts, list):
        raise TypeError("over blocks the channels' tables have one length")
    return counts.astype(np.int64)


def histogram(a: da.Array, keys=None, *, mask=None, channel=None, alpha: bool = False,
              planes: bool = False):
    """Counts of levels in parts: a Delayed of an array (n,), or (c, n), of int64."""
    keywords = {"channel": channel, "alpha": alpha, "planes": planes}
    part = functools.partial(_histogram_part, keys=keys, keywords=keywords)
    return _merged(sum, _parts(part, [a], mask, planes))


def _extrema_part(x, y, block, mask, keywords):
    return _measures.min_max(np.ascontiguousarray(block), **keywords)


def _merge_extrema(parts):
    numbers = [part for part in parts if part[0] == part[0]]
    if not numbers:
        return parts[0]

    def order(value):
        return value, not np.signbit(value)

    return (min((part[0] for part in numbers), key=order),
            max((part[1] for part in numbers), key=order))


def min_max(a: da.Array, *, channel=None, alpha: bool = False, planes: bool = False):
    """The smallest and the largest sample of float32 in parts: a Delayed of two floats."""
    keywords = {"channel": channel, "alpha": alpha, "planes": planes}
    part = functools.partial(_extrema_part, keywords=keywords)
    return _merged(_merge_extrema, _parts(part, [a], None, planes))


_ORDERS = [(m, n) for m in range(4) for n in range(4 - m)]


def _moments_part(left, top, block, mask, keywords):
    """The moments of a block about the origin of the image, as exact numbers."""
    planes = keywords["planes"]
    height, width, _ = size_of_shape(block.shape, planes)
    total = dict.fromkeys(_ORDERS, 0)
    # Moments of so small a piece about its own corner are exact in doubles.
    for piece in _pieces(height, width, 128):
        cover = None if mask is None else np.ascontiguousarray(mask[piece])
        image = np.ascontiguousarray(_cut(block, piece, planes))
        cells = _measures.moments(image, mask=cover, **keywords).cells()
        own = {order: int(cells[order]) for order in _ORDERS}
        x, y = left + piece[1].start, top + piece[0].start
        for m, n in _ORDERS:
            total[m, n] += sum(comb(m, i) * comb(n, j) * x**(m - i) * y**(n - j) * own[i, j]
                               for i in range(m + 1) for j in range(n + 1))
    return total


def _add_moments(parts):
    return {order: sum(part[order] for part in parts) for order in _ORDERS}


def _finish_moments(total, width, height):
    result = _measures.Moments()
    for m, n in _ORDERS:
        result._state[m][n].moment = float(Fraction(total[m, n]))
    result._state[1][0].scale = 1.0 / width
    result._state[0][1].scale = 1.0 / height
    return result


def moments(a: da.Array, *, mask=None, channel=None, alpha: bool = False, planes: bool = False):
    """The moments of one channel in parts: a Delayed of mox.Moments. Dtypes of up to 16 bits."""
    if a.dtype.itemsize > 2:
        raise TypeError("moments of 32-bit samples round on their way over the image: parts would "
                        "not give the same")
    keywords = {"channel": channel, "alpha": alpha, "planes": planes}
    height, width, _ = size_of_shape(a.shape, planes)
    part = functools.partial(_moments_part, keywords=keywords)
    total = _merged(_add_moments, _parts(part, [a], mask, planes))
    return dask.delayed(_finish_moments, pure=True)(total, width, height)


def map_blocks(function: Callable[..., np.ndarray], *arrays, mask=None, planes: bool = False,
               **keywords) -> da.Array:
    """A function of one's own of single samples, block by block: function(*blocks, **keywords)."""

    @functools.wraps(function)
    def call(*blocks, planes=False, **more):
        return function(*blocks, **keywords, **more)

    return _by_blocks(call)(*arrays, mask=mask, planes=planes)
