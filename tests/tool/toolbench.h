// A workbench for tests of the tool: a folder of its own, pictures made and read without the tool's code, and the tool
// run as a process.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// A PNG file as it is, without any conversion: samples as stored, palette indices where there is a palette.
struct Png {
    int width = 0;
    int height = 0;
    int channels = 0;  // of the stored samples
    int bits = 8;
    bool palette = false;
    bool interlaced = false;
    bool transparent = false;  // a tRNS chunk: palette entry 0, or gray 0, shows nothing
    std::vector<std::uint16_t> samples;
};

struct Outcome {
    int code = -1;  // -1 when a signal ended the tool
    std::string out;
    std::string err;
    long peak = 0;  // resident memory in KB
};

class Bench : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Runs the tool in the bench's folder. prepare runs in the new process before the tool.
    Outcome run(const std::vector<std::string> &words, const std::function<void()> &prepare = nullptr) const;

    // run, which must succeed and say nothing on the error stream.
    std::string runWell(const std::vector<std::string> &words) const;

    // The tool, given words between spaces.
    Outcome runLine(const std::string &line) const;
    std::string runLineWell(const std::string &line) const;

    [[nodiscard]] std::string path(const std::string &name) const { return folder + "/" + name; }
    [[nodiscard]] bool exists(const std::string &name) const;
    [[nodiscard]] std::vector<std::string> files() const;  // sorted, hidden ones too

    void write(const std::string &name, const Png &png) const;
    [[nodiscard]] Png read(const std::string &name) const;
    void writeBytes(const std::string &name, const std::string &bytes) const;
    [[nodiscard]] std::string readBytes(const std::string &name) const;

    std::string folder;
};

// A picture of pseudo-random samples.
Png randomPng(int width, int height, int channels, int bits, unsigned seed);

// The same picture, each sample changed.
Png mapped(const Png &png, const std::function<int(int)> &change);

std::vector<std::string> split(const std::string &line);
int clamped(long value, int high);
