// Copying pixels from image to image.
#include "frame/ownpair.h"
#include "frame/ownrect.h"

namespace {

// One tile of the destination, or of the source where that alone is tiled. False ends the call, with the tile at hand
// not released.
bool copyTile(const OwnPair &pair, MoxImage *walked, const OwnTileGrid &grid) {
    MoxImage *src = pair.src(), *dst = pair.dst();
    const bool writes = walked == dst;
    char *tile = ownRequestTile(walked, grid.column(), grid.row(), writes ? MOX_TileWrite : MOX_TileRead);
    if (!tile) {
        pair.refuseTile(writes ? "Error get tile to write" : "Error get tile to read");
        return false;
    }
    OwnScratchImage from, to, mask;
    char *rect = nullptr;
    if (!writes) {
        ownShareOfTile(src, grid.share(), tile, &from);
        ownShareOfPlain(dst, grid.share(), &to);
    } else {
        ownShareOfTile(dst, grid.share(), tile, &to);
        if (src->tileInfo) {
            int rowBytes = 0;
            rect = ownReadShare(src, grid.share(), &rowBytes);
            if (!rect) {
                pair.traceFailure();
                return false;
            }
            ownShareOfRect(src, grid.share(), rect, rowBytes, &from);
        } else {
            ownShareOfPlain(src, grid.share(), &from);
        }
    }
    to.header.maskROI = pair.maskShare(grid.share(), &mask);
    moxCopy(&from.header, &to.header);
    ownFreeRect(rect);
    if (moxGetErrStatus() < 0) {
        pair.traceFailure();
        return false;
    }
    ownReleaseTile(walked, grid.column(), grid.row(), tile);
    return true;
}

void copyTiled(const OwnPair &pair) {
    MoxImage *walked = pair.dst()->tileInfo ? pair.dst() : pair.src();
    OwnTileGrid grid(walked, pair.width(), pair.height());
    while (grid.next()) {
        if (!copyTile(pair, walked, grid)) return;
    }
}

// Bits of tiled images under a mask are put together by the logic operations, which walk the tiles of both: the
// destination is cleared under the mask, then ORed with the source's bits there. The order of one channel has no
// meaning, so the mask's copy takes whichever its partner has.
bool combineBits(const OwnPair &pair, MoxImage *bits) {
    MoxImage *src = pair.src(), *dst = pair.dst();
    MoxImage mask = *pair.mask();
    mask.maskROI = nullptr;
    mask.origin = bits->origin;
    moxCopy(&mask, bits);
    if (moxGetErrStatus() < 0) return false;
    dst->maskROI = bits;
    moxSet(dst, 0);
    dst->maskROI = nullptr;
    if (moxGetErrStatus() < 0) return false;
    bits->dataOrder = src->dataOrder;
    src->maskROI = nullptr;
    moxAnd(bits, src, bits);
    if (moxGetErrStatus() < 0) return false;
    bits->dataOrder = dst->dataOrder;
    moxOr(dst, bits, dst);
    return moxGetErrStatus() >= 0;
}

void copyTiledBitsUnderMask(const OwnPair &pair) {
    MoxImage *srcMask = pair.src()->maskROI, *dstMask = pair.dst()->maskROI;
    MoxImage *bits = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", MOX_DATA_ORDER_PLANE, MOX_ORIGIN_TL, 4,
                                          static_cast<int>(pair.width()), static_cast<int>(pair.height()), nullptr,
                                          nullptr, nullptr, nullptr);
    if (bits) moxAllocateImage(bits, 0, 0);
    const bool done = bits && bits->imageData && combineBits(pair, bits);
    pair.src()->maskROI = srcMask;
    pair.dst()->maskROI = dstMask;
    moxDeallocate(bits, MOX_FreeHeader | MOX_FreeData);
    if (!done) pair.traceFailure();
}

}  // namespace

void MOX_CALL moxCopy(MoxImage *srcImage, MoxImage *dstImage) {
    OwnPair pair(OWN_CALLER("moxCopy"), srcImage, dstImage);
    if (!pair.open()) return;
    if (!srcImage->tileInfo && !dstImage->tileInfo) {
        pair.runPlain(ownMoveRows().copy, false);
    } else if (srcImage->depth == MOX_DEPTH_1U && pair.mask()) {
        copyTiledBitsUnderMask(pair);
    } else {
        copyTiled(pair);
    }
}
