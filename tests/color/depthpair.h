// A source and a destination of different depths in any layouts that are taken together, and calls compared with the
// model.
#pragma once

#include <functional>
#include <string>

#include "reference/reference.h"
#include "support/imagepair.h"

struct DepthPairOptions {
    unsigned srcDepth = MOX_DEPTH_8U, dstDepth = MOX_DEPTH_8U;
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    bool whole = false;        // no regions: one size and equal channels, alpha and all, but for a coi to 1U
    bool sameOrigin = true;    // and that of the masks too
    bool inPlace = false;      // one image
    bool sameRegions = false;  // regions of one size where an image is tiled
    bool oneToMany = false;    // a source of one channel goes to any number of them
    int maxWidth = 70, maxHeight = 18;
};

class DepthImages : public ImagePair {
  public:
    DepthImages(Random &random, const DepthPairOptions &options);

  private:
    void drawWhole(Random &random, const DepthPairOptions &options);
    void drawRegions(Random &random, const DepthPairOptions &options);
    void drawProcessed(Random &random, const DepthPairOptions &options, TestLayout &layout, int processed) const;
    TestLayout layouts_[2];
};

// Runs the call at every CPU level, and under every rounding mode where those count, and compares the destination with
// the model, byte for byte: no report, nothing else touched, tiles paired, nothing leaked, the floating-point
// environment kept. Everything is as before afterwards.
void checkColorCall(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call);
void checkInRoundingModes(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call);

// Equal samples of two images of one size.
testing::AssertionResult sameSamples(const TestImage &image, const TestImage &wanted);

// All depths of integers wider than a bit.
extern const unsigned integerDepths[5];
