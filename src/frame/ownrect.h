// The rectangle service: a contiguous copy of any rectangle of an image, plain or tiled, also beyond its edges.
#pragma once

#include "frame/ownimage.h"

// A new buffer with the rectangle, or null: for bad arguments, a failed tile, and when memory runs out. Coordinates are
// those of the whole image; what lies outside follows the image's border modes, the top and bottom sides owning the
// corners. rowBytes is a multiple of the image's align; planes follow one another.
char *ownGetRect(MoxImage *image, int x, int y, int width, int height, int *rowBytes);

// Frees a buffer of ownGetRect; null is ignored.
void ownFreeRect(char *buffer);

// Where ownCopyRect writes: pixelBytes is 0 at depth 1, and the buffer's bits there must be 0.
struct OwnRectBuffer {
    char *data;
    int64_t column, row;
    int64_t rowBytes, planeBytes;
    int pixelBytes;
    int planes;
};

// Copies pixels (x0, y0) to (x1, y1), both inside the image and both included. An end before its start reads backwards,
// which mirrors. 0, or 1 if a tile was not delivered or memory ran out.
int ownCopyRect(MoxImage *image, int x0, int y0, int x1, int y1, const OwnRectBuffer *buffer);
