// Kernels of colour models as functions of one pixel, for kernel files.
#pragma once

#include "color/owncolor.h"
#include "frame/ownsample.h"

namespace {

// The largest value of a depth, and what 32 signed bits add to be counted from 0.
template <class D>
constexpr double ownFull = sizeof(typename D::Value) == 1   ? 255.0
                           : sizeof(typename D::Value) == 2 ? 65535.0
                                                            : 4294967295.0;
constexpr double OWN_HALF_RANGE = 2147483648.0;

// An integer within 0 to the largest value of 8 and 16 unsigned bits.
template <class D>
[[gnu::always_inline]] inline typename D::Value ownLimit(int value) {
    return static_cast<typename D::Value>(value < D::low ? D::low : value > D::high ? D::high : value);
}

// Truncation towards zero, limited to 32 signed bits; what is no number becomes the least.
[[gnu::always_inline]] inline int32_t ownTruncate(double value) {
    const double above = value > -2147483648.0 ? value : -2147483648.0;
    return static_cast<int32_t>(above < 2147483647.0 ? above : 2147483647.0);
}

// F::f<S>(a, b, c, x): three samples of three, at one depth.
template <class S, class F>
void ownPixels(void *const *rows, size_t n, const void *) {
    using Sample = typename S::Sample;
    const Sample *a = static_cast<const Sample *>(rows[0]), *b = static_cast<const Sample *>(rows[1]),
                 *c = static_cast<const Sample *>(rows[2]);
    Sample *x = static_cast<Sample *>(rows[3]), *y = static_cast<Sample *>(rows[4]),
           *z = static_cast<Sample *>(rows[5]);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        typename S::Value result[3];
        F::template f<S>(a[i], b[i], c[i], result);
        x[i] = result[0];
        y[i] = result[1];
        z[i] = result[2];
    }
}

// The same from pixel i on: what vectors leave over.
template <class S, class F>
void ownPixelsFrom(void *const *rows, size_t i, size_t n, const void *operation) {
    void *rest[6];
    for (int k = 0; k < 6; ++k)
        rest[k] = static_cast<typename S::Value *>(rows[k]) + i;
    ownPixels<S, F>(rest, n - i, operation);
}

}  // namespace
