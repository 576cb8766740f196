// One example call of every exported function, and of element-wise operations the model too: what the tests that hold
// for all functions run through, and what the fuzz targets draw calls from. A new function is one entry in the table of
// its family, tests/table/<family>.cpp; a new family is such a file and its name in CMakeLists.txt.
//
//     for (const Example &example : allExamples()) {
//         ExampleCall call = {.images = {a, b, d}};       // as many as example.images says, the destination last
//         example.run(call);
//     }
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "mox.h"
#include "reference/operation.h"
#include "support/cases.h"

// The images of a call, and where its other arguments come from. Functions that take one image get the destination.
struct ExampleCall {
    MoxImage *images[3] = {};
    int count = 0;             // of images
    Random *random = nullptr;  // draws arguments; null gives the usual ones
    bool tilesAgree = false;   // draws only arguments with which tiled images give what plain ones give
    // What the function answers beside its images: it must be the same on tiles, at every level, at every time.
    std::vector<double> answers = {};

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

// How many tiles of an image are in hand at once, as MoxTileCallback has it.
enum class TilesInHand {
    ROW,    // a row of the image's tiles, and one more for each further part that it has in the call
    ONE,    // one for each part
    BLOCK,  // all that one of the largest tiles in the call touches
};

struct Example {
    const char *name;
    Touches touches;
    int images;
    std::function<void(ExampleCall &call)> run;
    struct More {
        unsigned depth = MOX_DEPTH_8U;    // of images that it accepts
        unsigned resultDepth = 0;         // of the last of them, if it is another
        int channels = 3;                 // of images that it accepts, bits aside
        const char *reportsAs = nullptr;  // what its reports name, where it becomes another function
        const char *within = nullptr;     // a function that it calls, whose report may stand alone
        bool quietMemory = false;         // memory that runs out is told by a null result alone
        bool releasesTiles = false;       // also after one that is not delivered; the others stay in hand
        bool tiledDiffers = false;        // results of 32F depend on the tiles
        bool byTiles = false;             // results of every depth do, and on bands: samples draw in their order
        bool tiledNearest = false;        // with some arguments, unless tilesAgree says no, tiles give something else
        bool processDraws = false;        // draws from the C library's generator, which all threads share
        bool tiledOneSize = false;        // refuses tiled images whose regions differ in size
        bool plainOnly = false;           // refuses tiled images
        TilesInHand tiles = TilesInHand::ROW;
        bool readsOnly = false;      // its images stay as they are: it answers numbers
        bool neighbours = false;     // a sample depends on others than the one in its place
        bool wholeImages = false;    // regions are refused or mean nothing
        bool sameSize = false;       // its images have one size
        int leaks = 0;               // blocks that stay behind, as promised, where memory runs out
        const char *tool = nullptr;  // the tool's word for an operation on pixels, if it is not toolName's
    } more = {};
    const RefOperation *point = nullptr;  // the model, where the operation is element-wise
    const char *family = nullptr;         // the name of the file that it stands in

    const char *reporter() const { return more.reportsAs ? more.reportsAs : name; }
};

// Whether images of a depth may come out otherwise in tiles.
inline bool differsInTiles(const Example &example, unsigned depth) {
    return example.more.byTiles || (example.more.tiledDiffers && depth == MOX_DEPTH_32F);
}

// The example of an element-wise operation, which must outlive it.
Example exampleOf(const RefOperation &operation);

// All entries of all families.
const std::vector<Example> &allExamples();

// The element-wise operations of a family, and any one by its name.
std::vector<RefOperation> pointOperations(const std::string &family);
const RefOperation &pointOperation(const std::string &name);

// "moxSubtractSFP" is "subtract-sfp" to the tool.
std::string toolName(const Example &example);

// A function's name as a number, by which fuzz inputs have it: it stays what it is when others come.
uint32_t exampleKey(const char *name);
// The example with a key. A key that is none of theirs gives one of them too, and mostly the same one when others come.
const Example &exampleOfKey(const std::vector<const Example *> &examples, uint32_t key);

// What a failing test calls its example.
inline void PrintTo(const Example &example, std::ostream *out) {
    *out << example.name;
}
