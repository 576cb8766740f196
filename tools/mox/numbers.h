// Whole numbers in a word of the command line.
#pragma once

#include <string>

// count numbers with a mark between them, and nothing beside them. False for anything else, and for numbers that are no
// int.
bool parseNumbers(const std::string &text, char mark, int *numbers, int count);
