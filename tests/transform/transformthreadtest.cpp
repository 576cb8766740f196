// Transforms on many threads: shared sources and kernels, a destination and tables for each thread.
#include <thread>

#include "transform/transformcheck.h"
#include "transform/waveletcheck.h"

namespace {

constexpr int THREADS = 6, ROUNDS = 8;

const int sizes[][2] = {{8, 8}, {31, 17}, {64, 48}, {100, 3}, {211, 2}, {16, 16}};

using Call = std::function<void(MoxImage *src, MoxImage *dst)>;

// Every thread runs the call on all sizes, beginning with another one; all get what one thread alone gets.
void onThreads(unsigned depth, const Call &call) {
    std::vector<std::unique_ptr<TestImage>> sources, wanted;
    for (const auto &[width, height] : sizes) {
        Random random(testSeed());
        sources.push_back(std::make_unique<TestImage>(TestLayout::of(depth, width, height, 2), 1));
        drawNumbers(random, *sources.back(), 200);
        wanted.push_back(std::make_unique<TestImage>(TestLayout::of(MOX_DEPTH_16S, width, height, 2), 2));
        call(sources.back()->header(), wanted.back()->header());
    }
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            moxSetErrMode(MOX_ErrModeSilent);
            for (int round = 0; round < ROUNDS; ++round) {
                const size_t which = static_cast<size_t>(thread + round) % std::size(sizes);
                TestImage dst(wanted[which]->layout(), 2);
                call(sources[which]->header(), dst.header());
                for (int y = 0; y < dst.layout().height; ++y) {
                    for (int x = 0; x < dst.layout().width; ++x)
                        ASSERT_EQ(dst.get(1, x, y), wanted[which]->get(1, x, y));
                }
                if (round % 3 == thread % 3) freeTransformCaches();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    freeTransformCaches();
}

TEST(TransformThreads, fourierTransformsShareTheirSources) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_32F}) {
        onThreads(depth, [](MoxImage *src, MoxImage *dst) {
            EXPECT_EQ(moxRealFft2D(src, dst, MOX_FFT_INVERSE), 0);
            EXPECT_EQ(moxCcsFft2D(src, dst, MOX_FFT_INVERSE), 0);
        });
    }
}

TEST(TransformThreads, cosineTransformsShareTheirSources) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_32F})
        onThreads(depth, [](MoxImage *src, MoxImage *dst) { moxDCT2D(src, dst, MOX_DCT_FORWARD); });
}

TEST(TransformThreads, waveletsShareTheirKernels) {
    MoxWtKernel kernel;
    ASSERT_EQ(moxWtInit(MOX_WT_COIFLET, 3, 0, &kernel), 0);
    Random random(testSeed());
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 61, 45), 1);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&] {
            moxSetErrMode(MOX_ErrModeSilent);
            const TestLayout half = TestLayout::of(MOX_DEPTH_32F, 31, 23);
            TestImage a(half, 2), x(half, 3), y(half, 4), d(half, 5), back(src.layout(), 6);
            for (int round = 0; round < ROUNDS; ++round) {
                EXPECT_EQ(moxWtDecompose(&kernel, src.header(), a.header(), x.header(), y.header(), d.header()), 0);
                EXPECT_EQ(moxWtReconstruct(&kernel, a.header(), x.header(), y.header(), d.header(), back.header()), 0);
                for (int row = 0; row < 45; ++row) {
                    for (int column = 0; column < 61; ++column)
                        ASSERT_EQ(back.get(0, column, row), src.get(0, column, row));
                }
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

}  // namespace
