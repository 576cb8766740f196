// The kernel of the median cut: what a box of the colour histogram holds.
#pragma once

#include "frame/ownkernel.h"

// Cells of the histogram: the high six bits of blue, from there 64 x green and 4096 x red.
constexpr int OWN_COLOUR_STEPS = 64;

struct OwnMedianCutRows {
    // planes[axis][v] = the pixels of the box whose colour on that axis is v. Bounds are inclusive, blue first; planes
    // beyond them become 0.
    void (*measure)(const uint32_t *histogram, const uint8_t *low, const uint8_t *high,
                    uint32_t (*planes)[OWN_COLOUR_STEPS]);
    void (*count)(const uint32_t *quads, size_t n, uint32_t *histogram);
};

const OwnMedianCutRows &ownMedianCutRows();
