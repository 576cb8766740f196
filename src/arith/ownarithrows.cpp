// Row kernels of arithmetic and logic, compiled once for each CPU level. Every result is the exact one, clamped; the
// forms are those that vectorise without widening.
#include "arith/ownarith.h"
#include "frame/ownclamp.h"
#include "frame/ownforms.h"
#include "frame/ownlogic.h"

namespace OWN_LEVEL {
namespace {

template <class D>
using Unsigned = typename D::Lane;

// Unsigned values of the sample's width, without carry into int.
template <class D, class T>
[[gnu::always_inline]] constexpr typename D::Value as(T value) {
    return static_cast<typename D::Value>(value);
}

template <class T>
[[gnu::always_inline]] inline T least(T a, T b) {
    return a < b ? a : b;
}

// The complement of an unsigned sample, in a form that the compiler keeps in the sample's width.
template <class D>
[[gnu::always_inline]] constexpr typename D::Value complement(typename D::Value a) {
    return as<D>(a ^ as<D>(~0u));
}

template <class D>
constexpr bool isFloat = false;
template <>
constexpr bool isFloat<Own32F> = true;
template <class D>
constexpr bool isSigned = static_cast<typename D::Value>(-1) < 0;

// The end of the signed range on the side of a.
template <class D>
[[gnu::always_inline]] inline typename D::Value endOnSideOf(typename D::Value a) {
    using Bits = typename D::Lane;
    constexpr Bits top = static_cast<Bits>(~static_cast<Bits>(0)) >> 1;
    return a < 0 ? as<D>(static_cast<Bits>(~top)) : as<D>(top);
}

// Where both operands are NaN the first one's payload is kept, in whatever order the processor takes them.
[[gnu::always_inline]] inline float firstIfNan(float a, float b) {
    return a != a ? a : b;
}

// What an operation on floats gives where it is NaN: the first operand that is one, quieted, and the negative quiet NaN
// where neither is. So have it processors with SSE2 by themselves, as long as no operands are exchanged; others look
// for signalling operands first, and make the positive one.
[[gnu::always_inline]] inline float settled(float result, [[maybe_unused]] float a, [[maybe_unused]] float b) {
#if defined(__SSE2__)
    return result;
#else
    constexpr uint32_t quiet = 0x00400000, negative = 0xFFC00000;
    const uint32_t second = b != b ? __builtin_bit_cast(uint32_t, b) | quiet : negative;
    const uint32_t nan = a != a ? __builtin_bit_cast(uint32_t, a) | quiet : second;
    return __builtin_bit_cast(float, result != result ? nan : __builtin_bit_cast(uint32_t, result));
#endif
}

#if defined(OWN_HAS_VECTORS)
typedef float Floats __attribute__((vector_size(sizeof(OwnVector))));

template <class D>
concept Real = isFloat<D>;
template <class D>
concept Number = OwnInteger<D> || Real<D>;

[[gnu::always_inline]] inline Floats firstIfNan(Floats a, Floats b) {
    return a != a ? a : b;
}

template <class F>
[[gnu::always_inline]] inline OwnVector byFloats(OwnVector a, OwnVector b, const F &f) {
    return (OwnVector)f((Floats)a, (Floats)b);
}
[[gnu::always_inline]] inline OwnVector splatReal(const OwnConstant &c) {
    return (OwnVector)(c.real - Floats{});
}
#endif

struct Add {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return settled(a + firstIfNan(a, b), a, b);
        } else if constexpr (isSigned<D>) {
            using Bits = typename D::Lane;
            const auto sum = as<D>(static_cast<Bits>(static_cast<Bits>(a) + static_cast<Bits>(b)));
            return ((a ^ sum) & (b ^ sum)) < 0 ? endOnSideOf<D>(a) : sum;
        } else {
            return as<D>(a + least(b, complement<D>(a)));
        }
    }
#if defined(OWN_HAS_VECTORS)
    template <Number D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return byFloats(a, b, [](Floats x, Floats y) { return x + firstIfNan(x, y); });
        } else {
            return ownAddClamped<D>(a, b);
        }
    }
#endif
};

struct Subtract {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return settled(a - b, a, b);
        } else if constexpr (isSigned<D>) {
            using Bits = typename D::Lane;
            const auto difference = as<D>(static_cast<Bits>(static_cast<Bits>(a) - static_cast<Bits>(b)));
            return ((a ^ b) & (a ^ difference)) < 0 ? endOnSideOf<D>(a) : difference;
        } else {
            return as<D>(a - least(a, b));
        }
    }
#if defined(OWN_HAS_VECTORS)
    template <Number D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return byFloats(a, b, [](Floats x, Floats y) { return x - y; });
        } else {
            return ownSubtractClamped<D>(a, b);
        }
    }
#endif
};

// A product of 32-bit samples in double precision: exact wherever it is within the range.
[[gnu::always_inline]] inline int32_t clampedProduct(int32_t a, int32_t b) {
    double product = static_cast<double>(a) * static_cast<double>(b);
    product = product > 2147483647.0 ? 2147483647.0 : product;
    product = product < -2147483648.0 ? -2147483648.0 : product;
    return static_cast<int32_t>(product);
}

// A product in twice the width, clamped.
template <class D>
[[gnu::always_inline]] inline typename D::Value clampedWide(typename D::Wide p) {
    using Wide = typename D::Wide;
    p = p > static_cast<Wide>(D::high) ? static_cast<Wide>(D::high) : p;
    if constexpr (isSigned<D>) p = p < static_cast<Wide>(D::low) ? static_cast<Wide>(D::low) : p;
    return as<D>(p);
}

template <class D>
[[gnu::always_inline]] inline typename D::Value product(typename D::Value a, typename D::Value b) {
    using Wide = typename D::Wide;
    return clampedWide<D>(static_cast<Wide>(static_cast<Wide>(a) * static_cast<Wide>(b)));
}

struct Multiply {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return settled(a * firstIfNan(a, b), a, b);
        } else if constexpr (sizeof(typename D::Value) == 4) {
            return clampedProduct(a, b);
        } else {
            return product<D>(a, b);
        }
    }
#if defined(OWN_HAS_VECTORS)
    template <Number D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return byFloats(a, b, [](Floats x, Floats y) { return x * firstIfNan(x, y); });
        } else {
            return ownMultiplyClamped<D>(a, b);
        }
    }
#endif
};

struct MultiplyS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        if constexpr (isFloat<D>) {
            return settled(a * firstIfNan(a, c.real), a, c.real);
        } else if constexpr (sizeof(typename D::Value) == 4) {
            return clampedProduct(a, static_cast<int32_t>(c.value));
        } else {
            // The factor may be one beyond the range, and so has the wide type.
            using Wide = typename D::Wide;
            return clampedWide<D>(static_cast<Wide>(static_cast<Wide>(a) * static_cast<Wide>(c.value)));
        }
    }
#if defined(OWN_HAS_VECTORS)
    template <Number D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        if constexpr (isFloat<D>) {
            return Multiply::vector<D>(a, splatReal(c), c);
        } else if constexpr (ownIsOneOf<D, Own8S>) {
            // A factor of 128 is none of the samples: words have it.
            const OwnVector factor = ownSplat<Own16S>(c.value), sign = OWN_VECTOR(cmpgt, epi8)(ownZero(), a);
            return OWN_VECTOR(packs, epi16)(OWN_VECTOR(mullo, epi16)(OWN_VECTOR(unpacklo, epi8)(a, sign), factor),
                                            OWN_VECTOR(mullo, epi16)(OWN_VECTOR(unpackhi, epi8)(a, sign), factor));
        } else if constexpr (ownIsOneOf<D, Own16S>) {
            // One of 32768 is the sum of two halves.
            const uint32_t half = c.value >> 1, rest = c.value - half;
            const OwnVector factors = ownSplat<Own32S>((half & 0xFFFF) | rest << 16);
            return OWN_VECTOR(packs, epi32)(OWN_VECTOR(madd, epi16)(OWN_VECTOR(unpacklo, epi16)(a, a), factors),
                                            OWN_VECTOR(madd, epi16)(OWN_VECTOR(unpackhi, epi16)(a, a), factors));
        } else {
            return ownMultiplyClamped<D>(a, ownSplat<D>(c.value));
        }
    }
#endif
};

struct And {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a & b);
    }
};

struct Or {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a | b);
    }
};

struct Xor {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a ^ b);
    }
};

struct AndValue {
    template <class W>
    static W word(W a, W, W value) {
        return static_cast<W>(a & value);
    }
};
struct OrValue {
    template <class W>
    static W word(W a, W, W value) {
        return static_cast<W>(a | value);
    }
};
struct XorValue {
    template <class W>
    static W word(W a, W, W value) {
        return static_cast<W>(a ^ value);
    }
};

// a - b of single bits that do not go below 0.
struct AndNot {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a & ~b);
    }
};

// Processors have no shifts of bytes: those of words do, with the bits from the neighbours cut off.
struct ShiftLeft {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(static_cast<typename D::Lane>(a) << c.value);
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSmall D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const OwnVector shifted = OWN_VECTOR(sll, epi16)(a, _mm_cvtsi32_si128(static_cast<int>(c.value)));
        if constexpr (sizeof(typename D::Value) == 2) return shifted;
        return ownAnd(shifted, ownSplat<D>(0xFFu << c.value));
    }
#endif
};

struct ShiftRight {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(a >> c.value);
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSmall D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const __m128i count = _mm_cvtsi32_si128(static_cast<int>(c.value));
        if constexpr (ownIsOneOf<D, Own16S>) return OWN_VECTOR(sra, epi16)(a, count);
        const OwnVector shifted = OWN_VECTOR(srl, epi16)(a, count);
        if constexpr (sizeof(typename D::Value) == 2) return shifted;
        const OwnVector bits = ownAnd(shifted, ownSplat<D>(0xFFu >> c.value));
        if constexpr (ownIsOneOf<D, Own8U>) return bits;
        // The sign goes down with the other bits, and is spread upwards again.
        const OwnVector sign = ownSplat<D>(0x80u >> c.value);
        return OWN_VECTOR(sub, epi8)(ownXor(bits, sign), sign);
    }
#endif
};

// The four ways to add to or subtract from 8- and 16-bit samples, all on unsigned values.
struct AddUp {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((u + least(as<D>(c.value), complement<D>(u))) ^ as<D>(c.bias));
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSmall D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const OwnVector bias = ownSplat<D>(c.bias);
        return ownXor(ownAddClamped<D>(ownXor(a, bias), ownSplat<D>(c.value)), bias);
    }
#endif
};
struct TakeDown {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((u - least(u, as<D>(c.value))) ^ as<D>(c.bias));
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSmall D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const OwnVector bias = ownSplat<D>(c.bias);
        return ownXor(ownSubtractClamped<D>(ownXor(a, bias), ownSplat<D>(c.value)), bias);
    }
#endif
};
struct FromValue {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((as<D>(c.value) - least(u, as<D>(c.value))) ^ as<D>(c.bias));
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSmall D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const OwnVector bias = ownSplat<D>(c.bias);
        return ownXor(ownSubtractClamped<D>(ownSplat<D>(c.value), ownXor(a, bias)), bias);
    }
#endif
};
struct FromAbove {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((complement<D>(u) + least(u, as<D>(c.value))) ^ as<D>(c.bias));
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSmall D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const OwnVector bias = ownSplat<D>(c.bias), value = ownSplat<D>(c.value);
        return ownXor(ownNot(ownSubtractClamped<D>(ownXor(a, bias), value)), bias);
    }
#endif
};

template <class D>
[[gnu::always_inline]] inline typename D::Value constantOf(const OwnConstant &c) {
    if constexpr (isFloat<D>) {
        return c.real;
    } else {
        return as<D>(c.value);
    }
}

#if defined(OWN_HAS_VECTORS)
// Sums and differences with a constant leave the range of 32 bits on one side only, which is known beforehand: where
// samples pass a bound upwards, or, with all bits turned over, downwards.
struct OneSide {
    OwnVector turned, bound, end;
    [[gnu::always_inline]] static OneSide above(uint32_t bound, bool end) { return make(0, bound, end); }
    [[gnu::always_inline]] static OneSide below(uint32_t bound, bool end) { return make(~0u, ~bound, end); }
    [[gnu::always_inline]] static OneSide make(uint32_t turned, uint32_t bound, bool highest) {
        return {ownSplat<Own32S>(turned), ownSplat<Own32S>(bound), ownSplat<Own32S>(0x80000000u - highest)};
    }
    [[gnu::always_inline]] OwnVector clamp(OwnVector a, OwnVector result) const {
        return ownChoose(OWN_VECTOR(cmpgt, epi32)(ownXor(a, turned), bound), end, result);
    }
};
constexpr uint32_t lowest32 = 0x80000000u, highest32 = 0x7FFFFFFFu;
[[gnu::always_inline]] inline bool isNegative(uint32_t value) {
    return value > highest32;
}
#endif

struct AddS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return Add::f<D>(a, constantOf<D>(c), c);
    }
#if defined(OWN_HAS_VECTORS)
    template <Real D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        return Add::vector<D>(a, splatReal(c), c);
    }
    template <OwnWide D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const uint32_t value = c.value;
        const OneSide side =
            isNegative(value) ? OneSide::below(lowest32 - value, false) : OneSide::above(highest32 - value, true);
        return side.clamp(a, OWN_VECTOR(add, epi32)(a, ownSplat<D>(value)));
    }
#endif
};
struct SubtractS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return Subtract::f<D>(a, constantOf<D>(c), c);
    }
#if defined(OWN_HAS_VECTORS)
    template <Real D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        return Subtract::vector<D>(a, splatReal(c), c);
    }
    template <OwnWide D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const uint32_t value = c.value;
        const OneSide side =
            isNegative(value) ? OneSide::above(highest32 + value, true) : OneSide::below(lowest32 + value, false);
        return side.clamp(a, OWN_VECTOR(sub, epi32)(a, ownSplat<D>(value)));
    }
#endif
};
struct SubtractFrom {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return Subtract::f<D>(constantOf<D>(c), a, c);
    }
#if defined(OWN_HAS_VECTORS)
    template <Real D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        return Subtract::vector<D>(splatReal(c), a, c);
    }
    template <OwnWide D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &c) {
        const uint32_t value = c.value;
        const OneSide side =
            isNegative(value) ? OneSide::above(value - lowest32, false) : OneSide::below(value - highest32, true);
        return side.clamp(a, OWN_VECTOR(sub, epi32)(ownSplat<D>(value), a));
    }
#endif
};

struct Square {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return a * a;
        } else if constexpr (sizeof(typename D::Value) == 4) {
            return clampedProduct(a, a);
        } else {
            return product<D>(a, a);
        }
    }
#if defined(OWN_HAS_VECTORS)
    template <Real D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &) {
        return byFloats(a, a, [](Floats x, Floats y) { return x * y; });
    }
    template <OwnInteger D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &) {
        if constexpr (!ownIsOneOf<D, Own32S>) return ownMultiplyClamped<D>(a, a);
        // The largest root is 46340.
        const OwnVector root = ownSplat<D>(46340);
        const OwnVector over = ownOr(OWN_VECTOR(cmpgt, epi32)(a, root),
                                     OWN_VECTOR(cmpgt, epi32)(OWN_VECTOR(sub, epi32)(ownZero(), root), a));
        return ownOr(ownAndNot(ownMultiplyLow(a, a), over), OWN_VECTOR(srli, epi32)(over, 1));
    }
#endif
};

struct Absolute {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &) {
        // The complement of the most negative value is the largest one: what is one too small is mended by adding the
        // sign where there is room.
        using Bits = typename D::Lane;
        constexpr auto lowest = as<D>(static_cast<Bits>(Bits{1} << (8 * sizeof(Bits) - 1)));
        const auto positive = as<D>(static_cast<Bits>(Bits{0} - static_cast<Bits>(a)));
        return a == lowest ? as<D>(~a) : a < 0 ? positive : a;
    }
#if defined(OWN_HAS_VECTORS)
    template <OwnSigned D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &) {
        if constexpr (ownIsOneOf<D, Own32S>) {
            const OwnVector sign = ownSigns32(a), positive = OWN_VECTOR(sub, epi32)(ownXor(a, sign), sign);
            return OWN_VECTOR(add, epi32)(positive, ownSigns32(positive));
        } else {
            const OwnVector sign =
                ownIsOneOf<D, Own8S> ? OWN_VECTOR(cmpgt, epi8)(ownZero(), a) : OWN_VECTOR(srai, epi16)(a, 15);
            return ownSubtractClamped<D>(ownXor(a, sign), sign);
        }
    }
#endif
};

// The sign of a float is its top bit, that of NaN and zero too.
struct DropSign {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &) {
        return a & 0x7FFFFFFFu;
    }
#if defined(OWN_HAS_VECTORS)
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &) {
        return ownAnd(a, ownSplat<D>(0x7FFFFFFF));
    }
#endif
};

template <class D, class F>
constexpr OwnRowForms two = ownBinary<D, F>;
template <class D, class F>
constexpr OwnRowForms one = ownUnary<D, F>;
template <class D, class F>
constexpr OwnRowForms logic = OwnLogicForms<F, D>::forms;
constexpr OwnRowForms none = {nullptr, nullptr, nullptr};

}  // namespace

// In the order 1U, 8U, 8S, 16U, 16S, 32S, 32F.
extern const OwnArithRows arithRows;
const OwnArithRows arithRows = {
    .add = {none, two<Own8U, Add>, two<Own8S, Add>, two<Own16U, Add>, two<Own16S, Add>, two<Own32S, Add>,
            two<Own32F, Add>},
    .subtract = {logic<Own8U, AndNot>, two<Own8U, Subtract>, two<Own8S, Subtract>, two<Own16U, Subtract>,
                 two<Own16S, Subtract>, two<Own32S, Subtract>, two<Own32F, Subtract>},
    .multiply = {none, two<Own8U, Multiply>, two<Own8S, Multiply>, two<Own16U, Multiply>, two<Own16S, Multiply>,
                 two<Own32S, Multiply>, two<Own32F, Multiply>},
    .bitAnd = {logic<Own8U, And>, logic<Own8U, And>, logic<Own8U, And>, logic<Own16U, And>, logic<Own16U, And>,
               logic<Own32U, And>, none},
    .bitOr = {logic<Own8U, Or>, logic<Own8U, Or>, logic<Own8U, Or>, logic<Own16U, Or>, logic<Own16U, Or>,
              logic<Own32U, Or>, none},
    .bitXor = {logic<Own8U, Xor>, logic<Own8U, Xor>, logic<Own8U, Xor>, logic<Own16U, Xor>, logic<Own16U, Xor>,
               logic<Own32U, Xor>, none},
    .andS = {logic<Own8U, AndValue>, logic<Own8U, AndValue>, logic<Own8U, AndValue>, logic<Own16U, AndValue>,
             logic<Own16U, AndValue>, logic<Own32U, AndValue>, none},
    .orS = {logic<Own8U, OrValue>, logic<Own8U, OrValue>, logic<Own8U, OrValue>, logic<Own16U, OrValue>,
            logic<Own16U, OrValue>, logic<Own32U, OrValue>, none},
    .xorS = {logic<Own8U, XorValue>, logic<Own8U, XorValue>, logic<Own8U, XorValue>, logic<Own16U, XorValue>,
             logic<Own16U, XorValue>, logic<Own32U, XorValue>, none},
    .shiftLeft = {none, one<Own8U, ShiftLeft>, one<Own8U, ShiftLeft>, one<Own16U, ShiftLeft>, one<Own16U, ShiftLeft>,
                  one<Own32U, ShiftLeft>, none},
    .shiftRight = {none, one<Own8U, ShiftRight>, one<Own8S, ShiftRight>, one<Own16U, ShiftRight>,
                   one<Own16S, ShiftRight>, one<Own32S, ShiftRight>, none},
    .multiplyS = {none, one<Own8U, MultiplyS>, one<Own8S, MultiplyS>, one<Own16U, MultiplyS>, one<Own16S, MultiplyS>,
                  one<Own32S, MultiplyS>, one<Own32F, MultiplyS>},
    .addUp = {none, one<Own8U, AddUp>, one<Own8U, AddUp>, one<Own16U, AddUp>, one<Own16U, AddUp>, none, none},
    .takeDown = {none, one<Own8U, TakeDown>, one<Own8U, TakeDown>, one<Own16U, TakeDown>, one<Own16U, TakeDown>, none,
                 none},
    .fromValue = {none, one<Own8U, FromValue>, one<Own8U, FromValue>, one<Own16U, FromValue>, one<Own16U, FromValue>,
                  none, none},
    .fromAbove = {none, one<Own8U, FromAbove>, one<Own8U, FromAbove>, one<Own16U, FromAbove>, one<Own16U, FromAbove>,
                  none, none},
    .addS = {none, none, none, none, none, one<Own32S, AddS>, one<Own32F, AddS>},
    .subtractS = {none, none, none, none, none, one<Own32S, SubtractS>, one<Own32F, SubtractS>},
    .subtractFrom = {none, none, none, none, none, one<Own32S, SubtractFrom>, one<Own32F, SubtractFrom>},
    .square = {none, one<Own8U, Square>, one<Own8S, Square>, one<Own16U, Square>, one<Own16S, Square>,
               one<Own32S, Square>, one<Own32F, Square>},
    .absolute = {none, none, one<Own8S, Absolute>, none, one<Own16S, Absolute>, one<Own32S, Absolute>,
                 one<Own32U, DropSign>},
};

}  // namespace OWN_LEVEL
