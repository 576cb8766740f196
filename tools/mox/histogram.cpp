// Levels counted by the library, told and drawn in plain characters.
#include "histogram.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int drawnColumns = 64;
constexpr int drawnRows = 10;

// A character has three heights.
constexpr int heights = 3;
constexpr char ink[heights + 1] = {' ', '.', ':', '#'};

int levelsOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return 2;
        case MOX_DEPTH_16U:
            return 65536;
        default:
            return 256;
    }
}

std::vector<std::int64_t> columnsOf(const std::vector<int> &counts) {
    const std::size_t width = counts.size() < drawnColumns ? counts.size() : drawnColumns;
    std::vector<std::int64_t> columns(width);
    for (std::size_t level = 0; level < counts.size(); level++)
        columns[level * width / counts.size()] += counts[level];
    return columns;
}

std::string formatted(const char *format, double number) {
    char text[80];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

// What is there at all shows: heights are rounded up.
std::string drawn(const std::vector<int> &counts, std::int64_t total) {
    const std::vector<std::int64_t> columns = columnsOf(counts);
    const std::int64_t peak = *std::max_element(columns.begin(), columns.end());
    const std::size_t thickness = drawnColumns / columns.size();
    std::string text;
    for (int row = drawnRows - 1; row >= 0; row--) {
        const bool top = row == drawnRows - 1;
        std::string line =
            top ? formatted("%6.1f%% |", 100 * static_cast<double>(peak) / static_cast<double>(total)) : "        |";
        for (const std::int64_t column : columns) {
            const auto height = static_cast<int>((column * drawnRows * heights + peak - 1) / peak);
            line.append(thickness, ink[std::clamp(height - row * heights, 0, heights)]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    const std::string highest = std::to_string(counts.size() - 1);
    text += "        +" + std::string(drawnColumns, '-') + "\n";
    return text + "         0" + std::string(drawnColumns - 1 - highest.size(), ' ') + highest + "\n";
}

std::string channelText(const std::vector<int> &counts, int channels, int channel) {
    int low = -1, high = -1;
    std::int64_t total = 0, sum = 0;
    for (std::size_t level = 0; level < counts.size(); level++) {
        if (counts[level] == 0) continue;
        if (low < 0) low = static_cast<int>(level);
        high = static_cast<int>(level);
        total += counts[level];
        sum += static_cast<std::int64_t>(level) * counts[level];
    }
    char line[100];
    if (total == 0) {
        std::snprintf(line, sizeof line, "  channel %d  %-6s no pixels\n", channel + 1, channelName(channels, channel));
        return line;
    }
    std::snprintf(line, sizeof line, "  channel %d  %-6s %5d to %5d, mean %.2f\n", channel + 1,
                  channelName(channels, channel), low, high, static_cast<double>(sum) / static_cast<double>(total));
    return line + drawn(counts, total);
}

}  // namespace

LevelTables::LevelTables(const MoxImage *image) {
    const auto levels = static_cast<std::size_t>(levelsOf(image->depth));
    const auto channels = static_cast<std::size_t>(image->nChannels);
    for (std::size_t level = 0; level <= levels; level++)
        keys.push_back(static_cast<int>(level));
    // A segment is one level wide, so that no factor is needed.
    values.assign(channels, std::vector<int>(levels + 1));
    for (std::vector<int> &each : values)
        tables.push_back({static_cast<int>(levels) + 1, keys.data(), each.data(), nullptr, 0});
    for (MoxLUT &table : tables)
        pointers.push_back(&table);
}

void countInto(MoxImage *image, LevelTables *tables) {
    MoxROI *const given = image->roi;
    for (int c = 0; c < image->nChannels; c++) {
        if (!isProcessed(image, c)) continue;
        MoxROI one = given ? *given : MoxROI{0, 0, 0, image->width, image->height};
        one.coi = c + 1;
        image->roi = &one;
        moxComputeHisto(image, tables->pointers.data());
        image->roi = given;
    }
}

LevelCounts countLevels(MoxImage *image) {
    LevelTables tables(image);
    countInto(image, &tables);
    for (int c = 0; c < image->nChannels; c++) {
        std::vector<int> &counts = tables.values[static_cast<std::size_t>(c)];
        counts.pop_back();
        if (!isProcessed(image, c)) counts.clear();
    }
    return tables.values;
}

bool isProcessed(const MoxImage *image, int channel) {
    const int coi = image->roi ? image->roi->coi : 0;
    return coi > 0 ? channel == coi - 1 : channel != image->alphaChannel - 1;
}

const char *channelName(int channels, int channel) {
    if (channels % 2 == 0 && channel == channels - 1) return "alpha";
    constexpr const char *colors[] = {"red", "green", "blue"};
    return channels > 2 && channel < 3 ? colors[channel] : "gray";
}

std::string levelsText(const LevelCounts &counts) {
    std::string text;
    for (std::size_t c = 0; c < counts.size(); c++) {
        if (!counts[c].empty()) text += channelText(counts[c], static_cast<int>(counts.size()), static_cast<int>(c));
    }
    return text;
}
