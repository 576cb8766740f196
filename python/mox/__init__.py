"""Operations on images: numpy arrays in and out, over the shared library of MOX.

Images are arrays of (h, w) or (h, w, c), with planes=True (c, h, w), of uint8, int8, uint16, int16,
int32, float32 or bool. Most functions have these keywords:

    out      where the result goes: an array of its shape and dtype, often the source itself
    mask     a bool array (h, w): where it is False the destination keeps what it holds
    channel  the one channel, from 0, that is read and written
    alpha    the last channel is alpha, and left alone
    planes   the channels are planes

What an operation leaves alone (beyond the mask, other channels, alpha) is in a new result what it
is in the first image, or 0 where the two differ in dtype or shape.

A call that the library refuses raises mox.Error with status, function and message. The GIL is
released during calls.
"""

from ._errors import Error
from ._images import Image
from ._library import LibraryNotFound, lib as _lib
from .alpha import composite, composite_constant, multiply_scale, premultiply
from .arithmetic import (absolute, add, bitwise_and, bitwise_or, bitwise_xor, invert, left_shift,
                         multiply, right_shift, square, subtract)
from .color import (color_twist, gray_to_rgb, hls_to_rgb, hsv_to_rgb, luv_to_rgb, rgb_to_gray,
                    rgb_to_hls, rgb_to_hsv, rgb_to_luv, rgb_to_xyz, rgb_to_ycrcb, rgb_to_yuv,
                    xyz_to_rgb, ycc_to_rgb, ycrcb_to_rgb, yuv_to_rgb)
from .depth import bits_to_gray, convert, reduce_bits, scale, scale_float, threshold
from .dib import from_dib, to_dib
from .filters import (blur, closing, color_median_filter, convolve, convolve_separable, correlate,
                      dilate, erode, fixed_filter, max_filter, median_filter, min_filter, opening)
from .geometry import (bound_of, decimate, decimate_blur, mirror, quad_of, remap, resize, rotate,
                       rotate_shift, shear, transform_of, warp_affine, warp_bilinear,
                       warp_perspective, zoom)
from .measures import (Moments, central_moment, contrast_stretch, equal, equalize, greater,
                       histogram, less, min_max, moments, norm, normalized_central_moment,
                       normalized_spatial_moment, spatial_moment)
from .moving import copy, exchange, fill, get_pixel, put_pixel
from .synth import gaussian_noise, process, process_float, process_pixels, rings, uniform_noise
from .tiles import Tiled
from .transforms import (Wavelet, dct, fft, free_tables, idct, ifft, multiply_spectra, spectrum)


def library_version() -> str:
    """The version of the library, such as "2.5.9"."""
    version = _lib.moxGetLibVersion().contents
    return f"{version.major}.{version.minor}.{version.build}"


__all__ = [name for name in dir() if not name.startswith("_") and name[0] != "_"]
