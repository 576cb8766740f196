// A source and a destination of a colour conversion in any layouts that it takes together.
#pragma once

#include "color/depthpair.h"
#include "reference/color.h"

struct ColorPairOptions {
    unsigned srcDepth = MOX_DEPTH_8U, dstDepth = MOX_DEPTH_8U;
    const char *srcModel = "RGB", *dstModel = "HSV";  // "RGB", "GRAY" or another
    bool mixed = false;       // one image in pixel order, one in plane order: 8U of three channels
    bool anyOrder = false;    // orders are drawn one by one, where a gray image allows it
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    int maxWidth = 70, maxHeight = 12;
};

// Masks are drawn, which mean nothing; regions are refused and there are none.
class ColorPair : public ImagePair {
  public:
    ColorPair(Random &random, const ColorPairOptions &options);
};

ColorPairOptions optionsOf(const RefModel &model, unsigned depth);

// Samples as pictures have them: gray pixels, pixels with two equal channels, floats around 0 to 1.
void drawColors(Random &random, TestImage &image);
