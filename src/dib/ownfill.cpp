// The pixels of an image from those of a bitmap.
#include <cstring>

#include "dib/ownimagerows.h"
#include "dib/ownrle.h"
#include "frame/ownmove.h"

namespace {

constexpr uint32_t ALL_ALPHA = 0xFF000000u;

struct Fill {
    OwnImageRows image;
    int bits;  // of the bitmap's pixel
    const OwnBitmapRows *kernels;
    OwnRowMove move;
    bool streams;
    // What the bitmap's values mean: colours and grays of indices, or the bits of a pixel and the bytes that they widen
    // to.
    uint32_t colours[256];
    uint8_t grays[256];
    bool usualMasks;
    OwnPixelMasks masks;
    uint8_t widened[4][256];
};

using FillRow = void (*)(const Fill &fill, const uint8_t *row, int64_t y);

void preparePalette(const OwnBitmap &bitmap, Fill *fill) {
    const int entries = ownReachableEntries(*bitmap.header);
    const uint8_t *entry = ownBitmapPalette(bitmap);
    for (int i = 0; i < 256; ++i, entry += 4) {
        fill->colours[i] = ALL_ALPHA;
        if (i < entries) fill->colours[i] |= entry[0] | uint32_t{entry[1]} << 8 | uint32_t{entry[2]} << 16;
    }
    fill->kernels->gray(fill->colours, fill->grays, 256);
}

// Values of fewer than 8 bits are repeated until they have 8.
uint8_t widenBits(int value, int width) {
    if (width >= 8) return static_cast<uint8_t>(value);
    int bits = value, count = width;
    for (; count < 8; count += width)
        bits = bits << width | value;
    return static_cast<uint8_t>(bits >> (count - 8));
}

void prepareMasks(const OwnBitmap &bitmap, Fill *fill) {
    ownReadMasks(bitmap, &fill->masks);
    const OwnPixelMasks usual = ownUsualMasks(fill->bits);
    fill->usualMasks = true;
    for (int c = 0; c < 4; ++c) {
        const OwnPixelField &run = fill->masks.runs[c];
        if (run.shift != usual.runs[c].shift || run.width != usual.runs[c].width) fill->usualMasks = false;
        for (int value = 0; value < 256 && run.width > 0; ++value)
            fill->widened[c][value] = widenBits(value, run.width);
    }
}

void readIndices(const Fill &fill, const uint8_t *row, size_t x, size_t n, uint8_t *indices) {
    if (fill.bits == 8) {
        std::memcpy(indices, row + x, n);
    } else if (fill.bits == 4) {
        fill.kernels->unpack4(row + x / 2, indices, n);
    } else {
        fill.kernels->unpack1(row + x / 8, indices, n);
    }
}

uint32_t unmask(const Fill &fill, uint32_t pixel) {
    uint32_t quad = fill.masks.runs[3].width == 0 ? ALL_ALPHA : 0;
    for (int c = 0; c < 4; ++c) {
        const OwnPixelField &run = fill.masks.runs[c];
        if (run.width == 0) continue;
        uint32_t value = pixel >> run.shift & ((1u << run.width) - 1);
        if (run.width > 8) value >>= run.width - 8;
        quad |= uint32_t{fill.widened[c][value]} << 8 * c;
    }
    return quad;
}

void readPixels(const Fill &fill, const uint8_t *row, size_t x, size_t n, uint32_t *quads) {
    const size_t bytes = static_cast<size_t>(fill.bits) / 8;
    if (fill.bits <= 8) {
        uint8_t indices[OWN_DIB_PART];
        readIndices(fill, row, x, n, indices);
        fill.kernels->palette(indices, fill.colours, quads, n);
    } else if (fill.bits == 24) {
        fill.kernels->from24(row + 3 * x, quads, n);
    } else if (fill.usualMasks && fill.bits == 16) {
        fill.kernels->from16(row + 2 * x, quads, n);
    } else if (fill.usualMasks) {
        std::memcpy(quads, row + 4 * x, 4 * n);
    } else {
        for (size_t i = 0; i < n; ++i) {
            const uint8_t *p = row + (x + i) * bytes;
            uint32_t pixel = p[0] | uint32_t{p[1]} << 8;
            if (bytes == 4) pixel |= uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
            quads[i] = unmask(fill, pixel);
        }
    }
}

// Any bitmap to any image, a part of the row at a time.
void fillAny(const Fill &fill, const uint8_t *row, int64_t y) {
    uint32_t quads[OWN_DIB_PART];
    uint8_t indices[OWN_DIB_PART], grays[OWN_DIB_PART];
    for (size_t x = 0; x < fill.image.width; x += OWN_DIB_PART) {
        const size_t n = fill.image.width - x < OWN_DIB_PART ? fill.image.width - x : OWN_DIB_PART;
        if (!fill.image.gray) {
            readPixels(fill, row, x, n, quads);
            ownWriteQuads(fill.image, y, x, n, quads);
            continue;
        }
        if (fill.bits <= 8) {
            readIndices(fill, row, x, n, indices);
            fill.kernels->map(indices, fill.grays, grays, n);
        } else {
            readPixels(fill, row, x, n, quads);
            fill.kernels->gray(quads, grays, n);
        }
        ownWriteGrays(fill.image, y, x, n, grays);
    }
}

uint8_t *rowOf(const Fill &fill, int64_t y) {
    return fill.image.data + y * fill.image.widthStep;
}

void moveBytes(const Fill &fill, const uint8_t *row, int64_t y) {
    ownMoveRow(fill.move, fill.streams, row, rowOf(fill, y), fill.image.width * static_cast<size_t>(fill.bits / 8));
}

void fillRows(const OwnBitmap &bitmap, const uint8_t *pixels, const MoxImage *image) {
    Fill fill;
    fill.image = ownImageRows(image);
    fill.bits = bitmap.header->biBitCount;
    fill.kernels = &ownBitmapRows();
    fill.usualMasks = false;
    if (fill.bits <= 8) preparePalette(bitmap, &fill);
    if (fill.bits == 16 || fill.bits == 32) prepareMasks(bitmap, &fill);
    const bool sameGrays = fill.bits == 8 && ownIsIdentity(fill.grays);
    fill.move = ownPickRowMove(fill.image, fill.bits, fill.usualMasks, sameGrays);
    const FillRow fillRow = fill.move == OWN_ROW_DIFFERS ? fillAny : moveBytes;
    const int64_t rowBytes = ownBitmapRowBytes(*bitmap.header), height = fill.image.height;
    fill.streams = ownStreamsRows(fill.image.widthStep, height);
    const bool same = ownSameOrigin(*bitmap.header, image);
    for (int64_t y = 0; y < height; ++y)
        fillRow(fill, pixels + y * rowBytes, same ? y : height - 1 - y);
    if (fill.streams) ownMoveRows().fence();
}

bool fillFromPixels(const OwnCaller &caller, const OwnBitmap &bitmap, const MoxImage *image) {
    const BITMAPINFOHEADER &header = *bitmap.header;
    uint8_t *decoded = nullptr;
    // A size that no image has is told below; there is nothing to decode then.
    if (ownIsCompressed(header) && header.biWidth > 0 && header.biHeight > 0) {
        decoded = ownDecodeRLE(caller, bitmap);
        if (!decoded) {
            ownReport(caller, MOX_StatusInternal, "Impossible to decompress RLE DIB");
            return false;
        }
    }
    const bool fits = header.biWidth == image->width && ownBitmapHeight(header) == image->height;
    if (fits) {
        fillRows(bitmap, decoded ? decoded : ownBitmapPixels(bitmap), image);
    } else {
        ownReport(caller, MOX_StatusHeaderSize, "Image size is too small");
    }
    moxFree(decoded);
    return fits;
}

}  // namespace

bool ownFillImage(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image) {
    const int widthStep = image->widthStep, imageSize = image->imageSize;
    const bool bare = !image->imageData;
    if (bare) moxAllocateImage(image, 0, 0);
    if (!image->imageData) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate data for destination image");
        return false;
    }
    if (fillFromPixels(caller, bitmap, image)) return true;
    if (bare) {
        moxDeallocateImage(image);
        image->widthStep = widthStep;
        image->imageSize = imageSize;
    }
    return false;
}
