// Colour from gray, compiled once for each CPU level.
#include "color/ownwords.h"

namespace OWN_LEVEL {
namespace {

// Weights of any size.
struct AnyWeight {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value gray, int weight, int shift) {
        if constexpr (sizeof(typename D::Value) == 4) {
            const int64_t w = weight, high = 2 * w * (gray >> 16), low = (w * (gray & 0xFFFF)) >> 15;
            const int64_t sum = high + low;
            return static_cast<int32_t>(sum < INT32_MIN ? INT32_MIN : sum > INT32_MAX ? INT32_MAX : sum);
        } else {
            const int64_t product = (int64_t{gray} * weight) >> shift;
            return static_cast<typename D::Value>(product < 0 ? 0 : product > D::high ? D::high : product);
        }
    }
};

// Weights of 0 to 1: nothing leaves the depth.
struct SmallWeight {
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value gray, int weight, int shift) {
        if constexpr (sizeof(typename D::Value) == 4) {
            const int high = 2 * weight * (gray >> 16);
            return high +
                   static_cast<int>((static_cast<unsigned>(weight) * (static_cast<unsigned>(gray) & 0xFFFF)) >> 15);
        } else if constexpr (sizeof(typename D::Value) == 1) {
            return static_cast<uint8_t>(static_cast<uint16_t>(gray * weight) >> 8);
        } else {
            return static_cast<uint16_t>((gray * static_cast<unsigned>(weight)) >> shift);
        }
    }
};

template <class D, class F>
void run(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    const OwnGrayWeights weights = *static_cast<const OwnGrayWeights *>(operation);
    const int red = weights.weight[0], green = weights.weight[1], blue = weights.weight[2], shift = weights.shift;
    const Sample *gray = static_cast<const Sample *>(rows[0]);
    Sample *r = static_cast<Sample *>(rows[1]), *g = static_cast<Sample *>(rows[2]),
           *b = static_cast<Sample *>(rows[3]);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        const typename D::Value sample = gray[i];
        r[i] = F::template f<D>(sample, red, shift);
        g[i] = F::template f<D>(sample, green, shift);
        b[i] = F::template f<D>(sample, blue, shift);
    }
}

// Bytes by small weights: in the upper half of a word, times a weight of at most 256, its upper half is the result.
void smallOfBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const OwnGrayWeights &weights = *static_cast<const OwnGrayWeights *>(operation);
    constexpr size_t width = sizeof(OwnVector);
    const bool isOne = rows[1] == rows[2] && rows[1] == rows[3];
    OwnVector factors[3];
    for (int k = 0; k < 3; ++k)
        factors[k] = ownSplat<Own16U>(static_cast<uint32_t>(weights.weight[k]));
    for (; i + width <= n; i += width) {
        const OwnVector gray = ownLoad(static_cast<const char *>(rows[0]) + i);
        const OwnVector low = OWN_VECTOR(unpacklo, epi8)(ownZero(), gray),
                        high = OWN_VECTOR(unpackhi, epi8)(ownZero(), gray);
        for (int k = 0; k < (isOne ? 1 : 3); ++k) {
            const OwnVector product = OWN_VECTOR(packus, epi16)(OWN_VECTOR(mulhi, epu16)(low, factors[k]),
                                                                OWN_VECTOR(mulhi, epu16)(high, factors[k]));
            ownStore(static_cast<char *>(rows[1 + k]) + i, product);
        }
    }
#endif
    void *rest[4];
    for (int k = 0; k < 4; ++k)
        rest[k] = static_cast<char *>(rows[k]) + i;
    if (i < n) run<Own8U, SmallWeight>(rest, n - i, operation);
}

template <class D>
constexpr OwnPlaneKernel any = run<D, AnyWeight>;
template <class D>
constexpr OwnPlaneKernel small = run<D, SmallWeight>;

}  // namespace

// A set bit comes as 255.
extern const OwnToColorRows toColorRows;
const OwnToColorRows toColorRows = {
    {{nullptr, any<Own8U>},
     {nullptr, any<Own8U>},
     {},
     {nullptr, nullptr, nullptr, any<Own16U>},
     {},
     {nullptr, nullptr, nullptr, nullptr, nullptr, any<Own32S>},
     {}},
    {{nullptr, smallOfBytes},
     {nullptr, smallOfBytes},
     {},
     {nullptr, nullptr, nullptr, small<Own16U>},
     {},
     {nullptr, nullptr, nullptr, nullptr, nullptr, small<Own32S>},
     {}},
};

}  // namespace OWN_LEVEL
