// Row kernels of arithmetic and logic, compiled once for each CPU level. Every result is the exact one, clamped; the
// forms are those that vectorise without widening.
#include "arith/ownarith.h"
#include "image/ownsample.h"

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
            return as<D>(a + least(b, as<D>(~a)));
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

template <class D>
[[gnu::always_inline]] inline typename D::Value product(typename D::Value a, typename D::Wide b) {
    using Wide = typename D::Wide;
    auto p = static_cast<Wide>(static_cast<Wide>(a) * b);
    p = p > static_cast<Wide>(D::high) ? static_cast<Wide>(D::high) : p;
    if constexpr (isSigned<D>) p = p < static_cast<Wide>(D::low) ? static_cast<Wide>(D::low) : p;
    return as<D>(p);
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

struct MultiplyS {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        if constexpr (isFloat<D>) {
            return a * firstIfNan(a, c.real);
        } else if constexpr (sizeof(typename D::Value) == 4) {
            return clampedProduct(a, static_cast<int32_t>(c.value));
        } else {
            return product<D>(a, static_cast<typename D::Wide>(c.value));
        }
    }
};

struct And {
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
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return as<D>(a ^ b);
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        return as<D>(a ^ as<D>(c.value));
    }
};

// a - b of single bits that do not go below 0.
struct AndNot {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, typename D::Value b, const OwnConstant &) {
        return as<D>(a & ~b);
    }
};

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

// The four ways to add to or subtract from 8- and 16-bit samples, all on unsigned values.
struct AddUp {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &c) {
        const auto u = as<D>(a ^ as<D>(c.bias));
        return as<D>((u + least(as<D>(c.value), as<D>(~u))) ^ as<D>(c.bias));
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
        return as<D>((as<D>(~u) + least(u, as<D>(c.value))) ^ as<D>(c.bias));
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
constexpr OwnRowPair two = OwnBinary<D, F>::pair;
template <class D, class F>
constexpr OwnRowPair one = OwnUnary<D, F>::pair;
constexpr OwnRowPair none = {nullptr, nullptr};

}  // namespace

// In the order 1U, 8U, 8S, 16U, 16S, 32S, 32F.
extern const OwnArithRows arithRows;
const OwnArithRows arithRows = {
    .add = {none, two<Own8U, Add>, two<Own8S, Add>, two<Own16U, Add>, two<Own16S, Add>, two<Own32S, Add>,
            two<Own32F, Add>},
    .subtract = {two<Own8U, AndNot>, two<Own8U, Subtract>, two<Own8S, Subtract>, two<Own16U, Subtract>,
                 two<Own16S, Subtract>, two<Own32S, Subtract>, two<Own32F, Subtract>},
    .multiply = {none, two<Own8U, Multiply>, two<Own8S, Multiply>, two<Own16U, Multiply>, two<Own16S, Multiply>,
                 two<Own32S, Multiply>, two<Own32F, Multiply>},
    .bitAnd = {two<Own8U, And>, two<Own8U, And>, two<Own8U, And>, two<Own16U, And>, two<Own16U, And>, two<Own32U, And>,
               none},
    .bitOr = {two<Own8U, Or>, two<Own8U, Or>, two<Own8U, Or>, two<Own16U, Or>, two<Own16U, Or>, two<Own32U, Or>, none},
    .bitXor = {two<Own8U, Xor>, two<Own8U, Xor>, two<Own8U, Xor>, two<Own16U, Xor>, two<Own16U, Xor>, two<Own32U, Xor>,
               none},
    .andS = {one<Own8U, And>, one<Own8U, And>, one<Own8U, And>, one<Own16U, And>, one<Own16U, And>, one<Own32U, And>,
             none},
    .orS = {one<Own8U, Or>, one<Own8U, Or>, one<Own8U, Or>, one<Own16U, Or>, one<Own16U, Or>, one<Own32U, Or>, none},
    .xorS = {one<Own8U, Xor>, one<Own8U, Xor>, one<Own8U, Xor>, one<Own16U, Xor>, one<Own16U, Xor>, one<Own32U, Xor>,
             none},
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
