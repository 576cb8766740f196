// moxCloneImage: what a clone has and has not, strides of an image's own, and every failure.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/ownimage.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

class Clone : public testing::Test {
  protected:
    ReportRecorder recorder;
};

void freeClone(MoxImage *clone) {
    moxDeallocate(clone, MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi);
}

TestLayout drawLayout(Random &random) {
    TestLayout layout;
    layout.depth = allDepths[random.below(7)];
    layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : random.between(1, 4);
    layout.alpha = random.oneIn(3) ? layout.channels : 0;
    layout.order = random.below(2);
    layout.origin = random.below(2);
    layout.align = 4 << random.below(4);
    layout.width = random.between(1, 40);
    layout.height = random.between(1, 10);
    if (random.oneIn(2)) layout.setRoi(random.between(0, layout.channels), random.below(9), random.below(9), 5, 1000);
    for (int side = 0; side < 4; side++) {
        layout.borderMode[side] = random.between(-5, 5);
        layout.borderConst[side] = static_cast<int>(random.bits());
    }
    return layout;
}

void expectDescriptors(const MoxImage *clone, TestImage &image) {
    const MoxImage *source = image.header();
    EXPECT_EQ(clone->headerSize, static_cast<int>(sizeof(MoxImage)));
    EXPECT_EQ(clone->headerId, 0);
    EXPECT_EQ(clone->nChannels, source->nChannels);
    EXPECT_EQ(clone->alphaChannel, source->alphaChannel);
    EXPECT_EQ(clone->depth, source->depth);
    EXPECT_EQ(memcmp(clone->colorModel, source->colorModel, 4), 0);
    EXPECT_EQ(memcmp(clone->channelSeq, source->channelSeq, 4), 0);
    EXPECT_EQ(clone->dataOrder, source->dataOrder);
    EXPECT_EQ(clone->origin, source->origin);
    EXPECT_EQ(clone->align, source->align);
    EXPECT_EQ(clone->width, source->width);
    EXPECT_EQ(clone->height, source->height);
    EXPECT_EQ(clone->maskROI, nullptr);
    EXPECT_EQ(clone->imageId, nullptr);
    EXPECT_EQ(clone->tileInfo, nullptr);
    EXPECT_EQ(memcmp(clone->borderMode, source->borderMode, sizeof source->borderMode), 0);
    EXPECT_EQ(memcmp(clone->borderConst, source->borderConst, sizeof source->borderConst), 0);
    // The clone's rows are padded to its align, whatever the source's are.
    const bool planar = source->dataOrder == MOX_DATA_ORDER_PLANE;
    const int bits = source->width * ownDepthBits(source->depth) * (planar ? 1 : source->nChannels);
    const int unit = 8 * source->align, step = (bits + unit - 1) / unit * source->align;
    EXPECT_EQ(clone->widthStep, step);
    EXPECT_EQ(clone->imageSize, step * source->height * (planar ? source->nChannels : 1));
    ASSERT_NE(clone->imageData, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(clone->imageData) % static_cast<unsigned>(clone->align), 0u);
    if (source->roi) {
        ASSERT_NE(clone->roi, nullptr);
        EXPECT_NE(clone->roi, source->roi);
        EXPECT_EQ(memcmp(clone->roi, source->roi, sizeof(MoxROI)), 0);
    } else {
        EXPECT_EQ(clone->roi, nullptr);
    }
}

TEST_F(Clone, IsTheImageWithoutMaskTilesAndId) {
    forEachCase(400, [this](Random &random) {
        TestLayout layout = drawLayout(random);
        if (random.oneIn(3)) layout.extraStride = random.between(1, 40);
        TestImage image(layout, random.next());
        TestImage mask(drawMaskLayout(random, layout.width, layout.height), random.next());
        if (random.oneIn(2)) image.setMask(&mask);
        image.header()->headerId = 5;
        image.keepHeader();
        TestBytes before = image.bytes(), maskBefore = mask.bytes();
        AllocationWindow window;
        MoxImage *clone = moxCloneImage(image.header());
        window.close();
        ASSERT_NE(clone, nullptr);
        EXPECT_TRUE(recorder.none());
        EXPECT_EQ(window.live(), layout.hasRoi ? 3 : 2);
        expectDescriptors(clone, image);
        // Row by row, whatever the strides.
        int64_t samples = layout.order == MOX_DATA_ORDER_PIXEL ? int64_t{layout.width} * layout.channels : layout.width;
        int64_t bits = samples * layout.bits();
        int rows = layout.height * (layout.order == MOX_DATA_ORDER_PLANE ? layout.channels : 1);
        for (int row = 0; row < rows; row++) {
            const char *from = image.header()->imageData + int64_t{row} * image.header()->widthStep;
            const char *to = clone->imageData + int64_t{row} * clone->widthStep;
            ASSERT_EQ(memcmp(from, to, static_cast<size_t>(bits / 8)), 0) << row;
            for (int64_t bit = bits / 8 * 8; bit < bits; bit++) {
                EXPECT_EQ(from[bit / 8] >> (7 - bit % 8) & 1, to[bit / 8] >> (7 - bit % 8) & 1);
            }
        }
        if (layout.extraStride == 0) {
            EXPECT_EQ(memcmp(image.header()->imageData, clone->imageData, static_cast<size_t>(clone->imageSize)), 0);
        }
        EXPECT_TRUE(image.holds(before));
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_TRUE(mask.holds(maskBefore));
        freeClone(clone);
        EXPECT_EQ(window.live(), 0);
    });
}

TEST_F(Clone, OfATiledImageAsksForNoTile) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16U, 30, 20, 3);
    layout.tileWidth = 16;
    layout.tileHeight = 8;
    TestImage image(layout);
    TileLog log;
    MoxImage *clone = moxCloneImage(image.header());
    ASSERT_NE(clone, nullptr);
    EXPECT_TRUE(log.is({}));
    expectDescriptors(clone, image);
    EXPECT_EQ(clone->widthStep, 184);
    EXPECT_EQ(clone->imageSize, 184 * 20);
    memset(clone->imageData, 1, static_cast<size_t>(clone->imageSize));
    freeClone(clone);
    EXPECT_TRUE(recorder.none());
}

// A clone is computed from the fields that the image has, not from its sizes.
TEST_F(Clone, IgnoresTheImageSizeOfTheSource) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 10, 10));
    image.header()->imageSize = 1;
    MoxImage *clone = moxCloneImage(image.header());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->imageSize, 160);
    for (int y = 0; y < 10; y++) {
        EXPECT_EQ(memcmp(clone->imageData + y * 16, image.header()->imageData + y * 16, 10), 0);
    }
    freeClone(clone);
}

TEST_F(Clone, OfACloneIsOne) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_32F, 7, 3, 2, MOX_DATA_ORDER_PLANE);
    layout.setRoi(2, 1, 1, 3, 3);
    TestImage image(layout, 5);
    MoxImage *first = moxCloneImage(image.header()), *second = moxCloneImage(first);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first->roi, second->roi);
    EXPECT_EQ(memcmp(first->imageData, second->imageData, static_cast<size_t>(first->imageSize)), 0);
    freeClone(first);
    freeClone(second);
}

TEST_F(Clone, RefusesABadHeader) {
    EXPECT_EQ(moxCloneImage(nullptr), nullptr);
    EXPECT_TRUE(recorder.are({{-9, "moxCloneImage", "Incorrect Image"}}));
    recorder.clear();
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 10, 10)), mask(TestLayout::ofMask(10, 10));
    image.setMask(&mask);
    mask.header()->align = 3;
    EXPECT_EQ(moxCloneImage(image.header()), nullptr);
    EXPECT_TRUE(recorder.are({{-121, "moxCloneImage", "Incorrect Image"}}));
}

TEST_F(Clone, ReportsWhatItHasNoMemoryFor) {
    for (bool fp : {false, true}) {
        TestLayout layout = TestLayout::of(fp ? MOX_DEPTH_32F : MOX_DEPTH_8U, 10, 10);
        layout.setRoi(0, 1, 1, 3, 3);
        TestImage image(layout);
        const std::vector<ReportExpected> expected[] = {
            {{-4, "moxCloneImage", "Not enough memory to allocate header for clone image"}},
            {{-4, "moxCloneImage", "Not enough memory to allocate roi for clone image"}},
            {{-4, fp ? "moxAllocateImageFP" : "moxAllocateImage", "for allocate image data"},
             {-4, "moxCloneImage", "Not enough memory to allocate imageData for clone image"}}};
        for (int failAt = 1; failAt <= 3; failAt++) {
            recorder.clear();
            AllocationWindow window(failAt);
            EXPECT_EQ(moxCloneImage(image.header()), nullptr);
            window.close();
            EXPECT_TRUE(window.refused());
            EXPECT_EQ(window.live(), 0) << failAt;
            EXPECT_TRUE(recorder.are(expected[failAt - 1]));
        }
        AllocationWindow window(4);
        MoxImage *clone = moxCloneImage(image.header());
        window.close();
        EXPECT_FALSE(window.refused());
        freeClone(clone);
    }
}

}  // namespace
