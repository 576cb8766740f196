// Example calls: numbers, tables and bits from images.

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, PIXELS = Touches::PIXELS;

// What is the same in tiles: sums of 32-bit samples have roundings of their own there. No number is equal to itself if
// it is none.
void answer(Call &call, double value, bool exact = true) {
    const unsigned bits = call.src() ? call.src()->depth & ~MOX_DEPTH_SIGN : 0;
    if (exact || bits < 32) call.answers.push_back(value == value ? value : -1e300);
}

void norm(Call &call) {
    static const int types[] = {MOX_NORM_L2,
                                MOX_NORM_C,
                                MOX_NORM_L1,
                                MOX_NORM_C + MOX_NORM_RELATIVE,
                                MOX_NORM_L1 + MOX_NORM_RELATIVE,
                                MOX_NORM_L2 + MOX_NORM_RELATIVE};
    const int choice = call.choice(0, 6);
    answer(call, moxNorm(call.a(), call.b(), choice >= 0 && choice < 6 ? types[choice] : choice), false);
}

void minMax(Call &call) {
    float least = 0, greatest = 0;
    moxMinMaxFP(call.src(), &least, &greatest);
    answer(call, static_cast<double>(least));
    answer(call, static_cast<double>(greatest));
}

void moments(Call &call) {
    MoxMomentState state = {};
    moxMoments(call.src(), state);
    for (int m = 0; m < 4; ++m) {
        for (int n = 0; m + n < 4; ++n)
            answer(call, state[m][n].moment, false);
    }
}

template <double(MOX_CALL *function)(MoxImage *, int, int)>
void oneMoment(Call &call) {
    const int mOrd = call.choice(1, 4);
    answer(call, function(call.src(), mOrd, call.choice(2, 4)), false);
}

template <double(MOX_CALL *function)(MoxMomentState, int, int)>
void getMoment(Call &call) {
    MoxMomentState state;
    for (auto &column : state) {
        for (MoxMomentCell &cell : column)
            cell = {0.25, call.real(3.0f)};
    }
    const int mOrd = call.choice(1, 4);
    function(state, mOrd, call.choice(2, 4));
}

// Comparisons.
using CompareTwo = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, MoxImage *);

template <CompareTwo function>
void compareTwo(Call &call) {
    function(call.a(), call.b(), call.dst());
}
void equalEps(Call &call) {
    moxEqualFPEps(call.a(), call.b(), call.dst(), call.real(0.5f));
}
template <MoxStatus(MOX_CALL *function)(MoxImage *, int, MoxImage *)>
void compareInteger(Call &call) {
    function(call.src(), call.number(100), call.dst());
}
template <MoxStatus(MOX_CALL *function)(MoxImage *, float, MoxImage *)>
void compareReal(Call &call) {
    function(call.src(), call.real(0.5f), call.dst());
}
void equalRealEps(Call &call) {
    const float value = call.real(0.5f);
    moxEqualSFPEps(call.src(), value, call.dst(), call.real(0.25f));
}

// Tables of three keys for each of as many channels as there are at most: an image of more is refused for want of any.
struct ExampleTables {
    static constexpr int KEYS = 3, CHANNELS = 32;
    int keys[KEYS], values[KEYS], factors[KEYS];
    MoxLUT table;
    MoxLUT *tables[CHANNELS];

    explicit ExampleTables(Call &call)
        : keys{call.choice(10, 20), call.choice(100, 200), call.choice(250, 257)},
          values{call.number(5), call.number(90), call.number(7)},
          factors{call.choice(2, 5), call.choice(-1, 5), call.choice(0, 2)} {
        table = {KEYS, keys, values, factors, call.choice(1, 2)};
        for (MoxLUT *&each : tables)
            each = &table;
    }
    MoxLUT **of(const MoxImage *image) { return image && image->nChannels > CHANNELS ? nullptr : tables; }
};

void computeHisto(Call &call) {
    ExampleTables tables(call);
    moxComputeHisto(call.src(), tables.of(call.src()));
    for (const int value : tables.values)
        answer(call, value);
}
template <void(MOX_CALL *function)(MoxImage *, MoxImage *, MoxLUT **)>
void mapLevels(Call &call) {
    ExampleTables tables(call);
    function(call.src(), call.dst(), tables.of(call.src()));
}

Example::More comparisonOf(unsigned depth) {
    return {.depth = depth, .resultDepth = MOX_DEPTH_1U};
}

}  // namespace

std::vector<Example> statExamples() {
    const Example::More ofBytes = comparisonOf(MOX_DEPTH_8U), ofFloats = comparisonOf(MOX_DEPTH_32F);
    const Example::More measures = {.readsOnly = true};
    const Example::More measuresOne = {
        .channels = 1, .within = "moxMoments", .tiles = TilesInHand::ONE, .readsOnly = true, .tool = "moments"};
    return {
        {"moxNorm", PIXELS, 2, norm, measures},
        {"moxMinMaxFP", PIXELS, 1, minMax, {.depth = MOX_DEPTH_32F, .tiles = TilesInHand::ONE, .readsOnly = true}},

        {"moxMoments", PIXELS, 1, moments, measuresOne},
        {"moxSpatialMoment", PIXELS, 1, oneMoment<moxSpatialMoment>, measuresOne},
        {"moxNormalizedSpatialMoment", PIXELS, 1, oneMoment<moxNormalizedSpatialMoment>, measuresOne},
        {"moxCentralMoment", PIXELS, 1, oneMoment<moxCentralMoment>, measuresOne},
        {"moxNormalizedCentralMoment", PIXELS, 1, oneMoment<moxNormalizedCentralMoment>, measuresOne},
        {"moxGetSpatialMoment", NOTHING, 0, getMoment<moxGetSpatialMoment>},
        {"moxGetNormalizedSpatialMoment", NOTHING, 0, getMoment<moxGetNormalizedSpatialMoment>},
        {"moxGetCentralMoment", NOTHING, 0, getMoment<moxGetCentralMoment>},
        {"moxGetNormalizedCentralMoment", NOTHING, 0, getMoment<moxGetNormalizedCentralMoment>},

        {"moxLess", PIXELS, 3, compareTwo<moxLess>, ofBytes},
        {"moxGreater", PIXELS, 3, compareTwo<moxGreater>, ofBytes},
        {"moxEqual", PIXELS, 3, compareTwo<moxEqual>, ofBytes},
        {"moxEqualFPEps", PIXELS, 3, equalEps, ofFloats},
        {"moxLessS", PIXELS, 2, compareInteger<moxLessS>, ofBytes},
        {"moxGreaterS", PIXELS, 2, compareInteger<moxGreaterS>, ofBytes},
        {"moxEqualS", PIXELS, 2, compareInteger<moxEqualS>, ofBytes},
        {"moxLessSFP", PIXELS, 2, compareReal<moxLessSFP>, ofFloats},
        {"moxGreaterSFP", PIXELS, 2, compareReal<moxGreaterSFP>, ofFloats},
        {"moxEqualSFP", PIXELS, 2, compareReal<moxEqualSFP>, ofFloats},
        {"moxEqualSFPEps", PIXELS, 2, equalRealEps, ofFloats},

        {"moxComputeHisto",
         PIXELS,
         1,
         computeHisto,
         {.tiles = TilesInHand::ONE, .readsOnly = true, .tool = "histogram"}},
        {"moxContrastStretch",
         PIXELS,
         2,
         mapLevels<moxContrastStretch>,
         {.within = "moxMap", .tiles = TilesInHand::ONE, .tool = "stretch"}},
        {"moxHistoEqualize",
         PIXELS,
         2,
         mapLevels<moxHistoEqualize>,
         {.within = "moxMap", .tiles = TilesInHand::ONE, .tool = "equalize"}},
    };
}
