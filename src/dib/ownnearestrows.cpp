// The search for the nearest entry of a palette, compiled once for each CPU level.
#include "dib/ownnearest.h"

#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace OWN_LEVEL {
namespace {

// A candidate is its squared distance, below 2^18, above its position among all of a list: the least one is the first
// of the nearest.
constexpr int POSITION_BITS = 8;

#if defined(__AVX2__)
using Eight = __m256i;

Eight splat(uint32_t value) {
    return _mm256_set1_epi32(static_cast<int>(value));
}
Eight candidates(const OwnColourGroup &group, Eight blueGreen, Eight red, int first) {
    const Eight pairs =
        _mm256_sub_epi16(_mm256_loadu_si256(reinterpret_cast<const Eight *>(group.blueGreen)), blueGreen);
    const Eight reds = _mm256_sub_epi16(_mm256_loadu_si256(reinterpret_cast<const Eight *>(group.red)), red);
    const Eight sums = _mm256_add_epi32(_mm256_madd_epi16(pairs, pairs), _mm256_madd_epi16(reds, reds));
    const Eight positions = _mm256_add_epi32(_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), _mm256_set1_epi32(first));
    return _mm256_or_si256(_mm256_slli_epi32(sums, POSITION_BITS), positions);
}
Eight least(Eight a, Eight b) {
    return _mm256_min_epi32(a, b);
}
int leastOf(Eight v) {
    __m128i four = _mm_min_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    four = _mm_min_epi32(four, _mm_shuffle_epi32(four, 0x4E));
    four = _mm_min_epi32(four, _mm_shuffle_epi32(four, 0xB1));
    return _mm_cvtsi128_si32(four);
}
#elif defined(__SSE2__)
struct Eight {
    __m128i low, high;
};

Eight splat(uint32_t value) {
    const __m128i four = _mm_set1_epi32(static_cast<int>(value));
    return {four, four};
}
__m128i fourCandidates(const int16_t *blueGreens, const int16_t *redZeros, __m128i blueGreen, __m128i red,
                       __m128i positions) {
    const __m128i pairs = _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(blueGreens)), blueGreen);
    const __m128i reds = _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(redZeros)), red);
    const __m128i sums = _mm_add_epi32(_mm_madd_epi16(pairs, pairs), _mm_madd_epi16(reds, reds));
    return _mm_or_si128(_mm_slli_epi32(sums, POSITION_BITS), positions);
}
Eight candidates(const OwnColourGroup &group, Eight blueGreen, Eight red, int first) {
    const __m128i four = _mm_add_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(first));
    return {fourCandidates(group.blueGreen, group.red, blueGreen.low, red.low, four),
            fourCandidates(group.blueGreen + 8, group.red + 8, blueGreen.high, red.high,
                           _mm_add_epi32(four, _mm_set1_epi32(4)))};
}
__m128i leastFour(__m128i a, __m128i b) {
    const __m128i less = _mm_cmplt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(less, a), _mm_andnot_si128(less, b));
}
Eight least(Eight a, Eight b) {
    return {leastFour(a.low, b.low), leastFour(a.high, b.high)};
}
int leastOf(Eight v) {
    __m128i four = leastFour(v.low, v.high);
    four = leastFour(four, _mm_shuffle_epi32(four, 0x4E));
    four = leastFour(four, _mm_shuffle_epi32(four, 0xB1));
    return _mm_cvtsi128_si32(four);
}
#else
struct Eight {
    int32_t lanes[8];
};

Eight splat(uint32_t value) {
    Eight v;
    for (int32_t &lane : v.lanes)
        lane = static_cast<int32_t>(value);
    return v;
}
Eight candidates(const OwnColourGroup &group, Eight blueGreen, Eight red, int first) {
    const int32_t blue = blueGreen.lanes[0] & 0xFFFF, green = blueGreen.lanes[0] >> 16;
    Eight v;
    for (int i = 0; i < 8; ++i) {
        const int32_t b = group.blueGreen[2 * i] - blue, g = group.blueGreen[2 * i + 1] - green;
        const int32_t r = group.red[2 * i] - red.lanes[0];
        v.lanes[i] = (b * b + g * g + r * r) << POSITION_BITS | (first + i);
    }
    return v;
}
Eight least(Eight a, Eight b) {
    for (int i = 0; i < 8; ++i) {
        if (b.lanes[i] < a.lanes[i]) a.lanes[i] = b.lanes[i];
    }
    return a;
}
int leastOf(Eight v) {
    int32_t found = v.lanes[0];
    for (int32_t lane : v.lanes) {
        if (lane < found) found = lane;
    }
    return found;
}
#endif

uint8_t search(const OwnColourGroup *groups, int count, uint32_t quad) {
    const Eight blueGreen = splat((quad & 0xFF) | (quad & 0xFF00) << 8), red = splat(quad >> 16 & 0xFF);
    Eight best = candidates(groups[0], blueGreen, red, 0);
    for (int k = 1; k < count; ++k)
        best = least(best, candidates(groups[k], blueGreen, red, 8 * k));
    const int position = leastOf(best) & ((1 << POSITION_BITS) - 1);
    return groups[position / 8].index[position % 8];
}

// The entries that can be nearest to a colour of the cell, in their order.
int listCandidates(const OwnNearestCells &cells, uint32_t blue, uint32_t green, uint32_t red, int entries,
                   uint8_t *list) {
    const int32_t *b = cells.largest[0][blue], *g = cells.largest[1][green], *r = cells.largest[2][red];
    const int32_t padded = (entries + 7) / 8 * 8;
    int32_t limit = INT32_MAX;
    for (int i = 0; i < padded; ++i) {
        const int32_t sum = b[i] + g[i] + r[i];
        limit = sum < limit ? sum : limit;
    }
    b = cells.least[0][blue];
    g = cells.least[1][green];
    r = cells.least[2][red];
    int count = 0;
    for (int i = 0; i < padded; i += 8) {
        uint8_t near[8];
        for (int k = 0; k < 8; ++k)
            near[k] = b[i + k] + g[i + k] + r[i + k] <= limit;
        uint64_t any;
        std::memcpy(&any, near, sizeof any);
        if (any == 0) continue;
        for (int k = 0; k < 8; ++k) {
            list[count] = static_cast<uint8_t>(i + k);
            count += near[k];
        }
    }
    return count;
}

uint32_t listCell(OwnNearest *nearest, uint32_t cell) {
    OwnNearestCells &cells = *nearest->cells;
    uint8_t list[256 + 8];
    const int count = listCandidates(cells, cell & 31, cell >> 5 & 31, cell >> 10, nearest->entries, list);
    if (count == 1) return cells.cells[cell] = OWN_NEAREST_SINGLE | list[0];
    const int groups = (count + 7) / 8;
    if (cells.used + groups > OWN_NEAREST_GROUPS) {
        std::memset(cells.cells, 0, sizeof cells.cells);
        cells.used = 0;
    }
    for (int i = 0; i < groups * 8; ++i) {
        const uint8_t entry = list[i < count ? i : count - 1];
        const uint8_t *colour = nearest->palette + 4 * entry;
        OwnColourGroup &group = cells.groups[cells.used + i / 8];
        group.blueGreen[i % 8 * 2] = colour[0];
        group.blueGreen[i % 8 * 2 + 1] = colour[1];
        group.red[i % 8 * 2] = colour[2];
        group.red[i % 8 * 2 + 1] = 0;
        group.index[i % 8] = entry;
    }
    const uint32_t value = static_cast<uint32_t>(cells.used) << 6 | static_cast<uint32_t>(groups);
    cells.used += groups;
    return cells.cells[cell] = value;
}

void find(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n) {
    uint32_t before = ~quads[0];
    uint8_t index = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint32_t quad = quads[i];
        if (quad != before) {
            before = quad;
            if (!nearest->cells) {
                index = search(nearest->groups, nearest->groupCount, quad);
            } else {
                const uint32_t cell = (quad >> 3 & 31) | (quad >> 6 & 31 << 5) | (quad >> 9 & 31 << 10);
                uint32_t entry = nearest->cells->cells[cell];
                if (entry == 0) entry = listCell(nearest, cell);
                index = static_cast<uint8_t>(entry);
                if ((entry & OWN_NEAREST_SINGLE) == 0)
                    index = search(nearest->cells->groups + (entry >> 6), static_cast<int>(entry & 63), quad);
            }
        }
        indices[i] = index;
    }
}

}  // namespace

extern const OwnNearestRows nearestRows;
const OwnNearestRows nearestRows = {find};

}  // namespace OWN_LEVEL
