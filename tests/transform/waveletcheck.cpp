// Kernels and images for the wavelet transform.
#include "transform/waveletcheck.h"

#include "support/scene.h"

static std::vector<WaveletName> listWavelets() {
    std::vector<WaveletName> list = {{MOX_WT_HAAR, 0, 0}};
    for (int i = 1; i <= 10; ++i)
        list.push_back({MOX_WT_DAUBECHIES, i, 0});
    for (int i = 1; i <= 7; ++i)
        list.push_back({MOX_WT_SYMLET, i, 0});
    for (int i = 1; i <= 5; ++i)
        list.push_back({MOX_WT_COIFLET, i, 0});
    list.push_back({MOX_WT_VAIDYANATHAN, 0, 0});
    for (int type : {MOX_WT_BSPLINE, MOX_WT_BSPLINE_DUAL}) {
        for (int par2 : {1, 3, 5})
            list.push_back({type, 1, par2});
        for (int par2 : {2, 4, 6, 8})
            list.push_back({type, 2, par2});
        for (int par2 : {1, 3, 5, 7, 9})
            list.push_back({type, 3, par2});
    }
    list.push_back({MOX_WT_53, 0, 0});
    list.push_back({MOX_WT_97, 0, 0});
    return list;
}

const std::vector<WaveletName> allWavelets = listWavelets();

static RefFilter filterOf(const MoxWtFilter &filter) {
    return {std::vector<float>(filter.taps, filter.taps + filter.length), filter.offset};
}
RefFilters refDecompositionOf(const MoxWtKernel &kernel) {
    return {filterOf(kernel.filtDecLow), filterOf(kernel.filtDecHigh)};
}
RefFilters refReconstructionOf(const MoxWtKernel &kernel) {
    return {filterOf(kernel.filtRecLow), filterOf(kernel.filtRecHigh)};
}

static void drawAny(Random &random, TestLayout &layout) {
    layout.order = random.below(2);
    layout.origin = random.below(2);
    if (random.oneIn(4)) layout.alpha = 1;
    layout.align = drawAlign(random);
}

WaveletImages::WaveletImages(Random &random, int maxWidth, int maxHeight) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, random.between(1, maxWidth), random.between(1, maxHeight));
    drawAny(random, layout);
    if (random.oneIn(2)) drawRegion(random, layout, random.below(2), false);
    drawPlacement(random, layout, 0);
    bytes_ = std::make_unique<TestImage>(layout, random.next());
    TestLayout part = TestLayout::of(MOX_DEPTH_32F, (layout.regionWidth() + 1) / 2, (layout.regionHeight() + 1) / 2);
    drawPlacement(random, part, 0);
    // Rows as long as 32 bytes and some more, in all four, whatever their alignment.
    const int step = (part.width * 4 + 31) / 32 * 32 + part.extraStride;
    for (auto &image : parts_) {
        drawAny(random, part);
        part.dataShift = random.oneIn(2) ? 0 : random.below(32);
        part.extraStride = step - (part.width * 4 + part.align - 1) / part.align * part.align;
        image = std::make_unique<TestImage>(part, random.next());
    }
    if (random.oneIn(4)) {
        mask_ = std::make_unique<TestImage>(TestLayout::ofMask(part.width, part.height), 3);
        mask_->setAll(0);
        bytes_->setMask(mask_.get());
        parts_[0]->setMask(mask_.get());
    }
}

std::string WaveletImages::describe() const {
    return bytes_->layout().describe() + "\n" + parts_[0]->layout().describe();
}

MoxStatus WaveletImages::decompose(MoxWtKernel *kernel) {
    return moxWtDecompose(kernel, bytes_->header(), parts_[0]->header(), parts_[1]->header(), parts_[2]->header(),
                          parts_[3]->header());
}
MoxStatus WaveletImages::reconstruct(MoxWtKernel *kernel) {
    return moxWtReconstruct(kernel, parts_[0]->header(), parts_[1]->header(), parts_[2]->header(), parts_[3]->header(),
                            bytes_->header());
}
