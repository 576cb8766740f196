// What the tests of wavelets share: all built-in kernels by their parameters, and kernels in the model's form.
#pragma once

#include <vector>

#include "reference/transform.h"

struct WaveletName {
    int wtType, par1, par2;
};
extern const std::vector<WaveletName> allWavelets;

// The low-pass filters as published; recLow is empty where it is decLow reversed and doubled.
struct PublishedWavelet {
    WaveletName name;
    std::vector<double> decLow, recLow;
};
extern const std::vector<PublishedWavelet> publishedWavelets;

RefFilters refDecompositionOf(const MoxWtKernel &kernel);
RefFilters refReconstructionOf(const MoxWtKernel &kernel);

// A source of bytes and four images of floats that belong to it; layouts differ but for the four's rows.
class WaveletImages {
  public:
    WaveletImages(Random &random, int maxWidth, int maxHeight);
    TestImage &bytes() { return *bytes_; }
    TestImage &part(int index) { return *parts_[index]; }
    std::string describe() const;
    MoxStatus decompose(MoxWtKernel *kernel);
    MoxStatus reconstruct(MoxWtKernel *kernel);

  private:
    std::unique_ptr<TestImage> bytes_, parts_[4], mask_;
};
