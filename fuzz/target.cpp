// The entry that the fuzzer and the replay call.
#include "target.h"

#include <cstdio>
#include <cstdlib>

#include "mox.h"

unsigned long long callsMade, callsUnreported;

std::string runningNow;

void requireThat(bool condition, const std::string &what) {
    if (condition) return;
    fprintf(stderr, "%s\n", what.c_str());
    fflush(stderr);
    abort();
}

void requireThat(const testing::AssertionResult &result, const std::string &what) {
    requireThat(static_cast<bool>(result), result ? what : std::string(result.message()) + "\n" + what);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // A failure that the test support sees is a crash.
    testing::GTEST_FLAG(break_on_failure) = true;
    if (size > MOST_INPUT) return -1;
    Random random(data, size);
    fuzzOne(random);
    return 0;
}
