// The median of bytes at a cost that does not depend on the window (Perreault and Hebert 2007), compiled once for each
// CPU level. Each column of the windows has counts, which change by the sample that enters and the one that leaves from
// row to row; the counts of a window change by a column that enters and one that leaves. Counts are of 16 groups of 16
// values, and of the values of each group; a window's counts of a group are brought up to date when its median is in
// it. All counts are cumulative: of values up to this one in the group, of groups up to this one.
#include "filter/ownmedian.h"
#include "filter/ownorder.h"

namespace OWN_LEVEL {
namespace {

// Sixteen counts.
#if defined(OWN_HAS_VECTORS)
constexpr int PARTS = 32 / sizeof(OwnVector);
struct Counts {
    OwnVector part[PARTS];

    static Counts load(const int16_t *at) {
        Counts c;
        for (int k = 0; k < PARTS; ++k)
            c.part[k] = ownLoad(reinterpret_cast<const char *>(at) + static_cast<size_t>(k) * sizeof(OwnVector));
        return c;
    }
    void store(int16_t *at) const {
        for (int k = 0; k < PARTS; ++k)
            ownStore(reinterpret_cast<char *>(at) + static_cast<size_t>(k) * sizeof(OwnVector), part[k]);
    }
    void add(const Counts &c) {
        for (int k = 0; k < PARTS; ++k)
            part[k] = OWN_VECTOR(add, epi16)(part[k], c.part[k]);
    }
    void subtract(const Counts &c) {
        for (int k = 0; k < PARTS; ++k)
            part[k] = OWN_VECTOR(sub, epi16)(part[k], c.part[k]);
    }
    // The first that is larger; there is one.
    unsigned firstAbove(int16_t limit) const {
        const OwnVector than = OWN_VECTOR(set1, epi16)(limit);
#if defined(__AVX2__)
        const auto above = static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpgt_epi16(part[0], than)));
        return static_cast<unsigned>(__builtin_ctz(above)) / 2;
#else
        const __m128i above = _mm_packs_epi16(_mm_cmpgt_epi16(part[0], than), _mm_cmpgt_epi16(part[1], than));
        return static_cast<unsigned>(__builtin_ctz(static_cast<unsigned>(_mm_movemask_epi8(above))));
#endif
    }
};
#else
struct Counts {
    int16_t of[16];

    static Counts load(const int16_t *at) {
        Counts c;
        __builtin_memcpy(c.of, at, sizeof c.of);
        return c;
    }
    void store(int16_t *at) const { __builtin_memcpy(at, of, sizeof of); }
    void add(const Counts &c) {
        for (int k = 0; k < 16; ++k)
            of[k] = static_cast<int16_t>(of[k] + c.of[k]);
    }
    void subtract(const Counts &c) {
        for (int k = 0; k < 16; ++k)
            of[k] = static_cast<int16_t>(of[k] - c.of[k]);
    }
    unsigned firstAbove(int16_t limit) const {
        unsigned k = 0;
        while (of[k] <= limit)
            ++k;
        return k;
    }
};
#endif

// What a value adds to cumulative counts: 1 to its own and all behind it.
struct Steps {
    alignas(32) int16_t of[16][16];
    constexpr Steps() : of() {
        for (int value = 0; value < 16; ++value) {
            for (int k = value; k < 16; ++k)
                of[value][k] = 1;
        }
    }
};
constexpr Steps STEPS;

// A column: the groups' counts, then those of each group.
constexpr size_t COLUMN = OWN_MEDIAN_COLUMN_BYTES / sizeof(int16_t);
int16_t *countsOf(int16_t *column, unsigned group) {
    return column + 16 + group * 16;
}

void enter(int16_t *at, unsigned value) {
    Counts c = Counts::load(at);
    c.add(Counts::load(STEPS.of[value]));
    c.store(at);
}
void leave(int16_t *at, unsigned value) {
    Counts c = Counts::load(at);
    c.subtract(Counts::load(STEPS.of[value]));
    c.store(at);
}

// Columns of one channel, from a pixel on.
struct Strip {
    const OwnRankBlock &block;
    size_t x, width;  // of output
    size_t channel;
    unsigned bias;
    int16_t *columns;

    size_t count() const { return width + static_cast<size_t>(block.nCols) - 1; }
    unsigned valueAt(const uint8_t *row, size_t k) const { return row[(x + k) * block.channels + channel] ^ bias; }
};

void beginColumns(const Strip &s) {
    __builtin_memset(s.columns, 0, s.count() * OWN_MEDIAN_COLUMN_BYTES);
    for (int64_t r = 0; r < s.block.nRows; ++r) {
        for (size_t k = 0; k < s.count(); ++k) {
            int16_t *column = s.columns + k * COLUMN;
            const unsigned value = s.valueAt(s.block.rows[r], k);
            enter(column, value / 16);
            enter(countsOf(column, value / 16), value % 16);
        }
    }
}

void moveColumns(const Strip &s, const uint8_t *leaving, const uint8_t *entering) {
    for (size_t k = 0; k < s.count(); ++k) {
        int16_t *column = s.columns + k * COLUMN;
        const unsigned out = s.valueAt(leaving, k), in = s.valueAt(entering, k);
        if (out == in) continue;
        Counts c = Counts::load(column);
        c.subtract(Counts::load(STEPS.of[out / 16]));
        c.add(Counts::load(STEPS.of[in / 16]));
        c.store(column);
        leave(countsOf(column, out / 16), out % 16);
        enter(countsOf(column, in / 16), in % 16);
    }
}

// The counts of a group's values in the window at x, from those in a window further left.
struct Group {
    Counts counts;
    size_t x;
};
constexpr size_t NOWHERE = ~size_t{0};

void bringUp(const Strip &s, Group *group, unsigned which, size_t x) {
    const auto nCols = static_cast<size_t>(s.block.nCols);
    int16_t *first = countsOf(s.columns, which);
    if (group->x == NOWHERE || (x - group->x) * 2 > nCols) {
        group->counts = Counts::load(first + x * COLUMN);
        for (size_t k = x + 1; k < x + nCols; ++k)
            group->counts.add(Counts::load(first + k * COLUMN));
    } else {
        for (size_t k = group->x; k < x; ++k) {
            group->counts.add(Counts::load(first + (k + nCols) * COLUMN));
            group->counts.subtract(Counts::load(first + k * COLUMN));
        }
    }
    group->x = x;
}

void medianRow(const Strip &s, uint8_t *out) {
    const auto nCols = static_cast<size_t>(s.block.nCols);
    const auto middle = static_cast<int16_t>((s.block.nRows * s.block.nCols - 1) / 2);
    Group groups[16];
    for (Group &group : groups)
        group.x = NOWHERE;
    Counts window = Counts::load(s.columns);
    for (size_t k = 1; k < nCols; ++k)
        window.add(Counts::load(s.columns + k * COLUMN));
    // In front of the first group there are none.
    alignas(32) int16_t below[1 + 16] = {};
    for (size_t x = 0;; ++x) {
        window.store(below + 1);
        const unsigned which = window.firstAbove(middle);
        Group &group = groups[which];
        bringUp(s, &group, which, x);
        const unsigned value = group.counts.firstAbove(static_cast<int16_t>(middle - below[which]));
        out[(s.x + x) * s.block.channels + s.channel] = static_cast<uint8_t>((which * 16 + value) ^ s.bias);
        if (x + 1 == s.width) return;
        window.add(Counts::load(s.columns + (x + nCols) * COLUMN));
        window.subtract(Counts::load(s.columns + x * COLUMN));
    }
}

template <unsigned bias>
void constant(const OwnRankBlock &b) {
    const auto most = static_cast<size_t>(b.scratchStep);
    for (size_t channel = 0; channel < b.channels; ++channel) {
        for (size_t x = 0; x < b.width; x += most) {
            const size_t width = b.width - x < most ? b.width - x : most;
            const Strip strip = {b, x, width, channel, bias, reinterpret_cast<int16_t *>(b.scratch)};
            beginColumns(strip);
            for (int64_t r = 0; r < b.height; ++r) {
                if (r > 0) moveColumns(strip, b.rows[r - 1], b.rows[r + b.nRows - 1]);
                medianRow(strip, b.out + r * b.outStep);
            }
        }
    }
}

}  // namespace

extern const OwnMedianColumns medianColumns;
const OwnMedianColumns medianColumns = {{constant<0>, constant<0x80>, nullptr, nullptr, nullptr}};

}  // namespace OWN_LEVEL
