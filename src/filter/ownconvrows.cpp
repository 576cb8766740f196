// Row kernels of the convolution, compiled once for each CPU level. A block of sums stays in registers while all taps
// pass; the order of a sum's additions is that of the taps.
#include <cstring>

#include "filter/ownconv.h"
#include "image/ownsample.h"

namespace OWN_LEVEL {
namespace {

// --------------------------------------------------------------------------------------------------------------- sums

#if defined(__AVX512BW__)
constexpr size_t VECTOR_BYTES = 64;
#elif defined(__AVX2__)
constexpr size_t VECTOR_BYTES = 32;
#else
constexpr size_t VECTOR_BYTES = 16;
#endif

// Vectors of as many samples as a vector of accumulators has.
template <class Accumulator>
struct Vectors {
    static constexpr size_t lanes = VECTOR_BYTES / sizeof(Accumulator);
    typedef Accumulator Sums __attribute__((vector_size(VECTOR_BYTES)));
    typedef int32_t Ints __attribute__((vector_size(VECTOR_BYTES)));
    template <class Value>
    struct Of {
        typedef Value Samples __attribute__((vector_size(lanes * sizeof(Value))));
    };
};

template <class D, class Accumulator>
[[gnu::always_inline]] inline typename Vectors<Accumulator>::Sums loadSamples(const char *at) {
    using V = Vectors<Accumulator>;
    typename V::template Of<typename D::Value>::Samples samples;
    std::memcpy(&samples, at, sizeof samples);
    if constexpr (sizeof(Accumulator) == 4) {
        // Samples become float by way of integers: for that there are instructions.
        if constexpr (!__is_same(typename D::Value, float)) {
            const auto ints = __builtin_convertvector(samples, typename V::Ints);
            return __builtin_convertvector(ints, typename V::Sums);
        } else {
            return samples;
        }
    } else {
        return __builtin_convertvector(samples, typename V::Sums);
    }
}

template <class Accumulator>
[[gnu::always_inline]] inline Accumulator coefficient(const OwnConvTap &tap) {
    if constexpr (__is_same(Accumulator, float)) {
        return tap.real;
    } else {
        return static_cast<Accumulator>(tap.value);
    }
}

// The sums of a few vectors side by side.
template <class D, class Accumulator, size_t vectors>
[[gnu::always_inline]] inline void sumBlock(const OwnConvTap *taps, size_t count, size_t from, char *sums) {
    using V = Vectors<Accumulator>;
    typename V::Sums sum[vectors] = {};
    for (size_t t = 0; t < count; ++t) {
        const char *at = reinterpret_cast<const char *>(taps[t].row) + from * sizeof(typename D::Value);
        const typename V::Sums value = typename V::Sums{} + coefficient<Accumulator>(taps[t]);
#pragma GCC unroll 8
        for (size_t k = 0; k < vectors; ++k)
            sum[k] += loadSamples<D, Accumulator>(at + k * V::lanes * sizeof(typename D::Value)) * value;
    }
#pragma GCC unroll 8
    for (size_t k = 0; k < vectors; ++k)
        std::memcpy(sums + k * VECTOR_BYTES, &sum[k], VECTOR_BYTES);
}

template <class D, class Accumulator>
void sum(const OwnConvTap *taps, size_t count, size_t from, void *sums_, size_t n) {
    constexpr size_t lanes = Vectors<Accumulator>::lanes;
    auto *sums = static_cast<char *>(sums_);
    const auto at = [&](size_t i) { return sums + i * sizeof(Accumulator); };
    size_t i = 0;
    for (; i + 4 * lanes <= n; i += 4 * lanes)
        sumBlock<D, Accumulator, 4>(taps, count, from + i, at(i));
    for (; i + lanes <= n; i += lanes)
        sumBlock<D, Accumulator, 1>(taps, count, from + i, at(i));
    if (i == n) return;
    // What is left: a vector that overlaps the one before, or single samples.
    if (n >= lanes) return sumBlock<D, Accumulator, 1>(taps, count, from + n - lanes, at(n - lanes));
    for (; i < n; ++i) {
        Accumulator one = 0;
        for (size_t t = 0; t < count; ++t) {
            const auto *row = reinterpret_cast<const typename D::Sample *>(taps[t].row);
            one = static_cast<Accumulator>(one +
                                           static_cast<Accumulator>(row[from + i]) * coefficient<Accumulator>(taps[t]));
        }
        std::memcpy(at(i), &one, sizeof one);
    }
}

// ------------------------------------------------------------------------------------------------------ steps on sums

// The nearest integer, ties to even, of a number below 2^31: up to 2^22 the addition leaves no bits behind the point,
// and from there on it would, but there the number has few or none.
inline int32_t roundBelow(float x) {
    constexpr float shifter = 12582912.0f;  // 1.5 x 2^23
    const float magnitude = x < 0 ? -x : x;
    const float rounded = (x + shifter) - shifter;
    return static_cast<int32_t>(magnitude < 4194304.0f ? rounded : __builtin_rintf(x));
}

// As the processor converts: what an int cannot hold becomes the lowest int.
inline int32_t roundToInt(float x) {
    const bool fits = x >= -2147483648.0f && x < 2147483648.0f;
    const int32_t rounded = roundBelow(fits ? x : 0.0f);
    return fits ? rounded : INT32_MIN;
}

template <class T>
void shift(void *sums_, size_t n, int count) {
    auto *sums = static_cast<T *>(sums_);
    for (size_t i = 0; i < n; ++i) {
        if constexpr (__is_same(T, float)) {
            sums[i] = static_cast<float>(roundToInt(sums[i]) >> count);
        } else {
            sums[i] = static_cast<T>(sums[i] >> count);
        }
    }
}

// Integer squares wrap.
template <class T>
inline T squareOf(T v) {
    if constexpr (__is_same(T, float)) {
        return v * v;
    } else {
        return static_cast<T>(static_cast<uint32_t>(v) * static_cast<uint32_t>(v));
    }
}

template <class T>
void square(void *sums_, size_t n) {
    auto *sums = static_cast<T *>(sums_);
    for (size_t i = 0; i < n; ++i)
        sums[i] = squareOf(sums[i]);
}

template <class T>
void absolute(void *sums_, size_t n) {
    auto *sums = static_cast<T *>(sums_);
    for (size_t i = 0; i < n; ++i) {
        if constexpr (__is_same(T, float)) {
            sums[i] = __builtin_fabsf(sums[i]);
        } else {
            sums[i] = static_cast<T>(sums[i] < 0 ? -sums[i] : sums[i]);
        }
    }
}

// Integers add up without a sign, so that they may wrap.
template <class M>
inline M added(M a, M b) {
    if constexpr (__is_same(M, float)) {
        return a + b;
    } else {
        return static_cast<M>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
    }
}

// Of equal values, which may be zeros of either sign, the new one is the larger and the old one the smaller.
template <class T, class M, OwnConvMerge how>
void merge(const void *sums_, void *merged_, size_t n) {
    const auto *sums = static_cast<const T *>(sums_);
    auto *merged = static_cast<M *>(merged_);
    for (size_t i = 0; i < n; ++i) {
        const M v = static_cast<M>(sums[i]), before = merged[i];
        switch (how) {
            case OWN_MERGE_STORE:
                merged[i] = v;
                break;
            case OWN_MERGE_ADD:
                merged[i] = added(before, v);
                break;
            case OWN_MERGE_STORE_SQUARE:
                merged[i] = squareOf(v);
                break;
            case OWN_MERGE_ADD_SQUARE:
                merged[i] = added(before, squareOf(v));
                break;
            case OWN_MERGE_MAX:
                merged[i] = v >= before ? v : before;
                break;
            default:
                merged[i] = v < before ? v : before;
                break;
        }
    }
}

// Roots of integers are of samples of 8 bits, so that those from 256 on need not be told apart: up to there a float
// holds number and root well enough for the right side of every half. A sum of squares that has wrapped to below zero
// has no root, and becomes the lowest integer.
void rootInt(void *merged_, size_t n) {
    auto *merged = static_cast<int32_t *>(merged_);
    for (size_t i = 0; i < n; ++i) {
        const int32_t v = merged[i], within = v < 0 ? 0 : v < 65535 ? v : 65535;
        const float root = __builtin_sqrtf(static_cast<float>(within));
        constexpr float shifter = 12582912.0f;
        const auto rounded = static_cast<int32_t>((root + shifter) - shifter);
        merged[i] = v < 0 ? INT32_MIN : rounded;
    }
}

void rootFloat(void *merged_, size_t n) {
    auto *merged = static_cast<float *>(merged_);
    for (size_t i = 0; i < n; ++i)
        merged[i] = __builtin_sqrtf(merged[i]);
}

// -------------------------------------------------------------------------------------------------------------- stores

struct Bits : Own8U {
    static constexpr int high = 1;
};

template <class D, class T>
void store(const void *sums_, void *out_, size_t n) {
    const auto *sums = static_cast<const T *>(sums_);
    auto *out = static_cast<typename D::Sample *>(out_);
    for (size_t i = 0; i < n; ++i) {
        if constexpr (__is_same(T, float)) {
            constexpr auto low = static_cast<float>(D::low), high = static_cast<float>(D::high);
            constexpr float shifter = 12582912.0f;
            const float above = sums[i] > low ? sums[i] : low;
            const float within = above < high ? above : high;
            out[i] = static_cast<typename D::Value>(static_cast<int32_t>((within + shifter) - shifter));
        } else {
            constexpr auto low = static_cast<T>(D::low), high = static_cast<T>(D::high);
            const T above = sums[i] > low ? sums[i] : low;
            out[i] = static_cast<typename D::Value>(above < high ? above : high);
        }
    }
}

void store32S(const void *sums_, void *out_, size_t n) {
    const auto *sums = static_cast<const float *>(sums_);
    auto *out = static_cast<OwnAnyS32 *>(out_);
    for (size_t i = 0; i < n; ++i)
        out[i] = sums[i] >= 2147483648.0f ? INT32_MAX : roundToInt(sums[i]);
}

void store32F(const void *sums, void *out, size_t n) {
    std::memcpy(out, sums, n * sizeof(float));
}

}  // namespace

extern const OwnConvRows convRows;
#define OWN_SUMS_8(T) sum<Own8U, T>, sum<Own8U, T>, sum<Own8S, T>
#define OWN_STORES_8(T) store<Bits, T>, store<Own8U, T>, store<Own8S, T>
#define OWN_MERGE_FLOAT(how) \
    { merge<int16_t, float, how>, merge<int32_t, float, how>, merge<float, float, how> }
const OwnConvRows convRows = {
    {{OWN_SUMS_8(int16_t), nullptr, nullptr, nullptr, nullptr},
     {OWN_SUMS_8(int32_t), sum<Own16U, int32_t>, sum<Own16S, int32_t>, nullptr, nullptr},
     {OWN_SUMS_8(float), sum<Own16U, float>, sum<Own16S, float>, sum<Own32S, float>, sum<Own32F, float>}},
    {shift<int16_t>, shift<int32_t>, shift<float>},
    {square<int16_t>, square<int32_t>, square<float>},
    {absolute<int16_t>, absolute<int32_t>, absolute<float>},
    {merge<int16_t, int32_t, OWN_MERGE_STORE>, merge<int16_t, int32_t, OWN_MERGE_ADD>,
     merge<int16_t, int32_t, OWN_MERGE_STORE_SQUARE>, merge<int16_t, int32_t, OWN_MERGE_ADD_SQUARE>,
     merge<int16_t, int32_t, OWN_MERGE_MAX>, merge<int16_t, int32_t, OWN_MERGE_MIN>},
    {OWN_MERGE_FLOAT(OWN_MERGE_STORE), OWN_MERGE_FLOAT(OWN_MERGE_ADD), OWN_MERGE_FLOAT(OWN_MERGE_STORE_SQUARE),
     OWN_MERGE_FLOAT(OWN_MERGE_ADD_SQUARE), OWN_MERGE_FLOAT(OWN_MERGE_MAX), OWN_MERGE_FLOAT(OWN_MERGE_MIN)},
    rootInt,
    rootFloat,
    {{OWN_STORES_8(int16_t), nullptr, nullptr, nullptr, nullptr},
     {OWN_STORES_8(int32_t), store<Own16U, int32_t>, store<Own16S, int32_t>, nullptr, nullptr},
     {OWN_STORES_8(float), store<Own16U, float>, store<Own16S, float>, store32S, store32F}},
};

}  // namespace OWN_LEVEL
