// Row kernels of the convolution's sums, compiled once for each CPU level. A block of sums stays in registers while all
// taps pass; the order of a sum's additions is that of the taps.
#include <cstring>

#include "filter/ownconv.h"
#include "frame/ownsample.h"
#include "frame/ownvector.h"

namespace OWN_LEVEL {
namespace {

// ------------------------------------------------------------------------------------------------ vectors of samples

#if defined(__AVX2__)
constexpr size_t VECTOR_BYTES = 32;
#else
constexpr size_t VECTOR_BYTES = 16;
#endif
[[maybe_unused]] constexpr size_t SHORTS = VECTOR_BYTES / 2, INTS = VECTOR_BYTES / 4;
typedef int16_t Shorts __attribute__((vector_size(VECTOR_BYTES)));
typedef int32_t Ints __attribute__((vector_size(VECTOR_BYTES)));
typedef float Floats __attribute__((vector_size(VECTOR_BYTES)));

// Samples widened by the instructions that there are for it.
#if defined(__AVX2__)
inline Shorts widenToShorts(const char *at, uint8_t) {
    return (Shorts)_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
}
inline Shorts widenToShorts(const char *at, int8_t) {
    return (Shorts)_mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
}
inline Ints widenToInts(const char *at, uint8_t) {
    return (Ints)_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)));
}
inline Ints widenToInts(const char *at, int8_t) {
    return (Ints)_mm256_cvtepi8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)));
}
inline Ints widenToInts(const char *at, uint16_t) {
    return (Ints)_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
}
inline Ints widenToInts(const char *at, int16_t) {
    return (Ints)_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(at)));
}
#elif defined(__SSE2__)
inline Shorts widenToShorts(const char *at, uint8_t) {
    return (Shorts)_mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)), _mm_setzero_si128());
}
inline Shorts widenToShorts(const char *at, int8_t) {
    const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(at));
    return (Shorts)_mm_srai_epi16(_mm_unpacklo_epi8(v, v), 8);
}
inline __m128i loadFour(const char *at) {
    int word;
    std::memcpy(&word, at, sizeof word);
    return _mm_cvtsi32_si128(word);
}
inline Ints widenToInts(const char *at, uint8_t) {
    const __m128i zero = _mm_setzero_si128();
    return (Ints)_mm_unpacklo_epi16(_mm_unpacklo_epi8(loadFour(at), zero), zero);
}
inline Ints widenToInts(const char *at, int8_t) {
    __m128i v = loadFour(at);
    v = _mm_unpacklo_epi8(v, v);
    return (Ints)_mm_srai_epi32(_mm_unpacklo_epi16(v, v), 24);
}
inline Ints widenToInts(const char *at, uint16_t) {
    return (Ints)_mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(at)), _mm_setzero_si128());
}
inline Ints widenToInts(const char *at, int16_t) {
    const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(at));
    return (Ints)_mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16);
}
#else
template <class Value>
inline Shorts widenToShorts(const char *at, Value) {
    typedef Value Samples __attribute__((vector_size(SHORTS * sizeof(Value))));
    Samples samples;
    std::memcpy(&samples, at, sizeof samples);
    return __builtin_convertvector(samples, Shorts);
}
template <class Value>
inline Ints widenToInts(const char *at, Value) {
    typedef Value Samples __attribute__((vector_size(INTS * sizeof(Value))));
    Samples samples;
    std::memcpy(&samples, at, sizeof samples);
    return __builtin_convertvector(samples, Ints);
}
#endif

template <class Vector>
inline Vector loadVector(const char *at) {
    Vector v;
    std::memcpy(&v, at, sizeof v);
    return v;
}

// Where there are wider vectors, samples that need no conversion come in them: not aligned, half as many of them touch
// two cache lines.
#if defined(__AVX512F__)
typedef float FloatSamples __attribute__((vector_size(64)));
#else
using FloatSamples = Floats;
#endif

// Samples as a vector of an accumulator's type.
template <class D, class Accumulator>
[[gnu::always_inline]] inline auto loadSamples(const char *at) {
    using Value = typename D::Value;
    if constexpr (__is_same(Accumulator, int16_t)) {
        return widenToShorts(at, Value{});
    } else if constexpr (__is_same(Accumulator, int32_t)) {
        return widenToInts(at, Value{});
    } else if constexpr (__is_same(Value, float)) {
        return loadVector<FloatSamples>(at);
    } else if constexpr (__is_same(Value, int32_t)) {
        return __builtin_convertvector(loadVector<Ints>(at), Floats);
    } else {
        return __builtin_convertvector(widenToInts(at, Value{}), Floats);
    }
}

// --------------------------------------------------------------------------------------------------------------- sums

template <class Accumulator>
[[gnu::always_inline]] inline Accumulator coefficient(const OwnConvTap &tap) {
    if constexpr (__is_same(Accumulator, float)) {
        return tap.real;
    } else {
        return static_cast<Accumulator>(tap.value);
    }
}

// Tap after tap: the sums of a few vectors side by side.
template <class D_, class Accumulator_>
struct TapByTap {
    using D = D_;
    using Accumulator = Accumulator_;
    using Vector = decltype(loadSamples<D, Accumulator>(nullptr));
    static constexpr size_t lanes = sizeof(Vector) / sizeof(Accumulator);
    // Additions of floats take the longest: more of them go side by side.
    static constexpr size_t vectors = __is_same(Accumulator, float) ? 8 : 4;

    template <size_t blocks>
    [[gnu::always_inline]] static void block(const OwnConvTap *taps, size_t count, size_t from, char *sums) {
        constexpr size_t sampleBytes = sizeof(typename D::Value);
        Vector sum[blocks] = {};
        for (size_t t = 0; t < count; ++t) {
            const char *at = reinterpret_cast<const char *>(taps[t].row) + from * sampleBytes;
            const Vector value = Vector{} + coefficient<Accumulator>(taps[t]);
#pragma GCC unroll 8
            for (size_t k = 0; k < blocks; ++k)
                sum[k] += loadSamples<D, Accumulator>(at + k * lanes * sampleBytes) * value;
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < blocks; ++k)
            std::memcpy(sums + k * sizeof(Vector), &sum[k], sizeof(Vector));
    }
};

#if defined(OWN_HAS_VECTORS)
// Two vectors whose lanes an unpacking has left in the order of half vectors, put in order and stored.
[[gnu::always_inline]] inline void storeUnpacked(char *to, OwnVector low, OwnVector high) {
#if defined(__AVX2__)
    ownStore(to, _mm256_permute2x128_si256(low, high, 0x20));
    ownStore(to + sizeof(OwnVector), _mm256_permute2x128_si256(low, high, 0x31));
#else
    ownStore(to, low);
    ownStore(to + sizeof(OwnVector), high);
#endif
}

// 16-bit samples, or 8-bit ones widened. Unsigned ones of 16 bits become signed: their sums are put right by the bias.
template <class D>
[[gnu::always_inline]] inline OwnVector loadShorts(const char *at) {
    if constexpr (__is_same(D, Own16S)) {
        return ownLoad(at);
    } else if constexpr (__is_same(D, Own16U)) {
        return OWN_VECTOR(add, epi16)(ownLoad(at), OWN_VECTOR(set1, epi16)(INT16_MIN));
    } else {
#if defined(__AVX2__)
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
        return __is_same(D, Own8U) ? _mm256_cvtepu8_epi16(bytes) : _mm256_cvtepi8_epi16(bytes);
#else
        return (OwnVector)widenToShorts(at, typename D::Value{});
#endif
    }
}

// Two taps at a time, whose products one instruction adds up to 32-bit sums.
template <class D_>
struct PairByPair {
    using D = D_;
    using Accumulator = int32_t;
    static constexpr size_t lanes = sizeof(OwnVector) / 2;
    static constexpr size_t vectors = 4;

    static int32_t biasOf(const OwnConvTap *taps, size_t count) {
        uint32_t bias = 0;
        if constexpr (__is_same(D, Own16U)) {
            for (size_t t = 0; t < count; ++t)
                bias += static_cast<uint32_t>(taps[t].value) << 15;
        }
        return static_cast<int32_t>(bias);
    }

    template <size_t blocks>
    [[gnu::always_inline]] static void block(const OwnConvTap *taps, size_t count, size_t from, char *sums) {
        constexpr size_t sampleBytes = sizeof(typename D::Value);
        OwnVector low[blocks], high[blocks];
        const OwnVector bias = OWN_VECTOR(set1, epi32)(biasOf(taps, count));
        for (size_t k = 0; k < blocks; ++k)
            low[k] = high[k] = bias;
        for (size_t t = 0; t < count; t += 2) {
            const char *a = reinterpret_cast<const char *>(taps[t].row) + from * sampleBytes;
            const char *b = reinterpret_cast<const char *>(taps[t].next) + from * sampleBytes;
            const OwnVector values = OWN_VECTOR(set1, epi32)(static_cast<int32_t>(taps[t].pair));
#pragma GCC unroll 8
            for (size_t k = 0; k < blocks; ++k) {
                const OwnVector va = loadShorts<D>(a + k * lanes * sampleBytes);
                const OwnVector vb = loadShorts<D>(b + k * lanes * sampleBytes);
                const OwnVector first = OWN_VECTOR(madd, epi16)(OWN_VECTOR(unpacklo, epi16)(va, vb), values);
                const OwnVector second = OWN_VECTOR(madd, epi16)(OWN_VECTOR(unpackhi, epi16)(va, vb), values);
                low[k] = OWN_VECTOR(add, epi32)(low[k], first);
                high[k] = OWN_VECTOR(add, epi32)(high[k], second);
            }
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < blocks; ++k)
            storeUnpacked(sums + k * 2 * sizeof(OwnVector), low[k], high[k]);
    }
};
#endif

#if defined(__AVX2__)
// Two taps at a time on unsigned bytes, whose products one instruction adds up to 16-bit sums.
struct BytePairByPair {
    using D = Own8U;
    using Accumulator = int16_t;
    static constexpr size_t lanes = sizeof(OwnVector);
    static constexpr size_t vectors = 4;

    template <size_t blocks>
    [[gnu::always_inline]] static void block(const OwnConvTap *taps, size_t count, size_t from, char *sums) {
        OwnVector low[blocks], high[blocks];
        for (size_t k = 0; k < blocks; ++k)
            low[k] = high[k] = ownZero();
        for (size_t t = 0; t < count; t += 2) {
            const char *a = reinterpret_cast<const char *>(taps[t].row) + from;
            const char *b = reinterpret_cast<const char *>(taps[t].next) + from;
            const OwnVector values = _mm256_set1_epi16(static_cast<int16_t>(taps[t].bytePair));
#pragma GCC unroll 8
            for (size_t k = 0; k < blocks; ++k) {
                const OwnVector va = ownLoad(a + k * lanes), vb = ownLoad(b + k * lanes);
                const OwnVector first = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(va, vb), values);
                const OwnVector second = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(va, vb), values);
                low[k] = _mm256_add_epi16(low[k], first);
                high[k] = _mm256_add_epi16(high[k], second);
            }
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < blocks; ++k)
            storeUnpacked(sums + k * 2 * sizeof(OwnVector), low[k], high[k]);
    }
};
#endif

#if defined(__AVX2__)
inline OwnVector finishBytes(OwnVector low, OwnVector high, const OwnConvBytes &how) {
    const __m128i shift = _mm_cvtsi32_si128(how.shift);
    const OwnVector bytes = _mm256_packus_epi16(_mm256_sra_epi16(low, shift), _mm256_sra_epi16(high, shift));
    return _mm256_min_epu8(bytes, _mm256_set1_epi8(static_cast<char>(how.high)));
}

// Any two taps side by side, brought together byte by byte; what was unpacked in halves is packed in halves.
struct PairsApart {
    [[gnu::always_inline]] static void add(const OwnConvTap *taps, size_t from, OwnVector values, OwnVector *low,
                                           OwnVector *high) {
        const OwnVector va = ownLoad(reinterpret_cast<const char *>(taps[0].row) + from);
        const OwnVector vb = ownLoad(reinterpret_cast<const char *>(taps[0].next) + from);
        *low = _mm256_add_epi16(*low, _mm256_maddubs_epi16(_mm256_unpacklo_epi8(va, vb), values));
        *high = _mm256_add_epi16(*high, _mm256_maddubs_epi16(_mm256_unpackhi_epi8(va, vb), values));
    }
    static OwnVector finish(OwnVector low, OwnVector high, const OwnConvBytes &how) {
        return finishBytes(low, high, how);
    }
};

// Two columns side by side in memory: samples are pairs as they stand. One vector has the sums of the even places, the
// other those of the odd ones, which begin with the next sample.
struct PairsTogether {
    [[gnu::always_inline]] static void add(const OwnConvTap *taps, size_t from, OwnVector values, OwnVector *even,
                                           OwnVector *odd) {
        const char *at = reinterpret_cast<const char *>(taps[0].row) + from;
        *even = _mm256_add_epi16(*even, _mm256_maddubs_epi16(ownLoad(at), values));
        *odd = _mm256_add_epi16(*odd, _mm256_maddubs_epi16(ownLoad(at + 1), values));
    }
    static OwnVector finish(OwnVector even, OwnVector odd, const OwnConvBytes &how) {
        const OwnVector woven = _mm256_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15,  //
                                                 0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
        return _mm256_shuffle_epi8(finishBytes(even, odd, how), woven);
    }
};

template <class Pairs, size_t blocks>
[[gnu::always_inline]] inline void storeBlock(const OwnConvTap *taps, size_t count, size_t from,
                                              const OwnConvBytes &how, char *out) {
    OwnVector low[blocks], high[blocks];
#pragma GCC unroll 8
    for (size_t k = 0; k < blocks; ++k)
        low[k] = high[k] = ownZero();
    for (size_t t = 0; t < count; t += 2) {
        const OwnVector values = _mm256_set1_epi16(static_cast<int16_t>(taps[t].bytePair));
#pragma GCC unroll 8
        for (size_t k = 0; k < blocks; ++k)
            Pairs::add(taps + t, from + k * sizeof(OwnVector), values, &low[k], &high[k]);
    }
#pragma GCC unroll 8
    for (size_t k = 0; k < blocks; ++k)
        ownStore(out + k * sizeof(OwnVector), Pairs::finish(low[k], high[k], how));
}

template <class Pairs>
void storeBytes(const OwnConvTap *taps, size_t count, size_t from, const OwnConvBytes &how, void *out_, size_t n) {
    auto *out = static_cast<char *>(out_);
    constexpr size_t lanes = sizeof(OwnVector), blocks = 4;
    size_t i = 0;
    for (; i + blocks * lanes <= n; i += blocks * lanes)
        storeBlock<Pairs, blocks>(taps, count, from + i, how, out + i);
    for (; i + lanes <= n; i += lanes)
        storeBlock<Pairs, 1>(taps, count, from + i, how, out + i);
    if (i == n) return;
    // What is left: a vector that overlaps the one before, or single samples.
    if (n >= lanes) return storeBlock<Pairs, 1>(taps, count, from + n - lanes, how, out + n - lanes);
    for (; i < n; ++i) {
        int sum = 0;
        for (size_t t = 0; t < count; ++t)
            sum += taps[t].row[from + i] * taps[t].value;
        sum >>= how.shift;
        out[i] = static_cast<char>(sum < 0 ? 0 : sum > how.high ? how.high : sum);
    }
}
#endif

template <class Way>
void sum(const OwnConvTap *taps, size_t count, size_t from, void *sums_, size_t n) {
    using D = typename Way::D;
    using Accumulator = typename Way::Accumulator;
    constexpr size_t lanes = Way::lanes, vectors = Way::vectors;
    auto *sums = static_cast<char *>(sums_);
    const auto at = [&](size_t i) { return sums + i * sizeof(Accumulator); };
    size_t i = 0;
    for (; i + vectors * lanes <= n; i += vectors * lanes)
        Way::template block<vectors>(taps, count, from + i, at(i));
    // What is left: a block that overlaps the one before, vectors of which the last does, or single samples.
    const size_t last = n - vectors * lanes;
    if (i > 0 && n - i > lanes) return Way::template block<vectors>(taps, count, from + last, at(last));
    for (; i + lanes <= n; i += lanes)
        Way::template block<1>(taps, count, from + i, at(i));
    if (i == n) return;
    if (n >= lanes) return Way::template block<1>(taps, count, from + n - lanes, at(n - lanes));
    for (; i < n; ++i) {
        Accumulator one = 0;
        for (size_t t = 0; t < count; ++t) {
            const typename D::Sample *row = reinterpret_cast<const typename D::Sample *>(taps[t].row);
            one = static_cast<Accumulator>(one +
                                           static_cast<Accumulator>(row[from + i]) * coefficient<Accumulator>(taps[t]));
        }
        std::memcpy(at(i), &one, sizeof one);
    }
}

#if defined(OWN_HAS_VECTORS)
template <class D>
constexpr auto sumInts = sum<PairByPair<D>>;
#else
template <class D>
constexpr auto sumInts = sum<TapByTap<D, int32_t>>;
#endif
template <class D>
constexpr auto sumShorts = sum<TapByTap<D, int16_t>>;
template <class D>
constexpr auto sumFloats = sum<TapByTap<D, float>>;
#if defined(__AVX2__)
constexpr auto sumBytes = sum<BytePairByPair>;
constexpr auto storeApart = storeBytes<PairsApart>, storeTogether = storeBytes<PairsTogether>;
#else
constexpr auto sumBytes = sumShorts<Own8U>;
constexpr OwnConvStoreBytes storeApart = nullptr, storeTogether = nullptr;
#endif

// What is used twice is loaded once: left to itself, the compiler would rather load it again with each use.
[[gnu::always_inline]] inline void keepInRegister([[maybe_unused]] FloatSamples &samples) {
#if defined(__AVX512F__)
    __asm__("" : "+v"(samples));
#elif defined(__SSE2__)
    __asm__("" : "+x"(samples));
#endif
}

// Rows of floats. The sums of a few rows stay in registers, and a sample that is loaded goes to two of them: two kernel
// rows pass at a time, and what the upper one of them covers for an output row the lower one covers for the row above.
template <size_t vectors>
[[gnu::always_inline]] inline void fieldBlock(const OwnConvField &field, size_t i, char *out, int64_t outStep) {
    constexpr int last = OWN_CONV_ROWS - 1;
    FloatSamples sum[OWN_CONV_ROWS][vectors] = {};
    const float *value = field.values;
    const auto load = [](const char *at, size_t k) { return loadVector<FloatSamples>(at + k * sizeof(FloatSamples)); };
    int v = 0;
    for (; v + 1 < field.nRows; v += 2, value += field.nCols) {
        const char *at[OWN_CONV_ROWS + 1];
        for (int j = 0; j <= OWN_CONV_ROWS; ++j)
            at[j] = reinterpret_cast<const char *>(field.rows[v + j]) + field.from + i * sizeof(float);
        size_t offset = 0;
        for (int u = 0; u < field.nCols; ++u, ++value, offset += field.step) {
            const FloatSamples upper = *value - FloatSamples{}, lower = value[field.nCols] - FloatSamples{};
#pragma GCC unroll 8
            for (int j = 0; j <= OWN_CONV_ROWS; ++j) {
#pragma GCC unroll 8
                for (size_t k = 0; k < vectors; ++k) {
                    FloatSamples samples = load(at[j] + offset, k);
                    keepInRegister(samples);
                    if (j > 0) sum[j - 1][k] += samples * lower;
                    if (j <= last) sum[j][k] += samples * upper;
                }
            }
        }
    }
    if (v < field.nRows) {
        for (int u = 0; u < field.nCols; ++u) {
            const FloatSamples coefficient = value[u] - FloatSamples{};
            const size_t offset = field.from + i * sizeof(float) + static_cast<size_t>(u) * field.step;
#pragma GCC unroll 8
            for (int j = 0; j <= last; ++j) {
#pragma GCC unroll 8
                for (size_t k = 0; k < vectors; ++k)
                    sum[j][k] += load(reinterpret_cast<const char *>(field.rows[v + j]) + offset, k) * coefficient;
            }
        }
    }
#pragma GCC unroll 8
    for (int j = 0; j <= last; ++j) {
#pragma GCC unroll 8
        for (size_t k = 0; k < vectors; ++k)
            std::memcpy(out + j * outStep + i * sizeof(float) + k * sizeof(FloatSamples), &sum[j][k], sizeof sum[j][k]);
    }
}

// One sum of one row.
float fieldSum(const OwnConvField &field, int row, size_t i) {
    float sum = 0;
    const auto add = [&](int v, int u) {
        float sample;
        const uint8_t *at = field.rows[row + v] + field.from + static_cast<size_t>(u) * field.step;
        std::memcpy(&sample, at + i * sizeof sample, sizeof sample);
        sum +=
            sample * field.values[static_cast<size_t>(v) * static_cast<size_t>(field.nCols) + static_cast<size_t>(u)];
    };
    for (int v = 0; v < field.nRows; v += 2) {
        for (int u = 0; u < field.nCols; ++u) {
            add(v, u);
            if (v + 1 < field.nRows) add(v + 1, u);
        }
    }
    return sum;
}

void sumField(const OwnConvField &field, void *out_, int64_t outStep, size_t n) {
    constexpr size_t lanes = sizeof(FloatSamples) / sizeof(float);
    constexpr size_t vectors = 2;
    auto *out = static_cast<char *>(out_);
    size_t i = 0;
    for (; i + vectors * lanes <= n; i += vectors * lanes)
        fieldBlock<vectors>(field, i, out, outStep);
    if (i == n) return;
    // What is left: a block or a vector that overlaps what was before, or single samples.
    if (i > 0 && n - i > lanes) return fieldBlock<vectors>(field, n - vectors * lanes, out, outStep);
    for (; i + lanes <= n; i += lanes)
        fieldBlock<1>(field, i, out, outStep);
    if (i == n) return;
    if (n >= lanes) return fieldBlock<1>(field, n - lanes, out, outStep);
    for (; i < n; ++i) {
        for (int row = 0; row < OWN_CONV_ROWS; ++row) {
            const float sum = fieldSum(field, row, i);
            std::memcpy(out + row * outStep + i * sizeof sum, &sum, sizeof sum);
        }
    }
}

}  // namespace

extern const OwnConvSums convSums;
const OwnConvSums convSums = {
    {{sumShorts<Own8U>, sumShorts<Own8U>, sumShorts<Own8S>, nullptr, nullptr, nullptr, nullptr},
     {sumInts<Own8U>, sumInts<Own8U>, sumInts<Own8S>, sumInts<Own16U>, sumInts<Own16S>, nullptr, nullptr},
     {sumFloats<Own8U>, sumFloats<Own8U>, sumFloats<Own8S>, sumFloats<Own16U>, sumFloats<Own16S>, sumFloats<Own32S>,
      sumFloats<Own32F>}},
    sumBytes,
    {storeApart, storeTogether},
    sumField,
};

}  // namespace OWN_LEVEL
