// The engines of the two-dimensional cosine transform, and their kernels.
#pragma once

#include "transform/ownfft.h"
#include "transform/ownplane.h"

// One channel's transform, of width x height samples. The planes are not the same.
struct OwnDct2D {
    OwnPlane src, dst;
    int width, height;
    bool inverse;
};

// False where memory runs out, the destination untouched.
bool ownFloatDct2D(const OwnDct2D &job);

// Sizes and depths that the 16-bit engine takes; and the engine, which needs no memory.
bool ownTakesFixedDct(const OwnDct2D &job);
void ownFixedDct2D(const OwnDct2D &job);

// Samples of a block of the 16-bit engine, rows of 32 whatever the width.
constexpr int OWN_DCT_LARGEST = 32;
struct alignas(64) OwnDctBlock {
    int16_t rows[OWN_DCT_LARGEST][OWN_DCT_LARGEST];
};

// n samples, `step` apart, to 16 bits, and back.
struct OwnFixedSamples {
    void (*load[OWN_DEPTHS])(const void *from, int step, int16_t *to, int n);
    void (*store[OWN_DEPTHS])(const int16_t *from, void *to, int step, int n);
};
const OwnFixedSamples &ownFixedSamples();

// A level's kernels. Points have as many lanes as those of the level's Fourier transform, real and imaginary parts
// being two sequences.
struct OwnDctRows {
    // Up to `lanes` rows into the points of one part: column x + i goes to point x + i, or, in the order in which the
    // Fourier transform wants them, evens upwards and odds downwards.
    void (*spread)(const float *const *rows, int64_t x, int64_t n, int64_t length, bool ordered, float *points);
    // Sums over cosines from the spectrum of two sequences, times scale, the first one times first.
    void (*fromSpectrum)(const float *points, const float *shift, int64_t length, float first, float scale, float *out);
    // And the spectrum from them, with parts exchanged.
    void (*toSpectrum)(const float *points, const float *shift, int64_t length, float first, float scale, float *out);
    // The plain sums over cosines of a short plan, in place of all this: forward from points in the Fourier transform's
    // order, inverse to such points, with parts exchanged.
    void (*sum)(const OwnFftPlan &plan, const float *points, bool inverse, float first, float scale, float *out);
    // Points, lanes of rows, into the middle form: blocks of points whose lanes are columns. Of an inverse transform
    // points are in the Fourier transform's order, their parts exchanged; of a forward one rows are put into it.
    void (*turn)(const float *points, int64_t length, bool inverse, float *middle, int64_t blockStep, int64_t y,
                 int64_t height, int count);
    // The two sequences of every lane side by side, 2 * lanes floats; exchanged where parts are.
    void (*pairs)(const float *point, bool exchanged, float *out);

    // 8 x 8 floats, rows at these places.
    void (*eight)(const float *const *in, float *const *out, bool inverse);

    // The block in place: inverse or not; width and height are 4, 8, 16 or 32.
    void (*fixed)(OwnDctBlock *block, int width, int height, bool inverse);
};
const OwnDctRows &ownDctRows();

// Where the Fourier transform wants sample x of a sequence (Makhoul 1980).
inline int64_t ownDctPlace(int64_t x, int64_t length) {
    return x % 2 == 0 ? x / 2 : length - 1 - x / 2;
}
