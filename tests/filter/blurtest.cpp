// moxBlur by the letter: values worked out by hand, borders, the copy of one pixel, and the callers' rounding mode.
#include <bit>
#include <cfenv>
#include <vector>

#include "filter/filtercheck.h"
#include "filter/ownblur.h"

namespace {

uint32_t blurOfUniform(unsigned depth, uint32_t sample, int nCols, int nRows) {
    TestImage src(TestLayout::of(depth, 30, 12, depth == MOX_DEPTH_1U ? 1 : 3), 1),
        dst(TestLayout::of(depth, 30, 12, depth == MOX_DEPTH_1U ? 1 : 3), 2);
    src.setAll(sample);
    moxSetBorderMode(src.header(), MOX_BORDER_REPLICATE, 15, 0);
    ReportRecorder reports;
    moxBlur(src.header(), dst.header(), nCols, nRows, nCols / 2, nRows / 2);
    EXPECT_TRUE(reports.none());
    const uint32_t first = dst.get(0, 0, 0);
    for (int y = 0; y < 12; ++y) {
        for (int x = 0; x < 30; ++x) {
            for (int channel = 0; channel < dst.layout().channels; ++channel)
                EXPECT_EQ(dst.get(channel, x, y), first) << x << "," << y;
        }
    }
    return first;
}

// 1.0f / 9 lies above a ninth, 1.0f / 25 below a twenty-fifth: nothing is rounded to nearest.
TEST(BlurValues, uniformImagesLoseOneWhereTheReciprocalIsSmall) {
    forEachCpuLevel([] {
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_8U, 9, 3, 3), 9u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_8U, 10, 5, 5), 9u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_8U, 255, 3, 3), 255u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_8U, 255, 5, 5), 254u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_16U, 10, 5, 5), 9u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_32S, 10, 5, 5), 9u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_8U, 200, 4, 2), 200u);
        // Towards zero: -10 becomes -9.
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_8S, 0xF6, 5, 5), 0xF7u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_16S, 0xFFF6, 5, 5), 0xFFF7u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_32S, 0xFFFFFFF6, 5, 5), 0xFFFFFFF7u);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_1U, 1, 5, 5), 1u);
    });
}

// The window's top left pixel lies at (x - anchorX, y - anchorY): nothing is mirrored.
TEST(BlurValues, theWindowIsNotMirrored) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 5), 1), dst(TestLayout::of(MOX_DEPTH_8U, 9, 5), 2);
    src.setAll(0);
    src.set(0, 4, 2, 240);
    ReportRecorder reports;
    moxBlur(src.header(), dst.header(), 4, 2, 1, 0);
    EXPECT_TRUE(reports.none());
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 9; ++x) {
            const bool covers = x - 1 <= 4 && 4 <= x + 2 && y <= 2 && 2 <= y + 1;
            EXPECT_EQ(dst.get(0, x, y), covers ? 30u : 0u) << x << "," << y;
        }
    }
}

// Half the bits set give a set bit, unless the reciprocal lies below the true one.
TEST(BlurValues, bitsAreSetFromOneHalfOn) {
    auto middle = [](int nCols, int ones) {
        TestImage src(TestLayout::of(MOX_DEPTH_1U, 64, 1), 1), dst(TestLayout::of(MOX_DEPTH_1U, 64, 1), 2);
        src.setAll(0);
        for (int x = 0; x < ones; ++x)
            src.set(0, x, 0, 1);
        ReportRecorder reports;
        moxBlur(src.header(), dst.header(), nCols, 1, 0, 0);
        EXPECT_TRUE(reports.none());
        return dst.get(0, 0, 0);
    };
    forEachCpuLevel([&] {
        for (int nCols = 2; nCols <= 60; nCols += 2) {
            const float scale = 1.0f / static_cast<float>(nCols);
            const bool below = static_cast<double>(scale) * nCols < 1.0;
            EXPECT_EQ(middle(nCols, nCols / 2), below ? 0u : 1u) << nCols;
            EXPECT_EQ(middle(nCols, nCols / 2 - 1), 0u) << nCols;
            EXPECT_EQ(middle(nCols, nCols / 2 + 1), 1u) << nCols;
        }
    });
}

// 0.1f three times: chopped sums and a chopped product.
TEST(BlurValues, floatsAreChopped) {
    const uint32_t sample = std::bit_cast<uint32_t>(0.1f);
    forEachCpuLevel([&] {
        const int before = fegetround();
        volatile float a = 0.1f;
        const volatile float scale = 1.0f / 3;
        fesetround(FE_TOWARDZERO);
        volatile float sum = a + a;
        sum = sum + a;
        volatile float mean = sum * scale;
        fesetround(before);
        EXPECT_EQ(blurOfUniform(MOX_DEPTH_32F, sample, 3, 1), std::bit_cast<uint32_t>(static_cast<float>(mean)));
    });
}

// Sums that would overflow to infinity stop at the largest number when they are chopped.
TEST(BlurValues, choppedSumsDoNotOverflow) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 4, 4), 1), dst(TestLayout::of(MOX_DEPTH_32F, 4, 4), 2);
    src.setAll(0x7F7FFFFF);
    moxSetBorderMode(src.header(), MOX_BORDER_REPLICATE, 15, 0);
    ReportRecorder reports;
    moxBlur(src.header(), dst.header(), 2, 1, 0, 0);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(dst.get(0, 0, 0), 0x7EFFFFFFu);
}

// A hand-made constant is cut to the depth's bits, not limited.
TEST(BlurBorders, constantsAreCutToTheDepth) {
    struct {
        unsigned depth;
        int constant;
        uint32_t inside, mean;
    } const cases[] = {
        {MOX_DEPTH_8U, 300, 0, 22},        {MOX_DEPTH_8U, -2, 0, 127},          {MOX_DEPTH_8S, 130, 0, 0xC1},
        {MOX_DEPTH_16U, 65536 + 10, 0, 5}, {MOX_DEPTH_16S, 65535, 0, 0},        {MOX_DEPTH_1U, 2, 0, 0},
        {MOX_DEPTH_1U, 3, 0, 1},           {MOX_DEPTH_32S, 1000000, 0, 500000}, {MOX_DEPTH_32F, 3, 0, 0x3FC00000}};
    for (const auto &each : cases) {
        TestImage src(TestLayout::of(each.depth, 6, 3), 1), dst(TestLayout::of(each.depth, 6, 3), 2);
        src.setAll(each.inside);
        for (int side = 0; side < 4; ++side)
            src.header()->borderConst[side] = each.constant;
        ReportRecorder reports;
        moxBlur(src.header(), dst.header(), 2, 1, 1, 0);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(dst.get(0, 0, 0), each.mean) << depthName(each.depth) << " " << each.constant;
        EXPECT_EQ(dst.get(0, 1, 0), each.inside);
        moxBlur(src.header(), dst.header(), 1, 2, 0, 1);
        EXPECT_EQ(dst.get(0, 3, 0), each.mean) << depthName(each.depth) << " " << each.constant;
    }
}

// Top and bottom own the corners.
TEST(BlurBorders, cornersBelongToTopAndBottom) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3, 3), 2);
    src.setAll(0);
    for (int side = 0; side < 4; ++side)
        moxSetBorderMode(src.header(), MOX_BORDER_CONSTANT, 1 << side, 8 << side);  // 8, 16, 32, 64
    ReportRecorder reports;
    auto at = [&](int x, int y, int anchorX, int anchorY) {
        moxBlur(src.header(), dst.header(), 2, 2, anchorX, anchorY);
        return dst.get(0, x, y);
    };
    EXPECT_EQ(at(0, 0, 1, 1), (8u + 8 + 32 + 0) / 4);
    EXPECT_EQ(at(2, 0, 0, 1), (8u + 8 + 64 + 0) / 4);
    EXPECT_EQ(at(0, 2, 1, 0), (16u + 16 + 32 + 0) / 4);
    EXPECT_EQ(at(2, 2, 0, 0), (16u + 16 + 64 + 0) / 4);
    EXPECT_TRUE(reports.none());
}

TEST(BlurBorders, reflectionDoublesTheEdge) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3, 2), 2);
    for (int x = 0; x < 3; ++x) {
        src.set(0, x, 0, static_cast<uint32_t>(8 << x));
        src.set(0, x, 1, static_cast<uint32_t>(64 << x));
    }
    moxSetBorderMode(src.header(), MOX_BORDER_REFLECT, 15, 0);
    ReportRecorder reports;
    // Rows -3 to 0 of the column are rows 1, 1, 0 and 0.
    moxBlur(src.header(), dst.header(), 1, 4, 0, 3);
    EXPECT_EQ(dst.get(0, 1, 0), (128u + 128 + 16 + 16) / 4);
    // Columns -1, 0 and columns 2, 3.
    moxBlur(src.header(), dst.header(), 2, 1, 1, 0);
    EXPECT_EQ(dst.get(0, 0, 0), 8u);
    moxBlur(src.header(), dst.header(), 2, 1, 0, 0);
    EXPECT_EQ(dst.get(0, 2, 0), 32u);
    EXPECT_TRUE(reports.none());
}

TEST(BlurBorders, anImageOfOneColumnWrapsToItself) {
    for (unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_32F || depth == MOX_DEPTH_32S) continue;
        TestImage src(TestLayout::of(depth, 1, 5), 1), dst(TestLayout::of(depth, 1, 5), 2);
        moxSetBorderMode(src.header(), MOX_BORDER_WRAP, 15, 0);
        ReportRecorder reports;
        moxBlur(src.header(), dst.header(), 8, 1, 3, 0);  // an exact reciprocal
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 5; ++y)
            EXPECT_EQ(dst.get(0, 0, y), src.get(0, 0, y)) << depthName(depth);
    }
}

// Pixels outside the region but inside the image are real.
TEST(BlurBorders, theImageGoesOnBeyondTheRegion) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 9, 9);
    layout.setRoi(0, 4, 4, 1, 1);
    TestImage src(layout, 1), dst(layout, 2);
    src.setAll(0);
    for (auto [x, y] : {std::pair{3, 3}, {5, 3}, {4, 5}})
        src.set(0, x, y, 90);
    TestBytes expected = dst.bytes();
    dst.setIn(expected, 0, 4, 4, 30);
    ReportRecorder reports;
    moxBlur(src.header(), dst.header(), 3, 3, 1, 1);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(expected));
}

TEST(BlurRegions, emptyOnesAreNoFault) {
    for (int which = 0; which < 4; ++which) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 9, 9, 3), away = layout;
        away.setRoi(0, which == 2 ? 0 : 9, which == 2 ? 12 : 0, 5, 5);
        TestLayout maskLayout = TestLayout::ofMask(9, 9);
        maskLayout.setRoi(0, 9, 0, 4, 4);
        TestImage src(which == 0 ? away : layout, 1), dst(which == 1 || which == 2 ? away : layout, 2),
            mask(maskLayout, 3);
        if (which == 3) dst.setMask(&mask);
        const TestBytes before = dst.bytes();
        ReportRecorder reports;
        moxBlur(src.header(), dst.header(), 3, 3, 1, 1);
        EXPECT_TRUE(reports.none()) << which;
        EXPECT_TRUE(dst.holds(before));
    }
}

// A window of one pixel is moxCopy in everything: its faults, its name, its demands on origin and order.
TEST(BlurOfOnePixel, isACopy) {
    for (unsigned depth : allDepths) {
        forEachCase(60, [&](Random &random) {
            SceneOptions options;
            options.depth = depth;
            options.images = 2;
            options.sameOrigin = true;
            options.tiles = options.masks = false;
            Scene scene(random, options);
            SCOPED_TRACE(scene.describe());
            scene.keep();
            const RefResult wanted = refPoint(refCopy, scene.entries());
            ReportRecorder reports;
            moxBlur(scene[0].header(), scene[1].header(), 1, 1, 0, 0);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(scene[1].holds(wanted.expected, wanted.unspecified));
            EXPECT_TRUE(scene.othersAreUntouched());
        });
    }
}

TEST(BlurOfOnePixel, reportsAsTheCopy) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 9, 9, 3), other = layout;
    other.origin = MOX_ORIGIN_BL;
    TestImage src(layout, 1), dst(other, 2), bits(TestLayout::of(MOX_DEPTH_16U, 9, 9, 3), 3);
    ReportRecorder reports;
    moxBlur(nullptr, dst.header(), 1, 1, 0, 0);
    EXPECT_TRUE(reports.are({{-9, "moxCopy", "Incorrect Image"}}));
    reports.clear();
    moxBlur(src.header(), dst.header(), 1, 1, 0, 0);
    EXPECT_TRUE(reports.are({{-5, "moxCopy", "srcImage->origin != dstImage->origin"}}));
    reports.clear();
    moxBlur(src.header(), bits.header(), 1, 1, 0, 0);
    EXPECT_TRUE(reports.are({{-5, "moxCopy", "srcImage->depth != dstImage->depth"}}));
}

// The caller may have any rounding mode; it is his again after every call, and after every failure.
TEST(BlurRounding, isTheCallersAfterwards) {
    for (unsigned depth : allDepths) {
        TestImage src(TestLayout::of(depth, 40, 9), 1), dst(TestLayout::of(depth, 40, 9), 2);
        for (int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            for (int failAt = 0; failAt < 4; ++failAt) {
                ReportRecorder reports;
                AllocationWindow window(failAt);
                fesetround(mode);
                moxBlur(src.header(), dst.header(), 5, 3, 2, 1);
                const int after = fegetround();
                fesetround(FE_TONEAREST);
                window.close();
                EXPECT_EQ(after, mode) << depthName(depth);
            }
        }
    }
}

// Plain and tiled agree at every depth but 32F, where sums begin anew with each tile.
TEST(BlurTiles, changeNothingAtIntegerDepths) {
    for (unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_32F) continue;
        for (int nRows : {1, 4, 17}) {
            TestLayout plain = TestLayout::of(depth, 50, 30, depth == MOX_DEPTH_1U ? 1 : 3), tiled = plain;
            tiled.tileWidth = 16;
            tiled.tileHeight = 8;
            TestImage srcPlain(plain, 1), dstPlain(plain, 2), srcTiled(tiled, 1), dstTiled(tiled, 2);
            for (TestImage *image : {&srcPlain, &srcTiled})
                moxSetBorderMode(image->header(), MOX_BORDER_WRAP, 15, 0);
            ReportRecorder reports;
            moxBlur(srcPlain.header(), dstPlain.header(), 7, nRows, 2, nRows / 3);
            moxBlur(srcTiled.header(), dstTiled.header(), 7, nRows, 2, nRows / 3);
            moxBlur(srcTiled.header(), srcTiled.header(), 7, nRows, 2, nRows / 3);
            EXPECT_TRUE(reports.none());
            for (int y = 0; y < 30; ++y) {
                for (int x = 0; x < 50; ++x) {
                    for (int channel = 0; channel < plain.channels; ++channel) {
                        ASSERT_EQ(dstTiled.get(channel, x, y), dstPlain.get(channel, x, y)) << depthName(depth);
                        ASSERT_EQ(srcTiled.get(channel, x, y), dstPlain.get(channel, x, y)) << depthName(depth);
                    }
                }
            }
        }
    }
}

// Narrow windows are divided by a product of 16 bits: at every size and for every sum that is what the float product,
// cut off, comes to.
TEST(BlurDivision, equalsTheChoppedProductForEverySum) {
    for (int size = 2; size <= OWN_BLUR_NARROW; ++size) {
        const int count = 255 * size + 1;
        std::vector<uint16_t> sums(static_cast<size_t>(count + OWN_BLUR_ROOM));
        for (int sum = 0; sum < count; ++sum)
            sums[static_cast<size_t>(sum)] = static_cast<uint16_t>(sum);
        OwnBlurWindow window = {};
        window.width = static_cast<size_t>(count);
        window.channels = window.nCols = 1;
        window.division = ownBlurDivision(size);
        const double scale = 1.0f / static_cast<float>(size);
        forEachCpuLevel([&] {
            std::vector<uint8_t> averages(static_cast<size_t>(count));
            ownBlurRows().averageNarrow(sums.data(), averages.data(), window);
            for (int sum = 0; sum < count; ++sum)
                ASSERT_EQ(averages[static_cast<size_t>(sum)], static_cast<int>(sum * scale)) << sum << " / " << size;
        });
        if (testing::Test::HasFailure()) return;
    }
}

// Scratch memory is some rows, whatever the height of the image, also in place.
TEST(BlurMemory, doesNotGrowWithTheHeight) {
    for (unsigned depth : allDepths) {
        for (bool inPlace : {false, true}) {
            long long largest[2];
            int count[2];
            for (int high : {0, 1}) {
                TestLayout layout = TestLayout::of(depth, 100, high ? 2000 : 200, depth == MOX_DEPTH_1U ? 1 : 3);
                TestImage src(layout, 1), dst(layout, 2);
                ReportRecorder reports;
                AllocationWindow window;
                moxBlur(src.header(), inPlace ? src.header() : dst.header(), 5, 5, 2, 2);
                window.close();
                EXPECT_TRUE(reports.none());
                largest[high] = window.largest();
                count[high] = window.count();
            }
            EXPECT_EQ(largest[0], largest[1]) << depthName(depth);
            EXPECT_EQ(count[0], count[1]) << depthName(depth);
        }
    }
}

}  // namespace
