// Decimation. Positions are floats that grow by a step for each pixel, whose rounding is part of the result.
#include "geometry/owndecim.h"

#include <algorithm>
#include <cfloat>

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnDecimateRows, decimateRows)

const OwnDecimateRows &ownDecimateRows() {
    static constexpr const OwnDecimateRows *tables[] = OWN_LEVEL_TABLES(decimateRows);
    return *tables[ownCpuLevel()];
}

namespace {

// ---------------------------------------------------------------------------------------------------------- positions

// The position at hand, at most that of the last pixel; the axis goes on.
float takePosition(OwnScaleAxis *axis) {
    const float position = static_cast<float>(axis->position), last = static_cast<float>(axis->last);
    axis->position = static_cast<double>(position + static_cast<float>(axis->step));
    return position < last ? position : last;
}

// The whole part of a position. Lasts beyond 2^24 may round up as floats.
int64_t wholeOf(float position, const OwnScaleAxis &axis) {
    return std::min(static_cast<int64_t>(position), axis.last);
}

OwnScalePlace placeAt(int64_t first, int64_t count, float f) {
    return {static_cast<int32_t>(first), static_cast<int32_t>(count), 0, f, 0, false};
}

OwnScalePlace nextWhole(OwnScaleAxis *axis) {
    return placeAt(wholeOf(takePosition(axis), *axis), 1, 0);
}

OwnScalePlace nextLinear(OwnScaleAxis *axis) {
    const float position = takePosition(axis);
    const int64_t whole = std::min(wholeOf(position, *axis), axis->last - 1);
    return placeAt(whole, 2, position - static_cast<float>(whole));
}

// Where both axes are interpolated nothing is read beside the first row and column.
OwnScalePlace nextOfBoth(OwnScaleAxis *axis) {
    const bool first = static_cast<float>(axis->position) < FLT_MIN;
    OwnScalePlace place = nextLinear(axis);
    place.alone = first;
    return place;
}

OwnScalePlace nextCubic(OwnScaleAxis *axis) {
    const float position = takePosition(axis);
    int64_t whole = wholeOf(position, *axis);
    float f = position - static_cast<float>(whole);
    for (; whole + 2 > axis->last; --whole)
        f += 1.0f;
    return placeAt(whole - 1, 4, f);
}

// A side of an area: the pixel that it lies on, and how much of that is before it.
struct Side {
    int64_t pixel;
    float part;
};

// Sides a trifle before a whole number are on it, and lie on no pixel.
Side sideAt(float position, const OwnScaleAxis &axis) {
    const float nearby = position + 0.0001f;
    if (nearby >= static_cast<float>(axis.last + 1)) return {axis.last + 1, 0};
    const auto pixel = static_cast<int64_t>(nearby);
    return {pixel, std::max(position - static_cast<float>(pixel), 0.0f)};
}

OwnScalePlace nextArea(OwnScaleAxis *axis) {
    const float from = static_cast<float>(axis->position), to = from + static_cast<float>(axis->step);
    axis->position = static_cast<double>(to);
    const Side left = sideAt(from, *axis), right = sideAt(to, *axis);
    // What rounding has carried past the source is its last pixel.
    if (left.pixel > axis->last) return placeAt(axis->last, 1, static_cast<float>(axis->step));
    if (left.pixel == right.pixel) return placeAt(left.pixel, 1, right.part - left.part);
    OwnScalePlace place = placeAt(left.pixel, right.pixel - left.pixel + (right.part > 0 ? 1 : 0), 1.0f - left.part);
    place.g = right.part > 0 ? right.part : 1.0f;
    return place;
}

// ------------------------------------------------------------------------------------------------------------- methods

struct Axis {
    int64_t size;
    int to, from;

    bool isWhole() const { return from % to == 0; }
    int64_t pixels() const { return size * to / from; }
    float step() const { return static_cast<float>(from) / static_cast<float>(to); }
    OwnScaleAxis places(OwnScalePlace (*next)(OwnScaleAxis *), double start = 0) const {
        return {start, static_cast<double>(step()), size - 1, next};
    }
};

int kindFor(const OwnDecimation &call, const Axis &x, const Axis &y) {
    const bool means = call.interpolate == MOX_INTER_SUPER;
    const bool whole = x.isWhole() && y.isWhole();
    if (x.size < 4 || y.size < 4 || x.pixels() < 1 || y.pixels() < 1) return MOX_INTER_NN;
    if (!means && (whole || call.src->depth == MOX_DEPTH_1U)) return MOX_INTER_NN;
    return call.interpolate;
}

void setNearest(const Axis &x, const Axis &y, int depth, OwnScale *scale) {
    scale->method = &ownZoomRows().nearest[depth];
    scale->columns = x.places(nextWhole, x.isWhole() ? 0 : 0.5);
    scale->rows = y.places(nextWhole, y.isWhole() ? 0 : 0.5);
}

void setInterpolated(const Axis &x, const Axis &y, int kind, int depth, OwnScale *scale) {
    const int axes = (x.isWhole() ? 0 : 1) + (y.isWhole() ? 0 : 2) - 1;
    const bool cubic = kind == MOX_INTER_CUBIC;
    const auto next = cubic ? nextCubic : axes == 2 ? nextOfBoth : nextLinear;
    scale->method = cubic ? &ownDecimateRows().cubic[axes][depth] : &ownDecimateRows().linear[axes][depth];
    scale->columns = x.places(x.isWhole() ? nextWhole : next);
    scale->rows = y.places(y.isWhole() ? nextWhole : next);
}

// Means of whole pixels of bytes are sums of integers that floats hold exactly.
int boxOf(const Axis &x, const Axis &y, int depth) {
    constexpr int64_t exact = int64_t{1} << 24;
    if (depth != OWN_SCALE_8U || !x.isWhole() || !y.isWhole()) return 0;
    const int64_t width = x.from / x.to, height = y.from / y.to;
    if (height > UINT16_MAX / UINT8_MAX || width * height > exact / UINT8_MAX) return 0;
    return x.size < exact && y.size < exact ? static_cast<int>(width) : 0;
}

void setMeans(const Axis &x, const Axis &y, int depth, OwnScale *scale) {
    scale->method = &ownDecimateRows().means[depth];
    scale->columns = x.places(nextArea);
    scale->rows = y.places(nextArea);
    scale->scale = 1.0f / (x.step() * y.step());
    scale->box = boxOf(x, y, depth);
}

}  // namespace

OwnScaleResult ownDecimate(const OwnDecimation &call) {
    OwnImageRect rect, dstRect;
    ownImageRect(call.src, &rect);
    ownImageRect(call.dst, &dstRect);
    if (rect.width <= 0 || rect.height <= 0) return OWN_SCALE_DONE;
    const Axis x = {rect.width, call.xDst, call.xSrc}, y = {rect.height, call.yDst, call.ySrc};
    OwnScale scale = {};
    scale.src = call.src;
    scale.dst = call.dst;
    scale.width = std::min(x.pixels(), dstRect.width);
    scale.height = std::min(y.pixels(), dstRect.height);
    if (scale.width <= 0 || scale.height <= 0) return OWN_SCALE_DONE;

    const int kind = kindFor(call, x, y), depth = ownScaleDepth(call.src->depth);
    if (kind == MOX_INTER_NN) {
        setNearest(x, y, depth, &scale);
    } else if (kind == MOX_INTER_SUPER) {
        setMeans(x, y, depth, &scale);
    } else {
        setInterpolated(x, y, kind, depth, &scale);
    }
    scale.mask = call.dst->maskROI;
    return ownRunScale(scale);
}
