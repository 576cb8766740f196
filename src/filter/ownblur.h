// The row kernels of the box filter. All of them run while rounding towards zero is set.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Room for sums behind the last column's, which the kernels read, but never use, in whole vectors.
constexpr int OWN_BLUR_ROOM = 64;

// Rows that are averaged side by side at 32F.
constexpr int OWN_BLUR_ROWS = 8;

// Averages of narrow windows, those whose sums fit 16 bits: the sum times the scale, cut off, is
// (sum - minus + plus) * factor >> 16 >> shift, where sum - minus does not go below 0.
struct OwnBlurDivision {
    int16_t minus, plus;
    uint16_t factor;
    int shift;
};
constexpr int OWN_BLUR_NARROW = 256;  // pixels of the largest narrow window

// Of a narrow window of at least two pixels, whose scale is the float next to 1 / size.
OwnBlurDivision ownBlurDivision(int size);

// The sums of narrow windows wider than this are put together from sums of 4, 16 and 64 columns.
constexpr int OWN_BLUR_DIRECT = 8;
constexpr int OWN_BLUR_PARTS = 3;

// The window of a row: what average needs to know.
struct OwnBlurWindow {
    size_t width;  // pixels
    int channels;
    int nCols;
    float scale;
    OwnBlurDivision division;         // narrow windows alone
    uint16_t *parts[OWN_BLUR_PARTS];  // scratch as long as the sums, for narrow windows beyond OWN_BLUR_DIRECT
};

// Column sums of several rows, and their rows of output; step in bytes.
struct OwnBlurBand {
    const void *sums;
    int64_t sumStep;
    void *out;
    int64_t outStep;
    int64_t height;
};

// By depth; bits are bytes 0 and 1. Column sums are float at 32F, and 32-bit integers that wrap at all other depths;
// the narrow ones are 16-bit, of unsigned bytes.
struct OwnBlurRows {
    // sums += row
    void (*add[OWN_DEPTHS])(const void *row, void *sums, size_t n);
    void (*addNarrow)(const void *row, void *sums, size_t n);
    // sums = before + (entering - leaving), which may be in place
    void (*slide[OWN_DEPTHS])(const void *entering, const void *leaving, const void *before, void *sums, size_t n);
    void (*slideNarrow)(const void *entering, const void *leaving, const void *before, void *sums, size_t n);
    // One row, at integer depths.
    void (*average[OWN_DEPTHS])(const void *sums, void *out, const OwnBlurWindow &window);
    void (*averageNarrow)(const void *sums, void *out, const OwnBlurWindow &window);
    // Depths of 8 bits, where sums go beyond the 24 bits of a float.
    void (*averageWide[OWN_DEPTHS])(const void *sums, void *out, const OwnBlurWindow &window);
    // Up to OWN_BLUR_ROWS rows at 32F.
    void (*averageFloats)(const OwnBlurBand &band, const OwnBlurWindow &window);
};

const OwnBlurRows &ownBlurRows();
