// The row kernels of the colour median: of the pixels of a window the one that is nearest to all others.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// A row of output, pixels of three samples side by side, and the rows of the source that its windows cover.
struct OwnColorMedianRow {
    const uint8_t *const *rows;
    size_t nRows, nCols;
    uint8_t *out;
    size_t width;
};

struct OwnColorMedianRows {
    // By depth; null for those that are refused.
    void (*row[OWN_DEPTHS])(const OwnColorMedianRow &row);
};

const OwnColorMedianRows &ownColorMedianRows();
