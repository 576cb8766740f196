// Row kernels of separable convolution, compiled once for each CPU level. A few vectors of sums stay in registers while
// all taps pass; sums of floats are added in the order of the taps, others in any that the processor likes.
#include "filter/ownblocks.h"
#include "filter/ownsep.h"
#include "frame/ownsample.h"
#include "frame/ownvector.h"

namespace OWN_LEVEL {
namespace {

// Vectors of sums that hide what a tap takes beside. At the baseline, where a product takes a register for its factor,
// more than four cost more than they bring.
#if defined(__AVX2__)
constexpr size_t VECTOR = 32, SIDE_BY_SIDE = 8;
#else
constexpr size_t VECTOR = 16, SIDE_BY_SIDE = 4;
#endif

template <class Value, size_t bytes = VECTOR>
struct Lanes {
    typedef Value Type __attribute__((vector_size(bytes)));
};
using Shorts = Lanes<int16_t>::Type;
using Ints = Lanes<int32_t>::Type;
using Words = Lanes<uint32_t>::Type;
using Floats = Lanes<float>::Type;

template <class Vector>
[[gnu::always_inline]] inline Vector load(const void *at) {
    Vector v;
    __builtin_memcpy(&v, at, sizeof v);
    return v;
}

template <class Vector>
[[gnu::always_inline]] inline void store(void *at, Vector v) {
    __builtin_memcpy(at, &v, sizeof v);
}

// The accumulators of each class. Integers wrap, and are computed as unsigned ones.
template <int cls>
struct Sums {
    using Value = uint32_t;
    using Vector = Words;
};
template <>
struct Sums<OWN_SEP_16> {
    using Value = uint16_t;
    using Vector = Lanes<uint16_t>::Type;
};
template <>
struct Sums<OWN_SEP_FLOAT> {
    using Value = float;
    using Vector = Floats;
};

// Samples as a vector of sums.
template <class D, int cls>
[[gnu::always_inline]] inline typename Sums<cls>::Vector widened(const uint8_t *at) {
    using Value = typename D::Value;
    using Vector = typename Sums<cls>::Vector;
#if defined(__AVX2__)
    if constexpr (cls == OWN_SEP_16 && __is_same(Value, uint8_t)) {
        return (Vector)_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
    } else if constexpr (cls == OWN_SEP_16 && __is_same(Value, int8_t)) {
        return (Vector)_mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
    } else if constexpr (cls == OWN_SEP_32 && __is_same(Value, uint8_t)) {
        return (Vector)_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)));
    } else if constexpr (cls == OWN_SEP_32 && __is_same(Value, int8_t)) {
        return (Vector)_mm256_cvtepi8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)));
    } else if constexpr (__is_same(Value, uint16_t)) {
        return (Vector)_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
    } else if constexpr (__is_same(Value, int16_t)) {
        return (Vector)_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
    }
#elif defined(__SSE2__)
    if constexpr (cls == OWN_SEP_16) {
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(at));
        if constexpr (__is_same(Value, uint8_t)) return (Vector)_mm_unpacklo_epi8(v, _mm_setzero_si128());
        return (Vector)_mm_srai_epi16(_mm_unpacklo_epi8(v, v), 8);
    } else if constexpr (__is_same(Value, uint16_t)) {
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(at));
        return (Vector)_mm_unpacklo_epi16(v, _mm_setzero_si128());
    } else if constexpr (__is_same(Value, int16_t)) {
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(at));
        return (Vector)_mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16);
    }
#endif
    if constexpr (sizeof(Value) == sizeof(typename Sums<cls>::Value)) {
        return load<Vector>(at);
    } else {
        constexpr size_t lanes = VECTOR / sizeof(typename Sums<cls>::Value);
        using Samples = typename Lanes<Value, lanes * sizeof(Value)>::Type;
        return __builtin_convertvector(load<Samples>(at), Vector);
    }
}

template <int cls>
[[gnu::always_inline]] inline typename Sums<cls>::Value tapOf(const OwnSepTaps &taps, int j) {
    if constexpr (cls == OWN_SEP_FLOAT) {
        return taps.real[j];
    } else {
        return static_cast<typename Sums<cls>::Value>(taps.values[j]);
    }
}

// A product in the accumulator's width.
template <class Value>
[[gnu::always_inline]] inline Value product(Value a, Value b) {
    return static_cast<Value>(a * b);
}

#if defined(OWN_HAS_VECTORS)
// Lanes of two vectors of 16 bits by turns, in the order that packing undoes.
[[gnu::always_inline]] inline OwnVector interleaveLow(OwnVector a, OwnVector b) {
#if defined(__AVX2__)
    return _mm256_unpacklo_epi16(a, b);
#else
    return _mm_unpacklo_epi16(a, b);
#endif
}
[[gnu::always_inline]] inline OwnVector interleaveHigh(OwnVector a, OwnVector b) {
#if defined(__AVX2__)
    return _mm256_unpackhi_epi16(a, b);
#else
    return _mm_unpackhi_epi16(a, b);
#endif
}
#endif

// ------------------------------------------------------------------------------------------------------------ columns

template <class D, int cls>
void columns(const uint8_t *const *rows, const OwnSepTaps &taps, void *sums, size_t n) {
    using Value = typename Sums<cls>::Value;
    using Vector = typename Sums<cls>::Vector;
    constexpr size_t lanes = VECTOR / sizeof(Value), bytes = sizeof(typename D::Value);
    auto *const out = static_cast<Value *>(sums);
    const Value begin = cls == OWN_SEP_16 ? static_cast<Value>(taps.begin) : Value{};
    const auto block = [&]<size_t vectors>(size_t i) __attribute__((always_inline)) {
        Vector sum[vectors];
#pragma GCC unroll 8
        for (size_t k = 0; k < vectors; ++k)
            sum[k] = Vector{} + begin;
        for (int j = 0; j < taps.count; ++j) {
            const Value tap = tapOf<cls>(taps, j);
            const uint8_t *row = rows[j] + i * bytes;
#pragma GCC unroll 8
            for (size_t k = 0; k < vectors; ++k)
                sum[k] += widened<D, cls>(row + k * lanes * bytes) * tap;
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < vectors; ++k)
            store(out + i + k * lanes, sum[k]);
    };
    const auto one = [&](size_t i) {
        Value sum = begin;
        for (int j = 0; j < taps.count; ++j) {
            const auto sample = reinterpret_cast<const typename D::Sample *>(rows[j])[i];
            sum = static_cast<Value>(sum + product<Value>(static_cast<Value>(sample), tapOf<cls>(taps, j)));
        }
        out[i] = sum;
    };
    ownInBlocks<lanes, SIDE_BY_SIDE>(n, block, one);
}

#if defined(OWN_HAS_VECTORS)
// Words by coefficients of 16 bits, two rows at a time. Unsigned words are brought to signed ones by a bias, whose
// share of the sum is added beforehand.
template <class D>
void columnsOfWords(const uint8_t *const *rows, const OwnSepTaps &taps, void *sums, size_t n) {
    constexpr size_t lanes = VECTOR / 2;
    if (!taps.pairs || n < lanes) return columns<D, OWN_SEP_32>(rows, taps, sums, n);
    auto *const out = static_cast<uint32_t *>(sums);
    const OwnVector bias = OWN_VECTOR(set1, epi16)(__is_same(D, Own16U) ? -32768 : 0);
    uint32_t shares = 0;
    for (int j = 0; __is_same(D, Own16U) && j < taps.count; ++j)
        shares += static_cast<uint32_t>(taps.values[j]) << 15;
    const OwnVector begin = OWN_VECTOR(set1, epi32)(static_cast<int>(shares));
    const int pairs = (taps.count + 1) / 2;
    const auto block = [&]<size_t vectors>(size_t i) __attribute__((always_inline)) {
        OwnVector low[vectors], high[vectors];
#pragma GCC unroll 4
        for (size_t k = 0; k < vectors; ++k)
            low[k] = high[k] = begin;
        for (int p = 0; p < pairs; ++p) {
            const OwnVector pair = OWN_VECTOR(set1, epi32)(static_cast<int>(taps.pairs[p]));
            const uint8_t *a = rows[2 * p] + i * 2;
            const uint8_t *b = 2 * p + 1 < taps.count ? rows[2 * p + 1] + i * 2 : a;
#pragma GCC unroll 4
            for (size_t k = 0; k < vectors; ++k) {
                const OwnVector va = ownXor(load<OwnVector>(a + k * VECTOR), bias);
                const OwnVector vb = ownXor(load<OwnVector>(b + k * VECTOR), bias);
                low[k] = OWN_VECTOR(add, epi32)(low[k], OWN_VECTOR(madd, epi16)(interleaveLow(va, vb), pair));
                high[k] = OWN_VECTOR(add, epi32)(high[k], OWN_VECTOR(madd, epi16)(interleaveHigh(va, vb), pair));
            }
        }
#pragma GCC unroll 4
        for (size_t k = 0; k < vectors; ++k) {
#if defined(__AVX2__)
            store(out + i + k * lanes, _mm256_permute2x128_si256(low[k], high[k], 0x20));
            store(out + i + k * lanes + lanes / 2, _mm256_permute2x128_si256(low[k], high[k], 0x31));
#else
            store(out + i + k * lanes, low[k]);
            store(out + i + k * lanes + lanes / 2, high[k]);
#endif
        }
    };
    ownInBlocks<lanes, 2>(n, block, [](size_t) {});
}
#else
template <class D>
void columnsOfWords(const uint8_t *const *rows, const OwnSepTaps &taps, void *sums, size_t n) {
    columns<D, OWN_SEP_32>(rows, taps, sums, n);
}
#endif

template <class D, int cls>
void widen(const uint8_t *row, void *sums, size_t n) {
    using Value = typename Sums<cls>::Value;
    auto *const out = static_cast<Value *>(sums);
    const typename D::Sample *samples = reinterpret_cast<const typename D::Sample *>(row);
    for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<Value>(samples[i]);
}

// -------------------------------------------------------------------------------------------------------------- stores

struct Bit {
    using Value = uint8_t;
    typedef uint8_t Sample;
};

template <class D>
[[gnu::always_inline]] inline typename D::Value saturated(int32_t sum) {
    if constexpr (__is_same(D, Bit)) {
        return sum > 0 ? 1 : 0;
    } else if constexpr (sizeof(typename D::Value) == 4) {
        return sum;
    } else {
        return static_cast<typename D::Value>(sum < D::low ? D::low : sum > D::high ? D::high : sum);
    }
}

#if defined(OWN_HAS_VECTORS)
// Two vectors of sums to one of 16-bit samples.
template <class D>
[[gnu::always_inline]] inline OwnVector narrowed(OwnVector low, OwnVector high, int shift) {
    const __m128i count = _mm_cvtsi32_si128(shift);
#if defined(__AVX2__)
    low = _mm256_sra_epi32(low, count);
    high = _mm256_sra_epi32(high, count);
    const __m256i packed = __is_same(D, Own16U) ? _mm256_packus_epi32(low, high) : _mm256_packs_epi32(low, high);
    return _mm256_permute4x64_epi64(packed, 0xD8);
#else
    low = _mm_sra_epi32(low, count);
    high = _mm_sra_epi32(high, count);
    if constexpr (!__is_same(D, Own16U)) return _mm_packs_epi32(low, high);
    // Unsigned ones by a bias, after what is below 0 has been cut off.
    const auto biased = [](OwnVector v) {
        return _mm_sub_epi32(_mm_andnot_si128(_mm_srai_epi32(v, 31), v), _mm_set1_epi32(32768));
    };
    return _mm_xor_si128(_mm_packs_epi32(biased(low), biased(high)), _mm_set1_epi16(-32768));
#endif
}

template <class D>
[[gnu::always_inline]] inline void storeShorts(const int32_t *sums, const OwnSepStore &how) {
    constexpr size_t lanes = VECTOR / 2;
    size_t i = 0;
    for (; i + lanes <= how.n; i += lanes) {
        const auto low = load<OwnVector>(sums + i), high = load<OwnVector>(sums + i + lanes / 2);
        store(static_cast<typename D::Sample *>(how.out) + i, narrowed<D>(low, high, how.shift));
    }
    for (; i < how.n; ++i)
        static_cast<typename D::Sample *>(how.out)[i] = saturated<D>(sums[i] >> how.shift);
}
#endif

template <class D, class Value>
void storeIntegers(const void *sums, const OwnSepStore &how) {
    const auto *from = static_cast<const Value *>(sums);
#if defined(OWN_HAS_VECTORS)
    if constexpr (sizeof(typename D::Value) == 2 && sizeof(Value) == 4) return storeShorts<D>(from, how);
#endif
    typename D::Sample *const out = static_cast<typename D::Sample *>(how.out);
    for (size_t i = 0; i < how.n; ++i)
        out[i] = saturated<D>(from[i] >> how.shift);
}

void storeFloats(const void *sums, const OwnSepStore &how) {
    __builtin_memcpy(how.out, sums, how.n * sizeof(float));
}

// -------------------------------------------------------------------------------------------------------------- across

// Sums of 32 bits, or floats, that no pairs serve. Integers are stored block by block.
template <class D, int cls>
void across(const void *sums, size_t step, const OwnSepTaps &taps, const OwnSepStore &how) {
    using Value = typename Sums<cls>::Value;
    using Vector = typename Sums<cls>::Vector;
    constexpr size_t lanes = VECTOR / sizeof(Value);
    const auto *const from = static_cast<const Value *>(sums);
    auto *const out = static_cast<uint8_t *>(how.out);
    const auto put = [&](size_t i, const auto *values, size_t n) __attribute__((always_inline)) {
        if constexpr (cls == OWN_SEP_FLOAT) {
            __builtin_memcpy(out + i * sizeof(float), values, n * sizeof(float));
        } else {
            const OwnSepStore part = {how.shift, out + i * sizeof(typename D::Value), n};
            storeIntegers<D, int32_t>(values, part);
        }
    };
    const auto block = [&]<size_t vectors>(size_t i) __attribute__((always_inline)) {
        Vector sum[vectors] = {};
        for (int j = 0; j < taps.count; ++j) {
            const Value tap = tapOf<cls>(taps, j);
            const Value *at = from + i + static_cast<size_t>(j) * step;
#pragma GCC unroll 8
            for (size_t k = 0; k < vectors; ++k)
                sum[k] += load<Vector>(at + k * lanes) * tap;
        }
        put(i, sum, vectors * lanes);
    };
    const auto one = [&](size_t i) {
        Value sum = 0;
        for (int j = 0; j < taps.count; ++j)
            sum += product<Value>(from[i + static_cast<size_t>(j) * step], tapOf<cls>(taps, j));
        put(i, &sum, 1);
    };
    ownInBlocks<lanes, SIDE_BY_SIDE>(how.n, block, one);
}

#if defined(OWN_HAS_VECTORS)

// Two vectors of 32-bit sums, shifted, to a vector's worth of bytes in half a vector.
template <class D>
[[gnu::always_inline]] inline void storeBytes(OwnVector low, OwnVector high, int shift, uint8_t *out) {
    const __m128i count = _mm_cvtsi32_si128(shift);
#if defined(__AVX2__)
    const __m256i shorts = _mm256_packs_epi32(_mm256_sra_epi32(low, count), _mm256_sra_epi32(high, count));
    __m256i bytes;
    if constexpr (__is_same(D, Own8U)) {
        bytes = _mm256_packus_epi16(shorts, shorts);
    } else if constexpr (__is_same(D, Bit)) {
        const __m256i above = _mm256_cmpgt_epi16(shorts, _mm256_setzero_si256());
        bytes = _mm256_packs_epi16(_mm256_srli_epi16(above, 15), _mm256_srli_epi16(above, 15));
    } else {
        bytes = _mm256_packs_epi16(shorts, shorts);
    }
    const __m128i half = _mm256_castsi256_si128(_mm256_permute4x64_epi64(bytes, 0x08));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), half);
#else
    const __m128i shorts = _mm_packs_epi32(_mm_sra_epi32(low, count), _mm_sra_epi32(high, count));
    __m128i bytes;
    if constexpr (__is_same(D, Own8U)) {
        bytes = _mm_packus_epi16(shorts, shorts);
    } else if constexpr (__is_same(D, Bit)) {
        const __m128i above = _mm_srli_epi16(_mm_cmpgt_epi16(shorts, _mm_setzero_si128()), 15);
        bytes = _mm_packs_epi16(above, above);
    } else {
        bytes = _mm_packs_epi16(shorts, shorts);
    }
    _mm_storel_epi64(reinterpret_cast<__m128i *>(out), bytes);
#endif
}

// Sums of 16 bits: products of two taps at a time are added to one sum of 32 bits.
template <class D>
void acrossPairs(const void *sums, size_t step, const OwnSepTaps &taps, const OwnSepStore &how) {
    constexpr size_t lanes = VECTOR / 2;
    const auto *const from = static_cast<const int16_t *>(sums);
    auto *const out = static_cast<uint8_t *>(how.out);
    const OwnVector begin = OWN_VECTOR(set1, epi32)(static_cast<int>(taps.begin));
    const int pairs = (taps.count + 1) / 2;
    const auto block = [&]<size_t vectors>(size_t i) __attribute__((always_inline)) {
        OwnVector low[vectors], high[vectors];
#pragma GCC unroll 4
        for (size_t k = 0; k < vectors; ++k)
            low[k] = high[k] = begin;
        for (int p = 0; p < pairs; ++p) {
            const OwnVector pair = OWN_VECTOR(set1, epi32)(static_cast<int>(taps.pairs[p]));
            const int16_t *a = from + i + static_cast<size_t>(2 * p) * step;
            // The last of an odd number of taps has nothing beside it.
            const int16_t *b = 2 * p + 1 < taps.count ? a + step : a;
#pragma GCC unroll 4
            for (size_t k = 0; k < vectors; ++k) {
                const OwnVector va = load<OwnVector>(a + k * lanes), vb = load<OwnVector>(b + k * lanes);
                low[k] = OWN_VECTOR(add, epi32)(low[k], OWN_VECTOR(madd, epi16)(interleaveLow(va, vb), pair));
                high[k] = OWN_VECTOR(add, epi32)(high[k], OWN_VECTOR(madd, epi16)(interleaveHigh(va, vb), pair));
            }
        }
#pragma GCC unroll 4
        for (size_t k = 0; k < vectors; ++k)
            storeBytes<D>(low[k], high[k], how.shift, out + i + k * lanes);
    };
    const auto one = [&](size_t i) {
        uint32_t sum = taps.begin;
        for (int j = 0; j < taps.count; ++j)
            sum +=
                static_cast<uint32_t>(from[i + static_cast<size_t>(j) * step]) * static_cast<uint32_t>(taps.values[j]);
        out[i] = static_cast<uint8_t>(saturated<D>(static_cast<int32_t>(sum) >> how.shift));
    };
    ownInBlocks<lanes, 2>(how.n, block, one);
}

#else

template <class D>
void acrossPairs(const void *sums, size_t step, const OwnSepTaps &taps, const OwnSepStore &how) {
    const auto *const from = static_cast<const int16_t *>(sums);
    for (size_t i = 0; i < how.n; ++i) {
        uint32_t sum = taps.begin;
        for (int j = 0; j < taps.count; ++j)
            sum +=
                static_cast<uint32_t>(from[i + static_cast<size_t>(j) * step]) * static_cast<uint32_t>(taps.values[j]);
        static_cast<uint8_t *>(how.out)[i] = static_cast<uint8_t>(saturated<D>(static_cast<int32_t>(sum) >> how.shift));
    }
}

#endif

}  // namespace

extern const OwnSepRows sepRows;
const OwnSepRows sepRows = {
    {
        {columns<Own8U, OWN_SEP_16>, columns<Own8U, OWN_SEP_16>, columns<Own8S, OWN_SEP_16>, nullptr, nullptr, nullptr,
         nullptr},
        {columns<Own8U, OWN_SEP_32>, columns<Own8U, OWN_SEP_32>, columns<Own8S, OWN_SEP_32>, columnsOfWords<Own16U>,
         columnsOfWords<Own16S>, columns<Own32S, OWN_SEP_32>, nullptr},
        {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, columns<Own32F, OWN_SEP_FLOAT>},
    },
    {
        {widen<Own8U, OWN_SEP_16>, widen<Own8U, OWN_SEP_16>, widen<Own8S, OWN_SEP_16>, nullptr, nullptr, nullptr,
         nullptr},
        {widen<Own8U, OWN_SEP_32>, widen<Own8U, OWN_SEP_32>, widen<Own8S, OWN_SEP_32>, widen<Own16U, OWN_SEP_32>,
         widen<Own16S, OWN_SEP_32>, widen<Own32S, OWN_SEP_32>, nullptr},
        {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, widen<Own32F, OWN_SEP_FLOAT>},
    },
    {
        {acrossPairs<Bit>, acrossPairs<Own8U>, acrossPairs<Own8S>, nullptr, nullptr, nullptr, nullptr},
        {across<Bit, OWN_SEP_32>, across<Own8U, OWN_SEP_32>, across<Own8S, OWN_SEP_32>, across<Own16U, OWN_SEP_32>,
         across<Own16S, OWN_SEP_32>, across<Own32S, OWN_SEP_32>, nullptr},
        {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, across<Own32F, OWN_SEP_FLOAT>},
    },
    {
        {storeIntegers<Bit, int16_t>, storeIntegers<Own8U, int16_t>, storeIntegers<Own8S, int16_t>, nullptr, nullptr,
         nullptr, nullptr},
        {storeIntegers<Bit, int32_t>, storeIntegers<Own8U, int32_t>, storeIntegers<Own8S, int32_t>,
         storeIntegers<Own16U, int32_t>, storeIntegers<Own16S, int32_t>, storeIntegers<Own32S, int32_t>, nullptr},
        {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, storeFloats},
    },
};

}  // namespace OWN_LEVEL
