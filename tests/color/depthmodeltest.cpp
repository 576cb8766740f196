// Changes of depth and the threshold against the reference model: random layouts, depths, CPU levels and rounding
// modes.
#include "color/depthpair.h"

#include <bit>
#include <limits>

#include "reference/depth.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

struct Depths {
    unsigned src, dst;
};
std::string nameOf(const testing::TestParamInfo<Depths> &each) {
    return std::string(depthName(each.param.src)) + "to" + depthName(each.param.dst);
}

std::vector<Depths> pairsOf(const std::vector<unsigned> &sources, const std::vector<unsigned> &destinations,
                            bool equal) {
    std::vector<Depths> pairs;
    for (unsigned src : sources) {
        for (unsigned dst : destinations) {
            if (equal || src != dst) pairs.push_back({src, dst});
        }
    }
    return pairs;
}

const std::vector<unsigned> integers(integerDepths, integerDepths + 5);
const std::vector<unsigned> withBits = {MOX_DEPTH_1U,  MOX_DEPTH_8U,  MOX_DEPTH_8S,
                                        MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S};

DepthPairOptions optionsOf(const Depths &depths, Random &random) {
    DepthPairOptions options;
    options.srcDepth = depths.src;
    options.dstDepth = depths.dst;
    if (random.oneIn(15)) {
        options.maxWidth = 1600;
        options.maxHeight = 5;
    }
    return options;
}

// --- moxConvert

std::vector<Depths> convertPairs() {
    std::vector<Depths> pairs = pairsOf(integers, withBits, true);
    pairs.push_back({MOX_DEPTH_1U, MOX_DEPTH_1U});
    return pairs;
}

class ConvertModel : public testing::TestWithParam<Depths> {};
INSTANTIATE_TEST_SUITE_P(Color, ConvertModel, testing::ValuesIn(convertPairs()), nameOf);

TEST_P(ConvertModel, agrees) {
    forEachCase(150, [&](Random &random) {
        DepthPairOptions options = optionsOf(GetParam(), random);
        options.whole = true;
        options.sameOrigin = false;
        DepthImages pair(random, options);
        SCOPED_TRACE(pair.describe());
        checkColorCall(pair, refConvert(pair.src(), pair.dst()),
                       [&] { moxConvert(pair.src().header(), pair.dst().header()); });
    });
}

// Every width, between orders and origins, of up to four channels.
TEST_P(ConvertModel, agreesOnEveryWidth) {
    for (int width = 1; width <= 70; ++width) {
        for (int kind = 0; kind < 16; ++kind) {
            const bool bits = GetParam().src == MOX_DEPTH_1U || GetParam().dst == MOX_DEPTH_1U;
            const int channels = bits ? 1 : 1 + kind / 4;
            TestLayout layout = TestLayout::of(GetParam().dst, width, 2, channels, kind >> 1 & 1);
            layout.origin = kind == 5 || kind == 10;
            TestImage src(TestLayout::of(GetParam().src, width, 2, channels, kind & 1), static_cast<uint64_t>(width)),
                dst(layout, 2);
            const TestBytes before = dst.bytes(), wanted = refConvert(src, dst).expected;
            forEachCpuLevel([&] {
                dst.setBytes(before);
                moxConvert(src.header(), dst.header());
                EXPECT_TRUE(dst.holds(wanted));
            });
            if (HasFailure()) return;
        }
    }
}

// --- moxBitonalToGray

int drawValue(Random &random, unsigned depth) {
    const int64_t value = drawInt(random);
    const int64_t low = refLowest(depth), high = refHighest(depth);
    return static_cast<int>(value < low || value > high ? (random.oneIn(2) ? low : high) : value);
}

class BitonalModel : public testing::TestWithParam<Depths> {};
INSTANTIATE_TEST_SUITE_P(Color, BitonalModel, testing::ValuesIn(pairsOf({MOX_DEPTH_1U}, integers, true)), nameOf);

TEST_P(BitonalModel, agrees) {
    forEachCase(250, [&](Random &random) {
        DepthPairOptions options = optionsOf(GetParam(), random);
        options.oneToMany = true;
        options.sameOrigin = false;
        DepthImages pair(random, options);
        const int zero = drawValue(random, GetParam().dst), one = drawValue(random, GetParam().dst);
        SCOPED_TRACE(pair.describe() + std::to_string(zero) + " " + std::to_string(one));
        checkColorCall(pair, refBitonalToGray(pair.src(), pair.dst(), zero, one),
                       [&] { moxBitonalToGray(pair.src().header(), pair.dst().header(), zero, one); });
    });
}

// --- moxScale

class ScaleModel : public testing::TestWithParam<Depths> {};
INSTANTIATE_TEST_SUITE_P(Color, ScaleModel, testing::ValuesIn(pairsOf(integers, integers, false)), nameOf);

TEST_P(ScaleModel, agrees) {
    forEachCase(200, [&](Random &random) {
        DepthImages pair(random, optionsOf(GetParam(), random));
        SCOPED_TRACE(pair.describe());
        checkColorCall(pair, refScale(pair.src(), pair.dst()),
                       [&] { moxScale(pair.src().header(), pair.dst().header()); });
    });
}

// --- moxScaleFP

std::vector<Depths> realPairs() {
    std::vector<Depths> pairs = pairsOf(integers, {MOX_DEPTH_32F}, true);
    for (const Depths &back : pairsOf({MOX_DEPTH_32F}, integers, true))
        pairs.push_back(back);
    return pairs;
}

class ScaleFPModel : public testing::TestWithParam<Depths> {};
INSTANTIATE_TEST_SUITE_P(Color, ScaleFPModel, testing::ValuesIn(realPairs()), nameOf);

struct Interval {
    float least, most;
};

Interval drawInterval(Random &random) {
    const float huge = std::numeric_limits<float>::max();
    static const Interval usual[] = {{0, 1}, {-1, 1}, {0, 255}, {-128, 127}, {0, 65535}, {0.1f, 0.7f}, {-3.5f, -3.25f}};
    switch (random.below(5)) {
        case 0:
            return {-huge, huge};
        case 1: {
            const float least = static_cast<float>(random.between(-100000, 100000)) / 977.0f;
            return {least, least + static_cast<float>(random.between(1, 100000)) / 333.0f};
        }
        case 2:
            return {1.0f, std::bit_cast<float>(std::bit_cast<uint32_t>(1.0f) + 1u + random.bits() % 1000)};
        default:
            return usual[random.below(7)];
    }
}

// Samples within and around the interval, at the middle of it, at ties of the destination, and what is no number.
void drawReals(Random &random, TestImage &image, const Interval &interval) {
    const TestLayout &layout = image.layout();
    const double delta = static_cast<double>(interval.most) - static_cast<double>(interval.least);
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                if (random.oneIn(4)) continue;
                const double part =
                    random.oneIn(3) ? (random.below(256) + 0.5) / 255.0 : random.bits() * 0x1.2p-32 - 0.06;
                const double value = static_cast<double>(interval.least) + part * delta;
                image.set(channel, x, y, std::bit_cast<uint32_t>(static_cast<float>(value)));
            }
        }
    }
}

TEST_P(ScaleFPModel, agreesInEveryRoundingMode) {
    forEachCase(120, [&](Random &random) {
        DepthPairOptions options = optionsOf(GetParam(), random);
        options.sameRegions = true;
        DepthImages pair(random, options);
        const Interval interval = drawInterval(random);
        if (GetParam().src == MOX_DEPTH_32F) drawReals(random, pair.src(), interval);
        SCOPED_TRACE(pair.describe() + std::to_string(interval.least) + " to " + std::to_string(interval.most));
        checkInRoundingModes(pair, refScaleFP(pair.src(), pair.dst(), interval.least, interval.most), [&] {
            moxScaleFP(pair.src().header(), pair.dst().header(), interval.least, interval.most);
        });
    });
}

// --- moxThreshold

class ThresholdModel : public testing::TestWithParam<Depths> {};
INSTANTIATE_TEST_SUITE_P(Color, ThresholdModel, testing::ValuesIn(pairsOf(integers, withBits, true)), nameOf);

TEST_P(ThresholdModel, agrees) {
    forEachCase(150, [&](Random &random) {
        DepthPairOptions options = optionsOf(GetParam(), random);
        options.inPlace = GetParam().src == GetParam().dst && random.oneIn(3);
        DepthImages pair(random, options);
        const int threshold = drawValue(random, GetParam().src);
        SCOPED_TRACE(pair.describe() + " threshold " + std::to_string(threshold));
        checkColorCall(pair, refThreshold(pair.src(), pair.dst(), threshold),
                       [&] { moxThreshold(pair.src().header(), pair.dst().header(), threshold); });
    });
}

}  // namespace
