// Mirror images: results that are told.
#include <bit>

#include "filter/filtercheck.h"
#include "reference/geometry.h"

namespace {

TEST(MirrorImage, rowsOrColumnsOrBothChangePlaces) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3, 2), 2);
    for (uint32_t k = 0; k < 6; ++k)
        src.set(0, static_cast<int>(k) % 3, static_cast<int>(k) / 3, k + 1);
    const uint32_t wanted[3][6] = {{6, 5, 4, 3, 2, 1}, {4, 5, 6, 1, 2, 3}, {3, 2, 1, 6, 5, 4}};
    ReportRecorder reports;
    for (int axis = -1; axis <= 1; ++axis) {
        moxMirror(src.header(), dst.header(), axis);
        for (int k = 0; k < 6; ++k)
            EXPECT_EQ(dst.get(0, k % 3, k / 3), wanted[axis + 1][k]) << axis << " " << k;
    }
    EXPECT_TRUE(reports.none());
}

// A region that begins in the middle of a byte and ends in the middle of another one.
TEST(MirrorImage, bitsOfARegionReverseAndTheirNeighboursStay) {
    for (const int inPlace : {0, 1}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_1U, 24, 3);
        layout.setRoi(0, 3, 1, 9, 1);
        TestImage src(layout, 1), other(layout, 2);
        TestImage &dst = inPlace ? src : other;
        const TestBytes before = src.bytes();
        TestBytes wanted = dst.bytes();
        for (int x = 0; x < 9; ++x)
            dst.setIn(wanted, 0, 3 + x, 1, src.getIn(before, 0, 11 - x, 1));
        ReportRecorder reports;
        moxMirror(src.header(), dst.header(), 1);
        EXPECT_TRUE(dst.holds(wanted));
        EXPECT_TRUE(reports.none());
    }
}

TEST(MirrorImage, aMiddleRowStaysInPlace) {
    for (const unsigned depth : allDepths) {
        for (const int height : {1, 5, 6}) {
            TestImage image(TestLayout::of(depth, 37, height), 1);
            const TestBytes before = image.bytes();
            moxMirror(image.header(), image.header(), 0);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < 37; ++x)
                    ASSERT_EQ(image.get(0, x, y), image.getIn(before, 0, x, height - 1 - y)) << depthName(depth);
            }
            moxMirror(image.header(), image.header(), 0);
            EXPECT_TRUE(image.holds(before)) << depthName(depth);
        }
    }
}

TEST(MirrorImage, twiceIsNothing) {
    for (const unsigned depth : allDepths) {
        for (int axis = -1; axis <= 1; ++axis) {
            TestImage image(TestLayout::of(depth, 131, 7, depth == MOX_DEPTH_1U ? 1 : 3), 1);
            const TestBytes before = image.bytes();
            moxMirror(image.header(), image.header(), axis);
            EXPECT_FALSE(image.holds(before));
            moxMirror(image.header(), image.header(), axis);
            EXPECT_TRUE(image.holds(before)) << depthName(depth) << " " << axis;
        }
    }
}

// Floats are moved, not computed with: every bit of a NaN comes along.
TEST(MirrorImage, floatsKeepEveryBit) {
    const uint32_t values[] = {0x7F800001, 0xFFC12345, 0x7FBFFFFF, 0x80000000, 0x00000001, 0xFF800000, 0x7FFFFFFF};
    forEachCpuLevel([&] {
        for (const int inPlace : {0, 1}) {
            TestImage src(TestLayout::of(MOX_DEPTH_32F, 29, 1), 1), other(TestLayout::of(MOX_DEPTH_32F, 29, 1), 2);
            TestImage &dst = inPlace ? src : other;
            for (int x = 0; x < 29; ++x)
                src.set(0, x, 0, values[x % 7]);
            moxMirror(src.header(), dst.header(), 1);
            for (int x = 0; x < 29; ++x)
                EXPECT_EQ(dst.get(0, 28 - x, 0), values[x % 7]);
        }
    });
}

// A smaller destination gets the first part of the reversed source.
TEST(MirrorImage, theSourcesRegionIsWhatIsReversed) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 40, 9);
    layout.setRoi(0, 5, 2, 30, 6);
    TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_16S, 4, 2), 2);
    moxMirror(src.header(), dst.header(), -1);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(dst.get(0, x, y), src.get(0, 34 - x, 7 - y));
    }
}

// The source's mask says which pixels of the destination are written; it is not mirrored, nor does its size move the
// axis.
TEST(MirrorImage, masksHoldWherePixelsAreStored) {
    for (const int ofSource : {0, 1}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 4), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 4), 2);
        TestImage mask(TestLayout::ofMask(15, 3), 3);
        (ofSource ? src : dst).setMask(&mask);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 15; ++x) {
                if (mask.get(0, x, y)) dst.setIn(wanted, 0, x, y, src.get(0, 19 - x, y));
            }
        }
        ReportRecorder reports;
        moxMirror(src.header(), dst.header(), 1);
        EXPECT_TRUE(dst.holds(wanted));
        EXPECT_TRUE(reports.none());
    }
}

TEST(MirrorImage, alphaStaysAndAChannelOfInterestMovesAlone) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 17, 3, 4);
    layout.alpha = 4;
    TestImage image(layout, 1);
    const TestBytes before = image.bytes();
    moxMirror(image.header(), image.header(), 1);
    for (int c = 0; c < 4; ++c)
        EXPECT_EQ(image.get(c, 2, 1), image.getIn(before, c, c == 3 ? 2 : 14, 1)) << c;
    // The channel of interest may be alpha.
    layout.setRoi(4, 0, 0, 17, 3);
    TestImage one(layout, 1);
    const TestBytes kept = one.bytes();
    moxMirror(one.header(), one.header(), 1);
    for (int c = 0; c < 4; ++c)
        EXPECT_EQ(one.get(c, 2, 1), one.getIn(kept, c, c == 3 ? 14 : 2, 1)) << c;
}

TEST(MirrorImage, orderDoesNotMatterWithOneChannel) {
    TestLayout planes = TestLayout::of(MOX_DEPTH_16U, 25, 6, 3, MOX_DATA_ORDER_PLANE);
    planes.setRoi(2, 0, 0, 25, 6);
    TestImage src(planes, 1), dst(TestLayout::of(MOX_DEPTH_16U, 25, 6), 2);
    ReportRecorder reports;
    moxMirror(src.header(), dst.header(), 0);
    for (int x = 0; x < 25; ++x)
        EXPECT_EQ(dst.get(0, x, 1), src.get(1, x, 4));
    EXPECT_TRUE(reports.none());
}

TEST(MirrorImage, nothingInCommonIsNoFault) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    layout.setRoi(0, 20, 0, 5, 5);
    TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    moxMirror(src.header(), dst.header(), 1);
    moxMirror(src.header(), src.header(), -1);
    EXPECT_TRUE(dst.holds(before));
    EXPECT_TRUE(reports.none());
}

// Alpha alone: there is no channel to move.
TEST(MirrorImage, anImageOfAlphaAloneStays) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    layout.alpha = 1;
    TestImage src(layout, 1), dst(layout, 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    moxMirror(src.header(), dst.header(), 1);
    EXPECT_TRUE(dst.holds(before));
    EXPECT_TRUE(reports.none());
}

// Origins are of no account: rows are counted in memory.
TEST(MirrorImage, originsMayDiffer) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    TestImage src(layout, 1);
    layout.origin = 1;
    TestImage dst(layout, 2);
    ReportRecorder reports;
    moxMirror(src.header(), dst.header(), 0);
    EXPECT_EQ(dst.get(0, 7, 1), src.get(0, 7, 8));
    EXPECT_TRUE(reports.none());
}

TEST(MirrorImage, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const RefResult wanted = refMirror(src, dst, 1);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxMirror(src.header(), dst.header(), 1);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst.holds(wanted.expected));
    EXPECT_TRUE(reports.none());
}

}  // namespace
