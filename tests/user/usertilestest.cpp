// Samples by the caller's functions, in tiles: which are asked for, which are given back after a refusal, and what a
// status that the function leaves behind changes.
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

int calls = 0;
int MOX_CALL countSamples(int sample) {
    ++calls;
    return sample;
}

int MOX_CALL spoil(int sample) {
    ++calls;
    moxSetErrStatus(-5);
    return sample;
}

TEST(UserTiles, samplesGoOnWhateverTheStatus) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1);
    ReportRecorder reports;
    calls = 0;
    moxUserProcess(image.header(), image.header(), spoil);
    EXPECT_EQ(calls, 200);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -5);
}

// Nor does a status keep what is read as a rectangle from being read.
TEST(UserTiles, tilesAreReadWhateverTheStatus) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 45, 21, 6, MOX_DATA_ORDER_PLANE);
    layout.tileWidth = 16;
    layout.tileHeight = 8;
    TestImage src(layout, 1);
    layout.tileWidth = 24;
    layout.setRoi(0, 3, 2, 41, 18);
    TestImage dst(layout, 2);
    TestBytes expected = dst.bytes();
    for (int i = 0; i < 6 * 41 * 18; ++i) {
        const int c = i % 6, x = i / 6 % 41, y = i / 6 / 41;
        dst.setIn(expected, c, 3 + x, 2 + y, src.get(c, x, y));
    }
    ReportRecorder reports;
    TileLog log;
    calls = 0;
    moxUserProcess(src.header(), dst.header(), spoil);
    EXPECT_EQ(calls, 6 * 41 * 18);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(log.paired());
    EXPECT_TRUE(dst.holds(expected));
}

// A destination's tile is given back when the source's is refused.
TEST(UserTiles, tilesThatAreRefused) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 16, 8);
    layout.tileWidth = layout.tileHeight = 8;
    for (int refuseAt = 1; refuseAt <= 4; ++refuseAt) {
        TestImage src(layout, 1), dst(layout, 2);
        ReportRecorder reports;
        TileLog log(refuseAt);
        calls = 0;
        moxUserProcess(src.header(), dst.header(), countSamples);
        const char *const message = refuseAt % 2 == 1 ? "Error get tile to write" : "Error get tile to read";
        EXPECT_TRUE(reports.are({{-2, "moxUserProcess", message}}));
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(calls, refuseAt > 2 ? 64 : 0);
    }
    TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_8U, 16, 8), 2);
    ReportRecorder reports;
    TileLog log(2);
    moxUserProcess(src.header(), dst.header(), countSamples);
    EXPECT_TRUE(reports.are({{-2, "moxUserProcess", "Error get tile to read"}}));
    EXPECT_TRUE(log.paired());
}

// Of a row of tiles that are read as a rectangle none is given back after one was refused; the destination's is.
TEST(UserTiles, aRowOfTilesThatIsRefusedInPart) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 24, 8);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage src(layout, 1);
    layout.tileWidth = 16;
    for (int refuseAt = 2; refuseAt <= 3; ++refuseAt) {
        TestImage dst(layout, 2);
        const TestBytes before = dst.bytes();
        ReportRecorder reports;
        TileLog log(refuseAt);
        calls = 0;
        moxUserProcess(src.header(), dst.header(), countSamples);
        EXPECT_TRUE(reports.are({{-2, "moxUserProcess", "Error get tile to read"}}));
        EXPECT_EQ(calls, 0);
        EXPECT_TRUE(dst.holds(before));
        EXPECT_TRUE(log.is({{&dst, MOX_TileWrite, 0, 0},
                            {&src, MOX_TileRead, 0, 0},
                            {&src, MOX_TileRead, 1, 0},
                            {&dst, MOX_TileRelease, 0, 0}}));
    }
}

// In place a tile is asked for once, to be written.
TEST(UserTiles, tilesInPlaceAreAskedForOnce) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 16, 8);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage image(layout, 1);
    TileLog log;
    moxUserProcess(image.header(), image.header(), countSamples);
    EXPECT_TRUE(log.is({{&image, MOX_TileWrite, 0, 0},
                        {&image, MOX_TileRelease, 0, 0},
                        {&image, MOX_TileWrite, 1, 0},
                        {&image, MOX_TileRelease, 1, 0}}));
}

}  // namespace
