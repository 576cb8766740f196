// Arithmetic on tiles: the exact sequence of requests and releases, and every refusal.
#include "arith/arithcheck.h"

namespace {

class TiledOperation : public testing::TestWithParam<RefOperation> {};

INSTANTIATE_TEST_SUITE_P(Tiles, TiledOperation, testing::ValuesIn(allOperations()),
                         [](const auto &each) { return std::string(each.param.name); });

// What copies has a walk of its own.
unsigned drawDepth(Random &random, const RefOperation &op) {
    for (;;) {
        const unsigned depth = allDepths[random.below(static_cast<int>(std::size(allDepths)))];
        if (op.accepts(depth) && !op.moves(depth)) return depth;
    }
}

SceneOptions tiledOptions(const RefOperation &op, unsigned depth) {
    SceneOptions options = sceneOptions(op, depth);
    options.tiledAlways = true;
    options.maxHeight = 40;
    return options;
}

TEST_P(TiledOperation, asksForTilesInTheOrderOfTheWalk) {
    forEachCase(150, [&](Random &random) {
        const unsigned depth = drawDepth(random, GetParam());
        Scene scene(random, tiledOptions(GetParam(), depth));
        const RefCall call = drawCall(random, GetParam(), depth);
        SCOPED_TRACE(describeCall(call) + "\n" + scene.describe());
        ReportRecorder reports;
        TileLog log;
        refRunLibrary(call, callImages(scene));
        EXPECT_TRUE(log.is(refTileWalk(callImages(scene))));
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(reports.none());
    });
}

// Every request in turn: one report, no further callback, and what was done before stays.
TEST_P(TiledOperation, stopsAtEveryRefusedTile) {
    forEachCase(25, [&](Random &random) {
        const unsigned depth = drawDepth(random, GetParam());
        SceneOptions options = tiledOptions(GetParam(), depth);
        options.maxWidth = 48;
        options.maxHeight = 24;
        Scene scene(random, options);
        const std::vector<TestImage *> images = callImages(scene);
        const RefCall call = drawCall(random, GetParam(), depth);
        SCOPED_TRACE(describeCall(call) + "\n" + scene.describe());
        scene.keep();
        const RefResult wanted = refPoint(call, images);
        const TestBytes before = images.back()->bytes();
        int requests = 0;
        for (const TileEvent &event : refTileWalk(images))
            requests += event.mode != MOX_TileRelease;
        // A call that became another one reports under that name; a header fault shows which.
        std::string name;
        {
            ReportRecorder reports;
            images.back()->header()->origin = 9;
            refRunLibrary(call, images);
            images.back()->header()->origin = images.back()->layout().origin;
            ASSERT_EQ(reports.seen.size(), 1u);
            name = reports.seen[0].function;
        }
        for (int refuseAt = 1; refuseAt <= requests; ++refuseAt) {
            SCOPED_TRACE("refused request " + std::to_string(refuseAt));
            ReportRecorder reports;
            TileLog log(refuseAt);
            AllocationWindow window;
            refRunLibrary(call, images);
            window.close();
            EXPECT_TRUE(log.is(refTileWalkUpTo(images, refuseAt)));
            EXPECT_EQ(log.eventsAfterRefusal(), 0);
            EXPECT_TRUE(log.clean());
            EXPECT_EQ(window.live(), 0) << "a temporary mask stayed behind";
            // A source that is the destination is the destination; the destination alone is requested for writing.
            const bool isDestination = log.events.back().mode == MOX_TileWrite;
            std::string message =
                isDestination ? "(dstImage->tileInfo->tileData == 0)" : "(srcImage->tileInfo->tileData == 0)";
            if (!isDestination && GetParam().sources == 2) {
                const bool isA = log.refusedImage() == images[0];
                message = isA ? "(srcImageA->tileInfo->tileData == 0)" : "(srcImageB->tileInfo->tileData == 0)";
                // The same header twice: the tiles of B are requested after those of A.
                if (isA && images[1] == images[0] && reports.seen.size() == 1) message = reports.seen[0].message;
            }
            EXPECT_TRUE(reports.are({{-5, name.c_str(), message.c_str()}}));
            EXPECT_EQ(moxGetErrStatus(), -5);
            for (TestImage *image : images)
                image->abandonTiles();
            // Each sample is either as before or done.
            const TestBytes &now = images.back()->bytes();
            const TestLayout &layout = images.back()->layout();
            for (int y = 0; y < layout.height; ++y) {
                for (int x = 0; x < layout.width; ++x) {
                    for (int c = 0; c < layout.channels; ++c) {
                        const uint32_t sample = images.back()->getIn(now, c, x, y);
                        ASSERT_TRUE(sample == images.back()->getIn(before, c, x, y) ||
                                    sample == images.back()->getIn(wanted.expected, c, x, y));
                    }
                }
            }
            scene.restore();
            if (HasFailure()) return;
        }
    });
}

// Requests of one image twice: each has its own walk, A before B.
TEST(TileWalk, sameSourceTwiceIsWalkedTwice) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 16, 8);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage a(layout, 1), d(TestLayout::of(MOX_DEPTH_8U, 16, 8), 2);
    ReportRecorder reports;
    TileLog log;
    moxAdd(a.header(), a.header(), d.header());
    EXPECT_TRUE(log.is({{&a, MOX_TileRead, 0, 0},
                        {&a, MOX_TileRead, 0, 0},
                        {&a, MOX_TileRelease, 0, 0},
                        {&a, MOX_TileRead, 1, 0},
                        {&a, MOX_TileRelease, 0, 0},
                        {&a, MOX_TileRead, 1, 0},
                        {&a, MOX_TileRelease, 1, 0},
                        {&a, MOX_TileRelease, 1, 0}}));
    EXPECT_TRUE(log.paired());
}

TEST(TileWalk, refusedTileOfTheSameSourceTwiceNamesTheRightOne) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 16, 8);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage a(layout, 1), d(TestLayout::of(MOX_DEPTH_8U, 16, 8), 2);
    const char *messages[] = {"(srcImageA->tileInfo->tileData == 0)", "(srcImageB->tileInfo->tileData == 0)"};
    for (int refuseAt = 1; refuseAt <= 4; ++refuseAt) {
        ReportRecorder reports;
        TileLog log(refuseAt);
        moxOr(a.header(), a.header(), d.header());
        EXPECT_TRUE(reports.are({{-5, "moxOr", messages[(refuseAt - 1) % 2]}}));
        a.abandonTiles();
    }
}

TEST(TileWalk, destinationThatIsASourceIsFetchedOnceForWriting) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 20, 10, 3, MOX_DATA_ORDER_PLANE);
    layout.tileWidth = 16;
    layout.tileHeight = 8;
    layout.transientTiles = true;
    layout.setRoi(0, 4, 3, 14, 6);
    TestImage d(layout, 1);
    const RefResult wanted = refPoint(pointOperation("moxAdd"), {&d, &d, &d});
    ReportRecorder reports;
    TileLog log;
    moxAdd(d.header(), d.header(), d.header());
    EXPECT_TRUE(log.is({{&d, MOX_TileWrite, 0, 0},
                        {&d, MOX_TileRelease, 0, 0},
                        {&d, MOX_TileWrite, 1, 0},
                        {&d, MOX_TileRelease, 1, 0},
                        {&d, MOX_TileWrite, 0, 1},
                        {&d, MOX_TileRelease, 0, 1},
                        {&d, MOX_TileWrite, 1, 1},
                        {&d, MOX_TileRelease, 1, 1}}));
    EXPECT_TRUE(d.holds(wanted.expected));
}

TEST(TileWalk, gridsThatDisagreeAskAgainInEveryStrip) {
    TestLayout coarse = TestLayout::of(MOX_DEPTH_8U, 16, 16), fine = coarse;
    coarse.tileWidth = coarse.tileHeight = 16;
    fine.tileWidth = fine.tileHeight = 8;
    TestImage a(coarse, 1), d(fine, 2);
    const RefResult wanted = refPoint(pointOperation("moxNot"), {&a, &d});
    ReportRecorder reports;
    TileLog log;
    moxNot(a.header(), d.header());
    EXPECT_TRUE(log.is({{&a, MOX_TileRead, 0, 0},
                        {&d, MOX_TileWrite, 0, 0},
                        {&d, MOX_TileRelease, 0, 0},
                        {&d, MOX_TileWrite, 1, 0},
                        {&a, MOX_TileRelease, 0, 0},
                        {&d, MOX_TileRelease, 1, 0},
                        {&a, MOX_TileRead, 0, 0},
                        {&d, MOX_TileWrite, 0, 1},
                        {&d, MOX_TileRelease, 0, 1},
                        {&d, MOX_TileWrite, 1, 1},
                        {&a, MOX_TileRelease, 0, 0},
                        {&d, MOX_TileRelease, 1, 1}}));
    EXPECT_TRUE(d.holds(wanted.expected));
}

TEST(TileWalk, emptyRegionAsksForNothing) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 16, 16);
    layout.tileWidth = layout.tileHeight = 8;
    TestLayout away = layout;
    away.setRoi(0, 16, 0, 4, 4);
    TestImage a(layout, 1), d(away, 2);
    ReportRecorder reports;
    TileLog log;
    moxAdd(a.header(), a.header(), d.header());
    moxNot(a.header(), d.header());
    moxAbs(a.header(), d.header());
    EXPECT_TRUE(log.is({}));
    EXPECT_TRUE(reports.none());
}

TEST(TileWalk, refusedChecksAskForNothing) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 16, 16), three = TestLayout::of(MOX_DEPTH_8U, 16, 16, 3);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage a(layout, 1), d(three, 2);
    ReportRecorder reports;
    TileLog log;
    moxAdd(a.header(), a.header(), d.header());
    EXPECT_TRUE(log.is({}));
    EXPECT_EQ(reports.seen.size(), 1u);
}

}  // namespace
