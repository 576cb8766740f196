// The walk over the tiles of up to three images, as the callback sees it.
#include <algorithm>

#include "reference/reference.h"

namespace {

// One image on its way: its current position, and the tile it has in hand.
struct Walker {
    TestImage *image;
    int mode;
    int x, y, xEnd, yEnd;
    int column, row;  // of the tile in hand

    int tileWidth() const { return image->layout().tileWidth; }
    int tileHeight() const { return image->layout().tileHeight; }
    bool tiled() const { return image->layout().tiled(); }
    int tileRight() const { return (column + 1) * tileWidth(); }
    int tileBottom() const { return (row + 1) * tileHeight(); }
};

}  // namespace

static std::vector<Walker> walkersOf(const std::vector<TestImage *> &images, int width, int height) {
    std::vector<Walker> walkers;
    for (size_t i = 0; i < images.size(); ++i) {
        const bool last = i + 1 == images.size();
        if (!last && images[i] == images.back()) continue;  // walked as the destination
        const int x = images[i]->layout().regionX(), y = images[i]->layout().regionY();
        walkers.push_back({images[i], last ? MOX_TileWrite : MOX_TileRead, x, y, x + width, y + height, 0, 0});
    }
    return walkers;
}

std::vector<TileEvent> refTileWalk(const std::vector<TestImage *> &images) {
    std::vector<TileEvent> events;
    int width, height;
    refCommonSize(images, &width, &height);
    std::vector<Walker> walkers = walkersOf(images, width, height);
    for (int done = 0; done < height;) {
        int stripHeight = height - done;
        for (Walker &walker : walkers) {
            if (!walker.tiled()) continue;
            walker.row = walker.y / walker.tileHeight();
            walker.column = walker.x / walker.tileWidth();
            events.push_back({walker.image, walker.mode, walker.column, walker.row});
            stripHeight = std::min(stripHeight, walker.tileBottom() - walker.y);
        }
        std::vector<Walker> cells = walkers;
        for (int across = 0; across < width;) {
            int cellWidth = width - across;
            for (Walker &cell : cells) {
                if (!cell.tiled()) continue;
                if (cell.x == cell.tileRight()) {
                    events.push_back({cell.image, MOX_TileRelease, cell.column, cell.row});
                    ++cell.column;
                    events.push_back({cell.image, cell.mode, cell.column, cell.row});
                }
                cellWidth = std::min(cellWidth, cell.tileRight() - cell.x);
            }
            for (Walker &cell : cells)
                cell.x += cellWidth;
            across += cellWidth;
        }
        for (const Walker &cell : cells) {
            if (cell.tiled()) events.push_back({cell.image, MOX_TileRelease, cell.column, cell.row});
        }
        for (Walker &walker : walkers)
            walker.y += stripHeight;
        done += stripHeight;
    }
    return events;
}

std::vector<TileEvent> refTileWalkUpTo(const std::vector<TestImage *> &images, int refusedRequest) {
    std::vector<TileEvent> events = refTileWalk(images);
    int requests = 0;
    for (size_t i = 0; i < events.size(); ++i) {
        if (events[i].mode != MOX_TileRelease && ++requests == refusedRequest) {
            events.resize(i + 1);
            break;
        }
    }
    return events;
}
