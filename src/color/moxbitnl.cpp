// Two values for the bits of an image.
#include "color/owndepth.h"

namespace {

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, int zero, int one) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    const bool is8S = dst->depth == MOX_DEPTH_8S, is16S = dst->depth == MOX_DEPTH_16S;
    const bool is8U = dst->depth == MOX_DEPTH_8U, is16U = dst->depth == MOX_DEPTH_16U;
    const OwnDepthTest tests[] = {
        {src->depth != MOX_DEPTH_1U, "(srcImage->depth != 1)"},
        {src->nChannels != 1, "(srcImage->nChannels != 1)"},
        {dst->depth == MOX_DEPTH_1U, "(dstImage->depth == 1)"},
        {dst->depth == MOX_DEPTH_32F, "(dstImage->depth == 32)"},
        {src->width != dst->width, "(srcImage->width != dstImage->width)"},
        {src->height != dst->height, "(srcImage->height != dstImage->height)"},
        {is8S && zero > 127, "((dstImage->depth == (0x80000000| 8)) && (ZeroScale > 127))"},
        {is8S && zero < -128, "((dstImage->depth == (0x80000000| 8)) && (ZeroScale < -128))"},
        {is8S && one > 127, "((dstImage->depth == (0x80000000| 8)) && (OneScale > 127))"},
        {is8S && one < -128, "((dstImage->depth == (0x80000000| 8)) && (OneScale < -128))"},
        {is16S && zero > 32767, "((dstImage->depth == (0x80000000|16)) && (ZeroScale > 32767))"},
        {is16S && zero < -32768, "((dstImage->depth == (0x80000000|16)) && (ZeroScale < -32768))"},
        {is16S && one > 32767, "((dstImage->depth == (0x80000000|16)) && (OneScale > 32767))"},
        {is16S && one < -32768, "((dstImage->depth == (0x80000000|16)) && (OneScale < -32768))"},
        {is16U && one < 0, "((dstImage->depth == 16) && (OneScale < 0))"},
        {is16U && one > 65535, "((dstImage->depth == 16) && (OneScale > 65535))"},
        {is16U && zero < 0, "((dstImage->depth == 16) && (ZeroScale < 0))"},
        {is16U && zero > 65535, "((dstImage->depth == 16) && (ZeroScale > 65535))"},
        {is8U && one < 0, "((dstImage->depth == 8) && (OneScale < 0))"},
        {is8U && one > 255, "((dstImage->depth == 8) && (OneScale > 255))"},
        {is8U && zero < 0, "((dstImage->depth == 8) && (ZeroScale < 0))"},
        {is8U && zero > 255, "((dstImage->depth == 8) && (ZeroScale > 255))"},
    };
    return ownPassDepthTests(caller, tests);
}

}  // namespace

void MOX_CALL moxBitonalToGray(MoxImage *srcImage, MoxImage *dstImage, int ZeroScale, int OneScale) {
    const OwnCaller caller = OWN_CALLER("moxBitonalToGray");
    if (!check(caller, srcImage, dstImage, ZeroScale, OneScale)) return;
    const OwnMixedForms &kernel = ownThresholdRows().fromBits[ownSampleSize(ownDepthBytes(dstImage->depth))];
    ownConvertRegions(caller, srcImage, dstImage, kernel,
                      {static_cast<uint32_t>(OneScale), static_cast<uint32_t>(ZeroScale), 0});
}
