// The difference of an image and a constant, either way round.
#include <algorithm>

#include "arith/ownarith.h"
#include "frame/ownpoint.h"

namespace {

// Saturating results of single bits: 1 - s, s - 0, and 0 for s - 1 and 0 - s.
void subtractFromBits(MoxImage *srcImage, MoxImage *dstImage, bool odd, bool flip) {
    if (odd == flip) {
        moxXorS(srcImage, dstImage, odd ? 1 : 0);
    } else {
        moxAndS(srcImage, dstImage, 0);
    }
}

// At unsigned depths a value beyond the range leaves the same sample everywhere: a logic operation. False if the value
// is within.
bool fillByValue(MoxImage *srcImage, MoxImage *dstImage, int64_t value, bool flip, int64_t max) {
    const int64_t lowest = flip ? 0 : -max, highest = flip ? 2 * max : max;
    if (value > lowest && value < highest) return false;
    const bool full = flip ? value >= highest : value <= lowest;
    if (full) {
        moxOrS(srcImage, dstImage, -1);
    } else {
        moxAndS(srcImage, dstImage, 0);
    }
    return true;
}

// A kernel and its constant.
struct Subtraction {
    const OwnRowForms *kernel;
    OwnConstant constant;
};

// 8 and 16 bits are processed as unsigned samples 0..max: signed ones with half the range added, and to the constant of
// value - sample twice that.
Subtraction chooseSmall(unsigned depth, int64_t value, bool flip) {
    const OwnArithRows &rows = ownArithRows();
    const int index = ownDepthIndex(depth);
    const int64_t max = (int64_t{1} << ownDepthBits(depth)) - 1;
    const int64_t bias = (depth & MOX_DEPTH_SIGN) != 0 ? (max + 1) / 2 : 0;
    const auto choose = [&](const OwnRowForms(&table)[OWN_DEPTHS], int64_t constant) {
        return Subtraction{&table[index],
                           {static_cast<uint32_t>(std::min(constant, max)), static_cast<uint32_t>(bias), 0}};
    };
    if (flip) {
        const int64_t from = value + 2 * bias;
        return from <= max ? choose(rows.fromValue, std::max<int64_t>(from, 0)) : choose(rows.fromAbove, from - max);
    }
    return value > 0 ? choose(rows.takeDown, value) : choose(rows.addUp, -value);
}

}  // namespace

void MOX_CALL moxSubtractS(MoxImage *srcImage, MoxImage *dstImage, int value, int flip) {
    const OwnCaller caller = OWN_CALLER("moxSubtractS");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    const unsigned depth = srcImage->depth;
    if (depth == MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusBadArgument, "For processing depth 32F use function moxSubtractSFP");
        return;
    }
    if (depth == MOX_DEPTH_1U) {
        subtractFromBits(srcImage, dstImage, (value & 1) != 0, flip != 0);
        return;
    }
    if (depth == MOX_DEPTH_8U && fillByValue(srcImage, dstImage, value, flip != 0, 255)) return;
    if (depth == MOX_DEPTH_16U && fillByValue(srcImage, dstImage, value, flip != 0, 65535)) return;

    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    if (depth == MOX_DEPTH_32S) {
        const OwnArithRows &rows = ownArithRows();
        point.run(ownRowsOf(flip != 0 ? rows.subtractFrom : rows.subtractS, dstImage),
                  {static_cast<uint32_t>(value), 0, 0});
        return;
    }
    const Subtraction subtraction = chooseSmall(depth, value, flip != 0);
    point.run(*subtraction.kernel, subtraction.constant);
}
