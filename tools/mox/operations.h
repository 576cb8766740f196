// The table of operations. `mox list`, `mox run` and the gallery are made from it and from nothing else: a new
// operation is one more entry in the table of its family.
#pragma once

#include <mox.h>

#include <string>
#include <vector>

enum class ArgumentKind {
    integer,  // an int, decimal or 0x
    bits,     // as integer, but everything that 32 bits can hold: 0xFFFFFFFF too
    count,    // an unsigned
    real,     // a float
    samples,  // numbers separated by commas, one for each channel
    picture,  // a PNG file: the second image
    keyword   // an optional word, the argument's name itself
};

struct ArgumentSpec {
    ArgumentKind kind;
    const char *name;
};

struct Argument {
    int integer = 0;  // integer, count; 1 for a keyword that is there
    float real = 0;
    std::vector<double> samples;
    std::string text;  // as typed
};

// One operation at work. The picture is source A and destination in one, as the library allows.
struct Call {
    MoxImage *image;
    MoxImage *other;  // null where there is no second picture
    const std::vector<Argument> &arguments;
    std::string printed;  // for standard output
};

// A picture of the gallery: words as they follow `mox run PICTURE`, without the result's name.
struct Example {
    const char *caption;
    const char *words;
    const char *input = "picture.png";
};

struct Operation {
    const char *name;
    std::vector<ArgumentSpec> arguments;
    const char *help;
    void (*run)(Call *call);
    std::vector<Example> examples;
};

struct Family {
    const char *title;
    std::vector<Operation> operations;
};

const Family &movingFamily();    // opsmove.cpp
const Family &arithmeticPair();  // opsarith.cpp
const Family &arithmeticOne();   // opsarith.cpp
const Family &filterFamily();    // opsfilter.cpp

// All of them, in the order of the list.
const std::vector<const Family *> &families();

// Null for a name that is none.
const Operation *findOperation(const std::string &name);

// "subtract-s VALUE [flip]"
std::string usageOf(const Operation &operation);
