// Separable convolution: results that are told.
#include <bit>
#include <cstring>

#include "filter/kernelset.h"

namespace {

// Records by hand, as they are stored.
struct Row : MoxConvKernel {
    explicit Row(std::vector<int> taps, int anchor = 0, int shift = 0) : taps_(std::move(taps)) {
        nCols = static_cast<int>(taps_.size());
        nRows = 1;
        anchorX = anchor;
        anchorY = 0;
        values = taps_.data();
        nShiftR = shift;
    }
    std::vector<int> taps_;
};
struct Column : Row {
    explicit Column(std::vector<int> taps, int anchor = 0, int shift = 0) : Row(std::move(taps), 0, shift) {
        nRows = nCols;
        nCols = 1;
        anchorX = 0;
        anchorY = anchor;
    }
};

// The same as two-dimensional convolution with the product of both kernels, where nothing wraps.
TEST(SeparableConvolution, isConvolutionWithTheProduct) {
    const RefKernel x = {{3, 1, 2, 0}, {1, 2, -5}, 1}, y = {{1, 4, 0, 1}, {3, -1, 4, 2}, 2};
    RefKernel both = {{3, 4, 2, 1}, {}, 3};
    for (const int v : y.values) {
        for (const int u : x.values)
            both.values.push_back(u * v);
    }
    KernelSet set({x, y, both});
    for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16S}) {
        const TestLayout layout = TestLayout::of(depth, 33, 14);
        TestImage src(layout, 1), dst(layout, 2), wanted(layout, 2);
        EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), set.records()[0], set.records()[1]), 0);
        moxConvolve2D(src.header(), wanted.header(), set.records() + 2, 1, MOX_COMBINE_SUM);
        for (int k = 0; k < 33 * 14; ++k)
            ASSERT_EQ(dst.get(0, k % 33, k / 33), wanted.get(0, k % 33, k / 33)) << depthName(depth) << " " << k;
    }
}

// Coefficients are mirrored when a kernel is created: the anchor's multiplies the pixel itself, the next one its left
// neighbour.
TEST(SeparableConvolution, kernelsAreMirrored) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 1), 1), dst(TestLayout::of(MOX_DEPTH_8U, 8, 1), 2);
    src.setAll(0);
    src.set(0, 3, 0, 1);
    KernelSet set({RefKernel{{3, 1, 0, 0}, {10, 20, 30}, 0}});
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), set.records()[0], nullptr), 0);
    const uint32_t wanted[8] = {0, 0, 0, 10, 20, 30, 0, 0};
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(dst.get(0, x, 0), wanted[x]) << x;
}

// Three and two shift five once: what the first shift alone would drop is still there.
TEST(SeparableConvolution, shiftsAddUpAndActOnce) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 5), 1), dst(TestLayout::of(MOX_DEPTH_8U, 9, 5), 2);
    src.setAll(7);
    src.header()->borderMode[0] = src.header()->borderMode[1] = src.header()->borderMode[2] =
        src.header()->borderMode[3] = MOX_BORDER_REPLICATE;
    Row x({1, 0}, 0, 3);
    Column y({31, 1}, 0, 2);
    forEachCpuLevel([&] {
        EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, &y), 0);
        EXPECT_EQ(dst.get(0, 4, 2), 7u);
    });
    // Both shifts are those of 32 bits.
    x.nShiftR = 15;
    y.nShiftR = 16;
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, &y), 0);
    EXPECT_EQ(dst.get(0, 4, 2), 0u);
}

// Shifts floor, below zero too.
TEST(SeparableConvolution, negativeSumsFloor) {
    TestImage src(TestLayout::of(MOX_DEPTH_16S, 9, 5), 1), dst(TestLayout::of(MOX_DEPTH_16S, 9, 5), 2);
    src.setAll(1);
    Row x({-9, 0}, 0, 2);
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
    EXPECT_EQ(static_cast<int16_t>(dst.get(0, 4, 2)), -3);
}

// Sums wrap at 32 bits; what is stored saturates.
TEST(SeparableConvolution, sumsWrapAndStoresSaturate) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 40, 6), 1), dst(TestLayout::of(MOX_DEPTH_8U, 40, 6), 2);
    src.setAll(255);
    forEachCpuLevel([&] {
        Row x({16843009, 1});  // 255 times that is 2 to the 32nd less 1
        EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
        EXPECT_EQ(dst.get(0, 20, 3), 254u);
        x.taps_ = {16777216, 0};  // 2 to the 31st is exceeded: negative
        EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
        EXPECT_EQ(dst.get(0, 20, 3), 0u);
        x.taps_ = {2, 0};
        EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
        EXPECT_EQ(dst.get(0, 20, 3), 255u);
    });
}

TEST(SeparableConvolution, aBitIsSetByASumAboveZero) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 40, 6), 1), dst(TestLayout::of(MOX_DEPTH_1U, 40, 6), 2);
    src.setAll(1);
    Row x({2, 1});
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
    EXPECT_EQ(dst.get(0, 20, 3), 1u);
    x.nShiftR = 2;  // 3 / 4
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
    EXPECT_EQ(dst.get(0, 20, 3), 0u);
    x.nShiftR = 0;
    x.taps_ = {-2, 1};
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
    EXPECT_EQ(dst.get(0, 20, 3), 0u);
}

// Floats: each product and each sum is rounded, in the order of the taps that are held, columns first.
TEST(SeparableConvolution, floatSumsAreInTheOrderOfTheTaps) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 40, 8), 1), dst(TestLayout::of(MOX_DEPTH_32F, 40, 8), 2);
    src.setAll(std::bit_cast<uint32_t>(1.0f));
    float taps[3] = {16777216.0f, 1.0f, 1.0f}, backwards[3] = {1.0f, 1.0f, 16777216.0f};
    MoxConvKernelFP x = {3, 1, 1, 0, taps}, y = {1, 3, 0, 1, taps};
    forEachCpuLevel([&] {
        x.values = y.values = taps;
        EXPECT_EQ(moxConvolveSep2DFP(src.header(), dst.header(), &x, nullptr), 0);
        EXPECT_EQ(std::bit_cast<float>(dst.get(0, 20, 4)), 16777216.0f);
        EXPECT_EQ(moxConvolveSep2DFP(src.header(), dst.header(), nullptr, &y), 0);
        EXPECT_EQ(std::bit_cast<float>(dst.get(0, 20, 4)), 16777216.0f);
        x.values = y.values = backwards;
        EXPECT_EQ(moxConvolveSep2DFP(src.header(), dst.header(), &x, nullptr), 0);
        EXPECT_EQ(std::bit_cast<float>(dst.get(0, 20, 4)), 16777218.0f);
        EXPECT_EQ(moxConvolveSep2DFP(src.header(), dst.header(), nullptr, &y), 0);
        EXPECT_EQ(std::bit_cast<float>(dst.get(0, 20, 4)), 16777218.0f);
    });
}

// Columns whose sums take all of 65536 numbers in a row, wherever these begin, and one more; bytes at both of their
// ends.
TEST(SeparableConvolution, columnSumsOfSixteenBits) {
    const std::vector<int> columns[] = {{1, 256},    {2, 256}, {-1, -256}, {-2, -256},     {100, -157},
                                        {100, -158}, {0, 128}, {0, 129},   {-129, 1, 127}, {40, 60, -70, 80, 7}};
    Row x({32767, -32768, 3, -500, 1}, 2, 9);
    const RefKernel xModel = {{5, 1, 2, 0}, {1, -500, 3, -32768, 32767}, 9};
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S}) {
        TestImage src(TestLayout::of(depth, 61, 9, 1, MOX_DATA_ORDER_PIXEL), 1), dst(src.layout(), 2);
        const int rows[] = {0, 255, 0, 255, 255, 128, 127, 128};
        for (int y = 0; y < 8; ++y)
            std::memset(src.header()->imageData + y * src.header()->widthStep, rows[y], 61);
        for (const std::vector<int> &taps : columns) {
            Column y(taps);
            const RefKernel yModel = {{1, y.nRows, 0, y.nRows - 1}, {taps.rbegin(), taps.rend()}, 0};
            const RefResult wanted = refConvolveSep2D(src, dst, &xModel, &yModel);
            forEachCpuLevel([&] {
                moxSet(dst.header(), 1);
                EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, &y), 0);
                EXPECT_TRUE(dst.holds(wanted.expected)) << depth << ' ' << taps[0];
            });
        }
    }
}

// In pixel order there may be 32 channels, in plane order any number.
TEST(SeparableConvolution, manyChannels) {
    Row x({1, 2}, 1);
    Column y({1, -1, 1}, 0, 1);
    const RefKernel xModel = {{2, 1, 0, 0}, {2, 1}, 0}, yModel = {{1, 3, 0, 2}, {1, -1, 1}, 1};
    for (const auto &[channels, order] : {std::pair(32, MOX_DATA_ORDER_PIXEL), std::pair(31, MOX_DATA_ORDER_PIXEL),
                                          std::pair(33, MOX_DATA_ORDER_PLANE)}) {
        const TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 21, 5, channels, order);
        TestImage src(layout, 1), dst(layout, 2);
        const RefResult wanted = refConvolveSep2D(src, dst, &xModel, &yModel);
        EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, &y), 0);
        EXPECT_TRUE(dst.holds(wanted.expected)) << channels;
    }
}

// No alpha sample changes, whatever the mask says.
TEST(SeparableConvolution, alphaStays) {
    Row x({1, 2}, 1);
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (const int channels : {1, 2, 4}) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 21, 5, channels, order);
            layout.alpha = channels;
            TestImage src(layout, 1), dst(layout, 2), mask(TestLayout::ofMask(21, 5), 3);
            mask.setAll(1);
            const TestBytes before = dst.bytes();
            for (TestImage *each : {static_cast<TestImage *>(nullptr), &mask}) {
                if (each) dst.setMask(each);
                EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
                for (int k = 0; k < 21 * 5; ++k)
                    EXPECT_EQ(dst.get(channels - 1, k % 21, k / 21), dst.getIn(before, channels - 1, k % 21, k / 21));
            }
        }
    }
}

// Each image has a channel of interest of its own.
TEST(SeparableConvolution, channelsOfInterestMayDiffer) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16U, 21, 5, 3), other = layout;
    layout.setRoi(3, 0, 0, 21, 5);
    other.setRoi(1, 2, 1, 19, 4);
    TestImage src(layout, 1), dst(other, 2);
    const RefKernel model = {{2, 1, 0, 0}, {2, 1}, 0};
    KernelSet set({model});
    const RefResult wanted = refConvolveSep2D(src, dst, &model, nullptr);
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), set.records()[0], nullptr), 0);
    EXPECT_TRUE(dst.holds(wanted.expected));
}

TEST(SeparableConvolution, beginsWithACleanStatusAndEndsSilentlyOnNothing) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    layout.setRoi(0, 20, 0, 5, 5);
    TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const TestBytes before = dst.bytes();
    Row x({1, 2}, 1);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, nullptr), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(dst.holds(before));
    moxSetErrStatus(-7);
    TestImage real(TestLayout::of(MOX_DEPTH_32F, 20, 10), 1), result(TestLayout::of(MOX_DEPTH_32F, 20, 10), 1);
    float taps[2] = {1, 2};
    MoxConvKernelFP y = {1, 2, 0, 1, taps};
    EXPECT_EQ(moxConvolveSep2DFP(real.header(), result.header(), nullptr, &y), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(reports.none());
}

// Kernels belong to the caller.
TEST(SeparableConvolution, kernelsAreOnlyRead) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    Row x({1, 2, 3}, 1, 3);
    Column y({4, 5}, 1, 2);
    EXPECT_EQ(moxConvolveSep2D(src.header(), dst.header(), &x, &y), 0);
    EXPECT_EQ(x.nShiftR, 3);
    EXPECT_EQ(y.nShiftR, 2);
    EXPECT_EQ(x.taps_, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(y.taps_, (std::vector<int>{4, 5}));
}

}  // namespace
