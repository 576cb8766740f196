// Vectors of floats, and of as many doubles in two parts, for kernel files.
#pragma once

#include "color/ownpixels.h"
#include "frame/ownvector.h"

#if defined(OWN_HAS_VECTORS)

namespace {

typedef float OwnFloats __attribute__((vector_size(sizeof(OwnVector))));
typedef int32_t OwnInts __attribute__((vector_size(sizeof(OwnVector))));
typedef double OwnReal __attribute__((vector_size(sizeof(OwnVector))));

struct OwnWide {
    OwnReal part[2];
};
#define OWN_BOTH _Pragma("GCC unroll 2") for (int k = 0; k < 2; ++k)

[[gnu::always_inline]] inline OwnFloats ownFloatsAt(const void *row, size_t i) {
    return reinterpret_cast<OwnFloats>(ownLoad(static_cast<const char *>(row) + 4 * i));
}
[[gnu::always_inline]] inline void ownPutFloats(void *row, size_t i, OwnFloats v) {
    ownStore(static_cast<char *>(row) + 4 * i, reinterpret_cast<OwnVector>(v));
}

[[gnu::always_inline]] inline OwnFloats ownToFloats(OwnInts v) {
    return reinterpret_cast<OwnFloats>(OWN_VECTOR(cvtepi32, ps)(reinterpret_cast<OwnVector>(v)));
}
// Truncated.
[[gnu::always_inline]] inline OwnInts ownToInts(OwnFloats v) {
    return reinterpret_cast<OwnInts>(OWN_VECTOR(cvttps, epi32)(v));
}

[[gnu::always_inline]] inline OwnWide ownWiden(OwnFloats v) {
#if defined(__AVX2__)
    return {{_mm256_cvtps_pd(_mm256_castps256_ps128(v)), _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1))}};
#else
    return {{_mm_cvtps_pd(v), _mm_cvtps_pd(_mm_movehl_ps(v, v))}};
#endif
}
// The doubles of floats in memory: from there half a vector is widened in one step, without a shuffle.
[[gnu::always_inline]] inline OwnWide ownWideAt(const void *row, size_t i) {
#if defined(__AVX2__)
    const float *at = reinterpret_cast<const float *>(static_cast<const char *>(row) + 4 * i);
    return {{_mm256_cvtps_pd(_mm_loadu_ps(at)), _mm256_cvtps_pd(_mm_loadu_ps(at + 4))}};
#else
    return ownWiden(ownFloatsAt(row, i));
#endif
}
// The nearest floats.
[[gnu::always_inline]] inline OwnFloats ownNarrow(const OwnWide &v) {
#if defined(__AVX2__)
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(v.part[0])), _mm256_cvtpd_ps(v.part[1]), 1);
#else
    return _mm_movelh_ps(_mm_cvtpd_ps(v.part[0]), _mm_cvtpd_ps(v.part[1]));
#endif
}
// Stores them.
[[gnu::always_inline]] inline void ownPutNarrow(void *row, size_t i, const OwnWide &v) {
#if defined(__AVX2__)
    float *at = reinterpret_cast<float *>(static_cast<char *>(row) + 4 * i);
    _mm_storeu_ps(at, _mm256_cvtpd_ps(v.part[0]));
    _mm_storeu_ps(at + 4, _mm256_cvtpd_ps(v.part[1]));
#else
    ownPutFloats(row, i, ownNarrow(v));
#endif
}

}  // namespace
#endif
