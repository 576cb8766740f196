// Warps: the positions in a source that a destination's pixels come from, and the run over plain and tiled images.
#pragma once

#include <cstddef>

#include "frame/ownkernel.h"
#include "geometry/ownsampler.h"
#include "geometry/ownscan.h"

// Kernels that make rows of n positions. What is below low, or no number, becomes low; where there is none the result
// is as it comes.
struct OwnWarpRows {
    // first + i step, in 64 bits that wrap, saturated to 32 bits: positions of 16.16. The whole parts of those,
    // saturated to 16 bits.
    void (*fixed)(int64_t first, int64_t step, int32_t *out, size_t n);
    void (*fixedPixels)(int64_t first, int64_t step, int32_t *out, size_t n);

    // c[0] x + c[1] y + c[2] for n pixels from x on.
    void (*affine)(const double *c, double x, double y, double *out, size_t n);

    // Two rows each, that go on from at by steps, one sum after the other.
    void (*stepSingle)(float *at, const float *step, float *const *out, size_t n);
    void (*stepDouble)(double *at, const double *step, double *const *out, size_t n);

    // Four rows at once, n rounded up to a multiple of four: a sum waits for the one before it, but rows do not for
    // each other. at has the four rows' x, then their y; out their rows of x, then of y.
    void (*stepFourSingle)(float *at, const float *step, float *const *out, size_t n);
    void (*stepFourDouble)(double *at, const double *step, double *const *out, size_t n);

    // Quotients at[0] / at[2] and at[1] / at[2] of forms that are linear along the row, four pixels at a time.
    void (*quotients)(float *at, const float *step, const float *low, float *const *out, size_t fours);

    // Bilinear maps and their inverses, in double, from the pixel (x, y) on.
    void (*bilinear)(const double *c, double x, double y, const float *low, float *const *out, size_t n);
    void (*inverse)(const MoxInverseBilinear &map, double x, double y, const float *low, float *const *out, size_t n);

    // The nearest pixels, ties to even, saturated to 32 bits.
    void (*nearest)(const float *at, int32_t *out, size_t n);

    // Bits, the first on top of a byte, of the positions that lie in a rectangle: left, top, right, bottom.
    void (*within)(const float *const *at, const float *rectangle, uint8_t *bits, size_t n);

    // The least and the greatest of n values, and of what is in range already.
    void (*extendFixed)(const int32_t *at, size_t n, int32_t *range);
    void (*extendSingle)(const float *at, size_t n, float *range);
    void (*extendDouble)(const double *at, size_t n, double *range);
};
const OwnWarpRows &ownWarpRows();

// A map from the destination to the source.
enum OwnWarpKind { OWN_AFFINE, OWN_PERSPECTIVE, OWN_BILINEAR, OWN_INVERSE_BILINEAR };
struct OwnWarpMap {
    OwnWarpKind kind;
    double c[9];
    MoxInverseBilinear inverse;  // in place of coefficients
};

// What is warped: the map takes pixels of the destination, counted from (originX, originY), to those of the source.
struct OwnWarp {
    OwnWarpMap map;
    OwnSampling sampling;
    OwnCorners source, destination;
    int64_t originX, originY;
    bool tests;    // only pixels that come from within the source are written
    OwnScan scan;  // which pixels of the destination are
};

// A row of pixels that are written, as far as it has been gone through.
struct OwnWarpRow {
    int64_t x, y;    // the next pixel
    double at[2];    // where positions step: that pixel's
    float fours[3];  // where they step by four: the forms at the first pixel of these four,
    int taken;       // of which so many have been taken
};

// Positions for so many pixels at a time.
constexpr int OWN_WARP_STRETCH = 512;
struct OwnWarpPositions {
    alignas(64) char xs[(OWN_WARP_STRETCH + 8) * 8], ys[(OWN_WARP_STRETCH + 8) * 8];
    alignas(64) int32_t nearest[2][OWN_WARP_STRETCH + 8];
    uint8_t bits[OWN_WARP_STRETCH / 8 + 8];
    const void *x, *y;    // of the type that the sampling takes
    const uint8_t *keep;  // null where all are written
};

void ownBeginWarpRow(const OwnWarp &warp, int64_t x, int64_t y, OwnWarpRow *row);
// The next n, at most a stretch.
void ownNextPositions(const OwnWarp &warp, OwnWarpRow *row, int n, OwnWarpPositions *positions);

// Whether positions step from pixel to pixel. Those of four rows are then made side by side: places 0 to n - 1, n a
// multiple of four, of rows in which nothing has been taken or as many.
inline bool ownSteps(const OwnWarp &warp) {
    return warp.sampling == OWN_SAMPLE_LINEAR_SINGLE || warp.sampling == OWN_SAMPLE_CUBIC_DOUBLE;
}
constexpr int OWN_FOUR_STRETCH = 128;
struct OwnFourPositions {
    alignas(64) char xs[4][OWN_FOUR_STRETCH * 8], ys[4][OWN_FOUR_STRETCH * 8];
};
void ownNextFourPositions(const OwnWarp &warp, OwnWarpRow *rows, int n, OwnFourPositions *positions);

// Whether 16.16 in 32 bits hold all positions in the source.
bool ownFitsFixed(const OwnCorners &source);
// Places of 16.16 in 64 bits for one pixel of a row, within the source.
void ownWidePosition(const OwnWarp &warp, int64_t x, int64_t y, int64_t *position);

// Draws between two images that have been accepted and process equally many channels. Reports memory that runs out and
// tiles that are not delivered; false after that.
bool ownDrawWarp(const OwnCaller &caller, const OwnWarp &warp, MoxImage *src, MoxImage *dst);
