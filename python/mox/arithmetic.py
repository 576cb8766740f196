"""Arithmetic and logic, sample by sample.

Integers are exact and limited to the range of the dtype; floats are single precision. All functions
take bits (bool), uint8, int8, uint16, int16, int32 and float32, logic and shifts all but float32.

Images of a call have one shape and dtype. A constant may stand for either of two images: a whole
number at integer dtypes.
"""

from ctypes import c_float
from typing import Optional, Union

from ._calls import binary, dtype_of, unary
from ._images import FLOAT, REGION, ndarray, whole
from ._library import lib
from ._types import AnyImage, Channel, Constant, Mask

Operand = Union[AnyImage, Constant]


def _is_image(value):
    return type(value) is ndarray or hasattr(value, "_lend") or getattr(value, "ndim", 0) > 0


def _constant(image, value, integer, floating):
    """The function for a constant beside this image, and the constant as it takes it."""
    if floating is not None and dtype_of(image) == FLOAT:
        return floating, c_float(value)
    return integer, whole(value, "the constant")


def _with_constant(integer, floating, a, b, out, mask, channel, alpha, planes):
    """A commutative function of an image and a constant."""
    if not _is_image(a):
        a, b = b, a
    function, value = _constant(a, b, integer, floating)
    return unary(function, a, out, (value,), mask, channel, alpha, planes)


def add(a: Operand, b: Operand, out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
        channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """a + b, limited to the range of the dtype; of bits a | b.

    a, b     (h, w) or (h, w, c), both of one dtype, or one of them a constant
    returns  an array of the same shape and dtype, or out
    """
    if type(a) is ndarray and type(b) is ndarray or _is_image(a) and _is_image(b):
        return binary(lib.moxAdd, a, b, out, mask, channel, alpha, planes)
    return _with_constant(lib.moxAddS, lib.moxAddSFP, a, b, out, mask, channel, alpha, planes)


def subtract(a: Operand, b: Operand, out: Optional[AnyImage] = None, *,
             mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
             planes: bool = False) -> AnyImage:
    """a - b, limited to the range of the dtype; of bits a & ~b. Either may be a constant."""
    if type(a) is ndarray and type(b) is ndarray or _is_image(a) and _is_image(b):
        return binary(lib.moxSubtract, a, b, out, mask, channel, alpha, planes)
    flip = 0 if _is_image(a) else 1
    if flip:
        a, b = b, a
    function, value = _constant(a, b, lib.moxSubtractS, lib.moxSubtractSFP)
    return unary(function, a, out, (value, flip), mask, channel, alpha, planes)


def multiply(a: Operand, b: Operand, out: Optional[AnyImage] = None, *,
             mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
             planes: bool = False) -> AnyImage:
    """a x b, limited to the range of the dtype; of bits a & b. One of them may be a constant."""
    if type(a) is ndarray and type(b) is ndarray or _is_image(a) and _is_image(b):
        return binary(lib.moxMultiply, a, b, out, mask, channel, alpha, planes)
    return _with_constant(lib.moxMultiplyS, lib.moxMultiplySFP, a, b, out, mask, channel, alpha,
                          planes)


def bitwise_and(a: Operand, b: Operand, out: Optional[AnyImage] = None, *,
                mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                planes: bool = False) -> AnyImage:
    """a & b, of bits and integers. Of a constant the low bits count that the dtype has."""
    if type(a) is ndarray and type(b) is ndarray or _is_image(a) and _is_image(b):
        return binary(lib.moxAnd, a, b, out, mask, channel, alpha, planes)
    return _with_constant(lib.moxAndS, None, a, b, out, mask, channel, alpha, planes)


def bitwise_or(a: Operand, b: Operand, out: Optional[AnyImage] = None, *,
               mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
               planes: bool = False) -> AnyImage:
    """a | b, of bits and integers. Of a constant the low bits count that the dtype has."""
    if type(a) is ndarray and type(b) is ndarray or _is_image(a) and _is_image(b):
        return binary(lib.moxOr, a, b, out, mask, channel, alpha, planes)
    return _with_constant(lib.moxOrS, None, a, b, out, mask, channel, alpha, planes)


def bitwise_xor(a: Operand, b: Operand, out: Optional[AnyImage] = None, *,
                mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                planes: bool = False) -> AnyImage:
    """a ^ b, of bits and integers. Of a constant the low bits count that the dtype has."""
    if type(a) is ndarray and type(b) is ndarray or _is_image(a) and _is_image(b):
        return binary(lib.moxXor, a, b, out, mask, channel, alpha, planes)
    return _with_constant(lib.moxXorS, None, a, b, out, mask, channel, alpha, planes)


def invert(a: AnyImage, out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
           channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """~a, of bits and integers."""
    return unary(lib.moxNot, a, out, (), mask, channel, alpha, planes)


def square(a: AnyImage, out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
           channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """a x a, limited to the range of the dtype."""
    return unary(lib.moxSquare, a, out, (), mask, channel, alpha, planes)


def absolute(a: AnyImage, out: Optional[AnyImage] = None, *, mask: Optional[Mask] = None,
             channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """|a|; the most negative integer becomes the largest one."""
    return unary(lib.moxAbs, a, out, (), mask, channel, alpha, planes, REGION)


def left_shift(a: AnyImage, shift: int, out: Optional[AnyImage] = None, *,
               mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
               planes: bool = False) -> AnyImage:
    """a << shift, of bits and integers; bits that leave the sample are lost."""
    value = whole(shift, "shift", 0)
    return unary(lib.moxLShiftS, a, out, (value,), mask, channel, alpha, planes)


def right_shift(a: AnyImage, shift: int, out: Optional[AnyImage] = None, *,
                mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                planes: bool = False) -> AnyImage:
    """a >> shift, of bits and integers: signed ones keep their sign."""
    value = whole(shift, "shift", 0)
    return unary(lib.moxRShiftS, a, out, (value,), mask, channel, alpha, planes)
