"""Numbers and tables from images, curves, and comparisons to bits."""

import ctypes
from ctypes import c_float
from typing import Optional, Sequence, Tuple, Union

import numpy as np

from . import _records as records
from ._calls import (choice, coi_of, dtype_of, lend_mask, run, set_mask, size_of)
from ._errors import invoke
from ._images import BOOL, FLOAT, REGION, WINDOW, Layout, give_back, lend, whole
from ._library import lib
from ._types import AnyImage, Channel, Constant, Mask


def _measured(a, mask, channel, alpha, planes, mode=REGION):
    """The header of an image that is only looked at, under a mask."""
    lent = lend(a, Layout(planes, alpha, coi_of(channel, a, planes)), mode)
    if mask is not None:
        cover = lend_mask(mask, *size_of(a, planes)[:2])
        set_mask(lent, cover)
        lent.keep = (lent.keep, cover)
    return lent


_NORMS = {"c": records.MOX_NORM_C, "l1": records.MOX_NORM_L1, "l2": records.MOX_NORM_L2}


def norm(a: AnyImage, b: Optional[AnyImage] = None, kind: str = "l2", *, relative: bool = False,
         mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
         planes: bool = False) -> float:
    """The norm of an image, or of the difference of two: "c" the largest absolute sample, "l1" the
    sum of absolute samples, "l2" the root of the sum of squares; any dtype, all channels together.

    relative  that of a - b over that of b
    """
    number = choice(kind, _NORMS, "kind") | (records.MOX_NORM_RELATIVE if relative else 0)
    first = _measured(a, mask, channel, alpha, planes)
    second = None
    if b is not None:
        if size_of(b, planes) != size_of(a, planes):
            raise ValueError("the images differ in size")
        if dtype_of(b) != dtype_of(a):
            raise TypeError("the images differ in dtype")
        second = _measured(b, None, channel, alpha, planes)
    value = invoke(lib.moxNorm, first.ref, second.ref if second else None, number)
    give_back(first)
    if second:
        give_back(second)
    return value


def min_max(a: AnyImage, *, channel: Channel = None, alpha: bool = False,
            planes: bool = False) -> Tuple[float, float]:
    """The smallest and the largest sample of float32; NaN is left out unless all samples are."""
    low, high = c_float(), c_float()
    lent = _measured(a, None, channel, alpha, planes)
    invoke(lib.moxMinMaxFP, lent.ref, ctypes.byref(low), ctypes.byref(high))
    give_back(lent)
    return low.value, high.value


class Moments:
    """All moments of an image of one channel up to the third order: see moments()."""

    __slots__ = ("_state",)

    def __init__(self):
        self._state = records.MoxMomentState()

    def _ask(self, function, m, n):
        value = invoke(function, ctypes.byref(self._state), whole(m, "m"), whole(n, "n"))
        return value

    def spatial(self, m: int, n: int) -> float:
        """The sum of x^m y^n p over the pixels."""
        return self._ask(lib.moxGetSpatialMoment, m, n)

    def normalized_spatial(self, m: int, n: int) -> float:
        """spatial(m, n) over the power (m + n + 2) / 2 of spatial(0, 0)."""
        return self._ask(lib.moxGetNormalizedSpatialMoment, m, n)

    def central(self, m: int, n: int) -> float:
        """The moment about the centre."""
        return self._ask(lib.moxGetCentralMoment, m, n)

    def normalized_central(self, m: int, n: int) -> float:
        """central(m, n) over the power (m + n + 2) / 2 of spatial(0, 0)."""
        return self._ask(lib.moxGetNormalizedCentralMoment, m, n)

    def cells(self) -> np.ndarray:
        """The sums themselves, (4, 4) by the powers of x and y; 0 beyond the third order."""
        state = np.frombuffer(self._state, np.float64).reshape(4, 4, 2)[..., 1].copy()
        return np.where(np.add.outer(np.arange(4), np.arange(4)) <= 3, state, 0.0)


def moments(a: AnyImage, *, mask: Optional[Mask] = None, channel: Channel = None,
            alpha: bool = False, planes: bool = False) -> Moments:
    """The moments of one channel, by which area, centre and direction are told. In the region of an
    Image x and y are those of the whole image."""
    lent = _measured(a, mask, channel, alpha, planes, WINDOW)
    result = Moments()
    invoke(lib.moxMoments, lent.ref, ctypes.byref(result._state))
    give_back(lent)
    return result


def _moment(function, a, m, n, mask, channel, alpha, planes):
    lent = _measured(a, mask, channel, alpha, planes, WINDOW)
    value = invoke(function, lent.ref, whole(m, "m"), whole(n, "n"))
    give_back(lent)
    return value


def spatial_moment(a: AnyImage, m: int, n: int, *, mask: Optional[Mask] = None,
                   channel: Channel = None, alpha: bool = False, planes: bool = False) -> float:
    """moments(a).spatial(m, n)"""
    return _moment(lib.moxSpatialMoment, a, m, n, mask, channel, alpha, planes)


def normalized_spatial_moment(a: AnyImage, m: int, n: int, *, mask: Optional[Mask] = None,
                              channel: Channel = None, alpha: bool = False,
                              planes: bool = False) -> float:
    """moments(a).normalized_spatial(m, n)"""
    return _moment(lib.moxNormalizedSpatialMoment, a, m, n, mask, channel, alpha, planes)


def central_moment(a: AnyImage, m: int, n: int, *, mask: Optional[Mask] = None,
                   channel: Channel = None, alpha: bool = False, planes: bool = False) -> float:
    """moments(a).central(m, n)"""
    return _moment(lib.moxCentralMoment, a, m, n, mask, channel, alpha, planes)


def normalized_central_moment(a: AnyImage, m: int, n: int, *, mask: Optional[Mask] = None,
                              channel: Channel = None, alpha: bool = False,
                              planes: bool = False) -> float:
    """moments(a).normalized_central(m, n)"""
    return _moment(lib.moxNormalizedCentralMoment, a, m, n, mask, channel, alpha, planes)


# Tables of levels -----------------------------------------------------------

class _Tables:
    """Tables of each channel, in the form that the library reads."""

    def __init__(self, channels, keys, values=None, factors=None):
        self.keys = self._rows(keys, channels)
        self.values = (self._rows(values, channels) if values is not None
                       else [np.zeros(row.size, np.int32) for row in self.keys])
        self.factors = None if factors is None else self._rows(factors, channels)
        for rows in (self.values, self.factors or self.values):
            if any(row.size != key.size for row, key in zip(rows, self.keys)):
                raise ValueError("keys, values and factors have as many entries")
        if any(row.size < 2 for row in self.keys):
            raise ValueError("a table has two keys at least")
        self.records = [self._record(index) for index in range(channels)]
        self.pointer = (ctypes.POINTER(records.MoxLUT) * channels)(
            *[ctypes.pointer(record) for record in self.records])

    @staticmethod
    def _rows(table, channels):
        """One array for each channel, from one for all or a list of them."""
        several = isinstance(table, (list, tuple)) and len(table) and np.ndim(table[0]) == 1
        several = several or getattr(table, "ndim", 1) == 2
        rows = list(table) if several else [table] * channels
        if len(rows) != channels:
            raise ValueError(f"tables are one for all channels, or one for each of {channels}")
        made = []
        for row in rows:
            row = np.asarray(row)
            if row.dtype.kind not in "iu":
                raise TypeError("tables are of whole numbers")
            if row.size and not -2**31 <= row.min() <= row.max() < 2**31:
                raise ValueError("tables are of 32-bit numbers")
            made.append(np.array(row, np.int32).ravel())
        return made

    def _record(self, index):
        def pointer(array):
            return array.ctypes.data_as(ctypes.POINTER(ctypes.c_int))
        factors = pointer(self.factors[index]) if self.factors else None
        return records.MoxLUT(self.keys[index].size, pointer(self.keys[index]),
                              pointer(self.values[index]), factors, 1 if self.factors else 0)


def _all_levels(dtype):
    levels = {BOOL: 2, np.dtype(np.uint8): 256, np.dtype(np.uint16): 65536}.get(dtype)
    if levels is None:
        raise TypeError(f"histograms are of bool, uint8 and uint16, not of {dtype}")
    return np.arange(levels + 1)


def histogram(a: AnyImage, keys=None, *, mask: Optional[Mask] = None, channel: Channel = None,
              alpha: bool = False, planes: bool = False) -> np.ndarray:
    """Counts of levels: an array (n,) of int32 for one channel, (c, n) for several.

    a     bool, uint8 or uint16
    keys  bin i has the samples from keys[i] to keys[i + 1] - 1; every level if not told. One table
          for all channels, or a list of one for each
    """
    channels = size_of(a, planes)[2]
    tables = _Tables(channels, _all_levels(dtype_of(a)) if keys is None else keys)
    lent = _measured(a, mask, channel, alpha, planes)
    invoke(lib.moxComputeHisto, lent.ref, tables.pointer)
    give_back(lent)
    counts = [row[:-1] for row in tables.values]
    if alpha and channel is None:
        counts = counts[:-1]
    if channel is not None:
        return counts[max(coi_of(channel, a, planes) - 1, 0)]
    if len(counts) == 1:
        return counts[0]
    if len({row.size for row in counts}) > 1:
        return counts
    return np.stack(counts)


def contrast_stretch(a: AnyImage, keys, values, factors=None, out: Optional[AnyImage] = None, *,
                     mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                     planes: bool = False) -> AnyImage:
    """Applies a tone curve: a level v from keys[i] on becomes values[i], or with factors
    values[i] + (v - keys[i]) x factors[i]. Tables are one for all channels, or one for each; uint8
    and uint16."""
    tables = _Tables(size_of(a, planes)[2], keys, values, factors)
    return run(lib.moxContrastStretch, (a,), out, (tables.pointer,), mask=mask, channel=channel,
               alpha=alpha, planes=planes)


def equalize(a: AnyImage, out: Optional[AnyImage] = None, *, keys=None,
             reference: Optional[AnyImage] = None, mask: Optional[Mask] = None,
             channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """Equalises each channel by its histogram, or by that of a reference image; uint8, uint16."""
    tables = _Tables(size_of(a, planes)[2], _all_levels(dtype_of(a)) if keys is None else keys)
    counted = a if reference is None else reference
    if size_of(counted, planes)[2] != size_of(a, planes)[2] or dtype_of(counted) != dtype_of(a):
        raise ValueError("the reference has the channels and the dtype of the image")
    lent = _measured(counted, mask if reference is None else None, channel, alpha, planes)
    invoke(lib.moxComputeHisto, lent.ref, tables.pointer)
    give_back(lent)
    return run(lib.moxHistoEqualize, (a,), out, (tables.pointer,), mask=mask, channel=channel,
               alpha=alpha, planes=planes)


# Comparisons -----------------------------------------------------------

Operand = Union[AnyImage, Constant]


def _compare(functions, a, b, out, mask, channel, alpha, planes, more=()):
    """A relation of two images or an image and a constant, as bits."""
    of_images, of_integer, of_float = functions
    height, width, _ = size_of(a, planes)
    result = (height, width, 1, BOOL)
    if hasattr(b, "_lend") or getattr(b, "ndim", 0):
        function, sources, arguments = of_images, (a, b), more
    elif dtype_of(a) == FLOAT:
        function, sources, arguments = of_float, (a,), None
        value = c_float(b)
    else:
        function, sources, arguments = of_integer, (a,), None
        value = whole(b, "the constant")

    def with_constant(source, target, *rest):
        return function(source, value, target, *rest)

    return run(function if arguments is not None else with_constant, sources, out, more,
               mask=mask, channel=channel, alpha=alpha, planes=planes, result=result,
               in_place=False)


def less(a: AnyImage, b: Operand, out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
         channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """a < b in every channel: a bool array (h, w), ready to be a mask. b may be a constant."""
    return _compare((lib.moxLess, lib.moxLessS, lib.moxLessSFP), a, b, out, mask, channel, alpha,
                    planes)


def greater(a: AnyImage, b: Operand, out: Optional[AnyImage] = None, *,
            mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
            planes: bool = False) -> AnyImage:
    """a > b in every channel: a bool array (h, w). b may be a constant."""
    return _compare((lib.moxGreater, lib.moxGreaterS, lib.moxGreaterSFP), a, b, out, mask, channel,
                    alpha, planes)


def equal(a: AnyImage, b: Operand, out: Optional[AnyImage] = None, *, eps: Optional[float] = None,
          mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
          planes: bool = False) -> AnyImage:
    """a == b in every channel: a bool array (h, w). b may be a constant.

    eps  of float32: less than eps apart
    """
    if eps is None:
        functions = lib.moxEqual, lib.moxEqualS, lib.moxEqualSFP
        more: Sequence = ()
    else:
        if dtype_of(a) != FLOAT:
            raise TypeError("eps is for float32")
        functions = lib.moxEqualFPEps, None, lib.moxEqualSFPEps
        more = (c_float(eps),)
    return _compare(functions, a, b, out, mask, channel, alpha, planes, more)
