// Vectors of samples in order: the larger and smaller of two, sample by sample. Kernels that are made of these are
// templates over a stride: whole vectors, or single samples for what is too short for one.
#pragma once

#include "frame/ownvector.h"

namespace {

// One sample at a time.
template <class D_>
struct OwnSingle {
    using D = D_;
    using Vector = typename D::Value;
    static constexpr size_t bytes = sizeof(Vector);

    static Vector load(const uint8_t *at) {
        Vector v;
        __builtin_memcpy(&v, at, sizeof v);
        return v;
    }
    static void store(uint8_t *to, Vector v) { __builtin_memcpy(to, &v, sizeof v); }
    static Vector larger(Vector a, Vector b) { return a > b ? a : b; }
    static Vector smaller(Vector a, Vector b) { return a > b ? b : a; }
};

// Bits in bytes: a set one is larger.
struct OwnOfBits {
    using Value = uint8_t;
};
template <>
struct OwnSingle<OwnOfBits> {
    using D = OwnOfBits;
    using Vector = uint8_t;
    static constexpr size_t bytes = 1;

    static Vector load(const uint8_t *at) { return *at; }
    static void store(uint8_t *to, Vector v) { *to = v; }
    static Vector larger(Vector a, Vector b) { return a | b; }
    static Vector smaller(Vector a, Vector b) { return a & b; }
};

#if defined(OWN_HAS_VECTORS)
template <class D, bool largest>
[[gnu::always_inline]] inline OwnVector ownExtreme(OwnVector a, OwnVector b) {
    if constexpr (__is_same(D, OwnOfBits)) {
        return largest ? ownOr(a, b) : ownAnd(a, b);
    } else if constexpr (__is_same(D, Own8U)) {
        return largest ? OWN_VECTOR(max, epu8)(a, b) : OWN_VECTOR(min, epu8)(a, b);
    } else if constexpr (__is_same(D, Own16S)) {
        return largest ? OWN_VECTOR(max, epi16)(a, b) : OWN_VECTOR(min, epi16)(a, b);
    } else {
#if defined(__AVX2__)
        if constexpr (__is_same(D, Own8S)) {
            return largest ? _mm256_max_epi8(a, b) : _mm256_min_epi8(a, b);
        } else if constexpr (__is_same(D, Own16U)) {
            return largest ? _mm256_max_epu16(a, b) : _mm256_min_epu16(a, b);
        } else {
            return largest ? _mm256_max_epi32(a, b) : _mm256_min_epi32(a, b);
        }
#else
        if constexpr (__is_same(D, Own16U)) {
            const OwnVector more = _mm_subs_epu16(a, b);
            return largest ? _mm_add_epi16(b, more) : _mm_sub_epi16(a, more);
        } else {
            const OwnVector above = __is_same(D, Own8S) ? _mm_cmpgt_epi8(a, b) : _mm_cmpgt_epi32(a, b);
            return largest ? ownChoose(above, a, b) : ownChoose(above, b, a);
        }
#endif
    }
}

template <class D_>
struct OwnWhole {
    using D = D_;
    using Vector = OwnVector;
    static constexpr size_t bytes = sizeof(Vector);

    static Vector load(const uint8_t *at) { return ownLoad(reinterpret_cast<const char *>(at)); }
    static void store(uint8_t *to, Vector v) { ownStore(reinterpret_cast<char *>(to), v); }
    static Vector larger(Vector a, Vector b) { return ownExtreme<D, true>(a, b); }
    static Vector smaller(Vector a, Vector b) { return ownExtreme<D, false>(a, b); }
};
#else
template <class D>
using OwnWhole = OwnSingle<D>;
#endif

template <class Stride, bool largest>
[[gnu::always_inline]] inline typename Stride::Vector ownExtremeOf(typename Stride::Vector a,
                                                                   typename Stride::Vector b) {
    return largest ? Stride::larger(a, b) : Stride::smaller(a, b);
}

// Runs over bytes of a row: run(stride, at, blocks...) for as many vectors side by side as `blocks` says, at byte `at`.
// The last vectors overlap those before, so nothing that run reads may be what it writes.
template <class D, size_t blocks, class Run>
[[gnu::always_inline]] inline void ownOverRow(size_t bytes, const Run &run) {
    constexpr size_t vector = OwnWhole<D>::bytes, step = blocks * vector;
    size_t at = 0;
    if constexpr (blocks > 1) {
        for (; at + step <= bytes; at += step)
            run.template operator()<OwnWhole<D>, blocks>(at);
    }
    if (at == bytes) return;
    for (; at + vector <= bytes; at += vector)
        run.template operator()<OwnWhole<D>, 1>(at);
    if (at == bytes) return;
    if (bytes >= vector) {
        run.template operator()<OwnWhole<D>, 1>(bytes - vector);
    } else {
        for (; at < bytes; at += OwnSingle<D>::bytes)
            run.template operator()<OwnSingle<D>, 1>(at);
    }
}

}  // namespace
