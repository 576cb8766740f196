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
};

struct Result {
    std::string name, subject, operation, layout, depth;
    int size = 0;
    double nsPerCall = 0, nsPerSample = 0, gbPerSecond = 0;
    double share = 0;  // of the memory limit: 1 is the limit's speed. 0 where there is none
    double ratio = 0;  // to the reference's time, 0 where there is none
    std::string limitForm;
    Goal goal;
};

bool isMet(const Result &result);
std::string goalText(const Goal &goal);

// The machine and the build, as names and values.
using Facts = std::vector<std::pair<std::string, std::string>>;
Facts machineFacts();

bool writeResults(const std::string &path, const Facts &facts, const std::vector<Result> &results);
// Reads files of writeResults, and no other JSON.
bool readResults(const std::string &path, Facts *facts, std::vector<Result> *results);

// Writes performance.md and performance.svg into a folder.
bool writePage(const std::string &folder, const Facts &facts, const std::vector<Result> &results);
bool writePlot(const std::string &path, const std::vector<Result> &results);
