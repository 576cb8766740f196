// What a fuzz target is made of. A target is one file with
//
//     void fuzzOne(Random &random);      // random's choices are the input's bytes
//
// that crashes, or calls requireThat with a false condition, where the library fails. Built by Clang with libFuzzer
// (preset fuzz) it is driven by the fuzzer; in every other build by replay.cpp, which runs the files of its corpus.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/cases.h"

constexpr size_t MOST_INPUT = 4096;

void fuzzOne(Random &random);

// The calls of examples so far, and those that had nothing to report, where a target counts them; the replay tells.
extern unsigned long long callsMade, callsUnreported;

// What the target is at, which the replay tells where a check within the images ends the process.
extern std::string runningNow;

// Prints what and ends the process where the condition does not hold.
void requireThat(bool condition, const std::string &what);
void requireThat(const testing::AssertionResult &result, const std::string &what);
