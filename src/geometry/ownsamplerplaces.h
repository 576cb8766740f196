// For the kernels of sampling: from positions to the place of the first sample and fractions, a block of pixels at a
// time. Loops of this kind are vectors at every level.
#pragma once

#include "frame/ownsample.h"
#include "geometry/ownnumber.h"
#include "geometry/ownsamplerrows.h"

namespace {

constexpr size_t BLOCK = 64;

// What a position that is no number becomes stands second: a comparison with it is false.
template <class T>
[[gnu::always_inline]] inline T notBelow(T value, T least) {
    return value > least ? value : least;
}
template <class T>
[[gnu::always_inline]] inline T notAbove(T value, T most) {
    return value < most ? value : most;
}

typedef double AnyDouble __attribute__((aligned(1), may_alias));

// To the nearest integer, ties to even, by the sum with a number whose last place counts ones. Up to 2^22 and 2^31.
[[gnu::always_inline]] inline int32_t nearest(float value) {
    const float sum = value + 12582912.0f;
    int32_t bits;
    __builtin_memcpy(&bits, &sum, 4);
    return bits - 0x4B400000;
}
[[gnu::always_inline]] inline int32_t nearest(double value) {
    const double sum = value + 6755399441055744.0;
    int64_t bits;
    __builtin_memcpy(&bits, &sum, 8);
    return static_cast<int32_t>(bits);
}

// The two directions of a region.
struct Extent {
    int first, last;  // the region's
    int origin;       // of the places
    int step;         // of a place, in bytes or rows
};
[[gnu::always_inline]] inline Extent columnsOf(const OwnSampled &src) {
    return {src.left, src.right, src.originX, src.pixelStep};
}
[[gnu::always_inline]] inline Extent rowsOf(const OwnSampled &src) {
    return {src.top, src.bottom, src.originY, 1};
}

// Where the first samples of a block's pixels are: first by column, in bytes, and row, from the source's origin on;
// then by bytes from one place on.
struct Places {
    int32_t column[BLOCK], row[BLOCK];
    int32_t offset[BLOCK];
    const uint8_t *base;
    bool atEnd;  // the windows of some pixels, so many rows high, reach the region's last row

    // How many pixels of the block it is for: all, or one where rows are further apart than an offset counts.
    [[gnu::always_inline]] inline size_t settle(const OwnSampled &src, int windowRows, size_t n) {
        int32_t low = row[0], high = row[0];
        for (size_t i = 0; i < n; ++i) {
            low = row[i] < low ? row[i] : low;
            high = row[i] > high ? row[i] : high;
        }
        const int64_t width = (int64_t{src.right} - src.originX + 1) * src.pixelStep;
        if ((int64_t{high} - low) * src.rowStep + width > INT32_MAX) {
            n = 1;
            low = high = row[0];
        }
        const auto step = static_cast<int32_t>(src.rowStep);
        for (size_t i = 0; i < n; ++i)
            offset[i] = (row[i] - low) * step + column[i];
        base = src.origin + low * src.rowStep;
        atEnd = int64_t{high} + windowRows > int64_t{src.bottom} - src.originY;
        // Rows that turn leave the lines that a processor reads ahead by itself.
        const uintptr_t ahead = reinterpret_cast<uintptr_t>(base) + static_cast<uintptr_t>(src.ahead);
        for (size_t i = 0; i < n; i += 8)
            __builtin_prefetch(reinterpret_cast<const void *>(ahead + static_cast<uintptr_t>(int64_t{offset[i]})));
        return n;
    }

    [[gnu::always_inline]] inline const uint8_t *at(size_t i) const { return base + offset[i]; }
};

// A position cut to an integer. The last pixels of the widest images are 2^31 as floats.
[[gnu::always_inline]] inline int32_t cutOf(float value) {
    return value < 2147483648.0f ? static_cast<int32_t>(value) : INT32_MAX;
}

// The whole part of a position of either type, which does not lie before 0: as floor, but what is less than 1e-07 below
// an integer goes there. Of the floats there is one such number.
[[gnu::always_inline]] inline int32_t wholeOf(double value) {
    return nearest(value - 0.4999999);
}
[[gnu::always_inline]] inline int32_t wholeOf(float value) {
    return cutOf(value) + (value == 0.99999994f ? 1 : 0);
}

}  // namespace
