// What lies outside an image, side by side.
#include <algorithm>

#include "frame/ownimage.h"

static int clampToDepth(unsigned depth, int constant) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return std::clamp(constant, 0, 1);
        case MOX_DEPTH_8U:
            return std::clamp(constant, 0, 255);
        case MOX_DEPTH_8S:
            return std::clamp(constant, -128, 127);
        case MOX_DEPTH_16U:
            return std::clamp(constant, 0, 65535);
        case MOX_DEPTH_16S:
            return std::clamp(constant, -32768, 32767);
        default:
            return constant;
    }
}

void MOX_CALL moxSetBorderMode(MoxImage *image, int mode, int sides, int constant) {
    for (int side = 0; side < 4; ++side) {
        if ((sides >> side & 1) == 0) continue;
        image->borderMode[side] = mode;
        image->borderConst[side] = clampToDepth(image->depth, constant);
    }
}
