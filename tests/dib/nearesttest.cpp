// The search for the nearest entry itself: with and without its tables, and where these run full.
#include "dib/ownnearest.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/cases.h"

namespace {

using Palette = std::vector<uint8_t>;  // blue, green, red, 0

int squareOf(int value) {
    return value * value;
}

uint8_t plainSearch(const Palette &palette, uint32_t quad) {
    int best = 0, least = INT32_MAX;
    for (int i = 0; i < static_cast<int>(palette.size() / 4); ++i) {
        int distance = 0;
        for (int c = 0; c < 3; ++c)
            distance += squareOf(palette[static_cast<size_t>(4 * i + c)] - static_cast<int>(quad >> 8 * c & 255));
        if (distance < least) {
            least = distance;
            best = i;
        }
    }
    return static_cast<uint8_t>(best);
}

std::vector<uint32_t> drawQuads(Random &random, int count) {
    std::vector<uint32_t> quads;
    for (int i = 0; i < count; ++i)
        quads.push_back(random.bits());
    return quads;
}

// How often the tables ran full.
int checkSearch(const Palette &palette, const std::vector<uint32_t> &quads, int64_t pixels) {
    std::vector<uint8_t> expected, found(quads.size());
    for (uint32_t quad : quads)
        expected.push_back(plainSearch(palette, quad));
    OwnNearest nearest;
    ownOpenNearest(&nearest, palette.data(), static_cast<int>(palette.size() / 4), pixels);
    ownFindNearest(&nearest, quads.data(), found.data(), quads.size());
    const int refills = nearest.cells ? nearest.cells->refills : 0;
    ownCloseNearest(&nearest);
    EXPECT_TRUE(found == expected);
    return refills;
}

TEST(Nearest, withAndWithoutTables) {
    forEachCase(20, [](Random &random) {
        Palette palette;
        for (int i = random.between(1, 256); i > 0; --i) {
            const uint32_t colour = random.oneIn(4) ? 0xFFFFFF : random.bits();
            palette.insert(palette.end(), {static_cast<uint8_t>(colour), static_cast<uint8_t>(colour >> 8),
                                           static_cast<uint8_t>(colour >> 16), 0});
        }
        const std::vector<uint32_t> quads = drawQuads(random, 2000);
        forEachCpuLevel([&] {
            checkSearch(palette, quads, 1 << 20);
            checkSearch(palette, quads, 1);
        });
    });
}

// Entries close together are all candidates of the cells around them, and random colours meet every cell.
TEST(Nearest, tablesThatRunFull) {
    Random random(testSeed());
    Palette palette;
    for (int i = 0; i < 256; ++i)
        palette.insert(palette.end(), {static_cast<uint8_t>(120 + i % 7), static_cast<uint8_t>(120 + i / 7 % 6),
                                       static_cast<uint8_t>(120 + i / 42), 0});
    const std::vector<uint32_t> quads = drawQuads(random, 60000);
    forEachCpuLevel([&] { EXPECT_GT(checkSearch(palette, quads, 1 << 20), 0); });
}

}  // namespace
