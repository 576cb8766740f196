// Runs a fuzz target over files, without a fuzzer: arguments are files, or folders whose files are run in the order of
// their names. With "random COUNT" it runs so many random inputs as well. With MOX_FUZZ_TELL set it names each input
// before it runs.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static char current[200];

static void tellCurrent(int signal) {
#ifdef SIGTRAP
    if (signal == SIGTRAP) fprintf(stderr, "%s\n", runningNow.c_str());
#endif
    fprintf(stderr, "in the input %s\n", current);
    if (signal != SIGABRT) _Exit(1);
}

static void runInput(const std::string &name, const std::vector<uint8_t> &bytes) {
    snprintf(current, sizeof current, "%s", name.c_str());
    if (getenv("MOX_FUZZ_TELL")) tellCurrent(0);
    // An array of its own, so that a checker of memory sees its end.
    const std::unique_ptr<uint8_t[]> copy(new uint8_t[bytes.size()]);
    if (!bytes.empty()) memcpy(copy.get(), bytes.data(), bytes.size());
    LLVMFuzzerTestOneInput(copy.get(), bytes.size());
}

static void replayFile(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        fprintf(stderr, "cannot read %s\n", path.string().c_str());
        exit(1);
    }
    runInput(path.filename().string(), std::vector<uint8_t>(std::istreambuf_iterator<char>(file), {}));
}

static int replayFolder(const std::filesystem::path &folder) {
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto &file : files)
        replayFile(file);
    return static_cast<int>(files.size());
}

static void runRandom(int count) {
    for (int i = 0; i < count; ++i) {
        Random chance(testSeed() * 1000003u + static_cast<uint64_t>(i));
        std::vector<uint8_t> bytes(static_cast<size_t>(chance.below(600)));
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(chance.bits());
        runInput("random " + std::to_string(i), bytes);
    }
}

int main(int argc, char **argv) {
    signal(SIGABRT, tellCurrent);
#ifdef SIGTRAP
    signal(SIGTRAP, tellCurrent);
#endif
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "random") == 0 && i + 1 < argc) {
            const int more = testCount(atoi(argv[++i]));
            runRandom(more);
            count += more;
        } else if (std::filesystem::is_directory(argv[i])) {
            count += replayFolder(argv[i]);
        } else {
            replayFile(argv[i]);
            ++count;
        }
    }
    printf("%d inputs", count);
    if (callsMade > 0) printf(", %llu calls, %llu without a report", callsMade, callsUnreported);
    printf("\n");
    return count > 0 ? 0 : 1;
}
