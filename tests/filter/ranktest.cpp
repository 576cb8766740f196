// Filters by rank, fixed filters and morphology: results that are told.
#include "filter/filtercheck.h"

namespace {

// Two images of one size and as many channels hold the same samples.
testing::AssertionResult alike(const TestImage &a, const TestImage &b) {
    const TestLayout &layout = a.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int c = 0; c < layout.channels; ++c) {
                if (a.get(c, x, y) != b.get(c, x, y))
                    return testing::AssertionFailure() << "channel " << c << " of (" << x << ", " << y << ")";
            }
        }
    }
    return testing::AssertionSuccess();
}

TEST(RankFilter, aWindowOfOnePixelCopies) {
    for (const unsigned depth :
         {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage src(TestLayout::of(depth, 21, 9), 1), dst(TestLayout::of(depth, 21, 9), 2);
        for (const auto filter : {moxMaxFilter, moxMinFilter, moxMedianFilter}) {
            dst.drawSamples(3);
            EXPECT_EQ(filter(src.header(), dst.header(), 1, 1, 0, 0), 0);
            for (int y = 0; y < 9; ++y) {
                for (int x = 0; x < 21; ++x)
                    ASSERT_EQ(dst.get(0, x, y), src.get(0, x, y));
            }
        }
    }
}

// Nine samples in their order, and the middle of them; of four the lower one of both in the middle.
TEST(RankFilter, mediansAreInTheMiddle) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3, 3), 2);
    const uint32_t values[] = {9, 200, 3, 77, 100, 4, 255, 0, 50};
    for (int k = 0; k < 9; ++k)
        src.set(0, k % 3, k / 3, values[k]);
    EXPECT_EQ(moxMedianFilter(src.header(), dst.header(), 3, 3, 1, 1), 0);
    EXPECT_EQ(dst.get(0, 1, 1), 50u);
    EXPECT_EQ(moxMedianFilter(src.header(), dst.header(), 2, 2, 0, 0), 0);
    EXPECT_EQ(dst.get(0, 0, 0), 77u);  // 9 200 77 100
    EXPECT_EQ(moxMaxFilter(src.header(), dst.header(), 3, 3, 1, 1), 0);
    EXPECT_EQ(dst.get(0, 1, 1), 255u);
    EXPECT_EQ(moxMinFilter(src.header(), dst.header(), 3, 3, 1, 1), 0);
    EXPECT_EQ(dst.get(0, 1, 1), 0u);
}

// The window is not mirrored: with the anchor at its first column it lies to the right.
TEST(RankFilter, windowsLieAsTheirAnchorSays) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 1), 1), dst(TestLayout::of(MOX_DEPTH_8U, 8, 1), 2);
    src.setAll(0);
    src.set(0, 4, 0, 9);
    moxMaxFilter(src.header(), dst.header(), 3, 1, 0, 0);
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(dst.get(0, x, 0), x >= 2 && x <= 4 ? 9u : 0u) << x;
    moxMaxFilter(src.header(), dst.header(), 3, 1, 2, 0);
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(dst.get(0, x, 0), x >= 4 && x <= 6 ? 9u : 0u) << x;
}

// Bits: half of the window is enough where its size is even, more than half where it is odd.
TEST(RankFilter, mediansOfBitsAreCounts) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 8, 1), 1), dst(TestLayout::of(MOX_DEPTH_1U, 8, 1), 2);
    src.setAll(0);
    src.set(0, 3, 0, 1);
    moxMedianFilter(src.header(), dst.header(), 2, 1, 0, 0);
    for (int x = 0; x < 7; ++x)
        EXPECT_EQ(dst.get(0, x, 0), x == 2 || x == 3 ? 1u : 0u) << x;
    moxMedianFilter(src.header(), dst.header(), 3, 1, 1, 0);
    for (int x = 1; x < 7; ++x)
        EXPECT_EQ(dst.get(0, x, 0), 0u) << x;
}

TEST(FixedFilter, laplacianAndHighPassAreOne) {
    for (const unsigned depth : allDepths) {
        const TestLayout layout = TestLayout::of(depth, 33, 12, depth == MOX_DEPTH_1U ? 1 : 3);
        TestImage src(layout, 1), a(layout, 2), b(layout, 2);
        EXPECT_EQ(moxFixedFilter(src.header(), a.header(), MOX_FILTER_LAPLACIAN_3X3), 0);
        EXPECT_EQ(moxFixedFilter(src.header(), b.header(), MOX_FILTER_HIPASS_3X3), 0);
        EXPECT_TRUE(alike(a, b)) << depthName(a.layout().depth);
    }
}

TEST(FixedFilter, sharpenedBitsAreACopy) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 33, 12), 1), a(TestLayout::of(MOX_DEPTH_1U, 33, 12), 2),
        b(TestLayout::of(MOX_DEPTH_1U, 33, 12), 2);
    EXPECT_EQ(moxFixedFilter(src.header(), a.header(), MOX_FILTER_SHARPEN_3X3), 0);
    moxCopy(src.header(), b.header());
    EXPECT_TRUE(alike(a, b)) << depthName(a.layout().depth);
}

// Sums of 16ths and 8ths with a half go to the even neighbour, also below 0; only unsigned samples stop at 0.
TEST(FixedFilter, halvesGoToTheEvenNeighbour) {
    TestImage src(TestLayout::of(MOX_DEPTH_16S, 3, 3), 1), dst(TestLayout::of(MOX_DEPTH_16S, 3, 3), 2);
    const auto middle = [&](int centre, int filter) {
        src.setAll(0);
        src.set(0, 1, 1, static_cast<uint32_t>(centre) & 0xFFFF);
        EXPECT_EQ(moxFixedFilter(src.header(), dst.header(), filter), 0);
        return static_cast<int>(static_cast<int16_t>(dst.get(0, 1, 1)));
    };
    EXPECT_EQ(middle(2, MOX_FILTER_GAUSSIAN_3X3), 0);   // 8 / 16
    EXPECT_EQ(middle(6, MOX_FILTER_GAUSSIAN_3X3), 2);   // 24 / 16
    EXPECT_EQ(middle(10, MOX_FILTER_GAUSSIAN_3X3), 2);  // 40 / 16
    EXPECT_EQ(middle(-2, MOX_FILTER_GAUSSIAN_3X3), 0);
    EXPECT_EQ(middle(-6, MOX_FILTER_GAUSSIAN_3X3), -2);
    EXPECT_EQ(middle(3, MOX_FILTER_SHARPEN_3X3), 6);  // 48 / 8
    EXPECT_EQ(middle(-3, MOX_FILTER_SHARPEN_3X3), -6);
    EXPECT_EQ(middle(9, MOX_FILTER_GAUSSIAN_5X5), 2);  // 9 x 127 / 571 = 2.0018
    EXPECT_EQ(middle(-9, MOX_FILTER_GAUSSIAN_5X5), -2);
}

TEST(ColorMedianFilter, theFirstOfEqualDistancesWins) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 1, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3, 1, 3), 2);
    // Corners of a triangle with sides of 20.
    const uint32_t pixels[3][3] = {{10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
    for (int x = 0; x < 3; ++x) {
        for (int c = 0; c < 3; ++c)
            src.set(c, x, 0, pixels[x][c]);
    }
    EXPECT_EQ(moxColorMedianFilter(src.header(), dst.header(), 3, 1, 1, 0), 0);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(dst.get(c, 1, 0), pixels[0][c]);
}

TEST(Morphology, oneStepIsASquareOfThree) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 9, 9), 2);
    src.setAll(5);
    src.set(0, 4, 4, 200);
    ReportRecorder reports;
    moxDilate(src.header(), dst.header(), 1);
    for (int y = 1; y < 8; ++y) {
        for (int x = 1; x < 8; ++x)
            EXPECT_EQ(dst.get(0, x, y), x >= 3 && x <= 5 && y >= 3 && y <= 5 ? 200u : 5u);
    }
    moxErode(src.header(), dst.header(), 1);
    EXPECT_EQ(dst.get(0, 4, 4), 5u);
    EXPECT_TRUE(reports.none());
}

// Away from the edges: two steps at once are two calls of one step, and opening twice is opening once.
TEST(Morphology, stepsAddUp) {
    for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        const TestLayout layout = TestLayout::of(depth, 61, 31);
        TestImage src(layout, 1), once(layout, 2), between(layout, 3), twice(layout, 4);
        const auto same = [&](int rim) {
            for (int y = rim; y < 31 - rim; ++y) {
                for (int x = rim; x < 61 - rim; ++x)
                    ASSERT_EQ(once.get(0, x, y), twice.get(0, x, y)) << depthName(depth) << " " << x << "," << y;
            }
        };
        moxDilate(src.header(), once.header(), 2);
        moxDilate(src.header(), between.header(), 1);
        moxDilate(between.header(), twice.header(), 1);
        same(4);
        moxOpen(src.header(), once.header(), 2);
        moxOpen(once.header(), twice.header(), 2);
        same(8);
    }
}

TEST(Morphology, wordsCompareUnsigned) {
    TestImage src(TestLayout::of(MOX_DEPTH_16U, 5, 5), 1), dst(TestLayout::of(MOX_DEPTH_16U, 5, 5), 2);
    src.setAll(1);
    src.set(0, 2, 2, 40000);
    moxDilate(src.header(), dst.header(), 1);
    EXPECT_EQ(dst.get(0, 1, 1), 40000u);
    moxErode(src.header(), dst.header(), 1);
    EXPECT_EQ(dst.get(0, 2, 2), 1u);
}

TEST(Morphology, aMaskOfOneBitChangesOnePixel) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 9, 9), 2);
    TestImage mask(TestLayout::ofMask(9, 9), 3);
    mask.setAll(0);
    mask.set(0, 6, 2, 1);
    src.setAll(77);
    dst.setAll(1);
    dst.setMask(&mask);
    for (const auto call : {moxErode, moxDilate, moxOpen, moxClose}) {
        dst.setAll(1);
        call(src.header(), dst.header(), 2);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 9; ++x)
                EXPECT_EQ(dst.get(0, x, y), x == 6 && y == 2 ? (y == 2 ? 77u : 0u) : 1u);
        }
    }
}

// A destination with a region takes the source's channel of interest.
TEST(Morphology, theSourcesChannelOfInterestCounts) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 12, 6, 3), other = layout;
    layout.setRoi(2, 0, 0, 12, 6);
    other.setRoi(1, 0, 0, 12, 6);
    TestImage src(layout, 1), dst(other, 2), same(layout, 2);
    moxErode(src.header(), dst.header(), 1);
    moxErode(src.header(), same.header(), 1);
    EXPECT_TRUE(alike(dst, same));
}

}  // namespace
