// What has been measured: kept, written as JSON and read again.
#pragma once

#include <string>
#include <utility>
#include <vector>

enum GoalKind {
    GOAL_NONE,
    GOAL_SHARE,          // of the memory limit, at least
    GOAL_RATIO,          // to the reference's time, at most
    GOAL_NS_PER_SAMPLE,  // at most
    GOAL_NS_PER_CALL     // at most
};

struct Goal {
    GoalKind kind = GOAL_NONE;
    double bound = 0;
    double atBase = 0;  // the bound at the baseline; 0 where it has none
};

// A row at one CPU level. The results of a row follow one another, levels ascending.
struct Result {
    std::string name, subject, operation, layout, depth, level;
    int size = 0;
    double nsPerCall = 0, nsPerSample = 0, gbPerSecond = 0;
    double share = 0;    // of the memory limit: 1 is the limit's speed. 0 where there is none
    double ratio = 0;    // to the reference's time, 0 where there is none
    double toLower = 0;  // its time in units of the time at the level below; 0 at the lowest level
    std::string limitForm;
    Goal goal;  // at this level
};

bool isMet(const Result &result);
std::string goalText(const Goal &goal);

// The names of the CPU levels, by their numbers. An unknown name has the number -1.
constexpr const char *LEVEL_NAMES[] = {"base", "v3", "v4"};
int levelNumber(const std::string &name);

// A level is slower than the one below where it takes longer by more than what chance makes of equal speeds: rows that
// one run finds at 1.05 to 1.07, with a spread of 0.01 between its rounds, are equal in the next.
constexpr double SLOWER = 1.08;
// The baseline may take so many times what v3 takes; beyond it a sentence has to say why.
constexpr double SLOW_BASE = 3;
bool isBaseSlow(const Result &atV3);
// The sentence for a row of this name; null where there is none.
const char *whyBaseIsSlow(const std::string &name);

// The machine and the build, as names and values.
using Facts = std::vector<std::pair<std::string, std::string>>;
Facts machineFacts();

bool writeResults(const std::string &path, const Facts &facts, const std::vector<Result> &results);
// Reads files of writeResults, and no other JSON.
bool readResults(const std::string &path, Facts *facts, std::vector<Result> *results);

// Writes performance.md and performance.svg into a folder.
bool writePage(const std::string &folder, const Facts &facts, const std::vector<Result> &results);
bool writePlot(const std::string &path, const std::vector<Result> &results);
