// The nearest neighbour: pixels are copied from their places, whatever their samples are.
#include "geometry/ownsamplerplaces.h"

namespace {

[[gnu::always_inline]] inline void locate(const Extent &extent, const OwnAnyS32 *index, int32_t *place, size_t n) {
    for (size_t i = 0; i < n; ++i)
        place[i] = (notAbove(notBelow<int32_t>(index[i], extent.first), extent.last) - extent.origin) * extent.step;
}

template <size_t bytes>
void copyPixels(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    const OwnAnyS32 *xs = static_cast<const OwnAnyS32 *>(x), *ys = static_cast<const OwnAnyS32 *>(y);
    Places places;
    for (size_t done = 0, count; done < n; done += count) {
        count = n - done < BLOCK ? n - done : BLOCK;
        locate(columnsOf(src), xs + done, places.column, count);
        locate(rowsOf(src), ys + done, places.row, count);
        count = places.settle(src, 1, count);
        for (size_t i = 0; i < count; ++i, out += bytes)
            __builtin_memcpy(out, places.at(i), bytes);
    }
}

void copyBits(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    const OwnAnyS32 *xs = static_cast<const OwnAnyS32 *>(x), *ys = static_cast<const OwnAnyS32 *>(y);
    Extent columns = columnsOf(src);
    columns.step = 1;
    for (size_t done = 0; done < n; done += BLOCK) {
        const size_t count = n - done < BLOCK ? n - done : BLOCK;
        Places places;
        locate(columns, xs + done, places.column, count);
        locate(rowsOf(src), ys + done, places.row, count);
        unsigned bits = 0;
        for (size_t i = 0; i < count; ++i) {
            const int64_t at = int64_t{places.column[i]} + src.bit;
            const unsigned byte = src.origin[places.row[i] * src.rowStep + at / 8];
            bits = bits << 1 | (byte >> (7 - at % 8) & 1);
            if (i % 8 == 7) *out++ = static_cast<uint8_t>(bits);
        }
        if (count % 8 != 0) *out = static_cast<uint8_t>(bits << (8 - count % 8));
    }
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnSampleNearestRows sampleNearestRows;
const OwnSampleNearestRows sampleNearestRows = {
    {{copyPixels<1>, copyPixels<3>, copyPixels<4>},
     {copyPixels<2>, copyPixels<6>, copyPixels<8>},
     {copyPixels<4>, copyPixels<12>, copyPixels<16>}},
    copyBits,
};
}  // namespace OWN_LEVEL
