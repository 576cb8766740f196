// moxGetPixel and moxPutPixel: every layout, both origins, tiles, and what they refuse.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

class Pixel : public testing::Test {
  protected:
    ReportRecorder recorder;
};

// The bytes of a pixel in the caller's buffer, with some behind them that must stay.
struct PixelBuffer {
    uint8_t bytes[48];
    uint32_t get(int channel, int size) const {
        uint32_t sample = 0;
        memcpy(&sample, bytes + channel * size, static_cast<size_t>(size));
        return sample;
    }
};

TestLayout drawLayout(Random &random) {
    TestLayout layout;
    layout.depth = allDepths[random.below(7)];
    layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : random.between(1, 5);
    layout.alpha = random.oneIn(3) ? layout.channels : 0;
    layout.order = random.below(2);
    layout.origin = random.below(2);
    layout.align = 4 << random.below(4);
    layout.width = random.between(1, 40);
    layout.height = random.between(1, 20);
    if (random.oneIn(2)) layout.setRoi(random.between(0, layout.channels), random.below(50), random.below(20), 3, 3);
    if (random.oneIn(2)) {
        layout.tileWidth = 8 * random.between(1, 3);
        layout.tileHeight = 8 * random.between(1, 2);
        layout.transientTiles = random.oneIn(2);
    } else {
        layout.extraStride = random.oneIn(2) ? random.between(1, 20) : 0;
        layout.dataShift = random.oneIn(2) ? random.below(32) : 0;
    }
    return layout;
}

std::vector<TileEvent> pixelEvents(TestImage &image, int mode, int x, int row) {
    if (!image.layout().tiled()) return {};
    int column = x / image.layout().tileWidth, tileRow = row / image.layout().tileHeight;
    return {{&image, mode, column, tileRow}, {&image, MOX_TileRelease, column, tileRow}};
}

TEST_F(Pixel, IsReadWholeWhateverTheLayout) {
    forEachCase(4000, [this](Random &random) {
        TestImage image(drawLayout(random), random.next()), mask(TestLayout::ofMask(40, 20));
        mask.setAll(0);
        image.setMask(random.oneIn(3) ? &mask : nullptr);
        const TestLayout &layout = image.layout();
        TestBytes before = image.bytes();
        int x = random.below(layout.width), y = random.below(layout.height);
        int row = layout.origin == MOX_ORIGIN_BL ? layout.height - 1 - y : y;
        int size = layout.bits() == 1 ? 1 : layout.bits() / 8, used = size * layout.channels;
        PixelBuffer pixel;
        memset(pixel.bytes, 0xA5, sizeof pixel.bytes);
        TileLog log;
        AllocationWindow window;
        moxGetPixel(image.header(), x, y, pixel.bytes);
        window.close();
        for (int channel = 0; channel < layout.channels; channel++) {
            ASSERT_EQ(pixel.get(channel, size), image.get(channel, x, row))
                << layout.describe() << " at " << x << "," << y;
        }
        for (size_t i = static_cast<size_t>(used); i < sizeof pixel.bytes; i++)
            ASSERT_EQ(pixel.bytes[i], 0xA5);
        EXPECT_EQ(window.count(), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(log.is(pixelEvents(image, MOX_TileRead, x, row)));
        EXPECT_TRUE(image.holds(before));
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_TRUE(recorder.none());
    });
}

TEST_F(Pixel, IsWrittenWholeAndNothingElse) {
    forEachCase(4000, [this](Random &random) {
        TestImage image(drawLayout(random), random.next()), mask(TestLayout::ofMask(40, 20));
        mask.setAll(0);
        image.setMask(random.oneIn(3) ? &mask : nullptr);
        const TestLayout &layout = image.layout();
        int x = random.below(layout.width), y = random.below(layout.height);
        int row = layout.origin == MOX_ORIGIN_BL ? layout.height - 1 - y : y;
        int size = layout.bits() == 1 ? 1 : layout.bits() / 8;
        PixelBuffer pixel;
        for (uint8_t &byte : pixel.bytes)
            byte = static_cast<uint8_t>(random.bits());
        TestBytes wanted = image.bytes();
        for (int channel = 0; channel < layout.channels; channel++) {
            uint32_t sample = pixel.get(channel, size);
            image.setIn(wanted, channel, x, row, layout.bits() == 1 ? sample & 1u : sample);
        }
        PixelBuffer given = pixel;
        TileLog log;
        moxPutPixel(image.header(), x, y, pixel.bytes);
        EXPECT_TRUE(image.holds(wanted)) << layout.describe() << " at " << x << "," << y;
        EXPECT_EQ(memcmp(&given, &pixel, sizeof given), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(log.is(pixelEvents(image, MOX_TileWrite, x, row)));
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_TRUE(recorder.none());
    });
}

TEST_F(Pixel, RowZeroAtTheBottomIsTheLastInMemory) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 5, 4);
    layout.origin = MOX_ORIGIN_BL;
    TestImage image(layout);
    uint8_t pixel = 0;
    moxGetPixel(image.header(), 2, 0, &pixel);
    EXPECT_EQ(pixel, image.get(0, 2, 3));
    pixel = static_cast<uint8_t>(~pixel);
    moxPutPixel(image.header(), 2, 0, &pixel);
    EXPECT_EQ(pixel, image.get(0, 2, 3));
}

TEST_F(Pixel, OfOneBitIsZeroOrOne) {
    TestImage image(TestLayout::ofMask(9, 1));
    uint8_t pixel = 0xFF;
    image.setAll(1);
    moxGetPixel(image.header(), 8, 0, &pixel);
    EXPECT_EQ(pixel, 1);
    pixel = 0xFE;
    moxPutPixel(image.header(), 8, 0, &pixel);
    EXPECT_EQ(image.get(0, 8, 0), 0u);
    moxGetPixel(image.header(), 8, 0, &pixel);
    EXPECT_EQ(pixel, 0);
}

TEST_F(Pixel, DoesNotLookAtAnOlderFault) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 5, 4));
    uint8_t pixel = 0;
    moxSetErrStatus(-7);
    moxGetPixel(image.header(), 1, 1, &pixel);
    EXPECT_EQ(pixel, image.get(0, 1, 1));
    EXPECT_EQ(moxGetErrStatus(), -7);
}

// Runs both functions, get and put, on the same fault.
struct Access {
    const char *name;
    void (*run)(MoxImage *, int, int, void *);
};
const Access accesses[] = {
    {"moxGetPixel", [](MoxImage *image, int x, int y, void *pixel) { moxGetPixel(image, x, y, pixel); }},
    {"moxPutPixel", [](MoxImage *image, int x, int y, void *pixel) { moxPutPixel(image, x, y, pixel); }},
};
const char *const X_TEST = "((x>img->width-1) || (x<0))";
const char *const Y_TEST = "((y>img->height-1) || (y<0))";

TEST_F(Pixel, OutsideTheImageIsRefused) {
    for (const Access &access : accesses) {
        for (int origin : {0, 1}) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 5, 4);
            layout.origin = origin;
            TestImage image(layout);
            TestBytes before = image.bytes();
            uint8_t pixel = 9;
            for (int x : {5, -1, INT_MAX, INT_MIN}) {
                recorder.clear();
                access.run(image.header(), x, 0, &pixel);
                EXPECT_TRUE(recorder.are({{-5, access.name, X_TEST}}));
                recorder.clear();
                access.run(image.header(), x, 99, nullptr);
                EXPECT_TRUE(recorder.are({{-5, access.name, X_TEST}}));
            }
            for (int y : {4, -1, INT_MAX, INT_MIN}) {
                recorder.clear();
                access.run(image.header(), 0, y, &pixel);
                EXPECT_TRUE(recorder.are({{-5, access.name, Y_TEST}}));
                recorder.clear();
                access.run(image.header(), 0, y, nullptr);
                EXPECT_TRUE(recorder.are({{-5, access.name, Y_TEST}}));
            }
            recorder.clear();
            access.run(image.header(), 0, 0, nullptr);
            EXPECT_TRUE(recorder.are({{-5, access.name, "pixel==0"}}));
            EXPECT_EQ(pixel, 9);
            EXPECT_TRUE(image.holds(before));
        }
    }
}

TEST_F(Pixel, ABadHeaderIsRefusedFirst) {
    for (const Access &access : accesses) {
        TestImage image(TestLayout::of(MOX_DEPTH_8U, 5, 4));
        uint8_t pixel = 9;
        recorder.clear();
        access.run(nullptr, -1, -1, &pixel);
        EXPECT_TRUE(recorder.are({{-9, access.name, "Incorrect Image"}}));
        image.header()->origin = 2;
        recorder.clear();
        access.run(image.header(), -1, -1, &pixel);
        EXPECT_TRUE(recorder.are({{-20, access.name, "Incorrect Image"}}));
        EXPECT_EQ(pixel, 9);
    }
}

TEST_F(Pixel, ARefusedTileIsReported) {
    for (const Access &access : accesses) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_16U, 20, 20, 3);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage image(layout);
        TestBytes before = image.bytes();
        uint16_t pixel[3] = {1, 2, 3};
        bool get = access.run == accesses[0].run;
        recorder.clear();
        TileLog log(1);
        access.run(image.header(), 9, 17, pixel);
        EXPECT_TRUE(recorder.are({{-2, access.name, get ? "Error get tile to read" : "Error get tile to write"}}));
        EXPECT_TRUE(log.is({{&image, get ? MOX_TileRead : MOX_TileWrite, 1, 2}}));
        EXPECT_TRUE(image.holds(before));
        EXPECT_EQ(pixel[0] + pixel[1] + pixel[2], 6);
    }
}

// The same function of a mask's depth and of a float's: values go unchanged.
TEST_F(Pixel, FloatsGoBitForBit) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 3, 3));
    for (uint32_t pattern : {0x7F812345u, 0x80000000u, 0x00000001u, 0xFF800001u}) {
        uint32_t back = 0;
        moxPutPixel(image.header(), 1, 1, &pattern);
        EXPECT_EQ(image.get(0, 1, 1), pattern);
        moxGetPixel(image.header(), 1, 1, &back);
        EXPECT_EQ(back, pattern);
    }
}

}  // namespace
