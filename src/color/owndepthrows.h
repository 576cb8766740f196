// Row kernels of changes of depth and of thresholds.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"
#include "frame/ownmove.h"

// The depths of whole numbers, by the indices of their order: OWN_8U is the first.
enum { OWN_WHOLE_DEPTHS = OWN_32S - OWN_8U + 1 };
constexpr int ownWholeIndex(int depthIndex) {
    return depthIndex - OWN_8U;
}

// The constants of scaling to and from floats, for OwnConstant::table: to floats a x step + offset; from floats
// (a - low) x step + offset for a clamped to low..high.
struct OwnRealScale {
    double step, offset;
    float low, high;
};

struct OwnDepthRows {
    // From and to whole numbers.
    OwnMixedForms convert[OWN_WHOLE_DEPTHS][OWN_WHOLE_DEPTHS];
    // The bits value is taken off by exclusive or, and put on again as those of bias.
    OwnMixedForms scale[OWN_SAMPLE_SIZES][OWN_SAMPLE_SIZES];
    // All bits set where a is at or above value, else none; of samples less those of bias by exclusive or.
    OwnMixedForms threshold[OWN_WHOLE_DEPTHS][OWN_SAMPLE_SIZES];
    OwnMixedForms thresholdBits[OWN_WHOLE_DEPTHS];
    // value where a bit is set, bias where it is not.
    OwnMixedForms fromBits[OWN_SAMPLE_SIZES];
    OwnMixedForms toReal[OWN_WHOLE_DEPTHS];
    OwnMixedForms fromReal[OWN_WHOLE_DEPTHS];
    OwnMixedForms copy;  // of bytes
};

const OwnDepthRows &ownDepthRows();
