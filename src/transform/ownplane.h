// One channel of an image's region, and its samples as floats.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

struct OwnPlane {
    char *start;
    int64_t rowStep;  // bytes
    int step;         // samples from a pixel to the next
    int depth;        // its index
    int bytes;        // of a sample
    int width, height;

    char *at(int64_t x, int64_t y) const { return start + y * rowStep + x * step * bytes; }
    // Rows that are floats one after the other.
    bool isFloats() const { return depth == OWN_32F && step == 1; }
};

// The channel, counted from 0, of a plain image whose header is sound. Width and height are those of its region.
OwnPlane ownPlane(const MoxImage *image, int channel);

// Samples to floats and back, n of them `step` samples apart. A result is rounded to nearest, ties to even, and
// saturated; at 32F it is stored as it is.
struct OwnSampleRows {
    void (*load[OWN_DEPTHS])(const void *from, int step, float *to, size_t n);
    void (*store[OWN_DEPTHS])(const float *from, void *to, int step, size_t n);
};
const OwnSampleRows &ownSampleRows();

// Up to `most` floats of each of count rows from (x, y) on: where they are in the image, or converted into `copies`,
// which has room for most floats a row.
void ownLoadRows(const OwnPlane &plane, int64_t x, int64_t y, int count, size_t n, float *copies, size_t most,
                 const float **rows);

// Rows by twos: the first ones of all pairs, then the second ones.
template <class Row>
void ownPairRows(const Row *rows, int lanes, Row *paired) {
    for (int r = 0; r < 2 * lanes; ++r)
        paired[r % 2 * lanes + r / 2] = rows[r];
}
