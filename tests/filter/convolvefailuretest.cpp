// The convolutions: every report with its order, memory and tiles that are refused.
#include <climits>

#include "filter/kernelset.h"

namespace {

const RefKernel ONE = {{1, 1, 0, 0}, {1}, 0};
const RefKernelFP ONE_FP = {{1, 1, 0, 0}, {1}};

// Either function, with kernels of its own kind.
struct Caller {
    bool fp;
    const char *name;
    unsigned depth, wrongDepth;
    KernelSet kernels{{ONE, ONE, ONE}};
    KernelSetFP kernelsFP{{ONE_FP, ONE_FP, ONE_FP}};

    explicit Caller(bool isFP)
        : fp(isFP),
          name(isFP ? "moxConvolve2DFP" : "moxConvolve2D"),
          depth(isFP ? MOX_DEPTH_32F : MOX_DEPTH_8U),
          wrongDepth(isFP ? MOX_DEPTH_8U : MOX_DEPTH_32F) {}

    void call(MoxImage *src, MoxImage *dst, int nKernels = 1, int method = 0) {
        if (fp) {
            moxConvolve2DFP(src, dst, kernelsFP.records(), nKernels, method);
        } else {
            moxConvolve2D(src, dst, kernels.records(), nKernels, method);
        }
    }
    void callWithout(MoxImage *src, MoxImage *dst, int nKernels, int method) {
        if (fp) {
            moxConvolve2DFP(src, dst, nullptr, nKernels, method);
        } else {
            moxConvolve2D(src, dst, nullptr, nKernels, method);
        }
    }
    // A kernel record spoilt and made good again.
    void breakKernel(int index, bool broken) {
        (fp ? kernelsFP.records()[index]->anchorX : kernels.records()[index]->anchorX) = broken ? 1 : 0;
    }
};

class ConvolveFailure : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Failure, ConvolveFailure, testing::Bool(),
                         [](const auto &each) { return std::string(each.param ? "Float" : "Integer"); });

// Faults from the last to be tested to the first; each one takes the report over from those before.
TEST_P(ConvolveFailure, isReportedInTheOrderOfTheTests) {
    Caller caller(GetParam());
    TestLayout layout = TestLayout::of(caller.depth, 20, 10, 3);
    layout.extraStride = 512;  // room for samples of any depth that the headers are going to claim
    TestImage src(layout, 1), dst(layout, 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    auto expect = [&](MoxStatus status, const char *message) {
        EXPECT_TRUE(reports.are({{status, caller.name, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(dst.holds(before));
        reports.clear();
    };
    MoxROI roi = {1, 0, 0, 20, 10};
    src.header()->roi = &roi;
    caller.call(src.header(), dst.header(), 3, 5);
    expect(-5, "Inadmissible method");
    caller.call(src.header(), dst.header(), 3, 1);
    expect(-5, "One of the COI is not defined");

    src.header()->depth = dst.header()->depth = caller.wrongDepth;
    caller.call(src.header(), dst.header(), 3, 1);
    expect(-5,
           caller.fp ? "FP kernel can be used only for 32F images" : "32F images can be processed only with FP kernel");

    dst.header()->depth = MOX_DEPTH_16U;
    caller.call(src.header(), dst.header(), 3, 1);
    expect(-5, "Uncompatible images");
    dst.header()->depth = caller.wrongDepth;
    dst.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    caller.call(src.header(), dst.header(), 3, 1);
    expect(-5, "Uncompatible images");

    caller.breakKernel(2, true);
    caller.call(src.header(), dst.header(), 3, 1);
    expect(-5, "Bad kernel structure");

    caller.call(src.header(), dst.header(), 3, 5);
    expect(-5, "Inadmissible method");
    caller.call(src.header(), dst.header(), 3, -1);
    expect(-5, "Inadmissible method");

    for (int nKernels : {0, -1, 11, INT_MAX, INT_MIN}) {
        caller.call(src.header(), dst.header(), nKernels, 5);
        expect(-5, "(nKernels<=0 || nKernels>10)");
    }
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-5, "kernel==0");

    MoxROI away = {0, 20, 0, 5, 5};
    dst.header()->roi = &away;
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-11, "Bad ROI offsets");
    away = {0, 0, 10, 5, 5};
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-11, "Bad ROI offsets");
    dst.header()->roi = nullptr;
    roi.xOffset = 20;
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-11, "Bad ROI offsets");

    dst.header()->align = 5;
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-21, "Incorrect Image");
    src.header()->origin = 7;
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-20, "Incorrect Image");
    roi.yOffset = -1;
    src.header()->origin = 0;
    caller.callWithout(src.header(), dst.header(), 0, 5);
    expect(-11, "Incorrect Image");
    caller.callWithout(nullptr, dst.header(), 0, 5);
    expect(-9, "Incorrect Image");
}

// Each kernel is tested whole before the next.
TEST_P(ConvolveFailure, kernelsAreTestedInTheirOrder) {
    Caller caller(GetParam());
    TestImage src(TestLayout::of(caller.depth, 20, 10), 1), dst(TestLayout::of(caller.depth, 20, 10), 2);
    ReportRecorder reports;
    auto swapLast = [&](MoxConvKernel *&kept, MoxConvKernelFP *&keptFP) {
        std::swap(kept, caller.kernels.records()[1]);
        std::swap(keptFP, caller.kernelsFP.records()[1]);
    };
    MoxConvKernel *kept = nullptr;
    MoxConvKernelFP *keptFP = nullptr;
    swapLast(kept, keptFP);
    caller.call(src.header(), dst.header(), 3, 0);
    EXPECT_TRUE(reports.are({{-5, caller.name, "kernel[i]==0"}}));
    reports.clear();
    caller.breakKernel(0, true);
    caller.call(src.header(), dst.header(), 3, 0);
    EXPECT_TRUE(reports.are({{-5, caller.name, "Bad kernel structure"}}));
    reports.clear();
    caller.breakKernel(0, false);
    // The one missing is not among those asked for.
    caller.call(src.header(), dst.header(), 1, 0);
    EXPECT_TRUE(reports.none());
    swapLast(kept, keptFP);
    for (int field = 0; field < 6; ++field) {
        MoxConvKernel bad = {2, 2, 0, 0, kept ? kept->values : caller.kernels.records()[0]->values, 0};
        MoxConvKernelFP badFP = {2, 2, 0, 0, caller.kernelsFP.records()[0]->values};
        const int spoilt[6][4] = {{0, 2, 0, 0}, {2, 0, 0, 0}, {2, 2, -1, 0}, {2, 2, 0, -1}, {2, 2, 2, 0}, {2, 2, 0, 2}};
        bad.nCols = badFP.nCols = spoilt[field][0];
        bad.nRows = badFP.nRows = spoilt[field][1];
        bad.anchorX = badFP.anchorX = spoilt[field][2];
        bad.anchorY = badFP.anchorY = spoilt[field][3];
        MoxConvKernel *list = &bad;
        MoxConvKernelFP *listFP = &badFP;
        reports.clear();
        if (caller.fp) {
            moxConvolve2DFP(src.header(), dst.header(), &listFP, 1, 0);
        } else {
            moxConvolve2D(src.header(), dst.header(), &list, 1, 0);
        }
        EXPECT_TRUE(reports.are({{-5, caller.name, "Bad kernel structure"}})) << field;
    }
}

TEST_P(ConvolveFailure, channelsMustSuit) {
    Caller caller(GetParam());
    TestLayout one = TestLayout::of(caller.depth, 20, 10), three = TestLayout::of(caller.depth, 20, 10, 3),
               four = TestLayout::of(caller.depth, 20, 10, 4), alpha = four, coi = three, coiFour = four, lone = one,
               loneCoi = one, noCoi = three;
    alpha.alpha = 4;
    coi.setRoi(2, 0, 0, 20, 10);
    coiFour.setRoi(4, 0, 0, 20, 10);
    coiFour.alpha = 4;
    lone.alpha = loneCoi.alpha = 1;
    loneCoi.setRoi(1, 0, 0, 20, 10);
    noCoi.setRoi(0, 0, 0, 20, 10);
    const char *undefined = "One of the COI is not defined", *none = "No channel to operate",
               *unequal = "Uncompatible images";
    struct {
        TestLayout src, dst;
        const char *message;
    } const cases[] = {
        {three, three, nullptr}, {three, alpha, nullptr}, {alpha, three, nullptr}, {alpha, alpha, nullptr},
        {coi, coiFour, nullptr}, {coiFour, coi, nullptr}, {loneCoi, coi, nullptr}, {noCoi, three, nullptr},
        {one, coi, undefined},   {coi, one, undefined},   {noCoi, coi, undefined}, {coi, noCoi, undefined},
        {lone, coi, undefined},  {coi, lone, undefined},  {lone, three, none},     {three, lone, none},
        {lone, lone, none},      {three, four, unequal},  {four, three, unequal},  {four, alpha, unequal},
        {alpha, four, unequal},  {one, three, unequal}};
    for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (const auto &each : cases) {
            TestLayout from = each.src, to = each.dst;
            from.order = to.order = order;
            TestImage src(from, 1), dst(to, 2);
            SCOPED_TRACE(from.describe() + " to " + to.describe());
            RefResult wanted = {dst.bytes(), {}};
            if (!each.message) {
                wanted = caller.fp ? refConvolve2DFP(src, dst, {ONE_FP}, 0) : refConvolve2D(src, dst, {ONE}, 0);
            }
            ReportRecorder reports;
            caller.call(src.header(), dst.header());
            EXPECT_TRUE(each.message ? reports.are({{-5, caller.name, each.message}}) : reports.none());
            refAcceptNaNs(dst, &wanted);
            EXPECT_TRUE(dst.holds(wanted.expected));
        }
    }
}

TEST(ConvolveFailure, bitsWithoutAColourAreRefused) {
    TestLayout lone = TestLayout::of(MOX_DEPTH_1U, 20, 10);
    lone.alpha = 1;
    TestImage src(lone, 1), dst(lone, 2);
    KernelSet kernels({ONE});
    ReportRecorder reports;
    moxConvolve2D(src.header(), dst.header(), kernels.records(), 1, 0);
    EXPECT_TRUE(reports.are({{-5, "moxConvolve2D", "No channel to operate"}}));
}

// A sticky status of an earlier call does not matter.
TEST_P(ConvolveFailure, aLeftoverStatusStopsNothing) {
    Caller caller(GetParam());
    TestImage src(TestLayout::of(caller.depth, 20, 10), 1), dst(TestLayout::of(caller.depth, 20, 10), 2);
    TestImage maskA(TestLayout::ofMask(20, 10), 3), maskB(TestLayout::ofMask(20, 10), 4);
    src.setMask(&maskA);
    dst.setMask(&maskB);
    RefResult wanted = caller.fp ? refConvolve2DFP(src, dst, {ONE_FP}, 0) : refConvolve2D(src, dst, {ONE}, 0);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    caller.call(src.header(), dst.header());
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
    refAcceptNaNs(dst, &wanted);
    EXPECT_TRUE(dst.holds(wanted.expected));
}

class ConvolveRefusal : public testing::TestWithParam<unsigned> {
  protected:
    void run(Random &random, RefusalCheck *check,
             const std::function<void(const ReportRecorder &, int, const char *)> &judge) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.strict = true;
        options.tiled[0] = random.below(2);
        options.tiled[1] = random.below(2);
        options.maxWidth = 40;
        options.maxHeight = 20;
        FilterPair pair(random, options);
        const int method = random.below(5), count = random.between(1, 3);
        std::vector<RefKernel> kernels;
        std::vector<RefKernelFP> kernelsFP;
        for (int i = 0; i < count; ++i) {
            kernels.push_back(drawKernel(random, 5, 5));
            kernelsFP.push_back(drawKernelFP(random, 5, 5));
        }
        KernelSet set(kernels);
        KernelSetFP setFP(kernelsFP);
        if (GetParam() == MOX_DEPTH_32F) {
            SCOPED_TRACE(describeKernels(kernelsFP, method) + pair.describe());
            check(
                pair, refConvolve2DFP(pair.src(), pair.dst(), kernelsFP, method),
                [&] { moxConvolve2DFP(pair.src().header(), pair.dst().header(), setFP.records(), count, method); },
                [&](const ReportRecorder &reports, int mode) { judge(reports, mode, "moxConvolve2DFP"); });
            return;
        }
        SCOPED_TRACE(describeKernels(kernels, method) + pair.describe());
        check(
            pair, refConvolve2D(pair.src(), pair.dst(), kernels, method),
            [&] { moxConvolve2D(pair.src().header(), pair.dst().header(), set.records(), count, method); },
            [&](const ReportRecorder &reports, int mode) { judge(reports, mode, "moxConvolve2D"); });
    }
};

INSTANTIATE_TEST_SUITE_P(Failure, ConvolveRefusal, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(ConvolveRefusal, ofAnyMemoryIsReported) {
    forEachCase(40, [&](Random &random) {
        run(random, checkRefusedMemory, [](const ReportRecorder &reports, int, const char *name) {
            ASSERT_FALSE(reports.seen.empty());
            const ReportSeen &last = reports.seen.back();
            EXPECT_EQ(last.status, -4);
            EXPECT_EQ(last.function, name);
            EXPECT_EQ(last.message, "Allocation failure");
            // Before it, at most the allocation of the common mask.
            ASSERT_LE(reports.seen.size(), 2u) << reports.text();
            if (reports.seen.size() == 2) {
                EXPECT_EQ(reports.seen[0].function, "moxAllocateImage");
                EXPECT_EQ(reports.seen[0].message, "for allocate image data");
            }
        });
    });
}

TEST_P(ConvolveRefusal, ofAnyTileEndsTheCall) {
    forEachCase(40, [&](Random &random) {
        run(random, checkRefusedTiles, [](const ReportRecorder &reports, int mode, const char *name) {
            if (mode == MOX_TileRead) {
                EXPECT_TRUE(reports.are({{-4, name, "Allocation failure"}}));
            } else {
                EXPECT_TRUE(reports.are({{-5, name, "Internal error"}}));
            }
        });
    });
}

}  // namespace
