// Tables of levels, one for each channel: what moxhist's functions share.
#pragma once

#include "frame/ownimage.h"

// The first processed channel, which chooses the first table, and the levels that a depth has here.
struct OwnTables {
    MoxLUT **lut;
    int first, channels;
    int levels;
};

// Reports the first fault of a table, in the order of channels; false if there is one.
bool ownCheckTables(const OwnCaller &caller, const OwnTables &tables);

// How often each level occurs: channels x levels counters, which the caller zeroes. False if a tile was not delivered.
bool ownCountLevels(MoxImage *image, const OwnTables &tables, uint32_t *counters);

// Applies a map for each processed channel, of samples of 8 or 16 bits; maps follow one another. Reports under the name
// "moxMap". OWN_MAP_FAILED: a mask was not to be had; OWN_MAP_NO_TILE: a tile was not.
enum OwnMapResult { OWN_MAP_DONE, OWN_MAP_NO_TILE, OWN_MAP_FAILED };
OwnMapResult ownMap(MoxImage *srcImage, MoxImage *dstImage, const uint8_t *maps);
