// Two-dimensional Fourier transforms: real images to packed spectra, and back.
#include <algorithm>

#include "frame/ownimage.h"
#include "transform/ownfft2d.h"
#include "transform/ownspectrum.h"

namespace {

bool hasBit(int flags, int bit) {
    return (flags & bit) != 0;
}

// What is wrong with one image, or null.
const char *findFault(const MoxImage *image, bool source) {
    const auto says = [source](const char *ofSource, const char *ofDestination) {
        return source ? ofSource : ofDestination;
    };
    if (image->alphaChannel > 0 && image->alphaChannel != image->nChannels)
        return says("srcImage->alphaChannel > 0 && srcImage->alphaChannel != srcImage->nChannels",
                    "dstImage->alphaChannel > 0 && dstImage->alphaChannel != dstImage->nChannels");
    if (image->alphaChannel == 1 && !image->roi)
        return says("srcImage->alphaChannel == 1 && srcImage->roi == 0",
                    "dstImage->alphaChannel == 1 && dstImage->roi == 0");
    if (image->alphaChannel == 1 && image->roi->coi != 1)
        return says("srcImage->alphaChannel == 1 && srcImage->roi->coi != 1",
                    "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1");
    if (image->depth == MOX_DEPTH_1U) return says("srcImage->depth == 1", "dstImage->depth == 1");
    if (!image->imageData) return says("srcImage->imageData == 0", "dstImage->imageData == 0");
    return nullptr;
}

// Channels that do not agree, or null. Two channels of interest always do.
const char *findChannelFault(const MoxImage *src, const MoxImage *dst) {
    const bool srcCoi = ownHasCoi(src), dstCoi = ownHasCoi(dst);
    if ((srcCoi && dstCoi) || ownChannels(src) == ownChannels(dst)) return nullptr;
    if (srcCoi) return "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImage->roi->coi > 0)";
    if (dstCoi) return "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->roi->coi > 0)";
    return "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
           "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
}

MoxStatus refuse(const OwnCaller &caller, MoxStatus status, const char *message) {
    ownReport(caller, status, message);
    return status;
}

MoxStatus checkImage(const OwnCaller &caller, const MoxImage *image, bool source) {
    if (!image) return refuse(caller, MOX_StatusBadArgument, source ? "srcImage==0" : "dstImage==0");
    if (const MoxStatus fault = ownFindHeaderFault(image)) return refuse(caller, fault, "Incorrect Image");
    const char *message = findFault(image, source);
    return message ? refuse(caller, MOX_StatusBadArgument, message) : MOX_StatusNoError;
}

const char *findFlagFault(int flags) {
    const bool forward = hasBit(flags, MOX_FFT_FORWARD), inverse = hasBit(flags, MOX_FFT_INVERSE);
    if (!forward && !inverse) return "(flags & 1) == 0 && (flags & 2 ) == 0";
    if (forward && inverse) return "(flags & 1) != 0 && (flags & 2 ) != 0";
    if (hasBit(flags, MOX_FFT_USE_FLOAT) && hasBit(flags, MOX_FFT_USE_INTEGER))
        return "(flags & 32) != 0 && (flags & 16 ) != 0";
    return nullptr;
}

// Small images of integers are transformed in integers, unless the flags say otherwise.
bool takesFloats(const MoxImage *src, const MoxImage *dst, int flags, int64_t width, int64_t height) {
    if (src->depth == MOX_DEPTH_32F || dst->depth == MOX_DEPTH_32F) return true;
    if (hasBit(flags, MOX_FFT_USE_INTEGER)) return false;
    if (hasBit(flags, MOX_FFT_USE_FLOAT) || src->depth == MOX_DEPTH_32S) return true;
    return width * height > 128;
}

// Of the region, clipped; the header need not be one in memory.
bool isEmpty(const MoxImage *image) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    return rect.width < 1 || rect.height < 1;
}

MoxStatus run(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, int flags, bool packed) {
    OwnFft2D job = {ownPlane(src, 0), ownPlane(dst, 0), 0, 0, packed, hasBit(flags, MOX_FFT_INVERSE), false};
    job.width = std::min(job.src.width, job.dst.width);
    job.height = std::min(job.src.height, job.dst.height);
    job.scaled = job.inverse && !hasBit(flags, MOX_FFT_NO_SCALE);
    const auto engine = takesFloats(src, dst, flags, job.width, job.height) ? ownFloatFft2D : ownFixedFft2D;
    for (int channel = 0; channel < ownChannels(src); ++channel) {
        job.src = ownPlane(src, ownFirstChannel(src) + channel);
        job.dst = ownPlane(dst, ownFirstChannel(dst) + channel);
        // Tables of other lengths may hold the memory that is wanting.
        if (engine(job)) continue;
        ownFreeFftCaches(ownGetContext());
        if (!engine(job)) return refuse(caller, MOX_StatusNoMemory, "No working memory");
    }
    return MOX_StatusNoError;
}

MoxStatus transform(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, int flags, bool packed) {
    if (hasBit(flags, MOX_FFT_FREE)) {
        ownFreeFftCaches(ownGetContext());
        return MOX_StatusNoError;
    }
    if (const char *message = findFlagFault(flags)) return refuse(caller, MOX_StatusBadArgument, message);
    if (const MoxStatus fault = checkImage(caller, src, true)) return fault;
    if (const MoxStatus fault = checkImage(caller, dst, false)) return fault;
    if (const char *message = findChannelFault(src, dst)) return refuse(caller, MOX_StatusBadArgument, message);
    if (isEmpty(src) || isEmpty(dst)) return refuse(caller, MOX_StatusBadArgument, "Error in input data");
    if (!ownAcceptPlain(caller, src) || !ownAcceptPlain(caller, dst)) return moxGetErrStatus();
    return run(caller, src, dst, flags, packed);
}

}  // namespace

bool ownAcceptPlain(const OwnCaller &caller, const MoxImage *image) {
    const MoxImage *unmasked = image;
    MoxImage copy;
    if (image->maskROI) {
        copy = *image;
        copy.maskROI = nullptr;
        unmasked = &copy;
    }
    if (!ownAcceptImage(caller, unmasked)) return false;
    if (image->imageData) return ownAcceptPixels(caller, image);
    ownReport(caller, MOX_StatusHeaderNoData, "Incorrect Image");
    return false;
}

MoxStatus MOX_CALL moxRealFft2D(MoxImage *srcImage, MoxImage *dstImage, int flags) {
    return transform(OWN_CALLER("moxRealFft2D"), srcImage, dstImage, flags, false);
}

MoxStatus MOX_CALL moxCcsFft2D(MoxImage *srcImage, MoxImage *dstImage, int flags) {
    return transform(OWN_CALLER("moxCcsFft2D"), srcImage, dstImage, flags, true);
}
