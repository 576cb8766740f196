// Doubles side by side, as several vectors of the level's own width: they hide the time that each takes, where there
// are registers for them. For kernel files.
#pragma once

#include "frame/ownsample.h"

namespace {

#if defined(__AVX512F__)
constexpr int OWN_PART = 8, OWN_LANES = 16;
#elif defined(__AVX2__)
constexpr int OWN_PART = 4, OWN_LANES = 16;
#else
constexpr int OWN_PART = 2, OWN_LANES = 8;
#endif
constexpr int OWN_PARTS = OWN_LANES / OWN_PART;

typedef double OwnRealPart __attribute__((vector_size(8 * OWN_PART)));
typedef int64_t OwnMaskPart __attribute__((vector_size(8 * OWN_PART)));
typedef float OwnFloatPart __attribute__((vector_size(4 * OWN_PART)));
typedef int32_t OwnWordPart __attribute__((vector_size(4 * OWN_PART)));

struct OwnReals {
    OwnRealPart part[OWN_PARTS];
};
struct OwnMasks {
    OwnMaskPart part[OWN_PARTS];
};

#define OWN_EACH_PART _Pragma("GCC unroll 8") for (int p = 0; p < OWN_PARTS; ++p)
#define OWN_INLINE [[gnu::always_inline]] inline

OWN_INLINE OwnReals ownReals(double value) {
    OwnReals r;
    OWN_EACH_PART r.part[p] = OwnRealPart{} + value;
    return r;
}

OWN_INLINE OwnReals operator+(const OwnReals &a, const OwnReals &b) {
    OwnReals r;
    OWN_EACH_PART r.part[p] = a.part[p] + b.part[p];
    return r;
}
OWN_INLINE OwnReals operator-(const OwnReals &a, const OwnReals &b) {
    OwnReals r;
    OWN_EACH_PART r.part[p] = a.part[p] - b.part[p];
    return r;
}
OWN_INLINE OwnReals operator*(const OwnReals &a, const OwnReals &b) {
    OwnReals r;
    OWN_EACH_PART r.part[p] = a.part[p] * b.part[p];
    return r;
}

OWN_INLINE OwnMasks operator>(const OwnReals &a, const OwnReals &b) {
    OwnMasks m;
    OWN_EACH_PART m.part[p] = a.part[p] > b.part[p];
    return m;
}
OWN_INLINE OwnMasks operator>=(const OwnReals &a, const OwnReals &b) {
    OwnMasks m;
    OWN_EACH_PART m.part[p] = a.part[p] >= b.part[p];
    return m;
}
OWN_INLINE OwnReals ownSelect(const OwnMasks &mask, const OwnReals &a, const OwnReals &b) {
    OwnReals r;
    OWN_EACH_PART r.part[p] = mask.part[p] ? a.part[p] : b.part[p];
    return r;
}

OWN_INLINE OwnReals ownToReals(const int32_t *words) {
    OwnReals r;
    OWN_EACH_PART {
#if defined(__SSE2__) && !defined(__AVX2__)
        r.part[p] = _mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(words + p * OWN_PART)));
#else
        OwnWordPart part;
        __builtin_memcpy(&part, words + p * OWN_PART, sizeof part);
        r.part[p] = __builtin_convertvector(part, OwnRealPart);
#endif
    }
    return r;
}

OWN_INLINE OwnReals ownLoadReals(const double *reals) {
    OwnReals r;
    __builtin_memcpy(&r, reals, sizeof r);
    return r;
}

OWN_INLINE OwnReals ownToReals(const float *floats) {
    OwnReals r;
    OWN_EACH_PART {
        OwnFloatPart part;
        __builtin_memcpy(&part, floats + p * OWN_PART, sizeof part);
        r.part[p] = __builtin_convertvector(part, OwnRealPart);
    }
    return r;
}

// Stores the nearest floats, and gives them back.
OWN_INLINE OwnReals ownRoundToFloats(const OwnReals &reals, float *floats) {
    OwnReals r;
    OWN_EACH_PART {
#if defined(__SSE2__) && !defined(__AVX2__)
        const __m128 part = _mm_cvtpd_ps(reals.part[p]);
        _mm_storel_pi(reinterpret_cast<__m64 *>(floats + p * OWN_PART), part);
        r.part[p] = _mm_cvtps_pd(part);
#else
        const OwnFloatPart part = __builtin_convertvector(reals.part[p], OwnFloatPart);
        __builtin_memcpy(floats + p * OWN_PART, &part, sizeof part);
        r.part[p] = __builtin_convertvector(part, OwnRealPart);
#endif
    }
    return r;
}

// Stores the low 32 bits of each lane.
OWN_INLINE void ownStoreLowWords(const OwnReals &reals, uint32_t *words) {
    OWN_EACH_PART {
#if defined(__AVX512F__)
        const auto part = __builtin_convertvector(reinterpret_cast<OwnMaskPart>(reals.part[p]), OwnWordPart);
        __builtin_memcpy(words + p * OWN_PART, &part, sizeof part);
#elif defined(__AVX2__)
        const __m256 all = reinterpret_cast<__m256>(reals.part[p]);
        const __m128 part = _mm_shuffle_ps(_mm256_castps256_ps128(all), _mm256_extractf128_ps(all, 1), 0x88);
        _mm_storeu_ps(reinterpret_cast<float *>(words) + p * 4, part);
#elif defined(__SSE2__)
        const __m128i part = _mm_shuffle_epi32(reinterpret_cast<__m128i>(reals.part[p]), 0x08);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(words + p * 2), part);
#else
        const auto all = reinterpret_cast<OwnMaskPart>(reals.part[p]);
        for (int i = 0; i < OWN_PART; ++i)
            words[p * OWN_PART + i] = static_cast<uint32_t>(all[i]);
#endif
    }
}

// The nearest whole number, ties to even: the addition leaves no bits for a fraction. Its low bits are the number's.
constexpr double OWN_TO_WHOLE = 6755399441055744.0;

// A bit for each lane of a mask, the first at the bottom.
OWN_INLINE unsigned ownLaneBits(const OwnMasks &mask) {
    unsigned bits = 0;
    OWN_EACH_PART {
#if defined(__AVX512DQ__)
        bits |= static_cast<unsigned>(_mm512_movepi64_mask(reinterpret_cast<__m512i>(mask.part[p]))) << p * 8;
#elif defined(__AVX2__)
        bits |= static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(mask.part[p]))) << p * 4;
#elif defined(__SSE2__)
        bits |= static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(mask.part[p]))) << p * 2;
#else
        for (int i = 0; i < OWN_PART; ++i)
            bits |= static_cast<unsigned>(mask.part[p][i] & 1) << (p * OWN_PART + i);
#endif
    }
    return bits;
}

// Lane i is lane i - 1 of the other one; a value comes into the first.
OWN_INLINE OwnReals ownShiftUp(const OwnReals &lanes, double first) {
    OwnReals r;
    OwnRealPart before = OwnRealPart{} + first;
    OWN_EACH_PART {
#if defined(__AVX512F__)
        r.part[p] = __builtin_shufflevector(before, lanes.part[p], 7, 8, 9, 10, 11, 12, 13, 14);
#elif defined(__AVX2__)
        r.part[p] = __builtin_shufflevector(before, lanes.part[p], 3, 4, 5, 6);
#else
        r.part[p] = __builtin_shufflevector(before, lanes.part[p], 1, 2);
#endif
        before = lanes.part[p];
    }
    return r;
}

// Each lane's number times a step.
OWN_INLINE OwnReals ownLaneNumbers(double step) {
    double numbers[OWN_LANES];
    for (int i = 0; i < OWN_LANES; ++i)
        numbers[i] = step * i;
    return ownLoadReals(numbers);
}

}  // namespace
