// Integers of 128 bits, for sums that must be exact.
#pragma once

#include <cmath>
#include <cstdint>

#if defined(__SIZEOF_INT128__)
__extension__ typedef __int128 OwnWide;

inline double ownRoundWide(OwnWide value) {
    return static_cast<double>(value);
}
#else
// Two's complement, modulo 2^128.
struct OwnWide {
    uint64_t low, high;
    OwnWide(int64_t value = 0) : low(static_cast<uint64_t>(value)), high(value < 0 ? ~uint64_t{0} : 0) {}
};

inline OwnWide operator+(OwnWide a, OwnWide b) {
    OwnWide sum;
    sum.low = a.low + b.low;
    sum.high = a.high + b.high + (sum.low < a.low ? 1 : 0);
    return sum;
}
inline OwnWide &operator+=(OwnWide &a, OwnWide b) {
    return a = a + b;
}

// By halves of 32 bits: what goes beyond 128 bits is lost.
inline OwnWide operator*(OwnWide a, OwnWide b) {
    const uint64_t a0 = a.low & 0xFFFFFFFFu, a1 = a.low >> 32, b0 = b.low & 0xFFFFFFFFu, b1 = b.low >> 32;
    const uint64_t p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    const uint64_t middle = (p00 >> 32) + (p01 & 0xFFFFFFFFu) + (p10 & 0xFFFFFFFFu);
    OwnWide product;
    product.low = middle << 32 | (p00 & 0xFFFFFFFFu);
    product.high = p11 + (p01 >> 32) + (p10 >> 32) + (middle >> 32) + a.low * b.high + a.high * b.low;
    return product;
}

// To the nearest double: the 64 highest bits, of which the lowest remembers whether anything was cut off.
inline double ownRoundWide(OwnWide value) {
    const bool negative = value.high >> 63 != 0;
    if (negative) value = value * OwnWide(-1);
    int shift = 0;
    while (value.high != 0) {
        value.low = value.low >> 1 | value.high << 63 | (value.low & 1);
        value.high >>= 1;
        ++shift;
    }
    const double size = std::ldexp(static_cast<double>(value.low), shift);
    return negative ? -size : size;
}
#endif
