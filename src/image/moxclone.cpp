// A copy of an image with pixels of its own.
#include <cstring>

#include "frame/ownimage.h"

// Equal strides: all bytes, padding included. A stride of the source's own: row by row, into the clone's.
static void copyPixels(const MoxImage *src, MoxImage *clone) {
    if (src->widthStep == clone->widthStep && src->imageSize == clone->imageSize) {
        std::memcpy(clone->imageData, src->imageData, static_cast<size_t>(src->imageSize));
        return;
    }
    const bool planar = src->dataOrder == MOX_DATA_ORDER_PLANE;
    const int64_t rows = static_cast<int64_t>(src->height) * (planar ? src->nChannels : 1);
    const int64_t samples = static_cast<int64_t>(src->width) * (planar ? 1 : src->nChannels);
    const auto rowBytes = static_cast<size_t>((samples * ownDepthBits(src->depth) + 7) / 8);
    for (int64_t y = 0; y < rows; ++y) {
        std::memcpy(clone->imageData + y * clone->widthStep, src->imageData + y * src->widthStep, rowBytes);
    }
}

MoxImage *MOX_CALL moxCloneImage(MoxImage *image) {
    const OwnCaller caller = OWN_CALLER("moxCloneImage");
    if (!ownAcceptImage(caller, image)) return nullptr;
    // Of a tiled image no pixel is read.
    if (!image->tileInfo && !ownAcceptPixels(caller, image)) return nullptr;

    MoxImage *clone = moxCreateImageHeader(
        image->nChannels, image->alphaChannel, static_cast<int>(image->depth), image->colorModel, image->channelSeq,
        image->dataOrder, image->origin, image->align, image->width, image->height, nullptr, nullptr, nullptr, nullptr);
    if (!clone) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate header for clone image");
        return nullptr;
    }
    std::memcpy(clone, image, sizeof(MoxImage));
    clone->headerId = 0;
    clone->imageData = clone->imageDataBase = nullptr;
    clone->roi = nullptr;
    clone->maskROI = nullptr;
    clone->imageId = nullptr;
    clone->tileInfo = nullptr;

    if (const MoxROI *roi = image->roi) {
        clone->roi = moxCreateROI(roi->coi, roi->xOffset, roi->yOffset, roi->width, roi->height);
        if (!clone->roi) {
            ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate roi for clone image");
            moxDeallocate(clone, MOX_FreeHeader);
            return nullptr;
        }
    }
    if (clone->depth == MOX_DEPTH_32F) {
        moxAllocateImageFP(clone, 0, 0);
    } else {
        moxAllocateImage(clone, 0, 0);
    }
    if (!clone->imageData) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate imageData for clone image");
        moxDeallocate(clone, MOX_FreeHeader | MOX_FreeRoi);
        return nullptr;
    }
    if (!image->tileInfo) copyPixels(image, clone);
    return clone;
}
