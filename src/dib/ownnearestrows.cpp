// The search for the nearest entry of a palette, compiled once for each CPU level.
#include "dib/ownnearest.h"

#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace OWN_LEVEL {
namespace {

// The place of the least squared distance in a part of a near cell, the first one of several.
struct Place {
    int distance, place;
};

#if defined(__AVX2__)
Place leastOfPart(const OwnColourPart &part, uint32_t quad) {
    const __m256i all = _mm256_set1_epi32(static_cast<int>(quad));
    const __m256i blueGreen = _mm256_shuffle_epi8(all, _mm256_set1_epi16(0x0100));
    const __m256i red = _mm256_shuffle_epi8(all, _mm256_set1_epi16(static_cast<short>(0x8002)));
    const __m256i pairs = _mm256_abs_epi8(
        _mm256_sub_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(part.blueGreen)), blueGreen));
    const __m256i reds =
        _mm256_sub_epi16(_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(part.red))), red);
    const __m256i sums = _mm256_add_epi16(_mm256_maddubs_epi16(pairs, pairs), _mm256_mullo_epi16(reds, reds));
    const __m128i least =
        _mm_minpos_epu16(_mm_min_epu16(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1)));
    const __m256i equal = _mm256_cmpeq_epi16(sums, _mm256_broadcastw_epi16(least));
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(equal));
    return {_mm_cvtsi128_si32(least) & 0xFFFF, static_cast<int>(static_cast<unsigned>(__builtin_ctz(bits)) / 2)};
}
#elif defined(__SSE2__)
__m128i square(__m128i difference) {
    return _mm_mullo_epi16(difference, difference);
}
// Distances less 2^15, since only signed values can be compared.
__m128i eightDistances(__m128i blueGreen, __m128i reds, uint32_t quad) {
    const __m128i blues = _mm_and_si128(blueGreen, _mm_set1_epi16(0xFF)), greens = _mm_srli_epi16(blueGreen, 8);
    const __m128i blue = _mm_set1_epi16(static_cast<short>(quad & 0xFF));
    const __m128i green = _mm_set1_epi16(static_cast<short>(quad >> 8 & 0xFF));
    const __m128i red = _mm_set1_epi16(static_cast<short>(quad >> 16 & 0xFF));
    const __m128i sums = _mm_add_epi16(square(_mm_sub_epi16(blues, blue)), square(_mm_sub_epi16(greens, green)));
    const __m128i least = _mm_set1_epi16(static_cast<short>(-0x8000));
    return _mm_add_epi16(_mm_add_epi16(sums, least), square(_mm_sub_epi16(reds, red)));
}
Place leastOfPart(const OwnColourPart &part, uint32_t quad) {
    const __m128i zero = _mm_setzero_si128();
    const auto *pairs = reinterpret_cast<const __m128i *>(part.blueGreen);
    const __m128i reds = _mm_loadu_si128(reinterpret_cast<const __m128i *>(part.red));
    const __m128i low = eightDistances(_mm_loadu_si128(pairs), _mm_unpacklo_epi8(reds, zero), quad);
    const __m128i high = eightDistances(_mm_loadu_si128(pairs + 1), _mm_unpackhi_epi8(reds, zero), quad);
    __m128i least = _mm_min_epi16(low, high);
    least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0x4E));
    least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0xB1));
    least = _mm_min_epi16(least, _mm_or_si128(_mm_slli_epi32(least, 16), _mm_srli_epi32(least, 16)));
    const __m128i equal = _mm_packs_epi16(_mm_cmpeq_epi16(low, least), _mm_cmpeq_epi16(high, least));
    const auto bits = static_cast<unsigned>(_mm_movemask_epi8(equal));
    return {static_cast<int16_t>(_mm_cvtsi128_si32(least)), __builtin_ctz(bits)};
}
#endif

// Of any cell.
Place leastOfAnyPart(const OwnColourPart &part, uint32_t quad) {
    const int blue = quad & 0xFF, green = quad >> 8 & 0xFF, red = quad >> 16 & 0xFF;
    int least = INT32_MAX;
    for (int i = 0; i < 16; ++i) {
        const int b = part.blueGreen[2 * i] - blue, g = part.blueGreen[2 * i + 1] - green, r = part.red[i] - red;
        const int distance = (b * b + g * g + r * r) << 4 | i;
        least = distance < least ? distance : least;
    }
    return {least >> 4, least & 15};
}
#if !defined(__SSE2__)
Place leastOfPart(const OwnColourPart &part, uint32_t quad) {
    return leastOfAnyPart(part, quad);
}
#endif

// The list's entry that is nearest, by one of the two.
template <Place (*leastOf)(const OwnColourPart &, uint32_t)>
uint8_t findInList(const OwnColourPart *parts, int count, uint32_t quad) {
    Place least = leastOf(parts[0], quad);
    for (int k = 1; k < count; ++k) {
        Place other = leastOf(parts[k], quad);
        other.place += 16 * k;
        if (other.distance < least.distance) least = other;
    }
    return parts[least.place / 16].index[least.place % 16];
}

// A cube of colours: its lowest corner, and one less than its size.
struct Box {
    int16_t low[3];
    int16_t extent;
};

// Values of a part's entries, in as many vectors as the level needs.
#if defined(__AVX2__)
using Lanes [[gnu::vector_size(32), gnu::may_alias]] = int16_t;
#else
using Lanes [[gnu::vector_size(16), gnu::may_alias]] = int16_t;
#endif
using UnsignedLanes [[gnu::vector_size(sizeof(Lanes))]] = uint16_t;
using Bytes [[gnu::vector_size(sizeof(Lanes) / 2)]] = uint8_t;
constexpr int LANES = sizeof(Lanes) / 2;

// Of a part's entries: bounds of an eighth of the squared distances to a box, for which 15 bits are enough, and the
// largest difference in a channel.
struct Bounds {
    alignas(32) int16_t nearest[16];
    alignas(32) int16_t farthest[16];
    alignas(32) int16_t difference[16];
};
void takeLarger(Lanes *largest, const Lanes &values) {
    *largest = values > *largest ? values : *largest;
}
void addSquare(const Lanes &values, Lanes *sum) {
    const auto lanes = (UnsignedLanes)values;
    *sum += (Lanes)(lanes * lanes >> 3);
}
struct BoundLanes {
    Lanes nearest, farthest, difference;
};
void addChannel(const Lanes &colours, int16_t low, int16_t extent, BoundLanes *bounds) {
    const Lanes above = colours - low - extent;
    Lanes nearest = low - colours, farthest = colours - low;
    takeLarger(&nearest, above);
    takeLarger(&nearest, Lanes{});
    takeLarger(&farthest, -above);
    addSquare(nearest, &bounds->nearest);
    addSquare(farthest, &bounds->farthest);
    takeLarger(&bounds->difference, farthest);
}
void boundDistances(const OwnColourPart &part, const Box &box, Bounds *bounds) {
    for (int i = 0; i < 16; i += LANES) {
        Lanes pairs;
        Bytes reds;
        std::memcpy(&pairs, part.blueGreen + 2 * i, sizeof pairs);
        std::memcpy(&reds, part.red + i, sizeof reds);
        BoundLanes sums = {Lanes{}, Lanes{} + 3, Lanes{}};
        addChannel(pairs & 255, box.low[0], box.extent, &sums);
        addChannel((Lanes)((UnsignedLanes)pairs >> 8), box.low[1], box.extent, &sums);
        addChannel(__builtin_convertvector(reds, Lanes), box.low[2], box.extent, &sums);
        std::memcpy(bounds->nearest + i, &sums.nearest, sizeof(Lanes));
        std::memcpy(bounds->farthest + i, &sums.farthest, sizeof(Lanes));
        std::memcpy(bounds->difference + i, &sums.difference, sizeof(Lanes));
    }
}

void takeLesser(int16_t *least, const int16_t *values) {
    for (int i = 0; i < 16; ++i)
        least[i] = values[i] < least[i] ? values[i] : least[i];
}
int16_t leastOf(const int16_t *values) {
#if defined(__SSE2__)
    __m128i least = _mm_min_epi16(_mm_load_si128(reinterpret_cast<const __m128i *>(values)),
                                  _mm_load_si128(reinterpret_cast<const __m128i *>(values + 8)));
    least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0x4E));
    least = _mm_min_epi16(least, _mm_shuffle_epi32(least, 0xB1));
    const int two = _mm_cvtsi128_si32(least);
    const auto one = static_cast<int16_t>(two), other = static_cast<int16_t>(two >> 16);
    return one < other ? one : other;
#else
    int16_t least = values[0];
    for (int i = 1; i < 16; ++i)
        least = values[i] < least ? values[i] : least;
    return least;
#endif
}

// Bit i for a value that is not above the limit.
uint32_t notAbove(const int16_t *values, int16_t limit) {
#if defined(__SSE2__)
    const __m128i limits = _mm_set1_epi16(limit);
    const __m128i low = _mm_cmpgt_epi16(_mm_load_si128(reinterpret_cast<const __m128i *>(values)), limits);
    const __m128i high = _mm_cmpgt_epi16(_mm_load_si128(reinterpret_cast<const __m128i *>(values + 8)), limits);
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(low, high))) ^ 0xFFFF;
#else
    uint32_t bits = 0;
    for (int i = 0; i < 16; ++i)
        bits |= static_cast<uint32_t>(values[i] <= limit) << i;
    return bits;
#endif
}

// A part that holds one entry sixteen times.
OwnColourPart repeatEntry(const OwnColourPart &list, int place) {
    OwnColourPart part;
    for (int i = 0; i < 16; ++i)
        std::memcpy(part.blueGreen + 2 * i, list.blueGreen + 2 * place, 2);
    std::memset(part.red, list.red[place], 16);
    std::memset(part.index, list.index[place], 16);
    return part;
}
void copyEntry(const OwnColourPart &from, int fromPlace, OwnColourPart *to, int toPlace) {
    std::memcpy(to->blueGreen + 2 * toPlace, from.blueGreen + 2 * fromPlace, 2);
    to->red[toPlace] = from.red[fromPlace];
    to->index[toPlace] = from.index[fromPlace];
}

// Lists the entries, among those of the parts given, that can be nearest to a colour of the box, in the store, which
// has room for them.
OwnColourCell meet(OwnNearestCells *cells, const OwnColourPart *parts, int count, const Box &box) {
    Bounds bounds[16];
    alignas(32) int16_t limits[16];
    boundDistances(parts[0], box, &bounds[0]);
    std::memcpy(limits, bounds[0].farthest, sizeof limits);
    for (int k = 1; k < count; ++k) {
        boundDistances(parts[k], box, &bounds[k]);
        takeLesser(limits, bounds[k].farthest);
    }
    const int16_t limit = leastOf(limits);
    int differences = 0;
    OwnColourPart *found = cells->store + cells->used;
    int entries = 0, before = -1;
    for (int k = 0; k < count; ++k) {
        for (uint32_t bits = notAbove(bounds[k].nearest, limit); bits != 0; bits &= bits - 1) {
            const int place = __builtin_ctz(bits), index = parts[k].index[place];
            // Here the list begins again to fill its last part.
            if (index <= before) break;
            before = index;
            differences |= bounds[k].difference[place];
            OwnColourPart *part = &found[entries / 16];
            if (entries % 16 == 0) *part = entries == 0 ? repeatEntry(parts[k], place) : repeatEntry(found[0], 0);
            copyEntry(parts[k], place, part, entries % 16);
            ++entries;
        }
    }
    const OwnColourCell cell = {static_cast<uint16_t>(cells->used), static_cast<uint8_t>((entries + 15) / 16),
                                differences > 127};
    cells->used += cell.parts;
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

// Whether a search looks at one part, in bytes: a shorter list would not be quicker.
bool isShort(OwnColourCell cell) {
    return cell.parts == 1 && !cell.isFar;
}

// The list of a cell out of that of the cell around it, which it shares where that is short.
OwnColourCell meetWithin(OwnNearestCells *cells, OwnColourCell around, const Box &box) {
    return isShort(around) ? around : meet(cells, cells->store + around.first, around.parts, box);
}

OwnColourCell meetSmall(OwnNearest *nearest, uint32_t quad) {
    OwnNearestCells *cells = nearest->cells;
    // Room for three lists of all entries. What was met before is forgotten where there is none.
    if (cells->used + 3 * 16 > OWN_NEAREST_STORE) {
        std::memset(cells, 0, offsetof(OwnNearestCells, used));
        cells->used = 0;
        ++cells->refills;
    }
    OwnColourCell &small = cells->small[cellOf(quad, 5)];
    OwnColourCell &middle = cells->middle[cellOf(quad, 4)];
    OwnColourCell &large = cells->large[cellOf(quad, 3)];
    if (large.parts == 0) large = meet(cells, nearest->palette, nearest->parts, boxOf(quad, 3));
    if (middle.parts == 0) middle = meetWithin(cells, large, boxOf(quad, 4));
    small = meetWithin(cells, middle, boxOf(quad, 5));
    return small;
}

uint8_t findInCell(const OwnNearestCells &cells, OwnColourCell cell, uint32_t quad) {
    const OwnColourPart *parts = cells.store + cell.first;
    if (isShort(cell)) [[likely]]
        return parts[0].index[leastOfPart(parts[0], quad).place];
    return (cell.isFar ? findInList<leastOfAnyPart> : findInList<leastOfPart>)(parts, cell.parts, quad);
}

void findPlainly(const OwnNearest &nearest, const uint32_t *quads, uint8_t *indices, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const bool again = i > 0 && quads[i] == quads[i - 1];
        indices[i] = again ? indices[i - 1] : findInList<leastOfAnyPart>(nearest.palette, nearest.parts, quads[i]);
    }
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
