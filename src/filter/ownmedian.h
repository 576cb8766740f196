// The row kernels of the median. Which one a window takes is told by how many samples it has.
#pragma once

#include "filter/ownrank.h"

// Samples of the largest window whose ranks are counted in lanes of 8 and of 16 bits.
constexpr int64_t OWN_MEDIAN_LANES_8 = 128, OWN_MEDIAN_LANES_16 = 32768;

// Bytes of scratch of sliding counts.
constexpr int64_t OWN_MEDIAN_COUNTS = (1 << 16) * 4 + (1 << 16) / 8 + (1 << 10) / 8;

// Each on blocks of any height. The rank is that of the lower middle, the lowest sample being 0.
struct OwnMedianRows {
    // Windows of 3 x 3 and 5 x 5. No scratch.
    void (*three[OWN_RANK_KINDS])(const OwnRankBlock &block);
    void (*five[OWN_RANK_KINDS])(const OwnRankBlock &block);
    // Windows that lanes can count: bit by bit from the top, as many samples of the window are compared with what there
    // is of the median. Scratch: height + nRows - 1 rows.
    void (*search[OWN_RANK_KINDS])(const OwnRankBlock &block);
    // Counts of the window's samples that slide along the row, of kinds of up to 16 bits. Scratch: OWN_MEDIAN_COUNTS
    // bytes, all 0, as they are left.
    void (*slide[OWN_RANK_KINDS])(const OwnRankBlock &block);
    // Bits in bytes: 1 where as many as `least` of the window are set. counts are those of the columns of the first
    // row, and left as those of the last; entering and leaving rows are the block's and those before.
    void (*majority)(const uint32_t *columns, int64_t nCols, uint32_t least, uint8_t *out, size_t width);
    void (*countRow)(const uint8_t *row, uint32_t *columns, size_t n, uint32_t times);
};

const OwnMedianRows &ownMedianRows();

// Samples of the largest window of bytes whose counts are kept for each column, and what a column takes: a count for
// each of 16 groups of values and for each value.
constexpr int64_t OWN_MEDIAN_COLUMNS = 32767;
constexpr int64_t OWN_MEDIAN_COLUMN_BYTES = (16 + 256) * 2;

// Kinds of 8 bits, at a cost that does not depend on the window. Scratch: OWN_MEDIAN_COLUMN_BYTES for each column of a
// strip and of the windows beyond it; scratchStep is the columns of a strip, which are computed together.
struct OwnMedianColumns {
    void (*constant[OWN_RANK_KINDS])(const OwnRankBlock &block);
};

const OwnMedianColumns &ownMedianColumns();
