// Filling an image with a value.
#include <algorithm>
#include <cstring>

#include "frame/ownpair.h"

namespace {

int clampValue(unsigned depth, int value) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return std::clamp(value, 0, 1);
        case MOX_DEPTH_8U:
            return std::clamp(value, 0, 255);
        case MOX_DEPTH_8S:
            return std::clamp(value, -128, 127);
        case MOX_DEPTH_16U:
            return std::clamp(value, 0, 65535);
        case MOX_DEPTH_16S:
            return std::clamp(value, -32768, 32767);
        default:
            return value;
    }
}

void setPlain(MoxImage *image, int value) {
    const int first = ownFirstChannel(image);
    OwnRows rows;
    ownSetRows(&rows, &image, &first, 1, ownChannels(image), image->maskROI);
    // A byte of bits is filled whole.
    const uint32_t word =
        image->depth == MOX_DEPTH_1U ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    ownRunRows(rows, ownMoveRows().fill[ownSampleSize(ownDepthBytes(image->depth))], {word, 0, 0});
}

// Bits of a tiled image under a mask: a logic operation walks the tiles. To clear them the mask is inverted meanwhile.
void setTiledBitsUnderMask(const OwnCaller &caller, MoxImage *image, int value) {
    MoxImage *mask = image->maskROI;
    MoxImage view = ownMaskAsImage(mask);
    // A coi would let a tile and the mask pass for one run, with what stands between their rows.
    OwnImageRect rect;
    ownImageRect(mask, &rect);
    MoxROI region = {0, static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.width),
                     static_cast<int>(rect.height)};
    view.roi = &region;
    view.dataOrder = image->dataOrder;
    OwnNestedCalls calls;
    image->maskROI = nullptr;
    if (value != 0) {
        moxOr(image, &view, image);
    } else {
        moxNot(&view, &view);
        moxAnd(image, &view, image);
        moxNot(&view, &view);
    }
    image->maskROI = mask;
    if (calls.failed()) ownReport(caller, MOX_StatusBacktrace, "");
}

void setTiled(const OwnCaller &caller, MoxImage *image, int64_t width, int64_t height, int value) {
    OwnTileGrid grid(image, width, height);
    while (grid.next()) {
        char *tile = ownRequestTile(image, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) {
            ownReport(caller, MOX_StatusGeneral, "Error get tile to write");
            return;
        }
        OwnScratchImage scratch, mask;
        ownShareOfTile(image, grid.share(), tile, &scratch);
        if (image->maskROI) {
            ownShareOfPlain(image->maskROI, grid.share(), &mask);
            scratch.header.maskROI = &mask.header;
        }
        moxSet(&scratch.header, value);
        ownReleaseTile(image, grid.column(), grid.row(), tile);
    }
}

}  // namespace

void MOX_CALL moxSet(MoxImage *image, int fillValue) {
    const OwnCaller caller = OWN_CALLER("moxSet");
    if (!ownAcceptImage(caller, image)) return;
    if (image->depth == MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusHeaderDepth, "You should use moxSetFP for this image");
        return;
    }
    const int value = clampValue(image->depth, fillValue);
    OwnImageRect rect;
    ownImageRect(image, &rect);
    if (image->maskROI) {
        OwnImageRect mask;
        ownImageRect(image->maskROI, &mask);
        rect.width = std::min(rect.width, mask.width);
        rect.height = std::min(rect.height, mask.height);
    }
    if (rect.width <= 0 || rect.height <= 0 || ownChannels(image) == 0) return;
    if (!ownAcceptMemory(caller, {image})) return;

    if (!image->tileInfo) {
        setPlain(image, value);
    } else if (image->depth == MOX_DEPTH_1U && image->maskROI) {
        setTiledBitsUnderMask(caller, image, value);
    } else {
        setTiled(caller, image, rect.width, rect.height, value);
    }
}

void MOX_CALL moxSetFP(MoxImage *image, float fillValue) {
    const OwnCaller caller = OWN_CALLER("moxSetFP");
    if (!image) {
        ownReport(caller, MOX_StatusBadArgument, "dstImage==0");
        return;
    }
    if (image->depth != MOX_DEPTH_32F) {
        ownReport(caller, MOX_StatusHeaderDepth, "You should use moxSet for this image");
        return;
    }
    // The value is stored as the integer of the same bits, which nothing clamps.
    int bits;
    std::memcpy(&bits, &fillValue, sizeof bits);
    OwnNestedCalls calls;
    image->depth = MOX_DEPTH_32S;
    moxSet(image, bits);
    if (calls.failed()) ownReport(caller, MOX_StatusBacktrace, "");
    image->depth = MOX_DEPTH_32F;
}
