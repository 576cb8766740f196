// Morphology on plain images of bits, which stay bits: down the columns byte by byte, along the rows by shifting. Rows
// of the source are copied with their margins, at the bit of a byte where they stand in the image, before anything is
// written that they might have been read from.
#include <algorithm>
#include <climits>
#include <cstring>

#include "filter/ownmorph.h"
#include "frame/ownborder.h"
#include "frame/ownmove.h"
#include "frame/ownpair.h"

namespace {

// Output rows that are computed together at least.
constexpr int64_t CHUNK_ROWS = 32;

void setBit(uint8_t *row, int64_t at, bool value) {
    const auto bit = static_cast<uint8_t>(128 >> at % 8);
    row[at / 8] = static_cast<uint8_t>(value ? row[at / 8] | bit : row[at / 8] & ~bit);
}
bool bitAt(const uint8_t *row, int64_t at) {
    return (row[at / 8] >> (7 - at % 8) & 1) != 0;
}
void setBits(uint8_t *row, int64_t from, int64_t end, bool value) {
    for (; from < end && from % 8 != 0; ++from)
        setBit(row, from, value);
    if (const int64_t bytes = (end - from) / 8; bytes > 0) {
        std::memset(row + from / 8, value ? 255 : 0, static_cast<size_t>(bytes));
        from += bytes * 8;
    }
    for (; from < end; ++from)
        setBit(row, from, value);
}

int64_t foldInto(int mode, int64_t position, int64_t size) {
    if (mode == MOX_BORDER_REPLICATE) return std::clamp<int64_t>(position, 0, size - 1);
    const int64_t period = mode == MOX_BORDER_WRAP ? size : 2 * size;
    const int64_t rest = (position % period + period) % period;
    return rest < size ? rest : 2 * size - 1 - rest;
}

class BitMorph {
  public:
    BitMorph(const OwnWindow &window, const OwnMorph &morph) : window_(window), morph_(morph) {
        ownSetRowSource(&source_, window.src, 0, 1);
        OwnImageRect rect;
        ownImageRect(window.src, &rect);
        x_ = rect.x;
        y_ = rect.y;
        side_ = 2 * morph.reach + 1;
        margin_ = morph.twice ? 2 * morph.reach : morph.reach;
        ring_ = morph.twice ? morph.reach + 1 : 1;
        chunk_ = std::min(std::max(side_, CHUNK_ROWS), window.height);
        zero_ = (margin_ + 7) / 8 * 8 + 8 + x_ % 8;
    }
    ~BitMorph() { moxFree(memory_); }
    BitMorph(const BitMorph &) = delete;
    BitMorph &operator=(const BitMorph &) = delete;

    OwnWindowResult run();

  private:
    bool allocate();
    void readRow(int64_t y, uint8_t *row) const;
    void readBeyond(const uint8_t *image, int mode, uint32_t constant, int64_t from, int64_t end, uint8_t *row) const;
    void loadRow(int64_t y);
    const uint8_t *rowAt(int64_t y) const;
    void columns(OwnExtremes which, int64_t height, uint8_t *out) const;
    void along(OwnExtremes which, int64_t height, int64_t reach, const uint8_t *rows, uint8_t *out) const;
    void first(int64_t from, int64_t height, uint8_t *out) const;
    void second(int64_t height, uint8_t *out) const;

    const OwnWindow &window_;
    const OwnMorph &morph_;
    OwnRowSource source_;
    int64_t x_, y_;                 // of the region, in the source
    int64_t side_, margin_, ring_;  // of the square; of the rows with their margins; of the farthest pixels read
    int64_t chunk_;                 // output rows
    int64_t zero_;                  // the bit of a row at which the region begins
    int64_t bytes_, ringRows_, tailRows_ = 0;

    void *memory_ = nullptr;
    const uint8_t **pointers_;
    // Rows of bytes_: the source's in a ring, those kept from below the image, columns and parts of a block, what the
    // first operation gives, and output.
    uint8_t *rows_, *tail_, *columns_, *parts_, *kept_, *out_;
};

bool BitMorph::allocate() {
    constexpr int64_t line = 64;
    bytes_ = ((zero_ + window_.width + margin_) / 8 + 3 + line - 1) / line * line;
    ringRows_ = 2 * margin_ + chunk_;
    const int64_t below = y_ + window_.height - 1 + ring_ - (source_.height - 1);
    if (window_.src == window_.dst) tailRows_ = std::max<int64_t>(below, 0);
    const int64_t keptRows = morph_.twice ? side_ - 1 + chunk_ : 0;
    const int64_t rows = ringRows_ + tailRows_ + chunk_ + OWN_EXTREME_PARTS + keptRows + chunk_;
    const int64_t pointerBytes =
        ((keptRows + ringRows_) * static_cast<int64_t>(sizeof(*pointers_)) + line - 1) / line * line;
    if (rows > INT_MAX / bytes_ || pointerBytes > INT_MAX - rows * bytes_) return false;
    const int64_t size = rows * bytes_ + pointerBytes;
    memory_ = moxMalloc(static_cast<int>(size));
    if (!memory_) return false;
    std::memset(memory_, 0, static_cast<size_t>(size));
    pointers_ = static_cast<const uint8_t **>(memory_);
    rows_ = static_cast<uint8_t *>(memory_) + pointerBytes;
    tail_ = rows_ + ringRows_ * bytes_;
    columns_ = tail_ + tailRows_ * bytes_;
    parts_ = columns_ + chunk_ * bytes_;
    kept_ = parts_ + OWN_EXTREME_PARTS * bytes_;
    out_ = kept_ + keptRows * bytes_;
    return true;
}

// Columns from and up to end of the image, all of them left or all of them right of it.
void BitMorph::readBeyond(const uint8_t *image, int mode, uint32_t constant, int64_t from, int64_t end,
                          uint8_t *row) const {
    const int64_t shift = zero_ - x_;
    if (mode == MOX_BORDER_CONSTANT) return setBits(row, from + shift, std::max(from, end) + shift, constant != 0);
    for (int64_t x = from; x < end; ++x)
        setBit(row, x + shift, bitAt(image, foldInto(mode, x, source_.width)));
}

// A row of the region or of its ring, with its margins.
void BitMorph::readRow(int64_t y, uint8_t *row) const {
    enum { TOP, BOTTOM, LEFT, RIGHT };
    int left = LEFT, right = RIGHT;
    int64_t line = y_ + y;
    if (line < 0 || line >= source_.height) {
        left = right = line < 0 ? TOP : BOTTOM;
        const int mode = source_.mode[left];
        if (mode == MOX_BORDER_CONSTANT)
            return setBits(row, zero_ - margin_, zero_ + window_.width + margin_, source_.constant[left] != 0);
        line = foldInto(mode, line, source_.height);
    }
    const uint8_t *image = source_.start + line * source_.rowStep;
    const int64_t begin = x_ - ring_, end = x_ + window_.width + ring_;
    const int64_t inner = std::max<int64_t>(begin, 0), innerEnd = std::min<int64_t>(end, source_.width);
    std::memcpy(row + zero_ / 8 + inner / 8 - x_ / 8, image + inner / 8,
                static_cast<size_t>((innerEnd - 1) / 8 - inner / 8 + 1));
    readBeyond(image, source_.mode[left], source_.constant[left], begin, inner, row);
    readBeyond(image, source_.mode[right], source_.constant[right], innerEnd, end, row);
    const int64_t ringBegin = zero_ - ring_, ringEnd = zero_ + window_.width + ring_;
    setBits(row, zero_ - margin_, ringBegin, bitAt(row, ringBegin));
    setBits(row, ringEnd, zero_ + window_.width + margin_, bitAt(row, ringEnd - 1));
}

// Rows of the image below it are there from the beginning, if they would be overwritten.
void BitMorph::loadRow(int64_t y) {
    uint8_t *row = rows_ + (y + margin_) % ringRows_ * bytes_;
    const int64_t below = y_ + y - source_.height;
    if (below >= 0 && below < tailRows_) {
        std::memcpy(row, tail_ + below * bytes_, static_cast<size_t>(bytes_));
    } else {
        readRow(y, row);
    }
}

const uint8_t *BitMorph::rowAt(int64_t y) const {
    y = std::clamp(y, -ring_, window_.height - 1 + ring_);
    return rows_ + (y + margin_) % ringRows_ * bytes_;
}

// The extremes down the columns of rows whose pointers are set, a block at a time.
void BitMorph::columns(OwnExtremes which, int64_t height, uint8_t *out) const {
    OwnRankBlock block = {};
    block.nRows = block.nCols = side_;
    block.scratchStep = bytes_;
    for (int64_t r = 0; r < height; r += block.height) {
        block.rows = pointers_ + r;
        block.height = std::min(side_, height - r);
        block.scratch = out + r * bytes_;
        ownRankRows().bitColumns[which](block);
    }
}

// Along rows; of the result the region and so many pixels beside it are needed.
void BitMorph::along(OwnExtremes which, int64_t height, int64_t beside, const uint8_t *rows, uint8_t *out) const {
    OwnBitsAlong row = {};
    row.reach = morph_.reach;
    row.first = static_cast<size_t>((zero_ - beside) / 8);
    row.count = static_cast<size_t>((zero_ + window_.width - 1 + beside) / 8) - row.first + 1;
    row.bytes = static_cast<size_t>(bytes_);
    row.parts = parts_;
    row.partStep = bytes_;
    for (int64_t r = 0; r < height; ++r) {
        row.row = rows + r * bytes_;
        row.out = out + r * bytes_;
        ownRankRows().bitsAlong[which](row);
    }
}

// The first operation on height rows, whose windows begin with row `from`.
void BitMorph::first(int64_t from, int64_t height, uint8_t *out) const {
    for (int64_t done = 0; done < height;) {
        const int64_t part = std::min(chunk_, height - done);
        for (int64_t r = 0; r < part + side_ - 1; ++r)
            pointers_[r] = rowAt(from + done + r);
        columns(morph_.first, part, columns_);
        along(morph_.first, part, morph_.twice ? morph_.reach : 0, columns_, out + done * bytes_);
        done += part;
    }
}

// The second one, on rows that are kept.
void BitMorph::second(int64_t height, uint8_t *out) const {
    for (int64_t r = 0; r < height + side_ - 1; ++r)
        pointers_[r] = kept_ + r * bytes_;
    columns(morph_.second, height, columns_);
    along(morph_.second, height, 0, columns_, out);
    std::memmove(kept_, kept_ + height * bytes_, static_cast<size_t>((side_ - 1) * bytes_));
}

OwnWindowResult BitMorph::run() {
    if (!allocate()) return OWN_WINDOW_NO_ROWS;
    const OwnShare share = {0, 0, window_.width, window_.height};
    OwnScratchImage to, mask;
    ownShareOfPlain(window_.dst, share, &to);
    if (window_.mask) ownShareOfPlain(window_.mask, share, &mask);
    OwnRows rows;
    MoxImage *const images[] = {&to.header, &to.header};
    const int firsts[] = {0, 0};
    ownSetRows(&rows, images, firsts, 2, 1, window_.mask ? &mask.header : nullptr);
    rows.spans[0] = {out_ + zero_ / 8, bytes_, 0, 1, 0, 0, static_cast<int>(zero_ % 8)};

    for (int64_t k = 0; k < tailRows_; ++k)
        readRow(source_.height - y_ + k, tail_ + k * bytes_);
    int64_t loaded = -ring_;
    for (int64_t y = 0; y < window_.height; y += rows.height) {
        rows.height = static_cast<int>(std::min(chunk_, window_.height - y));
        for (; loaded <= std::min(y + rows.height - 1 + margin_, window_.height - 1 + ring_); ++loaded)
            loadRow(loaded);
        if (morph_.twice) {
            // Of the rows that the second operation needs, those before the last ones are kept.
            const int64_t there = y == 0 ? 0 : side_ - 1;
            first(y - margin_ + there, rows.height + side_ - 1 - there, kept_ + there * bytes_);
            second(rows.height, out_);
        } else {
            first(y - margin_, rows.height, out_);
        }
        ownRunRows(rows, ownMoveRows().copy[OWN_1_BYTE], {});
        rows.spans[1].start += rows.height * rows.spans[1].rowStep;
        if (rows.masked) rows.mask.start += rows.height * rows.mask.rowStep;
    }
    return OWN_WINDOW_DONE;
}

}  // namespace

OwnWindowResult ownMorphBits(const OwnWindow &window, const OwnMorph &morph) {
    return BitMorph(window, morph).run();
}
