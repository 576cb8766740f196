// Row kernels of norms and extrema, compiled once for each CPU level. A norm is one of distances: to the
// second image, or to 0. Distances are unsigned, since those of signed samples go beyond their type.
#include "frame/ownvector.h"
#include "stat/owndoubles.h"
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
template <class D>
constexpr bool isSigned = static_cast<typename D::Value>(-1) < 0;
template <class D>
constexpr bool isByte = sizeof(typename D::Value) == 1;

// Sums and largest values are kept in a few vectors: one would wait for itself.
constexpr size_t SIDES = 4;

// The vectors of a row, and their distances.
template <class D, bool two>
struct RowVectors {
    static constexpr size_t samples = sizeof(OwnVector) / sizeof(typename D::Value);
    const char *a, *b;
    OwnVector top = ownSplat<D>(isByte<D> ? 0x80 : 0x8000);

    OwnVector first(size_t k) const { return ownLoad(a + k * sizeof(OwnVector)); }
    OwnVector second(size_t k) const { return two ? ownLoad(b + k * sizeof(OwnVector)) : ownZero(); }

    // Signed samples turn into unsigned ones at the same distances.
    OwnVector raised(OwnVector v) const {
        if constexpr (isSigned<D>) return ownXor(v, top);
        return v;
    }

    OwnVector distance(size_t k) const {
        const OwnVector v = first(k);
        if constexpr (!two && !isSigned<D>) {
            return v;
#if defined(__AVX2__)
        } else if constexpr (isByte<D> && isSigned<D>) {
            if (!two) return _mm256_abs_epi8(v);
            const OwnVector w = second(k);
            return _mm256_sub_epi8(_mm256_max_epi8(v, w), _mm256_min_epi8(v, w));
        } else if constexpr (!two) {
            return _mm256_abs_epi16(v);
#endif
        } else if constexpr (isByte<D>) {
            const OwnVector u = raised(v), w = raised(second(k));
            return OWN_VECTOR(sub, epi8)(OWN_VECTOR(max, epu8)(u, w), OWN_VECTOR(min, epu8)(u, w));
        } else if constexpr (isSigned<D>) {
            const OwnVector w = second(k);
            return OWN_VECTOR(sub, epi16)(OWN_VECTOR(max, epi16)(v, w), OWN_VECTOR(min, epi16)(v, w));
        } else {
            const OwnVector w = second(k);
            return ownOr(OWN_VECTOR(subs, epu16)(v, w), OWN_VECTOR(subs, epu16)(w, v));
        }
    }

    OwnVector larger(OwnVector u, OwnVector v) const {
        if constexpr (isByte<D>) return OWN_VECTOR(max, epu8)(u, v);
#if defined(__AVX2__)
        return _mm256_max_epu16(u, v);
#else
        return _mm_add_epi16(_mm_subs_epu16(u, v), v);
#endif
    }
};

// The vectors of a row by step(k, side): all whole ones, their sides in turn.
template <class Step>
[[gnu::always_inline]] inline void bySides(size_t from, size_t end, const Step &step) {
    size_t k = from;
    for (; k + SIDES <= end; k += SIDES) {
        for (size_t side = 0; side < SIDES; ++side)
            step(k + side, side);
    }
    for (; k < end; ++k)
        step(k, 0);
}

template <class D, bool two>
void largest(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const RowVectors<D, two> row = {static_cast<const char *>(a_), static_cast<const char *>(b_)};
    const size_t vectors = n / row.samples, bytes = vectors * sizeof(OwnVector);
    OwnVector most[SIDES] = {};
    bySides(0, vectors, [&](size_t k, size_t side) { most[side] = row.larger(row.distance(k), most[side]); });
    for (size_t side = 1; side < SIDES; ++side)
        most[0] = row.larger(most[0], most[side]);
    typename D::Lane lanes[row.samples];
    __builtin_memcpy(lanes, &most[0], sizeof lanes);
    for (const typename D::Lane lane : lanes)
        keepLargest(sum, lane);
    keepLargest(sum, largestPlain<D, two>(row.a + bytes, two ? row.b + bytes : nullptr, n % row.samples));
}

// The lanes of a few vectors, added up within vectors as far as that goes: a store of theirs, read again as one that is
// wider, would have to be waited for.
[[gnu::always_inline]] inline uint64_t addWide(const OwnVector (&vectors)[SIDES]) {
    OwnVector sum = vectors[0];
    for (size_t side = 1; side < SIDES; ++side)
        sum = OWN_VECTOR(add, epi64)(sum, vectors[side]);
    uint64_t lanes[sizeof sum / 8], total = 0;
    __builtin_memcpy(lanes, &sum, sizeof sum);
    for (const uint64_t lane : lanes)
        total += lane;
    return total;
}

template <class Lane>
[[gnu::always_inline]] inline uint64_t addLanes(const OwnVector (&vectors)[SIDES]) {
    constexpr bool raised = static_cast<Lane>(-1) < 0;
    const OwnVector low = OWN_VECTOR(srli, epi64)(OWN_VECTOR(set1, epi32)(-1), 32),
                    top = OWN_VECTOR(set1, epi32)(INT32_MIN);
    OwnVector wide[SIDES];
    for (size_t side = 0; side < SIDES; ++side) {
        const OwnVector v = raised ? ownXor(vectors[side], top) : vectors[side];
        wide[side] = OWN_VECTOR(add, epi64)(ownAnd(v, low), OWN_VECTOR(srli, epi64)(v, 32));
    }
    // Raised lanes have 2^31 too much each.
    constexpr uint64_t lanes = SIDES * (sizeof(OwnVector) / 4);
    return addWide(wide) - (raised ? lanes << 31 : 0);
}

// Bytes: sums have an instruction of their own, squares are added up in pairs of 16 bits, each half of them in turn.
template <class D, bool two>
[[gnu::always_inline]] inline uint64_t sumBytes(const RowVectors<D, two> &row, size_t vectors) {
    OwnVector sums[SIDES] = {};
    bySides(0, vectors, [&](size_t k, size_t side) {
        const OwnVector u = row.raised(row.first(k)), v = row.raised(row.second(k));
        sums[side] = OWN_VECTOR(add, epi64)(sums[side], OWN_VECTOR(sad, epu8)(u, v));
    });
    return addWide(sums);
}
template <class D, bool two>
[[gnu::always_inline]] inline uint64_t squareBytes(const RowVectors<D, two> &row, size_t vectors) {
    constexpr size_t most = 8192;  // vectors whose squares fit 32 bits
    const OwnVector even = OWN_VECTOR(set1, epi16)(255);
    uint64_t sum = 0;
    for (size_t from = 0; from < vectors; from += most) {
        OwnVector sums[SIDES] = {};
        bySides(from, vectors - from > most ? from + most : vectors, [&](size_t k, size_t side) {
            // Shifts of memory find one port, shifts of a register two.
            const OwnVector d = ownInRegister(row.distance(k));
            const OwnVector low = ownAnd(d, even), high = OWN_VECTOR(srli, epi16)(d, 8);
            const OwnVector pairs =
                OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(low, low), OWN_VECTOR(madd, epi16)(high, high));
            sums[side] = OWN_VECTOR(add, epi32)(sums[side], pairs);
        });
        sum += addLanes<uint32_t>(sums);
    }
    return sum;
}

// 16 bits: products take signed factors. A distance d is s + 2^15, so that the sum of n of them is that of s and
// 2^15 n, and the squares add up to those of s, 2^16 times the sum of s, and 2^30 n. Signed samples are their own s,
// with nothing to be added for their squares.
template <class D, bool two, bool squares>
[[gnu::always_inline]] inline uint64_t sumWords(const RowVectors<D, two> &row, size_t vectors) {
    constexpr bool asIs = squares && !two && isSigned<D>;
    constexpr size_t most = 16384;  // vectors whose sums fit 32 bits
    const OwnVector one = OWN_VECTOR(set1, epi16)(1), top = OWN_VECTOR(set1, epi16)(INT16_MIN);
    // The squares of pairs, of up to 32 bits: those in the upper halves of 64 are added once more by themselves.
    OwnVector both[SIDES] = {}, upper[SIDES] = {};
    uint64_t linear = 0;
    for (size_t from = 0; from < vectors; from += most) {
        OwnVector sums[SIDES] = {};
        bySides(from, vectors - from > most ? from + most : vectors, [&](size_t k, size_t side) {
            const OwnVector s = asIs ? row.first(k) : ownXor(row.distance(k), top);
            if (!asIs) sums[side] = OWN_VECTOR(add, epi32)(sums[side], OWN_VECTOR(madd, epi16)(s, one));
            if (!squares) return;
            const OwnVector pairs = OWN_VECTOR(madd, epi16)(s, s);
            both[side] = OWN_VECTOR(add, epi64)(both[side], pairs);
            upper[side] = OWN_VECTOR(add, epi64)(upper[side], OWN_VECTOR(srli, epi64)(pairs, 32));
        });
        linear += addLanes<int32_t>(sums);
    }
    const uint64_t count = vectors * row.samples;
    if (!squares) return linear + (count << 15);
    const uint64_t high = addWide(upper), all = addWide(both) - (high << 32) + high;
    return asIs ? all : all + (linear << 16) + (count << 30);
}

template <class D, bool two, bool squares>
void sumUp(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const RowVectors<D, two> row = {static_cast<const char *>(a_), static_cast<const char *>(b_)};
    const size_t vectors = n / row.samples, bytes = vectors * sizeof(OwnVector);
    if constexpr (!isByte<D>) {
        sum->whole += sumWords<D, two, squares>(row, vectors);
    } else if constexpr (squares) {
        sum->whole += squareBytes(row, vectors);
    } else {
        sum->whole += sumBytes(row, vectors);
    }
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
[[gnu::always_inline]] inline Doubles widenLow(Floats v) {
    return _mm256_cvtps_pd(_mm256_castps256_ps128(v));
}
[[gnu::always_inline]] inline Doubles widenHigh(Floats v) {
    return _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1));
}
#else
using Floats = __m128;
[[gnu::always_inline]] inline Doubles widenLow(Floats v) {
    return _mm_cvtps_pd(v);
}
[[gnu::always_inline]] inline Doubles widenHigh(Floats v) {
    return _mm_cvtps_pd(_mm_movehl_ps(v, v));
}
#endif
// A processor that reads ahead stops at the end of a memory page.
[[gnu::always_inline]] inline void askAhead(const void *at) {
    __builtin_prefetch(static_cast<const char *>(at) + 1024);
}
constexpr size_t floatsOfVector = sizeof(Floats) / 4;

// Comparing instructions give their second operand where the first is NaN. A few vectors side by side, lest one wait
// for itself.
template <bool two>
void largestFloat(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const float *a = static_cast<const float *>(a_), *b = static_cast<const float *>(b_);
    constexpr size_t vectors = 4, step = vectors * floatsOfVector;
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
        Floats most[vectors] = {};
        for (; i + step <= n; i += step) {
            for (size_t k = 0; k < vectors; ++k) {
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
    constexpr size_t vectors = 4, step = vectors * floatsOfVector;
    Floats least[vectors], largest[vectors];
    OwnVector negative = ownZero(), positive = ownZero();
    const OwnVector minusZero = OWN_VECTOR(set1, epi32)(INT32_MIN);
    for (size_t k = 0; k < vectors; ++k) {
        least[k] = OWN_VECTOR(set1, ps)(extrema->least);
        largest[k] = OWN_VECTOR(set1, ps)(extrema->largest);
    }
    size_t i = 0;
    for (; i + step <= n; i += step) {
        askAhead(a + i);
        for (size_t k = 0; k < vectors; ++k) {
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

// ------------------------------------------------------------------------------------ sums in double precision

// Sixteen side by side, the same at every level: sample i belongs to lane i % 16.
template <class D, bool two, bool squares>
void sumLanes(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const typename D::Sample *b = static_cast<const typename D::Sample *>(b_);
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    constexpr size_t each = sizeof(Doubles) / sizeof(double), vectors = 16 / each;
    Doubles lanes[vectors];
    for (size_t v = 0; v < vectors; ++v)
        lanes[v] = OWN_VECTOR(loadu, pd)(sum->lanes + v * each);
    const Doubles sign = OWN_VECTOR(set1, pd)(-0.0);
    for (; i + 16 <= n; i += 16) {
        askAhead(a + i);
        if (two) askAhead(b + i);
        for (size_t v = 0; v < vectors; ++v) {
            Doubles d = loadDoubles<D>(a + i + v * each);
            if constexpr (two) d = OWN_VECTOR(sub, pd)(d, loadDoubles<D>(b + i + v * each));
            d = squares ? OWN_VECTOR(mul, pd)(d, d) : OWN_VECTOR(andnot, pd)(sign, d);
            lanes[v] = OWN_VECTOR(add, pd)(lanes[v], d);
        }
    }
    for (size_t v = 0; v < vectors; ++v)
        OWN_VECTOR(storeu, pd)(sum->lanes + v * each, lanes[v]);
#endif
    for (; i < n; ++i) {
        const double d = static_cast<double>(a[i]) - (two ? static_cast<double>(b[i]) : 0.0);
        sum->lanes[i % 16] += squares ? d * d : __builtin_fabs(d);
    }
}

// The lanes of a row in one order: each half of them is added to the other. Loads and stores are as wide as those
// above: others would wait for each other.
void endRow(OwnNormSum *sum) {
#if defined(__AVX2__)
    __m256d lanes[4];
    for (size_t v = 0; v < 4; ++v) {
        lanes[v] = _mm256_loadu_pd(sum->lanes + 4 * v);
        _mm256_storeu_pd(sum->lanes + 4 * v, _mm256_setzero_pd());
    }
    const __m256d four = _mm256_add_pd(_mm256_add_pd(lanes[0], lanes[2]), _mm256_add_pd(lanes[1], lanes[3]));
    const __m128d two = _mm_add_pd(_mm256_castpd256_pd128(four), _mm256_extractf128_pd(four, 1));
    sum->real += two[0] + two[1];
#else
    double lanes[16];
    __builtin_memcpy(lanes, sum->lanes, sizeof lanes);
    __builtin_memset(sum->lanes, 0, sizeof lanes);
    for (size_t width = 8; width > 0; width /= 2) {
        for (size_t i = 0; i < width; ++i)
            lanes[i] += lanes[i + width];
    }
    sum->real += lanes[0];
#endif
}

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

#if defined(__AVX2__)
// Of whole vectors: half bytes find their numbers in a table (Mula), and bytes of them add up as long as they hold it.
template <bool two>
uint64_t countVectors(const char *a, const char *b, size_t vectors) {
    constexpr size_t most = 31;
    const __m256i low = _mm256_set1_epi8(15);
    const __m256i numbers = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4, 0, 1, 1, 2, 1, 2, 2, 3, 1,
                                             2, 2, 3, 2, 3, 3, 4);
    __m256i sums[SIDES] = {};
    for (size_t from = 0; from < vectors; from += most) {
        const size_t end = vectors - from > most ? from + most : vectors;
        __m256i bytes = _mm256_setzero_si256();
        for (size_t k = from; k < end; ++k) {
            __m256i v = ownLoad(a + k * sizeof v);
            if (two) v = _mm256_xor_si256(v, ownLoad(b + k * sizeof v));
            const __m256i high = _mm256_and_si256(_mm256_srli_epi16(v, 4), low);
            bytes = _mm256_add_epi8(bytes, _mm256_shuffle_epi8(numbers, _mm256_and_si256(v, low)));
            bytes = _mm256_add_epi8(bytes, _mm256_shuffle_epi8(numbers, high));
        }
        sums[0] = _mm256_add_epi64(sums[0], _mm256_sad_epu8(bytes, _mm256_setzero_si256()));
    }
    return addWide(sums);
}
#endif

template <bool two>
void countBits(const void *a_, const void *b_, size_t n, OwnNormSum *sum) {
    const char *a = static_cast<const char *>(a_), *b = static_cast<const char *>(b_);
    const size_t bytes = (n + 7) / 8;
    uint64_t set = 0;
    size_t k = 0;
#if defined(__AVX2__)
    set = countVectors<two>(a, b, bytes / sizeof(OwnVector));
    k = bytes / sizeof(OwnVector) * sizeof(OwnVector);
#endif
    for (size_t part = 8; k < bytes; k += part) {
        if (part > bytes - k) part = bytes - k;
        uint64_t u = 0, v = 0;
        __builtin_memcpy(&u, a + k, part);
        if (two) __builtin_memcpy(&v, b + k, part);
        set += countSet(u ^ v);
    }
    sum->whole += set;
}

template <bool two>
void anyBit(const void *a, const void *b, size_t n, OwnNormSum *sum) {
    OwnNormSum count = {};
    countBits<two>(a, b, n, &count);
    if (count.whole != 0) sum->whole = 1;
}

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
extern const OwnNormRows normRows;
const OwnNormRows normRows = {
    .one = {LARGEST(false), SUMS(false), SQUARES(false)},
    .difference = {LARGEST(true), SUMS(true), SQUARES(true)},
    .endRow = endRow,
    .extrema = extrema,
};

}  // namespace OWN_LEVEL
