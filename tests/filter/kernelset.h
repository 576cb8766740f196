// Kernel records made by the library from the kernels of the model, as a call takes them.
#pragma once

#include <string>
#include <vector>

#include "filter/filtercheck.h"

class KernelSet {
  public:
    explicit KernelSet(const std::vector<RefKernel> &kernels);
    ~KernelSet();
    KernelSet(const KernelSet &) = delete;
    KernelSet &operator=(const KernelSet &) = delete;
    MoxConvKernel **records() { return records_.data(); }
    int count() const { return static_cast<int>(records_.size()); }

  private:
    std::vector<MoxConvKernel *> records_;
};

class KernelSetFP {
  public:
    explicit KernelSetFP(const std::vector<RefKernelFP> &kernels);
    ~KernelSetFP();
    KernelSetFP(const KernelSetFP &) = delete;
    KernelSetFP &operator=(const KernelSetFP &) = delete;
    MoxConvKernelFP **records() { return records_.data(); }
    int count() const { return static_cast<int>(records_.size()); }

  private:
    std::vector<MoxConvKernelFP *> records_;
};

// A kernel of any arithmetic class, often with zeros and ones.
RefKernel drawKernel(Random &random, int maxCols, int maxRows);
RefKernelFP drawKernelFP(Random &random, int maxCols, int maxRows);

std::string describeKernels(const std::vector<RefKernel> &kernels, int method);
std::string describeKernels(const std::vector<RefKernelFP> &kernels, int method);

// Runs the convolution that suits the depth, with the kernels of the right kind, against the model.
void checkConvolution(FilterPair &pair, const std::vector<RefKernel> &kernels, int method);
void checkConvolution(FilterPair &pair, const std::vector<RefKernelFP> &kernels, int method);
