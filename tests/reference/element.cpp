// One sample of each operation.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/reference.h"

bool refIsBinary(RefOp op) {
    return op <= RefOp::Xor;
}

bool refAccepts(RefOp op, unsigned depth) {
    const bool isFloat = depth == MOX_DEPTH_32F;
    switch (op) {
        case RefOp::Add:
        case RefOp::Subtract:
        case RefOp::Multiply:
        case RefOp::Square:
        case RefOp::Abs:
        case RefOp::Copy:
            return true;
        case RefOp::AddSFP:
        case RefOp::SubtractSFP:
        case RefOp::MultiplySFP:
            return isFloat;
        default:
            return !isFloat;
    }
}

const char *refName(RefOp op) {
    static const char *const names[] = {
        "moxAdd",       "moxSubtract",    "moxMultiply",    "moxAnd", "moxOr",     "moxXor",     "moxAddS",
        "moxSubtractS", "moxMultiplyS",   "moxAndS",        "moxOrS", "moxXorS",   "moxLShiftS", "moxRShiftS",
        "moxAddSFP",    "moxSubtractSFP", "moxMultiplySFP", "moxNot", "moxSquare", "moxAbs",     "moxCopy"};
    return names[static_cast<int>(op)];
}

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

static uint32_t saturated(int64_t value, unsigned depth) {
    return lowBits(std::clamp(value, lowest(depth), highest(depth)), depth);
}

static bool isNan(uint32_t bits) {
    return (bits & 0x7FFFFFFF) > 0x7F800000;
}

// The first operand's NaN, quieted; else the second's; an invalid operation gives the negative quiet NaN.
static uint32_t floatResult(uint32_t a, uint32_t b, float result) {
    if (isNan(a)) return a | 0x00400000;
    if (isNan(b)) return b | 0x00400000;
    return std::isnan(result) ? 0xFFC00000 : std::bit_cast<uint32_t>(result);
}

static uint32_t floatAdd(uint32_t a, uint32_t b) {
    return floatResult(a, b, std::bit_cast<float>(a) + std::bit_cast<float>(b));
}
static uint32_t floatSubtract(uint32_t a, uint32_t b) {
    return floatResult(a, b, std::bit_cast<float>(a) - std::bit_cast<float>(b));
}
static uint32_t floatMultiply(uint32_t a, uint32_t b) {
    return floatResult(a, b, std::bit_cast<float>(a) * std::bit_cast<float>(b));
}

static uint32_t floatElement(const RefCall &call, uint32_t a, uint32_t b) {
    const uint32_t c = call.floatBits;
    switch (call.op) {
        case RefOp::Add:
            return floatAdd(a, b);
        case RefOp::Subtract:
            return floatSubtract(a, b);
        case RefOp::Multiply:
            return floatMultiply(a, b);
        case RefOp::AddSFP:
            return floatAdd(a, c);
        case RefOp::SubtractSFP:
            return call.flip ? floatSubtract(c, a) : floatSubtract(a, c);
        case RefOp::MultiplySFP:
            return floatMultiply(a, c);
        case RefOp::Square:
            return floatMultiply(a, a);
        case RefOp::Abs:
            return a & 0x7FFFFFFF;
        default:
            return a;  // Copy; the others are refused
    }
}

static uint32_t bitElement(const RefCall &call, uint32_t a, uint32_t b) {
    const uint32_t v = static_cast<uint32_t>(call.value) & 1;
    switch (call.op) {
        case RefOp::Add:
        case RefOp::Or:
            return a | b;
        case RefOp::Subtract:
            return a & ~b & 1;
        case RefOp::Multiply:
        case RefOp::And:
            return a & b;
        case RefOp::Xor:
            return a ^ b;
        case RefOp::AddS:
        case RefOp::OrS:
            return a | v;
        case RefOp::SubtractS:
            // 1 - s and s - 0; s - 1 and 0 - s saturate to 0.
            if (v && call.flip) return 1 - a;
            return !v && !call.flip ? a : 0;
        case RefOp::MultiplyS:
        case RefOp::AndS:
            return a & v;
        case RefOp::XorS:
            return a ^ v;
        case RefOp::LShiftS:
        case RefOp::RShiftS:
            return call.value == 0 ? a : 0;
        case RefOp::Not:
            return a ^ 1;
        default:
            return a;  // Square, Abs, Copy
    }
}

uint32_t refElement(const RefCall &call, unsigned depth, uint32_t a, uint32_t b) {
    if (depth == MOX_DEPTH_32F) return floatElement(call, a, b);
    if (depth == MOX_DEPTH_1U) return bitElement(call, a, b);
    const int64_t x = numberOf(a, depth), y = numberOf(b, depth), v = call.value;
    const unsigned shift = static_cast<unsigned>(call.value);
    const unsigned bits = static_cast<unsigned>(bitsOf(depth));
    switch (call.op) {
        case RefOp::Add:
            return saturated(x + y, depth);
        case RefOp::Subtract:
            return saturated(x - y, depth);
        case RefOp::Multiply:
            return saturated(x * y, depth);
        case RefOp::And:
            return a & b;
        case RefOp::Or:
            return a | b;
        case RefOp::Xor:
            return a ^ b;
        case RefOp::AddS:
            return saturated(x + v, depth);
        case RefOp::SubtractS:
            return saturated(call.flip ? v - x : x - v, depth);
        case RefOp::MultiplyS:
            return saturated(x * v, depth);
        case RefOp::AndS:
            return lowBits(x & v, depth);
        case RefOp::OrS:
            return lowBits(x | v, depth);
        case RefOp::XorS:
            return lowBits(x ^ v, depth);
        case RefOp::LShiftS:
            return shift >= bits ? 0 : lowBits(x * (int64_t{1} << shift), depth);
        case RefOp::RShiftS:
            return lowBits(x >> std::min(shift, bits), depth);
        case RefOp::Not:
            return lowBits(~x, depth);
        case RefOp::Square:
            return saturated(x * x, depth);
        case RefOp::Abs:
            return saturated(x < 0 ? -x : x, depth);
        default:
            return a;  // Copy
    }
}
