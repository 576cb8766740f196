// Remapping over random layouts and maps, against the model.
#include "filter/filtercheck.h"
#include "geometry/warppair.h"

namespace {

class Remap : public testing::TestWithParam<unsigned> {
  protected:
    WarpPairOptions options() const {
        WarpPairOptions options;
        options.depth = GetParam();
        options.leastSource = 1;
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Remap, testing::ValuesIn(warpDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void check(RemapSet &set, int interpolate) {
    SCOPED_TRACE("interpolate " + std::to_string(interpolate) + "\n" + set.describe());
    checkCall(set, refRemap(set.src(), set.xMap(), set.yMap(), set.dst(), interpolate), [&] {
        moxRemap(set.src().header(), set.xMap().header(), set.yMap().header(), set.dst().header(), interpolate);
    });
}

TEST_P(Remap, agreesWithTheModelOnPlainImages) {
    forEachCase(300, [&](Random &random) {
        WarpPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        if (random.oneIn(4)) plain.maxWidth = 200;
        RemapSet set(random, plain, 0);
        check(set, drawInterpolate(random, true));
    });
}

TEST_P(Remap, agreesWithTheModelOnTiles) {
    forEachCase(150, [&](Random &random) {
        WarpPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = random.below(2);
        tiled.maxWidth = 70;
        tiled.maxHeight = 40;
        RemapSet set(random, tiled, tiled.tiled[0] + tiled.tiled[1] == 0 ? 1 : -1);
        check(set, drawInterpolate(random, true));
    });
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be.
TEST_P(Remap, refusedTilesAndMemoryAreReported) {
    forEachCase(25, [&](Random &random) {
        WarpPairOptions small = options();
        small.maxWidth = 30;
        RemapSet set(random, small, -1);
        const int interpolate = drawInterpolate(random, true);
        SCOPED_TRACE("interpolate " + std::to_string(interpolate) + "\n" + set.describe());
        const RefResult wanted = refRemap(set.src(), set.xMap(), set.yMap(), set.dst(), interpolate);
        const auto call = [&] {
            moxRemap(set.src().header(), set.xMap().header(), set.yMap().header(), set.dst().header(), interpolate);
        };
        checkRefusedTiles(set, wanted, call, [](const ReportRecorder &reports, int mode) {
            if (mode == MOX_TileWrite) {
                EXPECT_TRUE(reports.are({{-2, "moxRemap", "Error get tile to write"}}));
            } else {
                EXPECT_TRUE(reports.are({{-1, "moxRemap", ""}}));
            }
        });
        checkRefusedMemory(set, wanted, call, [](const ReportRecorder &reports, int) {
            EXPECT_TRUE(reports.are({{-1, "moxRemap", ""}}));
        });
    });
}

}  // namespace
