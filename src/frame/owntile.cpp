// The arithmetic of tiles and the tile walk. Kernels work on the tiles' own memory through scratch headers: nothing is
// copied.
#include "frame/owntile.h"

#include <algorithm>

int64_t ownTileRowBytes(int dataOrder, unsigned depth, int align, int nChannels, int tileWidth) {
    const int64_t samples = static_cast<int64_t>(tileWidth) * (dataOrder == MOX_DATA_ORDER_PLANE ? 1 : nChannels);
    const int64_t unit = int64_t{8} * align;
    return (samples * ownDepthBits(depth) + unit - 1) / unit * unit / 8;
}

int64_t ownTileRowBytesOf(const MoxImage *image) {
    if (!image || !image->tileInfo || moxCheckImageHeader(image) != MOX_StatusNoError) return 0;
    return ownTileRowBytes(image->dataOrder, image->depth, image->align, image->nChannels, image->tileInfo->width);
}

char *ownRequestTile(MoxImage *image, int column, int row, int mode) {
    image->tileInfo->callBack(image, column, row, mode);
    return image->tileInfo->tileData;
}

void ownReleaseTile(MoxImage *image, int column, int row, char *tileData) {
    image->tileInfo->tileData = tileData;
    image->tileInfo->callBack(image, column, row, MOX_TileRelease);
}

void ownMakeScratch(const MoxImage *image, OwnScratchImage *scratch) {
    scratch->header = *image;
    scratch->roi = {image->roi ? image->roi->coi : 0, 0, 0, 0, 0};
    scratch->header.roi = &scratch->roi;
}

void ownMakeTileHeader(const MoxImage *image, MoxImage *header) {
    const MoxTileInfo *tiles = image->tileInfo;
    const int64_t rowBytes =
        ownTileRowBytes(image->dataOrder, image->depth, image->align, image->nChannels, tiles->width);
    const int planes = image->dataOrder == MOX_DATA_ORDER_PLANE ? image->nChannels : 1;
    header->tileInfo = nullptr;
    header->widthStep = static_cast<int>(rowBytes);
    header->width = tiles->width;
    header->height = tiles->height;
    header->imageSize = static_cast<int>(rowBytes * tiles->height * planes);
}

void ownTileWalkSetup(MoxImage *image, MoxImage *scratch, const OwnImageRect *rect, MoxTileWalk *walk) {
    *walk = {};
    const MoxTileInfo *tiles = image->tileInfo;
    if (!tiles) {
        scratch->width = image->width;
        scratch->height = image->height;
        scratch->imageData = image->imageData;
        return;
    }
    ownMakeTileHeader(image, scratch);
    walk->tiled = true;
    walk->tileWidth = tiles->width;
    walk->tileHeight = tiles->height;
    walk->column = walk->curColumn = static_cast<int>(rect->x / tiles->width);
    walk->row = static_cast<int>(rect->y / tiles->height);
    walk->tileX0 = walk->curX0 = static_cast<int64_t>(walk->column) * tiles->width;
    walk->tileXEnd = walk->curXEnd = walk->tileX0 + tiles->width;
    walk->tileY0 = static_cast<int64_t>(walk->row) * tiles->height;
    walk->tileYEnd = walk->tileY0 + tiles->height;
}

namespace {

// The image's region, or all of it.
void walkedRect(const MoxImage *image, bool whole, OwnImageRect *rect) {
    ownImageRect(image, rect);
    if (whole) *rect = {0, 0, 0, 0, image->height, image->width};
}

// An image on its way through the walk: downward, or upward from its last row. y is the next row on that way, or upward
// the one behind it.
struct Walker {
    MoxImage *image;
    int mode;
    bool upward;
    OwnScratchImage scratch;
    OwnImageRect rect;
    MoxTileWalk walk;
    int64_t x, y;
    char *tile;

    void setup(MoxImage *of, int requestMode, bool whole, bool goesUp, int64_t width, int64_t height) {
        image = of;
        mode = requestMode;
        upward = goesUp;
        walkedRect(image, whole, &rect);
        rect.xEnd = rect.x + width;
        rect.yEnd = rect.y + height;
        ownMakeScratch(image, &scratch);
        ownTileWalkSetup(image, &scratch.header, &rect, &walk);
        y = upward ? rect.yEnd : rect.y;
        if (upward && walk.tiled) moveTo(static_cast<int>((rect.yEnd - 1) / walk.tileHeight));
    }

    void moveTo(int row) {
        walk.row = row;
        walk.tileY0 = static_cast<int64_t>(row) * walk.tileHeight;
        walk.tileYEnd = walk.tileY0 + walk.tileHeight;
    }

    bool atEnd() const { return upward ? y <= rect.y : y >= rect.yEnd; }

    bool request() {
        tile = ownRequestTile(image, walk.curColumn, walk.row, mode);
        scratch.header.imageData = tile;
        return tile != nullptr;
    }

    void release() {
        if (walk.tiled) ownReleaseTile(image, walk.curColumn, walk.row, tile);
    }

    // The first tile of a strip, and how many rows it has for it. False if the tile is refused.
    bool beginStrip(int64_t *rows) {
        x = rect.x;
        if (walk.tiled) {
            if (!upward && y >= walk.tileYEnd) moveTo(walk.row + 1);
            if (upward && y <= walk.tileY0) moveTo(walk.row - 1);
            walk.curColumn = walk.column;
            walk.curX0 = walk.tileX0;
            walk.curXEnd = walk.tileXEnd;
            if (!request()) return false;
        }
        if (upward) {
            *rows = std::min(*rows, y - (walk.tiled ? std::max(rect.y, walk.tileY0) : rect.y));
        } else {
            *rows = std::min(*rows, (walk.tiled ? std::min(rect.yEnd, walk.tileYEnd) : rect.yEnd) - y);
        }
        return true;
    }

    // The strip's rows, as many as all images have for it.
    void setRows(int64_t rows) {
        scratch.roi.yOffset = static_cast<int>((upward ? y - rows : y) - walk.tileY0);
        scratch.roi.height = static_cast<int>(rows);
    }
    void endStrip(int64_t rows) {
        release();
        y += upward ? -rows : rows;
    }

    // The tile of the next cell, and how many columns it has for it. False if the tile is refused.
    bool beginCell(int64_t *columns) {
        if (walk.tiled && x >= walk.curXEnd) {
            release();
            walk.curColumn += 1;
            walk.curX0 += walk.tileWidth;
            walk.curXEnd += walk.tileWidth;
            if (!request()) return false;
        }
        scratch.roi.xOffset = static_cast<int>(x - walk.curX0);
        *columns = std::min(*columns, (walk.tiled ? std::min(rect.xEnd, walk.curXEnd) : rect.xEnd) - x);
        return true;
    }
};

}  // namespace

int ownWalkTiles(MoxImage *const *images, int count, MoxImage *mask, OwnCellFunction cell, void *operation,
                 const OwnWalkOptions &options) {
    int64_t width = INT32_MAX, height = INT32_MAX;
    const auto limit = [&](const MoxImage *image) {
        OwnImageRect rect;
        walkedRect(image, options.whole, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    };
    std::for_each(images, images + count, limit);
    if (mask) limit(mask);
    if (width <= 0 || height <= 0) return -1;

    // The mask moves along last, as an image that is never tiled.
    Walker walkers[4];
    int walking[4];  // the images that walk for themselves, in the order of their requests
    int walkingCount = 0;
    MoxImage *scratch[3];
    const int last = count - 1;
    for (int i = 0; i < count; ++i) {
        const bool shared = i < last && images[i] == images[last];
        scratch[i] = &walkers[shared ? last : i].scratch.header;
        if (shared) continue;
        const bool upward = i == last && options.flips;
        walkers[i].setup(images[i], i < last ? MOX_TileRead : MOX_TileWrite, options.whole, upward, width, height);
        walking[walkingCount++] = i;
    }
    if (mask) {
        walkers[3].setup(mask, 0, false, false, width, height);
        walking[walkingCount++] = 3;
    }

    Walker &dst = walkers[last];
    while (!dst.atEnd()) {
        int64_t rows = INT32_MAX;
        for (int k = 0; k < walkingCount; ++k) {
            if (!walkers[walking[k]].beginStrip(&rows)) return walking[k];
        }
        for (int k = 0; k < walkingCount; ++k)
            walkers[walking[k]].setRows(rows);
        while (dst.x < dst.rect.xEnd) {
            int64_t columns = INT32_MAX;
            for (int k = 0; k < walkingCount; ++k) {
                if (!walkers[walking[k]].beginCell(&columns)) return walking[k];
            }
            for (int k = 0; k < walkingCount; ++k) {
                walkers[walking[k]].scratch.roi.width = static_cast<int>(columns);
                walkers[walking[k]].x += columns;
            }
            cell(operation, scratch, mask ? &walkers[3].scratch.header : nullptr);
        }
        for (int k = 0; k < walkingCount; ++k)
            walkers[walking[k]].endStrip(rows);
    }
    return -1;
}
