// The run of a warp: rows of pixels, or parts of them in the tiles of the destination, each from as much of the source
// as it needs.
#include "geometry/ownwarp.h"

#include <algorithm>
#include <cmath>

#include "frame/ownpair.h"
#include "frame/ownrect.h"

namespace {

// Where rows are drawn: an image, or a share of it.
class Canvas {
  public:
    // The sampler's destination begins at a pixel of the image; of the mask's region so many columns and rows are left
    // from there.
    Canvas(const OwnWarp &warp, const OwnSampler &sampler, int64_t left, int64_t top)
        : warp_(warp), sampler_(sampler), left_(left), top_(top) {}

    void setMaskSize(int64_t width, int64_t height) {
        maskRight_ = left_ + width;
        maskBottom_ = top_ + height;
    }

    // Goes on to the pixel before end.
    void draw(OwnWarpRow *row, int64_t x, int64_t y, int64_t end) {
        for (; x < end; x += OWN_WARP_STRETCH) {
            const int n = static_cast<int>(std::min<int64_t>(OWN_WARP_STRETCH, end - x));
            ownNextPositions(warp_, row, n, &positions_);
            const int64_t written = y < maskBottom_ ? std::min<int64_t>(n, maskRight_ - x) : 0;
            if (written <= 0) continue;
            if (warp_.sampling == OWN_SAMPLE_LINEAR_FIXED && !ownFitsFixed(warp_.source)) {
                drawWide(x, y, written);
            } else {
                ownSamplePixels(sampler_, x - left_, y - top_, positions_.x, positions_.y, positions_.keep, written);
            }
        }
    }

    // Up to four rows from y on whose positions step, whole. Those of rows without a pixel end before they begin.
    void drawFour(OwnWarpRow *rows, const int64_t *first, const int64_t *last, int64_t y, int count) {
        int64_t length = 0;
        for (int k = 0; k < count; ++k)
            length = std::max(length, last[k] - first[k] + 1);
        for (int64_t i = 0; i < length; i += OWN_FOUR_STRETCH) {
            const int n = static_cast<int>(std::min<int64_t>(OWN_FOUR_STRETCH, length - i));
            ownNextFourPositions(warp_, rows, (n + 3) / 4 * 4, &four_);
            for (int k = 0; k < count; ++k) {
                const int64_t x = first[k] + i, left = std::min<int64_t>(n, last[k] + 1 - x);
                const int64_t written = y + k < maskBottom_ ? std::min(left, maskRight_ - x) : 0;
                if (written > 0)
                    ownSamplePixels(sampler_, x - left_, y + k - top_, four_.xs[k], four_.ys[k], nullptr, written);
            }
        }
    }

  private:
    // In sources too large for 16.16 each pixel has a place to count from of its own.
    void drawWide(int64_t x, int64_t y, int64_t n) {
        constexpr int64_t MARGIN = 4;
        for (int64_t i = x; i < x + n; ++i) {
            int64_t at[2];
            ownWidePosition(warp_, i, y, at);
            const int64_t baseX = (at[0] >> 16) - MARGIN, baseY = (at[1] >> 16) - MARGIN;
            OwnSampler one = sampler_;
            OwnSampled &s = one.source;
            s.originX = static_cast<int>(s.originX - baseX);
            s.originY = static_cast<int>(s.originY - baseY);
            s.left = static_cast<int>(std::max<int64_t>(s.left - baseX, 0));
            s.top = static_cast<int>(std::max<int64_t>(s.top - baseY, 0));
            s.right = static_cast<int>(std::min<int64_t>(s.right - baseX, 2 * MARGIN));
            s.bottom = static_cast<int>(std::min<int64_t>(s.bottom - baseY, 2 * MARGIN));
            const auto px = static_cast<int32_t>(at[0] - (baseX << 16)),
                       py = static_cast<int32_t>(at[1] - (baseY << 16));
            ownSamplePixels(one, i - left_, y - top_, &px, &py, nullptr, 1);
        }
    }

    const OwnWarp &warp_;
    OwnSampler sampler_;
    int64_t left_, top_;
    int64_t maskRight_ = INT64_MAX, maskBottom_ = INT64_MAX;
    OwnWarpPositions positions_;
    OwnFourPositions four_;
};

// Columns of the mask's region that lie beside a share of the destination's, and rows.
struct MaskSize {
    int64_t width = INT64_MAX / 2, height = INT64_MAX / 2;
    MaskSize(const MoxImage *mask, int64_t x, int64_t y) {
        if (!mask) return;
        OwnImageRect rect;
        ownImageRect(mask, &rect);
        width = std::max<int64_t>(rect.width - x, 0);
        height = std::max<int64_t>(rect.height - y, 0);
    }
};

// Where rows further down the destination come from, by an affine map. What is far away stays as it is set.
void lookAhead(const OwnWarp &warp, OwnSampled *source) {
    constexpr double FAR = 1e4;
    if (warp.map.kind != OWN_AFFINE) return;
    const double across = OWN_ROWS_AHEAD * warp.map.c[1], down = OWN_ROWS_AHEAD * warp.map.c[4];
    if (!(std::fabs(across) < FAR && std::fabs(down) < FAR)) return;
    source->ahead = std::lrint(down) * source->rowStep + std::lrint(across) * source->pixelStep;
}

void drawPlain(const OwnWarp &warp, const MoxImage *src, const MoxImage *dst) {
    OwnSampler sampler;
    ownSetSampler(&sampler, src, dst, dst->maskROI, warp.sampling);
    lookAhead(warp, &sampler.source);
    const OwnCorners &d = warp.destination;
    Canvas canvas(warp, sampler, d.left, d.top);
    if (dst->maskROI) {
        const MaskSize size(dst->maskROI, 0, 0);
        canvas.setMaskSize(size.width, size.height);
    }
    for (int k = 0; k < warp.scan.count; ++k) {
        const OwnScan::Band &band = warp.scan.bands[k];
        const int most = ownSteps(warp) ? 4 : 1;
        for (int64_t y = band.first; y <= band.last; y += most) {
            const int count = static_cast<int>(std::min<int64_t>(most, band.last - y + 1));
            OwnWarpRow rows[4] = {};
            int64_t first[4], last[4];
            for (int i = 0; i < count; ++i) {
                if (!ownScanRow(band, d, y + i, &first[i], &last[i])) {
                    first[i] = 0;
                    last[i] = -1;
                } else {
                    ownBeginWarpRow(warp, first[i], y + i, &rows[i]);
                }
            }
            if (most > 1) {
                canvas.drawFour(rows, first, last, y, count);
            } else {
                canvas.draw(rows, first[0], y, last[0] + 1);
            }
        }
    }
}

// What of the source some positions need, in pixels; empty at first.
class Needed {
  public:
    explicit Needed(const OwnWarp &warp) : warp_(warp) {}

    void add(const OwnWarpPositions &positions, int n) {
        const void *const at[] = {positions.x, positions.y};
        for (int k = 0; k < 2; ++k)
            extend(k, at[k], static_cast<size_t>(n));
        any_ = true;
    }

    void addPixel(int64_t x, int64_t y) {
        const int64_t pixel[] = {x, y};
        for (int k = 0; k < 2; ++k) {
            const double range[] = {static_cast<double>(pixel[k]), static_cast<double>(pixel[k])};
            take(k, range, 1);
        }
        any_ = true;
    }

    // With the samples around a position, within the image.
    bool box(const MoxImage *src, OwnCorners *box) const {
        constexpr int64_t MARGIN = 3;
        if (!any_) return false;
        const OwnCorners &s = warp_.source;
        const int64_t low[] = {s.left, s.top}, high[] = {s.right, s.bottom}, size[] = {src->width, src->height};
        int64_t from[2], to[2];
        for (int k = 0; k < 2; ++k) {
            from[k] = std::max<int64_t>(whole(least_[k], low[k], high[k]) - MARGIN, 0);
            to[k] = std::min<int64_t>(whole(most_[k], low[k], high[k]) + MARGIN, size[k] - 1);
        }
        *box = {from[0], from[1], to[0], to[1]};
        return true;
    }

  private:
    static int64_t whole(double value, int64_t low, int64_t high) {
        if (value <= static_cast<double>(low)) return low;
        if (value >= static_cast<double>(high)) return high;
        return static_cast<int64_t>(std::floor(value));
    }

    template <class Number>
    void take(int axis, const Number *range, double unit) {
        least_[axis] = std::min(least_[axis], static_cast<double>(range[0]) / unit);
        most_[axis] = std::max(most_[axis], static_cast<double>(range[1]) / unit);
    }

    void extend(int axis, const void *at, size_t n) {
        const OwnWarpRows &rows = ownWarpRows();
        switch (warp_.sampling) {
            case OWN_SAMPLE_NEAREST:
            case OWN_SAMPLE_LINEAR_FIXED: {
                const auto *fixed = static_cast<const int32_t *>(at);
                int32_t range[] = {fixed[0], fixed[0]};
                rows.extendFixed(fixed, n, range);
                return take(axis, range, warp_.sampling == OWN_SAMPLE_NEAREST ? 1 : 65536);
            }
            case OWN_SAMPLE_LINEAR_DOUBLE:
            case OWN_SAMPLE_CUBIC_DOUBLE: {
                const auto *doubles = static_cast<const double *>(at);
                double range[] = {doubles[0], doubles[0]};
                rows.extendDouble(doubles, n, range);
                return take(axis, range, 1);
            }
            default: {
                const auto *singles = static_cast<const float *>(at);
                float range[] = {singles[0], singles[0]};
                rows.extendSingle(singles, n, range);
                return take(axis, range, 1);
            }
        }
    }

    const OwnWarp &warp_;
    bool any_ = false;
    double least_[2] = {INFINITY, INFINITY}, most_[2] = {-INFINITY, -INFINITY};
};

// Draws where one image at least is tiled, a block of the destination at a time.
class TiledWarp {
  public:
    TiledWarp(const OwnCaller &caller, const OwnWarp &warp, MoxImage *src, MoxImage *dst)
        : caller_(caller), warp_(warp), src_(src), dst_(dst) {}
    ~TiledWarp() { moxFree(rows_); }
    TiledWarp(const TiledWarp &) = delete;
    TiledWarp &operator=(const TiledWarp &) = delete;

    bool run() {
        // A plain image has a grid too.
        MoxImage grid = *dst_;
        MoxTileInfo tiles = {nullptr, nullptr, nullptr, 128, 128};
        if (!grid.tileInfo) grid.tileInfo = &tiles;
        const OwnCorners &d = warp_.destination;
        // Of a large destination only the rows that are drawn are gone through.
        int64_t first = d.bottom, last = d.top;
        for (int k = 0; k < warp_.scan.count; ++k) {
            first = std::min(first, warp_.scan.bands[k].first);
            last = std::max(last, warp_.scan.bands[k].last);
        }
        const int64_t width = d.right - d.left + 1, height = last - first + 1;
        MoxROI drawn = {0, static_cast<int>(d.left), static_cast<int>(first), static_cast<int>(width),
                        static_cast<int>(height)};
        grid.roi = &drawn;
        if (!allocateRows(std::min<int64_t>(height, grid.tileInfo->height))) return false;
        int64_t top = -1;
        for (OwnTileGrid walk(&grid, width, height); walk.next();) {
            OwnShare share = walk.share();
            share.y += first - d.top;
            if (share.y != top) beginRows(top = share.y, share.height);
            column_ = walk.column();
            tileRow_ = walk.row();
            if (!block(share)) return false;
        }
        return true;
    }

  private:
    // A row of the tiles at hand, of which pixels from next on are still to come.
    struct Row {
        OwnWarpRow at;
        int64_t next, last;  // columns of the image; next is beyond the last where nothing is left
    };

    bool allocateRows(int64_t count) {
        const int64_t bytes = count * static_cast<int64_t>(sizeof(Row));
        if (bytes <= INT32_MAX) rows_ = static_cast<Row *>(moxMalloc(static_cast<int>(bytes)));
        return rows_ || trace();
    }

    bool trace() {
        ownReport(caller_, MOX_StatusBacktrace, "");
        return false;
    }

    void beginRows(int64_t top, int64_t height) {
        top_ = top;
        for (int64_t i = 0; i < height; ++i)
            rows_[i].next = 0, rows_[i].last = -1;
        const OwnCorners &d = warp_.destination;
        const int64_t from = d.top + top, to = from + height - 1;
        for (int k = 0; k < warp_.scan.count; ++k) {
            const OwnScan::Band &band = warp_.scan.bands[k];
            for (int64_t y = std::max(from, band.first); y <= std::min(to, band.last); ++y) {
                Row &row = rows_[y - from];
                if (!ownScanRow(band, d, y, &row.next, &row.last)) continue;
                ownBeginWarpRow(warp_, row.next, y, &row.at);
            }
        }
    }

    // The share's part of a row: calls part(row, y, x, end) with the image's coordinates.
    template <class Part>
    void forEachRow(const OwnShare &share, const Part &part) {
        const OwnCorners &d = warp_.destination;
        const int64_t end = d.left + share.x + share.width;
        for (int64_t i = 0; i < share.height; ++i) {
            Row &row = rows_[share.y + i - top_];
            if (row.next <= row.last && row.next < end)
                part(&row, d.top + share.y + i, row.next, std::min(end, row.last + 1));
        }
    }

    bool findBox(const OwnShare &share, OwnCorners *box) {
        Needed needed(warp_);
        forEachRow(share, [&](const Row *row, int64_t y, int64_t x, int64_t end) {
            OwnWarpRow ahead = row->at;
            if (warp_.sampling == OWN_SAMPLE_LINEAR_FIXED && !ownFitsFixed(warp_.source))
                return needWide(&needed, y, x, end);
            for (; x < end; x += OWN_WARP_STRETCH) {
                const int n = static_cast<int>(std::min<int64_t>(OWN_WARP_STRETCH, end - x));
                ownNextPositions(warp_, &ahead, n, &positions_);
                addKept(&needed, n);
            }
        });
        return needed.box(src_, box);
    }

    // Only what is written counts: beyond the source a map may go anywhere.
    void addKept(Needed *needed, int n) {
        if (!positions_.keep) return needed->add(positions_, n);
        const auto isKept = [&](int i) { return (positions_.keep[i / 8] >> (7 - i % 8) & 1) != 0; };
        const auto *xs = static_cast<const char *>(positions_.x), *ys = static_cast<const char *>(positions_.y);
        for (int i = 0; i < n; ++i) {
            if (!isKept(i)) continue;
            int end = i;
            while (end < n && isKept(end))
                ++end;
            // Tested positions are floats, or whole numbers as wide.
            positions_.x = xs + int64_t{i} * 4;
            positions_.y = ys + int64_t{i} * 4;
            needed->add(positions_, end - i);
            i = end;
        }
    }

    void needWide(Needed *needed, int64_t y, int64_t x, int64_t end) {
        for (; x < end; ++x) {
            int64_t at[2];
            ownWidePosition(warp_, x, y, at);
            needed->addPixel(at[0] >> 16, at[1] >> 16);
        }
    }

    // The largest part of a source that is read for a block of more than one pixel.
    static constexpr int64_t LARGE = 1 << 20;

    bool block(const OwnShare &share) {
        OwnCorners box;
        if (!src_->tileInfo) return draw(share, nullptr);
        if (!findBox(share, &box)) {
            // Nothing is written here; rows that go on have to be gone through nonetheless.
            forEachRow(share, [&](Row *row, int64_t, int64_t x, int64_t end) { pass(row, x, end); });
            return true;
        }
        const int64_t area = (box.right - box.left + 1) * (box.bottom - box.top + 1);
        const bool isWide = share.width >= share.height;
        if (area > LARGE && std::max(share.width, share.height) > 1) {
            OwnShare first = share, second = share;
            if (isWide) {
                first.width /= 2;
                second.x += first.width;
                second.width -= first.width;
            } else {
                first.height /= 2;
                second.y += first.height;
                second.height -= first.height;
            }
            return block(first) && block(second);
        }
        return draw(share, &box);
    }

    void pass(Row *row, int64_t x, int64_t end) {
        for (; x < end; x += OWN_WARP_STRETCH)
            ownNextPositions(warp_, &row->at, static_cast<int>(std::min<int64_t>(OWN_WARP_STRETCH, end - x)),
                             &positions_);
        row->next = end;
    }

    bool hasRows(const OwnShare &share) {
        bool any = false;
        forEachRow(share, [&](const Row *, int64_t, int64_t, int64_t) { any = true; });
        return any;
    }

    // Draws a share, from the whole source or a part of it.
    bool draw(const OwnShare &share, const OwnCorners *box) {
        if (!hasRows(share)) return true;
        OwnScratchImage from;
        char *part = nullptr;
        if (box) {
            const OwnImageRect rect = cornersInRegion(*box);
            const OwnShare read = {rect.x, rect.y, rect.width, rect.height};
            int rowBytes;
            part = ownReadShare(src_, read, &rowBytes);
            if (!part) return trace();
            ownShareOfRect(src_, read, part, rowBytes, &from);
        }
        const bool done = drawFrom(share, box ? &from.header : src_, box);
        ownFreeRect(part);
        return done;
    }

    // Shares count from the corner of a region.
    OwnImageRect cornersInRegion(const OwnCorners &box) const {
        const OwnCorners &s = warp_.source;
        return {box.left - s.left, 0, box.top - s.top, 0, box.bottom - box.top + 1, box.right - box.left + 1};
    }

    bool drawFrom(const OwnShare &share, const MoxImage *src, const OwnCorners *box) {
        OwnScratchImage to, mask;
        char *tile = nullptr;
        if (dst_->tileInfo) {
            tile = ownRequestTile(dst_, column_, tileRow_, MOX_TileWrite);
            if (!tile) {
                ownReport(caller_, MOX_StatusGeneral, "Error get tile to write");
                return false;
            }
            ownShareOfTile(dst_, share, tile, &to);
        } else {
            ownShareOfPlain(dst_, share, &to);
        }
        const MaskSize maskSize(dst_->maskROI, share.x, share.y);
        // Where the mask has nothing rows are gone through and not written.
        const bool masked = dst_->maskROI && maskSize.width > 0 && maskSize.height > 0;
        if (masked) ownShareOfPlain(dst_->maskROI, share, &mask);
        drawRows(share, src, &to.header, masked ? &mask.header : nullptr, maskSize, box);
        if (tile) ownReleaseTile(dst_, column_, tileRow_, tile);
        return true;
    }

    void drawRows(const OwnShare &share, const MoxImage *src, const MoxImage *dst, const MoxImage *mask,
                  const MaskSize &maskSize, const OwnCorners *box) {
        OwnSampler sampler;
        ownSetSampler(&sampler, src, dst, mask, warp_.sampling);
        if (box) {
            // As far as the part reaches, samples lie as in the whole region. Beyond it come only positions that are
            // not written.
            const OwnCorners &s = warp_.source;
            sampler.source.originX = static_cast<int>(box->left);
            sampler.source.originY = static_cast<int>(box->top);
            sampler.source.left = static_cast<int>(std::max(s.left, box->left));
            sampler.source.top = static_cast<int>(std::max(s.top, box->top));
            sampler.source.right = static_cast<int>(std::min(s.right, box->right));
            sampler.source.bottom = static_cast<int>(std::min(s.bottom, box->bottom));
        }
        const OwnCorners &d = warp_.destination;
        Canvas canvas(warp_, sampler, d.left + share.x, d.top + share.y);
        canvas.setMaskSize(maskSize.width, maskSize.height);
        forEachRow(share, [&](Row *row, int64_t y, int64_t x, int64_t end) {
            canvas.draw(&row->at, x, y, end);
            row->next = end;
        });
    }

    OwnCaller caller_;
    const OwnWarp &warp_;
    MoxImage *src_, *dst_;
    Row *rows_ = nullptr;
    int64_t top_ = 0;
    int column_ = 0, tileRow_ = 0;
    OwnWarpPositions positions_;
};

}  // namespace

bool ownDrawWarp(const OwnCaller &caller, const OwnWarp &warp, MoxImage *src, MoxImage *dst) {
    if (warp.scan.count == 0) return true;
    if (src->tileInfo || dst->tileInfo) return TiledWarp(caller, warp, src, dst).run();
    drawPlain(warp, src, dst);
    return true;
}
