// The sum of an image and a constant. Only 32-bit integers have a kernel of their own: bits are ORed, and at 8 and 16
// bits adding is subtracting the negated value.
#include "arith/ownarith.h"
#include "frame/ownpoint.h"

void MOX_CALL moxAddS(MoxImage *srcImage, MoxImage *dstImage, int value) {
    const OwnCaller caller = OWN_CALLER("moxAddS");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    switch (srcImage->depth) {
        case MOX_DEPTH_1U:
            moxOrS(srcImage, dstImage, value);
            return;
        case MOX_DEPTH_8U:
        case MOX_DEPTH_8S:
        case MOX_DEPTH_16U:
        case MOX_DEPTH_16S:
            // Beyond the range of 16 bits every value has the same results, and the most negative one has no negation.
            moxSubtractS(srcImage, dstImage, value < -65535 ? 65535 : -value, 0);
            return;
        case MOX_DEPTH_32F:
            ownReport(caller, MOX_StatusBadArgument, "For processing depth 32F use function moxAddSFP");
            return;
        default:
            break;
    }
    OwnPoint point(caller, srcImage, dstImage);
    if (!point.open()) return;
    point.run(ownRowsOf(ownArithRows().addS, dstImage), {static_cast<uint32_t>(value), 0, 0});
}
