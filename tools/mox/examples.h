// Examples of the gallery that belong to no single operation, and what turns an example into words.
#pragma once

#include <string>
#include <vector>

#include "operations.h"

// An example of an option of `mox run`.
struct Way {
    const char *name;  // of the result, without .png
    const char *title;
    Example example;
};

const std::vector<Way> &ways();

// Words between spaces, with {w25} replaced by 25 % of the width, {h25} of the height.
std::vector<std::string> exampleWords(const Example &example, int width, int height);
