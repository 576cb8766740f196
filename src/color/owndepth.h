// What the modules of depths and thresholds share.
#pragma once

#include "color/owndepthrows.h"
#include "frame/ownmixed.h"

// The bit that the samples of a signed depth have more than those of an unsigned one.
inline uint32_t ownSignBit(unsigned depth) {
    return (depth & MOX_DEPTH_SIGN) != 0 ? uint32_t{1} << (ownDepthBits(depth) - 1) : 0;
}

// Headers, then a table of tests that are all -5: false after the report of the first that fails.
struct OwnDepthTest {
    bool failed;
    const char *message;
};
bool ownPassDepthTests(const OwnCaller &caller, const OwnDepthTest *tests, int count);
template <int count>
bool ownPassDepthTests(const OwnCaller &caller, const OwnDepthTest (&tests)[count]) {
    return ownPassDepthTests(caller, tests, count);
}

// What both scaling functions and the threshold ask of the orders of two images.
inline bool ownOrdersDiffer(const MoxImage *src, const MoxImage *dst) {
    return src->dataOrder != dst->dataOrder && src->nChannels != 1 && dst->nChannels != 1;
}
#define OWN_ORDERS_DIFFER \
    "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"

// An image whose only channel is alpha and that names none has nothing to convert.
inline bool ownLacksChannels(const MoxImage *src, const MoxImage *dst) {
    return ownChannels(src) == 0 || ownChannels(dst) == 0;
}

// Runs a conversion, and reports a tile that was not delivered.
void ownRunConversion(const OwnCaller &caller, const OwnConversion &conversion, const OwnMixedForms &kernel,
                      const OwnConstant &constant);

// The same over the regions of two images under both their masks.
void ownConvertRegions(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const OwnMixedForms &kernel,
                       const OwnConstant &constant);
