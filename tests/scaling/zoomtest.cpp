// moxZoom and moxResize: results that are told.
#include <bit>

#include "scaling/scalingpair.h"
#include "support/golden.h"
#include "support/reports.h"

namespace {

// An image of given samples, one row after the other.
void fill(TestImage &image, const std::vector<uint32_t> &samples) {
    const int width = image.layout().width;
    for (size_t k = 0; k < samples.size(); ++k)
        image.set(0, static_cast<int>(k) % width, static_cast<int>(k) / width, samples[k]);
}

std::vector<uint32_t> row(const TestImage &image, int y) {
    std::vector<uint32_t> samples;
    for (int x = 0; x < image.layout().width; ++x)
        samples.push_back(image.get(0, x, y));
    return samples;
}

void zoom(TestImage &src, TestImage &dst, const RefRatio &r, int interpolate) {
    ReportRecorder reports;
    moxZoom(src.header(), dst.header(), r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate);
    EXPECT_TRUE(reports.none());
}

using Samples = std::vector<uint32_t>;

TEST(ZoomImage, nearestNeighboursAreRepeated) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 6, 4), 2);
    fill(src, {1, 2, 3, 4, 5, 6});
    zoom(src, dst, {2, 1, 2, 1}, MOX_INTER_NN);
    EXPECT_EQ(row(dst, 0), (Samples{1, 1, 2, 2, 3, 3}));
    EXPECT_EQ(row(dst, 1), row(dst, 0));
    EXPECT_EQ(row(dst, 2), (Samples{4, 4, 5, 5, 6, 6}));
    EXPECT_EQ(row(dst, 3), row(dst, 2));
}

// With tiles on either side the first and last pixels of both images lie on one another, and what is between is
// rounded down.
TEST(ZoomImage, nearestNeighboursOnTilesHaveAnotherScale) {
    for (int which = 0; which < 2; ++which) {
        TestLayout from = TestLayout::of(MOX_DEPTH_8U, 3, 2), to = TestLayout::of(MOX_DEPTH_8U, 6, 4);
        TestLayout &tiled = which ? to : from;
        tiled.tileWidth = tiled.tileHeight = 8;
        TestImage src(from, 1), dst(to, 2);
        fill(src, {1, 2, 3, 4, 5, 6});
        zoom(src, dst, {2, 1, 2, 1}, MOX_INTER_NN);
        EXPECT_EQ(row(dst, 0), (Samples{1, 1, 1, 2, 2, 3})) << which;
        EXPECT_EQ(row(dst, 2), row(dst, 0)) << which;
        EXPECT_EQ(row(dst, 3), (Samples{4, 4, 4, 5, 5, 6})) << which;
    }
}

TEST(ZoomImage, aRatioOfOneReproducesTheImage) {
    for (const unsigned depth : scalingDepths) {
        for (int interpolate = 0; interpolate < 3; ++interpolate) {
            Random random(7);
            TestImage src(TestLayout::of(depth, 37, 9, depth == MOX_DEPTH_1U ? 1 : 3), 1), dst(src.layout(), 2);
            if (depth == MOX_DEPTH_32F) drawModerately(random, src);
            // Cubic samples of floats go through differences, which are rounded.
            if (depth == MOX_DEPTH_32F && interpolate == MOX_INTER_CUBIC) continue;
            zoom(src, dst, {5, 5, 1000000007, 1000000007}, interpolate);
            const uint32_t kept = depth == MOX_DEPTH_16U && interpolate == MOX_INTER_LINEAR ? 0xFFFE : 0xFFFFFFFF;
            for (int y = 0; y < 9; ++y) {
                for (int x = 0; x < 37; ++x)
                    ASSERT_EQ(dst.get(0, x, y), src.get(0, x, y) & kept) << depthName(depth) << " " << interpolate;
            }
        }
    }
}

TEST(ZoomImage, linearSamplesAreNeverRoundedUp) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 2, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 5, 2), 2);
    fill(src, {10, 13, 200, 255});
    // Zx = 5: places 0, 0.25, 0.5, 0.75 and 1.
    zoom(src, dst, {5, 2, 1, 1}, MOX_INTER_LINEAR);
    EXPECT_EQ(row(dst, 0), (Samples{10, 10, 11, 12, 13}));
    EXPECT_EQ(row(dst, 1), (Samples{200, 213, 227, 241, 255}));
}

TEST(ZoomImage, linearFloatsAreWeighted) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 2, 2), 1), dst(TestLayout::of(MOX_DEPTH_32F, 5, 3), 2);
    const float samples[] = {1.0f, 2.0f, 3.0f, 8.0f};
    for (int k = 0; k < 4; ++k)
        src.set(0, k % 2, k / 2, std::bit_cast<uint32_t>(samples[k]));
    zoom(src, dst, {5, 2, 3, 2}, MOX_INTER_LINEAR);
    const float wanted[3][5] = {
        {1.0f, 1.25f, 1.5f, 1.75f, 2.0f}, {2.0f, 2.75f, 3.5f, 4.25f, 5.0f}, {3.0f, 4.25f, 5.5f, 6.75f, 8.0f}};
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(std::bit_cast<float>(dst.get(0, x, y)), wanted[y][x]) << x << " " << y;
    }
}

// A polynomial of the third degree is what cubic samples pass through; edges overshoot and are clamped.
TEST(ZoomImage, cubicSamplesFollowPolynomialsAndAreClamped) {
    TestImage src(TestLayout::of(MOX_DEPTH_16U, 5, 4), 1), dst(TestLayout::of(MOX_DEPTH_16U, 9, 4), 2);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x)
            src.set(0, x, y, static_cast<uint32_t>(8 * x * x * x + 100 * y));
    }
    zoom(src, dst, {9, 5, 1, 1}, MOX_INTER_CUBIC);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(dst.get(0, x, 2), static_cast<uint32_t>(x * x * x + 200)) << x;

    TestImage step(TestLayout::of(MOX_DEPTH_8U, 6, 4), 3), large(TestLayout::of(MOX_DEPTH_8U, 11, 4), 4);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 6; ++x)
            step.set(0, x, y, x < 3 ? 0 : 255);
    }
    zoom(step, large, {11, 6, 1, 1}, MOX_INTER_CUBIC);
    EXPECT_EQ(row(large, 1), (Samples{0, 16, 0, 0, 0, 128, 255, 255, 255, 239, 255}));
}

TEST(ZoomImage, aConstantImageStaysConstant) {
    for (int interpolate = 0; interpolate < 3; ++interpolate) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 7, 5), 1), dst(TestLayout::of(MOX_DEPTH_8U, 90, 41), 2);
        src.setAll(255);
        zoom(src, dst, {12, 1, 17, 2}, interpolate);
        for (int y = 0; y < 41; ++y) {
            for (int x = 0; x < 84; ++x)
                ASSERT_EQ(dst.get(0, x, y), 255u) << x << " " << y << " " << interpolate;
        }
    }
}

TEST(ZoomImage, aSourceOfOnePixelAcrossTakesTheNearest) {
    for (int interpolate = 0; interpolate < 3; ++interpolate) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 1, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 4, 6), 2);
        fill(src, {10, 20, 30});
        zoom(src, dst, {4, 1, 2, 1}, interpolate);
        for (int y = 0; y < 6; ++y)
            EXPECT_EQ(row(dst, y), Samples(4, static_cast<uint32_t>(10 + 10 * (y / 2)))) << interpolate;
    }
}

// A place just below the end of the source is nearer to the last sample than to one that is not there.
TEST(ZoomImage, theLastPlacesOfALongRowAreTheLastSamples) {
    for (const int width : {1, 2}) {
        const int zoomed = 400000 * width;
        TestImage src(TestLayout::of(MOX_DEPTH_8U, width, 1), 1), dst(TestLayout::of(MOX_DEPTH_8U, zoomed, 1), 2);
        for (int x = 0; x < width; ++x)
            src.set(0, x, 0, static_cast<uint32_t>(7 + x));
        forEachCpuLevel([&] {
            dst.setAll(0);
            zoom(src, dst, {400000, 1, 1, 1}, MOX_INTER_LINEAR);
            EXPECT_EQ(dst.get(0, 0, 0), 7u);
            EXPECT_EQ(dst.get(0, 399990, 0), 7u);
            EXPECT_EQ(dst.get(0, 399999, 0), static_cast<uint32_t>(6 + width));
            EXPECT_EQ(dst.get(0, zoomed - 1, 0), static_cast<uint32_t>(6 + width));
        });
    }
}

// Only whole pixels of the zoomed size are written, counted from the regions' corners.
TEST(ZoomImage, whatIsBeyondTheZoomedSizeStays) {
    TestLayout from = TestLayout::of(MOX_DEPTH_8U, 20, 10), to = TestLayout::of(MOX_DEPTH_8U, 30, 12);
    from.setRoi(0, 4, 3, 5, 3);
    to.setRoi(0, 2, 1, 1000, 1000);
    TestImage src(from, 1), dst(to, 2);
    TestBytes wanted = dst.bytes();
    // 7.5 x 4.5 pixels.
    const int columns[] = {0, 0, 1, 2, 2, 3, 4}, rows[] = {0, 0, 1, 2};
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 7; ++x)
            dst.setIn(wanted, 0, 2 + x, 1 + y, src.get(0, 4 + columns[x], 3 + rows[y]));
    }
    zoom(src, dst, {3, 2, 3, 2}, MOX_INTER_NN);
    EXPECT_TRUE(dst.holds(wanted));
}

// The source's mask grows with the image, the destination's does not; both count.
TEST(ZoomImage, masksOfBothImagesHold) {
    for (int which = 1; which < 4; ++which) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 4, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 8, 4), 2);
        TestImage ofSource(TestLayout::ofMask(4, 2), 3), ofDestination(TestLayout::ofMask(8, 4), 4);
        if (which & 1) src.setMask(&ofSource);
        if (which & 2) dst.setMask(&ofDestination);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 8; ++x) {
                if ((which & 1) && !ofSource.get(0, x / 2, y / 2)) continue;
                if ((which & 2) && !ofDestination.get(0, x, y)) continue;
                dst.setIn(wanted, 0, x, y, src.get(0, x / 2, y / 2));
            }
        }
        zoom(src, dst, {2, 1, 2, 1}, MOX_INTER_NN);
        EXPECT_TRUE(dst.holds(wanted)) << which;
    }
}

TEST(ZoomImage, resizeIsZoomInBothDirections) {
    for (int interpolate = 0; interpolate < 3; ++interpolate) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 33, 21, 3), 2),
            other(dst.layout(), 2);
        zoom(src, dst, {5, 3, 2, 1}, interpolate);
        ReportRecorder reports;
        moxResize(src.header(), other.header(), 5, 3, 2, 1, interpolate);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(digestOfSamples(other, 0), digestOfSamples(dst, 0));
        const RefResult wanted = refZoom(src, dst, {3, 5, 1, 2}, interpolate);
        moxResize(src.header(), dst.header(), 3, 5, 1, 2, interpolate);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(dst.holds(wanted.expected));
    }
}

TEST(ZoomImage, nothingInCommonIsNoFault) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10), beyond = layout;
    beyond.setRoi(0, 20, 0, 5, 5);
    for (int which = 0; which < 2; ++which) {
        for (int interpolate = 0; interpolate < 3; ++interpolate) {
            TestImage src(which ? layout : beyond, 1), dst(which ? beyond : layout, 2);
            const TestBytes before = dst.bytes();
            zoom(src, dst, {2, 1, 2, 1}, interpolate);
            EXPECT_TRUE(dst.holds(before));
        }
    }
    // Less than a pixel.
    TestImage src(layout, 1), dst(layout, 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    moxResize(src.header(), dst.header(), 1, 21, 1, 1, MOX_INTER_LINEAR);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(before));
}

TEST(ZoomImage, originsMeanNothing) {
    TestLayout from = TestLayout::of(MOX_DEPTH_8U, 6, 5), to = TestLayout::of(MOX_DEPTH_8U, 9, 8);
    to.origin = MOX_ORIGIN_BL;
    TestImage src(from, 1), dst(to, 2);
    const RefResult wanted = refZoom(src, dst, {3, 2, 3, 2}, MOX_INTER_LINEAR);
    zoom(src, dst, {3, 2, 3, 2}, MOX_INTER_LINEAR);
    EXPECT_TRUE(dst.holds(wanted.expected));
}

TEST(ZoomImage, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    for (const int interpolate : {MOX_INTER_NN, MOX_INTER_LINEAR, MOX_INTER_SUPER}) {
        const RefResult wanted = interpolate == MOX_INTER_SUPER ? refDecimate(src, dst, {1, 2, 1, 2}, interpolate)
                                                                : refZoom(src, dst, {1, 2, 1, 2}, interpolate);
        ReportRecorder reports;
        moxSetErrStatus(-7);
        moxResize(src.header(), dst.header(), 1, 2, 1, 2, interpolate);
        EXPECT_EQ(moxGetErrStatus(), -7);
        EXPECT_TRUE(dst.holds(wanted.expected));
        EXPECT_TRUE(reports.none());
    }
}

}  // namespace
