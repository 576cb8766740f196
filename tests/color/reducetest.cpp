// moxReduceBits on small pictures whose results are worked out by hand, its generator, and what it leaves alone.
#include <cmath>
#include <cstdlib>

#include "color/reducepair.h"
#include "support/allocations.h"
#include "support/reports.h"

namespace {

const int allDithers[] = {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER};

// A row of samples to a row of results.
std::vector<uint32_t> reduceRow(unsigned srcDepth, unsigned dstDepth, const std::vector<uint32_t> &samples,
                                const RefReduce &call, int rows = 1) {
    const int width = static_cast<int>(samples.size()) / rows;
    TestImage src(TestLayout::of(srcDepth, width, rows), 1), dst(TestLayout::of(dstDepth, width, rows), 2);
    for (int i = 0; i < width * rows; ++i)
        src.set(0, i % width, i / width, samples[static_cast<size_t>(i)]);
    ReportRecorder reports;
    moxReduceBits(src.header(), dst.header(), call.noise, call.dither, call.levels);
    EXPECT_TRUE(reports.none());
    std::vector<uint32_t> results;
    for (int i = 0; i < width * rows; ++i)
        results.push_back(dst.get(0, i % width, i / width));
    return results;
}

using Row = std::vector<uint32_t>;

TEST(ReduceBits, withoutDitheringTheTopBitsAreTaken) {
    const Row eight = {0, 1, 127, 128, 200, 255};
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, eight, {0, MOX_DITHER_NONE, 256}), eight);
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, eight, {0, MOX_DITHER_NONE, 2}), (Row{0, 0, 0, 1, 1, 1}));
    const Row sixteen = {0, 0xFF, 0x100, 0x7FFF, 0x8000, 0xABCD, 0xFFFF};
    EXPECT_EQ(reduceRow(MOX_DEPTH_16U, MOX_DEPTH_16U, sixteen, {0, MOX_DITHER_NONE, 65536}), sixteen);
    EXPECT_EQ(reduceRow(MOX_DEPTH_16U, MOX_DEPTH_8U, sixteen, {0, MOX_DITHER_NONE, 256}),
              (Row{0, 0, 1, 0x7F, 0x80, 0xAB, 0xFF}));
    EXPECT_EQ(reduceRow(MOX_DEPTH_16U, MOX_DEPTH_1U, sixteen, {0, MOX_DITHER_NONE, 2}), (Row{0, 0, 0, 0, 1, 1, 1}));
    // 32S from its least value to its largest.
    const Row wide = {0x80000000, 0x80FFFFFF, 0x81000000, 0xFFFFFFFF, 0, 0x12345678, 0x7FFFFFFF};
    EXPECT_EQ(reduceRow(MOX_DEPTH_32S, MOX_DEPTH_32S, wide, {0, MOX_DITHER_NONE, 0x7FFFFFFF}), wide);
    EXPECT_EQ(reduceRow(MOX_DEPTH_32S, MOX_DEPTH_16U, wide, {0, MOX_DITHER_NONE, 65536}),
              (Row{0, 0xFF, 0x100, 0x7FFF, 0x8000, 0x9234, 0xFFFF}));
    EXPECT_EQ(reduceRow(MOX_DEPTH_32S, MOX_DEPTH_8U, wide, {0, MOX_DITHER_NONE, 256}),
              (Row{0, 0, 1, 0x7F, 0x80, 0x92, 0xFF}));
    EXPECT_EQ(reduceRow(MOX_DEPTH_32S, MOX_DEPTH_1U, wide, {0, MOX_DITHER_NONE, 2}), (Row{0, 0, 0, 0, 1, 1, 1}));
}

TEST(ReduceBits, withoutDitheringFewerLevelsAreTheMultiplesBelow) {
    // Multiples of 63.75: 0, 63.75, 127.5, 191.25, 255.
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {0, 63, 64, 127, 128, 191, 192, 254, 255}, {0, MOX_DITHER_NONE, 4}),
              (Row{0, 0, 64, 64, 128, 128, 191, 191, 255}));
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {0, 84, 85, 169, 170, 254, 255}, {0, MOX_DITHER_NONE, 3}),
              (Row{0, 0, 85, 85, 170, 170, 255}));
    EXPECT_EQ(reduceRow(MOX_DEPTH_16U, MOX_DEPTH_8U, {0, 21844, 21845, 65534, 65535}, {0, MOX_DITHER_NONE, 3}),
              (Row{0, 0, 21845 >> 8, 43690 >> 8, 255}));
}

// 100, 100, 100, 100 by error diffusion to the right with weight 7 of 16, thresholds at 127.5.
TEST(ReduceBits, errorsTravelRight) {
    // 100 -> 0; 100 + 43.75 = 143.75 -> 255, error -111.25; 100 - 48.67 = 51.33 -> 0; 100 + 22.46 = 122.46 -> 0;
    // 100 + 53.57 = 153.57 -> 255
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, {100, 100, 100, 100, 100}, {0, MOX_DITHER_FS, 2}),
              (Row{0, 1, 0, 0, 1}));
    // JJH: 7/48 and 5/48. 100 -> 0; 114.58 -> 0; 100 + 16.71 + 10.42 = 127.13 -> 0; 100 + 18.54 + 11.94 = 130.48 -> 255
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, {100, 100, 100, 100}, {0, MOX_DITHER_JJH, 2}), (Row{0, 0, 0, 1}));
    // STUCKEY: 8/42 and 4/42. 100 -> 0; 119.05 -> 0; 100 + 22.68 + 9.52 = 132.2 -> 255; error -122.8:
    // 100 - 23.39 + 11.34 = 87.95 -> 0
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, {100, 100, 100, 100}, {0, MOX_DITHER_STUCKEY, 2}),
              (Row{0, 0, 1, 0}));
}

// One pixel leaves an error, and every other one is given what makes it 255 with its share of that error, so that it
// leaves none itself. One neighbour stands at the threshold instead: its bit tells its share.
TEST(ReduceBits, errorsTravelRightAndDownByTheirWeights) {
    struct {
        int dither;
        uint32_t sample, unit;   // the error left, and the part of it that a weight of 1 is
        uint32_t weights[3][5];  // from two columns left to two columns right
    } const filters[] = {{MOX_DITHER_FS, 96, 6, {{0, 0, 0, 7, 0}, {0, 3, 5, 1, 0}, {0, 0, 0, 0, 0}}},
                         {MOX_DITHER_JJH, 96, 2, {{0, 0, 0, 7, 5}, {3, 5, 7, 5, 3}, {1, 3, 5, 3, 1}}},
                         {MOX_DITHER_STUCKEY, 84, 2, {{0, 0, 0, 8, 4}, {2, 4, 8, 4, 2}, {1, 2, 4, 2, 1}}}};
    for (const auto &filter : filters) {
        for (int watched = 3; watched < 15; ++watched) {
            const int x = 2 + watched % 5, y = watched / 5;
            const uint32_t watchedShare = filter.unit * filter.weights[y][watched % 5];
            for (uint32_t above : {0u, 1u}) {
                TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 3), 1), dst(TestLayout::of(MOX_DEPTH_1U, 9, 3), 2);
                src.setAll(255);
                for (int i = 0; i < 15; ++i)
                    src.set(0, 2 + i % 5, i / 5, 255 - filter.unit * filter.weights[i / 5][i % 5]);
                src.set(0, 4, 0, filter.sample);
                src.set(0, x, y, 127 + above - watchedShare);
                ReportRecorder reports;
                moxReduceBits(src.header(), dst.header(), 0, filter.dither, 2);
                EXPECT_TRUE(reports.none());
                EXPECT_EQ(dst.get(0, 4, 0), 0u);
                EXPECT_EQ(dst.get(0, x, y), above) << filter.dither << " at " << x << ", " << y;
            }
        }
    }
}

// Values at or above F give F with a negative error, and negative ones 0 with all of their error.
TEST(ReduceBits, valuesBeyondTheRangeCarryTheirErrorOn) {
    // 255 -> 255, no error; 254 with 2 levels (steps of 127.5): 254 - 127.5 = 126.5 above half a step -> 255, error -1;
    // 0 - 0.4375 is negative -> 0, error -0.4376 or so; 64 - 0.19 = 63.8 above 63.75 -> 127.5
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {255, 254, 0, 64}, {0, MOX_DITHER_FS, 2}), (Row{255, 255, 0, 128}));
    // The second pixel gathers 28, which lifts it to 255.5: above F, error 0.5 and not 28.
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {62, 229, 64}, {0, MOX_DITHER_FS, 2}), (Row{0, 255, 128}));
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {62, 229, 63}, {0, MOX_DITHER_FS, 2}), (Row{0, 255, 0}));
}

TEST(ReduceBits, orderedDitherComparesWithTheMatrix) {
    const int matrix[16] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
    for (uint32_t value = 0; value < 256; ++value) {
        const Row bits = reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, Row(16, value), {0, MOX_DITHER_BAYER, 2}, 4);
        for (size_t i = 0; i < 16; ++i) {
            // n / 15 x 255 = 17 n
            const uint32_t wanted = value >= 255 || static_cast<int>(value) > 17 * matrix[i] ? 1 : 0;
            ASSERT_EQ(bits[i], wanted) << value << " at " << i;
        }
    }
}

TEST(ReduceBits, orderedDitherAtTheFirstPixel) {
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, {1}, {0, MOX_DITHER_BAYER, 2}), Row{1});
    EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_1U, {0}, {0, MOX_DITHER_BAYER, 2}), Row{0});
}

TEST(ReduceBits, orderedDitherOfWiderSamples) {
    const int matrix[16] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
    for (size_t i = 0; i < 16; ++i) {
        const uint32_t at16 = static_cast<uint32_t>(matrix[i]) * 4369,
                       at32 = static_cast<uint32_t>(matrix[i]) * 286331153u;
        for (uint32_t above : {0u, 1u}) {
            if (matrix[i] == 15 && above) continue;
            const uint32_t wanted = above || matrix[i] == 15 ? 1 : 0;
            EXPECT_EQ(reduceRow(MOX_DEPTH_16U, MOX_DEPTH_1U, Row(16, at16 + above), {0, MOX_DITHER_BAYER, 2}, 4)[i],
                      wanted);
            EXPECT_EQ(reduceRow(MOX_DEPTH_32S, MOX_DEPTH_1U, Row(16, (at32 + above) ^ 0x80000000),
                                {0, MOX_DITHER_BAYER, 2}, 4)[i],
                      wanted)
                << i;
        }
    }
}

// Without noise T is half a step: of 4 levels from 0 to 255 steps of 63.75, so that 31 gives 0 and 32 the first level.
TEST(ReduceBits, thresholdIsHalfAStep) {
    for (int dither : {MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY}) {
        const RefReduce call = {0, dither, 4};
        EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {31}, call), Row{0});
        EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {32}, call), Row{64});
        EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {95}, call), Row{64});
        EXPECT_EQ(reduceRow(MOX_DEPTH_8U, MOX_DEPTH_8U, {96}, call), Row{128});
    }
}

TEST(ReduceBits, twoCallsGiveOneImage) {
    for (int dither : allDithers) {
        for (int noise : {0, 1, 50, 100}) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, 50, 30, 3), 4),
                first(TestLayout::of(MOX_DEPTH_8U, 50, 30, 3), 5), second(TestLayout::of(MOX_DEPTH_8U, 50, 30, 3), 5);
            moxReduceBits(src.header(), first.header(), noise, dither, 5);
            srand(7);
            rand();
            moxReduceBits(src.header(), second.header(), noise, dither, 5);
            // The storage may lie at different offsets.
            for (int i = 0; i < 50 * 30 * 3; ++i)
                ASSERT_EQ(first.get(i % 3, i / 3 % 50, i / 150), second.get(i % 3, i / 3 % 50, i / 150));
        }
    }
}

// The generator's state after a call tells how many numbers were drawn since it was seeded with 1999.
TEST(ReduceBits, drawsTwoThousandAndFortyEightNumbersForNoiseAlone) {
    for (int dither : allDithers) {
        for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U}) {
            for (int noise : {0, 1, 100}) {
                TestImage src(TestLayout::of(MOX_DEPTH_8U, 50, 30), 4), dst(TestLayout::of(depth, 50, 30), 5);
                srand(5);
                moxReduceBits(src.header(), dst.header(), noise, dither, 2);
                const int next = rand(), then = rand();
                srand(1999);
                const bool draws = noise != 0 && dither != MOX_DITHER_NONE;
                for (int i = 0; i < (draws ? 2048 : 0); ++i)
                    rand();
                EXPECT_EQ(next, rand()) << dither << " noise " << noise << " bits " << depth;
                EXPECT_EQ(then, rand());
            }
        }
    }
}

// Noise spreads the threshold, and all of it with noise 100.
TEST(ReduceBits, noiseSpreadsTheThreshold) {
    for (int dither : {MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 64, 64), 4), plain(TestLayout::of(MOX_DEPTH_8U, 64, 64), 5),
            little(TestLayout::of(MOX_DEPTH_8U, 64, 64), 5), full(TestLayout::of(MOX_DEPTH_8U, 64, 64), 5);
        src.setAll(70);
        moxReduceBits(src.header(), plain.header(), 0, dither, 2);
        moxReduceBits(src.header(), little.header(), 10, dither, 2);
        moxReduceBits(src.header(), full.header(), 100, dither, 2);
        int littleDiffers = 0, fullDiffers = 0;
        double mean = 0;
        for (int i = 0; i < 64 * 64; ++i) {
            littleDiffers += plain.get(0, i % 64, i / 64) != little.get(0, i % 64, i / 64);
            fullDiffers += plain.get(0, i % 64, i / 64) != full.get(0, i % 64, i / 64);
            mean += full.get(0, i % 64, i / 64) / 4096.0;
        }
        EXPECT_GT(littleDiffers, 0) << dither;
        EXPECT_GT(fullDiffers, 0) << dither;
        // Errors keep the mean whatever the thresholds are, and once a pattern has changed all that follows may.
        if (dither != MOX_DITHER_BAYER) {
            EXPECT_NEAR(mean, 70, 3) << dither;
        } else {
            EXPECT_GT(fullDiffers, littleDiffers);
        }
    }
}

// Error diffusion keeps the mean of a flat picture at every depth.
TEST(ReduceBits, errorDiffusionKeepsTheMean) {
    for (const DepthPair &depths : allDepthPairs) {
        for (int dither : {MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY}) {
            for (double part : {0.1, 0.33, 0.5, 0.8}) {
                TestImage src(TestLayout::of(depths.src, 64, 64), 1), dst(TestLayout::of(depths.dst, 64, 64), 2);
                const double top = std::ldexp(1.0, src.layout().bits()) - 1;
                const uint32_t value = static_cast<uint32_t>(part * top);
                src.setAll(depths.src == MOX_DEPTH_32S ? value ^ 0x80000000 : value);
                moxReduceBits(src.header(), dst.header(), 0, dither, 2);
                double mean = 0;
                for (int i = 0; i < 64 * 64; ++i) {
                    const uint32_t sample = dst.get(0, i % 64, i / 64);
                    mean += (depths.dst == MOX_DEPTH_32S ? sample ^ 0x80000000 : sample) / 4096.0;
                }
                EXPECT_NEAR(mean / (std::ldexp(1.0, dst.layout().bits()) - 1), part, 0.02)
                    << depthPairName(depths) << " " << dither;
            }
        }
    }
}

// Each channel by itself: an image of several is as many images of one.
TEST(ReduceBits, channelsDoNotMeet) {
    for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (int dither : allDithers) {
            for (int noise : {0, 30}) {
                TestImage src(TestLayout::of(MOX_DEPTH_8U, 45, 20, 4, order), 4),
                    dst(TestLayout::of(MOX_DEPTH_8U, 45, 20, 3, order), 5);
                ReportRecorder reports;
                moxReduceBits(src.header(), dst.header(), noise, dither, 3);
                EXPECT_TRUE(reports.none());
                for (int channel = 0; channel < 3; ++channel) {
                    TestImage one(TestLayout::of(MOX_DEPTH_8U, 45, 20), 6),
                        result(TestLayout::of(MOX_DEPTH_8U, 45, 20), 7);
                    for (int i = 0; i < 45 * 20; ++i)
                        one.set(0, i % 45, i / 45, src.get(channel, i % 45, i / 45));
                    moxReduceBits(one.header(), result.header(), noise, dither, 3);
                    for (int i = 0; i < 45 * 20; ++i)
                        ASSERT_EQ(dst.get(channel, i % 45, i / 45), result.get(0, i % 45, i / 45)) << dither;
                }
            }
        }
    }
}

TEST(ReduceBits, theAlphaChannelIsLeftAlone) {
    for (int dither : allDithers) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 45, 20, 4);
        layout.alpha = 4;
        TestImage src(layout, 4), dst(layout, 5);
        const TestBytes before = dst.bytes();
        moxReduceBits(src.header(), dst.header(), 0, dither, 3);
        for (int i = 0; i < 45 * 20; ++i)
            ASSERT_EQ(dst.get(3, i % 45, i / 45), dst.getIn(before, 3, i % 45, i / 45));
    }
}

// A channel of interest: of either image it is that of the other, unless that one names its own.
TEST(ReduceBits, aChannelOfInterestIsTheOnlyOne) {
    for (int srcCoi = 0; srcCoi <= 4; ++srcCoi) {
        for (int dstCoi = 0; dstCoi <= 3; ++dstCoi) {
            if (srcCoi == 0 && dstCoi == 0) continue;
            TestLayout srcLayout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 4),
                       dstLayout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
            srcLayout.setRoi(srcCoi, 0, 0, 20, 10);
            dstLayout.setRoi(dstCoi, 0, 0, 20, 10);
            TestImage src(srcLayout, 4), dst(dstLayout, 5);
            const TestBytes before = dst.bytes();
            moxReduceBits(src.header(), dst.header(), 0, MOX_DITHER_NONE, 256);
            const int from = (srcCoi ? srcCoi : dstCoi) - 1, to = (dstCoi ? dstCoi : srcCoi) - 1;
            for (int i = 0; i < 20 * 10 * 3; ++i) {
                const int channel = i % 3, x = i / 3 % 20, y = i / 60;
                ASSERT_EQ(dst.get(channel, x, y),
                          channel == to ? src.get(from, x, y) : dst.getIn(before, channel, x, y));
            }
        }
    }
}

// Regions of any place give what an image of the region alone gives, at every bit of a byte.
TEST(ReduceBits, columnsAndRowsCountFromTheRegion) {
    for (int dither : allDithers) {
        for (int shift = 0; shift < 10; ++shift) {
            TestLayout srcLayout = TestLayout::of(MOX_DEPTH_8U, 50, 20),
                       dstLayout = TestLayout::of(MOX_DEPTH_1U, 50, 20);
            srcLayout.setRoi(0, 3, 2, 30, 15);
            dstLayout.setRoi(0, shift, 1, 33, 99);
            TestImage src(srcLayout, 4), dst(dstLayout, 5), one(TestLayout::of(MOX_DEPTH_8U, 30, 15), 6),
                result(TestLayout::of(MOX_DEPTH_1U, 30, 15), 7);
            for (int i = 0; i < 30 * 15; ++i)
                one.set(0, i % 30, i / 30, src.get(0, 3 + i % 30, 2 + i / 30));
            moxReduceBits(src.header(), dst.header(), 60, dither, 2);
            moxReduceBits(one.header(), result.header(), 60, dither, 2);
            for (int i = 0; i < 30 * 15; ++i)
                ASSERT_EQ(dst.get(0, shift + i % 30, 1 + i / 30), result.get(0, i % 30, i / 30)) << dither << " " << i;
        }
    }
}

TEST(ReduceBits, anEmptyRegionIsNoFault) {
    for (int dither : allDithers) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
        layout.setRoi(0, 20, 0, 5, 5);
        for (bool onSource : {false, true}) {
            const TestLayout whole = TestLayout::of(MOX_DEPTH_8U, 20, 10);
            TestImage src(onSource ? layout : whole, 4), dst(onSource ? whole : layout, 5);
            const TestBytes before = dst.bytes();
            ReportRecorder reports;
            moxReduceBits(src.header(), dst.header(), 20, dither, 4);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(dst.holds(before));
        }
    }
}

// No block as large as the image is taken.
TEST(ReduceBits, memoryIsThatOfRows) {
    for (int dither : allDithers) {
        TestImage src(TestLayout::of(MOX_DEPTH_16U, 500, 500), 4), dst(TestLayout::of(MOX_DEPTH_8U, 500, 500), 5);
        AllocationWindow window;
        moxReduceBits(src.header(), dst.header(), 0, dither, 4);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_LT(window.largest(), 500 * 4 * 40) << dither;
    }
}

}  // namespace
