// OR of an image and a constant, bit by bit.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxOrS(MoxImage *srcImage, MoxImage *dstImage, int value) {
    OwnPoint point(OWN_CALLER("moxOrS"), srcImage, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_32F) {
        point.refuse("This function does not support depth 32F");
        return;
    }
    point.run(ownRowsOf(ownArithRows().orS, dstImage), ownLogicConstant(dstImage->depth, value));
}
