// Two pictures compared.
#pragma once

#include <string>

#include "formats.h"

struct CompareRequest {
    std::string first;
    std::string second;
    std::string output;  // of the difference; empty for none
    OutputForm form;     // of the output
    int gain = 1;        // what differences are multiplied by in the output
};

struct Comparison {
    bool equal;
    std::string text;
};

// Throws Failure; where the library fails, with an exit code that does not stand for a difference.
Comparison comparePictures(const CompareRequest &request);
