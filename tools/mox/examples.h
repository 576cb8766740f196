// Examples of the gallery that belong to no single operation, and what turns an example into words.
#pragma once

#include <string>
#include <vector>

#include "operations.h"

// An example of an option of `mox run`.
struct Way {
    std::string name;  // of the result, without its ending
    std::string title;
    Example example;
};

const std::vector<Way> &ways();

// Each number of colours with each palette and each dither.
std::vector<Way> bitmapWays();

// Words between spaces, with {w25} replaced by 25 % of the width, {h25} of the height.
std::vector<std::string> exampleWords(const Example &example, int width, int height);
