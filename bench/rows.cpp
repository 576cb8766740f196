// Rows put together.
#include "rows.h"

#include <algorithm>

extern const Family alphaFamily, colorFamily, depthFamily, filterFamily, rankFamily, bitmapFamily, geometryFamily,
    transformFamily, measuresFamily, synthFamily;

namespace {

// The families that have tables, in the order of the page.
const Family *const allFamilies[] = {&alphaFamily,  &colorFamily,    &depthFamily,     &filterFamily,   &rankFamily,
                                     &bitmapFamily, &geometryFamily, &transformFamily, &measuresFamily, &synthFamily};

Goal entryGoal(const Entry &entry, int depth, int size) {
    for (const EntryGoal &goal : entry.goals) {
        if ((goal.depthIndex < 0 || goal.depthIndex == depth) && (goal.size == 0 || goal.size == size))
            return goal.goal;
    }
    return {};
}

}  // namespace

std::vector<Row> allRows() {
    std::vector<Row> rows;
    addMoveRows(&rows);
    addArithmeticRows(&rows);
    addConstantRows(&rows);
    addRegionRows(&rows);
    addMaskRows(&rows);
    addTileRows(&rows);
    addBitRows(&rows);
    for (const Family *family : allFamilies)
        addFamilyRows(*family, &rows);
    addCallRows(&rows);
    return rows;
}

Row makeRow(const char *subject, const Operation &operation, const char *layoutName, int depthIndex, int size) {
    Row row = {};
    row.name = operation.name;
    if (*layoutName != 0) row.name += std::string("-") + layoutName;
    row.name += std::string("/") + depthName(depthIndex) + "/" + std::to_string(size);
    row.subject = subject;
    row.operation = &operation;
    row.layoutName = layoutName;
    row.depthIndex = depthIndex;
    row.size = size;
    row.checked = size == SMALL;
    return row;
}

void addFamilyRows(const Family &family, std::vector<Row> *rows) {
    for (const Entry &entry : family.entries) {
        for (const int depth : entry.operation.at) {
            for (const int size : entry.sizes) {
                Row row = makeRow(family.subject, entry.operation, entry.layoutName, depth, size);
                row.layout = entry.layout;
                row.hasReference = entry.hasReference;
                row.reference = entry.reference;
                row.referenceOperation = entry.referenceOperation;
                row.goal = entryGoal(entry, depth, size);
                row.checked = entry.checked && size == *std::min_element(entry.sizes.begin(), entry.sizes.end());
                rows->push_back(row);
            }
        }
    }
}

void addPlainRows(const char *subject, OperationGroup group, std::vector<Row> *rows) {
    for (const Operation &operation : allOperations()) {
        if (operation.group != group) continue;
        for (const int depth : operation.at) {
            if (depth == OWN_1U) continue;  // bits are a subject of their own
            for (const int size : SIZES) {
                Row row = makeRow(subject, operation, "", depth, size);
                if (size == LARGE && isSimple(operation, depth)) row.goal = AT_THE_LIMIT;
                row.checked = true;
                rows->push_back(row);
            }
        }
    }
}

const std::vector<const char *> &layoutOperations(bool brief) {
    static const std::vector<const char *> few = {"copy", "set", "add", "not"};
    static const std::vector<const char *> names = {"copy", "set",   "exchange",   "add", "multiply",
                                                    "and",  "add-s", "multiply-s", "not"};
    return brief ? few : names;
}

const std::vector<int> &layoutDepths() {
    static const std::vector<int> depths = {OWN_8U, OWN_16S, OWN_32F};
    return depths;
}

void addLayoutRows(const LayoutSubject &of, std::vector<Row> *rows) {
    for (const char *name : layoutOperations(of.brief)) {
        const Operation &operation = findOperation(name);
        for (const int depth : layoutDepths()) {
            if (!supports(operation, depth)) continue;
            for (const int size : SIZES) {
                Row row = makeRow(of.subject, operation, of.name, depth, size);
                row.layout = of.layout;
                row.hasReference = of.hasReference;
                row.reference = of.reference;
                row.goal = of.goal;
                rows->push_back(row);
            }
        }
    }
}

Goal goalAt(const Row &row, OwnCpuLevel level) {
    Goal goal = row.goal;
    if (level == OWN_LEVEL_BASE) goal.bound = goal.atBase;
    if (goal.bound <= 0) return {};
    return goal;
}
