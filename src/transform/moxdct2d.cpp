// The two-dimensional cosine transform.
#include "frame/ownimage.h"
#include "transform/owndct.h"
#include "transform/ownspectrum.h"

namespace {

bool liesInside(const MoxImage *image) {
    const MoxROI *roi = image->roi;
    return !roi ||
           (roi->xOffset >= 0 && roi->yOffset >= 0 && roi->width > 0 && roi->height > 0 &&
            int64_t{roi->xOffset} + roi->width <= image->width && int64_t{roi->yOffset} + roi->height <= image->height);
}

// The transform is as large as the source's region, and starts at the corner of the destination's.
bool haveRoom(const MoxImage *src, const MoxImage *dst) {
    return !src->roi || (int64_t{dst->roi->xOffset} + src->roi->width <= dst->width &&
                         int64_t{dst->roi->yOffset} + src->roi->height <= dst->height);
}

bool areCompatible(const MoxImage *src, const MoxImage *dst) {
    return src->nChannels == dst->nChannels && !src->roi == !dst->roi && src->width == dst->width &&
           src->height == dst->height && liesInside(src) && liesInside(dst) && src->dataOrder == dst->dataOrder &&
           haveRoom(src, dst);
}

bool hasGoodAlpha(const MoxImage *image) {
    return image->alphaChannel == 0 || image->alphaChannel == image->nChannels;
}

const char *findFault(const MoxImage *src, const MoxImage *dst) {
    if (src == dst) return "\nFunction does not support inplace operation";
    if (src->depth == MOX_DEPTH_1U || dst->depth == MOX_DEPTH_1U) return "\nImages with 1u depth are not processed";
    if (!hasGoodAlpha(src) || !hasGoodAlpha(dst)) return "\nAlpha channel may be 0 or number of channels";
    return areCompatible(src, dst) ? nullptr : "Images are not compatible";
}

// Refuses what no image in memory can be. Fields that a transform does not use may hold anything.
bool accept(const OwnCaller &caller, const MoxImage *image) {
    MoxImage used = *image;
    used.origin = MOX_ORIGIN_TL;
    used.align = 8;
    used.imageSize = 1;
    if (used.imageData) used.tileInfo = nullptr;
    return ownAcceptPlain(caller, &used);
}

// False where memory ran out: the channel is as it was.
bool transformChannel(const MoxImage *src, int from, const MoxImage *dst, int to, bool inverse) {
    OwnDct2D job = {ownPlane(src, from), ownPlane(dst, to), 0, 0, inverse};
    job.width = job.src.width;
    job.height = job.src.height;
    if (!ownTakesFixedDct(job)) return ownFloatDct2D(job);
    ownFixedDct2D(job);
    return true;
}

}  // namespace

void MOX_CALL moxDCT2D(MoxImage *srcImage, MoxImage *dstImage, int flags) {
    const OwnCaller caller = OWN_CALLER("moxDCT2D");
    if ((flags & MOX_DCT_FREE) != 0) {
        ownFreeDctCaches(ownGetContext());
        return;
    }
    const bool forward = (flags & MOX_DCT_FORWARD) != 0, inverse = (flags & MOX_DCT_INVERSE) != 0;
    if (forward == inverse) {
        ownReport(caller, MOX_StatusBadArgument, "\n Bad value of the transform flag");
        return;
    }
    if (!srcImage) ownReport(caller, MOX_StatusBadArgument, "src==0");
    if (!dstImage) ownReport(caller, MOX_StatusBadArgument, "dst==0");
    if (!srcImage || !dstImage) return;
    if (const char *message = findFault(srcImage, dstImage)) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return;
    }
    if (!accept(caller, srcImage) || !accept(caller, dstImage)) return;
    // The channel of interest, where both images name one.
    if (ownHasCoi(srcImage) && ownHasCoi(dstImage)) {
        transformChannel(srcImage, ownFirstChannel(srcImage), dstImage, ownFirstChannel(dstImage), inverse);
        return;
    }
    const int channels = srcImage->nChannels - (srcImage->alphaChannel != 0 || dstImage->alphaChannel != 0 ? 1 : 0);
    for (int channel = 0; channel < channels; ++channel) {
        if (!transformChannel(srcImage, channel, dstImage, channel, inverse)) return;
    }
}
