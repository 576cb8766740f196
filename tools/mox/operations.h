// The table of operations. `mox list`, `mox run` and the gallery are made from it and from nothing else: a new
// operation is one more entry in the table of its family.
#pragma once

#include <mox.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "bitmap.h"

enum class ArgumentKind {
    integer,  // an int, decimal or 0x
    bits,     // as integer, but everything that 32 bits can hold: 0xFFFFFFFF too
    count,    // an unsigned
    real,     // a float
    samples,  // numbers separated by commas, one for each channel
    picture,  // a file: the second image
    layer,    // the same, but its opacities count: the first image gets some, too, if only the second has them
    depth,    // "8u" and its like
    dither,   // "fs" and its like
    word,     // any, which the operation looks at
    keyword   // an optional word, the argument's name itself
};

struct ArgumentSpec {
    ArgumentKind kind;
    const char *name;
    int low = std::numeric_limits<int>::min();  // of an integer
    int high = std::numeric_limits<int>::max();
};

struct Argument {
    int integer = 0;  // integer, count, dither; 1 for a keyword that is there
    unsigned depth = 0;
    float real = 0;
    std::vector<double> samples;
    std::string text;  // as typed
};

// One operation at work. The picture is source A and destination in one, where the library allows it.
struct Call {
    MoxImage *image;
    MoxImage *other;  // null where there is no second picture
    const std::vector<Argument> &arguments;
    std::string printed;  // for standard output

    // An image that looks the same, with the same region, channel of interest and mask, at a depth and with channels of
    // its own. The last one asked for is what the operation leaves.
    std::function<MoxImage *(unsigned depth, int channels)> another;

    // A black image of another size that is otherwise alike. The last one asked for is what the operation leaves. Null
    // where the size has to stay: a region, a channel of interest or a mask says which part of the picture is worked
    // on.
    std::function<MoxImage *(int width, int height)> canvas;

    const BitmapForm &form;  // of bitmaps
    Bitmap bitmap;           // what the operation leaves, if there are bytes
};

// A picture of the gallery: words as they follow `mox run PICTURE`, without the result's name.
struct Example {
    std::string caption;
    std::string words;
    std::string input = "picture.png";
    std::string ending = ".png";  // of the result's name
};

struct Operation {
    const char *name;
    std::vector<ArgumentSpec> arguments;
    const char *help;
    void (*run)(Call *call);
    std::vector<Example> examples;
    void (*check)(const std::vector<Argument> &arguments) = nullptr;  // throws Failure for words that make no sense
};

struct Family {
    const char *title;
    std::vector<Operation> operations;
};

const Family &everydayFamily();    // opsnames.cpp
const Family &movingFamily();      // opsmove.cpp
const Family &arithmeticPair();    // opsarith.cpp
const Family &arithmeticOne();     // opsarith.cpp
const Family &alphaFamily();       // opsalpha.cpp
const Family &colorModelFamily();  // opscolormodels.cpp
const Family &filterFamily();      // opsfilter.cpp
const Family &geometryFamily();    // opsgeometry.cpp
const Family &findingFamily();     // opsfind.cpp
const Family &rankFamily();        // opsfilterrank.cpp
const Family &transformFamily();   // opstransform.cpp
const Family &depthFamily();       // opsdepth.cpp
const Family &comparisonFamily();  // opsmeasure.cpp
const Family &measureFamily();     // opsmeasure.cpp
const Family &bitmapFamily();      // opsbitmap.cpp
const Family &synthFamily();       // opssynth.cpp

// All of them, in the order of the list.
const std::vector<const Family *> &families();

// Null for a name that is none.
const Operation *findOperation(const std::string &name);

// "subtract-s VALUE [flip]"
std::string usageOf(const Operation &operation);
