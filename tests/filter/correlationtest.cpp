// Correlation: results that are told.
#include <bit>
#include <cmath>

#include "filter/correlationcheck.h"

namespace {

float asFloat(uint32_t bits) {
    return std::bit_cast<float>(bits);
}

// A piece of the source cut out is found where its middle was, at the top of the scale.
TEST(NormCrossCorrelation, aPerfectMatchIsTheFullScale) {
    struct {
        unsigned from, to;
        uint32_t full;
    } const cases[] = {{MOX_DEPTH_8U, MOX_DEPTH_8U, 255},     {MOX_DEPTH_8U, MOX_DEPTH_32F, 0x3F800000},
                       {MOX_DEPTH_8S, MOX_DEPTH_8S, 127},     {MOX_DEPTH_16U, MOX_DEPTH_16U, 65535},
                       {MOX_DEPTH_16S, MOX_DEPTH_16S, 32767}, {MOX_DEPTH_32S, MOX_DEPTH_32S, 0x7FFFFFFF},
                       {MOX_DEPTH_1U, MOX_DEPTH_1U, 1}};
    for (const auto &each : cases) {
        for (const auto &size : {std::pair(5, 4), std::pair(1, 1), std::pair(16, 3), std::pair(2, 7)}) {
            const int width = size.first, height = size.second;
            TestImage src(TestLayout::of(each.from, 40, 20), 1), dst(TestLayout::of(each.to, 40, 20), 2);
            TestImage pattern(TestLayout::of(each.from, width, height), 3);
            src.set(0, 9, 6, 1);  // no window of zeros
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x)
                    pattern.set(0, x, y, src.get(0, 9 + x, 6 + y));
            }
            forEachCpuLevel([&] {
                EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
                const uint32_t found = dst.get(0, 9 + width / 2, 6 + height / 2);
                if (each.to == MOX_DEPTH_32F) {
                    EXPECT_NEAR(asFloat(found), 1, 2.4e-7);
                } else {
                    EXPECT_EQ(found, each.full) << depthName(each.from) << " " << width << " x " << height;
                }
            });
        }
    }
}

TEST(NormCrossCorrelation, aWindowOfZerosGivesZero) {
    for (const unsigned depth : allDepths) {
        TestImage src(TestLayout::of(depth, 30, 9), 1), dst(TestLayout::of(depth, 30, 9), 2);
        TestImage pattern(TestLayout::of(depth, 3, 3), 3);
        src.setAll(0);
        if (depth == MOX_DEPTH_32F) pattern.setAll(std::bit_cast<uint32_t>(2.5f));
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        for (int k = 0; k < 270; ++k)
            ASSERT_EQ(dst.get(0, k % 30, k / 30), 0u) << depthName(depth);
        // A template of zeros fits nowhere.
        src.drawSamples(7);
        if (depth == MOX_DEPTH_32F) src.setAll(std::bit_cast<uint32_t>(2.5f));
        pattern.setAll(0);
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        for (int k = 0; k < 270; ++k)
            ASSERT_EQ(dst.get(0, k % 30, k / 30), 0u) << depthName(depth);
    }
}

// The opposite of the template, where samples have signs.
TEST(NormCrossCorrelation, theOppositeIsTheScaleBelowZero) {
    for (const unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage src(TestLayout::of(depth, 30, 9), 1), dst(TestLayout::of(depth, 30, 9), 2);
        TestImage pattern(TestLayout::of(depth, 3, 3), 3);
        src.setAll(static_cast<uint32_t>(-5) & (depth == MOX_DEPTH_8S    ? 0xFFu
                                                : depth == MOX_DEPTH_16S ? 0xFFFFu
                                                                         : ~0u));
        pattern.setAll(7);
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        const int full = depth == MOX_DEPTH_8S ? 127 : depth == MOX_DEPTH_16S ? 32767 : 2147483647;
        EXPECT_EQ(refInteger(depth, dst.get(0, 15, 4)), -full);
    }
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 30, 9), 1), dst(TestLayout::of(MOX_DEPTH_32F, 30, 9), 2);
    TestImage pattern(TestLayout::of(MOX_DEPTH_32F, 3, 3), 3);
    src.setAll(std::bit_cast<uint32_t>(-5.0f));
    pattern.setAll(std::bit_cast<uint32_t>(7.0f));
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_NEAR(asFloat(dst.get(0, 15, 4)), -1, 2.4e-7);
}

// Windows whose energy is too small for a root: the bare sum of the products.
TEST(NormCrossCorrelation, tinyEnergiesAreNotDividedBy) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 9, 3), 1), dst(TestLayout::of(MOX_DEPTH_32F, 9, 3), 2);
    TestImage pattern(TestLayout::of(MOX_DEPTH_32F, 1, 1), 3);
    src.setAll(std::bit_cast<uint32_t>(0x1p-40f));
    pattern.setAll(std::bit_cast<uint32_t>(0x1p-40f));
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_EQ(asFloat(dst.get(0, 4, 1)), 0x1p-80f);
    // The bound itself, 2 to the -126th, is not above it.
    pattern.setAll(std::bit_cast<uint32_t>(0x1p-23f));
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_EQ(asFloat(dst.get(0, 4, 1)), 0x1p-63f);
    pattern.setAll(std::bit_cast<uint32_t>(0x1p-22f));
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_NEAR(asFloat(dst.get(0, 4, 1)), 1, 2.4e-7);
}

// Where large samples have left the window, its energy is that of the small ones.
TEST(NormCrossCorrelation, energiesForgetWhatIsGone) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        TestImage src(TestLayout::of(MOX_DEPTH_32F, 60, 30, 3, order), 1),
            dst(TestLayout::of(MOX_DEPTH_32F, 60, 30, 3, order), 2);
        TestImage pattern(TestLayout::of(MOX_DEPTH_32F, 4, 4, 3, order), 3);
        src.setAll(std::bit_cast<uint32_t>(0.001f));
        pattern.setAll(std::bit_cast<uint32_t>(3.0f));
        for (int c = 0; c < 3; ++c)
            src.set(c, 20, 10, std::bit_cast<uint32_t>(1e15f));
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        for (int y = 4; y < 26; ++y) {
            for (int x = 4; x < 56; ++x) {
                if (std::abs(x - 20) < 5 && std::abs(y - 10) < 5) continue;
                ASSERT_NEAR(asFloat(dst.get(1, x, y)), 1, 5e-7) << x << "," << y;
            }
        }
    }
}

// The largest samples: no sum of theirs is too large for its accumulator.
TEST(NormCrossCorrelation, theLargestSamplesMatch) {
    struct {
        unsigned depth;
        uint32_t largest, full;
    } const cases[] = {{MOX_DEPTH_8U, 255, 255},
                       {MOX_DEPTH_8S, 0x80, 127},
                       {MOX_DEPTH_16U, 65535, 65535},
                       {MOX_DEPTH_16S, 0x8000, 32767},
                       {MOX_DEPTH_32S, 0x80000000, 0x7FFFFFFF}};
    for (const auto &each : cases) {
        TestImage src(TestLayout::of(each.depth, 320, 5), 1), dst(TestLayout::of(each.depth, 320, 5), 2);
        TestImage pattern(TestLayout::of(each.depth, 300, 300), 3);
        src.setAll(each.largest);
        pattern.setAll(each.largest);
        moxSetBorderMode(src.header(), MOX_BORDER_REPLICATE, 15, 0);
        forEachCpuLevel([&] {
            dst.setAll(1);
            EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
            for (int x = 0; x < 320; ++x)
                ASSERT_EQ(dst.get(0, x, 2), each.full) << depthName(each.depth) << " " << x;
        });
    }
}

// What a template alone may have of its own: order, origin, alpha.
TEST(NormCrossCorrelation, aTemplateMayDifferInOrderOriginAndAlpha) {
    const TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 12, 3);
    TestImage src(layout, 1), dst(layout, 2);
    TestLayout other = TestLayout::of(MOX_DEPTH_8U, 5, 3, 3, MOX_DATA_ORDER_PLANE);
    other.origin = 1;
    other.alpha = 3;
    TestImage pattern(other, 3);
    ReportRecorder reports;
    const RefCorrelation wanted = refNormCrossCorr(pattern, src, dst);
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_TRUE(reports.none());
    RefResult expected = wanted.result;
    refAcceptRounding(src, dst, wanted, &expected);
    EXPECT_TRUE(dst.holds(expected.expected));
}

// The destination alone may have another order and origin, too.
TEST(NormCrossCorrelation, aDestinationMayDifferInOrderAndOrigin) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 30, 12, 3), 1), pattern(TestLayout::of(MOX_DEPTH_8U, 5, 3, 3), 3);
    TestLayout other = TestLayout::of(MOX_DEPTH_8U, 30, 12, 3, MOX_DATA_ORDER_PLANE);
    other.origin = 1;
    TestImage dst(other, 2);
    ReportRecorder reports;
    const RefCorrelation wanted = refNormCrossCorr(pattern, src, dst);
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_TRUE(reports.none());
    RefResult expected = wanted.result;
    refAcceptRounding(src, dst, wanted, &expected);
    EXPECT_TRUE(dst.holds(expected.expected));
}

// Alpha of the destination alone stays. The tiles of such a source are asked for by the caller's own header, as all
// are.
TEST(NormCrossCorrelation, alphaOfTheDestinationStaysOnTilesToo) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (const int tile : {0, 8}) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 12, 3, order);
            layout.tileWidth = layout.tileHeight = tile;
            TestImage src(layout, 1), pattern(TestLayout::of(MOX_DEPTH_8U, 5, 3, 3), 3);
            layout.alpha = 3;
            TestImage dst(layout, 2);
            ReportRecorder reports;
            const RefCorrelation wanted = refNormCrossCorr(pattern, src, dst);
            TileLog log;
            EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(log.paired());
            RefResult expected = wanted.result;
            refAcceptRounding(src, dst, wanted, &expected);
            EXPECT_TRUE(dst.holds(expected.expected));
            EXPECT_TRUE(dst.bytes() != TestImage(layout, 2).bytes());
        }
    }
}

// With a channel of interest the images need not have as many channels: nobody compares one with the others then.
TEST(NormCrossCorrelation, aTemplateOfOneChannelForAChannelOfInterest) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 12, 3);
    layout.setRoi(2, 0, 0, 30, 12);
    TestImage src(layout, 1), dst(layout, 2), pattern(TestLayout::of(MOX_DEPTH_8U, 5, 3), 3);
    ReportRecorder reports;
    const RefCorrelation wanted = refNormCrossCorr(pattern, src, dst);
    EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
    EXPECT_TRUE(reports.none());
    RefResult expected = wanted.result;
    refAcceptRounding(src, dst, wanted, &expected);
    EXPECT_TRUE(dst.holds(expected.expected));
}

// The template may be the source itself, or the destination's header is its own.
TEST(NormCrossCorrelation, theTemplateMayBeTheSource) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 8), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 8), 2);
    EXPECT_EQ(moxNormCrossCorr(src.header(), src.header(), dst.header()), 0);
    EXPECT_EQ(dst.get(0, 6, 4), 255u);
}

TEST(NormCrossCorrelation, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 8), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 8), 2);
    ReportRecorder reports;
    dst.set(0, 6, 4, 0);
    moxSetErrStatus(-7);
    EXPECT_EQ(moxNormCrossCorr(src.header(), src.header(), dst.header()), 0);
    EXPECT_EQ(dst.get(0, 6, 4), 255u);
    EXPECT_TRUE(reports.none());
}

// Nothing in common: nothing done. The error mode of the caller is as it was.
TEST(NormCrossCorrelation, nothingInCommonIsNoFault) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    TestImage pattern(TestLayout::of(MOX_DEPTH_8U, 3, 3), 3), dst(layout, 2);
    layout.setRoi(0, 20, 0, 5, 5);
    TestImage src(layout, 1);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    for (const int mode : {0, 1, 2, 77}) {
        moxSetErrMode(mode);
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        EXPECT_EQ(moxGetErrMode(), mode);
    }
    EXPECT_TRUE(dst.holds(before));
    EXPECT_TRUE(reports.none());
}

}  // namespace
