// Separable convolution: every report, in its order.
#include <climits>

#include "filter/filtercheck.h"

namespace {

struct Kernels {
    int taps[9] = {1, 2, 3};
    float realTaps[9] = {1, 2, 3};
    MoxConvKernel x = {3, 1, 1, 0, taps, 0}, y = {1, 3, 0, 1, taps, 0};
    MoxConvKernelFP xFP = {3, 1, 1, 0, realTaps}, yFP = {1, 3, 0, 1, realTaps};
};

// A call, of either function, that must be refused with nothing written.
struct Refusal {
    bool real;
    MoxImage *src, *dst;
    TestImage &written;
    Kernels kernels = {};
    bool withX = true, withY = true;
    ReportRecorder reports = {};
    TestBytes before = written.bytes();

    MoxStatus call() {
        return real ? moxConvolveSep2DFP(src, dst, withX ? &kernels.xFP : nullptr, withY ? &kernels.yFP : nullptr)
                    : moxConvolveSep2D(src, dst, withX ? &kernels.x : nullptr, withY ? &kernels.y : nullptr);
    }
    void expect(MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        reports.clear();
        EXPECT_EQ(call(), -5);
        EXPECT_TRUE(reports.are({{status, real ? "moxConvolveSep2DFP" : "moxConvolveSep2D", message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(written.holds(before));
        // What the report function answers is of no account here.
        reports.clear();
        reports.answersZero = true;
        EXPECT_EQ(call(), -5);
        reports.answersZero = false;
    }
    // A change of both kinds of records, x or y.
    template <typename Change>
    void change(bool column, const Change &change) {
        change(column ? kernels.y : kernels.x);
        change(column ? kernels.yFP : kernels.xFP);
    }
};

TestLayout fourChannels() {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 4);
    layout.setRoi(0, 0, 0, 20, 10);
    return layout;
}

class SeparableFailure : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Both, SeparableFailure, testing::Bool(),
                         [](const auto &each) { return std::string(each.param ? "float" : "integer"); });

const char *const WRONG_DEPTH[] = {
    "moxConvolveSep2D does not support MOX_DEPTH_32F.\nCall moxConvolveSep2DFP instead",
    "moxConvolveSep2DFP does support MOX_DEPTH_32F only.\nCall moxConvolveSep2D instead"};

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
TEST_P(SeparableFailure, isReportedInTheOrderOfTheTests) {
    const bool real = GetParam();
    TestLayout layout = fourChannels();
    if (!real) layout.depth = MOX_DEPTH_32F;
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {real, src.header(), dst.header(), dst};
    refusal.expect(-5, WRONG_DEPTH[real]);
    // y entirely after x.
    const auto axis = [&](bool column) {
        const auto anchor = [&](int value) {
            refusal.change(column, [&](auto &kernel) { (column ? kernel.anchorY : kernel.anchorX) = value; });
        };
        for (const int value : {3, -1, INT_MAX, INT_MIN}) {
            anchor(value);
            refusal.expect(-5, "Invalid kernrl anchor");
        }
        for (const int length : {1, 0, -3, INT_MIN}) {
            refusal.change(column, [&](auto &kernel) { (column ? kernel.nRows : kernel.nCols) = length; });
            refusal.expect(-5, "Invalid kernal size");
        }
        refusal.change(column, [&](auto &kernel) { kernel.values = nullptr; });
        refusal.expect(-5, "NULL kernel values");
        refusal.change(column, [&](auto &kernel) { (column ? kernel.nRows : kernel.nCols) = 3; });
    };
    axis(true);
    axis(false);
    src.roi()->coi = 2;
    refusal.expect(-5, "SRC and DST number of processing channels are different");
    src.header()->alphaChannel = 4;
    refusal.expect(-5, "SRC and DST Alpha channels are different");
    src.header()->nChannels = 3;
    src.header()->alphaChannel = 3;
    refusal.expect(-5, "SRC and DST number of channels are different");
    src.header()->nChannels = 33;
    src.header()->alphaChannel = 33;
    refusal.expect(-5, "SRC: too many channels per plane (limit 32)");
    src.header()->origin = 1;
    refusal.expect(-5, "SRC and DST orign are different");
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    refusal.expect(-5, "SRC and DST order are different");
    src.header()->depth = MOX_DEPTH_8S;
    refusal.expect(-5, "SRC and DST depth are different");
    refusal.withX = refusal.withY = false;
    refusal.expect(-5, "Kernel pointers are NULL");
    refusal.src = dst.header();
    refusal.expect(-5, "Unsupported in-place mode");
    dst.header()->align = 5;
    refusal.expect(-21, "Incorrect Image");
    refusal.src = src.header();
    src.header()->origin = 7;
    refusal.expect(-20, "Incorrect Image");
    refusal.src = nullptr;
    refusal.expect(-9, "Incorrect Image");
}

// x is tested entirely before y, and both before the depth.
TEST_P(SeparableFailure, theRowComesBeforeTheColumn) {
    const bool real = GetParam();
    TestLayout layout = TestLayout::of(real ? MOX_DEPTH_8U : MOX_DEPTH_32F, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {real, src.header(), dst.header(), dst};
    refusal.change(true, [](auto &kernel) { kernel.values = nullptr; });
    refusal.expect(-5, "NULL kernel values");
    refusal.change(false, [](auto &kernel) { kernel.anchorX = 3; });
    refusal.expect(-5, "Invalid kernrl anchor");
    refusal.change(false, [](auto &kernel) { kernel.nRows = 2; });
    refusal.expect(-5, "Invalid kernal size");
    // Without it the column counts, and without the column the depth.
    refusal.withX = false;
    refusal.expect(-5, "NULL kernel values");
    refusal.withX = true;
    refusal.withY = false;
    refusal.kernels.x.nRows = refusal.kernels.xFP.nRows = 1;
    refusal.kernels.x.anchorX = refusal.kernels.xFP.anchorX = 0;
    refusal.expect(-5, WRONG_DEPTH[real]);
}

// A row is one row high, a column one column wide, and neither is a single coefficient.
TEST_P(SeparableFailure, kernelsAreLines) {
    const bool real = GetParam();
    TestLayout layout = TestLayout::of(real ? MOX_DEPTH_32F : MOX_DEPTH_8U, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    for (const bool column : {false, true}) {
        Refusal refusal = {real, src.header(), dst.header(), dst};
        for (const auto &[nCols, nRows] : {std::pair(1, 1), std::pair(2, 2), std::pair(3, 3), std::pair(3, 0),
                                           std::pair(0, 3), std::pair(2, -1), std::pair(-1, 2)}) {
            refusal.change(column, [&, cols = nCols, rows = nRows](auto &kernel) {
                kernel.nCols = cols;
                kernel.nRows = rows;
                kernel.anchorX = kernel.anchorY = 0;
            });
            refusal.expect(-5, "Invalid kernal size");
        }
        // The other one's shape.
        refusal.change(column, [&](auto &kernel) {
            kernel.nCols = column ? 3 : 1;
            kernel.nRows = column ? 1 : 3;
        });
        refusal.expect(-5, "Invalid kernal size");
        // Of a legal shape the anchor across the line counts too.
        refusal.change(column, [&](auto &kernel) {
            kernel.nCols = column ? 1 : 3;
            kernel.nRows = column ? 3 : 1;
            (column ? kernel.anchorX : kernel.anchorY) = 1;
        });
        refusal.expect(-5, "Invalid kernrl anchor");
    }
}

TEST_P(SeparableFailure, everyOtherDepthIsRefused) {
    const bool real = GetParam();
    for (const unsigned depth : allDepths) {
        if (real == (depth == MOX_DEPTH_32F)) continue;
        TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10), 2);
        Refusal refusal = {real, src.header(), dst.header(), dst};
        refusal.expect(-5, WRONG_DEPTH[real]);
    }
}

// Faults of masks are faults of the header.
TEST_P(SeparableFailure, masksAreTestedWithTheirImages) {
    const bool real = GetParam();
    TestLayout layout = TestLayout::of(real ? MOX_DEPTH_32F : MOX_DEPTH_8U, 20, 10);
    TestImage src(layout, 1), dst(layout, 2), mask(TestLayout::ofMask(20, 10), 3);
    src.setMask(&mask);
    mask.header()->align = 5;
    Refusal refusal = {real, src.header(), dst.header(), dst};
    refusal.expect(-121, "Incorrect Image");
}

}  // namespace
