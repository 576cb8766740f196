// Kernels of colour models on bytes by vectors of 16-bit words, for kernel files: sums of products are of 32 bits, and
// exact.
#pragma once

#include "color/ownpixels.h"
#include "frame/ownvector.h"

#if defined(OWN_HAS_VECTORS)

namespace {

// The words of three channels, in pairs of channels, and of the third with a unit.
struct OwnPairs {
    OwnVector low[2], high[2];
};
[[gnu::always_inline]] inline OwnPairs ownPair(OwnVector a, OwnVector b, OwnVector c,
                                               OwnVector unit = ownSplat<Own16S>(1)) {
    return {{OWN_VECTOR(unpacklo, epi16)(a, b), OWN_VECTOR(unpacklo, epi16)(c, unit)},
            {OWN_VECTOR(unpackhi, epi16)(a, b), OWN_VECTOR(unpackhi, epi16)(c, unit)}};
}

// Two factors of 16 bits for the words of a pair.
[[gnu::always_inline]] inline OwnVector ownFactors(int first, int second) {
    return ownSplat<Own32S>((static_cast<uint32_t>(first) & 0xFFFF) | static_cast<uint32_t>(second) << 16);
}

// (a m + b m + c m + plus) >> shift, which must fit 16 bits. The factors and what is added fit them as well.
template <int ofA, int ofB, int ofC, int plus, int shift>
[[gnu::always_inline]] inline OwnVector ownWeigh(const OwnPairs &pairs) {
    static_assert(ofA == int16_t(ofA) && ofB == int16_t(ofB) && ofC == int16_t(ofC) && plus == int16_t(plus));
    const OwnVector first = ownFactors(ofA, ofB), second = ownFactors(ofC, plus);
    const auto sum = [&](const OwnVector *of) {
        const OwnVector all =
            OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(of[0], first), OWN_VECTOR(madd, epi16)(of[1], second));
        return OWN_VECTOR(srai, epi32)(all, shift);
    };
    return OWN_VECTOR(packs, epi32)(sum(pairs.low), sum(pairs.high));
}

[[gnu::always_inline]] inline OwnVector ownPlus(OwnVector a, OwnVector b) {
    return OWN_VECTOR(add, epi16)(a, b);
}
[[gnu::always_inline]] inline OwnVector ownMinus(OwnVector a, OwnVector b) {
    return OWN_VECTOR(sub, epi16)(a, b);
}
[[gnu::always_inline]] inline OwnVector ownPlus(OwnVector a, int b) {
    return ownPlus(a, ownSplat<Own16S>(static_cast<uint32_t>(b)));
}
[[gnu::always_inline]] inline OwnVector ownShiftLeft(OwnVector a, int by) {
    return OWN_VECTOR(slli, epi16)(a, by);
}

// The words of a vector of bytes, half of them at a time, and back, limited to a byte.
template <int half>
[[gnu::always_inline]] inline OwnVector ownWords(OwnVector bytes) {
    return half == 0 ? OWN_VECTOR(unpacklo, epi8)(bytes, ownZero()) : OWN_VECTOR(unpackhi, epi8)(bytes, ownZero());
}

// As ownPixels of bytes: whole vectors by F::words(a, b, c, x), words in and words out, which are then limited to a
// byte; the rest by F::f.
template <class F>
void ownWordPixels(void *const *rows, size_t n, const void *operation) {
    constexpr size_t width = sizeof(OwnVector);
    const char *a = static_cast<const char *>(rows[0]), *b = static_cast<const char *>(rows[1]),
               *c = static_cast<const char *>(rows[2]);
    size_t i = 0;
    for (; i + width <= n; i += width) {
        const OwnVector first = ownLoad(a + i), second = ownLoad(b + i), third = ownLoad(c + i);
        OwnVector low[3], high[3];
        F::words(ownWords<0>(first), ownWords<0>(second), ownWords<0>(third), low);
        F::words(ownWords<1>(first), ownWords<1>(second), ownWords<1>(third), high);
        for (int k = 0; k < 3; ++k)
            ownStore(static_cast<char *>(rows[3 + k]) + i, OWN_VECTOR(packus, epi16)(low[k], high[k]));
    }
    if (i < n) ownPixelsFrom<Own8U, F>(rows, i, n, operation);
}

}  // namespace
#else

namespace {

template <class F>
void ownWordPixels(void *const *rows, size_t n, const void *operation) {
    ownPixels<Own8U, F>(rows, n, operation);
}

}  // namespace
#endif
