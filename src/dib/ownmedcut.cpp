// Median cut (Heckbert, "Color image quantization for frame buffer display", 1982), over a histogram of the high six
// bits of each colour, or of 256 grays. The boxes hold lists of occupied cells instead of parts of the cube, so that a
// split costs what there is in a box, not its volume.
#include "dib/ownmedcut.h"

#include <cstring>

#include "dib/ownimagerows.h"

namespace {

constexpr int COLOUR_CELLS = 64 * 64 * 64, GRAY_CELLS = 256;

// An occupied cell: its coordinates, blue first, and its pixels. A gray has one coordinate.
struct Cell {
    uint8_t at[4];
    uint32_t pixels;
};

struct Box {
    uint8_t low[3], high[3];
    bool done;         // cannot be split
    int first, count;  // cells
    uint32_t pixels;
};

struct Cut {
    Cell *cells;
    int axes;   // 3, or 1 for grays
    int shift;  // from a coordinate to a palette's value
    Box boxes[256];
    int boxCount;
};

void shrink(const Cut &cut, Box *box) {
    const Cell *cells = cut.cells + box->first;
    for (int axis = 0; axis < cut.axes; ++axis) {
        box->low[axis] = 255;
        box->high[axis] = 0;
    }
    for (int i = 0; i < box->count; ++i) {
        for (int axis = 0; axis < cut.axes; ++axis) {
            const uint8_t at = cells[i].at[axis];
            if (at < box->low[axis]) box->low[axis] = at;
            if (at > box->high[axis]) box->high[axis] = at;
        }
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
    uint32_t planes[256] = {};
    const Cell *cells = cut.cells + box.first;
    for (int i = 0; i < box.count; ++i)
        planes[cells[i].at[axis]] += cells[i].pixels;
    const uint32_t half = box.pixels >> 1;
    int plane = box.low[axis];
    uint32_t before = 0, after = planes[plane];
    while (after <= half) {
        before = after;
        after += planes[++plane];
    }
    if (half - before < after - half) {
        *lower = before;
        return plane;
    }
    *lower = after;
    return plane + 1;
}

// The cells below the plane come first; the order within a box has no meaning.
int partition(Cell *cells, int count, int axis, int plane) {
    int low = 0, high = count;
    while (low < high) {
        if (cells[low].at[axis] < plane) {
            ++low;
        } else {
            const Cell cell = cells[low];
            cells[low] = cells[--high];
            cells[high] = cell;
        }
    }
    return low;
}

void split(Cut *cut, Box *box) {
    const int axis = longestAxis(*cut, *box);
    if (box->low[axis] == box->high[axis]) {
        box->done = true;
        return;
    }
    uint32_t lower;
    const int plane = findCut(*cut, *box, axis, &lower);
    if (lower == 0 || lower == box->pixels) {
        box->done = true;
        return;
    }
    const int below = partition(cut->cells + box->first, box->count, axis, plane);
    Box &upper = cut->boxes[cut->boxCount++];
    upper = *box;
    upper.first += below;
    upper.count -= below;
    upper.pixels -= lower;
    box->count = below;
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

void storeEntry(const Cut &cut, const uint8_t *values, uint8_t *entry) {
    for (int c = 0; c < 3; ++c)
        entry[c] = cut.axes == 1 ? values[0] : values[c];
    entry[3] = 0;
}

// The mean of a box's cells, each by its pixels.
void storeMean(const Cut &cut, const Box &box, uint8_t *entry) {
    uint64_t sums[3] = {};
    const Cell *cells = cut.cells + box.first;
    for (int i = 0; i < box.count; ++i) {
        for (int axis = 0; axis < cut.axes; ++axis)
            sums[axis] += uint64_t{cells[i].pixels} * static_cast<uint64_t>(cells[i].at[axis] << cut.shift);
    }
    uint8_t values[3] = {};
    for (int axis = 0; axis < cut.axes; ++axis)
        values[axis] = static_cast<uint8_t>(sums[axis] / box.pixels);
    storeEntry(cut, values, entry);
}

// Entries from the cells of a histogram, in their order; the number of entries.
int makePalette(Cut *cut, int cellCount, int entries, uint32_t pixels, uint8_t *palette) {
    if (cellCount <= entries) {
        for (int i = 0; i < cellCount; ++i) {
            uint8_t values[3] = {};
            for (int axis = 0; axis < cut->axes; ++axis)
                values[axis] = static_cast<uint8_t>(cut->cells[i].at[axis] << cut->shift);
            storeEntry(*cut, values, palette + 4 * i);
        }
        return cellCount;
    }
    Box &whole = cut->boxes[0];
    whole = {{}, {}, false, 0, cellCount, pixels};
    shrink(*cut, &whole);
    cut->boxCount = 1;
    splitAll(cut, entries);
    for (int i = 0; i < cut->boxCount; ++i)
        storeMean(*cut, cut->boxes[i], palette + 4 * i);
    return cut->boxCount;
}

void countGrays(const OwnImageRows &rows, uint32_t *histogram) {
    uint8_t grays[OWN_DIB_PART];
    for (int64_t y = 0; y < rows.height; ++y) {
        for (size_t x = 0; x < rows.width; x += OWN_DIB_PART) {
            const size_t n = rows.width - x < OWN_DIB_PART ? rows.width - x : OWN_DIB_PART;
            ownReadGrays(rows, y, x, n, grays);
            for (size_t i = 0; i < n; ++i)
                ++histogram[grays[i]];
        }
    }
}

void countColours(const OwnImageRows &rows, uint32_t *histogram) {
    uint32_t quads[OWN_DIB_PART];
    for (int64_t y = 0; y < rows.height; ++y) {
        for (size_t x = 0; x < rows.width; x += OWN_DIB_PART) {
            const size_t n = rows.width - x < OWN_DIB_PART ? rows.width - x : OWN_DIB_PART;
            ownReadQuads(rows, y, x, n, quads);
            for (size_t i = 0; i < n; ++i) {
                const uint32_t quad = quads[i];
                ++histogram[(quad >> 2 & 63) | (quad >> 4 & 63 << 6) | (quad >> 6 & 63 << 12)];
            }
        }
    }
}

int countOccupied(const uint32_t *histogram, int size) {
    int count = 0;
    for (int i = 0; i < size; ++i)
        count += histogram[i] != 0;
    return count;
}

void listOccupied(const uint32_t *histogram, int size, bool gray, Cell *cells) {
    for (int i = 0; i < size; ++i) {
        if (histogram[i] == 0) continue;
        if (gray) {
            *cells++ = {{static_cast<uint8_t>(i), 0, 0, 0}, histogram[i]};
        } else {
            const auto blue = static_cast<uint8_t>(i & 63), green = static_cast<uint8_t>(i >> 6 & 63);
            *cells++ = {{blue, green, static_cast<uint8_t>(i >> 12), 0}, histogram[i]};
        }
    }
}

// The number of entries, or 0 where memory failed.
int cutImage(const OwnImageRows &rows, const uint32_t *histogram, int entries, uint8_t *palette) {
    const int size = rows.gray ? GRAY_CELLS : COLOUR_CELLS;
    const int count = countOccupied(histogram, size);
    auto *cut = static_cast<Cut *>(moxMalloc(sizeof(Cut)));
    auto *cells = static_cast<Cell *>(moxMalloc(count * static_cast<int>(sizeof(Cell))));
    int made = 0;
    if (cut && cells) {
        listOccupied(histogram, size, rows.gray, cells);
        cut->cells = cells;
        cut->axes = rows.gray ? 1 : 3;
        cut->shift = rows.gray ? 0 : 2;
        made = makePalette(cut, count, entries, static_cast<uint32_t>(rows.width * static_cast<size_t>(rows.height)),
                           palette);
    }
    moxFree(cells);
    moxFree(cut);
    return made;
}

}  // namespace

int ownMedianCutPalette(const OwnBitmap &bitmap, const MoxImage *image) {
    BITMAPINFOHEADER &header = *bitmap.header;
    if (header.biBitCount > 8) return 0;
    uint8_t *palette = ownBitmapPalette(bitmap);
    int made = 2;
    if (image->depth == MOX_DEPTH_1U) {
        ownFixedPalette(palette, 2, true);
    } else {
        const OwnImageRows rows = ownImageRows(image);
        const int size = (rows.gray ? GRAY_CELLS : COLOUR_CELLS) * static_cast<int>(sizeof(uint32_t));
        auto *histogram = static_cast<uint32_t *>(moxMalloc(size));
        if (!histogram) return 0;
        std::memset(histogram, 0, static_cast<size_t>(size));
        (rows.gray ? countGrays : countColours)(rows, histogram);
        made = cutImage(rows, histogram, 1 << header.biBitCount, palette);
        moxFree(histogram);
    }
    if (made == 0) return 0;
    header.biClrUsed = static_cast<uint32_t>(made);
    return 1;
}
