// The rows of the benchmark: what each one measures, beside what, and what is expected of it.
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
    int level;                            // of the CPU, or -1 for the one in use
    Goal goal;
};

// Names read operation-layout/depth/size. Each subject adds its rows.
void addArithmeticRows(std::vector<Row> *rows);
void addBitmapRows(std::vector<Row> *rows);
void addBitRows(std::vector<Row> *rows);
void addCallRows(std::vector<Row> *rows);
void addConstantRows(std::vector<Row> *rows);
void addFilterRows(std::vector<Row> *rows);
void addLevelRows(std::vector<Row> *rows);
void addMaskRows(std::vector<Row> *rows);
void addMoveRows(std::vector<Row> *rows);
void addRegionRows(std::vector<Row> *rows);
void addTileRows(std::vector<Row> *rows);
void addTransformRows(std::vector<Row> *rows);

std::vector<Row> allRows();

// For the subjects: a row on plain images, and one of a layout beside another.
Row makeRow(const char *subject, const Operation &operation, const char *layoutName, int depthIndex, int size);
void addPlainRows(const char *subject, OperationGroup group, std::vector<Row> *rows);

constexpr int SIZES[] = {256, 1024, 4096};
constexpr int LARGE = 4096;

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

// Measures a row: rounds that time the operation, its reference and the forms of the limit in turn. Gives false where
// the operation reported a failure.
bool measureRow(const Row &row, int rounds, Result *result);
int usualRounds(const Row &row);
