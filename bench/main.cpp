// mox_bench: the rows as benchmarks, each at every CPU level that the machine has.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>

#include "rows.h"
#include "table.h"

namespace {

constexpr const char *HELP =
    R"(mox_bench [--table] [--json=FILE] [--docs[=FOLDER]] [--level=base|v3|v4] [--rounds=N] [--benchmark_...]
    measures the rows at each CPU level, or at one of them
mox_bench --check-levels
    names the rows that are slower at a level than at the level below it, beyond noise; fails if there are any
mox_bench --report=FILE --docs[=FOLDER]
    makes the page and its plot from a file of --json

  --table                    prints a compact table with goals
  --json=FILE                writes the results
  --docs[=FOLDER]            writes performance.md and performance.svg there, or in docs
  --rounds=N                 rounds of a row, instead of 9 to 25
  --benchmark_filter=REGEX   picks rows by their names, operation-layout/depth/size; with a leading '-' all others
)";

struct Options {
    bool help = false, table = false, check = false;
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
        if (std::strcmp(argv[i], "--help") == 0) {
            options.help = true;
        } else if (std::strcmp(argv[i], "--table") == 0) {
            options.table = true;
        } else if (std::strcmp(argv[i], "--check-levels") == 0) {
            options.check = true;
        } else if (std::strcmp(argv[i], "--docs") == 0) {
            options.docs = "docs";
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

// The levels to measure: the one of this name, or all. None where the machine or the build does not have it.
Levels pickLevels(const std::string &name) {
    Levels levels;
    for (int level = 0; level <= ownHighestCpuLevel(); ++level) {
        if (name.empty() || name == LEVEL_NAMES[level]) levels.push_back(static_cast<OwnCpuLevel>(level));
    }
    return levels;
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
    std::vector<Result> row;  // of the row that was measured last, its levels not yet told
    bool failed = false;
};

// A row has one benchmark for each level; the first of them measures all, round by round in turn, and every one tells
// its own. Of repetitions the last one is kept.
const Result *findResult(const Row &row, OwnCpuLevel level, const Levels &levels, int rounds, Outcome *outcome) {
    const auto find = [&]() -> const Result * {
        for (const Result &result : outcome->row) {
            if (result.name == row.name && result.level == LEVEL_NAMES[level]) return &result;
        }
        return nullptr;
    };
    const Result *result = find();
    const bool told = !outcome->results.empty() && result && outcome->results.back().name == result->name &&
                      outcome->results.back().level == result->level;
    if (result && !told) return result;
    if (!measureRow(row, levels, rounds > 0 ? rounds : usualRounds(row), &outcome->row)) return nullptr;
    return find();
}

// One iteration is all rounds of a row; its time is the median of a call.
void runRow(benchmark::State &state, const Row &row, OwnCpuLevel level, const Levels &levels, int rounds,
            Outcome *outcome) {
    Result result;
    for (auto _ : state) {
        const Result *found = findResult(row, level, levels, rounds, outcome);
        if (!found) {
            outcome->failed = true;
            state.SkipWithError(moxErrorStr(moxGetErrStatus()));
            moxSetErrStatus(MOX_StatusNoError);
            return;
        }
        result = *found;
        state.SetIterationTime(result.nsPerCall * 1e-9);
    }
    state.counters["ns/sample"] = result.nsPerSample;
    if (result.gbPerSecond > 0) state.counters["GB/s"] = result.gbPerSecond;
    if (result.share > 0) state.counters["limit"] = result.share;
    if (result.ratio > 0) state.counters["beside"] = result.ratio;
    if (result.toLower > 0) state.counters["to lower"] = result.toLower;
    std::vector<Result> &results = outcome->results;
    if (!results.empty() && results.back().name == result.name && results.back().level == result.level)
        results.pop_back();
    results.push_back(result);
}

int makePage(const Options &options) {
    Facts facts;
    std::vector<Result> results;
    if (!readResults(options.report, &facts, &results)) {
        std::fprintf(stderr, "mox_bench: %s holds no results\n", options.report.c_str());
        return 1;
    }
    if (writePage(options.docs.empty() ? "." : options.docs, facts, results)) return 0;
    std::fprintf(stderr, "mox_bench: cannot write the page\n");
    return 1;
}

int runRows(const Options &options, const std::vector<Row> &rows, const Levels &levels) {
    Outcome outcome;
    const std::vector<Result> &results = outcome.results;
    for (const Row &row : rows) {
        for (const OwnCpuLevel level : levels) {
            const auto run = [&, level](benchmark::State &state) {
                runRow(state, row, level, levels, options.rounds, &outcome);
            };
            benchmark::RegisterBenchmark((row.name + "/" + LEVEL_NAMES[level]).c_str(), run)
                ->Iterations(1)
                ->UseManualTime();
        }
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
    if (options.help) {
        std::printf("%s", HELP);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    if (!options.report.empty()) return makePage(options);

    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);
    const Levels levels = pickLevels(options.level);
    if (levels.empty()) {
        std::fprintf(stderr, "mox_bench: there is no CPU level %s here; there are base to %s\n", options.level.c_str(),
                     LEVEL_NAMES[ownHighestCpuLevel()]);
        return 2;
    }
    std::vector<Row> rows;
    if (!pickRows(options.filter, &rows)) {
        std::fprintf(stderr, "mox_bench: %s is no regular expression\n", options.filter.c_str());
        return 2;
    }
    if (options.check) return checkLevels(rows, levels) == 0 ? 0 : 1;
    return runRows(options, rows, levels);
}
