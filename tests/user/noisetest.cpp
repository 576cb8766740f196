// Noise: against the model over random layouts, what is told, and every report.
#include <bit>
#include <climits>
#include <cmath>

#include "filter/filtercheck.h"
#include "reference/user.h"
#include "support/golden.h"
#include "user/userpair.h"

namespace {

constexpr const char *NAME = "moxNoiseImage";
constexpr const char *KINDS = "((noiseParam->noise != MOX_NOISE_UNIFORM) && (noiseParam->noise != MOX_NOISE_GAUSSIAN))";

class Noise : public testing::TestWithParam<unsigned> {
  protected:
    UserPairOptions options() const {
        UserPairOptions options;
        options.depth = GetParam();
        options.inPlace = 1;
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Noise,
                         testing::Values(MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S,
                                         MOX_DEPTH_32F),
                         [](const auto &each) { return std::string(depthName(each.param)); });

float drawReal(Random &random) {
    return random.oneIn(6) ? std::bit_cast<float>(drawSample(random, MOX_DEPTH_32F))
                           : static_cast<float>(random.between(-100000, 100000)) / 977.0f;
}

MoxNoiseParam drawNoise(Random &random) {
    MoxNoiseParam param = {};
    param.noise = random.below(2);
    param.seed = random.oneIn(5) ? static_cast<unsigned>(random.below(3)) : random.bits();
    param.lowInt = random.oneIn(2) ? random.between(-50, 50) : drawInt(random);
    param.highInt = random.oneIn(2) ? random.between(-50, 50) : drawInt(random);
    param.lowFlt = drawReal(random);
    param.highFlt = drawReal(random);
    return param;
}

std::string describe(const MoxNoiseParam &param) {
    return std::string(param.noise ? "Gaussian" : "uniform") + " seed " + std::to_string(param.seed) + " integers " +
           std::to_string(param.lowInt) + ", " + std::to_string(param.highInt) + " floats " +
           std::to_string(param.lowFlt) + ", " + std::to_string(param.highFlt);
}

void check(UserPair &pair, MoxNoiseParam param) {
    SCOPED_TRACE(describe(param) + "\n" + pair.describe());
    const RefNoise wanted = refNoise(pair.dst(), param);
    checkCall(
        pair, {wanted.expected, {}}, [&] { EXPECT_EQ(moxNoiseImage(pair.dst().header(), &param), 0); },
        [&](const TestImage &image, RefResult *result) {
            // Levels are compared as well, and there is nothing to choose.
            if (result->expected == wanted.expected) result->expected = refAcceptOther(image, wanted);
            refAcceptNaNs(image, result);
        });
}

TEST_P(Noise, agreesWithTheModelOverRandomLayouts) {
    forEachCase(400, [&](Random &random) {
        UserPair pair(random, options());
        check(pair, drawNoise(random));
    });
}

TEST_P(Noise, agreesWithTheModelOnTiles) {
    forEachCase(150, [&](Random &random) {
        UserPairOptions tiled = options();
        tiled.tiled[0] = 1;
        tiled.maxWidth = 80;
        tiled.maxHeight = 40;
        UserPair pair(random, tiled);
        check(pair, drawNoise(random));
    });
}

// Long rows and many deviates.
TEST_P(Noise, agreesWithTheModelOnLargeImages) {
    forEachCase(8, [&](Random &random) {
        UserPairOptions large = options();
        large.tiled[0] = 0;
        large.masks = random.oneIn(2);
        large.maxWidth = 1500;
        large.maxHeight = 30;
        UserPair pair(random, large);
        check(pair, drawNoise(random));
    });
}

// No place in a row is special, and deviates that are left over go on in the next row.
TEST_P(Noise, isRightAtEveryWidth) {
    Random random(testSeed());
    for (int width = 1; width <= 100; ++width) {
        UserPairOptions exact = options();
        exact.tiled[0] = 0;
        exact.maxWidth = width;
        exact.maxHeight = 5;
        UserPair pair(random, exact);
        check(pair, drawNoise(random));
        if (HasFailure()) return;
    }
}

TEST(NoiseImage, theGeneratorIsTheOneThatIsTold) {
    // x = 0x436cbae9 * 69069 + 1013904243; t = 0x6C078965... of seed 0: s2 - s3 - 1 in 32 bits.
    const uint32_t s2 = 1013904243u, s3 = s2 * 69069u + 1013904243u;
    uint32_t t = s2 - s3 - 1;
    if (t & 0x80000000u) t -= 18;
    const uint32_t first = t + (0x436cbae9u * 69069u + 1013904243u);
    TestImage image(TestLayout::of(MOX_DEPTH_32S, 1, 1), 1);
    image.set(0, 0, 0, 0);
    MoxNoiseParam param = {};
    moxNoiseUniformInit(&param, 0, 0, INT_MAX);
    EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
    EXPECT_EQ(image.get(0, 0, 0), static_cast<uint32_t>(first * (2147483647.0 / 4294967296.0)));
}

TEST(NoiseImage, rangesOutsideTheDepthFillTheRegion) {
    const struct {
        unsigned depth;
        int low, high;
        uint32_t wanted;
    } cases[] = {{MOX_DEPTH_8U, 300, 400, 255},          {MOX_DEPTH_8U, 400, 300, 255},
                 {MOX_DEPTH_8U, 255, 255, 255},          {MOX_DEPTH_8U, -255, -300, 0},
                 {MOX_DEPTH_8S, 255, 300, 127},          {MOX_DEPTH_8S, INT_MIN, -255, 0x80},
                 {MOX_DEPTH_16U, 65535, INT_MAX, 65535}, {MOX_DEPTH_16U, -65535, -70000, 0},
                 {MOX_DEPTH_16S, 65535, 65535, 32767},   {MOX_DEPTH_16S, -65535, -65535, 0x8000}};
    for (const auto &each : cases) {
        TestLayout layout = TestLayout::of(each.depth, 20, 10, 3);
        layout.setRoi(2, 3, 2, 9, 5);
        TestImage image(layout, 1), mask(TestLayout::ofMask(20, 10), 2);
        image.setMask(&mask);
        TestBytes wanted = image.bytes();
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 9; ++x) {
                if (mask.get(0, x, y)) image.setIn(wanted, 1, 3 + x, 2 + y, each.wanted);
            }
        }
        MoxNoiseParam param = {};
        moxNoiseUniformInit(&param, 5, each.low, each.high);
        ReportRecorder reports;
        EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(image.holds(wanted)) << depthName(each.depth) << " " << each.low << " " << each.high;
    }
}

TEST(NoiseImage, noSpreadAroundNothingChangesNothing) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        for (const int noise : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
            TestImage image(TestLayout::of(depth, 20, 10, 3), 1);
            for (int k = 0; k < 600; ++k)
                image.set(k % 3, k / 3 % 20, k / 60, depth == MOX_DEPTH_32F ? 0x3F800000u + 77u * k : 19u * k % 128);
            const TestBytes before = image.bytes();
            MoxNoiseParam param = {};
            param.noise = noise;
            param.seed = 11;
            EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
            EXPECT_TRUE(image.holds(before)) << depthName(depth) << " " << noise;
        }
    }
}

TEST(NoiseImage, boundsMayComeInAnyOrder) {
    for (const unsigned depth : {MOX_DEPTH_16S, MOX_DEPTH_32F}) {
        TestImage one(TestLayout::of(depth, 20, 10), 1), other(TestLayout::of(depth, 20, 10), 1);
        MoxNoiseParam up = {}, down = {};
        up.seed = down.seed = 3;
        up.lowInt = down.highInt = -7;
        up.highInt = down.lowInt = 90;
        up.lowFlt = down.highFlt = -7.5f;
        up.highFlt = down.lowFlt = 90.25f;
        moxNoiseImage(one.header(), &up);
        moxNoiseImage(other.header(), &down);
        EXPECT_EQ(digestOfSamples(other, 0), digestOfSamples(one, 0));
    }
}

// Equal seeds give equal noise, in tiles as well where their order is that of the rows.
TEST(NoiseImage, theSeedDecides) {
    for (const int noise : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 24, 20);
        TestImage one(layout, 1), two(layout, 1), three(layout, 1);
        layout.tileWidth = 24;
        layout.tileHeight = 8;
        TestImage tiled(layout, 1);
        MoxNoiseParam param = {};
        param.noise = noise;
        param.seed = 77;
        param.lowInt = -40;
        param.highInt = 30;
        moxNoiseImage(one.header(), &param);
        moxNoiseImage(two.header(), &param);
        moxNoiseImage(tiled.header(), &param);
        param.seed = 78;
        moxNoiseImage(three.header(), &param);
        EXPECT_EQ(digestOfSamples(two, 0), digestOfSamples(one, 0));
        EXPECT_NE(digestOfSamples(three, 0), digestOfSamples(one, 0));
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 24; ++x)
                ASSERT_EQ(tiled.get(0, x, y), one.get(0, x, y));
        }
    }
}

// A mean of 1000 samples of mean 30 and deviation 9.
TEST(NoiseImage, deviatesAreDistributedAsTheyShouldBe) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 100, 100), 1);
    image.setAll(0);
    MoxNoiseParam param = {};
    moxNoiseGaussianInitFP(&param, 5, 30.0f, 9.0f);
    moxNoiseImage(image.header(), &param);
    double sum = 0, squares = 0;
    for (int k = 0; k < 10000; ++k) {
        const double value = static_cast<double>(std::bit_cast<float>(image.get(0, k % 100, k / 100)));
        sum += value;
        squares += (value - 30) * (value - 30);
    }
    EXPECT_NEAR(sum / 10000, 30, 0.4);
    EXPECT_NEAR(std::sqrt(squares / 10000), 9, 0.3);
}

TEST(NoiseParam, fieldsAreSetThatTheKindHas) {
    MoxNoiseParam param = {-1, 1, 2, 3, 4.0f, 5.0f};
    moxNoiseUniformInit(&param, 10, 20, 30);
    EXPECT_EQ(param.noise, MOX_NOISE_UNIFORM);
    EXPECT_EQ(param.seed, 10u);
    EXPECT_EQ(param.lowInt, 20);
    EXPECT_EQ(param.highInt, 30);
    EXPECT_EQ(param.lowFlt, 4.0f);
    EXPECT_EQ(param.highFlt, 5.0f);
    moxNoiseGaussianInitFP(&param, 11, 6.0f, 7.0f);
    EXPECT_EQ(param.noise, MOX_NOISE_GAUSSIAN);
    EXPECT_EQ(param.seed, 11u);
    EXPECT_EQ(param.lowInt, 20);
    EXPECT_EQ(param.highInt, 30);
    EXPECT_EQ(param.lowFlt, 6.0f);
    EXPECT_EQ(param.highFlt, 7.0f);
    moxNoiseUniformInitFP(&param, 0xFFFFFFFFu, 8.0f, 9.0f);
    EXPECT_EQ(param.noise, MOX_NOISE_UNIFORM);
    EXPECT_EQ(param.seed, 0xFFFFFFFFu);
    EXPECT_EQ(param.lowInt, 20);
    EXPECT_EQ(param.highInt, 30);
    EXPECT_EQ(param.lowFlt, 8.0f);
    EXPECT_EQ(param.highFlt, 9.0f);
    moxNoiseGaussianInit(&param, 12, -5, -6);
    EXPECT_EQ(param.noise, MOX_NOISE_GAUSSIAN);
    EXPECT_EQ(param.seed, 12u);
    EXPECT_EQ(param.lowInt, -5);
    EXPECT_EQ(param.highInt, -6);
    EXPECT_EQ(param.lowFlt, 8.0f);
    EXPECT_EQ(param.highFlt, 9.0f);
}

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
TEST(NoiseFailure, isReportedInTheOrderOfTheTests) {
    TestImage image(TestLayout::of(MOX_DEPTH_1U, 20, 10), 1), bytes(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    const TestBytes before = image.bytes(), kept = bytes.bytes();
    ReportRecorder reports;
    MoxNoiseParam param = {};
    MoxImage *header = image.header();
    MoxNoiseParam *given = &param;
    const auto expect = [&](MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        reports.clear();
        EXPECT_EQ(moxNoiseImage(header, given), status);
        EXPECT_TRUE(reports.are({{status, NAME, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(image.holds(before));
        EXPECT_TRUE(bytes.holds(kept));
    };
    for (const int noise : {2, -1, INT_MAX, INT_MIN}) {
        param.noise = noise;
        header = bytes.header();
        expect(-5, KINDS);
        header = image.header();
        expect(-5, "(image->depth == 1)");
    }
    given = nullptr;
    expect(-5, "(noiseParam == 0)");
    image.header()->align = 5;
    expect(-21, "Incorrect Image");
    header = nullptr;
    expect(-9, "Incorrect Image");
}

TEST(NoiseImage, nothingToDoIsNoFault) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10), beyond = layout, alpha = layout;
    beyond.setRoi(0, 20, 0, 5, 5);
    alpha.alpha = 1;
    for (const TestLayout &each : {beyond, alpha}) {
        for (const int high : {9, 400}) {
            for (const int noise : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
                TestImage image(each, 1);
                const TestBytes before = image.bytes();
                MoxNoiseParam param = {};
                param.noise = noise;
                param.lowInt = param.highInt = high;
                ReportRecorder reports;
                EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(image.holds(before));
            }
        }
    }
}

TEST(NoiseImage, anEarlierFaultDoesNotStopAGoodCall) {
    for (const int low : {1, 300}) {
        TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1);
        MoxNoiseParam param = {};
        moxNoiseUniformInit(&param, 3, low, 400);
        const RefNoise wanted = refNoise(image, param);
        ReportRecorder reports;
        moxSetErrStatus(-7);
        moxNoiseImage(image.header(), &param);
        EXPECT_EQ(moxGetErrStatus(), -7);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(image.holds(wanted.expected));
    }
}

// Tiles that are not there: of noise by its own report, of a region that is filled by that of moxSet.
TEST_P(Noise, refusedTilesAreReported) {
    forEachCase(15, [&](Random &random) {
        UserPairOptions small = options();
        small.tiled[0] = 1;
        UserPair pair(random, small);
        MoxNoiseParam param = drawNoise(random);
        SCOPED_TRACE(describe(param) + "\n" + pair.describe());
        const RefNoise wanted = refNoise(pair.dst(), param);
        pair.keep();
        for (int refuseAt = 1;; ++refuseAt) {
            ReportRecorder reports;
            TileLog log(refuseAt);
            const MoxStatus status = moxNoiseImage(pair.dst().header(), &param);
            pair.abandonTiles();
            pair.restore();
            if (!log.refused()) break;
            EXPECT_LT(status, 0);
            ASSERT_FALSE(reports.seen.empty());
            EXPECT_TRUE(log.clean());
            if (reports.seen.front().function == "moxSet") {
                EXPECT_TRUE(reports.are({{-2, "moxSet", "Error get tile to write"}, {-1, NAME, ""}}));
            } else {
                EXPECT_TRUE(reports.are({{-5, NAME, "(image->tileInfo->tileData == 0)"}}));
            }
            if (HasFailure()) return;
        }
    });
}

}  // namespace
