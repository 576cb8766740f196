// Rows put together.
#include "rows.h"

std::vector<Row> allRows() {
    std::vector<Row> rows;
    addMoveRows(&rows);
    addArithmeticRows(&rows);
    addConstantRows(&rows);
    addRegionRows(&rows);
    addMaskRows(&rows);
    addTileRows(&rows);
    addBitRows(&rows);
    addFilterRows(&rows);
    addBitmapRows(&rows);
    addTransformRows(&rows);
    addLevelRows(&rows);
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
    row.level = -1;
    return row;
}

void addPlainRows(const char *subject, OperationGroup group, std::vector<Row> *rows) {
    for (const Operation &operation : allOperations()) {
        if (operation.group != group) continue;
        for (const int depth : operation.at) {
            if (depth == OWN_1U) continue;  // bits are a subject of their own
            for (const int size : SIZES) {
                Row row = makeRow(subject, operation, "", depth, size);
                if (size == LARGE && isSimple(operation, depth)) row.goal = {GOAL_SHARE, 0.85};
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
