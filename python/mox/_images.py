"""Arrays as image headers.

A header is made once for each shape, strides and dtype and kept for the next array of that kind, so
that most calls only fill in where the pixels are. An array that a header can describe is handed
over as it stands; any other is copied once, before the call, and if it is written to copied back.
"""

import operator
import sys
from ctypes import byref, c_void_p, pointer, sizeof
from typing import NamedTuple, Optional

import numpy as np

from . import _records as records
from ._records import MoxImage, MoxROI

ndarray = np.ndarray
INT_MAX = 2**31 - 1

#: Depths by dtype. Bits are bool arrays, which are packed for the call, or packed rows (see Image).
DEPTHS = {
    np.dtype(np.bool_): records.MOX_DEPTH_1U,
    np.dtype(np.uint8): records.MOX_DEPTH_8U,
    np.dtype(np.int8): records.MOX_DEPTH_8S,
    np.dtype(np.uint16): records.MOX_DEPTH_16U,
    np.dtype(np.int16): records.MOX_DEPTH_16S,
    np.dtype(np.int32): records.MOX_DEPTH_32S,
    np.dtype(np.float32): records.MOX_DEPTH_32F,
}
DTYPES = {depth: dtype for dtype, depth in DEPTHS.items()}
BOOL = np.dtype(np.bool_)
FLOAT = np.dtype(np.float32)

# What an operation needs of an image.
POINT = 0   #: each sample by itself: one channel of a region of a larger image is as good
REGION = 1  #: a region of a larger image is as good, all channels of it
WINDOW = 2  #: neighbours as well: where the array ends the image ends
WHOLE = 3   #: the whole image, without a region: arrays with gaps are copied


class Layout(NamedTuple):
    """How an array is to be read, beyond its shape and dtype."""

    planes: bool = False
    alpha: bool = False
    coi: int = 0
    border: Optional[tuple] = None
    model: bytes = b""
    sequence: bytes = b""
    width: int = 0  # of packed bits
    bottom_up: bool = False


PLAIN = Layout()


class Lent:
    """A header in use: a record, its reference for calls, and where it goes afterwards."""

    __slots__ = ("record", "ref", "pool", "keep", "after")

    def __init__(self, record):
        self.record = record
        self.ref = byref(record)
        self.pool = None   # the list that keeps it for the next array of its kind
        self.keep = None   # what must live as long as the record
        self.after = None  # what brings a written copy back to its array


_pools = {}


def _find_address():
    """A function that tells where the pixels of an array are.

    An array object begins with its reference count, its type and this pointer; to read it there
    takes a tenth of the time that array.ctypes or __array_interface__ take. Where an interpreter
    has it elsewhere the documented way is used.
    """
    offset = 2 * sizeof(c_void_p)
    at = c_void_p.from_address

    def documented(array):
        return array.__array_interface__["data"][0]

    def direct(array):
        return at(id(array) + offset).value

    if sys.implementation.name != "cpython" or object.__basicsize__ != offset:
        return documented
    probes = [np.zeros(5, np.uint8), np.zeros((4, 3), np.float32)[1:, 1:]]
    return direct if all(direct(a) == documented(a) for a in probes) else documented


address = _find_address()


def lend(array, layout=None, mode=REGION, write=False):
    """The header of an array, an Image or a Tiled; give_back() takes it when the call is over."""
    if type(array) is ndarray:
        if layout is not None and layout == PLAIN:
            layout = None
        try:
            lent = _pools[array.shape, array.strides, array.dtype, layout].pop()
        except (KeyError, IndexError):
            return _lend_anew(array, layout or PLAIN, mode, write)
        lent.record.imageData = address(array)
        return lent
    if hasattr(array, "_lend"):
        return array._lend(layout or PLAIN, mode, write)
    return _lend_anew(plain_array(array), layout or PLAIN, mode, write)


#: Headers side by side for calls of several arrays of one kind, by shape, strides, dtype, number.
sets = {}
_WORD = sizeof(c_void_p)
#: Where in a set imageData stands, in words: of the first, second and third header.
DATA_WORDS = tuple((number * sizeof(MoxImage) + MoxImage.imageData.offset) // _WORD
                   for number in range(3))


def make_sets(array, number):
    """The list of kept sets of so many headers for arrays of this one's kind; None for kinds that
    have no headers to keep."""
    if (not array.flags.c_contiguous or array.dtype not in DEPTHS or array.dtype == BOOL
            or array.ndim not in (2, 3) or not array.size):
        return None
    if len(sets) > 500:
        sets.clear()
    return sets.setdefault((array.shape, array.strides, array.dtype, number), [])


def make_set(array, number):
    """Headers for so many arrays of this one's kind: their words, and the reference of each."""
    height, width, channels = size_of_shape(array.shape, False)
    template = new_record(DEPTHS[array.dtype], height, width, channels,
                          width * channels * array.itemsize, PLAIN, None)
    memory = bytearray(bytes(template) * number)
    references = [byref(MoxImage.from_buffer(memory, index * sizeof(MoxImage)))
                  for index in range(number)]
    return memoryview(memory).cast("N"), *references


def give_back(lent):
    """Ends the use of a header after a call that went well."""
    if lent.after is not None:
        lent.after()
    if lent.pool is not None:
        lent.pool.append(lent)


def plain_array(array):
    """The array behind a subclass such as memmap; TypeError for what is none."""
    if isinstance(array, np.ma.MaskedArray):
        raise TypeError("a masked array is refused, as its mask would be lost: pass its data, and "
                        "mask=~array.mask")
    if not isinstance(array, ndarray):
        raise TypeError(f"an image is a numpy array, a mox.Image or a mox.Tiled, not "
                        f"{type(array).__name__}")
    return array.view(ndarray)


def depth_of(dtype):
    """The depth of a dtype; TypeError if it has none."""
    try:
        return DEPTHS[dtype]
    except KeyError:
        raise TypeError(f"arrays of {dtype} are not supported: the dtypes are uint8, int8, uint16, "
                        "int16, int32, float32 (in the machine's byte order) and bool") from None


def size_of_shape(shape, planes):
    """Height, width and channels of an array of that shape."""
    if len(shape) == 2:
        height, width = shape
        channels = 1
    elif len(shape) == 3 and planes:
        channels, height, width = shape
    elif len(shape) == 3:
        height, width, channels = shape
    else:
        raise ValueError(f"an image has 2 or 3 dimensions, not {len(shape)}")
    if height < 1 or width < 1 or channels < 1:
        raise ValueError(f"an image has at least one pixel: the shape is {tuple(shape)}")
    return height, width, channels


def new_record(depth, height, width, channels, step, layout, data):
    """A header of given sizes over given memory."""
    if max(height, width, channels, step) > INT_MAX:
        raise ValueError("an image has at most 2147483647 columns, rows, channels, and bytes a row")
    record = MoxImage()
    record.headerSize = sizeof(MoxImage)
    record.nChannels = channels
    record.alphaChannel = channels if layout.alpha else 0
    record.depth = depth
    record.colorModel = layout.model or (b"RGB" if channels >= 3 else b"GRAY")
    record.channelSeq = layout.sequence or {1: b"G", 4: b"RGBA"}.get(channels, b"RGB")
    record.dataOrder = records.MOX_DATA_ORDER_PLANE if layout.planes else 0
    record.origin = records.MOX_ORIGIN_BL if layout.bottom_up else records.MOX_ORIGIN_TL
    record.align = 4
    record.width = width
    record.height = height
    record.widthStep = step
    record.imageSize = min(step * height * (channels if layout.planes else 1), INT_MAX)
    record.imageData = data
    if layout.border:
        for side, (mode, constant) in enumerate(layout.border):
            record.borderMode[side] = mode
            record.borderConst[side] = constant
    return record


def set_region(lent, coi, x, y, width, height):
    """Gives a header a region of interest."""
    roi = MoxROI(coi, x, y, width, height)
    lent.record.roi = pointer(roi)


def _lend_anew(array, layout, mode, write):
    """A header for an array whose kind is not known yet, or has no header that could be kept."""
    if layout.width:
        return _lend_packed(array, layout)
    depth = depth_of(array.dtype)
    height, width, channels = size_of_shape(array.shape, layout.planes)
    if layout.coi > channels:
        raise ValueError(f"there is no channel {layout.coi - 1} among {channels}")
    if depth == records.MOX_DEPTH_1U:
        if channels > 1:
            raise ValueError("an image of bits has one channel")
        return _lend_bits(array, layout, write)
    item = array.itemsize
    if array.flags.c_contiguous:
        step = width * item * (1 if layout.planes else channels)
        lent = Lent(new_record(depth, height, width, channels, step, layout, address(array)))
        if layout.coi:
            set_region(lent, layout.coi, 0, 0, width, height)
        key = (array.shape, array.strides, array.dtype, None if layout == PLAIN else layout)
        if len(_pools) > 500:
            _pools.clear()
        lent.pool = _pools.setdefault(key, [])
        return lent
    place = _place(array, layout, mode)
    if place is None:
        return _lend_copy(array, layout, mode, write)
    start, step, x, y, coi, whole = place
    lent = Lent(new_record(depth, *whole, step, layout, start))
    lent.keep = array
    set_region(lent, coi or layout.coi, x, y, width, height)
    return lent


def _lend_copy(array, layout, mode, write):
    """An array that no header describes: a copy of it is handed over, and brought back."""
    copy = np.ascontiguousarray(array)
    lent = _lend_anew(copy, layout, mode, write)
    lent.pool = None
    lent.keep = copy
    if write:
        lent.after = lambda: np.copyto(array, copy)
    return lent


def pack_rows(plane):
    """The packed rows of a bool array (h, w), one behind the other in memory.

    Of columns that stand in memory one behind the other packbits() makes just such an array.
    """
    return np.packbits(np.ascontiguousarray(plane), axis=1)


def _lend_bits(array, layout, write):
    """A bool array goes over packed, as a copy."""
    plane = array.reshape(array.shape[:2] if not layout.planes else array.shape[-2:])
    height, width = plane.shape
    packed = pack_rows(plane)
    lent = Lent(new_record(records.MOX_DEPTH_1U, height, width, 1, packed.shape[1], layout,
                           address(packed)))
    lent.keep = packed
    if layout.coi:
        set_region(lent, layout.coi, 0, 0, width, height)
    if write:
        def bring_back():
            np.copyto(plane, np.unpackbits(packed, axis=1, count=width).view(BOOL))
        lent.after = bring_back
    return lent


def _lend_packed(array, layout):
    """Rows of packed bits, most significant bit first, as they stand."""
    height, row_bytes = array.shape
    if layout.width > 8 * row_bytes:
        raise ValueError(f"rows of {row_bytes} bytes do not hold {layout.width} bits")
    step = array.strides[0] if height > 1 else max(array.strides[0], row_bytes)
    if array.strides[1] != 1 and row_bytes > 1 or step < row_bytes:
        raise ValueError("packed rows are bytes that follow one another, from the top down")
    lent = Lent(new_record(records.MOX_DEPTH_1U, height, layout.width, 1, step, layout,
                           address(array)))
    lent.keep = array
    if step != row_bytes and not _covers(_owner(array), address(array), step * height):
        raise ValueError("packed rows must end within the memory of their array: leave out the "
                         "last row, or copy")
    if layout.coi or step != row_bytes:
        set_region(lent, layout.coi, 0, 0, layout.width, height)
    return lent


def _owner(array):
    """The array that an array is a view of, as far as views of arrays reach."""
    while isinstance(array.base, ndarray):
        array = array.base
    return array


def _covers(owner, start, length):
    """Whether the owner's memory, without gaps, holds these bytes."""
    first = address(owner)
    return owner.flags.forc and first <= start and start + length <= first + owner.nbytes


def _place(array, layout, mode):
    """Where a view lies as a region of an image, or None where no header can say it.

    A header promises widthStep x height bytes. A view whose last row ends with the memory of its
    array does not have these behind its first pixel, but the image that begins with the row has
    them, of which the view is a region. To a filter the pixels beside the region are input: it
    takes the view by itself, or else a copy.

    The result is the address of the image, its step, x and y of the region, its channel, and the
    image's height, width and channels.
    """
    if mode == WHOLE:
        return None
    item = array.itemsize
    height, width, channels = size_of_shape(array.shape, layout.planes)
    strides = array.strides
    if layout.planes and array.ndim == 3:
        plane, step, column = strides
        pixel = item
    else:
        step, column = strides[:2]
        plane = 0
        pixel = item * channels
        if array.ndim == 3 and channels > 1 and strides[2] != item:
            return None
    if width == 1:
        column = pixel
    across = 1
    if column != pixel:
        # One channel out of pixels of several.
        if channels > 1 or column <= 0 or column % item:
            return None
        if mode != POINT or layout.alpha or layout.coi:
            return None
        across = column // item
    if height == 1:
        step = width * column
    if step < width * column:
        return None
    owner = _owner(array)
    start = address(array)
    if across == 1 and (channels == 1 or not layout.planes or plane == step * height):
        if _covers(owner, start, step * height * (channels if layout.planes else 1)):
            return start, step, 0, 0, 0, (height, width, channels)
    if mode > REGION:
        return None
    return _place_in_owner(owner, start, layout, (height, width, channels), step, plane, column,
                           item)


def _place_in_owner(owner, start, layout, size, step, plane, column, item):
    """The view as a region of the image that begins with its first row's memory."""
    height, width, channels = size
    offset = start - address(owner)
    left = offset % step
    x, rest = divmod(left, column)
    if rest % item:
        return None
    y, rows, planes = 0, height, 1
    if layout.planes and channels > 1:
        rows, partial = divmod(plane, step)
        if partial or rows < height:
            return None
        y = offset // step % rows
        planes = channels
    across = column // item if not layout.planes else 1
    if x + width > step // column:
        return None
    start -= left + y * step
    if not _covers(owner, start, step * rows * planes):
        return None
    coi = rest // item + 1 if across > 1 and channels == 1 else 0
    if not coi and rest:
        return None
    if coi and layout.planes:
        return None
    return start, step, x, y, coi, (rows, x + width, across if coi else channels)


def whole(value, name="value", low=-2**31, high=INT_MAX):
    """An integer within bounds, as the library takes it."""
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} is a whole number, not {value!r}") from None
    if not low <= number <= high:
        raise ValueError(f"{name} is {number}, which is not within {low} to {high}")
    return number


class Image:
    """An array with what its shape and dtype do not say. It goes wherever an array does.

    array      (h, w) or (h, w, c); (c, h, w) with planes; with bits (h, n) of packed rows, uint8
    planes     the channels are planes, one after the other
    alpha      the last channel is alpha: operations leave it alone, unless they are about opacities
    bits       the width in pixels of packed rows: one bit a pixel, the first in the highest bit
    model      the colour model, up to four letters; "RGB" or "GRAY" if not told
    sequence   the order of channels, up to four letters; "RGB" or "G" if not told
    bottom_up  the first row is the lowest one. Operations take rows in memory order all the same,
               but mox.convert and bitmaps turn them
    region     (x, y, width, height): what operations read and write. The pixels around it are
               input to filters, where a slice ends in a border
    """

    __slots__ = ("array", "planes", "alpha", "bits", "model", "sequence", "bottom_up", "region")

    def __init__(self, array, *, planes=False, alpha=False, bits=0, model="", sequence="",
                 bottom_up=False, region=None):
        array = plain_array(array)
        for name in (model, sequence):
            if len(name) > 4 or not name.isascii():
                raise ValueError(f"models and sequences have up to four letters: {name!r} has not")
        if bits:
            bits = whole(bits, "bits", 1)
            if array.dtype != np.uint8 or array.ndim != 2 or array.shape[1] * 8 < bits:
                raise ValueError("packed bits are a uint8 array of (h, n) with 8 n >= bits")
            if array.shape[0] < 1:
                raise ValueError("an image has at least one pixel")
        else:
            depth_of(array.dtype)
            size_of_shape(array.shape, planes)
        if region is not None:
            if not isinstance(region, (tuple, list, ndarray)) or len(region) != 4:
                raise ValueError(f"a region is (x, y, width, height), not {region!r}")
            x, y, width, height = region
            region = (whole(x, "x", 0), whole(y, "y", 0), whole(width, "width", 1),
                      whole(height, "height", 1))
        self.array = array
        self.planes = bool(planes)
        self.alpha = bool(alpha)
        self.bits = bits
        self.model = model
        self.sequence = sequence
        self.bottom_up = bool(bottom_up)
        self.region = region
        if region is not None:
            height, width, _ = self._full_size()
            if region[0] + region[2] > width or region[1] + region[3] > height:
                raise ValueError(f"the region {region} does not lie within {width} x {height}")

    @classmethod
    def pack(cls, array):
        """An image of packed bits from a bool array (h, w)."""
        array = plain_array(array)
        if array.dtype != BOOL or array.ndim != 2:
            raise TypeError("a bool array of (h, w) can be packed")
        return cls(pack_rows(array), bits=array.shape[1])

    def unpack(self):
        """The bool array (h, w) of an image of packed bits."""
        if not self.bits:
            raise TypeError("this image is not of packed bits")
        return np.unpackbits(self.array, axis=1, count=self.bits).view(BOOL)

    def _full_size(self):
        if self.bits:
            return self.array.shape[0], self.bits, 1
        return size_of_shape(self.array.shape, self.planes)

    def _size(self):
        height, width, channels = self._full_size()
        if self.region:
            width, height = self.region[2:]
        return height, width, channels

    def _dtype(self):
        return BOOL if self.bits else self.array.dtype

    def _with(self, array):
        """The same about another array."""
        return Image(array, planes=self.planes, alpha=self.alpha, bits=self.bits, model=self.model,
                     sequence=self.sequence, bottom_up=self.bottom_up, region=self.region)

    def _lend(self, layout, mode, write):
        layout = layout._replace(planes=self.planes or layout.planes,
                                 alpha=self.alpha or layout.alpha, width=self.bits,
                                 model=self.model.encode() or layout.model,
                                 sequence=self.sequence.encode() or layout.sequence,
                                 bottom_up=self.bottom_up)
        if self.region is None:
            return lend(self.array, layout, mode, write)
        if mode == WHOLE:
            return lend(self._cut(), layout, mode, write)
        lent = lend(self.array, layout, WHOLE, write)
        lent.pool = None
        coi = lent.record.roi.contents.coi if lent.record.roi else 0
        set_region(lent, coi, *self.region)
        return lent

    def _cut(self):
        """The region by itself, for functions that take no regions."""
        if self.bits:
            raise ValueError("this function takes no regions of packed bits")
        x, y, width, height = self.region
        place = slice(y, y + height), slice(x, x + width)
        if self.planes and self.array.ndim == 3:
            return self.array[(slice(None), *place)]
        return self.array[place]

    def __repr__(self):
        told = [f"{name}={getattr(self, name)!r}" for name in self.__slots__[1:]
                if getattr(self, name)]
        return f"Image({', '.join([f'<{self.array.dtype} {self.array.shape}>', *told])})"
