// The memory limit: the quickest way to move the bytes that an operation moves, and do nothing else.
#pragma once

#include <cstddef>
#include <cstdint>

// Which of the buffers a pass reads and writes. A pass that keeps reads its destination as well, as an operation does
// that leaves some samples of a cache line alone.
enum LimitShape {
    LIMIT_FILL,       // d
    LIMIT_COPY,       // a to d
    LIMIT_JOIN,       // a and b to d
    LIMIT_KEEP_FILL,  // d to d
    LIMIT_KEEP_COPY,  // a and d to d
    LIMIT_KEEP_JOIN,  // a, b and d to d
    LIMIT_SWAP,       // a and d to each other
    LIMIT_READ,       // a, to nowhere
    LIMIT_READ_TWO,   // a and b, to nowhere
    LIMIT_SHAPES
};

// The bytes of an operation: as many in each of its buffers, and a mask that is only read.
struct Traffic {
    LimitShape shape;
    size_t bytes;
    size_t maskBytes;
};

// All bytes read and written.
double limitBytes(const Traffic &traffic);

struct LimitBuffers {
    uint8_t *a, *b, *d;  // on cache lines
    const uint8_t *mask;
};

// The ways to move the bytes of a shape; form counts from 0 to limitForms() - 1. False where the shape has no such
// form.
int limitForms();
const char *limitFormName(int form);
bool limitHasForm(LimitShape shape, int form);
void limitPass(const Traffic &traffic, const LimitBuffers &buffers, int form);
