// Convolution by the letter: orientation, what wraps, what saturates, what is rounded, how kernels combine.
#include <bit>
#include <cfenv>
#include <climits>
#include <cmath>

#include "filter/kernelset.h"

namespace {

// The result for one pixel, at every CPU level: an image of 20 x 3 equal pixels, with a kernel of one row.
uint32_t ofUniform(unsigned depth, uint32_t sample, const std::vector<RefKernel> &kernels, int method) {
    uint32_t result = 0;
    forEachCpuLevel([&] {
        TestImage src(TestLayout::of(depth, 20, 3), 1), dst(TestLayout::of(depth, 20, 3), 2);
        src.setAll(sample);
        moxSetBorderMode(src.header(), MOX_BORDER_REPLICATE, 15, 0);
        KernelSet set(kernels);
        ReportRecorder reports;
        moxConvolve2D(src.header(), dst.header(), set.records(), set.count(), method);
        EXPECT_TRUE(reports.none());
        for (int x = 0; x < 20; ++x)
            EXPECT_EQ(dst.get(0, x, 1), dst.get(0, 0, 0)) << x;
        result = dst.get(0, 0, 0);
    });
    return result;
}

RefKernel one(int value, int nShiftR = 0) {
    return {{1, 1, 0, 0}, {value}, nShiftR};
}

RefKernel row(std::vector<int> values, int nShiftR = 0) {
    return {{static_cast<int>(values.size()), 1, 0, 0}, std::move(values), nShiftR};
}

TEST(ConvolveValues, aSingleOneReproducesTheSource) {
    for (unsigned depth : allDepths) {
        // 32S keeps 24 bits.
        if (depth == MOX_DEPTH_32F || depth == MOX_DEPTH_32S) continue;
        TestImage src(TestLayout::of(depth, 40, 7), 1), dst(TestLayout::of(depth, 40, 7), 2);
        KernelSet set({one(1)});
        ReportRecorder reports;
        moxConvolve2D(src.header(), dst.header(), set.records(), 1, 0);
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 7; ++y) {
            for (int x = 0; x < 40; ++x)
                ASSERT_EQ(dst.get(0, x, y), src.get(0, x, y));
        }
    }
}

TEST(ConvolveValues, itIsAConvolution) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), dst(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2);
    struct {
        RefKernel kernel;
        int x, y;  // where the source's only set pixel (3, 4) reappears
    } const cases[] = {{{{3, 1, 0, 0}, {1, 0, 0}, 0}, 3, 4}, {{{3, 1, 0, 0}, {0, 0, 1}, 0}, 5, 4},
                       {{{3, 1, 2, 0}, {1, 0, 0}, 0}, 1, 4}, {{{1, 3, 0, 0}, {1, 0, 0}, 0}, 3, 4},
                       {{{1, 3, 0, 0}, {0, 0, 1}, 0}, 3, 6}, {{{2, 2, 1, 0}, {0, 0, 1, 0}, 0}, 2, 5}};
    for (const auto &each : cases) {
        src.setAll(0);
        src.set(0, 3, 4, 77);
        KernelSet set({each.kernel});
        ReportRecorder reports;
        moxConvolve2D(src.header(), dst.header(), set.records(), 1, 0);
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x)
                EXPECT_EQ(dst.get(0, x, y), x == each.x && y == each.y ? 77u : 0u) << x << "," << y;
        }
    }
}

TEST(ConvolveValues, theClassDecides) {
    EXPECT_EQ(refKernelClass(row({1, 1}), MOX_DEPTH_8U), 0);
    EXPECT_EQ(refKernelClass(row({128}), MOX_DEPTH_8U), 0);
    EXPECT_EQ(refKernelClass(row({129}), MOX_DEPTH_8U), 1);
    EXPECT_EQ(refKernelClass(row({200, -100}), MOX_DEPTH_8U), 1);
    EXPECT_EQ(refKernelClass(row({40000}), MOX_DEPTH_8U), 2);
    EXPECT_EQ(refKernelClass(row({1}), MOX_DEPTH_16S), 1);
    EXPECT_EQ(refKernelClass(row({1}), MOX_DEPTH_32S), 2);
    EXPECT_EQ(refKernelClass(row({32766}), MOX_DEPTH_1U), 0);
    EXPECT_EQ(refKernelClass(row({32767}), MOX_DEPTH_1U), 1);
}

TEST(ConvolveValues, squaresOfOneKernelWrapInItsAccumulator) {
    // 16 bits: 200 squared is -25536.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 200, {one(1)}, MOX_COMBINE_SUMSQ), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 200 - 100, {one(2)}, MOX_COMBINE_SUMSQ), 0x80u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 16, {one(1)}, MOX_COMBINE_SUMSQ), 255u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 15, {one(1)}, MOX_COMBINE_SUMSQ), 225u);
    // 256 squared wraps to 0.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 128, {one(2)}, MOX_COMBINE_SUMSQ), 0u);
    // 32 bits: 65536 squared wraps to 0; 46341 squared is negative.
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 32768, {one(2)}, MOX_COMBINE_SUMSQ), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 46341, {one(1)}, MOX_COMBINE_SUMSQ), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 46340, {one(1)}, MOX_COMBINE_SUMSQ), 65535u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16S, 46341, {one(1), one(0)}, MOX_COMBINE_SUMSQ), 32767u);
    // Float: 40000 squared does not wrap.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 2, {one(40000)}, MOX_COMBINE_SUMSQ), 255u);
}

TEST(ConvolveValues, theRootOfOneKernelIsTheAbsoluteValue) {
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 200, {one(-1)}, MOX_COMBINE_SUMSQROOT), 200u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 200, {row({-100, -100})}, MOX_COMBINE_SUMSQROOT), 255u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 0x80, {one(1)}, MOX_COMBINE_SUMSQROOT), 127u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16S, 0x8000, {one(1)}, MOX_COMBINE_SUMSQROOT), 32767u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 65535, {one(-1)}, MOX_COMBINE_SUMSQROOT), 65535u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0xFFFFFFF0, {one(1)}, MOX_COMBINE_SUMSQROOT), 16u);
}

TEST(ConvolveValues, anyMethodIsTakenWithOneKernel) {
    for (int method : {0, 3, 4, 5, 99, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 50, {one(3)}, method), 150u) << method;
}

TEST(ConvolveValues, wideSumsAreExact) {
    std::vector<int> ones(13 * 13, 1);
    RefKernel kernel = {{13, 13, 6, 6}, ones, 7};
    EXPECT_EQ(refKernelClass(kernel, MOX_DEPTH_8U), 1);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 190, {kernel}, 0), 190u * 169 / 128);
    kernel.nShiftR = 0;
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 255, {kernel}, 0), 255u);
    // 32766 x 65535 lies just below the largest int.
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 65535, {row({16383, 16383}, 15)}, 0), 65531u);
}

TEST(ConvolveValues, shiftsRoundDown) {
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 1, {one(-1, 1)}, 0), 0xFFu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 0xFF, {one(1, 1)}, 0), 0xFFu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 5, {one(-3, 2)}, 0), 0xFCu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 5, {one(3, 2)}, 0), 3u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16S, 0xFFFF, {one(1, 1)}, 0), 0xFFFFu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0xFFFFFFFF, {one(1, 1)}, 0), 0xFFFFFFFFu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 3, {one(40000, 10)}, 0), 117u);
    // Beyond the accumulator's width the sign is left.
    for (int nShiftR : {15, 16, 20, 31}) {
        EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 100, {one(-100, nShiftR)}, 0), 0xFFu) << nShiftR;
        EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 100, {one(100, nShiftR)}, 0), 0u) << nShiftR;
    }
    EXPECT_EQ(ofUniform(MOX_DEPTH_16S, 100, {one(-100, 31)}, 0), 0xFFFFu);
}

TEST(ConvolveValues, negativeResultsSaturate) {
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 3, {one(-1)}, 0), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 100, {one(-2)}, 0), 0x80u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 3, {one(-1)}, 0), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16S, 30000, {one(-2)}, 0), 0x8000u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0x7FFFFFFF, {one(2)}, 0), 0x7FFFFFFFu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0x7FFFFFFF, {one(-2)}, 0), 0x80000000u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 3, {one(-40000)}, 0), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 3, {one(40000)}, 0), 255u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_1U, 1, {one(-3)}, 0), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_1U, 1, {one(3)}, 0), 1u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_1U, 1, {one(40000)}, 0), 1u);
}

TEST(ConvolveValues, words32KeepTwentyFourBits) {
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0x01000001, {one(1)}, 0), 0x01000000u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0x01000003, {one(1)}, 0), 0x01000004u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 0x00FFFFFF, {one(1)}, 0), 0x00FFFFFFu);
    // One after the other: 2^24 + 1 + 1 stays.
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 1, {row({1, 1, 16777216})}, 0), 16777216u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_32S, 1, {row({16777216, 1, 1})}, 0), 16777218u);
}

// All narrow: merged in int32. Any other mix: in float.
TEST(ConvolveValues, kernelsCombine) {
    const std::vector<RefKernel> pair = {one(3), one(-4)};
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 10, pair, MOX_COMBINE_SUM), 0u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 10, pair, MOX_COMBINE_SUM), 0xF6u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 3, pair, MOX_COMBINE_SUMSQ), 225u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 10, pair, MOX_COMBINE_SUMSQROOT), 50u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 10, pair, MOX_COMBINE_MAX), 30u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 10, pair, MOX_COMBINE_MIN), 0xD8u);
    // sqrt(2) x 3 = 4.24, x 5 = 7.07, x 4 = 5.66
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 3, {one(1), one(1)}, MOX_COMBINE_SUMSQROOT), 4u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 4, {one(1), one(-1)}, MOX_COMBINE_SUMSQROOT), 6u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 4, {one(1), one(-1)}, MOX_COMBINE_SUMSQROOT), 6u);
    // The shift comes before the square.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 15, {one(1, 1), one(1, 2)}, MOX_COMBINE_SUMSQ), 49u + 9);
    // Narrow squares wrap at 32 bits only: 32000 squared twice.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 250, {one(100), one(100)}, MOX_COMBINE_SUMSQ), 255u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 250, {one(120), one(120), one(120)}, MOX_COMBINE_SUMSQ), 0u);
    // Eight times 2^28 wraps to the most negative int.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 0x80, std::vector<RefKernel>(7, one(-128)), MOX_COMBINE_SUMSQ), 0x7Fu);
    EXPECT_EQ(ofUniform(MOX_DEPTH_8S, 0x80, std::vector<RefKernel>(8, one(-128)), MOX_COMBINE_SUMSQ), 0x80u);
    // Merged in float, a sum of squares does not wrap.
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 250, {one(120), one(120), one(129)}, MOX_COMBINE_SUMSQ), 255u);
    const std::vector<RefKernel> ten(10, one(2));
    EXPECT_EQ(ofUniform(MOX_DEPTH_8U, 12, ten, MOX_COMBINE_SUM), 240u);
    EXPECT_EQ(ofUniform(MOX_DEPTH_16U, 1200, ten, MOX_COMBINE_SUM), 24000u);
}

// Limits of hand-made constants apply before the filter reads them.
TEST(ConvolveBorders, constantsAreLimitedToTheDepth) {
    struct {
        unsigned depth;
        int constant;
        uint32_t sample;
    } const cases[] = {{MOX_DEPTH_8U, 300, 255},
                       {MOX_DEPTH_8U, -5, 0},
                       {MOX_DEPTH_8S, 130, 127},
                       {MOX_DEPTH_8S, -1000, 0x80},
                       {MOX_DEPTH_16U, 65536, 65535},
                       {MOX_DEPTH_16U, -1, 0},
                       {MOX_DEPTH_16S, 65535, 32767},
                       {MOX_DEPTH_16S, INT_MIN, 0x8000},
                       {MOX_DEPTH_1U, 2, 1},
                       {MOX_DEPTH_1U, -1, 0},
                       {MOX_DEPTH_32S, 1000000, 1000000}};
    for (const auto &each : cases) {
        TestImage src(TestLayout::of(each.depth, 6, 3), 1), dst(TestLayout::of(each.depth, 6, 3), 2);
        for (int side = 0; side < 4; ++side)
            src.header()->borderConst[side] = each.constant;
        src.keepHeader();
        for (const RefKernel &kernel : {RefKernel{{2, 1, 0, 0}, {0, 1}, 0}, RefKernel{{1, 2, 0, 0}, {0, 1}, 0}}) {
            KernelSet set({kernel});
            ReportRecorder reports;
            moxConvolve2D(src.header(), dst.header(), set.records(), 1, 0);
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(dst.get(0, 0, 0), each.sample) << depthName(each.depth) << " " << each.constant;
            EXPECT_TRUE(src.headerIsUntouched());
        }
    }
}

TEST(ConvolveBorders, theImageGoesOnBeyondTheRegion) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 9, 9);
    layout.setRoi(0, 4, 4, 1, 1);
    TestImage src(layout, 1), dst(layout, 2);
    src.setAll(0);
    for (auto [x, y] : {std::pair{3, 3}, {5, 3}, {4, 5}})
        src.set(0, x, y, 30);
    TestBytes expected = dst.bytes();
    dst.setIn(expected, 0, 4, 4, 90);
    KernelSet set({{{3, 3, 1, 1}, std::vector<int>(9, 1), 0}});
    ReportRecorder reports;
    moxConvolve2D(src.header(), dst.header(), set.records(), 1, 0);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(expected));
}

// Without a common area nothing else is tested: not even the channels.
TEST(ConvolveRegions, emptyOnesAreNoFault) {
    TestLayout maskLayout = TestLayout::ofMask(9, 9);
    maskLayout.setRoi(0, 9, 0, 4, 4);
    for (int channels : {3, 4}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 9, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 9, 9, channels), 2),
            mask(maskLayout, 3);
        dst.setMask(&mask);
        const TestBytes before = dst.bytes();
        KernelSet set({one(1)});
        ReportRecorder reports;
        moxConvolve2D(src.header(), dst.header(), set.records(), 1, 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(dst.holds(before));
    }
}

uint32_t floatOf(const std::vector<float> &pixels, const RefKernelFP &kernel, int method) {
    uint32_t result = 0;
    forEachCpuLevel([&] {
        const int width = kernel.window.nCols, height = kernel.window.nRows;
        TestImage src(TestLayout::of(MOX_DEPTH_32F, width, height), 1),
            dst(TestLayout::of(MOX_DEPTH_32F, width, height), 2);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                src.set(0, x, y, std::bit_cast<uint32_t>(pixels[static_cast<size_t>(y * width + x)]));
        }
        KernelSetFP set({kernel});
        ReportRecorder reports;
        moxConvolve2DFP(src.header(), dst.header(), set.records(), 1, method);
        EXPECT_TRUE(reports.none());
        result = dst.get(0, 0, 0);
    });
    return result;
}

// Rows in pairs, columns within them: with 2^24 first a one after it is lost, and two at once are not.
TEST(ConvolveFloats, sumsHaveAnOrder) {
    const float big = 16777216.0f;
    auto ofColumn = [&](const std::vector<float> &pixels) {
        const int height = static_cast<int>(pixels.size());
        const RefKernelFP kernel = {{1, height, 0, height - 1}, std::vector<float>(pixels.size(), 1.0f)};
        return std::bit_cast<float>(floatOf(pixels, kernel, 0));
    };
    EXPECT_EQ(ofColumn({big, 1, 1}), big);
    EXPECT_EQ(ofColumn({1, 1, big}), big + 2);
    // Two rows of two: (0, 0), (0, 1), (1, 0), (1, 1) as column, row.
    const RefKernelFP square = {{2, 2, 1, 1}, {1, 1, 1, 1}};
    EXPECT_EQ(std::bit_cast<float>(floatOf({big, -big, 1, 1}, square, 0)), 1.0f);
    EXPECT_EQ(std::bit_cast<float>(floatOf({1, big, 1, -big}, square, 0)), 2.0f - 0.0f);
    EXPECT_EQ(std::bit_cast<float>(floatOf({1, 1, big, -big}, square, 0)), 0.0f);
}

TEST(ConvolveFloats, oneKernelsSquareAndRoot) {
    const RefKernelFP kernel = {{1, 1, 0, 0}, {-3}};
    EXPECT_EQ(std::bit_cast<float>(floatOf({2}, kernel, MOX_COMBINE_SUM)), -6.0f);
    EXPECT_EQ(std::bit_cast<float>(floatOf({2}, kernel, MOX_COMBINE_SUMSQ)), 36.0f);
    EXPECT_EQ(std::bit_cast<float>(floatOf({2}, kernel, MOX_COMBINE_SUMSQROOT)), 6.0f);
    // The square would overflow; the absolute value does not.
    EXPECT_EQ(std::bit_cast<float>(floatOf({1e30f}, kernel, MOX_COMBINE_SUMSQROOT)), 1e30f * 3.0f);
    EXPECT_EQ(std::bit_cast<float>(floatOf({2}, kernel, MOX_COMBINE_MIN)), -6.0f);
    EXPECT_EQ(std::bit_cast<float>(floatOf({2}, kernel, 99)), -6.0f);
}

// Every sum begins with +0, which no -0 changes.
TEST(ConvolveFloats, zerosArePositive) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 40, 3), 1), dst(TestLayout::of(MOX_DEPTH_32F, 40, 3), 2);
    src.setAll(0x80000000);
    KernelSetFP set({{{1, 1, 0, 0}, {1}}, {{1, 1, 0, 0}, {-1}}});
    for (int count : {1, 2}) {
        for (int method : {MOX_COMBINE_SUM, MOX_COMBINE_MAX, MOX_COMBINE_MIN, MOX_COMBINE_SUMSQROOT}) {
            ReportRecorder reports;
            moxConvolve2DFP(src.header(), dst.header(), set.records(), count, method);
            EXPECT_TRUE(reports.none());
            for (int x = 0; x < 40; ++x)
                EXPECT_EQ(dst.get(0, x, 1), 0u);
        }
    }
}

TEST(ConvolveRounding, isTheCallersAfterwards) {
    for (int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        for (int failAt = 0; failAt < 4; ++failAt) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, 40, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 40, 9), 2);
            KernelSet set({one(40000, 3), one(3), one(-5)});
            ReportRecorder reports;
            AllocationWindow window(failAt);
            fesetround(mode);
            moxConvolve2D(src.header(), dst.header(), set.records(), set.count(), MOX_COMBINE_SUMSQROOT);
            const int after = fegetround();
            fesetround(FE_TONEAREST);
            window.close();
            EXPECT_EQ(after, mode);
        }
    }
}

// Scratch memory is some rows, whatever the height of the image.
TEST(ConvolveMemory, doesNotGrowWithTheHeight) {
    for (unsigned depth : allDepths) {
        for (int coi : {0, 1}) {
            long long largest[2];
            for (int high : {0, 1}) {
                TestLayout layout = TestLayout::of(depth, 100, high ? 2000 : 200, depth == MOX_DEPTH_1U ? 1 : 3);
                if (coi) layout.setRoi(1, 0, 0, 1000, 5000);
                TestImage src(layout, 1), dst(layout, 2);
                KernelSet kernels({{{5, 5, 2, 2}, std::vector<int>(25, 1), 4}});
                KernelSetFP kernelsFP({{{5, 5, 2, 2}, std::vector<float>(25, 0.5f)}});
                ReportRecorder reports;
                AllocationWindow window;
                if (depth == MOX_DEPTH_32F) {
                    moxConvolve2DFP(src.header(), dst.header(), kernelsFP.records(), 1, 0);
                } else {
                    moxConvolve2D(src.header(), dst.header(), kernels.records(), 1, 0);
                }
                window.close();
                EXPECT_TRUE(reports.none());
                largest[high] = window.largest();
            }
            EXPECT_EQ(largest[0], largest[1]) << depthName(depth);
        }
    }
}

}  // namespace
