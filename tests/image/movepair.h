// Two images for the moving of pixels, of any layouts that it takes together, and what it does to them, sample by
// sample.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/scene.h"
#include "support/testimage.h"
#include "support/tilelog.h"

struct MoveOptions {
    unsigned depth = 0;       // 0 draws one
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    bool masks = true;
    int maxWidth = 60;
    int maxHeight = 18;
};

class MovePair {
  public:
    MovePair(Random &random, const MoveOptions &options);

    TestImage &src() { return *images_[0]; }
    TestImage &dst() { return *images_[1]; }
    std::string describe() const;

    // The area in common, and whether the masks let a pixel of it through.
    int width() const { return width_; }
    int height() const { return height_; }
    bool empty() const { return width_ == 0 || height_ == 0; }
    bool passes(int x, int y) const;
    bool masked() const { return images_[0]->mask() || images_[1]->mask(); }
    bool twoMasks() const;

    // Remembers everything but the images' contents; then: masks, regions and headers are as they were.
    void keep();
    testing::AssertionResult restIsUntouched() const;

  private:
    TestLayout drawLayout(Random &random, int which, const MoveOptions &options);
    void drawChannels(Random &random, TestLayout &layout);
    unsigned depth_;
    int processed_, origin_, order_;
    bool mixedOrders_;
    std::unique_ptr<TestImage> images_[2], masks_[2];
    std::vector<TestBytes> keptMasks_;
    int width_ = 0, height_ = 0;
};

// A tile's share of an image's region: pixels (x, y) to (xEnd, yEnd), exclusive, counted from the region's corner.
struct MoveCell {
    int column, row;
    int x, y, xEnd, yEnd;
};
// The shares of all tiles under the first width x height pixels of the image's region, row by row.
std::vector<MoveCell> cellsOf(const TestImage &image, int width, int height);

// The events of a rectangle of a tiled image being read, given from the corner of its region.
void appendRead(std::vector<TileEvent> *events, TestImage *image, const MoveCell &cell);

// Calls back for each sample of a rectangle of the common area that the masks let through: channel from the first
// processed one, x and y from the corners.
void forEachMoved(MovePair &pair, const MoveCell &part, const std::function<void(int, int, int)> &move);
MoveCell wholeArea(const MovePair &pair);
