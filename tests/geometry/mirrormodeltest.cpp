// Mirror images over random layouts, against the model.
#include "filter/filtercheck.h"
#include "geometry/mirrorpair.h"
#include "reference/geometry.h"

namespace {

class Mirror : public testing::TestWithParam<unsigned> {
  protected:
    MirrorPairOptions options() const {
        MirrorPairOptions options;
        options.depth = GetParam();
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Mirror, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void check(MirrorPair &pair, int flipAxis) {
    SCOPED_TRACE("axis " + std::to_string(flipAxis) + "\n" + pair.describe());
    checkCall(pair, refMirror(pair.src(), pair.dst(), flipAxis),
              [&] { moxMirror(pair.src().header(), pair.dst().header(), flipAxis); });
}

TEST_P(Mirror, agreesWithTheModelOverRandomLayouts) {
    forEachCase(600, [&](Random &random) {
        MirrorPair pair(random, options());
        check(pair, random.between(-1, 1));
    });
}

TEST_P(Mirror, agreesWithTheModelOnPlainImages) {
    forEachCase(400, [&](Random &random) {
        MirrorPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        plain.maxWidth = random.oneIn(4) ? 700 : 90;
        plain.maxHeight = 8;
        MirrorPair pair(random, plain);
        check(pair, random.between(-1, 1));
    });
}

TEST_P(Mirror, agreesWithTheModelOnTiles) {
    forEachCase(200, [&](Random &random) {
        MirrorPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.inPlace = 0;
        tiled.maxWidth = 80;
        tiled.maxHeight = 50;
        MirrorPair pair(random, tiled);
        check(pair, random.between(-1, 1));
    });
}

TEST_P(Mirror, agreesWithTheModelInPlaceOnTiles) {
    forEachCase(200, [&](Random &random) {
        MirrorPairOptions tiled = options();
        tiled.tiled[0] = 1;
        tiled.inPlace = 1;
        tiled.maxWidth = 80;
        tiled.maxHeight = 50;
        MirrorPair pair(random, tiled);
        check(pair, random.between(-1, 1));
    });
}

// No place in a row is special, in place or not.
TEST_P(Mirror, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 160; ++width) {
        SCOPED_TRACE(width);
        for (int inPlace = 0; inPlace < 2; ++inPlace) {
            MirrorPairOptions exact = options();
            exact.tiled[0] = exact.tiled[1] = 0;
            exact.inPlace = inPlace;
            exact.maxWidth = width;
            exact.maxHeight = 3;
            MirrorPair pair(random, exact);
            check(pair, random.oneIn(2) ? 1 : -1);
        }
        if (HasFailure()) return;
    }
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be.
TEST_P(Mirror, refusedTilesAndMemoryAreReported) {
    forEachCase(25, [&](Random &random) {
        MirrorPairOptions small = options();
        small.maxWidth = 30;
        MirrorPair pair(random, small);
        const int flipAxis = random.between(-1, 1);
        SCOPED_TRACE("axis " + std::to_string(flipAxis) + "\n" + pair.describe());
        const RefResult wanted = refMirror(pair.src(), pair.dst(), flipAxis);
        const auto call = [&] { moxMirror(pair.src().header(), pair.dst().header(), flipAxis); };
        checkRefusedTiles(pair, wanted, call, [](const ReportRecorder &reports, int mode) {
            EXPECT_TRUE(reports.are(
                {{-2, "moxMirror", mode == MOX_TileWrite ? "Error get tile to write" : "Error get tile to read"}}));
        });
        // The combined mask is an image that is allocated, which reports by itself before.
        checkRefusedMemory(pair, wanted, call, [](const ReportRecorder &reports, int) {
            ASSERT_FALSE(reports.seen.empty());
            ASSERT_LE(reports.seen.size(), 2u);
            EXPECT_EQ(reports.seen.back().function, "moxMirror");
            const std::string &message = reports.seen.back().message;
            EXPECT_TRUE(message == "Out of memory" || message == "Error get tile to read") << message;
            EXPECT_EQ(reports.seen.back().status, message == "Out of memory" ? -4 : -2);
        });
    });
}

}  // namespace
