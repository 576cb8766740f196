// Vectors whose lanes are sequences of their own, for kernel files of transforms: points, and their transposition from
// and to rows of samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace {

template <int lanes>
struct OwnLanes {
    typedef float Vector __attribute__((vector_size(4 * lanes), may_alias));
};
template <>
struct OwnLanes<1> {
    typedef float Vector __attribute__((may_alias));
};

#if defined(__AVX512F__)
constexpr int OWN_LANES = 16;
#elif defined(__AVX2__)
constexpr int OWN_LANES = 8;
#else
constexpr int OWN_LANES = 4;
#endif

// A complex number in every lane.
template <int lanes>
struct OwnPoint {
    typename OwnLanes<lanes>::Vector re, im;
};

template <int... i>
struct OwnIndices {};
template <int n, int... i>
struct OwnCountTo : OwnCountTo<n - 1, n - 1, i...> {};
template <int... i>
struct OwnCountTo<0, i...> {
    using Type = OwnIndices<i...>;
};

// Of two vectors, blocks of `block` lanes by turns: the even ones of both, or the odd ones of both.
template <int block, bool odd, class Vector, int... i>
[[gnu::always_inline]] inline Vector ownBlocksOf(Vector a, Vector b, OwnIndices<i...>) {
    constexpr int n = sizeof...(i);
    return __builtin_shufflevector(a, b, ((i & block) != 0 ? n + (odd ? i : i - block) : (odd ? i + block : i))...);
}
// Of each quarter (four lanes) of two vectors, the lower or the upper halves by turns.
template <bool upper, class Vector, int... i>
[[gnu::always_inline]] inline Vector ownUnpack(Vector a, Vector b, OwnIndices<i...>) {
    constexpr int n = sizeof...(i);
    return __builtin_shufflevector(a, b, ((i & ~3) + (i & 3) / 2 + (upper ? 2 : 0) + (i & 1 ? n : 0))...);
}

// The transposition of a square of lanes: fours first, then blocks of four, of eight.
template <int lanes>
[[gnu::always_inline]] inline void ownTranspose(typename OwnLanes<lanes>::Vector *v) {
    if constexpr (lanes > 1) {
        using Vector = typename OwnLanes<lanes>::Vector;
        using All = typename OwnCountTo<lanes>::Type;
        for (int r = 0; r < lanes; r += 4) {
            const Vector a = ownUnpack<false>(v[r], v[r + 1], All{}), b = ownUnpack<true>(v[r], v[r + 1], All{});
            const Vector c = ownUnpack<false>(v[r + 2], v[r + 3], All{}),
                         d = ownUnpack<true>(v[r + 2], v[r + 3], All{});
            v[r] = ownBlocksOf<2, false>(a, c, All{});
            v[r + 1] = ownBlocksOf<2, true>(a, c, All{});
            v[r + 2] = ownBlocksOf<2, false>(b, d, All{});
            v[r + 3] = ownBlocksOf<2, true>(b, d, All{});
        }
        if constexpr (lanes > 4) {
            for (int r = 0; r < lanes; ++r) {
                if ((r & 4) != 0) continue;
                const Vector a = v[r], b = v[r + 4];
                v[r] = ownBlocksOf<4, false>(a, b, All{});
                v[r + 4] = ownBlocksOf<4, true>(a, b, All{});
            }
        }
        if constexpr (lanes > 8) {
            for (int r = 0; r < 8; ++r) {
                const Vector a = v[r], b = v[r + 8];
                v[r] = ownBlocksOf<8, false>(a, b, All{});
                v[r + 8] = ownBlocksOf<8, true>(a, b, All{});
            }
        }
    }
}

template <int lanes>
[[gnu::always_inline]] inline typename OwnLanes<lanes>::Vector ownLoadLoose(const float *at) {
    typename OwnLanes<lanes>::Vector v;
    __builtin_memcpy(&v, at, sizeof v);
    return v;
}
template <int lanes>
[[gnu::always_inline]] inline void ownStoreLoose(float *at, typename OwnLanes<lanes>::Vector v) {
    __builtin_memcpy(at, &v, sizeof v);
}
template <int lanes>
[[gnu::always_inline]] inline const OwnPoint<lanes> *ownPoints(const float *at) {
    return reinterpret_cast<const OwnPoint<lanes> *>(at);
}
template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> *ownPoints(float *at) {
    return reinterpret_cast<OwnPoint<lanes> *>(at);
}

}  // namespace
