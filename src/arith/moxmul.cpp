// The product of two images, without scale. Of bits it is the logical one.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxMultiply(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage) {
    if (!srcImageA) {
        ownReport(OWN_CALLER("moxMultiply"), MOX_StatusBadArgument, "srcImageA==0");
        return;
    }
    if (srcImageA->depth == MOX_DEPTH_1U) {
        moxAnd(srcImageA, srcImageB, dstImage);
        return;
    }
    OwnPoint point(OWN_CALLER("moxMultiply"), srcImageA, srcImageB, dstImage);
    if (!point.open()) return;
    point.run(ownRowsOf(ownArithRows().multiply, dstImage));
}
