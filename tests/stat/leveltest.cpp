// moxComputeHisto, moxContrastStretch and moxHistoEqualize against the model, and the edges of their definition.
#include <algorithm>

#include "stat/statcheck.h"

namespace {

using MapLevels = void(MOX_CALL *)(MoxImage *, MoxImage *, MoxLUT **);

RefTable drawTable(Random &random, unsigned depth, bool counts) {
    RefTable table;
    const int levels = refLevels(depth), keys = random.between(2, 9);
    // Sums below 2^31; now and then so large that the product with 255 wraps.
    const int most = random.oneIn(4) ? 200000000 : 5000;
    for (int i = 0; i < keys; ++i) {
        table.key.push_back(random.oneIn(4) ? 0 : random.oneIn(3) ? levels : random.below(levels + 1));
        table.value.push_back(counts ? random.below(most) : drawInt(random));
        table.factor.push_back(random.oneIn(2) ? random.between(-3, 3) : drawInt(random));
    }
    std::sort(table.key.begin(), table.key.end());
    table.interpolateType = random.below(3) - 1;
    return table;
}

std::vector<RefTable> drawTables(Random &random, const TestLayout &layout, bool counts) {
    std::vector<RefTable> tables;
    for (int channel = 0; channel < layout.channels; ++channel)
        tables.push_back(drawTable(random, layout.depth, counts));
    return tables;
}

bool sameTable(const RefTable &a, const RefTable &b) {
    return a.key == b.key && a.value == b.value && a.factor == b.factor && a.interpolateType == b.interpolateType;
}

void checkHistogram(TestImage &image, const std::vector<RefTable> &tables) {
    const TestLayout &layout = image.layout();
    std::vector<RefTable> wanted = tables;
    int width, height;
    refCommonSize({&image}, &width, &height);
    for (int i = 0; i < layout.channelCount(); ++i) {
        const auto channel = static_cast<size_t>(layout.firstChannel() + i);
        wanted[channel] = refHistogram(image, static_cast<int>(channel), tables[channel]);
    }
    std::unique_ptr<TableSet> set;
    checkCall(
        {&image}, nullptr,
        [&] {
            AllocationPause pause;
            set = std::make_unique<TableSet>(layout, tables);
            MoxLUT **pointers = set->pointers();
            moxComputeHisto(image.header(), pointers);
        },
        [&] {
            for (size_t channel = 0; channel < tables.size(); ++channel) {
                set->tables[channel].interpolateType = set->records[channel].interpolateType;
                EXPECT_TRUE(sameTable(set->tables[channel], wanted[channel])) << "table of channel " << channel;
            }
        });
}

class Levels : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Depth, Levels, testing::Values(MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void checkHistogramScene(Random &random, unsigned depth, SceneOptions options) {
    options.images = 1;
    options.depth = depth;
    Scene scene(random, options);
    SCOPED_TRACE(scene.describe());
    checkHistogram(scene[0], drawTables(random, scene[0].layout(), false));
}

TEST_P(Levels, histogramAgreesWithTheModelOverRandomLayouts) {
    forEachCase(180, [&](Random &random) { checkHistogramScene(random, GetParam(), {}); });
}

TEST_P(Levels, histogramAgreesWithTheModelOnTiles) {
    forEachCase(90, [&](Random &random) { checkHistogramScene(random, GetParam(), {.tiledAlways = true}); });
}

TEST_P(Levels, oneSegmentCountsAll) {
    TestImage image(TestLayout::of(GetParam(), 61, 7), 3);
    RefTable table = {{0, refLevels(GetParam())}, {-7, 99}, {1, 2}, 5};
    MoxLUT record = recordOf(table), *pointer = &record;
    ReportRecorder reports;
    moxComputeHisto(image.header(), &pointer);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(table.value, (std::vector<int>{61 * 7, 99}));
    EXPECT_EQ(record.interpolateType, 0);
}

class Maps : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Depth, Maps, testing::Values(MOX_DEPTH_8U, MOX_DEPTH_16U),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void checkMap(TestImage &src, TestImage &dst, const std::vector<RefTable> &tables, bool equalizes) {
    const unsigned depth = src.layout().depth;
    const auto make = equalizes ? refEqualize : refStretch;
    std::vector<std::vector<uint32_t>> maps(tables.size());
    for (int i = 0; i < src.layout().channelCount(); ++i) {
        const auto channel = static_cast<size_t>(src.layout().firstChannel() + i);
        maps[channel] = make(depth, tables[channel]);
    }
    const TestBytes expected = refMapped(src, dst, maps);
    TableSet set(src.layout(), tables);
    checkCall(
        {&src, &dst}, &dst,
        [&] { (equalizes ? moxHistoEqualize : moxContrastStretch)(src.header(), dst.header(), set.pointers()); },
        [&] {
            EXPECT_TRUE(dst.holds(expected));
            for (size_t channel = 0; channel < tables.size(); ++channel)
                EXPECT_TRUE(sameTable(set.tables[channel], tables[channel]));
        });
}

// A histogram always has something in it.
void fill(RefTable &table) {
    table.key.front() = 0;
    table.key.back() = std::max(table.key.back(), 3);
    for (int &value : table.value)
        ++value;
}

void checkMapScene(Random &random, unsigned depth, SceneOptions options) {
    options.images = 2;
    options.depth = depth;
    options.sameOrigin = true;
    Scene scene(random, options);
    SCOPED_TRACE(scene.describe());
    checkMap(scene[0], scene[1], drawTables(random, scene[0].layout(), false), false);
    std::vector<RefTable> histograms = drawTables(random, scene[0].layout(), true);
    for (RefTable &table : histograms)
        fill(table);
    checkMap(scene[0], scene[1], histograms, true);
}

TEST_P(Maps, agreeWithTheModelOverRandomLayouts) {
    forEachCase(180, [&](Random &random) { checkMapScene(random, GetParam(), {}); });
}

TEST_P(Maps, agreeWithTheModelOnTiles) {
    forEachCase(90, [&](Random &random) { checkMapScene(random, GetParam(), {.tiledAlways = true}); });
}

// An image that has every level, and a table for it.
void checkEveryLevel(unsigned depth, const RefTable &table, bool equalizes) {
    const int levels = refLevels(depth);
    TestImage src(TestLayout::of(depth, levels, 1)), dst(TestLayout::of(depth, levels, 1));
    for (int level = 0; level < levels; ++level)
        src.set(0, level, 0, static_cast<uint32_t>(level));
    checkMap(src, dst, {table}, equalizes);
}

TEST_P(Maps, stretchAtItsEdges) {
    const int top = refLevels(GetParam());
    const RefTable tables[] = {
        {{0, top}, {77, 5}, {3, 3}, 0},                                 // flat: one value for all levels
        {{0, top}, {77, 5}, {3, 3}, 1},                                 // rises, and wraps
        {{50, 100}, {200, 7}, {1, 1}, 0},                               // levels outside stay
        {{50, 50, 50, 100, 100}, {1, 2, 3, 4, 5}, {1, 1, 1, 1, 1}, 7},  // segments without width
        {{60, 60}, {1, 2}, {1, 1}, 1},                                  // nothing but one
        {{0, 0, top, top}, {1, 2, 3, 4}, {5, 6, 7, 8}, 1},
        {{top, top}, {1, 2}, {1, 1}, 1},
        {{top - 1, top}, {9, 2}, {1, 1}, 1},
        {{0, 20, top}, {0x7FFFFFFF, -0x7FFFFFFF, 0}, {0x7FFFFFFF, -0x7FFFFFFF, 0}, 1},  // sums beyond 32 bits
    };
    for (const RefTable &table : tables)
        checkEveryLevel(GetParam(), table, false);
}

TEST_P(Maps, equalizeAtItsEdges) {
    const int top = refLevels(GetParam());
    const RefTable tables[] = {
        {{0, top}, {1000, 5}, {0, 0}, 1},
        {{10, 13, 17, 200}, {100, 7, 1000, 5}, {0, 0, 0, 0}, 1},  // remainders go to the last level of a segment
        {{10, 10, 20, 20}, {100, 7, 1000, 5}, {0, 0, 0, 0}, 1},
        {{10, top, top}, {100, 7, 1000}, {0, 0, 0}, 0},
        {{0, 100, top}, {8421504, 1, 0}, {0, 0, 0}, 0},  // a product of just below and above 2^31
        {{0, 100, top}, {8421504, 0, 0}, {0, 0, 0}, 0},
        {{0, 100, top}, {2000000000, 147483647, 0}, {0, 0, 0}, 0},
    };
    for (const RefTable &table : tables)
        checkEveryLevel(GetParam(), table, true);
}

// A single level and all above it become the highest, all below 0.
TEST_P(Maps, equalizingOneLevelSplitsTheLevelsThere) {
    const int top = refLevels(GetParam());
    TestImage src(TestLayout::of(GetParam(), top, 1)), dst(TestLayout::of(GetParam(), top, 1));
    for (int level = 0; level < top; ++level)
        src.set(0, level, 0, static_cast<uint32_t>(level));
    RefTable table = {{99, 100}, {640, 0}, {}, 0};
    MoxLUT record = recordOf(table), *pointer = &record;
    moxHistoEqualize(src.header(), dst.header(), &pointer);
    for (int level = 0; level < top; ++level)
        ASSERT_EQ(dst.get(0, level, 0), level < 99 ? 0u : static_cast<uint32_t>(top - 1)) << level;
}

// factor is looked at only where levels rise by it.
TEST_P(Maps, flatSegmentsNeedNoFactors) {
    TestImage image(TestLayout::of(GetParam(), 20, 4), 3);
    int keys[] = {0, refLevels(GetParam())}, values[] = {7, 0};
    MoxLUT record = {2, keys, values, nullptr, 0}, *pointer = &record;
    ReportRecorder reports;
    moxContrastStretch(image.header(), image.header(), &pointer);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(image.get(0, 19, 3), 7u);
    values[0] = 3;
    moxHistoEqualize(image.header(), image.header(), &pointer);
    moxComputeHisto(image.header(), &pointer);
    EXPECT_TRUE(reports.none());
}

}  // namespace
