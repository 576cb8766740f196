// Operations under a mask of random bits, beside the same without.
#include "rows.h"

void addMaskRows(std::vector<Row> *rows) {
    Layout masked;
    masked.masked = true;
    addLayoutRows({"Masks", "masked", masked, {}, true, {GOAL_RATIO, 2}, false}, rows);

    Layout rgb, maskedRgb = masked;
    rgb.channels = maskedRgb.channels = 3;
    addLayoutRows({"Masks", "rgb-masked", maskedRgb, rgb, true, {GOAL_RATIO, 2}, false}, rows);

    // The mask's region begins within a byte.
    Layout shifted = masked;
    shifted.maskX = 3;
    addLayoutRows({"Masks", "masked-shifted", shifted, {}, true, {GOAL_RATIO, 2}, true}, rows);
}
