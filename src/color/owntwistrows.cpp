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

// The places below a unit of 16 bits whose multiples of 16 bits the offsets are; -1 where there is none.
int placesOfUnit(const OwnTwist &twist) {
    for (int places = 0; places < 15; ++places) {
        bool fits = true;
        for (const auto &row : twist.data) {
            const int multiple = row[3] >> places;
            fits = fits && multiple == static_cast<int16_t>(multiple) && multiple * (1 << places) == row[3];
        }
        if (fits) return places;
    }
    return -1;
}

// Lanes shifted right by a count that is the same for all.
[[gnu::always_inline]] inline OwnVector shiftedBy(OwnVector lanes, int count) {
#if defined(__AVX2__)
    return _mm256_srav_epi32(lanes, _mm256_set1_epi32(count));  // one step; that by a scalar takes two
#else
    return _mm_sra_epi32(lanes, _mm_cvtsi32_si128(count));
#endif
}

// Bytes, and entries of 16 bits. Offsets are added by themselves unless they are multiples of a unit.
template <bool apart>
size_t applyWords(void *const *rows, size_t n, const OwnTwist &twist, int places) {
    constexpr size_t width = sizeof(OwnVector);
    const OwnVector unit = ownSplat<Own16S>(1u << places);
    OwnVector first[3], second[3], plus[3];
    for (int k = 0; k < 3; ++k) {
        first[k] = ownFactors(twist.data[k][0], twist.data[k][1]);
        second[k] = ownFactors(twist.data[k][2], apart ? 0 : twist.data[k][3] >> places);
        plus[k] = ownSplat<Own32S>(static_cast<uint32_t>(twist.data[k][3]));
    }
    const auto words = [&](OwnVector a, OwnVector b, OwnVector c, OwnVector *result) {
        const OwnPairs pairs = ownPair(a, b, c, unit);
        for (int k = 0; k < 3; ++k) {
            const auto sum = [&](const OwnVector *of) {
                OwnVector some = OWN_VECTOR(madd, epi16)(of[0], first[k]);
                if (apart) some = OWN_VECTOR(add, epi32)(some, plus[k]);
                const OwnVector all = OWN_VECTOR(add, epi32)(some, OWN_VECTOR(madd, epi16)(of[1], second[k]));
                return shiftedBy(all, twist.shift);
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
    if (fitsWords(twist)) {
        const int places = placesOfUnit(twist);
        i = places < 0 ? applyWords<true>(rows, n, twist, 0) : applyWords<false>(rows, n, twist, places);
    }
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

    explicit FixedRows(const OwnTwistFP &twist)
        : point(_mm_cvtsi32_si128(twist.point)), fraction(_mm_cvtsi32_si128(32 - twist.point)) {
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

// The rows of a vector of bytes: form.words(a, b, c, result), words in and words out.
template <class Form>
[[gnu::always_inline]] inline void realVector(void *const *rows, size_t i, const Form &form, OwnVector *results) {
    const OwnVector a = ownLoad(static_cast<const char *>(rows[0]) + i),
                    b = ownLoad(static_cast<const char *>(rows[1]) + i),
                    c = ownLoad(static_cast<const char *>(rows[2]) + i);
    OwnVector low[3], high[3];
    form.words(ownWords<0>(a), ownWords<0>(b), ownWords<0>(c), low);
    form.words(ownWords<1>(a), ownWords<1>(b), ownWords<1>(c), high);
    for (int k = 0; k < 3; ++k)
        results[k] = OWN_VECTOR(packus, epi16)(low[k], high[k]);
}

[[gnu::always_inline]] inline void putVector(void *const *rows, size_t i, const OwnVector *results) {
    for (int k = 0; k < 3; ++k)
        ownStore(static_cast<char *>(rows[3 + k]) + i, results[k]);
}

template <bool hasRests>
size_t realWords(void *const *rows, size_t n, const OwnTwistFP &twist) {
    const FixedRows<hasRests> fixed(twist);
    size_t i = 0;
    for (; i + sizeof(OwnVector) <= n; i += sizeof(OwnVector)) {
        OwnVector results[3];
        realVector(rows, i, fixed, results);
        putVector(rows, i, results);
    }
    return i;
}

// Sums with 32 places behind the point, in two parts of 16 bits. They are rounded up at ties, and tell of those: there
// the lower words of both parts are 0.
struct DirectRows {
    OwnVector upper[3][2], lower[3][2];
    mutable OwnVector tied = ownZero();  // lanes whose lower words are not 0 where one may be

    explicit DirectRows(const OwnTwistFP &twist) {
        for (int k = 0; k < 3; ++k) {
            int above[4], below[4];
            for (int i = 0; i < 4; ++i) {
                below[i] = static_cast<int16_t>(twist.direct[k][i]);
                above[i] = (twist.direct[k][i] - below[i]) / 65536;
            }
            for (int i = 0; i < 2; ++i) {
                upper[k][i] = ownFactors(above[2 * i], above[2 * i + 1]);
                lower[k][i] = ownFactors(below[2 * i], below[2 * i + 1]);
            }
        }
    }

    [[gnu::always_inline]] OwnVector sum(int k, const OwnVector *pairs) const {
        const auto both = [&](const OwnVector *factors) {
            return OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(pairs[0], factors[0]),
                                          OWN_VECTOR(madd, epi16)(pairs[1], factors[1]));
        };
        const OwnVector rest = both(lower[k]);
        const OwnVector all = OWN_VECTOR(add, epi32)(both(upper[k]), OWN_VECTOR(srai, epi32)(rest, 16));
        const OwnVector test = OWN_VECTOR(add, epi32)(all, rest);
        tied = ownOr(tied, OWN_VECTOR(cmpeq, epi16)(test, ownZero()));
        return OWN_VECTOR(srai, epi32)(all, 16);
    }
    [[gnu::always_inline]] void words(OwnVector a, OwnVector b, OwnVector c, OwnVector *result) const {
        const OwnPairs pairs =
            ownPair(ownShiftLeft(a, 2), ownShiftLeft(b, 2), ownShiftLeft(c, 2), ownSplat<Own16S>(OwnTwistFP::unit));
        for (int k = 0; k < 3; ++k)
            result[k] = OWN_VECTOR(packs, epi32)(sum(k, pairs.low), sum(k, pairs.high));
    }
    [[gnu::always_inline]] bool mayBeTied() const {
        return (static_cast<unsigned>(OWN_VECTOR(movemask, epi8)(tied)) & 0x33333333) != 0;
    }
};

[[gnu::noinline]] void realTied(void *const *rows, size_t i, const OwnTwistFP &twist) {
    void *at[6];
    for (int k = 0; k < 6; ++k)
        at[k] = static_cast<char *>(rows[k]) + i;
    realWords<true>(at, sizeof(OwnVector), twist);
}

size_t realDirect(void *const *rows, size_t n, const OwnTwistFP &twist) {
    DirectRows direct(twist);
    size_t i = 0;
    for (; i + sizeof(OwnVector) <= n; i += sizeof(OwnVector)) {
        OwnVector results[3];
        direct.tied = ownZero();
        realVector(rows, i, direct, results);
        if (__builtin_expect(direct.mayBeTied(), 0)) {
            realTied(rows, i, twist);
        } else {
            putVector(rows, i, results);
        }
    }
    return i;
}

#endif

void realBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const OwnTwistFP &twist = *static_cast<const OwnTwistFP *>(operation);
    if (twist.isDirect) {
        i = realDirect(rows, n, twist);
    } else if (twist.point) {
        i = twist.hasRests ? realWords<true>(rows, n, twist) : realWords<false>(rows, n, twist);
    }
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
