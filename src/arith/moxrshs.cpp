// Right shift of the samples: logical for unsigned depths, arithmetic for signed ones.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxRShiftS(MoxImage *srcImage, MoxImage *dstImage, unsigned nShift) {
    const OwnCaller caller = OWN_CALLER("moxRShiftS");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    if (nShift == 0) {
        moxXorS(srcImage, dstImage, 0);
        return;
    }
    const auto bits = static_cast<unsigned>(ownDepthBits(srcImage->depth));
    if (nShift >= bits) {
        if ((srcImage->depth & MOX_DEPTH_SIGN) == 0) {
            moxAndS(srcImage, dstImage, 0);
            return;
        }
        nShift = bits - 1;  // the sign alone is left
    }
    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_32F) {
        point.refuse("This function does not support depth 32F");
        return;
    }
    point.run(ownRowsOf(ownArithRows().shiftRight, dstImage), {nShift, 0, 0});
}
