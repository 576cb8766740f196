// Tiled images of bits under masks: they are put together by operations on whole images, with temporaries between.
#include <gtest/gtest.h>

#include <cstring>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/testimage.h"
#include "support/tilelog.h"

namespace {

class MaskedBits : public testing::Test {
  protected:
    ReportRecorder recorder;
};

TestLayout bits(int width, int height, int tileWidth, int tileHeight) {
    TestLayout layout = TestLayout::ofMask(width, height);
    layout.tileWidth = tileWidth;
    layout.tileHeight = tileHeight;
    return layout;
}

// An alpha channel has no meaning in a mask, whose one channel may be called so.
TEST_F(MaskedBits, AMaskWhoseChannelIsCalledAlphaIsAMask) {
    for (const bool tiles : {false, true}) {
        TestLayout maskLayout = TestLayout::ofMask(37, 21);
        maskLayout.alpha = 1;
        const TestLayout layout = bits(37, 21, tiles ? 16 : 0, tiles ? 8 : 0);
        TestImage src(layout, 1), dst(layout, 2), mask(maskLayout, 3);
        dst.setMask(&mask);
        for (int call = 0; call < 4; ++call) {
            TestBytes wanted = dst.bytes(), wantedSrc = src.bytes();
            for (int y = 0; y < 21; ++y) {
                for (int x = 0; x < 37; ++x) {
                    if (mask.get(0, x, y) == 0) continue;
                    const auto set = static_cast<uint32_t>(call - 2);
                    dst.setIn(wanted, 0, x, y, call < 2 ? src.get(0, x, y) : set);
                    if (call == 1) src.setIn(wantedSrc, 0, x, y, dst.get(0, x, y));
                }
            }
            AllocationWindow window;
            if (call == 0) moxCopy(src.header(), dst.header());
            if (call == 1) moxExchange(src.header(), dst.header());
            if (call >= 2) moxSet(dst.header(), call - 2);
            window.close();
            EXPECT_TRUE(recorder.none()) << recorder.text();
            EXPECT_TRUE(dst.holds(wanted)) << call;
            EXPECT_TRUE(src.holds(wantedSrc)) << call;
            src.drawSamples(10 + static_cast<uint64_t>(call));
            dst.drawSamples(20 + static_cast<uint64_t>(call));
        }
        EXPECT_TRUE(mask.headerIsUntouched());
    }
}

// Rows of the temporaries end with bits that belong to nobody. They reach no row of the destination.
TEST_F(MaskedBits, APlainDestinationKeepsWhatStandsBetweenItsRows) {
    TestImage src(bits(1364, 2, 64, 8), 1), dst(TestLayout::ofMask(1364, 2), 2), mask(TestLayout::ofMask(1364, 2), 3);
    mask.setAll(1);
    for (TestImage *masked : {&src, &dst}) {
        masked->setMask(&mask);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 2; ++y) {
            for (int x = 0; x < 1364; ++x)
                dst.setIn(wanted, 0, x, y, src.get(0, x, y));
        }
        AllocationWindow window;
        moxCopy(src.header(), dst.header());
        window.close();
        EXPECT_TRUE(recorder.none());
        EXPECT_TRUE(dst.holds(wanted));
        masked->setMask(nullptr);
        dst.drawSamples(4);
    }
}

// Nor do bits of a mask, where its rows are those of a tile.
TEST_F(MaskedBits, ASetTileKeepsWhatStandsBetweenItsRows) {
    TestLayout layout = bits(8, 8, 8, 8), maskLayout = TestLayout::ofMask(8, 8);
    layout.setRoi(1, 0, 0, 8, 8);
    maskLayout.setRoi(1, 0, 0, 8, 8);
    for (int value : {0, 1}) {
        TestImage image(layout, 1), mask(maskLayout, 2);
        image.setMask(&mask);
        TestBytes wanted = image.bytes(), maskBefore = mask.bytes();
        for (int i = 0; i < 64; ++i) {
            if (mask.get(0, i % 8, i / 8) != 0) image.setIn(wanted, 0, i % 8, i / 8, static_cast<uint32_t>(value));
        }
        moxSet(image.header(), value);
        EXPECT_TRUE(recorder.none());
        EXPECT_TRUE(image.holds(wanted));
        EXPECT_TRUE(mask.holds(maskBefore));
        EXPECT_TRUE(mask.headerIsUntouched());
    }
}

// The last step of an exchange of two tiled images is a copy, which needs memory of its own under two masks. Its -1 is
// no status: the exchange hears of it all the same.
TEST_F(MaskedBits, AnExchangeReportsEveryStepThatFails) {
    for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U}) {
        TestLayout layout = TestLayout::of(depth, 24, 16);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage one(layout, 1), two(layout, 2), maskOne(TestLayout::ofMask(24, 16), 3),
            maskTwo(TestLayout::ofMask(24, 16), 4);
        one.setMask(&maskOne);
        two.setMask(&maskTwo);
        const TestBytes oneBefore = one.bytes(), twoBefore = two.bytes();
        bool silent = false;
        for (int failAt = 1;; ++failAt) {
            ASSERT_LT(failAt, 1000);
            recorder.clear();
            AllocationWindow window(failAt);
            moxExchange(one.header(), two.header());
            window.close();
            EXPECT_EQ(window.live(), 0);
            one.abandonTiles();
            two.abandonTiles();
            one.setBytes(oneBefore);
            two.setBytes(twoBefore);
            if (!window.refused()) break;
            ASSERT_FALSE(recorder.seen.empty()) << failAt;
            EXPECT_EQ(recorder.seen.back().function, "moxExchange") << failAt;
            EXPECT_EQ(recorder.seen.back().status, -1);
            const size_t count = recorder.seen.size();
            silent = silent || (count == 2 && recorder.seen[0].function == "moxCopy" && moxGetErrStatus() == 0);
        }
        EXPECT_TRUE(silent) << "no step had nothing but -1 to say";
        EXPECT_TRUE(recorder.none());
    }
}

}  // namespace
