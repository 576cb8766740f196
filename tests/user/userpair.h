// A source and a destination of any layouts that the callers' functions go over together, or one image that is both.
#pragma once

#include "support/imagepair.h"

struct UserPairOptions {
    unsigned depth = MOX_DEPTH_8U;
    int inPlace = -1;         // 0 two images, 1 one, -1 draws
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    int maxWidth = 50;
    int maxHeight = 18;
};

class UserPair : public ImagePair {
  public:
    UserPair(Random &random, const UserPairOptions &options);
    // Whether regions and masks have anything in common: an empty one is a fault.
    bool hasPixels();
    int channelCount();
};
