// The colour twist: what its two functions and their kernels share.
#pragma once

#include "frame/ownplanes.h"

struct OwnTwist {
    int data[3][4];
    int shift;
};

// A matrix of reals, and the same in fixed point where that has room for all bits of it: an entry is
// (fixed + rest / 32768) / 2^point.
struct OwnTwistFP {
    double data[3][4];
    int fixed[3][4], rest[3][4];
    int point;      // 0 where there is no such form
    bool hasRests;  // not all are 0

    // For bytes times 4: entries times 2^30; and for a unit, offsets and a half times as much as makes up for it.
    static constexpr int unit = 1024;
    int direct[3][4];
    bool isDirect;  // there is such a form, and ties are rare
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
