// A device-independent bitmap as the conversions see it: where its parts lie, what its header may say, its palette.
#pragma once

#if defined(_WIN32)
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#endif

#include "core/owncore.h"

static_assert(sizeof(BITMAPINFOHEADER) == 40);

// The two forms of every conversion: header, palette and pixels in one block, or the pixels elsewhere. They differ in
// the name that messages give the header.
enum OwnBitmapForm { OWN_BITMAP_PACKED, OWN_BITMAP_SEPARATE };

// Blue, green, red and alpha of a pixel, as runs of its bits.
struct OwnPixelField {
    int shift;
    int width;  // 0 for none
};
struct OwnPixelMasks {
    OwnPixelField runs[4];
};

struct OwnBitmap {
    BITMAPINFOHEADER *header;
    void *data;  // null for the pixels of a packed bitmap, which lie behind the palette
    OwnBitmapForm form;
};

// The first of the header's tests that fails, from biPlanes on, or null. testBitCount: the last of them as well.
const char *ownFindBitmapFault(const OwnBitmap &bitmap, bool testBitCount);

// Bytes of a row, and rows; sizes below 1 give values below 1. A size of the header is any int.
int64_t ownBitmapRowBytes(const BITMAPINFOHEADER &header);
int64_t ownBitmapHeight(const BITMAPINFOHEADER &header);

// The palette, its entries in memory, and those that a pixel's index can name.
uint8_t *ownBitmapPalette(const OwnBitmap &bitmap);
int ownPaletteEntries(const BITMAPINFOHEADER &header);
int ownReachableEntries(const BITMAPINFOHEADER &header);
bool ownPaletteIsGray(const OwnBitmap &bitmap);

// The fixed palette of 2, 16 or 256 entries.
void ownFixedPalette(uint8_t *palette, int entries, bool gray);

uint8_t *ownBitmapPixels(const OwnBitmap &bitmap);

inline bool ownHasMasks(const BITMAPINFOHEADER &header) {
    return header.biCompression == BI_BITFIELDS && (header.biBitCount == 16 || header.biBitCount == 32);
}
inline bool ownIsCompressed(const BITMAPINFOHEADER &header) {
    return header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4;
}

// The runs of a pixel of 16 or 32 bits. Reading gives the usual ones where the bitmap has no masks, and also, with
// false, where they do not name three separate runs.
OwnPixelMasks ownUsualMasks(int bitCount);
bool ownReadMasks(const OwnBitmap &bitmap, OwnPixelMasks *masks);
void ownStoreUsualMasks(const OwnBitmap &bitmap);

// Whether rows of the bitmap and of an image with this origin come in the same order.
inline bool ownSameOrigin(const BITMAPINFOHEADER &header, const MoxImage *image) {
    return (header.biHeight > 0) == (image->origin == MOX_ORIGIN_BL);
}
