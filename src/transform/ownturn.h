// Sines and cosines. The angle is brought to an eighth of a turn in integers, exactly; there a power series of doubles
// is right to the last places, and its rounding to single precision is the same wherever doubles are.
#pragma once

#include <cstdint>

#include "core/ownseries.h"

constexpr double OWN_QUARTER_PI = 0.78539816339744830962;

namespace {

// Taylor's series, for 0 <= x <= pi / 4: what is left out is below 1e-17. The tables of all transforms are made of
// these places, to the last one; the sine's are those of ownSineSeries.
constexpr double ownCosSeries(double x) {
    const double y = x * x;
    double sum = -1.0 / 6402373705728000;
    sum = sum * y + 1.0 / 20922789888000;
    sum = sum * y - 1.0 / 87178291200;
    sum = sum * y + 1.0 / 479001600;
    sum = sum * y - 1.0 / 3628800;
    sum = sum * y + 1.0 / 40320;
    sum = sum * y - 1.0 / 720;
    sum = sum * y + 1.0 / 24;
    sum = sum * y - 1.0 / 2;
    return sum * y + 1.0;
}

// cos and sin of 2 pi k / n, for 0 <= k < n: the same on every platform.
constexpr void ownTurn(int64_t k, int64_t n, double *cosine, double *sine) {
    const int64_t eighth = 8 * k / n;
    const int64_t rest = 8 * k - eighth * n;
    // Odd eighths are measured from their far end.
    const bool odd = eighth % 2 != 0;
    const double x = static_cast<double>(odd ? n - rest : rest) / static_cast<double>(n) * OWN_QUARTER_PI;
    const double c = ownCosSeries(x), s = ownSineSeries(x, 0);
    switch (eighth) {
        case 0:
            *cosine = c, *sine = s;
            break;
        case 1:
            *cosine = s, *sine = c;
            break;
        case 2:
            *cosine = -s, *sine = c;
            break;
        case 3:
            *cosine = -c, *sine = s;
            break;
        case 4:
            *cosine = -c, *sine = -s;
            break;
        case 5:
            *cosine = -s, *sine = -c;
            break;
        case 6:
            *cosine = s, *sine = -c;
            break;
        default:
            *cosine = c, *sine = -s;
            break;
    }
}

}  // namespace
