// A source and a destination of any layouts that moxMirror takes together, or one image that is both.
#pragma once

#include "support/imagepair.h"

struct MirrorPairOptions {
    unsigned depth = MOX_DEPTH_8U;
    int inPlace = -1;         // 0 two images, 1 one, -1 draws
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    int maxWidth = 60;
    int maxHeight = 18;
};

class MirrorPair : public ImagePair {
  public:
    MirrorPair(Random &random, const MirrorPairOptions &options);
};
