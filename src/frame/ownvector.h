// The widest plain vector of a kernel file's level.
#pragma once

#include "frame/ownsample.h"

#if defined(__SSE2__)
#define OWN_HAS_VECTORS 1

namespace {

#if defined(__AVX2__)
using OwnVector = __m256i;
#define OWN_VECTOR(name, width) _mm256_##name##_##width
// A value that no instruction takes apart again: what the compiler knows of it, a constant or an operand in memory, is
// not folded into those that use it.
inline OwnVector ownInRegister(OwnVector v) {
#if defined(__AVX512VL__)
    __asm__("" : "+v"(v));
#endif
    return v;
}
inline OwnVector ownLoad(const char *p) {
    return _mm256_loadu_si256(reinterpret_cast<const OwnVector *>(p));
}
inline void ownStore(char *p, OwnVector v) {
    _mm256_storeu_si256(reinterpret_cast<OwnVector *>(p), v);
}
inline OwnVector ownNot(OwnVector v) {
    // The compiler would make it one of the logic instructions that read the register they write, so that every turn of
    // a loop waited for the one before.
    return _mm256_xor_si256(v, ownInRegister(_mm256_set1_epi32(-1)));
}
inline OwnVector ownAnd(OwnVector a, OwnVector b) {
    return _mm256_and_si256(a, b);
}
inline OwnVector ownAndNot(OwnVector a, OwnVector b) {  // a & ~b
    return _mm256_andnot_si256(b, a);
}
inline OwnVector ownOr(OwnVector a, OwnVector b) {
    return _mm256_or_si256(a, b);
}
inline OwnVector ownXor(OwnVector a, OwnVector b) {
    return _mm256_xor_si256(a, b);
}
inline OwnVector ownZero() {
    return _mm256_setzero_si256();
}
inline OwnVector ownWiden(__m128i v) {
    return _mm256_castsi128_si256(v);
}
inline __m128i ownNarrow(OwnVector v) {
    return _mm256_castsi256_si128(v);
}
#else
using OwnVector = __m128i;
#define OWN_VECTOR(name, width) _mm_##name##_##width
inline OwnVector ownInRegister(OwnVector v) {
    return v;
}
inline OwnVector ownLoad(const char *p) {
    return _mm_loadu_si128(reinterpret_cast<const OwnVector *>(p));
}
inline void ownStore(char *p, OwnVector v) {
    _mm_storeu_si128(reinterpret_cast<OwnVector *>(p), v);
}
inline OwnVector ownNot(OwnVector v) {
    return _mm_xor_si128(v, _mm_set1_epi32(-1));
}
inline OwnVector ownAnd(OwnVector a, OwnVector b) {
    return _mm_and_si128(a, b);
}
inline OwnVector ownAndNot(OwnVector a, OwnVector b) {  // a & ~b
    return _mm_andnot_si128(b, a);
}
inline OwnVector ownOr(OwnVector a, OwnVector b) {
    return _mm_or_si128(a, b);
}
inline OwnVector ownXor(OwnVector a, OwnVector b) {
    return _mm_xor_si128(a, b);
}
inline OwnVector ownZero() {
    return _mm_setzero_si128();
}
inline OwnVector ownWiden(__m128i v) {
    return v;
}
inline __m128i ownNarrow(OwnVector v) {
    return v;
}
#endif

// The bits of a where the mask is set, those of b where it is not.
inline OwnVector ownSelectBits(OwnVector mask, OwnVector a, OwnVector b) {
#if defined(__AVX512VL__)
    return _mm256_ternarylogic_epi64(mask, a, b, 0xCA);
#elif defined(__AVX2__)
    return ownOr(ownAnd(a, mask), ownAndNot(b, mask));
#else
    return ownXor(ownAnd(ownXor(a, b), mask), b);  // without a copy of the mask
#endif
}

// The same for masks of whole lanes.
inline OwnVector ownChoose(OwnVector mask, OwnVector a, OwnVector b) {
#if defined(__AVX2__) && !defined(__AVX512VL__)
    return _mm256_blendv_epi8(b, a, mask);
#elif defined(__AVX512VL__)
    return ownSelectBits(mask, a, b);
#else
    return ownOr(ownAnd(a, mask), ownAndNot(b, mask));
#endif
}

// A value in every lane.
template <class D>
[[gnu::always_inline]] inline OwnVector ownSplat(uint32_t value) {
    if constexpr (sizeof(typename D::Value) == 1) {
        return OWN_VECTOR(set1, epi8)(static_cast<char>(value));
    } else if constexpr (sizeof(typename D::Value) == 2) {
        return OWN_VECTOR(set1, epi16)(static_cast<short>(value));
    } else {
        return OWN_VECTOR(set1, epi32)(static_cast<int>(value));
    }
}

// The first bytes of a vector, of which the others are of no account.
template <size_t bytes>
[[gnu::always_inline]] inline OwnVector ownLoadPart(const char *p) {
    if constexpr (bytes == sizeof(OwnVector)) {
        return ownLoad(p);
    } else if constexpr (bytes == 16) {
        return ownWiden(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
    } else if constexpr (bytes == 8) {
        return ownWiden(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(p)));
    } else {
        int word;
        __builtin_memcpy(&word, p, 4);
        return ownWiden(_mm_cvtsi32_si128(word));
    }
}
template <size_t bytes>
[[gnu::always_inline]] inline void ownStorePart(char *p, OwnVector v) {
    if constexpr (bytes == sizeof(OwnVector)) {
        ownStore(p, v);
    } else if constexpr (bytes == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p), ownNarrow(v));
    } else if constexpr (bytes == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(p), ownNarrow(v));
    } else {
        const int word = _mm_cvtsi128_si32(ownNarrow(v));
        __builtin_memcpy(p, &word, 4);
    }
}

}  // namespace
#endif
