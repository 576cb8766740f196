// The rows of the benchmark: what each one measures, beside what, and what is expected of it.
//
// A new family of operations is a file with a table,
//
//   extern const Family measuresFamily;
//   const Family measuresFamily = {
//       "Measures",
//       {
//           {.operation = {.name = "norm", .at = NUMBERS, .call = norm, .measuresOnly = true}},
//           {.operation = {.name = "to-gray", .at = {OWN_8U}, .call = toGray, .destination = {.channels = 1}},
//            .layout = {.channels = 3}},
//           {.operation = {.name = "halve", .at = {OWN_8U}, .call = halve, .destination = {.scale = 0.5}},
//            .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 0.3}}}},
//       },
//   };
//
// a line in allFamilies (rows.cpp) and the file's name in CMakeLists.txt. An entry gives a row at each of its
// operation's depths and each of its sizes; what it leaves out is as `Entry` and `Operation` say. Whatever does not fit
// the images that a row has (a further image, a table), an operation's call makes once and keeps.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/owncpu.h"
#include "results.h"
#include "scene.h"

struct Row {
    std::string name;
    std::string subject;
    const Operation *operation;
    std::string layoutName;  // empty for plain images
    int depthIndex;
    int size;
    Layout layout;
    bool hasReference;
    Layout reference;                     // another layout, that this one is compared with
    const Operation *referenceOperation;  // in the other layout; null for the same one
    Goal goal;
    bool checked;  // its levels are compared by script/deep/check-levels
};

constexpr int SIZES[] = {256, 1024, 4096};
constexpr int SMALL = 256;
constexpr int LARGE = 4096;

struct EntryGoal {
    int depthIndex;  // -1 for all
    int size;        // 0 for all
    Goal goal;
};

// Rows of one operation and layout.
struct Entry {
    Operation operation;
    const char *layoutName = "";
    Layout layout = {};
    std::vector<int> sizes = {256, 1024, 4096};
    std::vector<EntryGoal> goals = {};
    bool hasReference = false;  // the same operation, or another one, in another layout
    Layout reference = {};
    const Operation *referenceOperation = nullptr;
    bool checked = true;  // the levels of the row of the smallest size are compared by script/deep/check-levels
};

struct Family {
    const char *subject;  // its title on the page
    std::vector<Entry> entries;
};
void addFamilyRows(const Family &family, std::vector<Row> *rows);

// Names read operation-layout/depth/size. Each subject adds its rows.
void addArithmeticRows(std::vector<Row> *rows);
void addBitRows(std::vector<Row> *rows);
void addCallRows(std::vector<Row> *rows);
void addConstantRows(std::vector<Row> *rows);
void addMaskRows(std::vector<Row> *rows);
void addMoveRows(std::vector<Row> *rows);
void addRegionRows(std::vector<Row> *rows);
void addTileRows(std::vector<Row> *rows);

std::vector<Row> allRows();

// For the subjects: a row on plain images, and one of a layout beside another.
Row makeRow(const char *subject, const Operation &operation, const char *layoutName, int depthIndex, int size);
void addPlainRows(const char *subject, OperationGroup group, std::vector<Row> *rows);

// What a plain operation that memory holds up reaches of the limit at the largest size.
constexpr Goal AT_THE_LIMIT = {GOAL_SHARE, 0.85, 0.8};

// A few operations and depths stand for all where a layout is measured: what differs between operations is measured on
// plain images.
const std::vector<const char *> &layoutOperations(bool brief);
const std::vector<int> &layoutDepths();

struct LayoutSubject {
    const char *subject;
    const char *name;
    Layout layout;
    Layout reference;
    bool hasReference;
    Goal goal;
    bool brief;  // copy, set, add and not only
};
void addLayoutRows(const LayoutSubject &subject, std::vector<Row> *rows);

// The levels that are measured, ascending.
using Levels = std::vector<OwnCpuLevel>;

// Measures a row at each level: rounds that time the operation and its reference at every level, and the forms of the
// limit, in turn. Gives false where the operation reported a failure.
bool measureRow(const Row &row, const Levels &levels, int rounds, std::vector<Result> *results);
int usualRounds(const Row &row);

// The goal at a level: that of v3 and above, or the baseline's.
Goal goalAt(const Row &row, OwnCpuLevel level);

// How long a row takes at a level, in units of the level below: the median of the rounds, and what three quarters of
// them exceed. And by how much a call is longer.
struct LevelStep {
    OwnCpuLevel level;
    double toLower;
    double surely;
    double moreNs;
};
bool compareLevels(const Row &row, const Levels &levels, int rounds, std::vector<LevelStep> *steps);

// Compares the levels of all rows that are marked for it, and prints those where a level is slower than the one below.
// Gives the number of them, or -1 where an operation failed.
int checkLevels(const std::vector<Row> &rows, const Levels &levels);
