// Left shift of the samples within their width.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxLShiftS(MoxImage *srcImage, MoxImage *dstImage, unsigned nShift) {
    const OwnCaller caller = OWN_CALLER("moxLShiftS");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    if (nShift == 0) {
        moxXorS(srcImage, dstImage, 0);
        return;
    }
    if (nShift >= static_cast<unsigned>(ownDepthBits(srcImage->depth))) {
        moxAndS(srcImage, dstImage, 0);
        return;
    }
    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_32F) {
        point.refuse("This function does not support depth 32F");
        return;
    }
    point.run(ownRowsOf(ownArithRows().shiftLeft, dstImage), {nShift, 0, 0});
}
