// Row kernels of arithmetic and logic, compiled once for each CPU level. Every result is the exact one, clamped; the
// forms are those that vectorise without widening.
#include "arith/ownarith.h"
#include "frame/ownforms.h"
#include "frame/ownlogic.h"
#include "frame/ownvector.h"

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

struct Add {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return a + firstIfNan(a, b);
        } else if constexpr (isSigned<D>) {
            using Bits = typename D::Lane;
            const auto sum = as<D>(static_cast<Bits>(static_cast<Bits>(a) + static_cast<Bits>(b)));
            return ((a ^ sum) & (b ^ sum)) < 0 ? endOnSideOf<D>(a) : sum;
        } else {
            return as<D>(a + least(b, complement<D>(a)));
        }
    }
};

struct Subtract {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        if constexpr (isFloat<D>) {
            return a - b;
        } else if constexpr (isSigned<D>) {
            using Bits = typename D::Lane;
            const auto difference = as<D>(static_cast<Bits>(static_cast<Bits>(a) - static_cast<Bits>(b)));
            return ((a ^ b) & (a ^ difference)) < 0 ? endOnSideOf<D>(a) : difference;
        } else {
            return as<D>(a - least(a, b));
        }
    }
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
            return a * firstIfNan(a, b);
        } else if constexpr (sizeof(typename D::Value) == 4) {
            return clampedProduct(a, b);
        } else {
            return product<D>(a, b);
        }
    }
};

#if defined(OWN_HAS_VECTORS)
// What processors have for signed saturation and for products of 16 bits.
struct AddVector8 {
    static OwnVector vector(OwnVector a, OwnVector b) { return OWN_VECTOR(adds, epi8)(a, b); }
};
struct AddVector16 {
    static OwnVector vector(OwnVector a, OwnVector b) { return OWN_VECTOR(adds, epi16)(a, b); }
};
struct SubtractVector8 {
    static OwnVector vector(OwnVector a, OwnVector b) { return OWN_VECTOR(subs, epi8)(a, b); }
};
struct SubtractVector16 {
    static OwnVector vector(OwnVector a, OwnVector b) { return OWN_VECTOR(subs, epi16)(a, b); }
};
// A product's two halves are one instruction each.
struct MultiplyVector16S {
    static OwnVector vector(OwnVector a, OwnVector b) {
        const OwnVector low = OWN_VECTOR(mullo, epi16)(a, b), high = OWN_VECTOR(mulhi, epi16)(a, b);
        return OWN_VECTOR(packs, epi32)(OWN_VECTOR(unpacklo, epi16)(low, high), OWN_VECTOR(unpackhi, epi16)(low, high));
    }
};
struct MultiplyVector16U {
    static OwnVector vector(OwnVector a, OwnVector b) {
        const OwnVector low = OWN_VECTOR(mullo, epi16)(a, b), high = OWN_VECTOR(mulhi, epu16)(a, b);
        return ownOr(low, ownNot(OWN_VECTOR(cmpeq, epi16)(high, ownZero())));
    }
};
#define OWN_VECTOR_FORMS(D, F, Plain) OwnVectorBinary<D, F, Plain>::forms
#else
#define OWN_VECTOR_FORMS(D, F, Plain) OwnBinary<D, Plain>::forms
#endif

struct MultiplyS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        if constexpr (isFloat<D>) {
            return a * firstIfNan(a, c.real);
        } else if constexpr (sizeof(typename D::Value) == 4) {
            return clampedProduct(a, static_cast<int32_t>(c.value));
        } else {
            // The factor may be one beyond the range, and so has the wide type.
            using Wide = typename D::Wide;
            return clampedWide<D>(static_cast<Wide>(static_cast<Wide>(a) * static_cast<Wide>(c.value)));
        }
    }
};

struct And {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a & b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return as<D>(a & b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(a & as<D>(c.value));
    }
};

struct Or {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a | b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return as<D>(a | b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(a | as<D>(c.value));
    }
};

struct Xor {
    template <class W>
    static W word(W a, W b, W) {
        return static_cast<W>(a ^ b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return as<D>(a ^ b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(a ^ as<D>(c.value));
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

// Shifts of 16 and 32 bits.
struct ShiftLeft {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(static_cast<typename D::Lane>(a) << c.value);
    }
};

struct ShiftRight {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(a >> c.value);
    }
};

// Shifts of bytes, for which processors have no instruction: on words of eight, with the bits from the neighbours cut
// off.
constexpr uint64_t everyByte = 0x0101010101010101u;

struct ShiftBytesLeft {
    static uint64_t word(uint64_t w, unsigned shift) { return w << shift & everyByte * (0xFFu << shift & 0xFF); }
};
struct ShiftBytesRight {
    static uint64_t word(uint64_t w, unsigned shift) { return w >> shift & everyByte * (0xFFu >> shift); }
};
// Signed bytes are shifted with 128 added, of which 128 >> shift is left to take off again. The top bit, free after the
// shift, keeps that from borrowing.
struct ShiftSignedBytesRight {
    static uint64_t word(uint64_t w, unsigned shift) {
        constexpr uint64_t top = everyByte * 0x80;
        const uint64_t shifted = (w ^ top) >> shift & everyByte * (0xFFu >> shift);
        return ((shifted | top) - everyByte * (0x80u >> shift)) ^ top;
    }
};

template <class F>
struct ShiftBlock {
    static void block(const char *a, const char *, void *d, const OwnConstant &c) {
        // Taken in before any is stored: the destination may be the source.
        uint64_t words[8];
        __builtin_memcpy(words, a, sizeof words);
        for (uint64_t &word : words)
            word = F::word(word, c.value);
        __builtin_memcpy(d, words, sizeof words);
    }
    static void tail(const char *a, const char *, void *d, size_t n, const OwnConstant &c) {
        const unsigned char *bytes = reinterpret_cast<const unsigned char *>(a);
        for (size_t i = 0; i < n; ++i) {
            static_cast<unsigned char *>(d)[i] = static_cast<unsigned char>(F::word(bytes[i], c.value));
        }
    }
};
template <class F>
using ShiftBytes = OwnBlockForms<Own8U, ShiftBlock<F>>;

// The four ways to add to or subtract from 8- and 16-bit samples, all on unsigned values.
struct AddUp {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((u + least(as<D>(c.value), complement<D>(u))) ^ as<D>(c.bias));
    }
};
struct TakeDown {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((u - least(u, as<D>(c.value))) ^ as<D>(c.bias));
    }
};
struct FromValue {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((as<D>(c.value) - least(u, as<D>(c.value))) ^ as<D>(c.bias));
    }
};
struct FromAbove {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((complement<D>(u) + least(u, as<D>(c.value))) ^ as<D>(c.bias));
    }
};

template <class D>
[[gnu::always_inline]] inline typename D::Value constantOf(const OwnConstant &c) {
    if constexpr (isFloat<D>) {
        return c.real;
    } else {
        return as<D>(c.value);
    }
}

struct AddS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return Add::f<D>(a, constantOf<D>(c), c);
    }
};
struct SubtractS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return Subtract::f<D>(a, constantOf<D>(c), c);
    }
};
struct SubtractFrom {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return Subtract::f<D>(constantOf<D>(c), a, c);
    }
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
};

// The sign of a float is its top bit, that of NaN and zero too.
struct DropSign {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &) {
        return a & 0x7FFFFFFFu;
    }
};

template <class D, class F>
constexpr OwnRowForms two = OwnBinary<D, F>::forms;
template <class D, class F>
constexpr OwnRowForms one = OwnUnary<D, F>::forms;
constexpr OwnRowForms none = {nullptr, nullptr, nullptr};

}  // namespace

// In the order 1U, 8U, 8S, 16U, 16S, 32S, 32F.
extern const OwnArithRows arithRows;
const OwnArithRows arithRows = {
    .add = {none, two<Own8U, Add>, OWN_VECTOR_FORMS(Own8S, AddVector8, Add), two<Own16U, Add>,
            OWN_VECTOR_FORMS(Own16S, AddVector16, Add), two<Own32S, Add>, two<Own32F, Add>},
    .subtract = {OwnLogicForms<AndNot>::forms, two<Own8U, Subtract>, OWN_VECTOR_FORMS(Own8S, SubtractVector8, Subtract),
                 two<Own16U, Subtract>, OWN_VECTOR_FORMS(Own16S, SubtractVector16, Subtract), two<Own32S, Subtract>,
                 two<Own32F, Subtract>},
    .multiply = {none, two<Own8U, Multiply>, two<Own8S, Multiply>,
                 OWN_VECTOR_FORMS(Own16U, MultiplyVector16U, Multiply),
                 OWN_VECTOR_FORMS(Own16S, MultiplyVector16S, Multiply), two<Own32S, Multiply>, two<Own32F, Multiply>},
    .bitAnd = {OwnLogicForms<And>::forms, OwnLogicForms<And>::forms, OwnLogicForms<And>::forms, two<Own16U, And>,
               two<Own16U, And>, two<Own32U, And>, none},
    .bitOr = {OwnLogicForms<Or>::forms, OwnLogicForms<Or>::forms, OwnLogicForms<Or>::forms, two<Own16U, Or>,
              two<Own16U, Or>, two<Own32U, Or>, none},
    .bitXor = {OwnLogicForms<Xor>::forms, OwnLogicForms<Xor>::forms, OwnLogicForms<Xor>::forms, two<Own16U, Xor>,
               two<Own16U, Xor>, two<Own32U, Xor>, none},
    .andS = {OwnLogicForms<AndValue>::forms, OwnLogicForms<AndValue>::forms, OwnLogicForms<AndValue>::forms,
             one<Own16U, And>, one<Own16U, And>, one<Own32U, And>, none},
    .orS = {OwnLogicForms<OrValue>::forms, OwnLogicForms<OrValue>::forms, OwnLogicForms<OrValue>::forms,
            one<Own16U, Or>, one<Own16U, Or>, one<Own32U, Or>, none},
    .xorS = {OwnLogicForms<XorValue>::forms, OwnLogicForms<XorValue>::forms, OwnLogicForms<XorValue>::forms,
             one<Own16U, Xor>, one<Own16U, Xor>, one<Own32U, Xor>, none},
    .shiftLeft = {none, ShiftBytes<ShiftBytesLeft>::forms, ShiftBytes<ShiftBytesLeft>::forms, one<Own16U, ShiftLeft>,
                  one<Own16U, ShiftLeft>, one<Own32U, ShiftLeft>, none},
    .shiftRight = {none, ShiftBytes<ShiftBytesRight>::forms, ShiftBytes<ShiftSignedBytesRight>::forms,
                   one<Own16U, ShiftRight>, one<Own16S, ShiftRight>, one<Own32S, ShiftRight>, none},
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
