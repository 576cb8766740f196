// How the tool gives up: one exception with an exit code and a text for the person at the keyboard.
#pragma once

#include <string>

enum ExitCode {
    exitOk = 0,
    exitDifferent = 1,  // two pictures compared differ
    exitOperation = 1,  // the library refused or failed
    exitUsage = 2,      // the command line makes no sense
    exitFile = 3,       // a file cannot be read, is no picture, or cannot be written
    exitComparison = 4  // the library refused or failed where 1 would stand for a difference
};

struct Failure {
    ExitCode code;
    std::string text;
};

[[noreturn]] void fail(ExitCode code, const std::string &text);

// The text for an errno, prefixed by what was tried: "photo.png: No such file or directory".
[[noreturn]] void failErrno(const std::string &what, int error);
