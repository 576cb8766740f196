// Fourier transforms of any length, many at a time: a lane of a vector is a sequence of its own, so that every sum of a
// transform has the same order on every processor.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// A pass of a transform: butterflies of a radix on sequences of `size` points, `stride` of them side by side. For each
// of the size / radix butterflies but the first there are radix - 1 twiddles (cosine, minus sine). A radix that has no
// butterfly of its own has the roots of its length.
struct OwnFftPass {
    int radix;
    int64_t size, stride;
    const float *twiddles;
    const float *roots;
};

// How sequences of one length are transformed, with its tables in the same block of memory: by passes (Stockham's
// arrangement, which needs no bit reversal), or, where a prime factor is large, as a convolution with a chirp
// (Bluestein 1970) of a length that has none.
struct OwnFftPlan {
    int length;
    int64_t work;  // points of scratch that a transform needs
    int passes;
    OwnFftPass pass[32];
    const OwnFftPlan *inner;  // the convolution's, or null for passes
    const float *chirp;       // length points
    const float *filter;      // the chirp's spectrum: as many points as the inner length, with its scale
    const float *shift;       // cos, sin of pi k / 2 length, for cosine transforms; or null
    const float *cosines;  // cos((2 n + 1) k pi / 2 length) for k < length, n < (length + 1) / 2, where short; or null
};

// Cosine transforms up to this length are plain sums: as quick as any other way there, and more precise.
constexpr int OWN_LONGEST_COSINES = 32;

// The bytes of a plan with all its tables; 0 where they are more than a block of memory has.
int64_t ownFftPlanBytes(int length, bool cosine);
// Makes the plan in memory of so many bytes, aligned to 8.
const OwnFftPlan *ownMakeFftPlan(void *memory, int length, bool cosine);

// The kernels for points of `lanes` sequences. A point is lanes real parts, then lanes imaginary parts; blocks of
// points are aligned to 64 bytes. A plane of rows becomes a middle form of blocks: block b has for every row one point,
// the columns from b * lanes on.
struct OwnFftRows {
    int lanes;

    // The transform with kernel e^(-2 pi i n k / N), of in, to out. in is kept; the three do not overlap.
    void (*transform)(const OwnFftPlan &plan, const float *in, float *out, float *work);

    // Samples of up to `lanes` rows into the real or imaginary parts of n points, and back. gather multiplies by scale.
    void (*spread)(const float *const *rows, int64_t n, float *points);
    void (*gather)(const float *points, int64_t n, float *const *rows, int count, float scale);

    // Spectra of two times `lanes` real sequences, whose transform is of one plus i times the next, to rows of the
    // middle form (neighbours go together, so that results do not depend on the number of lanes); and back, with real
    // and imaginary parts exchanged. Frequency 0 has that of length / 2 in the place of its imaginary part, which is 0.
    // Of the sequences, count are wanted.
    void (*split)(const float *points, int length, float *middle, int64_t blockStep, int count);
    void (*join)(const float *middle, int64_t blockStep, int count, float *points, int length);

    // Points from and to interleaved pairs: a row's share of one block. Real parts are multiplied by re, imaginary ones
    // by im; unpack exchanges the parts.
    void (*pack)(const float *point, float *pairs, float re, float im);
    void (*unpack)(const float *pairs, float *point, float re, float im);
};

const OwnFftRows &ownFftRows();      // of the level in use
const OwnFftRows &ownFftThinRows();  // of one lane, for images that are a line

// The calling thread's plan for a length, made when it is first needed; null where memory runs out.
const OwnFftPlan *ownFindFftPlan(int length);
const OwnFftPlan *ownFindDctPlan(int length);

// Whether a block of the heap can be that large at all. What a size asks for is held against this before any table is
// made: those of a length that cannot be transformed would take seconds, for nothing.
bool ownFitsScratch(int64_t floats);

// The calling thread's scratch: a block of so many floats, aligned to 64 bytes, or null.
float *ownFftScratch(int64_t floats);
float *ownDctScratch(int64_t floats);

// The points between two blocks of columns of so many rows: a few more than there are, so that blocks whose sizes are
// powers of two do not fall on the same lines of a cache.
inline int64_t ownBlockPoints(int64_t rows) {
    return rows < 64 ? rows : rows + 5;
}
