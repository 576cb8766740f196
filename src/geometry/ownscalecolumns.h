// The tables by which a row is resampled: where windows begin, what they weigh, and how vectors take them.
#pragma once

#include "geometry/ownscalerows.h"

// The source row: contiguous samples from the pixel first on.
struct OwnColumnSource {
    int64_t first, pixels;
    int channels;
    int bytes;  // of a sample
};

// What the tables of n samples take, n in whole blocks.
int64_t ownColumnBytes(const OwnScaleMethod &method, size_t n);

// Makes those of so many pixels in the memory given.
void ownMakeColumns(const OwnScaleMethod &method, const OwnScalePlace *places, size_t pixels,
                    const OwnColumnSource &source, uint8_t *memory, OwnScaleColumns *columns);
