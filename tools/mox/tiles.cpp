// An image in memory served to the library tile by tile.
#include "tiles.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "failure.h"
#include "reports.h"

namespace {

// What fills the part of an edge tile where the picture has ended. The library must not let it show.
constexpr char beyondThePicture = 0x5A;

constexpr std::size_t largestTile = std::size_t{1} << 30;

struct TileShape {
    std::size_t rowBytes;
    std::size_t rows;  // of all planes
};

std::size_t roundedBytes(std::size_t bits, int align) {
    const std::size_t unit = static_cast<std::size_t>(align) * 8;
    return (bits + unit - 1) / unit * unit / 8;
}

std::size_t pixelBits(const MoxImage *image) {
    const std::size_t bits = image->depth & ~MOX_DEPTH_SIGN;
    return image->dataOrder == MOX_DATA_ORDER_PLANE ? bits : bits * static_cast<std::size_t>(image->nChannels);
}

std::size_t planesOf(const MoxImage *image) {
    return image->dataOrder == MOX_DATA_ORDER_PLANE ? static_cast<std::size_t>(image->nChannels) : 1;
}

TileShape tileShape(const MoxImage *image, const MoxTileInfo &info) {
    return {roundedBytes(static_cast<std::size_t>(info.width) * pixelBits(image), image->align),
            static_cast<std::size_t>(info.height) * planesOf(image)};
}

// Moves the part of a tile that lies in the picture, one way or the other. Tiles begin at multiples of 8 pixels, so at
// whole bytes; at one bit a sample the bits behind the picture in its last byte are padding, and go along.
void moveTile(const TileServer &server, int xIndex, int yIndex, char *tile, bool toStore) {
    const MoxImage *store = server.store;
    const TileShape shape = tileShape(store, server.info);
    const int x = xIndex * server.info.width;
    const int y = yIndex * server.info.height;
    const auto columns = static_cast<std::size_t>(std::min(server.info.width, store->width - x));
    const int rows = std::min(server.info.height, store->height - y);
    const std::size_t bytes = (columns * pixelBits(store) + 7) / 8;
    const std::size_t xBytes = static_cast<std::size_t>(x) * pixelBits(store) / 8;
    const auto step = static_cast<std::size_t>(store->widthStep);
    for (std::size_t plane = 0; plane < planesOf(store); plane++) {
        for (int row = 0; row < rows; row++) {
            const std::size_t storeRow =
                plane * static_cast<std::size_t>(store->height) + static_cast<std::size_t>(y + row);
            const std::size_t tileRow =
                plane * static_cast<std::size_t>(server.info.height) + static_cast<std::size_t>(row);
            char *const inStore = store->imageData + storeRow * step + xBytes;
            char *const inTile = tile + tileRow * shape.rowBytes;
            std::memcpy(toStore ? inStore : inTile, toStore ? inTile : inStore, bytes);
        }
    }
}

void handOut(TileServer *server, int xIndex, int yIndex, bool forWriting) {
    server->requests++;
    const bool inPicture = xIndex >= 0 && yIndex >= 0 && xIndex <= (server->store->width - 1) / server->info.width &&
                           yIndex <= (server->store->height - 1) / server->info.height;
    if (!inPicture) return;
    HeldTile &tile = server->held[{xIndex, yIndex}];
    if (tile.holds == 0) {
        const TileShape shape = tileShape(server->store, server->info);
        tile.bytes.assign(shape.rowBytes * shape.rows, beyondThePicture);
        moveTile(*server, xIndex, yIndex, tile.bytes.data(), false);
    }
    tile.holds++;
    tile.written = tile.written || forWriting;
    server->info.tileData = tile.bytes.data();
}

void takeBack(TileServer *server, int xIndex, int yIndex) {
    const auto found = server->held.find({xIndex, yIndex});
    if (found == server->held.end() || --found->second.holds > 0) return;
    if (found->second.written) moveTile(*server, xIndex, yIndex, found->second.bytes.data(), true);
    server->held.erase(found);
}

// The library is no place for an exception to pass through: what goes wrong here is a tile that is not delivered.
int MOX_CALL answer(MoxImage *image, int xIndex, int yIndex, int mode) noexcept {
    auto *server = static_cast<TileServer *>(image->tileInfo->id);
    try {
        if (mode == MOX_TileRelease) {
            takeBack(server, xIndex, yIndex);
        } else {
            server->info.tileData = nullptr;
            handOut(server, xIndex, yIndex, mode == MOX_TileWrite);
        }
    } catch (...) {
        server->info.tileData = nullptr;
    }
    return 0;
}

}  // namespace

std::unique_ptr<TileServer> serveTiles(MoxImage *store, int tileWidth, int tileHeight) {
    auto server = std::make_unique<TileServer>();
    server->store = store;
    moxSetTileInfo(&server->info, answer, server.get(), tileWidth, tileHeight);
    const TileShape shape = tileShape(store, server->info);
    if (shape.rowBytes > largestTile / shape.rows)
        fail(exitUsage, "--tiles: a tile of this size takes more than 1 GiB");
    server->image.reset(moxCreateImageHeader(store->nChannels, store->alphaChannel, static_cast<int>(store->depth),
                                             store->colorModel, store->channelSeq, store->dataOrder, store->origin,
                                             store->align, store->width, store->height, nullptr, nullptr, nullptr,
                                             &server->info));
    if (!server->image) fail(exitOperation, "no tiled image can be made: " + reportsText());
    return server;
}
