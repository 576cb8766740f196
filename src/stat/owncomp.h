// Comparisons: their row kernels, and the frame that runs one of them.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// The forms of a relation of samples to samples, or to a constant.
struct OwnRelation {
    // A bit for each of n samples, the first on top; those beyond the last one are 0.
    void (*bits)(const void *a, const void *b, size_t n, const OwnConstant &constant, uint8_t *bits);
    // A bit for each of n pixels of so many samples: whether the relation holds for all of them. Null at depth 1.
    void (*pixelBits)(const void *a, const void *b, size_t n, int channels, const OwnConstant &constant, uint8_t *bits);
};

struct OwnCompareRows {
    OwnRelation less[OWN_DEPTHS], equal[OWN_DEPTHS], near;                           // of two images
    OwnRelation lessS[OWN_DEPTHS], greaterS[OWN_DEPTHS], equalS[OWN_DEPTHS], nearS;  // with the constant: at 32F real
    OwnRelation always, never;                                                       // whatever the samples
};

const OwnCompareRows &ownCompareRows();

// A comparison on its way: img2 is null where img1 is compared with a constant.
struct OwnCompare {
    OwnCaller caller;
    MoxImage *img1, *img2, *res;

    // The tests in their order, each 0 or the status to return: of two images; of one up to its depth; of eps; of the
    // channels, which checkTwo has made already.
    MoxStatus checkTwo() const;
    MoxStatus checkOne(bool real) const;
    MoxStatus checkReal() const;
    MoxStatus checkEpsilon(float eps) const;
    MoxStatus checkChannels() const;

    MoxStatus run(const OwnRelation &relation, const OwnConstant &constant) const;

  private:
    MoxStatus refuse(MoxStatus reported, const char *message, MoxStatus returned) const;
    MoxStatus checkHeader(const MoxImage *image) const;
    MoxStatus runShares(const OwnRelation &relation, const OwnConstant &constant, MoxImage *mask) const;
};
