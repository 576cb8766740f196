// The rows of an image as quads, or as grays of 8 bits.
#include "dib/ownimagerows.h"

#include <cstring>

#include "frame/ownimage.h"
#include "frame/ownmove.h"

namespace {

uint8_t *rowOf(const OwnImageRows &rows, int64_t y) {
    return rows.data + y * rows.widthStep;
}

}  // namespace

OwnImageRows ownImageRows(const MoxImage *image) {
    OwnImageRows rows = {};
    rows.data = reinterpret_cast<uint8_t *>(image->imageData);
    rows.widthStep = image->widthStep;
    rows.width = static_cast<size_t>(image->width);
    rows.height = image->height;
    rows.bits = static_cast<int>(image->depth);
    rows.gray = image->nChannels == 1;
    OwnChannelPlaces places = {};
    if (rows.gray || !ownFindChannels(image, &places)) return rows;

    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    OwnQuadLayout &layout = rows.layout;
    layout.bytes = rows.bits / 8;
    layout.step = planar ? 1 : image->nChannels;
    layout.hasAlpha = places.alpha >= 0;
    const int64_t apart = planar ? rows.widthStep * rows.height : layout.bytes;
    const int channels[] = {places.blue, places.green, places.red, places.alpha};
    for (int i = 0; i < 4; ++i)
        layout.offset[i] = channels[i] < 0 ? 0 : channels[i] * apart;
    return rows;
}

void ownReadGrays(const OwnImageRows &rows, int64_t y, size_t x, size_t n, uint8_t *grays) {
    const uint8_t *row = rowOf(rows, y);
    if (rows.bits == 8) {
        std::memcpy(grays, row + x, n);
    } else if (rows.bits == 16) {
        ownBitmapRows().narrow(row + 2 * x, grays, n);
    } else {
        ownBitmapRows().unpack1(row + x / 8, grays, n);
        for (size_t i = 0; i < n; ++i)
            grays[i] = static_cast<uint8_t>(-grays[i]);
    }
}

void ownWriteGrays(const OwnImageRows &rows, int64_t y, size_t x, size_t n, const uint8_t *grays) {
    uint8_t *row = rowOf(rows, y);
    if (rows.bits == 8) {
        std::memcpy(row + x, grays, n);
    } else if (rows.bits == 16) {
        ownBitmapRows().widen(grays, row + 2 * x, n);
    } else {
        uint8_t bits[OWN_DIB_PART], packed[OWN_DIB_PART / 8];
        for (size_t i = 0; i < n; ++i)
            bits[i] = grays[i] >> 7;
        ownBitmapRows().pack1(bits, packed, n);
        ownCopyBits(packed, row + x / 8, 0, 0, static_cast<int64_t>(n));
    }
}

void ownReadQuads(const OwnImageRows &rows, int64_t y, size_t x, size_t n, uint32_t *quads) {
    const uint8_t *first = rowOf(rows, y) + x * static_cast<size_t>(rows.layout.step * rows.layout.bytes);
    ownBitmapRows().gather(first, rows.layout, quads, n);
}

void ownWriteQuads(const OwnImageRows &rows, int64_t y, size_t x, size_t n, const uint32_t *quads) {
    uint8_t *first = rowOf(rows, y) + x * static_cast<size_t>(rows.layout.step * rows.layout.bytes);
    ownBitmapRows().scatter(quads, first, rows.layout, n);
}

OwnRowMove ownPickRowMove(const OwnImageRows &rows, int bits, bool usualMasks, bool sameGrays) {
    if (rows.bits != 8) return OWN_ROW_DIFFERS;
    if (rows.gray) return bits == 8 && sameGrays ? OWN_ROW_COPY : OWN_ROW_DIFFERS;
    const bool blueFirst = rows.layout.offset[0] == 0;
    if (bits == 24 && rows.layout.step == 3) return blueFirst ? OWN_ROW_COPY : OWN_ROW_SWAP_3;
    if (bits == 32 && rows.layout.step == 4 && usualMasks) return blueFirst ? OWN_ROW_COPY : OWN_ROW_SWAP_4;
    return OWN_ROW_DIFFERS;
}

void ownMoveRow(OwnRowMove move, bool streams, const uint8_t *src, uint8_t *dst, size_t bytes) {
    const OwnBitmapRows &kernels = ownBitmapRows();
    if (move == OWN_ROW_SWAP_3) {
        (streams ? kernels.streamSwap3 : kernels.swap3)(src, dst, bytes / 3);
    } else if (move == OWN_ROW_SWAP_4) {
        kernels.swap4(src, dst, bytes / 4);
    } else {
        const auto &copy = ownMoveRows().copy[OWN_1_BYTE];
        (streams ? copy.streamed : copy.plain)(src, nullptr, dst, bytes, {});
    }
}

bool ownIsIdentity(const uint8_t table[256]) {
    for (int i = 0; i < 256; ++i) {
        if (table[i] != i) return false;
    }
    return true;
}
