// Images once more in another form, and the comparison of what calls left in both.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/reports.h"
#include "support/testimage.h"
#include "table/examples.h"

// A tile grid; without a width the images are plain.
struct VariantTiles {
    int width, height;
    bool transient;
};

// Copies of images with the same samples in tiles of their own. Entries that are one image stay one. Masks are shared.
class Variant {
  public:
    Variant(const std::vector<TestImage *> &images, const VariantTiles &tiles);
    TestImage &operator[](size_t index) const { return *entries_[index]; }
    size_t count() const { return entries_.size(); }
    const std::vector<TestImage *> &entries() const { return entries_; }

  private:
    std::vector<std::unique_ptr<TestImage>> owned_;
    std::vector<TestImage *> entries_;
};

// Whether a call may come out otherwise in tiles: samples that depend on the walk, tiles that are refused, or three
// images that pass for one run of bytes although they differ, as plain images may whose sums agree.
bool mayDifferInTiles(const Example &example, const std::vector<TestImage *> &images);

// Runs an example on some of the images, with arguments drawn from a copy of random, which is given back; the reports
// as text, without the place that made them, and what the function answers. With tilesAgree it draws only arguments
// with which tiled images give what plain ones give.
std::string runExample(const Example &example, const std::vector<TestImage *> &images, Random *random, bool tilesAgree);

// Whether two images hold the same samples; at 32F one NaN is as good as another.
testing::AssertionResult sameSamples(const TestImage &one, const TestImage &other);

// Takes the other image's NaN wherever both have one: what is done to their bits next then comes out the same.
void takeNaNs(TestImage *image, const TestImage &from);

// An example that works on pixels.
const Example &drawPixelExample(Random &random);
