// What the kernels of zoom and decimation share: vectors of floats, the windows of samples, and stores.
#pragma once

#include "frame/ownsample.h"
#include "geometry/ownnumber.h"
#include "geometry/ownscalerows.h"

namespace {

#if defined(__AVX2__)
constexpr size_t OWN_LANES = 8;
#else
constexpr size_t OWN_LANES = 4;
#endif
typedef float OwnFloats __attribute__((vector_size(4 * OWN_LANES)));
typedef int32_t OwnInts __attribute__((vector_size(4 * OWN_LANES)));

[[gnu::always_inline]] inline OwnFloats ownLoadFloats(const float *p) {
    OwnFloats v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}
[[gnu::always_inline]] inline void ownStoreFloats(float *p, OwnFloats v) {
    __builtin_memcpy(p, &v, sizeof v);
}

// To integers: to the nearest with halves to even, or cut off.
template <bool round>
[[gnu::always_inline]] inline OwnInts ownToInts(OwnFloats v) {
    if constexpr (!round) return __builtin_convertvector(v, OwnInts);
#if defined(__AVX2__)
    return reinterpret_cast<OwnInts>(_mm256_cvtps_epi32(v));
#elif defined(__SSE2__)
    return reinterpret_cast<OwnInts>(_mm_cvtps_epi32(v));
#else
    OwnInts ints;
    for (size_t k = 0; k < OWN_LANES; ++k)
        ints[k] = static_cast<int32_t>(__builtin_rintf(v[k]));
    return ints;
#endif
}

// A vector of integers for each of so many in a vector of bytes, or of words, clamped to their range.
template <class D>
[[gnu::always_inline]] inline void ownPack(const OwnInts (&v)[4 / sizeof(typename D::Value)], uint8_t *out) {
#if defined(__AVX2__)
    __m256i packed;
    if constexpr (sizeof(typename D::Value) == 1) {
        const __m256i low = _mm256_packs_epi32(reinterpret_cast<__m256i>(v[0]), reinterpret_cast<__m256i>(v[1]));
        const __m256i high = _mm256_packs_epi32(reinterpret_cast<__m256i>(v[2]), reinterpret_cast<__m256i>(v[3]));
        packed = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    } else {
        packed = _mm256_packus_epi32(reinterpret_cast<__m256i>(v[0]), reinterpret_cast<__m256i>(v[1]));
        packed = _mm256_permute4x64_epi64(packed, 0xD8);
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), packed);
#elif defined(__SSE2__)
    __m128i packed;
    if constexpr (sizeof(typename D::Value) == 1) {
        const __m128i low = _mm_packs_epi32(reinterpret_cast<__m128i>(v[0]), reinterpret_cast<__m128i>(v[1]));
        const __m128i high = _mm_packs_epi32(reinterpret_cast<__m128i>(v[2]), reinterpret_cast<__m128i>(v[3]));
        packed = _mm_packus_epi16(low, high);
    } else {
        // There is a pack of signed words alone.
        const OwnInts low = v[0] - 32768, high = v[1] - 32768;
        packed = _mm_packs_epi32(reinterpret_cast<__m128i>(low), reinterpret_cast<__m128i>(high));
        packed = _mm_xor_si128(packed, _mm_set1_epi16(-32768));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), packed);
#else
    for (size_t k = 0; k < 4 / sizeof(typename D::Value); ++k) {
        for (size_t i = 0; i < OWN_LANES; ++i) {
            const int value = v[k][i] < D::low ? D::low : v[k][i] > D::high ? D::high : v[k][i];
            const auto sample = static_cast<typename D::Value>(value);
            __builtin_memcpy(out + (k * OWN_LANES + i) * sizeof sample, &sample, sizeof sample);
        }
    }
#endif
}

// Runs n samples of so many bytes by whole vectors, store(i, to) each; the last, which may go beyond them, aside.
template <size_t bytes, class Store>
[[gnu::always_inline]] inline void ownStoreAll(uint8_t *out, size_t n, const Store &store) {
    constexpr size_t step = sizeof(OwnInts) / bytes;
    size_t i = 0;
    for (; i + step <= n; i += step)
        store(i, out + i * bytes);
    if (i == n) return;
    uint8_t last[sizeof(OwnInts)];
    store(i, last);
    __builtin_memcpy(out + i * bytes, last, (n - i) * bytes);
}

// Integers of a depth, clamped to it: value(i) gives a vector from sample i on.
template <class D, class Value>
[[gnu::always_inline]] inline void ownStoreInts(uint8_t *out, size_t n, const Value &value) {
    constexpr size_t count = 4 / sizeof(typename D::Value);
    ownStoreAll<sizeof(typename D::Value)>(out, n, [&](size_t i, uint8_t *to) {
        OwnInts v[count];
        for (size_t k = 0; k < count; ++k)
            v[k] = value(i + k * OWN_LANES);
        ownPack<D>(v, to);
    });
}

// Floats as samples of a depth.
template <class D, bool round, class Value>
[[gnu::always_inline]] inline void ownStoreSamples(uint8_t *out, size_t n, const Value &value) {
    if constexpr (sizeof(typename D::Value) == 4) {
        ownStoreAll<4>(out, n, [&](size_t i, uint8_t *to) {
            const OwnFloats v = value(i), one = v == v ? v : OwnFloats{} + __builtin_nanf("");
            __builtin_memcpy(to, &one, sizeof one);
        });
    } else {
        ownStoreInts<D>(out, n, [&](size_t i) { return ownToInts<round>(value(i)); });
    }
}

// A sample of a row as a number that holds it.
template <class D>
[[gnu::always_inline]] inline auto ownSampleOf(const uint8_t *p) {
    typename D::Value value;
    __builtin_memcpy(&value, p, sizeof value);
    if constexpr (sizeof value == 4) {
        return value;
    } else {
        return static_cast<int32_t>(value);
    }
}

#if defined(__AVX2__)
// The k-th vector that a table takes from a row.
[[gnu::always_inline]] inline __m256i ownPick(const uint8_t *src, const OwnScaleColumns &columns, size_t k) {
    const auto load = [&](size_t lane) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + columns.base[lane]));
    };
    const __m256i windows = _mm256_inserti128_si256(_mm256_castsi128_si256(load(2 * k)), load(2 * k + 1), 1);
    return _mm256_shuffle_epi8(windows, _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.pick + 32 * k)));
}

// The k-th vector of quads, of which some come from two.
template <bool split>
[[gnu::always_inline]] inline __m256i ownPickQuads(const uint8_t *src, const OwnScaleColumns &columns, size_t k) {
    if constexpr (!split) return ownPick(src, columns, k);
    return _mm256_or_si256(ownPick(src, columns, 2 * k), ownPick(src, columns, 2 * k + 1));
}
#endif

}  // namespace
