// moxZoom and moxResize: every report, in its order.
#include <climits>

#include "scaling/scalingpair.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

constexpr const char *KINDS =
    "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC";
constexpr const char *DEPTHS =
    "srcImage->depth != MOX_DEPTH_1U && srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U && "
    "srcImage->depth != MOX_DEPTH_32F";

using ZoomFunction = void(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int, int);

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
struct Refusal {
    TestImage &src, &dst;
    ZoomFunction function = moxZoom;
    const char *name = "moxZoom";
    MoxImage *from = src.header(), *to = dst.header();
    RefRatio ratio = {2, 1, 2, 1};
    int interpolate = MOX_INTER_NN;
    ReportRecorder reports = {};
    TestBytes before[2] = {src.bytes(), dst.bytes()};

    void expect(MoxStatus status, const char *message) { expectAll({{status, "moxZoom", message}, {-1, name, ""}}); }
    void expectAll(const std::vector<ReportExpected> &wanted) {
        SCOPED_TRACE(wanted.front().message);
        reports.clear();
        AllocationWindow window;
        function(from, to, ratio.xDst, ratio.xSrc, ratio.yDst, ratio.ySrc, interpolate);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are(wanted));
        EXPECT_LT(moxGetErrStatus(), 0);
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
};

TEST(ZoomFailure, isReportedInTheOrderOfTheTests) {
    for (const bool resizes : {false, true}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
        layout.setRoi(1, 0, 0, 20, 10);
        TestImage src(layout, 1), dst(layout, 2);
        Refusal refusal = {src, dst};
        if (resizes) {
            refusal.function = moxResize;
            refusal.name = "moxResize";
        }
        dst.roi()->coi = 0;
        refusal.expect(-5, "srcImage COI != dstImage COI");
        refusal.ratio.yDst = refusal.ratio.ySrc = 0;
        refusal.expect(-5, "yDst <= 0 || ySrc <= 0");
        refusal.ratio.xDst = refusal.ratio.xSrc = -3;
        refusal.expect(-5, "xDst <= 0 || xSrc <= 0");
        dst.header()->dataOrder = MOX_DATA_ORDER_PLANE;
        refusal.expect(-5, "srcImage->dataOrder != dstImage->dataOrder");
        src.header()->depth = dst.header()->depth = MOX_DEPTH_8S;
        refusal.expect(-5, DEPTHS);
        dst.header()->depth = MOX_DEPTH_16U;
        refusal.expect(-5, "srcImage->depth != dstImage->depth");
        for (const int kind : {-1, 3, 4, 16, 17, INT_MAX, INT_MIN}) {
            if (resizes && kind == 3) continue;
            refusal.interpolate = kind;
            refusal.expect(-5, KINDS);
        }
        dst.header()->align = 5;
        refusal.expect(-21, "Incorrect Image");
        src.header()->origin = 7;
        refusal.expect(-20, "Incorrect Image");
        refusal.from = nullptr;
        refusal.expect(-9, "Incorrect Image");
        refusal.from = src.header();
        src.header()->origin = 0;
        refusal.to = nullptr;
        refusal.expect(-9, "Incorrect Image");
        if (resizes) continue;
        refusal.ratio = {1, 1, 1, 2};
        refusal.expectAll({{-5, "moxZoom", "xDst < xSrc || yDst < ySrc"}});
        refusal.ratio = {1, 2, 1, 1};
        refusal.expectAll({{-5, "moxZoom", "xDst < xSrc || yDst < ySrc"}});
    }
}

TEST(ZoomFailure, ofEachTermIsSeen) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    Refusal refusal = {src, dst};
    refusal.function = moxResize;
    refusal.name = "moxResize";
    for (const int bad : {0, -1, INT_MIN}) {
        refusal.ratio = {bad, 1, 1, 1};
        refusal.expect(-5, "xDst <= 0 || xSrc <= 0");
        refusal.ratio = {1, bad, 1, 1};
        refusal.expect(-5, "xDst <= 0 || xSrc <= 0");
        refusal.ratio = {1, 1, bad, 1};
        refusal.expect(-5, "yDst <= 0 || ySrc <= 0");
        refusal.ratio = {1, 1, 1, bad};
        refusal.expect(-5, "yDst <= 0 || ySrc <= 0");
    }
    refusal.function = moxZoom;
    refusal.name = "moxZoom";
    refusal.ratio = {1, 0, 1, 1};
    refusal.expect(-5, "xDst <= 0 || xSrc <= 0");
}

TEST(ZoomFailure, oneImageForBothIsRefused) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1);
    Refusal refusal = {image, image};
    refusal.expect(-5, "This function isn`t in-plase function");
    refusal.function = moxResize;
    refusal.name = "moxResize";
    refusal.expect(-5, "This function isn`t in-plase function");
    refusal.ratio.ySrc = 0;
    refusal.expect(-5, "yDst <= 0 || ySrc <= 0");
}

// One image on both sides is refused, and images of signed depths, whichever kind is asked for.
TEST(ZoomFailure, signedDepthsAreRefused) {
    for (const unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        for (int interpolate = 0; interpolate < 3; ++interpolate) {
            TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10), 2);
            Refusal refusal = {src, dst};
            refusal.interpolate = interpolate;
            refusal.expect(-5, DEPTHS);
        }
    }
}

TEST(ZoomFailure, resizeSuperSamplesNothingLarger) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    Refusal refusal = {src, dst};
    refusal.function = moxResize;
    refusal.interpolate = MOX_INTER_SUPER;
    for (const RefRatio &ratio : {RefRatio{3, 2, 1, 1}, RefRatio{1, 1, 3, 2}, RefRatio{1, -1, 1, 1}}) {
        refusal.ratio = ratio;
        refusal.expectAll({{-5, "moxResize", "(xDst > xSrc || yDst > ySrc)"}});
    }
    // Everything else is decimation's to report.
    refusal.ratio = {0, 0, 1, 2};
    refusal.expectAll({{-5, "Decimate", "xDst <= 0"}, {-5, "Decimate", "xSrc <= 0"}, {-1, "moxResize", ""}});
    refusal.ratio = {1, 2, 1, 2};
    refusal.from = nullptr;
    refusal.expectAll({{-9, "Decimate", "Incorrect Image"}, {-1, "moxResize", ""}});
    // While decimation by itself names the axis.
    TestImage other(src.layout(), 3);
    ReportRecorder &reports = refusal.reports;
    reports.clear();
    moxDecimate(src.header(), other.header(), 3, 2, 1, 1, MOX_INTER_SUPER);
    EXPECT_TRUE(reports.are({{-5, "Decimate", "xDst > xSrc"}}));
}

// A tile that is not there to be written, and one that is not there to be read.
TEST(ZoomFailure, refusedTilesAreReported) {
    for (const bool resizes : {false, true}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
        TestImage plain(layout, 1);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage tiled(layout, 2);
        const char *name = resizes ? "moxResize" : "moxZoom";
        const auto function = resizes ? moxResize : moxZoom;
        ReportRecorder reports;
        {
            TileLog log(1);
            function(plain.header(), tiled.header(), 2, 1, 2, 1, MOX_INTER_LINEAR);
            EXPECT_TRUE(reports.are({{-2, "moxZoom", "Error get tile to write"}, {-1, name, ""}}));
            tiled.abandonTiles();
        }
        reports.clear();
        TileLog log(1);
        function(tiled.header(), plain.header(), 2, 1, 2, 1, MOX_INTER_LINEAR);
        ASSERT_FALSE(reports.seen.empty());
        EXPECT_EQ(reports.seen.back().status, -1);
        EXPECT_EQ(reports.seen.back().function, name);
        EXPECT_EQ(reports.seen.back().message, "");
    }
}

}  // namespace
