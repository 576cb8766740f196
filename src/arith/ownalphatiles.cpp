// The tile session.
#include "arith/ownalphatiles.h"

#include <algorithm>
#include <climits>

MoxTileSession *ownTileSessionCreate(int slots, int blockWidth, int blockHeight) {
    auto *session = static_cast<MoxTileSession *>(moxMalloc(sizeof(MoxTileSession)));
    if (!session) return nullptr;
    *session = {};
    session->slots = slots;
    session->blockWidth = blockWidth;
    session->blockHeight = blockHeight;
    return session;
}

namespace {

// The first failure is the session's: others may follow from it.
MoxImage *fail(MoxTileSession *session, MoxStatus status) {
    if (session->status == MOX_StatusNoError) session->status = status;
    return nullptr;
}

// A header for pixels that the session brings: all of them count, whatever mask the image has.
void makeView(const MoxImage *image, OwnScratchImage *view) {
    ownMakeScratch(image, view);
    view->header.maskROI = nullptr;
}

void setRoi(OwnScratchImage *view, int64_t x, int64_t y, int64_t width, int64_t height) {
    view->roi.xOffset = static_cast<int>(x);
    view->roi.yOffset = static_cast<int>(y);
    view->roi.width = static_cast<int>(width);
    view->roi.height = static_cast<int>(height);
}

// A slot of a session, for the current rectangle.
class Straddle {
  public:
    Straddle(MoxTileSession *session, OwnTileSlot *slot)
        : session_(*session), slot_(*slot), tiles_(*slot->image->tileInfo) {
        OwnImageRect rect;
        ownImageRect(slot->image, &rect);
        x_ = rect.x + session->x;
        y_ = rect.y + session->y;
    }

    // The part of tile (column, row): where it stands in the tile and in the scratch.
    struct Part {
        int64_t x, y, width, height, scratchX, scratchY;
    };
    Part part(int64_t column, int64_t row) const {
        const int64_t left = std::max(x_, column * tiles_.width), top = std::max(y_, row * tiles_.height);
        const int64_t right = std::min(x_ + session_.width, (column + 1) * tiles_.width);
        const int64_t bottom = std::min(y_ + session_.height, (row + 1) * tiles_.height);
        return {
            left - column * tiles_.width, top - row * tiles_.height, right - left, bottom - top, left - x_, top - y_};
    }

    // Runs step(column, row, its place in the table) over the tiles of the rectangle until it gives false.
    template <class Step>
    bool forEach(const Step &step) const {
        for (int64_t row = slot_.firstRow; row <= slot_.lastRow; ++row) {
            char **tile = slot_.tiles + (row - slot_.firstRow) * slot_.pitch;
            for (int64_t column = slot_.firstColumn; column <= slot_.lastColumn; ++column) {
                if (!step(static_cast<int>(column), static_cast<int>(row), tile++)) return false;
            }
        }
        return true;
    }

    // Copies a tile's part into the scratch, or back: all channels, alpha as well.
    void copy(int column, int row, char *tileData, bool back) const {
        const Part part = this->part(column, row);
        slot_.tile.header.imageData = tileData;
        setRoi(&slot_.tile, part.x, part.y, part.width, part.height);
        setRoi(&slot_.scratch, part.scratchX, part.scratchY, part.width, part.height);
        OwnScratchImage *const both[] = {&slot_.tile, &slot_.scratch};
        for (OwnScratchImage *each : both) {
            each->header.alphaChannel = 0;
            each->roi.coi = 0;
        }
        MoxImage *tile = &slot_.tile.header, *scratch = &slot_.scratch.header;
        moxCopy(back ? scratch : tile, back ? tile : scratch);
        for (OwnScratchImage *each : both) {
            each->header.alphaChannel = slot_.image->alphaChannel;
            each->roi.coi = slot_.image->roi ? slot_.image->roi->coi : 0;
        }
        if (moxGetErrStatus() < 0) fail(&session_, MOX_StatusBacktrace);
    }

  private:
    MoxTileSession &session_;
    OwnTileSlot &slot_;
    const MoxTileInfo &tiles_;
    int64_t x_, y_;
};

// A scratch of the size of a block, and a table for all tiles that one can touch. False without memory.
bool makeRoom(const MoxTileSession *session, OwnTileSlot *slot) {
    if (slot->tiles) return true;
    const MoxTileInfo *tiles = slot->image->tileInfo;
    const int64_t across = (session->blockWidth + tiles->width - int64_t{1}) / tiles->width + 1;
    const int64_t down = (session->blockHeight + tiles->height - int64_t{1}) / tiles->height + 1;
    const auto bytes = static_cast<int64_t>(sizeof(char *));
    if (across > INT_MAX / bytes / down) return false;

    MoxImage &scratch = slot->scratch.header;
    makeView(slot->image, &slot->scratch);
    scratch.tileInfo = nullptr;
    scratch.imageData = scratch.imageDataBase = nullptr;
    scratch.width = session->blockWidth;
    scratch.height = session->blockHeight;
    moxAllocateImage(&scratch, 0, 0);
    if (!scratch.imageData) return false;
    slot->pitch = across;
    slot->tiles = static_cast<char **>(moxMalloc(static_cast<int>(across * down * bytes)));
    if (slot->tiles) return true;
    moxDeallocateImage(&scratch);
    return false;
}

MoxImage *acquirePlain(const MoxTileSession *session, OwnTileSlot *slot) {
    OwnImageRect rect;
    ownImageRect(slot->image, &rect);
    setRoi(&slot->scratch, rect.x + session->x, rect.y + session->y, session->width, session->height);
    return &slot->scratch.header;
}

MoxImage *acquireTile(MoxTileSession *session, OwnTileSlot *slot) {
    const auto column = static_cast<int>(slot->firstColumn), row = static_cast<int>(slot->firstRow);
    const Straddle::Part part = Straddle(session, slot).part(column, row);
    slot->tile.header.imageData = ownRequestTile(slot->image, column, row, slot->mode);
    if (!slot->tile.header.imageData) return fail(session, MOX_StatusGeneral);
    setRoi(&slot->tile, part.x, part.y, session->width, session->height);
    return &slot->tile.header;
}

MoxImage *acquireTiles(MoxTileSession *session, OwnTileSlot *slot) {
    if (!makeRoom(session, slot)) return fail(session, MOX_StatusNoMemory);
    const Straddle straddle(session, slot);
    const bool delivered = straddle.forEach([&](int column, int row, char **tile) {
        *tile = ownRequestTile(slot->image, column, row, slot->mode);
        if (*tile) straddle.copy(column, row, *tile, false);
        return *tile != nullptr;
    });
    if (!delivered) return fail(session, MOX_StatusGeneral);
    setRoi(&slot->scratch, 0, 0, session->width, session->height);
    return &slot->scratch.header;
}

bool isOneTile(const OwnTileSlot &slot) {
    return slot.firstColumn == slot.lastColumn && slot.firstRow == slot.lastRow;
}

void releaseTiles(MoxTileSession *session, OwnTileSlot *slot) {
    if (!slot->tiles) return;
    const Straddle straddle(session, slot);
    straddle.forEach([&](int column, int row, char **tile) {
        if (!*tile) return false;
        if (slot->mode == MOX_TileWrite && session->status == MOX_StatusNoError)
            straddle.copy(column, row, *tile, true);
        ownReleaseTile(slot->image, column, row, *tile);
        return true;
    });
}

}  // namespace

int ownTileSessionAdd(MoxTileSession *session, MoxImage *image, int mode) {
    if (!image) return 0;
    if (!session || session->status != MOX_StatusNoError) return -1;
    for (int i = 0; i < session->used; ++i) {
        if (session->slot[i].image == image) return i + 1;
    }
    OwnTileSlot &slot = session->slot[session->used++];
    slot.image = image;
    slot.mode = mode;
    OwnScratchImage *view = image->tileInfo ? &slot.tile : &slot.scratch;
    makeView(image, view);
    if (image->tileInfo) ownMakeTileHeader(image, &view->header);
    return session->used;
}

void ownTileSessionSetRect(MoxTileSession *session, int64_t x, int64_t y, int64_t width, int64_t height) {
    session->x = x;
    session->y = y;
    session->width = width;
    session->height = height;
}

MoxImage *ownTileSessionAcquire(MoxTileSession *session, int slot) {
    if (slot < 1) return nullptr;
    OwnTileSlot &of = session->slot[slot - 1];
    if (of.count++ > 0) return of.view;
    if (!of.image->tileInfo) return of.view = acquirePlain(session, &of);
    const MoxTileInfo *tiles = of.image->tileInfo;
    OwnImageRect rect;
    ownImageRect(of.image, &rect);
    const int64_t x = rect.x + session->x, y = rect.y + session->y;
    of.firstColumn = x / tiles->width;
    of.firstRow = y / tiles->height;
    of.lastColumn = (x + session->width - 1) / tiles->width;
    of.lastRow = (y + session->height - 1) / tiles->height;
    return of.view = isOneTile(of) ? acquireTile(session, &of) : acquireTiles(session, &of);
}

void ownTileSessionReleaseAll(MoxTileSession *session) {
    for (int i = 0; i < session->used; ++i) {
        OwnTileSlot &slot = session->slot[i];
        if (slot.count == 0) continue;
        slot.count = 0;
        if (!slot.image->tileInfo) continue;
        if (!isOneTile(slot)) {
            releaseTiles(session, &slot);
        } else if (slot.view) {
            ownReleaseTile(slot.image, static_cast<int>(slot.firstColumn), static_cast<int>(slot.firstRow),
                           slot.view->imageData);
        }
    }
}

MoxStatus ownTileSessionStatus(const MoxTileSession *session) {
    return session ? session->status : MOX_StatusNoMemory;
}

void ownTileSessionDestroy(MoxTileSession *session) {
    if (!session) return;
    for (int i = 0; i < session->used; ++i) {
        OwnTileSlot &slot = session->slot[i];
        if (!slot.tiles) continue;
        moxDeallocateImage(&slot.scratch.header);
        moxFree(slot.tiles);
    }
    moxFree(session);
}
