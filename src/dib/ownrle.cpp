// The run-length decoder of bitmaps. A stream may come from anywhere: every command is tested before it is carried out,
// so that nothing is written beyond a row and nothing read beyond the stream.
#include "dib/ownrle.h"

#include <climits>
#include <cstring>

namespace {

// Runs and literals are written in whole blocks: what stands behind them is written later, as positions only rise.
constexpr int64_t BLOCK = 16;

enum Fault { NO_FAULT, BAD_PLACE, BAD_WIDTH, BAD_DELTA, BAD_HEIGHT };

const char *faultMessage(Fault fault, bool eight) {
    switch (fault) {
        case BAD_WIDTH:
            return eight ? "Incorrect format of BI_RLE8 DIB (mismatch biWidth)"
                         : "Incorrect format of BI_RLE4 DIB (mismatch biWidth)";
        case BAD_DELTA:
            return eight ? "Incorrect format of BI_RLE8 DIB (bad Delta command)"
                         : "Incorrect format of BI_RLE4 DIB (bad Delta command)";
        case BAD_HEIGHT:
            return eight ? "Incorrect format of BI_RLE8 DIB (mismatch biHeight)"
                         : "Incorrect format of BI_RLE4 DIB (mismatch biHeight)";
        default:
            return eight ? "Incorrect format of BI_RLE8 DIB (mismatch biHeight or biWidth)"
                         : "Incorrect format of BI_RLE4 DIB (mismatch biHeight or biWidth)";
    }
}

struct Rows {
    int64_t width, height, rowBytes;
    uint8_t *first;  // with BLOCK bytes of room behind the last row
};

// Where the bytes of a stream are taken from. Without a known size it ends where a command says so, and no byte behind
// a command may be looked at.
struct Source {
    const uint8_t *next;
    uint64_t left;
    bool sizeIsKnown;

    bool has(uint64_t bytes) const { return left >= bytes; }
    void skip(uint64_t bytes) {
        next += bytes;
        left -= bytes;
    }
};

// Pixels of 8 bits.
struct Bytes {
    static uint64_t literalBytes(int64_t n) { return static_cast<uint64_t>(n); }
    static int64_t offset(int64_t column) { return column; }

    static void run(uint8_t *row, int64_t column, int64_t n, uint8_t value) {
        uint8_t *to = row + column;
        uint8_t block[BLOCK];
        std::memset(block, value, BLOCK);
        for (int64_t i = 0; i < n; i += BLOCK)
            std::memcpy(to + i, block, BLOCK);
    }
    static void literal(uint8_t *row, int64_t column, int64_t n, const Source &source) {
        uint8_t *to = row + column;
        if (!source.sizeIsKnown || !source.has(static_cast<uint64_t>(n + BLOCK))) {
            std::memcpy(to, source.next, static_cast<size_t>(n));
            return;
        }
        for (int64_t i = 0; i < n; i += BLOCK)
            std::memcpy(to + i, source.next + i, BLOCK);
    }
};

// Pixels of 4 bits. The low half of a byte is 0 until its pixel is written.
struct Nibbles {
    static uint64_t literalBytes(int64_t n) { return static_cast<uint64_t>(n + 1) / 2; }
    static int64_t offset(int64_t column) { return (column + 1) / 2; }

    static void put(uint8_t *row, int64_t column, int value) {
        uint8_t &byte = row[column / 2];
        byte = static_cast<uint8_t>(column % 2 == 0 ? value << 4 : byte | value);
    }
    static void run(uint8_t *row, int64_t column, int64_t n, uint8_t value) {
        int next = value >> 4, other = value & 15;
        if (column % 2 != 0) {
            put(row, column, next);
            ++column;
            --n;
            const int first = next;
            next = other;
            other = first;
        }
        std::memset(row + column / 2, next << 4 | other, static_cast<size_t>(n / 2));
        if (n % 2 != 0) put(row, column + n - 1, next);
    }
    static void literal(uint8_t *row, int64_t column, int64_t n, const Source &source) {
        if (column % 2 == 0) {
            std::memcpy(row + column / 2, source.next, static_cast<size_t>(n / 2));
            if (n % 2 != 0) put(row, column + n - 1, source.next[n / 2] >> 4);
            return;
        }
        for (int64_t i = 0; i < n; ++i)
            put(row, column + i, i % 2 == 0 ? source.next[i / 2] >> 4 : source.next[i / 2] & 15);
    }
};

template <class Pixels>
Fault decode(Source source, const Rows &rows) {
    int64_t row = 0, column = 0;
    uint8_t *line = rows.first;
    // What a stream skips is cleared, from the first byte without a pixel on.
    const auto skipTo = [&](int64_t newRow, int64_t newColumn) {
        uint8_t *from = line + Pixels::offset(column);
        row = newRow;
        column = newColumn;
        line = rows.first + row * rows.rowBytes;
        uint8_t *to = row < rows.height ? line + Pixels::offset(column) : line;
        if (to > from) std::memset(from, 0, static_cast<size_t>(to - from));
    };
    for (;;) {
        if (!source.has(2)) return BAD_PLACE;
        const int count = source.next[0], second = source.next[1];
        source.skip(2);
        const int64_t pixels = count != 0 ? count : second >= 3 ? second : 0;
        // A position behind the last row is no fault as long as nothing is written there.
        if (pixels > 0 && (row >= rows.height || pixels > rows.width - column)) return BAD_PLACE;
        if (count != 0) {
            Pixels::run(line, column, count, static_cast<uint8_t>(second));
            column += count;
        } else if (second == 0) {
            if (column != rows.width) return BAD_WIDTH;
            if (row >= rows.height) return BAD_PLACE;
            column = 0;
            line = rows.first + ++row * rows.rowBytes;
        } else if (second == 1) {
            if (row < rows.height - 1) return BAD_HEIGHT;
            if (row < rows.height) skipTo(rows.height, 0);
            return NO_FAULT;
        } else if (second == 2) {
            if (!source.has(2)) return BAD_PLACE;
            const int64_t newColumn = column + source.next[0], newRow = row + source.next[1];
            source.skip(2);
            if (newColumn > rows.width || newRow > rows.height) return BAD_DELTA;
            skipTo(newRow, newColumn);
        } else {
            const uint64_t bytes = Pixels::literalBytes(second);
            if (!source.has(bytes)) return BAD_PLACE;
            Pixels::literal(line, column, second, source);
            column += second;
            source.skip(bytes);
            if (bytes % 2 != 0 && source.has(1)) source.skip(1);
        }
    }
}

}  // namespace

uint8_t *ownDecodeRLE(const OwnCaller &caller, const OwnBitmap &bitmap) {
    const BITMAPINFOHEADER &header = *bitmap.header;
    const bool eight = header.biCompression == BI_RLE8;
    Rows rows = {header.biWidth, ownBitmapHeight(header), ownBitmapRowBytes(header), nullptr};
    const bool fits = rows.rowBytes <= INT_MAX && rows.rowBytes * rows.height <= INT_MAX - 2 * BLOCK;
    if (fits) rows.first = static_cast<uint8_t *>(moxMalloc(static_cast<int>(rows.rowBytes * rows.height + 2 * BLOCK)));
    if (!rows.first) {
        ownReport(caller, MOX_StatusNoMemory,
                  eight ? "Not enough memory to decompress BI_RLE8 DIB at DIB"
                        : "Not enough memory to decompress BI_RLE4 DIB at DIB");
        return nullptr;
    }
    const bool sizeIsKnown = header.biSizeImage != 0;
    const Source source = {ownBitmapPixels(bitmap), sizeIsKnown ? header.biSizeImage : UINT64_MAX, sizeIsKnown};
    const Fault fault = eight ? decode<Bytes>(source, rows) : decode<Nibbles>(source, rows);
    if (fault == NO_FAULT) return rows.first;
    ownReport(caller, MOX_StatusBadArgument, faultMessage(fault, eight));
    moxFree(rows.first);
    return nullptr;
}
