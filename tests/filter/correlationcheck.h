// A template for a pair of images, and calls of moxNormCrossCorr compared with the model.
#pragma once

#include "filter/filtercheck.h"

// A template that suits the pair: of the source's depth and channels, with a region and a size of its own.
class Pattern {
  public:
    Pattern(Random &random, FilterPair &pair, int maxWidth, int maxHeight);
    TestImage &image() { return *image_; }

  private:
    std::unique_ptr<TestImage> image_, mask_;
};

// Compares at every level, as checkCall does; the template is untouched.
void checkCorrelation(FilterPair &pair, TestImage &pattern);
