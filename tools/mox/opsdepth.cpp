// Changes of depth, and thresholds.
#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

unsigned depthOf(const Call *call) {
    return call->arguments[0].depth;
}

// The picture at a depth. Bits are of one channel.
MoxImage *resultAt(Call *call, unsigned depth) {
    return call->another(depth, depth == MOX_DEPTH_1U ? 1 : call->image->nChannels);
}

// What becomes bits is gray, unless one of its channels is named.
void makeGray(Call *call) {
    const MoxROI *roi = call->image->roi;
    if (call->image->nChannels > 1 && !(roi && roi->coi > 0)) call->image = call->another(call->image->depth, 1);
}

void convert(Call *call) {
    moxConvert(call->image, resultAt(call, depthOf(call)));
}

void scale(Call *call) {
    moxScale(call->image, resultAt(call, depthOf(call)));
}

void scaleFP(Call *call) {
    moxScaleFP(call->image, resultAt(call, depthOf(call)), call->arguments[1].real, call->arguments[2].real);
}

void threshold(Call *call) {
    const bool toBits = call->arguments[1].integer != 0;
    if (toBits) makeGray(call);
    MoxImage *result = toBits ? resultAt(call, MOX_DEPTH_1U) : call->image;
    moxThreshold(call->image, result, call->arguments[0].integer);
}

void bitonalToGray(Call *call) {
    moxBitonalToGray(call->image, resultAt(call, depthOf(call)), call->arguments[1].integer,
                     call->arguments[2].integer);
}

struct Levels {
    int black, middle, white;
};

Levels levelsOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return {0, 128, 255};
        case MOX_DEPTH_8S:
            return {-128, 0, 127};
        case MOX_DEPTH_16U:
            return {0, 32768, 65535};
        default:
            return {-32768, 0, 32767};
    }
}

// The same picture at another depth, by whichever function goes from the one to the other. Bits and floats are not
// neighbours: there is a step between them.
void changeDepth(Call *call, unsigned depth) {
    const unsigned from = call->image->depth;
    if (from == depth) return;
    if ((from == MOX_DEPTH_1U && depth == MOX_DEPTH_32F) || (from == MOX_DEPTH_32F && depth == MOX_DEPTH_1U))
        changeDepth(call, MOX_DEPTH_8U);
    if (depth == MOX_DEPTH_1U) makeGray(call);
    MoxImage *const image = call->image;
    MoxImage *const result = resultAt(call, depth);
    if (image->depth == MOX_DEPTH_1U) {
        moxBitonalToGray(image, result, levelsOf(depth).black, levelsOf(depth).white);
    } else if (depth == MOX_DEPTH_1U) {
        moxThreshold(image, result, levelsOf(image->depth).middle);
    } else if (image->depth == MOX_DEPTH_32F || depth == MOX_DEPTH_32F) {
        moxScaleFP(image, result, 0, 1);
    } else {
        moxScale(image, result);
    }
    call->image = result;
}

void depth(Call *call) {
    if (depthOf(call) == MOX_DEPTH_32S || call->image->depth == MOX_DEPTH_32S)
        fail(exitUsage, "depth: 32s has numbers, not shades; take convert or scale");
    changeDepth(call, depthOf(call));
}

}  // namespace

const Family &depthFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Depths, and thresholds",
        {
            {"depth",
             {{K::depth, "DEPTH"}},
             "the same picture at DEPTH, any but 32s: black stays black, white stays white",
             depth,
             {{"To bits and back: the lighter half is white.", "depth 1u depth 8u"}}},
            {"convert",
             {{K::depth, "DEPTH"}},
             "the same numbers at DEPTH, clamped to its range; to 1u, of one channel: white above 0",
             convert,
             {{"Light is doubled where there is room for it; then what goes beyond white is clamped.",
               "--depth 32s multiply-s 2 subtract-s 100 convert 8u"}}},
            {"scale",
             {{K::depth, "DEPTH"}},
             "the same places in the range of DEPTH: 8u, 8s, 16u, 16s or 32s, and another one than now",
             scale,
             {{"Around middle gray, where signed samples are 0, dark and light fold onto one another.",
               "scale 8s abs scale 8u"}}},
            {"scale-fp",
             {{K::depth, "DEPTH"}, {K::real, "MIN"}, {K::real, "MAX"}},
             "whole numbers to 32f or back, so that their range is that from MIN to MAX",
             scaleFP,
             {{"Squares of numbers from 0 to 1: a gamma of two.", "scale-fp 32f 0 1 square scale-fp 8u 0 1"},
              {"The darkest fifth alone, over the whole scale.", "scale-fp 32f 0 1 scale-fp 8u 0 0.2"}}},
            {"threshold",
             {{K::integer, "VALUE"}, {K::keyword, "bits"}},
             "white where A >= VALUE, black where it is below; bits leaves depth 1u, the picture gray first",
             threshold,
             {{"Each channel by itself: eight colours.", "threshold 128"},
              {"To bits.", "threshold 128 bits"},
              {"Where red is strong, and all else as it is.", "--coi 1 threshold 160"}}},
            {"bitonal-to-gray",
             {{K::depth, "DEPTH"}, {K::integer, "ZERO"}, {K::integer, "ONE"}},
             "bits to two values at DEPTH: ZERO and ONE",
             bitonalToGray,
             {{"Dots in two grays.", "reduce-bits 1u 2 fs 0 bitonal-to-gray 8u 60 210"}}},
        }};
    return family;
}
