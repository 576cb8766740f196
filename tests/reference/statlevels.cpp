// Comparisons, histograms and maps of levels.
#include <bit>
#include <cmath>

#include "reference/stat.h"

static float realOf(uint32_t bits) {
    return std::bit_cast<float>(bits);
}

// A relation of numbers, of whichever kind the depth has.
template <typename Relation>
static RefRelation ofNumbers(Relation relation) {
    return [relation](unsigned depth, uint32_t a, uint32_t b) {
        if (depth == MOX_DEPTH_32F) return relation(realOf(a), realOf(b));
        return relation(refWhole(depth, a), refWhole(depth, b));
    };
}

RefRelation refLess() {
    return ofNumbers([](auto a, auto b) { return a < b; });
}
RefRelation refGreater() {
    return ofNumbers([](auto a, auto b) { return a > b; });
}
RefRelation refEqual() {
    return ofNumbers([](auto a, auto b) { return a == b; });
}
RefRelation refEqualEps(float eps) {
    return [=](unsigned, uint32_t a, uint32_t b) { return !(std::fabs(realOf(a) - realOf(b)) >= eps); };
}

RefRelation refLessS(int value) {
    return [=](unsigned depth, uint32_t a, uint32_t) { return refWhole(depth, a) < value; };
}
RefRelation refGreaterS(int value) {
    return [=](unsigned depth, uint32_t a, uint32_t) { return refWhole(depth, a) > value; };
}
RefRelation refEqualS(int value) {
    return [=](unsigned depth, uint32_t a, uint32_t) { return refWhole(depth, a) == value; };
}

RefRelation refLessSFP(float value) {
    return [=](unsigned, uint32_t a, uint32_t) { return realOf(a) < value; };
}
RefRelation refGreaterSFP(float value) {
    return [=](unsigned, uint32_t a, uint32_t) { return realOf(a) > value; };
}
RefRelation refEqualSFP(float value) {
    return [=](unsigned, uint32_t a, uint32_t) { return realOf(a) == value; };
}
RefRelation refEqualSFPEps(float value, float eps) {
    return [=](unsigned, uint32_t a, uint32_t) { return !(std::fabs(realOf(a) - value) >= eps); };
}

TestBytes refCompare(const std::vector<TestImage *> &sources, TestImage &result, const RefRelation &relation) {
    std::vector<TestImage *> images = sources;
    images.push_back(&result);
    TestImage &a = *images[0];
    TestBytes expected = result.bytes();
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            bool holds = true;
            for (int channel = 0; channel < a.layout().channelCount(); ++channel) {
                const uint32_t second = sources.size() > 1 ? refSampleOf(*sources[1], i, j, channel) : 0;
                holds = holds && relation(a.layout().depth, refSampleOf(a, i, j, channel), second);
            }
            result.setIn(expected, 0, result.layout().regionX() + i, result.layout().regionY() + j, holds);
        }
    }
    return expected;
}

int refLevels(unsigned depth) {
    return depth == MOX_DEPTH_1U ? 2 : depth == MOX_DEPTH_8U ? 256 : 65536;
}

// The segment of a level, or -1 where it lies below the first or above the last.
static int segmentOf(const RefTable &table, int level) {
    for (int i = 0; i + 1 < static_cast<int>(table.key.size()); ++i) {
        if (table.key[static_cast<size_t>(i)] <= level && level < table.key[static_cast<size_t>(i) + 1]) return i;
    }
    return -1;
}

RefTable refHistogram(TestImage &image, int channel, const RefTable &table) {
    RefTable counted = table;
    for (size_t i = 0; i + 1 < counted.value.size(); ++i)
        counted.value[i] = 0;
    refEachSample({&image}, [&](int i, int j, int each) {
        if (image.layout().firstChannel() + each != channel) return;
        const int segment = segmentOf(table, static_cast<int>(refSampleOf(image, i, j, each)));
        if (segment >= 0) ++counted.value[static_cast<size_t>(segment)];
    });
    counted.interpolateType = 0;
    return counted;
}

static uint32_t lowBits(unsigned depth, uint32_t value) {
    return value & static_cast<uint32_t>(refLevels(depth) - 1);
}

std::vector<uint32_t> refStretch(unsigned depth, const RefTable &table) {
    std::vector<uint32_t> map;
    for (int level = 0; level < refLevels(depth); ++level) {
        const int segment = segmentOf(table, level);
        const auto s = static_cast<size_t>(segment);
        uint32_t to = static_cast<uint32_t>(level);
        if (segment >= 0) {
            to = static_cast<uint32_t>(table.value[s]);
            if (table.interpolateType)
                to += static_cast<uint32_t>(level - table.key[s]) * static_cast<uint32_t>(table.factor[s]);
        }
        map.push_back(lowBits(depth, to));
    }
    return map;
}

std::vector<uint32_t> refEqualize(unsigned depth, const RefTable &table) {
    std::vector<int32_t> sums;
    int32_t sum = 0;
    for (int level = 0; level < refLevels(depth); ++level) {
        const int segment = segmentOf(table, level);
        if (segment >= 0) {
            const auto s = static_cast<size_t>(segment);
            const int width = table.key[s + 1] - table.key[s];
            const bool last = level == table.key[s + 1] - 1;
            sum += table.value[s] / width + (last ? table.value[s] % width : 0);
        }
        sums.push_back(sum);
    }
    std::vector<uint32_t> map;
    for (const int32_t each : sums) {
        if (depth == MOX_DEPTH_8U) {
            const auto product = static_cast<int32_t>(static_cast<uint32_t>(each) * 255u);  // wraps
            map.push_back(lowBits(depth, static_cast<uint32_t>(product / sum)));
        } else {
            map.push_back(lowBits(depth, static_cast<uint32_t>(each * (65535.0 / sum))));
        }
    }
    return map;
}

TestBytes refMapped(TestImage &source, TestImage &destination, const std::vector<std::vector<uint32_t>> &maps) {
    const TestLayout &layout = destination.layout();
    TestBytes expected = destination.bytes();
    refEachSample({&source, &destination}, [&](int i, int j, int channel) {
        const std::vector<uint32_t> &map = maps[static_cast<size_t>(source.layout().firstChannel() + channel)];
        destination.setIn(expected, layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j,
                          map[refSampleOf(source, i, j, channel)]);
    });
    return expected;
}
