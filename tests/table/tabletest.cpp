// What holds for every exported function, by the table of example calls: the table is complete, every call succeeds,
// and where memory or a tile is refused, each one in turn, it says so, gives back what it has and writes nothing else.
#include "table/tabletest.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "reference/reference.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// The leak that is promised must not fail the run under the sanitizer.
class LeaksAllowed {
  public:
#ifdef __SANITIZE_ADDRESS__
    explicit LeaksAllowed(bool allowed) : allowed_(allowed) {
        if (allowed_) __lsan_disable();
    }
    ~LeaksAllowed() {
        if (allowed_) __lsan_enable();
    }

  private:
    bool allowed_;
#else
    explicit LeaksAllowed(bool) {}
    ~LeaksAllowed() {}
#endif
};

std::multiset<std::string> namesIn(const std::string &name) {
    std::multiset<std::string> names;
    std::ifstream file(std::string(MOX_SOURCE_FOLDER) + "/" + name);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("mox", 0) == 0) names.insert(line);
    }
    return names;
}

TEST(ExampleTable, hasEveryExportedFunctionOnce) {
    const std::multiset<std::string> exported = namesIn("src/exports.txt");
    ASSERT_FALSE(exported.empty());
    std::multiset<std::string> named;
    for (const Example &example : allExamples())
        named.insert(example.name);
    for (const std::string &name : exported)
        EXPECT_EQ(named.count(name), 1u) << name << ": src/exports.txt has it; give it one entry in tests/table";
    for (const std::string &name : named)
        EXPECT_EQ(exported.count(name), 1u) << name << ": tests/table has it, src/exports.txt does not";
}

// Fuzz inputs have functions by their keys.
TEST(ExampleTable, namesHaveKeysOfTheirOwn) {
    std::map<uint32_t, std::string> keys;
    for (const std::string &name : namesIn("tests/api/contract_names.txt")) {
        const auto [place, isNew] = keys.emplace(exampleKey(name.c_str()), name);
        EXPECT_TRUE(isNew) << name << " and " << place->second << " have one key";
    }
    EXPECT_FALSE(keys.empty());
    std::vector<const Example *> examples;
    for (const Example &example : allExamples())
        examples.push_back(&example);
    for (const Example &example : allExamples())
        EXPECT_STREQ(exampleOfKey(examples, exampleKey(example.name)).name, example.name);
}

// A depth without a model is one that is refused.
TEST(ExampleTable, operationsRefuseTheDepthsThatHaveNoModel) {
    for (const Example &example : allExamples()) {
        if (!example.point) continue;
        for (unsigned depth : allDepths) {
            SCOPED_TRACE(std::string(example.name) + " " + depthName(depth));
            TestImage a(TestLayout::of(depth, 8, 8), 1), b(TestLayout::of(depth, 8, 8), 2),
                d(TestLayout::of(depth, 8, 8), 3);
            const TestBytes before = d.bytes();
            ReportRecorder reports;
            refRunLibraryOn({*example.point, example.point->usual}, a.header(), b.header(), d.header());
            EXPECT_EQ(reports.seen.empty(), example.point->accepts(depth)) << reports.text();
            if (!example.point->accepts(depth)) {
                EXPECT_TRUE(d.holds(before));
            }
        }
    }
}

class EveryFunction : public testing::TestWithParam<Example> {
  protected:
    // Runs the body with images of each form, and with what they hold after a call that succeeds.
    template <typename Body>
    void forEachForm(Body body) {
        for (const ExampleForm form : formsOf(GetParam())) {
            SCOPED_TRACE(formName(form));
            ExampleImages images(GetParam(), form);
            {
                ReportRecorder reports;
                images.run();
            }
            const std::vector<TestBytes> after = images.bytes();
            images.restore();
            body(images, form, after);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Table, EveryFunction, testing::ValuesIn(allExamples()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(EveryFunction, succeedsAsInTheExample) {
    forEachForm([](ExampleImages &images, ExampleForm form, const std::vector<TestBytes> &after) {
        const bool changes = images.bytes() != after;
        if (GetParam().touches == Touches::PIXELS) {
            EXPECT_EQ(changes, !GetParam().more.readsOnly) << (changes ? "it writes" : "the example does nothing");
        }
        const std::vector<double> answers = images.answers();
        EXPECT_TRUE(!GetParam().more.readsOnly || !answers.empty()) << "the example tells nothing";
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        images.run();
        window.close();
        EXPECT_EQ(images.answers(), answers) << "a second call answers something else";
        EXPECT_EQ(window.live(), 0) << "blocks are left";
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(log.paired());
        if (form == ExampleForm::TILED && GetParam().touches == Touches::PIXELS) {
            EXPECT_GT(log.requests, 0);
        }
        EXPECT_TRUE(images.headersAreUntouched());
        EXPECT_EQ(images.bytes(), after) << "a second call gives something else";
    });
}

// The last report names the function, and the status word says what happened, unless the report is a step back (-1),
// which is not stored.
void expectReport(const Example &example, const ReportRecorder &reports) {
    ASSERT_FALSE(reports.seen.empty()) << "no report";
    const std::string last = reports.seen.back().function;
    EXPECT_TRUE(last == example.reporter() || (example.more.within && last == example.more.within)) << reports.text();
    EXPECT_TRUE(moxGetErrStatus() < 0 || reports.seen.back().status == MOX_StatusBacktrace) << reports.text();
}

TEST_P(EveryFunction, toldOfMemoryThatIsRefused) {
    const bool quiet = GetParam().more.quietMemory;
    forEachForm([&](ExampleImages &images, ExampleForm, const std::vector<TestBytes> &after) {
        for (int failAt = 1;; ++failAt) {
            ASSERT_LT(failAt, 500);
            SCOPED_TRACE("allocation " + std::to_string(failAt));
            ReportRecorder reports;
            TileLog log;
            LeaksAllowed leaks(GetParam().more.leaks > 0);
            AllocationWindow window(failAt);
            images.run();
            window.close();
            if (!window.refused()) break;
            EXPECT_LE(window.live(), GetParam().more.leaks) << "blocks are left";
            EXPECT_TRUE(log.clean());
            if (quiet) {
                // A mask's pixels report for themselves.
                for (const ReportSeen &report : reports.seen)
                    EXPECT_EQ(report.function, "moxAllocateImage") << reports.text();
            } else {
                expectReport(GetParam(), reports);
            }
            images.abandonTiles();
            EXPECT_TRUE(images.headersAreUntouched());
            EXPECT_TRUE(images.areBetween(after));
            images.restore();
            if (HasFailure()) return;
        }
    });
}

TEST_P(EveryFunction, toldOfATileThatIsRefused) {
    if (GetParam().touches == Touches::NOTHING) return;
    forEachForm([&](ExampleImages &images, ExampleForm form, const std::vector<TestBytes> &after) {
        if (form != ExampleForm::TILED) return;
        for (int refuseAt = 1;; ++refuseAt) {
            ASSERT_LT(refuseAt, 1000);
            SCOPED_TRACE("tile request " + std::to_string(refuseAt));
            ReportRecorder reports;
            TileLog log(refuseAt);
            AllocationWindow window;
            images.run();
            window.close();
            EXPECT_EQ(window.live(), 0) << "blocks are left";
            if (!log.refused()) break;
            EXPECT_TRUE(log.clean());
            if (GetParam().more.releasesTiles) {
                EXPECT_TRUE(log.paired());
            }
            expectReport(GetParam(), reports);
            images.abandonTiles();
            EXPECT_TRUE(images.headersAreUntouched());
            EXPECT_TRUE(images.areBetween(after));
            images.restore();
            if (HasFailure()) return;
        }
    });
}

}  // namespace
