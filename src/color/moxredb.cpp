// Fewer levels or fewer bits, with or without dithering: the checks, the channels, and the noise tables.
#include <climits>
#include <cstdlib>
#include <initializer_list>

#include "color/owndith.h"
#include "frame/ownimage.h"

namespace {

// The generator starts anew with each call, so that equal calls give equal images.
constexpr unsigned NOISE_SEED = 1999;

bool isDither(int type) {
    for (const int known : {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
        if (type == known) return true;
    }
    return false;
}

// Signed samples have no gray scale of their own, but for the widest.
bool isSignedShort(const MoxImage *image) {
    return image->depth != MOX_DEPTH_32S && (image->depth & MOX_DEPTH_SIGN) != 0;
}

// As many as the destination has values, or as an int holds.
int mostLevels(const MoxImage *dst) {
    const int bits = ownDepthBits(dst->depth);
    return bits < 31 ? 1 << bits : INT_MAX;
}

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, int noise, int ditherType, int levels) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    const struct {
        bool failed;
        const char *message;
    } tests[] = {
        {src->depth == MOX_DEPTH_1U, "( (srcImage->depth == MOX_DEPTH_1U ))"},
        {ownDepthBits(src->depth) < ownDepthBits(dst->depth),
         "((srcImage->depth& MOX_DEPTH_MASK) < (dstImage->depth& MOX_DEPTH_MASK))"},
        {src->dataOrder != dst->dataOrder, "(srcImage->dataOrder!=dstImage->dataOrder)"},
        {noise < 0 || noise > 100, "(( noise < 0 ) || ( noise > 100 ))"},
        {src->alphaChannel != dst->alphaChannel, "(srcImage->alphaChannel!=dstImage->alphaChannel)"},
        {src->nChannels < dst->nChannels, "(srcImage->nChannels < dstImage->nChannels)"},
        {!isDither(ditherType),
         "ditherType != MOX_DITHER_NONE && ditherType != MOX_DITHER_FS && ditherType != MOX_DITHER_JJH && "
         "ditherType != MOX_DITHER_STUCKEY && ditherType != MOX_DITHER_BAYER"},
        {isSignedShort(src), "!( ( srcImage->depth == MOX_DEPTH_32S ) || ((srcImage->depth & MOX_DEPTH_SIGN)==0))"},
        {isSignedShort(dst), "!( ( dstImage->depth == MOX_DEPTH_32S ) || ((dstImage->depth & MOX_DEPTH_SIGN)==0))"},
        {src->depth == MOX_DEPTH_32F || dst->depth == MOX_DEPTH_32F, "This function does not support depth 32F"},
        {src == dst, "This function isn`t in-plase function"},
        {levels < 2 || levels > mostLevels(dst), "You incorrectly have set an amount of levels"},
        {dst->depth == MOX_DEPTH_1U && src->nChannels > 1 && !ownHasCoi(src) && !ownHasCoi(dst),
         " Depth 1u is for Gray, only"},
    };
    for (const auto &test : tests) {
        if (!test.failed) continue;
        ownReport(caller, MOX_StatusBadArgument, test.message);
        return false;
    }
    return true;
}

// A channel of interest of one image is that of the other as well, unless that names its own or has but one channel.
// False where it has no such channel.
bool chooseChannels(OwnReduceImages *images) {
    const MoxImage *src = images->src, *dst = images->dst;
    const bool hasSrc = ownHasCoi(src), hasDst = ownHasCoi(dst);
    if (!hasSrc && !hasDst) {
        images->channels = ownChannels(dst);
        return images->channels > 0;
    }
    images->channels = 1;
    images->srcFirst = ownFirstChannel(hasSrc ? src : dst);
    images->dstFirst = hasDst ? ownFirstChannel(dst) : dst->nChannels > 1 ? images->srcFirst : 0;
    return images->dstFirst < dst->nChannels;
}

// The smallest of the regions and the mask; false where they have nothing in common.
bool limitSize(OwnReduceImages *images) {
    images->width = images->height = INT_MAX;
    for (const MoxImage *image : {images->src, images->dst, images->mask}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        if (rect.width < images->width) images->width = rect.width;
        if (rect.height < images->height) images->height = rect.height;
    }
    return images->width > 0 && images->height > 0;
}

void setReduction(OwnReduction *reduction, const MoxImage *src, const MoxImage *dst) {
    const int bits = ownDepthBits(src->depth);
    reduction->size = ownSampleSize(ownDepthBytes(src->depth));
    reduction->dstBytes = ownDepthBytes(dst->depth);
    reduction->dropped = bits - ownDepthBits(dst->depth);
    reduction->keepsAll = reduction->levels == mostLevels(dst);
    reduction->full = bits == 8 ? 255.0 : bits == 16 ? 65535.0 : 4294967295.0;
    reduction->step = reduction->full / reduction->levels;
}

// Nothing is reported where memory runs out; the status word tells.
void runReduction(const OwnCaller &caller, const OwnReduceImages &images, const OwnReduction &reduction) {
    switch (ownRunReduction(images, reduction)) {
        case OWN_REDUCE_NO_MEMORY:
            moxSetErrStatus(MOX_StatusNoMemory);
            return;
        case OWN_REDUCE_NO_SRC_TILE:
            ownReport(caller, MOX_StatusBadArgument, "(srcImage->tileInfo->tileData == 0)");
            return;
        case OWN_REDUCE_NO_DST_TILE:
            ownReport(caller, MOX_StatusBadArgument, "(dstImage->tileInfo->tileData == 0)");
            return;
        default:
            return;
    }
}

// All thresholds are drawn before all indices.
void fillNoise(const OwnReduction &reduction, float *thresholds, uint16_t *indices) {
    const double noise = reduction.noise;
    for (int i = 0; i < OWN_NOISE_ENTRIES; ++i) {
        const double entry = std::rand() % 1024 * 0.0009765625 * 2.0 * noise;
        const bool ordered = reduction.ditherType == MOX_DITHER_BAYER;
        thresholds[i] = static_cast<float>(ordered ? entry : (0.5 - noise + entry) * reduction.step);
    }
    for (int i = 0; i < OWN_NOISE_ENTRIES; ++i)
        indices[i] = static_cast<uint16_t>(std::rand() % 1024);
}

void runWithNoise(const OwnCaller &caller, const OwnReduceImages &images, OwnReduction *reduction) {
    auto *thresholds = moxsMalloc(OWN_NOISE_ENTRIES);
    auto *indices = moxwMalloc(OWN_NOISE_ENTRIES);
    if (thresholds && indices) {
        reduction->thresholds = thresholds;
        reduction->indices = reinterpret_cast<const uint16_t *>(indices);
        fillNoise(*reduction, thresholds, reinterpret_cast<uint16_t *>(indices));
        runReduction(caller, images, *reduction);
    } else {
        moxSetErrStatus(MOX_StatusNoMemory);
    }
    moxFree(indices);
    moxFree(thresholds);
}

}  // namespace

void MOX_CALL moxReduceBits(MoxImage *srcImage, MoxImage *dstImage, int noise, int ditherType, int levels) {
    const OwnCaller caller = OWN_CALLER("moxReduceBits");
    if (!check(caller, srcImage, dstImage, noise, ditherType, levels)) return;
    std::srand(NOISE_SEED);
    OwnReduceImages images = {};
    images.src = srcImage;
    images.dst = dstImage;
    if (!chooseChannels(&images)) return;

    const OwnCommonMask mask(caller, srcImage, dstImage);
    if (mask.lacksMemory()) moxSetErrStatus(MOX_StatusNoMemory);
    if (mask.lacksMemory() || mask.endsCall()) return;
    images.mask = mask.image();
    if (limitSize(&images)) {
        OwnReduction reduction = {};
        reduction.ditherType = ditherType;
        reduction.levels = levels;
        reduction.noise = noise * 0.01;
        setReduction(&reduction, srcImage, dstImage);
        if (noise != 0 && ditherType != MOX_DITHER_NONE) {
            runWithNoise(caller, images, &reduction);
        } else {
            runReduction(caller, images, reduction);
        }
    }
}
