// Tables are tested, levels counted, maps applied.
#include "stat/ownhist.h"

#include <algorithm>
#include <cstring>

#include "frame/ownmeasure.h"
#include "frame/ownrows.h"
#include "frame/owntile.h"
#include "stat/ownstat.h"

// ------------------------------------------------------------------------------------------------------------ tables

static const char *findTableFault(const MoxLUT *table, int levels) {
    if (!table) return "lut[k]==0";
    if (!table->key) return "lut[k]->key==0";
    if (!table->value) return "lut[k]->value==0";
    if (table->num < 2) return "lut[k]->num < 2";
    if (table->key[0] < 0) return "lut[k]->key[0] < 0";
    if (table->key[table->num - 1] > levels) return "lut[k]->key[lut[k]->num-1] > histSize";
    bool descends = false;
    for (int i = 0; i + 1 < table->num; ++i)
        descends |= table->key[i] > table->key[i + 1];
    return descends ? "lut[k]->key[i] > lut[k]->key[i+1]" : nullptr;
}

bool ownCheckTables(const OwnCaller &caller, const OwnTables &tables) {
    for (int channel = 0; channel < tables.channels; ++channel) {
        if (const char *fault = findTableFault(tables.lut[tables.first + channel], tables.levels)) {
            ownReport(caller, MOX_StatusBadArgument, fault);
            return false;
        }
    }
    return true;
}

// ---------------------------------------------------------------------------------------------------------- counting

namespace {

// Neighbours that are equal would wait for each other's counter. Bytes have as many sets of counters as the nearest
// cache holds; of 16-bit samples four that are equal are counted at once.
constexpr int SETS = 8;

struct Counting {
    uint32_t *counters;  // of each processed channel
    int levels;
    uint32_t *sets;  // of bytes, for the channel at hand
    int channel;

    void finishChannel() {
        if (channel < 0) return;
        for (int set = 0; set < SETS; ++set) {
            for (int level = 0; level < 256; ++level)
                counters[channel * 256 + level] += sets[set * 256 + level];
        }
        std::memset(sets, 0, SETS * 256 * sizeof *sets);
    }
    void beginChannel(int next) {
        if (next == channel) return;
        finishChannel();
        channel = next;
    }
};

// Counting keeps a processor from looking far ahead: lines are asked for early.
constexpr size_t LINE = 64, AHEAD = 2048;

void countWord8(uint64_t word, uint32_t *sets) {
    if (word == (word >> 8 | word << 56)) {
        sets[word & 255] += 8;
        return;
    }
    for (int k = 0; k < SETS; ++k, word >>= 8)
        ++sets[k * 256 + static_cast<int>(word & 255)];
}

void count8(const uint8_t *at, size_t n, uint32_t *sets) {
    size_t i = 0;
    for (; i + LINE <= n; i += LINE) {
        __builtin_prefetch(at + i + AHEAD);
        for (size_t k = 0; k < LINE; k += 8) {
            uint64_t word;
            std::memcpy(&word, at + i + k, sizeof word);
            countWord8(word, sets);
        }
    }
    for (; i < n; ++i)
        ++sets[at[i]];
}

void countWord16(uint64_t word, uint32_t *counters) {
    if (word == (word >> 16 | word << 48)) {
        counters[word & 65535] += 4;
        return;
    }
    for (int k = 0; k < 4; ++k, word >>= 16)
        ++counters[word & 65535];
}

void count16(const uint8_t *at, size_t n, uint32_t *counters) {
    const size_t bytes = 2 * n;
    size_t i = 0;
    for (; i + LINE <= bytes; i += LINE) {
        __builtin_prefetch(at + i + AHEAD);
        for (size_t k = 0; k < LINE; k += 8) {
            uint64_t word;
            std::memcpy(&word, at + i + k, sizeof word);
            countWord16(word, counters);
        }
    }
    for (; i < bytes; i += 2) {
        uint16_t level;
        std::memcpy(&level, at + i, sizeof level);
        ++counters[level];
    }
}

void fold8(void *state, const OwnFold &stretch) {
    auto *counting = static_cast<Counting *>(state);
    counting->beginChannel(stretch.channel);
    count8(stretch.a, stretch.samples, counting->sets);
    // What the mask leaves out reads 0.
    counting->sets[0] -= static_cast<uint32_t>(stretch.skipped);
}

void fold16(void *state, const OwnFold &stretch) {
    uint32_t *counters = static_cast<Counting *>(state)->counters + int64_t{stretch.channel} * 65536;
    count16(stretch.a, stretch.samples, counters);
    counters[0] -= static_cast<uint32_t>(stretch.skipped);
}

void foldBits(void *state, const OwnFold &stretch) {
    auto *counting = static_cast<Counting *>(state);
    OwnNormSum set = {};
    ownNormRows().one[OWN_NORM_L1][OWN_1U](stretch.a, nullptr, stretch.samples, &set);
    counting->counters[1] += static_cast<uint32_t>(set.whole);
    counting->counters[0] += static_cast<uint32_t>(stretch.samples - stretch.skipped - set.whole);
}

}  // namespace

bool ownCountLevels(MoxImage *image, const OwnTables &tables, uint32_t *counters) {
    uint32_t sets[SETS * 256] = {};
    Counting counting = {counters, tables.levels, sets, -1};
    OwnMeasure measure = {};
    measure.images[0] = image;
    measure.mask = image->maskROI;
    measure.first[0] = tables.first;
    measure.channels = tables.channels;
    measure.apart = measure.anyRows = measure.counts = true;
    measure.fold = tables.levels == 2 ? foldBits : tables.levels == 256 ? fold8 : fold16;
    measure.state = &counting;
    ownMeasureSize(&measure);
    const bool done = ownRunMeasure(measure) == OWN_MEASURE_DONE;
    counting.finishChannel();
    return done;
}

// --------------------------------------------------------------------------------------------------------------- maps

namespace {

struct Mapping {
    const uint8_t *maps;
    int64_t mapBytes;
    int channels;
    int first[2];
    bool alike;  // all channels have one map

    // Whether the processed channels are all that a pixel has, side by side. A stretch of so many samples may end
    // within a pixel where there are more.
    bool isOfPixels(const MoxImage *image) const {
        return image->dataOrder == MOX_DATA_ORDER_PIXEL && image->nChannels == channels && channels <= 4;
    }
    void run(MoxImage *const *images, const MoxImage *mask) const {
        const OwnLookRows &looks = ownLookRows();
        const bool bytes = images[0]->depth == MOX_DEPTH_8U;
        OwnRows rows;
        OwnConstant constant = {};
        constant.table = maps;
        constant.value = static_cast<uint32_t>(channels);
        if (!alike && isOfPixels(images[0]) && isOfPixels(images[1])) {
            ownSetRows(&rows, images, first, 2, channels, mask);
            ownRunRows(rows, bytes ? looks.bytesOfPixels : looks.wordsOfPixels, constant);
            return;
        }
        const OwnRowForms &lookUp = bytes ? looks.bytes : looks.words;
        const int passes = alike ? 1 : channels;
        for (int pass = 0; pass < passes; ++pass) {
            const int from[] = {first[0] + pass, first[1] + pass};
            ownSetRows(&rows, images, from, 2, alike ? channels : 1, mask);
            constant.table = maps + pass * mapBytes;
            ownRunRows(rows, lookUp, constant);
        }
    }
};

}  // namespace

OwnMapResult ownMap(MoxImage *srcImage, MoxImage *dstImage, const uint8_t *maps) {
    const OwnCaller caller = OWN_CALLER("moxMap");
    const OwnCommonMask mask(caller, srcImage, dstImage);
    if (mask.lacksMemory()) return OWN_MAP_FAILED;
    if (mask.endsCall()) return OWN_MAP_DONE;

    Mapping mapping = {maps,
                       int64_t{ownDepthBytes(srcImage->depth)} << ownDepthBits(srcImage->depth),
                       ownChannels(dstImage),
                       {ownFirstChannel(srcImage), ownFirstChannel(dstImage)},
                       true};
    const auto bytes = static_cast<size_t>(mapping.mapBytes);
    for (int channel = 1; channel < mapping.channels; ++channel) {
        mapping.alike = mapping.alike && std::memcmp(maps, maps + channel * mapping.mapBytes, bytes) == 0;
    }
    MoxImage *const images[] = {srcImage, dstImage};
    int refused = -1;
    if (!srcImage->tileInfo && !dstImage->tileInfo) {
        mapping.run(images, mask.image());
    } else {
        const auto run = [](void *operation, MoxImage *const *cell, MoxImage *cellMask) {
            static_cast<const Mapping *>(operation)->run(cell, cellMask);
        };
        refused = ownWalkTiles(images, 2, mask.image(), run, &mapping);
        if (refused >= 0) {
            ownReport(caller, MOX_StatusGeneral, refused == 0 ? "Error get tile to read" : "Error get tile to write");
        }
    }
    return refused >= 0 ? OWN_MAP_NO_TILE : OWN_MAP_DONE;
}
