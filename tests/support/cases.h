// Random cases that can be repeated, and the loop over CPU levels.
//
//     // Stops at the first case that fails, which names its seed and number.
//     forEachCase(200, [](Random &random) { ... });
//     // Every level of this machine; the one in use before comes back.
//     forEachCpuLevel([&] { ... });
//
// MOX_TEST_SEED=n chooses other cases, MOX_TEST_CASE=n runs one case alone, MOX_TEST_FACTOR=n multiplies their number,
// MOX_TEST_DIVISOR=n divides it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

// The same numbers on every platform.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}
    // The first choices come from bytes that somebody made up (a fuzzer), a small number from one byte, a large one
    // from four.
    Random(const uint8_t *bytes, size_t count) : state_(count), bytes_(bytes), end_(bytes + count) {}
    uint64_t next();
    uint32_t bits() { return bytes_ == end_ ? static_cast<uint32_t>(next() >> 32) : takeBytes(4); }
    int below(int count) {  // 0 to count - 1
        const uint64_t value = bytes_ == end_ ? next() >> 33 : takeBytes(count > 256 ? 4 : 1) & 0x7FFFFFFF;
        return static_cast<int>(value) % count;
    }
    int between(int low, int high) { return low + below(high - low + 1); }  // both included
    bool oneIn(int count) { return below(count) == 0; }
    bool onlyChance() const { return bytes_ == end_; }  // no bytes are left

  private:
    uint32_t takeBytes(int count);
    uint64_t state_;
    const uint8_t *bytes_ = nullptr, *end_ = nullptr;
};

uint64_t testSeed();
int testCount(int usualCount);

void forEachCase(int usualCount, const std::function<void(Random &)> &run);
void forEachCpuLevel(const std::function<void()> &run);

// A sample's bit pattern: often an extreme, at 32F often an infinity, NaN, signed zero or denormal.
uint32_t drawSample(Random &random, unsigned depth);

// An int that often stands at a bound where something changes for some depth.
int drawInt(Random &random);
