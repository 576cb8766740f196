// What the tests of bitmaps share: images to convert, shapes drawn, and results compared with the model.
#pragma once

#include <string>

#include "dib/testbitmap.h"
#include "reference/bitmap.h"
#include "support/scene.h"

// A layout that a bitmap of the shape fits.
TestLayout layoutFor(const BitmapShape &shape, int channels = 1, unsigned depth = MOX_DEPTH_8U);

// Sets the names of the channels; shorter ones end with zeros.
void nameChannels(TestImage &image, const char *sequence);
const char *drawNames(Random &random, int channels);

// Any width, either direction, palette counts as bitmaps have them.
BitmapShape drawShape(Random &random, int bits, int maxWidth = 70, int maxHeight = 12);

// An image of any layout that the functions take: depth 1, 8U or 16U, 1, 3 or 4 channels, either order.
TestLayout drawImageFor(Random &random, const BitmapShape &shape);

// Palettes of every kind: any colours, the gray ramp, few colours many times, grays out of order.
void drawPalette(Random &random, TestBitmap &bitmap);

// An 8-bit or 4-bit bitmap with a stream, and the image of gray indices (17 times those at 4 bits) that it becomes.
struct StreamCase {
    StreamCase(int bits, int width, int height, const std::vector<uint8_t> &stream, bool sized = true);
    testing::AssertionResult becomes(const std::vector<int> &pixels);  // -1 for any
    TestBitmap bitmap;
    TestImage image;
};
