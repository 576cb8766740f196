// The nearest entry of a palette: the one of least squared distance in blue, green and red, and the first one of
// several.
#pragma once

#include "image/ownkernel.h"

// Colours are kept in groups of eight, each as two pairs of 16-bit values that one instruction multiplies and adds up.
// A group that is not full repeats its last colour.
struct OwnColourGroup {
    int16_t blueGreen[16];
    int16_t red[16];  // and 0
    uint8_t index[8];
};

constexpr int OWN_NEAREST_CELLS = 32 * 32 * 32;
constexpr int OWN_NEAREST_GROUPS = 24576;

// What speeds up the search in a large image. The cube of colours is cut into cells of 8 x 8 x 8. Of all entries only
// those can be nearest to a colour of a cell whose distance to the cell's nearest point is not larger than another
// entry's distance to its farthest. They are listed when a cell is met first.
struct OwnNearestCells {
    // 0: not listed yet. Else OWN_NEAREST_SINGLE and an entry, or the first group times 64 and the number of groups.
    uint32_t cells[OWN_NEAREST_CELLS];
    // By colour, cell coordinate and entry: squares of the least and the largest difference.
    int32_t least[3][32][256];
    int32_t largest[3][32][256];
    int used;  // groups
    OwnColourGroup groups[OWN_NEAREST_GROUPS];
};
constexpr uint32_t OWN_NEAREST_SINGLE = 0x80000000u;

struct OwnNearest {
    const uint8_t *palette;
    int entries;  // 1 to 256
    int groupCount;
    OwnColourGroup groups[32];  // all entries
    OwnNearestCells *cells;     // null where the plain search does
};

struct OwnNearestRows {
    void (*find)(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n);
};

// Prepares a search for about so many pixels. Without memory it is slower, nothing else.
void ownOpenNearest(OwnNearest *nearest, const uint8_t *palette, int entries, int64_t pixels);
void ownCloseNearest(OwnNearest *nearest);

// indices[i] = the entry nearest to quads[i], whose alpha plays no part.
void ownFindNearest(OwnNearest *nearest, const uint32_t *quads, uint8_t *indices, size_t n);
