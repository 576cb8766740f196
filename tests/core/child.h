// Runs a function in a process of its own and sees how it ends: its exit code, what it wrote, whether it hung.
#pragma once

#include <functional>
#include <string>

struct ChildEnd {
    bool ended = false;  // false where it had to be killed after some seconds
    int exitCode = -1;   // -1 where a signal ended it
    std::string output;  // its standard error stream, or what it wrote to its terminal, without carriage returns
    std::string errors;  // its standard error stream, where it has a terminal
};

// The child has no controlling terminal. Where the function returns, the child ends by _exit with its result.
ChildEnd runWithoutTerminal(const std::function<int()> &run);

// Whether the system has pseudo-terminals: a container may have none.
bool terminalsExist();

// The child's controlling terminal is a new one, where the given text has been typed (end of input is \004);
// with hangUp the terminal goes away once the question stands.
ChildEnd runAtTerminal(const std::function<int()> &run, const std::string &typed, bool hangUp = false);
