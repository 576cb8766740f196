// What the tests of the transforms share: images drawn, calls compared with the model, and the caches freed.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "reference/transform.h"
#include "support/allocations.h"
#include "support/imagepair.h"
#include "support/reports.h"

// Serves no tile, and fails the test that asks for one: transforms refuse tiled images before.
inline int MOX_CALL serveNoTile(MoxImage *, int, int, int) {
    ADD_FAILURE() << "a tile was asked for";
    return 0;
}

struct TransformPairOptions {
    unsigned depths[2] = {MOX_DEPTH_8U, MOX_DEPTH_8U};  // source, destination
    int inPlace = 0;                                    // 0 two images, 1 one, -1 draws
    bool alike = false;  // equal sizes, channels and order, a region in both or in neither that lies inside
    bool tiny = false;   // regions of up to 128 samples
    int maxWidth = 40;
    int maxHeight = 30;
    // Samples up to so much, or up to the depth's own limit.
    double most = 1e6;
};

// A source and a destination of which a transform takes a common area: channels, regions, orders, origins, strides and
// places of their own. Masks may be there, and are not looked at.
class TransformPair : public ImagePair {
  public:
    TransformPair(Random &random, const TransformPairOptions &options);
    int width(), height();  // of the common area
    int channels() { return dst().layout().channelCount(); }

  private:
    TestLayout drawLayout(Random &random, int which, const TransformPairOptions &options);
    int processed_;
    bool coi_, region_;
};

// Numbers without infinities and NaNs, from -most to most as far as the depth goes: noise, noise on a large constant,
// or a few peaks.
void drawNumbers(Random &random, TestImage &image, double most);

// What a call should have left in the destination's region, channel by channel.
struct WantedPlanes {
    std::vector<RefPlane> planes;
    std::vector<RefBound> bounds;
};

void freeTransformCaches();

// The destination is as before but for the processed samples of its common area.
testing::AssertionResult onlyAreaIsWritten(const TestImage &destination, const TestBytes &before, int width,
                                           int height);
testing::AssertionResult planesHold(const TestImage &destination, const WantedPlanes &wanted);

// Runs the call at every CPU level: as the model has it, the levels alike to the bit, nothing else touched, status 0
// and no report. With alone the caches are freed before and after, and nothing may be left.
void checkTransform(TransformPair &pair, const WantedPlanes &wanted, bool alone,
                    const std::function<MoxStatus()> &call);

// The mean square errors of a result and of the same sum in single precision.
struct ErrorSums {
    long double found = 0, direct = 0, size = 0;
    void add(const RefPlane &exact, const RefPlane &result, const RefPlane &directSum);
    // No larger than the direct sum's, but for a part of a unit in the last place of the mean number.
    testing::AssertionResult areNoLarger(long double slack) const;
};
