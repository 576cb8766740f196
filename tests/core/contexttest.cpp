// The thread's context: made on first use, with its initial values, and freed with its caches when the thread ends.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "core/owncore.h"
#include "support/allocations.h"

namespace {

// Puts a block into every field that a transform may fill; the number of blocks.
int fillCaches(MoxThreadContext *context) {
    int blocks = 0;
    for (int i = 0; i < 32; i++) {
        context->fftScratchSizes[i] = i + 1;
        context->fftScratch[i] = moxiMalloc(i + 1);
        context->fftScratch2Sizes[i] = i + 2;
        context->fftScratch2[i] = moxiMalloc(i + 2);
        context->fftFurtherSizes[0][i] = context->fftFurtherSizes[1][i] = 1;
        blocks += 2;
        for (auto &tables : context->fftTables) {
            tables[i] = moxMalloc(8);
            blocks++;
        }
    }
    context->fftRecord.pool = 3;
    context->fftRecord.pool2 = 4;
    context->dctCosLength = 16;
    context->dctCosTable = moxsMalloc(16);
    blocks++;
    context->dctFixedLevels = 5;
    context->dctFixedTables = static_cast<short **>(moxMalloc(5 * static_cast<int>(sizeof(short *))));
    blocks++;
    for (int i = 0; i < 5; i++, blocks++)
        context->dctFixedTables[i] = static_cast<short *>(moxMalloc(16 << i));
    context->dctRealLevels = 4;
    context->dctRealTables = static_cast<double **>(moxMalloc(4 * static_cast<int>(sizeof(double *))));
    blocks++;
    for (int i = 0; i < 4; i++, blocks++)
        context->dctRealTables[i] = moxdMalloc(8 << i);
    return blocks;
}

void expectNoCaches(const MoxThreadContext &context) {
    EXPECT_EQ(context.dctCosTable, nullptr);
    EXPECT_EQ(context.dctFixedLevels, 0);
    EXPECT_EQ(context.dctFixedTables, nullptr);
    EXPECT_EQ(context.dctRealLevels, 0);
    EXPECT_EQ(context.dctRealTables, nullptr);
    for (int i = 0; i < 32; i++) {
        EXPECT_EQ(context.fftScratchSizes[i], 0);
        EXPECT_EQ(context.fftScratch2Sizes[i], 0);
        EXPECT_EQ(context.fftScratch[i], nullptr);
        EXPECT_EQ(context.fftScratch2[i], nullptr);
        for (const auto &tables : context.fftTables)
            EXPECT_EQ(tables[i], nullptr);
    }
    EXPECT_EQ(context.fftRecord.pool, 0);
    EXPECT_EQ(context.fftRecord.pool2, 0);
}

void expectNew(const MoxThreadContext &context) {
    EXPECT_EQ(context.status, 0);
    EXPECT_EQ(context.mode, MOX_ErrModeLeaf);
    EXPECT_EQ(context.report, moxGuiBoxReport);
    EXPECT_EQ(context.dctCosLength, -1);
    expectNoCaches(context);
    for (int i = 0; i < 32; i++)
        EXPECT_EQ(context.fftFurtherSizes[0][i] | context.fftFurtherSizes[1][i], 0);
    for (int word : context.fftRecord.words)
        EXPECT_EQ(word, 0);
}

TEST(Context, OfANewThreadHasItsInitialValues) {
    std::thread([] {
        MoxThreadContext *context = ownGetContext();
        ASSERT_NE(context, nullptr);
        expectNew(*context);
    }).join();
}

TEST(Context, IsGivenItsInitialValues) {
    auto context = std::make_unique<MoxThreadContext>();
    ownInitContext(context.get());
    expectNew(*context);
}

TEST(Context, IsTheThreadsOwnAndStays) {
    MoxThreadContext *mine = ownGetContext(), *others[2] = {};
    EXPECT_EQ(ownGetContext(), mine);
    std::thread first([&] {
        others[0] = ownGetContext();
        EXPECT_EQ(ownGetContext(), others[0]);
        std::thread([&] { others[1] = ownGetContext(); }).join();
    });
    first.join();
    EXPECT_EQ((std::set<MoxThreadContext *>{mine, others[0], others[1]}).size(), 3u);
    EXPECT_EQ(ownGetContext(), mine);
}

TEST(Context, HoldsTheErrorState) {
    moxSetErrStatus(-7);
    EXPECT_EQ(ownGetContext()->status, -7);
    moxSetErrStatus(0);
    moxSetErrMode(5);
    EXPECT_EQ(ownGetContext()->mode, 5);
    moxSetErrMode(0);
}

TEST(Context, FreesEveryCache) {
    auto context = std::make_unique<MoxThreadContext>();
    ownInitContext(context.get());
    AllocationWindow window;
    int blocks = fillCaches(context.get());
    EXPECT_EQ(window.live(), blocks);
    window.close();
    ownFreeCaches(context.get());
    EXPECT_EQ(window.live(), 0);
    expectNoCaches(*context);
    EXPECT_EQ(context->dctCosLength, -1);
    for (int i = 0; i < 32; i++)
        EXPECT_EQ(context->fftFurtherSizes[0][i] | context->fftFurtherSizes[1][i], 0);
    ownFreeCaches(context.get());
    expectNoCaches(*context);
}

// The tables may be only begun when memory runs out: entries that are null are no fault.
TEST(Context, FreesHalfBuiltTables) {
    auto context = std::make_unique<MoxThreadContext>();
    ownInitContext(context.get());
    AllocationWindow window;
    context->dctRealLevels = 3;
    context->dctRealTables = static_cast<double **>(moxMalloc(3 * static_cast<int>(sizeof(double *))));
    context->dctRealTables[0] = moxdMalloc(8);
    context->dctRealTables[1] = context->dctRealTables[2] = nullptr;
    window.close();
    ownFreeCaches(context.get());
    EXPECT_EQ(window.live(), 0);
}

TEST(Context, FreesItsCachesWhenTheThreadEnds) {
    std::unique_ptr<AllocationWindow> window;
    std::thread([&window] {
        MoxThreadContext *context = ownGetContext();
        window = std::make_unique<AllocationWindow>();
        int blocks = fillCaches(context);
        EXPECT_EQ(window->live(), blocks);
        window->close();
    }).join();
    EXPECT_EQ(window->live(), 0);
}

// A thread may come late: its context is made on first use, also where that use is the thread's last act.
TEST(Context, OfManyThreadsComeAndGo) {
    for (int round = 0; round < 20; round++) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 16; i++) {
            threads.emplace_back([i] {
                EXPECT_EQ(moxGetErrStatus(), 0);
                moxSetErrStatus(-i);
                EXPECT_EQ(moxGetErrStatus(), -i);
            });
        }
        for (std::thread &thread : threads)
            thread.join();
    }
}

TEST(Context, IsNotMissedByAThreadThatNeverCalls) {
    std::thread([] {}).join();
}

// A destructor of the thread's own may report after the library has seen the thread end.
struct LateUser {
    ~LateUser() {
        moxSetErrStatus(-4);
        EXPECT_EQ(moxGetErrStatus(), -4);
    }
};
TEST(Context, ServesDestructorsOfTheThread) {
    std::thread([] {
        static thread_local LateUser user;
        (void)&user;
        moxSetErrStatus(0);
    }).join();
}

}  // namespace
