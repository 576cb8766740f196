// The layout of every record that applications share with the library, where pointers have 32 bits: programs were built
// against these offsets, so they hold for good.
#include <cstddef>

#include "core/owncore.h"

namespace {

constexpr bool natural = sizeof(void *) != 4;

#define OWN_AT(record, field, offset) \
    static_assert(natural || offsetof(record, field) == (offset), #record "." #field " has moved")
#define OWN_SIZE(record, size) static_assert(natural || sizeof(record) == (size), #record " has another size")

OWN_AT(MoxROI, coi, 0);
OWN_AT(MoxROI, xOffset, 4);
OWN_AT(MoxROI, yOffset, 8);
OWN_AT(MoxROI, width, 12);
OWN_AT(MoxROI, height, 16);
OWN_SIZE(MoxROI, 20);

OWN_AT(MoxTileInfo, callBack, 0);
OWN_AT(MoxTileInfo, id, 4);
OWN_AT(MoxTileInfo, tileData, 8);
OWN_AT(MoxTileInfo, width, 12);
OWN_AT(MoxTileInfo, height, 16);
OWN_SIZE(MoxTileInfo, 20);

OWN_AT(MoxImage, headerSize, 0);
OWN_AT(MoxImage, headerId, 4);
OWN_AT(MoxImage, nChannels, 8);
OWN_AT(MoxImage, alphaChannel, 12);
OWN_AT(MoxImage, depth, 16);
OWN_AT(MoxImage, colorModel, 20);
OWN_AT(MoxImage, channelSeq, 24);
OWN_AT(MoxImage, dataOrder, 28);
OWN_AT(MoxImage, origin, 32);
OWN_AT(MoxImage, align, 36);
OWN_AT(MoxImage, width, 40);
OWN_AT(MoxImage, height, 44);
OWN_AT(MoxImage, roi, 48);
OWN_AT(MoxImage, maskROI, 52);
OWN_AT(MoxImage, imageId, 56);
OWN_AT(MoxImage, tileInfo, 60);
OWN_AT(MoxImage, imageSize, 64);
OWN_AT(MoxImage, imageData, 68);
OWN_AT(MoxImage, widthStep, 72);
OWN_AT(MoxImage, borderMode, 76);
OWN_AT(MoxImage, borderConst, 92);
OWN_AT(MoxImage, imageDataBase, 108);
OWN_SIZE(MoxImage, 112);

OWN_AT(MoxLibVersion, major, 0);
OWN_AT(MoxLibVersion, minor, 4);
OWN_AT(MoxLibVersion, build, 8);
OWN_AT(MoxLibVersion, name, 12);
OWN_AT(MoxLibVersion, version, 16);
OWN_AT(MoxLibVersion, internalVersion, 20);
OWN_AT(MoxLibVersion, buildDate, 24);
OWN_AT(MoxLibVersion, callConv, 28);
OWN_SIZE(MoxLibVersion, 32);

OWN_AT(MoxWtFilter, taps, 0);
OWN_AT(MoxWtFilter, length, 4);
OWN_AT(MoxWtFilter, offset, 8);
OWN_AT(MoxWtFilter, symmetry, 12);
OWN_SIZE(MoxWtFilter, 16);

OWN_AT(MoxWtKernel, wtType, 0);
OWN_AT(MoxWtKernel, par1, 4);
OWN_AT(MoxWtKernel, par2, 8);
OWN_AT(MoxWtKernel, orthogonal, 12);
OWN_AT(MoxWtKernel, filtDecLow, 16);
OWN_AT(MoxWtKernel, filtDecHigh, 32);
OWN_AT(MoxWtKernel, filtRecLow, 48);
OWN_AT(MoxWtKernel, filtRecHigh, 64);
OWN_SIZE(MoxWtKernel, 80);

OWN_AT(MoxNoiseParam, noise, 0);
OWN_AT(MoxNoiseParam, seed, 4);
OWN_AT(MoxNoiseParam, lowInt, 8);
OWN_AT(MoxNoiseParam, highInt, 12);
OWN_AT(MoxNoiseParam, lowFlt, 16);
OWN_AT(MoxNoiseParam, highFlt, 20);
OWN_SIZE(MoxNoiseParam, 24);

// The bitmap's header is the platform's, where it has one. No pointers: the same everywhere.
#if !defined(_WIN32)
static_assert(offsetof(BITMAPINFOHEADER, biSize) == 0);
static_assert(offsetof(BITMAPINFOHEADER, biWidth) == 4);
static_assert(offsetof(BITMAPINFOHEADER, biHeight) == 8);
static_assert(offsetof(BITMAPINFOHEADER, biPlanes) == 12);
static_assert(offsetof(BITMAPINFOHEADER, biBitCount) == 14);
static_assert(offsetof(BITMAPINFOHEADER, biCompression) == 16);
static_assert(offsetof(BITMAPINFOHEADER, biSizeImage) == 20);
static_assert(offsetof(BITMAPINFOHEADER, biXPelsPerMeter) == 24);
static_assert(offsetof(BITMAPINFOHEADER, biYPelsPerMeter) == 28);
static_assert(offsetof(BITMAPINFOHEADER, biClrUsed) == 32);
static_assert(offsetof(BITMAPINFOHEADER, biClrImportant) == 36);
#endif

}  // namespace
