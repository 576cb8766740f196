// Multiplication by opacities and by fractions of the full scale, sentence by sentence, in numbers worked out by hand.
#include "arith/alphacheck.h"

namespace {

uint32_t multiply(unsigned depth, uint32_t x, uint32_t y) {
    TestImage a(coloursLayout(depth, 1, false), 1), b(coloursLayout(depth, 1, false), 2),
        d(coloursLayout(depth, 1, false), 3);
    fillChannel(a, 0, x);
    fillChannel(b, 0, y);
    ReportRecorder reports;
    moxMultiplyScale(a.header(), b.header(), d.header());
    const uint32_t product = d.get(0, 0, 0);
    EXPECT_TRUE(channelIs(d, 0, product));
    moxMultiplySScale(a.header(), d.header(), static_cast<int>(y));
    EXPECT_TRUE(channelIs(d, 0, product));
    EXPECT_TRUE(reports.none());
    return product;
}

TEST(ScaledProduct, isTruncated) {
    EXPECT_EQ(multiply(MOX_DEPTH_8U, 255, 255), 255u);
    EXPECT_EQ(multiply(MOX_DEPTH_8U, 128, 128), 64u);
    EXPECT_EQ(multiply(MOX_DEPTH_8U, 1, 254), 0u);
    EXPECT_EQ(multiply(MOX_DEPTH_8U, 1, 128), 0u);
    EXPECT_EQ(multiply(MOX_DEPTH_8U, 255, 77), 77u);
    EXPECT_EQ(multiply(MOX_DEPTH_8U, 0, 255), 0u);
    EXPECT_EQ(multiply(MOX_DEPTH_16U, 65535, 65535), 65535u);
    EXPECT_EQ(multiply(MOX_DEPTH_16U, 32768, 32768), 16384u);
    EXPECT_EQ(multiply(MOX_DEPTH_16U, 1, 65534), 0u);
    EXPECT_EQ(multiply(MOX_DEPTH_16U, 65535, 54321), 54321u);
    EXPECT_EQ(multiply(MOX_DEPTH_16U, 0, 65535), 0u);
}

TEST(Premultiplication, byAConstantFillsAlpha) {
    for (int alpha : {0, 1, 128, 255}) {
        TestImage image(coloursLayout(MOX_DEPTH_8U, 3, true), 1);
        const TestImage before(image.layout(), 1);
        ReportRecorder reports;
        moxPreMultiplyAlpha(image.header(), alpha);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(channelIs(image, 3, static_cast<uint32_t>(alpha)));
        for (int c = 0; c < 3; ++c) {
            for (int x = 0; x < 9; ++x)
                EXPECT_EQ(image.get(c, x, 1), before.get(c, x, 1) * static_cast<uint32_t>(alpha) / 255);
        }
        if (alpha == 0) {
            EXPECT_TRUE(channelIs(image, 0, 0));
        }
    }
}

TEST(Premultiplication, byTheImagesOwnAlphaLeavesIt) {
    for (int alpha : {-1, -1000, 256, 300, 70000}) {
        TestImage image(coloursLayout(MOX_DEPTH_8U, 3, true), 1);
        const TestImage before(image.layout(), 1);
        ReportRecorder reports;
        moxPreMultiplyAlpha(image.header(), alpha);
        EXPECT_TRUE(reports.none());
        for (int x = 0; x < 9; ++x) {
            EXPECT_EQ(image.get(3, x, 1), before.get(3, x, 1));
            EXPECT_EQ(image.get(2, x, 1), before.get(2, x, 1) * before.get(3, x, 1) / 255);
        }
    }
    // 300 is an opacity at 16 bits.
    TestImage words(coloursLayout(MOX_DEPTH_16U, 3, true), 1);
    ReportRecorder reports;
    moxPreMultiplyAlpha(words.header(), 300);
    EXPECT_TRUE(channelIs(words, 3, 300));
}

TEST(Premultiplication, ofAChannelOfInterestFillsAlphaTooAndUnderAMaskNothingElse) {
    TestLayout layout = coloursLayout(MOX_DEPTH_8U, 3, true);
    layout.setRoi(2, 0, 0, 9, 4);
    for (int alpha : {100, -1}) {
        TestImage image(layout, 1), mask(TestLayout::ofMask(9, 4), 2);
        const TestImage before(layout, 1);
        image.setMask(&mask);
        ReportRecorder reports;
        moxPreMultiplyAlpha(image.header(), alpha);
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 9; ++x) {
                const bool in = mask.get(0, x, y) != 0;
                const uint32_t own = before.get(3, x, y), factor = alpha < 0 ? own : 100, colour = before.get(1, x, y);
                EXPECT_EQ(image.get(1, x, y), in ? colour * factor / 255 : colour);
                EXPECT_EQ(image.get(3, x, y), in && alpha >= 0 ? 100 : own);
                EXPECT_EQ(image.get(0, x, y), before.get(0, x, y));
                EXPECT_EQ(image.get(2, x, y), before.get(2, x, y));
            }
        }
    }
}

TEST(Premultiplication, ofAnImageWithoutAlphaByAConstant) {
    TestImage image(coloursLayout(MOX_DEPTH_16U, 2, false), 1);
    const TestImage before(image.layout(), 1);
    ReportRecorder reports;
    moxPreMultiplyAlpha(image.header(), 30000);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(image.get(1, x, 1), uint64_t{before.get(1, x, 1)} * 30000 / 65535);
    EXPECT_TRUE(reports.none());
}

TEST(Premultiplication, ofAnImageThatIsAlphaAlone) {
    TestImage image(coloursLayout(MOX_DEPTH_8U, 0, true), 1);
    const TestBytes before = image.bytes();
    ReportRecorder reports;
    moxPreMultiplyAlpha(image.header(), -1);
    EXPECT_TRUE(image.holds(before));
    moxPreMultiplyAlpha(image.header(), 9);
    EXPECT_TRUE(channelIs(image, 0, 9));
    EXPECT_TRUE(reports.none());
}

TEST(ScaledMultiplication, limitsItsValue) {
    for (int value : {-5, 0, -0x7FFFFFFF - 1}) {
        TestImage src(coloursLayout(MOX_DEPTH_8U, 3, false), 1), d(coloursLayout(MOX_DEPTH_8U, 3, false), 2);
        ReportRecorder reports;
        moxMultiplySScale(src.header(), d.header(), value);
        EXPECT_TRUE(channelIs(d, 1, 0));
    }
    for (int value : {65535, 70000, 0x7FFFFFFF}) {
        TestImage src(coloursLayout(MOX_DEPTH_16U, 3, false), 1), d(coloursLayout(MOX_DEPTH_16U, 3, false), 2);
        ReportRecorder reports;
        moxMultiplySScale(src.header(), d.header(), value);
        for (int x = 0; x < 9; ++x)
            EXPECT_EQ(d.get(1, x, 2), src.get(1, x, 2));
    }
    TestImage src(coloursLayout(MOX_DEPTH_8U, 3, false), 1), d(coloursLayout(MOX_DEPTH_8U, 3, false), 2);
    ReportRecorder reports;
    moxMultiplySScale(src.header(), d.header(), 300);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(d.get(1, x, 2), src.get(1, x, 2));
}

// It passes with its channel named and not otherwise; alpha is left alone all the same, but may be read.
TEST(ScaledMultiplication, ofAlphaAlone) {
    TestLayout layout = coloursLayout(MOX_DEPTH_8U, 0, true), single = coloursLayout(MOX_DEPTH_8U, 1, false);
    layout.setRoi(1, 0, 0, 9, 4);
    TestImage a(layout, 1), b(layout, 2), d(layout, 3), plain(single, 4);
    const TestBytes before = d.bytes();
    ReportRecorder reports;
    moxMultiplyScale(a.header(), b.header(), d.header());
    moxMultiplySScale(a.header(), d.header(), 100);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(d.holds(before));
    moxMultiplyScale(a.header(), b.header(), plain.header());
    EXPECT_TRUE(reports.none());
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(plain.get(0, x, 0), a.get(0, x, 0) * b.get(0, x, 0) / 255);
    runComposite({&a, &b, &d, {}});
    EXPECT_TRUE(reports.are(
        {{-5, "moxAlphaComposite", "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel"}}));
}

// A channel of interest here, the only colour there.
TEST(ScaledMultiplication, pairsANamedChannelWithASingleColour) {
    TestLayout named = coloursLayout(MOX_DEPTH_8U, 3, true);
    named.setRoi(3, 0, 0, 9, 4);
    TestImage a(named, 1), b(coloursLayout(MOX_DEPTH_8U, 1, true), 2), d(coloursLayout(MOX_DEPTH_8U, 1, true), 3);
    const TestImage before(d.layout(), 3);
    ReportRecorder reports;
    moxMultiplyScale(a.header(), b.header(), d.header());
    EXPECT_TRUE(reports.none());
    for (int x = 0; x < 9; ++x) {
        EXPECT_EQ(d.get(0, x, 0), a.get(2, x, 0) * b.get(0, x, 0) / 255);
        EXPECT_EQ(d.get(1, x, 0), before.get(1, x, 0));
    }
}

}  // namespace
