// The search for the nearest entry of a palette, compiled once for each CPU level.
#include "dib/ownnearest.h"

#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace OWN_LEVEL {
namespace {

// The place of the least value in a part, the first one of several: squared distances of 16 bits, counted from a base.
struct Place {
    int value, place;
};

#if defined(__AVX2__)
__m256i squares(const uint8_t *colours, __m256i colour) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(colours));
    const __m256i difference = _mm256_sub_epi16(_mm256_cvtepu8_epi16(bytes), colour);
    return _mm256_mullo_epi16(difference, difference);
}
Place leastOfPart(const OwnColourPart &part, uint32_t quad, int base) {
    const __m256i all = _mm256_set1_epi32(static_cast<int>(quad));
    const __m256i zero = _mm256_set1_epi16(static_cast<short>(0x8000)), one = _mm256_set1_epi16(1);
    const __m256i blue = _mm256_shuffle_epi8(all, zero);
    const __m256i green = _mm256_shuffle_epi8(all, _mm256_add_epi16(zero, one));
    const __m256i red = _mm256_shuffle_epi8(all, _mm256_add_epi16(zero, _mm256_add_epi16(one, one)));
    const __m256i sums =
        _mm256_add_epi16(_mm256_add_epi16(squares(part.colours[0], blue), squares(part.colours[1], green)),
                         squares(part.colours[2], red));
    const __m256i above = _mm256_sub_epi16(sums, _mm256_set1_epi16(static_cast<short>(base)));
    const __m128i eight = _mm_min_epu16(_mm256_castsi256_si128(above), _mm256_extracti128_si256(above, 1));
    const __m128i least = _mm_minpos_epu16(eight);
    const __m256i equal = _mm256_cmpeq_epi16(above, _mm256_broadcastw_epi16(least));
    const int place = __builtin_ctz(static_cast<unsigned>(_mm256_movemask_epi8(equal))) / 2;
    return {_mm_cvtsi128_si32(least) & 0xFFFF, place};
}
#elif defined(__SSE2__)
__m128i squares(__m128i colours, __m128i colour) {
    const __m128i difference = _mm_sub_epi16(colours, colour);
    return _mm_mullo_epi16(difference, difference);
}
Place leastOfPart(const OwnColourPart &part, uint32_t quad, int base) {
    const __m128i zero = _mm_setzero_si128();
    __m128i low = _mm_set1_epi16(static_cast<short>(-base)), high = low;
    for (int c = 0; c < 3; ++c) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(part.colours[c]));
        const __m128i colour = _mm_set1_epi16(static_cast<short>(quad >> 8 * c & 0xFF));
        low = _mm_add_epi16(low, squares(_mm_unpacklo_epi8(bytes, zero), colour));
        high = _mm_add_epi16(high, squares(_mm_unpackhi_epi8(bytes, zero), colour));
    }
    __m128i least = _mm_min_epi16(low, high);
    least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0x4E));
    least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0xB1));
    least = _mm_min_epi16(least, _mm_or_si128(_mm_slli_epi32(least, 16), _mm_srli_epi32(least, 16)));
    const __m128i equal = _mm_packs_epi16(_mm_cmpeq_epi16(low, least), _mm_cmpeq_epi16(high, least));
    return {_mm_cvtsi128_si32(least) & 0xFFFF, __builtin_ctz(static_cast<unsigned>(_mm_movemask_epi8(equal)))};
}
#else
Place leastOfPart(const OwnColourPart &part, uint32_t quad, int base) {
    Place least = {INT32_MAX, 0};
    for (int i = 0; i < 16; ++i) {
        int sum = -base;
        for (int c = 0; c < 3; ++c) {
            const int difference = part.colours[c][i] - static_cast<int>(quad >> 8 * c & 0xFF);
            sum += difference * difference;
        }
        sum &= 0xFFFF;
        if (sum < least.value) least = {sum, i};
    }
    return least;
}
#endif

// A cube of colours: its lowest corner, and one less than its size.
struct Box {
    int16_t low[3];
    int16_t extent;
};

using Lanes [[gnu::vector_size(32)]] = uint16_t;

// Distances of a part's entries to a box: bounds of their squares, as quarters. 16 bits hold these.
struct Bounds {
    Lanes nearest, farthest;
};
void boundDistances(const OwnColourPart &part, const Box &box, Bounds *bounds) {
    alignas(32) uint16_t nearests[16], farthests[16];
    for (int i = 0; i < 16; ++i) {
        uint16_t nearest = 0, farthest = 3;
        for (int c = 0; c < 3; ++c) {
            const auto below = static_cast<int16_t>(box.low[c] - part.colours[c][i]);
            const auto above = static_cast<int16_t>(-below - box.extent);
            const int16_t outside = below > above ? below : above, inside = below > above ? above : below;
            const auto near = static_cast<uint16_t>(outside > 0 ? outside : 0), far = static_cast<uint16_t>(-inside);
            nearest = static_cast<uint16_t>(nearest + (static_cast<uint16_t>(near * near) >> 2));
            farthest = static_cast<uint16_t>(farthest + (static_cast<uint16_t>(far * far) >> 2));
        }
        nearests[i] = nearest;
        farthests[i] = farthest;
    }
    std::memcpy(&bounds->nearest, nearests, sizeof nearests);
    std::memcpy(&bounds->farthest, farthests, sizeof farthests);
}

void takeLess(Lanes *least, const Lanes &values) {
    *least = values < *least ? values : *least;
}
uint16_t leastOf(Lanes v) {
    takeLess(&v, __builtin_shuffle(v, Lanes{8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7}));
    takeLess(&v, __builtin_shuffle(v, Lanes{4, 5, 6, 7, 0, 1, 2, 3, 12, 13, 14, 15, 8, 9, 10, 11}));
    takeLess(&v, __builtin_shuffle(v, Lanes{2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13}));
    return v[0] < v[1] ? v[0] : v[1];
}

// Bit i for a value that is not above the limit.
uint32_t notAbove(const Lanes &values, uint16_t limit) {
    uint32_t bits = 0;
#if defined(__SSE2__)
    const Lanes within = values <= limit;
    __m128i halves[2];
    std::memcpy(halves, &within, sizeof halves);
    bits = static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(halves[0], halves[1])));
#else
    for (int i = 0; i < 16; ++i)
        bits |= static_cast<uint32_t>(values[i] <= limit) << i;
#endif
    return bits;
}

// A part that holds one entry sixteen times.
OwnColourPart firstOf(const OwnColourPart &list, int place) {
    OwnColourPart part;
    for (int c = 0; c < 3; ++c)
        std::memset(part.colours[c], list.colours[c][place], 16);
    std::memset(part.index, list.index[place], 16);
    return part;
}

// The first of so many parts of the store. What was met before is forgotten where it is full.
int takeParts(OwnNearestCells *cells, int count) {
    if (cells->used + count > OWN_NEAREST_STORE) {
        std::memset(cells, 0, offsetof(OwnNearestCells, used));
        cells->used = 0;
        ++cells->refills;
    }
    const int first = cells->used;
    cells->used += count;
    return first;
}

// Lists the entries, among those of the parts given, that can be nearest to a colour of the box.
OwnColourCell meet(OwnNearestCells *cells, const OwnColourPart *parts, int count, const Box &box) {
    Bounds bounds[16];
    boundDistances(parts[0], box, &bounds[0]);
    Bounds least = bounds[0];
    for (int k = 1; k < count; ++k) {
        boundDistances(parts[k], box, &bounds[k]);
        takeLess(&least.nearest, bounds[k].nearest);
        takeLess(&least.farthest, bounds[k].farthest);
    }
    const uint16_t limit = leastOf(least.farthest);
    OwnColourPart found[16];
    int entries = 0, before = -1;
    for (int k = 0; k < count; ++k) {
        for (uint32_t bits = notAbove(bounds[k].nearest, limit); bits != 0; bits &= bits - 1) {
            const int from = __builtin_ctz(bits), to = entries % 16, index = parts[k].index[from];
            // Here the list begins again to fill its last part.
            if (index <= before) break;
            before = index;
            OwnColourPart &part = found[entries / 16];
            if (to == 0) part = firstOf(entries == 0 ? parts[k] : found[0], entries == 0 ? from : 0);
            for (int c = 0; c < 3; ++c)
                part.colours[c][to] = parts[k].colours[c][from];
            part.index[to] = static_cast<uint8_t>(index);
            ++entries;
        }
    }
    const int full = (entries + 15) / 16;
    OwnColourCell cell;
    cell.first = static_cast<uint16_t>(takeParts(cells, full));
    cell.parts = static_cast<uint16_t>(full & 31);
    cell.base = static_cast<uint16_t>(leastOf(least.nearest) * 4 >> 5 & 0x7FF);
    std::memcpy(cells->store + cell.first, found, static_cast<size_t>(full) * sizeof found[0]);
    return cell;
}

// The cell of a colour, with so many bits of each of its channels.
uint32_t cellOf(uint32_t quad, int bits) {
    const uint32_t mask = (1u << bits) - 1;
    const int drop = 8 - bits;
    return (quad >> drop & mask) | (quad >> (8 + drop) & mask) << bits | (quad >> (16 + drop) & mask) << 2 * bits;
}
Box boxOf(uint32_t quad, int bits) {
    const int extent = (256 >> bits) - 1;
    Box box;
    for (int c = 0; c < 3; ++c)
        box.low[c] = static_cast<int16_t>(static_cast<int>(quad >> 8 * c & 0xFF) & ~extent);
    box.extent = static_cast<int16_t>(extent);
    return box;
}

OwnColourCell meetSmall(OwnNearest *nearest, uint32_t quad) {
    OwnNearestCells *cells = nearest->cells;
    const uint32_t small = cellOf(quad, 5);
    OwnColourCell middle = cells->middle[cellOf(quad, 4)];
    if (middle.parts == 0) {
        OwnColourCell large = cells->large[cellOf(quad, 3)];
        if (large.parts == 0) {
            large = meet(cells, nearest->palette, nearest->parts, boxOf(quad, 3));
            cells->large[cellOf(quad, 3)] = large;
        }
        middle = meet(cells, cells->store + large.first, large.parts, boxOf(quad, 4));
        cells->middle[cellOf(quad, 4)] = middle;
    }
    return cells->small[small] = meet(cells, cells->store + middle.first, middle.parts, boxOf(quad, 5));
}

uint8_t findInCell(const OwnNearestCells &cells, OwnColourCell cell, uint32_t quad) {
    const OwnColourPart *parts = cells.store + cell.first;
    const int base = cell.base << 5;
    Place least = leastOfPart(parts[0], quad, base);
    if (cell.parts == 1) [[likely]]
        return parts[0].index[least.place];
    for (int k = 1; k < cell.parts; ++k) {
        Place other = leastOfPart(parts[k], quad, base);
        other.place += 16 * k;
        if (other.value < least.value) least = other;
    }
    return parts[least.place / 16].index[least.place % 16];
}

// Without cells distances need all their bits: a candidate is its distance above its entry.
uint8_t findAmongAll(const OwnNearest &nearest, uint32_t quad) {
    const int blue = quad & 0xFF, green = quad >> 8 & 0xFF, red = quad >> 16 & 0xFF;
    int best = INT32_MAX;
    for (int k = 0; k < nearest.parts; ++k) {
        const OwnColourPart &part = nearest.palette[k];
        for (int i = 0; i < 16; ++i) {
            const int b = part.colours[0][i] - blue, g = part.colours[1][i] - green, r = part.colours[2][i] - red;
            const int candidate = (b * b + g * g + r * r) << 8 | part.index[i];
            best = candidate < best ? candidate : best;
        }
    }
    return static_cast<uint8_t>(best);
}

void findPlainly(const OwnNearest &nearest, const uint32_t *quads, uint8_t *indices, size_t n) {
    for (size_t i = 0; i < n; ++i)
        indices[i] = i > 0 && quads[i] == quads[i - 1] ? indices[i - 1] : findAmongAll(nearest, quads[i]);
}

// The cells of a stretch of pixels first, and then their entries: waiting for one pixel's memory is time for others.
constexpr size_t STRETCH = 64;

void findCells(OwnNearest *nearest, const uint32_t *quads, OwnColourCell *found, size_t n) {
    OwnNearestCells *cells = nearest->cells;
    uint32_t places[STRETCH];
    for (size_t i = 0; i < n; ++i)
        places[i] = cellOf(quads[i], 5);
    for (size_t i = 0; i < n; ++i) {
        OwnColourCell cell = cells->small[places[i]];
        if (cell.parts == 0) [[unlikely]] {
            const int refills = cells->refills;
            cell = meetSmall(nearest, quads[i]);
            // The cells found before are no longer in the store.
            if (cells->refills != refills) return findCells(nearest, quads, found, n);
        }
        __builtin_prefetch(cells->store + cell.first);
        found[i] = cell;
    }
}

void find(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n) {
    if (!nearest->cells) return findPlainly(*nearest, quads, indices, n);
    const OwnNearestCells &cells = *nearest->cells;
    OwnColourCell found[STRETCH];
    for (size_t x = 0; x < n; x += STRETCH) {
        const size_t now = n - x < STRETCH ? n - x : STRETCH;
        findCells(nearest, quads + x, found, now);
        for (size_t i = 0; i < now; ++i)
            indices[x + i] = findInCell(cells, found[i], quads[x + i]);
    }
}

}  // namespace

extern const OwnNearestRows nearestRows;
const OwnNearestRows nearestRows = {find};

}  // namespace OWN_LEVEL
