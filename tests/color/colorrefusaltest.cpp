// Every tile and every allocation of colour conversions, changes of depth and twists refused in turn: what is reported
// then, that nothing leaks, and that the destination holds what it held or what it should. And the order of tiles.
#include <cstring>

#include "color/colorpair.h"
#include "color/refusedcall.h"
#include "reference/depth.h"
#include "reference/filter.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

// After a failure every bit of the destination is what it was or what it should have become.
testing::AssertionResult isBeforeOrAfter(TestImage &destination, const TestBytes &before, const TestBytes &wanted) {
    TestBytes allowed(before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        if (destination.bytes()[i] == before[i]) allowed[i] = 0xFF;
        if (destination.layout().bits() == 1) allowed[i] |= static_cast<uint8_t>(before[i] ^ wanted[i]);
    }
    return destination.holds(wanted, allowed);
}

// What a refused request is told as, by the image that it was made for.
struct Told {
    const char *function, *srcTile, *dstTile;
};
constexpr Told toldByDepths(const char *function) {
    return {function, "(srcImage->tileInfo->tileData == NULL)", "(dstImage->tileInfo->tileData == NULL)"};
}
constexpr Told toldByColors(const char *function) {
    return {function, "(srcImage->tileInfo->tileData == 0)", "(dstImage->tileInfo->tileData == 0)"};
}

void judgeMemory(const ReportRecorder &reports, const Told &told) {
    const size_t count = reports.seen.size();
    ASSERT_GE(count, 1u);
    EXPECT_EQ(reports.seen[count - 1].function, told.function) << reports.text();
    // A mask's pixels report for themselves first.
    if (count > 1) {
        EXPECT_EQ(reports.seen[0].function, "moxAllocateImage") << reports.text();
    }
    EXPECT_LE(count, 2u) << reports.text();
    if (strcmp(told.function, "moxThreshold") == 0) {
        EXPECT_EQ(reports.seen[count - 1].message, count == 1 ? "(msk == NULL)" : "(msk->imageData == NULL)");
        EXPECT_EQ(reports.seen[count - 1].status, -5);
    } else {
        EXPECT_EQ(reports.seen[count - 1].message, "Out of memory");
        EXPECT_EQ(reports.seen[count - 1].status, -4);
    }
}

// One refusal of either kind; true where there was something to refuse.
bool refuseOne(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call, const Told &told,
               int failingBlock, int failingTile) {
    const TestBytes before = pair.dst().bytes();
    ReportRecorder reports;
    TileLog log(failingTile);
    AllocationWindow window(failingBlock);
    call();
    window.close();
    EXPECT_EQ(window.live(), 0) << "leaked blocks";
    EXPECT_TRUE(log.clean());
    pair.abandonTiles();
    EXPECT_TRUE(pair.restIsUntouched());
    RefResult expected = wanted;
    refAcceptNaNs(pair.dst(), &expected);
    EXPECT_TRUE(isBeforeOrAfter(pair.dst(), before, expected.expected));
    pair.restore();
    if (log.refused()) {
        const bool source = log.refusedImage() == &pair.src() && !pair.inPlace();
        EXPECT_TRUE(reports.are({{-5, told.function, source ? told.srcTile : told.dstTile}}));
    } else if (window.refused()) {
        judgeMemory(reports, told);
    } else {
        EXPECT_TRUE(reports.none());
        return false;
    }
    return true;
}

void checkRefusals(ImagePair &pair, const RefResult &wanted, const Told &told, const std::function<void()> &call) {
    SCOPED_TRACE(std::string(told.function) + "\n" + pair.describe());
    pair.keep();
    for (int at = 1; refuseOne(pair, wanted, call, told, at, 0) && !testing::Test::HasFailure(); ++at)
        ASSERT_LT(at, 2000);
    for (int at = 1; refuseOne(pair, wanted, call, told, 0, at) && !testing::Test::HasFailure(); ++at)
        ASSERT_LT(at, 2000);
}

TEST(ColorRefusal, ofColorModels) {
    for (const RefModel &model : refModels()) {
        forEachCase(12, [&](Random &random) {
            ColorPairOptions options = optionsOf(model, model.depths[0]);
            options.tiled[0] = random.below(2);
            options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
            options.maxWidth = 60;
            options.maxHeight = 30;
            ColorPair pair(random, options);
            const RefResult wanted = refConvertColors(model, pair.src(), pair.dst());
            if (model.forward) nameModel(pair.dst(), model.model, model.model);
            checkRefusals(pair, wanted, toldByColors(model.name),
                          [&] { model.call(pair.src().header(), pair.dst().header()); });
        });
    }
}

TEST(ColorRefusal, ofGray) {
    forEachCase(30, [](Random &random) {
        ColorPairOptions options;
        options.dstModel = "GRAY";
        options.dstDepth = random.oneIn(2) ? MOX_DEPTH_1U : MOX_DEPTH_8U;
        options.tiled[0] = random.below(2);
        options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
        options.maxHeight = 30;
        ColorPair to(random, options);
        checkRefusals(to, refColorToGray(to.src(), to.dst()), toldByColors("moxColorToGray"),
                      [&] { moxColorToGray(to.src().header(), to.dst().header()); });
        options.srcModel = "GRAY";
        options.dstModel = "RGB";
        std::swap(options.srcDepth, options.dstDepth);
        ColorPair from(random, options);
        const float weights[3] = {0.3f, 0.6f, 0.1f};
        checkRefusals(from, refGrayToColor(from.src(), from.dst(), weights), toldByColors("moxGrayToColor"), [&] {
            moxGrayToColor(from.src().header(), from.dst().header(), weights[0], weights[1], weights[2]);
        });
    });
}

DepthPairOptions tiledOptions(Random &random, unsigned srcDepth, unsigned dstDepth) {
    DepthPairOptions options;
    options.srcDepth = srcDepth;
    options.dstDepth = dstDepth;
    options.tiled[0] = random.below(2);
    options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
    options.maxWidth = 60;
    options.maxHeight = 30;
    return options;
}

TEST(ColorRefusal, ofDepths) {
    forEachCase(60, [](Random &random) {
        const unsigned from = integerDepths[random.below(5)], to = integerDepths[random.below(5)];
        DepthPairOptions options = tiledOptions(random, from, to);
        DepthImages plain(random, options);
        checkRefusals(plain, refThreshold(plain.src(), plain.dst(), 77), toldByDepths("moxThreshold"),
                      [&] { moxThreshold(plain.src().header(), plain.dst().header(), 77); });
        if (from != to) {
            checkRefusals(plain, refScale(plain.src(), plain.dst()), toldByDepths("moxScale"),
                          [&] { moxScale(plain.src().header(), plain.dst().header()); });
        }
        options.whole = true;
        options.sameOrigin = false;
        if (random.oneIn(3)) options.dstDepth = MOX_DEPTH_1U;
        DepthImages whole(random, options);
        checkRefusals(whole, refConvert(whole.src(), whole.dst()), toldByDepths("moxConvert"),
                      [&] { moxConvert(whole.src().header(), whole.dst().header()); });
        options = tiledOptions(random, MOX_DEPTH_1U, to);
        options.oneToMany = true;
        DepthImages bits(random, options);
        checkRefusals(bits, refBitonalToGray(bits.src(), bits.dst(), 3, 100), toldByDepths("moxBitonalToGray"),
                      [&] { moxBitonalToGray(bits.src().header(), bits.dst().header(), 3, 100); });
        options = tiledOptions(random, from, MOX_DEPTH_32F);
        if (random.oneIn(2)) std::swap(options.srcDepth, options.dstDepth);
        options.sameRegions = true;
        DepthImages reals(random, options);
        checkRefusals(reals, refScaleFP(reals.src(), reals.dst(), -1, 1), toldByDepths("moxScaleFP"),
                      [&] { moxScaleFP(reals.src().header(), reals.dst().header(), -1, 1); });
    });
}

// Tiles of the destination one after the other; while one is in hand, the tiles of the source that lie behind it are
// read row by row, each row of tiles released from its end.
std::vector<TileEvent> colorWalk(TestImage &src, TestImage &dst) {
    std::vector<TileEvent> events;
    const TestLayout &from = src.layout(), &to = dst.layout();
    const int width = std::min(from.width, to.width), height = std::min(from.height, to.height);
    for (int y = 0; y < height; y += to.tileHeight) {
        for (int x = 0; x < width; x += to.tileWidth) {
            const int column = x / to.tileWidth, row = y / to.tileHeight;
            events.push_back({&dst, MOX_TileWrite, column, row});
            const int right = std::min(x + to.tileWidth, width) - 1, bottom = std::min(y + to.tileHeight, height) - 1;
            for (int j = y / from.tileHeight; j <= bottom / from.tileHeight; ++j) {
                for (int i = x / from.tileWidth; i <= right / from.tileWidth; ++i)
                    events.push_back({&src, MOX_TileRead, i, j});
                for (int i = right / from.tileWidth; i >= x / from.tileWidth; --i)
                    events.push_back({&src, MOX_TileRelease, i, j});
            }
            events.push_back({&dst, MOX_TileRelease, column, row});
        }
    }
    return events;
}

TEST(ColorTiles, areReadBehindThoseOfTheDestination) {
    for (const char *name : {"moxRGB2HSV", "moxHSV2RGB"}) {
        forEachCase(40, [&](Random &random) {
            ColorPairOptions options = optionsOf(refModel(name), MOX_DEPTH_8U);
            options.tiled[0] = options.tiled[1] = 1;
            options.maxHeight = 40;
            ColorPair pair(random, options);
            SCOPED_TRACE(pair.describe());
            TileLog log;
            refModel(name).call(pair.src().header(), pair.dst().header());
            EXPECT_TRUE(log.is(colorWalk(pair.src(), pair.dst())));
        });
    }
}

}  // namespace
