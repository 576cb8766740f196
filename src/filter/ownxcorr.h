// Normalised cross-correlation: its row kernels.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Rows of the source under as many rows of the template.
struct OwnCorrField {
    const void *const *rows;  // pairs of samples, or doubles
    int nRows;
    size_t columns;    // pairs of the template's columns in a row, or columns
    const void *taps;  // nRows x columns of the same kind
};

// What becomes of sums: how they are scaled, and how large the template's squares are.
struct OwnCorrScale {
    double energy, full;
    bool wide;  // of 32-bit samples, whose squares go beyond a float
};

struct OwnCorrRows {
    // n samples of one channel, step samples apart, as pairs of 16 bits: each with the one behind it, 0 behind the
    // last.
    void (*pairs[OWN_DEPTHS])(const void *row, size_t step, uint32_t *pairs, size_t n);
    // The same as doubles.
    void (*reals[OWN_DEPTHS])(const void *row, size_t step, double *reals, size_t n);

    // sums[i] = the products of the template with the samples from i on. Sums of pairs are of 32 bits; doubles are
    // added one after the other.
    void (*sumPairs)(const OwnCorrField &field, int32_t *sums, size_t n);
    void (*sumReals)(const OwnCorrField &field, double *sums, size_t n);

    // squares += or -= the squares of samples, the first ones of pairs; and the sums of so many columns side by side.
    void (*enter)(const uint32_t *pairs, int64_t *squares, size_t n);
    void (*leave)(const uint32_t *pairs, int64_t *squares, size_t n);
    void (*energies)(const int64_t *squares, size_t columns, double *energies, size_t n);
    // The same of doubles, from all rows of a window.
    void (*squares)(const void *const *rows, int nRows, double *squares, size_t n);
    void (*realEnergies)(const double *squares, size_t columns, double *energies, size_t n);

    // out[i x step] = sums[i] by the root of both energies, to the depth of the result; bits are bytes 0 and 1.
    void (*store[OWN_DEPTHS])(const double *sums, const double *energies, const OwnCorrScale &scale, void *out,
                              size_t step, size_t n);
};

const OwnCorrRows &ownCorrRows();
