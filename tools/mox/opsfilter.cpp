// Filters over neighbourhoods: box and convolution, with kernels as typed or by name.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

struct Kernel {
    int nCols;
    int nRows;
    std::vector<double> values;
    int shift;
};

struct DeleteKernel {
    void operator()(MoxConvKernel *kernel) const { moxDeleteConvKernel(kernel); }
    void operator()(MoxConvKernelFP *kernel) const { moxDeleteConvKernelFP(kernel); }
};

template <typename Record>
using KernelPtr = std::unique_ptr<Record, DeleteKernel>;

void make(const Kernel &kernel, KernelPtr<MoxConvKernel> *made) {
    std::vector<int> values;
    for (const double value : kernel.values) {
        if (value != std::floor(value) || std::fabs(value) > 1e9)
            fail(exitUsage, "convolve: at this depth the values are whole numbers (try --depth 32f)");
        values.push_back(static_cast<int>(value));
    }
    made->reset(moxCreateConvKernel(kernel.nCols, kernel.nRows, kernel.nCols / 2, kernel.nRows / 2, values.data(),
                                    kernel.shift));
}

// In floating point the shift is a factor.
void make(const Kernel &kernel, KernelPtr<MoxConvKernelFP> *made) {
    std::vector<float> values;
    for (const double value : kernel.values)
        values.push_back(static_cast<float>(std::ldexp(value, -kernel.shift)));
    made->reset(moxCreateConvKernelFP(kernel.nCols, kernel.nRows, kernel.nCols / 2, kernel.nRows / 2, values.data()));
}

template <typename Record, typename Convolve>
void convolveWith(Convolve convolve, MoxImage *image, const std::vector<Kernel> &kernels, int method) {
    std::vector<KernelPtr<Record>> owners;
    std::vector<Record *> records;
    for (const Kernel &kernel : kernels) {
        owners.emplace_back();
        make(kernel, &owners.back());
        if (!owners.back()) return;  // reported
        records.push_back(owners.back().get());
    }
    convolve(image, image, records.data(), static_cast<int>(records.size()), method);
}

void convolveAll(MoxImage *image, const std::vector<Kernel> &kernels, int method) {
    if (image->depth == MOX_DEPTH_32F) {
        convolveWith<MoxConvKernelFP>(moxConvolve2DFP, image, kernels, method);
    } else {
        convolveWith<MoxConvKernel>(moxConvolve2D, image, kernels, method);
    }
}

template <int mode>
void border(Call *call) {
    moxSetBorderMode(call->image, mode, MOX_SIDE_ALL, 0);
}

void borderConstant(Call *call) {
    moxSetBorderMode(call->image, MOX_BORDER_CONSTANT, MOX_SIDE_ALL, call->arguments[0].integer);
}

void blur(Call *call) {
    const int nCols = call->arguments[0].integer, nRows = call->arguments[1].integer;
    // Sums of floats begin anew with each tile, and their rounding errors with them.
    const ImagePtr whole = call->image->depth == MOX_DEPTH_32F ? wholeOf(call->image) : nullptr;
    MoxImage *const image = whole ? whole.get() : call->image;
    moxBlur(image, image, nCols, nRows, nCols / 2, nRows / 2);
    if (whole) putWhole(whole, call->image);
}

// As many values as a square has are a square; others are a row.
void convolve(Call *call) {
    const int shift = call->arguments[0].integer;
    if (shift < 0 || shift > 31) fail(exitUsage, "convolve: N must be a shift, from 0 to 31");
    const std::vector<double> &values = call->arguments[1].samples;
    const auto count = static_cast<int>(values.size());
    const auto side = static_cast<int>(std::lround(std::sqrt(count)));
    const bool square = side * side == count;
    convolveAll(call->image, {{square ? side : count, square ? side : 1, values, shift}}, MOX_COMBINE_SUM);
}

// A row and a column, through another image: the library does not do it in place.
void convolveSeparable(Call *call) {
    const int shift = call->arguments[0].integer;
    if (shift < 0 || shift > 31) fail(exitUsage, "convolve-sep: N must be a shift, from 0 to 31");
    const auto row = static_cast<int>(call->arguments[1].samples.size());
    const auto column = static_cast<int>(call->arguments[2].samples.size());
    const Kernel x = {row, 1, call->arguments[1].samples, shift}, y = {1, column, call->arguments[2].samples, 0};
    MoxImage *result = call->another(call->image->depth, call->image->nChannels);
    // What follows finds the same beyond the edges.
    std::copy(std::begin(call->image->borderMode), std::end(call->image->borderMode), result->borderMode);
    std::copy(std::begin(call->image->borderConst), std::end(call->image->borderConst), result->borderConst);
    if (call->image->depth == MOX_DEPTH_32F) {
        KernelPtr<MoxConvKernelFP> first, second;
        make(x, &first);
        make(y, &second);
        if (first && second) moxConvolveSep2DFP(call->image, result, first.get(), second.get());
    } else {
        KernelPtr<MoxConvKernel> first, second;
        make(x, &first);
        make(y, &second);
        if (first && second) moxConvolveSep2D(call->image, result, first.get(), second.get());
    }
}

void sharpen(Call *call) {
    convolveAll(call->image, {{3, 3, {0, -1, 0, -1, 5, -1, 0, -1, 0}, 0}}, MOX_COMBINE_SUM);
}
void smooth(Call *call) {
    convolveAll(call->image, {{3, 3, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 4}}, MOX_COMBINE_SUM);
}
void emboss(Call *call) {
    convolveAll(call->image, {{3, 3, {2, 1, 0, 1, 1, -1, 0, -1, -2}, 0}}, MOX_COMBINE_SUM);
}
void laplace(Call *call) {
    convolveAll(call->image, {{3, 3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}, 0}}, MOX_COMBINE_SUM);
}

// The library knows which methods there are.
void sobel(Call *call) {
    convolveAll(call->image, {{3, 3, {1, 0, -1, 2, 0, -2, 1, 0, -1}, 0}, {3, 3, {1, 2, 1, 0, 0, 0, -1, -2, -1}, 0}},
                call->arguments[0].integer);
}
void prewitt(Call *call) {
    convolveAll(call->image, {{3, 3, {1, 0, -1, 1, 0, -1, 1, 0, -1}, 0}, {3, 3, {1, 1, 1, 0, 0, 0, -1, -1, -1}, 0}},
                call->arguments[0].integer);
}
void roberts(Call *call) {
    convolveAll(call->image, {{2, 2, {1, 0, 0, -1}, 0}, {2, 2, {0, 1, -1, 0}, 0}}, call->arguments[0].integer);
}

}  // namespace

const Family &filterFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Filters over neighbourhoods",
        {
            {"border-constant",
             {{K::integer, "VALUE"}},
             "what follows finds VALUE beyond the edges (at first the edge goes on there)",
             borderConstant,
             {{"Gray beyond the edges, and a wide box.", "border-constant 128 blur 61 61"}}},
            {"border-replicate",
             {},
             "what follows finds the nearest pixel beyond the edges",
             border<MOX_BORDER_REPLICATE>,
             {{"The edge goes on.", "border-replicate blur 61 61"}}},
            {"border-reflect",
             {},
             "what follows finds the picture mirrored beyond the edges",
             border<MOX_BORDER_REFLECT>,
             {{"The picture is mirrored.", "border-reflect blur 61 61"}}},
            {"border-wrap",
             {},
             "what follows finds the picture's other side beyond the edges",
             border<MOX_BORDER_WRAP>,
             {{"The picture goes on at its other side.", "border-wrap blur 61 61"}}},
            {"blur",
             {{K::integer, "X", 1}, {K::integer, "Y", 1}},
             "the mean of a box of X by Y pixels around each, cut off",
             blur,
             {{"A box of nine by nine.", "border-replicate blur 9 9"},
              {"Wide and low.", "border-replicate blur 41 1"},
              {"In a region only: the pixels around it are seen all the same.",
               "--roi {w25},{h25},{w50},{h50} blur 21 21"}}},
            {"convolve",
             {{K::integer, "N", 0, 31}, {K::samples, "V,V,..."}},
             "convolution with the values of a square (or a row), shifted right by N",
             convolve,
             {{"Drawn out along a row of eight.", "border-replicate convolve 3 1,1,1,1,1,1,1,1"},
              {"Bits: those with half of their neighbours set.",
               "--depth 1u border-replicate convolve 2 1,1,1,1,0,1,1,1,1"}}},
            {"convolve-sep",
             {{K::integer, "N", 0, 31}, {K::samples, "V,V,..."}, {K::samples, "W,W,..."}},
             "convolution with the column W,W,... and then the row V,V,..., shifted right by N at the end",
             convolveSeparable,
             {{"Gaussian weights along rows and columns.",
               "border-replicate convolve-sep 12 1,6,15,20,15,6,1 1,6,15,20,15,6,1"}}},
            {"convolve-sharpen",
             {},
             "convolution: the pixel five times, less its four neighbours",
             sharpen,
             {{"Sharper.", "border-replicate convolve-sharpen"}}},
            {"convolve-smooth",
             {},
             "convolution: a binomial of three by three",
             smooth,
             {{"Smoother, three times.", "border-replicate convolve-smooth convolve-smooth convolve-smooth"}}},
            {"convolve-emboss",
             {},
             "convolution: light from one corner",
             emboss,
             {{"A relief.", "border-replicate convolve-emboss"}}},
            {"convolve-laplace",
             {},
             "convolution: how far a pixel is from its eight neighbours",
             laplace,
             {{"Edges alone.", "border-replicate convolve-laplace"}}},
            {"gradient-sobel",
             {{K::integer, "N", 0, 4}},
             "two kernels, combined: N 0 sum, 1 squares, 2 root of squares, 3 larger, 4 smaller",
             sobel,
             {{"The gradient's length.", "border-replicate gradient-sobel 2"},
              {"Its square, which soon saturates.", "border-replicate gradient-sobel 1"}}},
            {"gradient-prewitt",
             {{K::integer, "N", 0, 4}},
             "the same with kernels of equal weights",
             prewitt,
             {{"Both directions added.", "border-replicate gradient-prewitt 0"},
              {"The larger of both.", "border-replicate gradient-prewitt 3"},
              {"The smaller of both: what falls both ways.", "border-replicate gradient-prewitt 4"}}},
            {"gradient-roberts",
             {{K::integer, "N", 0, 4}},
             "the same with differences along the diagonals",
             roberts,
             {{"Thin edges.", "border-replicate gradient-roberts 2"}}},
        }};
    return family;
}
