// A source and a destination of any layouts that a filter takes together, or one image that is both.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/imagepair.h"

struct FilterPairOptions {
    unsigned depth = MOX_DEPTH_8U;
    unsigned dstDepth = 0;     // 0 for the same
    bool strict = false;       // one order, and a coi in both images or in neither; regions begin within the images
    bool alike = false;        // one order, the same channels, and a coi in both images or in neither
    bool pixelsOnly = false;   // without a coi
    int channels[2] = {1, 5};  // of images that are alike: the least and the most, alpha aside
    int inPlace = -1;          // 0 two images, 1 one, -1 draws
    int tiled[2] = {-1, -1};   // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    bool handMadeBorders = false;  // border constants beyond the range of the depth
    bool sameOrigin = false;
    bool moderate = true;  // at 32F often a picture of moderate numbers, without infinities and NaNs
    int maxWidth = 60;
    int maxHeight = 18;
};

class FilterPair : public ImagePair {
  public:
    FilterPair(Random &random, const FilterPairOptions &options);

  private:
    TestLayout drawLayout(Random &random, int which, const FilterPairOptions &options);
    void drawChannels(Random &random, TestLayout &layout, const FilterPairOptions &options);
    int processed_, order_, origin_, channels_, alpha_;
    bool coi_;
};

// Modes, and with them constants, of all sides of an image, each its own.
void drawBorders(Random &random, TestImage &image, bool handMade);
