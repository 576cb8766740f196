// Filters over neighbourhoods: by rank, with built-in kernels, and morphology.
#include <algorithm>

#include "operations.h"

namespace {

// A picture to filter into, for what does not work in place. The next step finds the same border.
MoxImage *besides(Call *call) {
    MoxImage *result = call->another(call->image->depth, call->image->nChannels);
    std::copy_n(call->image->borderMode, 4, result->borderMode);
    std::copy_n(call->image->borderConst, 4, result->borderConst);
    return result;
}

using RankFilter = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int);

template <RankFilter filter>
void rank(Call *call) {
    const int nCols = call->arguments[0].integer, nRows = call->arguments[1].integer;
    filter(call->image, besides(call), nCols, nRows, nCols / 2, nRows / 2);
}

template <int code>
void fixed(Call *call) {
    moxFixedFilter(call->image, besides(call), code);
}

using Morphology = void(MOX_CALL *)(MoxImage *, MoxImage *, int);

template <Morphology operation>
void morph(Call *call) {
    operation(call->image, call->image, call->arguments[0].integer);
}

}  // namespace

const Family &rankFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Filters by rank, fixed filters, morphology",
        {
            {"median-filter",
             {{K::integer, "X", 1}, {K::integer, "Y", 1}},
             "the median of a box of X by Y pixels around each, channel by channel",
             rank<moxMedianFilter>,
             {{"Specks are gone, and edges stay.", "border-replicate median-filter 3 3", "specks.png"},
              {"A wide box leaves the large shapes.", "border-replicate median-filter 15 15"},
              {"Bits: what most of their neighbours are.", "--depth 1u border-replicate median-filter 9 9"}}},
            {"color-median-filter",
             {{K::integer, "X", 1}, {K::integer, "Y", 1}},
             "the pixel of the box that is nearest to all others: no colour that was not there",
             rank<moxColorMedianFilter>,
             {{"Specks are gone.", "border-replicate color-median-filter 3 3", "specks.png"}}},
            {"max-filter",
             {{K::integer, "X", 1}, {K::integer, "Y", 1}},
             "the largest sample of a box of X by Y pixels",
             rank<moxMaxFilter>,
             {{"Light grows.", "border-replicate max-filter 9 9"}}},
            {"min-filter",
             {{K::integer, "X", 1}, {K::integer, "Y", 1}},
             "the smallest sample of a box of X by Y pixels",
             rank<moxMinFilter>,
             {{"Dark grows.", "border-replicate min-filter 9 9"},
              {"Along columns alone.", "border-replicate min-filter 1 25"}}},
            {"fixed-prewitt-v",
             {},
             "what a pixel's left neighbours are more than its right ones",
             fixed<MOX_FILTER_PREWITT_3X3_V>,
             {{"Vertical edges.", "border-replicate fixed-prewitt-v"}}},
            {"fixed-prewitt-h",
             {},
             "what the neighbours below are more than those above",
             fixed<MOX_FILTER_PREWITT_3X3_H>,
             {{"Horizontal edges.", "border-replicate fixed-prewitt-h"}}},
            {"fixed-sobel-v",
             {},
             "fixed-prewitt-v, the nearest counted twice",
             fixed<MOX_FILTER_SOBEL_3X3_V>,
             {{"Vertical edges.", "border-replicate fixed-sobel-v"},
              {"Signed: those that rise are dark, those that fall are light.",
               "--depth 16s border-replicate fixed-sobel-v"}}},
            {"fixed-sobel-h",
             {},
             "fixed-prewitt-h, the nearest counted twice",
             fixed<MOX_FILTER_SOBEL_3X3_H>,
             {{"Horizontal edges.", "border-replicate fixed-sobel-h"}}},
            {"fixed-laplacian-3",
             {},
             "the pixel eight times, less its neighbours",
             fixed<MOX_FILTER_LAPLACIAN_3X3>,
             {{"Edges to all sides.", "border-replicate fixed-laplacian-3"}}},
            {"fixed-laplacian-5",
             {},
             "the same over five by five, near ones counting for the pixel",
             fixed<MOX_FILTER_LAPLACIAN_5X5>,
             {{"Thicker edges.", "border-replicate fixed-laplacian-5"}}},
            {"fixed-gaussian-3",
             {},
             "a weighted mean of three by three",
             fixed<MOX_FILTER_GAUSSIAN_3X3>,
             {{"A little smoother.", "border-replicate fixed-gaussian-3"}}},
            {"fixed-gaussian-5",
             {},
             "a weighted mean of five by five",
             fixed<MOX_FILTER_GAUSSIAN_5X5>,
             {{"Smoother, three times.", "border-replicate fixed-gaussian-5 fixed-gaussian-5 fixed-gaussian-5"}}},
            {"fixed-hipass-3",
             {},
             "fixed-laplacian-3 by its other name",
             fixed<MOX_FILTER_HIPASS_3X3>,
             {{"What is fine.", "border-replicate fixed-hipass-3"}}},
            {"fixed-hipass-5",
             {},
             "the pixel 24 times, less its neighbours in five by five",
             fixed<MOX_FILTER_HIPASS_5X5>,
             {{"What is less fine, too.", "border-replicate fixed-hipass-5"}}},
            {"fixed-sharpen-3",
             {},
             "the pixel and an eighth of fixed-laplacian-3",
             fixed<MOX_FILTER_SHARPEN_3X3>,
             {{"Sharper.", "border-replicate fixed-sharpen-3"}}},
            {"erode",
             {{K::integer, "N", 1}},
             "the smallest sample of the 3 by 3 pixels around each, N times",
             morph<moxErode>,
             {{"The drawing gets thinner.", "erode 4", "mask.png"}, {"Dark grows.", "border-replicate erode 3"}}},
            {"dilate",
             {{K::integer, "N", 1}},
             "the largest sample of the 3 by 3 pixels around each, N times",
             morph<moxDilate>,
             {{"The drawing gets thicker.", "dilate 4", "mask.png"}}},
            {"open",
             {{K::integer, "N", 1}},
             "erode and dilate: light details that a square of 2 N + 1 does not fit into are gone",
             morph<moxOpen>,
             {{"What is thin is gone, the rest stays.", "open 8", "mask.png"},
              {"Without its lights.", "border-replicate open 5"}}},
            {"close",
             {{K::integer, "N", 1}},
             "dilate and erode: dark details are gone",
             morph<moxClose>,
             {{"Narrow gaps are filled.", "close 8", "mask.png"}}},
        }};
    return family;
}
