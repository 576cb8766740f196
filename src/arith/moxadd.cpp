// The sum of two images. Of bits it is the logical one.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxAdd(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage) {
    if (!srcImageA) {
        ownReport(OWN_CALLER("moxAdd"), MOX_StatusBadArgument, "srcImageA==0");
        return;
    }
    if (srcImageA->depth == MOX_DEPTH_1U) {
        moxOr(srcImageA, srcImageB, dstImage);
        return;
    }
    OwnPoint point(OWN_CALLER("moxAdd"), srcImageA, srcImageB, dstImage);
    if (!point.open()) return;
    point.run(ownRowsOf(ownArithRows().add, dstImage));
}
