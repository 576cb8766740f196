// A source and a destination of any layouts that the changes of scale take together, and ratios.
#pragma once

#include <string>

#include "reference/scaling.h"
#include "support/imagepair.h"

struct ScalingPairOptions {
    unsigned depth = MOX_DEPTH_8U;
    bool sameAlpha = false;  // alphaChannel is equal
    bool sameOrigin = false;
    bool equalCoi = false;    // the coi is the same number
    bool bothCoi = true;      // a coi in both images or in neither, even where the other one has a single channel
    bool moderate = true;     // at 32F numbers without infinities and NaNs
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    int srcWidth = 60, srcHeight = 24;  // the largest
    int dstWidth = 60, dstHeight = 24;
    bool exact = false;  // sizes are the largest ones, without regions
};

class ScalingPair : public ImagePair {
  public:
    ScalingPair(Random &random, const ScalingPairOptions &options);

  private:
    TestLayout drawLayout(Random &random, int which, const ScalingPairOptions &options);
    void drawChannels(Random &random, TestLayout &layout, const ScalingPairOptions &options);
    int processed_, order_, origin_, alpha_, coi_;
};

extern const unsigned scalingDepths[4];

// A moderate picture in place of every sample at 32F.
void drawModerately(Random &random, TestImage &image);

enum class Change { SMALLER, LARGER, ANY };
RefRatio drawRatio(Random &random, Change change);
std::string describeRatio(const RefRatio &ratio, int interpolate);
