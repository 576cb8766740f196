// The sampler: rows of destination pixels from positions in a source. Whoever calls it brings the positions; it knows
// depths, orders, channels, masks and what is done with the samples around a position.
//
// Positions are those of the source image, not of its region. Those beyond the region count as on its edge, and what is
// not a number as on its left or upper one: whether such a pixel is written at all is for the caller to say.
#pragma once

#include "frame/ownrows.h"
#include "geometry/ownsamplerrows.h"

// How samples are made, and of what type the rows of positions are.
//
// In linear kinds ix is the pixel before the position, at most right - 1, f = x - ix, and what lies between p and q is
// p (1 - f) + q f, first along both rows and then between them. In cubic ones ix = rint(x - 0.4999999), the window
// begins at the pixel before ix, moved into the region, and f in [0, 3] is counted from there.
enum OwnSampling {
    // int32_t: the pixel's column and row. Every depth, bits as well.
    OWN_SAMPLE_NEAREST,

    // int32_t, 16.16; 8U: fractions of 14 bits, rows >> 8, the result + 0x80000 >> 20.
    OWN_SAMPLE_LINEAR_FIXED,

    // float. 8U: ix = trunc(x), fractions rounded to 14 bits, rows >> 8, the result + 33 >> 20. 16U and 32F: as
    // OWN_SAMPLE_LINEAR_DOUBLE.
    OWN_SAMPLE_LINEAR,

    // float, ix = trunc(x); 32F: in float.
    OWN_SAMPLE_LINEAR_SINGLE,

    // double, ix = rint(x - 0.4999999), f = 1 where that is the last pixel; 16U: in double, by rint.
    OWN_SAMPLE_LINEAR_DOUBLE,

    // float, or double. 8U: the table of weights at rint(512 f), rows >> 8, the result + 0x80000 >> 20. 16U: in double,
    // by rint. 32F: f and all that follows in float. Integers are clamped.
    OWN_SAMPLE_CUBIC,
    OWN_SAMPLE_CUBIC_DOUBLE,
    OWN_SAMPLINGS
};

// Sampling from one plain image into another. Fields may be changed before it is used: a source that is a part of an
// image, read into a buffer, has positions of its image still if origin is its first pixel, originX and originY that
// pixel's place in the image, and left to bottom the region in the image.
struct OwnSampler {
    OwnSampled source;          // of the first plane
    int64_t sourcePlaneStep;    // bytes
    OwnSpan destination, mask;  // of the region's corners
    bool masked;
    int channels;  // of each pixel
    int planes;
    int positionBytes;  // of a position's x
    int together;       // samples of a pixel that the kernel takes: 1, or all, also those beside the processed ones
    OwnSampleRow kernel;
};

// Sets a sampler between the regions of two images of one depth, 1U, 8U, 16U or 32F, that process equally many
// channels and have been accepted. The mask may be null. The source's region is not empty.
void ownSetSampler(OwnSampler *sampler, const MoxImage *src, const MoxImage *dst, const MoxImage *mask,
                   OwnSampling sampling);

// Rows of a destination that come between a pixel and what is asked for while it is made.
constexpr int OWN_ROWS_AHEAD = 6;

// Pixels x to x + n - 1 of the row y, both counted from the corner of the destination's region, from n positions. Under
// keep, bits of which the first is on top of a byte, and under the sampler's mask pixels whose bit is 0 are not
// written; keep may be null. n is at least 0.
void ownSamplePixels(const OwnSampler &sampler, int64_t x, int64_t y, const void *xs, const void *ys,
                     const uint8_t *keep, int64_t n);
