// The operations that are measured.
#pragma once

#include <string>
#include <vector>

#include "core/owncore.h"

// Those that work on one sample at a time are measured in many layouts; the others have a family's table of their own.
enum OperationGroup { GROUP_MOVE, GROUP_TWO, GROUP_CONSTANT, GROUP_FAMILY };

// How the destination differs from the row's depth, channels and size.
struct Form {
    int channels = 0;     // 0 for as many
    int depthIndex = -1;  // -1 for the same
    double scale = 1;     // of width and height
};

struct Operation {
    const char *name;
    OperationGroup group = GROUP_FAMILY;
    int sources = 1;           // images read, before the destination
    bool exchanges = false;    // the source is written as well
    std::vector<int> at = {};  // depth indices that it supports
    void (*call)(MoxImage *const *images) = nullptr;
    double written = 0;         // bytes, for each one that is read; 0 for what the destination has
    Form destination = {};      // of the image that is written
    bool measuresOnly = false;  // there is no destination
};

// Sets of depths.
inline const std::vector<int> EVERY = {OWN_1U, OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S, OWN_32F};
inline const std::vector<int> NUMBERS = {OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S, OWN_32F};
inline const std::vector<int> INTEGERS = {OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S};
inline const std::vector<int> INTEGERS_AND_BITS = {OWN_1U, OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S};

// All operations that work on one sample at a time.
const std::vector<Operation> &allOperations();
const Operation &findOperation(const char *name);
bool supports(const Operation &operation, int depthIndex);

// Whether the depth's form is one machine instruction a vector, or as good as that: such an operation can run at the
// speed of memory.
bool isSimple(const Operation &operation, int depthIndex);

unsigned depthCode(int depthIndex);
const char *depthName(int depthIndex);
