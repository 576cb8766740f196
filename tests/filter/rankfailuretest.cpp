// Filters by rank, fixed filters and morphology: every report, in its order, and what is refused.
#include <climits>

#include "filter/filtercheck.h"

namespace {

using RankCall = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int);
struct RankFunction {
    const char *name;
    RankCall call;
};
const RankFunction RANKS[] = {
    {"moxMaxFilter", moxMaxFilter}, {"moxMinFilter", moxMinFilter}, {"moxMedianFilter", moxMedianFilter}};

// A call that must be refused: faults are added one by one, from the last that is tested to the first, and each takes
// the report over.
struct Refusal {
    const char *function;
    std::function<MoxStatus()> call;
    TestImage &dst;
    ReportRecorder reports = {};
    TestBytes before = dst.bytes();

    void expect(MoxStatus status, const char *message, MoxStatus returned) {
        SCOPED_TRACE(message);
        reports.clear();
        moxSetErrStatus(0);
        EXPECT_EQ(call(), returned);
        EXPECT_TRUE(reports.are({{status, function, message}}));
        EXPECT_TRUE(dst.holds(before));
    }
    void expect(MoxStatus status, const char *message) { expect(status, message, status); }
};

TEST(RankFailure, isReportedInTheOrderOfTheTests) {
    for (const RankFunction &function : RANKS) {
        SCOPED_TRACE(function.name);
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
        layout.setRoi(0, 0, 0, 20, 10);
        TestImage src(layout, 1), dst(layout, 2);
        MoxImage *from = src.header();
        int nCols = 3, anchorX = 1, nRows = 3, anchorY = 1;
        Refusal refusal = {
            function.name,
            [&] { return function.call(from, dst.header(), nCols, nRows, anchorX, anchorY); },
            dst,
        };
        src.roi()->coi = 2;
        refusal.expect(-24, "Number of interset channel input and output Image is not equal.");
        src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
        refusal.expect(-5, "srcImage->dataOrder!=dstImage->dataOrder");
        src.header()->alphaChannel = 3;
        refusal.expect(-5, "srcImage->alphaChannel!=dstImage->alphaChannel");
        src.header()->nChannels = src.header()->alphaChannel = 4;
        refusal.expect(-5, "srcImage->nChannels!=dstImage->nChannels");
        src.header()->depth = dst.header()->depth = MOX_DEPTH_32F;
        src.header()->widthStep = dst.header()->widthStep = 320;
        refusal.expect(-5, "srcImage->depth==32");
        src.header()->depth = MOX_DEPTH_16U;
        refusal.expect(-5, "srcImage->depth!=dstImage->depth");
        from = dst.header();
        refusal.expect(-5, "(srcImage==dstImage)");
        anchorY = 3;
        refusal.expect(-5, "(anchorY>=nRows)||(anchorY<0)");
        anchorY = -1;
        refusal.expect(-5, "(anchorY>=nRows)||(anchorY<0)");
        anchorX = -1;
        refusal.expect(-5, "(anchorX>=nCols)||(anchorX<0)");
        anchorX = 3;
        refusal.expect(-5, "(anchorX>=nCols)||(anchorX<0)");
        nCols = nRows = INT_MIN;
        refusal.expect(-5, "(anchorX>=nCols)||(anchorX<0)");
        from = src.header();
        dst.header()->align = 5;
        refusal.expect(-21, "Incorrect Image");
        src.header()->origin = 7;
        refusal.expect(-20, "Incorrect Image");
        from = nullptr;
        refusal.expect(-9, "Incorrect Image");
    }
}

TEST(FixedFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    MoxImage *from = src.header();
    Refusal refusal = {"moxFixedFilter", [&] { return moxFixedFilter(from, dst.header(), 11); }, dst};
    refusal.expect(-5, "Unknow filter.");
    src.roi()->coi = 2;
    refusal.expect(-24, "Number of interset channel input and output Image is not equal.");
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    refusal.expect(-5, "srcImage->dataOrder!=dstImage->dataOrder");
    src.header()->alphaChannel = 3;
    refusal.expect(-24, "srcImage->alphaChannel!=dstImage->alphaChannel");
    src.header()->nChannels = src.header()->alphaChannel = 4;
    refusal.expect(-24, "srcImage->nChannels!=dstImage->nChannels");
    src.header()->depth = MOX_DEPTH_16U;
    src.header()->widthStep = 320;
    refusal.expect(-5, "srcImage->depth!=dstImage->depth");
    from = dst.header();
    refusal.expect(-5, "(srcImage==dstImage)");
    dst.header()->align = 5;
    refusal.expect(-21, "Incorrect Image");
    from = src.header();
    src.header()->origin = 7;
    refusal.expect(-20, "Incorrect Image");
}

TEST(FixedFailure, codesBeyondTheTableAreRefused) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const TestBytes before = dst.bytes();
    for (const int code : {11, 12, -1, INT_MAX, INT_MIN}) {
        ReportRecorder reports;
        EXPECT_EQ(moxFixedFilter(src.header(), dst.header(), code), -5);
        EXPECT_TRUE(reports.are({{-5, "moxFixedFilter", "Unknow filter."}})) << code;
        EXPECT_TRUE(dst.holds(before));
        moxSetErrStatus(0);
    }
}

TEST(ColorMedianFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 4);
    layout.alpha = 4;
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    MoxImage *from = src.header();
    int anchorX = 1, anchorY = 1;
    Refusal refusal = {"moxColorMedianFilter",
                       [&] { return moxColorMedianFilter(from, dst.header(), 3, 3, anchorX, anchorY); }, dst};
    const auto both = [&](auto change) {
        change(src.header());
        change(dst.header());
    };
    dst.roi()->coi = 1;
    refusal.expect(-5, "dstImage->roi->coi!=0");
    src.roi()->coi = 1;
    refusal.expect(-5, "srcImage->roi->coi!=0");
    both([](MoxImage *image) { image->alphaChannel = 0; });
    refusal.expect(-5, "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)");
    both([](MoxImage *image) { image->nChannels = image->alphaChannel = 3; });
    refusal.expect(-5, "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)");
    both([](MoxImage *image) {
        image->nChannels = 5;
        image->alphaChannel = 0;
        image->widthStep = 800;
    });
    refusal.expect(-5, "srcImage->nChannels>4");
    both([](MoxImage *image) { image->nChannels = 2; });
    refusal.expect(-5, "srcImage->nChannels<3");
    src.header()->nChannels = 1;
    refusal.expect(-5, "srcImage->nChannels!=dstImage->nChannels");
    both([](MoxImage *image) { image->depth = MOX_DEPTH_32S; });
    refusal.expect(-5, "srcImage->depth==(0x80000000|32)");
    both([](MoxImage *image) {
        image->depth = MOX_DEPTH_1U;
        image->nChannels = 1;
    });
    refusal.expect(-5, "srcImage->depth==1");
    src.header()->depth = MOX_DEPTH_8U;
    refusal.expect(-5, "srcImage->depth!=dstImage->depth");
    from = dst.header();
    refusal.expect(-5, "(srcImage==dstImage)");
    anchorY = 3;
    refusal.expect(-5, "(anchorY>=nRows)||(anchorY<0)");
    anchorX = -1;
    refusal.expect(-5, "(anchorX>=nCols)||(anchorX<0)");
    dst.header()->align = 5;
    refusal.expect(-21, "Incorrect Image");
    from = nullptr;
    refusal.expect(-9, "Incorrect Image");
}

using MorphCall = void(MOX_CALL *)(MoxImage *, MoxImage *, int);
struct MorphFunction {
    const char *name;
    MorphCall call;
};
const MorphFunction MORPHS[] = {
    {"moxErode", moxErode}, {"moxDilate", moxDilate}, {"moxOpen", moxOpen}, {"moxClose", moxClose}};

TEST(MorphologyFailure, isReportedInTheOrderOfTheTests) {
    for (const MorphFunction &function : MORPHS) {
        SCOPED_TRACE(function.name);
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
        layout.setRoi(0, 0, 0, 20, 10);
        TestImage src(layout, 1), dst(layout, 2);
        int n = 1;
        Refusal refusal = {function.name,
                           [&] {
                               function.call(src.header(), dst.header(), n);
                               return moxGetErrStatus();
                           },
                           dst};
        src.roi()->coi = 2;
        refusal.expect(-5, "SRC and DST number of channels are different");
        src.header()->origin = 1 - dst.header()->origin;
        refusal.expect(-5, "SRC and DST orign are different");
        src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
        refusal.expect(-5, "SRC and DST order are different");
        src.header()->depth = MOX_DEPTH_16U;
        src.header()->widthStep = 160;
        refusal.expect(-5, "SRC and DST depth are different");
        for (const unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
            src.header()->depth = depth;
            refusal.expect(-5, "Illegal image depth");
        }
        n = 0;
        refusal.expect(-5, "Illegal number of iterations");
        n = INT_MIN;
        refusal.expect(-5, "Illegal number of iterations");
        dst.header()->align = 5;
        refusal.expect(-21, "Incorrect Image");
        src.header()->origin = 7;
        refusal.expect(-20, "Incorrect Image");
    }
}

// A square whose side is no int, and one that no memory holds.
TEST(MorphologyFailure, squaresBeyondAllMemoryAreRefused) {
    for (const MorphFunction &function : MORPHS) {
        for (const int n : {INT_MAX, 1 << 30, (1 << 30) - 1}) {
            for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
                TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10), 2);
                const RefResult wanted = refMorphology(src, dst, static_cast<RefMorph>(&function - MORPHS),
                                                       12);  // as good as any from 11 on for one stage
                const TestBytes before = dst.bytes();
                ReportRecorder reports;
                AllocationWindow window;
                function.call(src.header(), dst.header(), n);
                window.close();
                EXPECT_EQ(window.live(), 0);
                if (reports.none()) {
                    EXPECT_TRUE(dst.holds(wanted.expected)) << function.name << " " << n;
                } else {
                    EXPECT_TRUE(reports.are({{-4, function.name, "Allocation failure"}}));
                    EXPECT_TRUE(dst.holds(before));
                }
            }
        }
    }
}

// The status word may hold the very fault already.
TEST(ColorMedianFailure, aFaultIsReturnedAgain) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 2);
    src.header()->width = INT_MAX;
    ReportRecorder reports;
    moxSetErrStatus(0);
    const MoxStatus fault = moxColorMedianFilter(src.header(), dst.header(), 3, 3, 1, 1);
    EXPECT_LT(fault, 0);
    EXPECT_EQ(moxGetErrStatus(), fault);
    EXPECT_EQ(moxColorMedianFilter(src.header(), dst.header(), 3, 3, 1, 1), fault);
    EXPECT_TRUE(reports.are(
        {{fault, "moxColorMedianFilter", "Incorrect Image"}, {fault, "moxColorMedianFilter", "Incorrect Image"}}));
}

// Windows that no memory holds, along either axis and both.
TEST(RankFailure, windowsBeyondAllMemoryAreRefused) {
    constexpr int most = INT_MAX;
    for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10), 2);
        for (const RankFunction &function : RANKS) {
            Refusal refusal = {function.name, {}, dst};
            for (const auto &[nCols, nRows] : {std::pair{most, most}, {most, 1}, {1, most}, {1 << 30, most}}) {
                refusal.call = [&, w = nCols, h = nRows] {
                    return function.call(src.header(), dst.header(), w, h, w - 1, h / 2);
                };
                refusal.expect(-4, "Allocation failure");
            }
        }
    }
}

// What an earlier fault means: nothing for morphology, which begins anew, an end without a word for the others.
TEST(RankFailure, anEarlierFaultIsHeeded) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    for (const RankFunction &function : RANKS) {
        moxSetErrStatus(-7);
        EXPECT_EQ(function.call(src.header(), dst.header(), 3, 3, 1, 1), 0);
        EXPECT_TRUE(dst.holds(before)) << function.name;
    }
    moxSetErrStatus(-7);
    moxFixedFilter(src.header(), dst.header(), 0);
    EXPECT_TRUE(dst.holds(before));
    EXPECT_TRUE(reports.none());
    const RefResult wanted = refMorphology(src, dst, RefMorph::ERODE, 1);
    moxSetErrStatus(-7);
    moxErode(src.header(), dst.header(), 1);
    EXPECT_TRUE(dst.holds(wanted.expected));
    EXPECT_EQ(moxGetErrStatus(), 0);
}

}  // namespace
