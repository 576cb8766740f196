// The same numbers at another depth, in another order of channels, or upside down.
#include "color/owndepth.h"

namespace {

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    const bool picks = dst->depth == MOX_DEPTH_1U && src->nChannels > 1;
    const OwnDepthTest tests[] = {
        {src->depth == MOX_DEPTH_32F, "(srcImage->depth == 32)"},
        {dst->depth == MOX_DEPTH_32F, "(dstImage->depth == 32)"},
        {src->height != dst->height, "(srcImage->height != dstImage->height)"},
        {src->width != dst->width, "(srcImage->width != dstImage->width)"},
        {picks && !src->roi, "(srcImage->roi == 0)"},
        {picks && src->roi && src->roi->coi == 0, "(srcImage->roi->coi == 0)"},
        {!picks && src->nChannels != dst->nChannels, "srcImage->nChannels != dstImage->nChannels"},
        {src->depth == MOX_DEPTH_1U && src->depth != dst->depth,
         "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))"},
    };
    return ownPassDepthTests(caller, tests) && ownAcceptPixels(caller, src) && ownAcceptPixels(caller, dst);
}

const OwnMixedForms &pickKernel(const MoxImage *src, const MoxImage *dst) {
    const OwnDepthRows &rows = ownDepthRows();
    const int from = ownWholeIndex(ownDepthIndex(src->depth)), to = ownWholeIndex(ownDepthIndex(dst->depth));
    // Of bits whole bytes are copied.
    if (src->depth == MOX_DEPTH_1U) return rows.convert[0][0];
    return dst->depth == MOX_DEPTH_1U ? ownThresholdRows().bits[from] : rows.convert[from][to];
}

}  // namespace

void MOX_CALL moxConvert(MoxImage *srcImage, MoxImage *dstImage) {
    const OwnCaller caller = OWN_CALLER("moxConvert");
    if (srcImage == dstImage || !check(caller, srcImage, dstImage)) return;
    OwnConversion conversion = {};
    conversion.src = srcImage;
    conversion.dst = dstImage;
    conversion.channels = dstImage->nChannels;
    if (srcImage->nChannels != dstImage->nChannels) conversion.first[0] = ownFirstChannel(srcImage);
    conversion.whole = true;
    conversion.flips = srcImage->origin != dstImage->origin;
    conversion.asBytes = srcImage->depth == MOX_DEPTH_1U;
    // A bit is set from 1 on.
    ownRunConversion(caller, conversion, pickKernel(srcImage, dstImage), {1, 0, 0});
}
