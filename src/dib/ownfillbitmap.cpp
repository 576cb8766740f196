// The pixels of a bitmap from those of an image: palette, dithering, rows, compression.
#include <cstring>

#include "dib/ownimagerows.h"
#include "dib/ownmedcut.h"
#include "dib/ownnearest.h"
#include "dib/ownrle.h"
#include "frame/ownmove.h"
#include "frame/ownrect.h"

namespace {

struct Fill {
    OwnImageRows image;
    int bits;                    // of the bitmap's pixel
    size_t rowBytes, usedBytes;  // with and without padding
    OwnRowMove move;
    bool streams;
    const OwnBitmapRows *kernels;
    OwnNearest *nearest;  // of colours, where there is a palette
    uint8_t grays[256];   // the palette's entry for each gray
    bool usualMasks;
    uint32_t narrowed[4][256];  // what the bytes of a quad give to a pixel with masks
};

using FillRow = void (*)(const Fill &fill, int64_t y, uint8_t *row);

void prepareGrays(Fill *fill) {
    uint32_t quads[256];
    for (uint32_t i = 0; i < 256; ++i)
        quads[i] = i * 0x010101;
    ownFindNearest(fill->nearest, quads, fill->grays, 256);
}

// The high bits of a byte, which is repeated for runs that are longer.
uint32_t narrowByte(uint32_t value, int width) {
    uint32_t bits = value;
    int count = 8;
    for (; count < width; count += 8)
        bits = bits << 8 | value;
    return bits >> (count - width);
}

void prepareMasks(const OwnBitmap &bitmap, Fill *fill) {
    OwnPixelMasks masks;
    if (!ownReadMasks(bitmap, &masks)) ownStoreUsualMasks(bitmap);
    const OwnPixelMasks usual = ownUsualMasks(fill->bits);
    fill->usualMasks = true;
    for (int c = 0; c < 4; ++c) {
        const OwnPixelField &run = masks.runs[c];
        if (run.shift != usual.runs[c].shift || run.width != usual.runs[c].width) fill->usualMasks = false;
        for (uint32_t value = 0; value < 256; ++value)
            fill->narrowed[c][value] = run.width == 0 ? 0 : narrowByte(value, run.width) << run.shift;
    }
}

void writeIndices(const Fill &fill, const uint8_t *indices, size_t x, size_t n, uint8_t *row) {
    if (fill.bits == 8) {
        std::memcpy(row + x, indices, n);
    } else if (fill.bits == 4) {
        fill.kernels->pack4(indices, row + x / 2, n);
    } else {
        fill.kernels->pack1(indices, row + x / 8, n);
    }
}

void writePixels(const Fill &fill, const uint32_t *quads, size_t x, size_t n, uint8_t *row) {
    const size_t bytes = static_cast<size_t>(fill.bits) / 8;
    if (fill.bits == 24) {
        fill.kernels->to24(quads, row + 3 * x, n);
    } else if (fill.usualMasks && fill.bits == 16) {
        fill.kernels->to16(quads, row + 2 * x, n);
    } else if (fill.usualMasks) {
        std::memcpy(row + 4 * x, quads, 4 * n);
    } else {
        for (size_t i = 0; i < n; ++i) {
            uint32_t pixel = 0;
            for (int c = 0; c < 4; ++c)
                pixel |= fill.narrowed[c][quads[i] >> 8 * c & 255];
            for (size_t k = 0; k < bytes; ++k)
                row[(x + i) * bytes + k] = static_cast<uint8_t>(pixel >> 8 * k);
        }
    }
}

// Any image to any bitmap, a part of the row at a time.
void fillAny(const Fill &fill, int64_t y, uint8_t *row) {
    uint32_t quads[OWN_DIB_PART];
    uint8_t indices[OWN_DIB_PART], grays[OWN_DIB_PART];
    for (size_t x = 0; x < fill.image.width; x += OWN_DIB_PART) {
        const size_t n = fill.image.width - x < OWN_DIB_PART ? fill.image.width - x : OWN_DIB_PART;
        if (fill.image.gray) {
            ownReadGrays(fill.image, y, x, n, grays);
        } else {
            ownReadQuads(fill.image, y, x, n, quads);
        }
        if (fill.bits > 8) {
            if (fill.image.gray) fill.kernels->spread(grays, quads, n);
            writePixels(fill, quads, x, n, row);
            continue;
        }
        if (fill.image.gray) {
            fill.kernels->map(grays, fill.grays, indices, n);
        } else {
            ownFindNearest(fill.nearest, quads, indices, n);
        }
        writeIndices(fill, indices, x, n, row);
    }
}

const uint8_t *rowOf(const Fill &fill, int64_t y) {
    return fill.image.data + y * fill.image.widthStep;
}

void moveBytes(const Fill &fill, int64_t y, uint8_t *row) {
    ownMoveRow(fill.move, fill.streams, rowOf(fill, y), row, fill.usedBytes);
}
void mapBytes(const Fill &fill, int64_t y, uint8_t *row) {
    fill.kernels->map(rowOf(fill, y), fill.grays, row, fill.image.width);
}
void copyBits(const Fill &fill, int64_t y, uint8_t *row) {
    const size_t whole = fill.image.width / 8;
    std::memcpy(row, rowOf(fill, y), whole);
    if (fill.image.width % 8 != 0)
        row[whole] = rowOf(fill, y)[whole] & static_cast<uint8_t>(0xFF00 >> fill.image.width % 8);
}

FillRow pickRow(const Fill &fill) {
    const OwnImageRows &image = fill.image;
    if (image.bits == 1 && fill.bits == 1) return fill.grays[0] == 0 && fill.grays[255] == 1 ? copyBits : fillAny;
    if (fill.move != OWN_ROW_DIFFERS) return moveBytes;
    return image.gray && image.bits == 8 && fill.bits == 8 ? mapBytes : fillAny;
}

void fillRows(const OwnBitmap &bitmap, const MoxImage *image) {
    const BITMAPINFOHEADER &header = *bitmap.header;
    Fill fill;
    OwnNearest nearest;
    fill.image = ownImageRows(image);
    fill.bits = header.biBitCount;
    fill.rowBytes = static_cast<size_t>(ownBitmapRowBytes(header));
    fill.kernels = &ownBitmapRows();
    fill.nearest = &nearest;
    fill.usualMasks = false;
    nearest.cells = nullptr;
    if (fill.bits <= 8) {
        // Grays are looked up once each.
        const int64_t searched = fill.image.gray ? 0 : static_cast<int64_t>(fill.image.width) * fill.image.height;
        ownOpenNearest(&nearest, ownBitmapPalette(bitmap), ownReachableEntries(header), searched);
        if (fill.image.gray) prepareGrays(&fill);
    } else if (fill.bits != 24) {
        prepareMasks(bitmap, &fill);
    }
    const bool sameGrays = fill.image.gray && fill.bits == 8 && ownIsIdentity(fill.grays);
    fill.move = ownPickRowMove(fill.image, fill.bits, fill.usualMasks, sameGrays);
    const FillRow fillRow = pickRow(fill);
    const int64_t height = fill.image.height;
    fill.usedBytes = static_cast<size_t>((static_cast<int64_t>(fill.image.width) * fill.bits + 7) / 8);
    fill.streams = ownStreamsRows(ownBitmapRowBytes(header), height);
    const bool same = ownSameOrigin(header, image);
    uint8_t *row = ownBitmapPixels(bitmap);
    for (int64_t y = 0; y < height; ++y, row += fill.rowBytes) {
        fillRow(fill, same ? y : height - 1 - y, row);
        std::memset(row + fill.usedBytes, 0, fill.rowBytes - fill.usedBytes);
    }
    if (fill.streams) ownMoveRows().fence();
    ownCloseNearest(&nearest);
}

bool makePalette(const OwnCaller &caller, const OwnBitmap &bitmap, const MoxImage *image, int paletteConversion) {
    BITMAPINFOHEADER &header = *bitmap.header;
    if (paletteConversion == MOX_PALCONV_MEDCUT) {
        if (ownMedianCutPalette(bitmap, image)) return true;
        ownReport(caller, MOX_StatusInternal, "Error of creating medcut palette");
        return false;
    }
    const int entries = ownPaletteEntries(header);
    if (paletteConversion == MOX_PALCONV_POPULATE)
        ownFixedPalette(ownBitmapPalette(bitmap), entries, image->nChannels == 1);
    header.biClrUsed = static_cast<uint32_t>(entries);
    return true;
}

// A new image with fewer levels, or null after a report. One channel for one bit a pixel becomes bits.
MoxImage *ditherImage(const OwnCaller &caller, MoxImage *image, int bits, int dither) {
    const unsigned depth = bits == 1 && image->nChannels == 1 ? MOX_DEPTH_1U : MOX_DEPTH_8U;
    MoxImage *reduced = moxCreateImageHeader(
        image->nChannels, image->alphaChannel, static_cast<int>(depth), image->colorModel, image->channelSeq,
        image->dataOrder, image->origin, image->align, image->width, image->height, nullptr, nullptr, nullptr, nullptr);
    if (!reduced) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate header for temporal image");
        return nullptr;
    }
    moxAllocateImage(reduced, 0, 0);
    if (!reduced->imageData) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate data for temporal image");
        moxDeallocateHeader(reduced);
        return nullptr;
    }
    bool failed;
    {
        const OwnNestedCalls calls;
        moxReduceBits(image, reduced, 0, dither, 1 << bits);
        failed = calls.failed();
    }
    if (!failed) return reduced;
    ownReport(caller, MOX_StatusInternal, "Dithering can't be produced");
    moxDeallocate(reduced, MOX_FreeHeader | MOX_FreeData);
    return nullptr;
}

void storeSizes(BITMAPINFOHEADER *header) {
    const int64_t size = ownBitmapRowBytes(*header) * ownBitmapHeight(*header);
    header->biSizeImage = size <= UINT32_MAX ? static_cast<uint32_t>(size) : 0;
}

// The image has its pixels in memory, and no region or mask.
void fillFromPlain(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image, int dither,
                   int paletteConversion) {
    BITMAPINFOHEADER &header = *bitmap.header;
    const int bits = header.biBitCount;
    if (bits <= 8 && !makePalette(caller, bitmap, image, paletteConversion)) return;
    MoxImage *reduced = nullptr;
    if (ownDepthBits(image->depth) > bits && dither != MOX_DITHER_NONE) {
        reduced = ditherImage(caller, image, bits, dither);
        if (!reduced) return;
    }
    fillRows(bitmap, reduced ? reduced : image);
    moxDeallocate(reduced, MOX_FreeHeader | MOX_FreeData);
    storeSizes(&header);
    if (ownIsCompressed(header)) ownEncodeRLE(caller, bitmap);
}

}  // namespace

void ownFillBitmap(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image, int dither,
                   int paletteConversion) {
    MoxImage plain = *image;
    plain.roi = nullptr;
    plain.maskROI = nullptr;
    plain.tileInfo = nullptr;
    char *tiles = nullptr;
    if (image->tileInfo) {
        tiles = ownGetRect(image, 0, 0, image->width, image->height, &plain.widthStep);
        if (!tiles) {
            ownReport(caller, MOX_StatusGeneral, "Error get tile to read");
            return;
        }
        const int64_t planes = image->dataOrder == MOX_DATA_ORDER_PLANE ? image->nChannels : 1;
        plain.imageData = tiles;
        plain.imageSize = static_cast<int>(int64_t{plain.widthStep} * image->height * planes);
    }
    fillFromPlain(caller, bitmap, &plain, dither, paletteConversion);
    ownFreeRect(tiles);
}
