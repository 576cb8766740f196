// Kernels drawn, made and freed.
#include "filter/kernelset.h"

#include <cstdio>

KernelSet::KernelSet(const std::vector<RefKernel> &kernels) {
    for (const RefKernel &each : kernels) {
        records_.push_back(moxCreateConvKernel(each.window.nCols, each.window.nRows, each.window.anchorX,
                                               each.window.anchorY, each.values.data(), each.nShiftR));
    }
}
KernelSet::~KernelSet() {
    for (MoxConvKernel *record : records_)
        moxDeleteConvKernel(record);
}

KernelSetFP::KernelSetFP(const std::vector<RefKernelFP> &kernels) {
    for (const RefKernelFP &each : kernels) {
        records_.push_back(moxCreateConvKernelFP(each.window.nCols, each.window.nRows, each.window.anchorX,
                                                 each.window.anchorY, each.values.data()));
    }
}
KernelSetFP::~KernelSetFP() {
    for (MoxConvKernelFP *record : records_)
        moxDeleteConvKernelFP(record);
}

static int drawCoefficient(Random &random, int kind) {
    switch (kind) {
        case 0:
            return random.between(-2, 2);
        case 1:
            return random.between(-128, 127);
        case 2:
            return random.between(-3000, 3000);
        case 3:
            return random.between(-32768, 32767);
        default:
            return drawInt(random);
    }
}

RefKernel drawKernel(Random &random, int maxCols, int maxRows) {
    RefKernel kernel;
    kernel.window = drawWindow(random, maxCols, maxRows);
    if (random.oneIn(8)) kernel.window = {5, 5, 2, 2};
    const int kind = random.oneIn(3) ? 0 : random.below(5), zeros = random.between(1, 4);
    const size_t count = static_cast<size_t>(kernel.window.nCols * kernel.window.nRows);
    while (kernel.values.size() < count)
        kernel.values.push_back(zeros == 1 || !random.oneIn(zeros) ? drawCoefficient(random, kind) : 0);
    // One coefficient of another size makes a kernel of another class.
    if (random.oneIn(6)) kernel.values[static_cast<size_t>(random.below(static_cast<int>(count)))] = drawInt(random);
    if (random.oneIn(2)) kernel.nShiftR = random.oneIn(4) ? random.between(1, 31) : random.between(1, 8);
    return kernel;
}

RefKernelFP drawKernelFP(Random &random, int maxCols, int maxRows) {
    RefKernelFP kernel;
    kernel.window = drawWindow(random, maxCols, maxRows);
    const size_t count = static_cast<size_t>(kernel.window.nCols * kernel.window.nRows);
    const int zeros = random.between(1, 4);
    while (kernel.values.size() < count) {
        const float value = random.oneIn(3) ? static_cast<float>(random.between(-2, 2))
                                            : static_cast<float>(random.between(-100000, 100000)) / 30103.0f;
        kernel.values.push_back(zeros == 1 || !random.oneIn(zeros) ? value : 0.0f);
    }
    return kernel;
}

static std::string describeValue(int value) {
    return std::to_string(value);
}
static std::string describeValue(float value) {
    char text[40];
    snprintf(text, sizeof text, "%a", static_cast<double>(value));
    return text;
}

template <typename Kernel>
static std::string describeKernel(const Kernel &kernel) {
    std::string text = describeWindow(kernel.window) + " {";
    for (auto value : kernel.values)
        text.append(" ").append(describeValue(value));
    return text + " }";
}

std::string describeKernels(const std::vector<RefKernel> &kernels, int method) {
    std::string text = "method " + std::to_string(method) + "\n";
    for (const RefKernel &kernel : kernels)
        text += describeKernel(kernel) + " >> " + std::to_string(kernel.nShiftR) + "\n";
    return text;
}

std::string describeKernels(const std::vector<RefKernelFP> &kernels, int method) {
    std::string text = "method " + std::to_string(method) + "\n";
    for (const RefKernelFP &kernel : kernels)
        text += describeKernel(kernel) + "\n";
    return text;
}

void checkConvolution(FilterPair &pair, const std::vector<RefKernel> &kernels, int method) {
    SCOPED_TRACE(describeKernels(kernels, method) + pair.describe());
    KernelSet set(kernels);
    checkCall(pair, refConvolve2D(pair.src(), pair.dst(), kernels, method),
              [&] { moxConvolve2D(pair.src().header(), pair.dst().header(), set.records(), set.count(), method); });
}

void checkConvolution(FilterPair &pair, const std::vector<RefKernelFP> &kernels, int method) {
    SCOPED_TRACE(describeKernels(kernels, method) + pair.describe());
    KernelSetFP set(kernels);
    checkCall(pair, refConvolve2DFP(pair.src(), pair.dst(), kernels, method),
              [&] { moxConvolve2DFP(pair.src().header(), pair.dst().header(), set.records(), set.count(), method); });
}
