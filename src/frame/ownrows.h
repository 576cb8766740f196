// The row runner: brings one kernel over the rows of one to three images, whatever their layout. It knows steps,
// channels, masks and bits, and no arithmetic; the frames above it know headers and tiles.
#pragma once

#include "frame/ownimage.h"
#include "frame/ownkernel.h"

// An image's share: where the region's first processed sample is, and how to go on from there.
struct OwnSpan {
    uint8_t *start;
    int64_t rowStep;    // bytes
    int64_t planeStep;  // bytes
    int step;           // samples from a pixel to the next
    int first;          // samples of the pixel before the first processed one
    int bytes;          // of a sample; 0 for bits
    int bit;            // bit offset in the first byte, at depth 1
};

constexpr int OWN_MAX_SPANS = 3;

struct OwnRows {
    OwnSpan spans[OWN_MAX_SPANS];  // up to two sources, then the destination
    int count;
    OwnSpan mask;
    bool masked;
    bool exchange;  // the first span is written as well
    int width, height;
    int channels;   // processed in each pixel
    int planes;     // processed one after the other
    int64_t whole;  // bytes of each image that the operation passes over, of which these rows are a part; 0 where they
                    // are all
};

// How to go on from a span's start, which the layout of the image alone decides.
inline void ownSetSteps(const MoxImage *image, int firstChannel, OwnSpan *span) {
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    span->rowStep = image->widthStep;
    span->planeStep = planar ? static_cast<int64_t>(image->height) * image->widthStep : 0;
    span->step = planar ? 1 : image->nChannels;
    span->first = planar ? 0 : firstChannel;
    span->bytes = ownDepthBytes(image->depth);
}

// The share of an image that begins at a channel, and its region's size.
OwnSpan ownSpan(const MoxImage *image, int firstChannel, int *width, int *height);

// Sets up the rows of count images (the destination last) and a mask that may be null: their spans and smallest common
// size. In plane order channels become planes.
void ownSetRows(OwnRows *rows, MoxImage *const *images, const int *firstChannels, int count, int channels,
                const MoxImage *mask);

// Runs the kernel over all rows.
void ownRunRows(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant);

// Runs the kernel once, over samples of so many bytes that are contiguous in every image. whole is what OwnRows says, 0
// where these are all.
void ownRunFlat(uint8_t *const *at, int count, size_t samples, int bytes, int64_t whole, const OwnRowForms &kernel,
                const OwnConstant &constant);
