// Median cut (Heckbert, "Color image quantization for frame buffer display", 1982), over a histogram of the high six
// bits of each colour, or of 256 grays.
#include "dib/ownmedcut.h"

#include <cstring>

#include "core/owncpu.h"
#include "dib/ownimagerows.h"
#include "dib/ownmedcutrows.h"

OWN_DECLARE_LEVELS(OwnMedianCutRows, medianCutRows)

namespace {

constexpr int COLOUR_CELLS = OWN_COLOUR_STEPS * OWN_COLOUR_STEPS * OWN_COLOUR_STEPS, GRAY_CELLS = 256;

// The bounds are inclusive and occupied, blue first; grays have the first axis alone, and no planes of their own.
struct Box {
    uint8_t low[3], high[3];
    bool done;  // cannot be split
    uint32_t pixels;
    uint32_t planes[3][OWN_COLOUR_STEPS];
};

struct Cut {
    const uint32_t *histogram;
    int axes;   // 3, or 1 for grays
    int shift;  // from a coordinate to a palette's value
    int boxCount;
    Box boxes[256];
};

const OwnMedianCutRows &kernels() {
    static constexpr const OwnMedianCutRows *tables[] = OWN_LEVEL_TABLES(medianCutRows);
    return *tables[ownCpuLevel()];
}

// The pixels of each plane of the box across an axis.
const uint32_t *planesOf(const Cut &cut, const Box &box, int axis) {
    return cut.axes == 1 ? cut.histogram : box.planes[axis];
}

// Counts the box's planes, and moves its bounds to the first and last that have pixels.
void shrink(const Cut &cut, Box *box) {
    if (cut.axes == 3) kernels().measure(cut.histogram, box->low, box->high, box->planes);
    for (int axis = 0; axis < cut.axes; ++axis) {
        const uint32_t *planes = planesOf(cut, *box, axis);
        while (planes[box->low[axis]] == 0)
            ++box->low[axis];
        while (planes[box->high[axis]] == 0)
            --box->high[axis];
    }
}

// Blue before green before red where extents are equal.
int longestAxis(const Cut &cut, const Box &box) {
    if (cut.axes == 1) return 0;
    int extents[3];
    for (int axis = 0; axis < 3; ++axis)
        extents[axis] = box.high[axis] - box.low[axis];
    if (extents[0] >= extents[1] && extents[0] >= extents[2]) return 0;
    return extents[2] > extents[1] ? 2 : 1;
}

// The first plane of the upper part: the one in which the sum passes half of the pixels, or the next, whichever parts
// them more evenly. lower gets the pixels below it.
int findCut(const Cut &cut, const Box &box, int axis, uint32_t *lower) {
    const uint32_t *planes = planesOf(cut, box, axis);
    const uint32_t half = box.pixels >> 1;
    int plane = box.low[axis];
    uint32_t before = 0, after = planes[plane];
    while (after <= half) {
        before = after;
        after += planes[++plane];
    }
    const bool isUpper = half - before < after - half;
    *lower = isUpper ? before : after;
    return isUpper ? plane : plane + 1;
}

void split(Cut *cut, Box *box) {
    const int axis = longestAxis(*cut, *box);
    uint32_t lower = 0;
    const int plane = box->low[axis] < box->high[axis] ? findCut(*cut, *box, axis, &lower) : 0;
    if (lower == 0 || lower == box->pixels) {
        box->done = true;
        return;
    }
    Box &upper = cut->boxes[cut->boxCount++];
    upper = *box;
    upper.low[axis] = static_cast<uint8_t>(plane);
    upper.pixels -= lower;
    box->high[axis] = static_cast<uint8_t>(plane - 1);
    box->pixels = lower;
    shrink(*cut, box);
    shrink(*cut, &upper);
}

// All boxes of a generation are split before any of the next.
void splitAll(Cut *cut, int entries) {
    for (bool more = true; more;) {
        more = false;
        const int count = cut->boxCount;
        for (int i = 0; i < count; ++i) {
            if (cut->boxes[i].done) continue;
            if (cut->boxCount == entries) return;
            split(cut, &cut->boxes[i]);
            more = true;
        }
    }
}

void storeEntry(const uint8_t *colour, uint8_t *entry) {
    std::memcpy(entry, colour, 3);
    entry[3] = 0;
}

// The mean of a box's cells, each by its pixels.
void storeMean(const Cut &cut, const Box &box, uint8_t *entry) {
    uint8_t colour[3] = {};
    for (int axis = 0; axis < cut.axes; ++axis) {
        const uint32_t *planes = planesOf(cut, box, axis);
        uint64_t sum = 0;
        for (int i = box.low[axis]; i <= box.high[axis]; ++i)
            sum += uint64_t{planes[i]} * static_cast<uint64_t>(i << cut.shift);
        colour[axis] = static_cast<uint8_t>(sum / box.pixels);
    }
    if (cut.axes == 1) colour[1] = colour[2] = colour[0];
    storeEntry(colour, entry);
}

// The colours of the histogram, in its order, if there are no more than entries; their number.
int storeColours(const Cut &cut, int cells, int entries, uint8_t *palette) {
    int count = 0;
    for (int i = 0; i < cells; i += GRAY_CELLS) {
        for (int k = 0; k < GRAY_CELLS; ++k)
            count += cut.histogram[i + k] != 0;
        if (count > entries) return count;
    }
    for (int i = 0; i < cells; ++i) {
        if (cut.histogram[i] == 0) continue;
        const int gray = i << cut.shift;
        const int parts[] = {i % 64 << 2, i / 64 % 64 << 2, i / 4096 << 2};
        uint8_t colour[3];
        for (int c = 0; c < 3; ++c)
            colour[c] = static_cast<uint8_t>(cut.axes == 1 ? gray : parts[c]);
        storeEntry(colour, palette);
        palette += 4;
    }
    return count;
}

// The number of entries, or 0 where memory failed.
int makePalette(const OwnImageRows &rows, const uint32_t *histogram, int entries, uint8_t *palette) {
    auto *cut = static_cast<Cut *>(moxMalloc(sizeof(Cut)));
    if (!cut) return 0;
    cut->histogram = histogram;
    cut->axes = rows.gray ? 1 : 3;
    cut->shift = rows.gray ? 0 : 2;
    int made = storeColours(*cut, rows.gray ? GRAY_CELLS : COLOUR_CELLS, entries, palette);
    if (made > entries) {
        Box &whole = cut->boxes[0];
        const uint8_t last = rows.gray ? GRAY_CELLS - 1 : OWN_COLOUR_STEPS - 1;
        std::memset(whole.low, 0, sizeof whole.low);
        std::memset(whole.high, last, sizeof whole.high);
        whole.done = false;
        whole.pixels = static_cast<uint32_t>(rows.width * static_cast<size_t>(rows.height));
        shrink(*cut, &whole);
        cut->boxCount = 1;
        splitAll(cut, entries);
        made = cut->boxCount;
        for (int i = 0; i < made; ++i)
            storeMean(*cut, cut->boxes[i], palette + 4 * i);
    }
    moxFree(cut);
    return made;
}

void countPixels(const OwnImageRows &rows, uint32_t *histogram) {
    uint32_t quads[OWN_DIB_PART];
    uint8_t grays[OWN_DIB_PART];
    for (int64_t y = 0; y < rows.height; ++y) {
        for (size_t x = 0; x < rows.width; x += OWN_DIB_PART) {
            const size_t n = rows.width - x < OWN_DIB_PART ? rows.width - x : OWN_DIB_PART;
            if (!rows.gray) {
                ownReadQuads(rows, y, x, n, quads);
                kernels().count(quads, n, histogram);
                continue;
            }
            ownReadGrays(rows, y, x, n, grays);
            for (size_t i = 0; i < n; ++i)
                ++histogram[grays[i]];
        }
    }
}

}  // namespace

int ownMedianCutPalette(const OwnBitmap &bitmap, const MoxImage *image) {
    BITMAPINFOHEADER &header = *bitmap.header;
    if (header.biBitCount > 8) return 0;
    uint8_t *palette = ownBitmapPalette(bitmap);
    if (image->depth == MOX_DEPTH_1U) {
        ownFixedPalette(palette, 2, true);
        header.biClrUsed = 2;
        return 1;
    }
    const OwnImageRows rows = ownImageRows(image);
    const int size = (rows.gray ? GRAY_CELLS : COLOUR_CELLS) * static_cast<int>(sizeof(uint32_t));
    auto *histogram = static_cast<uint32_t *>(moxMalloc(size));
    if (!histogram) return 0;
    std::memset(histogram, 0, static_cast<size_t>(size));
    countPixels(rows, histogram);
    const int made = makePalette(rows, histogram, 1 << header.biBitCount, palette);
    moxFree(histogram);
    if (made == 0) return 0;
    header.biClrUsed = static_cast<uint32_t>(made);
    return 1;
}
