// Row kernels of the wavelet transform. A sum's products are added to 0 in the order of the taps.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Taps and, for each, the samples that it multiplies: of out[k], samples[j][k].
struct OwnWaveSum {
    const float *const *samples;
    const float *taps;
    int64_t count;
};

struct OwnWaveRows {
    // even[k] = row[2k], odd[k] = row[2k + 1].
    void (*load)(const uint8_t *row, float *even, float *odd, size_t n);
    // out[k] = a's sum.
    void (*filter)(const OwnWaveSum &a, float *out, size_t n);
    // out[k] = a's sum + b's sum.
    void (*join)(const OwnWaveSum &a, const OwnWaveSum &b, float *out, size_t n);
    // row[2k] = even[k], row[2k + 1] = odd[k], limited to 0 to 255 and rounded to nearest, ties to even.
    void (*store)(const float *even, const float *odd, uint8_t *row, size_t n);
};
const OwnWaveRows &ownWaveRows();
