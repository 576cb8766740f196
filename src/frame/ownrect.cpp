// The rectangle service. A rectangle is cut into three bands (above the image, within its rows, below), and these into
// spans that lie within the image, forwards or mirrored: each span is fetched in one go, so that no pixel costs a
// division.
#include "frame/ownrect.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "frame/owntile.h"

namespace {

// ------------------------------------------------------------------------------------------------------------ copying

// Pixels in memory: those of a plain image, or of one tile.
struct Block {
    const char *data;
    int64_t rowBytes, planeBytes;
};

void setBit(char *row, int64_t bit) {
    row[bit / 8] = static_cast<char>(row[bit / 8] | 128 >> bit % 8);
}
bool getBit(const char *row, int64_t bit) {
    return (row[bit / 8] >> (7 - bit % 8) & 1) != 0;
}

void copyBitRow(const char *src, int64_t x0, int64_t x1, char *dst, int64_t column) {
    if (x0 <= x1) {
        ownCopyBits(reinterpret_cast<const uint8_t *>(src) + x0 / 8, reinterpret_cast<uint8_t *>(dst) + column / 8,
                    static_cast<int>(x0 % 8), static_cast<int>(column % 8), x1 - x0 + 1);
        return;
    }
    for (int64_t x = x0; x >= x1; --x, ++column) {
        if (getBit(src, x)) setBit(dst, column);
    }
}

void copyPixelRow(const char *src, int64_t x0, int64_t x1, char *dst, int64_t column, int pixelBytes) {
    const auto bytes = static_cast<size_t>(pixelBytes);
    dst += column * pixelBytes;
    if (x0 <= x1) {
        std::memcpy(dst, src + x0 * pixelBytes, static_cast<size_t>(x1 - x0 + 1) * bytes);
        return;
    }
    for (int64_t x = x0; x >= x1; --x, dst += pixelBytes)
        std::memcpy(dst, src + x * pixelBytes, bytes);
}

// Pixels (x0, y0) to (x1, y1) of a block into the buffer, in the direction in which the corners lie.
void ownCopyBlock(const Block &block, int64_t x0, int64_t y0, int64_t x1, int64_t y1, const OwnRectBuffer &buffer,
                  int64_t column, int64_t row) {
    const int64_t step = y0 <= y1 ? 1 : -1;
    const int64_t rows = (y1 - y0) * step + 1;
    for (int plane = 0; plane < buffer.planes; ++plane) {
        for (int64_t i = 0; i < rows; ++i) {
            const char *src = block.data + plane * block.planeBytes + (y0 + i * step) * block.rowBytes;
            char *dst = buffer.data + plane * buffer.planeBytes + (row + i) * buffer.rowBytes;
            if (buffer.pixelBytes == 0) {
                copyBitRow(src, x0, x1, dst, column);
            } else {
                copyPixelRow(src, x0, x1, dst, column, buffer.pixelBytes);
            }
        }
    }
}

// ------------------------------------------------------------------------------------------------------- rows of tiles

// One axis of a rectangle over a grid of tiles: tile by tile in the direction of reading.
struct TileAxis {
    int64_t from, to;  // pixels, both included
    int size;          // of a tile

    int64_t direction() const { return from <= to ? 1 : -1; }
    int64_t count() const { return (to / size - from / size) * direction() + 1; }
    int64_t index(int64_t k) const { return from / size + k * direction(); }
    // The first and last pixel within tile k, from the tile's corner.
    int64_t first(int64_t k) const { return k == 0 ? from % size : direction() > 0 ? 0 : size - 1; }
    int64_t last(int64_t k) const { return k == count() - 1 ? to % size : direction() > 0 ? size - 1 : 0; }
    int64_t pixels(int64_t k) const { return (last(k) - first(k)) * direction() + 1; }
};

// Requests a row of tiles; every column is asked for, also after a refusal. False if any is refused.
bool ownFetchTiles(MoxImage *image, const TileAxis &columns, int row, char **tiles) {
    bool complete = true;
    for (int64_t k = 0; k < columns.count(); ++k) {
        tiles[k] = ownRequestTile(image, static_cast<int>(columns.index(k)), row, MOX_TileRead);
        complete = complete && tiles[k];
    }
    return complete;
}

void ownReleaseTiles(MoxImage *image, const TileAxis &columns, int row, char *const *tiles) {
    for (int64_t k = columns.count() - 1; k >= 0; --k) {
        ownReleaseTile(image, static_cast<int>(columns.index(k)), row, tiles[k]);
    }
}

bool copyTiles(MoxImage *image, const TileAxis &columns, const TileAxis &rows, const OwnRectBuffer &buffer,
               char **tiles) {
    const int64_t rowBytes = ownTileRowBytesOf(image);
    int64_t row = buffer.row;
    for (int64_t j = 0; j < rows.count(); row += rows.pixels(j), ++j) {
        const int tileRow = static_cast<int>(rows.index(j));
        if (!ownFetchTiles(image, columns, tileRow, tiles)) return false;
        int64_t column = buffer.column;
        for (int64_t k = 0; k < columns.count(); column += columns.pixels(k), ++k) {
            const Block block = {tiles[k], rowBytes, rowBytes * image->tileInfo->height};
            ownCopyBlock(block, columns.first(k), rows.first(j), columns.last(k), rows.last(j), buffer, column, row);
        }
        ownReleaseTiles(image, columns, tileRow, tiles);
    }
    return true;
}

// -------------------------------------------------------------------------------------------------------------- bands

// A rectangle on its way into its buffer.
struct RectReader {
    MoxImage *image;
    int64_t x, y, xEnd, yEnd;
    OwnRectBuffer buffer;
    const char *constants[4];  // a fill word for each side

    char *rowAt(int plane, int64_t row) const {
        return buffer.data + plane * buffer.planeBytes + (row - y) * buffer.rowBytes;
    }
    int mode(int side) const { return image->borderMode[side] & 3; }

    // Pixels of the image to the place of (toX, toY) in the buffer.
    bool copy(int64_t x0, int64_t y0, int64_t x1, int64_t y1, int64_t toX, int64_t toY) {
        buffer.column = toX - x;
        buffer.row = toY - y;
        return ownCopyRect(image, static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1),
                           static_cast<int>(y1), &buffer) == 0;
    }

    bool fill();
    bool fillRowsOutside(int side, int64_t from, int64_t to);
    bool fillRowsInside(int64_t from, int64_t to);
    bool fillColumnsOutside(int side, int64_t xFrom, int64_t xTo, int64_t yFrom, int64_t yTo);
    bool replicateRow(int64_t srcRow, int64_t toRow);
    void fillConstant(int side, int64_t xFrom, int64_t xTo, int64_t yFrom, int64_t yTo);
    void spreadColumn(int64_t column, int64_t xFrom, int64_t xTo, int64_t yFrom, int64_t yTo);
};

enum Side { TOP, BOTTOM, LEFT, RIGHT };

// A run of coordinates outside an image, folded into it: from first on, in a direction, over count pixels.
struct FoldedSpan {
    int64_t first, last, count;
};

int64_t floorModulo(int64_t value, int64_t period) {
    const int64_t rest = value % period;
    return rest < 0 ? rest + period : rest;
}

// The longest run from position on, up to end, that is one span of the image under reflect or wrap.
FoldedSpan fold(int mode, int64_t position, int64_t end, int64_t size) {
    if (mode == MOX_BORDER_WRAP) {
        const int64_t first = floorModulo(position, size);
        const int64_t count = std::min(end - position, size - first);
        return {first, first + count - 1, count};
    }
    const int64_t place = floorModulo(position, 2 * size);
    if (place < size) {
        const int64_t count = std::min(end - position, size - place);
        return {place, place + count - 1, count};
    }
    const int64_t count = std::min(end - position, 2 * size - place);
    const int64_t first = 2 * size - 1 - place;
    return {first, first - count + 1, count};
}

bool RectReader::fill() {
    const int64_t height = image->height;
    return fillRowsOutside(TOP, y, std::min<int64_t>(yEnd, 0)) &&
           fillRowsInside(std::max<int64_t>(y, 0), std::min(yEnd, height)) &&
           fillRowsOutside(BOTTOM, std::max(y, height), yEnd);
}

// Above or below the image: that side's mode rules the whole width, the corners included.
bool RectReader::fillRowsOutside(int side, int64_t from, int64_t to) {
    if (from >= to) return true;
    const int how = mode(side);
    if (how == MOX_BORDER_CONSTANT) {
        fillConstant(side, x, xEnd, from, to);
        return true;
    }
    if (how == MOX_BORDER_REPLICATE) {
        if (!replicateRow(side == TOP ? 0 : image->height - 1, from)) return false;
        for (int plane = 0; plane < buffer.planes; ++plane) {
            for (int64_t row = from + 1; row < to; ++row) {
                std::memcpy(rowAt(plane, row), rowAt(plane, from), static_cast<size_t>(buffer.rowBytes));
            }
        }
        return true;
    }
    for (int64_t row = from; row < to;) {
        const FoldedSpan rows = fold(how, row, to, image->height);
        for (int64_t column = x; column < xEnd;) {
            const FoldedSpan columns = fold(how, column, xEnd, image->width);
            if (!copy(columns.first, rows.first, columns.last, rows.last, column, row)) return false;
            column += columns.count;
        }
        row += rows.count;
    }
    return true;
}

bool RectReader::fillRowsInside(int64_t from, int64_t to) {
    if (from >= to) return true;
    const int64_t width = image->width;
    const int64_t inner = std::max<int64_t>(x, 0), innerEnd = std::min(xEnd, width);
    if (!fillColumnsOutside(LEFT, x, std::min<int64_t>(xEnd, 0), from, to)) return false;
    if (inner < innerEnd && !copy(inner, from, innerEnd - 1, to - 1, inner, from)) return false;
    return fillColumnsOutside(RIGHT, std::max(x, width), xEnd, from, to);
}

// Left or right of the image, within its rows.
bool RectReader::fillColumnsOutside(int side, int64_t xFrom, int64_t xTo, int64_t yFrom, int64_t yTo) {
    if (xFrom >= xTo) return true;
    const int how = mode(side);
    if (how == MOX_BORDER_CONSTANT) {
        fillConstant(side, xFrom, xTo, yFrom, yTo);
        return true;
    }
    if (how == MOX_BORDER_REPLICATE) {
        const int64_t edge = side == LEFT ? 0 : image->width - 1;
        if (!copy(edge, yFrom, edge, yTo - 1, xFrom, yFrom)) return false;
        spreadColumn(xFrom, xFrom + 1, xTo, yFrom, yTo);
        return true;
    }
    for (int64_t column = xFrom; column < xTo;) {
        const FoldedSpan columns = fold(how, column, xTo, image->width);
        if (!copy(columns.first, yFrom, columns.last, yTo - 1, column, yFrom)) return false;
        column += columns.count;
    }
    return true;
}

// One row of the image with x clamped to it.
bool RectReader::replicateRow(int64_t srcRow, int64_t toRow) {
    const int64_t width = image->width;
    const int64_t inner = std::max<int64_t>(x, 0), innerEnd = std::min(xEnd, width);
    const int64_t leftEnd = std::min<int64_t>(xEnd, 0), right = std::max(x, width);
    if (inner < innerEnd && !copy(inner, srcRow, innerEnd - 1, srcRow, inner, toRow)) return false;
    if (x < leftEnd) {
        if (!copy(0, srcRow, 0, srcRow, x, toRow)) return false;
        spreadColumn(x, x + 1, leftEnd, toRow, toRow + 1);
    }
    if (right < xEnd) {
        if (!copy(width - 1, srcRow, width - 1, srcRow, right, toRow)) return false;
        spreadColumn(right, right + 1, xEnd, toRow, toRow + 1);
    }
    return true;
}

// A constant is one fill word of four bytes, whatever the depth. Whole rows are filled with their padding.
void RectReader::fillConstant(int side, int64_t xFrom, int64_t xTo, int64_t yFrom, int64_t yTo) {
    const char *word = constants[side];
    const bool wholeRows = side == TOP || side == BOTTOM;
    for (int plane = 0; plane < buffer.planes; ++plane) {
        for (int64_t row = yFrom; row < yTo; ++row) {
            char *dst = rowAt(plane, row);
            if (wholeRows) {
                for (int64_t k = 0; k < buffer.rowBytes; k += 4)
                    std::memcpy(dst + k, word, 4);
            } else if (buffer.pixelBytes == 0) {
                for (int64_t column = xFrom; word[0] != 0 && column < xTo; ++column)
                    setBit(dst, column - x);
            } else {
                char *at = dst + (xFrom - x) * buffer.pixelBytes;
                const int64_t bytes = (xTo - xFrom) * buffer.pixelBytes;
                for (int64_t k = 0; k < bytes; ++k)
                    at[k] = word[k % 4];
            }
        }
    }
}

// Copies a column of the buffer over those from xFrom to xTo.
void RectReader::spreadColumn(int64_t column, int64_t xFrom, int64_t xTo, int64_t yFrom, int64_t yTo) {
    for (int plane = 0; plane < buffer.planes; ++plane) {
        for (int64_t row = yFrom; row < yTo; ++row) {
            char *at = rowAt(plane, row);
            for (int64_t to = xFrom; to < xTo; ++to) {
                if (buffer.pixelBytes == 0) {
                    if (getBit(at, column - x)) setBit(at, to - x);
                } else {
                    std::memcpy(at + (to - x) * buffer.pixelBytes, at + (column - x) * buffer.pixelBytes,
                                static_cast<size_t>(buffer.pixelBytes));
                }
            }
        }
    }
}

uint32_t constantWord(unsigned depth, int constant) {
    const auto value = static_cast<uint32_t>(constant);
    const auto real = static_cast<float>(constant);
    uint32_t word = value;
    switch (depth) {
        case MOX_DEPTH_1U:
            return (value & 1) != 0 ? 0xFFFFFFFFu : 0;
        case MOX_DEPTH_8U:
        case MOX_DEPTH_8S:
            return (value & 0xFF) * 0x01010101u;
        case MOX_DEPTH_16U:
        case MOX_DEPTH_16S:
            return (value & 0xFFFF) * 0x00010001u;
        case MOX_DEPTH_32F:
            std::memcpy(&word, &real, sizeof word);
            return word;
        default:
            return word;
    }
}

bool isReadable(const MoxImage *image) {
    return image && (image->dataOrder == MOX_DATA_ORDER_PIXEL || image->dataOrder == MOX_DATA_ORDER_PLANE) &&
           ownDepthIndex(image->depth) >= 0 &&
           (image->align == 4 || image->align == 8 || image->align == 16 || image->align == 32);
}

}  // namespace

int ownCopyRect(MoxImage *image, int x0, int y0, int x1, int y1, const OwnRectBuffer *buffer) {
    if (image->imageData) {
        const Block block = {image->imageData, image->widthStep,
                             static_cast<int64_t>(image->height) * image->widthStep};
        ownCopyBlock(block, x0, y0, x1, y1, *buffer, buffer->column, buffer->row);
        return 0;
    }
    const TileAxis columns = {x0, x1, image->tileInfo->width};
    const TileAxis rows = {y0, y1, image->tileInfo->height};
    auto **tiles =
        static_cast<char **>(moxMalloc(static_cast<int>(columns.count() * static_cast<int64_t>(sizeof(char *)))));
    if (!tiles) return 1;
    const bool complete = copyTiles(image, columns, rows, *buffer, tiles);
    moxFree(tiles);
    return complete ? 0 : 1;
}

char *ownGetRect(MoxImage *image, int x, int y, int width, int height, int *rowBytes) {
    if (!isReadable(image) || width < 1 || height < 1) return nullptr;
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const int planes = planar ? image->nChannels : 1;
    const int64_t pixelBytes = static_cast<int64_t>(planar ? 1 : image->nChannels) * ownDepthBytes(image->depth);
    const int64_t raw = pixelBytes == 0 ? (int64_t{width} + 7) / 8 : width * pixelBytes;
    const int64_t step = (raw + image->align - 1) / image->align * image->align;
    constexpr int64_t room = 16;
    if (pixelBytes > INT_MAX || step > INT_MAX || step * height > INT_MAX) return nullptr;
    const int64_t size = step * height * planes;
    if (size > INT_MAX - room) return nullptr;

    char *data = static_cast<char *>(moxMalloc(static_cast<int>(size + room)));
    if (!data) return nullptr;
    if (pixelBytes == 0) std::memset(data, 0, static_cast<size_t>(size));
    uint32_t words[4];
    RectReader reader = {image,
                         x,
                         y,
                         int64_t{x} + width,
                         int64_t{y} + height,
                         {data, 0, 0, step, step * height, static_cast<int>(pixelBytes), planes},
                         {}};
    for (int side = 0; side < 4; ++side) {
        words[side] = constantWord(image->depth, image->borderConst[side]);
        reader.constants[side] = reinterpret_cast<const char *>(&words[side]);
    }
    if (!reader.fill()) {
        moxFree(data);
        return nullptr;
    }
    *rowBytes = static_cast<int>(step);
    return data;
}

void ownFreeRect(char *buffer) {
    moxFree(buffer);
}
