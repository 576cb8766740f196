// Correlation: every report, in its order.
#include "filter/filtercheck.h"

namespace {

// A call that must be refused with nothing written.
struct Refusal {
    MoxImage *pattern, *src, *dst;
    TestImage &written;
    ReportRecorder reports = {};
    TestBytes before = written.bytes();

    void expect(MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        for (const bool silent : {false, true}) {
            reports.clear();
            reports.answersZero = silent;
            EXPECT_EQ(moxNormCrossCorr(pattern, src, dst), -5);
            EXPECT_TRUE(reports.are({{status, "moxNormCrossCorr", message}}));
            EXPECT_EQ(moxGetErrStatus(), status);
            EXPECT_TRUE(written.holds(before));
        }
        reports.answersZero = false;
    }
};

TestLayout withRoi(int width, int height) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, width, height, 4);
    layout.setRoi(0, 0, 0, width, height);
    return layout;
}

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
TEST(CorrelationFailure, isReportedInTheOrderOfTheTests) {
    TestImage src(withRoi(20, 10), 1), dst(withRoi(20, 10), 2);
    TestLayout tiles = withRoi(9, 9);
    tiles.tileWidth = tiles.tileHeight = 8;
    TestImage pattern(tiles, 3);
    Refusal refusal = {pattern.header(), src.header(), dst.header(), dst};
    refusal.expect(-5, "TPL tiling is not supported");
    src.roi()->coi = 2;
    refusal.expect(-5, "SRC, TPL or DST number of processing channels are different");
    src.header()->nChannels = 3;
    refusal.expect(-5, "SRC, TPL or DST number of channels are different");
    src.header()->alphaChannel = 3;
    refusal.expect(-5, "SRC, TPL or DST Alpha channels are different");
    src.header()->origin = 1;
    refusal.expect(-5, "SRC, TPL or DST orign are different");
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    refusal.expect(-5, "SRC, TPL or DST order are different");
    dst.header()->depth = MOX_DEPTH_8S;
    refusal.expect(-5, "SRC and DST depth are incompatible");
    pattern.header()->depth = MOX_DEPTH_8S;
    refusal.expect(-5, "SRC and TPL depth are different");
    refusal.src = dst.header();
    refusal.expect(-5, "Unsupported in-place mode");
    dst.header()->align = 5;
    refusal.src = src.header();
    refusal.expect(-21, "Incorrect Image");
    pattern.header()->align = 0;
    pattern.header()->origin = 7;
    refusal.expect(-20, "Incorrect Image");
    src.header()->dataOrder = 3;
    refusal.expect(-19, "Incorrect Image");
    refusal.src = nullptr;
    refusal.expect(-9, "Incorrect Image");
    refusal.src = src.header();
    src.header()->dataOrder = 0;
    refusal.pattern = nullptr;
    refusal.expect(-9, "Incorrect Image");
    refusal.pattern = pattern.header();
    pattern.header()->align = 8;
    pattern.header()->origin = 0;
    refusal.dst = nullptr;
    refusal.expect(-9, "Incorrect Image");
}

// Depths of destinations: the source's, or float for bytes without a sign.
TEST(CorrelationFailure, depthsOfDestinations) {
    for (const unsigned from : allDepths) {
        for (const unsigned to : allDepths) {
            TestImage src(TestLayout::of(from, 20, 10), 1), dst(TestLayout::of(to, 20, 10), 2);
            TestImage pattern(TestLayout::of(from, 3, 3), 3);
            Refusal refusal = {pattern.header(), src.header(), dst.header(), dst};
            if (from == to || (from == MOX_DEPTH_8U && to == MOX_DEPTH_32F)) {
                EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
                EXPECT_TRUE(refusal.reports.none());
            } else {
                refusal.expect(-5, "SRC and DST depth are incompatible");
            }
        }
    }
}

// The source differs from both others, or nobody says a word.
TEST(CorrelationFailure, theSourceDiffersFromBoth) {
    struct Property {
        const char *message;
        void (*change)(MoxImage *image);
    };
    const Property properties[] = {
        {"SRC, TPL or DST order are different", [](MoxImage *image) { image->dataOrder = MOX_DATA_ORDER_PLANE; }},
        {"SRC, TPL or DST orign are different", [](MoxImage *image) { image->origin = 1; }},
    };
    for (const Property &property : properties) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
        TestImage pattern(TestLayout::of(MOX_DEPTH_8U, 3, 3), 3);
        property.change(pattern.header());
        ReportRecorder reports;
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        EXPECT_TRUE(reports.none());
        dst.drawSamples(4);
        const TestBytes before = dst.bytes();
        property.change(dst.header());
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), -5);
        EXPECT_TRUE(reports.are({{-5, "moxNormCrossCorr", property.message}}));
        EXPECT_TRUE(dst.holds(before));
    }
}

// Channels must agree in all three, whoever it is that differs.
TEST(CorrelationFailure, processedChannelsAreTheSameInAllThree) {
    for (const int which : {0, 1, 2}) {
        TestImage src(withRoi(20, 10), 1), dst(withRoi(20, 10), 2), pattern(withRoi(3, 3), 3);
        (which == 0 ? src : which == 1 ? dst : pattern).roi()->coi = 1;
        Refusal refusal = {pattern.header(), src.header(), dst.header(), dst};
        refusal.expect(-5, "SRC, TPL or DST number of processing channels are different");
    }
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10, 4), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10, 4), 2);
    TestImage pattern(TestLayout::of(MOX_DEPTH_8U, 3, 3, 3), 3);
    Refusal refusal = {pattern.header(), src.header(), dst.header(), dst};
    refusal.expect(-5, "SRC, TPL or DST number of processing channels are different");
}

// The destination may be the template's image, which is none that is slid over: nobody forbids it. The source may not.
TEST(CorrelationFailure, onlySourceAndDestinationMustBeTwo) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), pattern(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    Refusal refusal = {pattern.header(), src.header(), src.header(), src};
    refusal.expect(-5, "Unsupported in-place mode");
}

// Where a region is empty nothing is done and nothing is wrong, whatever rows the header claims.
TEST(CorrelationFailure, emptyRegionsAreNoFault) {
    TestImage src(withRoi(20, 10), 1), dst(withRoi(20, 10), 2), pattern(withRoi(3, 3), 3);
    src.roi()->xOffset = 20;
    src.header()->widthStep = 1;
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    moxSetErrStatus(-7);
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(before));
    moxSetErrStatus(0);
}

}  // namespace
