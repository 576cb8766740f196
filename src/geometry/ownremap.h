// The kernels of maps.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/ownkernel.h"

// The bit patterns of the outermost positions that count.
struct OwnRemapBounds {
    int32_t left, top, right, bottom;
};

struct OwnRemapRows {
    // The pixels whose positions count, as bits of which the first is on top of a byte; how many there are. Bits behind
    // the last pixel are 0.
    size_t (*keep)(const void *x, const void *y, const OwnRemapBounds &bounds, uint8_t *bits, size_t n);

    // Positions of one direction as whole pixels at or before them; any number for those that do not count.
    void (*nearest)(const void *positions, int32_t *pixels, size_t n);
};

const OwnRemapRows &ownRemapRows();
