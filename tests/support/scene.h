// Random combinations of layouts for one call: images that an operation accepts together.
//
//     SceneOptions options;
//     options.depth = MOX_DEPTH_8U;              // 0 draws one
//     Scene scene(random, options);              // scene[0], scene[1] the sources, the last one the destination
//     SCOPED_TRACE(scene.describe());
//
// All images have one depth and one order, and equal numbers of processed channels; sizes, regions, masks, strides,
// aligns and tile grids differ as they like. With sharing, entries may be one and the same image (in place, one source
// twice).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/testimage.h"

// Images as they were before a call.
class KeptImages {
  public:
    void keep(const std::vector<TestImage *> &images);
    // Every image but the destination is byte for byte as it was, and no header has changed.
    testing::AssertionResult othersAreUntouched(const TestImage &destination) const;
    void restore();

  private:
    std::vector<TestImage *> images_;
    std::vector<TestBytes> bytes_;
};

struct SceneOptions {
    int images = 3;
    unsigned depth = 0;
    int order = -1;             // -1 draws one
    bool tiles = true;          // may be tiled
    bool masks = true;          // may have masks
    bool sharing = true;        // entries may be one image
    bool sameOrigin = false;    // origins agree
    bool sameChannels = false;  // nChannels agree, not only the numbers of processed channels
    bool tiledAlways = false;   // at least one image is tiled
    int maxWidth = 70;
    int maxHeight = 20;
};

class Scene {
  public:
    Scene(Random &random, const SceneOptions &options);
    TestImage &operator[](int index) { return *entries_[static_cast<size_t>(index)]; }
    int count() const { return static_cast<int>(entries_.size()); }
    TestImage &destination() { return *entries_.back(); }
    const std::vector<TestImage *> &entries() const { return entries_; }

    std::string describe() const;

    // Remembers all images and masks; then compares, and gives back what they held.
    void keep();
    testing::AssertionResult othersAreUntouched() const { return kept_.othersAreUntouched(*entries_.back()); }
    void restore() { kept_.restore(); }

  private:
    TestImage *add(const TestLayout &layout, Random &random);
    std::vector<std::unique_ptr<TestImage>> owned_;
    KeptImages kept_;
    std::vector<TestImage *> entries_;
};

int drawAlign(Random &random);
// A region; where it may be empty, it sometimes begins beyond the image.
void drawRegion(Random &random, TestLayout &layout, int coi, bool mayBeEmpty = true);
// Strides of their own, pixels at any byte, tiles (0 never, 1 always, -1 draws).
void drawPlacement(Random &random, TestLayout &layout, int tiled);

// A random 1-bit mask layout; useful sizes lie around those of the image that it covers.
TestLayout drawMaskLayout(Random &random, int width, int height);

// All seven depth codes.
extern const unsigned allDepths[7];
const char *depthName(unsigned depth);
