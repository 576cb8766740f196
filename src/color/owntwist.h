// The colour twist: what its two functions and their kernels share.
#pragma once

#include "frame/ownplanes.h"

struct OwnTwist {
    int data[3][4];
    int shift;
};

struct OwnTwistFP {
    double data[3][4];
};

// The rows are the first three channels of the source, then those of the destination.
struct OwnTwistRows {
    OwnPlaneKernel apply[2];                      // OwnTwist, at 8U and 16U
    OwnPlaneKernel real[OWN_DEPTHS][OWN_DEPTHS];  // OwnTwistFP, from depth to depth
};
const OwnTwistRows &ownTwistRows();

// The tests of channels, of the source and then of the destination.
bool ownAcceptTwisted(const OwnCaller &caller, const MoxImage *srcImage, const MoxImage *dstImage);

// Runs a kernel over the common region, under the common mask, plain or tiled.
void ownRunTwist(const OwnCaller &caller, MoxImage *srcImage, MoxImage *dstImage, OwnPlaneKernel kernel,
                 const void *operation);
