// A source and a destination of any layouts that a filter takes together, or one image that is both.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/scene.h"
#include "support/testimage.h"

struct FilterPairOptions {
    unsigned depth = MOX_DEPTH_8U;
    bool strict = false;      // one order, and a coi in both images or in neither; regions begin within the images
    int inPlace = -1;         // 0 two images, 1 one, -1 draws
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    bool handMadeBorders = false;  // border constants beyond the range of the depth
    bool sameOrigin = false;
    bool moderate = true;  // at 32F often a picture of moderate numbers, without infinities and NaNs
    int maxWidth = 60;
    int maxHeight = 18;
};

class FilterPair {
  public:
    FilterPair(Random &random, const FilterPairOptions &options);

    TestImage &src() { return *images_[0]; }
    TestImage &dst() { return images_[1] ? *images_[1] : *images_[0]; }
    bool inPlace() const { return !images_[1]; }
    std::string describe() const;

    // Remembers everything; then: source, masks and headers are as they were; and everything back.
    void keep();
    testing::AssertionResult restIsUntouched() const;
    void restore();
    void abandonTiles();

  private:
    TestLayout drawLayout(Random &random, int which, const FilterPairOptions &options);
    void drawChannels(Random &random, TestLayout &layout, const FilterPairOptions &options);
    std::vector<TestImage *> all() const;
    int processed_, order_, origin_;
    bool coi_;
    std::unique_ptr<TestImage> images_[2], masks_[2];
    std::vector<TestBytes> kept_;
};

// Modes, and with them constants, of all sides of an image, each its own.
void drawBorders(Random &random, TestImage &image, bool handMade);
