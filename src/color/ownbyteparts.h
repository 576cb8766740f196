// Bytes to doubles and truncated doubles to bytes, for kernel files: 16 pixels at a time on processors that look
// numbers up in tables by vectors.
#pragma once

#include "frame/ownvector.h"

#if defined(__AVX2__)

namespace {

constexpr int OWN_GROUPS = 4;  // of four pixels

// Four bytes as doubles.
[[gnu::always_inline]] inline __m256d ownBytesToReals(const uint8_t *bytes) {
    int four;
    __builtin_memcpy(&four, bytes, 4);
    return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(four)));
}

// The numbers of a table of 256 for four bytes.
[[gnu::always_inline]] inline __m256d ownLookUp(const double *table, const uint8_t *bytes) {
    int four;
    __builtin_memcpy(&four, bytes, 4);
    const __m256d all = _mm256_castsi256_pd(_mm256_set1_epi64x(-1));
    return _mm256_mask_i32gather_pd(_mm256_setzero_pd(), table, _mm_cvtepu8_epi32(_mm_cvtsi32_si128(four)), all, 8);
}

// The low bytes of 16 truncated numbers.
[[gnu::always_inline]] inline void ownStoreTruncated(const __m256d *groups, uint8_t *bytes) {
    const __m128i low = _mm_packs_epi32(_mm256_cvttpd_epi32(groups[0]), _mm256_cvttpd_epi32(groups[1]));
    const __m128i high = _mm_packs_epi32(_mm256_cvttpd_epi32(groups[2]), _mm256_cvttpd_epi32(groups[3]));
    const __m128i lower = _mm_set1_epi16(255);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes),
                     _mm_packus_epi16(_mm_and_si128(low, lower), _mm_and_si128(high, lower)));
}

}  // namespace
#endif
