// Regions of larger images, channels of interest and images with alpha.
#include "rows.h"

void addRegionRows(std::vector<Row> *rows) {
    // Rows begin at cache lines: nothing but the gaps between them tells the region from the whole.
    Layout region;
    region.region = true;
    region.x[0] = region.x[1] = region.x[2] = 64;
    region.y = 3;
    addLayoutRows({"Regions", "region", region, {}, true, {GOAL_RATIO, 1.1}, false}, rows);

    Layout rgb, rgbRegion = region;
    rgb.channels = rgbRegion.channels = 3;
    addLayoutRows({"Regions", "rgb-region", rgbRegion, rgb, true, {GOAL_RATIO, 1.1}, false}, rows);

    // Rows begin anywhere, and differently in every image.
    Layout odd = region;
    odd.x[0] = 5;
    odd.x[1] = 18;
    odd.x[2] = 31;
    addLayoutRows({"Regions", "odd-region", odd, {}, true, {GOAL_RATIO, 1.1}, true}, rows);

    // The second of three channels: pixels are moved whole, and may take 1.3 times as long as that.
    Layout coi = rgb;
    coi.coi = 2;
    addLayoutRows({"Channels", "coi", coi, {}, false, {GOAL_SHARE, 0.77}, false}, rows);

    Layout alpha;
    alpha.channels = 4;
    alpha.alpha = true;
    addLayoutRows({"Channels", "alpha", alpha, rgb, true, {}, false}, rows);
}
