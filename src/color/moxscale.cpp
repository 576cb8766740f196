// The same place in the range of another depth.
#include "color/owndepth.h"

namespace {

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    const OwnDepthTest tests[] = {
        {src->depth == dst->depth, "(srcImage->depth == dstImage->depth)"},
        {src->depth == MOX_DEPTH_1U, "(srcImage->depth == 1)"},
        {src->depth == MOX_DEPTH_32F, "(srcImage->depth == 32)"},
        {dst->depth == MOX_DEPTH_1U, "(dstImage->depth == 1)"},
        {dst->depth == MOX_DEPTH_32F, "(dstImage->depth == 32)"},
        {ownOrdersDiffer(src, dst), OWN_ORDERS_DIFFER},
        {src->origin != dst->origin, "(srcImage->origin != dstImage->origin)"},
    };
    if (!ownPassDepthTests(caller, tests) || ownLacksChannels(src, dst)) return false;
    const OwnDepthTest channels[] = {{ownChannels(src) != ownChannels(dst), "(srcChannels != dstChannels)"}};
    return ownPassDepthTests(caller, channels);
}

}  // namespace

void MOX_CALL moxScale(MoxImage *srcImage, MoxImage *dstImage) {
    const OwnCaller caller = OWN_CALLER("moxScale");
    if (!check(caller, srcImage, dstImage)) return;
    const OwnSampleSize from = ownSampleSize(ownDepthBytes(srcImage->depth));
    const OwnSampleSize to = ownSampleSize(ownDepthBytes(dstImage->depth));
    ownConvertRegions(caller, srcImage, dstImage, ownDepthRows().scale[from][to],
                      {ownSignBit(srcImage->depth), ownSignBit(dstImage->depth), 0});
}
