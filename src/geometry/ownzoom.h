// The zoom core, which moxZoom and moxResize share.
#pragma once

#include "mox.h"

// The arguments of both.
struct OwnZoom {
    MoxImage *src, *dst;
    int xDst, xSrc, yDst, ySrc;
    int interpolate;
};

// All checks but that of moxZoom's own, and the zoom, under the name moxZoom. False after a failure, told or not.
bool ownRunZoom(const OwnZoom &zoom);
