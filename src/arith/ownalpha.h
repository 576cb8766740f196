// Alpha composition: what its functions, their tests, the runs over images and the kernels share.
#pragma once

#include "frame/ownplanes.h"

// What becomes of two pixels and their opacities.
struct OwnMix {
    int type;            // MOX_COMPOSITE_...
    bool premultiplied;  // colours come multiplied by their opacities
    bool divides;        // in floating point, divided by the opacity of the result
};

// How b is had.
enum OwnMixB { OWN_B_GIVEN, OWN_B_IS_REST };  // OWN_B_IS_REST: what a leaves of the full scale

// The rows of a stretch, by their places among those that a plane kernel gets.
struct OwnMixRows {
    int colours;
    int a[OWN_MAX_PLANES], b[OWN_MAX_PLANES], dst[OWN_MAX_PLANES];
    int alphaA, alphaB;  // a row, or OWN_MIX_CONSTANT
    int alphaDst;        // a row, or OWN_MIX_NONE
    int constA, constB;  // in place of rows
    OwnMixB wayOfB;
};
constexpr int OWN_MIX_CONSTANT = -1, OWN_MIX_NONE = -1;

constexpr int OWN_MIX_TYPES = 6;

// Indexed by 0 for 8U and 1 for 16U. The plane kernels' operation is OwnMixRows.
struct OwnAlphaRows {
    OwnPlaneKernel mix[2][OWN_MIX_TYPES][2];  // by type, premultiplied
    OwnPlaneKernel divided[2][OWN_MIX_TYPES][2];
    OwnRowForms multiply[2], multiplyS[2];  // d = M(a, b), d = M(a, value)

    // Samples by constant opacities, a + (b << 16): by depth, type, premultiplied.
    OwnRowForms mixS[2][OWN_MIX_TYPES][2];

    // Pixels of four bytes, the last of them alpha, as samples of 32 bits; by type, premultiplied. Null forms where a
    // processor has none.
    OwnRowForms mixPixels[OWN_MIX_TYPES][2];
    OwnRowForms premultiplyPixels;
};
const OwnAlphaRows &ownAlphaRows();

inline int ownAlphaDepth(const MoxImage *image) {
    return image->depth == MOX_DEPTH_8U ? 0 : 1;
}
inline int ownFullScale(const MoxImage *image) {
    return image->depth == MOX_DEPTH_8U ? 255 : 65535;
}

// The channel that opacities are read in, counted from 0.
inline int ownOpacityChannel(const MoxImage *image) {
    return image->alphaChannel > 0 ? image->alphaChannel - 1 : 0;
}

// Images and masks of a call, and what runs on them or on the views of a block, of which null images have none.
constexpr int OWN_ALPHA_IMAGES = 6;
using OwnAlphaFunction = void (*)(const void *operation, MoxImage *const *views, MoxImage *mask, int width, int height);
struct OwnAlphaCall {
    OwnCaller caller;
    MoxImage *images[OWN_ALPHA_IMAGES];  // the destination first; any other may be null
    int count;
    int written;                         // so many of them from the first on
    MoxImage *masked[OWN_ALPHA_IMAGES];  // whose masks count, in this order; may be null
    OwnAlphaFunction function;
    const void *operation;
};

// Runs a call behind its own tests: working size, masks, tiles.
void ownRunAlpha(const OwnAlphaCall &call);

// A composition of plain images. views are the destination, the output of opacity, A, B, and the images of their
// opacities; where one of the latter is null, a constant or the rest of the other is in its place.
struct OwnMixing {
    OwnMix mix;
    OwnMixB wayOfB;
    int constA, constB;
};
void ownMixImages(const OwnMixing &mixing, MoxImage *const *views, MoxImage *mask, int width, int height);

// The tests of the exported functions; false after a report.
bool ownAcceptSources(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *srcImageB,
                      const MoxImage *dstImage);
bool ownAcceptOpacities(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *dstImage,
                        const MoxImage *alphaImageA, const MoxImage *alphaImageB, const MoxImage *alphaImageDst);
bool ownAcceptConstants(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *srcImageB, int aA, int aB);
bool ownAcceptMix(const OwnCaller &caller, int compositeType, int premulAlpha, int divideMode);
bool ownAcceptPremultiplied(const OwnCaller &caller, const MoxImage *image, int alpha);
bool ownAcceptScaled(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *srcImageB,
                     const MoxImage *dstImage);
bool ownAcceptScaled(const OwnCaller &caller, const MoxImage *srcImage, const MoxImage *dstImage);
