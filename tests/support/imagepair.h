// A source and a destination, each perhaps with a mask, or one image that is both. What takes them together draws the
// layouts.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/scene.h"

class ImagePair {
  public:
    TestImage &src() { return *images_[0]; }
    TestImage &dst() { return images_[1] ? *images_[1] : *images_[0]; }
    bool inPlace() const { return !images_[1]; }
    std::string describe() const;

    // Remembers everything; then: source, masks and headers are as they were; and everything back.
    void keep() { kept_.keep(all()); }
    testing::AssertionResult restIsUntouched() { return kept_.othersAreUntouched(dst()); }
    void restore() { kept_.restore(); }
    void abandonTiles();

  protected:
    // Every other image gets a mask.
    void drawMasks(Random &random);
    std::unique_ptr<TestImage> images_[2], masks_[2];
    std::vector<std::unique_ptr<TestImage>> others_;  // that a call reads beside the source

  private:
    std::vector<TestImage *> all() const;
    KeptImages kept_;
};
