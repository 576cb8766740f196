// Finds the CPU level by asking the processor for the features that each level's code may use.
#include "core/owncpu.h"

#if defined(OWN_HAS_LEVELS)
#include <cpuid.h>

namespace {

struct Registers {
    unsigned a, b, c, d;
};

Registers cpuid(unsigned leaf) {
    Registers r = {};
    __get_cpuid_count(leaf, 0, &r.a, &r.b, &r.c, &r.d);
    return r;
}

constexpr bool has(unsigned word, unsigned bits) {
    return (word & bits) == bits;
}

// The registers that the operating system saves at a thread switch.
unsigned savedState() {
    unsigned low, high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

OwnCpuLevel findLevel() {
    const Registers one = cpuid(1);
    if (!has(one.c, bit_OSXSAVE)) return OWN_LEVEL_BASE;
    const unsigned saved = savedState();
    const Registers seven = cpuid(7);
    const Registers extended = cpuid(0x80000001);
    const bool v3 = has(saved, 0x06) &&
                    has(one.c, bit_SSE3 | bit_SSSE3 | bit_SSE4_1 | bit_SSE4_2 | bit_POPCNT | bit_MOVBE | bit_FMA |
                                   bit_AVX | bit_F16C) &&
                    has(seven.b, bit_AVX2 | bit_BMI | bit_BMI2) && has(extended.c, bit_LZCNT | bit_LAHF_LM);
    if (!v3) return OWN_LEVEL_BASE;
    const bool v4 =
        has(saved, 0xe6) && has(seven.b, bit_AVX512F | bit_AVX512BW | bit_AVX512CD | bit_AVX512DQ | bit_AVX512VL);
    return v4 && OWN_HAS_LEVELS > 1 ? OWN_LEVEL_V4 : OWN_LEVEL_V3;
}

}  // namespace
#else
static OwnCpuLevel findLevel() {
    return OWN_LEVEL_BASE;
}
#endif

// Written at attach, before any operation runs, and by tests.
static OwnCpuLevel highestLevel = OWN_LEVEL_BASE;
static OwnCpuLevel level = OWN_LEVEL_BASE;

OwnCpuLevel ownCpuLevel() {
    return level;
}

OwnCpuLevel ownHighestCpuLevel() {
    return highestLevel;
}

void ownChooseCpuLevel() {
    level = highestLevel = findLevel();
}

bool ownForceCpuLevel(OwnCpuLevel wanted) {
    if (wanted > highestLevel) return false;
    level = wanted;
    return true;
}
