"""The records and constants of mox.h, as ctypes sees them.

Whatever stands here stands in the header: names, order and types. tests/test_records.py holds both
against a C program that is compiled from the header.
"""

import ctypes
from ctypes import (CFUNCTYPE, POINTER, Structure, c_char, c_char_p, c_double, c_float, c_int,
                    c_uint, c_ushort, c_void_p)

# Reports and callbacks. On 32-bit Windows the library calls by stdcall.
if hasattr(ctypes, "WINFUNCTYPE") and ctypes.sizeof(c_void_p) == 4:
    FUNCTYPE = ctypes.WINFUNCTYPE
else:
    FUNCTYPE = CFUNCTYPE

# Statuses that this package looks at by name.
MOX_StatusNoError = 0
MOX_StatusBacktrace = -1
MOX_StatusGeneral = -2
MOX_StatusInternal = -3
MOX_StatusNoMemory = -4
MOX_StatusBadArgument = -5
MOX_StatusUnsupported = -6
MOX_StatusNoConvergence = -7
MOX_StatusAutotrace = -8
MOX_StatusHeaderNull = -9
MOX_StatusHeaderSize = -10
MOX_StatusHeaderRoiOffset = -11
MOX_StatusHeaderNoData = -12
MOX_StatusHeaderWidthStep = -13
MOX_StatusHeaderColorModel = -14
MOX_StatusHeaderChannels = -15
MOX_StatusHeaderBitChannels = -16
MOX_StatusHeaderDepth = -17
MOX_StatusHeaderAlpha = -18
MOX_StatusHeaderOrder = -19
MOX_StatusHeaderOrigin = -20
MOX_StatusHeaderAlign = -21
MOX_StatusNullCallback = -22
MOX_StatusTileSize = -23
MOX_StatusHeaderCoi = -24
MOX_StatusHeaderRoiSize = -25
MOX_StatusMaskTiled = -26
MOX_StatusNullPointer = -27
MOX_StatusVectorLength = -28
MOX_StatusFilterContent = -29
MOX_StatusKernelContent = -30
MOX_StatusFilterOffset = -31

MOX_ErrModeLeaf = 0
MOX_ErrModeParent = 1
MOX_ErrModeSilent = 2

MOX_DEPTH_SIGN = 0x80000000
MOX_DEPTH_1U = 1
MOX_DEPTH_8U = 8
MOX_DEPTH_16U = 16
MOX_DEPTH_32F = 32
MOX_DEPTH_8S = MOX_DEPTH_SIGN | 8
MOX_DEPTH_16S = MOX_DEPTH_SIGN | 16
MOX_DEPTH_32S = MOX_DEPTH_SIGN | 32

MOX_DATA_ORDER_PIXEL = 0
MOX_DATA_ORDER_PLANE = 1

MOX_ORIGIN_TL = 0
MOX_ORIGIN_BL = 1

MOX_TileRead = 1
MOX_TileWrite = 2
MOX_TileRelease = 4

MOX_BORDER_CONSTANT = 0
MOX_BORDER_REPLICATE = 1
MOX_BORDER_REFLECT = 2
MOX_BORDER_WRAP = 3

MOX_SIDE_TOP = 1
MOX_SIDE_BOTTOM = 2
MOX_SIDE_LEFT = 4
MOX_SIDE_RIGHT = 8
MOX_SIDE_ALL = 15

MOX_FreeHeader = 1
MOX_FreeData = 2
MOX_FreeRoi = 4
MOX_FreeTile = 8
MOX_FreeMask = 16

MOX_COMPOSITE_OVER = 0
MOX_COMPOSITE_IN = 1
MOX_COMPOSITE_OUT = 2
MOX_COMPOSITE_ATOP = 3
MOX_COMPOSITE_XOR = 4
MOX_COMPOSITE_PLUS = 5

MOX_COMBINE_SUM = 0
MOX_COMBINE_SUMSQ = 1
MOX_COMBINE_SUMSQROOT = 2
MOX_COMBINE_MAX = 3
MOX_COMBINE_MIN = 4

MOX_FILTER_PREWITT_3X3_V = 0
MOX_FILTER_PREWITT_3X3_H = 1
MOX_FILTER_SOBEL_3X3_V = 2
MOX_FILTER_SOBEL_3X3_H = 3
MOX_FILTER_LAPLACIAN_3X3 = 4
MOX_FILTER_LAPLACIAN_5X5 = 5
MOX_FILTER_GAUSSIAN_3X3 = 6
MOX_FILTER_GAUSSIAN_5X5 = 7
MOX_FILTER_HIPASS_3X3 = 8
MOX_FILTER_HIPASS_5X5 = 9
MOX_FILTER_SHARPEN_3X3 = 10

MOX_DITHER_NONE = 1
MOX_DITHER_FS = 2
MOX_DITHER_JJH = 4
MOX_DITHER_STUCKEY = 8
MOX_DITHER_BAYER = 16

MOX_PALCONV_NONE = 0
MOX_PALCONV_POPULATE = 1
MOX_PALCONV_MEDCUT = 2

BI_RGB = 0
BI_RLE8 = 1
BI_RLE4 = 2
BI_BITFIELDS = 3

MOX_FFT_FORWARD = 1
MOX_FFT_INVERSE = 2
MOX_FFT_NO_SCALE = 4
MOX_FFT_USE_INTEGER = 16
MOX_FFT_USE_FLOAT = 32
MOX_FFT_FREE = 128

MOX_DCT_FORWARD = 1
MOX_DCT_INVERSE = 2
MOX_DCT_FREE = 8
MOX_DCT_IN_PLACE_16S = 16

MOX_WT_HAAR = 0
MOX_WT_DAUBECHIES = 1
MOX_WT_SYMLET = 2
MOX_WT_COIFLET = 3
MOX_WT_VAIDYANATHAN = 4
MOX_WT_BSPLINE = 5
MOX_WT_BSPLINE_DUAL = 6
MOX_WT_53 = 7
MOX_WT_97 = 8
MOX_WT_USER = 9

MOX_NORM_C = 1
MOX_NORM_L1 = 2
MOX_NORM_L2 = 4
MOX_NORM_RELATIVE = 8

MOX_INTER_NN = 0
MOX_INTER_LINEAR = 1
MOX_INTER_CUBIC = 2
MOX_INTER_SUPER = 3
MOX_SMOOTH_EDGE = 16

MOX_NOISE_UNIFORM = 0
MOX_NOISE_GAUSSIAN = 1


class MoxLibVersion(Structure):
    _fields_ = [("major", c_int), ("minor", c_int), ("build", c_int), ("name", c_char_p),
                ("version", c_char_p), ("internalVersion", c_char_p), ("buildDate", c_char_p),
                ("callConv", c_char_p)]


class MoxROI(Structure):
    _fields_ = [("coi", c_int), ("xOffset", c_int), ("yOffset", c_int), ("width", c_int),
                ("height", c_int)]


class MoxTileInfo(Structure):
    pass


class MoxImage(Structure):
    pass


MoxErrorCallback = FUNCTYPE(c_int, c_int, c_char_p, c_char_p, c_char_p, c_int)
MoxTileCallback = FUNCTYPE(c_int, POINTER(MoxImage), c_int, c_int, c_int)
MoxUserFunc = FUNCTYPE(c_int, c_int)
MoxUserFuncFP = FUNCTYPE(c_float, c_float)
MoxUserFuncPixel = FUNCTYPE(None, c_void_p, c_void_p, c_void_p, c_void_p)

MoxTileInfo._fields_ = [("callBack", MoxTileCallback), ("id", c_void_p), ("tileData", c_void_p),
                        ("width", c_int), ("height", c_int)]

MoxImage._fields_ = [("headerSize", c_int), ("headerId", c_int), ("nChannels", c_int),
                     ("alphaChannel", c_int), ("depth", c_uint), ("colorModel", c_char * 4),
                     ("channelSeq", c_char * 4), ("dataOrder", c_int), ("origin", c_int),
                     ("align", c_int), ("width", c_int), ("height", c_int),
                     ("roi", POINTER(MoxROI)), ("maskROI", POINTER(MoxImage)),
                     ("imageId", c_void_p), ("tileInfo", POINTER(MoxTileInfo)),
                     ("imageSize", c_int), ("imageData", c_void_p), ("widthStep", c_int),
                     ("borderMode", c_int * 4), ("borderConst", c_int * 4),
                     ("imageDataBase", c_void_p)]


class MoxConvKernel(Structure):
    _fields_ = [("nCols", c_int), ("nRows", c_int), ("anchorX", c_int), ("anchorY", c_int),
                ("values", POINTER(c_int)), ("nShiftR", c_int)]


class MoxConvKernelFP(Structure):
    _fields_ = [("nCols", c_int), ("nRows", c_int), ("anchorX", c_int), ("anchorY", c_int),
                ("values", POINTER(c_float))]


class MoxColorTwist(Structure):
    _fields_ = [("data", c_int * 16), ("scalingValue", c_int)]


class BITMAPINFOHEADER(Structure):
    _fields_ = [("biSize", c_uint), ("biWidth", c_int), ("biHeight", c_int),
                ("biPlanes", c_ushort), ("biBitCount", c_ushort), ("biCompression", c_uint),
                ("biSizeImage", c_uint), ("biXPelsPerMeter", c_int), ("biYPelsPerMeter", c_int),
                ("biClrUsed", c_uint), ("biClrImportant", c_uint)]


class MoxWtFilter(Structure):
    _fields_ = [("taps", POINTER(c_float)), ("length", c_int), ("offset", c_int),
                ("symmetry", c_int)]


class MoxWtKernel(Structure):
    _fields_ = [("wtType", c_int), ("par1", c_int), ("par2", c_int), ("orthogonal", c_int),
                ("filtDecLow", MoxWtFilter), ("filtDecHigh", MoxWtFilter),
                ("filtRecLow", MoxWtFilter), ("filtRecHigh", MoxWtFilter)]


class MoxMomentCell(Structure):
    _fields_ = [("scale", c_double), ("moment", c_double)]


MoxMomentState = (MoxMomentCell * 4) * 4


class MoxLUT(Structure):
    _fields_ = [("num", c_int), ("key", POINTER(c_int)), ("value", POINTER(c_int)),
                ("factor", POINTER(c_int)), ("interpolateType", c_int)]


class MoxNoiseParam(Structure):
    _fields_ = [("noise", c_int), ("seed", c_uint), ("lowInt", c_int), ("highInt", c_int),
                ("lowFlt", c_float), ("highFlt", c_float)]
