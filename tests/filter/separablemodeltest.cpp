// Separable convolution at every depth over random layouts, kernels and borders, against the model.
#include "filter/kernelset.h"

namespace {

// A row or a column, of two coefficients at least.
template <typename Kernel, Kernel (*draw)(Random &, int, int)>
Kernel drawAxis(Random &random, int maxLength, bool column) {
    for (;;) {
        Kernel kernel = draw(random, column ? 1 : maxLength, column ? maxLength : 1);
        const RefWindow &window = kernel.window;
        if (column ? window.nCols == 1 && window.nRows > 1 : window.nRows == 1 && window.nCols > 1) return kernel;
    }
}

class Separable : public testing::TestWithParam<unsigned> {
  protected:
    FilterPairOptions options() const {
        FilterPairOptions options;
        options.depth = GetParam();
        options.alike = options.sameOrigin = true;
        options.inPlace = 0;
        options.maxWidth = 45;
        options.maxHeight = 16;
        return options;
    }
    void check(Random &random, const FilterPairOptions &options, int maxLength) {
        FilterPair pair(random, options);
        const int which = random.below(4);  // both as often as one
        if (GetParam() == MOX_DEPTH_32F) {
            checkFP(random, pair, which, maxLength);
            return;
        }
        RefKernel x = drawAxis<RefKernel, drawKernel>(random, maxLength, false);
        RefKernel y = drawAxis<RefKernel, drawKernel>(random, maxLength, true);
        x.nShiftR %= 32 - y.nShiftR;
        KernelSet set({x, y});
        const RefKernel *row = which == 1 ? nullptr : &x, *column = which == 2 ? nullptr : &y;
        SCOPED_TRACE(describeKernels({x, y}, which) + pair.describe());
        checkCall(pair, refConvolveSep2D(pair.src(), pair.dst(), row, column), [&] {
            EXPECT_EQ(moxConvolveSep2D(pair.src().header(), pair.dst().header(), row ? set.records()[0] : nullptr,
                                       column ? set.records()[1] : nullptr),
                      0);
        });
    }

  private:
    static void checkFP(Random &random, FilterPair &pair, int which, int maxLength) {
        const RefKernelFP x = drawAxis<RefKernelFP, drawKernelFP>(random, maxLength, false);
        const RefKernelFP y = drawAxis<RefKernelFP, drawKernelFP>(random, maxLength, true);
        KernelSetFP set({x, y});
        const RefKernelFP *row = which == 1 ? nullptr : &x, *column = which == 2 ? nullptr : &y;
        SCOPED_TRACE(describeKernels({x, y}, which) + pair.describe());
        checkCall(pair, refConvolveSep2DFP(pair.src(), pair.dst(), row, column), [&] {
            EXPECT_EQ(moxConvolveSep2DFP(pair.src().header(), pair.dst().header(), row ? set.records()[0] : nullptr,
                                         column ? set.records()[1] : nullptr),
                      0);
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Separable, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Separable, agreesWithTheModelOverRandomLayouts) {
    forEachCase(400, [&](Random &random) { check(random, options(), 9); });
}

TEST_P(Separable, agreesWithTheModelOnPlainImages) {
    forEachCase(300, [&](Random &random) {
        FilterPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        check(random, plain, random.oneIn(2) ? 3 : 7);
    });
}

TEST_P(Separable, agreesWithTheModelOnTiles) {
    forEachCase(150, [&](Random &random) {
        FilterPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.maxHeight = 34;
        check(random, tiled, 9);
    });
}

TEST_P(Separable, agreesWithTheModelOnWideRows) {
    forEachCase(40, [&](Random &random) {
        FilterPairOptions wide = options();
        wide.maxWidth = 500;
        wide.maxHeight = 4;
        check(random, wide, 7);
    });
}

// Kernels longer than the image; and images of more rows than are held at once.
TEST_P(Separable, agreesWithTheModelWithLongKernels) {
    forEachCase(30, [&](Random &random) {
        FilterPairOptions small = options();
        small.maxWidth = 16;
        small.maxHeight = 8;
        check(random, small, 51);
    });
}

TEST_P(Separable, agreesWithTheModelOnHighImages) {
    forEachCase(20, [&](Random &random) {
        FilterPairOptions high = options();
        high.maxWidth = 20;
        high.maxHeight = 150;
        check(random, high, 11);
    });
}

TEST_P(Separable, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 140; ++width) {
        FilterPairOptions exact = options();
        exact.tiled[0] = exact.tiled[1] = 0;
        exact.masks = width % 4 == 0;
        exact.maxWidth = width;
        exact.maxHeight = 3;
        SCOPED_TRACE(width);
        check(random, exact, 6);
        if (HasFailure()) return;
    }
}

// Whatever is missing: a report that says no memory, and a status that tells what it was.
TEST_P(Separable, refusedTilesAndMemoryAreReported) {
    const char *const function = GetParam() == MOX_DEPTH_32F ? "moxConvolveSep2DFP" : "moxConvolveSep2D";
    const RefKernel x = {{3, 1, 0, 0}, {1, 2, -1}, 1}, y = {{1, 4, 0, 2}, {3, 0, 1, 1}, 1};
    const RefKernelFP xFP = {{3, 1, 0, 0}, {1, 2, -1}}, yFP = {{1, 4, 0, 2}, {3, 0, 1, 1}};
    KernelSet set({x, y});
    KernelSetFP setFP({xFP, yFP});
    forEachCase(15, [&](Random &random) {
        FilterPair pair(random, options());
        SCOPED_TRACE(pair.describe());
        const bool real = GetParam() == MOX_DEPTH_32F;
        const RefResult wanted = real ? refConvolveSep2DFP(pair.src(), pair.dst(), &xFP, &yFP)
                                      : refConvolveSep2D(pair.src(), pair.dst(), &x, &y);
        MoxStatus returned = 0;
        const auto call = [&] {
            returned =
                real ? moxConvolveSep2DFP(pair.src().header(), pair.dst().header(), setFP.records()[0],
                                          setFP.records()[1])
                     : moxConvolveSep2D(pair.src().header(), pair.dst().header(), set.records()[0], set.records()[1]);
        };
        const JudgeReports judge = [&](const ReportRecorder &reports, int mode) {
            // A combined mask is an image that is allocated, which reports by itself before.
            ASSERT_FALSE(reports.seen.empty());
            ASSERT_LE(reports.seen.size(), 2u);
            EXPECT_EQ(reports.seen.back().status, -1);
            EXPECT_EQ(reports.seen.back().function, function);
            EXPECT_EQ(reports.seen.back().message, "Not enough memory");
            EXPECT_EQ(returned, -1);
            EXPECT_EQ(moxGetErrStatus(), mode == MOX_TileWrite ? -2 : -4);
        };
        checkRefusedMemory(pair, wanted, call, judge);
        checkRefusedTiles(pair, wanted, call, judge);
    });
}

}  // namespace
