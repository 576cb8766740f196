// The rows of an image as quads, or as grays of 8 bits: what the conversions see of any depth, order and sequence.
#pragma once

#include "core/owncache.h"
#include "dib/ownbitmaprows.h"
#include "dib/owndib.h"

// Pixels that are converted at a time, through buffers on the stack; a multiple of 8.
constexpr size_t OWN_DIB_PART = 1024;

// Whether rows of so many bytes, which are read as well, are written past the caches, which could not keep them all.
inline bool ownStreamsRows(int64_t rowBytes, int64_t rows) {
    return rowBytes >= 1024 && rowBytes * rows >= ownStreamBounds().bytes / 2;
}

struct OwnImageRows {
    uint8_t *data;
    int64_t widthStep;
    size_t width;
    int64_t height;
    int bits;   // of a sample
    bool gray;  // one channel, and no layout
    OwnQuadLayout layout;
};

// The image has pixels in memory, and channels that ownFindChannels knows unless it has only one.
OwnImageRows ownImageRows(const MoxImage *image);

// Pixels x to x + n of a row, x being a multiple of 8. The rows of grays are of images with one channel, those of quads
// of images with several.
void ownReadGrays(const OwnImageRows &rows, int64_t y, size_t x, size_t n, uint8_t *grays);
void ownWriteGrays(const OwnImageRows &rows, int64_t y, size_t x, size_t n, const uint8_t *grays);
void ownReadQuads(const OwnImageRows &rows, int64_t y, size_t x, size_t n, uint32_t *quads);
void ownWriteQuads(const OwnImageRows &rows, int64_t y, size_t x, size_t n, const uint32_t *quads);

// Rows that are moved whole: image and bitmap have the same bytes, or differ in the places of blue and red only.
enum OwnRowMove { OWN_ROW_DIFFERS, OWN_ROW_COPY, OWN_ROW_SWAP_3, OWN_ROW_SWAP_4 };
// bits is that of the bitmap's pixel; usualMasks says that a pixel of 32 bits has its channels in their usual bytes,
// and sameGrays that bytes of one channel mean the same on both sides.
OwnRowMove ownPickRowMove(const OwnImageRows &rows, int bits, bool usualMasks, bool sameGrays);
void ownMoveRow(OwnRowMove move, bool streams, const uint8_t *src, uint8_t *dst, size_t bytes);
// Whether a table of bytes changes none.
bool ownIsIdentity(const uint8_t table[256]);
