// The scaler frame: an image becomes larger or smaller along its rows first and then down its columns. A row of the
// source is resampled once and kept in a ring as high as the window of the method; the rows of the destination are made
// of those in the ring. The frame knows regions, channels, masks and tiles; positions come from an axis, which tells
// the window of one destination column or row after the other, and arithmetic from the kernels of a method.
#pragma once

#include "frame/ownimage.h"
#include "geometry/ownscalerows.h"

// The windows of one axis, in order: next gives that of the destination's next column or row. A copy goes on from where
// it was made.
struct OwnScaleAxis {
    double position, step;
    int64_t last;  // the source's last pixel
    OwnScalePlace (*next)(OwnScaleAxis *axis);
};

// A mask of the source, resampled as it is: its bits are those of a result of its own size.
struct OwnScaledMask {
    MoxImage *image;  // or null
    OwnScaleAxis columns, rows;
    int64_t width, height;
};

struct OwnScale {
    MoxImage *src, *dst;
    const OwnScaleMethod *method;
    OwnScaleAxis columns, rows;
    int64_t width, height;  // pixels of the destination's region that are written
    float scale;            // of sums, for means
    int box;                // columns of every window, for means of whole pixels of bytes; 0 else
    MoxImage *mask;         // holds for the destination as it is, or null
    OwnScaledMask sourceMask;
};

enum OwnScaleResult { OWN_SCALE_DONE, OWN_SCALE_NO_MEMORY, OWN_SCALE_NO_SOURCE, OWN_SCALE_NO_TILE };

// The index of a depth that is scaled, bits as bytes, or -1.
int ownScaleDepth(unsigned depth);

// Runs the method over all pixels that are to be written. NO_SOURCE: a tile of the source was not delivered, or there
// was no memory for a part of it; NO_TILE: a tile of the destination was not delivered.
OwnScaleResult ownRunScale(const OwnScale &scale);
