// Mirror images: rows change places, or columns, or both.
#include <algorithm>

#include "core/owncpu.h"
#include "frame/ownpair.h"
#include "frame/ownrect.h"
#include "geometry/ownmirror.h"

OWN_DECLARE_LEVELS(OwnMirrorRows, mirrorRows)

const OwnMirrorRows &ownMirrorRows() {
    static constexpr const OwnMirrorRows *tables[] = OWN_LEVEL_TABLES(mirrorRows);
    return *tables[ownCpuLevel()];
}

namespace {

// What changes places.
struct Axes {
    bool columns, rows;
};

// Pixels of a row in reverse, in between. Of pixels with more channels some are taken at a time.
constexpr int64_t STRETCH_BYTES = 4096;
constexpr int MOST_CHANNELS = 64;

// n pixels of each of some rows.
struct Area {
    int64_t x, n;
    int64_t rows;
};

class Stretch {
  public:
    void read(const OwnSpan &span, const uint8_t *row, const Area &area, int channels) {
        const int64_t first = span.bit + area.x, end = first + area.n;
        bytes_ = span.bytes > 0 ? area.n * channels * span.bytes : (end + 7) / 8 - first / 8;
        bit_ = span.bytes > 0 ? 0 : static_cast<int>((end + 7) / 8 * 8 - end);
        for (int64_t y = 0; y < area.rows; ++y, row += span.rowStep) {
            uint8_t *const to = reversed_ + y * bytes_;
            if (span.bytes == 0) {
                ownMirrorRows().reverseBits(row + first / 8, to, static_cast<size_t>(bytes_));
            } else {
                readPixels(span, row + area.x * span.step * span.bytes, area.n, channels, to);
            }
        }
    }

    OwnSpan span(int bytes, int channels) const {
        return {const_cast<uint8_t *>(reversed_), bytes_, 0, channels, 0, bytes, bit_};
    }

    // How many pixels it takes at once. Bits may stand in a byte more.
    static int64_t pixels(const OwnSpan &span, int channels) {
        return span.bytes == 0 ? (STRETCH_BYTES - 1) * 8 : STRETCH_BYTES / (channels * span.bytes);
    }
    // How many rows of so many pixels.
    static int64_t rows(const OwnSpan &span, int channels, int64_t n) {
        const int64_t bytes = span.bytes == 0 ? n / 8 + 2 : n * channels * span.bytes;
        return std::max<int64_t>(STRETCH_BYTES / bytes, 1);
    }

  private:
    void readPixels(const OwnSpan &span, const uint8_t *from, int64_t n, int channels, uint8_t *to) {
        if (span.step != channels) {
            const OwnSampleSize size = ownSampleSize(span.bytes);
            ownMoveRows().gather[size](from, span.step, channels, gathered_, static_cast<size_t>(n));
            from = gathered_;
        }
        ownMirrorRows().reverse(from, to, static_cast<size_t>(n), static_cast<size_t>(int64_t{channels} * span.bytes));
    }

    uint8_t gathered_[STRETCH_BYTES], reversed_[STRETCH_BYTES];
    int64_t bytes_ = 0;
    int bit_ = 0;
};

void advance(OwnSpan *span, int64_t x) {
    if (span->bytes == 0) {
        span->start += (span->bit + x) / 8;
        span->bit = static_cast<int>((span->bit + x) % 8);
    } else {
        span->start += x * span->step * span->bytes;
    }
}

// Stores a stretch in an area of the destination, whose first row begins at the given place.
void store(const OwnRows &rows, const OwnSpan &dst, uint8_t *row, const uint8_t *maskRow, const Area &area,
           const Stretch &stretch) {
    OwnRows one = rows;
    one.spans[0] = stretch.span(dst.bytes, rows.channels);
    one.spans[1] = dst;
    one.spans[1].start = row;
    advance(&one.spans[1], area.x);
    if (rows.masked) {
        one.mask.start = const_cast<uint8_t *>(maskRow);
        advance(&one.mask, area.x);
    }
    one.width = static_cast<int>(area.n);
    one.height = static_cast<int>(area.rows);
    one.planes = 1;
    ownRunRows(one, ownMoveRows().copy[ownSampleSize(dst.bytes)], {});
}

// Rows of pixels with so many channels as a stretch takes.
template <class Run>
void forEachGroup(OwnRows rows, const Run &run) {
    const int channels = rows.channels;
    for (int channel = 0; channel < channels; channel += MOST_CHANNELS) {
        rows.channels = std::min(MOST_CHANNELS, channels - channel);
        run(static_cast<const OwnRows &>(rows));
        for (int i = 0; i < rows.count; ++i) {
            rows.spans[i].start += rows.channels * rows.spans[i].bytes;
            rows.spans[i].first += rows.channels;
        }
    }
}

// The rows of two images whose pixels are stored whole, with the first one's, of the given width, turned round.
void reverseWhole(const OwnRows &rows, int64_t width) {
    const OwnSpan &src = rows.spans[0], &dst = rows.spans[1];
    const int64_t pixelBytes = int64_t{rows.channels} * dst.bytes;
    for (int plane = 0; plane < rows.planes; ++plane) {
        const uint8_t *from = src.start + plane * src.planeStep + (width - rows.width) * pixelBytes;
        uint8_t *to = dst.start + plane * dst.planeStep;
        for (int64_t y = 0; y < rows.height; ++y)
            ownMirrorRows().reverse(from + y * src.rowStep, to + y * dst.rowStep, static_cast<size_t>(rows.width),
                                    static_cast<size_t>(pixelBytes));
    }
}

// The same by stretches.
void reverseStretches(const OwnRows &rows, int64_t width) {
    const OwnSpan &src = rows.spans[0], &dst = rows.spans[1];
    const int64_t most = std::min<int64_t>(Stretch::pixels(dst, rows.channels), rows.width);
    const int64_t band = most < rows.width ? 1 : Stretch::rows(dst, rows.channels, most);
    Stretch stretch;
    for (int plane = 0; plane < rows.planes; ++plane) {
        for (int64_t y = 0; y < rows.height; y += band) {
            const uint8_t *from = src.start + plane * src.planeStep + y * src.rowStep;
            uint8_t *to = dst.start + plane * dst.planeStep + y * dst.rowStep;
            const uint8_t *mask = rows.masked ? rows.mask.start + y * rows.mask.rowStep : nullptr;
            for (int64_t x = 0; x < rows.width; x += most) {
                const Area area = {x, std::min(most, rows.width - x), std::min(band, rows.height - y)};
                stretch.read(src, from, {width - x - area.n, area.n, area.rows}, rows.channels);
                store(rows, dst, to, mask, area, stretch);
            }
        }
    }
}

// Two plain images, or shares of them; width and height are those of what is mirrored.
void mirrorPlain(MoxImage *src, MoxImage *dst, MoxImage *mask, Axes axes, int64_t width, int64_t height) {
    MoxImage *const images[] = {src, dst};
    const int first[] = {ownFirstChannel(src), ownFirstChannel(dst)};
    OwnRows rows;
    ownSetRows(&rows, images, first, 2, ownChannels(dst), mask);
    if (rows.width <= 0 || rows.height <= 0) return;
    if (axes.rows) {
        rows.spans[0].start += (height - 1) * rows.spans[0].rowStep;
        rows.spans[0].rowStep = -rows.spans[0].rowStep;
    }
    const OwnSpan &from = rows.spans[0], &to = rows.spans[1];
    if (axes.columns && !rows.masked && to.bytes > 0 && from.step == rows.channels && to.step == rows.channels) {
        reverseWhole(rows, width);
    } else if (axes.columns) {
        forEachGroup(rows, [&](const OwnRows &group) { reverseStretches(group, width); });
    } else {
        ownRunRows(rows, ownMoveRows().copy[ownSampleSize(rows.spans[1].bytes)], {});
    }
}

// Two stretches of equal length in rows of one image change places, each turned round.
void exchangeStretches(const OwnRows &rows, uint8_t *rowA, int64_t a, uint8_t *rowB, int64_t b, int64_t n) {
    const OwnSpan &span = rows.spans[0];
    Stretch first, second;
    first.read(span, rowA, {a, n, 1}, rows.channels);
    second.read(span, rowB, {b, n, 1}, rows.channels);
    store(rows, span, rowA, nullptr, {a, n, 1}, second);
    store(rows, span, rowB, nullptr, {b, n, 1}, first);
}

void exchangeRows(const OwnRows &rows, bool vertically) {
    const OwnSpan &span = rows.spans[0];
    const int64_t height = rows.height, most = Stretch::pixels(span, rows.channels);
    for (int plane = 0; plane < rows.planes; ++plane) {
        uint8_t *const start = span.start + plane * span.planeStep;
        for (int64_t y = 0; y < (vertically ? (height + 1) / 2 : height); ++y) {
            uint8_t *const upper = start + y * span.rowStep;
            uint8_t *const lower = vertically ? start + (height - 1 - y) * span.rowStep : upper;
            const int64_t count = upper == lower ? rows.width / 2 : rows.width;
            for (int64_t x = 0; x < count; x += most) {
                const int64_t n = std::min(most, count - x);
                exchangeStretches(rows, upper, x, lower, rows.width - x - n, n);
            }
        }
    }
}

// One plain image in place.
void mirrorInPlace(MoxImage *image, Axes axes) {
    MoxImage *const images[] = {image, image};
    const int first[] = {ownFirstChannel(image), ownFirstChannel(image)};
    OwnRows rows;
    ownSetRows(&rows, images, first, 2, ownChannels(image), nullptr);
    if (rows.width <= 0 || rows.height <= 0) return;
    if (axes.columns) {
        forEachGroup(rows, [&](const OwnRows &group) { exchangeRows(group, axes.rows); });
        return;
    }
    const OwnSpan &span = rows.spans[0];
    rows.spans[1].start += (rows.height - 1) * span.rowStep;
    rows.spans[1].rowStep = -span.rowStep;
    rows.height /= 2;
    rows.exchange = true;
    ownRunRows(rows, ownMoveRows().exchange[ownSampleSize(span.bytes)], {});
}

// Runs a mirror over images of which one at least is tiled.
class TiledMirror {
  public:
    TiledMirror(const OwnCaller &caller, MoxImage *src, MoxImage *dst, MoxImage *mask, Axes axes)
        : caller_(caller), src_(src), dst_(dst), mask_(mask), axes_(axes) {
        OwnImageRect rect;
        ownImageRect(src, &rect);
        sourceWidth_ = rect.width;
        sourceHeight_ = rect.height;
    }

    void run(int64_t width, int64_t height) {
        if (dst_->tileInfo) {
            for (OwnTileGrid grid(dst_, width, height); grid.next();) {
                if (!fillTile(grid)) return;
            }
            return;
        }
        // The source's share of the common area, tile by tile.
        OwnScratchImage area;
        ownMakeScratch(src_, &area);
        OwnImageRect rect;
        ownImageRect(src_, &rect);
        const OwnShare used = facing({0, 0, width, height});
        area.roi = {0, static_cast<int>(rect.x + used.x), static_cast<int>(rect.y + used.y), static_cast<int>(width),
                    static_cast<int>(height)};
        for (OwnTileGrid grid(&area.header, width, height); grid.next();) {
            OwnShare share = grid.share();
            share.x += used.x;
            share.y += used.y;
            char *tile = ownRequestTile(src_, grid.column(), grid.row(), MOX_TileRead);
            if (!tile) return refuse("Error get tile to read");
            OwnScratchImage from, to, mask;
            ownShareOfTile(src_, share, tile, &from);
            const OwnShare place = facing(share);
            ownShareOfPlain(dst_, place, &to);
            mirrorPlain(&from.header, &to.header, maskOf(place, &mask), axes_, share.width, share.height);
            ownReleaseTile(src_, grid.column(), grid.row(), tile);
        }
    }

    // In place: what faces one another changes places, so that nothing is read that has been written.
    void runInPlace() {
        const int64_t w = sourceWidth_, h = sourceHeight_;
        if (!axes_.rows) {
            exchangeArea({0, 0, w / 2, h});
        } else if (exchangeArea({0, 0, w, h / 2}) && axes_.columns && h % 2 != 0) {
            exchangeArea({0, h / 2, w / 2, 1});
        }
    }

  private:
    void refuse(const char *message) { ownReport(caller_, MOX_StatusGeneral, message); }

    // What faces a share across the axes: the source's of the destination's, and the reverse.
    OwnShare facing(const OwnShare &share) const {
        OwnShare other = share;
        if (axes_.columns) other.x = sourceWidth_ - share.x - share.width;
        if (axes_.rows) other.y = sourceHeight_ - share.y - share.height;
        return other;
    }

    MoxImage *maskOf(const OwnShare &share, OwnScratchImage *scratch) const {
        if (!mask_) return nullptr;
        ownShareOfPlain(mask_, share, scratch);
        return &scratch->header;
    }

    // A part of the source, where it stands or in a buffer of its own.
    class Part {
      public:
        ~Part() { ownFreeRect(buffer_); }
        bool read(MoxImage *image, const OwnShare &share) {
            if (!image->tileInfo) {
                ownShareOfPlain(image, share, &scratch_);
                return true;
            }
            int rowBytes;
            buffer_ = ownReadShare(image, share, &rowBytes);
            if (buffer_) ownShareOfRect(image, share, buffer_, rowBytes, &scratch_);
            return buffer_ != nullptr;
        }
        MoxImage *image() { return &scratch_.header; }

      private:
        char *buffer_ = nullptr;
        OwnScratchImage scratch_;
    };

    // Mirrors a part into the tile that the grid has reached.
    bool write(const OwnTileGrid &grid, const OwnShare &share, MoxImage *from) {
        char *tile = ownRequestTile(dst_, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) {
            refuse("Error get tile to write");
            return false;
        }
        OwnScratchImage to, mask;
        ownShareOfTile(dst_, share, tile, &to);
        mirrorPlain(from, &to.header, maskOf(share, &mask), axes_, share.width, share.height);
        ownReleaseTile(dst_, grid.column(), grid.row(), tile);
        return true;
    }

    bool fillTile(const OwnTileGrid &grid) {
        Part part;
        if (!part.read(src_, facing(grid.share()))) {
            refuse("Error get tile to read");
            return false;
        }
        return write(grid, grid.share(), part.image());
    }

    // An area of the one image and what faces it, block by block.
    bool exchangeArea(const OwnShare &area) {
        if (area.width <= 0 || area.height <= 0) return true;
        OwnScratchImage here;
        areaOf(area, &here);
        for (OwnTileGrid grid(&here.header, area.width, area.height); grid.next();) {
            OwnShare share = grid.share();
            share.x += area.x;
            share.y += area.y;
            Part own, other;
            if (!own.read(src_, share) || !other.read(src_, facing(share))) {
                refuse("Error get tile to read");
                return false;
            }
            if (!write(grid, share, other.image()) || !writeAcross(facing(share), own.image())) return false;
        }
        return true;
    }

    // A header whose region is an area of the image, for its grid of tiles.
    void areaOf(const OwnShare &area, OwnScratchImage *scratch) const {
        OwnImageRect rect;
        ownImageRect(dst_, &rect);
        ownMakeScratch(dst_, scratch);
        scratch->roi = {scratch->roi.coi, static_cast<int>(rect.x + area.x), static_cast<int>(rect.y + area.y),
                        static_cast<int>(area.width), static_cast<int>(area.height)};
    }

    // Mirrors a buffer into a share that lies across tiles.
    bool writeAcross(const OwnShare &share, MoxImage *from) {
        OwnScratchImage there;
        areaOf(share, &there);
        for (OwnTileGrid grid(&there.header, share.width, share.height); grid.next();) {
            const OwnShare part = grid.share();
            OwnShare source = part;
            if (axes_.columns) source.x = share.width - part.x - part.width;
            if (axes_.rows) source.y = share.height - part.y - part.height;
            OwnScratchImage piece;
            ownShareOfPlain(from, source, &piece);
            if (!write(grid, {share.x + part.x, share.y + part.y, part.width, part.height}, &piece.header))
                return false;
        }
        return true;
    }

    OwnCaller caller_;
    MoxImage *src_, *dst_, *mask_;
    Axes axes_;
    int64_t sourceWidth_, sourceHeight_;
};

const char *findFault(const MoxImage *src, const MoxImage *dst, int flipAxis) {
    if (src->depth != dst->depth) return "(srcImage->depth!=dstImage->depth)";
    if (src->dataOrder != dst->dataOrder && src->nChannels != 1 && dst->nChannels != 1)
        return "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != "
               "1)))";
    if (src == dst && src->maskROI) return "(srcImage==dstImage && srcImage->maskROI != ((void *)0))";
    if (flipAxis > 1 || flipAxis < -1) return "((flipAxis>1)||(flipAxis<-1))";
    if (src->depth == MOX_DEPTH_1U && src->alphaChannel != 0)
        return "(srcImage->depth==1 && srcImage->alphaChannel!=0)";
    if (dst->depth == MOX_DEPTH_1U && dst->alphaChannel != 0)
        return "(dstImage->depth==1 && dstImage->alphaChannel!=0)";
    // Alpha that is not the last channel, or a channel of interest that is none of the image's, is a fault of the
    // header.
    if (ownChannels(src) != ownChannels(dst)) return "(nChannelsSrc != nChannelsDst)";
    return nullptr;
}

}  // namespace

void MOX_CALL moxMirror(MoxImage *srcImage, MoxImage *dstImage, int flipAxis) {
    const OwnCaller caller = OWN_CALLER("moxMirror");
    if (!ownAcceptImage(caller, srcImage) || !ownAcceptImage(caller, dstImage)) return;
    if (const char *fault = findFault(srcImage, dstImage, flipAxis)) {
        ownReport(caller, MOX_StatusBadArgument, fault);
        return;
    }
    const bool inPlace = srcImage == dstImage;
    const OwnCommonMask mask(caller, srcImage, inPlace ? nullptr : dstImage);
    if (mask.lacksMemory()) ownReport(caller, MOX_StatusNoMemory, "Out of memory");
    if (mask.lacksMemory() || mask.endsCall() || ownChannels(dstImage) == 0) return;

    const Axes axes = {flipAxis != 0, flipAxis != 1};
    int64_t width = INT32_MAX, height = INT32_MAX;
    for (const MoxImage *image : {static_cast<const MoxImage *>(dstImage), static_cast<const MoxImage *>(mask.image()),
                                  static_cast<const MoxImage *>(srcImage)}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    }
    if (width <= 0 || height <= 0) return;

    if (srcImage->tileInfo || dstImage->tileInfo) {
        TiledMirror tiled(caller, srcImage, dstImage, mask.image(), axes);
        inPlace ? tiled.runInPlace() : tiled.run(width, height);
    } else if (inPlace) {
        mirrorInPlace(srcImage, axes);
    } else {
        OwnImageRect rect;
        ownImageRect(srcImage, &rect);
        mirrorPlain(srcImage, dstImage, mask.image(), axes, rect.width, rect.height);
    }
}
