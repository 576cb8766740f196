// What is made of a processor's answers about its caches. The answers are invented, but for their form.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/owncache.h"

namespace {

constexpr int64_t MB = int64_t{1} << 20;
enum { DATA = 1, INSTRUCTION = 2, UNIFIED = 3 };

struct Cache {
    unsigned type, level;
    int64_t bytes;
};

// The processor that answers: its highest leaves, and the leaf that lists its caches.
struct Processor {
    unsigned highest, highestOther, leaf;
    std::vector<OwnCpuidAnswer> caches;
    bool endless;
};
Processor processor;

// 16 ways of lines of 64 bytes, shared by two.
OwnCpuidAnswer describe(const Cache &cache) {
    return {cache.type | cache.level << 5 | 1 << 14, 15u << 22 | 63, static_cast<unsigned>(cache.bytes / (16 * 64) - 1),
            0};
}

OwnCpuidAnswer answer(unsigned leaf, unsigned subleaf) {
    if (leaf == 0) return {processor.highest, 0x756E6547, 0x6C65746E, 0x49656E69};
    if (leaf == 0x80000000) return {processor.highestOther, 0, 0, 0};
    if (leaf == processor.leaf && processor.endless) return processor.caches[0];
    if (leaf == processor.leaf && subleaf < processor.caches.size()) return processor.caches[subleaf];
    // What is beyond the highest leaf answers as the highest one does: with anything.
    if (leaf > (leaf < 0x80000000 ? processor.highest : processor.highestOther)) return {0xFFFFFFFF, ~0u, 0xFFFF, ~0u};
    return {};
}

int64_t largest(unsigned highest, unsigned highestOther, unsigned leaf, const std::vector<Cache> &caches) {
    processor = {highest, highestOther, leaf, {}, false};
    for (const Cache &cache : caches)
        processor.caches.push_back(describe(cache));
    return ownLargestCache(answer);
}

const std::vector<Cache> THREE_LEVELS = {
    {DATA, 1, 32 << 10}, {INSTRUCTION, 1, 32 << 10}, {UNIFIED, 2, MB}, {UNIFIED, 3, 32 * MB}};

TEST(LargestCache, IsInEitherLeaf) {
    EXPECT_EQ(largest(0x1B, 0x80000008, 4, THREE_LEVELS), 32 * MB);
    EXPECT_EQ(largest(0x10, 0x80000021, 0x8000001D, THREE_LEVELS), 32 * MB);
}

TEST(LargestCache, IsWhatTheFieldsSay) {
    // 49152 bytes in 12 ways; 2 MB in 16; 480 MB in 16.
    processor = {0x1F, 0x80000008, 4, {{0x04000121, 0x02C0003F, 63, 0}}, false};
    EXPECT_EQ(ownLargestCache(answer), 49152);
    processor.caches.push_back({0x04000143, 0x03C0003F, 0x7FF, 0});
    EXPECT_EQ(ownLargestCache(answer), 2 * MB);
    processor.caches.push_back({0x04004163, 0x03C0003F, 0x77FFF, 0});
    EXPECT_EQ(ownLargestCache(answer), 480 * MB);
}

TEST(LargestCache, HoldsNoInstructions) {
    EXPECT_EQ(largest(4, 0, 4, {{INSTRUCTION, 1, 64 << 10}, {DATA, 1, 32 << 10}}), 32 << 10);
    EXPECT_EQ(largest(4, 0, 4, {{INSTRUCTION, 1, 64 << 10}}), 0);
}

TEST(LargestCache, IsUnknownBeyondTheHighestLeaf) {
    EXPECT_EQ(largest(3, 0x80000008, 4, THREE_LEVELS), 0);
    EXPECT_EQ(largest(0x10, 0x8000001C, 0x8000001D, THREE_LEVELS), 0);
    EXPECT_EQ(largest(0, 0, 4, THREE_LEVELS), 0);
}

TEST(LargestCache, OfNonsenseEndsAndIsNotNegative) {
    processor = {4, 0, 4, {{UNIFIED, ~0u, ~0u, ~0u}}, true};
    EXPECT_EQ(ownLargestCache(answer), 0);
    processor.caches[0] = describe({UNIFIED, 3, 8 * MB});
    EXPECT_EQ(ownLargestCache(answer), 8 * MB);
}

TEST(StreamBounds, FollowTheCacheWithinReason) {
    struct Expected {
        int64_t cache, bytes, fill;
    };
    const Expected all[] = {{0, 32 * MB, 48 * MB},       {-1, 32 * MB, 48 * MB},      {32 << 10, 4 * MB, 6 * MB},
                            {8 * MB, 8 * MB, 12 * MB},   {32 * MB, 32 * MB, 48 * MB}, {96 * MB, 32 * MB, 48 * MB},
                            {480 * MB, 32 * MB, 16 * MB}};
    for (const Expected &expected : all) {
        const OwnStreamBounds bounds = ownStreamBoundsFor(expected.cache);
        EXPECT_EQ(bounds.bytes, expected.bytes) << expected.cache;
        EXPECT_EQ(bounds.fillBytes, expected.fill) << expected.cache;
    }
}

TEST(StreamBounds, AreFoundAtAttach) {
    const OwnStreamBounds before = ownStreamBounds();
    EXPECT_GE(before.bytes, 4 * MB);
    EXPECT_LE(before.bytes, 32 * MB);
    ownChooseStreamBounds();
    EXPECT_EQ(std::memcmp(&before, &ownStreamBounds(), sizeof before), 0);
}

}  // namespace
