// moxDecimate, and moxResize where it super-samples, over random layouts and ratios, against the model.
#include "filter/filtercheck.h"
#include "scaling/scalingpair.h"

namespace {

class Decimate : public testing::TestWithParam<unsigned> {
  protected:
    ScalingPairOptions options() const {
        ScalingPairOptions options;
        options.depth = GetParam();
        options.sameOrigin = true;
        options.bothCoi = false;
        options.srcWidth = 90;
        options.srcHeight = 30;
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Decimate, testing::ValuesIn(scalingDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void check(ScalingPair &pair, const RefRatio &ratio, int interpolate, bool resizes = false) {
    SCOPED_TRACE(describeRatio(ratio, interpolate) + "\n" + pair.describe());
    const auto function = resizes && interpolate == MOX_INTER_SUPER ? moxResize : moxDecimate;
    checkCall(pair, refDecimate(pair.src(), pair.dst(), ratio, interpolate), [&] {
        function(pair.src().header(), pair.dst().header(), ratio.xDst, ratio.xSrc, ratio.yDst, ratio.ySrc, interpolate);
    });
}

TEST_P(Decimate, agreesWithTheModelOverRandomLayouts) {
    forEachCase(600, [&](Random &random) {
        ScalingPair pair(random, options());
        check(pair, drawRatio(random, Change::SMALLER), random.below(4), random.oneIn(3));
    });
}

TEST_P(Decimate, agreesWithTheModelOnPlainImages) {
    forEachCase(400, [&](Random &random) {
        ScalingPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        plain.srcWidth = random.oneIn(4) ? 900 : 200;
        plain.dstWidth = random.oneIn(4) ? 900 : 200;
        ScalingPair pair(random, plain);
        check(pair, drawRatio(random, Change::SMALLER), random.below(4));
    });
}

TEST_P(Decimate, agreesWithTheModelOnTiles) {
    forEachCase(250, [&](Random &random) {
        ScalingPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.srcHeight = 70;
        ScalingPair pair(random, tiled);
        check(pair, drawRatio(random, Change::SMALLER), random.below(4));
    });
}

// Sums of many samples, which are rounded on the way.
TEST_P(Decimate, meansOfLargeAreasAreRight) {
    forEachCase(30, [&](Random &random) {
        ScalingPairOptions large = options();
        large.srcWidth = 700;
        large.srcHeight = 60;
        large.exact = true;
        large.dstWidth = random.between(1, 9);
        large.dstHeight = random.between(1, 4);
        ScalingPair pair(random, large);
        check(pair, {large.dstWidth, large.srcWidth, large.dstHeight, large.srcHeight}, MOX_INTER_SUPER);
    });
}

// No place in a row is special.
TEST_P(Decimate, isRightAtEveryWidth) {
    Random random(testSeed());
    for (int width = 1; width <= 150; ++width) {
        SCOPED_TRACE(width);
        ScalingPairOptions exact = options();
        exact.tiled[0] = exact.tiled[1] = 0;
        exact.exact = true;
        exact.dstWidth = width;
        exact.srcWidth = width + random.below(2 * width);
        exact.dstHeight = 5;
        exact.srcHeight = random.between(5, 11);
        ScalingPair pair(random, exact);
        check(pair, {width, exact.srcWidth, 5, exact.srcHeight}, random.below(4));
        if (HasFailure()) return;
    }
}

// Whole factors, for which there may be short ways.
TEST_P(Decimate, isRightByWholeFactors) {
    Random random(testSeed());
    for (int factor = 1; factor <= 8; ++factor) {
        for (int interpolate = 0; interpolate < 4; ++interpolate) {
            for (int repeat = 0; repeat < 6; ++repeat) {
                ScalingPairOptions exact = options();
                exact.tiled[0] = exact.tiled[1] = 0;
                exact.exact = true;
                exact.dstWidth = random.between(1, 90);
                exact.srcWidth = exact.dstWidth * factor + random.below(factor);
                exact.dstHeight = random.between(1, 7);
                exact.srcHeight = exact.dstHeight * factor;
                ScalingPair pair(random, exact);
                check(pair, {1, factor, 1, factor}, interpolate);
                if (HasFailure()) return;
            }
        }
    }
}

// Images smaller than what a kind needs.
TEST_P(Decimate, smallSourcesTakeTheNearestSample) {
    Random random(testSeed());
    for (int width = 1; width <= 6; ++width) {
        for (int height = 1; height <= 6; ++height) {
            for (int interpolate = 0; interpolate < 4; ++interpolate) {
                ScalingPairOptions small = options();
                small.exact = true;
                small.srcWidth = width;
                small.srcHeight = height;
                small.dstWidth = small.dstHeight = 6;
                ScalingPair pair(random, small);
                check(pair, {random.between(2, 3), random.between(3, 5), random.between(3, 4), 4}, interpolate);
                if (HasFailure()) return;
            }
        }
    }
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be.
TEST_P(Decimate, refusedTilesAndMemoryAreReported) {
    forEachCase(25, [&](Random &random) {
        ScalingPairOptions small = options();
        small.srcWidth = small.dstWidth = 50;
        ScalingPair pair(random, small);
        const RefRatio r = drawRatio(random, Change::SMALLER);
        const int interpolate = random.below(4);
        SCOPED_TRACE(describeRatio(r, interpolate) + "\n" + pair.describe());
        const RefResult wanted = refDecimate(pair.src(), pair.dst(), r, interpolate);
        const auto run = [&] {
            moxDecimate(pair.src().header(), pair.dst().header(), r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate);
        };
        checkRefusedTiles(pair, wanted, run, [](const ReportRecorder &reports, int mode) {
            EXPECT_TRUE(reports.are({{-3, "Decimate",
                                      mode == MOX_TileWrite ? "dstImage->tileInfo->callBack crash"
                                                            : "srcImage->tileInfo->callBack crash"}}));
        });
        checkRefusedMemory(pair, wanted, run, [&](const ReportRecorder &reports, int) {
            if (interpolate != MOX_INTER_SUPER) return;
            EXPECT_TRUE(
                reports.are({{-4, "moxDecimate", "Can't create temporary buffer for interpolate = MOX_INTER_SUPER"}}));
        });
    });
}

}  // namespace
