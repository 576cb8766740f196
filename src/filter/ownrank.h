// The row kernels of the filters that pick a sample of their window by its rank: the largest, the smallest, the median.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Output rows of a window, and what they are computed from. Rows of source and columns are as long as the windows of a
// row of output reach.
struct OwnRankBlock {
    const uint8_t *const *rows;  // height + nRows - 1 of the source
    int64_t nRows, nCols;
    int64_t height;  // output rows
    size_t width;    // pixels of them
    size_t channels;
    uint8_t *out;
    int64_t outStep;
    uint8_t *scratch;  // as much as the kernel says that it needs
    int64_t scratchStep;
};

// By depth; bits are bytes 0 and 1.
enum OwnRankKind { OWN_RANK_8U, OWN_RANK_8S, OWN_RANK_16U, OWN_RANK_16S, OWN_RANK_32S, OWN_RANK_KINDS };
inline OwnRankKind ownRankKind(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return OWN_RANK_8S;
        case MOX_DEPTH_16U:
            return OWN_RANK_16U;
        case MOX_DEPTH_16S:
            return OWN_RANK_16S;
        case MOX_DEPTH_32S:
            return OWN_RANK_32S;
        default:
            return OWN_RANK_8U;
    }
}

enum OwnExtremes { OWN_LARGEST, OWN_SMALLEST, OWN_EXTREMES };

// Extremes are taken down the columns of a block first, into as many rows of scratch as it is high, then along them.
constexpr int OWN_EXTREME_PARTS = 2;  // rows of scratch that a row takes beside

// The output rows of a block, at most: as many as the window is high, but windows of three rows take any number.
constexpr int64_t ownExtremeRows(int64_t nRows) {
    return nRows == 3 ? 8 : nRows;
}

// Rows of bits, the first on top of a byte: bytes first to first + count - 1 of each row of output get the extremes of
// the bits up to reach before and behind each.
struct OwnBitsAlong {
    const uint8_t *rows;
    uint8_t *out;
    int64_t height;
    size_t bytes;  // of all rows, from one to the next; all of them may be read
    int64_t reach;
    size_t first, count;
    uint8_t *parts;  // OWN_EXTREME_PARTS rows of scratch
};

struct OwnRankRows {
    // Scratch: height + OWN_EXTREME_PARTS rows. Its height is ownExtremeRows of the window's at most.
    void (*extremes[OWN_EXTREMES][OWN_RANK_KINDS])(const OwnRankBlock &block);
    // The same in two steps: the first into rows of scratch, the second from the rows that are there.
    void (*columns[OWN_EXTREMES][OWN_RANK_KINDS])(const OwnRankBlock &block);
    void (*along[OWN_EXTREMES][OWN_RANK_KINDS])(const OwnRankBlock &block);
    // The columns of rows of bits, which are scratchStep bytes long.
    void (*bitColumns[OWN_EXTREMES])(const OwnRankBlock &block);
    void (*bitsAlong[OWN_EXTREMES])(const OwnBitsAlong &along);
};

const OwnRankRows &ownRankRows();
