// Many threads with shared sources and masks, each with destinations of its own.
#include <atomic>
#include <thread>

#include "arith/arithcheck.h"

namespace {

TEST(Threads, shareSourcesAndHaveDestinationsOfTheirOwn) {
    constexpr int THREADS = 8, ROUNDS = 40;
    std::vector<RefOperation> operations;
    for (const RefOperation &op : allOperations()) {
        if (op.accepts(MOX_DEPTH_8S)) operations.push_back(op);
    }
    TestImage a(TestLayout::of(MOX_DEPTH_8S, 97, 31, 3), 1), b(TestLayout::of(MOX_DEPTH_8S, 97, 31, 3), 2),
        mask(TestLayout::ofMask(97, 31), 3);
    b.setMask(&mask);
    const TestBytes beforeA = a.bytes(), beforeB = b.bytes(), beforeMask = mask.bytes();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] {
            ReportRecorder reports;
            TestLayout tiled = TestLayout::of(MOX_DEPTH_8S, 97, 31, 3);
            tiled.tileWidth = tiled.tileHeight = 8 * (1 + t % 3);
            TestImage plain(TestLayout::of(MOX_DEPTH_8S, 97, 31, 3), 10), tiles(tiled, 11),
                own(TestLayout::ofMask(90, 31), 12);
            tiles.setMask(&own);
            for (int round = 0; round < ROUNDS; ++round) {
                for (TestImage *d : {&plain, &tiles}) {
                    const RefOperation &op = operations[static_cast<size_t>(t + round) % operations.size()];
                    const RefCall call = {op, round - 20, round % 2 == 0};
                    const std::vector<TestImage *> images = imagesOf(op, &a, &b, d);
                    const RefResult wanted = refPoint(call, images);
                    refRunLibrary(call, images);
                    if (!d->holds(wanted.expected, wanted.unspecified)) ++wrong;
                }
                // A fault of this thread stays on this thread.
                if (moxGetErrStatus() != 0) ++wrong;
                if (t % 2 == 1) {
                    moxAndS(nullptr, plain.header(), 1);
                    if (moxGetErrStatus() != -9) ++wrong;
                    moxSetErrStatus(0);
                }
            }
            if (reports.seen.size() != (t % 2 == 1 ? ROUNDS : 0)) ++wrong;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(a.holds(beforeA));
    EXPECT_TRUE(b.holds(beforeB));
    EXPECT_TRUE(mask.holds(beforeMask));
}

}  // namespace
