// The product of an image and a constant.
#include <algorithm>

#include "arith/ownarith.h"
#include "frame/ownpoint.h"

// Beyond these bounds every value has the same clamped products.
static int limitFactor(unsigned depth, int value) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return std::min(value, 255);
        case MOX_DEPTH_16U:
            return std::min(value, 65535);
        case MOX_DEPTH_8S:
            return std::clamp(value, -128, 128);
        case MOX_DEPTH_16S:
            return std::clamp(value, -32768, 32768);
        default:
            return value;
    }
}

void MOX_CALL moxMultiplyS(MoxImage *srcImage, MoxImage *dstImage, int value) {
    const OwnCaller caller = OWN_CALLER("moxMultiplyS");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    const unsigned depth = srcImage->depth;
    if (depth == MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusBadArgument, "For processing depth 32F use function moxMultiplySFP");
        return;
    }
    if (depth == MOX_DEPTH_1U) {
        moxAndS(srcImage, dstImage, value);
        return;
    }
    if ((depth == MOX_DEPTH_8U || depth == MOX_DEPTH_16U) && value <= 0) {
        moxAndS(srcImage, dstImage, 0);
        return;
    }
    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    const auto factor = static_cast<uint32_t>(limitFactor(depth, value));
    point.run(ownRowsOf(ownArithRows().multiplyS, dstImage), {factor, 0, 0});
}
