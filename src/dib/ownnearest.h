// The nearest entry of a palette: the one of least squared distance in blue, green and red, and the first one of
// several.
#pragma once

#include "frame/ownkernel.h"

// Sixteen entries of a list; one line of the cache. A list goes on with its first entry until its last part is full.
struct OwnColourPart {
    uint8_t blueGreen[32];
    uint8_t red[16];
    uint8_t index[16];
};

// The entries that can be nearest to a colour of a cell: parts of the store, in the order of the palette. Parts is 0
// for a cell that was not met yet. Far cells have an entry that may differ from a colour of the cell by more than 127
// in a channel: bytes do not hold their differences.
struct OwnColourCell {
    uint16_t first;
    uint8_t parts;
    bool isFar;
};

// What speeds up the search in a large image. The cube of colours is cut into cells of 8 x 8 x 8. Of all entries only
// those can be nearest to a colour of a cell whose distance to the cell's nearest point is not larger than another
// entry's distance to its farthest. They are found when a cell is met first, among those of the cell of twice the size
// around it, which are found in the same way. Where the store is full all is forgotten.
constexpr int OWN_NEAREST_STORE = 40960;
struct OwnNearestCells {
    OwnColourCell large[8 * 8 * 8], middle[16 * 16 * 16], small[32 * 32 * 32];
    int used;
    int refills;  // how often it was
    alignas(32) OwnColourPart store[OWN_NEAREST_STORE];
};

struct OwnNearest {
    int parts;
    OwnColourPart palette[16];
    OwnNearestCells *cells;  // null where the plain search does
};

struct OwnNearestRows {
    void (*find)(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n);
};

// Prepares a search among 1 to 256 entries for about so many pixels. Without memory it is slower, nothing else.
void ownOpenNearest(OwnNearest *nearest, const uint8_t *palette, int entries, int64_t pixels);
void ownCloseNearest(OwnNearest *nearest);

// indices[i] = the entry nearest to quads[i], whose alpha plays no part.
void ownFindNearest(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n);
