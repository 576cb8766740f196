// Bitmaps in memory, with everything about them observable.
//
//     BitmapShape shape = {20, -7, 8};                     // top-down, 20 x 7, 8 bits
//     TestBitmap bitmap(shape, 42);                        // palette and pixels drawn from seed 42
//     moxConvertFromDIB(bitmap.header(), image);
//     EXPECT_TRUE(bitmap.isUntouched());
//
// A packed bitmap is header, palette and pixels in one block; a separate one has its pixels in a block of their own.
// Blocks lie between guard bytes, and end with the heap block where an address sanitizer watches.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/cases.h"
#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif
#include "mox.h"
#include "reference/bitmap.h"

struct BitmapShape {
    int width = 8;
    int height = 8;  // negative with the top row first
    int bits = 8;
    unsigned compression = 0;
    unsigned clrUsed = 0;
    std::vector<uint32_t> masks = {};  // red, green, blue, behind the header where compression asks for them

    int rows() const { return height < 0 ? -height : height; }
    int rowBytes() const { return static_cast<int>((int64_t{width} * bits + 31) / 32 * 4); }
    int colours() const;  // entries of the palette
    bool hasMasks() const { return compression == BI_BITFIELDS && (bits == 16 || bits == 32); }
    std::string describe() const;
};

class TestBitmap {
  public:
    // pixelBytes is the room for pixels, as many as uncompressed ones need where it is negative.
    explicit TestBitmap(const BitmapShape &shape, uint64_t seed = 1, bool separate = false, int pixelBytes = -1);
    TestBitmap(const TestBitmap &) = delete;
    TestBitmap &operator=(const TestBitmap &) = delete;

    const BitmapShape &shape() const { return shape_; }
    BITMAPINFOHEADER *header();
    uint8_t *pixels();  // behind the palette that the header names now
    int pixelBytes() const { return pixelBytes_; }
    std::vector<uint8_t> pixelsSeen();
    int coloursNow();
    RefPalette palette();  // as many entries as the header names now
    std::vector<uint32_t> masksNow();
    bool masksAreTold();  // whether it is told what they mean: the bits that none names are one run, or none
    uint8_t fourthByte(int index) { return paletteBytes()[4 * index + 3]; }
    RefBitmap picture();  // for the model

    // 0x00RRGGBB
    uint32_t colour(int index);
    void setColour(int index, uint32_t rgb, uint8_t fourth = 0);
    void setColours(const std::vector<uint32_t> &colours);
    void setGrayRamp();

    // A pixel by memory row: an index, or the pixel's bytes as a number, lowest first.
    uint32_t get(int x, int row);
    void set(int x, int row, uint32_t value);
    void drawPixels(uint64_t seed);
    void setStream(const std::vector<uint8_t> &stream, bool sized = true);  // with biSizeImage, or 0

    // Remembers all bytes (done at construction); then compares, all of them or those around the blocks.
    void keep();
    testing::AssertionResult isUntouched();
    testing::AssertionResult guardsAreUntouched();
    // The pixels are the expected ones, all bits between and behind them 0, and the guards untouched.
    testing::AssertionResult holds(const std::vector<uint32_t> &pixels);

    const std::vector<uint8_t> &front() const { return front_; }  // header and palette, of a packed bitmap all

    // The calls, of the form that fits.
    void convertTo(MoxImage *image, int dither, int paletteConversion);
    void convertFrom(MoxImage *image);
    const char *nameOfTo() const { return separate_ ? "moxConvertToDIBSep" : "moxConvertToDIB"; }
    const char *nameOfFrom() const { return separate_ ? "moxConvertFromDIBSep" : "moxConvertFromDIB"; }

  private:
    uint8_t *paletteBytes();
    BitmapShape shape_;
    bool separate_;
    int pixelBytes_;
    std::vector<uint8_t> front_, back_, keptFront_, keptBack_;
};
