// A source and a destination of any layouts that the reduction of bits takes together, and the comparison of calls with
// the model.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "reference/reduce.h"
#include "support/imagepair.h"

// The depth pairs that there are.
struct DepthPair {
    unsigned src, dst;
};
extern const DepthPair allDepthPairs[9];
std::string depthPairName(const DepthPair &depths);

struct ReducePairOptions {
    DepthPair depths = {MOX_DEPTH_8U, MOX_DEPTH_1U};
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    bool coi = true;
    int maxWidth = 60;
    int maxHeight = 18;
};

class ReducePair : public ImagePair {
  public:
    ReducePair(Random &random, const ReducePairOptions &options);
    void run(const RefReduce &call);

  private:
    void drawLayouts(Random &random, const ReducePairOptions &options);
    TestLayout layouts_[2];
};

// Samples as pictures have them: slopes, flat parts, extremes, noise.
void drawPicture(Random &random, TestImage &image);

RefReduce drawReduce(Random &random, const DepthPair &depths, bool noise);
int drawLevels(Random &random, const DepthPair &depths);

// Runs the call at every CPU level and compares the destination with the model, byte for byte: no report, nothing else
// touched, tiles paired, nothing leaked. Everything is as before afterwards.
void checkReduce(ReducePair &pair, const RefReduce &call);
