// Separable convolution: its row kernels.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// What column sums are kept in: 16 bits where all sums of bytes lie within 65536 numbers in a row and no coefficient of
// the row kernel is wider, 32 bits that wrap, or floats.
enum OwnSepClass { OWN_SEP_16, OWN_SEP_32, OWN_SEP_FLOAT, OWN_SEP_CLASSES };

// The coefficients of one kernel, in the order in which they are stored.
struct OwnSepTaps {
    int count;
    const int32_t *values;
    const uint32_t
        *pairs;  // two of 16 bits side by side, the last one of an odd number beside 0; null where they are wider
    const float *real;
    uint32_t
        begin;  // what sums begin with, by way of OWN_SEP_16: columns so that they are signed, rows to make up for it
};

// What becomes of n sums; bits are bytes 0 and 1. Integers are shifted and saturated, floats stay.
struct OwnSepStore {
    int shift;
    void *out;
    size_t n;
};

struct OwnSepRows {
    // sums = rows[0] x taps[0] + rows[1] x taps[1] + ..., one after the other.
    void (*columns[OWN_SEP_CLASSES][OWN_DEPTHS])(const uint8_t *const *rows, const OwnSepTaps &taps, void *sums,
                                                 size_t n);
    // The samples themselves as sums.
    void (*widen[OWN_SEP_CLASSES][OWN_DEPTHS])(const uint8_t *row, void *sums, size_t n);
    // out[i] = sums[i] x taps[0] + sums[i + step] x taps[1] + ...
    void (*across[OWN_SEP_CLASSES][OWN_DEPTHS])(const void *sums, size_t step, const OwnSepTaps &taps,
                                                const OwnSepStore &how);
    // out = sums.
    void (*store[OWN_SEP_CLASSES][OWN_DEPTHS])(const void *sums, const OwnSepStore &how);
};

const OwnSepRows &ownSepRows();
