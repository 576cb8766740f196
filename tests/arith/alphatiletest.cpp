// The operations with opacities on tiles: blocks, the order of requests and releases, and what is reported where they
// fail.
#include "arith/alphacheck.h"

namespace {

const RefRule PLUS = {MOX_COMPOSITE_PLUS, 1, 0};

TestLayout tiles(int width, int height, int tileWidth, int tileHeight, int channels = 2) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, width, height, channels);
    layout.alpha = channels;
    layout.tileWidth = tileWidth;
    layout.tileHeight = tileHeight;
    layout.transientTiles = true;
    return layout;
}
TestLayout plain(int width, int height) {
    TestLayout layout = tiles(width, height, 0, 0);
    layout.transientTiles = false;
    return layout;
}

// A composition whose events are told, and hold to the model.
void expectEvents(const RefComposite &call, const std::vector<TileEvent> &events) {
    EXPECT_TRUE(TileLog::current() == nullptr);
    std::vector<TestImage *> images;
    for (TestImage *image : call.given()) {
        if (std::find(images.begin(), images.end(), image) == images.end()) images.push_back(image);
    }
    checkAlphaCall(images, refComposite(call), events, [&] { runComposite(call); });
}

// Every block lies within one tile of the master: the first is what the region leaves of its tile.
TEST(AlphaTiles, blocksFollowTheTilesOfTheDestination) {
    TestLayout layout = tiles(48, 16, 16, 8);
    layout.setRoi(0, 5, 3, 33, 9);
    TestImage a(plain(40, 10), 1), b(plain(40, 10), 2), d(layout, 3);
    const RefComposite call = {&a, &b, &d, PLUS};
    const RefSession session = refCompositeSession(call);
    ASSERT_EQ(session.done.size(), 6u);
    const int widths[] = {11, 16, 6}, heights[] = {5, 4};
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(session.done[i].width, widths[i % 3]);
        EXPECT_EQ(session.done[i].height, heights[i / 3]);
    }
    const int write = MOX_TileWrite, release = MOX_TileRelease;
    expectEvents(call, {{&d, write, 0, 0},
                        {&d, release, 0, 0},
                        {&d, write, 1, 0},
                        {&d, release, 1, 0},
                        {&d, write, 2, 0},
                        {&d, release, 2, 0},
                        {&d, write, 0, 1},
                        {&d, release, 0, 1},
                        {&d, write, 1, 1},
                        {&d, release, 1, 1},
                        {&d, write, 2, 1},
                        {&d, release, 2, 1}});
}

// The destination, the output's opacity, the sources, their opacities.
TEST(AlphaTiles, areTakenImageByImageAndReleasedLikewise) {
    const TestLayout layout = tiles(16, 8, 16, 8);
    TestImage a(layout, 1), b(layout, 2), d(layout, 3), alphaA(layout, 4), alphaB(layout, 5), out(layout, 6);
    const int read = MOX_TileRead, write = MOX_TileWrite, release = MOX_TileRelease;
    expectEvents({&a, &b, &d, PLUS, &alphaA, &alphaB, &out}, {{&d, write, 0, 0},
                                                              {&out, write, 0, 0},
                                                              {&a, read, 0, 0},
                                                              {&b, read, 0, 0},
                                                              {&alphaA, read, 0, 0},
                                                              {&alphaB, read, 0, 0},
                                                              {&d, release, 0, 0},
                                                              {&out, release, 0, 0},
                                                              {&a, release, 0, 0},
                                                              {&b, release, 0, 0},
                                                              {&alphaA, release, 0, 0},
                                                              {&alphaB, release, 0, 0}});
}

// Of the first tiled image: destination, output's opacity, A, B, opacities of A and B.
TEST(AlphaTiles, theFirstTiledImageGivesTheBlocks) {
    for (size_t which = 0; which < 6; ++which) {
        std::vector<std::unique_ptr<TestImage>> images;
        for (size_t i = 0; i < 6; ++i) {
            const bool tiled = i >= which;
            images.push_back(std::make_unique<TestImage>(
                tiled ? tiles(64, 32, 8 * static_cast<int>(i + 1), 8 + 8 * static_cast<int>(i % 2)) : plain(64, 32),
                i + 1));
        }
        const RefComposite call = {images[2].get(), images[3].get(), images[0].get(), PLUS,
                                   images[4].get(), images[5].get(), images[1].get()};
        const RefSession session = refCompositeSession(call);
        EXPECT_EQ(session.done.front().width, images[which]->layout().tileWidth);
        EXPECT_EQ(session.done.front().height, images[which]->layout().tileHeight);
        expectEvents(call, session.events);
    }
    // Of the others the destination and the sources in their order.
    TestImage a(tiles(40, 20, 16, 8), 1), b(tiles(40, 20, 24, 16), 2), d(plain(40, 20), 3);
    const RefSession session = refSession(d, {&a, &b});
    EXPECT_EQ(session.done.front().width, 16);
    checkAlphaCall({&a, &b, &d}, refCompositeC(a, b, d, PLUS, 1, 2), session.events,
                   [&] { moxAlphaCompositeC(a.header(), b.header(), d.header(), MOX_COMPOSITE_PLUS, 1, 2, 1, 0); });
    checkAlphaCall({&a, &b, &d}, refMultiplyScale(a, b, d), session.events,
                   [&] { moxMultiplyScale(a.header(), b.header(), d.header()); });
}

// Its tiles come row by row, together, and go back in the same order.
TEST(AlphaTiles, aBlockMayStraddleThoseOfAnotherImage) {
    TestLayout shifted = tiles(24, 24, 8, 8);
    shifted.setRoi(0, 5, 4, 16, 8);
    TestImage a(shifted, 1), b(plain(16, 8), 2), d(tiles(16, 8, 16, 8), 3);
    const int read = MOX_TileRead, write = MOX_TileWrite, release = MOX_TileRelease;
    expectEvents({&a, &b, &d, PLUS}, {{&d, write, 0, 0},
                                      {&a, read, 0, 0},
                                      {&a, read, 1, 0},
                                      {&a, read, 2, 0},
                                      {&a, read, 0, 1},
                                      {&a, read, 1, 1},
                                      {&a, read, 2, 1},
                                      {&d, release, 0, 0},
                                      {&a, release, 0, 0},
                                      {&a, release, 1, 0},
                                      {&a, release, 2, 0},
                                      {&a, release, 0, 1},
                                      {&a, release, 1, 1},
                                      {&a, release, 2, 1}});
}

// The output's opacity is put back into them, channels that are not its own as they were.
TEST(AlphaTiles, anOutputMayStraddleThemToo) {
    TestLayout shifted = tiles(24, 24, 8, 8, 3);
    shifted.setRoi(2, 5, 4, 16, 8);
    TestImage a(plain(16, 8), 1), b(plain(16, 8), 2), d(tiles(16, 8, 16, 8), 3), out(shifted, 4),
        mask(TestLayout::ofMask(24, 24), 5);
    out.setMask(&mask);
    const RefComposite call = {&a, &b, &d, PLUS, nullptr, nullptr, &out};
    const RefSession session = refCompositeSession(call);
    EXPECT_EQ(session.events[1], (TileEvent{&out, MOX_TileWrite, 0, 0}));
    expectEvents(call, session.events);
}

TEST(AlphaTiles, anImageThatComesTwiceIsTakenOnceInItsFirstMode) {
    const int read = MOX_TileRead, write = MOX_TileWrite, release = MOX_TileRelease;
    const TestLayout layout = tiles(16, 8, 16, 8);
    TestImage a(layout, 1), b(layout, 2), d(layout, 3);
    expectEvents({&d, &d, &d, PLUS, &d, &d, &d}, {{&d, write, 0, 0}, {&d, release, 0, 0}});
    expectEvents({&a, &a, &d, PLUS, nullptr, &a},
                 {{&d, write, 0, 0}, {&a, read, 0, 0}, {&d, release, 0, 0}, {&a, release, 0, 0}});
    expectEvents({&a, &b, &d, PLUS, nullptr, nullptr, &b}, {{&d, write, 0, 0},
                                                            {&b, write, 0, 0},
                                                            {&a, read, 0, 0},
                                                            {&d, release, 0, 0},
                                                            {&b, release, 0, 0},
                                                            {&a, release, 0, 0}});
    // Also where it straddles: in both parts it is the same.
    TestLayout shifted = tiles(24, 24, 8, 8);
    shifted.setRoi(0, 5, 4, 16, 8);
    TestImage s(shifted, 4);
    const RefComposite twice = {&s, &b, &d, {MOX_COMPOSITE_OVER, 0, 0}, nullptr, nullptr, &s};
    expectEvents(twice, refCompositeSession(twice).events);
}

TEST(AlphaTiles, noneIsAskedForInAnEmptyRegion) {
    TestLayout layout = tiles(16, 8, 16, 8);
    layout.setRoi(0, 0, 8, 16, 8);
    TestImage a(tiles(16, 8, 8, 8), 1), d(layout, 3);
    expectEvents({&a, &a, &d, PLUS}, {});
}

// Every request in turn.
class RefusedTile : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(AlphaTiles, RefusedTile, testing::ValuesIn(alphaDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

AlphaSceneOptions tiledOptions(unsigned depth) {
    AlphaSceneOptions options;
    options.depth = depth;
    options.tiled = 1;
    options.maxWidth = 45;
    options.maxHeight = 24;
    return options;
}

int requestsOf(const RefSession &session) {
    int requests = 0;
    for (const TileEvent &event : session.events)
        requests += event.mode != MOX_TileRelease;
    return requests;
}

TEST_P(RefusedTile, endsACompositionBehindTheBlocksThatWereDone) {
    forEachCase(40, [&](Random &random) {
        AlphaScene scene(random, tiledOptions(GetParam()));
        const RefComposite call = {scene.a,      scene.b,      scene.dst,     drawRule(random),
                                   scene.alphaA, scene.alphaB, scene.alphaDst};
        SCOPED_TRACE(describeRule(call.rule) + "\n" + scene.describe());
        const RefWrites wanted = refComposite(call);
        const int requests = requestsOf(refCompositeSession(call));
        for (int refuseAt = 1; refuseAt <= requests && !HasFailure(); ++refuseAt) {
            checkRefusedTile(scene.images(), wanted, refCompositeSession(call, refuseAt), refuseAt, "moxAlphaComposite",
                             [&] { runComposite(call); });
        }
    });
}

TEST_P(RefusedTile, endsTheOthersLikewise) {
    forEachCase(30, [&](Random &random) {
        AlphaSceneOptions options = tiledOptions(GetParam());
        options.composes = false;
        options.needsAlphaA = true;
        AlphaScene scene(random, options);
        SCOPED_TRACE(scene.describe());
        const RefRule rule = drawRule(random);
        const RefWrites wanted = refCompositeC(*scene.a, *scene.b, *scene.dst, rule, -1, 99);
        const int requests = requestsOf(refSession(*scene.dst, {scene.a, scene.b}));
        for (int refuseAt = 1; refuseAt <= requests && !HasFailure(); ++refuseAt) {
            checkRefusedTile(scene.images(), wanted, refSession(*scene.dst, {scene.a, scene.b}, refuseAt), refuseAt,
                             "moxAlphaCompositeC", [&] {
                                 moxAlphaCompositeC(scene.a->header(), scene.b->header(), scene.dst->header(),
                                                    rule.type, -1, 99, rule.premulAlpha, rule.divideMode);
                             });
        }
    });
    forEachCase(30, [&](Random &random) {
        AlphaSceneOptions options = tiledOptions(GetParam());
        options.composes = false;
        options.scales = true;
        AlphaScene two(random, options);
        options.sources = 1;
        AlphaScene one(random, options);
        SCOPED_TRACE(two.describe() + one.describe());
        const RefWrites product = refMultiplyScale(*two.a, *two.b, *two.dst),
                        scaled = refMultiplySScale(*one.a, *one.dst, 99), multiplied = refPreMultiply(*one.dst, 99);
        for (int n = requestsOf(refSession(*two.dst, {two.a, two.b})); n > 0 && !HasFailure(); --n) {
            checkRefusedTile(two.images(), product, refSession(*two.dst, {two.a, two.b}, n), n, "moxMultiplyScale",
                             [&] { moxMultiplyScale(two.a->header(), two.b->header(), two.dst->header()); });
        }
        for (int n = requestsOf(refSession(*one.dst, {one.a})); n > 0 && !HasFailure(); --n) {
            checkRefusedTile(one.images(), scaled, refSession(*one.dst, {one.a}, n), n, "moxMultiplySScale",
                             [&] { moxMultiplySScale(one.a->header(), one.dst->header(), 99); });
        }
        const TestLayout &layout = one.dst->layout();
        if (layout.alpha != 0 && layout.hasRoi && layout.roi.coi == layout.alpha) return;
        for (int n = requestsOf(refSession(*one.dst, {})); n > 0 && !HasFailure(); --n) {
            checkRefusedTile(one.images(), multiplied, refSession(*one.dst, {}, n), n, "moxPreMultiplyAlpha",
                             [&] { moxPreMultiplyAlpha(one.dst->header(), 99); });
        }
    });
}

// Blocks that lie within one tile of every image are none of moxCopy's business, straddling ones are: it does nothing
// while a fault stands in the status word.
struct OldFault {
    TestLayout shifted = tiles(24, 24, 8, 8);
    TestImage a, b{plain(16, 16), 2}, d{tiles(16, 16, 8, 8), 3};
    OldFault() : a(shiftedBy(5), 1) {}
    static TestLayout shiftedBy(int x) {
        TestLayout layout = tiles(24, 24, 8, 8);
        layout.setRoi(0, x, 0, 16, 16);
        return layout;
    }
};

TEST(AlphaTiles, straddlingBlocksFailWhileAFaultStandsInTheStatusWord) {
    OldFault x;
    const TestBytes before = x.d.bytes();
    ReportRecorder reports;
    {
        TileLog log;
        AllocationWindow window;
        moxSetErrStatus(-19);
        runComposite({&x.a, &x.b, &x.d, PLUS});
        window.close();
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(window.live(), 0);
    }
    EXPECT_TRUE(reports.are({{-1, "moxAlphaComposite", "Internal tiling error"}}));
    EXPECT_EQ(moxGetErrStatus(), -19) << "a trace is not stored";
    EXPECT_TRUE(x.d.holds(before));
    reports.clear();

    // Where the report lets it go on, the fault is reported as one.
    moxSetErrStatus(-19);
    reports.answersZero = true;
    runComposite({&x.a, &x.b, &x.d, PLUS});
    EXPECT_TRUE(reports.are(
        {{-1, "moxAlphaComposite", "Internal tiling error"}, {-3, "moxAlphaComposite", "Internal tiling error"}}));
    EXPECT_EQ(moxGetErrStatus(), -3);
    EXPECT_TRUE(x.d.holds(before));
}

TEST(AlphaTiles, straddlingBlocksFailSoInEveryOperation) {
    OldFault x;
    const TestBytes before = x.d.bytes();
    ReportRecorder reports;
    moxSetErrStatus(-19);
    moxAlphaCompositeC(x.a.header(), x.b.header(), x.d.header(), MOX_COMPOSITE_IN, 1, 2, 1, 0);
    moxMultiplyScale(x.b.header(), x.a.header(), x.d.header());
    moxMultiplySScale(x.a.header(), x.d.header(), 5);
    EXPECT_TRUE(reports.are({{-1, "moxAlphaCompositeC", "Internal tiling error"},
                             {-1, "moxMultiplyScale", "Internal tiling error"},
                             {-1, "moxMultiplySScale", "Internal tiling error"}}));
    EXPECT_EQ(moxGetErrStatus(), -19);
    EXPECT_TRUE(x.d.holds(before));
}

TEST(AlphaTiles, blocksInSingleTilesDoNotMindAnOldFault) {
    TestImage a(tiles(16, 16, 8, 8), 1), b(plain(16, 16), 2), d(tiles(16, 16, 8, 8), 3);
    const RefComposite call = {&a, &b, &d, PLUS};
    const RefWrites wanted = refComposite(call);
    ReportRecorder reports;
    moxSetErrStatus(-19);
    runComposite(call);
    moxPreMultiplyAlpha(b.header(), 255);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(d.holds(wanted[0].expected));
}

// What is done before a block that straddles stays.
TEST(AlphaTiles, blocksBeforeAFaultStay) {
    // The first block is 8 wide and within A's first tile of 16, the second is 16 wide and straddles two.
    TestLayout first = tiles(32, 8, 16, 8);
    first.setRoi(0, 8, 0, 24, 8);
    TestLayout second = first;
    second.roi.xOffset = 0;
    TestImage a(second, 1), b(plain(24, 8), 2), d(first, 3);
    const RefComposite call = {&a, &b, &d, PLUS};
    const RefWrites wanted = refComposite(call);
    TestBytes expected = d.bytes();
    for (int y = 0; y < 8; ++y) {
        for (int i = 8; i < 16; ++i) {
            for (int c = 0; c < 2; ++c)
                d.setIn(expected, c, i, y, d.getIn(wanted[0].expected, c, i, y));
        }
    }
    ReportRecorder reports;
    moxSetErrStatus(-19);
    runComposite(call);
    EXPECT_TRUE(reports.are({{-1, "moxAlphaComposite", "Internal tiling error"}}));
    EXPECT_TRUE(d.holds(expected));
}

// Every allocation in turn: what is in hand goes back, and nothing leaks.
TEST(AlphaTiles, memoryThatRunsOutIsReported) {
    TestLayout shifted = tiles(40, 40, 8, 8);
    shifted.setRoi(0, 5, 4, 24, 20);
    TestLayout shiftedToo = tiles(40, 40, 16, 8);
    shiftedToo.setRoi(0, 3, 7, 24, 20);
    TestImage a(shifted, 1), b(shiftedToo, 2), d(tiles(30, 30, 16, 16), 3), out(shifted, 4),
        maskA(TestLayout::ofMask(30, 30), 5), maskD(TestLayout::ofMask(30, 30), 6);
    a.setMask(&maskA);
    d.setMask(&maskD);
    struct Operation {
        const char *name;
        std::function<void()> run;
        bool allocates;
    };
    const Operation operations[] = {
        {"moxAlphaComposite",
         [&] {
             runComposite({&a, &b, &d, PLUS, nullptr, nullptr, &out});
         },
         true},
        {"moxAlphaCompositeC",
         [&] { moxAlphaCompositeC(a.header(), b.header(), d.header(), MOX_COMPOSITE_OVER, -1, 7, 0, 1); }, true},
        {"moxMultiplyScale", [&] { moxMultiplyScale(a.header(), b.header(), d.header()); }, true},
        {"moxMultiplySScale", [&] { moxMultiplySScale(b.header(), d.header(), 200); }, true},
        {"moxPreMultiplyAlpha", [&] { moxPreMultiplyAlpha(d.header(), 77); }, false},
    };
    std::vector<TestImage *> images = {&a, &b, &d, &out, &maskA, &maskD};
    for (const Operation &operation : operations) {
        KeptImages kept;
        kept.keep(images);
        for (int failAt = 1;; ++failAt) {
            SCOPED_TRACE(std::string(operation.name) + " allocation " + std::to_string(failAt));
            ReportRecorder reports;
            TileLog log;
            AllocationWindow window(failAt);
            operation.run();
            window.close();
            EXPECT_EQ(window.live(), 0) << "leaked blocks";
            EXPECT_TRUE(log.paired());
            for (TestImage *image : images)
                EXPECT_TRUE(image->headerIsUntouched());
            kept.restore();
            if (!window.refused()) {
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(failAt > 1 || !operation.allocates);
                break;
            }
            ASSERT_FALSE(reports.seen.empty());
            EXPECT_EQ(reports.seen.back().status, -4) << reports.text();
            EXPECT_EQ(reports.seen.back().function, operation.name) << reports.text();
            EXPECT_EQ(reports.seen.back().message, "No working memory") << reports.text();
            // The pixels of an image that could not be had report for themselves.
            for (size_t i = 0; i + 1 < reports.seen.size(); ++i)
                EXPECT_EQ(reports.seen[i].message, "for allocate image data");
            EXPECT_LE(reports.seen.size(), 2u) << reports.text();
            EXPECT_EQ(moxGetErrStatus(), -4);
            ASSERT_LT(failAt, 500);
        }
    }
}

}  // namespace
