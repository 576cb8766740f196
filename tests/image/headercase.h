// What tests of headers create images from.
#pragma once

#include "mox.h"

inline int MOX_CALL noTile(MoxImage *, int, int, int) {
    return 0;
}

// The arguments of moxCreateImageHeader.
struct Arguments {
    int nChannels = 3, alphaChannel = 0, depth = MOX_DEPTH_8U;
    const char *colorModel = "RGB", *channelSeq = "BGR";
    int dataOrder = 0, origin = 0, align = 8, width = 10, height = 6;
    MoxROI *roi = nullptr;
    MoxImage *mask = nullptr;
    void *id = nullptr;
    MoxTileInfo *tileInfo = nullptr;
};

inline MoxImage *create(const Arguments &a) {
    return moxCreateImageHeader(a.nChannels, a.alphaChannel, a.depth, a.colorModel, a.channelSeq, a.dataOrder, a.origin,
                                a.align, a.width, a.height, a.roi, a.mask, a.id, a.tileInfo);
}

// A clean mask for tests to spoil.
struct MaskHeader {
    char bits[64] = {};
    MoxROI roi = {0, 0, 0, 4, 4};
    MoxTileInfo tile = {noTile, nullptr, nullptr, 8, 8};
    MoxImage *image =
        moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", 0, 0, 8, 8, 8, nullptr, nullptr, nullptr, nullptr);
    MaskHeader() { image->imageData = bits; }
    ~MaskHeader() { moxDeallocateHeader(image); }
    MaskHeader(const MaskHeader &) = delete;
    MaskHeader &operator=(const MaskHeader &) = delete;
};
