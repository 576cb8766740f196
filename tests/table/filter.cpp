// Example calls: filters, and the records of their kernels.

#include <vector>

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, PIXELS = Touches::PIXELS;

// A kernel of 5 x 5 at most.
template <typename Value>
struct ExampleKernel {
    int nCols, nRows, anchorX, anchorY;
    Value values[25];

    explicit ExampleKernel(Call &call)
        : nCols(call.choice(3, 6)), nRows(call.choice(2, 6)), anchorX(call.choice(1, 3)), anchorY(call.choice(0, 3)) {
        if (nCols > 5) nCols = 5;
        if (nRows > 5) nRows = 5;
        for (int i = 0; i < 25; ++i) {
            const int value = call.choice(i % 4, 9);
            values[i] = static_cast<Value>(value >= 0 && value < 9 ? value - 4 : value);
        }
    }
};

MoxConvKernel *createKernel(Call &call) {
    const ExampleKernel<int> k(call);
    return moxCreateConvKernel(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values,
                               call.random ? call.random->below(32) : 1);
}
MoxConvKernel *createKernelChar(Call &call) {
    const ExampleKernel<signed char> k(call);
    return moxCreateConvKernelChar(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values,
                                   call.random ? call.random->below(32) : 1);
}
MoxConvKernelFP *createKernelFP(Call &call) {
    const ExampleKernel<float> k(call);
    return moxCreateConvKernelFP(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values);
}
void freeKernel(MoxConvKernel *kernel) {
    if (kernel) moxDeleteConvKernel(kernel);
}
void freeKernel(MoxConvKernelFP *kernel) {
    if (kernel) moxDeleteConvKernelFP(kernel);
}

// Kernel records by hand, so that nothing but the function itself takes memory.
template <typename Values>
void getKernel(Call &call, MoxStatus(MOX_CALL *get)(MoxConvKernel *, int *, int *, int *, int *, Values **, int *)) {
    ExampleKernel<int> k(call);
    MoxConvKernel kernel = {k.nCols, k.nRows, k.anchorX, k.anchorY, k.values, 1};
    Values values[25];
    Values *place = values;
    int nCols, nRows, anchorX, anchorY, shift;
    get(&kernel, &nCols, &nRows, &anchorX, &anchorY, &place, &shift);
}

void getKernelFP(Call &call) {
    ExampleKernel<float> k(call);
    MoxConvKernelFP kernel = {k.nCols, k.nRows, k.anchorX, k.anchorY, k.values};
    float values[25];
    float *place = values;
    int nCols, nRows, anchorX, anchorY;
    moxGetConvKernelFP(&kernel, &nCols, &nRows, &anchorX, &anchorY, &place);
}

// One or two kernels, combined.
void convolve(Call &call) {
    ExampleKernel<int> first(call), second(call);
    const int shift = call.random ? call.random->below(32) : 1, count = call.choice(2, 3), method = call.choice(0, 5);
    MoxConvKernel kernels[2] = {{first.nCols, first.nRows, first.anchorX, first.anchorY, first.values, shift},
                                {second.nCols, second.nRows, second.anchorX, second.anchorY, second.values, 0}};
    MoxConvKernel *list[2] = {&kernels[0], &kernels[1]};
    moxConvolve2D(call.src(), call.dst(), list, count > 2 && count <= 10 ? 2 : count, method);
}

void convolveFP(Call &call) {
    ExampleKernel<float> first(call), second(call);
    const int count = call.choice(2, 3), method = call.choice(0, 5);
    MoxConvKernelFP kernels[2] = {{first.nCols, first.nRows, first.anchorX, first.anchorY, first.values},
                                  {second.nCols, second.nRows, second.anchorX, second.anchorY, second.values}};
    MoxConvKernelFP *list[2] = {&kernels[0], &kernels[1]};
    moxConvolve2DFP(call.src(), call.dst(), list, count > 2 && count <= 10 ? 2 : count, method);
}

// A row and a column.
void convolveSeparable(Call &call) {
    ExampleKernel<int> x(call), y(call);
    const int shift = call.random ? call.random->below(32) : 1;
    MoxConvKernel row = {x.nCols, 1, x.anchorX, 0, x.values, shift}, column = {1, y.nRows, 0, y.anchorY, y.values, 1};
    moxConvolveSep2D(call.src(), call.dst(), call.choice(1, 5) ? &row : nullptr, call.choice(1, 5) ? &column : nullptr);
}

void convolveSeparableFP(Call &call) {
    ExampleKernel<float> x(call), y(call);
    MoxConvKernelFP row = {x.nCols, 1, x.anchorX, 0, x.values}, column = {1, y.nRows, 0, y.anchorY, y.values};
    moxConvolveSep2DFP(call.src(), call.dst(), call.choice(1, 5) ? &row : nullptr,
                       call.choice(1, 5) ? &column : nullptr);
}

// A template of a few pixels in memory of its own, like the source in all but size.
void correlate(Call &call) {
    const MoxImage *src = call.src();
    MoxImage header = {};
    std::vector<char> samples;
    if (src && src->nChannels > 0 && src->nChannels <= 64) {
        header = *src;
        header.roi = nullptr;
        header.maskROI = nullptr;
        header.tileInfo = nullptr;
        header.width = 5;
        header.height = 4;
        header.widthStep = 32 * src->nChannels;
        header.imageSize = header.widthStep * 4 * src->nChannels;
        samples.resize(static_cast<size_t>(header.imageSize));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<char>(i * 37 % 61);
        header.imageData = samples.data();
    }
    MoxROI roi = {src && src->roi ? src->roi->coi : 0, call.choice(1, 3), call.choice(0, 3), call.choice(4, 6),
                  call.choice(3, 5)};
    header.roi = &roi;
    moxNormCrossCorr(src ? &header : nullptr, call.src(), call.dst());
}

void blur(Call &call) {
    const int nCols = call.size(3), nRows = call.size(5), anchorX = call.choice(1, 3), anchorY = call.choice(2, 3);
    moxBlur(call.src(), call.dst(), nCols, nRows, anchorX, anchorY);
}

using RankFilter = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int);

template <RankFilter filter>
void rank(Call &call) {
    const int nCols = call.size(3), nRows = call.size(5), anchorX = call.choice(1, 3), anchorY = call.choice(2, 3);
    filter(call.src(), call.dst(), nCols, nRows, anchorX, anchorY);
}

void fixedFilter(Call &call) {
    moxFixedFilter(call.src(), call.dst(), call.choice(MOX_FILTER_LAPLACIAN_5X5, 12));
}

using Morphology = void(MOX_CALL *)(MoxImage *, MoxImage *, int);

template <Morphology operation>
void morph(Call &call) {
    operation(call.src(), call.dst(), call.size(2));
}

}  // namespace

std::vector<Example> filterExamples() {
    return {
        {"moxBlur", PIXELS, 2, blur, {.tiledDiffers = true, .neighbours = true}},
        {"moxCreateConvKernel", NOTHING, 0, [](Call &c) { freeKernel(createKernel(c)); }, {.leaks = 1}},
        {"moxCreateConvKernelChar", NOTHING, 0, [](Call &c) { freeKernel(createKernelChar(c)); }, {.leaks = 1}},
        {"moxCreateConvKernelFP", NOTHING, 0, [](Call &c) { freeKernel(createKernelFP(c)); }, {.leaks = 1}},
        {"moxGetConvKernel", NOTHING, 0, [](Call &c) { getKernel(c, moxGetConvKernel); }},
        {"moxGetConvKernelChar", NOTHING, 0, [](Call &c) { getKernel(c, moxGetConvKernelChar); }},
        {"moxGetConvKernelFP", NOTHING, 0, getKernelFP},
        {"moxDeleteConvKernel",
         NOTHING,
         0,
         [](Call &c) { freeKernel(createKernel(c)); },
         {.reportsAs = "moxCreateConvKernel", .leaks = 1}},
        {"moxDeleteConvKernelFP",
         NOTHING,
         0,
         [](Call &c) { freeKernel(createKernelFP(c)); },
         {.reportsAs = "moxCreateConvKernelFP", .leaks = 1}},
        {"moxMaxFilter", PIXELS, 2, rank<moxMaxFilter>, {.neighbours = true}},
        {"moxMinFilter", PIXELS, 2, rank<moxMinFilter>, {.neighbours = true}},
        {"moxMedianFilter", PIXELS, 2, rank<moxMedianFilter>, {.neighbours = true}},
        {"moxColorMedianFilter", PIXELS, 2, rank<moxColorMedianFilter>, {.neighbours = true}},
        {"moxFixedFilter", PIXELS, 2, fixedFilter, {.neighbours = true, .tool = "fixed-laplacian-5"}},
        {"moxErode", PIXELS, 2, morph<moxErode>, {.neighbours = true}},
        {"moxDilate", PIXELS, 2, morph<moxDilate>, {.neighbours = true}},
        {"moxOpen", PIXELS, 2, morph<moxOpen>, {.neighbours = true}},
        {"moxClose", PIXELS, 2, morph<moxClose>, {.neighbours = true}},
        {"moxConvolve2D", PIXELS, 2, convolve, {.neighbours = true, .tool = "convolve"}},
        {"moxConvolve2DFP", PIXELS, 2, convolveFP, {.depth = MOX_DEPTH_32F, .neighbours = true, .tool = "convolve"}},
        {"moxNormCrossCorr", PIXELS, 2, correlate, {.tiledDiffers = true, .neighbours = true, .tool = "find"}},
        {"moxConvolveSep2D", PIXELS, 2, convolveSeparable, {.neighbours = true, .tool = "convolve-sep"}},
        {"moxConvolveSep2DFP",
         PIXELS,
         2,
         convolveSeparableFP,
         {.depth = MOX_DEPTH_32F, .neighbours = true, .tool = "convolve-sep"}},
    };
}
