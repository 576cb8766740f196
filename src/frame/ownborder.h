// Rows of a plain image with margins: what lies beyond its edges follows the border rules, and the processed channels
// come out as contiguous samples.
#pragma once

#include "frame/ownimage.h"

// The processed channels of a plain image, or of one of its planes.
struct OwnRowSource {
    const uint8_t *start;  // the first processed sample of pixel (0, 0)
    int64_t rowStep;       // bytes
    int step;              // samples from a pixel to the next
    int channels;          // processed in each pixel
    int bytes;             // of a sample; 0 for bits, which come out as bytes 0 and 1
    int width, height;
    int mode[4];           // by side
    uint32_t constant[4];  // by side, in the sample's width
};

// channels from firstChannel on: all of them in one pixel, so in plane order it is one.
void ownSetRowSource(OwnRowSource *source, const MoxImage *image, int firstChannel, int channels);

// Bytes of a sample in the rows that come out.
inline int ownRowSampleBytes(const OwnRowSource &source) {
    return source.bytes > 0 ? source.bytes : 1;
}

// Where pixels x to x + width of row y stand as they would come out, or null if they do not.
const uint8_t *ownRowInPlace(const OwnRowSource &source, int64_t x, int64_t y, int64_t width);

// Pixels x to x + width of row y, any part of which may lie outside the image.
void ownBorderRow(const OwnRowSource &source, int64_t x, int64_t y, int64_t width, uint8_t *row);
