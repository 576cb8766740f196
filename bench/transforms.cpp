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

const std::vector<int> FFT_SIZES = {256, 512, 1000, 1009, 1024, 2048};
const std::vector<int> FEW_SIZES = {256, 1024};

std::vector<EntryGoal> within(double ns) {
    return {{-1, 0, {GOAL_NS_PER_SAMPLE, ns}}};
}

}  // namespace

extern const Family transformFamily;
const Family transformFamily = {
    "Transforms",
    {
        {.operation = {.name = "fft", .at = {OWN_32F}, .call = fft<MOX_FFT_FORWARD>}, .sizes = FFT_SIZES},
        {.operation = {.name = "fft-inverse", .at = {OWN_32F}, .call = fftBack}, .sizes = FFT_SIZES},
        {.operation = {.name = "multiply-spectra", .sources = 2, .at = {OWN_32F}, .call = multiplySpectra},
         .sizes = FEW_SIZES},
        {.operation = {.name = "dct", .at = {OWN_32F}, .call = dct<MOX_DCT_FORWARD>},
         .sizes = {256, 512, 1024},
         .goals = within(6)},
        {.operation = {.name = "dct-inverse", .at = {OWN_32F}, .call = dct<MOX_DCT_INVERSE>},
         .sizes = {256, 512, 1024},
         .goals = within(6)},
        {.operation = {.name = "dct-block", .at = {OWN_16S, OWN_32F}, .call = dct<MOX_DCT_FORWARD>},
         .sizes = {8},
         .goals = within(5)},
        {.operation = {.name = "decompose-haar", .at = {OWN_8U}, .call = decompose<MOX_WT_HAAR, 0, 0>},
         .sizes = FEW_SIZES,
         .goals = within(2)},
        {.operation = {.name = "reconstruct-haar", .at = {OWN_8U}, .call = reconstruct<MOX_WT_HAAR, 0, 0>},
         .sizes = FEW_SIZES,
         .goals = within(2)},
        {.operation = {.name = "decompose-8-taps", .at = {OWN_8U}, .call = decompose<MOX_WT_DAUBECHIES, 4, 0>},
         .sizes = FEW_SIZES,
         .goals = within(4)},
        {.operation = {.name = "reconstruct-8-taps", .at = {OWN_8U}, .call = reconstruct<MOX_WT_DAUBECHIES, 4, 0>},
         .sizes = FEW_SIZES,
         .goals = within(4)},
    },
};
