// Histograms, and maps of levels made from tables: contrast stretch and equalisation.
#include <climits>
#include <cstring>

#include "stat/ownhist.h"

namespace {

// Memory for the length of a call; null when it runs out.
class Block {
  public:
    explicit Block(int64_t size) : data_(size <= INT_MAX ? moxMalloc(static_cast<int>(size)) : nullptr) {
        if (data_) std::memset(data_, 0, static_cast<size_t>(size));
    }
    ~Block() { moxFree(data_); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    template <class T>
    T *as() const {
        return static_cast<T *>(data_);
    }

  private:
    void *data_;
};

// Tests that are all made, each with its report, before the call ends.
class Tests {
  public:
    explicit Tests(const OwnCaller &caller) : caller_(caller) {}
    // Without an image none is passed.
    void header(const MoxImage *image) { passed_ = ownAcceptImage(caller_, image) && image && passed_; }
    void refuseIf(bool fault, const char *message) {
        if (!fault) return;
        ownReport(caller_, MOX_StatusBadArgument, message);
        passed_ = false;
    }
    bool passed() const { return passed_; }

  private:
    const OwnCaller &caller_;
    bool passed_ = true;
};

OwnTables tablesOf(const MoxImage *image, MoxLUT **lut, int levels) {
    return {lut, ownFirstChannel(image), ownChannels(image), levels};
}

void refuseMemory(const OwnCaller &caller) {
    ownReport(caller, MOX_StatusNoMemory, "");
}

// Counts of levels added up by the segments of a table.
void fillTable(const uint32_t *counters, MoxLUT *table) {
    const int *key = table->key;
    for (int i = 0; i + 1 < table->num; ++i) {
        // Segments of one level, one after the other, are what was counted.
        int end = i;
        while (end + 1 < table->num && key[end + 1] == key[end] + 1)
            ++end;
        if (end > i) {
            std::memmove(table->value + i, counters + key[i], static_cast<size_t>(end - i) * sizeof *counters);
            i = end - 1;
            continue;
        }
        uint32_t sum = 0;
        for (int level = table->key[i]; level < table->key[i + 1]; ++level)
            sum += counters[level];
        table->value[i] = static_cast<int>(sum);
    }
    table->interpolateType = 0;
}

// What makes the map of one channel from its table; false after a report.
using MakeMap = bool (*)(const OwnCaller &caller, const MoxLUT *table, int levels, int *map);

bool makeStretch(const OwnCaller &, const MoxLUT *table, int levels, int *map) {
    const int last = table->num - 1;
    int segment = 0;
    for (int level = 0; level < levels; ++level) {
        while (segment < last && level >= table->key[segment + 1])
            ++segment;
        map[level] = level;
        if (level < table->key[0] || segment == last) continue;
        auto value = static_cast<uint32_t>(table->value[segment]);
        if (table->interpolateType != 0 && table->factor) {
            value += static_cast<uint32_t>(level - table->key[segment]) * static_cast<uint32_t>(table->factor[segment]);
        }
        map[level] = static_cast<int>(value);
    }
    return true;
}

// The counts of a table's segments, spread over their levels.
void spreadCounts(const MoxLUT *table, int levels, int *counts) {
    std::memset(counts, 0, static_cast<size_t>(levels) * sizeof *counts);
    const int end = table->key[table->num - 1];
    for (int i = 0; i + 1 < table->num; ++i) {
        const int first = table->key[i], width = table->key[i + 1] - first, value = table->value[i];
        if (width <= 1) {
            if (first < end) counts[first] = value;
            continue;
        }
        for (int k = 0; k < width; ++k)
            counts[first + k] = value / width;
        counts[first + width - 1] += value % width;
    }
}

bool makeEqualization(const OwnCaller &caller, const MoxLUT *table, int levels, int *map) {
    spreadCounts(table, levels, map);
    uint32_t sum = 0;
    for (int level = 0; level < levels; ++level) {
        sum += static_cast<uint32_t>(map[level]);
        map[level] = static_cast<int>(sum);
    }
    const auto total = static_cast<int>(sum);
    if (total == 0) {
        ownReport(caller, MOX_StatusInternal, "All values in histogram are zeroes");
        return false;
    }
    for (int level = 0; level < levels; ++level) {
        if (levels == 256) {
            // The product is one of 32 bits, whatever the total.
            const auto product = static_cast<int>(static_cast<uint32_t>(map[level]) * 255u);
            map[level] = static_cast<int>(int64_t{product} / total);
        } else {
            map[level] = static_cast<int>(static_cast<int64_t>(map[level] * (65535.0 / total)));
        }
    }
    return true;
}

// Stretch and equalisation: the same tests, a map for each channel, and all of them applied.
void mapByTables(const OwnCaller &caller, MoxImage *srcImage, MoxImage *dstImage, MoxLUT **lut, MakeMap makeMap) {
    Tests tests(caller);
    tests.header(srcImage);
    tests.header(dstImage);
    if (srcImage && dstImage) {
        tests.refuseIf(srcImage->depth != dstImage->depth, "srcImage->depth != dstImage->depth");
        tests.refuseIf(srcImage->origin != dstImage->origin, "srcImage->origin != dstImage->origin");
        const bool single = srcImage->nChannels == 1 && dstImage->nChannels == 1;
        tests.refuseIf(!single && srcImage->dataOrder != dstImage->dataOrder,
                       "srcImage->dataOrder != dstImage->dataOrder");
    }
    if (srcImage) {
        tests.refuseIf(srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U,
                       "srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U");
    }
    tests.refuseIf(!lut, "lut==0");
    if (!tests.passed()) return;
    if (ownChannels(srcImage) != ownChannels(dstImage)) {
        ownReport(caller, MOX_StatusBadArgument,
                  "Number of processed channels of srcImage != Number of processed channels of dstImage");
        return;
    }
    const int levels = 1 << ownDepthBits(srcImage->depth);
    const OwnTables tables = tablesOf(srcImage, lut, levels);
    if (!ownCheckTables(caller, tables)) return;
    if (tables.channels == 0 || !ownAcceptMemory(caller, {srcImage, dstImage})) return;

    const int bytes = ownDepthBytes(srcImage->depth);
    const Block maps(int64_t{tables.channels} * levels * bytes), map(int64_t{levels} * static_cast<int>(sizeof(int)));
    if (!maps.as<void>() || !map.as<void>()) {
        refuseMemory(caller);
        return;
    }
    for (int channel = 0; channel < tables.channels; ++channel) {
        if (!makeMap(caller, lut[tables.first + channel], levels, map.as<int>())) return;
        for (int level = 0; level < levels; ++level) {
            const int64_t at = int64_t{channel} * levels + level;
            if (bytes == 1) {
                maps.as<uint8_t>()[at] = static_cast<uint8_t>(map.as<int>()[level]);
            } else {
                maps.as<uint16_t>()[at] = static_cast<uint16_t>(map.as<int>()[level]);
            }
        }
    }
    if (ownMap(srcImage, dstImage, maps.as<uint8_t>()) == OWN_MAP_FAILED) ownReport(caller, MOX_StatusBacktrace, "");
}

}  // namespace

void MOX_CALL moxComputeHisto(MoxImage *srcImage, MoxLUT **lut) {
    const OwnCaller caller = OWN_CALLER("moxComputeHisto");
    Tests tests(caller);
    tests.header(srcImage);
    tests.refuseIf(!lut, "lut==0");
    if (srcImage) {
        tests.refuseIf((srcImage->depth & MOX_DEPTH_SIGN) != 0 || srcImage->depth == MOX_DEPTH_32F,
                       "(srcImage->depth & MOX_DEPTH_SIGN) || (srcImage->depth == MOX_DEPTH_32F)");
    }
    if (!tests.passed()) return;
    const int bits = ownDepthBits(srcImage->depth);
    const OwnTables tables = tablesOf(srcImage, lut, bits == 1 ? 2 : bits == 8 ? 256 : 65536);
    if (!ownCheckTables(caller, tables)) return;
    if (tables.channels == 0 || !ownAcceptMemory(caller, {srcImage})) return;

    const Block counters(int64_t{tables.channels} * tables.levels * static_cast<int>(sizeof(uint32_t)));
    if (!counters.as<void>()) {
        refuseMemory(caller);
        return;
    }
    if (!ownCountLevels(srcImage, tables, counters.as<uint32_t>())) {
        ownReport(caller, MOX_StatusGeneral, "Error get tile to read");
        return;
    }
    for (int channel = 0; channel < tables.channels; ++channel) {
        fillTable(counters.as<uint32_t>() + int64_t{channel} * tables.levels, lut[tables.first + channel]);
    }
}

void MOX_CALL moxContrastStretch(MoxImage *srcImage, MoxImage *dstImage, MoxLUT **lut) {
    mapByTables(OWN_CALLER("moxContrastStretch"), srcImage, dstImage, lut, makeStretch);
}

void MOX_CALL moxHistoEqualize(MoxImage *srcImage, MoxImage *dstImage, MoxLUT **lut) {
    mapByTables(OWN_CALLER("moxHistoEqualize"), srcImage, dstImage, lut, makeEqualization);
}
