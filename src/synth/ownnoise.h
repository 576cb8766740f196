// Noise: the generator's state, what is added, and the kernels that add it.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Words that the generator is asked for at a time: threes, since that many lags change places, and whole vectors.
constexpr int OWN_NOISE_WORDS = 768;

struct OwnNoiseGenerator {
    uint32_t x;           // congruential
    uint32_t s1, s2, s3;  // lags of the subtract-with-borrow part
    uint32_t carry;
};

// The noise of one call. Kernels find it by OwnConstant::table and take from it what they add, in the order of samples:
// each batch of words becomes a batch of numbers, of which those that are left wait for the next row, plane or tile.
struct OwnNoise {
    OwnNoiseGenerator generator;
    // Of uniform noise at integer depths the lower bound and how far the upper one lies above it.
    int32_t low;
    uint32_t span;
    // What a number is multiplied with, and what is added to each sample besides: deviation and mean, or at 32F the
    // span over 2^32 and the lower bound.
    double scale, bias;

    int next, count;  // of the numbers
    bool hasWords;    // those of the next batch, where they are drawn beforehand
    alignas(64) uint32_t words[OWN_NOISE_WORDS];
    union alignas(64) {  // the numbers, by the depth
        int16_t shorts[OWN_NOISE_WORDS];
        int32_t ints[OWN_NOISE_WORDS];
        double reals[OWN_NOISE_WORDS];
    };
};

// A sample of the destination is that of the source and the next number. What lanes leave out takes none.
struct OwnNoiseRows {
    OwnRowForms uniform[OWN_DEPTHS];
    OwnRowForms gaussian[OWN_DEPTHS];
};
