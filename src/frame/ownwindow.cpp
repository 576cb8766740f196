// The window frame. Source rows stand in a ring as high as the window: rows of a plain image are used where they are if
// they need no margin and nothing overwrites them, and are copied into the ring otherwise. A tiled source is read as a
// rectangle with margins first, for each tile of the destination or for all of it; an image filtered in place in tiles
// is read band by band, so that no band sees rows already filtered.
#include "frame/ownwindow.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/ownfpcontrol.h"
#include "frame/ownborder.h"
#include "frame/ownmove.h"
#include "frame/ownpair.h"
#include "frame/ownrect.h"

namespace {

// A part of the common region with plain images: (x, y) is where it begins in the source.
struct Area {
    const MoxImage *src;
    int64_t x, y;
    MoxImage *dst;
    MoxImage *mask;
    int64_t regionX, regionY;  // where it begins in the common region
};

// Bytes 0 and 1 into bits, the first on top. The product brings bit 0 of eight bytes side by side without a carry.
void packBits(const uint8_t *bytes, int64_t count, uint8_t *bits) {
    int64_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint64_t word = 0;
        for (int k = 0; k < 8; ++k)
            word |= static_cast<uint64_t>(bytes[i + k]) << (8 * k);
        bits[i / 8] = static_cast<uint8_t>(word * 0x8040201008040201u >> 56);
    }
    if (i == count) return;
    unsigned last = 0;
    for (int64_t k = i; k < count; ++k)
        last |= static_cast<unsigned>(bytes[k]) << (7 - (k - i));
    bits[i / 8] = static_cast<uint8_t>(last);
}

int sourceChannels(const OwnWindow &window) {
    return window.srcChannels > 0 ? window.srcChannels : ownChannels(window.src);
}

class WindowRunner {
  public:
    explicit WindowRunner(const OwnWindow &window) : window_(window) {
        ownImageRect(window.src, &srcRect_);
        inPlace_ = window.src == window.dst && !window.src->tileInfo;
        channels_ = ownWindowChannels(window);
        passes_ = sourceChannels(window) / channels_;
        gathers_ = window.together && window.src->dataOrder == MOX_DATA_ORDER_PLANE;
    }
    ~WindowRunner() { moxFree(memory_); }
    WindowRunner(const WindowRunner &) = delete;
    WindowRunner &operator=(const WindowRunner &) = delete;

    OwnWindowResult run() {
        if (!allocate()) return OWN_WINDOW_NO_ROWS;
        if (window_.dst->tileInfo) return window_.src == window_.dst ? runBands() : runTiles();
        return runPlain();
    }

  private:
    bool allocate();
    OwnWindowResult runPlain();
    OwnWindowResult runTiles();
    OwnWindowResult runBands();
    void runTile(const OwnTileGrid &grid, char *tile, const MoxImage *src, int64_t x, int64_t y);
    char *readPadded(const OwnShare &share, OwnScratchImage *padded) const;

    void runArea(const Area &area);
    void runPass(const Area &area, int pass);
    void runRows(const Area &area, OwnRows *rows, int pass, int64_t y0, int64_t height);
    void loadRow(int64_t slot, int64_t y);
    void gatherRow(int64_t y, uint8_t *row);
    const uint8_t *keptRow(int64_t y) const;
    void store(OwnRows *rows, int height);

    const OwnWindow &window_;
    OwnImageRect srcRect_;
    bool inPlace_;
    int passes_, channels_;
    bool gathers_;  // the rows of several planes become one

    // Scratch, for the widest area.
    uint8_t *memory_ = nullptr;
    int64_t atOnce_;  // output rows
    int64_t ringRows_, rowBytes_, bitBytes_;
    const uint8_t **pointers_;  // of the ring's rows, twice over: any row of it begins a run of ringRows_
    uint8_t *ring_, *tail_, *out_, *plane_, *bits_;

    // The pass at work.
    OwnRowSource source_;
    int64_t x_, width_;         // the padded row
    int64_t tailY_, tailRows_;  // rows below the image that are kept since what they repeat is overwritten
};

// Everything in one block: the ring, the rows kept from below the image, output rows, and those rows as bits.
bool WindowRunner::allocate() {
    constexpr int64_t line = 64;
    const auto lines = [](int64_t bytes) { return (bytes + line - 1) / line * line; };
    const int64_t padded = window_.left + window_.width + window_.right;
    const int sampleBytes = std::max({ownDepthBytes(window_.src->depth), ownDepthBytes(window_.dst->depth), 1});
    const int64_t pixelBytes = int64_t{channels_} * sampleBytes;
    atOnce_ = std::min(window_.rowsAtOnce, window_.height);
    ringRows_ = window_.top + window_.bottom + atOnce_ + 1;
    // A line between the rows keeps them from falling on the same places of a cache.
    if (padded > INT_MAX / pixelBytes) return false;
    rowBytes_ = lines(padded * pixelBytes) + line;
    const int64_t tailRows = inPlace_ ? window_.bottom : 0;
    const int64_t pointerBytes = lines(2 * ringRows_ * static_cast<int64_t>(sizeof(*pointers_)));
    bitBytes_ = lines(window_.width / 8 + 1);
    const int64_t rows = ringRows_ + tailRows + atOnce_ + (gathers_ ? 1 : 0);
    if (rows > INT_MAX / rowBytes_) return false;
    const int64_t size = rows * rowBytes_ + pointerBytes + atOnce_ * bitBytes_;
    if (size > INT_MAX) return false;
    memory_ = static_cast<uint8_t *>(moxMalloc(static_cast<int>(size)));
    if (!memory_) return false;
    pointers_ = reinterpret_cast<const uint8_t **>(memory_);
    ring_ = memory_ + pointerBytes;
    tail_ = ring_ + ringRows_ * rowBytes_;
    out_ = tail_ + tailRows * rowBytes_;
    plane_ = out_ + atOnce_ * rowBytes_;
    bits_ = plane_ + (gathers_ ? rowBytes_ : 0);
    return true;
}

// ---------------------------------------------------------------------------------------------- shares of the region

OwnWindowResult WindowRunner::runPlain() {
    const OwnShare share = {0, 0, window_.width, window_.height};
    OwnScratchImage to, mask, padded;
    ownShareOfPlain(window_.dst, share, &to);
    if (window_.mask) ownShareOfPlain(window_.mask, share, &mask);
    Area area = {window_.src, srcRect_.x, srcRect_.y, &to.header, window_.mask ? &mask.header : nullptr, 0, 0};
    char *rect = nullptr;
    if (window_.src->tileInfo) {
        rect = readPadded(share, &padded);
        if (!rect) return OWN_WINDOW_NO_ROWS;
        area.src = &padded.header;
        area.x = window_.left;
        area.y = window_.top;
    }
    runArea(area);
    ownFreeRect(rect);
    return OWN_WINDOW_DONE;
}

// The share's rectangle of the source with its margins.
char *WindowRunner::readPadded(const OwnShare &share, OwnScratchImage *padded) const {
    const OwnShare reach = {share.x - window_.left, share.y - window_.top, share.width + window_.left + window_.right,
                            share.height + window_.top + window_.bottom};
    if (std::max(reach.width, reach.height) > INT_MAX || std::min(reach.x, reach.y) < INT_MIN) return nullptr;
    int rowBytes = 0;
    char *rect = ownReadShare(window_.src, reach, &rowBytes);
    if (rect) ownShareOfRect(window_.src, reach, rect, rowBytes, padded);
    return rect;
}

void WindowRunner::runTile(const OwnTileGrid &grid, char *tile, const MoxImage *src, int64_t x, int64_t y) {
    OwnScratchImage to, mask;
    ownShareOfTile(window_.dst, grid.share(), tile, &to);
    if (window_.mask) ownShareOfPlain(window_.mask, grid.share(), &mask);
    const OwnShare &share = grid.share();
    runArea({src, x, y, &to.header, window_.mask ? &mask.header : nullptr, share.x, share.y});
}

OwnWindowResult WindowRunner::runTiles() {
    OwnTileGrid grid(window_.dst, window_.width, window_.height);
    while (grid.next()) {
        char *tile = ownRequestTile(window_.dst, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) return OWN_WINDOW_NO_TILE;
        const OwnShare &share = grid.share();
        bool done = true;
        if (window_.src->tileInfo) {
            OwnScratchImage padded;
            char *rect = readPadded(share, &padded);
            done = rect != nullptr;
            if (done) runTile(grid, tile, &padded.header, window_.left, window_.top);
            ownFreeRect(rect);
        } else {
            runTile(grid, tile, window_.src, srcRect_.x + share.x, srcRect_.y + share.y);
        }
        ownReleaseTile(window_.dst, grid.column(), grid.row(), tile);
        if (!done) return OWN_WINDOW_NO_ROWS;
    }
    return OWN_WINDOW_DONE;
}

// The source rows of a band of tiles, for an image that is filtered in place: rows that the next band needs as well
// move up when it comes, and rows below the image, which may repeat any of its rows, are read before the first band is
// written.
class Band {
  public:
    explicit Band(const OwnWindow &window) : window_(window) {
        ownImageRect(window.src, &rect_);
        next_ = rect_.y - window.top;
        planes_ = window.src->dataOrder == MOX_DATA_ORDER_PLANE ? window.src->nChannels : 1;
    }
    ~Band() {
        ownFreeRect(tail_);
        moxFree(data_);
    }
    Band(const Band &) = delete;
    Band &operator=(const Band &) = delete;

    const MoxImage *image() const { return &padded_.header; }

    // False if rows could not be read.
    bool open() {
        const int64_t height = window_.src->height;
        const int64_t below = rect_.y + window_.height + window_.bottom - height;
        int rowBytes = 0;
        if (below > 0) {
            tail_ = read(height, below, &rowBytes);
            tailRows_ = below;
        }
        return below <= 0 || tail_;
    }

    // Brings in the rows of a band that begins at a row of the region.
    bool load(int64_t y, int64_t height) {
        const int64_t first = rect_.y + y - window_.top, end = rect_.y + y + height + window_.bottom;
        const int64_t inside = std::min<int64_t>(end, window_.src->height);
        bool done = true;
        if (data_) moveUp(first);
        first_ = first;
        if (next_ < inside) {
            int rowBytes = 0;
            char *rows = read(next_, inside - next_, &rowBytes);
            done = rows && reserve(rowBytes);
            if (done) put(rows, inside - next_, 0, inside - next_);
            ownFreeRect(rows);
        }
        if (done && next_ < end) {
            const int64_t from = next_ - window_.src->height;
            put(tail_, tailRows_, from, end - next_);
        }
        return done;
    }

  private:
    char *read(int64_t y, int64_t height, int *rowBytes) const {
        const int64_t x = rect_.x - window_.left, width = window_.width + window_.left + window_.right;
        if (x < INT_MIN || y < INT_MIN || width > INT_MAX || height > INT_MAX) return nullptr;
        return ownGetRect(window_.src, static_cast<int>(x), static_cast<int>(y), static_cast<int>(width),
                          static_cast<int>(height), rowBytes);
    }

    // The buffer, when the bytes of a row are known.
    bool reserve(int rowBytes) {
        if (data_) return true;
        rowBytes_ = rowBytes;
        const int64_t highest = std::min<int64_t>(window_.src->tileInfo->height, window_.height);
        rows_ = highest + window_.top + window_.bottom;
        if (rows_ > INT_MAX / rowBytes_ / planes_) return false;
        data_ = static_cast<char *>(moxMalloc(static_cast<int>(rows_ * rowBytes_ * planes_)));
        if (!data_) return false;
        const OwnShare share = {0, 0, window_.width + window_.left + window_.right, rows_};
        ownShareOfRect(window_.src, share, data_, static_cast<int>(rowBytes_), &padded_);
        return true;
    }

    char *rowAt(int plane, int64_t y) const { return data_ + (plane * rows_ + y - first_) * rowBytes_; }

    void moveUp(int64_t first) {
        for (int plane = 0; plane < planes_; ++plane) {
            std::memmove(rowAt(plane, first_), rowAt(plane, first), static_cast<size_t>((next_ - first) * rowBytes_));
        }
    }

    void put(const char *rows, int64_t rowsOfPlane, int64_t from, int64_t count) {
        for (int plane = 0; plane < planes_; ++plane) {
            std::memcpy(rowAt(plane, next_), rows + (plane * rowsOfPlane + from) * rowBytes_,
                        static_cast<size_t>(count * rowBytes_));
        }
        next_ += count;
    }

    const OwnWindow &window_;
    OwnImageRect rect_;
    OwnScratchImage padded_;
    int planes_;
    char *data_ = nullptr;
    char *tail_ = nullptr;
    int64_t tailRows_ = 0;
    int64_t rowBytes_ = 0, rows_ = 0;
    int64_t first_ = 0, next_;  // the source row that the buffer begins with, and the one to be read next
};

OwnWindowResult WindowRunner::runBands() {
    Band band(window_);
    if (!band.open()) return OWN_WINDOW_NO_ROWS;
    OwnTileGrid grid(window_.dst, window_.width, window_.height);
    int64_t y = -1;
    while (grid.next()) {
        const OwnShare &share = grid.share();
        if (share.y != y && !band.load(share.y, share.height)) return OWN_WINDOW_NO_ROWS;
        y = share.y;
        char *tile = ownRequestTile(window_.dst, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) return OWN_WINDOW_NO_TILE;
        runTile(grid, tile, band.image(), window_.left + share.x, window_.top);
        ownReleaseTile(window_.dst, grid.column(), grid.row(), tile);
    }
    return OWN_WINDOW_DONE;
}

// --------------------------------------------------------------------------------------------------- rows of an area

void WindowRunner::runArea(const Area &area) {
    for (int pass = 0; pass < passes_; ++pass)
        runPass(area, pass);
}

void WindowRunner::loadRow(int64_t slot, int64_t y) {
    const uint8_t *row = inPlace_ ? keptRow(y) : gathers_ ? nullptr : ownRowInPlace(source_, x_, y, width_);
    if (!row) {
        uint8_t *buffer = ring_ + slot * rowBytes_;
        if (gathers_) {
            gatherRow(y, buffer);
        } else {
            ownBorderRow(source_, x_, y, width_, buffer);
        }
        row = buffer;
    }
    pointers_[slot] = pointers_[slot + ringRows_] = row;
}

// The source is the first of the planes.
void WindowRunner::gatherRow(int64_t y, uint8_t *row) {
    const int bytes = ownRowSampleBytes(source_);
    OwnRowSource plane = source_;
    for (int k = 0; k < channels_; ++k) {
        ownBorderRow(plane, x_, y, width_, plane_);
        ownMoveRows().scatter[ownSampleSize(bytes)](plane_, row + k * bytes, channels_, 1, static_cast<size_t>(width_));
        plane.start += static_cast<int64_t>(plane.height) * plane.rowStep;
    }
}

const uint8_t *WindowRunner::keptRow(int64_t y) const {
    return y >= tailY_ && y < tailY_ + tailRows_ ? tail_ + (y - tailY_) * rowBytes_ : nullptr;
}

void WindowRunner::runPass(const Area &area, int pass) {
    ownSetRowSource(&source_, area.src, ownFirstChannel(area.src) + pass, gathers_ ? 1 : channels_);
    OwnRows rows;
    MoxImage *const images[] = {area.dst, area.dst};
    const int first = (window_.dstCoi > 0 ? window_.dstCoi - 1 : ownFirstChannel(area.dst)) + pass;
    const int firsts[] = {first, first};
    ownSetRows(&rows, images, firsts, 2, channels_, area.mask);
    const int height = rows.height;
    if (!window_.together) {
        rows.channels = channels_;
        rows.planes = 1;
    }

    x_ = area.x - window_.left;
    width_ = rows.width + window_.left + window_.right;
    const int64_t y0 = area.y - window_.top;
    tailY_ = source_.height;
    tailRows_ = 0;
    if (inPlace_ && source_.mode[1] != MOX_BORDER_CONSTANT && source_.mode[1] != MOX_BORDER_REPLICATE) {
        tailRows_ = std::max<int64_t>(area.y + height + window_.bottom - tailY_, 0);
        for (int64_t k = 0; k < tailRows_; ++k)
            ownBorderRow(source_, x_, tailY_ + k, width_, tail_ + k * rowBytes_);
    }

    // Conversions of constants are done: from here on there is but the filter's arithmetic.
    if (window_.chop) {
        const OwnChopRounding rounding;
        runRows(area, &rows, pass, y0, height);
    } else {
        runRows(area, &rows, pass, y0, height);
    }
}

void WindowRunner::runRows(const Area &area, OwnRows *rows, int pass, int64_t y0, int64_t height) {
    OwnSpan &dst = rows->spans[1];
    const bool direct = !rows->masked && dst.bytes > 0 && dst.step == channels_;
    const int64_t reach = window_.top + window_.bottom;
    OwnWindowRows at = {};
    at.width = static_cast<size_t>(rows->width);
    at.channels = channels_;
    at.pass = pass;
    at.areaX = area.regionX;
    at.areaY = area.regionY;
    at.outStep = direct ? dst.rowStep : rowBytes_;
    // The slot of the ring for the row that is loaded next, and that before the first row of the window: divisions
    // would take longer than a short row.
    int64_t loaded = 0, slot = 0, before = ringRows_ - 1;
    for (int64_t y = 0; y < height; y += at.height) {
        at.y = y;
        at.height = std::min(atOnce_, height - y);
        for (; loaded < y + at.height + reach; ++loaded) {
            loadRow(slot, y0 + loaded);
            slot = slot + 1 < ringRows_ ? slot + 1 : 0;
        }
        at.rows = pointers_ + before + 1;
        before += at.height;
        if (before >= ringRows_) before -= ringRows_;
        at.out = direct ? dst.start : out_;
        window_.function(window_.filter, at);
        if (!direct) store(rows, static_cast<int>(at.height));
        dst.start += at.height * dst.rowStep;
        if (rows->masked) rows->mask.start += at.height * rows->mask.rowStep;
    }
}

// The output rows at hand, to where they belong.
void WindowRunner::store(OwnRows *rows, int height) {
    OwnSpan &from = rows->spans[0];
    from = {};
    from.start = out_;
    from.rowStep = rowBytes_;
    from.step = channels_;
    from.bytes = rows->spans[1].bytes;
    from.planeStep = from.bytes;  // of rows that come together
    if (from.bytes == 0) {
        for (int k = 0; k < height; ++k)
            packBits(out_ + k * rowBytes_, rows->width, bits_ + k * bitBytes_);
        from.start = bits_;
        from.rowStep = bitBytes_;
    }
    rows->height = height;
    ownRunRows(*rows, ownMoveRows().copy[ownSampleSize(from.bytes)], {});
}

}  // namespace

void ownWindowSize(OwnWindow *window) {
    window->width = window->height = INT_MAX;
    for (const MoxImage *image : {window->src, window->dst, window->mask}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        window->width = std::min(window->width, rect.width);
        window->height = std::min(window->height, rect.height);
    }
}

int ownWindowChannels(const OwnWindow &window) {
    const bool pixels = window.src->dataOrder == MOX_DATA_ORDER_PIXEL && window.dst->dataOrder == MOX_DATA_ORDER_PIXEL;
    return pixels || window.together ? sourceChannels(window) : 1;
}

OwnWindowResult ownRunWindow(const OwnWindow &window) {
    return WindowRunner(window).run();
}
