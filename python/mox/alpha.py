"""Composition by opacities, at uint8 and uint16.

Here an array of 2 or 4 channels has alpha as its last one, and an array of 1 or 3 has none; an
Image says it by itself.
"""

from copy import copy as shallow_copy
from typing import Optional

import numpy as np

from . import _records as records
from ._calls import (apart, check_out, choice, copy_of, dtype_of, lend_mask, new_image, run,
                     set_mask, size_of)
from ._errors import invoke
from ._images import REGION, WINDOW, Image, Layout, give_back, lend, whole
from ._library import lib
from ._types import AnyImage, Channel, Mask
from .moving import copy

_RULES = {"over": records.MOX_COMPOSITE_OVER, "in": records.MOX_COMPOSITE_IN,
          "out": records.MOX_COMPOSITE_OUT, "atop": records.MOX_COMPOSITE_ATOP,
          "xor": records.MOX_COMPOSITE_XOR, "plus": records.MOX_COMPOSITE_PLUS}


def _has_alpha(image, planes):
    if isinstance(image, Image):
        return image.alpha
    return size_of(image, planes)[2] in (2, 4)


def _layout(image, planes):
    return Layout(planes, _has_alpha(image, planes))


class _Composition:
    """The headers of a composition."""

    def __init__(self, a, b, out, mask, planes):
        height, width, channels = size_of(b, planes)
        if size_of(a, planes)[:2] != (height, width):
            raise ValueError("the images differ in size")
        if dtype_of(a) != dtype_of(b):
            raise TypeError("the images differ in dtype")
        if out is None:
            out = copy_of(b) if mask is not None else new_image(b, height, width, channels,
                                                                dtype_of(b), planes)
            if mask is None and _has_alpha(b, planes):
                out = copy_of(b)
        else:
            check_out(out, height, width, dtype_of(b), planes=planes)
            a, b = (image if image is out else apart(image, out, True) for image in (a, b))
        self.out = out
        # Copies live as long as their headers.
        self.sources = a, b
        self.planes = planes
        self.lents = []
        self._by_image = {}
        self.out_lent = self.take(out, True)
        self.a, self.b = self.take(a), self.take(b)
        if mask is not None:
            self.cover = lend_mask(mask, height, width)
            set_mask(self.out_lent, self.cover)

    def take(self, image, write=False, mode=REGION):
        """The header of an image, the same one for the same image."""
        if image is None:
            return None
        if id(image) not in self._by_image:
            lent = lend(image, _layout(image, self.planes), mode, write)
            self._by_image[id(image)] = lent
            self.lents.append(lent)
        return self._by_image[id(image)]

    def done(self):
        for lent in self.lents:
            give_back(lent)
        return self.out


def _reference(lent):
    return lent.ref if lent is not None else None


def composite(a: AnyImage, b: AnyImage, out: Optional[AnyImage] = None, *, rule: str = "over",
              alpha_a: Optional[AnyImage] = None, alpha_b: Optional[AnyImage] = None,
              alpha_out: Optional[AnyImage] = None, premultiplied: bool = False,
              divide: bool = False, mask: Optional[Mask] = None,
              planes: bool = False) -> AnyImage:
    """Composes a and b: "over", "in", "out", "atop", "xor" or "plus".

    a, b            (h, w, 4) with alpha, or (h, w, 3); or 2 and 1 channels
    alpha_a, _b     opacities (h, w) in place of the images' own alpha
    alpha_out       where the opacity of the result goes, in place of out's alpha
    premultiplied   the colours have been multiplied by their opacities
    divide          straight colours from multiplied ones
    """
    call = _Composition(a, b, out, mask, planes)
    for opacity in (alpha_a, alpha_b, alpha_out):
        if opacity is not None and size_of(opacity)[:2] != size_of(b, planes)[:2]:
            raise ValueError("opacities have the size of the images")
    alpha_a, alpha_b = (opacity if opacity is None else apart(opacity, call.out, False)
                        for opacity in (alpha_a, alpha_b))
    if alpha_out is not None:
        check_out(alpha_out, *size_of(b, planes)[:2], dtype_of(b))
    # Regions of opacities count, but not their channels of interest.
    opacity_out = call.take(alpha_out, True, WINDOW)
    if alpha_out is not None and size_of(alpha_out)[2] == 1:
        # The library writes opacities to an alpha channel.
        opacity_out.record.alphaChannel = 1
        opacity_out.pool = None
    invoke(lib.moxAlphaComposite, call.a.ref, call.b.ref, call.out_lent.ref,
           choice(rule, _RULES, "rule"), _reference(call.take(alpha_a, mode=WINDOW)),
           _reference(call.take(alpha_b, mode=WINDOW)), _reference(opacity_out),
           int(bool(premultiplied)), int(bool(divide)))
    return call.done()


def composite_constant(a: AnyImage, b: AnyImage, alpha_a: int = -1, alpha_b: int = -1,
                       out: Optional[AnyImage] = None, *, rule: str = "over",
                       premultiplied: bool = False, divide: bool = False,
                       mask: Optional[Mask] = None, planes: bool = False) -> AnyImage:
    """composite() by constant opacities; a negative one stands for the image's own alpha."""
    call = _Composition(a, b, out, mask, planes)
    invoke(lib.moxAlphaCompositeC, call.a.ref, call.b.ref, call.out_lent.ref,
           choice(rule, _RULES, "rule"), whole(alpha_a, "alpha_a"),
           whole(alpha_b, "alpha_b"), int(bool(premultiplied)), int(bool(divide)))
    return call.done()


def _whole_pixels(image):
    """An image whose alpha is a channel like the others."""
    if not getattr(image, "alpha", False):
        return image
    image = shallow_copy(image)
    image.alpha = False
    return image


def premultiply(a: AnyImage, alpha: int = -1, out: Optional[AnyImage] = None, *,
                mask: Optional[Mask] = None, planes: bool = False) -> AnyImage:
    """The colours multiplied by the image's own alpha, or by a constant one, which then fills the
    alpha channel."""
    if out is None:
        out = copy_of(a)
    elif out is not a:
        height, width, channels = size_of(a, planes)
        check_out(out, height, width, dtype_of(a), channels, planes)
        copy(_whole_pixels(a), _whole_pixels(out), mask=mask, planes=planes)
    height, width, _ = size_of(out, planes)
    check_out(out, height, width, None, planes=planes)
    lent = lend(out, _layout(out, planes), write=True)
    cover = None
    if mask is not None:
        cover = lend_mask(mask, height, width)
        set_mask(lent, cover)
    invoke(lib.moxPreMultiplyAlpha, lent.ref, whole(alpha, "alpha"))
    give_back(lent)
    return out


def multiply_scale(a: AnyImage, b, out: Optional[AnyImage] = None, *,
                   mask: Optional[Mask] = None, channel: Channel = None, alpha: bool = False,
                   planes: bool = False) -> AnyImage:
    """a x b / F, rounded down, F being 255 or 65535: the product of fractions of white. b may be a
    number."""
    if isinstance(b, (int, np.integer)):
        return run(lib.moxMultiplySScale, (a,), out, (whole(b, "b"),), mask=mask, channel=channel,
                   alpha=alpha, planes=planes)
    return run(lib.moxMultiplyScale, (a, b), out, mask=mask, channel=channel, alpha=alpha,
               planes=planes)
