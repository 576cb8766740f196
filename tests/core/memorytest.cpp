// The allocators: alignment, refused counts, one function under several names.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "core/owncore.h"

namespace {

int reports;
MoxStatus MOX_CALL countReport(MoxStatus status, const char *, const char *, const char *, int) {
    reports++;
    return status;
}

class Memory : public testing::Test {
  protected:
    void SetUp() override {
        reports = 0;
        moxSetErrStatus(0);
        moxRedirectError(countReport);
    }
    void TearDown() override {
        EXPECT_EQ(reports, 0);
        EXPECT_EQ(moxGetErrStatus(), 0);
        moxRedirectError(nullptr);
    }
};

void expectAligned(const void *memory) {
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % 32, 0u);
}

TEST_F(Memory, IsAlignedAndWhollyUsable) {
    std::vector<void *> blocks;
    for (int size = 1; size <= 300; size++) {
        void *memory = moxMalloc(size);
        expectAligned(memory);
        memset(memory, size, static_cast<size_t>(size));
        blocks.push_back(memory);
    }
    for (int size = 1; size <= 300; size++) {
        const uint8_t *memory = static_cast<uint8_t *>(blocks[static_cast<size_t>(size - 1)]);
        for (int i = 0; i < size; i++)
            ASSERT_EQ(memory[i], static_cast<uint8_t>(size));
        moxFree(blocks[static_cast<size_t>(size - 1)]);
    }
}

TEST_F(Memory, TypedFormsCountItems) {
    for (int count : {1, 2, 3, 7, 8, 9, 31, 1000}) {
        short *shorts = moxwMalloc(count);
        int *ints = moxiMalloc(count);
        float *floats = moxsMalloc(count);
        double *doubles = moxdMalloc(count);
        expectAligned(shorts);
        expectAligned(ints);
        expectAligned(floats);
        expectAligned(doubles);
        memset(shorts, 1, 2 * static_cast<size_t>(count));
        memset(ints, 2, 4 * static_cast<size_t>(count));
        memset(floats, 3, 4 * static_cast<size_t>(count));
        memset(doubles, 4, 8 * static_cast<size_t>(count));
        moxFree(shorts);
        moxFree(ints);
        moxFree(floats);
        moxFree(doubles);
    }
}

TEST_F(Memory, KeepsTheHeapsPointerInTheWordBelow) {
    for (int size : {1, 31, 32, 33, 4096}) {
        char *memory = static_cast<char *>(moxMalloc(size));
        ASSERT_NE(memory, nullptr);
        char *base;
        memcpy(&base, memory - sizeof base, sizeof base);
        EXPECT_LE(base, memory - sizeof base);
        EXPECT_GT(base, memory - 64);
        moxFree(memory);
    }
}

TEST_F(Memory, CountsBelowOneGiveNull) {
    for (int count : {0, -1, -8, -36, INT_MIN}) {
        EXPECT_EQ(moxMalloc(count), nullptr);
        EXPECT_EQ(moxwMalloc(count), nullptr);
        EXPECT_EQ(moxiMalloc(count), nullptr);
        EXPECT_EQ(moxsMalloc(count), nullptr);
        EXPECT_EQ(moxdMalloc(count), nullptr);
    }
}

// A product that leaves 32 bits must not wrap round to a small block.
TEST_F(Memory, CountsThatOverflowGiveNull) {
    for (int count : {0x40000000, 0x40000001, 0x40000010, INT_MAX})
        EXPECT_EQ(moxwMalloc(count), nullptr) << count;
    for (int count : {0x20000000, 0x20000001, 0x40000000, 0x40000001, INT_MAX}) {
        EXPECT_EQ(moxiMalloc(count), nullptr) << count;
        EXPECT_EQ(moxsMalloc(count), nullptr) << count;
    }
    for (int count : {0x10000000, 0x10000001, 0x20000000, 0x20000001, 0x40000001, INT_MAX}) {
        EXPECT_EQ(moxdMalloc(count), nullptr) << count;
    }
}

TEST_F(Memory, TheLargestSizesAreNullOrWhole) {
    for (int size : {INT_MAX, INT_MAX - 34, INT_MAX - 35, INT_MAX - 36}) {
        char *memory = static_cast<char *>(moxMalloc(size));
        if (!memory) continue;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % 32, 0u);
        memory[0] = 1;
        memory[size - 1] = 1;
        moxFree(memory);
    }
}

TEST_F(Memory, FreeIgnoresNull) {
    moxFree(nullptr);
    moxDeleteROI(nullptr);
    moxDeleteTileInfo(nullptr);
}

TEST_F(Memory, AliasesAreOneFunction) {
    // Compared when the test runs: to a compiler two functions are never one.
    const void *volatile ints = reinterpret_cast<const void *>(&moxiMalloc);
    const void *floats = reinterpret_cast<const void *>(&moxsMalloc);
    const void *volatile memory = reinterpret_cast<const void *>(&moxFree);
    const void *roi = reinterpret_cast<const void *>(&moxDeleteROI);
    const void *tile = reinterpret_cast<const void *>(&moxDeleteTileInfo);
    EXPECT_EQ(ints, floats);
    EXPECT_EQ(memory, roi);
    EXPECT_EQ(memory, tile);
}

}  // namespace
