// The square of an image. A bit is its own.
#include "arith/ownarith.h"
#include "frame/ownmove.h"
#include "frame/ownpoint.h"

void MOX_CALL moxSquare(MoxImage *srcImage, MoxImage *dstImage) {
    OwnPoint point(OWN_CALLER("moxSquare"), srcImage, dstImage);
    if (!point.open()) return;
    if (dstImage->depth == MOX_DEPTH_1U) {
        point.run(ownMoveRows().copy[OWN_1_BYTE]);
    } else {
        point.run(ownRowsOf(ownArithRows().square, dstImage));
    }
}
