// Measures on many threads: shared sources and a shared mask, and for each thread its own results.
#include <thread>

#include "stat/statcheck.h"

namespace {

constexpr int THREADS = 6, ROUNDS = 20;

// Every thread runs work(thread), several times; each gives whether its result is right.
void onThreads(const std::function<bool(int)> &work) {
    std::vector<int> right(THREADS, 0);
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < ROUNDS; ++round)
                right[static_cast<size_t>(i)] += work(i) ? 1 : 0;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (int count : right)
        EXPECT_EQ(count, ROUNDS);
}

TEST(StatThreads, normsAndMomentsShareTheirImages) {
    for (unsigned depth : allDepths) {
        TestImage a(TestLayout::of(depth, 75, 20), 1), b(TestLayout::of(depth, 70, 21), 2),
            mask(TestLayout::ofMask(72, 19), 3);
        if (depth == MOX_DEPTH_32F) {
            Random random(4);
            drawModerate(random, a);
            drawModerate(random, b);
        }
        a.setMask(&mask);
        const int types[] = {MOX_NORM_C, MOX_NORM_L1, MOX_NORM_L2, MOX_NORM_C + 8, MOX_NORM_L1 + 8, MOX_NORM_L2 + 8};
        double wanted[THREADS];
        for (int i = 0; i < THREADS; ++i)
            wanted[i] = refNorm(a, &b, types[i]).value;
        onThreads([&](int i) { return sameBits(moxNorm(a.header(), b.header(), types[i]), wanted[i]); });
        // Callbacks see a region of the call's own while moments are measured, so each thread has an image header.
        const double mass = moxSpatialMoment(a.header(), 0, 0), width = moxCentralMoment(a.header(), 2, 0);
        onThreads([&](int i) {
            MoxImage own = *a.header();
            return sameBits(i % 2 == 0 ? moxSpatialMoment(&own, 0, 0) : moxCentralMoment(&own, 2, 0),
                            i % 2 == 0 ? mass : width);
        });
    }
}

TEST(StatThreads, comparisonsAndHistogramsShareTheirSource) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 75, 20), 1);
    const RefTable all = {{0, 100, 256}, {0, 0, 0}, {0, 0, 0}, 0};
    const RefTable wanted = refHistogram(image, 0, all);
    std::vector<std::unique_ptr<TestImage>> results;
    for (int i = 0; i < THREADS; ++i)
        results.push_back(std::make_unique<TestImage>(TestLayout::of(MOX_DEPTH_1U, 75, 20), 2));
    onThreads([&](int i) {
        RefTable table = all;
        MoxLUT record = recordOf(table), *pointer = &record;
        moxComputeHisto(image.header(), &pointer);
        const MoxStatus status = moxLessS(image.header(), 100, results[static_cast<size_t>(i)]->header());
        // As many bits are set as samples are below the constant.
        const double set = moxNorm(results[static_cast<size_t>(i)]->header(), nullptr, MOX_NORM_L1);
        return status == MOX_StatusNoError && table.value == wanted.value && set == wanted.value[0];
    });
}

TEST(StatThreads, failuresAreThoseOfTheThread) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1);
    onThreads([&](int i) {
        ReportRecorder reports;
        moxSetErrStatus(MOX_StatusNoError);
        if (i % 2 == 0) {
            return moxNorm(image.header(), nullptr, 3) == 0 && moxGetErrStatus() == MOX_StatusBadArgument &&
                   reports.are({{-5, "moxNorm", "Unknown normType"}});
        }
        return moxNorm(image.header(), nullptr, MOX_NORM_L1) > 0 && moxGetErrStatus() == MOX_StatusNoError &&
               reports.none();
    });
}

}  // namespace
