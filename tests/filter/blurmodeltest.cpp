// moxBlur at every depth over random layouts, windows and borders, against the model.
#include "filter/filtercheck.h"

namespace {

class Blur : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Model, Blur, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void checkBlur(FilterPair &pair, const RefWindow &window) {
    SCOPED_TRACE(describeWindow(window) + "\n" + pair.describe());
    checkCall(pair, refBlur(pair.src(), pair.dst(), window), [&] {
        moxBlur(pair.src().header(), pair.dst().header(), window.nCols, window.nRows, window.anchorX, window.anchorY);
    });
}

// A window of one pixel copies, by other rules: see blurtest.cpp.
RefWindow drawBlurWindow(Random &random, int maxCols, int maxRows) {
    for (;;) {
        const RefWindow window = drawWindow(random, maxCols, maxRows);
        if (window.nCols * window.nRows > 1) return window;
    }
}

TEST_P(Blur, agreesWithTheModelOverRandomLayouts) {
    forEachCase(500, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 9, 9));
    });
}

TEST_P(Blur, agreesWithTheModelOnPlainImages) {
    forEachCase(300, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.tiled[0] = options.tiled[1] = 0;
        options.handMadeBorders = random.oneIn(3);
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 7, 7));
    });
}

TEST_P(Blur, agreesWithTheModelInPlace) {
    forEachCase(200, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.inPlace = 1;
        options.tiled[0] = random.below(2);
        options.maxHeight = 40;
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 12, 12));
    });
}

TEST_P(Blur, agreesWithTheModelOnTiles) {
    forEachCase(200, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.tiled[0] = random.below(2);
        options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
        options.maxHeight = 34;
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 20, 20));
    });
}

// Wide rows, so that the blocks of every CPU level, their heads and tails come into play.
TEST_P(Blur, agreesWithTheModelOnWideRows) {
    forEachCase(60, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.maxWidth = 600;
        options.maxHeight = 5;
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 40, 5));
    });
}

// Images of many rows: as many at once as a filter takes, again and again, and what is left.
TEST_P(Blur, agreesWithTheModelOnHighImages) {
    forEachCase(100, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.maxWidth = 40;
        options.maxHeight = 45;
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 20, 20));
    });
}

// Windows larger than the image, far into its reflections and repetitions.
TEST_P(Blur, agreesWithTheModelWithHugeWindows) {
    forEachCase(25, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.maxWidth = 24;
        options.maxHeight = 10;
        FilterPair pair(random, options);
        checkBlur(pair, drawBlurWindow(random, 101, 101));
    });
}

// One row of every length with every small window: no place in a row is special.
TEST_P(Blur, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 140; ++width) {
        const int channels = GetParam() == MOX_DEPTH_1U ? 1 : random.oneIn(2) ? 3 : random.between(1, 4);
        TestLayout layout = TestLayout::of(GetParam(), width, 3, channels);
        TestImage source(layout, random.next()), destination(layout, random.next());
        drawBorders(random, source, false);
        const RefWindow window = drawBlurWindow(random, 9, 3);
        SCOPED_TRACE(describeWindow(window) + " " + layout.describe());
        const RefResult wanted = refBlur(source, destination, window);
        const TestBytes before = destination.bytes();
        forEachCpuLevel([&] {
            ReportRecorder reports;
            destination.setBytes(before);
            moxBlur(source.header(), destination.header(), window.nCols, window.nRows, window.anchorX, window.anchorY);
            EXPECT_TRUE(reports.none());
            RefResult expected = wanted;
            refAcceptNaNs(destination, &expected);
            EXPECT_TRUE(destination.holds(expected.expected));
        });
        if (HasFailure()) return;
    }
}

// Every window size in one direction and both, over a picture of extremes: sums of every size, and reciprocals that lie
// above and below the true ones.
TEST_P(Blur, isRightWithEveryWindow) {
    Random random(testSeed() + 1);
    for (int size = 2; size <= 66; ++size) {
        for (const RefWindow &window :
             {RefWindow{size, 1, 0, 0}, RefWindow{4 * size - 5, 1, size, 0}, RefWindow{1, size, 0, size / 2},
              RefWindow{size, size, size - 1, size - 1}, RefWindow{size, 3, size / 2, 1}}) {
            TestImage source(TestLayout::of(GetParam(), 40, 3), random.next()),
                destination(TestLayout::of(GetParam(), 40, 3), random.next());
            if (random.oneIn(2)) source.setAll(drawSample(random, GetParam()));
            moxSetBorderMode(source.header(), random.between(1, 3), 15, 0);
            SCOPED_TRACE(describeWindow(window));
            const RefResult wanted = refBlur(source, destination, window);
            const TestBytes before = destination.bytes();
            forEachCpuLevel([&] {
                ReportRecorder reports;
                destination.setBytes(before);
                moxBlur(source.header(), destination.header(), window.nCols, window.nRows, window.anchorX,
                        window.anchorY);
                EXPECT_TRUE(reports.none());
                RefResult expected = wanted;
                refAcceptNaNs(destination, &expected);
                EXPECT_TRUE(destination.holds(expected.expected));
            });
            if (HasFailure()) return;
        }
    }
}

// Sums beyond 16, 24 and 31 bits.
TEST_P(Blur, isRightWithWindowsOfManyThousandPixels) {
    for (const RefWindow &window : {RefWindow{300, 1, 7, 0}, RefWindow{1, 300, 0, 299}, RefWindow{257, 257, 128, 128},
                                    RefWindow{300, 200, 0, 0}}) {
        for (uint32_t sample : {0u, 0xFFFFFFFFu, 0x7F7F7F7Fu, 0x80808080u}) {
            TestLayout layout = TestLayout::of(GetParam(), 20, 4, GetParam() == MOX_DEPTH_1U ? 1 : 3);
            TestImage source(layout, 5), destination(layout, 6);
            const bool isFloat = GetParam() == MOX_DEPTH_32F;
            // Nearly uniform, so that the sums come close to the largest.
            if (!isFloat) source.setAll(sample);
            source.set(0, 3, 1, isFloat ? 0x42C80000u : sample ^ 1);
            moxSetBorderMode(source.header(), MOX_BORDER_WRAP, 15, 0);
            SCOPED_TRACE(describeWindow(window));
            const RefResult wanted = refBlur(source, destination, window);
            const TestBytes before = destination.bytes();
            forEachCpuLevel([&] {
                ReportRecorder reports;
                destination.setBytes(before);
                moxBlur(source.header(), destination.header(), window.nCols, window.nRows, window.anchorX,
                        window.anchorY);
                EXPECT_TRUE(reports.none());
                RefResult expected = wanted;
                refAcceptNaNs(destination, &expected);
                EXPECT_TRUE(destination.holds(expected.expected));
            });
            if (HasFailure()) return;
            if (isFloat) break;
        }
    }
}

}  // namespace
