// The nearest entry of a palette: tables, and the kernel for the level in use.
#include "dib/ownnearest.h"

#include <cstring>

#include "core/owncore.h"
#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnNearestRows, nearestRows)

namespace {

// Below, tables would cost more than they save.
constexpr int64_t FEW_PIXELS = 4096;

void fillGroups(OwnNearest *nearest) {
    nearest->groupCount = (nearest->entries + 7) / 8;
    for (int i = 0; i < nearest->groupCount * 8; ++i) {
        const int entry = i < nearest->entries ? i : nearest->entries - 1;
        const uint8_t *colour = nearest->palette + 4 * entry;
        OwnColourGroup &group = nearest->groups[i / 8];
        group.blueGreen[i % 8 * 2] = colour[0];
        group.blueGreen[i % 8 * 2 + 1] = colour[1];
        group.red[i % 8 * 2] = colour[2];
        group.red[i % 8 * 2 + 1] = 0;
        group.index[i % 8] = static_cast<uint8_t>(entry);
    }
}

// Entries that do not exist are far from everything.
void fillDistances(const OwnNearest &nearest, OwnNearestCells *cells) {
    constexpr int32_t FAR = 1 << 24;
    for (int c = 0; c < 3; ++c) {
        for (int cell = 0; cell < 32; ++cell) {
            const int low = cell * 8, high = low + 7;
            for (int i = 0; i < 256; ++i) {
                const int value = i < nearest.entries ? nearest.palette[4 * i + c] : 0;
                const int below = low - value, above = value - high;
                const int outside = below > 0 ? below : above > 0 ? above : 0;
                const int farthest = value - low > high - value ? value - low : high - value;
                cells->least[c][cell][i] = i < nearest.entries ? outside * outside : FAR;
                cells->largest[c][cell][i] = i < nearest.entries ? farthest * farthest : FAR;
            }
        }
    }
}

}  // namespace

void ownOpenNearest(OwnNearest *nearest, const uint8_t *palette, int entries, int64_t pixels) {
    nearest->palette = palette;
    nearest->entries = entries;
    nearest->cells = nullptr;
    fillGroups(nearest);
    if (pixels < FEW_PIXELS) return;
    auto *cells = static_cast<OwnNearestCells *>(moxMalloc(sizeof(OwnNearestCells)));
    if (!cells) return;
    std::memset(cells->cells, 0, sizeof cells->cells);
    cells->used = 0;
    fillDistances(*nearest, cells);
    nearest->cells = cells;
}

void ownCloseNearest(OwnNearest *nearest) {
    moxFree(nearest->cells);
    nearest->cells = nullptr;
}

void ownFindNearest(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n) {
    static constexpr const OwnNearestRows *tables[] = OWN_LEVEL_TABLES(nearestRows);
    tables[ownCpuLevel()]->find(nearest, quads, indices, n);
}
