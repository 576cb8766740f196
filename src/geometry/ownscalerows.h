// The kernels of zoom and decimation: rows along, and rows combined down the columns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Where a column or a row of the destination comes from.
struct OwnScalePlace {
    int32_t first;   // the first pixel of its window; -1 where that one has no weight and is not read
    int32_t count;   // pixels in the window
    int32_t weight;  // of the second of two pixels, in units of 1 / 16384
    float f;         // the fraction; of means the weight of the first pixel
    float g;         // of means the weight of the last pixel, where there are more than one
    bool alone;      // of two pixels the first counts, and the other is not looked at
};

// Rows in the ring end at a multiple of so many samples: kernels compute whole vectors.
constexpr size_t OWN_SCALE_BLOCK = 32;

// Samples whose windows lie close together are taken from vectors of 16 bytes by shuffles. pick has the shuffles of 32
// bytes, which two such vectors fill, a lane each; base has where these begin, in the same order.
enum OwnScalePick {
    OWN_PICK_NONE,
    OWN_PICK_BYTES,  // of 32 samples: lane l of the j-th vector has samples 16 l + j step on, in their places
    OWN_PICK_PAIRS,  // two bytes a sample, of 16 samples: with 8 to a lane in order; with 4 as words, samples 0 to 3
                     // and 8 to 11, then 4 to 7 and 12 to 15, in which order weights stand in any case
    OWN_PICK_QUADS,  // four bytes a sample, of 8 samples
};

// The windows of a row's samples; there is something behind the last sample up to a whole block.
struct OwnScaleColumns {
    size_t n;           // samples, in whole blocks
    size_t lead;        // samples at the start whose window begins a pixel before the row, or that stand alone
    int64_t pixel;      // bytes from a pixel to the next
    const int32_t *at;  // the bytes at which windows begin
    const int32_t *count;
    const int32_t *base;  // null where windows are too far apart for vectors
    const uint8_t *pick;
    size_t step;              // samples to a lane
    bool split;               // each vector of quads is put together from two, its pixels on either side of a gap
    const int16_t *pairs;     // integer weights, two for each sample
    const float *weights[4];  // others
};

// A source row along, into a row of the ring.
using OwnScaleAcross = void (*)(const uint8_t *src, void *row, const OwnScaleColumns &columns);
// Rows of the ring into n samples of the destination.
using OwnScaleDown = void (*)(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n);

// Both at once, for two source rows that no other row of the destination needs.
using OwnScaleBoth = void (*)(const uint8_t *upper, const uint8_t *lower, const OwnScalePlace &place,
                              const OwnScaleColumns &columns, uint8_t *out, size_t n);

// What the weights of a column are made of.
enum OwnScaleWeights {
    OWN_WEIGHTS_NONE,
    OWN_WEIGHTS_PAIRS,   // 16384 - weight, weight
    OWN_WEIGHTS_LINEAR,  // 1 - f, f
    OWN_WEIGHTS_NEWTON,  // t, u, v
    OWN_WEIGHTS_POWERS,  // f, f f, f f f
    OWN_WEIGHTS_MEANS,   // of the first four pixels
};

struct OwnScaleMethod {
    OwnScaleAcross across;
    OwnScaleDown down;  // null for means
    int rows;           // of the ring that down takes
    int bytes;          // of a sample in the ring
    int taps;           // pixels of a row that across takes; 0 for means, which take as many as there are
    OwnScaleWeights weights;
    OwnScalePick pick;
    OwnScaleBoth both = nullptr;  // by shuffles, or null
    bool moves = false;           // samples of any depth as so many bytes, which columns and counts are then of
};

// Depths that are scaled. Bits come as bytes 0 and 1.
enum OwnScaleDepth { OWN_SCALE_8U, OWN_SCALE_16U, OWN_SCALE_32F, OWN_SCALE_DEPTHS };

struct OwnZoomRows {
    OwnScaleMethod nearest[OWN_SCALE_DEPTHS];
    OwnScaleMethod linear[OWN_SCALE_DEPTHS];
    OwnScaleMethod cubic[OWN_SCALE_DEPTHS];
};

struct OwnDecimateRows {
    // By the axes that are interpolated: columns, rows, both.
    OwnScaleMethod linear[3][OWN_SCALE_DEPTHS];
    OwnScaleMethod cubic[3][OWN_SCALE_DEPTHS];
    OwnScaleMethod means[OWN_SCALE_DEPTHS];

    // sum[i] += row[i] weight, and the end of it: out = sum scale, rounded half up where it is an integer.
    void (*addRow)(const float *row, float weight, float *sum, size_t n);
    void (*endMeans[OWN_SCALE_DEPTHS])(const float *sum, float scale, uint8_t *out, size_t n);

    // Means of whole pixels of bytes: the sums of up to four rows at a time, and then of count pixels each.
    void (*addBytes)(const uint8_t *const *rows, int count, uint16_t *sums, size_t n, bool first);
    void (*endBoxes)(const uint16_t *sums, int count, int channels, float scale, uint8_t *out, size_t pixels);
    // Those of 2 x 2 pixels of one channel in one go.
    void (*halve)(const uint8_t *upper, const uint8_t *lower, uint8_t *out, size_t pixels);
};

const OwnZoomRows &ownZoomRows();
const OwnDecimateRows &ownDecimateRows();
