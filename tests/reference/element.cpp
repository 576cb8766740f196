// One sample of an operation: numbers from samples and back, and the arithmetic of floats.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/reference.h"

static int bitsOf(unsigned depth) {
    return static_cast<int>(depth & ~MOX_DEPTH_SIGN);
}
static bool isSigned(unsigned depth) {
    return (depth & MOX_DEPTH_SIGN) != 0;
}

static int64_t lowest(unsigned depth) {
    return isSigned(depth) ? -(int64_t{1} << (bitsOf(depth) - 1)) : 0;
}
static int64_t highest(unsigned depth) {
    return isSigned(depth) ? (int64_t{1} << (bitsOf(depth) - 1)) - 1 : (int64_t{1} << bitsOf(depth)) - 1;
}

static uint32_t lowBits(int64_t value, unsigned depth) {
    return static_cast<uint32_t>(value) & static_cast<uint32_t>((int64_t{1} << bitsOf(depth)) - 1);
}

static int64_t numberOf(uint32_t bits, unsigned depth) {
    const int64_t value = lowBits(bits, depth);
    return isSigned(depth) && value > highest(depth) ? value - (int64_t{1} << bitsOf(depth)) : value;
}

int64_t RefSample::saturated(int64_t result) const {
    return std::clamp(result, lowest(depth), highest(depth));
}

static bool isNan(uint32_t bits) {
    return (bits & 0x7FFFFFFF) > 0x7F800000;
}

// The first operand's NaN, quieted; else the second's; an invalid operation gives the negative quiet NaN.
template <typename Operation>
static int64_t floatResult(int64_t a, int64_t b, Operation operation) {
    const auto first = static_cast<uint32_t>(a), second = static_cast<uint32_t>(b);
    if (isNan(first)) return first | 0x00400000;
    if (isNan(second)) return second | 0x00400000;
    const float result = operation(std::bit_cast<float>(first), std::bit_cast<float>(second));
    return std::isnan(result) ? 0xFFC00000 : std::bit_cast<uint32_t>(result);
}

int64_t refFloatAdd(int64_t a, int64_t b) {
    return floatResult(a, b, [](float x, float y) { return x + y; });
}
int64_t refFloatSubtract(int64_t a, int64_t b) {
    return floatResult(a, b, [](float x, float y) { return x - y; });
}
int64_t refFloatMultiply(int64_t a, int64_t b) {
    return floatResult(a, b, [](float x, float y) { return x * y; });
}

bool RefOperation::moves(unsigned depth) const {
    if (copies == RefCopies::NEVER) return false;
    return copies == RefCopies::ALWAYS || (!isSigned(depth) && depth != MOX_DEPTH_32F);
}

uint32_t refElement(const RefCall &call, unsigned depth, uint32_t a, uint32_t b) {
    const RefSample sample = {depth, numberOf(a, depth), numberOf(b, depth), call.value, call.flip, call.floatBits};
    return lowBits(call.op->element(depth)(sample), depth);
}

static int64_t same(RefSample s) {
    return s.a;
}
const RefOperation refCopy = {.name = "moxCopy",
                              .sources = 1,
                              .call = refOne<moxCopy>,
                              .bits = same,
                              .whole = same,
                              .real = same,
                              .copies = RefCopies::ALWAYS};
