// The row kernels of measures.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// What a norm has gathered. Largest values and sums of integers are exact; sums of 32-bit samples that no integer holds
// are kept in lanes, so that every level adds them in one order: sample i of a row to lane i % 16, and the lanes to the
// total at the row's end.
struct OwnNormSum {
    uint64_t whole;
    double real;
    double lanes[16];
};

// Takes in n samples, of which the first belongs to lane 0. b is null for the norm of one image.
using OwnNormRow = void (*)(const void *a, const void *b, size_t n, OwnNormSum *sum);

// The smallest and the largest of floats, NaN left out; zeros of either sign are remembered.
struct OwnExtrema {
    float least, largest;
    bool negativeZero, positiveZero;
};

// The sums of i^m p over the samples p of a stretch, i from 0 on, for m of 0 to 3: whole for samples of up to 16 bits,
// real for those of 32. A row takes at most so many samples at a time.
struct OwnMomentSums {
    int64_t whole[4];
    double real[4];
};
struct OwnMomentRow {
    void (*sum)(const void *a, size_t n, OwnMomentSums *sums);
    size_t most;
};

enum OwnNormKind { OWN_NORM_C, OWN_NORM_L1, OWN_NORM_L2, OWN_NORM_KINDS };

struct OwnNormRows {
    OwnNormRow one[OWN_NORM_KINDS][OWN_DEPTHS];
    OwnNormRow difference[OWN_NORM_KINDS][OWN_DEPTHS];
    void (*endRow)(OwnNormSum *sum);  // adds the lanes to the total
    void (*extrema)(const void *a, size_t n, OwnExtrema *extrema);
};

const OwnNormRows &ownNormRows();

struct OwnMomentRows {
    OwnMomentRow sums[OWN_DEPTHS];  // not of bits
};

const OwnMomentRows &ownMomentRows();

// d = table[a], of bytes and of 16-bit samples; the table is the constant's. Of pixels each channel has a table of its
// own, behind the one before, and the constant's value says how many: rows begin with the first of 2 to 4.
struct OwnLookRows {
    OwnRowForms bytes, words, bytesOfPixels, wordsOfPixels;
};

const OwnLookRows &ownLookRows();
