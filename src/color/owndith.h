// Bit reduction: what the frame and the kernels share. The frame knows regions, channels, masks and tiles; the kernels
// see up to OWN_BAND_ROWS rows of one channel at a time, contiguous, and carry the errors of diffusion from band to
// band.
#pragma once

#include "core/owncore.h"
#include "frame/ownmove.h"

// Rows that a kernel gets at a time: as many as are diffused side by side, or a multiple.
constexpr int OWN_BAND_ROWS = 16;

// Entries of the noise tables: both repeat after as many columns.
constexpr int OWN_NOISE_ENTRIES = 1024;

// Zeroes that stand before and behind the errors of a row.
constexpr int OWN_ERROR_GUARD = 128;

struct OwnReduction {
    int ditherType;
    int levels;
    OwnSampleSize size;       // of the source's samples
    int dstBytes;             // of the destination's samples; 0 for bits
    int dropped;              // bits that the destination has fewer than the source
    bool keepsAll;            // as many levels as the destination has values
    double full;              // the source's largest value
    double step;              // full / levels
    double noise;             // as a share of the step
    const float *thresholds;  // the noise tables; null without noise
    const uint16_t *indices;
};

struct OwnReduceBand {
    const void *src[OWN_BAND_ROWS];
    void *dst[OWN_BAND_ROWS];  // bits begin with the first byte's top bit, and fill their last byte
    int rows;
    size_t width;
    int64_t y;                // of the first row in the region
    float *above, *twoAbove;  // errors of the two rows above, then of the last two of the band; guards around them
};

using OwnReduceFunction = void (*)(const OwnReduction &reduction, const OwnReduceBand &band);

struct OwnPlainReduceRows {
    OwnReduceFunction keepTop[OWN_SAMPLE_SIZES];    // the sample's top bits
    OwnReduceFunction below[OWN_SAMPLE_SIZES];      // the nearest level below
    OwnReduceFunction orderBits[OWN_SAMPLE_SIZES];  // by the matrix, to bits
    OwnReduceFunction orderLevels[OWN_SAMPLE_SIZES];
};

const OwnPlainReduceRows &ownPlainReduceRows();

// By the filter.
struct OwnDiffuseRows {
    OwnReduceFunction floydSteinberg;
    OwnReduceFunction jarvisJudiceNinke;
    OwnReduceFunction stucki;
};

const OwnDiffuseRows &ownDiffuseRows();

// The images of a call, and what of them takes part.
struct OwnReduceImages {
    MoxImage *src, *dst;
    MoxImage *mask;  // the combined one, or null
    int64_t width, height;
    int channels;
    int srcFirst, dstFirst;
};

enum OwnReduceResult { OWN_REDUCE_DONE, OWN_REDUCE_NO_MEMORY, OWN_REDUCE_NO_SRC_TILE, OWN_REDUCE_NO_DST_TILE };

// Runs the reduction over a common region of at least one pixel.
OwnReduceResult ownRunReduction(const OwnReduceImages &images, const OwnReduction &reduction);
