// Threads that share sources, opacities and masks, each with a destination of its own.
#include <thread>

#include "arith/alphacheck.h"

namespace {

TEST(AlphaThreads, shareEverythingButTheirDestinations) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 301, 40, 4);
    layout.alpha = 4;
    TestImage a(layout, 1), b(layout, 2), alphaA(layout, 3), maskA(TestLayout::ofMask(301, 40), 4);
    a.setMask(&maskA);
    constexpr int THREADS = 4, ROUNDS = 40;
    std::vector<std::unique_ptr<TestImage>> destinations, masks;
    std::vector<TestBytes> wanted;
    for (int i = 0; i < THREADS; ++i) {
        const auto seed = static_cast<uint64_t>(i);
        destinations.push_back(std::make_unique<TestImage>(layout, 10 + seed));
        masks.push_back(std::make_unique<TestImage>(TestLayout::ofMask(301, 40), 20 + seed));
        destinations.back()->setMask(masks.back().get());
        const RefComposite call = {&a, &b, destinations.back().get(), {i, i % 2, i / 2}, &alphaA};
        wanted.push_back(refComposite(call)[0].expected);
    }
    std::vector<std::thread> threads;
    std::vector<int> faults(THREADS);
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            const auto index = static_cast<size_t>(i);
            TestImage &dst = *destinations[index];
            const TestBytes before = dst.bytes();
            moxSetErrMode(MOX_ErrModeSilent);
            for (int round = 0; round < ROUNDS; ++round) {
                dst.setBytes(before);
                runComposite({&a, &b, &dst, {i, i % 2, i / 2}, &alphaA});
                faults[index] += moxGetErrStatus() != 0 || dst.bytes() != wanted[index];
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (int i = 0; i < THREADS; ++i)
        EXPECT_EQ(faults[static_cast<size_t>(i)], 0) << "thread " << i;
}

}  // namespace
