// The row kernels of the bitmap conversions. Between any layout of an image and any of a bitmap stand quads: pixels of
// 32 bits, blue lowest, then green, red and alpha, 8 bits each.
#pragma once

#include "frame/ownkernel.h"

// Where the samples of an image's pixels lie: channels by their places, step samples apart.
struct OwnQuadLayout {
    int64_t offset[4];  // bytes from a row's start to the first blue, green, red and alpha
    int step;
    int bytes;  // of a sample, 1 or 2
    bool hasAlpha;
};

struct OwnBitmapRows {
    // Bytes of three and four channels with the first and third exchanged. The streamed form stores past the caches;
    // whoever runs it orders the stores with OwnMoveRows::fence.
    void (*swap3)(const uint8_t *src, uint8_t *dst, size_t pixels);
    void (*streamSwap3)(const uint8_t *src, uint8_t *dst, size_t pixels);
    void (*swap4)(const uint8_t *src, uint8_t *dst, size_t pixels);

    // Alpha that the layout does not have is 0 in the quads.
    void (*gather)(const uint8_t *row, const OwnQuadLayout &layout, uint32_t *quads, size_t n);
    void (*scatter)(const uint32_t *quads, uint8_t *row, const OwnQuadLayout &layout, size_t n);

    void (*from24)(const uint8_t *row, uint32_t *quads, size_t n);  // opaque
    void (*to24)(const uint32_t *quads, uint8_t *row, size_t n);
    void (*from16)(const uint8_t *row, uint32_t *quads, size_t n);  // 5 bits a colour
    void (*to16)(const uint32_t *quads, uint8_t *row, size_t n);

    void (*palette)(const uint8_t *indices, const uint32_t *palette, uint32_t *quads, size_t n);
    void (*map)(const uint8_t *src, const uint8_t *table, uint8_t *dst, size_t n);
    void (*gray)(const uint32_t *quads, uint8_t *dst, size_t n);
    void (*spread)(const uint8_t *gray, uint32_t *quads, size_t n);  // alpha 0

    void (*widen)(const uint8_t *src, uint8_t *dst, size_t n);   // 16-bit samples from 8 bits: x 257
    void (*narrow)(const uint8_t *src, uint8_t *dst, size_t n);  // the high bytes of 16-bit samples

    // Indices from and to the bits of a row; bits of the last byte beyond n are ignored, and become 0.
    void (*unpack1)(const uint8_t *row, uint8_t *indices, size_t n);
    void (*unpack4)(const uint8_t *row, uint8_t *indices, size_t n);
    void (*pack1)(const uint8_t *indices, uint8_t *row, size_t n);  // the lowest bits
    void (*pack4)(const uint8_t *indices, uint8_t *row, size_t n);
};

const OwnBitmapRows &ownBitmapRows();
