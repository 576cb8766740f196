// The reference model of bitmaps: a picture of palette indices or pixel words, to an image and back, pixel by pixel.
//
//     RefBitmap picture = bitmap.picture();
//     RefResult wanted = refFromBitmap(picture, image);                     // before the call
//     moxConvertFromDIB(bitmap.header(), image.header());
//     EXPECT_TRUE(image.holds(wanted.expected));
//
// The image's channels are those that its header names.
#pragma once

#include <cstdint>
#include <vector>

#include "reference/palette.h"
#include "reference/reference.h"

struct RefBitmap {
    int width = 0;
    int rows = 0;
    bool topDown = false;
    int bits = 8;
    RefPalette palette;                                              // up to 8 bits
    uint32_t masks[4] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFF000000};  // red, green, blue, alpha: above 8 bits
    std::vector<uint32_t> pixels;                                    // indices or words, by rows in memory

    uint32_t at(int x, int row) const {
        return pixels[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    // The masks in use without a table of masks.
    void setUsualMasks();
};

// A colour is 0xAARRGGBB.
uint32_t refColourOf(const RefBitmap &bitmap, uint32_t pixel);
uint32_t refPixelOf(const RefBitmap &bitmap, uint32_t colour);

RefResult refFromBitmap(const RefBitmap &bitmap, TestImage &image);

// The colours of an image by rows in memory, alpha 0 where it has none.
std::vector<uint32_t> refColours(TestImage &image);

// What bitmap.pixels become: the image's colours, dithered where the bitmap has fewer levels, in the bitmap's palette.
std::vector<uint32_t> refToBitmap(TestImage &image, const RefBitmap &bitmap, int dither);
