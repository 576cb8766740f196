// Exchanging the pixels of two images.
#include "frame/owncopy.h"
#include "frame/ownpair.h"
#include "frame/ownrect.h"

namespace {

bool exchange(MoxImage *image1, MoxImage *image2);

// A plain image of the common region, to hold what the first image will receive.
MoxImage *createHolder(const OwnPair &pair, MoxROI *roi) {
    const MoxImage *image = pair.src();
    const int width = static_cast<int>(pair.width()), height = static_cast<int>(pair.height());
    MoxImage *holder = moxCreateImageHeader(image->nChannels, image->alphaChannel, static_cast<int>(image->depth),
                                            image->colorModel, image->channelSeq, image->dataOrder, image->origin,
                                            image->align, width, height, nullptr, nullptr, nullptr, nullptr);
    if (!holder) return nullptr;
    if (holder->depth == MOX_DEPTH_32F) {
        moxAllocateImageFP(holder, 0, 0);
    } else {
        moxAllocateImage(holder, 0, 0);
    }
    if (!holder->imageData) {
        moxDeallocate(holder, MOX_FreeHeader);
        return nullptr;
    }
    *roi = {image->roi ? image->roi->coi : 0, 0, 0, width, height};
    holder->roi = roi;
    return holder;
}

// A tile of the second image: its pixels to the holder, the first image's to the tile. False ends the call, with the
// tile not released.
bool exchangeTileThroughHolder(OwnPair &pair, MoxImage *holder, const OwnTileGrid &grid) {
    MoxImage *second = pair.dst();
    char *tile = ownRequestTile(second, grid.column(), grid.row(), MOX_TileWrite);
    if (!tile) {
        pair.refuseTile("Error get tile to write");
        return false;
    }
    int rowBytes = 0;
    char *rect = ownReadShare(pair.src(), grid.share(), &rowBytes);
    bool done = rect != nullptr;
    if (done) {
        OwnScratchImage inTile, inHolder, inRect, mask;
        ownShareOfTile(second, grid.share(), tile, &inTile);
        ownShareOfPlain(holder, grid.share(), &inHolder);
        ownShareOfRect(pair.src(), grid.share(), rect, rowBytes, &inRect);
        done = ownCopy(&inTile.header, &inHolder.header);
        inTile.header.maskROI = pair.maskShare(grid.share(), &mask);
        done = done && ownCopy(&inRect.header, &inTile.header);
        ownFreeRect(rect);
    }
    if (!pair.check(done)) return false;
    ownReleaseTile(second, grid.column(), grid.row(), tile);
    return true;
}

void exchangeBothTiled(OwnPair &pair) {
    MoxROI roi;
    MoxImage *holder = createHolder(pair, &roi);
    if (!holder) {
        pair.traceFailure();
        return;
    }
    bool done = true;
    OwnTileGrid grid(pair.dst(), pair.width(), pair.height());
    while (done && grid.next())
        done = exchangeTileThroughHolder(pair, holder, grid);
    if (done) {
        holder->maskROI = pair.mask();
        pair.check(ownCopy(holder, pair.src()));
    }
    moxDeallocate(holder, MOX_FreeHeader | MOX_FreeData);
}

void exchangeOneTiled(OwnPair &pair) {
    MoxImage *tiled = pair.dst()->tileInfo ? pair.dst() : pair.src();
    MoxImage *plain = tiled == pair.dst() ? pair.src() : pair.dst();
    OwnTileGrid grid(tiled, pair.width(), pair.height());
    while (grid.next()) {
        char *tile = ownRequestTile(tiled, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) {
            pair.refuseTile("Error get tile to write");
            return;
        }
        OwnScratchImage inTile, inPlain, mask;
        ownShareOfTile(tiled, grid.share(), tile, &inTile);
        ownShareOfPlain(plain, grid.share(), &inPlain);
        inTile.header.maskROI = pair.maskShare(grid.share(), &mask);
        const bool tileIsSecond = tiled == pair.dst();
        MoxImage *first = tileIsSecond ? &inPlain.header : &inTile.header;
        MoxImage *second = tileIsSecond ? &inTile.header : &inPlain.header;
        if (!pair.check(exchange(first, second))) return;
        ownReleaseTile(tiled, grid.column(), grid.row(), tile);
    }
}

// moxExchange; false if a fault kept pixels from being exchanged.
bool exchange(MoxImage *image1, MoxImage *image2) {
    OwnPair pair(OWN_CALLER("moxExchange"), image1, image2);
    if (!pair.open()) return !pair.failed();
    if (image1->tileInfo && image2->tileInfo) {
        exchangeBothTiled(pair);
    } else if (image1->tileInfo || image2->tileInfo) {
        exchangeOneTiled(pair);
    } else {
        pair.runPlain(ownMoveRows().exchange, true);
    }
    return !pair.failed();
}

}  // namespace

void MOX_CALL moxExchange(MoxImage *image1, MoxImage *image2) {
    exchange(image1, image2);
}
