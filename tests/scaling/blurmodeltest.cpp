// moxDecimateBlur over random layouts, ratios and sizes of neighbourhoods, against the model.
#include "filter/filtercheck.h"
#include "scaling/scalingpair.h"

namespace {

class DecimateBlur : public testing::TestWithParam<unsigned> {
  protected:
    ScalingPairOptions options() const {
        ScalingPairOptions options;
        options.depth = GetParam();
        options.sameAlpha = true;
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, DecimateBlur, testing::ValuesIn(scalingDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

struct BlurCall {
    RefRatio ratio;
    int interpolate, xMaskSize, yMaskSize;
};

BlurCall drawCall(Random &random, int largest) {
    BlurCall call = {drawRatio(random, Change::SMALLER), random.below(3), 0, 0};
    call.xMaskSize = random.below(largest + 1);
    call.yMaskSize = random.below(largest + 1);
    return call;
}

void check(ScalingPair &pair, const BlurCall &call) {
    const RefRatio &r = call.ratio;
    SCOPED_TRACE(describeRatio(r, call.interpolate) + " mask " + std::to_string(call.xMaskSize) + " x " +
                 std::to_string(call.yMaskSize) + "\n" + pair.describe());
    checkCall(pair, refDecimateBlur(pair.src(), pair.dst(), r, call.interpolate, call.xMaskSize, call.yMaskSize), [&] {
        moxDecimateBlur(pair.src().header(), pair.dst().header(), r.xDst, r.xSrc, r.yDst, r.ySrc, call.interpolate,
                        call.xMaskSize, call.yMaskSize);
    });
}

TEST_P(DecimateBlur, agreesWithTheModelOverRandomLayouts) {
    forEachCase(400, [&](Random &random) {
        ScalingPairOptions layouts = options();
        layouts.moderate = !random.oneIn(4);
        ScalingPair pair(random, layouts);
        check(pair, drawCall(random, 7));
    });
}

TEST_P(DecimateBlur, agreesWithTheModelOnPlainImages) {
    forEachCase(200, [&](Random &random) {
        ScalingPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        plain.srcWidth = random.oneIn(4) ? 500 : 100;
        plain.dstWidth = 200;
        ScalingPair pair(random, plain);
        check(pair, drawCall(random, random.oneIn(5) ? 40 : 6));
    });
}

TEST_P(DecimateBlur, agreesWithTheModelOnTiles) {
    forEachCase(150, [&](Random &random) {
        ScalingPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.srcWidth = 90;
        tiled.srcHeight = 60;
        ScalingPair pair(random, tiled);
        check(pair, drawCall(random, 9));
    });
}

// Neighbourhoods that reach far beyond the region on every side.
TEST_P(DecimateBlur, neighbourhoodsMayBeOfAnySize) {
    for (const int size : {1, 2, 3, 61, 1000, 2147483647}) {
        for (int interpolate = 0; interpolate < 3; ++interpolate) {
            Random random(static_cast<uint64_t>(size));
            ScalingPairOptions small = options();
            small.srcWidth = 40;
            small.srcHeight = 20;
            ScalingPair pair(random, small);
            check(pair, {{3, 4, 2, 3}, interpolate, size, random.oneIn(2) ? size : 2});
            if (HasFailure()) return;
        }
    }
}

// No place in a row is special.
TEST_P(DecimateBlur, isRightAtEveryWidth) {
    Random random(testSeed());
    for (int width = 1; width <= 100; ++width) {
        SCOPED_TRACE(width);
        ScalingPairOptions exact = options();
        exact.tiled[0] = exact.tiled[1] = 0;
        exact.exact = true;
        exact.srcWidth = exact.dstWidth = width;
        exact.srcHeight = exact.dstHeight = 9;
        ScalingPair pair(random, exact);
        check(pair, drawCall(random, 5));
        if (HasFailure()) return;
    }
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be.
TEST_P(DecimateBlur, refusedTilesAndMemoryAreReported) {
    forEachCase(25, [&](Random &random) {
        ScalingPairOptions small = options();
        small.srcWidth = small.dstWidth = 40;
        ScalingPair pair(random, small);
        const BlurCall call = drawCall(random, 5);
        const RefRatio &r = call.ratio;
        SCOPED_TRACE(describeRatio(r, call.interpolate) + " mask " + std::to_string(call.xMaskSize) + " x " +
                     std::to_string(call.yMaskSize) + "\n" + pair.describe());
        const RefResult wanted =
            refDecimateBlur(pair.src(), pair.dst(), r, call.interpolate, call.xMaskSize, call.yMaskSize);
        const auto run = [&] {
            moxDecimateBlur(pair.src().header(), pair.dst().header(), r.xDst, r.xSrc, r.yDst, r.ySrc, call.interpolate,
                            call.xMaskSize, call.yMaskSize);
        };
        checkRefusedTiles(pair, wanted, run, [](const ReportRecorder &reports, int mode) {
            if (mode == MOX_TileWrite) {
                EXPECT_TRUE(reports.are({{-2, "moxDecimateBlur", "Error get tile to write"}}));
            } else {
                EXPECT_TRUE(reports.are({{-1, "moxDecimateBlur", ""}}));
            }
        });
        checkRefusedMemory(pair, wanted, run, [](const ReportRecorder &reports, int) {
            EXPECT_TRUE(reports.are({{-1, "moxDecimateBlur", ""}}));
        });
    });
}

}  // namespace
