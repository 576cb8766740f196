// Arithmetic of opacities by one sample and by whole vectors, for kernel files.
#pragma once

#include "frame/ownclamp.h"

namespace {

template <class D>
constexpr uint32_t ownFull = D::high;

// M(x, y), the product of two fractions of the full scale, truncated.
template <class D>
[[gnu::always_inline]] inline uint32_t ownScaledMul(uint32_t x, uint32_t y) {
    constexpr int bits = 8 * sizeof(typename D::Value);
    const uint32_t p = x * y;
    return (p + (p >> bits) + 1) >> bits;
}

// One sample at a time.
template <class D>
struct OwnOneLane {
    using Depth = D;
    using Sample = typename D::Sample;
    using Lanes = uint32_t;
    static constexpr size_t width = 1;
    [[gnu::always_inline]] static Lanes load(const Sample *p) { return *p; }
    [[gnu::always_inline]] static void store(Sample *p, Lanes v) {
        *p = static_cast<typename D::Value>(v < ownFull<D> ? v : ownFull<D>);
    }
    [[gnu::always_inline]] static Lanes multiply(Lanes x, Lanes y) { return ownScaledMul<D>(x, y); }
    [[gnu::always_inline]] static Lanes add(Lanes x, Lanes y) { return x + y; }
    [[gnu::always_inline]] static Lanes rest(Lanes x) { return ownFull<D> - x; }
};

#if defined(OWN_HAS_VECTORS)

// (p + (p >> 8) + 1) >> 8 for products of bytes is (p + 1) x 257 >> 16.
[[gnu::always_inline]] inline OwnVector ownScaledWords(OwnVector x, OwnVector y) {
    const OwnVector p = OWN_VECTOR(mullo, epi16)(x, y);
    return OWN_VECTOR(mulhi, epu16)(OWN_VECTOR(add, epi16)(p, ownSplat<Own16U>(1)), ownSplat<Own16U>(257));
}

// A vector of samples at a time.
template <class D>
struct OwnManyLanes;

// Bytes in two vectors of words.
template <>
struct OwnManyLanes<Own8U> {
    using Depth = Own8U;
    using Sample = Own8U::Sample;
    struct Lanes {
        OwnVector low, high;
    };
    static constexpr size_t width = sizeof(OwnVector);
    [[gnu::always_inline]] static Lanes widen(OwnVector v) {
        return {OWN_VECTOR(unpacklo, epi8)(v, ownZero()), OWN_VECTOR(unpackhi, epi8)(v, ownZero())};
    }
    [[gnu::always_inline]] static OwnVector narrow(Lanes v) { return OWN_VECTOR(packus, epi16)(v.low, v.high); }
    [[gnu::always_inline]] static Lanes load(const Sample *p) {
        return widen(ownLoad(reinterpret_cast<const char *>(p)));
    }
    [[gnu::always_inline]] static void store(Sample *p, Lanes v) { ownStore(reinterpret_cast<char *>(p), narrow(v)); }
    [[gnu::always_inline]] static Lanes multiply(Lanes x, Lanes y) {
        return {ownScaledWords(x.low, y.low), ownScaledWords(x.high, y.high)};
    }
    [[gnu::always_inline]] static Lanes add(Lanes x, Lanes y) {
        return {OWN_VECTOR(add, epi16)(x.low, y.low), OWN_VECTOR(add, epi16)(x.high, y.high)};
    }
    [[gnu::always_inline]] static Lanes rest(Lanes x) {
        const OwnVector all = ownSplat<Own16U>(255);
        return {ownXor(x.low, all), ownXor(x.high, all)};
    }
    [[gnu::always_inline]] static Lanes splat(uint32_t value) {
        const OwnVector v = ownSplat<Own16U>(value);
        return {v, v};
    }
};

template <>
struct OwnManyLanes<Own16U> {
    using Depth = Own16U;
    using Sample = Own16U::Sample;
    using Lanes = OwnVector;
    static constexpr size_t width = sizeof(OwnVector) / 2;
    [[gnu::always_inline]] static Lanes widen(OwnVector v) { return v; }
    [[gnu::always_inline]] static OwnVector narrow(Lanes v) { return v; }
    [[gnu::always_inline]] static Lanes load(const Sample *p) { return ownLoad(reinterpret_cast<const char *>(p)); }
    [[gnu::always_inline]] static void store(Sample *p, Lanes v) { ownStore(reinterpret_cast<char *>(p), v); }
    // The high half of the product, and 1 where low half + high half + 1 carries: where their mean, rounded up, has its
    // highest bit.
    [[gnu::always_inline]] static Lanes multiply(Lanes x, Lanes y) {
        const OwnVector low = OWN_VECTOR(mullo, epi16)(x, y), high = OWN_VECTOR(mulhi, epu16)(x, y);
        return OWN_VECTOR(add, epi16)(high, OWN_VECTOR(srli, epi16)(OWN_VECTOR(avg, epu16)(low, high), 15));
    }
    [[gnu::always_inline]] static Lanes add(Lanes x, Lanes y) { return OWN_VECTOR(adds, epu16)(x, y); }
    [[gnu::always_inline]] static Lanes rest(Lanes x) { return ownNot(x); }
    [[gnu::always_inline]] static Lanes splat(uint32_t value) { return ownSplat<Own16U>(value); }
};

#else
template <class D>
using OwnManyLanes = OwnOneLane<D>;
#endif

constexpr bool ownReadsB(int type) {
    return type != MOX_COMPOSITE_IN && type != MOX_COMPOSITE_OUT;
}

// The colour of a type from colours that are multiplied by their opacities.
template <class L, int type>
[[gnu::always_inline]] inline typename L::Lanes ownMixed(typename L::Lanes colourA, typename L::Lanes colourB,
                                                         typename L::Lanes a, typename L::Lanes b) {
    switch (type) {
        case MOX_COMPOSITE_OVER:
            return L::add(colourA, L::multiply(colourB, L::rest(a)));
        case MOX_COMPOSITE_IN:
            return L::multiply(colourA, b);
        case MOX_COMPOSITE_OUT:
            return L::multiply(colourA, L::rest(b));
        case MOX_COMPOSITE_ATOP:
            return L::add(L::multiply(colourA, b), L::multiply(colourB, L::rest(a)));
        case MOX_COMPOSITE_XOR:
            return L::add(L::multiply(colourA, L::rest(b)), L::multiply(colourB, L::rest(a)));
        default:
            return L::add(colourA, colourB);
    }
}

// The same from colours that need not be.
template <class L, int type, bool premultiplied>
[[gnu::always_inline]] inline typename L::Lanes ownMixedColour(typename L::Lanes colourA, typename L::Lanes colourB,
                                                               typename L::Lanes a, typename L::Lanes b) {
    if constexpr (premultiplied) return ownMixed<L, type>(colourA, colourB, a, b);
    return ownMixed<L, type>(L::multiply(colourA, a), L::multiply(colourB, b), a, b);
}

}  // namespace
