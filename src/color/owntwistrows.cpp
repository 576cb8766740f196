// The colour twist, compiled once for each CPU level.
#include "color/ownpixels.h"
#include "color/owntwist.h"
#include "color/ownwords.h"

namespace OWN_LEVEL {
namespace {

// Any entries: every product and sum is an integer below 2^50, and exact as a double; so is the shift.
template <class D>
void apply(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    const OwnTwist &twist = *static_cast<const OwnTwist *>(operation);
    const double scale = 1.0 / static_cast<double>(int64_t{1} << twist.shift);
    double m[3][4];
    for (int i = 0; i < 12; ++i)
        m[i / 4][i % 4] = twist.data[i / 4][i % 4] * scale;
    const Sample *a = static_cast<const Sample *>(rows[0]), *b = static_cast<const Sample *>(rows[1]),
                 *c = static_cast<const Sample *>(rows[2]);
    Sample *x = static_cast<Sample *>(rows[3]), *y = static_cast<Sample *>(rows[4]),
           *z = static_cast<Sample *>(rows[5]);
    const auto channel = [&](const double *of, double c1, double c2, double c3) {
        const double sum = of[0] * c1 + of[1] * c2 + of[2] * c3 + of[3];
        // What is limited first is truncated as it is rounded down.
        const double above = sum > 0 ? sum : 0;
        return static_cast<typename D::Value>(static_cast<int>(above < D::high ? above : D::high));
    };
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        const double c1 = a[i], c2 = b[i], c3 = c[i];
        x[i] = channel(m[0], c1, c2, c3);
        y[i] = channel(m[1], c1, c2, c3);
        z[i] = channel(m[2], c1, c2, c3);
    }
}

template <class D, bool wide>
struct Range {
    static constexpr double low = D::low, high = D::high;
};
template <class D>
struct Range<D, true> {
    static constexpr double low = -2147483648.0, high = 2147483647.0;
};

#if defined(OWN_HAS_VECTORS)

// Whether bytes times the entries are sums of words, and each sum an int.
bool fitsWords(const OwnTwist &twist) {
    for (const auto &row : twist.data) {
        for (int k = 0; k < 3; ++k) {
            if (row[k] != static_cast<int16_t>(row[k])) return false;
        }
        constexpr int room = INT32_MAX - 3 * 255 * 32768;
        if (row[3] > room || row[3] < -room) return false;
    }
    return true;
}

// Bytes, and entries of 16 bits.
size_t applyWords(void *const *rows, size_t n, const OwnTwist &twist) {
    constexpr size_t width = sizeof(OwnVector);
    const __m128i shift = _mm_cvtsi32_si128(twist.shift);
    OwnVector first[3], second[3], plus[3];
    for (int k = 0; k < 3; ++k) {
        first[k] = ownFactors(twist.data[k][0], twist.data[k][1]);
        second[k] = ownFactors(twist.data[k][2], 0);
        plus[k] = ownSplat<Own32S>(static_cast<uint32_t>(twist.data[k][3]));
    }
    const auto words = [&](OwnVector a, OwnVector b, OwnVector c, OwnVector *result) {
        const OwnPairs pairs = ownPair(a, b, c);
        for (int k = 0; k < 3; ++k) {
            const auto sum = [&](const OwnVector *of) {
                const OwnVector some = OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(of[0], first[k]), plus[k]);
                const OwnVector all = OWN_VECTOR(add, epi32)(some, OWN_VECTOR(madd, epi16)(of[1], second[k]));
                return OWN_VECTOR(sra, epi32)(all, shift);
            };
            result[k] = OWN_VECTOR(packs, epi32)(sum(pairs.low), sum(pairs.high));
        }
    };
    size_t i = 0;
    for (; i + width <= n; i += width) {
        const OwnVector a = ownLoad(static_cast<const char *>(rows[0]) + i),
                        b = ownLoad(static_cast<const char *>(rows[1]) + i),
                        c = ownLoad(static_cast<const char *>(rows[2]) + i);
        OwnVector low[3], high[3];
        words(ownWords<0>(a), ownWords<0>(b), ownWords<0>(c), low);
        words(ownWords<1>(a), ownWords<1>(b), ownWords<1>(c), high);
        for (int k = 0; k < 3; ++k)
            ownStore(static_cast<char *>(rows[3 + k]) + i, OWN_VECTOR(packus, epi16)(low[k], high[k]));
    }
    return i;
}

#endif

void applyBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const OwnTwist &twist = *static_cast<const OwnTwist *>(operation);
    if (fitsWords(twist)) i = applyWords(rows, n, twist);
#endif
    void *rest[6];
    for (int k = 0; k < 6; ++k)
        rest[k] = static_cast<char *>(rows[k]) + i;
    if (i < n) apply<Own8U>(rest, n - i, operation);
}

// The nearest sample, ties to even; the least for what is no number.
template <class D>
[[gnu::always_inline]] inline typename D::Value round(double value) {
    if constexpr (__is_same(typename D::Value, float)) {
        return static_cast<float>(value);
    } else {
        constexpr bool wide = sizeof(typename D::Value) == 4;
        constexpr double low = Range<D, wide>::low, high = Range<D, wide>::high;
        const double above = value > low ? value : low, limited = above < high ? above : high;
        // The sum has no bits for a fraction.
        return static_cast<typename D::Value>(static_cast<int>(limited + 6755399441055744.0 - 6755399441055744.0));
    }
}

template <class S, class D>
void real(void *const *rows, size_t n, const void *operation) {
    const OwnTwistFP twist = *static_cast<const OwnTwistFP *>(operation);
    const typename S::Sample *a = static_cast<const typename S::Sample *>(rows[0]),
                             *b = static_cast<const typename S::Sample *>(rows[1]),
                             *c = static_cast<const typename S::Sample *>(rows[2]);
    typename D::Sample *x = static_cast<typename D::Sample *>(rows[3]), *y = static_cast<typename D::Sample *>(rows[4]),
                       *z = static_cast<typename D::Sample *>(rows[5]);
    const auto channel = [](const double *of, double c1, double c2, double c3) {
        return round<D>(of[0] * c1 + of[1] * c2 + of[2] * c3 + of[3]);
    };
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        const double c1 = a[i], c2 = b[i], c3 = c[i];
        x[i] = channel(twist.data[0], c1, c2, c3);
        y[i] = channel(twist.data[1], c1, c2, c3);
        z[i] = channel(twist.data[2], c1, c2, c3);
    }
}

#if defined(OWN_HAS_VECTORS)

// Sums of bytes times a matrix in fixed point, which are exact; so are those of the doubles, with fewer than 53 bits.
template <bool hasRests>
struct FixedRows {
    OwnVector factors[3][3], plus[3], rests[3][2];
    __m128i point, fraction;

    explicit FixedRows(const OwnTwistFP &twist) {
        point = _mm_cvtsi32_si128(twist.point);
        fraction = _mm_cvtsi32_si128(32 - twist.point);
        const int half = 1 << (twist.point - 1);
        for (int k = 0; k < 3; ++k) {
            for (int i = 0; i < 3; ++i) {
                const int low = twist.fixed[k][i] & 127;
                factors[k][i] = ownFactors((twist.fixed[k][i] - low) / 128, low);
            }
            plus[k] = ownSplat<Own32S>(static_cast<uint32_t>(twist.fixed[k][3] + half));
            rests[k][0] = ownFactors(twist.rest[k][0], twist.rest[k][1]);
            rests[k][1] = ownFactors(twist.rest[k][2], twist.rest[k][3]);
        }
    }

    // From words, each beside 128 times itself, and from pairs of them: the nearest number, ties to even.
    [[gnu::always_inline]] OwnVector sum(int k, const OwnVector *of, const OwnVector *pairs) const {
        const auto part = [&](int i) { return OWN_VECTOR(madd, epi16)(of[i], factors[k][i]); };
        OwnVector all =
            OWN_VECTOR(add, epi32)(OWN_VECTOR(add, epi32)(part(0), part(1)), OWN_VECTOR(add, epi32)(part(2), plus[k]));
        OwnVector below = ownZero();
        if (hasRests) {
            const OwnVector rest = OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(pairs[0], rests[k][0]),
                                                          OWN_VECTOR(madd, epi16)(pairs[1], rests[k][1]));
            all = OWN_VECTOR(add, epi32)(all, OWN_VECTOR(srai, epi32)(rest, 15));
            below = OWN_VECTOR(slli, epi32)(rest, 17);
        }
        const OwnVector whole = OWN_VECTOR(sra, epi32)(all, point);
        below = ownOr(below, OWN_VECTOR(sll, epi32)(all, fraction));
        const OwnVector tie = OWN_VECTOR(cmpeq, epi32)(below, ownZero());
        const OwnVector odd = ownAnd(whole, OWN_VECTOR(srli, epi32)(tie, 31));
        return OWN_VECTOR(sub, epi32)(whole, odd);
    }

    [[gnu::always_inline]] void words(OwnVector a, OwnVector b, OwnVector c, OwnVector *result) const {
        const OwnPairs pairs = ownPair(a, b, c);
        const OwnVector words[] = {a, b, c};
        OwnVector low[3], high[3];
        for (int i = 0; i < 3; ++i) {
            const OwnVector times = OWN_VECTOR(slli, epi16)(words[i], 7);
            low[i] = OWN_VECTOR(unpacklo, epi16)(times, words[i]);
            high[i] = OWN_VECTOR(unpackhi, epi16)(times, words[i]);
        }
        for (int k = 0; k < 3; ++k)
            result[k] = OWN_VECTOR(packs, epi32)(sum(k, low, pairs.low), sum(k, high, pairs.high));
    }
};

template <bool hasRests>
size_t realWords(void *const *rows, size_t n, const OwnTwistFP &twist) {
    constexpr size_t width = sizeof(OwnVector);
    const FixedRows<hasRests> fixed(twist);
    size_t i = 0;
    for (; i + width <= n; i += width) {
        const OwnVector a = ownLoad(static_cast<const char *>(rows[0]) + i),
                        b = ownLoad(static_cast<const char *>(rows[1]) + i),
                        c = ownLoad(static_cast<const char *>(rows[2]) + i);
        OwnVector low[3], high[3];
        fixed.words(ownWords<0>(a), ownWords<0>(b), ownWords<0>(c), low);
        fixed.words(ownWords<1>(a), ownWords<1>(b), ownWords<1>(c), high);
        for (int k = 0; k < 3; ++k)
            ownStore(static_cast<char *>(rows[3 + k]) + i, OWN_VECTOR(packus, epi16)(low[k], high[k]));
    }
    return i;
}

#endif

void realBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const OwnTwistFP &twist = *static_cast<const OwnTwistFP *>(operation);
    if (twist.point) i = twist.hasRests ? realWords<true>(rows, n, twist) : realWords<false>(rows, n, twist);
#endif
    void *rest[6];
    for (int k = 0; k < 6; ++k)
        rest[k] = static_cast<char *>(rows[k]) + i;
    if (i < n) real<Own8U, Own8U>(rest, n - i, operation);
}

}  // namespace

#define TO_ALL(S) TO_ALL_BESIDE(S, (real<S, Own8U>))
#define TO_ALL_BESIDE(S, toBytes) \
    { nullptr, toBytes, real<S, Own8S>, real<S, Own16U>, real<S, Own16S>, real<S, Own32S>, real<S, Own32F> }
extern const OwnTwistRows twistRows;
const OwnTwistRows twistRows = {
    {applyBytes, apply<Own16U>},
    {{},
     TO_ALL_BESIDE(Own8U, realBytes),
     TO_ALL(Own8S),
     TO_ALL(Own16U),
     TO_ALL(Own16S),
     TO_ALL(Own32S),
     TO_ALL(Own32F)},
};

}  // namespace OWN_LEVEL
