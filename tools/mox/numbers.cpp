// Whole numbers in a word of the command line.
#include "numbers.h"

#include <charconv>
#include <system_error>

bool parseNumbers(const std::string &text, char mark, int *numbers, int count) {
    const char *next = text.data();
    const char *const end = text.data() + text.size();
    for (int i = 0; i < count; i++) {
        if (i > 0 && (next == end || *next++ != mark)) return false;
        const auto [rest, error] = std::from_chars(next, end, numbers[i]);
        if (error != std::errc()) return false;
        next = rest;
    }
    return next == end;
}
