// mox_bench: the rows as benchmarks.
//
//   mox_bench [--table] [--json=FILE] [--docs=FOLDER] [--level=base|v3|v4] [--rounds=N] [--benchmark_...]
//   mox_bench --report=FILE --docs=FOLDER     makes the page and its plot from a file of --json
//
// --benchmark_filter=REGEX picks rows by their names; with a leading '-' all others.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>

#include "rows.h"
#include "table.h"

namespace {

struct Options {
    bool table = false;
    int rounds = 0;
    std::string json, docs, report, filter, level;
};

bool takeText(const char *argument, const char *flag, std::string *value) {
    const size_t length = std::strlen(flag);
    if (std::strncmp(argument, flag, length) != 0 || argument[length] != '=') return false;
    *value = argument + length + 1;
    return true;
}

// Takes our flags out of the arguments and leaves the rest to Google Benchmark. The filter is ours, as the names of its
// rows have parts behind ours.
Options takeOptions(int *argc, char **argv) {
    Options options;
    int kept = 1;
    for (int i = 1; i < *argc; ++i) {
        std::string rounds;
        if (std::strcmp(argv[i], "--table") == 0) {
            options.table = true;
        } else if (takeText(argv[i], "--rounds", &rounds)) {
            options.rounds = std::max(std::atoi(rounds.c_str()), 1);
        } else if (!takeText(argv[i], "--json", &options.json) && !takeText(argv[i], "--docs", &options.docs) &&
                   !takeText(argv[i], "--report", &options.report) && !takeText(argv[i], "--level", &options.level) &&
                   !takeText(argv[i], "--benchmark_filter", &options.filter)) {
            argv[kept++] = argv[i];
        }
    }
    *argc = kept;
    return options;
}

bool useLevel(const std::string &name) {
    static constexpr const char *NAMES[OWN_LEVELS] = {"base", "v3", "v4"};
    for (int level = 0; level < OWN_LEVELS; ++level) {
        if (name == NAMES[level]) return ownForceCpuLevel(static_cast<OwnCpuLevel>(level));
    }
    return name.empty();
}

// False where the filter is no regular expression.
bool pickRows(const std::string &filter, std::vector<Row> *rows) {
    *rows = allRows();
    const bool negated = !filter.empty() && filter[0] == '-';
    try {
        const std::regex pattern(negated ? filter.substr(1) : filter, std::regex::extended);
        std::erase_if(*rows, [&](const Row &row) { return std::regex_search(row.name, pattern) == negated; });
    } catch (const std::regex_error &) {
        return false;
    }
    return true;
}

struct Outcome {
    std::vector<Result> results;
    bool failed = false;
};

// One iteration is all rounds of a row; its time is the median of a call. Of repetitions the last one is kept.
void runRow(benchmark::State &state, const Row &row, int rounds, Outcome *outcome) {
    Result result;
    for (auto _ : state) {
        if (!measureRow(row, rounds > 0 ? rounds : usualRounds(row), &result)) {
            outcome->failed = true;
            state.SkipWithError(moxErrorStr(moxGetErrStatus()));
            moxSetErrStatus(MOX_StatusNoError);
            return;
        }
        state.SetIterationTime(result.nsPerCall * 1e-9);
    }
    state.counters["ns/sample"] = result.nsPerSample;
    if (result.gbPerSecond > 0) state.counters["GB/s"] = result.gbPerSecond;
    if (result.share > 0) state.counters["limit"] = result.share;
    if (result.ratio > 0) state.counters["beside"] = result.ratio;
    if (!outcome->results.empty() && outcome->results.back().name == result.name) outcome->results.pop_back();
    outcome->results.push_back(result);
}

int makePage(const Options &options) {
    Facts facts;
    std::vector<Result> results;
    if (!readResults(options.report, &facts, &results)) {
        std::fprintf(stderr, "mox_bench: %s holds no results\n", options.report.c_str());
        return 1;
    }
    const std::string folder = options.docs.empty() ? "." : options.docs;
    if (writePage(folder, facts, results)) return 0;
    std::fprintf(stderr, "mox_bench: cannot write to %s\n", folder.c_str());
    return 1;
}

int runRows(const Options &options, const std::vector<Row> &rows) {
    Outcome outcome;
    const std::vector<Result> &results = outcome.results;
    for (const Row &row : rows) {
        benchmark::RegisterBenchmark(
            row.name.c_str(),
            [&row, &options, &outcome](benchmark::State &state) { runRow(state, row, options.rounds, &outcome); })
            ->Iterations(1)
            ->UseManualTime();
    }
    TableReporter table(results);
    if (options.table) {
        benchmark::RunSpecifiedBenchmarks(&table);
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    if (results.empty()) return outcome.failed ? 1 : 0;
    const Facts facts = machineFacts();
    bool written = true;
    if (!options.json.empty()) written = writeResults(options.json, facts, results);
    if (!options.docs.empty()) written = writePage(options.docs, facts, results) && written;
    if (!written) std::fprintf(stderr, "mox_bench: cannot write the results\n");
    return written && !outcome.failed ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    const Options options = takeOptions(&argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    if (!options.report.empty()) return makePage(options);

    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);
    if (!useLevel(options.level)) {
        std::fprintf(stderr, "mox_bench: this machine has no CPU level %s\n", options.level.c_str());
        return 2;
    }
    std::vector<Row> rows;
    if (!pickRows(options.filter, &rows)) {
        std::fprintf(stderr, "mox_bench: %s is no regular expression\n", options.filter.c_str());
        return 2;
    }
    return runRows(options, rows);
}
