// Rows of the test image.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// sin(p) for p = ((x - cx)^2 + dy2) 2 pi / (4 height), for n pixels from column 0 on, as samples of a depth. Angles lie
// below OWN_TURNS_END.
struct OwnRing {
    double cx, dy2, height4;
};
using OwnRingRow = void (*)(const OwnRing &ring, double *sines, size_t n);

// What a sine becomes, for n of them.
using OwnRingStore = void (*)(const double *sines, void *row, size_t n);

struct OwnRingRows {
    OwnRingRow sines;
    OwnRingStore store[OWN_DEPTHS];
};
