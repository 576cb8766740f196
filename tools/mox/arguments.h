// The command line.
#pragma once

#include <string>
#include <vector>

#include "chain.h"
#include "compare.h"

enum class Command {
    done,  // help or version: already printed
    list,
    info,
    compare,
    run,
    gallery,
    completion,
    man
};

struct CommandLine {
    Command command = Command::done;
    bool namesOnly = false;             // list
    std::vector<std::string> pictures;  // info
    std::string picture;                // gallery
    std::string folder;                 // gallery
    std::string shell;                  // completion
    RunRequest run;
    std::uint64_t memory = 0;  // bytes, as --memory says, or 0
    CompareRequest compare;
};

// Throws Failure for a command line that makes no sense.
CommandLine parseCommandLine(int argc, char **argv);

// The words that follow `mox run`.
RunRequest parseRunWords(const std::vector<std::string> &words);
