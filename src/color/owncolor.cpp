// Colour models: where the channels of an image are, and the images, plain or tiled, that a kernel is brought over.
#include "color/owncolor.h"

#include <algorithm>

#include "core/owncpu.h"
#include "core/ownfpcontrol.h"
#include "frame/ownrect.h"
#include "frame/owntile.h"

#define OWN_MODEL(Table, function, name)                                 \
    OWN_DECLARE_LEVELS(Table, name)                                      \
    const Table &function() {                                            \
        static constexpr const Table *tables[] = OWN_LEVEL_TABLES(name); \
        return *tables[ownCpuLevel()];                                   \
    }
OWN_MODEL(OwnModelRows, ownHsvRows, hsvRows)
OWN_MODEL(OwnModelRows, ownHlsRows, hlsRows)
OWN_MODEL(OwnModelRows, ownXyzRows, xyzRows)
OWN_MODEL(OwnModelRows, ownYuvRows, yuvRows)
OWN_MODEL(OwnModelRows, ownMixedYuvRows, mixedYuvRows)
OWN_MODEL(OwnModelRows, ownYCrCbRows, yCrCbRows)
OWN_MODEL(OwnModelRows, ownYccRows, yccRows)
OWN_MODEL(OwnModelRows, ownLuvRows, luvRows)
OWN_MODEL(OwnGrayRows, ownGrayRows, grayRows)
OWN_MODEL(OwnToColorRows, ownToColorRows, toColorRows)

void ownFindChannelPlanes(const MoxImage *image, int *channels) {
    channels[0] = 0;
    channels[1] = 1;
    channels[2] = 2;
    if (image->dataOrder == MOX_DATA_ORDER_PIXEL) {
        if (image->channelSeq[0] != 'R') std::swap(channels[0], channels[2]);
        return;
    }
    for (int plane = 0; plane < 3; ++plane) {
        const char letter = image->channelSeq[plane];
        if (letter == 'R') channels[0] = plane;
        if (letter == 'G') channels[1] = plane;
        if (letter == 'B') channels[2] = plane;
    }
}

namespace {

void runPlain(const OwnModelConversion &conversion, MoxImage *src, MoxImage *dst, int64_t width, int64_t height) {
    OwnPlanes planes;
    planes.count = 2;
    planes.mask = nullptr;
    planes.width = static_cast<int>(width);
    planes.height = static_cast<int>(height);
    planes.images[0] = {src, conversion.srcCount, {}, false};
    planes.images[1] = {dst, conversion.dstCount, {}, true, conversion.equal};
    std::copy(conversion.srcChannels, conversion.srcChannels + OWN_MAX_PLANES, planes.images[0].channels);
    std::copy(conversion.dstChannels, conversion.dstChannels + OWN_MAX_PLANES, planes.images[1].channels);
    ownRunPlanes(planes, conversion.kernel, conversion.operation);
}

// A plain image that stands for a part of one that may be tiled, without region and mask.
MoxImage plainHeader(const MoxImage *image, char *data, int64_t width, int64_t height, int rowBytes) {
    MoxImage header = *image;
    header.roi = nullptr;
    header.maskROI = nullptr;
    header.tileInfo = nullptr;
    header.imageData = data;
    header.width = static_cast<int>(width);
    header.height = static_cast<int>(height);
    header.widthStep = rowBytes;
    return header;
}

// The pixels of the source below a tile of the destination. Null where a tile is refused, or without memory, which has
// been reported.
char *readSource(const OwnModelConversion &conversion, const OwnImageRect &part, int *rowBytes) {
    MoxTileInfo *tiles = conversion.src->tileInfo;
    // Memory is taken before the first request. Something that is no tile and still stands there afterwards tells that
    // there was none; what stands there after a refusal may be the next tile of the row.
    char none = 0;
    char *before = tiles ? tiles->tileData : nullptr;
    if (tiles) tiles->tileData = &none;
    char *data = ownGetRect(conversion.src, static_cast<int>(part.x), static_cast<int>(part.y),
                            static_cast<int>(part.width), static_cast<int>(part.height), rowBytes);
    const bool refused = tiles && tiles->tileData != &none;
    if (tiles && tiles->tileData == &none) tiles->tileData = before;
    if (data) return data;
    if (refused) {
        ownReport(conversion.caller, MOX_StatusBadArgument, "(srcImage->tileInfo->tileData == 0)");
    } else {
        ownReport(conversion.caller, MOX_StatusNoMemory, "Out of memory");
    }
    return nullptr;
}

bool convertTile(const OwnModelConversion &conversion, const OwnImageRect &part, MoxImage *tile) {
    int rowBytes = 0;
    char *data = readSource(conversion, part, &rowBytes);
    if (!data) return false;
    MoxImage rect = plainHeader(conversion.src, data, part.width, part.height, rowBytes);
    runPlain(conversion, &rect, tile, part.width, part.height);
    ownFreeRect(data);
    return true;
}

// A plain destination has all of its pixels in one tile.
void runTiles(const OwnModelConversion &conversion, int64_t width, int64_t height) {
    MoxImage *dst = conversion.dst;
    const MoxTileInfo *tiles = dst->tileInfo;
    if (!tiles) {
        MoxImage whole = *dst;
        convertTile(conversion, {0, 0, 0, 0, height, width}, &whole);
        return;
    }
    for (int64_t y = 0; y < height; y += tiles->height) {
        for (int64_t x = 0; x < width; x += tiles->width) {
            const int column = static_cast<int>(x / tiles->width), row = static_cast<int>(y / tiles->height);
            char *data = ownRequestTile(dst, column, row, MOX_TileWrite);
            if (!data) {
                ownReport(conversion.caller, MOX_StatusBadArgument, "(dstImage->tileInfo->tileData == 0)");
                return;
            }
            const OwnImageRect part = {
                x, 0, y, 0, std::min<int64_t>(tiles->height, height - y), std::min<int64_t>(tiles->width, width - x)};
            MoxImage tile = *dst;
            ownMakeTileHeader(dst, &tile);
            tile.imageData = data;
            tile.roi = nullptr;
            // What is in hand at a refusal stays there, as elsewhere.
            if (!convertTile(conversion, part, &tile)) return;
            ownReleaseTile(dst, column, row, data);
        }
    }
}

}  // namespace

void ownRunModelConversion(const OwnModelConversion &conversion) {
    MoxImage *src = conversion.src, *dst = conversion.dst;
    if (!ownAcceptPixels(conversion.caller, src) || !ownAcceptPixels(conversion.caller, dst)) return;
    const int64_t width = std::min(src->width, dst->width), height = std::min(src->height, dst->height);
    const OwnNearestRounding rounding;
    if (src->tileInfo || dst->tileInfo) {
        runTiles(conversion, width, height);
    } else {
        runPlain(conversion, src, dst, width, height);
    }
}
