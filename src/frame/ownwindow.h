// The window frame: runs a filter whose every output row is computed from the rows of a window around it. It knows
// regions, channels, masks, borders and tiles, and that an image may be filtered in place; the filter sees contiguous
// rows of samples.
#pragma once

#include "frame/ownimage.h"

// One output row of an area, and the source rows that its window covers.
struct OwnWindowRow {
    // rows[0] to rows[top + bottom], each of left + width + right pixels. rows[-1] is the row that the window has just
    // left; at y 0 there is none.
    const uint8_t *const *rows;
    uint8_t *out;  // width pixels, and nothing behind them is written
    size_t width;  // pixels
    int channels;  // processed in each pixel, one after the other
    int64_t y;     // rows of an area come in order: 0 begins a new one
};
using OwnWindowFunction = void (*)(void *filter, const OwnWindowRow &row);

struct OwnWindow {
    MoxImage *src, *dst;
    MoxImage *mask;  // the combined one, or null
    int64_t width, height;
    int64_t left, top, right, bottom;  // how far the window reaches, in pixels
    OwnWindowFunction function;
    void *filter;
    bool chop;  // the filter computes with rounding towards zero
};

enum OwnWindowResult { OWN_WINDOW_DONE, OWN_WINDOW_NO_ROWS, OWN_WINDOW_NO_TILE };

// The smallest of the sizes of the images' regions and the mask's; the mask may be null.
void ownWindowSize(OwnWindow *window);

// Runs the filter over a common region of at least one pixel. At depth 1 it sees and leaves bytes 0 and 1. In plane
// order each channel is an area of its own, and so is each tile of a tiled destination. NO_ROWS: no memory for source
// rows, or a source tile was not delivered; NO_TILE: a tile of the destination was not delivered.
OwnWindowResult ownRunWindow(const OwnWindow &window);
