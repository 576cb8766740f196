// Random cases and CPU levels.
#include "support/cases.h"

#include <cstdlib>
#include <iterator>
#include <limits>

#include "core/owncpu.h"
#include "mox.h"

// splitmix64, by Sebastiano Vigna.
uint64_t Random::next() {
    uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

uint32_t Random::takeBytes(int count) {
    uint32_t value = 0;
    for (int i = 0; i < count && bytes_ != end_; ++i)
        value = value << 8 | *bytes_++;
    return value;
}

static long long numberFromEnvironment(const char *name, long long otherwise) {
    const char *text = getenv(name);
    return text && *text ? atoll(text) : otherwise;
}

uint64_t testSeed() {
    return static_cast<uint64_t>(numberFromEnvironment("MOX_TEST_SEED", 1));
}

int testCount(int usualCount) {
    const long long factor = numberFromEnvironment("MOX_TEST_FACTOR", 1);
    const long long divisor = numberFromEnvironment("MOX_TEST_DIVISOR", 1);
    const long long count = usualCount * (factor > 0 ? factor : 1) / (divisor > 0 ? divisor : 1);
    return static_cast<int>(count > 0 ? count : 1);
}

void forEachCase(int usualCount, const std::function<void(Random &)> &run) {
    const long long only = numberFromEnvironment("MOX_TEST_CASE", -1);
    const int count = testCount(usualCount);
    for (int i = 0; i < count; ++i) {
        if (only >= 0 && i != only) continue;
        Random mixer(testSeed() * 1000003u + static_cast<uint64_t>(i));
        Random random(mixer.next());
        SCOPED_TRACE("repeat with MOX_TEST_SEED=" + std::to_string(testSeed()) + " MOX_TEST_CASE=" + std::to_string(i));
        run(random);
        if (testing::Test::HasFailure()) return;
    }
}

void forEachCpuLevel(const std::function<void()> &run) {
    const OwnCpuLevel before = ownCpuLevel();
    for (int level = OWN_LEVEL_BASE; level <= ownHighestCpuLevel(); ++level) {
        if (!ownForceCpuLevel(static_cast<OwnCpuLevel>(level))) continue;
        SCOPED_TRACE("CPU level " + std::to_string(level));
        run();
    }
    ownForceCpuLevel(before);
}

uint32_t drawSample(Random &random, unsigned depth) {
    static const uint32_t edges32[] = {0,          1,          2,          0x7FFFFFFF, 0x7FFFFFFE, 0x80000000,
                                       0x80000001, 0xFFFFFFFF, 0xFFFFFFFE, 0x8000,     0x7FFF,     0xFFFF,
                                       0x10000,    0xB504,     0xB505,     0xFFFF4AFC, 0xFFFF4AFB, 0x40000000};
    static const uint32_t edgesFloat[] = {0,          0x80000000, 1,          0x80000001, 0x007FFFFF, 0x00800000,
                                          0x3F800000, 0xBF800000, 0x7F7FFFFF, 0xFF7FFFFF, 0x7F800000, 0xFF800000,
                                          0x7FC00000, 0xFFC00000, 0x7F800001, 0xFF812345, 0x7FC54321, 0xFFFFFFFF,
                                          0x3F000000, 0x5F000000, 0x20000000, 0x1E3CE508};
    static const uint32_t edges16[] = {0,      1,      2,    0x7FFF, 0x7FFE, 0x8000, 0x8001,
                                       0xFFFF, 0xFFFE, 0xFF, 0x100,  0xB5,   0xB6};
    static const uint32_t edges8[] = {0, 1, 2, 0x7F, 0x7E, 0x80, 0x81, 0xFF, 0xFE, 15, 16, 11, 12, 0xF0};
    auto pick = [&](const auto &edges) { return edges[random.below(static_cast<int>(std::size(edges)))]; };
    const bool edge = random.below(5) < 2;
    switch (depth) {
        case MOX_DEPTH_1U:
            return random.bits() & 1;
        case MOX_DEPTH_8U:
        case MOX_DEPTH_8S:
            return edge ? pick(edges8) : random.bits() & 0xFF;
        case MOX_DEPTH_16U:
        case MOX_DEPTH_16S:
            return edge ? pick(edges16) : random.bits() & 0xFFFF;
        case MOX_DEPTH_32S:
            return edge ? pick(edges32) : random.bits() >> random.below(32);
        default:
            if (edge) return pick(edgesFloat);
            // A moderate exponent, so that sums and products round and do not only overflow.
            return (random.bits() & 0x807FFFFF) | static_cast<uint32_t>(random.between(100, 150)) << 23;
    }
}

int drawInt(Random &random) {
    static const int bounds[] = {0,     1,     2,     127,   128,   254,    255,    256,   510,
                                 32767, 32768, 65534, 65535, 65536, 131070, 131071, 131069};
    switch (random.below(8)) {
        case 0:
            return static_cast<int>(random.bits());
        case 1:
            return random.between(-300, 300);
        case 2:
            return random.between(-70000, 70000);
        case 3:
            return random.oneIn(2) ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
        case 4:
            return random.oneIn(2) ? std::numeric_limits<int>::min() + 1 : random.between(-3, 3);
        default: {
            const int bound = bounds[random.below(static_cast<int>(std::size(bounds)))] + random.between(-1, 1);
            return random.oneIn(2) ? bound : -bound;
        }
    }
}
