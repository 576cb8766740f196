// Two-image operations: literal values and the cases that are easy to get wrong.
#include "arith/arithcheck.h"

namespace {

using BinaryFunction = void(MOX_CALL *)(MoxImage *, MoxImage *, MoxImage *);

// One sample of two images, computed plainly, under a mask and on every CPU level; all ways agree.
uint32_t resultOf(BinaryFunction function, unsigned depth, uint32_t a, uint32_t b) {
    TestImage imageA(TestLayout::of(depth, 33, 2)), imageB(TestLayout::of(depth, 33, 2)),
        d(TestLayout::of(depth, 33, 2));
    TestImage mask(TestLayout::ofMask(33, 2));
    mask.setAll(1);
    imageA.setAll(a);
    imageB.setAll(b);
    uint32_t result = 0;
    bool first = true;
    for (TestImage *each : {static_cast<TestImage *>(nullptr), &mask}) {
        d.setMask(each);
        forEachCpuLevel([&] {
            ReportRecorder reports;
            d.setAll(depth == MOX_DEPTH_1U ? 1 : 0x55555555);
            function(imageA.header(), imageB.header(), d.header());
            EXPECT_TRUE(reports.none());
            for (int x = 0; x < 33; ++x) {
                if (first) result = d.get(0, x, 1);
                first = false;
                EXPECT_EQ(d.get(0, x, 1), result) << "at " << x;
            }
        });
    }
    return result;
}

TEST(Add, saturates) {
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_8U, 200, 100), 255u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_8U, 200, 55), 255u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_8U, 200, 54), 254u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_8S, 100, 100), 127u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_8S, 0x80, 0xFF), 0x80u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_16U, 65535, 1), 65535u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_16S, 32767, 1), 32767u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_16S, 0x8000, 0x8000), 0x8000u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32S, 0x7FFFFFFF, 1), 0x7FFFFFFFu);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32S, 0x80000000, 0xFFFFFFFF), 0x80000000u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32S, 0x80000000, 0x7FFFFFFF), 0xFFFFFFFFu);
}

TEST(Subtract, isAMinusBAndSaturates) {
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_8U, 5, 3), 2u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_8U, 3, 5), 0u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_8S, 0x80, 1), 0x80u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_8S, 0, 0x80), 127u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_16U, 0, 65535), 0u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_16S, 0, 0x8000), 32767u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_32S, 0, 0x80000000), 0x7FFFFFFFu);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_32S, 0xFFFFFFFE, 0x7FFFFFFF), 0x80000000u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_32S, 0xFFFFFFFF, 0x7FFFFFFF), 0x80000000u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_32S, 0xFFFFFFFF, 0x80000000), 0x7FFFFFFFu);
}

TEST(Subtract, ofBitsIsAAndNotB) {
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_1U, 1, 0), 1u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_1U, 1, 1), 0u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_1U, 0, 1), 0u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_1U, 0, 0), 0u);
}

TEST(Multiply, hasNoScaleAndSaturates) {
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_8U, 16, 16), 255u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_8U, 15, 17), 255u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_8U, 15, 16), 240u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_8S, 0x80, 0x80), 127u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_8S, 0x80, 0x7F), 0x80u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_8S, 0x80, 0xFF), 127u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_16U, 65535, 65535), 65535u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_16U, 46341, 46341), 65535u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_16U, 256, 255), 65280u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_16S, 0x8000, 0x8000), 32767u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_16S, 0x8000, 0x7FFF), 0x8000u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 65536, 65536), 0x7FFFFFFFu);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 65536, 0xFFFF0000), 0x80000000u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 0x80000000, 0x80000000), 0x7FFFFFFFu);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 0x80000000, 0xFFFFFFFF), 0x7FFFFFFFu);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 0x7FFFFFFF, 0xFFFFFFFF), 0x80000001u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 46341, 46341), 0x7FFFFFFFu);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32S, 46340, 46340), 2147395600u);
}

TEST(BinaryFloat, isSinglePrecisionWithTheFirstNan) {
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 0x3F800000, 0x33800000), 0x3F800000u);  // 1 + 2^-24: ties to even
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 0x80000000, 0x80000000), 0x80000000u);  // -0 + -0
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 0x80000000, 0), 0u);                    // -0 + 0
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 0x7F7FFFFF, 0x7F7FFFFF), 0x7F800000u);  // overflow
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 0x7F800001, 0x7FC54321), 0x7FC00001u);  // A's, quieted
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 0x3F800000, 0xFF800002), 0xFFC00002u);  // B's, quieted
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_32F, 1, 1), 2u);                             // denormals count
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_32F, 0x7FC54321, 0xFFC00001), 0x7FC54321u);
    EXPECT_EQ(resultOf(moxSubtract, MOX_DEPTH_32F, 0x00800000, 1), 0x007FFFFFu);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32F, 0xFFC00007, 0x7FC00001), 0xFFC00007u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32F, 0x20000000, 0x1F000000), 0x00200000u);  // 2^-63 x 2^-65
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_32F, 0x80000000, 0x40000000), 0x80000000u);
}

TEST(Logic, worksOnPatterns) {
    EXPECT_EQ(resultOf(moxAnd, MOX_DEPTH_8S, 0xF0, 0x3C), 0x30u);
    EXPECT_EQ(resultOf(moxOr, MOX_DEPTH_8U, 0xF0, 0x3C), 0xFCu);
    EXPECT_EQ(resultOf(moxXor, MOX_DEPTH_16S, 0xFF00, 0x0FF0), 0xF0F0u);
    EXPECT_EQ(resultOf(moxAnd, MOX_DEPTH_32S, 0x80000001, 0x80000000), 0x80000000u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_1U, 1, 1), 1u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_1U, 1, 0), 1u);
    EXPECT_EQ(resultOf(moxAdd, MOX_DEPTH_1U, 0, 0), 0u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_1U, 1, 0), 0u);
    EXPECT_EQ(resultOf(moxMultiply, MOX_DEPTH_1U, 1, 1), 1u);
    EXPECT_EQ(resultOf(moxXor, MOX_DEPTH_1U, 1, 1), 0u);
}

TEST(InPlace, destinationMayBeEitherSourceOrBoth) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 50, 5)), b(TestLayout::of(MOX_DEPTH_8U, 50, 5));
    a.setAll(9);
    b.setAll(4);
    ReportRecorder reports;
    moxSubtract(a.header(), b.header(), a.header());
    EXPECT_EQ(a.get(0, 49, 4), 5u);
    moxSubtract(a.header(), b.header(), b.header());
    EXPECT_EQ(b.get(0, 49, 4), 1u);
    moxAdd(a.header(), a.header(), a.header());
    EXPECT_EQ(a.get(0, 49, 4), 10u);
    moxXor(a.header(), a.header(), a.header());
    EXPECT_EQ(a.get(0, 49, 4), 0u);
    EXPECT_TRUE(reports.none());
}

TEST(Sizes, tenByTenWithTwentyByFiveCoversTenByFive) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 10, 10)), b(TestLayout::of(MOX_DEPTH_8U, 20, 5)),
        d(TestLayout::of(MOX_DEPTH_8U, 30, 30));
    TestBytes expected = d.bytes();
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 10; ++x)
            d.setIn(expected, 0, x, y, a.get(0, x, y) & b.get(0, x, y));
    }
    ReportRecorder reports;
    moxAnd(a.header(), b.header(), d.header());
    EXPECT_TRUE(d.holds(expected));
    EXPECT_TRUE(reports.none());
}

TEST(Alpha, ofTheDestinationIsUnchanged) {
    for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 40, 3, 4, order);
        layout.alpha = 4;
        TestImage a(layout, 1), b(layout, 2), d(layout, 3);
        TestBytes expected = d.bytes();
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 40; ++x) {
                for (int c = 0; c < 3; ++c)
                    d.setIn(expected, c, x, y, a.get(c, x, y) | b.get(c, x, y));
            }
        }
        ReportRecorder reports;
        moxOr(a.header(), b.header(), d.header());
        EXPECT_TRUE(d.holds(expected));
    }
}

TEST(Alpha, isProcessedWhenAChannelOfInterestNamesIt) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 12, 3, 4), plain = TestLayout::of(MOX_DEPTH_8U, 12, 3);
    layout.alpha = 4;
    layout.setRoi(4, 0, 0, 12, 3);
    TestImage a(plain, 1), d(layout, 3);
    TestBytes expected = d.bytes();
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 12; ++x)
            d.setIn(expected, 3, x, y, a.get(0, x, y) ^ d.get(3, x, y));
    }
    ReportRecorder reports;
    moxXor(a.header(), d.header(), d.header());
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(d.holds(expected));
}

TEST(Alpha, aloneLeavesNothingToProcess) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 12, 3);
    layout.alpha = 1;
    TestImage a(layout, 1), d(layout, 2);
    const TestBytes before = d.bytes();
    ReportRecorder reports;
    moxAdd(a.header(), a.header(), d.header());
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(d.holds(before));
}

TEST(Origin, playsNoPart) {
    TestLayout top = TestLayout::of(MOX_DEPTH_8U, 9, 4), bottom = top;
    bottom.origin = MOX_ORIGIN_BL;
    TestImage a(top, 1), b(bottom, 2), d(bottom, 3);
    ReportRecorder reports;
    moxXor(a.header(), b.header(), d.header());
    EXPECT_EQ(d.get(0, 3, 0), a.get(0, 3, 0) ^ b.get(0, 3, 0));
    EXPECT_TRUE(reports.none());
}

}  // namespace
