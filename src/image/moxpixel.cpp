// Single pixels, read and written.
#include <cstring>

#include "frame/owntile.h"

namespace {

// A pixel's place in memory, its tile in hand where the image is tiled.
struct PixelPlace {
    char *first;          // the first channel's sample; at depth 1 the byte
    int64_t channelStep;  // bytes to the next channel
    int bit;
    int column, row;  // of the tile
    char *tile;
};

bool findPixel(const OwnCaller &caller, MoxImage *img, int x, int y, const void *pixel, int mode, PixelPlace *place) {
    if (!ownAcceptImage(caller, img)) return false;
    const char *fault = (x > img->width - 1) || (x < 0)    ? "((x>img->width-1) || (x<0))"
                        : (y > img->height - 1) || (y < 0) ? "((y>img->height-1) || (y<0))"
                        : !pixel                           ? "pixel==0"
                                                           : nullptr;
    if (fault) {
        ownReport(caller, MOX_StatusBadArgument, fault);
        return false;
    }
    if (!ownAcceptPixels(caller, img)) return false;
    if (img->origin == MOX_ORIGIN_BL) y = img->height - y - 1;

    const bool planar = img->dataOrder == MOX_DATA_ORDER_PLANE;
    const int bits = ownDepthBits(img->depth);
    *place = {};
    char *data = img->imageData;
    int64_t widthStep = img->widthStep, rows = img->height;
    if (const MoxTileInfo *tiles = img->tileInfo) {
        place->column = x / tiles->width;
        place->row = y / tiles->height;
        place->tile = data = ownRequestTile(img, place->column, place->row, mode);
        if (!data) {
            ownReport(caller, MOX_StatusGeneral,
                      mode == MOX_TileWrite ? "Error get tile to write" : "Error get tile to read");
            return false;
        }
        widthStep = ownTileRowBytes(img->dataOrder, img->depth, img->align, img->nChannels, tiles->width);
        rows = tiles->height;
        x %= tiles->width;
        y %= tiles->height;
    }
    const int64_t sample = static_cast<int64_t>(x) * (planar ? 1 : img->nChannels);
    place->first = data + y * widthStep + sample * bits / 8;
    place->channelStep = planar ? rows * widthStep : bits / 8;
    place->bit = x % 8;
    return true;
}

void releasePixel(MoxImage *img, const PixelPlace &place) {
    if (place.tile) ownReleaseTile(img, place.column, place.row, place.tile);
}

}  // namespace

void MOX_CALL moxGetPixel(MoxImage *image, int x, int y, void *pixel) {
    PixelPlace place;
    if (!findPixel(OWN_CALLER("moxGetPixel"), image, x, y, pixel, MOX_TileRead, &place)) return;
    auto *out = static_cast<char *>(pixel);
    if (image->depth == MOX_DEPTH_1U) {
        *out = static_cast<char>(*place.first >> (7 - place.bit) & 1);
    } else {
        const int bytes = ownDepthBytes(image->depth);
        for (int c = 0; c < image->nChannels; ++c) {
            std::memcpy(out + int64_t{c} * bytes, place.first + c * place.channelStep, static_cast<size_t>(bytes));
        }
    }
    releasePixel(image, place);
}

void MOX_CALL moxPutPixel(MoxImage *image, int x, int y, const void *pixel) {
    PixelPlace place;
    if (!findPixel(OWN_CALLER("moxPutPixel"), image, x, y, pixel, MOX_TileWrite, &place)) return;
    const auto *in = static_cast<const char *>(pixel);
    if (image->depth == MOX_DEPTH_1U) {
        const int mask = 128 >> place.bit;
        *place.first = static_cast<char>((*in & 1) != 0 ? *place.first | mask : *place.first & ~mask);
    } else {
        const int bytes = ownDepthBytes(image->depth);
        for (int c = 0; c < image->nChannels; ++c) {
            std::memcpy(place.first + c * place.channelStep, in + int64_t{c} * bytes, static_cast<size_t>(bytes));
        }
    }
    releasePixel(image, place);
}
