// The difference of a float image and a constant, either way round.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxSubtractSFP(MoxImage *srcImage, MoxImage *dstImage, float value, int flip) {
    const OwnCaller caller = OWN_CALLER("moxSubtractSFP");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    if (srcImage->depth != MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusBadArgument, "For processing this depth use function moxSubtractS");
        return;
    }
    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    const OwnArithRows &rows = ownArithRows();
    point.run(ownRowsOf(flip != 0 ? rows.subtractFrom : rows.subtractS, dstImage), {0, 0, value});
}
