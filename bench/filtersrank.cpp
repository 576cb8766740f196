// Filters by rank, fixed filters, morphology.

#include "rows.h"

namespace {

using RankFilter = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int);

template <RankFilter filter, int side>
void rank(MoxImage *const *images) {
    filter(images[0], images[1], side, side, side / 2, side / 2);
}

template <int code>
void fixed(MoxImage *const *images) {
    moxFixedFilter(images[0], images[1], code);
}

using Morphology = void(MOX_CALL *)(MoxImage *, MoxImage *, int);

template <Morphology operation, int times>
void morph(MoxImage *const *images) {
    operation(images[0], images[1], times);
}

const std::vector<int> SMALL_DEPTHS = {OWN_8U, OWN_16U};
const std::vector<int> RANK_DEPTHS = {OWN_8U, OWN_16U, OWN_32S};
const std::vector<int> FIXED_DEPTHS = {OWN_8U, OWN_16S, OWN_32F};
const std::vector<int> MORPH_DEPTHS = {OWN_1U, OWN_8U, OWN_16U};

const Operation MEDIAN_3 = {.name = "median-3x3", .at = RANK_DEPTHS, .call = rank<moxMedianFilter, 3>};
const Operation MEDIAN_5 = {.name = "median-5x5", .at = RANK_DEPTHS, .call = rank<moxMedianFilter, 5>};
const Operation MEDIAN_9 = {.name = "median-9x9", .at = SMALL_DEPTHS, .call = rank<moxMedianFilter, 9>};
const Operation MEDIAN_21 = {.name = "median-21x21", .at = SMALL_DEPTHS, .call = rank<moxMedianFilter, 21>};
const Operation COLOR_MEDIAN_3 = {.name = "color-median-3x3", .at = {OWN_8U}, .call = rank<moxColorMedianFilter, 3>};
const Operation MAX_3 = {.name = "max-3x3", .at = RANK_DEPTHS, .call = rank<moxMaxFilter, 3>};
const Operation MAX_15 = {.name = "max-15x15", .at = RANK_DEPTHS, .call = rank<moxMaxFilter, 15>};
const Operation MAX_51 = {.name = "max-51x51", .at = {OWN_8U}, .call = rank<moxMaxFilter, 51>};
const Operation MIN_15 = {.name = "min-15x15", .at = {OWN_8U}, .call = rank<moxMinFilter, 15>};
const Operation PREWITT = {.name = "prewitt-3x3", .at = {OWN_8U}, .call = fixed<MOX_FILTER_PREWITT_3X3_V>};
const Operation SOBEL = {.name = "sobel-3x3", .at = FIXED_DEPTHS, .call = fixed<MOX_FILTER_SOBEL_3X3_H>};
const Operation GAUSSIAN_3 = {.name = "gaussian-3x3", .at = FIXED_DEPTHS, .call = fixed<MOX_FILTER_GAUSSIAN_3X3>};
const Operation GAUSSIAN_5 = {.name = "gaussian-5x5", .at = FIXED_DEPTHS, .call = fixed<MOX_FILTER_GAUSSIAN_5X5>};
const Operation LAPLACIAN_3 = {.name = "laplacian-3x3", .at = {OWN_8U}, .call = fixed<MOX_FILTER_LAPLACIAN_3X3>};
const Operation LAPLACIAN_5 = {.name = "laplacian-5x5", .at = {OWN_8U}, .call = fixed<MOX_FILTER_LAPLACIAN_5X5>};
const Operation HIPASS_5 = {.name = "hipass-5x5", .at = {OWN_8U}, .call = fixed<MOX_FILTER_HIPASS_5X5>};
const Operation SHARPEN_3 = {.name = "sharpen-3x3", .at = {OWN_8U}, .call = fixed<MOX_FILTER_SHARPEN_3X3>};
const Operation DILATE_1 = {.name = "dilate-1", .at = MORPH_DEPTHS, .call = morph<moxDilate, 1>};
const Operation ERODE_7 = {.name = "erode-7", .at = MORPH_DEPTHS, .call = morph<moxErode, 7>};
const Operation OPEN_1 = {.name = "open-1", .at = MORPH_DEPTHS, .call = morph<moxOpen, 1>};
const Operation OPEN_7 = {.name = "open-7", .at = MORPH_DEPTHS, .call = morph<moxOpen, 7>};

// Times that a sample may take within the last-level cache, on a machine that is as wide as level v3.
EntryGoal within(int depth, double ns) {
    return {depth, 1024, {GOAL_NS_PER_SAMPLE, ns}};
}

// The largest window beside a smaller one.
Entry besideMiddle() {
    return {MAX_51, "beside-15x15", {}, {1024}, {{-1, 0, {GOAL_RATIO, 1.3}}}, true, {}, &MAX_15, false};
}

Entry masked(const Operation &operation) {
    return {operation, "masked", {.masked = true}, {1024}, {{-1, 0, {GOAL_RATIO, 1.5}}}, true};
}

}  // namespace

extern const Family rankFamily;
const Family rankFamily = {
    "Filters by rank, fixed filters, morphology",
    {
        {.operation = MEDIAN_3, .goals = {within(OWN_8U, 0.25), within(OWN_16U, 0.5)}},
        {.operation = MEDIAN_5, .goals = {within(OWN_8U, 0.8), within(OWN_16U, 1.6)}},
        {.operation = MEDIAN_9, .sizes = {256, 1024}, .goals = {within(OWN_8U, 8), within(OWN_16U, 40)}},
        {.operation = MEDIAN_21, .sizes = {256, 1024}, .goals = {within(OWN_8U, 12)}},
        {.operation = COLOR_MEDIAN_3, .layout = {.channels = 3}, .sizes = {256, 1024}},
        {.operation = MAX_3},
        {.operation = MAX_15},
        {.operation = MAX_51, .sizes = {1024}},
        {.operation = MIN_15, .sizes = {1024}},
        besideMiddle(),
        {.operation = PREWITT, .goals = {within(OWN_8U, 0.25)}},
        {.operation = SOBEL, .goals = {within(OWN_8U, 0.25)}},
        {.operation = GAUSSIAN_3, .goals = {within(OWN_8U, 0.25)}},
        {.operation = GAUSSIAN_5},
        {.operation = LAPLACIAN_3},
        {.operation = LAPLACIAN_5},
        {.operation = HIPASS_5},
        {.operation = SHARPEN_3},
        {.operation = DILATE_1, .goals = {within(OWN_1U, 0.05)}},
        {.operation = ERODE_7},
        {.operation = OPEN_1},
        {.operation = OPEN_7},
        masked(MEDIAN_3),
        masked(SOBEL),
        masked(DILATE_1),
    },
};
