// Random cases that can be repeated, and the loop over CPU levels.
//
//     forEachCase(200, [](Random &random) { ... });          // stops at the first case that fails; the failure names
//     seed and case forEachCpuLevel([&] { ... });                          // every level of this machine; the one in
//     use before comes back
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
    uint64_t next();
    uint32_t bits() { return static_cast<uint32_t>(next() >> 32); }
    int below(int count) { return static_cast<int>(next() >> 33) % count; }  // 0 to count - 1
    int between(int low, int high) { return low + below(high - low + 1); }   // both included
    bool oneIn(int count) { return below(count) == 0; }

  private:
    uint64_t state_;
};

uint64_t testSeed();
int testCount(int usualCount);

void forEachCase(int usualCount, const std::function<void(Random &)> &run);
void forEachCpuLevel(const std::function<void()> &run);

// A sample's bit pattern: often an extreme, at 32F often an infinity, NaN, signed zero or denormal.
uint32_t drawSample(Random &random, unsigned depth);

// An int that often stands at a bound where something changes for some depth.
int drawInt(Random &random);
