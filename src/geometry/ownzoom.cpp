// The zoom core. The first and last pixels of an image and of its zoomed one lie on one another, but for the nearest
// neighbour, whose pixels cover equal parts of the source.
#include "geometry/ownzoom.h"

#include <algorithm>
#include <cmath>

#include "core/owncpu.h"
#include "frame/owntile.h"
#include "geometry/ownscale.h"

OWN_DECLARE_LEVELS(OwnZoomRows, zoomRows)

const OwnZoomRows &ownZoomRows() {
    static constexpr const OwnZoomRows *tables[] = OWN_LEVEL_TABLES(zoomRows);
    return *tables[ownCpuLevel()];
}

namespace {

// ---------------------------------------------------------------------------------------------------------- positions

// Rounded down, but what is a trifle below a whole number is that number.
int64_t wholeOf(const OwnScaleAxis &axis) {
    const double whole = std::rint(axis.position - 0.49999);
    return whole < static_cast<double>(axis.last) ? std::max<int64_t>(static_cast<int64_t>(whole), 0) : axis.last;
}

OwnScalePlace placeAt(int64_t first, int32_t count) {
    return {static_cast<int32_t>(first), count, 0, 0, 0, false};
}

OwnScalePlace nextNearest(OwnScaleAxis *axis) {
    const OwnScalePlace place = placeAt(wholeOf(*axis), 1);
    axis->position += axis->step;
    return place;
}

OwnScalePlace nextLinear(OwnScaleAxis *axis) {
    const int64_t whole = wholeOf(*axis);
    OwnScalePlace place = placeAt(whole, 2);
    if (whole < axis->last) {
        const double fraction = axis->position - static_cast<double>(whole);
        place.weight = static_cast<int32_t>(std::rint(fraction * 16384 - 0.49999));
        place.f = static_cast<float>(fraction);
    } else {
        place.first = static_cast<int32_t>(whole - 1);
        place.weight = 16384;
        place.f = 1;
    }
    axis->position += axis->step;
    return place;
}

OwnScalePlace nextCubic(OwnScaleAxis *axis) {
    const int64_t whole = wholeOf(*axis);
    int64_t centre = whole;
    if (whole == axis->last) {
        centre = whole - 2;
    } else if (whole == axis->last - 1) {
        centre = whole - 1;
    } else if (whole == 0) {
        centre = 1;
    }
    OwnScalePlace place = placeAt(centre - 1, 4);
    place.f = whole == axis->last ? 2.0f : static_cast<float>(axis->position - static_cast<double>(centre));
    axis->position += axis->step;
    return place;
}

double zoomed(int64_t size, int to, int from) {
    return static_cast<double>(size) * to / from;
}

// The whole pixels of a zoomed size, of which a region has so many.
int64_t pixelsOf(double size, int64_t most) {
    return size < static_cast<double>(most) ? static_cast<int64_t>(size) : most;
}

OwnScaleAxis axisOf(int interpolate, bool equalParts, int64_t size, double zoomedSize) {
    const auto pixels = static_cast<double>(size);
    double step = 0;
    if (equalParts) {
        step = pixels / zoomedSize;
    } else if (zoomedSize > 1) {
        step = (pixels - 1) / (zoomedSize - 1);
    }
    const auto next = interpolate == MOX_INTER_NN       ? nextNearest
                      : interpolate == MOX_INTER_LINEAR ? nextLinear
                                                        : nextCubic;
    return {0, step, size - 1, next};
}

// ------------------------------------------------------------------------------------------------------------- checks

const char *findFault(const OwnZoom &zoom) {
    const MoxImage *src = zoom.src, *dst = zoom.dst;
    const int kind = zoom.interpolate;
    if (kind != MOX_INTER_NN && kind != MOX_INTER_LINEAR && kind != MOX_INTER_CUBIC)
        return "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC";
    if (src->depth != dst->depth) return "srcImage->depth != dstImage->depth";
    if (ownScaleDepth(src->depth) < 0)
        return "srcImage->depth != MOX_DEPTH_1U && srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U "
               "&& srcImage->depth != MOX_DEPTH_32F";
    if (src->dataOrder != dst->dataOrder) return "srcImage->dataOrder != dstImage->dataOrder";
    if (zoom.xDst <= 0 || zoom.xSrc <= 0) return "xDst <= 0 || xSrc <= 0";
    if (zoom.yDst <= 0 || zoom.ySrc <= 0) return "yDst <= 0 || ySrc <= 0";
    if (src == dst) return "This function isn`t in-plase function";
    return nullptr;
}

bool sameChannels(const MoxImage *src, const MoxImage *dst) {
    const int srcCoi = src->roi ? src->roi->coi : 0, dstCoi = dst->roi ? dst->roi->coi : 0;
    return srcCoi == dstCoi && ownChannels(src) == ownChannels(dst);
}

// Whether the tile in which a tiled destination's region begins is to be had, which is asked before channels are looked
// at.
bool hasFirstTile(MoxImage *dst) {
    OwnImageRect rect;
    ownImageRect(dst, &rect);
    if (!dst->tileInfo || rect.width <= 0 || rect.height <= 0) return true;
    const int column = static_cast<int>(rect.x / dst->tileInfo->width);
    const int row = static_cast<int>(rect.y / dst->tileInfo->height);
    char *tile = ownRequestTile(dst, column, row, MOX_TileWrite);
    if (tile) ownReleaseTile(dst, column, row, tile);
    return tile != nullptr;
}

constexpr char NO_TILE[] = "Error get tile to write";

// --------------------------------------------------------------------------------------------------------------- zoom

// A source too small for a kind takes a simpler one.
int kindFor(const OwnZoom &zoom, const OwnImageRect &rect) {
    const int64_t least = std::min(rect.width, rect.height);
    if (zoom.src->depth == MOX_DEPTH_1U || least < 2) return MOX_INTER_NN;
    if (zoom.interpolate == MOX_INTER_CUBIC && least < 4) return MOX_INTER_LINEAR;
    return zoom.interpolate;
}

OwnScaledMask scaledMask(const OwnZoom &zoom, MoxImage *mask) {
    OwnImageRect rect;
    ownImageRect(mask, &rect);
    if (rect.width <= 0 || rect.height <= 0) return {mask, {}, {}, 0, 0};
    const double width = zoomed(rect.width, zoom.xDst, zoom.xSrc), height = zoomed(rect.height, zoom.yDst, zoom.ySrc);
    return {mask, axisOf(MOX_INTER_NN, true, rect.width, width), axisOf(MOX_INTER_NN, true, rect.height, height),
            pixelsOf(width, INT32_MAX), pixelsOf(height, INT32_MAX)};
}

OwnScaleResult run(const OwnZoom &zoom) {
    OwnImageRect rect, dstRect;
    ownImageRect(zoom.src, &rect);
    ownImageRect(zoom.dst, &dstRect);
    const double width = zoomed(rect.width, zoom.xDst, zoom.xSrc), height = zoomed(rect.height, zoom.yDst, zoom.ySrc);
    OwnScale scale = {};
    scale.src = zoom.src;
    scale.dst = zoom.dst;
    scale.width = pixelsOf(width, dstRect.width);
    scale.height = pixelsOf(height, dstRect.height);
    if (rect.width <= 0 || rect.height <= 0 || scale.width <= 0 || scale.height <= 0) return OWN_SCALE_DONE;

    const int kind = kindFor(zoom, rect), depth = ownScaleDepth(zoom.src->depth);
    const OwnZoomRows &kernels = ownZoomRows();
    scale.method = kind == MOX_INTER_NN       ? &kernels.nearest[depth]
                   : kind == MOX_INTER_LINEAR ? &kernels.linear[depth]
                                              : &kernels.cubic[depth];
    const bool equalParts = kind == MOX_INTER_NN && !zoom.src->tileInfo && !zoom.dst->tileInfo;
    scale.columns = axisOf(kind, equalParts, rect.width, width);
    scale.rows = axisOf(kind, equalParts, rect.height, height);
    scale.mask = zoom.dst->maskROI;
    if (zoom.src->maskROI) scale.sourceMask = scaledMask(zoom, zoom.src->maskROI);
    return ownRunScale(scale);
}

}  // namespace

bool ownRunZoom(const OwnZoom &zoom) {
    const OwnCaller caller = OWN_CALLER("moxZoom");
    if (!ownAcceptImage(caller, zoom.src) || !ownAcceptImage(caller, zoom.dst)) return false;
    const char *fault = findFault(zoom);
    MoxStatus status = MOX_StatusBadArgument;
    if (!fault && !sameChannels(zoom.src, zoom.dst)) {
        const bool there = hasFirstTile(zoom.dst);
        status = there ? MOX_StatusBadArgument : MOX_StatusGeneral;
        fault = there ? "srcImage COI != dstImage COI" : NO_TILE;
    }
    if (fault) {
        ownReport(caller, status, fault);
        return false;
    }
    if (!ownAcceptMemory(caller, {zoom.src, zoom.dst})) return true;
    const OwnScaleResult result = run(zoom);
    if (result == OWN_SCALE_NO_TILE) ownReport(caller, MOX_StatusGeneral, NO_TILE);
    return result == OWN_SCALE_DONE;
}
