// moxDecimate: every report, in its order.
#include <climits>

#include "scaling/scalingpair.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

constexpr const char *NAME = "Decimate";
constexpr const char *KINDS = "interpolate != MOX_INTER_NN, MOX_INTER_LINEAR, MOX_INTER_CUBIC or MOX_INTER_SUPER";

struct Refusal {
    TestImage &src, &dst;
    MoxImage *from = src.header(), *to = dst.header();
    RefRatio ratio = {1, 2, 1, 2};
    int interpolate = MOX_INTER_NN;
    ReportRecorder reports = {};
    TestBytes before[2] = {src.bytes(), dst.bytes()};

    void expect(const std::vector<ReportExpected> &wanted) {
        SCOPED_TRACE(wanted.front().message);
        reports.clear();
        AllocationWindow window;
        moxDecimate(from, to, ratio.xDst, ratio.xSrc, ratio.yDst, ratio.ySrc, interpolate);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are(wanted));
        EXPECT_EQ(moxGetErrStatus(), wanted.back().status);
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
};

TEST(DecimateFailure, allFaultsAreReportedInTheirOrder) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    src.header()->depth = MOX_DEPTH_8S;
    src.header()->origin = MOX_ORIGIN_BL;
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    Refusal refusal = {src, dst};
    refusal.ratio = {0, -1, 0, INT_MIN};
    refusal.interpolate = 4;
    refusal.expect({{-17, NAME, "srcImage->depth != dstImage->depth"},
                    {-17, NAME, "depth != 1U, 8U, 16U or 32F"},
                    {-20, NAME, "srcImage->origin != dstImage->origin"},
                    {-19, NAME, "srcImage->dataOrder != dstImage->dataOrder"},
                    {-15, NAME, "srcImage->nChannels != dstImage->nChannels"},
                    {-5, NAME, KINDS},
                    {-5, NAME, "xDst <= 0"},
                    {-5, NAME, "xSrc <= 0"},
                    {-5, NAME, "yDst <= 0"},
                    {-5, NAME, "ySrc <= 0"},
                    {-5, NAME, "xDst > xSrc"},
                    {-5, NAME, "yDst > ySrc"}});
    // A header ends the call at once.
    dst.header()->align = 5;
    refusal.expect({{-21, NAME, "Incorrect Image"}});
    src.header()->align = 6;
    src.header()->origin = 9;
    refusal.expect({{-20, NAME, "Incorrect Image"}});
    refusal.to = nullptr;
    refusal.expect({{-20, NAME, "Incorrect Image"}});
    refusal.from = nullptr;
    refusal.expect({{-9, NAME, "Incorrect Image"}});
}

TEST(DecimateFailure, eachFaultIsReportedByItself) {
    const TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {src, dst};
    refusal.to = src.header();
    refusal.expect({{-5, NAME, "srcImage == dstImage"}});
    refusal.to = nullptr;
    refusal.expect({{-9, NAME, "Incorrect Image"}});
    refusal.to = dst.header();
    dst.header()->depth = MOX_DEPTH_16U;
    refusal.expect({{-17, NAME, "srcImage->depth != dstImage->depth"}});
    dst.header()->depth = MOX_DEPTH_8U;
    dst.header()->origin = MOX_ORIGIN_BL;
    refusal.expect({{-20, NAME, "srcImage->origin != dstImage->origin"}});
    dst.header()->origin = src.header()->origin;
    dst.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    refusal.expect({{-19, NAME, "srcImage->dataOrder != dstImage->dataOrder"}});
    dst.header()->dataOrder = src.header()->dataOrder;
    for (const int kind : {-1, 4, 16, 17, INT_MAX, INT_MIN}) {
        refusal.interpolate = kind;
        refusal.expect({{-5, NAME, KINDS}});
    }
    refusal.interpolate = MOX_INTER_SUPER;
    refusal.ratio = {0, 2, 1, 2};
    refusal.expect({{-5, NAME, "xDst <= 0"}});
    refusal.ratio = {-2, -2, 1, 2};
    refusal.expect({{-5, NAME, "xDst <= 0"}, {-5, NAME, "xSrc <= 0"}});
    refusal.ratio = {1, 2, -5, 2};
    refusal.expect({{-5, NAME, "yDst <= 0"}});
    refusal.ratio = {1, 2, INT_MIN, INT_MIN};
    refusal.expect({{-5, NAME, "yDst <= 0"}, {-5, NAME, "ySrc <= 0"}});
    refusal.ratio = {1, 0, 1, 2};
    refusal.expect({{-5, NAME, "xSrc <= 0"}, {-5, NAME, "xDst > xSrc"}});
    refusal.ratio = {3, 2, 1, 2};
    refusal.expect({{-5, NAME, "xDst > xSrc"}});
    refusal.ratio = {1, 2, INT_MAX, INT_MAX - 1};
    refusal.expect({{-5, NAME, "yDst > ySrc"}});
}

TEST(DecimateFailure, signedDepthsAreRefused) {
    for (const unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        for (int interpolate = 0; interpolate < 4; ++interpolate) {
            TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10), 2);
            Refusal refusal = {src, dst};
            refusal.interpolate = interpolate;
            refusal.expect({{-17, NAME, "depth != 1U, 8U, 16U or 32F"}});
        }
    }
}

// Different orders are refused where there is but one channel, too.
TEST(DecimateFailure, ordersMustAgreeEvenOfOneChannel) {
    for (const unsigned depth : scalingDepths) {
        TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10, 1, MOX_DATA_ORDER_PLANE), 2);
        Refusal refusal = {src, dst};
        refusal.expect({{-19, NAME, "srcImage->dataOrder != dstImage->dataOrder"}});
    }
}

TEST(DecimateFailure, channelsOfInterestGoTogetherOrWithASingleChannel) {
    TestLayout three = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), coi = three, one = TestLayout::of(MOX_DEPTH_8U, 20, 10),
               four = TestLayout::of(MOX_DEPTH_8U, 20, 10, 4), alpha = four, region = three, pair = alpha;
    coi.setRoi(2, 0, 0, 20, 10);
    region.setRoi(0, 0, 0, 20, 10);
    alpha.alpha = 4;
    pair.channels = pair.alpha = 2;
    const ReportExpected ofSource = {-24, NAME, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0"};
    const ReportExpected ofDestination = {-24, NAME, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0"};
    const ReportExpected counts = {-15, NAME, "srcImage->nChannels != dstImage->nChannels"};
    const struct {
        TestLayout src, dst;
        std::vector<ReportExpected> reports;
    } cases[] = {{coi, coi, {}},
                 {coi, one, {}},
                 {one, coi, {}},
                 {coi, three, {ofSource}},
                 {coi, region, {ofSource}},
                 {three, coi, {ofDestination}},
                 {region, coi, {ofDestination}},
                 {three, four, {counts}},
                 {three, alpha, {}},
                 {alpha, three, {}},
                 {four, alpha, {counts}},
                 {one, three, {counts}},
                 {three, one, {counts}},
                 {one, pair, {}},
                 {coi, pair, {}},
                 {pair, coi, {}}};
    for (const auto &each : cases) {
        TestImage src(each.src, 1), dst(each.dst, 2);
        SCOPED_TRACE(each.src.describe() + " to " + each.dst.describe());
        const RefResult wanted =
            each.reports.empty() ? refDecimate(src, dst, {1, 2, 1, 2}, MOX_INTER_NN) : RefResult{dst.bytes(), {}};
        ReportRecorder reports;
        moxDecimate(src.header(), dst.header(), 1, 2, 1, 2, MOX_INTER_NN);
        EXPECT_TRUE(reports.are(each.reports));
        EXPECT_TRUE(dst.holds(wanted.expected));
    }
}

// The rows of means are buffers, and both are missed by name.
TEST(DecimateFailure, buffersOfSuperSamplesAreMissedByName) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 2000, 30, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 1500, 20, 3), 2);
    const TestBytes before = dst.bytes();
    int refused = 0;
    for (int failAt = 1;; ++failAt) {
        ReportRecorder reports;
        AllocationWindow window(failAt);
        moxDecimate(src.header(), dst.header(), 2, 3, 2, 3, MOX_INTER_SUPER);
        window.close();
        EXPECT_EQ(window.live(), 0);
        if (!window.refused()) break;
        ++refused;
        EXPECT_TRUE(
            reports.are({{-4, "moxDecimate", "Can't create temporary buffer for interpolate = MOX_INTER_SUPER"}}));
        EXPECT_TRUE(dst.holds(before));
    }
    EXPECT_GE(refused, 1);
}

TEST(DecimateFailure, refusedTilesAreReported) {
    for (int interpolate = 0; interpolate < 4; ++interpolate) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
        TestImage plain(layout, 1);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage tiled(layout, 2);
        ReportRecorder reports;
        {
            TileLog log(1);
            moxDecimate(plain.header(), tiled.header(), 2, 3, 2, 3, interpolate);
            EXPECT_TRUE(reports.are({{-3, NAME, "dstImage->tileInfo->callBack crash"}}));
            tiled.abandonTiles();
        }
        reports.clear();
        TileLog log(1);
        moxDecimate(tiled.header(), plain.header(), 2, 3, 2, 3, interpolate);
        EXPECT_TRUE(reports.are({{-3, NAME, "srcImage->tileInfo->callBack crash"}}));
        tiled.abandonTiles();
    }
}

}  // namespace
