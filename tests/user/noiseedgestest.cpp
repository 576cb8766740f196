// Noise, sample by sample from its definition: over random layouts at every CPU level, and where something changes.
#include <cfenv>
#include <climits>
#include <cmath>
#include <cstring>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

struct Generator {
    uint32_t x, s1, s2, s3, carry;
    explicit Generator(uint32_t seed) : x(0x436cbae9), s1(seed), carry(1) {
        s2 = s1 * 69069u + 1013904243u;
        s3 = s2 * 69069u + 1013904243u;
    }
    uint32_t next() {
        x = x * 69069u + 1013904243u;
        uint32_t t = s2 - s3 - carry;
        carry = (t & 0x80000000u) != 0 ? 1 : 0;
        if (carry != 0) t -= 18;
        s3 = s2;
        s2 = s1;
        s1 = t;
        return t + x;
    }
};

float floatOf(uint32_t bits) {
    float value;
    memcpy(&value, &bits, sizeof value);
    return value;
}
uint32_t bitsOf(float value) {
    uint32_t bits;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

class NoiseModel {
  public:
    NoiseModel(const MoxNoiseParam &param, unsigned depth) : param_(param), depth_(depth), generator_(param.seed) {}

    uint32_t add(uint32_t pattern) {
        if (depth_ == MOX_DEPTH_32F) return addFloat(pattern);
        const int bits = static_cast<int>(depth_ & ~MOX_DEPTH_SIGN);
        const bool isSigned = (depth_ & MOX_DEPTH_SIGN) != 0;
        int64_t sample = pattern;
        if (isSigned && pattern >> (bits - 1) != 0) sample -= int64_t{1} << bits;
        const int64_t low = isSigned ? -(int64_t{1} << (bits - 1)) : 0, high = low + (int64_t{1} << bits) - 1;
        const int64_t sum =
            param_.noise == MOX_NOISE_UNIFORM ? addUniform(sample, bits, low, high) : addGaussian(sample);
        return static_cast<uint32_t>(std::min(std::max(sum, low), high)) &
               static_cast<uint32_t>((int64_t{1} << bits) - 1);
    }

  private:
    int64_t addUniform(int64_t sample, int bits, int64_t bottom, int64_t top) {
        int64_t low = std::min(param_.lowInt, param_.highInt), high = std::max(param_.lowInt, param_.highInt);
        if (bits < 32) {
            const int64_t most = (int64_t{1} << bits) - 1;
            if (low >= most) return top;
            if (high <= -most) return bottom;
            low = std::max(low, -most);
            high = std::min(high, most);
        }
        const double scale = static_cast<double>(high - low) * 2.3283064365386963e-10;
        const auto part = static_cast<int64_t>(generator_.next() * scale);
        // In 32 bits, which wrap.
        return static_cast<int32_t>(static_cast<uint32_t>(sample + low + part));
    }

    double deviate() {
        if (holdsSpare_) {
            holdsSpare_ = false;
            return spare_;
        }
        for (;;) {
            const double u = static_cast<int32_t>(generator_.next()) * 4.656612873077e-10;
            const double w = static_cast<int32_t>(generator_.next()) * 4.656612873077e-10;
            const double q = u * u + w * w;
            if (q >= 1.0 || q == 0.0) continue;
            const auto logarithm = static_cast<double>(std::log(static_cast<long double>(q)));
            const double f = std::sqrt(-2 * logarithm / q);
            holdsSpare_ = true;
            spare_ = f * u;
            return f * w;
        }
    }

    int64_t addGaussian(int64_t sample) {
        const double part = std::trunc(deviate() * static_cast<double>(param_.highInt));
        return sample + param_.lowInt + static_cast<int64_t>(part);
    }

    uint32_t addFloat(uint32_t pattern) {
        const double sample = static_cast<double>(floatOf(pattern));
        if (param_.noise == MOX_NOISE_GAUSSIAN) {
            const double part = deviate() * static_cast<double>(param_.highFlt);
            return bitsOf(static_cast<float>(sample + static_cast<double>(param_.lowFlt) + part));
        }
        const float low = std::min(param_.lowFlt, param_.highFlt), high = std::max(param_.lowFlt, param_.highFlt);
        const auto scale = static_cast<double>((high - low) * 2.3283064365386963e-10f);
        return bitsOf(static_cast<float>(sample + static_cast<double>(low) + generator_.next() * scale));
    }

    MoxNoiseParam param_;
    unsigned depth_;
    Generator generator_;
    bool holdsSpare_ = false;
    double spare_ = 0;
};

// The samples of a part of the region, which is a tile's share or all of it, in their order.
void addToPart(TestImage &image, TestBytes &expected, NoiseModel &model, int x0, int y0, int x1, int y1) {
    const TestLayout &layout = image.layout();
    const int first = layout.firstChannel(), end = first + layout.channelCount();
    const TestImage *mask = image.mask();
    const auto visit = [&](int c, int x, int y) {
        const int i = x - layout.regionX(), j = y - layout.regionY();
        if (mask && mask->get(0, mask->layout().regionX() + i, mask->layout().regionY() + j) == 0) return;
        image.setIn(expected, c, x, y, model.add(image.get(c, x, y)));
    };
    const bool planar = layout.order == MOX_DATA_ORDER_PLANE;
    for (int plane = 0; plane < (planar ? end - first : 1); ++plane) {
        for (int y = y0; y < y1; ++y) {
            for (int x = x0; x < x1; ++x) {
                for (int c = planar ? first + plane : first; c < (planar ? first + plane + 1 : end); ++c)
                    visit(c, x, y);
            }
        }
    }
}

TestBytes withNoise(TestImage &image, const MoxNoiseParam &param) {
    const TestLayout &layout = image.layout();
    TestBytes expected = image.bytes();
    NoiseModel model(param, layout.depth);
    int width = layout.regionWidth(), height = layout.regionHeight();
    if (image.mask()) {
        width = std::min(width, image.mask()->layout().regionWidth());
        height = std::min(height, image.mask()->layout().regionHeight());
    }
    const int x0 = layout.regionX(), y0 = layout.regionY(), xEnd = x0 + width, yEnd = y0 + height;
    if (width <= 0 || height <= 0) return expected;
    if (!layout.tiled()) {
        addToPart(image, expected, model, x0, y0, xEnd, yEnd);
        return expected;
    }
    const int w = layout.tileWidth, h = layout.tileHeight;
    for (int y = y0; y < yEnd; y = (y / h + 1) * h) {
        for (int x = x0; x < xEnd; x = (x / w + 1) * w)
            addToPart(image, expected, model, x, y, std::min((x / w + 1) * w, xEnd), std::min((y / h + 1) * h, yEnd));
    }
    return expected;
}

void expectNoise(TestImage &image, MoxNoiseParam param) {
    const TestBytes before = image.bytes();
    const TestBytes expected = withNoise(image, param);
    forEachCpuLevel([&] {
        image.setBytes(before);
        ReportRecorder reports;
        TileLog log;
        EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(image.holds(expected))
            << image.layout().describe() << " kind " << param.noise << " seed " << param.seed << " " << param.lowInt
            << " " << param.highInt << " " << param.lowFlt << " " << param.highFlt;
        EXPECT_TRUE(image.headerIsUntouched());
    });
}

// Samples and floats of which every sum is a number.
void calm(TestImage &image, Random &random) {
    if (image.layout().depth != MOX_DEPTH_32F) return;
    for (int c = 0; c < image.layout().channels; ++c) {
        for (int y = 0; y < image.layout().height; ++y) {
            for (int x = 0; x < image.layout().width; ++x)
                image.set(c, x, y, bitsOf(static_cast<float>(random.between(-100000, 100000)) / 128.0f));
        }
    }
}

MoxNoiseParam drawParam(Random &random, unsigned depth) {
    MoxNoiseParam param;
    param.noise = random.below(2);
    param.seed = random.oneIn(4) ? static_cast<uint32_t>(random.below(3)) : random.bits();
    const int most = (depth & ~MOX_DEPTH_SIGN) == 8 ? 300 : (depth & ~MOX_DEPTH_SIGN) == 16 ? 70000 : 2000000000;
    const auto draw = [&] { return random.oneIn(6) ? drawInt(random) : random.between(-most, most); };
    param.lowInt = draw();
    param.highInt = draw();
    param.lowFlt = static_cast<float>(random.between(-1000, 1000)) / 8.0f;
    param.highFlt = static_cast<float>(random.between(-1000, 1000)) / 8.0f;
    return param;
}

TEST(NoiseEdges, equalsItsDefinitionOverRandomLayouts) {
    forEachCase(400, [](Random &random) {
        SceneOptions options;
        options.images = 1;
        options.maxWidth = 150;
        options.maxHeight = 40;
        do {
            options.depth = allDepths[random.below(7)];
        } while (options.depth == MOX_DEPTH_1U);
        Scene scene(random, options);
        calm(scene[0], random);
        expectNoise(scene[0], drawParam(random, options.depth));
    });
}

// The channels of a wide pixel stay together, alpha or a mask or not.
TEST(NoiseEdges, widePixelsAreVisitedWhole) {
    Random random(5);
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_32F}) {
        for (const int channels : {5, 40, 130}) {
            for (int form = 0; form < 4; ++form) {
                TestLayout layout = TestLayout::of(depth, 19, 7, channels);
                if ((form & 1) != 0) layout.alpha = channels;
                TestImage image(layout, 3), mask(TestLayout::ofMask(20, 8), 4);
                if ((form & 2) != 0) image.setMask(&mask);
                calm(image, random);
                expectNoise(image, {form % 2, 99, -20, 20, -1.5f, 2.5f});
            }
        }
    }
}

// The carry is the sign of the wrapped difference: seeds with which the first lags differ by 0 or by 2^31.
TEST(NoiseEdges, theCarryIsASign) {
    // s2 - s3 = d for s2 = (1013904243 + d) x (1 - 69069)^-1 in 32 bits where there is one, and s1 likewise.
    int found = 0;
    for (uint32_t seed = 0; found < 3 && seed < 3000000; ++seed) {
        Generator generator(seed);
        bool rare = false;
        for (int i = 0; i < 3 && !rare; ++i) {
            const uint32_t difference = generator.s2 - generator.s3;
            rare = (difference << 12) == 0;
            generator.next();
        }
        if (!rare) continue;
        ++found;
        TestImage image(TestLayout::of(MOX_DEPTH_16U, 40, 3), 1);
        expectNoise(image, {MOX_NOISE_UNIFORM, seed, -1000, 1000, 0, 0});
    }
    EXPECT_EQ(found, 3);
    // Differences of exactly 0 and 2^31 with a carry. The seed whose s2 - s3 is d: s2 = s1 69069 + c, s3 = s2 69069 +
    // c, so that s2 (1 - 69069) = d + c; 69068 is 4 x 17267, and d + c must be a multiple of 4.
    const auto inverse = [](uint32_t a) {  // of an odd number, modulo 2^32
        uint32_t b = a;
        for (int i = 0; i < 5; ++i)
            b *= 2 - a * b;
        return b;
    };
    for (const uint32_t difference : {1u, 0x80000001u, 0x7FFFFFFDu, 0xFFFFFFFDu}) {
        const uint32_t s2 = (difference + 1013904243u) / 4 * (0u - inverse(17267));
        const uint32_t seed = (s2 - 1013904243u) * inverse(69069);
        ASSERT_EQ(Generator(seed).s2 - Generator(seed).s3, difference);
        TestImage image(TestLayout::of(MOX_DEPTH_32S, 40, 3), 1);
        expectNoise(image, {MOX_NOISE_UNIFORM, seed, INT_MIN, INT_MAX, 0, 0});
        expectNoise(image, {MOX_NOISE_GAUSSIAN, seed, INT_MIN, INT_MAX, 0, 0});
    }
}

TEST(NoiseEdges, boundsBeyondTheDepthSetTheRegion) {
    struct Case {
        unsigned depth;
        int low, high;
        uint32_t value;
    };
    const Case cases[] = {{MOX_DEPTH_8U, 300, 400, 255},          {MOX_DEPTH_8U, 255, 255, 255},
                          {MOX_DEPTH_8U, -255, -300, 0},          {MOX_DEPTH_8S, 400, 255, 127},
                          {MOX_DEPTH_8S, -255, -255, 0x80},       {MOX_DEPTH_16U, INT_MAX, 65535, 65535},
                          {MOX_DEPTH_16U, INT_MIN, -65535, 0},    {MOX_DEPTH_16S, 65535, 65536, 32767},
                          {MOX_DEPTH_16S, -65535, -65536, 0x8000}};
    for (const Case &each : cases) {
        TestImage image(TestLayout::of(each.depth, 21, 5, 2), 1), mask(TestLayout::ofMask(21, 5), 2);
        image.setMask(&mask);
        TestBytes expected = image.bytes();
        for (int i = 0; i < 21 * 5 * 2; ++i) {
            if (mask.get(0, i / 2 % 21, i / 42) != 0) image.setIn(expected, i % 2, i / 2 % 21, i / 42, each.value);
        }
        MoxNoiseParam param = {MOX_NOISE_UNIFORM, 1, each.low, each.high, 0, 0};
        ReportRecorder reports;
        EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(image.holds(expected)) << depthName(each.depth) << " " << each.low << " " << each.high;
    }
    // One less than the unsigned span is noise, at signed depths too.
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S}) {
        TestImage image(TestLayout::of(depth, 30, 5), 1);
        expectNoise(image, {MOX_NOISE_UNIFORM, 7, 254, 400, 0, 0});
        expectNoise(image, {MOX_NOISE_UNIFORM, 7, -400, -254, 0, 0});
    }
}

TEST(NoiseEdges, noSpanChangesNothing) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        for (const int kind : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
            Random random(3);
            TestImage image(TestLayout::of(depth, 33, 9, 3), 1);
            calm(image, random);
            const TestBytes before = image.bytes();
            MoxNoiseParam param = {kind, 0, 0, 0, 0, 0};
            EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
            EXPECT_TRUE(image.holds(before));
        }
    }
}

// What is no number keeps its payload, the sample's first: at every level the same.
TEST(NoiseEdges, noNumbersAreTheSameAtEveryLevel) {
    const float none = floatOf(0x7FC12345), endless = HUGE_VALF;
    for (const int kind : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
        for (const float low : {none, endless, -endless, 1.0f}) {
            for (const float high : {floatOf(0xFFC54321), endless, 2.0f}) {
                TestImage image(TestLayout::of(MOX_DEPTH_32F, 61, 9), 1);
                for (int i = 0; i < 61 * 9; ++i) {
                    const uint32_t samples[] = {0x7FC00777, 0xFFC00888, 0x7F800000, 0xFF800000, 0x3F800000};
                    image.set(0, i % 61, i / 61, samples[i % 5]);
                }
                const TestBytes before = image.bytes();
                TestBytes first;
                forEachCpuLevel([&] {
                    image.setBytes(before);
                    MoxNoiseParam param = {kind, 5, 0, 0, low, high};
                    moxNoiseImage(image.header(), &param);
                    for (int i = 0; i < 61 * 9; i += 5)
                        EXPECT_EQ(image.get(0, i % 61, i / 61), 0x7FC00777u);
                    if (first.empty()) first = image.bytes();
                    EXPECT_TRUE(image.holds(first));
                });
            }
        }
    }
}

// Many batches, of which the spare deviates go on from row to row.
TEST(NoiseEdges, longStreamsGoOn) {
    Random random(1);
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        for (const int kind : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
            TestLayout layout = TestLayout::of(depth, 341, 97);
            layout.setRoi(0, 2, 1, 337, 95);
            TestImage image(layout, 1);
            calm(image, random);
            expectNoise(image, {kind, 4711, -30, 50, -0.5f, 0.75f});
        }
    }
}

// How the caller's thread rounds makes no difference, not to the span of the bounds either, and stays as it was.
TEST(NoiseEdges, theCallersRoundingIsNotTheNoises) {
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        for (const int kind : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
            Random random(6);
            TestImage image(TestLayout::of(depth, 100, 50), 1);
            calm(image, random);
            const TestBytes before = image.bytes();
            MoxNoiseParam param = {kind, 1, -90, 4000, -0.3f, 1000000.125f};
            const TestBytes expected = withNoise(image, param);
            for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
                image.setBytes(before);
                std::fesetround(mode);
                moxNoiseImage(image.header(), &param);
                const int after = std::fegetround();
                std::fesetround(FE_TONEAREST);
                EXPECT_EQ(after, mode);
                EXPECT_TRUE(image.holds(expected)) << depthName(depth) << " kind " << kind << " mode " << mode;
            }
        }
    }
}

TEST(NoiseEdges, failuresInTheirOrder) {
    TestImage image(TestLayout::of(MOX_DEPTH_1U, 20, 10), 1);
    const TestBytes before = image.bytes();
    MoxNoiseParam param = {2, 0, 1, 1, 1, 1};
    ReportRecorder reports;
    const auto expect = [&](MoxImage *header, MoxNoiseParam *given, MoxStatus status, const char *message) {
        reports.clear();
        EXPECT_EQ(moxNoiseImage(header, given), status);
        EXPECT_TRUE(reports.are({{status, "moxNoiseImage", message}})) << reports.text();
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(image.holds(before));
    };
    const char *const KIND = "((noiseParam->noise != MOX_NOISE_UNIFORM) && (noiseParam->noise != MOX_NOISE_GAUSSIAN))";
    expect(nullptr, nullptr, -9, "Incorrect Image");
    expect(image.header(), nullptr, -5, "(noiseParam == 0)");
    expect(image.header(), &param, -5, "(image->depth == 1)");
    TestImage bytes(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1);
    for (const int kind : {2, -1, INT_MAX, INT_MIN}) {
        param.noise = kind;
        expect(bytes.header(), &param, -5, KIND);
    }
    bytes.header()->widthStep = 10;
    param.noise = MOX_NOISE_UNIFORM;
    expect(bytes.header(), &param, -13, "Incorrect Image");
    // An old status is no fault of this call.
    bytes.header()->widthStep = static_cast<int>(bytes.widthStep());
    reports.clear();
    moxSetErrStatus(-7);
    EXPECT_EQ(moxNoiseImage(bytes.header(), &param), 0);
    EXPECT_EQ(moxGetErrStatus(), -7);
}

TEST(NoiseEdges, tilesThatAreRefused) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 40, 20);
    layout.tileWidth = layout.tileHeight = 8;
    for (const bool fills : {false, true}) {
        for (int refuseAt = 1; refuseAt <= 15; ++refuseAt) {
            TestImage image(layout, 1);
            MoxNoiseParam param = {MOX_NOISE_UNIFORM, 1, fills ? 300 : -5, fills ? 300 : 5, 0, 0};
            ReportRecorder reports;
            TileLog log(refuseAt);
            const MoxStatus status = moxNoiseImage(image.header(), &param);
            EXPECT_TRUE(log.paired());
            if (fills) {
                EXPECT_EQ(status, -2);
                EXPECT_TRUE(reports.are({{-2, "moxSet", "Error get tile to write"}, {-1, "moxNoiseImage", ""}}));
            } else {
                EXPECT_EQ(status, -5);
                EXPECT_TRUE(reports.are({{-5, "moxNoiseImage", "(image->tileInfo->tileData == 0)"}}));
            }
        }
    }
}

TEST(NoiseEdges, nothingToDoIsNoFault) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    layout.setRoi(0, 20, 0, 5, 5);
    TestImage beyond(layout, 1);
    TestLayout alone = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    alone.alpha = 1;
    TestImage alpha(alone, 1);
    MoxNoiseParam param = {MOX_NOISE_UNIFORM, 1, 300, 300, 0, 0};
    for (TestImage *image : {&beyond, &alpha}) {
        const TestBytes before = image->bytes();
        ReportRecorder reports;
        EXPECT_EQ(moxNoiseImage(image->header(), &param), 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(image->holds(before));
    }
}

TEST(NoiseEdges, initialisersSetTheirFieldsAlone) {
    const MoxNoiseParam before = {77, 78, 79, 80, 81.0f, 82.0f};
    const auto expect = [](const MoxNoiseParam &param, const MoxNoiseParam &wanted) {
        EXPECT_EQ(memcmp(&param, &wanted, sizeof param), 0);
    };
    MoxNoiseParam param = before;
    moxNoiseUniformInit(&param, 0xFFFFFFFF, 9, -9);
    expect(param, {0, 0xFFFFFFFF, 9, -9, 81.0f, 82.0f});
    param = before;
    moxNoiseUniformInitFP(&param, 5, 1.5f, -1.5f);
    expect(param, {0, 5, 79, 80, 1.5f, -1.5f});
    param = before;
    moxNoiseGaussianInit(&param, 6, 3, -4);
    expect(param, {1, 6, 3, -4, 81.0f, 82.0f});
    param = before;
    moxNoiseGaussianInitFP(&param, 7, 0.25f, 0.5f);
    expect(param, {1, 7, 79, 80, 0.25f, 0.5f});
    ReportRecorder reports;
    moxNoiseUniformInit(nullptr, 1, 1, 1);
    moxNoiseUniformInitFP(nullptr, 1, 1, 1);
    moxNoiseGaussianInit(nullptr, 1, 1, 1);
    moxNoiseGaussianInitFP(nullptr, 1, 1, 1);
    EXPECT_TRUE(reports.are({{-5, "moxNoiseUniformInit", "(noiseParam == 0)"},
                             {-5, "moxNoiseUniformInitFP", "(noiseParam == 0)"},
                             {-5, "moxNoiseGaussianInit", "(noiseParam == 0)"},
                             {-5, "moxNoiseGaussianInitFP", "(noiseParam == 0)"}}));
}

}  // namespace
