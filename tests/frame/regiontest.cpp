// Where a region lies, whether images are one flat run, and how long a tile's row is.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "frame/ownimage.h"
#include "frame/ownrows.h"
#include "frame/owntile.h"
#include "support/scene.h"
#include "support/testimage.h"
#include "support/tilelog.h"

namespace {

MoxROI drawRoi(Random &random, int channels, int width, int height) {
    MoxROI roi = {random.between(0, channels), random.between(0, width + 3), random.between(0, height + 3),
                  random.between(1, width + 5), random.between(1, height + 5)};
    if (random.oneIn(6)) roi.width = INT_MAX;
    if (random.oneIn(6)) roi.height = INT_MAX;
    if (random.oneIn(10)) roi.xOffset = INT_MAX;
    if (random.oneIn(10)) roi.yOffset = INT_MAX;
    return roi;
}

TEST(ImageRect, IsTheWholeImageWithoutRegion) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 7, 3));
    OwnImageRect rect = {};
    ownImageRect(image.header(), &rect);
    EXPECT_EQ(rect.x, 0);
    EXPECT_EQ(rect.y, 0);
    EXPECT_EQ(rect.width, 20);
    EXPECT_EQ(rect.height, 7);
}

TEST(ImageRect, IsClippedButNotClamped) {
    forEachCase(500, [](Random &random) {
        MoxImage image = {};
        image.width = random.between(1, 30);
        image.height = random.between(1, 30);
        MoxROI roi = drawRoi(random, 3, image.width, image.height);
        image.roi = &roi;
        OwnImageRect rect = {};
        ownImageRect(&image, &rect);
        EXPECT_EQ(rect.x, roi.xOffset);
        EXPECT_EQ(rect.y, roi.yOffset);
        EXPECT_EQ(rect.width, std::min<int64_t>(roi.width, int64_t{image.width} - roi.xOffset));
        EXPECT_EQ(rect.height, std::min<int64_t>(roi.height, int64_t{image.height} - roi.yOffset));
    });
}

TEST(RoiStart, IsTheImageWithoutRegion) {
    for (unsigned depth : allDepths) {
        TestImage image(TestLayout::of(depth, 20, 7));
        int width = -1, height = -1, bit = -1;
        EXPECT_EQ(ownRoiStart(image.header(), 0, &width, &height, &bit), image.header()->imageData);
        EXPECT_EQ(width, 20);
        EXPECT_EQ(height, 7);
        EXPECT_EQ(bit, 0);
    }
}

TEST(RoiStart, IsTheFormula) {
    forEachCase(3000, [](Random &random) {
        TestLayout layout;
        layout.depth = allDepths[random.below(7)];
        layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : random.between(1, 5);
        layout.order = random.below(2);
        layout.width = random.between(1, 40);
        layout.height = random.between(1, 10);
        layout.extraStride = random.oneIn(2) ? random.between(1, 9) : 0;
        TestImage image(layout);
        MoxROI roi = drawRoi(random, layout.channels, layout.width, layout.height);
        MoxImage header = *image.header();
        header.roi = &roi;
        int channel = random.below(layout.channels), width = -1, height = -1, bit = -1;
        char *start = ownRoiStart(&header, channel, &width, &height, &bit);
        EXPECT_EQ(width, std::max(0, std::min(roi.width, layout.width - roi.xOffset)));
        EXPECT_EQ(height, std::max(0, std::min(roi.height, layout.height - roi.yOffset)));
        EXPECT_EQ(bit, roi.xOffset % 8);
        if (width == 0 || height == 0) return;
        int64_t step = header.widthStep, offset = roi.yOffset * step;
        if (layout.order == MOX_DATA_ORDER_PLANE) {
            offset += channel * layout.height * step + int64_t{roi.xOffset} * layout.bits() / 8;
        } else {
            offset += (channel + int64_t{roi.xOffset} * layout.channels) * layout.bits() / 8;
        }
        EXPECT_EQ(start - header.imageData, offset);
    });
}

TEST(RoiStart, BeyondTheImageHasNoWidth) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 7);
    layout.setRoi(0, 25, 0, 4, 4);
    TestImage image(layout);
    int width = -1, height = -1, bit = -1;
    ownRoiStart(image.header(), 0, &width, &height, &bit);
    EXPECT_EQ(width, 0);
    OwnImageRect rect = {};
    ownImageRect(image.header(), &rect);
    EXPECT_EQ(rect.width, -5);
}

TEST(RoiStart, OfABitRegionAtThirteenIsOneByteAndFiveBitsIn) {
    TestLayout layout = TestLayout::ofMask(40, 4);
    layout.setRoi(0, 13, 0, 10, 2);
    TestImage image(layout);
    int width = -1, height = -1, bit = -1;
    char *start = ownRoiStart(image.header(), 0, &width, &height, &bit);
    EXPECT_EQ(bit, 5);
    EXPECT_EQ(start - image.header()->imageData, 1);
}

// Measures and maps take the channels one by one where they must.
TEST(Span, BeginsInItsChannelWithARegionAndWithoutOne) {
    for (unsigned depth : allDepths) {
        for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
            const int channels = depth == MOX_DEPTH_1U ? 1 : 4;
            TestImage image(TestLayout::of(depth, 11, 5, channels, order));
            MoxImage header = *image.header();
            MoxROI roi = {0, 0, 0, 11, 5};
            for (int channel = 0; channel < channels; ++channel) {
                SCOPED_TRACE(image.layout().describe() + ", channel " + std::to_string(channel));
                int width, height;
                header.roi = &roi;
                const OwnSpan within = ownSpan(&header, channel, &width, &height);
                header.roi = nullptr;
                const OwnSpan whole = ownSpan(&header, channel, &width, &height);
                const int64_t plane = int64_t{header.height} * header.widthStep,
                              bytes = header.depth == 1 ? 0 : within.bytes;
                EXPECT_EQ(whole.start - reinterpret_cast<uint8_t *>(header.imageData),
                          channel * (order == MOX_DATA_ORDER_PLANE ? plane : bytes));
                EXPECT_EQ(whole.start, within.start);
                EXPECT_EQ(whole.first, within.first);
                EXPECT_EQ(whole.step, within.step);
            }
        }
    }
}

// --- Flat runs ------------------------------------------------------------------------------------------------------

struct Flat {
    MoxROI roi = {1, 0, 0, 16, 10};
    MoxImage image = {};
    Flat() {
        image.nChannels = 1;
        image.depth = MOX_DEPTH_8U;
        image.align = 8;
        image.width = 16;
        image.height = 10;
        image.widthStep = 16;
        image.imageSize = 160;
    }
    Flat(const Flat &) = delete;
    Flat &operator=(const Flat &) = delete;
};

TEST(CanRunFlat, WithEqualImagesAndNoRegion) {
    Flat a, b, c;
    EXPECT_TRUE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
    EXPECT_TRUE(ownCanRunFlat(&a.image, &b.image, &c.image, false));
    EXPECT_TRUE(ownCanRunFlat(&a.image, &a.image, &a.image, false));
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, nullptr, true));
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, &c.image, true));
}

TEST(CanRunFlat, NotWithADifferenceInSizeOrAlign) {
    for (int MoxImage::*field : {&MoxImage::height, &MoxImage::width, &MoxImage::imageSize, &MoxImage::align}) {
        for (int difference : {1, -1, 8}) {
            Flat a, b, c;
            b.image.*field += difference;
            EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
            EXPECT_FALSE(ownCanRunFlat(&b.image, &a.image, nullptr, false));
            EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, &c.image, false));
            EXPECT_FALSE(ownCanRunFlat(&a.image, &c.image, &b.image, false));
            EXPECT_FALSE(ownCanRunFlat(&b.image, &a.image, &c.image, false));
        }
    }
}

// The test of three images is on sums: 2 x A - B - C.
TEST(CanRunFlat, WithThreeImagesWhoseSumsAgree) {
    for (int MoxImage::*field : {&MoxImage::height, &MoxImage::width, &MoxImage::imageSize, &MoxImage::align}) {
        Flat a, b, c;
        b.image.*field -= 1;
        c.image.*field += 1;
        EXPECT_TRUE(ownCanRunFlat(&a.image, &b.image, &c.image, false));
        EXPECT_FALSE(ownCanRunFlat(&b.image, &a.image, &c.image, false));
    }
    Flat a, b, c;
    a.image.height = 10;
    b.image.height = 9;
    c.image.height = 11;
    EXPECT_TRUE(ownCanRunFlat(&a.image, &b.image, &c.image, false));
}

// The four tests are one word of bits: opposite differences in different fields don't make up for each other.
TEST(CanRunFlat, NotWhereDifferencesOfDifferentFieldsCancel) {
    Flat a, b;
    b.image.height += 1;
    b.image.width -= 1;
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
}

TEST(CanRunFlat, WithHostileSizesAnswersWithoutOverflow) {
    Flat a, b, c;
    a.image.height = INT_MAX;
    b.image.height = INT_MIN;
    c.image.height = INT_MIN;
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, &c.image, false));
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
    a.image.height = 1 << 30;
    b.image.height = -(1 << 30);
    c.image.height = -(1 << 30);
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, &c.image, false));
}

TEST(CanRunFlat, WithACoiOfASingleChannelOnly) {
    for (int which = 0; which < 3; which++) {
        Flat flats[3];
        Flat &flat = flats[which];
        auto can = [&flats] { return ownCanRunFlat(&flats[0].image, &flats[1].image, &flats[2].image, false); };
        flat.image.roi = &flat.roi;
        EXPECT_TRUE(can());
        flat.roi = {1, 0, 0, 100, 100};
        EXPECT_TRUE(can());
        flat.roi.coi = 0;
        EXPECT_FALSE(can());
        flat.roi = {1, 1, 0, 16, 10};
        EXPECT_FALSE(can());
        flat.roi = {1, 0, 1, 16, 10};
        EXPECT_FALSE(can());
        flat.roi = {1, 0, 0, 15, 10};
        EXPECT_FALSE(can());
        flat.roi = {1, 0, 0, 16, 9};
        EXPECT_FALSE(can());
        flat.roi = {1, 0, 0, 16, 10};
        flat.image.nChannels = 3;
        EXPECT_FALSE(can());
        flat.roi.coi = 0;
        EXPECT_FALSE(can());
    }
    // In the form with two images as well.
    Flat a, b;
    b.image.roi = &b.roi;
    EXPECT_TRUE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
    EXPECT_TRUE(ownCanRunFlat(&b.image, &a.image, nullptr, false));
    b.roi.coi = 0;
    EXPECT_FALSE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
    EXPECT_FALSE(ownCanRunFlat(&b.image, &a.image, nullptr, false));
}

TEST(CanRunFlat, DoesNotCompareOrderStrideAndDepth) {
    Flat a, b;
    b.image.dataOrder = 1;
    b.image.widthStep = 40;
    b.image.depth = MOX_DEPTH_32F;
    b.image.nChannels = 2;
    EXPECT_TRUE(ownCanRunFlat(&a.image, &b.image, nullptr, false));
}

// --- Channels -------------------------------------------------------------------------------------------------------

TEST(Channels, AreTheCoiOrAllButAlpha) {
    forEachCase(200, [](Random &random) {
        TestLayout layout;
        layout.channels = random.between(1, 5);
        layout.alpha = random.oneIn(2) ? layout.channels : 0;
        if (random.oneIn(2)) layout.setRoi(random.between(0, layout.channels), 0, 0, 4, 4);
        TestImage image(layout);
        bool hasCoi = layout.hasRoi && layout.roi.coi > 0;
        EXPECT_EQ(ownHasCoi(image.header()), hasCoi);
        EXPECT_EQ(ownChannels(image.header()), hasCoi ? 1 : layout.channels - (layout.alpha ? 1 : 0));
        EXPECT_EQ(ownFirstChannel(image.header()), hasCoi ? layout.roi.coi - 1 : 0);
    });
}

// --- Tile rows ------------------------------------------------------------------------------------------------------

TEST(TileRowBytes, AreTheArithmetic) {
    for (unsigned depth : allDepths) {
        for (int align : {4, 8, 16, 32}) {
            for (int channels = 1; channels < 6; channels++) {
                for (int width = 8; width < 200; width += 8) {
                    int64_t bits = int64_t{static_cast<int>(depth & 0x7FFFFFFFu)} * width;
                    int64_t unit = align * 8;
                    EXPECT_EQ(ownTileRowBytes(1, depth, align, channels, width), (bits + unit - 1) / unit * unit / 8);
                    EXPECT_EQ(ownTileRowBytes(0, depth, align, channels, width),
                              (bits * channels + unit - 1) / unit * unit / 8);
                }
            }
        }
    }
}

TEST(TileRowBytes, OfAnImageComeFromItsHeader) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 30, 12, 3);
    layout.tileWidth = 24;
    layout.tileHeight = 8;
    layout.align = 32;
    TestImage image(layout);
    EXPECT_EQ(ownTileRowBytesOf(image.header()), 160);
    moxSetErrStatus(0);
    EXPECT_EQ(ownTileRowBytesOf(nullptr), 0);
    moxSetErrStatus(0);
    image.header()->align = 5;
    EXPECT_EQ(ownTileRowBytesOf(image.header()), 0);
    moxSetErrStatus(0);
    TestImage plain(TestLayout::of(MOX_DEPTH_8U, 10, 10));
    EXPECT_EQ(ownTileRowBytesOf(plain.header()), 0);
}

// --- Scratch headers and the start of a walk ------------------------------------------------------------------------

TEST(Scratch, IsTheHeaderWithARegionOfItsOwn) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 30, 12, 3);
    for (bool hasRoi : {false, true}) {
        if (hasRoi) layout.setRoi(2, 1, 2, 3, 4);
        TestImage image(layout);
        OwnScratchImage scratch;
        ownMakeScratch(image.header(), &scratch);
        EXPECT_EQ(scratch.header.roi, &scratch.roi);
        EXPECT_EQ(scratch.roi.coi, hasRoi ? 2 : 0);
        MoxImage header = scratch.header;
        header.roi = image.header()->roi;
        EXPECT_EQ(header.imageData, image.header()->imageData);
        EXPECT_EQ(header.width, 30);
        EXPECT_EQ(header.height, 12);
        EXPECT_EQ(header.widthStep, image.header()->widthStep);
        EXPECT_EQ(header.nChannels, 3);
        EXPECT_TRUE(image.headerIsUntouched());
    }
}

TEST(TileWalkSetup, OfAPlainImageKeepsItsHeader) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 12));
    OwnScratchImage scratch;
    ownMakeScratch(image.header(), &scratch);
    OwnImageRect rect = {3, 20, 2, 10, 8, 17};
    MoxTileWalk walk = {};
    ownTileWalkSetup(image.header(), &scratch.header, &rect, &walk);
    EXPECT_FALSE(walk.tiled);
    EXPECT_EQ(scratch.header.width, 30);
    EXPECT_EQ(scratch.header.height, 12);
    EXPECT_EQ(scratch.header.imageData, image.header()->imageData);
}

TEST(TileWalkSetup, OfATiledImageStandsOnTheTileOfItsCorner) {
    forEachCase(300, [](Random &random) {
        TestLayout layout;
        layout.depth = allDepths[random.below(7)];
        layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : random.between(1, 4);
        layout.order = random.below(2);
        layout.align = 4 << random.below(4);
        layout.width = random.between(40, 90);
        layout.height = random.between(20, 40);
        layout.tileWidth = 8 * random.between(1, 4);
        layout.tileHeight = 8 * random.between(1, 3);
        TestImage image(layout);
        OwnScratchImage scratch;
        ownMakeScratch(image.header(), &scratch);
        OwnImageRect rect = {random.below(40), 0, random.below(20), 0, 1, 1};
        rect.xEnd = rect.x + 1;
        rect.yEnd = rect.y + 1;
        MoxTileWalk walk = {};
        ownTileWalkSetup(image.header(), &scratch.header, &rect, &walk);
        int64_t column = rect.x / layout.tileWidth, row = rect.y / layout.tileHeight;
        EXPECT_TRUE(walk.tiled);
        EXPECT_EQ(walk.tileWidth, layout.tileWidth);
        EXPECT_EQ(walk.tileHeight, layout.tileHeight);
        EXPECT_EQ(walk.column, column);
        EXPECT_EQ(walk.row, row);
        EXPECT_EQ(walk.tileX0, column * layout.tileWidth);
        EXPECT_EQ(walk.tileXEnd, (column + 1) * layout.tileWidth);
        EXPECT_EQ(walk.tileY0, row * layout.tileHeight);
        EXPECT_EQ(walk.tileYEnd, (row + 1) * layout.tileHeight);
        int64_t rowBytes = ownTileRowBytes(layout.order, layout.depth, layout.align, layout.channels, layout.tileWidth);
        EXPECT_EQ(scratch.header.tileInfo, nullptr);
        EXPECT_EQ(scratch.header.widthStep, rowBytes);
        EXPECT_EQ(scratch.header.width, layout.tileWidth);
        EXPECT_EQ(scratch.header.height, layout.tileHeight);
        EXPECT_EQ(scratch.header.imageSize,
                  rowBytes * layout.tileHeight * (layout.order == MOX_DATA_ORDER_PLANE ? layout.channels : 1));
    });
}

TEST(TileRequest, GivesTheAddressThatIsBackAtTheRelease) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 20);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage image(layout);
    TileLog log(3);
    char *first = ownRequestTile(image.header(), 2, 1, MOX_TileRead);
    char *second = ownRequestTile(image.header(), 3, 2, MOX_TileWrite);
    EXPECT_EQ(first, image.tileAddress(2, 1));
    EXPECT_EQ(second, image.tileAddress(3, 2));
    EXPECT_EQ(ownRequestTile(image.header(), 0, 0, MOX_TileRead), nullptr);
    ownReleaseTile(image.header(), 2, 1, first);
    ownReleaseTile(image.header(), 3, 2, second);
    EXPECT_TRUE(log.clean());
    EXPECT_EQ(image.tilesInHand(), 0u);
}

}  // namespace
