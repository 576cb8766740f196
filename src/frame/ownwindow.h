// The window frame: runs a filter whose every output row is computed from the rows of a window around it. It knows
// regions, channels, masks, borders and tiles, and that an image may be filtered in place; the filter sees contiguous
// rows of samples, as many output rows at a time as it asks for.
#pragma once

#include "frame/ownimage.h"

// Output rows of an area, one below the other, and the source rows that their windows cover.
struct OwnWindowRows {
    // The window of output row k is rows[k] to rows[k + top + bottom], each of left + width + right pixels. rows[k - 1]
    // is the row that it has just left; of an area's first row there is none.
    const uint8_t *const *rows;
    uint8_t *out;          // the first output row: width pixels, and nothing behind them is written
    int64_t outStep;       // bytes from an output row to the next
    int64_t height;        // output rows
    size_t width;          // pixels
    int channels;          // processed in each pixel, one after the other
    int pass;              // of the processed channels, the first one in these rows
    int64_t y;             // of the first output row; an area's rows come in order, and 0 begins a new one
    int64_t areaX, areaY;  // where the area begins in the common region
};
using OwnWindowFunction = void (*)(void *filter, const OwnWindowRows &rows);

struct OwnWindow {
    MoxImage *src, *dst;
    MoxImage *mask;  // the combined one, or null
    int64_t width, height;
    int64_t left, top, right, bottom;  // how far the window reaches, in pixels
    OwnWindowFunction function;
    void *filter;
    int64_t rowsAtOnce;  // output rows that a call of the function takes at most
    bool chop;           // the filter computes with rounding towards zero
    int srcChannels;     // as many of the source's first channels are processed; 0 for its own number
    int dstCoi;          // the destination's channel of interest in place of its own; 0 for its own
    bool together;       // all channels of a pixel side by side in plane order, too; not for a filter in place
};

enum OwnWindowResult { OWN_WINDOW_DONE, OWN_WINDOW_NO_ROWS, OWN_WINDOW_NO_TILE };

// The smallest of the sizes of the images' regions and the mask's; the mask may be null.
void ownWindowSize(OwnWindow *window);

// Channels that the filter sees in a pixel: in plane order it takes one after the other.
int ownWindowChannels(const OwnWindow &window);

// Runs the filter over a common region of at least one pixel. At depth 1 it sees and leaves bytes 0 and 1. In plane
// order each channel is an area of its own, unless they come together, and so is each tile of a tiled destination.
// NO_ROWS: no memory for source rows, or a source tile was not delivered; NO_TILE: a tile of the destination was not
// delivered.
OwnWindowResult ownRunWindow(const OwnWindow &window);
