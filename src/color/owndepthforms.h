// The forms of kernels from samples of one depth to samples of another, for kernel files.
#pragma once

#include "frame/ownvector.h"

namespace {

// d = f(a) for an f that is made from a row's constants. Where f has vector(a), which makes a vector of the
// destination's samples from those at a, the loop is for rows that are shorter than a vector and for other processors.
template <class S, class T, class F>
struct OwnDepthForms {
    using From = typename S::Sample;
    using To = typename T::Sample;

    [[gnu::always_inline]] static void run(const From *a, To *d, size_t n, const F &f) {
#if defined(OWN_HAS_VECTORS)
        if constexpr (requires { f.vector(a); }) {
            constexpr size_t step = sizeof(OwnVector) / sizeof(typename T::Value);
            if (n >= step) {
                for (size_t i = 0; i + step <= n; i += step)
                    ownStore(reinterpret_cast<char *>(d + i), f.vector(a + i));
                // The last vector overlaps the one before: the images are two.
                if (n % step != 0) ownStore(reinterpret_cast<char *>(d + n - step), f.vector(a + n - step));
                return;
            }
        }
#endif
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = f(static_cast<typename S::Value>(a[i]));
    }
    static void plain(const void *a, const void *, void *d, size_t n, const OwnConstant &c) {
        run(static_cast<const From *>(a), static_cast<To *>(d), n, F(c));
    }
    static void streamed(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
        const From *a = static_cast<const From *>(a_);
        To *d = static_cast<To *>(d_);
        const F f(c);
        const auto stored = [&](size_t i, size_t count) { run(a + i, d + i, count, f); };
        const auto aside = [&](size_t i, void *values) {
            run(a + i, static_cast<To *>(values), OWN_STREAM_BLOCK / sizeof(typename T::Value), f);
        };
        ownStreamRow<To>(d_, n, stored, aside);
    }
    static constexpr OwnMixedForms forms = {plain, streamed};
};

#if defined(OWN_HAS_VECTORS)

// The vector k vectors on from a sample.
[[gnu::always_inline]] inline OwnVector ownLoadAt(const void *a, size_t k) {
    return ownLoad(static_cast<const char *>(a) + k * sizeof(OwnVector));
}

// Wide vectors have the halves of two packed vectors in turn: in order again, by words of 64 bits, and of four by words
// of 32.
[[gnu::always_inline]] inline OwnVector ownInOrder2(OwnVector packed) {
#if defined(__AVX2__)
    return _mm256_permute4x64_epi64(packed, 0xD8);
#else
    return packed;
#endif
}
[[gnu::always_inline]] inline OwnVector ownInOrder4(OwnVector packed) {
#if defined(__AVX2__)
    return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#else
    return packed;
#endif
}

// Numbers of 32 bits clamped to 16, and of 16 signed bits to 8; two vectors in turn, as above.
template <bool isSigned>
[[gnu::always_inline]] inline OwnVector ownPackWords(OwnVector low, OwnVector high) {
    if constexpr (isSigned) {
        return OWN_VECTOR(packs, epi32)(low, high);
    } else {
#if defined(__AVX2__)
        return _mm256_packus_epi32(low, high);
#else
        // Negative ones are 0; then the range moves down to that of signed words, and up again.
        const OwnVector half = _mm_set1_epi32(32768);
        const auto moved = [&](OwnVector v) { return _mm_sub_epi32(_mm_andnot_si128(_mm_srai_epi32(v, 31), v), half); };
        return _mm_xor_si128(_mm_packs_epi32(moved(low), moved(high)), _mm_set1_epi16(-32768));
#endif
    }
}
template <bool isSigned>
[[gnu::always_inline]] inline OwnVector ownPackBytes(OwnVector low, OwnVector high) {
    return isSigned ? OWN_VECTOR(packs, epi16)(low, high) : OWN_VECTOR(packus, epi16)(low, high);
}

#endif

}  // namespace
