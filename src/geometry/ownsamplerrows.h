// What the kernels of sampling are: their source, and their tables.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/ownkernel.h"

// A source as kernels see it. Its region is left to right and top to bottom, both included: at least two pixels in each
// direction for linear kinds and four for cubic ones.
struct OwnSampled {
    const uint8_t *origin;  // the first processed channel of the pixel (originX, originY)
    int64_t rowStep;        // bytes
    int pixelStep;          // bytes; of bits 0
    int bit;                // of the pixel (originX, originY) in its byte, at depth 1
    int originX, originY;   // no pixel before it is in the region
    int left, top, right, bottom;
    // About so many bytes from the samples of a pixel to those of the pixel some rows further down the destination: the
    // source is asked for so far ahead.
    int64_t ahead;
};

// A kernel: n pixels, one after the other in out without a gap; of bits the first on top of a byte, and those behind
// the last 0. What x and y are is told by OwnSampling.
using OwnSampleRow = void (*)(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n);

// Pixels of so many samples that stand together have kernels; others go sample by sample.
enum OwnTogether { OWN_ALONE, OWN_THREE, OWN_FOUR, OWN_TOGETHER };
// By OwnSampleSize: 8U, 16U, 32F.
constexpr int OWN_SAMPLED_DEPTHS = 3;

struct OwnSampleNearestRows {
    OwnSampleRow pixels[OWN_SAMPLED_DEPTHS][OWN_TOGETHER];
    OwnSampleRow bits;
};
struct OwnSampleLinearRows {
    OwnSampleRow linear[OWN_SAMPLED_DEPTHS][OWN_TOGETHER];
    OwnSampleRow fixed8U[OWN_TOGETHER];
    OwnSampleRow single32F[OWN_TOGETHER];
    OwnSampleRow double16U[OWN_TOGETHER];
};
struct OwnSampleCubicRows {
    OwnSampleRow cubic[OWN_SAMPLED_DEPTHS][OWN_TOGETHER];
    OwnSampleRow cubicDouble[OWN_SAMPLED_DEPTHS][OWN_TOGETHER];
};

const OwnSampleNearestRows &ownSampleNearestRows();
const OwnSampleLinearRows &ownSampleLinearRows();
const OwnSampleCubicRows &ownSampleCubicRows();
