// Tiled pictures beyond what an int of bytes holds: such an image has no bytes of its own, and any share of it is as
// good as that of a small one. The pictures here are one tile, again and again.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

#include "frame/ownrect.h"
#include "support/reports.h"
#include "support/testimage.h"

namespace {

constexpr int SIZE = 100000, TILE = 64;

struct Freed {
    void operator()(MoxImage *image) const { moxDeallocate(image, MOX_FreeHeader); }
};

class HugePicture : public testing::Test {
  protected:
    HugePicture() {
        for (size_t i = 0; i < sizeof tile_; ++i)
            tile_[i] = static_cast<uint8_t>(i * 7 + i / 64 * 31);
        image.reset(moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8, SIZE,
                                         SIZE, &region, nullptr, this, &tiles));
    }
    void SetUp() override { ASSERT_NE(image, nullptr) << recorder.text(); }
    void TearDown() override {
        EXPECT_EQ(inHand, 0);
        EXPECT_TRUE(recorder.none());
    }
    // The sample at a place of the region.
    uint8_t sample(int x, int y) const { return sampleAt(region.xOffset + x, region.yOffset + y); }
    uint8_t sampleAt(int x, int y) const { return tile_[y % TILE * TILE + x % TILE]; }

    static int MOX_CALL serve(MoxImage *of, int column, int row, int mode) {
        auto *test = static_cast<HugePicture *>(of->tileInfo->id);
        EXPECT_TRUE(column >= 0 && column <= (SIZE - 1) / TILE && row >= 0 && row <= (SIZE - 1) / TILE);
        test->inHand += mode == MOX_TileRelease ? -1 : 1;
        if (mode != MOX_TileRelease) of->tileInfo->tileData = reinterpret_cast<char *>(test->tile_);
        return 1;
    }

    ReportRecorder recorder;
    MoxROI region = {0, SIZE - 151, SIZE - 103, 150, 100};
    MoxTileInfo tiles = {serve, this, nullptr, TILE, TILE};
    std::unique_ptr<MoxImage, Freed> image;
    uint8_t tile_[TILE * TILE];
    int inHand = 0;
};

TEST_F(HugePicture, HasAHeaderWithoutASize) {
    EXPECT_EQ(image->widthStep, SIZE);
    EXPECT_EQ(image->imageSize, 0);
    EXPECT_EQ(moxCheckImageHeader(image.get()), 0);
}

TEST_F(HugePicture, MayBeAsLargeAsItsFieldsHold) {
    const std::unique_ptr<MoxImage, Freed> largest(moxCreateImageHeader(4, 4, static_cast<int>(MOX_DEPTH_32F), "RGBA",
                                                                        "RGBA", MOX_DATA_ORDER_PIXEL, 0, 32, INT_MAX,
                                                                        INT_MAX, nullptr, nullptr, nullptr, &tiles));
    ASSERT_NE(largest, nullptr);
    EXPECT_EQ(largest->widthStep, 0);
    EXPECT_EQ(largest->imageSize, 0);
    // In memory there is none of this size.
    EXPECT_EQ(
        moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", 0, 0, 8, SIZE, SIZE, nullptr, nullptr, nullptr, nullptr),
        nullptr);
    EXPECT_TRUE(recorder.are({{-10, "moxCreateImageHeader", "Incorrect data-ins"}}));
    recorder.clear();
}

TEST_F(HugePicture, IsCopiedAndAdded) {
    TestImage plain(TestLayout::of(MOX_DEPTH_8U, 150, 100));
    moxCopy(image.get(), plain.header());
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 150; ++x)
            ASSERT_EQ(plain.get(0, x, y), sample(x, y)) << x << ", " << y;
    }
    moxAdd(image.get(), plain.header(), plain.header());
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 150; ++x)
            ASSERT_EQ(plain.get(0, x, y), std::min(2u * sample(x, y), 255u)) << x << ", " << y;
    }
}

// A share that lies within one of its tiles, so that it is written once.
TEST_F(HugePicture, IsWritten) {
    region = {0, TILE * 1500 + 3, TILE * 1400 + 5, 20, 30};
    const std::vector<uint8_t> before(tile_, tile_ + sizeof tile_);
    moxAddS(image.get(), image.get(), 9);
    for (int y = 0; y < TILE; ++y) {
        for (int x = 0; x < TILE; ++x) {
            const uint8_t old = before[static_cast<size_t>(y * TILE + x)];
            const bool within = x >= 3 && x < 23 && y >= 5 && y < 35;
            ASSERT_EQ(sampleAt(x, y), within ? std::min(old + 9, 255) : old) << x << ", " << y;
        }
    }
    moxSet(image.get(), 200);
    EXPECT_EQ(sampleAt(3, 5), 200);
    EXPECT_EQ(sampleAt(22, 34), 200);
    EXPECT_EQ(sampleAt(2, 5), before[5 * TILE + 2]);
}

// What a window reads of it is what it reads of a few of its tiles.
TEST_F(HugePicture, IsBlurred) {
    TestImage few(TestLayout::of(MOX_DEPTH_8U, 4 * TILE, 4 * TILE)), wanted(TestLayout::of(MOX_DEPTH_8U, 40, 30)),
        plain(TestLayout::of(MOX_DEPTH_8U, 40, 30));
    for (int y = 0; y < 4 * TILE; ++y) {
        for (int x = 0; x < 4 * TILE; ++x)
            few.set(0, x, y, sampleAt(x, y));
    }
    MoxROI part = {0, TILE + 50, TILE + 20, 40, 30};
    few.header()->roi = &part;
    region = {0, TILE * 1500 + 50, TILE * 1400 + 20, 40, 30};
    moxBlur(few.header(), wanted.header(), 5, 3, 2, 1);
    moxBlur(image.get(), plain.header(), 5, 3, 2, 1);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ(plain.get(0, x, y), wanted.get(0, x, y)) << x << ", " << y;
    }
}

TEST_F(HugePicture, GivesItsCornerAsARectangle) {
    moxSetBorderMode(image.get(), MOX_BORDER_WRAP, MOX_SIDE_ALL, 0);
    int rowBytes = 0;
    char *rect = ownGetRect(image.get(), SIZE - 10, SIZE - 7, 20, 14, &rowBytes);
    ASSERT_NE(rect, nullptr);
    for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 20; ++x) {
            const int atX = (SIZE - 10 + x) % SIZE, atY = (SIZE - 7 + y) % SIZE;
            ASSERT_EQ(static_cast<uint8_t>(rect[y * rowBytes + x]), sampleAt(atX, atY)) << x << ", " << y;
        }
    }
    ownFreeRect(rect);
}

TEST_F(HugePicture, HasPixels) {
    uint8_t pixel = 0;
    moxGetPixel(image.get(), SIZE - 1, SIZE - 1, &pixel);
    EXPECT_EQ(pixel, sampleAt(SIZE - 1, SIZE - 1));
    pixel = static_cast<uint8_t>(~pixel);
    moxPutPixel(image.get(), SIZE - 2, SIZE - 3, &pixel);
    EXPECT_EQ(sampleAt(SIZE - 2, SIZE - 3), pixel);
    moxGetPixel(image.get(), SIZE, 0, &pixel);
    EXPECT_TRUE(recorder.are({{-5, "moxGetPixel", "((x>img->width-1) || (x<0))"}}));
    recorder.clear();
}

}  // namespace
