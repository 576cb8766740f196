// Images in scratch files.
#include "scratch.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "failure.h"
#include "memory.h"
#include "reports.h"

namespace {

constexpr int usualTileWidth = 256, smallTileWidth = 64;
constexpr int widePicture = 4096;
constexpr int highestTile = 256;

// The tiles of all images that a thread works on, the one that was used last in front.
struct Cache {
    ScratchTiles tiles;
    std::uint64_t bytes = 0;
    std::string fault;
};
thread_local Cache cache;

std::size_t pixelBits(const MoxImage *image) {
    const std::size_t bits = image->depth & ~MOX_DEPTH_SIGN;
    return image->dataOrder == MOX_DATA_ORDER_PLANE ? bits : bits * static_cast<std::size_t>(image->nChannels);
}

int planesOf(const MoxImage *image) {
    return image->dataOrder == MOX_DATA_ORDER_PLANE ? image->nChannels : 1;
}

void noteFault(const Scratch &scratch, int error) {
    if (cache.fault.empty()) cache.fault = "the scratch file in " + scratch.folder + ": " + std::strerror(error);
}

[[noreturn]] void failScratch() {
    const std::string fault = cache.fault;
    cache.fault.clear();
    fail(exitFile, fault);
}

bool store(ScratchTile *tile) {
    if (!tile->changed) return true;
    Scratch *const scratch = tile->owner;
    const std::uint64_t offset = std::uint64_t{tile->number} * scratch->tileBytes;
    if (!moveScratch(scratch->descriptor, tile->bytes.data(), tile->bytes.size(), offset, true)) {
        noteFault(*scratch, errno);
        return false;
    }
    scratch->kept[tile->number] = true;
    tile->changed = false;
    return true;
}

bool load(ScratchTile *tile) {
    Scratch *const scratch = tile->owner;
    if (!scratch->kept[tile->number]) {
        std::fill(tile->bytes.begin(), tile->bytes.end(), '\0');
        return true;
    }
    const std::uint64_t offset = std::uint64_t{tile->number} * scratch->tileBytes;
    if (moveScratch(scratch->descriptor, tile->bytes.data(), tile->bytes.size(), offset, false)) return true;
    noteFault(*scratch, errno);
    return false;
}

void forget(ScratchTiles::iterator tile) {
    cache.bytes -= tile->bytes.size();
    tile->owner->inMemory.erase(tile->number);
    cache.tiles.erase(tile);
}

// Of those that nobody has in hand the ones go that were not used for longest. Where all are in hand there will be more
// than there should be, rather than an operation that cannot be done.
bool makeRoom(std::size_t bytes, std::vector<char> *buffer) {
    auto tile = cache.tiles.end();
    while (cache.bytes + bytes > tileMemory() && tile != cache.tiles.begin()) {
        --tile;
        if (tile->inHand > 0) continue;
        if (!store(&*tile)) return false;
        const auto next = std::next(tile);
        if (tile->bytes.size() == bytes && buffer->empty()) {
            cache.bytes -= bytes;
            buffer->swap(tile->bytes);
        }
        forget(tile);
        tile = next;
    }
    return true;
}

// Null where the scratch file fails.
ScratchTile *tileOf(Scratch *scratch, std::size_t number, bool willChange) {
    const auto found = scratch->inMemory.find(number);
    if (found != scratch->inMemory.end()) {
        cache.tiles.splice(cache.tiles.begin(), cache.tiles, found->second);
    } else {
        std::vector<char> buffer;
        if (!makeRoom(scratch->tileBytes, &buffer)) return nullptr;
        buffer.resize(scratch->tileBytes);
        ScratchTile tile{scratch, number, std::move(buffer), 0, false};
        if (!load(&tile)) return nullptr;
        cache.bytes += scratch->tileBytes;
        cache.tiles.push_front(std::move(tile));
        scratch->inMemory[number] = cache.tiles.begin();
    }
    ScratchTile &tile = cache.tiles.front();
    tile.changed = tile.changed || willChange;
    return &tile;
}

void handOut(Scratch *scratch, int xIndex, int yIndex, bool forWriting) {
    scratch->info.tileData = nullptr;
    if (xIndex < 0 || yIndex < 0 || xIndex >= scratch->columns || yIndex >= scratch->rows) return;
    const auto number = static_cast<std::size_t>(yIndex) * static_cast<std::size_t>(scratch->columns) +
                        static_cast<std::size_t>(xIndex);
    ScratchTile *const tile = tileOf(scratch, number, forWriting);
    if (!tile) return;
    tile->inHand++;
    scratch->inHand++;
    scratch->info.tileData = tile->bytes.data();
}

void takeBack(Scratch *scratch, int xIndex, int yIndex) {
    const auto number = static_cast<std::size_t>(yIndex) * static_cast<std::size_t>(scratch->columns) +
                        static_cast<std::size_t>(xIndex);
    const auto found = scratch->inMemory.find(number);
    if (found == scratch->inMemory.end() || found->second->inHand == 0) return;
    found->second->inHand--;
    scratch->inHand--;
}

// The library is no place for an exception to pass through.
int MOX_CALL answer(MoxImage *image, int xIndex, int yIndex, int mode) noexcept {
    auto *scratch = static_cast<Scratch *>(image->tileInfo->id);
    if (mode == MOX_TileRelease) {
        takeBack(scratch, xIndex, yIndex);
        return 0;
    }
    try {
        handOut(scratch, xIndex, yIndex, mode == MOX_TileWrite);
    } catch (...) {
        scratch->info.tileData = nullptr;
        if (cache.fault.empty()) cache.fault = "not enough memory";
    }
    return 0;
}

// A few rows of tiles of each image of a call are to have room at once: that decides how high a tile is.
TileSize suitedTile(std::uint64_t pixelBits, TileSize wanted, int width, int height) {
    constexpr std::uint64_t rowsAtOnce = 6;
    const auto bytesAcross = [&](int tileWidth) {
        const auto side = static_cast<std::uint64_t>(tileWidth);
        return (static_cast<std::uint64_t>(width) + side - 1) / side * side * pixelBits / 8;
    };
    if (wanted.width == 0) {
        wanted.width = width < widePicture ? smallTileWidth : usualTileWidth;
        const std::uint64_t rows = tileMemory() / rowsAtOnce / bytesAcross(wanted.width) / 8 * 8;
        wanted.height = static_cast<int>(std::clamp<std::uint64_t>(rows, 8, highestTile));
    }
    // What must be there: a row of tiles of two sources and the result.
    const std::uint64_t least = 3 * bytesAcross(wanted.width) * static_cast<std::uint64_t>(wanted.height);
    if (least > tileMemory()) {
        throw TooLarge{{exitOperation, "a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                                           " takes " + megabytes(boundFor(3 * least)) +
                                           " or more where it goes through scratch files; --memory allows " +
                                           megabytes(memoryBound())}};
    }
    return wanted;
}

void checkSpace(const Scratch &scratch, std::uint64_t bytes) {
    const std::uint64_t free = freeSpace(scratch.descriptor);
    if (bytes <= free) return;
    fail(exitFile, "the scratch file in " + scratch.folder + ": " + megabytes(bytes) + " are needed and " +
                       megabytes(free) + " are free (TMPDIR names another folder)");
}

// Throws Failure where the scratch file fails.
ScratchTile *neededTile(Scratch *scratch, std::size_t number, bool willChange) {
    ScratchTile *const tile = tileOf(scratch, number, willChange);
    if (!tile) failScratch();
    return tile;
}

// Moves the rows of a band into its tiles, or out of them. Tiles begin at multiples of 8 pixels, so at whole bytes; at
// one bit a sample the bits behind the picture in its last byte go along.
void moveBand(Scratch *scratch, int tileRow, MoxImage *band, bool toTiles) {
    const MoxImage *image = scratch->image.get();
    const int rows = std::min(scratch->info.height, image->height - tileRow * scratch->info.height);
    for (int column = 0; column < scratch->columns; column++) {
        const auto number = static_cast<std::size_t>(tileRow) * static_cast<std::size_t>(scratch->columns) +
                            static_cast<std::size_t>(column);
        ScratchTile *const tile = neededTile(scratch, number, toTiles);
        const int x = column * scratch->info.width;
        const auto columns = static_cast<std::size_t>(std::min(scratch->info.width, image->width - x));
        const std::size_t bytes = (columns * pixelBits(image) + 7) / 8;
        const std::size_t xBytes = static_cast<std::size_t>(x) * pixelBits(image) / 8;
        for (int plane = 0; plane < planesOf(image); plane++) {
            for (int row = 0; row < rows; row++) {
                const auto line = static_cast<std::size_t>(plane) * static_cast<std::size_t>(scratch->info.height) +
                                  static_cast<std::size_t>(row);
                char *const inBand = band->imageData + line * static_cast<std::size_t>(band->widthStep) + xBytes;
                char *const inTile = tile->bytes.data() + line * scratch->tileRowBytes;
                std::memcpy(toTiles ? inTile : inBand, toTiles ? inBand : inTile, bytes);
            }
        }
    }
}

}  // namespace

Scratch::~Scratch() {
    while (!inMemory.empty())
        forget(inMemory.begin()->second);
    if (descriptor >= 0) ::close(descriptor);
    if (counted) countScratch(-1);
}

std::unique_ptr<Scratch> makeScratch(int channels, unsigned depth, bool planes, int width, int height, TileSize tiles) {
    auto scratch = std::make_unique<Scratch>();
    const std::uint64_t bits = (depth & ~MOX_DEPTH_SIGN) * static_cast<unsigned>(channels);
    tiles = suitedTile(bits, tiles, width, height);
    moxSetTileInfo(&scratch->info, answer, scratch.get(), tiles.width, tiles.height);
    scratch->image.reset(makeHeader(channels, depth, planes, width, height, &scratch->info));
    const MoxImage *image = scratch->image.get();
    scratch->columns = (width - 1) / tiles.width + 1;
    scratch->rows = (height - 1) / tiles.height + 1;
    const std::size_t unit = static_cast<std::size_t>(image->align) * 8;
    scratch->tileRowBytes = (static_cast<std::size_t>(tiles.width) * pixelBits(image) + unit - 1) / unit * unit / 8;
    scratch->tileBytes =
        scratch->tileRowBytes * static_cast<std::size_t>(tiles.height) * static_cast<std::size_t>(planesOf(image));
    const std::uint64_t count =
        static_cast<std::uint64_t>(scratch->columns) * static_cast<std::uint64_t>(scratch->rows);
    scratch->descriptor = openScratch(&scratch->folder);
    if (scratch->descriptor < 0) failErrno("no scratch file can be made in " + scratch->folder, errno);
    checkSpace(*scratch, count * scratch->tileBytes);
    scratch->kept.resize(static_cast<std::size_t>(count));
    countScratch(1);
    scratch->counted = true;
    return scratch;
}

ImagePtr makeBand(const Scratch &scratch) {
    const MoxImage *image = scratch.image.get();
    return makeImage(image->nChannels, image->depth, image->dataOrder == MOX_DATA_ORDER_PLANE, image->width,
                     scratch.info.height, false);
}

void readBand(Scratch *scratch, int tileRow, MoxImage *band) {
    moveBand(scratch, tileRow, band, false);
}

void writeBand(Scratch *scratch, int tileRow, const MoxImage *band) {
    MoxImage from = *band;
    moveBand(scratch, tileRow, &from, true);
}

bool copyScratch(Scratch *from, Scratch *to) {
    if (from->tileBytes != to->tileBytes || from->kept.size() != to->kept.size()) return false;
    for (std::size_t number = 0; number < from->kept.size(); number++) {
        ScratchTile *const source = neededTile(from, number, false);
        source->inHand++;
        ScratchTile *const target = tileOf(to, number, true);
        source->inHand--;
        if (!target) failScratch();
        std::memcpy(target->bytes.data(), source->bytes.data(), from->tileBytes);
    }
    return true;
}

void checkScratch() {
    if (!cache.fault.empty()) failScratch();
}
