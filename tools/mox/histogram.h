// Levels counted by the library, told and drawn in plain characters.
#pragma once

#include <mox.h>

#include <string>
#include <vector>

// How many samples have each level, for each channel. Those of channels that are not processed are empty.
using LevelCounts = std::vector<std::vector<int>>;

// Tables with a segment for each level, one table for each channel.
struct LevelTables {
    std::vector<int> keys;
    LevelCounts values;
    std::vector<MoxLUT> tables;
    std::vector<MoxLUT *> pointers;

    explicit LevelTables(const MoxImage *image);
    LevelTables(const LevelTables &) = delete;
    LevelTables &operator=(const LevelTables &) = delete;
};

// Counts into the tables, one channel after the other.
void countInto(MoxImage *image, LevelTables *tables);

// Depths 1u, 8u and 16u; region, channel of interest and mask count.
LevelCounts countLevels(MoxImage *image);

bool isProcessed(const MoxImage *image, int channel);
const char *channelName(int channels, int channel);

// For each channel that is processed its range and mean, and a histogram of twelve lines.
std::string levelsText(const LevelCounts &counts);
