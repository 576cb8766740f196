// The row kernels of the fixed filters.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

constexpr int OWN_FIXED_FILTERS = 11;

// Rows of sums down the columns, of 32 bits at most, that a kernel keeps.
constexpr int OWN_FIXED_SUMS = 3;

// A row of output: n samples, those of a pixel `channels` apart from those of the next. rows are the 3 or 5 rows of the
// source under the filter, longer by its columns.
struct OwnFixedRow {
    const uint8_t *const *rows;
    uint8_t *out;
    size_t n, channels;
    uint8_t *sums;    // OWN_FIXED_SUMS rows of scratch
    int64_t sumStep;  // bytes
};

struct OwnFixedRows {
    // Bits are bytes 0 and 1.
    void (*filter[OWN_FIXED_FILTERS][OWN_DEPTHS])(const OwnFixedRow &row);
};

const OwnFixedRows &ownFixedRows();
