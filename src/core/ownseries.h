// Series of elementary functions, as plain steps on doubles: a loop over them becomes vectors, and gives the same at
// every CPU level. Everything here is unnamed, so that kernel files may include it.
#pragma once

#include <cstdint>

// The angles of ownTurnBack are below.
constexpr double OWN_TURNS_END = 0x1p20;

namespace {

// Sine and cosine of x + rest by Taylor's series, for |x + rest| <= pi / 4 or very little more, rest being below the
// last place of x. What the series leave out is below 1e-19.
[[gnu::always_inline]] constexpr inline double ownSineSeries(double x, double rest) {
    const double y = x * x;
    double sum = 1.0 / 355687428096000;
    sum = sum * y - 1.0 / 1307674368000;
    sum = sum * y + 1.0 / 6227020800;
    sum = sum * y - 1.0 / 39916800;
    sum = sum * y + 1.0 / 362880;
    sum = sum * y - 1.0 / 5040;
    sum = sum * y + 1.0 / 120;
    sum = sum * y - 1.0 / 6;
    return x + (sum * y * x + rest * (1 - y / 2));
}
[[gnu::always_inline]] constexpr inline double ownCosineSeries(double x, double rest) {
    const double y = x * x;
    double sum = 1.0 / 6402373705728000;
    sum = 1.0 / 20922789888000 - sum * y;
    sum = sum * y - 1.0 / 87178291200;
    sum = sum * y + 1.0 / 479001600;
    sum = sum * y - 1.0 / 3628800;
    sum = sum * y + 1.0 / 40320;
    sum = sum * y - 1.0 / 720;
    sum = sum * y + 1.0 / 24;
    // 1 - y / 2 with what its rounding leaves.
    const double half = y / 2;
    const double head = 1 - half;
    return head + (((1 - head) - half) + (sum * y * y - x * rest));
}

// An angle below OWN_TURNS_END as a multiple of a quarter turn and x + rest beside it. pi / 2 comes in three parts, of
// 33 bits but the last: multiples of the first two are exact.
struct OwnTurned {
    double quarters, x, rest;
};
[[gnu::always_inline]] inline OwnTurned ownTurnBack(double angle) {
    constexpr double TWO_OVER_PI = 0x1.45f306dc9c883p-1;
    constexpr double HALF_PI_1 = 0x1.921fb544p+0;
    constexpr double HALF_PI_2 = 0x1.0b4611a6p-34;
    constexpr double HALF_PI_3 = 0x1.3198a2e037073p-69;
    // To the nearest integer: the sum's last place is 1.
    constexpr double SHIFTER = 0x1.8p52;
    OwnTurned turned;
    turned.quarters = (angle * TWO_OVER_PI + SHIFTER) - SHIFTER;
    const double near = angle - turned.quarters * HALF_PI_1;
    const double second = turned.quarters * HALF_PI_2;
    const double head = near - second;
    const double tail = ((near - head) - second) - turned.quarters * HALF_PI_3;
    turned.x = head + tail;
    turned.rest = (head - turned.x) + tail;
    return turned;
}

[[gnu::always_inline]] inline uint64_t ownBitsOf(double value) {
    uint64_t bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    return bits;
}
[[gnu::always_inline]] inline double ownOfBits(uint64_t bits) {
    double value;
    __builtin_memcpy(&value, &bits, sizeof value);
    return value;
}

// The natural logarithm of a normal number above 0, right to the last place or nearly so. With q = 2^k (1 + f), the
// second factor from sqrt(1/2) to sqrt(2), and s = f / (2 + f), ln(1 + f) = 2 artanh(s) = f - (f^2 / 2 - s (f^2 / 2 +
// R)), where R is the series of 2 artanh(s) / s - 2: in this form the large terms are exact or small. What it leaves
// out is below 1e-18.
[[gnu::always_inline]] inline double ownLogarithm(double q) {
    constexpr uint64_t SQRT_HALF = 0x3fe6a09e667f3bcd, ONE = 0x3ff0000000000000;
    // The exponent by a shift, and as a number by its place below 2^52.
    const uint64_t bits = ownBitsOf(q);
    const uint64_t exponent = (bits + (ONE - SQRT_HALF)) >> 52;
    const double k = ownOfBits(exponent | 0x4330000000000000) - (0x1p52 + 1023);
    const double f = ownOfBits(bits - (exponent << 52) + ONE) - 1;
    const double s = f / (2 + f), z = s * s;
    // Even and odd terms side by side, so that one chain need not wait for the other.
    const double z2 = z * z;
    const double even = 2.0 / 3 + z2 * (2.0 / 7 + z2 * (2.0 / 11 + z2 * (2.0 / 15 + z2 * (2.0 / 19))));
    const double odd = 2.0 / 5 + z2 * (2.0 / 9 + z2 * (2.0 / 13 + z2 * (2.0 / 17 + z2 * (2.0 / 21))));
    const double sum = even + z * odd;
    const double half = 0.5 * f * f;
    // ln 2 in two parts, of 33 bits the first: its multiples are exact.
    constexpr double LN_2_1 = 0x1.62e42fefp-1, LN_2_2 = 0x1.473de6af278edp-34;
    return k * LN_2_1 - ((half - (s * (half + sum * z) + k * LN_2_2)) - f);
}

}  // namespace
