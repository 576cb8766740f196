// moxDecimateBlur: results that are told, and every report in its order.
#include <bit>
#include <climits>

#include "scaling/scalingpair.h"
#include "support/allocations.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

constexpr const char *NAME = "moxDecimateBlur";
constexpr const char *KINDS =
    "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC";

void blur(TestImage &src, TestImage &dst, const RefRatio &r, int interpolate, int xMaskSize, int yMaskSize) {
    ReportRecorder reports;
    moxDecimateBlur(src.header(), dst.header(), r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate, xMaskSize, yMaskSize);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
}

TEST(DecimateBlurImage, aRatioAndAMaskOfOneCopy) {
    for (const unsigned depth : scalingDepths) {
        for (int interpolate = 0; interpolate < 3; ++interpolate) {
            for (const int size : {0, 1}) {
                Random random(3);
                TestLayout layout = TestLayout::of(depth, 37, 9, depth == MOX_DEPTH_1U ? 1 : 3);
                layout.setRoi(0, 2, 1, 30, 7);
                TestImage src(layout, 1), dst(layout, 2);
                if (depth == MOX_DEPTH_32F) drawModerately(random, src);
                TestBytes wanted = dst.bytes();
                for (int y = 1; y < 8; ++y) {
                    for (int x = 2; x < 32; ++x) {
                        for (int c = 0; c < layout.channels; ++c)
                            dst.setIn(wanted, c, x, y, src.get(c, x, y));
                    }
                }
                blur(src, dst, {7, 7, 2000000000, 2000000000}, interpolate, size, size);
                EXPECT_TRUE(dst.holds(wanted)) << depthName(depth) << " " << interpolate << " " << size;
            }
        }
    }
}

// Halves are rounded up, and what lies beyond the edge does not count.
TEST(DecimateBlurImage, meansAreOfTheCellsThereAre) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 5, 1), 1), dst(TestLayout::of(MOX_DEPTH_8U, 5, 1), 2);
    const uint32_t samples[] = {10, 11, 20, 200, 255}, wanted3[] = {11, 14, 77, 158, 228},
                   wanted2[] = {10, 11, 16, 110, 228};
    for (int x = 0; x < 5; ++x)
        src.set(0, x, 0, samples[x]);
    blur(src, dst, {1, 1, 1, 1}, MOX_INTER_NN, 3, 1);
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(dst.get(0, x, 0), wanted3[x]) << x;
    // Of two, the pixel and the one before it.
    blur(src, dst, {1, 1, 1, 1}, MOX_INTER_LINEAR, 2, 1);
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(dst.get(0, x, 0), wanted2[x]) << x;
}

// 5 / 2 is 3 wide: the first and the last pixels of both images lie on one another.
TEST(DecimateBlurImage, aSizeOfZeroIsTheRoundedRatio) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 4, 4), 2),
        other(dst.layout(), 2);
    blur(src, dst, {2, 5, 2, 5}, MOX_INTER_NN, 0, 0);
    blur(src, other, {2, 5, 2, 5}, MOX_INTER_NN, 3, 3);
    EXPECT_EQ(digestOfSamples(other, 0), digestOfSamples(dst, 0));
    uint32_t sum = 0;
    for (int y = 2; y < 5; ++y) {
        for (int x = 5; x < 8; ++x)
            sum += src.get(0, x, y);
    }
    EXPECT_EQ(dst.get(0, 2, 1), (2 * sum + 9) / 18);
}

TEST(DecimateBlurImage, bitsAreWhatMostAre) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 9, 1), 1), dst(TestLayout::of(MOX_DEPTH_1U, 9, 1), 2);
    const uint32_t samples[] = {1, 0, 0, 1, 1, 0, 1, 0, 0}, wanted[] = {1, 0, 0, 1, 1, 1, 0, 0, 0};
    for (int x = 0; x < 9; ++x)
        src.set(0, x, 0, samples[x]);
    for (int interpolate = 0; interpolate < 3; ++interpolate) {
        blur(src, dst, {1, 1, 1, 1}, interpolate, 3, 1);
        for (int x = 0; x < 9; ++x)
            EXPECT_EQ(dst.get(0, x, 0), wanted[x]) << x;
    }
}

TEST(DecimateBlurImage, aZoomedSizeOfOnePixelOrLessIsNothing) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const TestBytes before = dst.bytes();
    for (const RefRatio &ratio :
         {RefRatio{1, 20, 1, 1}, RefRatio{1, 1, 1, 10}, RefRatio{1, 21, 1, 2}, RefRatio{1, INT_MAX, 1, 2}}) {
        blur(src, dst, ratio, MOX_INTER_NN, 3, 3);
        EXPECT_TRUE(dst.holds(before));
    }
    blur(src, dst, {2, 39, 1, 1}, MOX_INTER_NN, 1, 1);
    EXPECT_EQ(dst.get(0, 0, 3), src.get(0, 0, 3));
}

TEST(DecimateBlurImage, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const RefResult wanted = refDecimateBlur(src, dst, {3, 5, 2, 3}, MOX_INTER_LINEAR, 0, 3);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxDecimateBlur(src.header(), dst.header(), 3, 5, 2, 3, MOX_INTER_LINEAR, 0, 3);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst.holds(wanted.expected));
    EXPECT_TRUE(reports.none());
}

struct Refusal {
    TestImage &src, &dst;
    MoxImage *from = src.header(), *to = dst.header();
    RefRatio ratio = {1, 2, 1, 2};
    int interpolate = MOX_INTER_NN, xMaskSize = 3, yMaskSize = 3;
    ReportRecorder reports = {};
    TestBytes before[2] = {src.bytes(), dst.bytes()};

    void expect(MoxStatus status, const char *message) { expectAll({{status, NAME, message}}); }
    void expectAll(const std::vector<ReportExpected> &wanted) {
        SCOPED_TRACE(wanted.front().message);
        reports.clear();
        AllocationWindow window;
        moxDecimateBlur(from, to, ratio.xDst, ratio.xSrc, ratio.yDst, ratio.ySrc, interpolate, xMaskSize, yMaskSize);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are(wanted));
        EXPECT_EQ(moxGetErrStatus(), wanted.back().status);
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
};

TEST(DecimateBlurFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {src, dst};
    dst.roi()->yOffset = 10;
    refusal.expect(-5, "dstImage->roi->yOffset >= dstImage->height");
    dst.roi()->xOffset = 20;
    refusal.expect(-5, "dstImage->roi->xOffset >= dstImage->width");
    src.roi()->yOffset = 11;
    refusal.expect(-5, "srcImage->roi->yOffset >= srcImage->height");
    src.roi()->xOffset = INT_MAX;
    refusal.expect(-5, "srcImage->roi->xOffset >= srcImage->width");
    dst.roi()->coi = 2;
    refusal.expect(-5, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
    src.header()->roi = nullptr;
    refusal.expect(-5, "dstImage->roi->coi > 0 && srcImage->roi == NULL");
    src.header()->roi = src.roi();
    dst.roi()->coi = 0;
    src.roi()->coi = 3;
    refusal.expect(-5, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    dst.header()->roi = nullptr;
    refusal.expect(-5, "srcImage->roi->coi > 0 && dstImage->roi == NULL");
    for (const bool x : {false, true}) {
        (x ? refusal.xMaskSize : refusal.yMaskSize) = x ? -1 : INT_MIN;
        refusal.expect(-5, "(xMaskSize<0||yMaskSize<0)");
    }
    // A number of pixels that is not above 0 makes nothing larger.
    refusal.ratio = {-1, 0, 1, 1};
    refusal.expect(-5, "((xDst <= 0)||(yDst<=0))");
    refusal.ratio = {1, 1, 0, 0};
    refusal.expect(-5, "((xDst <= 0)||(yDst<=0))");
    refusal.ratio = {1, 0, 1, 1};
    refusal.expect(-5, "(xDst>xSrc||yDst>ySrc)");
    refusal.ratio = {1, 1, 3, 2};
    refusal.expect(-5, "(xDst>xSrc||yDst>ySrc)");
    refusal.to = refusal.from;
    refusal.expect(-5, "This function isn`t in-plase function");
    refusal.to = dst.header();
    src.header()->depth = MOX_DEPTH_8S;
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    src.header()->alphaChannel = 3;
    refusal.expectAll({{-5, NAME, "(srcImage->depth!=dstImage->depth)"},
                       {-5, NAME, "(srcImage->dataOrder!=dstImage->dataOrder)"},
                       {-5, NAME, "(srcImage->alphaChannel!=dstImage->alphaChannel)"},
                       {-5, NAME, "(srcImage->depth & MOX_DEPTH_SIGN)"}});
    dst.header()->align = 5;
    refusal.expect(-21, "Incorrect Image");
    src.header()->origin = 7;
    refusal.expect(-20, "Incorrect Image");
    refusal.from = nullptr;
    refusal.expect(-9, "Incorrect Image");
    for (const int kind : {-1, 3, 16, INT_MAX, INT_MIN}) {
        refusal.interpolate = kind;
        refusal.expect(-5, KINDS);
    }
}

TEST(DecimateBlurFailure, eachOfTheGroupIsReportedByItself) {
    const TestLayout layout = TestLayout::of(MOX_DEPTH_16U, 20, 10, 3);
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {src, dst};
    dst.header()->depth = MOX_DEPTH_16S;
    refusal.expect(-5, "(srcImage->depth!=dstImage->depth)");
    src.header()->depth = MOX_DEPTH_16S;
    refusal.expect(-5, "(srcImage->depth & MOX_DEPTH_SIGN)");
    src.header()->depth = dst.header()->depth = MOX_DEPTH_16U;
    dst.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    refusal.expect(-5, "(srcImage->dataOrder!=dstImage->dataOrder)");
    dst.header()->dataOrder = src.header()->dataOrder;
    dst.header()->alphaChannel = 3;
    refusal.expect(-5, "(srcImage->alphaChannel!=dstImage->alphaChannel)");
    dst.header()->alphaChannel = 0;
    refusal.to = nullptr;
    refusal.expect(-9, "Incorrect Image");
    // One image on both sides, of a depth that is refused as well: the group comes first.
    refusal.to = refusal.from;
    src.header()->depth = MOX_DEPTH_16S;
    refusal.expect(-5, "(srcImage->depth & MOX_DEPTH_SIGN)");
}

TEST(DecimateBlurFailure, refusedTilesAndMemoryAreReported) {
    for (int interpolate = 0; interpolate < 3; ++interpolate) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
        TestImage plain(layout, 1), other(layout, 3);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage tiled(layout, 2);
        ReportRecorder reports;
        {
            TileLog log(1);
            moxDecimateBlur(plain.header(), tiled.header(), 2, 3, 2, 3, interpolate, 3, 3);
            EXPECT_TRUE(reports.are({{-2, NAME, "Error get tile to write"}}));
            tiled.abandonTiles();
        }
        reports.clear();
        {
            TileLog log(1);
            moxDecimateBlur(tiled.header(), plain.header(), 2, 3, 2, 3, interpolate, 3, 3);
            EXPECT_TRUE(reports.are({{-1, NAME, ""}}));
            tiled.abandonTiles();
        }
        const TestBytes before = other.bytes();
        int refused = 0;
        for (int failAt = 1;; ++failAt) {
            reports.clear();
            AllocationWindow window(failAt);
            moxDecimateBlur(plain.header(), other.header(), 2, 3, 2, 3, interpolate, 3, 3);
            window.close();
            EXPECT_EQ(window.live(), 0);
            if (!window.refused()) break;
            ++refused;
            EXPECT_TRUE(reports.are({{-1, NAME, ""}}));
            EXPECT_TRUE(other.holds(before));
        }
        EXPECT_GE(refused, 1);
    }
}

}  // namespace
