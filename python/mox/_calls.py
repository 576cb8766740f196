"""How a function of the package becomes a call of the library.

run() takes any images and all keywords. unary() and binary() are the quick way for plain arrays of
a kind that has been seen before, which is what loops over small images consist of.
"""

import ctypes

import numpy as np

from . import _records as records
from ._errors import fail, invoke, thread
from ._images import (BOOL, DATA_WORDS, FLOAT, PLAIN, POINT, REGION, Image, Layout, address,
                      give_back, lend, make_set, make_sets, ndarray, plain_array, sets,
                      size_of_shape, whole)

_empty = np.empty
_FIRST, _SECOND, _THIRD = DATA_WORDS

_BORDERS = {"constant": records.MOX_BORDER_CONSTANT, "replicate": records.MOX_BORDER_REPLICATE,
            "reflect": records.MOX_BORDER_REFLECT, "wrap": records.MOX_BORDER_WRAP}


def choice(value, choices, name):
    """The constant for one of several words."""
    try:
        return choices[value]
    except (KeyError, TypeError):
        words = ", ".join(repr(word) for word in choices)
        raise ValueError(f"{name} is one of {words}, not {value!r}") from None


def border_of(border, dtype):
    """The rules of the four sides (top, bottom, left, right), or None for a constant of 0.

    A word, a number (the constant), or four of these.
    """
    if border is None:
        return None
    sides = border if isinstance(border, (tuple, list)) else (border,) * 4
    if len(sides) != 4:
        raise ValueError("border is one rule, or four: top, bottom, left, right")
    return tuple(_border_side(side, dtype) for side in sides)


def _border_side(side, dtype):
    if isinstance(side, str):
        return choice(side, _BORDERS, "border"), 0
    if dtype == FLOAT:
        # The header holds the float's bits.
        return records.MOX_BORDER_CONSTANT, int(np.float32(side).view(np.int32))
    number = whole(side, "border")
    if dtype == BOOL:
        low, high = 0, 1
    else:
        low, high = np.iinfo(dtype).min, np.iinfo(dtype).max
    return records.MOX_BORDER_CONSTANT, min(max(number, low), high)


def size_of(image, planes=False):
    """Height, width and channels of an array, Image or Tiled."""
    if hasattr(image, "_size"):
        return image._size()
    return size_of_shape(plain_array(image).shape, planes)


def dtype_of(image):
    """The dtype of an array, Image or Tiled."""
    if hasattr(image, "_dtype"):
        return image._dtype()
    return plain_array(image).dtype


def planes_of(image, planes):
    """Whether the channels of an image are planes."""
    return planes or getattr(image, "planes", False)


def new_image(like, height, width, channels, dtype, planes=False, zero=False):
    """A result of that size, an array or an Image like the one told."""
    make = np.zeros if zero else _empty
    bits = isinstance(like, Image) and bool(like.bits)
    if bits and dtype == BOOL:
        return Image(make((height, (width + 7) // 8), np.uint8), bits=width,
                     bottom_up=like.bottom_up)
    shape = like.array.shape if isinstance(like, Image) else like.shape
    if channels == 1 and not (len(shape) == 3 and size_of(like, planes)[2] == 1):
        shape = (height, width)
    elif planes_of(like, planes):
        shape = (channels, height, width)
    else:
        shape = (height, width, channels)
    array = make(shape, dtype)
    if isinstance(like, Image):
        return Image(array, planes=like.planes, alpha=like.alpha and channels > 1,
                     model=like.model, sequence=like.sequence, bottom_up=like.bottom_up)
    return array


def copy_of(image):
    """A copy of an image's pixels, of its region alone if it has one."""
    if isinstance(image, Image):
        array = image.array
        if image.region:
            raise ValueError("an Image with a region needs out= here")
        return image._with(array.copy())
    if memory_of(image) is None and hasattr(image, "_lend"):
        raise ValueError("tiles need out= here, which may be the same")
    return np.array(plain_array(image))


def check_out(out, height, width, dtype, channels=None, planes=False):
    """Tests a result that the caller has brought along."""
    size = size_of(out, planes)
    if size[:2] != (height, width) or (channels is not None and size[2] != channels):
        raise ValueError(f"out is of {size} (height, width, channels) in place of "
                         f"{(height, width, size[2] if channels is None else channels)}")
    if dtype is not None and dtype_of(out) != dtype:
        raise TypeError(f"out is of {dtype_of(out)} in place of {dtype}")
    array = out.array if isinstance(out, Image) else out
    if isinstance(array, ndarray) and not array.flags.writeable:
        raise ValueError("out is read-only")


def coi_of(channel, image, planes):
    """The channel of interest as the library counts, from 1; 0 where there is but one.

    That of a single channel would make a region into a run of bytes, what lies beside it included.
    """
    if channel is None:
        return 0
    channels = size_of(image, planes)[2]
    index = whole(channel, "channel")
    if not -channels <= index < channels:
        raise ValueError(f"there is no channel {index} among {channels}")
    return index % channels + 1 if channels > 1 else 0


def memory_of(image):
    if isinstance(image, Image):
        return image.array
    return image if isinstance(image, ndarray) else None


def apart(image, out, same_position):
    """The image, or a copy of it where writing to out would change it too early."""
    mine, its = memory_of(image), memory_of(out)
    if mine is None or its is None or not np.may_share_memory(mine, its):
        return image
    if (same_position and address(mine) == address(its) and mine.strides == its.strides
            and mine.shape == its.shape and type(image) is type(out)
            and getattr(image, "region", None) == getattr(out, "region", None)):
        return image
    return copy_with_region(image)


def copy_with_region(image):
    """A copy of an image, with what lies around its region."""
    if memory_of(image) is None:
        raise ValueError("this function does not work in place over tiles")
    return image._with(image.array.copy()) if isinstance(image, Image) else np.array(image)


def lend_mask(mask, height, width):
    """The header of a mask: a bool array, or an Image of packed bits."""
    if isinstance(mask, ndarray) and mask.dtype != BOOL:
        raise TypeError(f"a mask is a bool array or an Image of bits, not an array of {mask.dtype}")
    if dtype_of(mask) != BOOL:
        raise TypeError("a mask is a bool array or an Image of bits")
    size = size_of(mask)
    if size != (height, width, 1):
        raise ValueError(f"the mask is {size[:2]} in place of {(height, width)}")
    return lend(mask)


def set_mask(lent, mask):
    """Lays a mask over an image; its header will not be kept."""
    lent.record.maskROI = ctypes.pointer(mask.record)
    lent.pool = None


def run(function, sources, out, arguments=(), *, mask=None, channel=None, alpha=False,
        planes=False, border=None, mode=REGION, out_mode=REGION, result=None, in_place=True,
        before=(), check=None, same_size=True, turn=False, plain=None, models=None):
    """Calls function(*before, sources..., out, *arguments) and returns out.

    result     (height, width, channels, dtype) of what comes out, as the first source if not told
    in_place   the destination may be the source itself
    check      what is called behind the function, beside the usual look at reports
    models     (model, sequence) of the sources, and of the destination
    turn       rows may be taken from below, as long as they are in all images
    plain      from this source on they are images of one channel that no keyword is about
    """
    if turn and channel is None and _all_reversed(sources, out, planes):
        return _run_turned(function, sources, out, arguments, mask, alpha, planes, mode, out_mode)
    first = sources[0]
    height, width, channels = size_of(first, planes)
    dtype = dtype_of(first)
    for other in sources[1:] if same_size else ():
        if size_of(other, planes) != (height, width, channels):
            raise ValueError(f"the images differ in size: {size_of(other, planes)} and "
                             f"{(height, width, channels)} (height, width, channels)")
        if dtype_of(other) != dtype:
            raise TypeError(f"the images differ in dtype: {dtype_of(other)} and {dtype}")
    like_first = (height, width, channels, dtype)
    result = result or like_first
    if out is None:
        kept = mask is not None or channel is not None or alpha or getattr(first, "alpha", False)
        if kept and result == like_first and memory_of(first) is not None:
            out = copy_of(first)
        else:
            out = new_image(first, *result, planes=planes, zero=kept)
        fresh = True
    else:
        check_out(out, result[0], result[1], result[3],
                  None if channel is not None else result[2], planes)
        fresh = False
    coi = coi_of(channel, first, planes)
    out_coi = coi if coi and size_of(out, planes)[2] > 1 else 0
    names, out_names = models or ((b"", b""), (b"", b""))
    layout = Layout(planes, alpha, coi, border_of(border, dtype), *names)
    out_layout = Layout(planes, alpha, out_coi, None, *out_names)
    if not fresh:
        sources = [source if source is out and in_place
                   else apart(source, out, mode <= REGION and in_place) for source in sources]
        if not in_place:
            sources = [copy_with_region(source) if source is out else source
                       for source in sources]
    layouts = [layout if plain is None or index < plain else PLAIN
               for index in range(len(sources))]
    return _call(function, sources, out, arguments, mask, mode, out_mode, layouts, out_layout,
                 before, check, models is None)


def _turned(array, planes):
    return array[:, ::-1] if planes and array.ndim == 3 else array[::-1]


def _all_reversed(sources, out, planes):
    """Whether all images are plain arrays whose rows stand in memory from below."""
    for array in sources if out is None else (*sources, out):
        if type(array) is not ndarray or array.ndim not in (2, 3):
            return False
        if array.strides[1 if planes and array.ndim == 3 else 0] >= 0:
            return False
    return True


def _run_turned(function, sources, out, arguments, mask, alpha, planes, mode, out_mode):
    """run() on the images upside down. The result is upside down as well: a reversed view."""
    turned = [_turned(source, planes) for source in sources]
    target = None if out is None else _turned(out, planes)
    if isinstance(mask, ndarray):
        mask = mask[::-1]
    elif mask is not None:
        mask = mask.unpack()[::-1]
    done = run(function, turned, target, arguments, mask=mask, alpha=alpha, planes=planes,
               mode=mode, out_mode=out_mode)
    return out if out is not None else _turned(done, planes)


def _call(function, sources, out, arguments, mask, mode, out_mode, layouts, out_layout, before,
          check, keep):
    out_layout = None if out_layout == PLAIN else out_layout
    lents = []
    target = None
    for source, layout in zip(sources, layouts):
        layout = None if layout == PLAIN else layout
        shared = source is out
        if shared and target is not None:
            lents.append(target)
            continue
        lent = lend(source, _narrowed(layout, source), mode, shared)
        if shared:
            target = lent
        lents.append(lent)
    if target is None:
        target = lend(out, out_layout, out_mode, True)
    if not keep:
        # The function writes into the header.
        target.pool = None
    if mask is not None:
        size = size_of(out, bool(out_layout and out_layout.planes))
        if isinstance(mask, Image):
            mask = apart(mask, out, False)
        lent_mask = lend_mask(mask, *size[:2])
        set_mask(target, lent_mask)
    status = invoke(function, *before, *[lent.ref for lent in lents], target.ref, *arguments)
    if check is not None:
        check(status)
    give_back(target)
    for lent in lents:
        if lent is not target:
            give_back(lent)
    return out


def _narrowed(layout, image):
    """The layout of a source of one channel, which has no other channel of interest."""
    if layout is not None and layout.coi and size_of(image, layout.planes)[2] == 1:
        return layout._replace(coi=0)
    return layout


def _usable(out, shape, strides, dtype):
    """Whether a result of the caller's is of the same kind as the source."""
    return (type(out) is ndarray and out.shape == shape and out.strides == strides
            and (out.dtype is dtype or out.dtype == dtype) and out.flags.writeable)


def binary(function, a, b, out, mask, channel, alpha, planes, mode=POINT):
    """function(a, b, out) of three images of one shape and dtype."""
    if (mask is None and channel is None and not alpha and not planes and type(a) is ndarray
            and type(b) is ndarray):
        shape = a.shape
        strides = a.strides
        dtype = a.dtype
        if (b.shape == shape and b.strides == strides and (b.dtype is dtype or b.dtype == dtype)
                and (out is None or _usable(out, shape, strides, dtype))):
            kept = sets.get((shape, strides, dtype, 3))
            if kept is None:
                kept = make_sets(a, 3)
            if kept is not None:
                headers = kept.pop() if kept else make_set(a, 3)
                words, first, second, third = headers
                at_a = words[_FIRST] = address(a)
                at_b = words[_SECOND] = address(b)
                if out is None:
                    out = _empty(shape, dtype)
                    words[_THIRD] = address(out)
                else:
                    at_out = words[_THIRD] = address(out)
                    size = a.nbytes
                    if -size < at_out - at_a < size and at_a != at_out or (
                            -size < at_out - at_b < size and at_b != at_out):
                        return run(function, (a, b), out, mode=mode, out_mode=mode, turn=True)
                reports = thread.reports
                function(first, second, third)
                kept.append(headers)
                if reports:
                    fail()
                return out
    return run(function, (a, b), out, (), mask=mask, channel=channel, alpha=alpha, planes=planes,
               mode=mode, out_mode=mode, turn=True)


def unary(function, a, out, arguments, mask, channel, alpha, planes, mode=POINT, border=None,
          in_place=True):
    """function(a, out, *arguments) of two images of one shape and dtype."""
    if (mask is None and channel is None and border is None and not alpha and not planes
            and type(a) is ndarray and out is not a):
        shape = a.shape
        strides = a.strides
        dtype = a.dtype
        if out is None or _usable(out, shape, strides, dtype):
            kept = sets.get((shape, strides, dtype, 2))
            if kept is None:
                kept = make_sets(a, 2)
            if kept is not None:
                headers = kept.pop() if kept else make_set(a, 2)
                words, first, second = headers
                at_a = words[_FIRST] = address(a)
                if out is None:
                    out = _empty(shape, dtype)
                    words[_SECOND] = address(out)
                else:
                    at_out = words[_SECOND] = address(out)
                    size = a.nbytes
                    if -size < at_out - at_a < size:
                        return run(function, (a,), out, arguments, mode=mode,
                                   out_mode=min(mode, REGION), in_place=in_place,
                                   turn=mode <= REGION)
                reports = thread.reports
                function(first, second, *arguments)
                kept.append(headers)
                if reports:
                    fail()
                return out
    return run(function, (a,), out, arguments, mask=mask, channel=channel, alpha=alpha,
               planes=planes, mode=mode, out_mode=min(mode, REGION), border=border,
               in_place=in_place, turn=mode <= REGION)
