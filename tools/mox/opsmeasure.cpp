// Comparisons, measures that are printed, and levels mapped by tables.
#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <numeric>

#include "failure.h"
#include "histogram.h"
#include "image.h"
#include "norms.h"
#include "operations.h"

namespace {

// The result of a comparison: black where nothing is compared, outside of region and mask.
MoxImage *makeBits(Call *call) {
    MoxImage *bits = call->another(MOX_DEPTH_1U, 1);
    MoxROI *const roi = bits->roi;
    MoxImage *const mask = bits->maskROI;
    bits->roi = nullptr;
    bits->maskROI = nullptr;
    moxSet(bits, 0);
    bits->roi = roi;
    bits->maskROI = mask;
    return bits;
}

template <MoxStatus(MOX_CALL *compare)(MoxImage *, MoxImage *, MoxImage *)>
void pair(Call *call) {
    compare(call->image, call->other, makeBits(call));
}

template <MoxStatus(MOX_CALL *compare)(MoxImage *, int, MoxImage *)>
void withInteger(Call *call) {
    compare(call->image, call->arguments[0].integer, makeBits(call));
}

template <MoxStatus(MOX_CALL *compare)(MoxImage *, float, MoxImage *)>
void withReal(Call *call) {
    compare(call->image, call->arguments[0].real, makeBits(call));
}

template <std::same_as<double>... Numbers>
void print(Call *call, const char *format, Numbers... numbers) {
    char text[200];
    std::snprintf(text, sizeof text, format, numbers...);
    call->printed += text;
}

void minMax(Call *call) {
    float min = 0, max = 0;
    if (moxMinMaxFP(call->image, &min, &max) == MOX_StatusNoError)
        print(call, "%.9g to %.9g\n", static_cast<double>(min), static_cast<double>(max));
}

void printMoments(Call *call, MoxMomentState state) {
    const double mass = moxGetSpatialMoment(state, 0, 0);
    print(call, "  mass %.10g", mass);
    if (mass != 0) {
        print(call, ", centre %.6g, %.6g", moxGetSpatialMoment(state, 1, 0) / mass,
              moxGetSpatialMoment(state, 0, 1) / mass);
    }
    print(call, "\n  central  20: %-12.6g 11: %-12.6g 02: %.6g\n", moxGetCentralMoment(state, 2, 0),
          moxGetCentralMoment(state, 1, 1), moxGetCentralMoment(state, 0, 2));
    print(call, "  central  30: %-12.6g 21: %-12.6g 12: %-12.6g 03: %.6g\n", moxGetCentralMoment(state, 3, 0),
          moxGetCentralMoment(state, 2, 1), moxGetCentralMoment(state, 1, 2), moxGetCentralMoment(state, 0, 3));
}

// The library takes one channel at a time.
void moments(Call *call) {
    MoxImage *const image = call->image;
    MoxROI *const given = image->roi;
    for (int c = 0; c < image->nChannels; c++) {
        if (!isProcessed(image, c)) continue;
        MoxROI one = given ? *given : MoxROI{0, 0, 0, image->width, image->height};
        one.coi = c + 1;
        image->roi = &one;
        MoxMomentState state = {};
        moxMoments(image, state);
        image->roi = given;
        call->printed += std::string(channelName(image->nChannels, c)) + "\n";
        printMoments(call, state);
    }
}

// A curve by its value at each level, on all channels. The library refuses depths that have no levels.
void mapLevels(Call *call, double (*curve)(double level, const std::vector<double> &points),
               const std::vector<double> &points) {
    LevelTables tables(call->image);
    for (std::vector<int> &values : tables.values) {
        const auto full = static_cast<double>(values.size() - 2);
        for (std::size_t level = 0; level + 1 < values.size(); level++) {
            const double value = curve(static_cast<double>(level), points);
            values[level] = static_cast<int>(std::lround(std::min(std::max(value, 0.0), full)));
        }
    }
    moxContrastStretch(call->image, call->image, tables.pointers.data());
}

// Lines from point to point; level beyond the first and the last.
double throughPoints(double level, const std::vector<double> &points) {
    std::size_t right = 0;
    while (right < points.size() && points[right] <= level)
        right += 2;
    if (right == 0) return points[1];
    if (right == points.size()) return points.back();
    const double left = points[right - 2], low = points[right - 1];
    return low + (level - left) * (points[right + 1] - low) / (points[right] - left);
}

double whiteOf(const MoxImage *image) {
    return image->depth == MOX_DEPTH_16U ? 65535 : 255;
}

void stretch(Call *call) {
    const int low = call->arguments[0].integer, high = call->arguments[1].integer;
    const double white = whiteOf(call->image);
    if (low < 0 || low >= high || high > white)
        fail(exitUsage, "stretch: LOW must be less than HIGH, both from 0 to " + std::to_string(std::lround(white)));
    mapLevels(call, throughPoints, {static_cast<double>(low), 0, static_cast<double>(high), white});
}

void stretchPoints(Call *call) {
    const std::vector<double> &points = call->arguments[0].samples;
    bool fits = points.size() >= 4 && points.size() % 2 == 0;
    for (std::size_t i = 0; i < points.size(); i++) {
        fits = fits && points[i] >= 0 && points[i] <= whiteOf(call->image);
        if (i >= 2 && i % 2 == 0) fits = fits && points[i] > points[i - 2];
    }
    if (!fits) {
        fail(exitUsage,
             "stretch-points: wants pairs of a level and its result, at least two, levels ascending, "
             "all from 0 to " +
                 std::to_string(std::lround(whiteOf(call->image))));
    }
    mapLevels(call, throughPoints, points);
}

// At 8 bits the library's running sums wrap beyond this many samples. Counts of larger pictures are halved until they
// fit; a level that is there stays.
constexpr std::int64_t mostCounted = 8421504;

void fitCounts(std::vector<int> *counts) {
    while (std::accumulate(counts->begin(), counts->end(), std::int64_t{0}) > mostCounted) {
        for (int &count : *counts)
            count = count / 2 + count % 2;
    }
}

void equalize(Call *call) {
    LevelTables tables(call->image);
    countInto(call->image, &tables);
    for (std::vector<int> &counts : tables.values) {
        if (call->image->depth == MOX_DEPTH_8U) fitCounts(&counts);
    }
    moxHistoEqualize(call->image, call->image, tables.pointers.data());
}

}  // namespace

const Family &comparisonFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Comparisons: a bit for each pixel, white where all channels agree",
        {
            {"less",
             {{K::picture, "PICTURE"}},
             "white where A < B in every channel",
             pair<moxLess>,
             {{"Where the picture is darker than the vignette.", "less vignette.png"},
              {"The relief's shaded sides: darker than what is two pixels aside.", "less shifted.png"}}},
            {"greater",
             {{K::picture, "PICTURE"}},
             "white where A > B in every channel",
             pair<moxGreater>,
             {{"Where the picture is lighter than its negative: the light half of it.", "greater negative.png"}}},
            {"equal",
             {{K::picture, "PICTURE"}},
             "white where A = B in every channel",
             pair<moxEqual>,
             {{"What stays the same at half the light: the black around the lights.", "equal faint.png", "discs.png"}}},
            {"equal-fpeps",
             {{K::picture, "PICTURE"}, {K::real, "EPS"}},
             "white where A and B are less than EPS apart in every channel, at depth 32f",
             [](Call *call) { moxEqualFPEps(call->image, call->other, makeBits(call), call->arguments[1].real); },
             {{"What hardly changes over two pixels: the edges stay black.",
               "--depth 32f equal-fpeps shifted.png 0.02"}}},
            {"less-s",
             {{K::integer, "VALUE"}},
             "white where A < VALUE in every channel",
             withInteger<moxLessS>,
             {{"The shadows.", "less-s 100"}}},
            {"greater-s",
             {{K::integer, "VALUE"}},
             "white where A > VALUE in every channel",
             withInteger<moxGreaterS>,
             {{"A threshold: where red, green and blue are all above 128.", "greater-s 128"},
              {"Blue alone: the sky and what is as blue.", "--coi 3 greater-s 150"}}},
            {"equal-s",
             {{K::integer, "VALUE"}},
             "white where A = VALUE in every channel",
             withInteger<moxEqualS>,
             {{"A contour map of green: every fourth of its sixteen tones.", "--coi 2 rshift-s 4 and-s 3 equal-s 1"}}},
            {"less-sfp",
             {{K::real, "VALUE"}},
             "white where A < VALUE in every channel, at depth 32f",
             withReal<moxLessSFP>,
             {{"Below 0.4 of white.", "--depth 32f less-sfp 0.4"}}},
            {"greater-sfp",
             {{K::real, "VALUE"}},
             "white where A > VALUE in every channel, at depth 32f",
             withReal<moxGreaterSFP>,
             {{"Edges: where the blurred length of the gradient is above a tenth.",
               "--depth 32f border-replicate convolve-laplace abs blur 3 3 greater-sfp 0.1"}}},
            {"equal-sfp",
             {{K::real, "VALUE"}},
             "white where A = VALUE in every channel, at depth 32f",
             withReal<moxEqualSFP>,
             {{"The discs' full red: exactly 1.", "--depth 32f --coi 1 equal-sfp 1", "discs.png"}}},
            {"equal-sfpeps",
             {{K::real, "VALUE"}, {K::real, "EPS"}},
             "white where A is less than EPS from VALUE, at depth 32f",
             [](Call *call) {
                 moxEqualSFPEps(call->image, call->arguments[0].real, makeBits(call), call->arguments[1].real);
             },
             {{"The middle tones of green.", "--depth 32f --coi 2 equal-sfpeps 0.5 0.1"}}},
        }};
    return family;
}

const Family &measureFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Measures, and levels by what was measured",
        {
            {"histogram",
             {},
             "prints each channel's range, mean and levels; the picture stays as it is",
             [](Call *call) { call->printed += levelsText(countLevels(call->image)); },
             {{"All levels lie in the middle of the scale.", "--no-output histogram", "hazy.png"}}},
            {"stretch",
             {{K::integer, "LOW"}, {K::integer, "HIGH"}},
             "contrast: LOW becomes black, HIGH white, lines between; depths 8u and 16u",
             stretch,
             {{"The haze lifts: its levels, first as they were, then fill the scale.",
               "histogram stretch 115 184 histogram", "hazy.png"},
              {"Contrast in colour.", "stretch 50 200"}}},
            {"stretch-points",
             {{K::samples, "L,V,L,V,..."}},
             "a tone curve: level L becomes V, lines between; depths 8u and 16u",
             stretchPoints,
             {{"The shadows are opened, the lights kept.", "stretch-points 0,0,64,128,255,255"},
              {"There and back: light above the middle turns dark again.", "stretch-points 0,0,128,255,255,0"}}},
            {"equalize",
             {},
             "each level becomes its share of what is as dark or darker; depths 8u and 16u",
             equalize,
             {{"The same haze, its levels before and after: all parts of the scale are used alike.",
               "histogram equalize histogram", "hazy.png"},
              {"Each channel by itself.", "equalize"}}},
            {"norm",
             {},
             "prints the largest absolute value, their sum, the root of the sum of squares",
             [](Call *call) { call->printed += normsText(call->image, nullptr); },
             {{"Of twelve by eight pixels.", "--no-output norm", "tiny.png"}}},
            {"norm-difference",
             {{K::picture, "PICTURE"}},
             "prints the norms of A - B, and what they are to those of B",
             [](Call *call) { call->printed += normsText(call->image, call->other); },
             {{"How far the picture is from itself, two pixels aside.", "norm-difference shifted.png --no-output"}}},
            {"min-max-fp",
             {},
             "prints the smallest and the largest sample, at depth 32f",
             minMax,
             {{"Of the gradient, before anything is clamped.",
               "--no-output --depth 32f border-replicate convolve-laplace min-max-fp"}}},
            {"moments",
             {},
             "prints each channel's mass, centre and central moments",
             moments,
             {{"A disc has its mass around its centre.", "--no-output moments", "left.png"}}},
        }};
    return family;
}
