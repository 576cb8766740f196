// The range of whole numbers to a range of floats, and back.
#include "color/owndepth.h"
#include "core/ownfpcontrol.h"

namespace {

// As many samples make it worth looking for a quicker way.
constexpr int ENOUGH_FOR_PARTS = 8192;

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, float minVal, float maxVal) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    const OwnDepthTest tests[] = {
        {src->depth != MOX_DEPTH_32F && dst->depth != MOX_DEPTH_32F,
         "((srcImage->depth != 32)&& (dstImage->depth != 32))"},
        {src->depth == MOX_DEPTH_32F && dst->depth == MOX_DEPTH_32F,
         "((srcImage->depth == 32)&& (dstImage->depth == 32))"},
        {src->depth == MOX_DEPTH_1U || dst->depth == MOX_DEPTH_1U, "((srcImage->depth == 1)|| (dstImage->depth == 1))"},
        {ownOrdersDiffer(src, dst), OWN_ORDERS_DIFFER},
        {src->origin != dst->origin, "(srcImage->origin != dstImage->origin)"},
        {maxVal - minVal <= 0, "((maxVal - minVal) <= 0.0f)"},
    };
    if (!ownPassDepthTests(caller, tests) || ownLacksChannels(src, dst)) return false;
    const OwnDepthTest channels[] = {{ownChannels(src) != ownChannels(dst), "(srcChannels != dstChannels)"}};
    return ownPassDepthTests(caller, channels);
}

// Tiled images are to have regions of one size, unless there is nothing to do.
bool sizesDiffer(const MoxImage *src, const MoxImage *dst) {
    OwnImageRect from, to;
    ownImageRect(src, &from);
    ownImageRect(dst, &to);
    if (from.width < 1 || from.height < 1 || to.width < 1 || to.height < 1) return false;
    return (src->tileInfo || dst->tileInfo) && (from.width != to.width || from.height != to.height);
}

// Behind the change of the rounding mode, over which a compiler would move sums that stand beside it.
[[gnu::noinline]] void setScale(OwnRealScale *scale, unsigned depth, bool toReal, float minVal, float maxVal) {
    const double delta = static_cast<double>(maxVal) - static_cast<double>(minVal);
    const int bits = ownDepthBits(depth);
    const double low = (depth & MOX_DEPTH_SIGN) == 0 ? 0 : bits == 8 ? -128 : bits == 16 ? -32768 : -2147483648.0;
    const double length = bits == 8 ? 255 : bits == 16 ? 65535 : 4294967295.0;
    const double part = bits == 8 ? 0.00392156862745098 : bits == 16 ? 1.5259021896696422e-05 : 2.3283064370807974e-10;
    scale->low = minVal;
    scale->high = maxVal;
    scale->step = toReal ? delta * part : length / delta;
    scale->offset = toReal ? static_cast<double>(minVal) - low * scale->step : low;
}

}  // namespace

void MOX_CALL moxScaleFP(MoxImage *srcImage, MoxImage *dstImage, float minVal, float maxVal) {
    const OwnCaller caller = OWN_CALLER("moxScaleFP");
    if (!check(caller, srcImage, dstImage, minVal, maxVal)) return;
    if (sizesDiffer(srcImage, dstImage)) {
        ownReport(caller, MOX_StatusBadArgument, "(buf[3] != buf[4])");
        return;
    }
    const bool toReal = dstImage->depth == MOX_DEPTH_32F;
    const unsigned depth = toReal ? srcImage->depth : dstImage->depth;
    const OwnRealRows &rows = ownRealRows();
    const int whole = ownWholeIndex(ownDepthIndex(depth));
    OwnRealScale scale = {};
    OwnConstant constant = {};
    constant.table = &scale;
    const OwnNearestRounding nearest;
    setScale(&scale, depth, toReal, minVal, maxVal);
    const bool large = int64_t{dstImage->width} * dstImage->height >= ENOUGH_FOR_PARTS;
    if (large && srcImage->depth == MOX_DEPTH_8U) rows.findParts(&scale);
    ownConvertRegions(caller, srcImage, dstImage, toReal ? rows.toReal[whole] : rows.fromReal[whole], constant);
}
