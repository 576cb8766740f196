// Decomposition and reconstruction against the model, to the bit.
#include <bit>
#include <cmath>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "transform/waveletcheck.h"

namespace {

// A filter of the caller's, of any length and offset.
struct UserKernel {
    std::vector<float> taps[4];
    MoxWtKernel kernel = {};

    UserKernel(Random &random, int maxLength) {
        MoxWtFilter filters[4];
        const int equal = random.oneIn(2) ? random.between(2, maxLength) : 0;
        for (int i = 0; i < 4; ++i) {
            const int length = equal ? equal : random.between(2, maxLength);
            for (int k = 0; k < length; ++k)
                taps[i].push_back(static_cast<float>(random.between(-100000, 100000)) / 77777.0f);
            filters[i] = {taps[i].data(), length, random.below(length), 0};
        }
        EXPECT_EQ(moxWtInitUserFilter4(filters, &kernel), 0);
    }
    ~UserKernel() { EXPECT_EQ(moxWtFree(&kernel), 0); }
};

// The expected storage; a zero of either sign is as good as the other.
TestBytes withFloats(const TestImage &image, const RefFloats &rows) {
    TestBytes expected = image.bytes();
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            const float value = rows[static_cast<size_t>(y)][static_cast<size_t>(x)];
            image.setIn(expected, 0, x, y, std::bit_cast<uint32_t>(value == 0 ? 0.0f : value));
        }
    }
    return expected;
}
void dropSignsOfZeros(TestImage &image) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            if (image.get(0, x, y) == 0x80000000u) image.set(0, x, y, 0);
        }
    }
}

void checkDecomposition(WaveletImages &images, MoxWtKernel &kernel) {
    RefFloats parts[4];
    refDecompose(refDecompositionOf(kernel), refReadFloats(images.bytes()), parts);
    KeptImages kept;
    kept.keep({&images.bytes(), &images.part(0), &images.part(1), &images.part(2), &images.part(3)});
    const TestBytes source = images.bytes().bytes();
    forEachCpuLevel([&] {
        ReportRecorder reports;
        AllocationWindow window;
        const MoxStatus status = images.decompose(&kernel);
        window.close();
        EXPECT_EQ(status, 0);
        EXPECT_EQ(window.live(), 0) << "blocks are left";
        EXPECT_TRUE(reports.none());
        for (int i = 0; i < 4; ++i) {
            SCOPED_TRACE("part " + std::to_string(i));
            dropSignsOfZeros(images.part(i));
            EXPECT_TRUE(images.part(i).holds(withFloats(images.part(i), parts[i])));
            EXPECT_TRUE(images.part(i).headerIsUntouched());
        }
        EXPECT_TRUE(images.bytes().holds(source));
        EXPECT_TRUE(images.bytes().headerIsUntouched());
        kept.restore();
    });
}

void checkReconstruction(Random &random, WaveletImages &images, MoxWtKernel &kernel) {
    RefFloats parts[4];
    for (int i = 0; i < 4; ++i) {
        TestImage &part = images.part(i);
        for (int y = 0; y < part.layout().height; ++y) {
            for (int x = 0; x < part.layout().width; ++x) {
                const float value = static_cast<float>(random.between(-20000, 40000)) / (i == 0 ? 133.7f : 1337.0f);
                part.set(0, x, y, std::bit_cast<uint32_t>(value));
            }
        }
        parts[i] = refReadFloats(part);
    }
    TestImage &bytes = images.bytes();
    const TestLayout &layout = bytes.layout();
    const RefFloats wanted =
        refReconstruct(refReconstructionOf(kernel), parts, layout.regionWidth(), layout.regionHeight());
    TestBytes expected = bytes.bytes();
    for (int y = 0; y < layout.regionHeight(); ++y) {
        for (int x = 0; x < layout.regionWidth(); ++x) {
            bytes.setIn(expected, 0, layout.regionX() + x, layout.regionY() + y,
                        refStored(MOX_DEPTH_8U, wanted[static_cast<size_t>(y)][static_cast<size_t>(x)]));
        }
    }
    KeptImages kept;
    kept.keep({&bytes, &images.part(0), &images.part(1), &images.part(2), &images.part(3)});
    forEachCpuLevel([&] {
        ReportRecorder reports;
        AllocationWindow window;
        const MoxStatus status = images.reconstruct(&kernel);
        window.close();
        EXPECT_EQ(status, 0);
        EXPECT_EQ(window.live(), 0) << "blocks are left";
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(bytes.holds(expected));
        EXPECT_TRUE(kept.othersAreUntouched(bytes));
        kept.restore();
    });
}

void checkBoth(Random &random, WaveletImages &images, MoxWtKernel &kernel) {
    SCOPED_TRACE(images.describe());
    checkDecomposition(images, kernel);
    checkReconstruction(random, images, kernel);
}

void initWavelet(const WaveletName &name, MoxWtKernel *kernel) {
    ASSERT_EQ(moxWtInit(name.wtType, name.par1, name.par2, kernel), 0);
}

TEST(Wavelet, everyKernelAgreesWithTheModel) {
    for (const WaveletName &name : allWavelets) {
        SCOPED_TRACE(std::to_string(name.wtType) + " " + std::to_string(name.par1) + " " + std::to_string(name.par2));
        MoxWtKernel kernel;
        initWavelet(name, &kernel);
        forEachCase(12, [&](Random &random) {
            WaveletImages images(random, random.oneIn(4) ? 6 : 90, random.oneIn(4) ? 6 : 50);
            checkBoth(random, images, kernel);
        });
        if (HasFailure()) return;
    }
}

TEST(Wavelet, userFiltersAgreeWithTheModel) {
    forEachCase(300, [](Random &random) {
        UserKernel user(random, random.oneIn(4) ? 40 : 12);
        WaveletImages images(random, random.oneIn(4) ? 200 : 50, random.oneIn(3) ? 5 : 40);
        SCOPED_TRACE("lengths " + std::to_string(user.taps[0].size()) + " " + std::to_string(user.taps[1].size()) +
                     " " + std::to_string(user.taps[2].size()) + " " + std::to_string(user.taps[3].size()));
        checkBoth(random, images, user.kernel);
    });
}

// Every offset of some lengths, at sizes around the filter's length: every phase at which a row may enter.
TEST(Wavelet, isRightAtEveryOffset) {
    Random random(testSeed());
    for (int lowLength : {2, 3, 4, 7}) {
        for (int highLength : {2, 3, 6}) {
            for (int lowOffset = 0; lowOffset < lowLength; ++lowOffset) {
                for (int highOffset = 0; highOffset < highLength; ++highOffset) {
                    std::vector<float> low(static_cast<size_t>(lowLength)), high(static_cast<size_t>(highLength));
                    for (std::vector<float> *taps : {&low, &high}) {
                        for (float &tap : *taps)
                            tap = static_cast<float>(random.between(-1000, 1000)) / 777.0f;
                    }
                    MoxWtFilter filters[4] = {{low.data(), lowLength, lowOffset, 0},
                                              {high.data(), highLength, highOffset, 0},
                                              {low.data(), lowLength, lowOffset, 0},
                                              {high.data(), highLength, highOffset, 0}};
                    MoxWtKernel kernel;
                    ASSERT_EQ(moxWtInitUserFilter4(filters, &kernel), 0);
                    WaveletImages images(random, 12, 9);
                    checkBoth(random, images, kernel);
                    moxWtFree(&kernel);
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST(Wavelet, isRightAtEverySmallSize) {
    Random random(testSeed());
    MoxWtKernel kernel;
    initWavelet({MOX_WT_BSPLINE, 1, 5}, &kernel);
    for (int width = 1; width <= 13; ++width) {
        for (int height = 1; height <= 13; ++height) {
            for (;;) {
                WaveletImages images(random, width, height);
                if (images.bytes().layout().regionWidth() != width || images.bytes().layout().regionHeight() != height)
                    continue;
                checkBoth(random, images, kernel);
                break;
            }
            if (HasFailure()) return;
        }
    }
}

TEST(Wavelet, isRightOnWideRows) {
    forEachCase(20, [](Random &random) {
        MoxWtKernel kernel;
        initWavelet(allWavelets[static_cast<size_t>(random.below(static_cast<int>(allWavelets.size())))], &kernel);
        WaveletImages images(random, 700, 9);
        checkBoth(random, images, kernel);
    });
}

// What a built-in kernel takes apart it puts together again, to the byte.
TEST(Wavelet, reconstructionGivesTheImageBack) {
    for (const WaveletName &name : allWavelets) {
        MoxWtKernel kernel;
        initWavelet(name, &kernel);
        forEachCase(12, [&](Random &random) {
            WaveletImages images(random, random.oneIn(3) ? 7 : 60, random.oneIn(3) ? 7 : 40);
            SCOPED_TRACE(images.describe());
            const TestBytes before = images.bytes().bytes();
            EXPECT_EQ(images.decompose(&kernel), 0);
            const TestLayout &layout = images.bytes().layout();
            for (int y = 0; y < layout.regionHeight(); ++y) {
                for (int x = 0; x < layout.regionWidth(); ++x)
                    images.bytes().set(0, layout.regionX() + x, layout.regionY() + y, 77);
            }
            EXPECT_EQ(images.reconstruct(&kernel), 0);
            EXPECT_TRUE(images.bytes().holds(before));
        });
        if (HasFailure()) {
            ADD_FAILURE() << "type " << name.wtType << " " << name.par1 << " " << name.par2;
            return;
        }
    }
}

TEST(Wavelet, haarOfFourBytes) {
    MoxWtKernel kernel;
    initWavelet({MOX_WT_HAAR, 0, 0}, &kernel);
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 2, 2), 1);
    TestImage parts[4] = {
        TestImage(TestLayout::of(MOX_DEPTH_32F, 1, 1), 2), TestImage(TestLayout::of(MOX_DEPTH_32F, 1, 1), 3),
        TestImage(TestLayout::of(MOX_DEPTH_32F, 1, 1), 4), TestImage(TestLayout::of(MOX_DEPTH_32F, 1, 1), 5)};
    const float a = 200, b = 3, c = 77, d = 14;
    src.set(0, 0, 0, 200);
    src.set(0, 1, 0, 3);
    src.set(0, 0, 1, 77);
    src.set(0, 1, 1, 14);
    ASSERT_EQ(moxWtDecompose(&kernel, src.header(), parts[0].header(), parts[1].header(), parts[2].header(),
                             parts[3].header()),
              0);
    // x[offset] is the second sample: the high-pass filter takes it with 0.5 and the first with -0.5.
    EXPECT_EQ(std::bit_cast<float>(parts[0].get(0, 0, 0)), (a + b + c + d) / 4);
    EXPECT_EQ(std::bit_cast<float>(parts[1].get(0, 0, 0)), (c + d - a - b) / 4);
    EXPECT_EQ(std::bit_cast<float>(parts[2].get(0, 0, 0)), (b + d - a - c) / 4);
    EXPECT_EQ(std::bit_cast<float>(parts[3].get(0, 0, 0)), (a - b - c + d) / 4);
}

// Vaidyanathan's filter has no exact zero at half the sampling rate.
TEST(Wavelet, aConstantImageHasNoDetails) {
    for (const WaveletName &name : allWavelets) {
        MoxWtKernel kernel;
        initWavelet(name, &kernel);
        Random random(testSeed());
        WaveletImages images(random, 33, 21);
        images.bytes().setAll(200);
        ASSERT_EQ(images.decompose(&kernel), 0);
        const double least = name.wtType == MOX_WT_VAIDYANATHAN ? 0.03 : 2e-4;
        for (int i = 0; i < 4; ++i) {
            TestImage &part = images.part(i);
            for (int y = 0; y < part.layout().height; ++y) {
                for (int x = 0; x < part.layout().width; ++x)
                    EXPECT_NEAR(std::bit_cast<float>(part.get(0, x, y)), i == 0 ? 200 : 0, i == 0 ? 2e-4 : least);
            }
        }
    }
}

// Bytes round to the nearest, ties to even, within 0 and 255.
TEST(Wavelet, reconstructionRoundsAndLimits) {
    MoxWtKernel kernel;
    initWavelet({MOX_WT_HAAR, 0, 0}, &kernel);
    TestLayout one = TestLayout::of(MOX_DEPTH_32F, 1, 1);
    TestImage zero(one, 1), approx(one, 2), dst(TestLayout::of(MOX_DEPTH_8U, 2, 2), 3);
    zero.setAll(0);
    const struct {
        float from;
        uint32_t to;
    } cases[] = {{0.5f, 0},     {1.5f, 2},        {2.5f, 2},       {2.4999998f, 2}, {2.5000002f, 3}, {254.5f, 254},
                 {254.6f, 255}, {255.5f, 255},    {300, 255},      {1e30f, 255},    {-0.5f, 0},      {-3, 0},
                 {-1e30f, 0},   {HUGE_VALF, 255}, {-HUGE_VALF, 0}, {0.75f, 1}};
    forEachCpuLevel([&] {
        for (const auto &each : cases) {
            approx.set(0, 0, 0, std::bit_cast<uint32_t>(each.from));
            dst.setAll(77);
            ASSERT_EQ(
                moxWtReconstruct(&kernel, approx.header(), zero.header(), zero.header(), zero.header(), dst.header()),
                0);
            for (int i = 0; i < 4; ++i)
                EXPECT_EQ(dst.get(0, i % 2, i / 2), each.to) << each.from;
        }
    });
}

// NaNs and infinities in the parts end as some byte.
TEST(Wavelet, anyFloatsReconstructToBytes) {
    forEachCase(30, [](Random &random) {
        MoxWtKernel kernel;
        initWavelet(allWavelets[static_cast<size_t>(random.below(static_cast<int>(allWavelets.size())))], &kernel);
        WaveletImages images(random, 40, 20);
        const TestBytes before = images.bytes().bytes();
        EXPECT_EQ(images.reconstruct(&kernel), 0);
        const TestLayout &layout = images.bytes().layout();
        TestBytes area(before.size());
        for (int y = 0; y < layout.regionHeight(); ++y) {
            for (int x = 0; x < layout.regionWidth(); ++x)
                images.bytes().setIn(area, 0, layout.regionX() + x, layout.regionY() + y, 0xFF);
        }
        EXPECT_TRUE(images.bytes().holds(before, area));
    });
}

}  // namespace
