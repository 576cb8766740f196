// Kernels of alpha composition, compiled once for each CPU level.
#include "arith/ownalpha.h"
#include "frame/ownforms.h"

namespace OWN_LEVEL {
namespace {

template <class D>
constexpr uint32_t full = D::high;

// M(x, y), the product of two fractions of the full scale, truncated.
template <class D>
[[gnu::always_inline]] inline uint32_t scaledProduct(uint32_t x, uint32_t y) {
    constexpr int bits = 8 * sizeof(typename D::Value);
    const uint32_t p = x * y;
    return (p + (p >> bits) + 1) >> bits;
}

// Arithmetic on one sample at a time.
template <class D>
struct OneLane {
    using Depth = D;
    using Sample = typename D::Sample;
    using Lanes = uint32_t;
    static constexpr size_t width = 1;
    [[gnu::always_inline]] static Lanes load(const Sample *p) { return *p; }
    [[gnu::always_inline]] static void store(Sample *p, Lanes v) {
        *p = static_cast<typename D::Value>(v < full<D> ? v : full<D>);
    }
    [[gnu::always_inline]] static Lanes multiply(Lanes x, Lanes y) { return scaledProduct<D>(x, y); }
    [[gnu::always_inline]] static Lanes add(Lanes x, Lanes y) { return x + y; }
    [[gnu::always_inline]] static Lanes rest(Lanes x) { return full<D> - x; }
};

constexpr bool readsB(int type) {
    return type != MOX_COMPOSITE_IN && type != MOX_COMPOSITE_OUT;
}

template <class L, int type>
[[gnu::always_inline]] inline typename L::Lanes mix(typename L::Lanes colourA, typename L::Lanes colourB,
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
        Lanes ofA = L::load(colourA + i), ofB = ofA;
        if constexpr (readsB(type)) ofB = L::load(colourB + i);
        if constexpr (!premultiplied) {
            ofA = L::multiply(ofA, a);
            if constexpr (readsB(type)) ofB = L::multiply(ofB, b);
        }
        L::store(dst + i, mix<L, type>(ofA, ofB, a, b));
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
        L::store(dst + i, type == MOX_COMPOSITE_ATOP ? b : mix<L, type>(a, b, a, b));
    }
    return i;
}

template <class D, int type, bool premultiplied, OwnMixB way>
void mixRows(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    const OwnMixRows &of = *static_cast<const OwnMixRows *>(operation);
    const typename D::Value constA = static_cast<typename D::Value>(of.constA),
                            constB = static_cast<typename D::Value>(of.constB);
    const Opacities<D> a = opacities<D>(rows, of.alphaA, &constA), b = opacities<D>(rows, of.alphaB, &constB);
    for (int k = 0; k < of.colours; ++k) {
        const Sample *colourA = static_cast<const Sample *>(rows[of.a[k]]),
                     *colourB = static_cast<const Sample *>(rows[of.b[k]]);
        Sample *dst = static_cast<Sample *>(rows[of.dst[k]]);
        mixColour<OneLane<D>, type, premultiplied, way>(colourA, colourB, a, b, dst, 0, n);
    }
    if (of.alphaDst == OWN_MIX_NONE) return;
    mixOpacity<OneLane<D>, type, way>(a, b, static_cast<Sample *>(rows[of.alphaDst]), 0, n);
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
    return static_cast<typename D::Value>(integer < full<D> ? integer : full<D>);
}

template <class D, int type, bool premultiplied, OwnMixB way>
void divideRows(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    using Real = typename Fraction<D>::Real;
    const OwnMixRows &of = *static_cast<const OwnMixRows *>(operation);
    const typename D::Value constA = static_cast<typename D::Value>(of.constA),
                            constB = static_cast<typename D::Value>(of.constB);
    const Opacities<D> a = opacities<D>(rows, of.alphaA, &constA), b = opacities<D>(rows, of.alphaB, &constB);
    constexpr Real k = Fraction<D>::scale;
    const auto fractions = [&](size_t i, Real *fa, Real *fb) {
        const int first = *a(i), second = way == OWN_B_IS_REST ? D::high - first : int{*b(i)};
        *fa = static_cast<Real>(first) * k;
        *fb = static_cast<Real>(second) * k;
    };
    for (int c = 0; c < of.colours; ++c) {
        const Sample *colourA = static_cast<const Sample *>(rows[of.a[c]]),
                     *colourB = static_cast<const Sample *>(rows[of.b[c]]);
        Sample *dst = static_cast<Sample *>(rows[of.dst[c]]);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i) {
            Real fa, fb;
            fractions(i, &fa, &fb);
            Real ofA = colourA[i], ofB = colourB[i];
            if (!premultiplied) {
                ofA = ofA * fa;
                ofB = ofB * fb;
            }
            const Blend<Real> result = blend<type, Real>(ofA, ofB, fa, fb);
            const Real quotient = result.colour / result.opacity, most = D::high;
            const Real limited = quotient < most ? quotient : most;
            dst[i] = rounded<D>(result.opacity > Fraction<D>::threshold ? limited : result.colour);
        }
    }
    if (of.alphaDst == OWN_MIX_NONE) return;
    Sample *dst = static_cast<Sample *>(rows[of.alphaDst]);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        Real fa, fb;
        fractions(i, &fa, &fb);
        const Real opacity = blend<type, Real>(fa, fb, fa, fb).opacity, most = D::high;
        dst[i] = rounded<D>(opacity * most);
    }
}

// Products of whole rows.
struct Multiply {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return static_cast<typename D::Value>(scaledProduct<D>(a, b));
    }
};
struct MultiplyS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return static_cast<typename D::Value>(scaledProduct<D>(a, c.value));
    }
};

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
extern const OwnAlphaRows alphaRows;
const OwnAlphaRows alphaRows = {
    .mix = {OWN_MIX_TYPES_OF(mixRows, Own8U), OWN_MIX_TYPES_OF(mixRows, Own16U)},
    .divided = {OWN_MIX_TYPES_OF(divideRows, Own8U), OWN_MIX_TYPES_OF(divideRows, Own16U)},
    .multiply = {ownBinary<Own8U, Multiply>, ownBinary<Own16U, Multiply>},
    .multiplyS = {ownUnary<Own8U, MultiplyS>, ownUnary<Own16U, MultiplyS>},
};

}  // namespace OWN_LEVEL
