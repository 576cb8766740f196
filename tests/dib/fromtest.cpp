// moxConvertFromDIB and moxConvertFromDIBSep against the model, and pixels worked out by hand.
#include "dib/dibcheck.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

const int allBits[] = {1, 4, 8, 16, 24, 32};

class BitmapFrom : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Bits, BitmapFrom, testing::ValuesIn(allBits));

void checkFrom(TestBitmap &bitmap, TestImage &image) {
    SCOPED_TRACE(bitmap.shape().describe() + " to " + image.layout().describe() + " " +
                 std::string(image.header()->channelSeq, 4));
    bitmap.keep();
    const RefResult wanted = refFromBitmap(bitmap.picture(), image);
    const TestBytes before = image.bytes();
    forEachCpuLevel([&] {
        ReportRecorder reports;
        AllocationWindow window;
        bitmap.convertFrom(image.header());
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(image.holds(wanted.expected));
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_TRUE(bitmap.isUntouched());
        image.setBytes(before);
    });
}

TEST_P(BitmapFrom, agreesWithTheModel) {
    forEachCase(600, [&](Random &random) {
        BitmapShape shape = drawShape(random, GetParam(), random.oneIn(20) ? 700 : 70);
        static const std::vector<std::vector<uint32_t>> masks16 = {{0x7C00, 0x3E0, 0x1F},
                                                                   {0xF800, 0x7E0, 0x1F},
                                                                   {0xF00, 0xF0, 0xF},
                                                                   {0x1F, 0x3E0, 0x7C00},
                                                                   {1, 0xFFC, 0x8000}};
        static const std::vector<std::vector<uint32_t>> masks32 = {{0xFF0000, 0xFF00, 0xFF},
                                                                   {0xFF, 0xFF00, 0xFF0000},
                                                                   {0x3FF00000, 0xFFC00, 0x3FF},
                                                                   {0xFF000000, 0xFF0000, 0xFF00},
                                                                   {0xFFF00000, 0x3, 0xFFC}};
        if (shape.bits == 16 || shape.bits == 32) {
            if (random.oneIn(2)) {
                shape.compression = BI_BITFIELDS;
                shape.masks = (shape.bits == 16 ? masks16 : masks32)[static_cast<size_t>(random.below(5))];
            }
        }
        TestBitmap bitmap(shape, random.next(), random.oneIn(2));
        drawPalette(random, bitmap);
        bitmap.drawPixels(random.next());
        // Indices beyond the palette are black.
        if (shape.bits <= 8 && random.oneIn(4)) {
            for (int row = 0; row < shape.rows(); ++row) {
                for (int x = 0; x < shape.width; ++x)
                    bitmap.set(x, row, random.bits());
            }
        }
        TestImage image(drawImageFor(random, shape), random.next());
        nameChannels(image, drawNames(random, image.layout().channels));
        checkFrom(bitmap, image);
    });
}

// Rows of every length: the tails of every vector, into every shape of image.
TEST_P(BitmapFrom, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 140; ++width) {
        for (int channels : {1, 3, 4}) {
            const BitmapShape shape = {width, 2, GetParam()};
            TestBitmap bitmap(shape, random.next());
            bitmap.drawPixels(random.next());
            TestImage image(layoutFor(shape, channels), random.next());
            nameChannels(image, drawNames(random, channels));
            checkFrom(bitmap, image);
            if (HasFailure()) return;
        }
    }
}

// Both directions of the bitmap into both origins: the first row of the bitmap in memory by its colour.
TEST_P(BitmapFrom, rowsAreReversedWhereTheOriginsDiffer) {
    for (int height : {3, -3}) {
        for (int origin : {MOX_ORIGIN_TL, MOX_ORIGIN_BL}) {
            const BitmapShape shape = {1, height, GetParam()};
            TestBitmap bitmap(shape);
            if (GetParam() <= 8) bitmap.setGrayRamp();
            for (int row = 0; row < 3; ++row)
                bitmap.set(0, row, row == 0 ? 0xFFFFFFFF : 0);
            TestLayout layout = layoutFor(shape);
            layout.origin = origin;
            TestImage image(layout);
            ReportRecorder reports;
            bitmap.convertFrom(image.header());
            EXPECT_TRUE(reports.none());
            const bool reversed = (height < 0) != (origin == MOX_ORIGIN_TL);
            for (int y = 0; y < 3; ++y)
                EXPECT_EQ(image.get(0, 0, y), (reversed ? 2 - y : y) == 0 ? 255u : 0u) << height << " " << origin;
        }
    }
}

// The samples of one pixel, by the names of its channels.
std::vector<uint32_t> onePixel(TestBitmap &bitmap, int channels, const char *names, unsigned depth = MOX_DEPTH_8U) {
    TestImage image(layoutFor(bitmap.shape(), channels, depth));
    nameChannels(image, names);
    ReportRecorder reports;
    bitmap.convertFrom(image.header());
    EXPECT_TRUE(reports.none());
    std::vector<uint32_t> samples;
    for (int channel = 0; channel < channels; ++channel)
        samples.push_back(image.get(channel, 0, 0));
    return samples;
}

using Samples = std::vector<uint32_t>;

TEST(BitmapPixel, ofThePalette) {
    for (int bits : {1, 4, 8}) {
        TestBitmap bitmap({1, 1, bits});
        bitmap.setColour(1, 0x112233, 0xEE);
        bitmap.set(0, 0, 1);
        EXPECT_EQ(onePixel(bitmap, 3, "RGB"), (Samples{0x11, 0x22, 0x33}));
        EXPECT_EQ(onePixel(bitmap, 3, "BGR"), (Samples{0x33, 0x22, 0x11}));
        EXPECT_EQ(onePixel(bitmap, 4, "RGBA"), (Samples{0x11, 0x22, 0x33, 0xFF}));
        EXPECT_EQ(onePixel(bitmap, 4, "BGRA"), (Samples{0x33, 0x22, 0x11, 0xFF}));
        EXPECT_EQ(onePixel(bitmap, 3, "BGR", MOX_DEPTH_16U), (Samples{0x3333, 0x2222, 0x1111}));
    }
}

TEST(BitmapPixel, ofSixteenBits) {
    TestBitmap bitmap({1, 1, 16});
    // Red 31, green 16, blue 1.
    bitmap.set(0, 0, 31 << 10 | 16 << 5 | 1);
    EXPECT_EQ(onePixel(bitmap, 3, "RGB"), (Samples{255, 132, 8}));
    bitmap.set(0, 0, 0x8000);
    EXPECT_EQ(onePixel(bitmap, 4, "RGBA"), (Samples{0, 0, 0, 255}));
    BitmapShape green = {1, 1, 16, BI_BITFIELDS};
    green.masks = {0xF800, 0x7E0, 0x1F};
    TestBitmap six(green);
    six.set(0, 0, 0x1F << 11 | 32 << 5 | 1);
    EXPECT_EQ(onePixel(six, 3, "RGB"), (Samples{255, 130, 8}));
}

TEST(BitmapPixel, ofTwentyFourAndThirtyTwoBits) {
    TestBitmap three({1, 1, 24}), four({1, 1, 32});
    three.set(0, 0, 0x112233);
    four.set(0, 0, 0x44112233);
    EXPECT_EQ(three.pixels()[0], 0x33);
    EXPECT_EQ(onePixel(three, 3, "RGB"), (Samples{0x11, 0x22, 0x33}));
    EXPECT_EQ(onePixel(three, 4, "BGRA"), (Samples{0x33, 0x22, 0x11, 0xFF}));
    EXPECT_EQ(onePixel(four, 3, "BGR"), (Samples{0x33, 0x22, 0x11}));
    EXPECT_EQ(onePixel(four, 4, "RGBA"), (Samples{0x11, 0x22, 0x33, 0x44}));
    EXPECT_EQ(onePixel(four, 1, "GRAY"), (Samples{(54 * 0x11 + 183 * 0x22 + 19 * 0x33) >> 8}));
}

// The first pixel stands in the high bits.
TEST(BitmapPixel, orderWithinABytes) {
    TestBitmap one({8, 1, 1}), four({2, 1, 4});
    one.setGrayRamp();
    four.setGrayRamp();
    one.pixels()[0] = 0xA1;
    four.pixels()[0] = 0x1F;
    EXPECT_EQ(one.get(0, 0), 1u);
    TestImage bits(layoutFor(one.shape(), 1, MOX_DEPTH_1U)), nibbles(layoutFor(four.shape()));
    one.convertFrom(bits.header());
    four.convertFrom(nibbles.header());
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(bits.get(0, x, 0), 0xA1u >> (7 - x) & 1);
    EXPECT_EQ(nibbles.get(0, 0, 0), 17u);
    EXPECT_EQ(nibbles.get(0, 1, 0), 255u);
}

TEST(BitmapPixel, anIndexBeyondThePaletteIsBlack) {
    for (int bits : {1, 4, 8}) {
        BitmapShape shape = {1, 1, bits};
        shape.clrUsed = 1;
        TestBitmap bitmap(shape);
        bitmap.setColour(0, 0xFFFFFF);
        bitmap.set(0, 0, 1);
        EXPECT_EQ(onePixel(bitmap, 3, "RGB"), (Samples{0, 0, 0})) << bits;
        bitmap.set(0, 0, 0);
        EXPECT_EQ(onePixel(bitmap, 3, "RGB"), (Samples{255, 255, 255})) << bits;
    }
}

// A header without pixels gets its own, aligned, and loses them again where the call fails.
TEST(BitmapFromBare, allocatesTheImage) {
    for (bool separate : {false, true}) {
        TestBitmap bitmap({7, 5, 8}, 1, separate);
        bitmap.drawPixels(2);
        MoxImage *image = moxCreateImageHeader(3, 0, MOX_DEPTH_8U, "RGB", "RGB", MOX_DATA_ORDER_PLANE, MOX_ORIGIN_BL,
                                               16, 7, 5, nullptr, nullptr, nullptr, nullptr);
        ReportRecorder reports;
        bitmap.convertFrom(image);
        EXPECT_TRUE(reports.none());
        ASSERT_NE(image->imageData, nullptr);
        EXPECT_EQ(image->widthStep, 16);
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 7; ++x) {
                for (int channel = 0; channel < 3; ++channel) {
                    EXPECT_EQ(static_cast<uint8_t>(image->imageData[(channel * 5 + y) * 16 + x]),
                              bitmap.colour(static_cast<int>(bitmap.get(x, y))) >> (16 - 8 * channel) & 255);
                }
            }
        }
        moxDeallocateImage(image);
        TestBitmap larger({8, 5, 8}, 1, separate);
        larger.convertFrom(image);
        EXPECT_TRUE(reports.are({{-10, bitmap.nameOfFrom(), "Image size is too small"}}));
        EXPECT_EQ(image->imageData, nullptr);
        EXPECT_EQ(image->imageDataBase, nullptr);
        moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
    }
}

// Depths that no bitmap fills, and tiles.
TEST(BitmapFromRefused, depthsAndTiles) {
    for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        TestBitmap bitmap({8, 8, 8});
        TestImage image(layoutFor(bitmap.shape(), 1, depth));
        const TestBytes before = image.bytes();
        ReportRecorder reports;
        bitmap.convertFrom(image.header());
        EXPECT_TRUE(reports.are({{-17, "moxConvertFromDIB", "Incorrect Image"}}));
        EXPECT_TRUE(image.holds(before));
    }
    TestBitmap bitmap({8, 8, 8});
    TestLayout tiled = layoutFor(bitmap.shape());
    tiled.tileWidth = tiled.tileHeight = 8;
    TestImage image(tiled);
    const TestBytes before = image.bytes();
    ReportRecorder reports;
    TileLog log;
    bitmap.convertFrom(image.header());
    EXPECT_TRUE(reports.are({{-12, "moxConvertFromDIB", "Incorrect Image"}}));
    EXPECT_TRUE(log.is({}));
    EXPECT_TRUE(image.holds(before));
}

// Region, coi and mask play no part.
TEST(BitmapFromWhole, regionAndMaskPlayNoPart) {
    TestBitmap bitmap({20, 9, 24}, 3);
    bitmap.drawPixels(4);
    TestLayout layout = layoutFor(bitmap.shape(), 3);
    layout.setRoi(2, 5, 3, 4, 4);
    TestImage image(layout), mask(TestLayout::ofMask(20, 9), 9);
    image.setMask(&mask);
    nameChannels(image, "BGR");
    checkFrom(bitmap, image);
}

}  // namespace
