// Transforms: Fourier, cosine, wavelets.
#include <array>
#include <map>
#include <memory>

#include "rows.h"

namespace {

using Images = MoxImage *const *;

template <int flags>
void fft(Images images) {
    moxRealFft2D(images[0], images[1], flags);
}
void fftBack(Images images) {
    moxCcsFft2D(images[0], images[1], MOX_FFT_INVERSE);
}
void multiplySpectra(Images images) {
    moxMpyRCPack2D(images[0], images[1], images[2]);
}
template <int flags>
void dct(Images images) {
    moxDCT2D(images[0], images[1], flags);
}

struct DeleteImage {
    void operator()(MoxImage *image) const { moxDeallocate(image, MOX_FreeHeader | MOX_FreeData); }
};
using Bands = std::array<std::unique_ptr<MoxImage, DeleteImage>, 4>;

// The four bands of an image, made once for each size.
const Bands &bandsOf(const MoxImage *image) {
    static std::map<int, Bands> all;
    Bands &bands = all[image->width];
    for (auto &band : bands) {
        if (band) continue;
        band.reset(moxCreateImageHeader(1, 0, static_cast<int>(MOX_DEPTH_32F), "GRAY", "GRAY", MOX_DATA_ORDER_PIXEL,
                                        MOX_ORIGIN_TL, 32, (image->width + 1) / 2, (image->height + 1) / 2, nullptr,
                                        nullptr, nullptr, nullptr));
        moxAllocateImageFP(band.get(), 1, 100.0f);
    }
    return bands;
}

template <int type, int par1, int par2>
MoxWtKernel *waveletKernel() {
    static MoxWtKernel kernel = [] {
        MoxWtKernel made = {};
        moxWtInit(type, par1, par2, &made);
        return made;
    }();
    return &kernel;
}

template <int type, int par1, int par2>
void decompose(Images images) {
    const Bands &bands = bandsOf(images[0]);
    moxWtDecompose(waveletKernel<type, par1, par2>(), images[0], bands[0].get(), bands[1].get(), bands[2].get(),
                   bands[3].get());
}
template <int type, int par1, int par2>
void reconstruct(Images images) {
    const Bands &bands = bandsOf(images[1]);
    moxWtReconstruct(waveletKernel<type, par1, par2>(), bands[0].get(), bands[1].get(), bands[2].get(), bands[3].get(),
                     images[1]);
}

const Operation FFT = {"fft", GROUP_FILTER, 1, false, {OWN_32F}, fft<MOX_FFT_FORWARD>};
const Operation FFT_BACK = {"fft-inverse", GROUP_FILTER, 1, false, {OWN_32F}, fftBack};
const Operation SPECTRA = {"multiply-spectra", GROUP_FILTER, 2, false, {OWN_32F}, multiplySpectra};
const Operation DCT = {"dct", GROUP_FILTER, 1, false, {OWN_32F}, dct<MOX_DCT_FORWARD>};
const Operation DCT_BACK = {"dct-inverse", GROUP_FILTER, 1, false, {OWN_32F}, dct<MOX_DCT_INVERSE>};
const Operation BLOCK = {"dct", GROUP_FILTER, 1, false, {OWN_16S, OWN_32F}, dct<MOX_DCT_FORWARD>};
const Operation HAAR = {"decompose-haar", GROUP_FILTER, 1, false, {OWN_8U}, decompose<MOX_WT_HAAR, 0, 0>};
const Operation HAAR_BACK = {"reconstruct-haar", GROUP_FILTER, 1, false, {OWN_8U}, reconstruct<MOX_WT_HAAR, 0, 0>};
const Operation EIGHT = {"decompose-8-taps", GROUP_FILTER, 1, false, {OWN_8U}, decompose<MOX_WT_DAUBECHIES, 4, 0>};
const Operation EIGHT_BACK = {
    "reconstruct-8-taps", GROUP_FILTER, 1, false, {OWN_8U}, reconstruct<MOX_WT_DAUBECHIES, 4, 0>};

// Times that a sample may take on a machine that is as wide as level v3.
struct TimeGoal {
    const Operation *operation;
    std::vector<int> sizes;
    double ns;
};

}  // namespace

void addTransformRows(std::vector<Row> *rows) {
    static const TimeGoal GOALS[] = {
        {&FFT, {256, 512, 1000, 1009, 1024, 2048}, 0},
        {&FFT_BACK, {256, 512, 1000, 1009, 1024, 2048}, 0},
        {&SPECTRA, {256, 1024}, 0},
        {&DCT, {256, 512, 1024}, 6},
        {&DCT_BACK, {256, 512, 1024}, 6},
        {&BLOCK, {8}, 5},
        {&HAAR, {256, 1024}, 2},
        {&HAAR_BACK, {256, 1024}, 2},
        {&EIGHT, {256, 1024}, 4},
        {&EIGHT_BACK, {256, 1024}, 4},
    };
    for (const TimeGoal &goal : GOALS) {
        for (const int depth : goal.operation->at) {
            for (const int size : goal.sizes) {
                Row row = makeRow("Transforms", *goal.operation, "", depth, size);
                if (goal.ns > 0 && ownCpuLevel() >= OWN_LEVEL_V3) row.goal = {GOAL_NS_PER_SAMPLE, goal.ns};
                rows->push_back(row);
            }
        }
    }
}
