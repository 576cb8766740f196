// Decimation behind its checks.
#pragma once

#include "geometry/ownscale.h"

struct OwnDecimation {
    MoxImage *src, *dst;
    int xDst, xSrc, yDst, ySrc;
    int interpolate;
};

OwnScaleResult ownDecimate(const OwnDecimation &call);
