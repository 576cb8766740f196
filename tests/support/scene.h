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

    // Remembers all storage; then: every image and mask but the destination is byte for byte as it was, and no header
    // has changed.
    void keep();
    testing::AssertionResult othersAreUntouched() const;
    // Every image and mask back to what it held at keep().
    void restore();

  private:
    TestImage *add(const TestLayout &layout, Random &random);
    std::vector<std::unique_ptr<TestImage>> owned_;
    std::vector<TestBytes> kept_;
    std::vector<TestImage *> entries_;
};

// A random 1-bit mask layout; useful sizes lie around those of the image that it covers.
TestLayout drawMaskLayout(Random &random, int width, int height);

// All seven depth codes.
extern const unsigned allDepths[7];
const char *depthName(unsigned depth);
