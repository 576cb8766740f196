// Resizing: the means of areas where an image becomes smaller, and zoom for the rest.
#include "core/owncore.h"
#include "geometry/ownzoom.h"

void MOX_CALL moxResize(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                        int interpolate) {
    const OwnCaller caller = OWN_CALLER("moxResize");
    const bool means = interpolate == MOX_INTER_SUPER;
    if (means && (xDst > xSrc || yDst > ySrc)) {
        ownReport(caller, MOX_StatusBadArgument, "(xDst > xSrc || yDst > ySrc)");
        return;
    }
    const OwnNestedCalls calls;
    bool done = true;
    if (means) {
        moxDecimate(srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate);
    } else {
        done = ownRunZoom({srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate});
    }
    if (!done || calls.failed()) ownReport(caller, MOX_StatusBacktrace, "");
}
