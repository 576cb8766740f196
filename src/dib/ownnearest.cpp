// The nearest entry of a palette: tables, and the kernel for the level in use.
#include "dib/ownnearest.h"

#include <cstring>

#include "core/owncore.h"
#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnNearestRows, nearestRows)

// Below, tables would cost more than they save.
static constexpr int64_t FEW_PIXELS = 1024;

void ownOpenNearest(OwnNearest *nearest, const uint8_t *palette, int entries, int64_t pixels) {
    nearest->parts = (entries + 15) / 16;
    for (int i = 0; i < nearest->parts * 16; ++i) {
        const int entry = i < entries ? i : 0;
        OwnColourPart &part = nearest->palette[i / 16];
        part.blueGreen[i % 16 * 2] = palette[4 * entry];
        part.blueGreen[i % 16 * 2 + 1] = palette[4 * entry + 1];
        part.red[i % 16] = palette[4 * entry + 2];
        part.index[i % 16] = static_cast<uint8_t>(entry);
    }
    nearest->cells = nullptr;
    if (pixels < FEW_PIXELS) return;
    auto *cells = static_cast<OwnNearestCells *>(moxMalloc(sizeof(OwnNearestCells)));
    if (!cells) return;
    std::memset(cells, 0, offsetof(OwnNearestCells, store));
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
