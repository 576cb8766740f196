// Decimation with blur: places, windows, and the kernels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/ownrows.h"

// One direction: where the destination's pixels are in the source's region.
struct OwnDextAxis {
    int32_t *base;    // of each pixel, the first of the places that it lies between
    float *fraction;  // of each pixel, as the kind has it
    int64_t count;    // of pixels
    int64_t length;   // of the source's region
    int64_t size;     // of a window
};

// The windows about the places are cut to the region.
struct OwnDextWindow {
    int64_t from, to;  // exclusive
};
inline OwnDextWindow ownDextWindow(const OwnDextAxis &axis, int64_t place) {
    const int64_t from = place - (axis.size >> 1), to = from + axis.size;
    return {from > 0 ? from : 0, to < axis.length ? to : axis.length};
}

// What the places of the pixels first to first + count - 1 need of the source, with so many places for each.
inline OwnDextWindow ownDextNeed(const OwnDextAxis &axis, int taps, int64_t first, int64_t count) {
    return {ownDextWindow(axis, axis.base[first]).from,
            ownDextWindow(axis, axis.base[first + count - 1] + int64_t{taps} - 1).to};
}

// Sums of columns on the way to a row of values: the means about each pixel's places along one row of places, and what
// lies between them.
struct OwnDextAcross {
    const void *columns;  // sums of samples, uint32_t or float, those of a column together
    int step;             // sums of a column
    int64_t origin;       // the column of the first sums
    const int32_t *base;
    const float *fraction;
    int64_t width, size;  // of the region, of a window
    int64_t rows;         // that a column's sum is of
};

// Kernels. Depths are by OwnSampleSize, those of whole sums 8U and 16U only; bits are n from one of the first byte on.
struct OwnDextRows {
    void (*add[2])(const uint8_t *row, uint32_t *columns, size_t n);
    void (*subtract[2])(const uint8_t *row, uint32_t *columns, size_t n);
    void (*addBits)(const uint8_t *row, int bit, uint32_t *columns, size_t n);
    void (*subtractBits)(const uint8_t *row, int bit, uint32_t *columns, size_t n);

    // The same in float.
    void (*addReal[3])(const uint8_t *row, float *columns, size_t n);
    void (*addRealBits)(const uint8_t *row, int bit, float *columns, size_t n);

    // out[k] is the sum of what stands k, k - step, k - 2 step, ... in columns before the k-th; n + step are written.
    void (*accumulate)(const uint32_t *columns, int step, uint32_t *out, size_t n);

    // The values of n pixels, channels of them from each column, by the places of a pixel: 1, 2 or 4 (indices 0 to 2).
    // From sums, from what accumulate makes of them, from sums in float.
    void (*across[3])(const OwnDextAcross &across, int channels, float *out, size_t n);
    void (*acrossAccumulated[3])(const OwnDextAcross &across, int channels, float *out, size_t n);
    void (*acrossReal[3])(const OwnDextAcross &across, int channels, float *out, size_t n);

    // What lies between rows of values, again by 1, 2 or 4 of them, as samples; bits begin with a byte, and those
    // behind the last are 0.
    void (*store[3][3])(const float *const *rows, float fraction, uint8_t *out, size_t n);
    void (*storeBits)(const float *const *rows, float fraction, uint8_t *out, size_t n);
};

const OwnDextRows &ownDextRows();

// A part of the source's region as it stands in memory: its first pixel is (x, y) of the region.
struct OwnDextSource {
    OwnSpan span;
    int64_t x, y;
};

struct OwnDext {
    OwnDextAxis columns, rows;
    int taps;  // places that a pixel lies between in each direction
};

// Makes the pixels from (x, y) on that are the region of a plain image. False where memory runs out.
bool ownRunDext(const OwnDext &dext, const OwnDextSource &source, const MoxImage *dst, const MoxImage *mask, int64_t x,
                int64_t y, int channels);
