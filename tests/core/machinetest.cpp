// Version record, clock, rounding mode and CPU level.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <thread>

#include "core/owncore.h"
#include "core/owncpu.h"
#include "core/ownfpcontrol.h"

namespace {

TEST(Version, IsTheRecord) {
    const MoxLibVersion *version = moxGetLibVersion();
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version->major, 2);
    EXPECT_EQ(version->minor, 5);
    EXPECT_EQ(version->build, 9);
    EXPECT_STREQ(version->name, "moxw7.dll");
    EXPECT_STREQ(version->version, "2.5 Release SP1");
    EXPECT_STREQ(version->internalVersion, "[2.5.9.89, 03/05/2002]");
    EXPECT_STREQ(version->buildDate, "Mar  5 2002");
    EXPECT_STREQ(version->callConv, "DLL");
}

TEST(Version, IsOneRecordForAllCallsAndThreads) {
    const MoxLibVersion *version = moxGetLibVersion(), *elsewhere = nullptr;
    EXPECT_EQ(moxGetLibVersion(), version);
    std::thread([&] { elsewhere = moxGetLibVersion(); }).join();
    EXPECT_EQ(elsewhere, version);
}

TEST(CycleCounter, DoesNotRunBackwards) {
    long long before = moxGetCycleCounter(), first = before;
    for (int i = 0; i < 100000; i++) {
        long long now = moxGetCycleCounter();
        ASSERT_GE(now, before);
        before = now;
    }
    EXPECT_GT(before, first);
}

// Roundings of values that the four modes tell apart; volatile, or the compiler would round in its own mode.
long rounded(float value) {
    volatile float v = value;
    return lrintf(v);
}
long rounded(double value) {
    volatile double v = value;
    return lrint(v);
}

struct Rounding {
    unsigned mode;
    int fenv;
    long of[4];  // of 1.5, 2.5, -1.5 and -1.75
};
const Rounding roundings[] = {
    {OWN_ROUND_NEAREST, FE_TONEAREST, {2, 2, -2, -2}},
    {OWN_ROUND_DOWN, FE_DOWNWARD, {1, 2, -2, -2}},
    {OWN_ROUND_UP, FE_UPWARD, {2, 3, -1, -1}},
    {OWN_ROUND_CHOP, FE_TOWARDZERO, {1, 2, -1, -1}},
};

TEST(ControlFp, SetsEachRoundingAndReturnsTheOneBefore) {
    ASSERT_EQ(fegetround(), FE_TONEAREST);
    unsigned before = OWN_ROUND_NEAREST;
    for (const Rounding &rounding : roundings) {
        EXPECT_EQ(ownControlFp(rounding.mode, OWN_ROUND_MASK) & OWN_ROUND_MASK, before);
        EXPECT_EQ(ownControlFp(0, 0) & OWN_ROUND_MASK, rounding.mode);
        EXPECT_EQ(fegetround(), rounding.fenv);
        EXPECT_EQ(rounded(1.5f), rounding.of[0]);
        EXPECT_EQ(rounded(2.5f), rounding.of[1]);
        EXPECT_EQ(rounded(-1.5), rounding.of[2]);
        EXPECT_EQ(rounded(-1.75), rounding.of[3]);
        before = rounding.mode;
    }
    ownControlFp(OWN_ROUND_NEAREST, OWN_ROUND_MASK);
    EXPECT_EQ(fegetround(), FE_TONEAREST);
}

TEST(ControlFp, ChangesOnlyTheMaskedBits) {
    ownControlFp(OWN_ROUND_CHOP, 0);
    EXPECT_EQ(fegetround(), FE_TONEAREST);
    ownControlFp(OWN_ROUND_CHOP, OWN_ROUND_DOWN);
    EXPECT_EQ(fegetround(), FE_DOWNWARD);
    ownControlFp(0, OWN_ROUND_UP);
    EXPECT_EQ(fegetround(), FE_DOWNWARD);
    ownControlFp(OWN_ROUND_CHOP, OWN_ROUND_UP);
    EXPECT_EQ(fegetround(), FE_TOWARDZERO);
    ownControlFp(0xFFFFFFFFu & ~OWN_ROUND_MASK, OWN_ROUND_MASK);
    EXPECT_EQ(fegetround(), FE_TONEAREST);
}

TEST(ControlFp, ChopLastsForTheScope) {
    ownControlFp(OWN_ROUND_UP, OWN_ROUND_MASK);
    {
        OwnChopRounding chop;
        EXPECT_EQ(fegetround(), FE_TOWARDZERO);
        {
            OwnChopRounding again;
            EXPECT_EQ(rounded(-1.75), -1);
        }
        EXPECT_EQ(fegetround(), FE_TOWARDZERO);
    }
    EXPECT_EQ(fegetround(), FE_UPWARD);
    ownControlFp(OWN_ROUND_NEAREST, OWN_ROUND_MASK);
}

TEST(ControlFp, BelongsToTheThread) {
    OwnChopRounding chop;
    std::thread([] {
        ownControlFp(OWN_ROUND_UP, OWN_ROUND_MASK);
        EXPECT_EQ(fegetround(), FE_UPWARD);
    }).join();
    EXPECT_EQ(fegetround(), FE_TOWARDZERO);
}

TEST(CpuLevel, ForcesUpToTheHighest) {
    OwnCpuLevel chosen = ownCpuLevel();
    EXPECT_EQ(chosen, ownHighestCpuLevel());
    for (int level = OWN_LEVEL_BASE; level < OWN_LEVELS; level++) {
        OwnCpuLevel before = ownCpuLevel();
        bool has = level <= ownHighestCpuLevel();
        EXPECT_EQ(ownForceCpuLevel(static_cast<OwnCpuLevel>(level)), has);
        EXPECT_EQ(ownCpuLevel(), has ? level : before);
    }
    EXPECT_FALSE(ownForceCpuLevel(OWN_LEVELS));
    EXPECT_TRUE(ownForceCpuLevel(chosen));
}

#if defined(OWN_HAS_LEVELS) && defined(__x86_64__) && defined(__GNUC__)
TEST(CpuLevel, IsWhatTheProcessorHas) {
    bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
    bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
              __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
              __builtin_cpu_supports("avx512vl");
    const int has = v4 ? OWN_LEVEL_V4 : v3 ? OWN_LEVEL_V3 : OWN_LEVEL_BASE;
    EXPECT_EQ(ownHighestCpuLevel(), std::min(has, OWN_HAS_LEVELS));
}
#endif

}  // namespace
