// Zoom: an image becomes larger.
#include "core/owncore.h"
#include "geometry/ownzoom.h"

void MOX_CALL moxZoom(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc, int interpolate) {
    const OwnCaller caller = OWN_CALLER("moxZoom");
    if (xDst < xSrc || yDst < ySrc) {
        ownReport(caller, MOX_StatusBadArgument, "xDst < xSrc || yDst < ySrc");
        return;
    }
    const OwnNestedCalls calls;
    const bool done = ownRunZoom({srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate});
    if (!done || calls.failed()) ownReport(caller, MOX_StatusBacktrace, "");
}
