// Row kernels of norms, extrema and moments, compiled once for each CPU level. A norm is one of distances: to the
// second image, or to 0. Distances are unsigned, since those of signed samples go beyond their type.
#include "frame/ownvector.h"
#include "stat/ownstat.h"

namespace OWN_LEVEL {
namespace {

template <class D>
[[gnu::always_inline]] inline typename D::Lane distance(typename D::Value a, typename D::Value b) {
    using Bits = typename D::Lane;
    const auto u = static_cast<Bits>(a), v = static_cast<Bits>(b);
    return static_cast<Bits>(a > b ? u - v : v - u);
}

template <class D, bool two>
[[gnu::always_inline]] inline typename D::Lane distanceAt(const typename D::Sample *a, const typename D::Sample *b,
                                                          size_t i) {
    return distance<D>(a[i], two ? static_cast<typename D::Value>(b[i]) : static_cast<typename D::Value>(0));
}

void keepLargest(OwnNormSum *sum, uint64_t value) {
    if (value > sum->whole) sum->whole = value;
}

// ------------------------------------------------------------------------------------------------- the plain loops

template <class D, bool two>
uint64_t largestPlain(const void *a_, const void *b_, size_t n) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const typename D::Sample *b = static_cast<const typename D::Sample *>(b_);
    typename D::Lane most = 0;
    for (size_t i = 0; i < n; ++i) {
        const typename D::Lane d = distanceAt<D, two>(a, b, i);
        most = d > most ? d : most;
    }
    return most;
}

template <class D, bool two, bool squares>
uint64_t sumPlain(const void *a_, const void *b_, size_t n) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const typename D::Sample *b = static_cast<const typename D::Sample *>(b_);
    uint64_t sum = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t d = distanceAt<D, two>(a, b, i);
        sum += squares ? d * d : d;
    }
    return sum;
}

// ------------------------------------------------------------------------------------------------ 8 and 16 bits

#if defined(OWN_HAS_VECTORS)
#if defined(__AVX2__)
#define OWN_SI(name) _mm256_##name##_si256
[[gnu::always_inline]] inline OwnVector every64(uint64_t word) {
    return _mm256_set1_epi64x(static_cast<long long>(word));
}
#else
#define OWN_SI(name) _mm_##name##_si128
[[gnu::always_inline]] inline OwnVector every64(uint64_t word) {
    return _mm_set1_epi64x(static_cast<long long>(word));
}
#endif

// What the two sample sizes need: the distances of a vector, their largest, their sums and sums of squares in 64-bit
// lanes.
struct Vectors8 {
    static constexpr uint64_t top = 0x8080808080808080u;
    // So many vectors fit the 32-bit sums of squares.
    static constexpr size_t most = 8192;
    static OwnVector distances(OwnVector a, OwnVector b) {
        return ownOr(OWN_VECTOR(subs, epu8)(a, b), OWN_VECTOR(subs, epu8)(b, a));
    }
    static OwnVector larger(OwnVector a, OwnVector b) { return OWN_VECTOR(max, epu8)(a, b); }
    static OwnVector sums(OwnVector a, OwnVector b) { return OWN_VECTOR(sad, epu8)(a, b); }
    static OwnVector squares(OwnVector a, OwnVector b) {
        const OwnVector d = distances(a, b);
        const OwnVector low = OWN_VECTOR(unpacklo, epi8)(d, ownZero()), high = OWN_VECTOR(unpackhi, epi8)(d, ownZero());
        return OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(low, low), OWN_VECTOR(madd, epi16)(high, high));
    }
    static constexpr bool sumsAreWide = true, squaresAreWide = false;
};
struct Vectors16 {
    static constexpr uint64_t top = 0x8000800080008000u;
    static constexpr size_t most = 16384;
    static OwnVector distances(OwnVector a, OwnVector b) {
        return ownOr(OWN_VECTOR(subs, epu16)(a, b), OWN_VECTOR(subs, epu16)(b, a));
    }
    static OwnVector larger(OwnVector a, OwnVector b) {
        return OWN_VECTOR(add, epi16)(OWN_VECTOR(subs, epu16)(a, b), b);
    }
    static OwnVector sums(OwnVector a, OwnVector b) {
        const OwnVector d = distances(a, b);
        return OWN_VECTOR(add, epi32)(OWN_VECTOR(srli, epi32)(d, 16), OWN_SI(and)(d, every64(0x0000FFFF0000FFFFu)));
    }
    static OwnVector squares(OwnVector a, OwnVector b);
    static constexpr bool sumsAreWide = false, squaresAreWide = true;
};

// 32-bit lanes added up in pairs.
[[gnu::always_inline]] inline OwnVector widen(OwnVector v) {
    return OWN_VECTOR(add, epi64)(OWN_VECTOR(srli, epi64)(v, 32), OWN_SI(and)(v, every64(0xFFFFFFFFu)));
}

[[gnu::always_inline]] inline OwnVector Vectors16::squares(OwnVector a, OwnVector b) {
    const OwnVector d = distances(a, b);
    const OwnVector low = OWN_VECTOR(mullo, epi16)(d, d), high = OWN_VECTOR(mulhi, epu16)(d, d);
    return OWN_VECTOR(add, epi64)(widen(OWN_VECTOR(unpacklo, epi16)(low, high)),
                                  widen(OWN_VECTOR(unpackhi, epi16)(low, high)));
}

template <class Value>
struct VectorsFor {
    using Type = Vectors16;
};
template <>
struct VectorsFor<uint8_t> {
    using Type = Vectors8;
};
template <>
struct VectorsFor<int8_t> {
    using Type = Vectors8;
};
template <class D>
using VectorsOf = typename VectorsFor<typename D::Value>::Type;

// The vectors of a row: signed samples with the top bit changed, and 0 likewise where there is no second image.
template <class D, bool two>
struct RowVectors {
    static constexpr size_t samples = sizeof(OwnVector) / sizeof(typename D::Value);
    static constexpr uint64_t bias = static_cast<typename D::Value>(-1) < 0 ? VectorsOf<D>::top : 0;
    const char *a, *b;
    OwnVector flip = every64(bias);
    OwnVector first(size_t k) const { return OWN_SI(xor)(ownLoad(a + k * sizeof(OwnVector)), flip); }
    OwnVector second(size_t k) const { return two ? OWN_SI(xor)(ownLoad(b + k * sizeof(OwnVector)), flip) : flip; }
};

template <class D, bool two>
void largest(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    using Vectors = VectorsOf<D>;
    const RowVectors<D, two> row = {static_cast<const char *>(a_), static_cast<const char *>(b_)};
    const size_t vectors = n / row.samples;
    OwnVector most = ownZero();
    for (size_t k = 0; k < vectors; ++k)
        most = Vectors::larger(Vectors::distances(row.first(k), row.second(k)), most);
    typename D::Lane lanes[row.samples];
    __builtin_memcpy(lanes, &most, sizeof most);
    for (const typename D::Lane lane : lanes)
        keepLargest(sum, lane);
    const size_t bytes = vectors * sizeof(OwnVector);
    keepLargest(sum, largestPlain<D, two>(row.a + bytes, two ? row.b + bytes : nullptr, n % row.samples));
}

template <class D, bool two, bool squares>
void sumUp(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    using Vectors = VectorsOf<D>;
    const RowVectors<D, two> row = {static_cast<const char *>(a_), static_cast<const char *>(b_)};
    const size_t vectors = n / row.samples;
    OwnVector total = ownZero();
    for (size_t k = 0; k < vectors;) {
        const size_t end = vectors - k > Vectors::most ? k + Vectors::most : vectors;
        OwnVector part = ownZero();
        if constexpr (squares ? Vectors::squaresAreWide : Vectors::sumsAreWide) {
            for (; k < end; ++k) {
                part = OWN_VECTOR(add, epi64)(part, squares ? Vectors::squares(row.first(k), row.second(k))
                                                            : Vectors::sums(row.first(k), row.second(k)));
            }
        } else {
            for (; k < end; ++k) {
                part = OWN_VECTOR(add, epi32)(part, squares ? Vectors::squares(row.first(k), row.second(k))
                                                            : Vectors::sums(row.first(k), row.second(k)));
            }
            part = widen(part);
        }
        total = OWN_VECTOR(add, epi64)(total, part);
    }
    uint64_t lanes[sizeof(OwnVector) / 8];
    __builtin_memcpy(lanes, &total, sizeof total);
    for (const uint64_t lane : lanes)
        sum->whole += lane;
    const size_t bytes = vectors * sizeof(OwnVector);
    sum->whole += sumPlain<D, two, squares>(row.a + bytes, two ? row.b + bytes : nullptr, n % row.samples);
}
#else
template <class D, bool two>
void largest(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    keepLargest(sum, largestPlain<D, two>(a, b, n));
}
template <class D, bool two, bool squares>
void sumUp(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    sum->whole += sumPlain<D, two, squares>(a, b, n);
}
#endif

// ------------------------------------------------------------------------------------------------------ 32 bits

template <bool two>
void largest32(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    keepLargest(sum, largestPlain<Own32S, two>(a, b, n));
}
template <bool two>
void sum32(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    sum->whole += sumPlain<Own32S, two, false>(a, b, n);
}

// Sums in double precision: sixteen side by side, the same at every level.
template <class D, bool two, bool squares>
void sumLanes(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const typename D::Sample *b = static_cast<const typename D::Sample *>(b_);
    double lanes[16];
    __builtin_memcpy(lanes, sum->lanes, sizeof lanes);
    const auto add = [&](size_t i, size_t k) {
        const double d = static_cast<double>(a[i + k]) - (two ? static_cast<double>(b[i + k]) : 0.0);
        lanes[k] += squares ? d * d : __builtin_fabs(d);
    };
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        for (size_t k = 0; k < 16; ++k)
            add(i, k);
    }
    for (size_t k = 0; k < n - i; ++k)
        add(i, k);
    __builtin_memcpy(sum->lanes, lanes, sizeof lanes);
}

// ------------------------------------------------------------------------------------------- comparisons of floats

// The largest distance of n floats; NaN is none. A difference is formed in double precision.
template <bool two>
double largestFloatPlain(const void *a_, const void *b_, size_t n) {
    const OwnAnyF32 *a = static_cast<const OwnAnyF32 *>(a_);
    const OwnAnyF32 *b = static_cast<const OwnAnyF32 *>(b_);
    double most = 0;
    for (size_t i = 0; i < n; ++i) {
        const double d = __builtin_fabs(static_cast<double>(a[i]) - (two ? static_cast<double>(b[i]) : 0.0));
        most = d > most ? d : most;
    }
    return most;
}

void extremaPlain(const void *a_, size_t n, OwnExtrema *extrema) {
    const OwnAnyF32 *a = static_cast<const OwnAnyF32 *>(a_);
    for (size_t i = 0; i < n; ++i) {
        const float v = a[i];
        extrema->least = v < extrema->least ? v : extrema->least;
        extrema->largest = v > extrema->largest ? v : extrema->largest;
        if (v == 0) (__builtin_signbit(v) ? extrema->negativeZero : extrema->positiveZero) = true;
    }
}

void keepLargestReal(OwnNormSum *sum, double value) {
    if (value > sum->real) sum->real = value;
}

#if defined(OWN_HAS_VECTORS)
#if defined(__AVX2__)
using Floats = __m256;
using Doubles = __m256d;
[[gnu::always_inline]] inline Doubles widenLow(Floats v) {
    return _mm256_cvtps_pd(_mm256_castps256_ps128(v));
}
[[gnu::always_inline]] inline Doubles widenHigh(Floats v) {
    return _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1));
}
#else
using Floats = __m128;
using Doubles = __m128d;
[[gnu::always_inline]] inline Doubles widenLow(Floats v) {
    return _mm_cvtps_pd(v);
}
[[gnu::always_inline]] inline Doubles widenHigh(Floats v) {
    return _mm_cvtps_pd(_mm_movehl_ps(v, v));
}
#endif
constexpr size_t floatsOfVector = sizeof(Floats) / 4;

// Comparing instructions give their second operand where the first is NaN.
template <bool two>
void largestFloat(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const float *a = static_cast<const float *>(a_), *b = static_cast<const float *>(b_);
    constexpr size_t step = 2 * floatsOfVector;
    const Doubles sign = OWN_VECTOR(set1, pd)(-0.0);
    size_t i = 0;
    if constexpr (two) {
        Doubles most[2] = {};
        const auto keep = [&](Doubles u, Doubles v, Doubles *m) {
            *m = OWN_VECTOR(max, pd)(OWN_VECTOR(andnot, pd)(sign, OWN_VECTOR(sub, pd)(u, v)), *m);
        };
        for (; i + floatsOfVector <= n; i += floatsOfVector) {
            const Floats u = OWN_VECTOR(loadu, ps)(a + i), v = OWN_VECTOR(loadu, ps)(b + i);
            keep(widenLow(u), widenLow(v), &most[0]);
            keep(widenHigh(u), widenHigh(v), &most[1]);
        }
        double lanes[floatsOfVector];
        __builtin_memcpy(lanes, most, sizeof most);
        for (const double lane : lanes)
            keepLargestReal(sum, lane);
    } else {
        Floats most[2] = {};
        for (; i + step <= n; i += step) {
            for (size_t k = 0; k < 2; ++k) {
                const Floats v = OWN_VECTOR(loadu, ps)(a + i + k * floatsOfVector);
                most[k] = OWN_VECTOR(max, ps)(OWN_VECTOR(andnot, ps)(OWN_VECTOR(set1, ps)(-0.0f), v), most[k]);
            }
        }
        float lanes[step];
        __builtin_memcpy(lanes, most, sizeof most);
        for (const float lane : lanes)
            keepLargestReal(sum, static_cast<double>(lane));
    }
    keepLargestReal(sum, largestFloatPlain<two>(a + i, two ? b + i : nullptr, n - i));
}

void extrema(const void *a_, size_t n, OwnExtrema *extrema) {
    const float *a = static_cast<const float *>(a_);
    Floats least[2], largest[2];
    OwnVector negative = ownZero(), positive = ownZero();
    const OwnVector minusZero = OWN_VECTOR(set1, epi32)(INT32_MIN);
    for (size_t k = 0; k < 2; ++k) {
        least[k] = OWN_VECTOR(set1, ps)(extrema->least);
        largest[k] = OWN_VECTOR(set1, ps)(extrema->largest);
    }
    constexpr size_t step = 2 * floatsOfVector;
    size_t i = 0;
    for (; i + step <= n; i += step) {
        for (size_t k = 0; k < 2; ++k) {
            const OwnVector bits = ownLoad(reinterpret_cast<const char *>(a + i + k * floatsOfVector));
            const Floats v = __builtin_bit_cast(Floats, bits);
            least[k] = OWN_VECTOR(min, ps)(v, least[k]);
            largest[k] = OWN_VECTOR(max, ps)(v, largest[k]);
            negative = ownOr(negative, OWN_VECTOR(cmpeq, epi32)(bits, minusZero));
            positive = ownOr(positive, OWN_VECTOR(cmpeq, epi32)(bits, ownZero()));
        }
    }
    float ends[2 * step];
    __builtin_memcpy(ends, least, sizeof least);
    __builtin_memcpy(ends + step, largest, sizeof largest);
    for (size_t k = 0; k < step; ++k) {
        extrema->least = ends[k] < extrema->least ? ends[k] : extrema->least;
        extrema->largest = ends[step + k] > extrema->largest ? ends[step + k] : extrema->largest;
    }
    extrema->negativeZero = extrema->negativeZero || OWN_VECTOR(movemask, epi8)(negative) != 0;
    extrema->positiveZero = extrema->positiveZero || OWN_VECTOR(movemask, epi8)(positive) != 0;
    extremaPlain(a + i, n - i, extrema);
}
#else
template <bool two>
void largestFloat(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    keepLargestReal(sum, largestFloatPlain<two>(a, b, n));
}
void extrema(const void *a, size_t n, OwnExtrema *extrema) {
    extremaPlain(a, n, extrema);
}
#endif

// --------------------------------------------------------------------------------------------------------- bits

// The number of set bits: where processors do not count them, by adding neighbours (Warren, Hacker's Delight).
[[gnu::always_inline]] inline uint64_t countSet(uint64_t w) {
#if defined(__POPCNT__)
    return static_cast<uint64_t>(__builtin_popcountll(w));
#else
    w -= w >> 1 & 0x5555555555555555u;
    w = (w & 0x3333333333333333u) + (w >> 2 & 0x3333333333333333u);
    w = (w + (w >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
    return w * 0x0101010101010101u >> 56;
#endif
}

template <bool two>
void countBits(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const OwnAnyU64 *a = static_cast<const OwnAnyU64 *>(a_);
    const OwnAnyU64 *b = static_cast<const OwnAnyU64 *>(b_);
    const size_t bytes = (n + 7) / 8;
    uint64_t set = 0;
    for (size_t k = 0; k < bytes / 8; ++k)
        set += countSet(two ? a[k] ^ b[k] : a[k]);
    const unsigned char *u = static_cast<const unsigned char *>(a_), *v = static_cast<const unsigned char *>(b_);
    for (size_t k = bytes / 8 * 8; k < bytes; ++k)
        set += countSet(static_cast<uint64_t>(two ? u[k] ^ v[k] : u[k]));
    sum->whole += set;
}

template <bool two>
void anyBit(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    OwnNormSum count = {};
    countBits<two>(a, b, n, &count);
    if (count.whole != 0) sum->whole = 1;
}

// ----------------------------------------------------------------------------------------------------- moments

template <class D>
void momentsPlain(const void *a_, size_t from, size_t n, OwnMomentSums *sums) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    for (size_t i = from; i < n; ++i) {
        const auto x = static_cast<int64_t>(i);
        int64_t term = a[i];
        for (int m = 0; m < 4; ++m, term *= x)
            sums->whole[m] += term;
    }
}

#if defined(OWN_HAS_VECTORS)
// Blocks of 16 samples in 32-bit lanes.
constexpr size_t blockVectors = 64 / sizeof(OwnVector);
struct Block {
    OwnVector v[blockVectors];
};

#if defined(__AVX2__)
template <class D>
[[gnu::always_inline]] inline Block loadBlock(const typename D::Sample *at) {
    Block block;
    for (size_t k = 0; k < blockVectors; ++k) {
        const void *half = at + 8 * k;
        if constexpr (sizeof(typename D::Value) == 1) {
            const __m128i bytes = _mm_loadl_epi64(static_cast<const __m128i *>(half));
            block.v[k] =
                static_cast<typename D::Value>(-1) < 0 ? _mm256_cvtepi8_epi32(bytes) : _mm256_cvtepu8_epi32(bytes);
        } else {
            const __m128i words = _mm_loadu_si128(static_cast<const __m128i *>(half));
            block.v[k] =
                static_cast<typename D::Value>(-1) < 0 ? _mm256_cvtepi16_epi32(words) : _mm256_cvtepu16_epi32(words);
        }
    }
    return block;
}
#else
// A lane's sample is shifted down from its top half, with its sign where it has one.
template <class D>
[[gnu::always_inline]] inline Block loadBlock(const typename D::Sample *at) {
    constexpr bool isSigned = static_cast<typename D::Value>(-1) < 0;
    const char *bytes = reinterpret_cast<const char *>(at);
    OwnVector words[2];
    if constexpr (sizeof(typename D::Value) == 1) {
        const OwnVector v = ownLoad(bytes);
        const OwnVector low = _mm_unpacklo_epi8(ownZero(), v), high = _mm_unpackhi_epi8(ownZero(), v);
        words[0] = isSigned ? _mm_srai_epi16(low, 8) : _mm_srli_epi16(low, 8);
        words[1] = isSigned ? _mm_srai_epi16(high, 8) : _mm_srli_epi16(high, 8);
    } else {
        words[0] = ownLoad(bytes);
        words[1] = ownLoad(bytes + 16);
    }
    Block block;
    for (size_t k = 0; k < 4; ++k) {
        const OwnVector v =
            k % 2 == 0 ? _mm_unpacklo_epi16(ownZero(), words[k / 2]) : _mm_unpackhi_epi16(ownZero(), words[k / 2]);
        block.v[k] = isSigned ? _mm_srai_epi32(v, 16) : _mm_srli_epi32(v, 16);
    }
    return block;
}
#endif

template <class D>
struct MomentLane {
    using Type = uint32_t;
};
template <>
struct MomentLane<Own8S> {
    using Type = int32_t;
};
template <>
struct MomentLane<Own16S> {
    using Type = int32_t;
};

// Sums of running sums, with no product: after N blocks the sample of block j has been added N - j = u times to the
// second, u (u + 1) / 2 times to the third and u (u + 1) (u + 2) / 6 times to the last, from which the sums of powers
// of u follow, and of i = 16 (N - u) + lane. The longest stretch is that whose last sums fit 32 bits.
template <class D>
void moments(const void *a_, size_t n, OwnMomentSums *sums) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const size_t blocks = n / 16;
    Block running[4] = {};
    for (size_t j = 0; j < blocks; ++j) {
        const Block block = loadBlock<D>(a + 16 * j);
        for (size_t k = 0; k < blockVectors; ++k) {
            OwnVector v = block.v[k];
            for (Block &sum : running)
                sum.v[k] = v = OWN_VECTOR(add, epi32)(sum.v[k], v);
        }
    }
    typename MomentLane<D>::Type lanes[4][16];
    __builtin_memcpy(lanes, running, sizeof lanes);
    *sums = {};
    for (size_t lane = 0; lane < 16; ++lane) {
        const int64_t s0 = lanes[0][lane], u1 = lanes[1][lane], u2 = 2 * int64_t{lanes[2][lane]} - u1,
                      u3 = 6 * int64_t{lanes[3][lane]} - 3 * u2 - 2 * u1;
        const auto c = static_cast<int64_t>(16 * blocks + lane);
        sums->whole[0] += s0;
        sums->whole[1] += c * s0 - 16 * u1;
        sums->whole[2] += c * c * s0 - 32 * c * u1 + 256 * u2;
        sums->whole[3] += c * c * c * s0 - 48 * c * c * u1 + 768 * c * u2 - 4096 * u3;
    }
    momentsPlain<D>(a, 16 * blocks, n, sums);
}
#else
template <class D>
void moments(const void *a, size_t n, OwnMomentSums *sums) {
    *sums = {};
    momentsPlain<D>(a, 0, n, sums);
}
#endif

// In double precision, eight samples side by side, the same at every level.
#if defined(__AVX2__)
typedef double RealVector __attribute__((vector_size(32)));
#else
typedef double RealVector __attribute__((vector_size(16)));
#endif

template <class D>
void momentsReal(const void *a_, size_t n, OwnMomentSums *sums) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    constexpr size_t wide = sizeof(RealVector) / sizeof(double), vectors = 8 / wide;
    RealVector lanes[4][vectors] = {}, x[vectors];
    for (size_t k = 0; k < 8; ++k)
        x[k / wide][k % wide] = static_cast<double>(k);
    const auto add = [&](const typename D::Value(&samples)[8]) {
        for (size_t v = 0; v < vectors; ++v) {
            RealVector term;
            for (size_t k = 0; k < wide; ++k)
                term[k] = static_cast<double>(samples[v * wide + k]);
            for (int m = 0; m < 4; ++m, term *= x[v])
                lanes[m][v] += term;
            x[v] += 8.0;
        }
    };
    typename D::Value samples[8];
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        __builtin_memcpy(samples, a + i, sizeof samples);
        add(samples);
    }
    for (size_t k = 0; k < 8; ++k)
        samples[k] = i + k < n ? a[i + k] : 0;
    add(samples);
    for (int m = 0; m < 4; ++m) {
        double lane[8];
        __builtin_memcpy(lane, lanes[m], sizeof lane);
        sums->real[m] = ((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]));
    }
}

// The longest stretches: a lane's last sum is that of the largest sample times (N + 3)! / (N - 1)! / 4!.
constexpr size_t most8 = 16 * 140, most16 = 16 * 33, mostReal = 4096;

}  // namespace

// In the order 1U, 8U, 8S, 16U, 16S, 32S, 32F.
#define LARGEST(two)                                                                                       \
    {                                                                                                      \
        anyBit<two>, largest<Own8U, two>, largest<Own8S, two>, largest<Own16U, two>, largest<Own16S, two>, \
            largest32<two>, largestFloat<two>                                                              \
    }
#define SUMS(two)                                                                                      \
    {                                                                                                  \
        countBits<two>, sumUp<Own8U, two, false>, sumUp<Own8S, two, false>, sumUp<Own16U, two, false>, \
            sumUp<Own16S, two, false>, sum32<two>, sumLanes<Own32F, two, false>                        \
    }
#define SQUARES(two)                                                                                \
    {                                                                                               \
        countBits<two>, sumUp<Own8U, two, true>, sumUp<Own8S, two, true>, sumUp<Own16U, two, true>, \
            sumUp<Own16S, two, true>, sumLanes<Own32S, two, true>, sumLanes<Own32F, two, true>      \
    }
extern const OwnStatRows statRows;
const OwnStatRows statRows = {
    .one = {LARGEST(false), SUMS(false), SQUARES(false)},
    .difference = {LARGEST(true), SUMS(true), SQUARES(true)},
    .moments = {{nullptr, 0},
                {moments<Own8U>, most8},
                {moments<Own8S>, most8},
                {moments<Own16U>, most16},
                {moments<Own16S>, most16},
                {momentsReal<Own32S>, mostReal},
                {momentsReal<Own32F>, mostReal}},
    .extrema = extrema,
};

}  // namespace OWN_LEVEL
