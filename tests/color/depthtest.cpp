// Changes of depth and the threshold by hand: the ends of ranges, ties, every sample of 8 and 16 bits, and what is left
// alone.
#include <bit>
#include <cfenv>
#include <climits>
#include <cmath>

#include "color/depthpair.h"
#include "reference/depth.h"
#include "support/reports.h"

namespace {

using Row = std::vector<uint32_t>;
const unsigned BITS = MOX_DEPTH_1U, U8 = MOX_DEPTH_8U, S8 = MOX_DEPTH_8S, U16 = MOX_DEPTH_16U, S16 = MOX_DEPTH_16S,
               S32 = MOX_DEPTH_32S, REAL = MOX_DEPTH_32F;

uint32_t low(unsigned depth, int value) {
    return static_cast<uint32_t>(value) & (0xFFFFFFFFu >> (32 - (depth & ~MOX_DEPTH_SIGN)));
}
uint32_t bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

// A row of samples through a function, behind as many others as fill vectors, at every level.
Row through(unsigned srcDepth, unsigned dstDepth, const Row &samples,
            const std::function<void(MoxImage *, MoxImage *)> &call) {
    const int count = static_cast<int>(samples.size()), width = count + 67;
    Row results;
    forEachCpuLevel([&] {
        TestImage src(TestLayout::of(srcDepth, width, 2), 1), dst(TestLayout::of(dstDepth, width, 2), 2);
        for (int i = 0; i < count; ++i) {
            src.set(0, 67 + i, 0, samples[static_cast<size_t>(i)]);
            src.set(0, i, 1, samples[static_cast<size_t>(i)]);
        }
        ReportRecorder reports;
        call(src.header(), dst.header());
        EXPECT_TRUE(reports.none());
        results.clear();
        for (int i = 0; i < count; ++i) {
            results.push_back(dst.get(0, 67 + i, 0));
            EXPECT_EQ(dst.get(0, i, 1), results.back()) << i;
        }
    });
    return results;
}

Row convert(unsigned srcDepth, unsigned dstDepth, const Row &samples) {
    return through(srcDepth, dstDepth, samples, moxConvert);
}
Row scale(unsigned srcDepth, unsigned dstDepth, const Row &samples) {
    return through(srcDepth, dstDepth, samples, moxScale);
}
Row scaleFP(unsigned srcDepth, unsigned dstDepth, const Row &samples, float least, float most) {
    return through(srcDepth, dstDepth, samples, [=](MoxImage *s, MoxImage *d) { moxScaleFP(s, d, least, most); });
}
Row threshold(unsigned srcDepth, unsigned dstDepth, const Row &samples, int value) {
    return through(srcDepth, dstDepth, samples, [=](MoxImage *s, MoxImage *d) { moxThreshold(s, d, value); });
}

// --- moxConvert

TEST(Convert, numbersStayOrAreLimited) {
    EXPECT_EQ(convert(S16, U8, {low(S16, -5), 300, 255, 256, 0, 77}), (Row{0, 255, 255, 255, 0, 77}));
    EXPECT_EQ(convert(U8, S8, {0, 127, 128, 255}), (Row{0, 127, 127, 127}));
    EXPECT_EQ(convert(S8, U16, {low(S8, -1), 127, 0x80}), (Row{0, 127, 0}));
    EXPECT_EQ(convert(S8, S16, {low(S8, -1), 127, 0x80}), (Row{0xFFFF, 127, 0xFF80}));
    EXPECT_EQ(convert(S8, S32, {low(S8, -1), 127, 0x80}), (Row{0xFFFFFFFF, 127, 0xFFFFFF80}));
    EXPECT_EQ(convert(U16, S16, {0, 32767, 32768, 65535}), (Row{0, 32767, 32767, 32767}));
    EXPECT_EQ(convert(U16, S32, {0, 65535}), (Row{0, 65535}));
    EXPECT_EQ(convert(U16, U8, {0, 255, 256, 65535}), (Row{0, 255, 255, 255}));
    EXPECT_EQ(convert(S32, U16, {0x80000000, 0xFFFFFFFF, 0, 65535, 65536, 0x7FFFFFFF}),
              (Row{0, 0, 0, 65535, 65535, 65535}));
    EXPECT_EQ(convert(S32, S8, {0x80000000, 0xFFFFFF80, 0xFFFFFF7F, 127, 128, 0x7FFFFFFF}),
              (Row{0x80, 0x80, 0x80, 127, 127, 127}));
    EXPECT_EQ(convert(S32, S16, {0x80000000, 0xFFFF8000, 0xFFFF7FFF, 32767, 32768}),
              (Row{0x8000, 0x8000, 0x8000, 32767, 32767}));
    for (unsigned depth : integerDepths) {
        const Row samples = {0, 1, low(depth, -1), low(depth, 0x7F), low(depth, 0x80)};
        EXPECT_EQ(convert(depth, depth, samples), samples);
    }
}

TEST(Convert, whatIsAboveNothingIsABit) {
    EXPECT_EQ(convert(S16, BITS, {low(S16, -1), 1, 0, 0x8000, 0x7FFF}), (Row{0, 1, 0, 0, 1}));
    EXPECT_EQ(convert(U8, BITS, {0, 1, 128, 255}), (Row{0, 1, 1, 1}));
    EXPECT_EQ(convert(S8, BITS, {0, 1, 128, 255}), (Row{0, 1, 0, 0}));
    EXPECT_EQ(convert(U16, BITS, {0, 1, 0x8000, 0xFF00}), (Row{0, 1, 1, 1}));
    EXPECT_EQ(convert(S32, BITS, {0, 1, 0x80000000, 0xFFFFFFFF, 0x10000}), (Row{0, 1, 0, 0, 1}));
}

// From bits to bits the last byte of a row goes whole, from other depths the bits beyond the width stay.
TEST(Convert, bitsBeyondTheWidth) {
    for (int width : {1, 5, 8, 13, 64, 67}) {
        TestImage bitsFrom(TestLayout::of(BITS, width, 3), 1), bytes(TestLayout::of(U8, width, 3), 2),
            dst(TestLayout::of(BITS, width, 3), 3);
        const int last = (width + 7) / 8 * 8;
        const TestBytes before = dst.bytes();
        moxConvert(bytes.header(), dst.header());
        for (int x = width; x < last; ++x)
            EXPECT_EQ(dst.get(0, x, 1), dst.getIn(before, 0, x, 1));
        moxConvert(bitsFrom.header(), dst.header());
        for (int x = 0; x < last; ++x)
            EXPECT_EQ(dst.get(0, x, 1), bitsFrom.get(0, x, 1));
        // And nothing behind that byte.
        EXPECT_TRUE(dst.holds(refConvert(bitsFrom, dst).expected));
    }
}

TEST(Convert, otherOriginsTurnRowsUpsideDown) {
    for (unsigned dstDepth : {BITS, U8, S16}) {
        for (unsigned srcDepth : {BITS, U8, S32}) {
            if (srcDepth == BITS && dstDepth != BITS) continue;
            for (int origin : {0, 1}) {
                TestLayout srcLayout = TestLayout::of(srcDepth, 21, 5), dstLayout = TestLayout::of(dstDepth, 21, 5);
                srcLayout.origin = origin;
                dstLayout.origin = 1 - origin;
                TestImage src(srcLayout, 1), dst(dstLayout, 2);
                moxConvert(src.header(), dst.header());
                for (int y = 0; y < 5; ++y) {
                    for (int x = 0; x < 21; ++x) {
                        ASSERT_EQ(dst.get(0, x, 4 - y), refConvertSample(srcDepth, dstDepth, src.get(0, x, y)));
                    }
                }
            }
        }
    }
}

// Regions, masks and alpha are not asked.
TEST(Convert, wholeImagesAlpha) {
    TestLayout layout = TestLayout::of(S16, 30, 6, 4);
    layout.alpha = 4;
    layout.setRoi(2, 3, 1, 5, 2);
    TestLayout result = layout;
    result.depth = U8;
    result.order = MOX_DATA_ORDER_PLANE;
    result.setRoi(3, 0, 0, 1, 1);
    TestImage src(layout, 1), dst(result, 2), mask(TestLayout::ofMask(30, 6), 3);
    mask.setAll(0);
    src.setMask(&mask);
    dst.setMask(&mask);
    ReportRecorder reports;
    moxConvert(src.header(), dst.header());
    EXPECT_TRUE(reports.none());
    for (int i = 0; i < 30 * 6 * 4; ++i)
        ASSERT_EQ(dst.get(i % 4, i / 4 % 30, i / 120), refConvertSample(S16, U8, src.get(i % 4, i / 4 % 30, i / 120)));
}

// To bits a channel is named by the region, whose rectangle means nothing.
TEST(Convert, theNamedChannelBecomesBits) {
    for (int coi = 1; coi <= 4; ++coi) {
        for (int order : {0, 1}) {
            TestLayout layout = TestLayout::of(S8, 30, 6, 4, order);
            layout.alpha = 4;
            layout.setRoi(coi, 20, 3, 5, 2);
            TestImage src(layout, 1), dst(TestLayout::of(BITS, 30, 6), 2);
            ReportRecorder reports;
            moxConvert(src.header(), dst.header());
            EXPECT_TRUE(reports.none());
            for (int i = 0; i < 30 * 6; ++i)
                ASSERT_EQ(dst.get(0, i % 30, i / 30), refConvertSample(S8, BITS, src.get(coi - 1, i % 30, i / 30)));
        }
    }
}

// --- moxScale

TEST(Scale, endsBecomeEnds) {
    EXPECT_EQ(scale(U8, U16, {255, 128, 0, 1}), (Row{65535, 32896, 0, 257}));
    EXPECT_EQ(scale(U16, U8, {0x80FF, 0xFFFF, 0xFF00, 0x00FF}), (Row{0x80, 0xFF, 0xFF, 0}));
    EXPECT_EQ(scale(S8, U8, {0x80, 127, 0, 255}), (Row{0, 255, 128, 127}));
    EXPECT_EQ(scale(U8, S8, {0, 255, 128, 127}), (Row{0x80, 127, 0, 255}));
    EXPECT_EQ(scale(S16, U16, {0x8000, 0x7FFF, 0}), (Row{0, 65535, 32768}));
    EXPECT_EQ(scale(U16, S16, {0, 65535, 32768}), (Row{0x8000, 0x7FFF, 0}));
    EXPECT_EQ(scale(U8, S32, {0, 255, 128, 127}), (Row{0x80000000, 0x7FFFFFFF, 0x00808080, 0xFF7F7F7F}));
    EXPECT_EQ(scale(U16, S32, {0, 65535, 0x8000}), (Row{0x80000000, 0x7FFFFFFF, 0x8000}));
    EXPECT_EQ(scale(S32, U8, {0x80000000, 0x7FFFFFFF, 0, 0xFFFFFFFF, 0x00FFFFFF}), (Row{0, 255, 128, 127, 128}));
    EXPECT_EQ(scale(S32, U16, {0x80000000, 0x7FFFFFFF, 0, 0xFFFFFFFF}), (Row{0, 65535, 32768, 32767}));
    EXPECT_EQ(scale(S32, S8, {0x80000000, 0x7FFFFFFF, 0, 0xFFFFFFFF}), (Row{0x80, 127, 0, 0xFF}));
    EXPECT_EQ(scale(S32, S16, {0x80000000, 0x7FFFFFFF, 0, 0xFFFFFFFF}), (Row{0x8000, 0x7FFF, 0, 0xFFFF}));
    EXPECT_EQ(scale(S8, S16, {0x80, 127, 0, 255}), (Row{0x8000, 0x7FFF, 0x80, 0xFF7F}));
    EXPECT_EQ(scale(S8, S32, {0x80, 127, 0}), (Row{0x80000000, 0x7FFFFFFF, 0x00808080}));
    EXPECT_EQ(scale(S16, S8, {0x8000, 0x7FFF, 0, 0xFFFF}), (Row{0x80, 127, 0, 0xFF}));
    EXPECT_EQ(scale(S16, U8, {0x8000, 0x7FFF, 0, 0xFFFF}), (Row{0, 255, 128, 127}));
}

// Every sample of 8 and 16 bits to every depth, by every function.
TEST(EverySample, agrees) {
    for (unsigned srcDepth : {U8, S8, U16, S16}) {
        const int width = 256, height = srcDepth == U8 || srcDepth == S8 ? 1 : 256;
        for (unsigned dstDepth : {BITS, U8, S8, U16, S16, S32}) {
            TestImage src(TestLayout::of(srcDepth, width, height), 1), dst(TestLayout::of(dstDepth, width, height), 2);
            for (int i = 0; i < width * height; ++i)
                src.set(0, i % width, i / width, static_cast<uint32_t>(i));
            forEachCpuLevel([&] {
                moxConvert(src.header(), dst.header());
                for (int i = 0; i < width * height; ++i) {
                    ASSERT_EQ(dst.get(0, i % width, i / width),
                              refConvertSample(srcDepth, dstDepth, static_cast<uint32_t>(i)));
                }
                if (dstDepth == BITS || dstDepth == srcDepth) return;
                moxScale(src.header(), dst.header());
                for (int i = 0; i < width * height; ++i) {
                    ASSERT_EQ(dst.get(0, i % width, i / width),
                              refScaleSample(srcDepth, dstDepth, static_cast<uint32_t>(i)));
                }
            });
        }
        TestImage src(TestLayout::of(srcDepth, width, height), 1), dst(TestLayout::of(REAL, width, height), 2);
        for (int i = 0; i < width * height; ++i)
            src.set(0, i % width, i / width, static_cast<uint32_t>(i));
        for (const std::pair<float, float> &range : {std::pair{0.0f, 1.0f}, {-1.0f, 1.0f}, {0.1f, 0.7f}}) {
            const float least = range.first, most = range.second;
            forEachCpuLevel([&] {
                moxScaleFP(src.header(), dst.header(), least, most);
                for (int i = 0; i < width * height; ++i) {
                    ASSERT_EQ(dst.get(0, i % width, i / width),
                              refScaleToReal(srcDepth, static_cast<uint32_t>(i), least, most));
                }
            });
            // And back again to what it was.
            TestImage back(TestLayout::of(srcDepth, width, height), 3);
            moxScaleFP(dst.header(), back.header(), least, most);
            for (int i = 0; i < width * height; ++i)
                ASSERT_EQ(back.get(0, i % width, i / width), src.get(0, i % width, i / width));
        }
    }
}

// --- moxScaleFP

TEST(ScaleFP, theRangeBecomesTheInterval) {
    EXPECT_EQ(scaleFP(U8, REAL, {0, 255}, 2, 4), (Row{bits(2), bits(4)}));
    EXPECT_EQ(scaleFP(S8, REAL, {0x80, 127}, 0, 255), (Row{bits(0), bits(255)}));
    EXPECT_EQ(scaleFP(U16, REAL, {0, 65535}, -1, 1), (Row{bits(-1), bits(1)}));
    EXPECT_EQ(scaleFP(S16, REAL, {0x8000, 0x7FFF}, 0, 65535), (Row{bits(0), bits(65535)}));
    EXPECT_EQ(scaleFP(S32, REAL, {0x80000000, 0x7FFFFFFF}, 0, 1), (Row{bits(0), bits(1)}));
    // 128 x (2 / 255) - 1, rounded once.
    EXPECT_EQ(scaleFP(U8, REAL, {128}, -1, 1), Row{bits(static_cast<float>(128 * (2 * 0.00392156862745098) - 1))});
}

TEST(ScaleFP, theIntervalBecomesTheRange) {
    EXPECT_EQ(scaleFP(REAL, U8, {bits(2), bits(4), bits(1), bits(5), bits(3)}, 2, 4), (Row{0, 255, 0, 255, 128}));
    EXPECT_EQ(scaleFP(REAL, S8, {bits(2), bits(4), bits(1), bits(5)}, 2, 4), (Row{0x80, 127, 0x80, 127}));
    EXPECT_EQ(scaleFP(REAL, U16, {bits(0), bits(1), bits(-1), bits(2), bits(0.5f)}, 0, 1),
              (Row{0, 65535, 0, 65535, 32768}));
    EXPECT_EQ(scaleFP(REAL, S16, {bits(0), bits(1), bits(-1), bits(2)}, 0, 1), (Row{0x8000, 0x7FFF, 0x8000, 0x7FFF}));
    EXPECT_EQ(scaleFP(REAL, S32, {bits(0), bits(1), bits(-1), bits(2)}, 0, 1),
              (Row{0x80000000, 0x7FFFFFFF, 0x80000000, 0x7FFFFFFF}));
    EXPECT_EQ(scaleFP(REAL, U8, {bits(INFINITY), bits(-INFINITY)}, 0, 1), (Row{255, 0}));
}

// The middle of the interval is 127.5 and goes to 128; 0.5 goes to 0, 1.5 to 2.
TEST(ScaleFP, tiesGoToEven) {
    EXPECT_EQ(scaleFP(REAL, U8, {bits(0.5f)}, 0, 1), Row{128});
    EXPECT_EQ(scaleFP(REAL, U8, {bits(0)}, -1, 1), Row{128});
    EXPECT_EQ(scaleFP(REAL, U8, {bits(0.5f), bits(1.5f), bits(2.5f), bits(126.5f)}, 0, 255), (Row{0, 2, 2, 126}));
    // Of signed depths the middle is -0.5, which goes to 0.
    EXPECT_EQ(scaleFP(REAL, S8, {bits(0.5f)}, 0, 1), Row{0});
    EXPECT_EQ(scaleFP(REAL, S16, {bits(0.5f)}, 0, 1), Row{0});
    EXPECT_EQ(scaleFP(REAL, S32, {bits(0.5f)}, 0, 1), Row{0});
}

// As it was, and with the same results, whatever it was.
TEST(ScaleFP, theCallersRoundingModeDoesNotMatter) {
    for (int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
        fesetround(mode);
        const Row down = scaleFP(REAL, U8, {bits(0.5f), bits(0.9999f), bits(0.0001f)}, 0, 1);
        const Row up = scaleFP(U16, REAL, {1, 12345, 54321}, 0.1f, 0.7f);
        const int after = fegetround();
        fesetround(FE_TONEAREST);
        EXPECT_EQ(after, mode);
        EXPECT_EQ(down, (Row{128, 255, 0}));
        EXPECT_EQ(up, scaleFP(U16, REAL, {1, 12345, 54321}, 0.1f, 0.7f));
    }
}

// A call that is refused leaves the mode as well.
TEST(ScaleFP, refusedCallsKeepTheRoundingMode) {
    TestImage src(TestLayout::of(U8, 8, 8), 1), dst(TestLayout::of(REAL, 8, 8), 2);
    ReportRecorder reports;
    fesetround(FE_UPWARD);
    moxScaleFP(src.header(), dst.header(), 1, 1);
    const int after = fegetround();
    fesetround(FE_TONEAREST);
    EXPECT_EQ(after, FE_UPWARD);
}

// --- moxThreshold

TEST(Threshold, atOrAboveIsTheTop) {
    EXPECT_EQ(threshold(U8, U8, {99, 100, 101, 0, 255}, 100), (Row{0, 255, 255, 0, 255}));
    EXPECT_EQ(threshold(U8, U8, {0, 1, 255}, 0), (Row{255, 255, 255}));
    EXPECT_EQ(threshold(U8, BITS, {99, 100, 101}, 100), (Row{0, 1, 1}));
    EXPECT_EQ(threshold(S8, S8, {0x80, 0xFF, 0, 127}, -1), (Row{0x80, 127, 127, 127}));
    EXPECT_EQ(threshold(S8, U16, {0x80, 0xFF, 0, 127}, 0), (Row{0, 0, 65535, 65535}));
    EXPECT_EQ(threshold(U16, S16, {29999, 30000, 65535}, 30000), (Row{0x8000, 0x7FFF, 0x7FFF}));
    EXPECT_EQ(threshold(U16, S8, {65534, 65535}, 65535), (Row{0x80, 127}));
    EXPECT_EQ(threshold(S16, S32, {0x8000, 0xFFFF, 0}, -32768), (Row{0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF}));
    EXPECT_EQ(threshold(S32, S32, {0x80000000, 0xFFFFFFFF, 0, 5}, 0),
              (Row{0x80000000, 0x80000000, 0x7FFFFFFF, 0x7FFFFFFF}));
    EXPECT_EQ(threshold(S32, BITS, {0x80000000, 0x7FFFFFFF, 0x7FFFFFFE}, INT_MAX), (Row{0, 1, 0}));
    EXPECT_EQ(threshold(S32, BITS, {0x80000000, 0x7FFFFFFF}, INT_MIN), (Row{1, 1}));
}

TEST(Threshold, everyByteAtEveryThreshold) {
    for (unsigned srcDepth : {U8, S8}) {
        for (unsigned dstDepth : {BITS, U8}) {
            TestImage src(TestLayout::of(srcDepth, 256, 1), 1), dst(TestLayout::of(dstDepth, 256, 1), 2);
            for (int i = 0; i < 256; ++i)
                src.set(0, i, 0, static_cast<uint32_t>(i));
            for (int value = srcDepth == U8 ? 0 : -128; value < (srcDepth == U8 ? 256 : 128); ++value) {
                const RefResult wanted = refThreshold(src, dst, value);
                forEachCpuLevel([&] {
                    moxThreshold(src.header(), dst.header(), value);
                    ASSERT_TRUE(dst.holds(wanted.expected)) << value;
                });
            }
        }
    }
}

TEST(Threshold, runsInPlace) {
    TestImage image(TestLayout::of(S16, 77, 5, 3), 1);
    const RefResult wanted = refThreshold(image, image, 1000);
    moxThreshold(image.header(), image.header(), 1000);
    EXPECT_TRUE(image.holds(wanted.expected));
}

// A mask of its own, one that both share, and one in planes.
TEST(Threshold, masks) {
    for (int kind = 0; kind < 4; ++kind) {
        TestLayout maskLayout = TestLayout::ofMask(50, 9);
        if (kind == 3) maskLayout.order = MOX_DATA_ORDER_PLANE;
        TestImage src(TestLayout::of(U8, 50, 9), 1), dst(TestLayout::of(BITS, 50, 9), 2), mask(maskLayout, 3);
        if (kind != 1) src.setMask(&mask);
        if (kind != 0) dst.setMask(&mask);
        const RefResult wanted = refThreshold(src, dst, 100);
        ReportRecorder reports;
        moxThreshold(src.header(), dst.header(), 100);
        EXPECT_TRUE(reports.none()) << kind;
        EXPECT_TRUE(dst.holds(wanted.expected)) << kind;
    }
}

// Masks are combined by a call of another function, which a leftover status does not make fail.
TEST(Threshold, twoMasksAndALeftoverStatus) {
    TestImage src(TestLayout::of(U8, 50, 9), 1), dst(TestLayout::of(BITS, 50, 9), 2);
    TestImage first(TestLayout::ofMask(50, 9), 3), second(TestLayout::ofMask(50, 9), 4);
    src.setMask(&first);
    dst.setMask(&second);
    const RefResult wanted = refThreshold(src, dst, 100);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxThreshold(src.header(), dst.header(), 100);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst.holds(wanted.expected));
}

// Masks with nothing in common: nothing happens, and nothing is said.
TEST(Threshold, masksWithNothingInCommon) {
    TestImage src(TestLayout::of(U8, 50, 9), 1), dst(TestLayout::of(U8, 50, 9), 2);
    TestLayout beyond = TestLayout::ofMask(50, 9);
    beyond.setRoi(0, 50, 0, 10, 9);
    TestImage first(TestLayout::ofMask(50, 9), 3), second(beyond, 4);
    src.setMask(&first);
    dst.setMask(&second);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    moxThreshold(src.header(), dst.header(), 100);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(dst.holds(before));
}

}  // namespace
