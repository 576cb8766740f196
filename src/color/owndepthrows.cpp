// Row kernels of changes of depth and of thresholds, compiled once for each CPU level.
#include "color/owndepthrows.h"

#include "frame/ownsample.h"

namespace OWN_LEVEL {
namespace {

// The forms of an element function d = F::f(a, constants), the constants being what F makes of a row's.
template <class S, class T, class F>
struct Forms {
    using From = typename S::Sample;
    using To = typename T::Sample;

    [[gnu::always_inline]] static void run(const From *a, To *d, size_t n, const F &f) {
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = f(static_cast<typename S::Value>(a[i]));
    }
    static void plain(const void *a, const void *, void *d, size_t n, const OwnConstant &c) {
        run(static_cast<const From *>(a), static_cast<To *>(d), n, F(c));
    }
    static void streamed(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
        const From *a = static_cast<const From *>(a_);
        To *d = static_cast<To *>(d_);
        const F f(c);
        ownStreamRow<To>(
            d_, n, [&](size_t i, size_t count) { run(a + i, d + i, count, f); },
            [&](size_t i, void *values) {
                run(a + i, static_cast<To *>(values), OWN_STREAM_BLOCK / sizeof(typename T::Value), f);
            });
    }
    static constexpr OwnMixedForms forms = {plain, streamed};
};

// The nearest number that a depth has.
template <class T>
struct Clamped {
    explicit Clamped(const OwnConstant &) {}
    template <class V>
    [[gnu::always_inline]] typename T::Value operator()(V a) const {
        if constexpr (sizeof(typename T::Value) == 4) {
            return a;
        } else {
            const int value = a;
            return static_cast<typename T::Value>(value < T::low ? T::low : value > T::high ? T::high : value);
        }
    }
};

// The same place in a range of other width. W are unsigned types.
template <class From, class To>
struct Placed {
    explicit Placed(const OwnConstant &c) : from(static_cast<From>(c.value)), to(static_cast<To>(c.bias)) {}
    [[gnu::always_inline]] To operator()(From a) const {
        constexpr int bits = 8 * sizeof(From), wanted = 8 * sizeof(To);
        const auto u = static_cast<From>(a ^ from);
        if constexpr (wanted <= bits) {
            return static_cast<To>(static_cast<To>(u >> (bits - wanted)) ^ to);
        } else {
            constexpr auto repeat = static_cast<To>(static_cast<To>(~To{0}) / static_cast<From>(~From{0}));
            return static_cast<To>(static_cast<To>(u * repeat) ^ to);
        }
    }
    From from;
    To to;
};

template <class D, class To>
struct AtOrAbove {
    explicit AtOrAbove(const OwnConstant &c)
        : threshold(static_cast<typename D::Value>(c.value)), bias(static_cast<To>(c.bias)) {}
    [[gnu::always_inline]] To operator()(typename D::Value a) const {
        return static_cast<To>((a >= threshold ? static_cast<To>(~To{0}) : To{0}) ^ bias);
    }
    typename D::Value threshold;
    To bias;
};

template <class D>
void thresholdBits(const void *a_, const void *, void *d, size_t n, const OwnConstant &c) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const auto threshold = static_cast<typename D::Value>(c.value);
    uint8_t *bits = static_cast<uint8_t *>(d);
    for (size_t i = 0; i < n; i += 8) {
        unsigned byte = 0;
        for (size_t k = i; k < i + 8 && k < n; ++k)
            byte |= a[k] >= threshold ? 128u >> (k - i) : 0u;
        bits[i / 8] = static_cast<uint8_t>(byte);
    }
}

template <class D>
void fromBits(const void *a, const void *, void *d_, size_t n, const OwnConstant &c) {
    const uint8_t *bits = static_cast<const uint8_t *>(a);
    typename D::Sample *d = static_cast<typename D::Sample *>(d_);
    const auto one = static_cast<typename D::Value>(c.value), zero = static_cast<typename D::Value>(c.bias);
    for (size_t i = 0; i < n; ++i)
        d[i] = (bits[i / 8] >> (7 - i % 8) & 1) != 0 ? one : zero;
}

struct ToReal {
    explicit ToReal(const OwnConstant &c) : scale(*static_cast<const OwnRealScale *>(c.table)) {}
    template <class V>
    [[gnu::always_inline]] float operator()(V a) const {
        return static_cast<float>(static_cast<double>(a) * scale.step + scale.offset);
    }
    OwnRealScale scale;
};

template <class T>
constexpr double lowest() {
    if constexpr (sizeof(typename T::Value) == 4)
        return -2147483648.0;
    else
        return T::low;
}
template <class T>
constexpr double highest() {
    if constexpr (sizeof(typename T::Value) == 4)
        return 2147483647.0;
    else
        return T::high;
}

template <class T>
struct FromReal {
    explicit FromReal(const OwnConstant &c) : scale(*static_cast<const OwnRealScale *>(c.table)) {}
    [[gnu::always_inline]] typename T::Value operator()(float a) const {
        constexpr double low = lowest<T>(), high = highest<T>();
        const float clamped = a < scale.low ? scale.low : a > scale.high ? scale.high : a;
        const double value =
            (static_cast<double>(clamped) - static_cast<double>(scale.low)) * scale.step + scale.offset;
        return static_cast<typename T::Value>(__builtin_lrint(!(value > low) ? low : value > high ? high : value));
    }
    OwnRealScale scale;
};

void copyBytes(const void *a, const void *, void *d, size_t n, const OwnConstant &) {
    __builtin_memmove(d, a, n);
}

template <class S, class T>
constexpr OwnMixedForms converted = Forms<S, T, Clamped<T>>::forms;
template <class S, class T>
constexpr OwnMixedForms scaled = Forms<S, T, Placed<typename S::Value, typename T::Value>>::forms;
template <class S, class T>
constexpr OwnMixedForms atOrAbove = Forms<S, T, AtOrAbove<S, typename T::Value>>::forms;

template <class D>
constexpr OwnMixedForms toReal = Forms<D, Own32F, ToReal>::forms;
template <class D>
constexpr OwnMixedForms fromReal = Forms<Own32F, D, FromReal<D>>::forms;

// For each depth of whole numbers, in their order.
#define EACH_WHOLE(of) of(Own8U), of(Own8S), of(Own16U), of(Own16S), of(Own32S)

}  // namespace

extern const OwnDepthRows depthRows;
const OwnDepthRows depthRows = {
#define CONVERTED(S) \
    { converted<S, Own8U>, converted<S, Own8S>, converted<S, Own16U>, converted<S, Own16S>, converted<S, Own32S> }
    .convert = {EACH_WHOLE(CONVERTED)},
    .scale = {{scaled<Own8U, Own8U>, scaled<Own8U, Own16U>, scaled<Own8U, Own32U>},
              {scaled<Own16U, Own8U>, scaled<Own16U, Own16U>, scaled<Own16U, Own32U>},
              {scaled<Own32U, Own8U>, scaled<Own32U, Own16U>, {}}},
#define AT_OR_ABOVE(S) \
    { atOrAbove<S, Own8U>, atOrAbove<S, Own16U>, atOrAbove<S, Own32U> }
    .threshold = {EACH_WHOLE(AT_OR_ABOVE)},
#define BITS(S) \
    { thresholdBits<S>, nullptr }
    .thresholdBits = {EACH_WHOLE(BITS)},
    .fromBits = {{fromBits<Own8U>, nullptr}, {fromBits<Own16U>, nullptr}, {fromBits<Own32U>, nullptr}},
#define TO_REAL(S) toReal<S>
    .toReal = {EACH_WHOLE(TO_REAL)},
#define FROM_REAL(S) fromReal<S>
    .fromReal = {EACH_WHOLE(FROM_REAL)},
    .copy = {copyBytes, nullptr},
};

}  // namespace OWN_LEVEL
