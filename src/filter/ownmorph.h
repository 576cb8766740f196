// Erosion, dilation, and one after the other: what the walks over samples and over bits share.
#pragma once

#include "filter/ownrank.h"
#include "frame/ownwindow.h"

struct OwnMorph {
    OwnExtremes first, second;
    bool twice;     // the second is taken of what the first gives
    int64_t reach;  // of each, in pixels to all sides
};

// The filter on plain images of bits, eight of them in a byte all the way.
OwnWindowResult ownMorphBits(const OwnWindow &window, const OwnMorph &morph);
