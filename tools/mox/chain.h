// A chain of operations on one picture: understood from words, then run.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bitmap.h"
#include "operations.h"
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

// What `mox run` is told.
struct RunRequest {
    std::string input;
    std::string output;  // empty: nothing is written
    std::vector<std::string> words;
    std::optional<Region> roi;
    int coi = 0;
    std::string mask;  // empty for none
    std::optional<Point> from;
    std::optional<Size> tiles;
    unsigned depth = 0;  // 0 for the picture's own
    bool planes = false;
    BitmapForm form;       // of bitmaps that are made
    bool hasForm = false;  // something of it was said
};

struct Step {
    const Operation *operation;
    std::vector<Argument> arguments;
    std::string picture;  // the second picture, or empty
};

// Operations and their arguments. Throws Failure for what is no operation or lacks an argument.
std::vector<Step> parseSteps(const std::vector<std::string> &words);

// Reads, runs and writes. Returns what the operations print. Names of files are taken from folder, which is empty for
// where we are. Throws Failure; then nothing was written.
std::string runRequest(const RunRequest &request, const std::string &folder);
