// AND of an image and a constant, bit by bit.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxAndS(MoxImage *srcImage, MoxImage *dstImage, int value) {
    OwnPoint point(OWN_CALLER("moxAndS"), srcImage, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_32F) {
        point.refuse("This function does not support depth 32F");
        return;
    }
    point.run(ownRowsOf(ownArithRows().andS, dstImage), ownLogicConstant(dstImage->depth, value));
}
