// Palettes of bitmaps.
#include "reference/palette.h"

#include <algorithm>
#include <array>
#include <map>

RefPalette refFixedPalette(int count, bool gray) {
    RefPalette palette;
    if (count == 2) return {0x000000, 0xFFFFFF};
    if (gray) {
        for (int i = 0; i < count; ++i)
            palette.push_back(static_cast<uint32_t>(i) * (count == 16 ? 0x111111u : 0x010101u));
        return palette;
    }
    if (count == 16) {
        return {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
                0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    }
    const uint32_t eight[] = {0, 32, 64, 96, 128, 160, 192, 255}, four[] = {0, 64, 128, 255};
    for (uint32_t red : eight) {
        for (uint32_t green : eight) {
            for (uint32_t blue : four)
                palette.push_back(red << 16 | green << 8 | blue);
        }
    }
    return palette;
}

static int component(uint32_t colour, int which) {
    return static_cast<int>(colour >> 8 * which & 255);
}

int refNearest(const RefPalette &palette, uint32_t colour) {
    int best = 0, bestDistance = 0x7FFFFFFF;
    for (size_t i = 0; i < palette.size(); ++i) {
        int distance = 0;
        for (int which = 0; which < 3; ++which) {
            const int difference = component(palette[i], which) - component(colour, which);
            distance += difference * difference;
        }
        if (distance >= bestDistance) continue;
        bestDistance = distance;
        best = static_cast<int>(i);
    }
    return best;
}

namespace {

// Cells and how many pixels lie in each; a gray image has one axis of 256 cells, a colour image three of 64, blue
// first.
using Cell = std::array<int, 3>;
using Histogram = std::map<Cell, int64_t>;

struct Box {
    std::vector<std::pair<Cell, int64_t>> cells;
    int64_t count = 0;

    int low(size_t axis) const {
        int value = cells[0].first[axis];
        for (const auto &each : cells)
            value = std::min(value, each.first[axis]);
        return value;
    }
    int high(size_t axis) const {
        int value = cells[0].first[axis];
        for (const auto &each : cells)
            value = std::max(value, each.first[axis]);
        return value;
    }
    int extent(size_t axis) const { return high(axis) - low(axis); }
    bool splits() const { return cells.size() > 1; }

    // The largest extent; ties for the first axis, then the second.
    size_t longestAxis() const {
        if (extent(0) >= extent(1) && extent(0) >= extent(2)) return 0;
        return extent(2) > extent(1) ? 2 : 1;
    }
};

// The last plane of the lower half.
int cutOf(const Box &box, size_t axis) {
    const int64_t half = box.count >> 1;
    int64_t before = 0;
    for (int plane = box.low(axis);; ++plane) {
        int64_t after = before;
        for (const auto &[cell, count] : box.cells)
            after += cell[axis] == plane ? count : 0;
        if (after > half) return half - before < after - half ? plane - 1 : plane;
        before = after;
    }
}

Box part(const Box &box, size_t axis, int cut, bool upper) {
    Box result;
    for (const auto &[cell, count] : box.cells) {
        if ((cell[axis] > cut) != upper) continue;
        result.cells.push_back({cell, count});
        result.count += count;
    }
    return result;
}

// Pass by pass: each box of a generation is cut before any of the next.
std::vector<Box> cutBoxes(const Histogram &histogram, size_t count) {
    Box all;
    for (const auto &[cell, pixels] : histogram) {
        all.cells.push_back({cell, pixels});
        all.count += pixels;
    }
    std::vector<Box> boxes = {all};
    for (bool more = true; more;) {
        more = false;
        const size_t generation = boxes.size();
        for (size_t i = 0; i < generation && boxes.size() < count; ++i) {
            if (!boxes[i].splits()) continue;
            const Box box = boxes[i];
            const size_t axis = box.longestAxis();
            const int cut = cutOf(box, axis);
            boxes[i] = part(box, axis, cut, false);
            boxes.push_back(part(box, axis, cut, true));
            more = true;
        }
    }
    return boxes;
}

// The mean of the cells' values, each shifted up to eight bits.
int mean(const Box &box, size_t axis, int shift) {
    int64_t sum = 0;
    for (const auto &[cell, count] : box.cells)
        sum += count * (cell[axis] << shift);
    return static_cast<int>(sum / box.count);
}

}  // namespace

RefPalette refMedianCutGray(const std::vector<uint8_t> &pixels, int count) {
    Histogram histogram;
    for (uint8_t pixel : pixels)
        ++histogram[{pixel, 0, 0}];
    RefPalette palette;
    if (histogram.size() <= static_cast<size_t>(count)) {
        for (const auto &each : histogram)
            palette.push_back(static_cast<uint32_t>(each.first[0]) * 0x010101u);
        return palette;
    }
    for (const Box &box : cutBoxes(histogram, static_cast<size_t>(count)))
        palette.push_back(static_cast<uint32_t>(mean(box, 0, 0)) * 0x010101u);
    return palette;
}

RefPalette refMedianCut(const std::vector<uint32_t> &pixels, int count) {
    Histogram histogram;
    for (uint32_t pixel : pixels)
        ++histogram[{component(pixel, 0) >> 2, component(pixel, 1) >> 2, component(pixel, 2) >> 2}];
    std::vector<Box> boxes;
    if (histogram.size() <= static_cast<size_t>(count)) {
        // In the order of the histogram: red, then green, then blue.
        std::map<Cell, int64_t> byRed;
        for (const auto &[cell, number] : histogram)
            byRed[{cell[2], cell[1], cell[0]}] = number;
        for (const auto &[cell, number] : byRed)
            boxes.push_back({{{{cell[2], cell[1], cell[0]}, number}}, number});
    } else {
        boxes = cutBoxes(histogram, static_cast<size_t>(count));
    }
    RefPalette palette;
    for (const Box &box : boxes) {
        palette.push_back(static_cast<uint32_t>(mean(box, 2, 2) << 16 | mean(box, 1, 2) << 8 | mean(box, 0, 2)));
    }
    return palette;
}
