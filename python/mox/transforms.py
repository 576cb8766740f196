"""Fourier and cosine transforms, and wavelets.

They take plain arrays, not tiles, at every dtype but bool, and leave masks alone. Results are
float32 unless out says otherwise.
"""

import ctypes
from typing import Optional, Sequence, Tuple

import numpy as np

from . import _records as records
from ._calls import choice, dtype_of, run, size_of
from ._errors import check_status, invoke
from ._images import FLOAT, WHOLE, give_back, lend, plain_array, whole
from ._library import lib
from ._types import AnyImage, Channel

_ENGINES = {None: 0, "float": records.MOX_FFT_USE_FLOAT, "integer": records.MOX_FFT_USE_INTEGER}


def _transform(function, a, out, flags, channel, alpha, planes, check_call=None):
    height, width, channels = size_of(a, planes)
    dtype = FLOAT if out is None else dtype_of(out)
    return run(function, (a,), out, (flags,), channel=channel, alpha=alpha, planes=planes,
               result=(height, width, channels, dtype), check=check_call)


def fft(a: AnyImage, out: Optional[AnyImage] = None, *, engine: Optional[str] = None,
        channel: Channel = None, alpha: bool = False, planes: bool = False) -> AnyImage:
    """The packed spectrum of each channel: an array of the same shape, see spectrum().

    engine  "float" or "integer"; the library's choice if not told
    """
    flags = records.MOX_FFT_FORWARD | choice(engine, _ENGINES, "engine")
    return _transform(lib.moxRealFft2D, a, out, flags, channel, alpha, planes)


def ifft(a: AnyImage, out: Optional[AnyImage] = None, *, scaled: bool = True,
         engine: Optional[str] = None, channel: Channel = None, alpha: bool = False,
         planes: bool = False) -> AnyImage:
    """The image of a packed spectrum; without `scaled` it is width x height times as large."""
    flags = records.MOX_FFT_INVERSE | choice(engine, _ENGINES, "engine")
    if not scaled:
        flags |= records.MOX_FFT_NO_SCALE
    return _transform(lib.moxCcsFft2D, a, out, flags, channel, alpha, planes)


def multiply_spectra(a: AnyImage, b: AnyImage, out: Optional[AnyImage] = None, *,
                     channel: Channel = None, alpha: bool = False,
                     planes: bool = False) -> AnyImage:
    """The product of two packed spectra: periodic convolution, once it is back. int8, int16, int32
    or float32."""
    return run(lib.moxMpyRCPack2D, (a, b), out, channel=channel, alpha=alpha, planes=planes)


def spectrum(packed: np.ndarray) -> np.ndarray:
    """The complex numbers of a packed spectrum (h, w): an array (h, w // 2 + 1), as of
    numpy.fft.rfft2."""
    packed = plain_array(packed).astype(np.float64)
    if packed.ndim != 2:
        raise ValueError("a spectrum is unpacked by channels, which are (h, w)")
    height, width = packed.shape
    full = np.zeros((height, width // 2 + 1), np.complex128)
    middle = packed[:, 1:width - 1 if width % 2 == 0 else width]
    full[:, 1:1 + middle.shape[1] // 2] = middle[:, 0::2] + 1j * middle[:, 1::2]
    for place, column in ((0, packed[:, 0]), (width // 2, packed[:, -1]))[:2 - width % 2]:
        if width == 1 and place:
            break
        pairs = (height - 1) // 2
        full[0, place] = column[0]
        rows = column[1:1 + 2 * pairs]
        full[1:1 + pairs, place] = rows[0::2] + 1j * rows[1::2]
        full[height - pairs:, place] = np.conj(full[1:1 + pairs, place])[::-1]
        if height % 2 == 0:
            full[height // 2, place] = column[-1]
    return full


def dct(a: AnyImage, out: Optional[AnyImage] = None, *, channel: Channel = None,
        alpha: bool = False, planes: bool = False) -> AnyImage:
    """The orthonormal cosine transform of each channel; float32, or the dtype of out."""
    return _dct(a, out, records.MOX_DCT_FORWARD, channel, alpha, planes)


def idct(a: AnyImage, out: Optional[AnyImage] = None, *, channel: Channel = None,
         alpha: bool = False, planes: bool = False) -> AnyImage:
    """The image of cosine coefficients; float32, or the dtype of out."""
    return _dct(a, out, records.MOX_DCT_INVERSE, channel, alpha, planes)


def _dct(a, out, flags, channel, alpha, planes):
    height, width, channels = size_of(a, planes)
    dtype = FLOAT if out is None else dtype_of(out)
    # It wants a region in both images or in neither.
    return run(lib.moxDCT2D, (a,), out, (flags,), channel=channel, alpha=alpha, planes=planes,
               result=(height, width, channels, dtype), in_place=False, mode=WHOLE,
               out_mode=WHOLE, check=lambda _: check_status("moxDCT2D"))


def free_tables() -> None:
    """Gives back the tables that transforms keep for the calling thread."""
    invoke(lib.moxRealFft2D, None, None, records.MOX_FFT_FREE)
    invoke(lib.moxDCT2D, None, None, records.MOX_DCT_FREE)


_WAVELETS = {"haar": records.MOX_WT_HAAR, "daubechies": records.MOX_WT_DAUBECHIES,
             "symlet": records.MOX_WT_SYMLET, "coiflet": records.MOX_WT_COIFLET,
             "vaidyanathan": records.MOX_WT_VAIDYANATHAN, "bspline": records.MOX_WT_BSPLINE,
             "bspline_dual": records.MOX_WT_BSPLINE_DUAL, "5/3": records.MOX_WT_53,
             "9/7": records.MOX_WT_97}


class Wavelet:
    """The four filters of a wavelet: Wavelet("daubechies", 2).

    Kinds: "haar", "daubechies" (1 to 10), "symlet" (1 to 7), "coiflet" (1 to 5), "vaidyanathan",
    "bspline" and "bspline_dual" (two parameters), "5/3", "9/7".
    """

    def __init__(self, kind: str, par1: int = 0, par2: int = 0):
        self._kernel = records.MoxWtKernel()
        invoke(lib.moxWtInit, choice(kind, _WAVELETS, "kind"), whole(par1, "par1"),
               whole(par2, "par2"), ctypes.byref(self._kernel))

    @classmethod
    def from_filters(cls, taps: Sequence[Sequence[float]], offsets: Sequence[int]) -> "Wavelet":
        """A wavelet of four filters: decomposition low and high, reconstruction low and high."""
        if len(taps) != 4 or len(offsets) != 4:
            raise ValueError("a wavelet has four filters, and an offset of each")
        arrays = [np.ascontiguousarray(filter_taps, np.float32) for filter_taps in taps]
        made = cls.__new__(cls)
        made._kernel = records.MoxWtKernel()
        invoke(lib.moxWtInitUserTaps,
               (ctypes.c_void_p * 4)(*[array.ctypes.data for array in arrays]),
               (ctypes.c_int * 4)(*[array.size for array in arrays]),
               (ctypes.c_int * 4)(*[whole(offset, "offset") for offset in offsets]),
               ctypes.byref(made._kernel))
        return made

    def __del__(self):
        if hasattr(self, "_kernel"):
            lib.moxWtFree(ctypes.byref(self._kernel))

    def decompose(self, a: np.ndarray) -> Tuple[np.ndarray, np.ndarray, np.ndarray, np.ndarray]:
        """One level of an image (h, w) of uint8: approximation, and details along y, x and both,
        each ((h + 1) // 2, (w + 1) // 2) of float32."""
        height, width, _ = size_of(a)
        parts = tuple(np.empty(((height + 1) // 2, (width + 1) // 2), np.float32)
                      for _ in range(4))
        lents = [lend(image) for image in (a, *parts)]
        invoke(lib.moxWtDecompose, ctypes.byref(self._kernel), *[lent.ref for lent in lents])
        for lent in lents:
            give_back(lent)
        return parts

    def reconstruct(self, parts: Sequence[np.ndarray], shape: Optional[Tuple[int, int]] = None,
                    out: Optional[np.ndarray] = None) -> np.ndarray:
        """The image of four parts: shape tells an odd height or width, 2 h and 2 w if not told."""
        if len(parts) != 4:
            raise ValueError("an image comes from four parts")
        if out is None:
            height, width, _ = size_of(parts[0])
            out = np.zeros(shape or (2 * height, 2 * width), np.uint8)
        lents = [lend(np.ascontiguousarray(part)) for part in parts]
        target = lend(out, write=True)
        invoke(lib.moxWtReconstruct, ctypes.byref(self._kernel), *[lent.ref for lent in lents],
               target.ref)
        for lent in (*lents, target):
            give_back(lent)
        return out
