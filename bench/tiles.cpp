// All images tiled, served by a callback that hands out pointers, beside plain images.
#include "rows.h"

void addTileRows(std::vector<Row> *rows) {
    Layout tiled;
    tiled.tile = 256;
    addLayoutRows({"Tiles", "tiled", tiled, {}, true, {GOAL_RATIO, 1.15}, false}, rows);
}
