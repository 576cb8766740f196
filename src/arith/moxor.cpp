// OR of two images, bit by bit.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxOr(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage) {
    OwnPoint point(OWN_CALLER("moxOr"), srcImageA, srcImageB, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_32F) {
        point.refuse("This function does not support depth 32F");
        return;
    }
    point.run(ownRowsOf(ownArithRows().bitOr, dstImage));
}
