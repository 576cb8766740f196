// Kernels of alpha composition, compiled once for each CPU level.
#include "arith/ownalpha.h"
#include "arith/ownalphalanes.h"
#include "frame/ownforms.h"

namespace OWN_LEVEL {
namespace {

// So many pixels at a time, whose opacities are at hand.
constexpr size_t BLOCK = 256;

// The opacities of a block of pixels: where they stand, or made here.
template <class D>
class Opacities {
  public:
    using Sample = typename D::Sample;
    Opacities(void *const *rows, const OwnMixRows &of) : rows_(rows), of_(of) {
        fill(of.alphaA, of.constA, constA_);
        if (of.wayOfB == OWN_B_GIVEN) fill(of.alphaB, of.constB, constB_);
    }
    void find(size_t at, size_t n, const Sample **a, const Sample **b) {
        *a = of_.alphaA == OWN_MIX_CONSTANT ? constA_ : static_cast<const Sample *>(rows_[of_.alphaA]) + at;
        *b = of_.alphaB == OWN_MIX_CONSTANT ? constB_ : static_cast<const Sample *>(rows_[of_.alphaB]) + at;
        if (of_.wayOfB == OWN_B_GIVEN) return;
        const Sample *from = *a;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            constB_[i] = static_cast<typename D::Value>(D::high - from[i]);
    }

  private:
    static void fill(int row, int constant, typename D::Value *values) {
        if (row != OWN_MIX_CONSTANT) return;
        for (size_t i = 0; i < BLOCK; ++i)
            values[i] = static_cast<typename D::Value>(constant);
    }
    void *const *rows_;
    const OwnMixRows &of_;
    alignas(64) typename D::Value constA_[BLOCK], constB_[BLOCK];
};

// One colour from sample i on, as far as whole lanes go; gives the sample behind them.
template <class L, int type, bool premultiplied>
size_t mixColour(const typename L::Sample *colourA, const typename L::Sample *colourB, const typename L::Sample *a,
                 const typename L::Sample *b, typename L::Sample *dst, size_t i, size_t n) {
    for (; i + L::width <= n; i += L::width) {
        const typename L::Lanes ofA = L::load(colourA + i), ofB = ownReadsB(type) ? L::load(colourB + i) : ofA;
        L::store(dst + i, ownMixedColour<L, type, premultiplied>(ofA, ofB, L::load(a + i), L::load(b + i)));
    }
    return i;
}

// The opacity of the result: what becomes of premultiplied colours that are opacities themselves, but b itself atop.
template <class L, int type>
size_t mixOpacity(const typename L::Sample *a, const typename L::Sample *b, typename L::Sample *dst, size_t i,
                  size_t n) {
    for (; i + L::width <= n; i += L::width) {
        const typename L::Lanes ofA = L::load(a + i), ofB = L::load(b + i);
        L::store(dst + i, type == MOX_COMPOSITE_ATOP ? ofB : ownMixed<L, type>(ofA, ofB, ofA, ofB));
    }
    return i;
}

template <class D, int type, bool premultiplied>
void mixRows(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    using One = OwnOneLane<D>;
    using Many = OwnManyLanes<D>;
    const OwnMixRows &of = *static_cast<const OwnMixRows *>(operation);
    Opacities<D> opacities(rows, of);
    for (size_t at = 0; at < n; at += BLOCK) {
        const size_t count = n - at < BLOCK ? n - at : BLOCK;
        const Sample *a, *b;
        opacities.find(at, count, &a, &b);
        for (int k = 0; k < of.colours; ++k) {
            const Sample *colourA = static_cast<const Sample *>(rows[of.a[k]]) + at,
                         *colourB = static_cast<const Sample *>(rows[of.b[k]]) + at;
            Sample *dst = static_cast<Sample *>(rows[of.dst[k]]) + at;
            const size_t i = mixColour<Many, type, premultiplied>(colourA, colourB, a, b, dst, 0, count);
            mixColour<One, type, premultiplied>(colourA, colourB, a, b, dst, i, count);
        }
        if (of.alphaDst == OWN_MIX_NONE) continue;
        Sample *dst = static_cast<Sample *>(rows[of.alphaDst]) + at;
        const size_t i = mixOpacity<Many, type>(a, b, dst, 0, count);
        mixOpacity<One, type>(a, b, dst, i, count);
    }
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

// Numbers of a block, none below 0: limited to the depth, to nearest, ties to even.
template <class D>
void roundRow(const typename Fraction<D>::Real *values, typename D::Sample *dst, size_t n) {
    constexpr typename Fraction<D>::Real most = D::high;
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    if constexpr (sizeof(typename D::Value) == 1) {
        constexpr size_t floats = sizeof(OwnVector) / 4;
        const auto rounded = [&](size_t k) {
#if defined(__AVX2__)
            return _mm256_cvtps_epi32(_mm256_min_ps(_mm256_loadu_ps(values + i + k * floats), _mm256_set1_ps(most)));
#else
            return _mm_cvtps_epi32(_mm_min_ps(_mm_loadu_ps(values + i + k * floats), _mm_set1_ps(most)));
#endif
        };
        for (; i + sizeof(OwnVector) <= n; i += sizeof(OwnVector)) {
            const OwnVector low = OWN_VECTOR(packs, epi32)(rounded(0), rounded(1)),
                            high = OWN_VECTOR(packs, epi32)(rounded(2), rounded(3));
            OwnVector bytes = OWN_VECTOR(packus, epi16)(low, high);
#if defined(__AVX2__)
            bytes = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#endif
            ownStore(reinterpret_cast<char *>(dst + i), bytes);
        }
    }
#endif
    // By the bits that the sum with 2^23 keeps.
    OWN_ELEMENTWISE
    for (size_t k = i; k < n; ++k) {
        const float sum = static_cast<float>(values[k] < most ? values[k] : most) + 8388608.0f;
        dst[k] = static_cast<typename D::Value>(__builtin_bit_cast(uint32_t, sum));
    }
}

template <class D, int type, bool premultiplied>
void divideRows(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    using Real = typename Fraction<D>::Real;
    constexpr Real most = D::high, scale = Fraction<D>::scale;
    const OwnMixRows &of = *static_cast<const OwnMixRows *>(operation);
    Opacities<D> opacities(rows, of);
    alignas(64) Real fa[BLOCK], fb[BLOCK], opacity[BLOCK], divisor[BLOCK], values[BLOCK];
    for (size_t at = 0; at < n; at += BLOCK) {
        const size_t count = n - at < BLOCK ? n - at : BLOCK;
        const Sample *a, *b;
        opacities.find(at, count, &a, &b);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < count; ++i) {
            fa[i] = static_cast<Real>(a[i]) * scale;
            fb[i] = static_cast<Real>(b[i]) * scale;
            opacity[i] = blend<type, Real>(0, 0, fa[i], fb[i]).opacity;
            divisor[i] = opacity[i] > Fraction<D>::threshold ? opacity[i] : 1;
        }
        for (int c = 0; c < of.colours; ++c) {
            const Sample *colourA = static_cast<const Sample *>(rows[of.a[c]]) + at,
                         *colourB = static_cast<const Sample *>(rows[of.b[c]]) + at;
            OWN_ELEMENTWISE
            for (size_t i = 0; i < count; ++i) {
                const Real ofA = static_cast<Real>(colourA[i]), ofB = static_cast<Real>(colourB[i]);
                const Real colour = blend<type, Real>(premultiplied ? ofA : ofA * fa[i],
                                                      premultiplied ? ofB : ofB * fb[i], fa[i], fb[i])
                                        .colour;
                values[i] = colour / divisor[i];
            }
            roundRow<D>(values, static_cast<Sample *>(rows[of.dst[c]]) + at, count);
        }
        if (of.alphaDst == OWN_MIX_NONE) continue;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < count; ++i)
            values[i] = opacity[i] * most;
        roundRow<D>(values, static_cast<Sample *>(rows[of.alphaDst]) + at, count);
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

#define OWN_MIX_TYPES_OF(rows, D)                                                         \
    {                                                                                     \
        {rows<D, 0, false>, rows<D, 0, true>}, {rows<D, 1, false>, rows<D, 1, true>},     \
            {rows<D, 2, false>, rows<D, 2, true>}, {rows<D, 3, false>, rows<D, 3, true>}, \
            {rows<D, 4, false>, rows<D, 4, true>}, {rows<D, 5, false>, rows<D, 5, true>}, \
    }
#define OWN_MIX_S(D, type) \
    { ownBinary<D, MixS<type, false>>, ownBinary<D, MixS<type, true>> }
#define OWN_MIX_S_OF(D) \
    { OWN_MIX_S(D, 0), OWN_MIX_S(D, 1), OWN_MIX_S(D, 2), OWN_MIX_S(D, 3), OWN_MIX_S(D, 4), OWN_MIX_S(D, 5) }
extern const OwnAlphaRows alphaRows;
const OwnAlphaRows alphaRows = {
    .mix = {OWN_MIX_TYPES_OF(mixRows, Own8U), OWN_MIX_TYPES_OF(mixRows, Own16U)},
    .divided = {OWN_MIX_TYPES_OF(divideRows, Own8U), OWN_MIX_TYPES_OF(divideRows, Own16U)},
    .multiply = {ownBinary<Own8U, Multiply>, ownBinary<Own16U, Multiply>},
    .multiplyS = {ownUnary<Own8U, MultiplyS>, ownUnary<Own16U, MultiplyS>},
    .mixS = {OWN_MIX_S_OF(Own8U), OWN_MIX_S_OF(Own16U)},
    .mixPixels = {OWN_PIXELS(0), OWN_PIXELS(1), OWN_PIXELS(2), OWN_PIXELS(3), OWN_PIXELS(4), OWN_PIXELS(5)},
    .premultiplyPixels = OWN_PREMULTIPLY,
};

}  // namespace OWN_LEVEL
