// Row kernels of the median, compiled once for each CPU level.
#include "filter/ownmedian.h"
#include "filter/ownorder.h"

namespace OWN_LEVEL {
namespace {

int64_t middleOf(const OwnRankBlock &b) {
    return (b.nRows * b.nCols - 1) / 2;
}

template <class D>
size_t outBytes(const OwnRankBlock &b) {
    return b.width * b.channels * sizeof(typename D::Value);
}

// ------------------------------------------------------------------------------------------------- sorting networks

// Vectors of samples; sorted ones are so lane by lane, the lowest first.
template <class Stride, int count>
struct Sorted {
    typename Stride::Vector at[count];
};

template <class Stride>
[[gnu::always_inline]] inline void exchange(typename Stride::Vector &a, typename Stride::Vector &b) {
    const auto low = Stride::smaller(a, b);
    b = Stride::larger(a, b);
    a = low;
}

// count neighbours along a row.
template <class Stride, int count>
[[gnu::always_inline]] inline Sorted<Stride, count> sortAlong(const uint8_t *row, size_t pixel) {
    Sorted<Stride, count> s;
    for (size_t k = 0; k < count; ++k)
        s.at[k] = Stride::load(row + k * pixel);
    const auto order = [&](int a, int b) __attribute__((always_inline)) {
        exchange<Stride>(s.at[a], s.at[b]);
    };
    if constexpr (count == 3) {
        order(0, 1);
        order(1, 2);
        order(0, 1);
    } else {
        order(0, 1);
        order(3, 4);
        order(2, 4);
        order(2, 3);
        order(1, 4);
        order(0, 3);
        order(0, 2);
        order(1, 3);
        order(1, 2);
    }
    return s;
}

// Two rows of neighbours that are next to each other are shared by two windows, that which has the row above them and
// that which has the row below: what can still be the median of these is kept, and what the third row brings decides.
// The median is the median of the largest low, the median middle and the smallest high one.
template <class Stride>
struct Three {
    using Vector = typename Stride::Vector;
    static constexpr int size = 3;
    using Row = Sorted<Stride, 3>;
    struct Shared {
        Vector low, middleLow, middleHigh, high;
    };

    [[gnu::always_inline]] static Shared share(const Row *rows) {
        const Row &a = rows[0], &b = rows[1];
        return {Stride::larger(a.at[0], b.at[0]), Stride::smaller(a.at[1], b.at[1]), Stride::larger(a.at[1], b.at[1]),
                Stride::smaller(a.at[2], b.at[2])};
    }
    [[gnu::always_inline]] static Vector finish(const Shared &s, const Row &row) {
        const Vector a = Stride::larger(s.low, row.at[0]);
        const Vector b = Stride::larger(s.middleLow, Stride::smaller(s.middleHigh, row.at[1]));
        const Vector c = Stride::smaller(s.high, row.at[2]);
        return Stride::larger(Stride::smaller(a, b), Stride::smaller(Stride::larger(a, b), c));
    }
};

// Batcher's odd-even merge. What is not used of its results costs nothing.
template <class Stride, int nA, int nB>
[[gnu::always_inline]] inline Sorted<Stride, nA + nB> merge(const Sorted<Stride, nA> &a, const Sorted<Stride, nB> &b) {
    Sorted<Stride, nA + nB> s;
    if constexpr (nA == 1 && nB == 1) {
        s.at[0] = Stride::smaller(a.at[0], b.at[0]);
        s.at[1] = Stride::larger(a.at[0], b.at[0]);
    } else {
        constexpr int evenA = (nA + 1) / 2, evenB = (nB + 1) / 2;
        Sorted<Stride, evenA> a0;
        Sorted<Stride, evenB> b0;
        Sorted<Stride, nA - evenA> a1;
        Sorted<Stride, nB - evenB> b1;
        for (int i = 0; i < nA; ++i)
            (i % 2 == 0 ? a0.at[i / 2] : a1.at[i / 2]) = a.at[i];
        for (int i = 0; i < nB; ++i)
            (i % 2 == 0 ? b0.at[i / 2] : b1.at[i / 2]) = b.at[i];
        const auto even = merge<Stride, evenA, evenB>(a0, b0);
        const auto odd = merge<Stride, nA - evenA, nB - evenB>(a1, b1);
        constexpr int evens = evenA + evenB, odds = nA + nB - evens;
        s.at[0] = even.at[0];
        for (int i = 0; i < odds && i + 1 < evens; ++i) {
            s.at[2 * i + 1] = Stride::smaller(odd.at[i], even.at[i + 1]);
            s.at[2 * i + 2] = Stride::larger(odd.at[i], even.at[i + 1]);
        }
        s.at[nA + nB - 1] = odds == evens ? odd.at[odds - 1] : even.at[evens - 1];
    }
    return s;
}

// Four rows are shared by two windows. They are merged in twos, and these pairs are shared by two such fours.
template <class Stride>
struct Five {
    using Vector = typename Stride::Vector;
    static constexpr int size = 5;
    using Row = Sorted<Stride, 5>;
    using Pair = Sorted<Stride, 10>;
    using Shared = Sorted<Stride, 6>;  // 7 to 12 of the four rows

    [[gnu::always_inline]] static Pair pair(const Row &a, const Row &b) { return merge<Stride, 5, 5>(a, b); }

    // Of a sorted pair of rows another merge's results 7 to 12.
    [[gnu::always_inline]] static Shared share(const Pair &a, const Pair &b) {
        const Sorted<Stride, 20> s = merge<Stride, 10, 10>(a, b);
        Shared kept;
        for (int i = 0; i < 6; ++i)
            kept.at[i] = s.at[7 + i];
        return kept;
    }

    // Number 12 of all: with j of the fifth row below it, the others are of the four rows.
    [[gnu::always_inline]] static Vector finish(const Shared &s, const Row &row) {
        Vector median = s.at[5];
        for (int j = 0; j < 5; ++j)
            median = Stride::smaller(median, Stride::larger(s.at[4 - j], row.at[j]));
        return median;
    }
};

template <class D>
void three(const OwnRankBlock &b) {
    const size_t pixel = b.channels * sizeof(typename D::Value);
    ownOverRow<D, 1>(outBytes<D>(b), [&]<class Stride, size_t>(size_t at) {
        using Net = Three<Stride>;
        const auto sorted = [&](int64_t r) { return sortAlong<Stride, 3>(b.rows[r] + at, pixel); };
        const auto put = [&](int64_t r, typename Stride::Vector v) { Stride::store(b.out + r * b.outStep + at, v); };
        typename Net::Row rows[4] = {sorted(0), sorted(1)};
        int64_t r = 0;
        for (; r + 2 <= b.height; r += 2) {
            rows[2] = sorted(r + 2);
            rows[3] = sorted(r + 3);
            const typename Net::Shared shared = Net::share(rows + 1);
            put(r, Net::finish(shared, rows[0]));
            put(r + 1, Net::finish(shared, rows[3]));
            rows[0] = rows[2];
            rows[1] = rows[3];
        }
        if (r < b.height) {
            rows[2] = sorted(r + 2);
            put(r, Net::finish(Net::share(rows + 1), rows[0]));
        }
    });
}

template <class D>
void five(const OwnRankBlock &b) {
    const size_t pixel = b.channels * sizeof(typename D::Value);
    ownOverRow<D, 1>(outBytes<D>(b), [&]<class Stride, size_t>(size_t at) {
        using Net = Five<Stride>;
        const auto sorted = [&](int64_t r) { return sortAlong<Stride, 5>(b.rows[r] + at, pixel); };
        const auto put = [&](int64_t r, typename Stride::Vector v) { Stride::store(b.out + r * b.outStep + at, v); };
        typename Net::Row first = sorted(0), above = sorted(1), below = sorted(2), last = sorted(3);
        typename Net::Pair upper = Net::pair(above, below);
        for (int64_t r = 0; r < b.height; r += 2) {
            // The shared rows are r + 1 to r + 4; first is row r.
            const typename Net::Row fourth = sorted(r + 4);
            const typename Net::Pair lower = Net::pair(last, fourth);
            const typename Net::Shared shared = Net::share(upper, lower);
            put(r, Net::finish(shared, first));
            if (r + 1 >= b.height) return;
            const typename Net::Row fifth = sorted(r + 5);
            put(r + 1, Net::finish(shared, fifth));
            first = below;
            below = fourth;
            last = fifth;
            upper = lower;
        }
    });
}

// ------------------------------------------------------------------------------------------------------ bits searched

// Arithmetic on lanes: signed comparison, whose results are 0 and -1.
template <class Stride>
struct Lanes {
    using Vector = typename Stride::Vector;
    using Value = typename Stride::D::Value;
    static constexpr size_t bytes = sizeof(Value);

    static Vector splat(uint32_t value) {
#if defined(OWN_HAS_VECTORS)
        if constexpr (!__is_same(Stride, OwnSingle<typename Stride::D>))
            return ownSplat<typename Stride::D>(value);
        else
#endif
            return static_cast<Vector>(value);
    }
    [[gnu::always_inline]] static Vector add(Vector a, Vector b) {
#if defined(OWN_HAS_VECTORS)
        if constexpr (!__is_same(Stride, OwnSingle<typename Stride::D>)) {
            if constexpr (bytes == 1)
                return OWN_VECTOR(add, epi8)(a, b);
            else if constexpr (bytes == 2)
                return OWN_VECTOR(add, epi16)(a, b);
            else
                return OWN_VECTOR(add, epi32)(a, b);
        } else
#endif
            return static_cast<Vector>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
    }
    [[gnu::always_inline]] static Vector both(Vector a, Vector b) {
#if defined(OWN_HAS_VECTORS)
        if constexpr (!__is_same(Stride, OwnSingle<typename Stride::D>))
            return ownAnd(a, b);
        else
#endif
            return static_cast<Vector>(a & b);
    }
    [[gnu::always_inline]] static Vector greater(Vector a, Vector b) {
#if defined(OWN_HAS_VECTORS)
        if constexpr (!__is_same(Stride, OwnSingle<typename Stride::D>)) {
            if constexpr (bytes == 1)
                return OWN_VECTOR(cmpgt, epi8)(a, b);
            else if constexpr (bytes == 2)
                return OWN_VECTOR(cmpgt, epi16)(a, b);
            else
                return OWN_VECTOR(cmpgt, epi32)(a, b);
        } else
#endif
            return a > b ? -1 : 0;
    }
};

// Samples of the unsigned kinds are searched as signed ones.
template <class D>
struct SignedOf {
    using Type = D;
    static constexpr uint32_t bias = 0;
};
template <>
struct SignedOf<Own8U> {
    using Type = Own8S;
    static constexpr uint32_t bias = 0x80;
};
template <>
struct SignedOf<Own16U> {
    using Type = Own16S;
    static constexpr uint32_t bias = 0x8000;
};

template <class D>
void flipRow(const uint8_t *row, uint8_t *out, size_t bytes) {
    using S = typename SignedOf<D>::Type;
    ownOverRow<S, 1>(bytes, [&]<class Stride, size_t>(size_t at) {
        using L = Lanes<Stride>;
        Stride::store(out + at, L::add(Stride::load(row + at), L::splat(SignedOf<D>::bias)));
    });
}

// The median as far as its bits are known, with the next bit set: it has that bit if no more than `middle` samples are
// below.
template <class D>
void search(const OwnRankBlock &b) {
    using S = typename SignedOf<D>::Type;
    constexpr uint32_t bias = SignedOf<D>::bias;
    constexpr int bits = 8 * sizeof(typename D::Value);
    const size_t pixel = b.channels * sizeof(typename D::Value);
    const size_t padded = (b.width + static_cast<size_t>(b.nCols) - 1) * pixel;
    const int64_t middle = middleOf(b);
    for (int64_t r = 0; bias != 0 && r < b.height + b.nRows - 1; ++r)
        flipRow<D>(b.rows[r], b.scratch + r * b.scratchStep, padded);
    for (int64_t r = 0; r < b.height; ++r) {
        uint8_t *out = b.out + r * b.outStep;
        ownOverRow<S, 4>(outBytes<D>(b), [&]<class Stride, size_t blocks>(size_t at) {
            using L = Lanes<Stride>;
            using Vector = typename Stride::Vector;
            const Vector enough = L::splat(static_cast<uint32_t>(-middle - 1));
            Vector known[blocks];
            for (size_t k = 0; k < blocks; ++k)
                known[k] = L::splat(uint32_t{1} << (bits - 1));
            for (int bit = bits - 1; bit >= 0; --bit) {
                const Vector more = L::splat(uint32_t{1} << bit);
                Vector tried[blocks], below[blocks];
                for (size_t k = 0; k < blocks; ++k) {
                    tried[k] = L::add(known[k], more);
                    below[k] = L::splat(0);
                }
                for (int64_t v = r; v < r + b.nRows; ++v) {
                    const uint8_t *row = (bias != 0 ? b.scratch + v * b.scratchStep : b.rows[v]) + at;
                    for (int64_t u = 0; u < b.nCols; ++u, row += pixel) {
                        for (size_t k = 0; k < blocks; ++k) {
                            const Vector sample = Stride::load(row + k * Stride::bytes);
                            below[k] = L::add(below[k], L::greater(tried[k], sample));
                        }
                    }
                }
                for (size_t k = 0; k < blocks; ++k)
                    known[k] = L::add(known[k], L::both(more, L::greater(below[k], enough)));
            }
            for (size_t k = 0; k < blocks; ++k)
                Stride::store(out + at + k * Stride::bytes, L::add(known[k], L::splat(bias)));
        });
    }
}

// ------------------------------------------------------------------------------------------------------ sliding counts

// How often each value occurs in a window, the values that occur as bits, and of these bits' words those that are not
// 0: from one value to the next that occurs it is a few steps.
struct Counts {
    uint32_t *of;
    uint64_t *present, *words;

    explicit Counts(uint8_t *scratch)
        : of(reinterpret_cast<uint32_t *>(scratch)),
          present(reinterpret_cast<uint64_t *>(scratch + (1 << 16) * 4)),
          words(reinterpret_cast<uint64_t *>(scratch + (1 << 16) * 4 + (1 << 16) / 8)) {}

    void put(unsigned value) const {
        if (of[value]++ != 0) return;
        present[value / 64] |= uint64_t{1} << value % 64;
        words[value / 4096] |= uint64_t{1} << value / 64 % 64;
    }
    void take(unsigned value) const {
        if (--of[value] != 0) return;
        present[value / 64] &= ~(uint64_t{1} << value % 64);
        if (present[value / 64] == 0) words[value / 4096] &= ~(uint64_t{1} << value / 64 % 64);
    }

    // The next value that occurs above or below one, which there must be.
    unsigned above(unsigned value) const {
        unsigned word = value / 64;
        uint64_t rest = value % 64 == 63 ? 0 : present[word] >> (value % 64 + 1) << (value % 64 + 1);
        if (rest == 0) {
            unsigned group = word / 64;
            uint64_t others = word % 64 == 63 ? 0 : words[group] >> (word % 64 + 1) << (word % 64 + 1);
            while (others == 0)
                others = words[++group];
            word = group * 64 + static_cast<unsigned>(__builtin_ctzll(others));
            rest = present[word];
        }
        return word * 64 + static_cast<unsigned>(__builtin_ctzll(rest));
    }
    unsigned under(unsigned value) const {
        unsigned word = value / 64;
        uint64_t rest = present[word] & ((uint64_t{1} << value % 64) - 1);
        if (rest == 0) {
            unsigned group = word / 64;
            uint64_t others = words[group] & ((uint64_t{1} << word % 64) - 1);
            while (others == 0)
                others = words[--group];
            word = group * 64 + 63 - static_cast<unsigned>(__builtin_clzll(others));
            rest = present[word];
        }
        return word * 64 + 63 - static_cast<unsigned>(__builtin_clzll(rest));
    }
};

// One channel of one row (Huang, Yang and Tang 1979).
template <class D>
void slideRow(const OwnRankBlock &b, const uint8_t *const *rows, size_t channel, uint8_t *out) {
    using Value = typename D::Value;
    constexpr unsigned bias = D::low < 0 ? unsigned{1} << (8 * sizeof(Value) - 1) : 0;
    constexpr unsigned all = (unsigned{1} << 8 * sizeof(Value)) - 1;
    const Counts counts(b.scratch);
    const auto valueAt = [&](int64_t r, size_t x) {
        const Value v = OwnSingle<D>::load(rows[r] + (x * b.channels + channel) * sizeof(Value));
        return (static_cast<unsigned>(v) ^ bias) & all;
    };
    const auto nCols = static_cast<size_t>(b.nCols);
    for (int64_t r = 0; r < b.nRows; ++r) {
        for (size_t x = 0; x < nCols; ++x)
            counts.put(valueAt(r, x));
    }
    const auto middle = static_cast<uint64_t>(middleOf(b));
    unsigned median = 0;
    uint64_t below = 0;
    for (size_t x = 0;; ++x) {
        while (below > middle) {
            median = counts.under(median);
            below -= counts.of[median];
        }
        while (below + counts.of[median] <= middle) {
            below += counts.of[median];
            median = counts.above(median);
        }
        const Value v = static_cast<Value>(median ^ bias);
        OwnSingle<D>::store(out + (x * b.channels + channel) * sizeof(Value), v);
        if (x + 1 == b.width) break;
        for (int64_t r = 0; r < b.nRows; ++r) {
            const unsigned leaving = valueAt(r, x), entering = valueAt(r, x + nCols);
            counts.take(leaving);
            counts.put(entering);
            below -= leaving < median ? 1 : 0;
            below += entering < median ? 1 : 0;
        }
    }
    for (int64_t r = 0; r < b.nRows; ++r) {
        for (size_t x = b.width - 1; x < b.width - 1 + nCols; ++x)
            counts.take(valueAt(r, x));
    }
}

template <class D>
void slide(const OwnRankBlock &b) {
    for (int64_t r = 0; r < b.height; ++r) {
        for (size_t channel = 0; channel < b.channels; ++channel)
            slideRow<D>(b, b.rows + r, channel, b.out + r * b.outStep);
    }
}

// --------------------------------------------------------------------------------------------------------------- bits

void countRow(const uint8_t *row, uint32_t *columns, size_t n, uint32_t times) {
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        columns[i] += row[i] * times;
}

void majority(const uint32_t *columns, int64_t nCols, uint32_t least, uint8_t *out, size_t width) {
    uint32_t sum = 0;
    for (int64_t x = 0; x < nCols; ++x)
        sum += columns[x];
    for (size_t x = 0; x < width; ++x) {
        out[x] = sum >= least ? 1 : 0;
        if (x + 1 < width) sum += columns[x + static_cast<size_t>(nCols)] - columns[x];
    }
}

}  // namespace

#define OWN_OF_KINDS(function) \
    { function<Own8U>, function<Own8S>, function<Own16U>, function<Own16S>, function<Own32S> }
extern const OwnMedianRows medianRows;
const OwnMedianRows medianRows = {
    OWN_OF_KINDS(three),
    OWN_OF_KINDS(five),
    OWN_OF_KINDS(search),
    {slide<Own8U>, slide<Own8S>, slide<Own16U>, slide<Own16S>, nullptr},
    majority,
    countRow,
};
#undef OWN_OF_KINDS

}  // namespace OWN_LEVEL
