// moxCopy, moxSet, moxSetFP and moxExchange against their definition over random layouts: results, what else must stay,
// the sequence of tile requests, and every tile and every allocation refused in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "movepair.h"
#include "support/allocations.h"
#include "support/reports.h"

namespace {

uint32_t sampleOf(const TestImage &image, int channel, int x, int y) {
    const TestLayout &layout = image.layout();
    return image.get(layout.firstChannel() + channel, layout.regionX() + x, layout.regionY() + y);
}
void putSample(const TestImage &image, TestBytes &bytes, int channel, int x, int y, uint32_t value) {
    const TestLayout &layout = image.layout();
    image.setIn(bytes, layout.firstChannel() + channel, layout.regionX() + x, layout.regionY() + y, value);
}

class Move : public testing::Test {
  protected:
    ReportRecorder recorder;
};

// --- Copy -----------------------------------------------------------------------------------------------------------

// The destination after the copy of some parts.
TestBytes copied(MovePair &pair, const std::vector<MoveCell> &parts) {
    TestBytes bytes = pair.dst().bytes();
    for (const MoveCell &part : parts) {
        forEachMoved(pair, part, [&pair, &bytes](int channel, int x, int y) {
            putSample(pair.dst(), bytes, channel, x, y, sampleOf(pair.src(), channel, x, y));
        });
    }
    return bytes;
}

// One bit under a mask takes a way of its own, by operations on whole images.
bool takesTheBitRoute(MovePair &pair) {
    return pair.src().layout().bits() == 1 && pair.masked();
}

// The tiles along which a copy or an exchange with a tiled image goes.
TestImage *gridOf(MovePair &pair) {
    return pair.dst().layout().tiled() ? &pair.dst() : pair.src().layout().tiled() ? &pair.src() : nullptr;
}

std::vector<TileEvent> copyEvents(MovePair &pair) {
    std::vector<TileEvent> events;
    TestImage *grid = gridOf(pair);
    if (!grid) return events;
    bool both = grid == &pair.dst() && pair.src().layout().tiled();
    for (const MoveCell &cell : cellsOf(*grid, pair.width(), pair.height())) {
        events.push_back({grid, grid == &pair.dst() ? MOX_TileWrite : MOX_TileRead, cell.column, cell.row});
        if (both) appendRead(&events, &pair.src(), cell);
        events.push_back({grid, MOX_TileRelease, cell.column, cell.row});
    }
    return events;
}

TEST_F(Move, CopyIsTheDefinition) {
    forEachCpuLevel([this] {
        forEachCase(5000, [this](Random &random) {
            MovePair pair(random, MoveOptions());
            SCOPED_TRACE(pair.describe());
            TestBytes expected = copied(pair, {wholeArea(pair)}), srcBefore = pair.src().bytes();
            pair.keep();
            TileLog log;
            AllocationWindow window;
            moxCopy(pair.src().header(), pair.dst().header());
            window.close();
            EXPECT_TRUE(pair.dst().holds(expected));
            EXPECT_TRUE(pair.src().holds(srcBefore));
            EXPECT_TRUE(pair.restIsUntouched());
            EXPECT_TRUE(recorder.none());
            EXPECT_EQ(moxGetErrStatus(), 0);
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(log.paired());
            if (!takesTheBitRoute(pair)) {
                EXPECT_TRUE(log.is(copyEvents(pair)));
            }
            if (!gridOf(pair) && !pair.twoMasks() && !takesTheBitRoute(pair)) {
                EXPECT_EQ(window.count(), 0);
            }
        });
    });
}

TEST_F(Move, CopyOfEveryBitOffsetIsTheDefinition) {
    forEachCpuLevel([] {
        for (int srcX = 0; srcX < 9; srcX++) {
            for (int dstX = 0; dstX < 9; dstX++) {
                for (int width : {1, 2, 6, 7, 8, 9, 15, 16, 17, 31, 33, 64, 65, 200}) {
                    TestLayout from = TestLayout::ofMask(srcX + width + 3, 3),
                               to = TestLayout::ofMask(dstX + width + 5, 3);
                    from.setRoi(0, srcX, 0, width, 3);
                    to.setRoi(0, dstX, 0, width, 3);
                    TestImage src(from, 1), dst(to, 2);
                    TestBytes expected = dst.bytes();
                    for (int y = 0; y < 3; y++) {
                        for (int x = 0; x < width; x++)
                            dst.setIn(expected, 0, dstX + x, y, src.get(0, srcX + x, y));
                    }
                    moxCopy(src.header(), dst.header());
                    ASSERT_TRUE(dst.holds(expected)) << srcX << " to " << dstX << ", " << width << " bits";
                }
            }
        }
    });
}

// Each sample is the old one or the new one, and everything else is as it was. The bit route clears what it sets, so
// that a sample that moves may also be 0 there.
testing::AssertionResult isBetween(MovePair &pair, const TestImage &image, const TestBytes &before,
                                   const TestBytes &after) {
    TestBytes differing(before.size());
    for (size_t i = 0; i < before.size(); i++)
        differing[i] = before[i] ^ after[i];
    if (takesTheBitRoute(pair)) {
        forEachMoved(pair, wholeArea(pair), [&image, &differing](int channel, int x, int y) {
            putSample(image, differing, channel, x, y, 1);
        });
    }
    return image.holds(before, differing);
}

// Every refusal ends the call at once: the tiles before it are done, the one at hand is not released.
TEST_F(Move, CopyEndsWithARefusedTile) {
    forEachCase(400, [this](Random &random) {
        MoveOptions options;
        options.tiled[random.below(2)] = 1;
        options.maxWidth = 40;
        MovePair pair(random, options);
        SCOPED_TRACE(pair.describe());
        TestBytes before = pair.dst().bytes(), srcBefore = pair.src().bytes();
        TestImage *grid = gridOf(pair);
        bool both = pair.src().layout().tiled() && pair.dst().layout().tiled();
        std::vector<MoveCell> cells = cellsOf(*grid, pair.width(), pair.height());
        pair.keep();
        for (int n = 1;; n++) {
            recorder.clear();
            pair.dst().setBytes(before);
            TileLog log(n);
            AllocationWindow window;
            moxCopy(pair.src().header(), pair.dst().header());
            window.close();
            ASSERT_EQ(window.live(), 0);
            ASSERT_TRUE(log.clean());
            ASSERT_TRUE(pair.restIsUntouched());
            ASSERT_TRUE(pair.src().holds(srcBefore));
            if (!log.refused()) break;
            bool srcRefused = log.refusedImage() == &pair.src();
            if (takesTheBitRoute(pair)) {
                ASSERT_FALSE(recorder.seen.empty());
                ASSERT_EQ(recorder.seen.back().status, -1);
                ASSERT_EQ(recorder.seen.back().function, "moxCopy");
                pair.src().abandonTiles();
                pair.dst().abandonTiles();
                ASSERT_TRUE(isBetween(pair, pair.dst(), before, before));
            } else {
                std::vector<ReportExpected> report = {{-2, "moxCopy", "Error get tile to write"}};
                if (srcRefused && both) report = {{-1, "moxCopy", ""}};
                if (srcRefused && !both) report = {{-2, "moxCopy", "Error get tile to read"}};
                ASSERT_TRUE(recorder.are(report));
                size_t done = 0;
                for (const TileEvent &event : log.events)
                    done += event.image == grid && event.mode == MOX_TileRelease;
                if (!(srcRefused && both)) {
                    ASSERT_EQ(log.eventsAfterRefusal(), 0);
                }
                pair.src().abandonTiles();
                pair.dst().abandonTiles();
                TestBytes now = pair.dst().bytes();
                pair.dst().setBytes(before);
                TestBytes expected = copied(pair, {cells.begin(), cells.begin() + static_cast<ptrdiff_t>(done)});
                pair.dst().setBytes(now);
                ASSERT_TRUE(pair.dst().holds(expected));
            }
            pair.src().abandonTiles();
            pair.dst().abandonTiles();
        }
    });
}

TEST_F(Move, CopyWithoutMemoryReportsAndLeaksNothing) {
    forEachCase(400, [this](Random &random) {
        MovePair pair(random, MoveOptions());
        SCOPED_TRACE(pair.describe());
        TestBytes before = pair.dst().bytes(), after = copied(pair, {wholeArea(pair)});
        pair.keep();
        for (int n = 1;; n++) {
            recorder.clear();
            pair.dst().setBytes(before);
            TileLog log;
            AllocationWindow window(n);
            moxCopy(pair.src().header(), pair.dst().header());
            window.close();
            ASSERT_EQ(window.live(), 0) << "allocation " << n;
            ASSERT_TRUE(log.clean());
            pair.src().abandonTiles();
            pair.dst().abandonTiles();
            ASSERT_TRUE(pair.restIsUntouched());
            if (!window.refused()) break;
            ASSERT_FALSE(recorder.seen.empty()) << "allocation " << n;
            ASSERT_EQ(recorder.seen.back().function, "moxCopy");
            ASSERT_EQ(recorder.seen.back().status, -1);
            ASSERT_EQ(recorder.seen.back().message, "");
            ASSERT_TRUE(isBetween(pair, pair.dst(), before, after));
            if (!gridOf(pair)) {
                ASSERT_TRUE(pair.dst().holds(before));
            }
        }
    });
}

// --- Set ------------------------------------------------------------------------------------------------------------

uint32_t clampedSample(unsigned depth, int value) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return static_cast<uint32_t>(std::clamp(value, 0, 1));
        case MOX_DEPTH_8U:
            return static_cast<uint32_t>(std::clamp(value, 0, 255));
        case MOX_DEPTH_8S:
            return static_cast<uint32_t>(std::clamp(value, -128, 127)) & 0xFFu;
        case MOX_DEPTH_16U:
            return static_cast<uint32_t>(std::clamp(value, 0, 65535));
        case MOX_DEPTH_16S:
            return static_cast<uint32_t>(std::clamp(value, -32768, 32767)) & 0xFFFFu;
        default:
            return static_cast<uint32_t>(value);
    }
}

void callSet(TestImage &image, uint32_t bits) {
    if (image.layout().depth == MOX_DEPTH_32F) {
        float value;
        memcpy(&value, &bits, 4);
        moxSetFP(image.header(), value);
    } else {
        moxSet(image.header(), static_cast<int>(bits));
    }
}

TestBytes filled(MovePair &pair, const std::vector<MoveCell> &parts, uint32_t bits) {
    unsigned depth = pair.src().layout().depth;
    uint32_t sample = depth == MOX_DEPTH_32F ? bits : clampedSample(depth, static_cast<int>(bits));
    TestBytes bytes = pair.src().bytes();
    for (const MoveCell &part : parts) {
        forEachMoved(pair, part,
                     [&](int channel, int x, int y) { putSample(pair.src(), bytes, channel, x, y, sample); });
    }
    return bytes;
}

// The source of a pair alone: its partner is as large as its region and has no mask.
struct SetCase {
    MovePair pair;
    uint32_t bits;
    int width, height;
    explicit SetCase(Random &random, const MoveOptions &options)
        : pair(random, options),
          bits(random.oneIn(2) ? static_cast<uint32_t>(drawInt(random)) : drawSample(random, MOX_DEPTH_32F)) {
        pair.dst().setMask(nullptr);
        pair.dst().keepHeader();
        const TestImage *mask = pair.src().mask();
        width = pair.src().layout().regionWidth();
        height = pair.src().layout().regionHeight();
        if (mask) {
            width = std::min(width, mask->layout().regionWidth());
            height = std::min(height, mask->layout().regionHeight());
        }
        if (width == 0 || height == 0) width = height = 0;
        pair.keep();
    }
    TestImage &image() { return pair.src(); }
    MoveCell area() const { return {0, 0, 0, 0, width, height}; }
};

std::vector<TileEvent> setEvents(SetCase &one) {
    std::vector<TileEvent> events;
    if (!one.image().layout().tiled()) return events;
    for (const MoveCell &cell : cellsOf(one.image(), one.width, one.height)) {
        events.push_back({&one.image(), MOX_TileWrite, cell.column, cell.row});
        events.push_back({&one.image(), MOX_TileRelease, cell.column, cell.row});
    }
    return events;
}

TEST_F(Move, SetIsTheDefinition) {
    forEachCpuLevel([this] {
        forEachCase(4000, [this](Random &random) {
            SetCase one(random, MoveOptions());
            SCOPED_TRACE(one.pair.describe());
            TestBytes expected = filled(one.pair, {one.area()}, one.bits);
            TileLog log;
            AllocationWindow window;
            callSet(one.image(), one.bits);
            window.close();
            EXPECT_TRUE(one.image().holds(expected));
            EXPECT_TRUE(one.pair.restIsUntouched());
            EXPECT_TRUE(recorder.none());
            EXPECT_EQ(window.count(), 0);
            EXPECT_TRUE(log.paired());
            EXPECT_TRUE(log.is(setEvents(one)));
        });
    });
}

TEST_F(Move, SetEndsWithARefusedTile) {
    forEachCase(300, [this](Random &random) {
        MoveOptions options;
        options.tiled[0] = 1;
        SetCase one(random, options);
        SCOPED_TRACE(one.pair.describe());
        TestBytes before = one.image().bytes();
        unsigned depth = one.image().layout().depth;
        std::vector<MoveCell> cells = cellsOf(one.image(), one.width, one.height);
        for (int n = 1;; n++) {
            recorder.clear();
            one.image().setBytes(before);
            TileLog log(n);
            callSet(one.image(), one.bits);
            ASSERT_TRUE(log.clean());
            ASSERT_TRUE(one.pair.restIsUntouched());
            if (!log.refused()) break;
            ASSERT_EQ(log.eventsAfterRefusal(), 0);
            std::vector<ReportExpected> reports = {{-2, "moxSet", "Error get tile to write"}};
            if (depth == MOX_DEPTH_32F) reports.push_back({-1, "moxSetFP", ""});
            if (depth == MOX_DEPTH_1U && one.image().mask()) {
                bool ones = static_cast<int>(one.bits) > 0;
                reports = {{-5, ones ? "moxOr" : "moxAnd", "(dstImage->tileInfo->tileData == 0)"}, {-1, "moxSet", ""}};
            }
            ASSERT_TRUE(recorder.are(reports));
            one.image().abandonTiles();
            size_t done = static_cast<size_t>(n - 1);
            TestBytes now = one.image().bytes();
            one.image().setBytes(before);
            TestBytes expected =
                filled(one.pair, {cells.begin(), cells.begin() + static_cast<ptrdiff_t>(done)}, one.bits);
            one.image().setBytes(now);
            ASSERT_TRUE(one.image().holds(expected));
        }
    });
}

// --- Exchange -------------------------------------------------------------------------------------------------------

struct Exchanged {
    TestBytes src, dst;
};
Exchanged exchanged(MovePair &pair, const std::vector<MoveCell> &parts) {
    Exchanged bytes = {pair.src().bytes(), pair.dst().bytes()};
    for (const MoveCell &part : parts) {
        forEachMoved(pair, part, [&pair, &bytes](int channel, int x, int y) {
            putSample(pair.src(), bytes.src, channel, x, y, sampleOf(pair.dst(), channel, x, y));
            putSample(pair.dst(), bytes.dst, channel, x, y, sampleOf(pair.src(), channel, x, y));
        });
    }
    return bytes;
}

std::vector<TileEvent> exchangeEvents(MovePair &pair) {
    std::vector<TileEvent> events;
    TestImage *grid = gridOf(pair);
    if (!grid) return events;
    bool both = grid == &pair.dst() && pair.src().layout().tiled();
    for (const MoveCell &cell : cellsOf(*grid, pair.width(), pair.height())) {
        events.push_back({grid, MOX_TileWrite, cell.column, cell.row});
        if (both) appendRead(&events, &pair.src(), cell);
        events.push_back({grid, MOX_TileRelease, cell.column, cell.row});
    }
    if (!both) return events;
    for (const MoveCell &cell : cellsOf(pair.src(), pair.width(), pair.height())) {
        events.push_back({&pair.src(), MOX_TileWrite, cell.column, cell.row});
        events.push_back({&pair.src(), MOX_TileRelease, cell.column, cell.row});
    }
    return events;
}

TEST_F(Move, ExchangeIsTheDefinition) {
    forEachCpuLevel([this] {
        forEachCase(5000, [this](Random &random) {
            MovePair pair(random, MoveOptions());
            SCOPED_TRACE(pair.describe());
            Exchanged expected = exchanged(pair, {wholeArea(pair)});
            pair.keep();
            TileLog log;
            AllocationWindow window;
            moxExchange(pair.src().header(), pair.dst().header());
            window.close();
            EXPECT_TRUE(pair.src().holds(expected.src));
            EXPECT_TRUE(pair.dst().holds(expected.dst));
            EXPECT_TRUE(pair.restIsUntouched());
            EXPECT_TRUE(recorder.none());
            EXPECT_EQ(moxGetErrStatus(), 0);
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(log.paired());
            if (!takesTheBitRoute(pair)) {
                EXPECT_TRUE(log.is(exchangeEvents(pair)));
            }
            if (!gridOf(pair) && !pair.twoMasks()) {
                EXPECT_EQ(window.count(), 0);
            }
        });
    });
}

TEST_F(Move, ExchangeEndsWithARefusedTile) {
    forEachCase(400, [this](Random &random) {
        MoveOptions options;
        options.tiled[random.below(2)] = 1;
        options.maxWidth = 40;
        MovePair pair(random, options);
        SCOPED_TRACE(pair.describe());
        TestBytes srcBefore = pair.src().bytes(), dstBefore = pair.dst().bytes();
        TestImage *grid = gridOf(pair);
        bool both = pair.src().layout().tiled() && pair.dst().layout().tiled();
        std::vector<MoveCell> cells = cellsOf(*grid, pair.width(), pair.height());
        pair.keep();
        for (int n = 1;; n++) {
            recorder.clear();
            pair.src().setBytes(srcBefore);
            pair.dst().setBytes(dstBefore);
            TileLog log(n);
            AllocationWindow window;
            moxExchange(pair.src().header(), pair.dst().header());
            window.close();
            ASSERT_EQ(window.live(), 0);
            ASSERT_TRUE(log.clean());
            ASSERT_TRUE(pair.restIsUntouched());
            if (!log.refused()) break;
            bool dstRefused = log.refusedImage() == &pair.dst();
            bool readRefused =
                log.events[log.events.size() - 1 - static_cast<size_t>(log.eventsAfterRefusal())].mode == MOX_TileRead;
            if (both && takesTheBitRoute(pair) && !dstRefused) {
                // The copy back to the source goes by operations that report first.
                ASSERT_FALSE(recorder.seen.empty());
                ASSERT_EQ(recorder.seen.back().function, "moxExchange");
                ASSERT_EQ(recorder.seen.back().status, -1);
            } else if (!both || dstRefused) {
                ASSERT_TRUE(recorder.are({{-2, "moxExchange", "Error get tile to write"}}));
            } else if (readRefused) {
                ASSERT_TRUE(recorder.are({{-1, "moxExchange", ""}}));
            } else {
                ASSERT_TRUE(recorder.are({{-2, "moxCopy", "Error get tile to write"}, {-1, "moxExchange", ""}}));
            }
            if (!readRefused) {
                ASSERT_EQ(log.eventsAfterRefusal(), 0);
            }
            size_t done = 0;
            for (const TileEvent &event : log.events)
                done += event.image == grid && event.mode == MOX_TileRelease;
            pair.src().abandonTiles();
            pair.dst().abandonTiles();
            TestBytes srcNow = pair.src().bytes(), dstNow = pair.dst().bytes();
            pair.src().setBytes(srcBefore);
            pair.dst().setBytes(dstBefore);
            Exchanged expected = exchanged(pair, {cells.begin(), cells.begin() + static_cast<ptrdiff_t>(done)});
            Exchanged whole = exchanged(pair, {wholeArea(pair)});
            pair.src().setBytes(srcNow);
            pair.dst().setBytes(dstNow);
            ASSERT_TRUE(pair.dst().holds(expected.dst));
            if (both) {
                ASSERT_TRUE(isBetween(pair, pair.src(), srcBefore, whole.src));
            } else {
                ASSERT_TRUE(pair.src().holds(expected.src));
            }
        }
    });
}

TEST_F(Move, ExchangeWithoutMemoryReportsAndLeaksNothing) {
    forEachCase(400, [this](Random &random) {
        MovePair pair(random, MoveOptions());
        SCOPED_TRACE(pair.describe());
        TestBytes srcBefore = pair.src().bytes(), dstBefore = pair.dst().bytes();
        Exchanged after = exchanged(pair, {wholeArea(pair)});
        pair.keep();
        for (int n = 1;; n++) {
            recorder.clear();
            pair.src().setBytes(srcBefore);
            pair.dst().setBytes(dstBefore);
            TileLog log;
            AllocationWindow window(n);
            moxExchange(pair.src().header(), pair.dst().header());
            window.close();
            ASSERT_EQ(window.live(), 0) << "allocation " << n;
            ASSERT_TRUE(log.clean());
            pair.src().abandonTiles();
            pair.dst().abandonTiles();
            ASSERT_TRUE(pair.restIsUntouched());
            if (!window.refused()) break;
            ASSERT_FALSE(recorder.seen.empty()) << "allocation " << n;
            // Also after a step within moxCopy that has nothing but -1 to say.
            ASSERT_EQ(recorder.seen.back().function, "moxExchange");
            ASSERT_EQ(recorder.seen.back().status, -1);
            ASSERT_EQ(recorder.seen.back().message, "");
            ASSERT_TRUE(isBetween(pair, pair.src(), srcBefore, after.src));
            ASSERT_TRUE(isBetween(pair, pair.dst(), dstBefore, after.dst));
        }
    });
}

}  // namespace
