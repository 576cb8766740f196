// Vectors of doubles for kernel files: those of AVX2 at its level and above, so that no level is slower.
#pragma once

#include "frame/ownvector.h"

#if defined(OWN_HAS_VECTORS)
namespace {

#if defined(__AVX2__)
using Doubles = __m256d;
#else
using Doubles = __m128d;
#endif

// As many samples as a vector of doubles has.
template <class D>
[[gnu::always_inline]] inline Doubles loadDoubles(const typename D::Sample *at) {
    constexpr bool isReal = static_cast<typename D::Value>(0.5f) != 0;
    const void *from = at;
#if defined(__AVX2__)
    const __m128i four = _mm_loadu_si128(static_cast<const __m128i *>(from));
    return isReal ? _mm256_cvtps_pd(_mm_castsi128_ps(four)) : _mm256_cvtepi32_pd(four);
#else
    const __m128i pair = _mm_loadl_epi64(static_cast<const __m128i *>(from));
    return isReal ? _mm_cvtps_pd(_mm_castsi128_ps(pair)) : _mm_cvtepi32_pd(pair);
#endif
}

}  // namespace
#endif
