// The engines of the two-dimensional Fourier transform.
#pragma once

#include "transform/ownplane.h"

// One channel's transform. Both planes have the size of the transform; they may be the same.
struct OwnFft2D {
    OwnPlane src, dst;
    int width, height;
    bool packed;   // the source is a packed spectrum, the destination real
    bool inverse;  // kernel e^(+2 pi i n k / N)
    bool scaled;   // by 1 / (width x height)
};

// False where memory runs out, the destination untouched.
bool ownFloatFft2D(const OwnFft2D &job);
bool ownFixedFft2D(const OwnFft2D &job);
