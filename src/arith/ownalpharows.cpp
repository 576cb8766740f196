// Kernels of alpha composition, compiled once for each CPU level.
#include "arith/ownalpha.h"
#include "arith/ownalphalanes.h"
#include "frame/ownforms.h"

namespace OWN_LEVEL {
namespace {

// Where the opacities of a row are: step is 0 for a constant.
template <class D>
struct Opacities {
    using Sample = typename D::Sample;
    const Sample *at;
    size_t step;
    const Sample *operator()(size_t i) const { return at + i * step; }
};
template <class D>
Opacities<D> opacities(void *const *rows, int row, const typename D::Value *constant) {
    if (row == OWN_MIX_CONSTANT) return {constant, 0};
    return {static_cast<const typename D::Sample *>(rows[row]), 1};
}

template <class L, OwnMixB way>
[[gnu::always_inline]] inline typename L::Lanes loadB(const Opacities<typename L::Depth> &b, size_t i,
                                                      typename L::Lanes a) {
    if constexpr (way == OWN_B_IS_REST) return L::rest(a);
    return L::load(b(i));
}

// One colour from sample i on, as far as whole lanes go; gives the sample behind them.
template <class L, int type, bool premultiplied, OwnMixB way>
size_t mixColour(const typename L::Sample *colourA, const typename L::Sample *colourB,
                 const Opacities<typename L::Depth> &opacityA, const Opacities<typename L::Depth> &opacityB,
                 typename L::Sample *dst, size_t i, size_t n) {
    using Lanes = typename L::Lanes;
    OWN_ELEMENTWISE
    for (; i + L::width <= n; i += L::width) {
        const Lanes a = L::load(opacityA(i)), b = loadB<L, way>(opacityB, i, a);
        const Lanes ofA = L::load(colourA + i), ofB = ownReadsB(type) ? L::load(colourB + i) : ofA;
        L::store(dst + i, ownMixedColour<L, type, premultiplied>(ofA, ofB, a, b));
    }
    return i;
}

// The opacity of the result: that of premultiplied colours which are opacities themselves, but b itself atop.
template <class L, int type, OwnMixB way>
size_t mixOpacity(const Opacities<typename L::Depth> &opacityA, const Opacities<typename L::Depth> &opacityB,
                  typename L::Sample *dst, size_t i, size_t n) {
    using Lanes = typename L::Lanes;
    OWN_ELEMENTWISE
    for (; i + L::width <= n; i += L::width) {
        const Lanes a = L::load(opacityA(i)), b = loadB<L, way>(opacityB, i, a);
        L::store(dst + i, type == MOX_COMPOSITE_ATOP ? b : ownMixed<L, type>(a, b, a, b));
    }
    return i;
}

template <class D, int type, bool premultiplied, OwnMixB way>
void mixRows(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    using One = OwnOneLane<D>;
    using Many = OwnManyLanes<D>;
    const OwnMixRows &of = *static_cast<const OwnMixRows *>(operation);
    typename D::Value constA[Many::width], constB[Many::width];
    for (size_t i = 0; i < Many::width; ++i) {
        constA[i] = static_cast<typename D::Value>(of.constA);
        constB[i] = static_cast<typename D::Value>(of.constB);
    }
    const Opacities<D> a = opacities<D>(rows, of.alphaA, constA), b = opacities<D>(rows, of.alphaB, constB);
    for (int k = 0; k < of.colours; ++k) {
        const Sample *colourA = static_cast<const Sample *>(rows[of.a[k]]),
                     *colourB = static_cast<const Sample *>(rows[of.b[k]]);
        Sample *dst = static_cast<Sample *>(rows[of.dst[k]]);
        const size_t i = mixColour<Many, type, premultiplied, way>(colourA, colourB, a, b, dst, 0, n);
        mixColour<One, type, premultiplied, way>(colourA, colourB, a, b, dst, i, n);
    }
    if (of.alphaDst == OWN_MIX_NONE) return;
    Sample *dst = static_cast<Sample *>(rows[of.alphaDst]);
    const size_t i = mixOpacity<Many, type, way>(a, b, dst, 0, n);
    mixOpacity<One, type, way>(a, b, dst, i, n);
}

// The floating path: opacities are fractions of 1, every step is rounded to the type.
template <class D>
struct Fraction {
    using Real = float;
    static constexpr Real scale = 0x1.010102p-8f;       // 1 / 255
    static constexpr Real threshold = 0x1.020306p-17f;  // 1 / (2 x 255 x 255)
};
template <>
struct Fraction<Own16U> {
    using Real = double;
    static constexpr Real scale = 1.5259021896696422e-05;
    static constexpr Real threshold = 1.1641887462193043e-10;
};

template <class Real>
struct Blend {
    Real colour, opacity;
};
template <int type, class Real>
[[gnu::always_inline]] inline Blend<Real> blend(Real colourA, Real colourB, Real a, Real b) {
    const Real one = 1, restA = one - a, restB = one - b;
    switch (type) {
        case MOX_COMPOSITE_OVER:
            return {colourA + colourB * restA, a + restA * b};
        case MOX_COMPOSITE_IN:
            return {colourA * b, a * b};
        case MOX_COMPOSITE_OUT:
            return {colourA * restB, a * restB};
        case MOX_COMPOSITE_ATOP:
            return {colourA * b + colourB * restA, b};
        case MOX_COMPOSITE_XOR:
            return {colourA * restB + colourB * restA, a * restB + restA * b};
        default:
            return {colourA + colourB, a + b};
    }
}

// To nearest, ties to even, by the bits that the sum with 2^23 keeps; limited to the depth.
template <class D>
[[gnu::always_inline]] inline typename D::Value rounded(typename Fraction<D>::Real value) {
    const float sum = static_cast<float>(value) + 8388608.0f;
    const uint32_t integer = __builtin_bit_cast(uint32_t, sum) & 0x7FFFFF;
    return static_cast<typename D::Value>(integer < ownFull<D> ? integer : ownFull<D>);
}

// So many pixels at a time, whose fractions are kept.
constexpr size_t BLOCK = 128;

template <class D>
void fractionsOf(const Opacities<D> &of, size_t at, size_t n, typename Fraction<D>::Real *fractions) {
    using Real = typename Fraction<D>::Real;
    if (of.step == 0) {
        for (size_t i = 0; i < n; ++i)
            fractions[i] = static_cast<Real>(of.at[0]) * Fraction<D>::scale;
        return;
    }
    const typename D::Sample *opacity = of.at + at;
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        fractions[i] = static_cast<Real>(opacity[i]) * Fraction<D>::scale;
}
template <class D>
void fractionsOfRest(const Opacities<D> &of, size_t at, size_t n, typename Fraction<D>::Real *fractions) {
    const typename D::Sample *opacity = of.at + at;
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        fractions[i] = static_cast<typename Fraction<D>::Real>(D::high - opacity[i]) * Fraction<D>::scale;
}

template <class D, int type, bool premultiplied, OwnMixB way>
void divideRows(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    using Real = typename Fraction<D>::Real;
    constexpr Real most = D::high;
    const OwnMixRows &of = *static_cast<const OwnMixRows *>(operation);
    const typename D::Value constA = static_cast<typename D::Value>(of.constA),
                            constB = static_cast<typename D::Value>(of.constB);
    const Opacities<D> a = opacities<D>(rows, of.alphaA, &constA), b = opacities<D>(rows, of.alphaB, &constB);
    alignas(64) Real fa[BLOCK], fb[BLOCK], opacity[BLOCK];
    for (size_t at = 0; at < n; at += BLOCK) {
        const size_t count = n - at < BLOCK ? n - at : BLOCK;
        fractionsOf<D>(a, at, count, fa);
        if constexpr (way == OWN_B_IS_REST) {
            fractionsOfRest<D>(a, at, count, fb);
        } else {
            fractionsOf<D>(b, at, count, fb);
        }
        for (size_t i = 0; i < count; ++i)
            opacity[i] = blend<type, Real>(0, 0, fa[i], fb[i]).opacity;
        for (int c = 0; c < of.colours; ++c) {
            const Sample *colourA = static_cast<const Sample *>(rows[of.a[c]]) + at,
                         *colourB = static_cast<const Sample *>(rows[of.b[c]]) + at;
            Sample *dst = static_cast<Sample *>(rows[of.dst[c]]) + at;
            OWN_ELEMENTWISE
            for (size_t i = 0; i < count; ++i) {
                const Real ofA = static_cast<Real>(colourA[i]), ofB = static_cast<Real>(colourB[i]);
                const Real colour = blend<type, Real>(premultiplied ? ofA : ofA * fa[i],
                                                      premultiplied ? ofB : ofB * fb[i], fa[i], fb[i])
                                        .colour;
                const Real quotient = colour / opacity[i], limited = quotient < most ? quotient : most;
                dst[i] = rounded<D>(opacity[i] > Fraction<D>::threshold ? limited : colour);
            }
        }
        if (of.alphaDst == OWN_MIX_NONE) continue;
        Sample *dst = static_cast<Sample *>(rows[of.alphaDst]) + at;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < count; ++i)
            dst[i] = rounded<D>(opacity[i] * most);
    }
}

// Products of whole rows, by a second image or a value.
struct Multiply {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return static_cast<typename D::Value>(ownScaledMul<D>(a, b));
    }
#if defined(OWN_HAS_VECTORS)
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &) {
        using L = OwnManyLanes<D>;
        return L::narrow(L::multiply(L::widen(a), L::widen(b)));
    }
#endif
};
struct MultiplyS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return static_cast<typename D::Value>(ownScaledMul<D>(a, c.value));
    }
#if defined(OWN_HAS_VECTORS)
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        using L = OwnManyLanes<D>;
        return L::narrow(L::multiply(L::widen(a), L::splat(c.value)));
    }
#endif
};

// Samples of two images by constant opacities: that of A in the low 16 bits of the constant, that of B above.
template <int type, bool premultiplied>
struct MixS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &c) {
        const uint32_t mixed =
            ownMixedColour<OwnOneLane<D>, type, premultiplied>(a, b, c.value & 0xFFFF, c.value >> 16);
        return static_cast<typename D::Value>(mixed < ownFull<D> ? mixed : ownFull<D>);
    }
#if defined(OWN_HAS_VECTORS)
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &c) {
        using L = OwnManyLanes<D>;
        return L::narrow(ownMixedColour<L, type, premultiplied>(L::widen(a), L::widen(b), L::splat(c.value & 0xFFFF),
                                                                L::splat(c.value >> 16)));
    }
#endif
};

// Pixels of three colours and alpha, all in a word of four bytes. Alpha becomes what a colour would that is opacity
// itself.
#if defined(OWN_HAS_VECTORS)

// Each pixel's alpha in all its words; half of the pixels at a time.
template <int half>
[[gnu::always_inline]] inline OwnVector alphaWords(OwnVector pixels) {
#if defined(__AVX2__)
    const __m128i of = half == 0 ? _mm_setr_epi8(3, -1, 3, -1, 3, -1, 3, -1, 7, -1, 7, -1, 7, -1, 7, -1)
                                 : _mm_setr_epi8(11, -1, 11, -1, 11, -1, 11, -1, 15, -1, 15, -1, 15, -1, 15, -1);
    return _mm256_shuffle_epi8(pixels, _mm256_broadcastsi128_si256(of));
#else
    const OwnVector words = half == 0 ? _mm_unpacklo_epi8(pixels, ownZero()) : _mm_unpackhi_epi8(pixels, ownZero());
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(words, 0xFF), 0xFF);
#endif
}
[[gnu::always_inline]] inline OwnManyLanes<Own8U>::Lanes alphaLanes(OwnVector pixels) {
    return {alphaWords<0>(pixels), alphaWords<1>(pixels)};
}
// What colours are multiplied by, while alpha stays.
[[gnu::always_inline]] inline OwnManyLanes<Own8U>::Lanes colourFactors(OwnManyLanes<Own8U>::Lanes alpha) {
    const OwnVector full = OWN_VECTOR(set1, epi64x)(0x00FF000000000000);
    return {ownOr(alpha.low, full), ownOr(alpha.high, full)};
}

template <int type, bool premultiplied>
struct MixPixels {
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &) {
        using L = OwnManyLanes<Own8U>;
        const L::Lanes alphaA = alphaLanes(a), alphaB = alphaLanes(b);
        L::Lanes colourA = L::widen(a), colourB = L::widen(b);
        if constexpr (!premultiplied) {
            colourA = L::multiply(colourA, colourFactors(alphaA));
            colourB = L::multiply(colourB, colourFactors(alphaB));
        }
        const OwnVector mixed = L::narrow(ownMixed<L, type>(colourA, colourB, alphaA, alphaB));
        if constexpr (type == MOX_COMPOSITE_ATOP) return ownSelectBits(ownSplat<Own32U>(0xFF000000), b, mixed);
        return mixed;
    }
    template <class D>
    [[gnu::always_inline]] static uint32_t f(uint32_t, uint32_t, const OwnConstant &) {
        return 0;  // no row is shorter than a pixel
    }
};
template <>
struct MixPixels<MOX_COMPOSITE_PLUS, true> {
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &) {
        return OWN_VECTOR(adds, epu8)(a, b);
    }
    template <class D>
    [[gnu::always_inline]] static uint32_t f(uint32_t, uint32_t, const OwnConstant &) {
        return 0;
    }
};
struct PremultiplyPixels {
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &) {
        using L = OwnManyLanes<Own8U>;
        return L::narrow(L::multiply(L::widen(a), colourFactors(alphaLanes(a))));
    }
    template <class D>
    [[gnu::always_inline]] static uint32_t f(uint32_t, const OwnConstant &) {
        return 0;
    }
};
#define OWN_PIXELS(type) \
    { ownBinary<Own32U, MixPixels<type, false>>, ownBinary<Own32U, MixPixels<type, true>> }
#define OWN_PREMULTIPLY ownUnary<Own32U, PremultiplyPixels>
#else
#define OWN_PIXELS(type) \
    {}
#define OWN_PREMULTIPLY \
    {}
#endif

}  // namespace

#define OWN_MIX_FORMS(rows, D, type)                                                \
    {                                                                               \
        {rows<D, type, false, OWN_B_GIVEN>, rows<D, type, false, OWN_B_IS_REST>},   \
            {rows<D, type, true, OWN_B_GIVEN>, rows<D, type, true, OWN_B_IS_REST>}, \
    }
#define OWN_MIX_TYPES_OF(rows, D)                                                                                   \
    {                                                                                                               \
        OWN_MIX_FORMS(rows, D, 0), OWN_MIX_FORMS(rows, D, 1), OWN_MIX_FORMS(rows, D, 2), OWN_MIX_FORMS(rows, D, 3), \
            OWN_MIX_FORMS(rows, D, 4), OWN_MIX_FORMS(rows, D, 5),                                                   \
    }
#define OWN_MIX_S(D, type) \
    { ownBinary<D, MixS<type, false>>, ownBinary<D, MixS<type, true>> }
#define OWN_MIX_S_OF(D) \
    { OWN_MIX_S(D, 0), OWN_MIX_S(D, 1), OWN_MIX_S(D, 2), OWN_MIX_S(D, 3), OWN_MIX_S(D, 4), OWN_MIX_S(D, 5) }
extern const OwnAlphaRows alphaRows;
const OwnAlphaRows alphaRows = {
    .mix = {OWN_MIX_TYPES_OF(mixRows, Own8U), OWN_MIX_TYPES_OF(mixRows, Own16U)},
    .divided = {OWN_MIX_TYPES_OF(divideRows, Own8U), OWN_MIX_TYPES_OF(divideRows, Own16U)},
    .mixS = {OWN_MIX_S_OF(Own8U), OWN_MIX_S_OF(Own16U)},
    .mixPixels = {OWN_PIXELS(0), OWN_PIXELS(1), OWN_PIXELS(2), OWN_PIXELS(3), OWN_PIXELS(4), OWN_PIXELS(5)},
    .premultiplyPixels = OWN_PREMULTIPLY,
    .multiply = {ownBinary<Own8U, Multiply>, ownBinary<Own16U, Multiply>},
    .multiplyS = {ownUnary<Own8U, MultiplyS>, ownUnary<Own16U, MultiplyS>},
};

}  // namespace OWN_LEVEL
