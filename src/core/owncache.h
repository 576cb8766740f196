// From how much memory on an operation does better to store past the caches.
#pragma once

#include <cstdint>

// Bytes that an operation passes over, all its images counted; and where it writes only.
struct OwnStreamBounds {
    int64_t bytes;
    int64_t fillBytes;
};
const OwnStreamBounds &ownStreamBounds();

// Finds the bounds; called at attach.
void ownChooseStreamBounds();

// What the processor says of itself, as the instruction CPUID gives it.
struct OwnCpuidAnswer {
    unsigned a, b, c, d;
};
using OwnCpuid = OwnCpuidAnswer (*)(unsigned leaf, unsigned subleaf);

// The size of the largest data cache that such a processor claims, 0 where it does not tell.
int64_t ownLargestCache(OwnCpuid cpuid);

// The bounds for a largest cache of this size.
OwnStreamBounds ownStreamBoundsFor(int64_t cacheBytes);
