// moxZoom and moxResize over random layouts and ratios, against the model.
#include "filter/filtercheck.h"
#include "scaling/scalingpair.h"

namespace {

class Zoom : public testing::TestWithParam<unsigned> {
  protected:
    ScalingPairOptions options() const {
        ScalingPairOptions options;
        options.depth = GetParam();
        options.equalCoi = true;
        options.srcWidth = 30;
        options.srcHeight = 14;
        options.dstWidth = 90;
        options.dstHeight = 30;
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Zoom, testing::ValuesIn(scalingDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

using ZoomFunction = void(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int, int);

void check(ScalingPair &pair, ZoomFunction function, const RefRatio &ratio, int interpolate) {
    SCOPED_TRACE(describeRatio(ratio, interpolate) + "\n" + pair.describe());
    checkCall(pair, refZoom(pair.src(), pair.dst(), ratio, interpolate), [&] {
        function(pair.src().header(), pair.dst().header(), ratio.xDst, ratio.xSrc, ratio.yDst, ratio.ySrc, interpolate);
    });
}

void checkAny(Random &random, ScalingPair &pair) {
    const bool zooms = random.oneIn(2);
    check(pair, zooms ? moxZoom : moxResize, drawRatio(random, zooms ? Change::LARGER : Change::ANY), random.below(3));
}

TEST_P(Zoom, agreesWithTheModelOverRandomLayouts) {
    forEachCase(500, [&](Random &random) {
        ScalingPairOptions layouts = options();
        layouts.moderate = !random.oneIn(4);
        ScalingPair pair(random, layouts);
        checkAny(random, pair);
    });
}

TEST_P(Zoom, agreesWithTheModelOnPlainImages) {
    forEachCase(300, [&](Random &random) {
        ScalingPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        plain.srcWidth = random.between(1, 120);
        plain.dstWidth = random.oneIn(4) ? 700 : 120;
        ScalingPair pair(random, plain);
        checkAny(random, pair);
    });
}

TEST_P(Zoom, agreesWithTheModelOnTiles) {
    forEachCase(200, [&](Random &random) {
        ScalingPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.srcWidth = 60;
        tiled.srcHeight = 40;
        tiled.dstHeight = 60;
        ScalingPair pair(random, tiled);
        checkAny(random, pair);
    });
}

// Images smaller than what a kind needs.
TEST_P(Zoom, smallSourcesTakeSimplerKinds) {
    Random random(testSeed());
    for (int width = 1; width <= 5; ++width) {
        for (int height = 1; height <= 5; ++height) {
            for (int interpolate = 0; interpolate < 3; ++interpolate) {
                ScalingPairOptions small = options();
                small.exact = true;
                small.srcWidth = width;
                small.srcHeight = height;
                small.dstWidth = 23;
                small.dstHeight = 17;
                ScalingPair pair(random, small);
                check(pair, moxZoom, {random.between(7, 23), random.between(1, 7), random.between(7, 23), 5},
                      interpolate);
                if (HasFailure()) return;
            }
        }
    }
}

// No place in a row is special, and no number of pixels for each sample.
TEST_P(Zoom, isRightAtEveryWidth) {
    Random random(testSeed());
    for (int width = 1; width <= 150; ++width) {
        SCOPED_TRACE(width);
        ScalingPairOptions exact = options();
        exact.tiled[0] = exact.tiled[1] = 0;
        exact.exact = true;
        exact.srcWidth = random.between(1, width);
        exact.srcHeight = random.between(1, 6);
        exact.dstWidth = width;
        exact.dstHeight = 7;
        ScalingPair pair(random, exact);
        check(pair, moxZoom, {width, exact.srcWidth, 7, exact.srcHeight}, random.below(3));
        if (HasFailure()) return;
    }
}

// Two to eight times larger, for which there may be short ways.
TEST_P(Zoom, isRightByWholeFactors) {
    Random random(testSeed());
    for (int factor = 1; factor <= 8; ++factor) {
        for (int interpolate = 0; interpolate < 3; ++interpolate) {
            for (int repeat = 0; repeat < 6; ++repeat) {
                ScalingPairOptions exact = options();
                exact.tiled[0] = exact.tiled[1] = 0;
                exact.exact = true;
                exact.srcWidth = random.between(1, 60);
                exact.srcHeight = random.between(1, 6);
                exact.dstWidth = exact.srcWidth * factor;
                exact.dstHeight = exact.srcHeight * factor;
                ScalingPair pair(random, exact);
                check(pair, moxZoom, {factor, 1, factor, 1}, interpolate);
                if (HasFailure()) return;
            }
        }
    }
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be.
TEST_P(Zoom, refusedTilesAndMemoryAreReported) {
    forEachCase(25, [&](Random &random) {
        ScalingPairOptions small = options();
        small.dstWidth = 40;
        ScalingPair pair(random, small);
        const bool zooms = random.oneIn(2);
        const char *name = zooms ? "moxZoom" : "moxResize";
        const RefRatio r = drawRatio(random, zooms ? Change::LARGER : Change::ANY);
        const int interpolate = random.below(3);
        SCOPED_TRACE(describeRatio(r, interpolate) + "\n" + pair.describe());
        const RefResult wanted = refZoom(pair.src(), pair.dst(), r, interpolate);
        const auto run = [&] {
            (zooms ? moxZoom : moxResize)(pair.src().header(), pair.dst().header(), r.xDst, r.xSrc, r.yDst, r.ySrc,
                                          interpolate);
        };
        checkRefusedTiles(pair, wanted, run, [&](const ReportRecorder &reports, int mode) {
            ASSERT_FALSE(reports.seen.empty());
            if (mode == MOX_TileWrite) {
                EXPECT_TRUE(reports.are({{-2, "moxZoom", "Error get tile to write"}, {-1, name, ""}}));
            } else {
                EXPECT_EQ(reports.seen.back().status, -1) << reports.text();
                EXPECT_EQ(reports.seen.back().function, name);
                EXPECT_EQ(reports.seen.back().message, "");
            }
        });
        checkRefusedMemory(pair, wanted, run, [&](const ReportRecorder &reports, int) {
            ASSERT_FALSE(reports.seen.empty());
            EXPECT_EQ(reports.seen.back().status, -1) << reports.text();
            EXPECT_EQ(reports.seen.back().function, name);
            EXPECT_EQ(reports.seen.back().message, "");
        });
    });
}

}  // namespace
