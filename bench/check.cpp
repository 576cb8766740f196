// Whether any level is slower than the one below it, beyond the noise of the run.
#include <algorithm>
#include <cstdio>

#include "rows.h"

namespace {

// Rounds of a row, and of one whose images are large: its single calls are as long as many of the others.
constexpr int ROUNDS = 11, LARGE_ROUNDS = 7;
// A suspicious row is measured anew, longer and on images opened anew; it is slower if it is so every time.
constexpr int REPEATS = 3, LONGER = 2;

int roundsOf(const Row &row) {
    return row.size < LARGE ? ROUNDS : LARGE_ROUNDS;
}
// In the shortest calls the place at which a level's copy of a function happens to stand makes a difference of this
// much, one way or the other.
constexpr double CHANCE_NS = 5;

// The run's noise is in the spread of the rounds: three quarters of them have to agree.
bool isSlower(const LevelStep &step) {
    return step.toLower > SLOWER && step.surely > 1 && step.moreNs > CHANCE_NS;
}

const LevelStep *findStep(const std::vector<LevelStep> &steps, OwnCpuLevel level) {
    const auto found =
        std::find_if(steps.begin(), steps.end(), [&](const LevelStep &step) { return step.level == level; });
    return found == steps.end() ? nullptr : &*found;
}

// Leaves the steps that were slower every time, each with its smallest quotient.
bool repeatRow(const Row &row, const Levels &levels, std::vector<LevelStep> *slower) {
    std::vector<LevelStep> again;
    for (int repeat = 0; repeat < REPEATS && !slower->empty(); ++repeat) {
        if (!compareLevels(row, levels, LONGER * roundsOf(row), &again)) return false;
        std::erase_if(*slower, [&](LevelStep &step) {
            const LevelStep *other = findStep(again, step.level);
            if (!other || !isSlower(*other)) return true;
            if (other->toLower < step.toLower) step = *other;
            return false;
        });
    }
    return true;
}

// The steps of a row that are slower than the level below. False where the operation fails.
bool slowerSteps(const Row &row, const Levels &levels, std::vector<LevelStep> *slower, std::vector<double> *spreads) {
    if (!compareLevels(row, levels, roundsOf(row), slower)) return false;
    for (const LevelStep &step : *slower)
        spreads->push_back(step.toLower - step.surely);
    std::erase_if(*slower, [](const LevelStep &step) { return !isSlower(step); });
    return repeatRow(row, levels, slower);
}

}  // namespace

int checkLevels(const std::vector<Row> &rows, const Levels &levels) {
    int found = 0, compared = 0;
    std::vector<double> spreads;
    for (const Row &row : rows) {
        if (!row.checked) continue;
        std::vector<LevelStep> slower;
        if (!slowerSteps(row, levels, &slower, &spreads)) {
            std::printf("%s fails: %s\n", row.name.c_str(), moxErrorStr(moxGetErrStatus()));
            return -1;
        }
        ++compared;
        for (const LevelStep &step : slower) {
            std::printf("%-34s %s takes %.2f times what %s takes; three quarters of the rounds, %.2f\n",
                        row.name.c_str(), LEVEL_NAMES[step.level], step.toLower, LEVEL_NAMES[step.level - 1],
                        step.surely);
            std::fflush(stdout);
        }
        found += static_cast<int>(slower.size());
    }
    std::sort(spreads.begin(), spreads.end());
    std::printf("%d rows at %zu levels, usual spread %.3f: %d slower than the level below\n", compared, levels.size(),
                spreads.empty() ? 0 : spreads[spreads.size() / 2], found);
    return found;
}
