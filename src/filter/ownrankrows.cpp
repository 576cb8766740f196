// Row kernels of the largest and smallest of a window, compiled once for each CPU level. Down the columns by van Herk
// (1992), Gil and Werman (1993): all windows of a block of as many rows as a window is high contain its last row, so
// each is a run that ends there and a run that begins behind it. Along the rows by runs of 4, 16 and so on columns, of
// which a few overlapping ones cover a window.
#include "filter/ownorder.h"
#include "filter/ownrank.h"

namespace OWN_LEVEL {
namespace {

// Windows of three rows, any number: each two rows in a row serve two windows.
template <class D, bool largest>
void columnsOfThree(const OwnRankBlock &b, size_t bytes) {
    ownOverRow<D, 2>(bytes, [&]<class Stride, size_t blocks>(size_t at) {
        using Vector = typename Stride::Vector;
        const auto row = [&](int64_t r, size_t k) { return Stride::load(b.rows[r] + at + k * Stride::bytes); };
        Vector before[blocks], pair[blocks];
        for (size_t k = 0; k < blocks; ++k) {
            before[k] = row(1, k);
            pair[k] = ownExtremeOf<Stride, largest>(row(0, k), before[k]);
        }
        for (int64_t r = 0; r < b.height; ++r) {
            for (size_t k = 0; k < blocks; ++k) {
                const Vector entering = row(r + 2, k);
                Stride::store(b.scratch + r * b.scratchStep + at + k * Stride::bytes,
                              ownExtremeOf<Stride, largest>(pair[k], entering));
                pair[k] = ownExtremeOf<Stride, largest>(before[k], entering);
                before[k] = entering;
            }
        }
    });
}

// The windows' columns, into rows of scratch.
template <class D, bool largest>
void columnsOf(const OwnRankBlock &b, size_t bytes) {
    if (b.nRows == 3) return columnsOfThree<D, largest>(b, bytes);
    ownOverRow<D, 4>(bytes, [&]<class Stride, size_t blocks>(size_t at) {
        using Vector = typename Stride::Vector;
        const auto row = [&](int64_t r, size_t k) { return Stride::load(b.rows[r] + at + k * Stride::bytes); };
        const auto kept = [&](int64_t r, size_t k) { return b.scratch + r * b.scratchStep + at + k * Stride::bytes; };
        Vector now[blocks];
        for (size_t k = 0; k < blocks; ++k)
            now[k] = row(b.nRows - 1, k);
        for (int64_t r = b.nRows - 2; r >= 0; --r) {
            for (size_t k = 0; k < blocks; ++k) {
                if (r + 1 < b.height) Stride::store(kept(r + 1, k), now[k]);
                now[k] = ownExtremeOf<Stride, largest>(now[k], row(r, k));
            }
        }
        for (size_t k = 0; k < blocks; ++k)
            Stride::store(kept(0, k), now[k]);
        for (int64_t r = 1; r < b.height; ++r) {
            for (size_t k = 0; k < blocks; ++k) {
                const Vector entering = row(b.nRows + r - 1, k);
                now[k] = r == 1 ? entering : ownExtremeOf<Stride, largest>(now[k], entering);
                Stride::store(kept(r, k), ownExtremeOf<Stride, largest>(now[k], Stride::load(kept(r, k))));
            }
        }
    });
}

template <class D>
size_t paddedBytes(const OwnRankBlock &b) {
    return (b.width + static_cast<size_t>(b.nCols) - 1) * b.channels * sizeof(typename D::Value);
}

template <class D, bool largest>
void columns(const OwnRankBlock &b) {
    columnsOf<D, largest>(b, paddedBytes<D>(b));
}

template <bool largest>
void bitColumns(const OwnRankBlock &b) {
    columnsOf<OwnOfBits, largest>(b, static_cast<size_t>(b.scratchStep));
}

constexpr int MAX_TAPS = 5;

// out = the extreme of each byte's samples at the offsets, which are in bytes.
template <class D, bool largest, int taps>
void combine(const uint8_t *from, const size_t *offsets, uint8_t *out, size_t bytes) {
    ownOverRow<D, 1>(bytes, [&]<class Stride, size_t blocks>(size_t at) {
        auto now = Stride::load(from + at);
#pragma GCC unroll 4
        for (int t = 1; t < taps; ++t)
            now = ownExtremeOf<Stride, largest>(now, Stride::load(from + at + offsets[t]));
        Stride::store(out + at, now);
    });
}

template <class D, bool largest>
void combineAny(const uint8_t *from, const size_t *offsets, int taps, uint8_t *out, size_t bytes) {
    switch (taps) {
        case 1:
            return combine<D, largest, 1>(from, offsets, out, bytes);
        case 2:
            return combine<D, largest, 2>(from, offsets, out, bytes);
        case 3:
            return combine<D, largest, 3>(from, offsets, out, bytes);
        case 4:
            return combine<D, largest, 4>(from, offsets, out, bytes);
        default:
            return combine<D, largest, MAX_TAPS>(from, offsets, out, bytes);
    }
}

// A row of the windows' columns along the row. parts has room for two more rows.
template <class D, bool largest>
void alongRow(const OwnRankBlock &b, const uint8_t *row, uint8_t *parts, uint8_t *out) {
    constexpr int64_t run = 4;
    const size_t pixel = b.channels * sizeof(typename D::Value);
    size_t bytes = paddedBytes<D>(b);
    size_t offsets[MAX_TAPS] = {};
    int64_t span = 1;
    uint8_t *next = parts;
    for (; span * MAX_TAPS < b.nCols; span *= run) {
        for (size_t t = 1; t < run; ++t)
            offsets[t] = t * static_cast<size_t>(span) * pixel;
        bytes -= offsets[run - 1];
        combine<D, largest, run>(row, offsets, next, bytes);
        row = next;
        next = next == parts ? parts + b.scratchStep : parts;
    }
    const auto taps = static_cast<int>((b.nCols + span - 1) / span);
    for (int t = 1; t < taps; ++t)
        offsets[t] = static_cast<size_t>(t < taps - 1 ? t * span : b.nCols - span) * pixel;
    combineAny<D, largest>(row, offsets, taps, out, b.width * pixel);
}

// ------------------------------------------------------------------------------------------------------ rows of bits

// A tap of a row of bits: so many bits further on.
struct BitTap {
    int64_t byte;
    int bit;
};
BitTap tapAt(int64_t bits) {
    return {bits >> 3, static_cast<int>(bits & 7)};
}

template <class Stride>
[[gnu::always_inline]] inline typename Stride::Vector loadBits(const uint8_t *at, const BitTap &tap) {
    const auto here = Stride::load(at + tap.byte);
    if (tap.bit == 0) return here;
    const auto next = Stride::load(at + tap.byte + 1);
#if defined(OWN_HAS_VECTORS)
    if constexpr (Stride::bytes > 1) {
        const __m128i left = _mm_cvtsi32_si128(tap.bit), right = _mm_cvtsi32_si128(8 - tap.bit);
        const OwnVector kept = OWN_VECTOR(set1, epi8)(static_cast<char>(0xFF << tap.bit));
        return ownSelectBits(kept, OWN_VECTOR(sll, epi16)(here, left), OWN_VECTOR(srl, epi16)(next, right));
    } else
#endif
        return static_cast<uint8_t>(here << tap.bit | next >> (8 - tap.bit));
}

template <bool largest, int taps>
void combineBits(const uint8_t *from, const BitTap *at, uint8_t *out, size_t bytes) {
    ownOverRow<OwnOfBits, 1>(bytes, [&]<class Stride, size_t blocks>(size_t i) {
        auto now = loadBits<Stride>(from + i, at[0]);
#pragma GCC unroll 4
        for (int t = 1; t < taps; ++t)
            now = ownExtremeOf<Stride, largest>(now, loadBits<Stride>(from + i, at[t]));
        Stride::store(out + i, now);
    });
}

template <bool largest>
void combineAnyBits(const uint8_t *from, const BitTap *at, int taps, uint8_t *out, size_t bytes) {
    switch (taps) {
        case 3:
            return combineBits<largest, 3>(from, at, out, bytes);
        case 4:
            return combineBits<largest, 4>(from, at, out, bytes);
        case MAX_TAPS:
            return combineBits<largest, MAX_TAPS>(from, at, out, bytes);
        default:
            return combineBits<largest, 2>(from, at, out, bytes);
    }
}

template <bool largest>
void bitsAlong(const OwnBitsAlong &a) {
    constexpr int64_t run = 4;
    const int64_t window = 2 * a.reach + 1;
    int64_t last = 1;  // the runs of which windows consist
    while (last * MAX_TAPS < window)
        last *= run;
    const auto taps = static_cast<int>((window + last - 1) / last);
    BitTap covers[MAX_TAPS] = {};
    for (int t = 0; t < taps; ++t)
        covers[t] = tapAt((t < taps - 1 ? t * last : window - last) - a.reach);
    for (int64_t r = 0; r < a.height; ++r) {
        const uint8_t *row = a.rows + static_cast<size_t>(r) * a.bytes;
        uint8_t *next = a.parts;
        size_t bytes = a.bytes;
        for (int64_t span = 1; span < last; span *= run) {
            const BitTap at[run] = {tapAt(0), tapAt(span), tapAt(2 * span), tapAt(3 * span)};
            bytes -= static_cast<size_t>(at[run - 1].byte) + 1;
            combineBits<largest, run>(row, at, next, bytes);
            row = next;
            next = next == a.parts ? a.parts + a.bytes : a.parts;
        }
        uint8_t *out = a.out + static_cast<size_t>(r) * a.bytes + a.first;
        combineAnyBits<largest>(row + a.first, covers, taps, out, a.count);
    }
}

// --------------------------------------------------------------------------------------------------------- both steps

template <class D, bool largest>
void along(const OwnRankBlock &b) {
    uint8_t *parts = b.scratch + b.height * b.scratchStep;
    for (int64_t r = 0; r < b.height; ++r)
        alongRow<D, largest>(b, b.scratch + r * b.scratchStep, parts, b.out + r * b.outStep);
}

template <class D, bool largest>
void extremes(const OwnRankBlock &b) {
    columns<D, largest>(b);
    along<D, largest>(b);
}

}  // namespace

#define OWN_OF_KINDS(function, largest)                                                                           \
    {                                                                                                             \
        function<Own8U, largest>, function<Own8S, largest>, function<Own16U, largest>, function<Own16S, largest>, \
            function<Own32S, largest>                                                                             \
    }
extern const OwnRankRows rankRows;
const OwnRankRows rankRows = {
    {OWN_OF_KINDS(extremes, true), OWN_OF_KINDS(extremes, false)},
    {OWN_OF_KINDS(columns, true), OWN_OF_KINDS(columns, false)},
    {OWN_OF_KINDS(along, true), OWN_OF_KINDS(along, false)},
    {bitColumns<true>, bitColumns<false>},
    {bitsAlong<true>, bitsAlong<false>},
};
#undef OWN_OF_KINDS

}  // namespace OWN_LEVEL
