// What the tests of rectangles share: images to read them from, the rows of a buffer, and the requests of a row of
// tiles.
#pragma once

#include <vector>

#include "support/scene.h"
#include "support/tilelog.h"

// Any depth, order, borders and region.
TestLayout drawRectLayout(Random &random, bool tiled);

// Of a row of so many pixels: the bits of its samples, and its bytes with the alignment.
int64_t rawRowBits(const TestLayout &layout, int width);
int64_t rowBytesOf(const TestLayout &layout, int width);

// After a refusal the rest of that row of tiles is asked for, and nothing of it is released.
void expectRowWasAskedFor(const TileLog &log, const std::vector<TileEvent> &whole);
