// Decimation with blur: tests, the places of pixels, and the parts of tiled images.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>

#include "frame/ownpair.h"
#include "frame/ownrect.h"
#include "geometry/owndext.h"

namespace {

// How much of a tiled source is read at once, in pixels of each direction, beside what windows reach further.
constexpr double PART_SIDE = 1024;

// One ratio, and the mask's size in its direction.
struct Ratio {
    int dst, src, maskSize;

    double value() const { return static_cast<double>(src) / dst; }
    double zoomed(int64_t length) const { return static_cast<double>(dst) * static_cast<double>(length) / src; }
    // How far the places of pixels are apart; 0 where there is nothing to be done.
    double step(int64_t length) const {
        if (src == dst) return 1;
        const double size = zoomed(length);
        return size > 1 ? static_cast<double>(length - 1) / (size - 1) : 0;
    }
    int64_t size() const { return maskSize != 0 ? maskSize : static_cast<int64_t>(std::rint(value() + 1e-05)); }
    int64_t count(int64_t length, int64_t most) const {
        return static_cast<int64_t>(std::min(std::floor(zoomed(length)), static_cast<double>(most)));
    }
};

// The first place and the fraction for a position p in the pixel ix.
struct Place {
    int64_t base;
    float fraction;
};
Place placeOf(int taps, double p, int64_t ix, int64_t length) {
    const auto after = [p](int64_t place) { return static_cast<float>(p - static_cast<double>(place)); };
    if (taps == 1) return {ix, 0.0f};
    if (taps == 2) return ix == length - 1 ? Place{ix - 1, 1.0f} : Place{ix, after(ix)};
    if (ix == length - 1) return {ix - 3, 2.0f};
    const int64_t second = ix == 0 ? 1 : ix == length - 2 ? ix - 1 : ix;
    return {second - 1, after(second)};
}

// A table of places, freed on every path.
struct Places {
    OwnDextAxis axis = {};

    Places() = default;
    Places(const Places &) = delete;
    Places &operator=(const Places &) = delete;
    ~Places() { moxFree(axis.base); }
    bool make(const Ratio &ratio, int64_t length, int64_t count, int taps) {
        if (count > INT_MAX / 8) return false;
        const auto n = static_cast<int>(count);
        axis.base = static_cast<int32_t *>(moxMalloc(n * 8));
        if (!axis.base) return false;
        axis.fraction = reinterpret_cast<float *>(axis.base + n);
        axis.count = count;
        axis.length = length;
        axis.size = ratio.size();
        const double step = ratio.step(length);
        double p = 0;
        for (int i = 0; i < n; ++i) {
            const auto ix = std::min(static_cast<int64_t>(std::rint(p - 0.49999)), length - 1);
            const Place place = placeOf(taps, p, ix, length);
            axis.base[i] = static_cast<int32_t>(place.base);
            axis.fraction[i] = place.fraction;
            p += step;
        }
        return true;
    }
};

// The call behind its tests.
struct Call {
    OwnCaller caller;
    MoxImage *src, *dst;
    OwnDext dext;
    int channels;
    double steps[2];

    void run() const {
        const OwnShare whole = {0, 0, dext.columns.count, dext.rows.count};
        if (!dst->tileInfo) {
            OwnScratchImage to;
            ownShareOfPlain(dst, whole, &to);
            runShare(whole, &to.header);
            return;
        }
        for (OwnTileGrid tiles(dst, whole.width, whole.height); tiles.next();) {
            char *tile = ownRequestTile(dst, tiles.column(), tiles.row(), MOX_TileWrite);
            if (!tile) {
                ownReport(caller, MOX_StatusGeneral, "Error get tile to write");
                return;
            }
            OwnScratchImage to;
            ownShareOfTile(dst, tiles.share(), tile, &to);
            const bool done = runShare(tiles.share(), &to.header);
            ownReleaseTile(dst, tiles.column(), tiles.row(), tile);
            if (!done) return;
        }
    }

  private:
    // A share of the destination, of which the plain header is the region; part by part from a tiled source.
    bool runShare(const OwnShare &share, MoxImage *to) const {
        if (!src->tileInfo) {
            OwnImageRect rect;
            ownImageRect(src, &rect);
            int unused[2];
            const OwnDextSource source = {ownSpan(src, ownFirstChannel(src), &unused[0], &unused[1]), 0, 0};
            return runPart(source, share, to);
        }
        // Windows reach from one part into the next ones: parts are as large as these, or most is read many times.
        const auto side = [](const OwnDextAxis &axis, double step) {
            const auto window = static_cast<double>(std::min(axis.size, axis.length));
            return static_cast<int64_t>(std::max(std::max(PART_SIDE, window) / step, 1.0));
        };
        const int64_t columns = side(dext.columns, steps[0]), rows = side(dext.rows, steps[1]);
        for (int64_t y = 0; y < share.height; y += rows) {
            for (int64_t x = 0; x < share.width; x += columns) {
                const OwnShare part = {x, y, std::min(columns, share.width - x), std::min(rows, share.height - y)};
                if (!readAndRun(share, part, to)) return false;
            }
        }
        return true;
    }

    // A part of a share, from the rectangle that it needs.
    bool readAndRun(const OwnShare &share, const OwnShare &part, MoxImage *to) const {
        const OwnShare here = {share.x + part.x, share.y + part.y, part.width, part.height};
        const OwnDextWindow columns = ownDextNeed(dext.columns, dext.taps, here.x, here.width);
        const OwnDextWindow rows = ownDextNeed(dext.rows, dext.taps, here.y, here.height);
        const OwnShare need = {columns.from, rows.from, columns.to - columns.from, rows.to - rows.from};
        int rowBytes;
        char *data = ownReadShare(src, need, &rowBytes);
        if (!data) return trace();
        OwnScratchImage from, piece;
        ownShareOfRect(src, need, data, rowBytes, &from);
        ownShareOfPlain(to, part, &piece);
        int unused[2];
        const OwnDextSource source = {ownSpan(&from.header, ownFirstChannel(src), &unused[0], &unused[1]), need.x,
                                      need.y};
        const bool done = runPart(source, here, &piece.header);
        ownFreeRect(data);
        return done;
    }

    bool runPart(const OwnDextSource &source, const OwnShare &share, const MoxImage *to) const {
        OwnScratchImage mask;
        if (dst->maskROI) ownShareOfPlain(dst->maskROI, share, &mask);
        const bool done =
            ownRunDext(dext, source, to, dst->maskROI ? &mask.header : nullptr, share.x, share.y, channels);
        return done || trace();
    }

    bool trace() const {
        ownReport(caller, MOX_StatusBacktrace, "");
        return false;
    }
};

// Of these faults all are reported.
bool agree(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    bool good = true;
    const auto require = [&](bool condition, const char *message) {
        if (!condition) ownReport(caller, MOX_StatusBadArgument, message);
        good = good && condition;
    };
    require(src->depth == dst->depth, "(srcImage->depth!=dstImage->depth)");
    require(src->dataOrder == dst->dataOrder, "(srcImage->dataOrder!=dstImage->dataOrder)");
    require(src->alphaChannel == dst->alphaChannel, "(srcImage->alphaChannel!=dstImage->alphaChannel)");
    require((src->depth & MOX_DEPTH_SIGN) == 0, "(srcImage->depth & MOX_DEPTH_SIGN)");
    return good;
}

// Of these the first.
const char *findFault(const MoxImage *src, const MoxImage *dst, const Ratio &x, const Ratio &y) {
    if (src == dst) return "This function isn`t in-plase function";
    if (x.dst > x.src || y.dst > y.src) return "(xDst>xSrc||yDst>ySrc)";
    if (x.dst <= 0 || y.dst <= 0) return "((xDst <= 0)||(yDst<=0))";
    if (x.src <= 0 || y.src <= 0) return "((xSrc <= 0)||(ySrc<=0))";
    if (x.maskSize < 0 || y.maskSize < 0) return "(xMaskSize<0||yMaskSize<0)";
    const MoxROI *from = src->roi, *to = dst->roi;
    if (from && from->coi > 0 && !to) return "srcImage->roi->coi > 0 && dstImage->roi == NULL";
    if (from && from->coi > 0 && to->coi == 0) return "srcImage->roi->coi > 0 && dstImage->roi->coi == 0";
    if (to && to->coi > 0 && !from) return "dstImage->roi->coi > 0 && srcImage->roi == NULL";
    if (to && to->coi > 0 && from->coi == 0) return "dstImage->roi->coi > 0 && srcImage->roi->coi == 0";
    if (from && from->xOffset >= src->width) return "srcImage->roi->xOffset >= srcImage->width";
    if (from && from->yOffset >= src->height) return "srcImage->roi->yOffset >= srcImage->height";
    if (to && to->xOffset >= dst->width) return "dstImage->roi->xOffset >= dstImage->width";
    if (to && to->yOffset >= dst->height) return "dstImage->roi->yOffset >= dstImage->height";
    return nullptr;
}

// The places that a pixel lies between, in each direction.
int tapsOf(int kind, const MoxImage *src, const OwnImageRect &rect, const Ratio &x, const Ratio &y) {
    const int64_t least = std::min(rect.width, rect.height);
    const bool same = x.dst == x.src && y.dst == y.src;
    if (kind == MOX_INTER_NN || same || src->depth == MOX_DEPTH_1U || least < 2) return 1;
    return kind == MOX_INTER_LINEAR || least < 4 ? 2 : 4;
}

}  // namespace

void MOX_CALL moxDecimateBlur(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                              int interpolate, int xMaskSize, int yMaskSize) {
    Call call = {OWN_CALLER("moxDecimateBlur"), srcImage, dstImage, {}, 0, {}};
    const auto refuse = [&](const char *message) { ownReport(call.caller, MOX_StatusBadArgument, message); };
    if (interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC)
        return refuse(
            "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC");
    if (!ownAcceptImage(call.caller, srcImage) || !ownAcceptImage(call.caller, dstImage)) return;
    if (!agree(call.caller, srcImage, dstImage)) return;
    const Ratio x = {xDst, xSrc, xMaskSize}, y = {yDst, ySrc, yMaskSize};
    if (const char *fault = findFault(srcImage, dstImage, x, y)) return refuse(fault);

    OwnImageRect from, to;
    ownImageRect(srcImage, &from);
    ownImageRect(dstImage, &to);
    int64_t width = x.count(from.width, to.width), height = y.count(from.height, to.height);
    if (dstImage->maskROI) {
        ownImageRect(dstImage->maskROI, &to);
        width = std::min(width, to.width);
        height = std::min(height, to.height);
    }
    call.steps[0] = x.step(from.width);
    call.steps[1] = y.step(from.height);
    call.channels = std::min(ownChannels(srcImage), ownChannels(dstImage));
    if (call.steps[0] == 0 || call.steps[1] == 0 || width < 1 || height < 1 || call.channels == 0) return;
    if (!ownAcceptMemory(call.caller, {srcImage, dstImage})) return;

    Places columns, rows;
    call.dext.taps = tapsOf(interpolate, srcImage, from, x, y);
    if (!columns.make(x, from.width, width, call.dext.taps) || !rows.make(y, from.height, height, call.dext.taps)) {
        ownReport(call.caller, MOX_StatusBacktrace, "");
        return;
    }
    call.dext.columns = columns.axis;
    call.dext.rows = rows.axis;
    call.run();
}
