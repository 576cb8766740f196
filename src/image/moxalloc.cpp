// Headers, pixels, regions and tile records: made, filled, freed.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "frame/ownimage.h"

namespace {

int64_t roundUp(int64_t value, int64_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

// Whether nChannels, depth, order, align, width and height give sizes that an int holds, and these sizes; 0 for what it
// does not hold.
bool findSizes(const MoxImage *image, int *widthStep, int *imageSize) {
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const int64_t samples = static_cast<int64_t>(image->width) * (planar ? 1 : image->nChannels);
    *widthStep = *imageSize = 0;
    if (samples > INT_MAX * int64_t{8}) return false;
    const int64_t step = roundUp(samples * ownDepthBits(image->depth), int64_t{8} * image->align) / 8;
    if (step > INT_MAX) return false;
    *widthStep = static_cast<int>(step);
    const int64_t plane = step * image->height;
    if (plane > INT_MAX) return false;
    const int64_t size = plane * (planar ? image->nChannels : 1);
    if (size > INT_MAX) return false;
    *imageSize = static_cast<int>(size);
    return true;
}

// The first fault in the fields that a header is created with. The colour strings of an existing header cannot be
// missing.
MoxStatus findFieldFault(const MoxImage *image, bool hasStrings) {
    if (image->height < 1 || image->width < 1) return MOX_StatusHeaderSize;
    if (image->nChannels < 1) return MOX_StatusHeaderChannels;
    if (image->nChannels != 1 && image->depth == MOX_DEPTH_1U) return MOX_StatusHeaderBitChannels;
    if (!hasStrings) return MOX_StatusHeaderColorModel;
    if (const MoxStatus fault = ownFindFormatFault(image)) return fault;
    // A tiled image has no bytes of its own, and so no limit to them.
    int widthStep, imageSize;
    if (!findSizes(image, &widthStep, &imageSize) && !image->tileInfo) return MOX_StatusHeaderSize;
    if (const MoxImage *mask = image->maskROI) {
        if (mask->depth != MOX_DEPTH_1U) return MOX_StatusHeaderDepth + OWN_MASK_FAULT;
        if (mask->tileInfo) return MOX_StatusMaskTiled;
        if (const MoxStatus fault = moxCheckImageHeader(mask)) return fault + OWN_MASK_FAULT;
    }
    return MOX_StatusNoError;
}

// Four characters of a colour string; what stands behind its end is not read.
void copyFourCharacters(char (&to)[4], const char *from) {
    std::memset(to, 0, sizeof to);
    for (int i = 0; i < 4 && from[i] != 0; ++i)
        to[i] = from[i];
}

uint32_t fillWord(unsigned depth, uint32_t value) {
    switch (ownDepthBits(depth)) {
        case 1:
            return (value & 1) != 0 ? 0xFFFFFFFFu : 0;
        case 8:
            return (value & 0xFF) * 0x01010101u;
        case 16:
            return (value & 0xFFFF) * 0x00010001u;
        default:
            return value;
    }
}

// The steps that both allocators share, behind their tests of the depth.
void allocatePixels(const OwnCaller &caller, MoxImage *image, bool doFill, uint32_t fillValue) {
    if (const MoxStatus fault = findFieldFault(image, true)) {
        ownReport(caller, fault, "Incorrect data-ins");
        return;
    }
    int widthStep = 0, imageSize = 0;
    findSizes(image, &widthStep, &imageSize);
    const auto align = static_cast<size_t>(image->align);
    image->imageDataBase = static_cast<char *>(std::malloc(static_cast<size_t>(imageSize) + align - 1));
    if (!image->imageDataBase) {
        ownReport(caller, MOX_StatusNoMemory, "for allocate image data");
        return;
    }
    image->widthStep = widthStep;
    image->imageSize = imageSize;
    const auto address = reinterpret_cast<uintptr_t>(image->imageDataBase);
    image->imageData = image->imageDataBase + ((address + align - 1) / align * align - address);
    if (!doFill) return;
    const uint32_t word = fillWord(image->depth, fillValue);
    for (int64_t i = 0; i < imageSize; i += 4)
        std::memcpy(image->imageData + i, &word, sizeof word);
}

// The tests that come first in both allocators, each with its message.
bool isBare(const OwnCaller &caller, const MoxImage *image) {
    const char *fault = !image             ? "( image == ((void *)0) )"
                        : image->imageData ? "( image->imageData != ((void *)0) )"
                        : image->tileInfo  ? "( image->tileInfo != ((void *)0) )"
                                           : nullptr;
    if (fault) ownReport(caller, MOX_StatusBadArgument, fault);
    return !fault;
}

}  // namespace

MoxImage *MOX_CALL moxCreateImageHeader(int nChannels, int alphaChannel, int depth, const char *colorModel,
                                        const char *channelSeq, int dataOrder, int origin, int align, int width,
                                        int height, MoxROI *roi, MoxImage *maskROI, void *imageId,
                                        MoxTileInfo *tileInfo) {
    MoxImage fields = {};
    fields.headerSize = sizeof(MoxImage);
    fields.nChannels = nChannels;
    fields.alphaChannel = alphaChannel;
    fields.depth = static_cast<unsigned>(depth);
    fields.dataOrder = dataOrder;
    fields.origin = origin;
    fields.align = align;
    fields.width = width;
    fields.height = height;
    fields.roi = roi;
    fields.maskROI = maskROI;
    fields.imageId = imageId;
    fields.tileInfo = tileInfo;
    if (const MoxStatus fault = findFieldFault(&fields, colorModel && channelSeq)) {
        ownReport(OWN_CALLER("moxCreateImageHeader"), fault, "Incorrect data-ins");
        return nullptr;
    }
    copyFourCharacters(fields.colorModel, colorModel);
    copyFourCharacters(fields.channelSeq, channelSeq);
    findSizes(&fields, &fields.widthStep, &fields.imageSize);

    auto *image = static_cast<MoxImage *>(moxMalloc(sizeof(MoxImage)));
    if (image) {
        *image = fields;
        moxSetBorderMode(image, MOX_BORDER_CONSTANT, MOX_SIDE_ALL, 0);
    }
    return image;
}

void MOX_CALL moxAllocateImage(MoxImage *image, int doFill, int fillValue) {
    const OwnCaller caller = OWN_CALLER("moxAllocateImage");
    if (!isBare(caller, image)) return;
    if (image->depth == MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusBadArgument, "( image->depth == 32 )");
        return;
    }
    allocatePixels(caller, image, doFill != 0, static_cast<uint32_t>(fillValue));
}

void MOX_CALL moxAllocateImageFP(MoxImage *image, int doFill, float fillValue) {
    const OwnCaller caller = OWN_CALLER("moxAllocateImageFP");
    if (!isBare(caller, image)) return;
    if (image->depth != MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusBadArgument, "( image->depth != 32 )");
        return;
    }
    uint32_t bits;
    std::memcpy(&bits, &fillValue, sizeof bits);
    allocatePixels(caller, image, doFill != 0, bits);
}

void MOX_CALL moxDeallocate(MoxImage *image, int flag) {
    if (!image) return;
    if ((flag & MOX_FreeRoi) != 0 && image->roi) {
        moxDeleteROI(image->roi);
        image->roi = nullptr;
    }
    if ((flag & MOX_FreeMask) != 0 && image->maskROI) {
        moxDeallocate(image->maskROI, MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi | MOX_FreeTile);
        image->maskROI = nullptr;
    }
    if ((flag & MOX_FreeTile) != 0 && image->tileInfo) {
        moxDeleteTileInfo(image->tileInfo);
        image->tileInfo = nullptr;
    }
    if ((flag & MOX_FreeData) != 0 && image->imageDataBase) moxDeallocateImage(image);
    if ((flag & MOX_FreeHeader) != 0) moxFree(image);
}

void MOX_CALL moxDeallocateHeader(MoxImage *image) {
    moxDeallocate(image, MOX_FreeHeader);
}

void MOX_CALL moxDeallocateImage(MoxImage *image) {
    std::free(image->imageDataBase);
    image->imageDataBase = nullptr;
    image->imageData = nullptr;
}

MoxROI *MOX_CALL moxCreateROI(int coi, int xOffset, int yOffset, int width, int height) {
    auto *roi = static_cast<MoxROI *>(moxMalloc(sizeof(MoxROI)));
    moxSetROI(roi, coi, xOffset, yOffset, width, height);
    return roi;
}

void MOX_CALL moxSetROI(MoxROI *roi, int coi, int xOffset, int yOffset, int width, int height) {
    if (roi) *roi = {coi, xOffset, yOffset, width, height};
}

MoxTileInfo *MOX_CALL moxCreateTileInfo(MoxTileCallback callBack, void *id, int width, int height) {
    auto *tileInfo = static_cast<MoxTileInfo *>(moxMalloc(sizeof(MoxTileInfo)));
    moxSetTileInfo(tileInfo, callBack, id, width, height);
    return tileInfo;
}

void MOX_CALL moxSetTileInfo(MoxTileInfo *tileInfo, MoxTileCallback callBack, void *id, int width, int height) {
    if (tileInfo) *tileInfo = {callBack, id, nullptr, width, height};
}
