// What the parts of the row runner share: how a kernel is called, and the part for each kind of rows.
#pragma once

#include <algorithm>

#include "frame/ownrows.h"

// The bytes of a row of scratch.
constexpr int OWN_SCRATCH_BYTES = 4096;

inline const OwnSpan &ownDestination(const OwnRows &rows) {
    return rows.spans[rows.count - 1];
}

inline void ownCallPlain(OwnRow kernel, uint8_t *const *at, int count, size_t n, const OwnConstant &constant) {
    kernel(count > 1 ? at[0] : nullptr, count > 2 ? at[1] : nullptr, at[count - 1], n, constant);
}

inline void ownCallMasked(OwnMaskedRow kernel, uint8_t *const *at, int count, size_t n, const OwnConstant &constant,
                          const void *lanes) {
    kernel(count > 1 ? at[0] : nullptr, count > 2 ? at[1] : nullptr, at[count - 1], n, constant, lanes);
}

inline void ownCallUnderBits(OwnRowUnderBits kernel, uint8_t *const *at, int count, size_t n,
                             const OwnConstant &constant, const uint8_t *bits) {
    kernel(count > 1 ? at[0] : nullptr, count > 2 ? at[1] : nullptr, at[count - 1], n, constant, bits);
}

inline void ownStartOfRow(const OwnRows &rows, int plane, int row, uint8_t **at) {
    for (int i = 0; i < rows.count; ++i) {
        const OwnSpan &span = rows.spans[i];
        at[i] = span.start + plane * span.planeStep + row * span.rowStep;
    }
}

// Rows by as many at a time as a scratch holds: run(first row, rows). Heights go up to the largest int, so the row that
// follows the last band need not be one.
template <class Run>
inline void ownForEachBand(int height, int64_t most, const Run &run) {
    for (int64_t row = 0; row < height; row += most)
        run(row, static_cast<int>(std::min(most, height - row)));
}

inline bool ownIsContiguous(const OwnSpan &span, int channels) {
    return span.bytes > 0 && span.step == channels;
}

// Rows of which not every sample is stored, or not every image is contiguous.
void ownRunStretches(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant);

// Rows of bits: without a mask, under one, and of two images that change places without one.
void ownRunBits(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant);
void ownRunMaskedBits(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant);
void ownExchangeBits(const OwnRows &rows);
