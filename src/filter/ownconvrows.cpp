// Row kernels of the convolution behind its sums, compiled once for each CPU level: what becomes of sums, and how they
// are stored.
#include <cstring>

#include "filter/ownconv.h"
#include "frame/ownsample.h"
#include "frame/ownvector.h"

namespace OWN_LEVEL {
namespace {

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

// Sums of floats may stand in the destination, at any address.
template <class T>
struct InPlace {
    typedef T Sum;
};
template <>
struct InPlace<float> {
    typedef OwnAnyF32 Sum;
};

template <class T>
void square(void *sums_, size_t n) {
    typename InPlace<T>::Sum *sums = static_cast<typename InPlace<T>::Sum *>(sums_);
    for (size_t i = 0; i < n; ++i)
        sums[i] = squareOf<T>(sums[i]);
}

template <class T>
void absolute(void *sums_, size_t n) {
    typename InPlace<T>::Sum *sums = static_cast<typename InPlace<T>::Sum *>(sums_);
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

// The length of a gradient: both sums squared, added, and the root of that, from 256 on anything beyond it. Two squares
// of 16 bits do not wrap.
void rootOfTwo(const void *a_, const void *b_, void *roots_, size_t n) {
    const auto *a = static_cast<const int16_t *>(a_);
    const auto *b = static_cast<const int16_t *>(b_);
    auto *roots = static_cast<int16_t *>(roots_);
    size_t i = 0;
#if defined(__AVX2__)
    // The root is the number times its reciprocal root, estimated to 1.5 / 4096 and made better once (Newton): within
    // 2e-4 of the root up to 256, where the root of an integer is no closer than 4e-4 to a half.
    const auto rootOf = [](__m256i squares) {
        const __m256 v = _mm256_min_ps(_mm256_cvtepi32_ps(squares), _mm256_set1_ps(65535.0f));
        const __m256 x = _mm256_max_ps(v, _mm256_set1_ps(1.0f));
        const __m256 r = _mm256_rsqrt_ps(x);
        const __m256 rest = _mm256_sub_ps(_mm256_set1_ps(3.0f), _mm256_mul_ps(_mm256_mul_ps(x, r), r));
        const __m256 better = _mm256_mul_ps(_mm256_mul_ps(r, _mm256_set1_ps(0.5f)), rest);
        return _mm256_cvtps_epi32(_mm256_mul_ps(v, better));
    };
    for (; i + 16 <= n; i += 16) {
        const __m256i va = ownLoad(reinterpret_cast<const char *>(a + i));
        const __m256i vb = ownLoad(reinterpret_cast<const char *>(b + i));
        const __m256i low = _mm256_unpacklo_epi16(va, vb), high = _mm256_unpackhi_epi16(va, vb);
        const __m256i packed =
            _mm256_packs_epi32(rootOf(_mm256_madd_epi16(low, low)), rootOf(_mm256_madd_epi16(high, high)));
        ownStore(reinterpret_cast<char *>(roots + i), packed);
    }
#endif
    for (; i < n; ++i) {
        const int32_t squares = a[i] * a[i] + b[i] * b[i];
        const float root = __builtin_sqrtf(static_cast<float>(squares < 65535 ? squares : 65535));
        constexpr float shifter = 12582912.0f;
        roots[i] = static_cast<int16_t>((root + shifter) - shifter);
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
    typename D::Sample *out = static_cast<typename D::Sample *>(out_);
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
    OwnAnyS32 *out = static_cast<OwnAnyS32 *>(out_);
    for (size_t i = 0; i < n; ++i)
        out[i] = sums[i] >= 2147483648.0f ? INT32_MAX : roundToInt(sums[i]);
}

void store32F(const void *sums, void *out, size_t n) {
    std::memcpy(out, sums, n * sizeof(float));
}

}  // namespace

extern const OwnConvRows convRows;
#define OWN_STORES_8(T) store<Bits, T>, store<Own8U, T>, store<Own8S, T>
#define OWN_MERGE_FLOAT(how) \
    { merge<int16_t, float, how>, merge<int32_t, float, how>, merge<float, float, how> }
const OwnConvRows convRows = {
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
    rootOfTwo,
    {{OWN_STORES_8(int16_t), nullptr, nullptr, nullptr, nullptr},
     {OWN_STORES_8(int32_t), store<Own16U, int32_t>, store<Own16S, int32_t>, nullptr, nullptr},
     {OWN_STORES_8(float), store<Own16U, float>, store<Own16S, float>, store32S, store32F}},
};

}  // namespace OWN_LEVEL
