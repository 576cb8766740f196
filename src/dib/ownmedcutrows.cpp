// The kernels of the median cut, compiled once for each CPU level.
#include "dib/ownmedcutrows.h"

#include <cstring>

namespace OWN_LEVEL {
namespace {

using Eight [[gnu::vector_size(32), gnu::may_alias]] = uint32_t;
constexpr int LANES = 8, BLOCKS = OWN_COLOUR_STEPS / LANES;

uint32_t sumOf(const Eight &lanes) {
    uint32_t sum = 0;
    for (int i = 0; i < LANES; ++i)
        sum += lanes[i];
    return sum;
}

// Rows of blue are taken in blocks of eight cells, those outside the box masked. Every block is added to the sums of
// its blues, and lane by lane to those of its row; the lanes are added up in the end.
template <int blocks>
void measureBlocks(const uint32_t *histogram, const uint8_t *low, const uint8_t *high,
                   uint32_t (*planes)[OWN_COLOUR_STEPS]) {
    const int first = low[0] / LANES;
    Eight masks[blocks], blues[blocks] = {}, greens[OWN_COLOUR_STEPS];
    for (int k = 0; k < blocks * LANES; ++k) {
        const int blue = first * LANES + k;
        masks[k / LANES][k % LANES] = blue >= low[0] && blue <= high[0] ? ~0u : 0;
    }
    for (int green = low[1]; green <= high[1]; ++green)
        greens[green] = Eight{};
    std::memset(planes, 0, 3 * sizeof *planes);
    for (int red = low[2]; red <= high[2]; ++red) {
        Eight reds = {};
        for (int green = low[1]; green <= high[1]; ++green) {
            const uint32_t *row = histogram + (red * OWN_COLOUR_STEPS + green) * OWN_COLOUR_STEPS + first * LANES;
            Eight sum = {};
            for (int k = 0; k < blocks; ++k) {
                const Eight cells = *reinterpret_cast<const Eight *>(row + k * LANES) & masks[k];
                blues[k] += cells;
                sum += cells;
            }
            greens[green] += sum;
            reds += sum;
        }
        planes[2][red] = sumOf(reds);
    }
    for (int green = low[1]; green <= high[1]; ++green)
        planes[1][green] = sumOf(greens[green]);
    for (int k = 0; k < blocks; ++k)
        std::memcpy(planes[0] + (first + k) * LANES, &blues[k], sizeof blues[k]);
}

void measure(const uint32_t *histogram, const uint8_t *low, const uint8_t *high, uint32_t (*planes)[OWN_COLOUR_STEPS]) {
    static constexpr decltype(&measureBlocks<1>) functions[BLOCKS] = {
        measureBlocks<1>, measureBlocks<2>, measureBlocks<3>, measureBlocks<4>,
        measureBlocks<5>, measureBlocks<6>, measureBlocks<7>, measureBlocks<8>};
    functions[high[0] / LANES - low[0] / LANES](histogram, low, high, planes);
}

void count(const uint32_t *quads, size_t n, uint32_t *histogram) {
    for (size_t i = 0; i < n; ++i) {
        const uint32_t quad = quads[i];
        ++histogram[(quad >> 2 & 63) | (quad >> 4 & 63 << 6) | (quad >> 6 & 63 << 12)];
    }
}

}  // namespace

extern const OwnMedianCutRows medianCutRows;
const OwnMedianCutRows medianCutRows = {measure, count};

}  // namespace OWN_LEVEL
