// Colour models: what the exported functions, the frame and the kernels share.
#pragma once

#include "frame/ownplanes.h"

// Kernels of a model by OwnDepthIndex, null where a depth is not served: from RGB and to it. The rows are the three of
// the source, then the three of the destination.
struct OwnModelRows {
    OwnPlaneKernel from[OWN_DEPTHS];
    OwnPlaneKernel to[OWN_DEPTHS];
};

const OwnModelRows &ownHsvRows();
const OwnModelRows &ownHlsRows();
const OwnModelRows &ownXyzRows();
const OwnModelRows &ownYuvRows();
const OwnModelRows &ownMixedYuvRows();  // between pixels and planes of bytes
const OwnModelRows &ownYCrCbRows();
const OwnModelRows &ownYccRows();
const OwnModelRows &ownLuvRows();

// Gray and RGB, by the depths of the source and the destination; null for others.
struct OwnGrayRows {
    OwnPlaneKernel fromRgb[OWN_DEPTHS][OWN_DEPTHS];
};
const OwnGrayRows &ownGrayRows();

// The weights of R, G and B, and the shift of the product. Kernels for small weights take those of 0 to 1 << shift at
// most.
struct OwnGrayWeights {
    int weight[3];
    int shift;
};
struct OwnToColorRows {
    OwnPlaneKernel toRgb[OWN_DEPTHS][OWN_DEPTHS];
    OwnPlaneKernel toRgbSmall[OWN_DEPTHS][OWN_DEPTHS];
};
const OwnToColorRows &ownToColorRows();

// A conversion on its way: the images, and the channels of both that take part, in the kernel's order.
struct OwnModelConversion {
    OwnCaller caller;
    MoxImage *src, *dst;
    int srcCount, dstCount;
    int srcChannels[OWN_MAX_PLANES], dstChannels[OWN_MAX_PLANES];
    OwnPlaneKernel kernel;
    const void *operation;
    bool equal = false;  // the channels of the destination get the same samples
};

// Where R, G and B of an image stand by its channelSeq.
void ownFindChannelPlanes(const MoxImage *image, int *channels);

// Runs a conversion over the common width and height of its images, plain or tiled.
void ownRunModelConversion(const OwnModelConversion &conversion);
