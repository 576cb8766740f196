// Images for an example call: plain or tiled, each with a region and a mask of its own.
#pragma once

#include <memory>
#include <vector>

#include "support/testimage.h"
#include "table/examples.h"

enum class ExampleForm { PLAIN, MASKED, TILED };

class ExampleImages {
  public:
    ExampleImages(const Example &example, ExampleForm form);

    void run();
    // What the last call answered.
    const std::vector<double> &answers() const { return answers_; }
    // All storage as it is now, and back to what it was when the images were made.
    std::vector<TestBytes> bytes() const;
    void restore();
    void abandonTiles();
    testing::AssertionResult headersAreUntouched() const;
    // Every byte, and of bits every bit, is one of those before or one of those after.
    testing::AssertionResult areBetween(const std::vector<TestBytes> &after) const;

  private:
    const Example &example_;
    std::vector<std::unique_ptr<TestImage>> images_;  // the call's images, then their masks
    std::vector<TestBytes> before_;
    std::vector<double> answers_;
};

std::vector<ExampleForm> formsOf(const Example &example);
const char *formName(ExampleForm form);
