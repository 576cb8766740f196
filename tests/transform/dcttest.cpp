// The cosine transform against its sum: random layouts at every depth, and what can be said of small cases.
#include <algorithm>
#include <bit>
#include <cmath>

#include "transform/transformcheck.h"

namespace {

const unsigned depths[] = {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};

void dct(TestImage &src, TestImage &dst, int flags) {
    ReportRecorder reports;
    moxDCT2D(src.header(), dst.header(), flags);
    EXPECT_TRUE(reports.none());
}

// The size is that of the source's region.
WantedPlanes wantedDct(TransformPair &pair, int flags) {
    WantedPlanes wanted;
    const TestLayout &from = pair.src().layout(), &to = pair.dst().layout();
    const int width = from.regionWidth(), height = from.regionHeight();
    const bool fixed = refDctIsFixedPoint(from.depth, to.depth, width, height);
    for (int channel = 0; channel < from.channelCount(); ++channel) {
        const RefPlane plane = refReadPlane(pair.src(), from.firstChannel() + channel, width, height);
        wanted.planes.push_back(refDct(plane, flags));
        wanted.bounds.push_back(fixed ? refFixedDctBound(plane) : refFloatDctBound(plane));
    }
    return wanted;
}

class Dct : public testing::TestWithParam<unsigned> {
  protected:
    void check(Random &random, const TransformPairOptions &options) {
        TransformPair pair(random, options);
        const int flags = random.oneIn(2) ? MOX_DCT_FORWARD : MOX_DCT_INVERSE;
        SCOPED_TRACE(pair.describe() + (flags == MOX_DCT_FORWARD ? "forward" : "inverse"));
        checkTransform(pair, wantedDct(pair, flags), random.oneIn(4), [&] {
            moxDCT2D(pair.src().header(), pair.dst().header(), flags);
            return 0;
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Dct, testing::ValuesIn(depths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Dct, agreesWithTheSumsOverRandomLayouts) {
    forEachCase(100, [&](Random &random) {
        TransformPairOptions options;
        options.depths[0] = GetParam();
        options.depths[1] = random.oneIn(2) ? MOX_DEPTH_32F : depths[random.below(6)];
        options.alike = true;
        // Blocks on which integers of 16 bits do not overflow.
        options.most = random.oneIn(2) ? 100 : 500;
        check(random, options);
    });
}

TEST_P(Dct, agreesWithTheSumsOfLargeNumbers) {
    forEachCase(60, [&](Random &random) {
        TransformPairOptions options;
        options.depths[0] = GetParam();
        options.depths[1] = random.oneIn(2) ? MOX_DEPTH_32F : MOX_DEPTH_32S;
        options.alike = true;
        options.most = 1e7;
        check(random, options);
    });
}

// The block sizes of the fixed point, in regions or whole.
TEST_P(Dct, agreesWithTheSumsOnBlocks) {
    if (GetParam() == MOX_DEPTH_32F || GetParam() == MOX_DEPTH_32S) return;
    Random random(testSeed());
    for (int width : {4, 8, 16, 32}) {
        for (int height : {4, 8, 16, 32}) {
            for (unsigned to : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S}) {
                for (int flags : {MOX_DCT_FORWARD, MOX_DCT_INVERSE}) {
                    TestImage src(TestLayout::of(GetParam(), width, height, 2), 1);
                    TestImage dst(TestLayout::of(to, width, height, 2), 2);
                    drawNumbers(random, src, 900);
                    std::vector<RefPlane> planes;
                    for (int channel = 0; channel < 2; ++channel)
                        planes.push_back(refReadPlane(src, channel, width, height));
                    TestBytes first;
                    forEachCpuLevel([&] {
                        dct(src, dst, flags);
                        for (int channel = 0; channel < 2; ++channel) {
                            EXPECT_TRUE(refPlaneHolds(dst, channel, refDct(planes[channel], flags),
                                                      refFixedDctBound(planes[channel])));
                        }
                        if (first.empty()) first = dst.bytes();
                        EXPECT_TRUE(dst.holds(first)) << "the levels differ";
                    });
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST(DctCases, everySmallSizeIsRight) {
    Random random(testSeed());
    for (int width = 1; width <= 20; ++width) {
        for (int height = 1; height <= 20; ++height) {
            TestImage src(TestLayout::of(MOX_DEPTH_32F, width, height), 1), dst(src.layout(), 2);
            drawNumbers(random, src, 1000);
            const RefPlane plane = refReadPlane(src, 0, width, height);
            for (int flags : {MOX_DCT_FORWARD, MOX_DCT_INVERSE}) {
                dct(src, dst, flags);
                ASSERT_TRUE(refPlaneHolds(dst, 0, refDct(plane, flags), refFloatDctBound(plane)))
                    << width << " x " << height << " flags " << flags;
            }
        }
    }
}

TEST(DctCases, longLengthsAreRight) {
    Random random(testSeed());
    for (int length : {25,  32,  49,  64,  77,  97,  100, 127,  128,  129,  180,  211,
                       255, 256, 257, 360, 509, 512, 600, 1000, 1021, 1024, 1025, 2048}) {
        for (int other : {1, 3}) {
            for (int turned = 0; turned < 2; ++turned) {
                const int width = turned ? other : length, height = turned ? length : other;
                const int flags = random.oneIn(2) ? MOX_DCT_FORWARD : MOX_DCT_INVERSE;
                TestImage src(TestLayout::of(MOX_DEPTH_32F, width, height), 1), dst(src.layout(), 2);
                drawNumbers(random, src, 1000);
                const RefPlane plane = refReadPlane(src, 0, width, height), wanted = refDct(plane, flags);
                forEachCpuLevel([&] {
                    dct(src, dst, flags);
                    ASSERT_TRUE(refPlaneHolds(dst, 0, wanted, refFloatDctBound(plane)))
                        << width << " x " << height << " flags " << flags;
                });
                if (HasFatalFailure()) return;
            }
        }
    }
    freeTransformCaches();
}

TEST(DctCases, theErrorIsThatOfTheDirectSum) {
    Random random(testSeed());
    for (const auto &[width, height] : {std::pair{4, 4},
                                        {5, 7},
                                        {6, 5},
                                        {8, 8},
                                        {9, 12},
                                        {13, 13},
                                        {16, 16},
                                        {17, 31},
                                        {24, 20},
                                        {32, 32},
                                        {37, 64},
                                        {64, 64},
                                        {100, 3},
                                        {1, 101},
                                        {128, 5},
                                        {343, 2},
                                        {1024, 1},
                                        {997, 1}}) {
        for (int flags : {MOX_DCT_FORWARD, MOX_DCT_INVERSE}) {
            ErrorSums errors;
            for (int round = 0; round < (width * height < 400 ? 100 : 2); ++round) {
                TestImage src(TestLayout::of(MOX_DEPTH_32F, width, height), 1), dst(src.layout(), 2);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width; ++x)
                        src.set(0, x, y, refStored(MOX_DEPTH_32F, random.between(-1000000, 1000000) / 977.0));
                }
                const RefPlane plane = refReadPlane(src, 0, width, height);
                dct(src, dst, flags);
                errors.add(refDct(plane, flags), refReadPlane(dst, 0, width, height), refDirectFloatDct(plane, flags));
            }
            // Of four samples the sum is short, and its factors are applied at once and not one for each direction.
            EXPECT_TRUE(errors.areNoLarger(width == 4 && height == 4 ? 0.5L : 0.0L))
                << width << " x " << height << " flags " << flags;
        }
    }
}

TEST(DctCases, aConstantImageIsOneNumber) {
    for (const auto &[width, height] : {std::pair{8, 8}, {6, 5}, {64, 64}, {1, 7}, {1, 1}, {40, 30}}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), 1);
        TestImage dst(TestLayout::of(MOX_DEPTH_32F, width, height), 2);
        src.setAll(180);
        dct(src, dst, MOX_DCT_FORWARD);
        const double corner = 180 * std::sqrt(width * height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                EXPECT_NEAR(std::bit_cast<float>(dst.get(0, x, y)), x + y == 0 ? corner : 0, corner * 1e-6);
        }
    }
}

TEST(DctCases, forwardThenInverseGivesTheImageBack) {
    Random random(testSeed());
    for (const auto &[width, height] :
         {std::pair{8, 8}, {1, 1}, {6, 5}, {31, 17}, {64, 64}, {100, 75}, {128, 96}, {255, 3}, {256, 512}}) {
        TestImage src(TestLayout::of(MOX_DEPTH_32F, width, height), 1), middle(src.layout(), 2), dst(src.layout(), 3);
        drawNumbers(random, src, 255);
        dct(src, middle, MOX_DCT_FORWARD);
        dct(middle, dst, MOX_DCT_INVERSE);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                ASSERT_NEAR(std::bit_cast<float>(dst.get(0, x, y)), std::bit_cast<float>(src.get(0, x, y)), 255 * 2e-6)
                    << width << " x " << height;
            }
        }
    }
}

// Bytes through 16-bit coefficients: the coefficients' rounding alone costs up to a unit now and then.
TEST(DctCases, blocksOfBytesComeBack) {
    Random random(testSeed());
    for (int width : {4, 8, 16, 32}) {
        for (int height : {4, 8, 16, 32}) {
            long long errors = 0;
            for (int round = 0; round < 20; ++round) {
                TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), random.next()), dst(src.layout(), 3);
                TestImage middle(TestLayout::of(MOX_DEPTH_16S, width, height), 2);
                if (round % 4 == 3) drawNumbers(random, src, 255);
                dct(src, middle, MOX_DCT_FORWARD);
                dct(middle, dst, MOX_DCT_INVERSE);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width; ++x) {
                        const int error = static_cast<int>(dst.get(0, x, y)) - static_cast<int>(src.get(0, x, y));
                        ASSERT_LE(std::abs(error), 2) << width << " x " << height;
                        errors += error * error;
                    }
                }
            }
            EXPECT_LT(static_cast<double>(errors) / (20 * width * height), 0.35) << width << " x " << height;
        }
    }
}

// With the flag the engine works on the rows themselves: the same numbers, and the source stays.
// Blocks are computed in 16 bits with a sign: what is above them is read as the largest.
TEST(DctCases, unsignedSamplesOfBlocksAreLimited) {
    Random random(testSeed());
    for (int size : {4, 8, 16, 32}) {
        for (int flags : {MOX_DCT_FORWARD, MOX_DCT_INVERSE}) {
            TestImage wide(TestLayout::of(MOX_DEPTH_16U, size, size), 1), limited(wide.layout(), 1);
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x) {
                    const int sample = random.between(0, 65535);
                    wide.set(0, x, y, static_cast<uint32_t>(sample));
                    limited.set(0, x, y, static_cast<uint32_t>(std::min(sample, 32767)));
                }
            }
            TestImage dst(TestLayout::of(MOX_DEPTH_16S, size, size), 2), wanted(dst.layout(), 2);
            forEachCpuLevel([&] {
                dct(wide, dst, flags);
                dct(limited, wanted, flags);
                for (int i = 0; i < size * size; ++i) {
                    ASSERT_EQ(dst.get(0, i % size, i / size), wanted.get(0, i % size, i / size))
                        << size << " flags " << flags;
                }
            });
            // The mean times the size is beyond 16 bits.
            EXPECT_TRUE(flags == MOX_DCT_INVERSE || dst.get(0, 0, 0) == 32767);
        }
    }
}

TEST(DctCases, sixteenBitRowsInPlaceGiveTheSame) {
    Random random(testSeed());
    for (int width : {4, 8, 16, 32, 12}) {
        for (int height : {4, 8, 16, 32, 12}) {
            for (int flags : {MOX_DCT_FORWARD, MOX_DCT_INVERSE}) {
                for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
                    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, width + 5, height + 3, 2, order);
                    layout.dataShift = 1;
                    layout.setRoi(0, 3, 1, width, height);
                    TestImage src(layout, 1), dst(layout, 2);
                    drawNumbers(random, src, 1000);
                    const TestBytes before = src.bytes(), beforeDst = dst.bytes();
                    dct(src, dst, flags);
                    const TestBytes wanted = dst.bytes();
                    dst.setBytes(beforeDst);
                    dct(src, dst, flags | MOX_DCT_IN_PLACE_16S);
                    EXPECT_TRUE(dst.holds(wanted));
                    EXPECT_TRUE(src.holds(before));
                    EXPECT_TRUE(onlyAreaIsWritten(dst, beforeDst, width, height));
                }
            }
        }
    }
}

// For depths other than 16S the flag means nothing.
TEST(DctCases, theFlagForRowsInPlaceIsNoFaultElsewhere) {
    for (unsigned depth : depths) {
        TestImage src(TestLayout::of(depth, 8, 8), 1), dst(src.layout(), 2);
        Random random(testSeed());
        drawNumbers(random, src, 100);
        dct(src, dst, MOX_DCT_FORWARD);
        const TestBytes wanted = dst.bytes();
        dst.setAll(0);
        dct(src, dst, MOX_DCT_FORWARD | MOX_DCT_IN_PLACE_16S);
        EXPECT_TRUE(dst.holds(wanted)) << depthName(depth);
    }
}

TEST(DctCases, storesRoundToTheNearestWithTiesToEven) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 1, 1), 1), dst(TestLayout::of(MOX_DEPTH_16S, 1, 1), 2);
    for (int twice = -9; twice <= 9; ++twice) {
        src.set(0, 0, 0, std::bit_cast<uint32_t>(static_cast<float>(twice) / 2));
        dct(src, dst, MOX_DCT_FORWARD);
        EXPECT_EQ(dst.get(0, 0, 0), static_cast<uint32_t>(static_cast<uint16_t>(std::lrint(twice / 2.0)))) << twice;
    }
}

TEST(DctCases, storesSaturateAtEveryDepth) {
    for (unsigned depth : depths) {
        if (depth == MOX_DEPTH_32F) continue;
        TestImage src(TestLayout::of(MOX_DEPTH_32F, 1, 1), 1), dst(TestLayout::of(depth, 1, 1), 2);
        for (float value : {3e9f, -3e9f, 1e30f, -1e30f, HUGE_VALF, -HUGE_VALF}) {
            src.set(0, 0, 0, std::bit_cast<uint32_t>(value));
            dct(src, dst, MOX_DCT_INVERSE);
            EXPECT_EQ(dst.get(0, 0, 0), refStored(depth, value > 0 ? 1e10L : -1e10L)) << depthName(depth) << value;
        }
    }
}

// Sizes that are no block of the fixed point are as precise as floats are.
TEST(DctCases, otherSizesOfBytesAreRoundedOnce) {
    Random random(testSeed());
    for (const auto &[width, height] :
         {std::pair{64, 64}, {8, 6}, {64, 8}, {4, 64}, {2, 2}, {2, 8}, {1, 4}, {12, 16}}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), random.next());
        TestImage dst(TestLayout::of(MOX_DEPTH_16S, width, height), 2);
        const RefPlane plane = refReadPlane(src, 0, width, height);
        for (int flags : {MOX_DCT_FORWARD, MOX_DCT_INVERSE}) {
            dct(src, dst, flags);
            EXPECT_TRUE(refPlaneHolds(dst, 0, refDct(plane, flags), refFloatDctBound(plane)));
        }
    }
}

// A coi of each image's own: from the one's channel into the other's.
TEST(DctCases, aChannelOfInterestGoesIntoTheOther) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_32F, 9, 7, 3);
    layout.setRoi(1, 0, 0, 9, 7);
    TestImage src(layout, 1);
    layout.roi.coi = 3;
    TestImage dst(layout, 2);
    Random random(testSeed());
    drawNumbers(random, src, 10);
    const TestBytes before = dst.bytes();
    dct(src, dst, MOX_DCT_FORWARD);
    const RefPlane plane = refReadPlane(src, 0, 9, 7);
    EXPECT_TRUE(refPlaneHolds(dst, 2, refDct(plane, MOX_DCT_FORWARD), refFloatDctBound(plane)));
    EXPECT_TRUE(onlyAreaIsWritten(dst, before, 9, 7));
}

TEST(DctCases, infinitiesAndNaNsStayInside) {
    forEachCase(20, [](Random &random) {
        TransformPairOptions options;
        options.depths[0] = MOX_DEPTH_32F;
        options.depths[1] = depths[random.below(6)];
        options.alike = true;
        TransformPair pair(random, options);
        pair.src().drawSamples(random.next());
        pair.keep();
        const TestBytes before = pair.dst().bytes();
        const int flags = random.oneIn(2) ? MOX_DCT_FORWARD : MOX_DCT_INVERSE;
        forEachCpuLevel([&] {
            dct(pair.src(), pair.dst(), flags);
            EXPECT_TRUE(onlyAreaIsWritten(pair.dst(), before, pair.src().layout().regionWidth(),
                                          pair.src().layout().regionHeight()));
            EXPECT_TRUE(pair.restIsUntouched());
            pair.restore();
        });
    });
}

TEST(DctCases, aLargePrimeLengthEndsSoon) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 65537, 2), 1), dst(src.layout(), 2);
    src.setAll(std::bit_cast<uint32_t>(1.0f));
    dct(src, dst, MOX_DCT_FORWARD);
    EXPECT_NEAR(std::bit_cast<float>(dst.get(0, 0, 0)), std::sqrt(2.0 * 65537), 1e-3);
    freeTransformCaches();
}

}  // namespace
