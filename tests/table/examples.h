// One example call of every exported function: what the tests that hold for all of them run through, and what the fuzz
// targets draw calls from. A new function takes a line in examples.cpp.
//
//     for (const Example &example : allExamples()) {
//         ExampleCall call = {.images = {a, b, d}};       // as many as example.images says, the destination last
//         example.run(call);
//     }
#pragma once

#include <ostream>
#include <vector>

#include "mox.h"
#include "support/cases.h"

// The images of a call, and where its other arguments come from. Functions that take one image get the destination.
struct ExampleCall {
    MoxImage *images[3] = {};
    int count = 0;             // of images
    Random *random = nullptr;  // draws arguments; null gives the usual ones

    MoxImage *a() { return images[0]; }
    MoxImage *b() { return images[1]; }
    MoxImage *src() { return images[0]; }
    MoxImage *dst() { return images[count - 1]; }

    int number(int usual);               // any int
    int size(int usual);                 // a number of rows or columns, an offset: small, and now and then negative
    float real(float usual);             // any float
    int choice(int usual, int choices);  // mostly from 0 to choices - 1
};

enum class Touches {
    NOTHING,  // no image
    HEADERS,  // headers, masks and regions; of pixels its own copy at most
    PIXELS,   // an operation on the pixels of its images
    BITMAPS,  // the pixels of an image, to or from a bitmap
};

struct Example {
    const char *name;
    Touches touches;
    int images;
    void (*run)(ExampleCall &call);
    struct More {
        unsigned depth = MOX_DEPTH_8U;    // of images that it accepts
        const char *reportsAs = nullptr;  // what its reports name, where it becomes another function
        const char *within = nullptr;     // a function that it calls, whose report may stand alone
        bool quietMemory = false;         // memory that runs out is told by a null result alone
        bool releasesTiles = false;       // also after one that is not delivered; the others stay in hand
        bool tiledDiffers = false;        // results of 32F depend on the tiles
        bool plainOnly = false;           // refuses tiled images
        int leaks = 0;                    // blocks that stay behind, as promised, where memory runs out
    } more = {};

    const char *reporter() const { return more.reportsAs ? more.reportsAs : name; }
};

const std::vector<Example> &allExamples();

// What a failing test calls its example.
inline void PrintTo(const Example &example, std::ostream *out) {
    *out << example.name;
}
