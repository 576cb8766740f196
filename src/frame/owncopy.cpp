// Copying pixels from image to image.
#include "frame/owncopy.h"

#include "frame/ownpair.h"
#include "frame/ownrect.h"

namespace {

// One tile of the destination, or of the source where that alone is tiled. False ends the call, with the tile at hand
// not released.
bool copyTile(OwnPair &pair, MoxImage *walked, const OwnTileGrid &grid) {
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
    const bool copied = ownCopy(&from.header, &to.header);
    ownFreeRect(rect);
    if (!pair.check(copied)) return false;
    ownReleaseTile(walked, grid.column(), grid.row(), tile);
    return true;
}

void copyTiled(OwnPair &pair) {
    MoxImage *walked = pair.dst()->tileInfo ? pair.dst() : pair.src();
    OwnTileGrid grid(walked, pair.width(), pair.height());
    while (grid.next()) {
        if (!copyTile(pair, walked, grid)) return;
    }
}

// Bits of tiled images under a mask are put together by the logic operations, which walk the tiles of both: the
// destination is cleared under the mask, then ORed with the source's bits there. The order of one channel has no
// meaning, so the mask's copy takes whichever its partner has.
bool combineBits(OwnPair &pair, MoxImage *bits) {
    MoxImage *src = pair.src(), *dst = pair.dst();
    MoxImage mask = ownMaskAsImage(pair.mask());
    mask.origin = bits->origin;
    if (!ownCopy(&mask, bits)) return false;
    const OwnNestedCalls calls;
    dst->maskROI = bits;
    moxSet(dst, 0);
    dst->maskROI = nullptr;
    if (calls.failed()) return false;
    bits->dataOrder = src->dataOrder;
    src->maskROI = nullptr;
    moxAnd(bits, src, bits);
    if (calls.failed()) return false;
    bits->dataOrder = dst->dataOrder;
    moxOr(dst, bits, dst);
    return !calls.failed();
}

// Zeros between the rows of the bits leave what stands between the destination's, where the last operation takes both
// for one run.
void copyTiledBitsUnderMask(OwnPair &pair) {
    MoxImage *srcMask = pair.src()->maskROI, *dstMask = pair.dst()->maskROI;
    MoxImage *bits = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", MOX_DATA_ORDER_PLANE, MOX_ORIGIN_TL, 4,
                                          static_cast<int>(pair.width()), static_cast<int>(pair.height()), nullptr,
                                          nullptr, nullptr, nullptr);
    if (bits) moxAllocateImage(bits, 1, 0);
    const bool done = bits && bits->imageData && combineBits(pair, bits);
    pair.src()->maskROI = srcMask;
    pair.dst()->maskROI = dstMask;
    moxDeallocate(bits, MOX_FreeHeader | MOX_FreeData);
    pair.check(done);
}

}  // namespace

bool ownCopy(MoxImage *src, MoxImage *dst) {
    OwnPair pair(OWN_CALLER("moxCopy"), src, dst);
    if (!pair.open()) return !pair.failed();
    if (!src->tileInfo && !dst->tileInfo) {
        pair.runPlain(ownMoveRows().copy, false);
    } else if (src->depth == MOX_DEPTH_1U && pair.mask()) {
        copyTiledBitsUnderMask(pair);
    } else {
        copyTiled(pair);
    }
    return !pair.failed();
}
