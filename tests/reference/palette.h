// The palettes of bitmaps: the fixed ones, those cut from an image's colours, and the nearest entry. Colours are
// 0x00RRGGBB.
#pragma once

#include <cstdint>
#include <vector>

using RefPalette = std::vector<uint32_t>;

// For 2, 16 or 256 colours.
RefPalette refFixedPalette(int count, bool gray);

// The first entry of least squared distance.
int refNearest(const RefPalette &palette, uint32_t colour);

// Median cut to at most count entries, from the gray values or the colours of all pixels.
RefPalette refMedianCutGray(const std::vector<uint8_t> &pixels, int count);
RefPalette refMedianCut(const std::vector<uint32_t> &pixels, int count);
