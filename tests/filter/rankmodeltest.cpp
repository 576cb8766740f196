// Filters by rank, fixed filters and morphology over random layouts, windows and borders, against the model.
#include <bit>

#include "filter/filtercheck.h"

namespace {

// What a case draws beside the images.
struct Scale {
    int cases, maxWidth, maxHeight, maxWindow;
    int tiled;  // 0 neither, 1 both as it comes, -1 draws
};
const Scale scales[] = {{200, 40, 14, 7, 0}, {150, 40, 20, 9, -1}, {25, 600, 4, 15, 0}, {15, 24, 60, 31, -1}};

FilterPairOptions optionsOf(const Scale &scale, unsigned depth) {
    FilterPairOptions options;
    options.depth = depth;
    options.alike = true;
    options.inPlace = 0;
    options.maxWidth = scale.maxWidth;
    options.maxHeight = scale.maxHeight;
    if (scale.tiled == 0) options.tiled[0] = options.tiled[1] = 0;
    return options;
}

template <typename Check>
void overScales(unsigned depth, const Check &check) {
    for (const Scale &scale : scales) {
        forEachCase(scale.cases, [&](Random &random) { check(random, optionsOf(scale, depth), scale); });
        if (testing::Test::HasFailure()) return;
    }
}

class Rank : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Model, Rank,
                         testing::Values(MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S,
                                         MOX_DEPTH_32S),
                         [](const auto &each) { return std::string(depthName(each.param)); });

using RankCall = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int);

void checkRank(unsigned depth, RefRank rank, RankCall function) {
    overScales(depth, [&](Random &random, const FilterPairOptions &options, const Scale &scale) {
        FilterPair pair(random, options);
        const RefWindow window = drawWindow(random, scale.maxWindow, scale.maxWindow);
        SCOPED_TRACE(describeWindow(window) + "\n" + pair.describe());
        checkCall(pair, refRank(pair.src(), pair.dst(), rank, window), [&] {
            EXPECT_EQ(function(pair.src().header(), pair.dst().header(), window.nCols, window.nRows, window.anchorX,
                               window.anchorY),
                      0);
        });
    });
}

TEST_P(Rank, largestSamplesAgreeWithTheModel) {
    checkRank(GetParam(), RefRank::MAX, moxMaxFilter);
}
TEST_P(Rank, smallestSamplesAgreeWithTheModel) {
    checkRank(GetParam(), RefRank::MIN, moxMinFilter);
}
TEST_P(Rank, mediansAgreeWithTheModel) {
    checkRank(GetParam(), RefRank::MEDIAN, moxMedianFilter);
}

class Fixed : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Model, Fixed, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Fixed, agreesWithTheModel) {
    overScales(GetParam(), [&](Random &random, FilterPairOptions options, const Scale &) {
        const int filter = random.below(11);
        // The last one of bits is a copy, which has rules of its own for origins.
        options.sameOrigin = filter == MOX_FILTER_SHARPEN_3X3;
        FilterPair pair(random, options);
        SCOPED_TRACE("filter " + std::to_string(filter) + "\n" + pair.describe());
        RefResult wanted = refFixed(pair.src(), pair.dst(), filter);
        checkCall(pair, wanted,
                  [&] { EXPECT_EQ(moxFixedFilter(pair.src().header(), pair.dst().header(), filter), 0); });
    });
}

// Few levels, so that there are pixels of equal distance, or many; as floats those whose distances are exact.
void drawColors(Random &random, TestImage &image) {
    const TestLayout &layout = image.layout();
    const bool real = layout.depth == MOX_DEPTH_32F, few = random.oneIn(2);
    if (!real && !few) return;
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int c = 0; c < 3; ++c) {
                const int value = few ? random.below(3) : random.between(-8000, 8000);
                image.set(
                    c, x, y,
                    real ? std::bit_cast<uint32_t>(static_cast<float>(value) / 8.0f) : static_cast<uint32_t>(value));
            }
        }
    }
}

class ColorMedian : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Model, ColorMedian,
                         testing::Values(MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32F),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(ColorMedian, agreesWithTheModel) {
    forEachCase(250, [&](Random &random) {
        FilterPairOptions options;
        options.depth = GetParam();
        options.alike = options.pixelsOnly = true;
        options.inPlace = 0;
        options.channels[0] = options.channels[1] = 3;
        options.maxWidth = random.oneIn(10) ? 200 : 30;
        options.maxHeight = 12;
        FilterPair pair(random, options);
        drawColors(random, pair.src());
        const RefWindow window = drawWindow(random, 5, 5);
        SCOPED_TRACE(describeWindow(window) + "\n" + pair.describe());
        checkCall(pair, refColorMedian(pair.src(), pair.dst(), window), [&] {
            EXPECT_EQ(moxColorMedianFilter(pair.src().header(), pair.dst().header(), window.nCols, window.nRows,
                                           window.anchorX, window.anchorY),
                      0);
        });
    });
}

class Morphology : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Model, Morphology, testing::Values(MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U),
                         [](const auto &each) { return std::string(depthName(each.param)); });

using MorphCall = void(MOX_CALL *)(MoxImage *, MoxImage *, int);
constexpr MorphCall MORPH_CALLS[] = {moxErode, moxDilate, moxOpen, moxClose};

TEST_P(Morphology, agreesWithTheModel) {
    overScales(GetParam(), [&](Random &random, FilterPairOptions options, const Scale &scale) {
        options.sameOrigin = true;
        options.inPlace = -1;
        FilterPair pair(random, options);
        // The destination's coi is the source's.
        if (options.depth != MOX_DEPTH_1U && pair.src().layout().firstChannel() != pair.dst().layout().firstChannel())
            return;
        const int which = random.below(4), n = random.between(1, scale.maxWindow / 2 + 1);
        SCOPED_TRACE("operation " + std::to_string(which) + ", " + std::to_string(n) + " steps\n" + pair.describe());
        checkCall(pair, refMorphology(pair.src(), pair.dst(), static_cast<RefMorph>(which), n),
                  [&] { MORPH_CALLS[which](pair.src().header(), pair.dst().header(), n); });
    });
}

}  // namespace
