// Header validation: the tests that every operation makes on every image, in their fixed order.
#include <climits>

#include "frame/ownimage.h"
#include "frame/owntile.h"

MoxStatus ownFindFormatFault(const MoxImage *image) {
    if (ownDepthIndex(image->depth) < 0) return MOX_StatusHeaderDepth;
    if (image->alphaChannel != 0 && image->alphaChannel != image->nChannels) return MOX_StatusHeaderAlpha;
    if (image->dataOrder != MOX_DATA_ORDER_PIXEL && image->dataOrder != MOX_DATA_ORDER_PLANE)
        return MOX_StatusHeaderOrder;
    if (image->origin != MOX_ORIGIN_TL && image->origin != MOX_ORIGIN_BL) return MOX_StatusHeaderOrigin;
    if (image->align != 4 && image->align != 8 && image->align != 16 && image->align != 32)
        return MOX_StatusHeaderAlign;
    return MOX_StatusNoError;
}

namespace {

// The tests of a header's own fields, which come before its mask is looked at.
MoxStatus checkFields(const MoxImage *image) {
    if (!image) return MOX_StatusHeaderNull;
    const bool tiled = image->tileInfo != nullptr;
    if ((image->imageData != nullptr) == tiled) return MOX_StatusHeaderNoData;
    if (!tiled && image->imageSize < 1) return MOX_StatusHeaderSize;
    if (!tiled && image->widthStep < 1) return MOX_StatusHeaderWidthStep;
    if (image->width < 1 || image->height < 1) return MOX_StatusHeaderSize;
    if (image->nChannels < 1) return MOX_StatusHeaderChannels;
    if (image->nChannels != 1 && image->depth == MOX_DEPTH_1U) return MOX_StatusHeaderBitChannels;
    return ownFindFormatFault(image);
}

MoxStatus checkTiles(const MoxTileInfo *tileInfo) {
    if (!tileInfo) return MOX_StatusNoError;
    if (!tileInfo->callBack) return MOX_StatusNullCallback;
    if (tileInfo->width < 1 || tileInfo->height < 1) return MOX_StatusTileSize;
    if (tileInfo->width % 8 != 0 || tileInfo->height % 8 != 0) return MOX_StatusTileSize;
    return MOX_StatusNoError;
}

MoxStatus checkRoi(const MoxImage *image) {
    const MoxROI *roi = image->roi;
    if (!roi) return MOX_StatusNoError;
    if (roi->coi < 0 || roi->coi > image->nChannels) return MOX_StatusHeaderCoi;
    if (roi->height < 1 || roi->width < 1) return MOX_StatusHeaderRoiSize;
    if (roi->xOffset < 0 || roi->yOffset < 0) return MOX_StatusHeaderRoiOffset;
    return MOX_StatusNoError;
}

// A mask may have a mask of its own, and so on, each fault counted 100 further down. The chain is followed without
// recursion, since its length is the caller's; one that runs back into itself ends when every header in it has been
// seen (Brent's cycle detection).
MoxStatus checkMasks(const MoxImage *mask) {
    int64_t offset = OWN_MASK_FAULT;
    int64_t deepestRoiFault = 0;
    const MoxImage *landmark = nullptr;
    for (int64_t steps = 0, limit = 1; mask && mask != landmark; mask = mask->maskROI, offset += OWN_MASK_FAULT) {
        int64_t fault = 0;
        if (mask->depth != MOX_DEPTH_1U) {
            fault = MOX_StatusHeaderDepth + offset;
        } else if (mask->tileInfo) {
            fault = MOX_StatusMaskTiled + offset - OWN_MASK_FAULT;
        } else if (const MoxStatus own = checkFields(mask)) {
            fault = own + offset;
        }
        if (fault != 0) return static_cast<MoxStatus>(fault);
        // A region is tested on the way back from the inner masks.
        if (const MoxStatus roi = checkRoi(mask)) deepestRoiFault = roi + offset;
        if (++steps == limit) {
            landmark = mask;
            steps = 0;
            limit *= 2;
        }
    }
    return static_cast<MoxStatus>(deepestRoiFault);
}

}  // namespace

MoxStatus ownFindHeaderFault(const MoxImage *image) {
    if (const MoxStatus fault = checkFields(image)) return fault;
    if (const MoxStatus fault = checkMasks(image->maskROI)) return fault;
    if (const MoxStatus fault = checkTiles(image->tileInfo)) return fault;
    return checkRoi(image);
}

namespace {

constexpr char INCORRECT[] = "Incorrect Image";

bool hasNoArea(const MoxImage *image) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    return rect.width < 1 || rect.height < 1;
}

// Whether rows of so many bytes, each padded by less than padding, are an int of bytes, and all planes of them too.
bool fitsInt(int64_t rowBytes, int64_t padding, int64_t rows, int64_t planes) {
    if (rowBytes > INT_MAX - padding) return false;
    const int64_t plane = (rowBytes + padding) * rows;
    return plane <= INT_MAX && plane * planes <= INT_MAX;
}

// Below these limits every product of sizes fits 64 bits, and every offset lies within widthStep x height bytes of a
// plane.
MoxStatus findOwnExcess(const MoxImage *image) {
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const int planes = planar ? image->nChannels : 1;
    const MoxTileInfo *tiles = image->tileInfo;
    const int64_t columns = tiles ? tiles->width : image->width;
    const int64_t samples = columns * (planar ? 1 : image->nChannels);
    // An int of bytes holds no more samples than this, and its bits can be counted.
    const int64_t most = int64_t{INT_MAX} * 8;
    const int64_t rowBytes = samples > most ? INT64_MAX : (samples * ownDepthBits(image->depth) + 7) / 8;
    if (tiles) return fitsInt(rowBytes, 32, tiles->height, planes) ? MOX_StatusNoError : MOX_StatusTileSize;
    if (!fitsInt(rowBytes, 0, 1, 1) || !fitsInt(image->widthStep, 0, image->height, planes))
        return MOX_StatusHeaderSize;
    return rowBytes > image->widthStep ? MOX_StatusHeaderWidthStep : MOX_StatusNoError;
}

}  // namespace

bool ownAcceptImage(const OwnCaller &caller, const MoxImage *image) {
    const MoxStatus fault = ownFindHeaderFault(image);
    if (fault != MOX_StatusNoError) ownReport(caller, fault, INCORRECT);
    return fault == MOX_StatusNoError;
}

MoxStatus ownFindExcess(const MoxImage *image) {
    if (const MoxStatus excess = findOwnExcess(image)) return excess;
    const MoxStatus ofMask = image->maskROI ? findOwnExcess(image->maskROI) : MOX_StatusNoError;
    return ofMask != MOX_StatusNoError ? ofMask + OWN_MASK_FAULT : MOX_StatusNoError;
}

bool ownAcceptPixels(const OwnCaller &caller, const MoxImage *image) {
    const MoxStatus excess = findOwnExcess(image);
    if (excess != MOX_StatusNoError) ownReport(caller, excess, INCORRECT);
    return excess == MOX_StatusNoError;
}

bool ownAcceptMemory(const OwnCaller &caller, std::initializer_list<const MoxImage *> images) {
    MoxStatus excess = MOX_StatusNoError;
    for (const MoxImage *image : images) {
        if (image && excess == MOX_StatusNoError) excess = ownFindExcess(image);
    }
    if (excess == MOX_StatusNoError) return true;
    bool empty = false;
    for (const MoxImage *image : images)
        empty = empty || (image && (hasNoArea(image) || (image->maskROI && hasNoArea(image->maskROI))));
    if (!empty) ownReport(caller, excess, INCORRECT);
    return false;
}
