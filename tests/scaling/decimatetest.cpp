// moxDecimate: results that are told.
#include <bit>
#include <limits>

#include "scaling/scalingpair.h"
#include "support/reports.h"

namespace {

using Samples = std::vector<uint32_t>;

void decimate(TestImage &src, TestImage &dst, const RefRatio &r, int interpolate) {
    ReportRecorder reports;
    moxDecimate(src.header(), dst.header(), r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate);
    EXPECT_TRUE(reports.none());
}

void fillRows(TestImage &image, const Samples &samples) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (size_t x = 0; x < samples.size(); ++x)
            image.set(0, static_cast<int>(x), y, samples[x]);
    }
}

Samples row(const TestImage &image, int y) {
    Samples samples;
    for (int x = 0; x < image.layout().width; ++x)
        samples.push_back(image.get(0, x, y));
    return samples;
}

// Every second pixel from the first, without a shift by half a pixel.
TEST(DecimateImage, wholeRatiosTakeSamplesAsTheyAre) {
    for (const int interpolate : {MOX_INTER_NN, MOX_INTER_LINEAR, MOX_INTER_CUBIC}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 6), 1), dst(TestLayout::of(MOX_DEPTH_8U, 4, 2), 2);
        decimate(src, dst, {1, 2, 2, 6}, interpolate);
        for (int y = 0; y < 2; ++y) {
            for (int x = 0; x < 4; ++x)
                EXPECT_EQ(dst.get(0, x, y), src.get(0, 2 * x, 3 * y)) << interpolate;
        }
    }
}

// Places 0.5, 2, 3.5, 5, 6.5 across; whole steps down.
TEST(DecimateImage, nearestNeighboursBeginHalfAPixelIn) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 4), 1), dst(TestLayout::of(MOX_DEPTH_8U, 5, 4), 2);
    fillRows(src, {10, 11, 12, 13, 14, 15, 16, 17});
    decimate(src, dst, {2, 3, 1, 1}, MOX_INTER_NN);
    EXPECT_EQ(row(dst, 0), (Samples{10, 12, 13, 15, 16}));
}

TEST(DecimateImage, nearestNeighboursOfBitsAreBits) {
    TestLayout from = TestLayout::of(MOX_DEPTH_1U, 60, 5), to = TestLayout::of(MOX_DEPTH_1U, 40, 5);
    from.setRoi(0, 5, 0, 30, 5);
    to.setRoi(0, 3, 0, 30, 5);
    for (const int interpolate : {MOX_INTER_NN, MOX_INTER_LINEAR, MOX_INTER_CUBIC}) {
        TestImage src(from, 1), dst(to, 2);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 20; ++x)
                dst.setIn(wanted, 0, 3 + x, y, src.get(0, 5 + (3 * x + 1) / 2, y));
        }
        decimate(src, dst, {2, 3, 1, 1}, interpolate);
        EXPECT_TRUE(dst.holds(wanted)) << interpolate;
    }
}

// Places 0, 1.5, 3, 4.5, 6: integers are cut off.
TEST(DecimateImage, linearSamplesOnOneAxis) {
    for (const bool down : {false, true}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), dst(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2);
        const uint32_t samples[] = {10, 11, 14, 13, 20, 31, 16, 99}, wanted[] = {10, 12, 13, 25, 16};
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x)
                src.set(0, x, y, samples[down ? y : x]);
        }
        decimate(src, dst, down ? RefRatio{1, 1, 2, 3} : RefRatio{2, 3, 1, 1}, MOX_INTER_LINEAR);
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(down ? dst.get(0, 5, k) : dst.get(0, k, 5), wanted[k]) << down << " " << k;
    }
}

// The other axis has whole steps of two.
TEST(DecimateImage, axesOfWholeStepsDoNotInterpolate) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 6, 6), 1), dst(TestLayout::of(MOX_DEPTH_8U, 4, 3), 2);
    decimate(src, dst, {2, 3, 1, 2}, MOX_INTER_LINEAR);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(dst.get(0, 0, y), src.get(0, 0, 2 * y));
        EXPECT_EQ(dst.get(0, 1, y), (src.get(0, 1, 2 * y) + src.get(0, 2, 2 * y)) / 2);
        EXPECT_EQ(dst.get(0, 2, y), src.get(0, 3, 2 * y));
    }
}

// At the first place nothing but the sample itself counts, on either axis.
TEST(DecimateImage, thePixelInTheCornerIsCopied) {
    for (const int interpolate : {MOX_INTER_LINEAR, MOX_INTER_CUBIC}) {
        TestImage src(TestLayout::of(MOX_DEPTH_16U, 9, 9), 1), dst(TestLayout::of(MOX_DEPTH_16U, 6, 6), 2);
        src.set(0, 0, 0, 65535);
        decimate(src, dst, {2, 3, 2, 3}, interpolate);
        EXPECT_EQ(dst.get(0, 0, 0), 65535u);
    }
}

// A polynomial of the third degree is reproduced, at the end by extrapolation; edges overshoot and are clamped.
TEST(DecimateImage, cubicSamplesFollowPolynomialsAndAreClamped) {
    TestImage src(TestLayout::of(MOX_DEPTH_16U, 12, 4), 1), dst(TestLayout::of(MOX_DEPTH_16U, 8, 4), 2);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 12; ++x)
            src.set(0, x, y, static_cast<uint32_t>(8 * x * x * x));
    }
    decimate(src, dst, {2, 3, 1, 1}, MOX_INTER_CUBIC);
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(dst.get(0, x, 2), static_cast<uint32_t>(27 * x * x * x)) << x;

    TestImage step(TestLayout::of(MOX_DEPTH_8U, 6, 4), 3), small(TestLayout::of(MOX_DEPTH_8U, 4, 4), 4);
    fillRows(step, {255, 255, 255, 0, 0, 0});
    decimate(step, small, {2, 3, 1, 1}, MOX_INTER_CUBIC);
    EXPECT_EQ(row(small, 1), (Samples{255, 255, 0, 16}));
}

TEST(DecimateImage, superSamplesAreMeansOfAreas) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 4), 1), dst(TestLayout::of(MOX_DEPTH_8U, 4, 2), 2);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 8; ++x)
            src.set(0, x, y, static_cast<uint32_t>(10 * x + y));
    }
    decimate(src, dst, {1, 2, 1, 2}, MOX_INTER_SUPER);
    // 5.5 and 7.5 are rounded up.
    EXPECT_EQ(row(dst, 0), (Samples{6, 26, 46, 66}));
    EXPECT_EQ(row(dst, 1), (Samples{8, 28, 48, 68}));
}

// Cells of 1.5 pixels share the pixel between them.
TEST(DecimateImage, superSamplesTakeShares) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 6, 4), 1), dst(TestLayout::of(MOX_DEPTH_32F, 4, 4), 2);
    Samples samples;
    for (const float value : {3.0f, 6.0f, 9.0f, 30.0f, 60.0f, 90.0f})
        samples.push_back(std::bit_cast<uint32_t>(value));
    fillRows(src, samples);
    decimate(src, dst, {2, 3, 1, 1}, MOX_INTER_SUPER);
    const float wanted[] = {4.0f, 8.0f, 40.0f, 80.0f};
    for (int x = 0; x < 4; ++x)
        EXPECT_FLOAT_EQ(std::bit_cast<float>(dst.get(0, x, 3)), wanted[x]) << x;
}

TEST(DecimateImage, superSamplesOfBitsAreWhatMostAre) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 8, 4), 1), dst(TestLayout::of(MOX_DEPTH_1U, 4, 2), 2);
    src.setAll(0);
    const int set[][2] = {{0, 0}, {2, 0}, {3, 1}, {4, 0}, {4, 1}, {5, 0}, {7, 3}};
    for (const auto &at : set)
        src.set(0, at[0], at[1], 1);
    decimate(src, dst, {1, 2, 1, 2}, MOX_INTER_SUPER);
    EXPECT_EQ(row(dst, 0), (Samples{0, 1, 1, 0}));
    EXPECT_EQ(row(dst, 1), (Samples{0, 0, 0, 0}));
}

// Thirds are not whole numbers of floats, but every third side is on a pixel's side.
TEST(DecimateImage, sidesNextToPixelsSidesAreOnThem) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 80, 4), 1), dst(TestLayout::of(MOX_DEPTH_8U, 60, 4), 2);
    Samples samples;
    for (uint32_t x = 0; x < 80; ++x)
        samples.push_back(x / 4 % 2 ? 255 : 0);
    fillRows(src, samples);
    decimate(src, dst, {3, 4, 1, 1}, MOX_INTER_SUPER);
    for (int x = 0; x < 60; ++x)
        ASSERT_EQ(dst.get(0, x, 1), x / 3 % 2 ? 255u : 0u) << x;
}

TEST(DecimateImage, smallSourcesTakeTheNearestNeighbour) {
    for (const int interpolate : {MOX_INTER_LINEAR, MOX_INTER_CUBIC, MOX_INTER_SUPER}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 9, 9);
        layout.setRoi(0, 1, 1, 3, 8);
        TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_8U, 2, 8), 2);
        decimate(src, dst, {2, 3, 1, 1}, interpolate);
        for (int y = 0; y < 8; ++y) {
            EXPECT_EQ(dst.get(0, 0, y), src.get(0, 1, 1 + y)) << interpolate;
            EXPECT_EQ(dst.get(0, 1, y), src.get(0, 3, 1 + y)) << interpolate;
        }
    }
}

// Of the source's mask nobody speaks; the destination's holds.
TEST(DecimateImage, theDestinationsMaskHolds) {
    for (int interpolate = 0; interpolate < 4; ++interpolate) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 9, 6), 2);
        TestImage ofSource(TestLayout::ofMask(12, 9), 3), ofDestination(TestLayout::ofMask(7, 5), 4);
        TestImage bare(src.layout(), 1), whole(dst.layout(), 2);
        decimate(bare, whole, {2, 3, 2, 3}, interpolate);
        src.setMask(&ofSource);
        dst.setMask(&ofDestination);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 7; ++x) {
                if (ofDestination.get(0, x, y)) dst.setIn(wanted, 0, x, y, whole.get(0, x, y));
            }
        }
        decimate(src, dst, {2, 3, 2, 3}, interpolate);
        EXPECT_TRUE(dst.holds(wanted)) << interpolate;
    }
}

TEST(DecimateImage, nothingInCommonIsNoFault) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10), beyond = layout;
    beyond.setRoi(0, 0, 10, 5, 5);
    for (int which = 0; which < 2; ++which) {
        for (int interpolate = 0; interpolate < 4; ++interpolate) {
            TestImage src(which ? layout : beyond, 1), dst(which ? beyond : layout, 2);
            const TestBytes before = dst.bytes();
            decimate(src, dst, {2, 3, 2, 3}, interpolate);
            EXPECT_TRUE(dst.holds(before));
        }
    }
}

// Less than a pixel is none.
TEST(DecimateImage, lessThanAPixelIsNothing) {
    for (int interpolate = 0; interpolate < 4; ++interpolate) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
        const TestBytes before = dst.bytes();
        decimate(src, dst, {1, 21, 1, 2}, interpolate);
        decimate(src, dst, {1, 2, 2, 23}, interpolate);
        decimate(src, dst, {1, std::numeric_limits<int>::max(), 1, std::numeric_limits<int>::max()}, interpolate);
        EXPECT_TRUE(dst.holds(before));
    }
}

// A ratio of one copies, whatever the kind.
TEST(DecimateImage, aRatioOfOneReproducesTheImage) {
    for (const unsigned depth : scalingDepths) {
        for (int interpolate = 0; interpolate < 4; ++interpolate) {
            Random random(1);
            TestImage src(TestLayout::of(depth, 67, 9), 1), dst(TestLayout::of(depth, 67, 9), 2);
            if (depth == MOX_DEPTH_32F) drawModerately(random, src);
            decimate(src, dst, {1000000, 1000000, 3, 3}, interpolate);
            for (int y = 0; y < 9; ++y)
                EXPECT_EQ(row(dst, y), row(src, y)) << depthName(depth) << " " << interpolate;
        }
    }
}

TEST(DecimateImage, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const RefResult wanted = refDecimate(src, dst, {3, 5, 2, 3}, MOX_INTER_LINEAR);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxDecimate(src.header(), dst.header(), 3, 5, 2, 3, MOX_INTER_LINEAR);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst.holds(wanted.expected));
    EXPECT_TRUE(reports.none());
}

}  // namespace
