// Arithmetic on vectors of integer samples, every result the exact one clamped to the depth's range.
#pragma once

#include "frame/ownvector.h"

#if defined(OWN_HAS_VECTORS)

namespace {

template <class D, class... Of>
constexpr bool ownIsOneOf = (__is_same(D, Of) || ...);

// Depths of 8 and 16 bits, for which processors have most of what follows.
template <class D>
concept OwnSmall = ownIsOneOf<D, Own8U, Own8S, Own16U, Own16S>;
template <class D>
concept OwnWide = ownIsOneOf<D, Own32S>;
template <class D>
concept OwnInteger = OwnSmall<D> || OwnWide<D>;
template <class D>
concept OwnSigned = ownIsOneOf<D, Own8S, Own16S, Own32S>;

// The sign of 32-bit lanes in all their bits.
[[gnu::always_inline]] inline OwnVector ownSigns32(OwnVector v) {
    return OWN_VECTOR(srai, epi32)(v, 31);
}

// A 32-bit result, or the end of the range on the side of `side` where the top bit of `over` is set.
[[gnu::always_inline]] inline OwnVector ownEndWhere(OwnVector over, OwnVector side, OwnVector result) {
    const OwnVector end = ownXor(ownSigns32(side), ownSplat<Own32S>(0x7FFFFFFF));
#if defined(__AVX2__) && !defined(__AVX512VL__)
    return _mm256_castps_si256(
        _mm256_blendv_ps(_mm256_castsi256_ps(result), _mm256_castsi256_ps(end), _mm256_castsi256_ps(over)));
#else
    return ownChoose(ownSigns32(over), end, result);
#endif
}

template <OwnInteger D>
[[gnu::always_inline]] inline OwnVector ownAddClamped(OwnVector a, OwnVector b) {
    if constexpr (ownIsOneOf<D, Own8U>) {
        return OWN_VECTOR(adds, epu8)(a, b);
    } else if constexpr (ownIsOneOf<D, Own8S>) {
        return OWN_VECTOR(adds, epi8)(a, b);
    } else if constexpr (ownIsOneOf<D, Own16U>) {
        return OWN_VECTOR(adds, epu16)(a, b);
    } else if constexpr (ownIsOneOf<D, Own16S>) {
        return OWN_VECTOR(adds, epi16)(a, b);
    } else {
        const OwnVector sum = OWN_VECTOR(add, epi32)(a, b);
        return ownEndWhere(ownAndNot(ownXor(a, sum), ownXor(a, b)), a, sum);
    }
}

template <OwnInteger D>
[[gnu::always_inline]] inline OwnVector ownSubtractClamped(OwnVector a, OwnVector b) {
    if constexpr (ownIsOneOf<D, Own8U>) {
        return OWN_VECTOR(subs, epu8)(a, b);
    } else if constexpr (ownIsOneOf<D, Own8S>) {
        return OWN_VECTOR(subs, epi8)(a, b);
    } else if constexpr (ownIsOneOf<D, Own16U>) {
        return OWN_VECTOR(subs, epu16)(a, b);
    } else if constexpr (ownIsOneOf<D, Own16S>) {
        return OWN_VECTOR(subs, epi16)(a, b);
    } else {
        const OwnVector difference = OWN_VECTOR(sub, epi32)(a, b);
        return ownEndWhere(ownAnd(ownXor(a, b), ownXor(a, difference)), a, difference);
    }
}

// Bytes are multiplied in words of two: the lower one masked, the upper one where it stands, by the product's upper
// half.
[[gnu::always_inline]] inline OwnVector ownMultiplyBytes(OwnVector a, OwnVector b) {
    const OwnVector lower = ownSplat<Own16U>(0x00FF), upper = ownSplat<Own16U>(0xFF00);
    const OwnVector even = OWN_VECTOR(mullo, epi16)(ownAnd(a, lower), ownAnd(b, lower));
    const OwnVector odd = OWN_VECTOR(mulhi, epu16)(ownAnd(a, upper), ownAnd(b, upper));
    // 0xFF00 is added so that a product beyond a byte ends at 0xFFFF.
    return ownOr(ownAnd(OWN_VECTOR(adds, epu16)(even, upper), lower),
                 OWN_VECTOR(slli, epi16)(OWN_VECTOR(adds, epu16)(odd, upper), 8));
}

// Products of 32 bits, both halves of them.
struct OwnProducts {
    OwnVector low, high;
};
[[gnu::always_inline]] inline OwnProducts ownMultiplyWords(OwnVector a, OwnVector b) {
    const OwnVector oddA = OWN_VECTOR(srli, epi64)(a, 32), oddB = OWN_VECTOR(srli, epi64)(b, 32);
#if defined(__AVX2__)
    const OwnVector even = _mm256_mul_epi32(a, b), odd = _mm256_mul_epi32(oddA, oddB);
    return {_mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xAA),
            _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xAA)};
#else
    const OwnVector even = _mm_mul_epu32(a, b), odd = _mm_mul_epu32(oddA, oddB);
    const OwnVector lower = _mm_set_epi32(0, -1, 0, -1);
    const OwnVector low = ownOr(ownAnd(even, lower), _mm_slli_epi64(odd, 32));
    const OwnVector high = ownOr(_mm_srli_epi64(even, 32), ownAndNot(odd, lower));
    // The products took the samples as unsigned: a negative one counted for 2^32 more.
    const OwnVector more = _mm_add_epi32(ownAnd(ownSigns32(a), b), ownAnd(ownSigns32(b), a));
    return {low, _mm_sub_epi32(high, more)};
#endif
}

// Their lower halves alone.
[[gnu::always_inline]] inline OwnVector ownMultiplyLow(OwnVector a, OwnVector b) {
#if defined(__AVX2__)
    return _mm256_mullo_epi32(a, b);
#else
    const OwnVector even = _mm_mul_epu32(a, b), odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return ownOr(ownAnd(even, _mm_set_epi32(0, -1, 0, -1)), _mm_slli_epi64(odd, 32));
#endif
}

template <OwnInteger D>
[[gnu::always_inline]] inline OwnVector ownMultiplyClamped(OwnVector a, OwnVector b) {
    if constexpr (ownIsOneOf<D, Own8U>) {
        return ownMultiplyBytes(a, b);
    } else if constexpr (ownIsOneOf<D, Own8S>) {
        // Samples in the upper halves of words: the product's upper half is theirs.
        const OwnVector zero = ownZero();
        const OwnVector low =
            OWN_VECTOR(mulhi, epi16)(OWN_VECTOR(unpacklo, epi8)(zero, a), OWN_VECTOR(unpacklo, epi8)(zero, b));
        const OwnVector high =
            OWN_VECTOR(mulhi, epi16)(OWN_VECTOR(unpackhi, epi8)(zero, a), OWN_VECTOR(unpackhi, epi8)(zero, b));
        return OWN_VECTOR(packs, epi16)(low, high);
    } else if constexpr (ownIsOneOf<D, Own16U>) {
        const OwnVector low = OWN_VECTOR(mullo, epi16)(a, b), high = OWN_VECTOR(mulhi, epu16)(a, b);
        return ownOr(low, ownNot(OWN_VECTOR(cmpeq, epi16)(high, ownZero())));
    } else if constexpr (ownIsOneOf<D, Own16S>) {
        const OwnVector low = OWN_VECTOR(mullo, epi16)(a, b), high = OWN_VECTOR(mulhi, epi16)(a, b);
        return OWN_VECTOR(packs, epi32)(OWN_VECTOR(unpacklo, epi16)(low, high), OWN_VECTOR(unpackhi, epi16)(low, high));
    } else {
        const OwnProducts p = ownMultiplyWords(a, b);
        const OwnVector fits = OWN_VECTOR(cmpeq, epi32)(p.high, ownSigns32(p.low));
        return ownChoose(fits, p.low, ownXor(ownSigns32(p.high), ownSplat<Own32S>(0x7FFFFFFF)));
    }
}

}  // namespace
#endif
