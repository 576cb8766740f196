// Rows of planes: brings a kernel n pixels of one image or several as separate rows for each channel, wherever and in
// whatever order these stand, and puts the rows that it writes back, under a mask or not. It knows orders, steps,
// places and bits of plain images, and no arithmetic; whoever calls it knows headers and tiles.
#pragma once

#include "frame/ownimage.h"
#include "frame/ownmove.h"

// Rows of one image, and images of one operation.
constexpr int OWN_MAX_PLANES = 4;
constexpr int OWN_MAX_PLANE_IMAGES = 6;

// What of an image takes part, from its region's corner on: row k is the channel channels[k], counted from 0. An image
// that an operation reads and writes stands twice, once for each.
//
// Rows that are read hold the image's samples; those of bits hold a byte for each, 0 or 255. Rows that are written take
// samples of the image's depth; those of bits take bytes whose top bit counts.
struct OwnPlaneImage {
    MoxImage *image;
    int count;
    int channels[OWN_MAX_PLANES];
    bool written;
    bool equal = false;  // the kernel writes the same samples to each of its rows, which may be one row then
};

// The images of an operation, all plain; the mask, or null; the size that they have in common. width and height come
// from ownSetPlaneSize, or from whoever knows better, as long as they lie within every region.
struct OwnPlanes {
    OwnPlaneImage images[OWN_MAX_PLANE_IMAGES];
    int count;
    MoxImage *mask;
    int width, height;
};

// A kernel: rows[0], rows[1], ... are those of the first image, then those of the next; for pixels 0 to n - 1. A row
// that is written may be one that is read: everything about a pixel is read before anything of it is written, and
// nothing at another position is looked at. operation is what the caller handed on.
using OwnPlaneKernel = void (*)(void *const *rows, size_t n, const void *operation);

// The smallest of the regions, that of the mask included; at least 0.
void ownSetPlaneSize(OwnPlanes *planes);

// Runs the kernel over all pixels. Rows that stand by themselves and contiguous are used where they are, the others
// come through a scratch on the stack, a stretch of some hundred pixels at a time.
void ownRunPlanes(const OwnPlanes &planes, OwnPlaneKernel kernel, const void *operation);

// Between pixels of 3 or 4 samples and rows, by OwnSampleSize and by the samples of a pixel less 3. Rows that are
// joined may be the same one.
struct OwnPlaneMoves {
    void (*split[OWN_SAMPLE_SIZES][2])(const void *pixels, void *const *rows, size_t n);
    void (*join[OWN_SAMPLE_SIZES][2])(const void *const *rows, void *pixels, size_t n);

    // The top bit of each byte, the first on top of a byte; bits behind the last are 0.
    void (*packBits)(const uint8_t *bytes, size_t n, uint8_t *bits);
};

const OwnPlaneMoves &ownPlaneMoves();
