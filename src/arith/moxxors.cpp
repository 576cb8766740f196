// XOR of an image and a constant, bit by bit; and NOT, which is XOR with all ones.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxXorS(MoxImage *srcImage, MoxImage *dstImage, int value) {
    OwnPoint point(OWN_CALLER("moxXorS"), srcImage, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_32F) {
        point.refuse("This function does not support depth 32F");
        return;
    }
    point.run(ownRowsOf(ownArithRows().xorS, dstImage), ownLogicConstant(dstImage->depth, value));
}

void MOX_CALL moxNot(MoxImage *srcImage, MoxImage *dstImage) {
    moxXorS(srcImage, dstImage, -1);
}
