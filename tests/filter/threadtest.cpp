// Filters on many threads: shared sources and kernels, a destination for each thread, and every thread's own rounding
// mode.
#include <cfenv>
#include <thread>

#include "filter/kernelset.h"

namespace {

constexpr int THREADS = 6;

using Model = std::function<RefResult(TestImage &src, TestImage &dst)>;
using Call = std::function<void(MoxImage *src, MoxImage *dst)>;

struct Worker {
    TestImage dst;
    RefResult wanted;
    int mode = -1;
    Worker(const TestLayout &layout, TestImage &src, const Model &model) : dst(layout, 2), wanted(model(src, dst)) {}
};

// Every thread runs the call on its destination, several times.
void onThreads(TestImage &src, const Model &model, const Call &call) {
    std::vector<std::unique_ptr<Worker>> workers;
    for (int i = 0; i < THREADS; ++i)
        workers.push_back(std::make_unique<Worker>(src.layout(), src, model));
    std::vector<std::thread> threads;
    for (auto &each : workers) {
        threads.emplace_back([&, worker = each.get()] {
            for (int round = 0; round < 20; ++round)
                call(src.header(), worker->dst.header());
            worker->mode = fegetround();
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (auto &worker : workers) {
        refAcceptNaNs(worker->dst, &worker->wanted);
        EXPECT_TRUE(worker->dst.holds(worker->wanted.expected, worker->wanted.unspecified));
        EXPECT_EQ(worker->mode, FE_TONEAREST);
    }
}

TEST(FilterThreads, blurSharesItsSource) {
    for (unsigned depth : allDepths) {
        TestImage src(TestLayout::of(depth, 60, 20, depth == MOX_DEPTH_1U ? 1 : 3), 1);
        onThreads(
            src,
            [](TestImage &from, TestImage &to) {
                return refBlur(from, to, {5, 3, 2, 1});
            },
            [](MoxImage *from, MoxImage *to) { moxBlur(from, to, 5, 3, 2, 1); });
    }
}

TEST(FilterThreads, convolutionSharesItsKernels) {
    const std::vector<RefKernel> kernels = {{{3, 3, 1, 1}, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 0},
                                            {{1, 1, 0, 0}, {70000}, 9}};
    KernelSet set(kernels);
    for (unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_32F) continue;
        TestImage src(TestLayout::of(depth, 60, 20, depth == MOX_DEPTH_1U ? 1 : 3), 1);
        onThreads(
            src,
            [&](TestImage &from, TestImage &to) { return refConvolve2D(from, to, kernels, MOX_COMBINE_SUMSQROOT); },
            [&](MoxImage *from, MoxImage *to) {
                moxConvolve2D(from, to, set.records(), set.count(), MOX_COMBINE_SUMSQROOT);
            });
    }
}

}  // namespace
