// Error diffusion over a palette.
#pragma once

#include <array>
#include <vector>

#include "picture.h"

using PaletteColor = std::array<int, 3>;  // red, green, blue

// An RGB picture of 8 bits in the colours of the palette, which is not empty. Each pixel becomes the nearest one, and
// what it is off goes to the neighbours that are still to come, by the weights of Floyd and Steinberg, in rows that run
// to and fro.
Picture diffused(const Picture &picture, const std::vector<PaletteColor> &palette);
