// The product of a float image and a constant.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxMultiplySFP(MoxImage *srcImage, MoxImage *dstImage, float value) {
    const OwnCaller caller = OWN_CALLER("moxMultiplySFP");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    if (srcImage->depth != MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusBadArgument, "For processing this depth use function moxMultiplyS");
        return;
    }
    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    const OwnArithRows &rows = ownArithRows();
    point.run(ownRowsOf(rows.multiplyS, dstImage), {0, 0, value});
}
