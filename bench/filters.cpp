// Filters: blur, convolution and gradient, with kernels like those that applications use.

#include "rows.h"

namespace {

// Coefficients from -3 to 7 around a large one in the middle, each in its place.
template <int side>
int coefficient(int i) {
    return i == side * side / 2 ? 16 : i * 7 % 11 - 3;
}

template <int side>
MoxConvKernel *intKernel() {
    static MoxConvKernel *const kernel = [] {
        int values[side * side];
        for (int i = 0; i < side * side; ++i)
            values[i] = coefficient<side>(i);
        return moxCreateConvKernel(side, side, side / 2, side / 2, values, 4);
    }();
    return kernel;
}

template <int side>
MoxConvKernelFP *realKernel() {
    static MoxConvKernelFP *const kernel = [] {
        float values[side * side];
        for (int i = 0; i < side * side; ++i)
            values[i] = static_cast<float>(coefficient<side>(i)) / 16;
        return moxCreateConvKernelFP(side, side, side / 2, side / 2, values);
    }();
    return kernel;
}

template <int side>
void convolve(MoxImage *const *images) {
    if (images[0]->depth == MOX_DEPTH_32F) {
        MoxConvKernelFP *kernel = realKernel<side>();
        moxConvolve2DFP(images[0], images[1], &kernel, 1, MOX_COMBINE_SUM);
    } else {
        MoxConvKernel *kernel = intKernel<side>();
        moxConvolve2D(images[0], images[1], &kernel, 1, MOX_COMBINE_SUM);
    }
}

// A row and a column of coefficients like those of a Gaussian, but each of its own.
template <int side>
void convolveSeparable(MoxImage *const *images) {
    static int values[side];
    static float reals[side];
    for (int i = 0; i < side; ++i) {
        values[i] = 1 + i * 7 % 5 + (i == side / 2 ? 4 : 0);
        reals[i] = static_cast<float>(values[i]) / 16;
    }
    if (images[0]->depth == MOX_DEPTH_32F) {
        MoxConvKernelFP x = {side, 1, side / 2, 0, reals}, y = {1, side, 0, side / 2, reals};
        moxConvolveSep2DFP(images[0], images[1], &x, &y);
    } else {
        MoxConvKernel x = {side, 1, side / 2, 0, values, 4}, y = {1, side, 0, side / 2, values, 4};
        moxConvolveSep2D(images[0], images[1], &x, &y);
    }
}

// Coefficients that sum up to 256, as bytes are smoothed by: a column's sums fill 16 bits.
void convolveSeparableTo256(MoxImage *const *images) {
    static int values[] = {2, 4, 8, 13, 19, 26, 31, 50, 31, 26, 19, 13, 8, 4, 2};
    MoxConvKernel x = {15, 1, 7, 0, values, 8}, y = {1, 15, 0, 7, values, 8};
    moxConvolveSep2D(images[0], images[1], &x, &y);
}

template <int side>
void blur(MoxImage *const *images) {
    moxBlur(images[0], images[1], side, side, side / 2, side / 2);
}

// A template cut out of the source.
template <int side>
void correlate(MoxImage *const *images) {
    MoxROI roi = {0, images[0]->width / 3, images[0]->height / 3, side, side};
    MoxImage cut = *images[0];
    cut.roi = &roi;
    cut.maskROI = nullptr;
    moxNormCrossCorr(&cut, images[0], images[1]);
}

// Sobel's two kernels, and the length of what they give.
void gradient(MoxImage *const *images) {
    static constexpr int ACROSS[] = {-1, 0, 1, -2, 0, 2, -1, 0, 1}, DOWN[] = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
    static MoxConvKernel *kernels[] = {
        moxCreateConvKernel(3, 3, 1, 1, ACROSS, 0),
        moxCreateConvKernel(3, 3, 1, 1, DOWN, 0),
    };
    moxConvolve2D(images[0], images[1], kernels, 2, MOX_COMBINE_SUMSQROOT);
}

const std::vector<int> SOME = {OWN_8U, OWN_16S, OWN_32F};

const Operation BLUR_3 = {.name = "blur-3x3", .at = SOME, .call = blur<3>};
const Operation BLUR_5 = {.name = "blur-5x5", .at = SOME, .call = blur<5>};
const Operation BLUR_15 = {.name = "blur-15x15", .at = SOME, .call = blur<15>};
const Operation BLUR_101 = {.name = "blur-101x101", .at = SOME, .call = blur<101>};
const Operation CONVOLVE_3 = {.name = "convolve-3x3", .at = SOME, .call = convolve<3>};
const Operation CONVOLVE_5 = {.name = "convolve-5x5", .at = SOME, .call = convolve<5>};
const Operation CONVOLVE_9 = {.name = "convolve-9x9", .at = SOME, .call = convolve<9>};
const Operation SEPARABLE_5 = {.name = "convolve-sep-5", .at = SOME, .call = convolveSeparable<5>};
const Operation SEPARABLE_15 = {.name = "convolve-sep-15", .at = SOME, .call = convolveSeparable<15>};
const Operation SEPARABLE_TO_256 = {.name = "convolve-sep-15-to-256", .at = {OWN_8U}, .call = convolveSeparableTo256};
const Operation CORRELATE_8 = {.name = "correlate-8x8", .at = SOME, .call = correlate<8>};
const Operation CORRELATE_16 = {.name = "correlate-16x16", .at = SOME, .call = correlate<16>};
const Operation CORRELATE_TO_FLOAT = {
    .name = "correlate-16x16-to-float", .at = {OWN_8U}, .call = correlate<16>, .destination = {.depthIndex = OWN_32F}};
const Operation GRADIENT = {.name = "gradient-3x3", .at = {OWN_8U}, .call = gradient};

// Times that a sample may take within the last-level cache, on a machine that is as wide as level v3.
EntryGoal within(int depth, double ns) {
    return {depth, 1024, {GOAL_NS_PER_SAMPLE, ns}};
}

const std::vector<EntryGoal> BLUR_TIMES = {within(OWN_8U, 0.5), within(OWN_32F, 1.2)};
const std::vector<EntryGoal> CONVOLVE_3_TIMES = {within(OWN_8U, 0.35), within(OWN_16S, 0.6), within(OWN_32F, 0.6)};

// The largest window beside the smallest.
Entry besideSmallest() {
    return {BLUR_101, "beside-3x3", {}, {1024}, {{-1, 0, {GOAL_RATIO, 1.3}}}, true, {}, &BLUR_3, false};
}

Entry rgb(const Operation &operation) {
    return {operation, "rgb", {.channels = 3}, {1024}, {{-1, 0, {GOAL_RATIO, 1.1}}}, true};
}

Entry masked(const Operation &operation) {
    return {operation, "masked", {.masked = true}, {1024}, {{-1, 0, {GOAL_RATIO, 1.5}}}, true};
}

// The whole image, rim and all, beside a region that has neighbours on all sides.
Entry withRim(const Operation &operation) {
    const Layout region = {.region = true, .x = {64, 64, 64}, .y = 64};
    return {operation, "with-rim", {}, {4096}, {{-1, 0, {GOAL_RATIO, 1.05}}}, true, region, nullptr, false};
}

}  // namespace

extern const Family filterFamily;
const Family filterFamily = {
    "Filters",
    {
        {.operation = BLUR_3, .goals = BLUR_TIMES},
        {.operation = BLUR_5, .goals = BLUR_TIMES},
        {.operation = BLUR_15, .goals = BLUR_TIMES},
        {.operation = BLUR_101, .goals = BLUR_TIMES},
        {.operation = CONVOLVE_3, .goals = CONVOLVE_3_TIMES},
        {.operation = CONVOLVE_5, .goals = {within(OWN_8U, 0.9), within(OWN_32F, 1.5)}},
        {.operation = CONVOLVE_9, .goals = {within(OWN_8U, 3)}},
        {.operation = GRADIENT},
        {.operation = SEPARABLE_5, .sizes = {256, 1024}},
        {.operation = SEPARABLE_15, .sizes = {256, 1024}},
        {.operation = SEPARABLE_TO_256, .sizes = {256, 1024}},
        {.operation = CORRELATE_8, .sizes = {256}},
        {.operation = CORRELATE_16, .sizes = {256}, .goals = {{OWN_8U, 256, {GOAL_NS_PER_SAMPLE, 15}}}},
        {.operation = CORRELATE_TO_FLOAT, .sizes = {256}},
        besideSmallest(),
        rgb(BLUR_5),
        rgb(CONVOLVE_3),
        rgb(CONVOLVE_5),
        rgb(SEPARABLE_5),
        masked(BLUR_5),
        masked(CONVOLVE_3),
        masked(CONVOLVE_5),
        withRim(BLUR_5),
        withRim(CONVOLVE_3),
        withRim(CONVOLVE_5),
    },
};
