// An element-wise operation as the tests know it: how it is called, and what one sample becomes. The entries stand in
// the tables of the families (tests/table); everything that is tested of all operations alike runs through them.
//
//     {.name = "moxAdd", .sources = 2, .call = pair<moxAdd>,
//      .bits = [](RefSample s) { return s.a | s.b; },
//      .whole = [](RefSample s) { return s.saturated(s.a + s.b); },
//      .real = [](RefSample s) { return refFloatAdd(s.a, s.b); }}
#pragma once

#include <cstdint>
#include <ostream>

#include "mox.h"

struct RefOperation;

// An operation with its constants. The float is a bit pattern, the shift an unsigned number in value.
struct RefCall {
    // An operation alone is a call of it.
    RefCall(const RefOperation &operation, int value_ = 0, bool flip_ = false, uint32_t floatBits_ = 0)
        : op(&operation), value(value_), flip(flip_), floatBits(floatBits_) {}
    const RefOperation *op;
    int value;
    bool flip;
    uint32_t floatBits;
};

// What an element is computed from: the sources' samples and the call's constants. Samples of integer depths are
// numbers, bits are 0 and 1, floats are bit patterns. An element's low bits are what is stored.
struct RefSample {
    unsigned depth;
    int64_t a, b;
    int64_t value;
    bool flip;
    uint32_t real;

    int bits() const { return static_cast<int>(depth & ~MOX_DEPTH_SIGN); }
    int64_t bit() const { return value & 1; }
    int64_t saturated(int64_t result) const;  // the nearest number that the depth has
};
using RefElement = int64_t (*)(RefSample sample);

// Sums and products of bit patterns. Of two NaN operands the first one is kept, quieted.
int64_t refFloatAdd(int64_t a, int64_t b);
int64_t refFloatSubtract(int64_t a, int64_t b);
int64_t refFloatMultiply(int64_t a, int64_t b);

// The constant that a call takes.
enum class RefConstant { NONE, INTEGER, SHIFT, REAL };

// At which depths an operation moves samples as moxCopy does, with its demands on the images and its reports.
enum class RefCopies { NEVER, UNSIGNED, ALWAYS };

struct RefOperation {
    const char *name;  // the exported function
    int sources;       // 1 or 2
    void (*call)(const RefCall &call, MoxImage *a, MoxImage *b, MoxImage *d);

    // What a sample becomes at depth 1U, at the integer depths, at 32F; null where images of that depth are refused.
    RefElement bits = nullptr, whole = nullptr, real = nullptr;

    RefConstant constant = RefConstant::NONE;
    int usual = 0;       // a constant with which the operation does something
    bool flips = false;  // may be told to change the operands' places

    bool testsNull = false;           // a null source is named, not an incorrect image
    const char *elsewhere = nullptr;  // the function that the refusal of other depths names
    unsigned exampleDepth = 0;        // one at which it does something: 8U, or 32F where it has no integers
    const char *becomes = nullptr;    // the function that it is at that depth, whose name its reports have
    unsigned ownDepth = 0;            // one at which it is itself, if it becomes another at some alone
    RefCopies copies = RefCopies::NEVER;

    RefElement element(unsigned depth) const {
        return depth == MOX_DEPTH_32F ? real : depth == MOX_DEPTH_1U ? bits : whole;
    }
    bool accepts(unsigned depth) const { return element(depth) != nullptr; }
    bool moves(unsigned depth) const;  // as moxCopy does
    unsigned usualDepth() const { return exampleDepth ? exampleDepth : whole ? MOX_DEPTH_8U : MOX_DEPTH_32F; }
};

// Calls of the shapes that most operations have.
template <void(MOX_CALL *function)(MoxImage *, MoxImage *, MoxImage *)>
void refPair(const RefCall &, MoxImage *a, MoxImage *b, MoxImage *d) {
    function(a, b, d);
}
template <void(MOX_CALL *function)(MoxImage *, MoxImage *)>
void refOne(const RefCall &, MoxImage *a, MoxImage *, MoxImage *d) {
    function(a, d);
}

// moxCopy, which other operations become here and there.
extern const RefOperation refCopy;

// What a failing test calls its operation.
inline void PrintTo(const RefOperation &operation, std::ostream *out) {
    *out << operation.name;
}
