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

template <int side>
void blur(MoxImage *const *images) {
    moxBlur(images[0], images[1], side, side, side / 2, side / 2);
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

const Operation BLUR_3 = {"blur-3x3", GROUP_FILTER, 1, false, SOME, blur<3>};
const Operation BLUR_5 = {"blur-5x5", GROUP_FILTER, 1, false, SOME, blur<5>};
const Operation BLUR_15 = {"blur-15x15", GROUP_FILTER, 1, false, SOME, blur<15>};
const Operation BLUR_101 = {"blur-101x101", GROUP_FILTER, 1, false, SOME, blur<101>};
const Operation CONVOLVE_3 = {"convolve-3x3", GROUP_FILTER, 1, false, SOME, convolve<3>};
const Operation CONVOLVE_5 = {"convolve-5x5", GROUP_FILTER, 1, false, SOME, convolve<5>};
const Operation CONVOLVE_9 = {"convolve-9x9", GROUP_FILTER, 1, false, SOME, convolve<9>};
const Operation GRADIENT = {"gradient-3x3", GROUP_FILTER, 1, false, {OWN_8U}, gradient};

// Times that a sample may take within the last-level cache, on a machine that is as wide as level v3.
struct TimeGoal {
    const Operation *operation;
    int depth;
    double ns;
};
const TimeGoal TIME_GOALS[] = {
    {&BLUR_3, OWN_8U, 0.5},      {&BLUR_5, OWN_8U, 0.5},      {&BLUR_15, OWN_8U, 0.5},  {&BLUR_101, OWN_8U, 0.5},
    {&BLUR_3, OWN_32F, 1.2},     {&BLUR_5, OWN_32F, 1.2},     {&BLUR_15, OWN_32F, 1.2}, {&BLUR_101, OWN_32F, 1.2},
    {&CONVOLVE_3, OWN_8U, 0.35}, {&CONVOLVE_5, OWN_8U, 0.9},  {&CONVOLVE_9, OWN_8U, 3}, {&CONVOLVE_3, OWN_16S, 0.6},
    {&CONVOLVE_3, OWN_32F, 0.6}, {&CONVOLVE_5, OWN_32F, 1.5},
};

Goal timeGoal(const Operation &operation, int depth) {
    for (const TimeGoal &goal : TIME_GOALS) {
        if (goal.operation == &operation && goal.depth == depth) return {GOAL_NS_PER_SAMPLE, goal.ns};
    }
    return {};
}

Row besideRow(const Operation &operation, const char *layoutName, int depth, int size, Goal goal) {
    Row row = makeRow("Filters", operation, layoutName, depth, size);
    row.hasReference = true;
    row.goal = goal;
    return row;
}

}  // namespace

void addFilterRows(std::vector<Row> *rows) {
    static const Operation *const OPERATIONS[] = {&BLUR_3,     &BLUR_5,     &BLUR_15,    &BLUR_101,
                                                  &CONVOLVE_3, &CONVOLVE_5, &CONVOLVE_9, &GRADIENT};
    for (const Operation *operation : OPERATIONS) {
        for (const int depth : operation->at) {
            for (const int size : SIZES) {
                Row row = makeRow("Filters", *operation, "", depth, size);
                if (size == 1024 && ownCpuLevel() >= OWN_LEVEL_V3) row.goal = timeGoal(*operation, depth);
                rows->push_back(row);
            }
        }
    }
    for (const int depth : SOME) {
        // The largest window beside the smallest.
        Row window = besideRow(BLUR_101, "beside-3x3", depth, 1024, {GOAL_RATIO, 1.3});
        window.referenceOperation = &BLUR_3;
        rows->push_back(window);
    }
    for (const Operation *operation : {&BLUR_5, &CONVOLVE_3, &CONVOLVE_5}) {
        for (const int depth : SOME) {
            Row rgb = besideRow(*operation, "rgb", depth, 1024, {GOAL_RATIO, 1.1});
            rgb.layout.channels = 3;
            rows->push_back(rgb);

            Row masked = besideRow(*operation, "masked", depth, 1024, {GOAL_RATIO, 1.5});
            masked.layout.masked = true;
            rows->push_back(masked);

            // The whole image, rim and all, beside a region that has neighbours on all sides.
            Row rim = besideRow(*operation, "with-rim", depth, 4096, {GOAL_RATIO, 1.05});
            rim.reference.region = true;
            rim.reference.x[0] = rim.reference.x[1] = rim.reference.x[2] = 64;
            rim.reference.y = 64;
            rows->push_back(rim);
        }
    }
}
