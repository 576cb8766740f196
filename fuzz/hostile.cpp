// Headers with anything in their fields, and the tiles that they ask for.
#include "hostile.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

#include "support/allocations.h"
#include "support/scene.h"
#include "target.h"

#if defined(__SANITIZE_ADDRESS__)
constexpr size_t GUARD = 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr size_t GUARD = 0;
#else
constexpr size_t GUARD = 64;
#endif
#else
constexpr size_t GUARD = 64;
#endif
constexpr uint8_t GUARD_BYTE = 0xA5;

// What is too much to provide, and to work on for one input.
constexpr int64_t MOST_BYTES = 1 << 18, MOST_PIXELS = 1 << 14;

static HostileImages *current = nullptr;

WatchedBlock::WatchedBlock(size_t size, uint8_t fill)
    : size_(size), guard_(GUARD), storage_(new uint8_t[size + 2 * GUARD]) {
    memset(storage_.get(), GUARD_BYTE, size + 2 * GUARD);
    for (size_t i = 0; i < size; ++i)
        storage_[GUARD + i] = static_cast<uint8_t>(fill + i * 37);
}

bool WatchedBlock::guardsStand() const {
    for (size_t i = 0; i < guard_; ++i) {
        if (storage_[i] != GUARD_BYTE || storage_[guard_ + size_ + i] != GUARD_BYTE) return false;
    }
    return true;
}

int drawImageSize(uint32_t bits, int size) {
    if ((bits >> 8 & 7) != 0) return size;
    return static_cast<int>(1 + (bits >> 11 >> (bits >> 27)));
}

// One of the usual values, or now and then anything.
template <size_t COUNT>
static int pick(Random &random, const int (&usual)[COUNT]) {
    const int choice = random.below(static_cast<int>(16 * COUNT));
    if (choice < static_cast<int>(COUNT)) return drawInt(random);
    return usual[choice % static_cast<int>(COUNT)];
}
static int pickBetween(Random &random, int low, int high) {
    return random.oneIn(24) ? drawInt(random) : random.between(low, high);
}

// Products that saturate, far beyond every limit here.
static int64_t product(int64_t a, int64_t b) {
    const double exact = static_cast<double>(a) * static_cast<double>(b);
    return exact > 1e17 ? int64_t{100000000000000000} : exact < -1e17 ? int64_t{-100000000000000000} : a * b;
}

// Bytes in a row of so many pixels.
static int64_t rowBytes(const MoxImage &image, int64_t width) {
    const int64_t samples = product(width, image.dataOrder == MOX_DATA_ORDER_PLANE ? 1 : image.nChannels);
    const int64_t bits = product(samples, static_cast<int>(image.depth & 63));
    const int64_t unit = image.align > 0 ? int64_t{image.align} * 8 : 8;
    return (bits + unit - 1) / unit * unit / 8;
}
static int saturated(int64_t value) {
    return static_cast<int>(std::clamp<int64_t>(value, INT_MIN, INT_MAX));
}

void HostileImages::drawSizes(Random &random, MoxImage &image) {
    const bool plane = image.dataOrder == MOX_DATA_ORDER_PLANE;
    image.width = pickBetween(random, 1, 70);
    image.height = pickBetween(random, 1, 20);
    const int64_t row = rowBytes(image, image.width);
    image.widthStep =
        random.oneIn(12) ? pickBetween(random, 0, 40) : saturated(row + random.below(3) * random.below(9));
    const int64_t size = static_cast<int64_t>(image.widthStep) * image.height;
    image.imageSize = random.oneIn(12)                      ? drawInt(random)
                      : plane && size > 0 && size < INT_MAX ? saturated(size * image.nChannels)
                                                            : saturated(size);
}

void HostileImages::drawRegion(Random &random, Part &part) {
    if (random.oneIn(8) && !parts_.empty()) {
        part.header.roi = &parts_[static_cast<size_t>(random.below(static_cast<int>(parts_.size())))]->roi;
        return;
    }
    part.roi.coi = random.oneIn(2) ? 0 : pickBetween(random, 0, 4);
    part.roi.xOffset = pickBetween(random, 0, 40);
    part.roi.yOffset = pickBetween(random, 0, 12);
    part.roi.width = random.oneIn(3) ? INT_MAX : pickBetween(random, 1, 70);
    part.roi.height = random.oneIn(3) ? INT_MAX : pickBetween(random, 1, 20);
    part.header.roi = &part.roi;
}

void HostileImages::drawMask(Random &random, Part &part, int depth) {
    if (random.oneIn(6)) {
        // Another image, a mask that serves two, or the image itself.
        const size_t others = parts_.size();
        part.header.maskROI = &parts_[static_cast<size_t>(random.below(static_cast<int>(others)))]->header;
    } else if (depth < 3) {
        part.header.maskROI = &add(random, true, depth + 1)->header;
    }
}

void HostileImages::drawTiles(Random &random, Part &part) {
    if (random.oneIn(8)) {
        part.header.tileInfo = &parts_[static_cast<size_t>(random.below(static_cast<int>(parts_.size())))]->tiles;
        return;
    }
    const int usual[] = {8, 16, 24, 32};
    part.tiles.width = pick(random, usual);
    part.tiles.height = pick(random, usual);
    part.header.tileInfo = &part.tiles;
}

// widthStep x height bytes for each plane; a header that cannot be one in memory, and so has to be refused, gets a
// byte.
void HostileImages::provideMemory(Random &random, Part &part) {
    MoxImage &image = part.header;
    const int planes = image.dataOrder == MOX_DATA_ORDER_PLANE ? image.nChannels : 1;
    int64_t bytes = product(product(image.widthStep, image.height), planes);
    if (image.widthStep < 1 || image.height < 1 || planes < 1 || bytes > INT_MAX) bytes = 1;
    if (bytes > MOST_BYTES) {
        tooLarge_ = true;
        bytes = 1;
    }
    const size_t shift = random.oneIn(3) ? static_cast<size_t>(random.below(8)) : 0;
    part.pixels =
        std::make_unique<WatchedBlock>(static_cast<size_t>(bytes) + shift, static_cast<uint8_t>(random.bits()));
    image.imageData = part.pixels->data() + shift;
}

HostileImages::Part *HostileImages::add(Random &random, bool isMask, int depth) {
    static const int channels[] = {1, 1, 3, 4, 2}, aligns[] = {4, 8, 16, 32}, bit[] = {0, 1};
    parts_.push_back(std::make_unique<Part>());
    Part &part = *parts_.back();
    MoxImage &image = part.header;
    image = {};
    part.tiles = {serve, this, nullptr, 8, 8};
    part.roi = {0, 0, 0, 8, 8};
    image.headerSize = random.oneIn(8) ? drawInt(random) : static_cast<int>(sizeof(MoxImage));
    image.depth = random.oneIn(24) ? random.bits()
                  : isMask         ? MOX_DEPTH_1U
                  : depth_ != 0    ? depth_
                                   : allDepths[random.below(static_cast<int>(std::size(allDepths)))];
    const bool one = image.depth == MOX_DEPTH_1U && !random.oneIn(24);
    image.nChannels = one ? 1 : pick(random, channels);
    image.alphaChannel = random.oneIn(3) ? image.nChannels : random.oneIn(24) ? drawInt(random) : 0;
    image.dataOrder = pick(random, bit);
    image.origin = pick(random, bit);
    image.align = pick(random, aligns);
    drawSizes(random, image);
    for (int side = 0; side < 4; ++side) {
        image.borderMode[side] = pickBetween(random, 0, 3);
        image.borderConst[side] = drawInt(random);
    }
    if (random.oneIn(2)) drawRegion(random, part);
    if (random.oneIn(isMask ? 8 : 3)) drawMask(random, part, depth);
    const bool tiled = random.oneIn(isMask ? 24 : 3), neitherOrBoth = random.oneIn(32);
    if (tiled) drawTiles(random, part);
    if (tiled == neitherOrBoth) provideMemory(random, part);
    static const char sequences[][5] = {"G", "BGR", "BGRA", "RGB", "RGBA", "GRAY"};
    const int usual = image.nChannels == 4 ? 2 : image.nChannels == 3 ? 1 : 0;
    memcpy(image.channelSeq, sequences[random.oneIn(3) ? random.below(6) : usual], 4);
    image.imageId = &image.imageId;
    // Nobody may follow this one.
    image.imageDataBase = reinterpret_cast<char *>(uintptr_t{16});
    return &part;
}

// Images that an operation runs over in one go, by an imageSize that only the one with the longest rows has.
void HostileImages::makeFlat(Random &random) {
    const MoxImage *first = nullptr;
    for (const auto &part : parts_) {
        MoxImage &image = part->header;
        if (!image.imageData || std::find(entries_.begin(), entries_.end(), &image) == entries_.end()) continue;
        if (!first) first = &image;
        image.align = first->align;
        image.width = first->width;
        image.height = first->height;
        image.imageSize = first->imageSize;
        image.alphaChannel = 0;
        image.roi = nullptr;
        image.maskROI = nullptr;
        image.widthStep = saturated(rowBytes(image, image.width) + random.below(3) * 32);
        provideMemory(random, *part);
    }
}

HostileImages::HostileImages(Random &random, int count, unsigned depth) : depth_(depth) {
    for (int i = 0; i < count; ++i) {
        const bool again = i > 0 && random.oneIn(6), none = random.oneIn(64);
        if (none) {
            entries_.push_back(nullptr);
        } else if (again) {
            entries_.push_back(entries_[static_cast<size_t>(random.below(i))]);
        } else {
            Part *part = add(random, false, 0);
            entries_.push_back(&part->header);
            // Now and then of the first one's kind, so that operations get past their tests.
            if (i > 0 && entries_[0] && random.below(4) != 0) {
                const MoxImage &first = *entries_[0];
                MoxImage &image = part->header;
                image.depth = first.depth;
                image.dataOrder = first.dataOrder;
                image.origin = first.origin;
                image.nChannels = first.nChannels;
                image.alphaChannel = first.alphaChannel;
                drawSizes(random, image);
                if (image.imageData) provideMemory(random, *part);
            }
        }
    }
    if (random.oneIn(6)) makeFlat(random);
    for (const auto &part : parts_) {
        part->kept = part->header;
        part->keptRoi = part->roi;
        part->keptTiles = part->tiles;
    }
    current = this;
}

HostileImages::~HostileImages() {
    current = nullptr;
}

bool HostileImages::tooLarge(int count) const {
    if (tooLarge_) return true;
    int64_t width = INT_MAX, height = INT_MAX;
    for (int i = 0; i < count; ++i) {
        const MoxImage *image = header(i);
        if (!image) continue;
        const MoxROI *roi = image->roi;
        width = std::min<int64_t>(
            width, roi ? std::min<int64_t>(roi->width, int64_t{image->width} - roi->xOffset) : image->width);
        height = std::min<int64_t>(
            height, roi ? std::min<int64_t>(roi->height, int64_t{image->height} - roi->yOffset) : image->height);
    }
    return count > 0 && width > 0 && height > 0 && width * height > MOST_PIXELS;
}

int MOX_CALL HostileImages::serve(MoxImage *image, int column, int row, int mode) {
    AllocationPause pause;
    requireThat(current != nullptr, "a tile was asked for outside of a call");
    const auto &parts = current->parts_;
    requireThat(std::any_of(parts.begin(), parts.end(), [&](const auto &part) { return &part->header == image; }),
                "the tile callback got a header that is not the caller's");
    if (mode == MOX_TileRelease) {
        current->takeTile(image, column, row);
    } else {
        requireThat(mode == MOX_TileRead || mode == MOX_TileWrite, "unknown tile mode");
        current->giveTile(image, column, row, mode);
    }
    return 1;
}

void HostileImages::giveTile(MoxImage *image, int column, int row, int mode) {
    MoxTileInfo *tiles = image->tileInfo;
    requireThat(column >= 0 && row >= 0 && int64_t{column} * tiles->width < image->width &&
                    int64_t{row} * tiles->height < image->height,
                "a tile that is not of the grid");
    const int planes = image->dataOrder == MOX_DATA_ORDER_PLANE ? image->nChannels : 1;
    const int64_t bytes = product(product(rowBytes(*image, tiles->width), tiles->height), planes);
    tiles->tileData = nullptr;
    if (++requests_ == refuseAt_ || bytes > MOST_BYTES) return;
    inHand_.push_back(
        {image, column, row, mode,
         std::make_unique<WatchedBlock>(static_cast<size_t>(bytes), static_cast<uint8_t>(column + 3 * row))});
    tiles->tileData = inHand_.back().block->data();
}

static bool holdsItsFill(const WatchedBlock &block, int column, int row) {
    const WatchedBlock fresh(block.size(), static_cast<uint8_t>(column + 3 * row));
    return memcmp(fresh.data(), block.data(), block.size()) == 0;
}

void HostileImages::takeTile(MoxImage *image, int column, int row) {
    const auto tile = std::find_if(inHand_.begin(), inHand_.end(), [&](const Tile &each) {
        return each.image == image && each.column == column && each.row == row &&
               each.block->data() == image->tileInfo->tileData;
    });
    requireThat(tile != inHand_.end(), "a tile was released that is not in hand");
    requireThat(tile->block->guardsStand(), "a byte beside a tile was written");
    requireThat(tile->mode == MOX_TileWrite || holdsItsFill(*tile->block, column, row),
                "a tile was asked for reading and written");
    inHand_.erase(tile);
}

void HostileImages::begin(int refuseAt) {
    requests_ = 0;
    refuseAt_ = refuseAt;
}

void HostileImages::requireNoHarm(const std::string &what) {
    for (const Tile &tile : inHand_)
        requireThat(tile.block->guardsStand(), what + ": a byte beside a tile was written");
    inHand_.clear();
    for (const auto &part : parts_) {
        part->tiles.tileData = part->keptTiles.tileData;
        requireThat(memcmp(&part->header, &part->kept, sizeof(MoxImage)) == 0, what + ": a header was changed");
        requireThat(memcmp(&part->roi, &part->keptRoi, sizeof(MoxROI)) == 0, what + ": a region record was changed");
        requireThat(memcmp(&part->tiles, &part->keptTiles, sizeof(MoxTileInfo)) == 0,
                    what + ": a tile record was changed");
        requireThat(!part->pixels || part->pixels->guardsStand(), what + ": a byte beside the pixels was written");
    }
}
