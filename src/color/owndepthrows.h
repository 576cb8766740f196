// Row kernels of changes of depth and of thresholds.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"
#include "frame/ownmove.h"

// The depths of whole numbers, in the order of their indices, of which 8U is the first.
enum { OWN_WHOLE_DEPTHS = OWN_32S - OWN_8U + 1 };
constexpr int ownWholeIndex(int depthIndex) {
    return depthIndex - OWN_8U;
}

struct OwnDepthRows {
    // The nearest number that the second depth has.
    OwnMixedForms convert[OWN_WHOLE_DEPTHS][OWN_WHOLE_DEPTHS];
    // The same place in another range; value and bias are the sign bits of the source's and the destination's samples.
    OwnMixedForms scale[OWN_SAMPLE_SIZES][OWN_SAMPLE_SIZES];
};

struct OwnThresholdRows {
    // All bits set where a is at or above value, else none; then the bits of bias change.
    OwnMixedForms samples[OWN_WHOLE_DEPTHS][OWN_SAMPLE_SIZES];
    OwnMixedForms bits[OWN_WHOLE_DEPTHS];
    // From bits: value where one is set, bias where it is not.
    OwnMixedForms fromBits[OWN_SAMPLE_SIZES];
};

// The constants of scaling to and from floats, at OwnConstant::table.
struct OwnRealScale {
    double step, offset;  // to floats: a x step + offset; from floats: (a - low) x step + offset
    float low, high;      // between which floats are clamped

    // Where upper is not 0, the floats that all bytes become are also sums of two products of floats, each of a byte
    // and a part of the step. Setting it takes as long as some hundred samples.
    float upper, lower;
};

struct OwnRealRows {
    OwnMixedForms toReal[OWN_WHOLE_DEPTHS];
    OwnMixedForms fromReal[OWN_WHOLE_DEPTHS];
    void (*findParts)(OwnRealScale *scale);
};

const OwnDepthRows &ownDepthRows();
const OwnThresholdRows &ownThresholdRows();
const OwnRealRows &ownRealRows();
