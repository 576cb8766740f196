// The reduction of bits on many threads that share a source.
#include <thread>

#include "color/reducepair.h"

namespace {

TEST(ReduceThreads, shareASource) {
    constexpr int THREADS = 6, ROUNDS = 20;
    for (int dither : {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 61, 23, 3), 1);
        std::vector<std::unique_ptr<TestImage>> images;
        std::vector<RefResult> wanted;
        for (int i = 0; i < THREADS; ++i) {
            images.push_back(std::make_unique<TestImage>(src.layout(), 2));
            wanted.push_back(refReduceBits({0, dither, 6}, src, *images.back()));
        }
        std::vector<std::thread> threads;
        for (int i = 0; i < THREADS; ++i) {
            threads.emplace_back([&src, dither, dst = images[static_cast<size_t>(i)]->header()] {
                for (int round = 0; round < ROUNDS; ++round)
                    moxReduceBits(src.header(), dst, 0, dither, 6);
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        for (size_t i = 0; i < images.size(); ++i)
            EXPECT_TRUE(images[i]->holds(wanted[i].expected)) << dither;
    }
}

}  // namespace
