// Every exported function on several threads at once, each with images of its own: all give what one thread gives. The
// threads come first, so that what a first call makes for all, they make together.
#include <atomic>
#include <thread>

#include "support/reports.h"
#include "table/tabletest.h"

namespace {

constexpr int THREADS = 4, ROUNDS = 3;

struct Outcome {
    std::vector<TestBytes> bytes;
    std::vector<double> answers;
    std::string reports;
    bool operator==(const Outcome &other) const = default;
};

Outcome outcomeOf(ExampleImages &images) {
    ReportRecorder reports;
    images.restore();
    images.run();
    return {images.bytes(), images.answers(), reports.text()};
}

class EveryFunctionOnThreads : public testing::TestWithParam<Example> {};

INSTANTIATE_TEST_SUITE_P(Table, EveryFunctionOnThreads, testing::ValuesIn(allExamples()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(EveryFunctionOnThreads, givesWhatOneThreadGives) {
    for (const ExampleForm form : formsOf(GetParam())) {
        SCOPED_TRACE(formName(form));
        std::vector<std::unique_ptr<ExampleImages>> images;
        for (int i = 0; i < THREADS; ++i)
            images.push_back(std::make_unique<ExampleImages>(GetParam(), form));
        std::vector<Outcome> outcomes(THREADS * ROUNDS);
        std::atomic<int> ready = 0;
        std::vector<std::thread> threads;
        for (size_t i = 0; i < THREADS; ++i) {
            threads.emplace_back([&, i] {
                // All begin together.
                for (++ready; ready < THREADS;)
                    std::this_thread::yield();
                for (size_t round = 0; round < ROUNDS; ++round)
                    outcomes[i * ROUNDS + round] = outcomeOf(*images[i]);
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        for (size_t i = 0; i < outcomes.size(); ++i) {
            const Outcome wanted = outcomeOf(*images[i / ROUNDS]);
            EXPECT_EQ(outcomes[i].reports, wanted.reports) << "thread " << i / ROUNDS;
            if (GetParam().more.processDraws) continue;
            EXPECT_TRUE(outcomes[i] == wanted) << "thread " << i / ROUNDS << ", round " << i % ROUNDS;
        }
    }
}

}  // namespace
