// The Fourier transforms against their sums: random layouts at every depth, and what can be said of small cases.
#include <bit>
#include <cmath>

#include "transform/transformcheck.h"

namespace {

const unsigned depths[] = {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};

MoxStatus callFft(bool ccs, MoxImage *src, MoxImage *dst, int flags) {
    return ccs ? moxCcsFft2D(src, dst, flags) : moxRealFft2D(src, dst, flags);
}

WantedPlanes wantedFft(TransformPair &pair, bool ccs, int flags) {
    WantedPlanes wanted;
    const TestLayout &from = pair.src().layout(), &to = pair.dst().layout();
    const int width = pair.width(), height = pair.height();
    const bool fixed = refFftIsFixedPoint(from.depth, to.depth, flags, width, height);
    for (int channel = 0; channel < pair.channels(); ++channel) {
        const RefPlane plane = refReadPlane(pair.src(), from.firstChannel() + channel, width, height);
        wanted.planes.push_back(refFft(ccs, plane, flags));
        wanted.bounds.push_back(fixed ? refFixedFftBound(plane, flags) : refFloatFftBound(plane, flags));
    }
    return wanted;
}

int drawDirection(Random &random) {
    static const int directions[] = {MOX_FFT_FORWARD, MOX_FFT_INVERSE, MOX_FFT_INVERSE | MOX_FFT_NO_SCALE,
                                     MOX_FFT_FORWARD | MOX_FFT_NO_SCALE};
    return directions[random.below(4)];
}

void checkFft(Random &random, const TransformPairOptions &options, int engines) {
    TransformPair pair(random, options);
    const bool ccs = random.oneIn(2);
    const int flags = drawDirection(random) | engines;
    SCOPED_TRACE(pair.describe() + (ccs ? "to real " : "to packed ") + std::to_string(flags));
    checkTransform(pair, wantedFft(pair, ccs, flags), random.oneIn(4),
                   [&] { return callFft(ccs, pair.src().header(), pair.dst().header(), flags); });
}

class Fft : public testing::TestWithParam<unsigned> {
  protected:
    TransformPairOptions options(Random &random) const {
        TransformPairOptions options;
        options.depths[0] = GetParam();
        // Often a destination that holds what comes out.
        options.depths[1] = random.oneIn(2) ? MOX_DEPTH_32F : depths[random.below(6)];
        options.most = random.oneIn(3) ? 100 : random.oneIn(2) ? 1e4 : 1e6;
        options.inPlace = random.oneIn(4);
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Fft, testing::ValuesIn(depths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Fft, agreesWithTheSumsOverRandomLayouts) {
    forEachCase(60, [&](Random &random) {
        const int engine = random.oneIn(3) ? MOX_FFT_USE_FLOAT : 0;
        checkFft(random, options(random), engine);
    });
}

TEST_P(Fft, agreesWithTheSumsOnTinyImages) {
    forEachCase(120, [&](Random &random) {
        TransformPairOptions tiny = options(random);
        tiny.maxWidth = random.oneIn(3) ? 130 : 16;
        tiny.maxHeight = random.oneIn(3) ? 130 : 16;
        if (tiny.depths[1] == MOX_DEPTH_32F && random.oneIn(2)) tiny.depths[1] = MOX_DEPTH_32S;
        tiny.tiny = true;
        // The fixed point has 32 bits.
        if (GetParam() == MOX_DEPTH_32S) tiny.most = 1e4;
        checkFft(random, tiny, 0);
    });
}

TEST_P(Fft, agreesWithTheSumsWhereIntegersAreForced) {
    forEachCase(40, [&](Random &random) {
        TransformPairOptions forced = options(random);
        forced.depths[1] = depths[random.below(6)];
        forced.most = 1e4;
        checkFft(random, forced, MOX_FFT_USE_INTEGER);
    });
}

// All small lengths in both directions, with all others beside them.
TEST(Fft, isRightAtEverySmallSize) {
    Random random(testSeed());
    for (int width = 1; width <= 20; ++width) {
        for (int height = 1; height <= 20; ++height) {
            TransformPairOptions exact;
            exact.depths[0] = exact.depths[1] = MOX_DEPTH_32F;
            for (int ccs = 0; ccs < 2; ++ccs) {
                TestImage image(TestLayout::of(MOX_DEPTH_32F, width, height), 1);
                drawNumbers(random, image, 1000);
                const int flags = ccs ? MOX_FFT_INVERSE : MOX_FFT_FORWARD;
                const RefPlane plane = refReadPlane(image, 0, width, height);
                ReportRecorder reports;
                ASSERT_EQ(callFft(ccs, image.header(), image.header(), flags), 0);
                ASSERT_TRUE(refPlaneHolds(image, 0, refFft(ccs, plane, flags), refFloatFftBound(plane, flags)))
                    << width << " x " << height;
            }
        }
    }
}

// Lengths of every kind along either axis: powers of two, composite, prime, one beside a power of two.
TEST(Fft, isRightAtLongLengths) {
    Random random(testSeed());
    for (int length : {25,  32,  49,  64,  77,  97,  100,  127,  128,  129,  180,  211, 255,
                       256, 257, 360, 509, 512, 600, 1000, 1021, 1024, 1025, 1155, 2048}) {
        for (int other : {1, 2, 3}) {
            for (int turned = 0; turned < 2; ++turned) {
                const int width = turned ? other : length, height = turned ? length : other;
                const bool ccs = random.oneIn(2);
                const int flags = drawDirection(random);
                TestImage image(TestLayout::of(MOX_DEPTH_32F, width, height), 1), result(image.layout(), 2);
                drawNumbers(random, image, 1000);
                const RefPlane plane = refReadPlane(image, 0, width, height);
                const RefPlane wanted = refFft(ccs, plane, flags);
                forEachCpuLevel([&] {
                    ReportRecorder reports;
                    ASSERT_EQ(callFft(ccs, image.header(), result.header(), flags), 0);
                    ASSERT_TRUE(refPlaneHolds(result, 0, wanted, refFloatFftBound(plane, flags)))
                        << width << " x " << height << " flags " << flags << " ccs " << ccs;
                });
                if (HasFatalFailure()) return;
            }
        }
    }
    freeTransformCaches();
}

// The error, in the mean, is no larger than that of the sum as anyone would write it in single precision.
TEST(Fft, isAsPreciseAsTheDirectSum) {
    Random random(testSeed());
    for (const auto &[width, height] :
         {std::pair{4, 4}, {5, 7},   {6, 5},   {8, 8},   {9, 12},  {13, 13}, {16, 16}, {17, 31}, {24, 20},  {32, 32},
          {37, 64},        {60, 50}, {64, 64}, {100, 3}, {1, 101}, {127, 4}, {128, 5}, {343, 2}, {1024, 1}, {997, 1}}) {
        for (int ccs = 0; ccs < 2; ++ccs) {
            ErrorSums errors;
            for (int round = 0; round < (width * height < 400 ? 20 : 2); ++round) {
                TestImage image(TestLayout::of(MOX_DEPTH_32F, width, height), 1);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width; ++x)
                        image.set(0, x, y, refStored(MOX_DEPTH_32F, random.between(-1000000, 1000000) / 977.0));
                }
                const int flags = ccs ? MOX_FFT_INVERSE | MOX_FFT_NO_SCALE : MOX_FFT_FORWARD;
                const RefPlane plane = refReadPlane(image, 0, width, height);
                ASSERT_EQ(callFft(ccs, image.header(), image.header(), flags), 0);
                errors.add(refFft(ccs, plane, flags), refReadPlane(image, 0, width, height),
                           refDirectFloatFft(ccs, plane, flags));
            }
            EXPECT_TRUE(errors.areNoLarger(0.5L)) << width << " x " << height << " ccs " << ccs;
        }
    }
}

float floatAt(const TestImage &image, int x, int y) {
    return std::bit_cast<float>(image.get(0, x, y));
}
void putFloat(TestImage &image, int x, int y, float value) {
    image.set(0, x, y, std::bit_cast<uint32_t>(value));
}

// A single sample passes through, in every direction.
TEST(Fft, ofASingleSampleIsTheSample) {
    for (unsigned depth : depths) {
        for (int flags : {1, 2, 2 | 4, 1 | 16, 2 | 16, 1 | 32, 2 | 32}) {
            for (int ccs = 0; ccs < 2; ++ccs) {
                TestImage src(TestLayout::of(depth, 1, 1), 1), dst(TestLayout::of(depth, 1, 1), 2);
                const uint32_t sample = refStored(depth, 101);
                src.set(0, 0, 0, sample);
                EXPECT_EQ(callFft(ccs, src.header(), dst.header(), flags), 0);
                EXPECT_EQ(dst.get(0, 0, 0), sample) << depthName(depth) << " flags " << flags << " ccs " << ccs;
            }
        }
    }
}

TEST(Fft, ofAConstantImageIsItsSumAloneInTheCorner) {
    for (const auto &[width, height] : {std::pair{8, 8}, {6, 5}, {5, 6}, {7, 9}, {1, 12}, {12, 1}, {40, 30}}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), 1);
        TestImage dst(TestLayout::of(MOX_DEPTH_32F, width, height), 2);
        src.setAll(200);
        ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD), 0);
        const float sum = 200.0f * static_cast<float>(width * height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const float wanted = x == 0 && y == 0 ? sum : 0;
                EXPECT_NEAR(floatAt(dst, x, y), wanted, sum * 1e-6) << x << "," << y;
            }
        }
    }
}

TEST(Fft, ofBrightBytesSaturatesInTheCorner) {
    for (const auto &[width, height] : {std::pair{8, 8}, {40, 30}}) {
        for (int engine : {0, static_cast<int>(MOX_FFT_USE_INTEGER), static_cast<int>(MOX_FFT_USE_FLOAT)}) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), 1), dst(src.layout(), 2);
            src.setAll(250);
            ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD | engine), 0);
            EXPECT_EQ(dst.get(0, 0, 0), 255u);
        }
    }
}

// One wave of each kind, and the one or two places that it fills.
struct Wave {
    int width, height, u, v;
    int reX, reY, imX, imY;  // imX -1: real alone
};
const Wave waves[] = {{6, 5, 0, 1, 0, 1, 0, 2},  {6, 5, 0, 2, 0, 3, 0, 4},  {6, 5, 3, 0, 5, 0, -1, 0},
                      {6, 5, 3, 2, 5, 3, 5, 4},  {6, 5, 1, 0, 1, 0, 2, 0},  {6, 5, 1, 4, 1, 4, 2, 4},
                      {6, 5, 2, 3, 3, 3, 4, 3},  {8, 8, 0, 4, 0, 7, -1, 0}, {8, 8, 4, 4, 7, 7, -1, 0},
                      {8, 8, 4, 3, 7, 5, 7, 6},  {8, 8, 3, 7, 5, 7, 6, 7},  {7, 4, 3, 1, 5, 1, 6, 1},
                      {7, 4, 0, 2, 0, 3, -1, 0}, {2, 2, 1, 1, 1, 1, -1, 0}, {1, 6, 0, 1, 0, 1, 0, 2},
                      {1, 6, 0, 3, 0, 5, -1, 0}, {6, 1, 1, 0, 1, 0, 2, 0},  {6, 1, 3, 0, 5, 0, -1, 0},
                      {2, 5, 1, 2, 1, 3, 1, 4},  {3, 3, 1, 2, 1, 2, 2, 2},  {16, 16, 8, 5, 15, 9, 15, 10}};

TEST(Fft, packsEveryFrequencyAtItsPlace) {
    for (const Wave &wave : waves) {
        for (int flags : {int{MOX_FFT_FORWARD}, MOX_FFT_INVERSE | MOX_FFT_NO_SCALE}) {
            TestImage src(TestLayout::of(MOX_DEPTH_32F, wave.width, wave.height), 1), dst(src.layout(), 2);
            const double phase = wave.imX < 0 ? 0 : 0.7;
            for (int y = 0; y < wave.height; ++y) {
                for (int x = 0; x < wave.width; ++x) {
                    const double turn = double(wave.u * x) / wave.width + double(wave.v * y) / wave.height;
                    putFloat(src, x, y, static_cast<float>(100 * std::cos(2 * std::acos(-1.0) * turn + phase)));
                }
            }
            ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), flags), 0);
            const double half = wave.imX < 0 ? 1 : 0.5, size = 100 * half * wave.width * wave.height;
            for (int y = 0; y < wave.height; ++y) {
                for (int x = 0; x < wave.width; ++x) {
                    double wanted = 0;
                    if (x == wave.reX && y == wave.reY) wanted = size * std::cos(phase);
                    if (x == wave.imX && y == wave.imY)
                        wanted = size * std::sin(phase) * (flags & MOX_FFT_FORWARD ? 1 : -1);
                    EXPECT_NEAR(floatAt(dst, x, y), wanted, size * 1e-5)
                        << wave.width << "x" << wave.height << " u " << wave.u << " v " << wave.v << " at " << x << ","
                        << y << " flags " << flags;
                }
            }
        }
    }
}

TEST(Fft, forwardThenInverseGivesTheImageBack) {
    Random random(testSeed());
    for (const auto &[width, height] :
         {std::pair{6, 5}, {1, 1}, {2, 2}, {1, 9}, {31, 17}, {64, 64}, {100, 75}, {128, 96}, {255, 3}, {640, 7}}) {
        TestImage src(TestLayout::of(MOX_DEPTH_32F, width, height, 3, MOX_DATA_ORDER_PLANE), 1);
        TestImage packed(src.layout(), 2), back(src.layout(), 3), unscaled(src.layout(), 4);
        drawNumbers(random, src, 255);
        ASSERT_EQ(moxRealFft2D(src.header(), packed.header(), MOX_FFT_FORWARD), 0);
        ASSERT_EQ(moxCcsFft2D(packed.header(), back.header(), MOX_FFT_INVERSE), 0);
        ASSERT_EQ(moxCcsFft2D(packed.header(), unscaled.header(), MOX_FFT_INVERSE | MOX_FFT_NO_SCALE), 0);
        const float samples = static_cast<float>(width * height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                for (int channel = 0; channel < 3; ++channel) {
                    const float wanted = std::bit_cast<float>(src.get(channel, x, y));
                    ASSERT_NEAR(std::bit_cast<float>(back.get(channel, x, y)), wanted, 255 * 2e-6);
                    ASSERT_NEAR(std::bit_cast<float>(unscaled.get(channel, x, y)), wanted * samples,
                                255 * 2e-6 * samples);
                }
            }
        }
    }
}

// Bytes come back exactly through a float spectrum, and nearly so through the fixed point's integers.
TEST(Fft, bytesComeBack) {
    Random random(testSeed());
    for (const auto &[width, height] : {std::pair{8, 8}, {6, 5}, {11, 11}, {16, 8}, {128, 1}, {1, 100}, {50, 41}}) {
        for (unsigned between : {MOX_DEPTH_32F, MOX_DEPTH_32S}) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), random.next()), dst(src.layout(), 2);
            TestImage packed(TestLayout::of(between, width, height), 3);
            ASSERT_EQ(moxRealFft2D(src.header(), packed.header(), MOX_FFT_FORWARD), 0);
            ASSERT_EQ(moxCcsFft2D(packed.header(), dst.header(), MOX_FFT_INVERSE), 0);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    const int error = static_cast<int>(dst.get(0, x, y)) - static_cast<int>(src.get(0, x, y));
                    ASSERT_LE(std::abs(error), between == MOX_DEPTH_32F ? 0 : 2) << width << " x " << height;
                }
            }
        }
    }
}

// Integers round to the nearest, ties to even: one row of two samples has exact halves.
TEST(Fft, storesRoundToTheNearestWithTiesToEven) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 2, 1), 1), dst(TestLayout::of(MOX_DEPTH_16S, 2, 1), 2);
    for (int twice = -9; twice <= 9; ++twice) {
        putFloat(src, 0, 0, static_cast<float>(twice) / 2);
        putFloat(src, 1, 0, 0);
        ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD), 0);
        const uint32_t wanted = static_cast<uint16_t>(std::lrint(twice / 2.0));
        EXPECT_EQ(dst.get(0, 0, 0), wanted) << twice;
        EXPECT_EQ(dst.get(0, 1, 0), wanted) << twice;
    }
}

TEST(Fft, storesSaturateAtEveryDepth) {
    for (unsigned depth : depths) {
        if (depth == MOX_DEPTH_32F) continue;
        TestImage src(TestLayout::of(MOX_DEPTH_32F, 2, 1), 1), dst(TestLayout::of(depth, 2, 1), 2);
        for (float value : {3e9f, -3e9f, 1e30f, -1e30f}) {
            putFloat(src, 0, 0, value);
            putFloat(src, 1, 0, 0);
            ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD), 0);
            EXPECT_EQ(dst.get(0, 0, 0), refStored(depth, value > 0 ? 1e10L : -1e10L)) << depthName(depth) << value;
        }
    }
}

// The sum of a million of the largest integers, and what becomes of it on the way back.
TEST(Fft, integersOfManySamplesDoNotWrap) {
    const int width = 1 << 20;
    TestImage src(TestLayout::of(MOX_DEPTH_32S, width, 1), 1), dst(src.layout(), 2);
    for (uint32_t sample : {0x7FFFFFFFu, 0x80000000u}) {
        src.setAll(sample);
        ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD | MOX_FFT_USE_INTEGER), 0);
        EXPECT_EQ(dst.get(0, 0, 0), sample);
    }
    freeTransformCaches();
}

// Infinities and NaNs reach the places that their sums reach, and no others than the transform's.
TEST(Fft, keepsInfinitiesAndNaNsToItself) {
    forEachCase(20, [](Random &random) {
        TransformPairOptions options;
        options.depths[0] = MOX_DEPTH_32F;
        options.depths[1] = depths[random.below(6)];
        TransformPair pair(random, options);
        pair.src().drawSamples(random.next());
        pair.keep();
        SCOPED_TRACE(pair.describe());
        const TestBytes before = pair.dst().bytes();
        const bool ccs = random.oneIn(2);
        forEachCpuLevel([&] {
            ReportRecorder reports;
            EXPECT_EQ(callFft(ccs, pair.src().header(), pair.dst().header(), drawDirection(random)), 0);
            EXPECT_TRUE(onlyAreaIsWritten(pair.dst(), before, pair.width(), pair.height()));
            EXPECT_TRUE(pair.restIsUntouched());
            pair.restore();
        });
    });
}

// A transform of any length takes N log N: a prime length is not dearer than some times its neighbours.
TEST(Fft, ofALargePrimeSizeEndsSoon) {
    TestImage src(TestLayout::of(MOX_DEPTH_32F, 65537, 2), 1), dst(src.layout(), 2);
    src.setAll(std::bit_cast<uint32_t>(1.0f));
    ASSERT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD), 0);
    EXPECT_NEAR(floatAt(dst, 0, 0), 131074.0f, 0.1f);
    EXPECT_NEAR(floatAt(dst, 1, 0), 0.0f, 0.1f);
    freeTransformCaches();
}

// An old fault in the status word does not stop a transform, and stays.
TEST(Fft, runsWithAnOldStatus) {
    ReportRecorder reports;
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 9), 1), dst(TestLayout::of(MOX_DEPTH_32F, 9, 9), 2);
    const TestBytes before = dst.bytes();
    moxSetErrStatus(-7);
    EXPECT_EQ(moxRealFft2D(src.header(), dst.header(), MOX_FFT_FORWARD), 0);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(reports.none());
    EXPECT_FALSE(dst.holds(before));
}

}  // namespace
