// Images from an abstract description of their layout, with everything about them observable.
//
//     TestLayout layout;
//     layout.depth = MOX_DEPTH_16S; layout.channels = 3; layout.width = 20; layout.height = 7;
//     layout.setRoi(2, 3, 1, 100, 4);                     // coi, x, y, width, height
//     TestImage image(layout, 42);                        // contents drawn from seed 42, padding and guards too
//     TestImage mask(TestLayout::ofMask(25, 9), 43);
//     image.setMask(&mask);
//     TestBytes before = image.bytes();
//     moxNot(image.header(), image.header());
//     EXPECT_TRUE(image.holds(expected));                 // every byte, guards and padding included
//     EXPECT_TRUE(image.headerIsUntouched());
//
// Storage is one vector of bytes: guard, pixels, guard; of a tiled image guard, tile, guard, tile, ... A sample is read
// and written as a bit pattern in the low bits of a uint32_t, by channel from 0 and memory row, whatever the layout.
// The same accessors work on any copy of the storage, so that an expected result is a copy of bytes() with some samples
// set.
//
// A tiled image serves itself (see tilelog.h for the record of requests). With transientTiles every request gets a
// buffer of its own, exactly as large as a tile, which is gone after its release: a use after release, or a write to a
// tile asked for reading, shows.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mox.h"
#include "support/cases.h"

using TestBytes = std::vector<uint8_t>;

struct TestLayout {
    unsigned depth = MOX_DEPTH_8U;
    int order = MOX_DATA_ORDER_PIXEL;
    int channels = 1;
    int alpha = 0;  // 0 or channels
    int origin = MOX_ORIGIN_TL;
    int align = 8;
    int width = 8;
    int height = 8;
    int extraStride = 0;  // bytes that a plain image's rows are longer than computed
    int dataShift = 0;    // bytes that the pixels begin beyond a multiple of 32
    bool hasRoi = false;
    MoxROI roi = {};
    int tileWidth = 0;  // 0 for a plain image
    int tileHeight = 0;
    bool transientTiles = false;
    int borderMode[4] = {};
    int borderConst[4] = {};

    void setRoi(int coi, int x, int y, int roiWidth, int roiHeight) {
        hasRoi = true;
        roi = {coi, x, y, roiWidth, roiHeight};
    }
    static TestLayout of(unsigned depth, int width, int height, int channels = 1, int order = MOX_DATA_ORDER_PIXEL);
    static TestLayout ofMask(int width, int height) { return of(MOX_DEPTH_1U, width, height); }

    bool tiled() const { return tileWidth != 0; }
    int bits() const { return static_cast<int>(depth & ~MOX_DEPTH_SIGN); }
    std::string describe() const;

    // The region, clipped; empty ones have a size of 0.
    int regionX() const { return hasRoi ? roi.xOffset : 0; }
    int regionY() const { return hasRoi ? roi.yOffset : 0; }
    int regionWidth() const;
    int regionHeight() const;
    // The processed channels are firstChannel() and those after it.
    int firstChannel() const { return hasRoi && roi.coi > 0 ? roi.coi - 1 : 0; }
    int channelCount() const { return hasRoi && roi.coi > 0 ? 1 : channels - (alpha != 0 ? 1 : 0); }
};

class TestImage {
  public:
    explicit TestImage(const TestLayout &layout, uint64_t seed = 1);
    TestImage(const TestImage &) = delete;
    TestImage &operator=(const TestImage &) = delete;

    // The header that operations get. Tests may spoil it; headerIsUntouched() compares with what it was when the image
    // was made or keepHeader() was called last (tileData may differ).
    MoxImage *header() { return &header_; }
    MoxROI *roi() { return &roi_; }
    MoxTileInfo *tileInfo() { return &tileInfo_; }
    void keepHeader();
    testing::AssertionResult headerIsUntouched() const;

    const TestLayout &layout() const { return layout_; }
    void setMask(TestImage *mask);
    TestImage *mask() const { return mask_; }

    // Samples, of the image itself and of a copy of its storage.
    uint32_t get(int channel, int x, int y) const { return getIn(storage_, channel, x, y); }
    void set(int channel, int x, int y, uint32_t value) { setIn(storage_, channel, x, y, value); }
    uint32_t getIn(const TestBytes &bytes, int channel, int x, int y) const;
    void setIn(TestBytes &bytes, int channel, int x, int y, uint32_t value) const;
    void setAll(uint32_t value);      // every sample; padding and guards stay
    void drawSamples(uint64_t seed);  // every sample anew

    // All storage, and its parts.
    const TestBytes &bytes() const { return storage_; }
    void setBytes(const TestBytes &bytes) { storage_.assign(bytes.begin(), bytes.end()); }
    TestBytes sampleBits() const;                      // ones where the storage holds bits of samples, alpha and all
    TestBytes paddingBits() const;                     // ones between the samples: row ends, unused rest of edge tiles
    size_t dataOffset() const { return dataOffset_; }  // of the first pixel byte of a plain image in the storage
    int64_t widthStep() const { return widthStep_; }
    int64_t tileBytes() const { return tileBytes_; }

    // Every byte of the storage equals the expected one, but for the bits that are set in unspecified (empty for none).
    testing::AssertionResult holds(const TestBytes &expected, const TestBytes &unspecified = {}) const;

    // The tile grid, and the address at which a tile is served if tiles are not transient.
    int tileColumns() const;
    int tileRows() const;
    char *tileAddress(int column, int row);

    // The tiles in hand are given up as if released, with what was written: after a refused request.
    void abandonTiles();
    size_t tilesInHand() const { return held_.size(); }

  private:
    struct HeldTile {
        int column, row, mode;
        char *address;
        std::unique_ptr<char[]> buffer;  // null where the tile is served in place
        TestBytes given;
    };
    static int MOX_CALL serve(MoxImage *image, int column, int row, int mode);
    void giveTile(int column, int row, int mode);
    void takeTile(int column, int row);
    void finishTile(const HeldTile &tile);
    int64_t bitOf(int channel, int x, int y) const;
    size_t tileOffset(int column, int row) const;
    std::string placeOf(size_t byte, int bit) const;

    TestLayout layout_;
    MoxImage header_ = {}, kept_ = {};
    MoxROI roi_ = {}, keptRoi_ = {};
    MoxTileInfo tileInfo_ = {}, keptTileInfo_ = {};
    TestImage *mask_ = nullptr;
    TestBytes storage_;
    size_t dataOffset_ = 0;
    int64_t widthStep_ = 0, planeBytes_ = 0, tileBytes_ = 0, tileStep_ = 0;
    std::vector<HeldTile> held_;
};
