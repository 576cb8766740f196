// The difference of two images.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxSubtract(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage) {
    OwnPoint point(OWN_CALLER("moxSubtract"), srcImageA, srcImageB, dstImage);
    if (!point.open()) return;
    point.run(ownRowsOf(ownArithRows().subtract, dstImage));
}
