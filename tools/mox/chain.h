// A chain of operations on one picture: understood from words, then run.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bitmap.h"
#include "formats.h"
#include "operations.h"
#include "options.h"
#include "picture.h"

struct Region {
    int x;
    int y;
    int width;
    int height;
};

struct Size {
    int width;
    int height;
};

struct Point {
    int x;
    int y;
};

// What an option of the chain sets, from where it stands on.
enum class Setting { none, roi, coi, mask, from, depth, border };

// An operation, or a setting.
struct Step {
    const Operation *operation = nullptr;
    std::vector<Argument> arguments;
    std::string picture;  // the second picture or the mask, or empty

    Setting setting = Setting::none;
    std::optional<Region> roi;
    std::optional<Point> from;
    int coi = 0;
    unsigned depth = 0;
    int border = MOX_BORDER_REPLICATE;
    int borderValue = 0;
};

// What `mox run` is told.
struct RunRequest {
    std::string input;
    std::string output;  // empty: nothing is written
    OutputForm outputForm;
    std::vector<Step> steps;
    std::optional<Size> tiles;
    std::uint64_t memory = 0;  // bytes; 0 for what is usual
    bool planes = false;
    BitmapForm form;       // of bitmaps that are made
    bool hasForm = false;  // something of it was said

    // Of many pictures: the chain is run on each.
    bool isMany = false;
    std::vector<std::string> inputs;
    std::string folder;  // of the results; empty where nothing is written
    std::string format;  // as said, or empty for each picture's own
    int quality = 90;
    int jobs = 0;  // 0 for as many as there are processors
    bool resumes = false;
};

// What --memory says, in bytes; 0 where it was not given.
std::uint64_t memoryOf(const Words &words);

// Throws Failure for what makes no sense.
RunRequest understandRun(const Words &words);

// Throws Failure where a file is not there, or the result has no place to be in: all that can be seen before any work.
void checkFiles(const RunRequest &request, const std::string &folder);

// Reads, runs and writes. Returns what the operations print. Names of files are taken from folder, which is empty for
// where we are. Throws Failure; then nothing was written.
std::string runRequest(const RunRequest &request, const std::string &folder);
