// Runs of bits: every pair of offsets against a copy bit by bit, in buffers that end where the run ends.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "frame/ownimage.h"
#include "support/cases.h"

namespace {

bool bitOf(const std::vector<uint8_t> &bytes, int64_t bit) {
    return (bytes[static_cast<size_t>(bit / 8)] >> (7 - bit % 8) & 1) != 0;
}
void setBit(std::vector<uint8_t> &bytes, int64_t bit, bool value) {
    uint8_t mask = static_cast<uint8_t>(128 >> bit % 8);
    uint8_t &byte = bytes[static_cast<size_t>(bit / 8)];
    byte = static_cast<uint8_t>(value ? byte | mask : byte & ~mask);
}
std::vector<uint8_t> drawBytes(Random &random, int64_t count) {
    std::vector<uint8_t> bytes(static_cast<size_t>(count));
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random.bits());
    return bytes;
}
int64_t bytesFor(int offset, int64_t count) {
    return (offset + count + 7) / 8;
}

void checkCopy(Random &random, int srcOffset, int dstOffset, int64_t count) {
    // Blocks of exactly the bytes of the runs, so that a memory checker sees a step outside; and a second copy between
    // guards, which sees a write outside without one.
    std::vector<uint8_t> src = drawBytes(random, bytesFor(srcOffset, count));
    std::vector<uint8_t> dst = drawBytes(random, bytesFor(dstOffset, count));
    std::vector<uint8_t> guarded = drawBytes(random, 80 + bytesFor(dstOffset, count));
    std::vector<uint8_t> expected = dst, guardedExpected = guarded;
    for (int64_t i = 0; i < count; i++) {
        setBit(expected, dstOffset + i, bitOf(src, srcOffset + i));
        setBit(guardedExpected, 40 * 8 + dstOffset + i, bitOf(src, srcOffset + i));
    }
    std::vector<uint8_t> srcBefore = src;
    ownCopyBits(src.data(), dst.data(), srcOffset, dstOffset, count);
    ownCopyBits(src.data(), guarded.data() + 40, srcOffset, dstOffset, count);
    ASSERT_EQ(dst, expected) << srcOffset << " to " << dstOffset << ", " << count << " bits";
    ASSERT_EQ(guarded, guardedExpected) << srcOffset << " to " << dstOffset << ", " << count << " bits";
    ASSERT_EQ(src, srcBefore);
}

void checkAlign(Random &random, int srcOffset, int dstOffset, int64_t count) {
    std::vector<uint8_t> src = drawBytes(random, bytesFor(srcOffset, count));
    std::vector<uint8_t> out = drawBytes(random, bytesFor(dstOffset, count));
    std::vector<uint8_t> guarded = drawBytes(random, 80 + bytesFor(dstOffset, count));
    std::vector<uint8_t> guardedBefore = guarded;
    ownAlignBits(src.data(), srcOffset, out.data(), dstOffset, count);
    ownAlignBits(src.data(), srcOffset, guarded.data() + 40, dstOffset, count);
    for (int64_t i = 0; i < count; i++) {
        ASSERT_EQ(bitOf(out, dstOffset + i), bitOf(src, srcOffset + i))
            << "bit " << i << ", " << srcOffset << " to " << dstOffset << ", " << count << " bits";
        ASSERT_EQ(bitOf(guarded, 40 * 8 + dstOffset + i), bitOf(src, srcOffset + i));
    }
    ASSERT_EQ(memcmp(guarded.data(), guardedBefore.data(), 40), 0);
    size_t end = 40 + static_cast<size_t>(bytesFor(dstOffset, count));
    ASSERT_EQ(memcmp(guarded.data() + end, guardedBefore.data() + end, guarded.size() - end), 0);
}

void forEachRun(void (*check)(Random &, int, int, int64_t)) {
    forEachCpuLevel([check] {
        Random random(testSeed());
        for (int srcOffset = 0; srcOffset < 8; srcOffset++) {
            for (int dstOffset = 0; dstOffset < 8; dstOffset++) {
                for (int count = 1; count <= 150; count++) {
                    check(random, srcOffset, dstOffset, count);
                    if (testing::Test::HasFatalFailure()) return;
                }
                for (int count : {255, 256, 257, 511, 512, 513, 640, 1000, 1023, 1024, 1025, 2049, 4093}) {
                    check(random, srcOffset, dstOffset, count);
                    if (testing::Test::HasFatalFailure()) return;
                }
            }
        }
    });
}

TEST(CopyBits, CopiesTheRunAndNothingElse) {
    forEachRun(checkCopy);
}

TEST(AlignBits, AlignsTheRunAndWritesNothingElse) {
    forEachRun(checkAlign);
}

TEST(EdgeBits, AreThoseOfTheRun) {
    for (int offset = 0; offset < 8; offset++) {
        for (int count = 1; count < 30; count++) {
            int first = 0, last = 0, lastByte = (offset + count - 1) / 8;
            for (int bit = offset; bit < 8; bit++)
                first |= 128 >> bit;
            for (int bit = 0; bit < 8; bit++)
                last |= lastByte * 8 + bit < offset + count ? 128 >> bit : 0;
            EXPECT_EQ(ownFirstBits(offset), first);
            EXPECT_EQ(ownLastBits(offset, count), last);
        }
    }
}

}  // namespace
