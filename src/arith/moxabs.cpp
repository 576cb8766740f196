// The absolute value of an image.
#include "arith/ownarith.h"
#include "frame/owncopy.h"
#include "frame/ownpoint.h"

static const OwnPointMessages messages = {
    {"(srcImage->depth != dstImage->depth)", nullptr},
    {"(srcImage->dataOrder != dstImage->dataOrder)", nullptr},
    "(srcImage->nChannels != dstImage->nChannels)",
    {"(nChSrcCoi != nChDstCoi)", nullptr},
    {"(srcImage->tileInfo->tileData == 0)", "(dstImage->tileInfo->tileData == 0)", nullptr},
};

void MOX_CALL moxAbs(MoxImage *srcImage, MoxImage *dstImage) {
    const OwnCaller caller = OWN_CALLER("moxAbs");
    if (!srcImage) {
        ownReport(caller, MOX_StatusBadArgument, "srcImage==0");
        return;
    }
    if (!dstImage) {
        ownReport(caller, MOX_StatusBadArgument, "dstImage==0");
        return;
    }
    const unsigned depth = srcImage->depth;
    if (depth == MOX_DEPTH_1U || depth == MOX_DEPTH_8U || depth == MOX_DEPTH_16U) {
        // An older fault counts as well: it is why the copy did nothing.
        if (!ownCopy(srcImage, dstImage) || moxGetErrStatus() < 0)
            ownReport(caller, MOX_StatusBacktrace, "moxCopy is failed");
        return;
    }
    OwnPoint point(caller, srcImage, dstImage, messages);
    if (!point.open()) return;
    point.run(ownRowsOf(ownArithRows().absolute, dstImage));
}
