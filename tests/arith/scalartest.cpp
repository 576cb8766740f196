// One image and a constant, unary operations: literal values and the cases that are easy to get wrong.
#include <functional>
#include <limits>

#include "arith/arithcheck.h"

namespace {

constexpr int INT_LOWEST = std::numeric_limits<int>::min();
constexpr int INT_HIGHEST = std::numeric_limits<int>::max();

using Call = std::function<void(MoxImage *, MoxImage *)>;

// One sample, plainly and under a mask, on every CPU level; all ways agree.
uint32_t resultOf(unsigned depth, uint32_t sample, const Call &call) {
    TestImage source(TestLayout::of(depth, 35, 2)), d(TestLayout::of(depth, 35, 2)), mask(TestLayout::ofMask(35, 2));
    mask.setAll(1);
    source.setAll(sample);
    uint32_t result = 0;
    bool first = true;
    for (TestImage *each : {static_cast<TestImage *>(nullptr), &mask}) {
        d.setMask(each);
        forEachCpuLevel([&] {
            ReportRecorder reports;
            d.setAll(0x55555555);
            call(source.header(), d.header());
            EXPECT_TRUE(reports.none());
            for (int x = 0; x < 35; ++x) {
                if (first) result = d.get(0, x, 1);
                first = false;
                EXPECT_EQ(d.get(0, x, 1), result) << "at " << x;
            }
        });
    }
    return result;
}

uint32_t addS(unsigned depth, uint32_t sample, int value) {
    return resultOf(depth, sample, [=](MoxImage *s, MoxImage *d) { moxAddS(s, d, value); });
}
uint32_t subtractS(unsigned depth, uint32_t sample, int value, int flip) {
    return resultOf(depth, sample, [=](MoxImage *s, MoxImage *d) { moxSubtractS(s, d, value, flip); });
}
uint32_t multiplyS(unsigned depth, uint32_t sample, int value) {
    return resultOf(depth, sample, [=](MoxImage *s, MoxImage *d) { moxMultiplyS(s, d, value); });
}
uint32_t leftShift(unsigned depth, uint32_t sample, unsigned shift) {
    return resultOf(depth, sample, [=](MoxImage *s, MoxImage *d) { moxLShiftS(s, d, shift); });
}
uint32_t rightShift(unsigned depth, uint32_t sample, unsigned shift) {
    return resultOf(depth, sample, [=](MoxImage *s, MoxImage *d) { moxRShiftS(s, d, shift); });
}
uint32_t absOf(unsigned depth, uint32_t sample) {
    return resultOf(depth, sample, moxAbs);
}
uint32_t notOf(unsigned depth, uint32_t sample) {
    return resultOf(depth, sample, moxNot);
}
uint32_t squareOf(unsigned depth, uint32_t sample) {
    return resultOf(depth, sample, moxSquare);
}

TEST(AddS, eightBitsWithMinus300GivesZeroEverywhere) {
    for (uint32_t sample : {0u, 1u, 128u, 255u})
        EXPECT_EQ(addS(MOX_DEPTH_8U, sample, -300), 0u);
}

TEST(AddS, signedEightBitsWith300Gives127) {
    for (uint32_t sample : {0u, 1u, 0x80u, 0xFFu})
        EXPECT_EQ(addS(MOX_DEPTH_8S, sample, 300), 127u);
}

TEST(AddS, extremeConstants) {
    EXPECT_EQ(addS(MOX_DEPTH_8U, 255, INT_LOWEST), 0u);
    EXPECT_EQ(addS(MOX_DEPTH_8U, 0, INT_HIGHEST), 255u);
    EXPECT_EQ(addS(MOX_DEPTH_8S, 127, INT_LOWEST), 0x80u);
    EXPECT_EQ(addS(MOX_DEPTH_16S, 32767, INT_LOWEST), 0x8000u);
    EXPECT_EQ(addS(MOX_DEPTH_16S, 32767, -65535), 0x8000u);
    EXPECT_EQ(addS(MOX_DEPTH_16S, 32767, -65534), 0x8001u);
    EXPECT_EQ(addS(MOX_DEPTH_16S, 0x8000, 65535), 0x7FFFu);
    EXPECT_EQ(addS(MOX_DEPTH_16S, 0x8000, 65536), 0x7FFFu);
    EXPECT_EQ(addS(MOX_DEPTH_16S, 0x8000, INT_HIGHEST), 0x7FFFu);
    EXPECT_EQ(addS(MOX_DEPTH_16U, 0, 65534), 65534u);
    EXPECT_EQ(addS(MOX_DEPTH_16U, 65535, -65534), 1u);
    EXPECT_EQ(addS(MOX_DEPTH_32S, 0x7FFFFFFF, INT_LOWEST), 0xFFFFFFFFu);
    EXPECT_EQ(addS(MOX_DEPTH_32S, 0xFFFFFFFF, INT_LOWEST), 0x80000000u);
    EXPECT_EQ(addS(MOX_DEPTH_32S, 1, INT_HIGHEST), 0x7FFFFFFFu);
}

TEST(AddS, ofBitsWith2Copies) {
    EXPECT_EQ(addS(MOX_DEPTH_1U, 0, 2), 0u);
    EXPECT_EQ(addS(MOX_DEPTH_1U, 1, 2), 1u);
    EXPECT_EQ(addS(MOX_DEPTH_1U, 0, 3), 1u);
    EXPECT_EQ(addS(MOX_DEPTH_1U, 0, -1), 1u);
}

TEST(SubtractS, flipOfEightBits) {
    EXPECT_EQ(subtractS(MOX_DEPTH_8U, 30, 100, 1), 70u);
    EXPECT_EQ(subtractS(MOX_DEPTH_8U, 200, 100, 1), 0u);
    for (uint32_t sample : {0u, 1u, 255u})
        EXPECT_EQ(subtractS(MOX_DEPTH_8U, sample, 510, 1), 255u);
    EXPECT_EQ(subtractS(MOX_DEPTH_8U, 255, 509, 1), 254u);
    EXPECT_EQ(subtractS(MOX_DEPTH_8U, 255, 300, 1), 45u);
    EXPECT_EQ(subtractS(MOX_DEPTH_8U, 0, 0, 1), 0u);
}

TEST(SubtractS, sixteenBits) {
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 65535, 131069, 1), 65534u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 65535, 65536, 1), 1u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 1, 65536, 1), 65535u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 2, 65537, 1), 65535u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 3, 65537, 1), 65534u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 65535, 65534, 0), 1u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16U, 1, -65534, 0), 65535u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x8000, 65534, 1), 0x7FFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x7FFF, 65534, 1), 0x7FFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x7FFF, 65533, 1), 0x7FFEu);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x8000, -65536, 1), 0x8000u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x8000, -65535, 1), 0x8001u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x8000, INT_LOWEST, 1), 0x8000u);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x7FFF, INT_LOWEST, 0), 0x7FFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_16S, 0x8000, INT_LOWEST, 0), 0x7FFFu);
}

TEST(SubtractS, thirtyTwoBits) {
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0, INT_LOWEST, 0), 0x7FFFFFFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0xFFFFFFFF, INT_LOWEST, 0), 0x7FFFFFFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0x80000000, INT_LOWEST, 0), 0u);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 1, INT_LOWEST, 1), 0x80000000u);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0x80000000, INT_LOWEST, 1), 0u);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0x80000000, 0, 1), 0x7FFFFFFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0x80000000, -1, 1), 0x7FFFFFFFu);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0x80000001, -1, 1), 0x7FFFFFFEu);
    EXPECT_EQ(subtractS(MOX_DEPTH_32S, 0xFFFFFFFE, INT_HIGHEST, 0), 0x80000000u);
}

TEST(SubtractS, ofBitsSaturates) {
    for (uint32_t bit : {0u, 1u}) {
        EXPECT_EQ(subtractS(MOX_DEPTH_1U, bit, 1, 1), 1 - bit);
        EXPECT_EQ(subtractS(MOX_DEPTH_1U, bit, 0, 0), bit);
        EXPECT_EQ(subtractS(MOX_DEPTH_1U, bit, 1, 0), 0u);
        EXPECT_EQ(subtractS(MOX_DEPTH_1U, bit, 0, 1), 0u);
        EXPECT_EQ(subtractS(MOX_DEPTH_1U, bit, -3, 7), 1 - bit);
    }
}

TEST(MultiplyS, eightBits) {
    for (uint32_t sample : {0u, 1u, 255u}) {
        EXPECT_EQ(multiplyS(MOX_DEPTH_8U, sample, 0), 0u);
        EXPECT_EQ(multiplyS(MOX_DEPTH_8U, sample, -3), 0u);
    }
    EXPECT_EQ(multiplyS(MOX_DEPTH_8U, 1, 1000), 255u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_8U, 0, INT_HIGHEST), 0u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_8S, 0x80, INT_HIGHEST), 0x80u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_8S, 0x80, INT_LOWEST), 127u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_8S, 0xFF, 128), 0x80u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_8S, 3, -4), 0xF4u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_8S, 100, 33554432), 127u);
}

TEST(MultiplyS, wider) {
    EXPECT_EQ(multiplyS(MOX_DEPTH_16U, 65535, INT_HIGHEST), 65535u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_16U, 1, 65535), 65535u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_16S, 0xFFFF, 32768), 0x8000u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_16S, 0xFFFF, 32769), 0x8000u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_16S, 1, 40000), 0x7FFFu);
    EXPECT_EQ(multiplyS(MOX_DEPTH_16S, 0xFFFF, INT_LOWEST), 0x7FFFu);
    EXPECT_EQ(multiplyS(MOX_DEPTH_16S, 0x8000, INT_LOWEST), 0x7FFFu);
    EXPECT_EQ(multiplyS(MOX_DEPTH_32S, 0x80000000, INT_LOWEST), 0x7FFFFFFFu);
    EXPECT_EQ(multiplyS(MOX_DEPTH_32S, 0x80000000, -1), 0x7FFFFFFFu);
    EXPECT_EQ(multiplyS(MOX_DEPTH_32S, 0x7FFFFFFF, -1), 0x80000001u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_32S, 65536, -32768), 0x80000000u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_32S, 65536, -32769), 0x80000000u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_1U, 1, 2), 0u);
    EXPECT_EQ(multiplyS(MOX_DEPTH_1U, 1, -1), 1u);
}

TEST(LogicS, usesTheLowBitsOfTheValue) {
    const Call and7F0 = [](MoxImage *s, MoxImage *d) { moxAndS(s, d, 0x7F0); };
    const Call or10001 = [](MoxImage *s, MoxImage *d) { moxOrS(s, d, 0x10001); };
    const Call xorMinus1 = [](MoxImage *s, MoxImage *d) { moxXorS(s, d, -1); };
    EXPECT_EQ(resultOf(MOX_DEPTH_8U, 0xFF, and7F0), 0xF0u);
    EXPECT_EQ(resultOf(MOX_DEPTH_16S, 0xFFFF, and7F0), 0x7F0u);
    EXPECT_EQ(resultOf(MOX_DEPTH_1U, 1, and7F0), 0u);
    EXPECT_EQ(resultOf(MOX_DEPTH_16U, 0x8000, or10001), 0x8001u);
    EXPECT_EQ(resultOf(MOX_DEPTH_32S, 0x8000, or10001), 0x18001u);
    EXPECT_EQ(resultOf(MOX_DEPTH_1U, 0, or10001), 1u);
    EXPECT_EQ(resultOf(MOX_DEPTH_8S, 0x0F, xorMinus1), 0xF0u);
    EXPECT_EQ(resultOf(MOX_DEPTH_1U, 1, xorMinus1), 0u);
}

TEST(Shift, leftLosesBits) {
    EXPECT_EQ(leftShift(MOX_DEPTH_8S, 0x80, 1), 0u);
    EXPECT_EQ(leftShift(MOX_DEPTH_8S, 64, 1), 0x80u);
    EXPECT_EQ(leftShift(MOX_DEPTH_8U, 0xFF, 7), 0x80u);
    EXPECT_EQ(leftShift(MOX_DEPTH_8U, 0xFF, 8), 0u);
    EXPECT_EQ(leftShift(MOX_DEPTH_16S, 0xFFFF, 15), 0x8000u);
    EXPECT_EQ(leftShift(MOX_DEPTH_32S, 0xFFFFFFFF, 31), 0x80000000u);
    EXPECT_EQ(leftShift(MOX_DEPTH_32S, 0xFFFFFFFF, 32), 0u);
    EXPECT_EQ(leftShift(MOX_DEPTH_32S, 0x12345678, 0), 0x12345678u);
    EXPECT_EQ(leftShift(MOX_DEPTH_1U, 1, 0), 1u);
    EXPECT_EQ(leftShift(MOX_DEPTH_1U, 1, 1), 0u);
}

TEST(Shift, rightKeepsTheSign) {
    EXPECT_EQ(rightShift(MOX_DEPTH_8S, 0xFF, 100), 0xFFu);
    EXPECT_EQ(rightShift(MOX_DEPTH_8S, 1, 100), 0u);
    EXPECT_EQ(rightShift(MOX_DEPTH_8S, 0xFD, 1), 0xFEu);  // -3 goes down to -2
    EXPECT_EQ(rightShift(MOX_DEPTH_8U, 0xFD, 1), 0x7Eu);
    EXPECT_EQ(rightShift(MOX_DEPTH_8U, 0xFF, 8), 0u);
    EXPECT_EQ(rightShift(MOX_DEPTH_16S, 0x8000, 15), 0xFFFFu);
    EXPECT_EQ(rightShift(MOX_DEPTH_16S, 0x8000, 0xFFFFFFFF), 0xFFFFu);
    EXPECT_EQ(rightShift(MOX_DEPTH_16U, 0x8000, 15), 1u);
    EXPECT_EQ(rightShift(MOX_DEPTH_32S, 0x80000000, 31), 0xFFFFFFFFu);
    EXPECT_EQ(rightShift(MOX_DEPTH_32S, 0x80000000, 32), 0xFFFFFFFFu);
    EXPECT_EQ(rightShift(MOX_DEPTH_32S, 0x7FFFFFFF, 0x80000000), 0u);
    EXPECT_EQ(rightShift(MOX_DEPTH_1U, 1, 1), 0u);
}

TEST(Abs, mostNegativeBecomesLargest) {
    EXPECT_EQ(absOf(MOX_DEPTH_8S, 0x80), 127u);
    EXPECT_EQ(absOf(MOX_DEPTH_16S, 0x8000), 32767u);
    EXPECT_EQ(absOf(MOX_DEPTH_32S, 0x80000000), 0x7FFFFFFFu);
    EXPECT_EQ(absOf(MOX_DEPTH_8S, 0xFF), 1u);
    EXPECT_EQ(absOf(MOX_DEPTH_32S, 0x80000001), 0x7FFFFFFFu);
}

TEST(Abs, dropsTheSignOfAFloat) {
    EXPECT_EQ(absOf(MOX_DEPTH_32F, 0x80000000), 0u);
    EXPECT_EQ(absOf(MOX_DEPTH_32F, 0xBF800000), 0x3F800000u);
    EXPECT_EQ(absOf(MOX_DEPTH_32F, 0xFF800000), 0x7F800000u);
    EXPECT_EQ(absOf(MOX_DEPTH_32F, 0x80000001), 1u);
    EXPECT_EQ(absOf(MOX_DEPTH_32F, 0xFFC12345), 0x7FC12345u);
}

TEST(Abs, copiesUnsignedDepths) {
    EXPECT_EQ(absOf(MOX_DEPTH_8U, 0x80), 0x80u);
    EXPECT_EQ(absOf(MOX_DEPTH_16U, 0x8000), 0x8000u);
    EXPECT_EQ(absOf(MOX_DEPTH_1U, 1), 1u);
}

TEST(Not, inverts) {
    EXPECT_EQ(notOf(MOX_DEPTH_16S, 0), 0xFFFFu);
    EXPECT_EQ(notOf(MOX_DEPTH_8U, 0x0F), 0xF0u);
    EXPECT_EQ(notOf(MOX_DEPTH_32S, 0x80000000), 0x7FFFFFFFu);
    EXPECT_EQ(notOf(MOX_DEPTH_1U, 0), 1u);
    EXPECT_EQ(notOf(MOX_DEPTH_1U, 1), 0u);
}

TEST(Square, clampsToTheTop) {
    EXPECT_EQ(squareOf(MOX_DEPTH_8U, 15), 225u);
    EXPECT_EQ(squareOf(MOX_DEPTH_8U, 16), 255u);
    EXPECT_EQ(squareOf(MOX_DEPTH_8S, 0x80), 127u);
    EXPECT_EQ(squareOf(MOX_DEPTH_8S, 0xF5), 121u);
    EXPECT_EQ(squareOf(MOX_DEPTH_16U, 255), 65025u);
    EXPECT_EQ(squareOf(MOX_DEPTH_16U, 65535), 65535u);
    EXPECT_EQ(squareOf(MOX_DEPTH_16S, 0x8000), 32767u);
    EXPECT_EQ(squareOf(MOX_DEPTH_32S, 46340), 2147395600u);
    EXPECT_EQ(squareOf(MOX_DEPTH_32S, 46341), 0x7FFFFFFFu);
    EXPECT_EQ(squareOf(MOX_DEPTH_32S, 0x80000000), 0x7FFFFFFFu);
    EXPECT_EQ(squareOf(MOX_DEPTH_32F, 0xC0000000), 0x40800000u);
    EXPECT_EQ(squareOf(MOX_DEPTH_1U, 1), 1u);
    EXPECT_EQ(squareOf(MOX_DEPTH_1U, 0), 0u);
}

TEST(FloatScalar, values) {
    const Call add = [](MoxImage *s, MoxImage *d) { moxAddSFP(s, d, 0.5f); };
    const Call from = [](MoxImage *s, MoxImage *d) { moxSubtractSFP(s, d, 0.5f, 1); };
    const Call less = [](MoxImage *s, MoxImage *d) { moxSubtractSFP(s, d, 0.5f, 0); };
    const Call times = [](MoxImage *s, MoxImage *d) { moxMultiplySFP(s, d, -0.5f); };
    EXPECT_EQ(resultOf(MOX_DEPTH_32F, 0x3F800000, add), 0x3FC00000u);
    EXPECT_EQ(resultOf(MOX_DEPTH_32F, 0x3F800000, from), 0xBF000000u);
    EXPECT_EQ(resultOf(MOX_DEPTH_32F, 0x3F800000, less), 0x3F000000u);
    EXPECT_EQ(resultOf(MOX_DEPTH_32F, 0x00000000, times), 0x80000000u);
    EXPECT_EQ(resultOf(MOX_DEPTH_32F, 0x7F800001, from), 0x7FC00001u);
}

// A shift by nothing is a copy that keeps to region, channel and mask.
TEST(Shift, byZeroCopiesUnderRegionChannelAndMask) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 30, 6, 3);
    layout.setRoi(2, 3, 1, 20, 4);
    TestImage source(layout, 1), d(layout, 2), mask(TestLayout::ofMask(25, 3), 3);
    d.setMask(&mask);
    TestBytes expected = d.bytes();
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 20; ++x) {
            if (mask.get(0, x, y)) d.setIn(expected, 1, 3 + x, 1 + y, source.get(1, 3 + x, 1 + y));
        }
    }
    ReportRecorder reports;
    moxLShiftS(source.header(), d.header(), 0);
    EXPECT_TRUE(d.holds(expected));
    moxRShiftS(source.header(), d.header(), 0);
    EXPECT_TRUE(d.holds(expected));
    EXPECT_TRUE(reports.none());
}

}  // namespace
