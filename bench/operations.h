// The operations that are measured.
#pragma once

#include <string>
#include <vector>

#include "core/owncore.h"

enum OperationGroup { GROUP_MOVE, GROUP_TWO, GROUP_CONSTANT, GROUP_FILTER };

struct Operation {
    const char *name;
    OperationGroup group;
    int sources;          // images read, before the destination
    bool exchanges;       // the source is written as well
    std::vector<int> at;  // depth indices that it supports
    void (*call)(MoxImage *const *images);
    double written = 1;  // bytes, for each one that is read
};

// All operations that work on one sample at a time.
const std::vector<Operation> &allOperations();
const Operation &findOperation(const char *name);
bool supports(const Operation &operation, int depthIndex);

// Whether the depth's form is one machine instruction a vector, or as good as that: such an operation can run at the
// speed of memory.
bool isSimple(const Operation &operation, int depthIndex);

unsigned depthCode(int depthIndex);
const char *depthName(int depthIndex);
