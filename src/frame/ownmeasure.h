// The measure frame: brings the samples of one or two images, as contiguous rows, to a function that folds them into a
// result. It knows regions, channels, masks and tiles, and nothing of what is measured.
#pragma once

#include "frame/ownpair.h"

// Samples that are contiguous in both images.
struct OwnFold {
    const uint8_t *a, *b;  // b is null where one image is measured; bits begin on top of the first byte
    size_t samples;        // of bits those beyond the last one in its byte are 0
    size_t skipped;        // as many of them the mask leaves out: these read 0. Told where `counts` asks for it
    int64_t x, y;          // the first one's pixel, counted from the common region's corner
    int channels;          // samples of each pixel: all measured ones, or one
    int channel;           // that one, counted from the first measured one
    bool endsRow;
};
using OwnFoldFunction = void (*)(void *state, const OwnFold &fold);

// Parts of a row but the last are a multiple of so many samples.
constexpr int OWN_FOLD_LANES = 16;

struct OwnMeasure {
    MoxImage *images[2];  // the second one may be null
    MoxImage *mask;       // the combined one, or null
    int first[2];         // the first measured channel of each image, counted from 0
    int channels;         // measured
    int64_t width, height;
    bool counts;   // what a mask leaves out is counted
    bool apart;    // each channel comes on its own, one after the other
    bool anyRows;  // rows without padding between them may come as one
    OwnFoldFunction fold;
    void *state;
};

enum OwnMeasureResult { OWN_MEASURE_DONE, OWN_MEASURE_NO_TILE, OWN_MEASURE_NO_ROWS };

// A share of a source. A tile that has all of it is used where it stands, and given back at the end; what lies in
// several is read as a rectangle.
class OwnSourceShare {
  public:
    OwnSourceShare() = default;
    ~OwnSourceShare();
    OwnSourceShare(const OwnSourceShare &) = delete;
    OwnSourceShare &operator=(const OwnSourceShare &) = delete;

    // False if a tile or memory is missing.
    bool open(MoxImage *image, const OwnShare &share);
    MoxImage *header() { return &scratch_.header; }

  private:
    OwnScratchImage scratch_;
    MoxImage *image_ = nullptr;
    char *tile_ = nullptr;
    int column_ = 0, row_ = 0;
    char *rect_ = nullptr;
};

// The smallest of the sizes of the images' regions and the mask's.
void ownMeasureSize(OwnMeasure *measure);

// Folds a common region row by row, from the top. Tiles are those of the first tiled image, read one at a time and each
// one whole before the next; another tiled image is read as rectangles. NO_TILE: one of these tiles was not delivered;
// NO_ROWS: a rectangle was not. In both cases what is at hand has been given back but for the refused tile.
OwnMeasureResult ownRunMeasure(const OwnMeasure &measure);
