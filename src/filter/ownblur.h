// The row kernels of the box filter. All of them run while rounding towards zero is set.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Room for sums behind the last column's, which the kernels read, but never use, in whole vectors.
constexpr int OWN_BLUR_ROOM = 64;

// The window of a row: what average needs to know.
struct OwnBlurWindow {
    size_t width;  // pixels
    int channels;
    int nCols;
    float scale;
};

// By depth; bits are bytes 0 and 1. Column sums are float at 32F, and 32-bit integers that wrap at all other depths.
struct OwnBlurRows {
    void (*add[OWN_DEPTHS])(const void *row, void *sums, size_t n);  // sums += row
    void (*slide[OWN_DEPTHS])(const void *entering, const void *leaving, void *sums,
                              size_t n);  // += entering - leaving
    void (*average[OWN_DEPTHS])(const void *sums, void *out, const OwnBlurWindow &window);
    // Depths of 8 bits, where sums go beyond the 24 bits of a float.
    void (*averageWide[OWN_DEPTHS])(const void *sums, void *out, const OwnBlurWindow &window);
};

const OwnBlurRows &ownBlurRows();
