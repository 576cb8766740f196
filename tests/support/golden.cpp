// The file of golden digests.
#include "support/golden.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "support/cases.h"
#include "support/reports.h"
#include "support/scene.h"

uint64_t digestOf(const std::vector<uint8_t> &bytes, uint64_t start) {
    uint64_t hash = start;
    for (uint8_t byte : bytes)
        hash = (hash ^ byte) * 0x100000001B3u;
    return hash;
}

uint64_t digestOfSamples(const TestImage &image, uint64_t start) {
    TestBytes samples;
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            for (int channel = 0; channel < image.layout().channels; ++channel) {
                const uint32_t sample = image.get(channel, x, y);
                for (int byte = 0; byte < 4; ++byte)
                    samples.push_back(static_cast<uint8_t>(sample >> 8 * byte));
            }
        }
    }
    return digestOf(samples, start);
}

static std::map<std::string, std::string> readDigests() {
    std::map<std::string, std::string> digests;
    std::ifstream file(MOX_GOLDEN_FILE);
    std::string name, hash;
    while (file >> name >> hash)
        digests[name] = hash;
    return digests;
}

testing::AssertionResult digestIsGolden(const std::string &name, uint64_t digest) {
    static std::map<std::string, std::string> digests = readDigests();
    char text[17];
    snprintf(text, sizeof text, "%016" PRIx64, digest);
    if (getenv("MOX_GOLDEN_WRITE")) {
        digests = readDigests();
        digests[name] = text;
        std::ofstream file(MOX_GOLDEN_FILE);
        for (const auto &[each, hash] : digests)
            file << each << ' ' << hash << '\n';
        return testing::AssertionSuccess();
    }
    const auto found = digests.find(name);
    if (found == digests.end())
        return testing::AssertionFailure() << name << " has no golden digest; it gives " << text;
    if (found->second != text) {
        return testing::AssertionFailure() << name << " gives " << text << ", golden is " << found->second;
    }
    return testing::AssertionSuccess();
}

const std::array<GoldenLayout, 4> goldenLayouts = {
    {{"plain", 1, MOX_DATA_ORDER_PIXEL, false, false, false, MOX_BORDER_REPLICATE},
     {"pixel3", 3, MOX_DATA_ORDER_PIXEL, false, true, false, MOX_BORDER_REFLECT},
     {"plane3", 3, MOX_DATA_ORDER_PLANE, false, false, true, MOX_BORDER_WRAP},
     {"coi", 3, MOX_DATA_ORDER_PIXEL, true, true, true, MOX_BORDER_CONSTANT}}};

TestLayout GoldenLayout::of(unsigned depth, int width, int height, int shift, int count) const {
    TestLayout layout = TestLayout::of(depth, width, height, count, order);
    if (coi) layout.setRoi(count == 1 ? 1 : 2, 3 + shift, 1, width - 6, height - 2);
    if (tiled) {
        layout.tileWidth = 16;
        layout.tileHeight = 8;
    }
    return layout;
}

GoldenPair::GoldenPair(const GoldenLayout &golden, unsigned depth)
    : a(golden.of(depth, 61, 19, 0), 11), d(golden.of(depth, 61, 19, 2), 13) {
    if (golden.masked) d.setMask(&mask);
}

void checkDigests(const std::string &name, unsigned depth,
                  const std::function<uint64_t(const GoldenLayout &golden, uint64_t digest)> &body) {
    for (const GoldenLayout &golden : goldenLayouts) {
        forEachCpuLevel([&] {
            ReportRecorder reports;
            const uint64_t digest = body(golden, digestOf({}));
            EXPECT_TRUE(reports.none());
            if (testing::Test::HasFailure()) return;
            EXPECT_TRUE(digestIsGolden(name + "/" + depthName(depth) + "/" + golden.name, digest));
        });
        if (testing::Test::HasFailure()) return;
    }
}
