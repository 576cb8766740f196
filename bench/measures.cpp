// Measures: norms, extrema, moments, comparisons, histograms, and maps by tables.
#include <map>
#include <memory>
#include <utility>

#include "rows.h"

namespace {

using Images = MoxImage *const *;

// Nothing of what is measured is wanted, but it has to be made.
volatile double answer;

template <int type>
void norm(Images images) {
    answer = moxNorm(images[0], nullptr, type);
}

template <int type>
void normOfDifference(Images images) {
    answer = moxNorm(images[0], images[1], type);
}

void extrema(Images images) {
    float min = 0, max = 0;
    moxMinMaxFP(images[0], &min, &max);
    answer = static_cast<double>(min + max);
}

void moments(Images images) {
    MoxMomentState state;
    moxMoments(images[0], state);
    answer = state[2][1].moment;
}

template <MoxStatus(MOX_CALL *function)(MoxImage *, MoxImage *, MoxImage *)>
void compare(Images images) {
    function(images[0], images[1], images[2]);
}

void equalWithin(Images images) {
    moxEqualFPEps(images[0], images[1], images[2], 0.25f);
}

void lessThanConstant(Images images) {
    if (images[0]->depth == MOX_DEPTH_32F) {
        moxLessSFP(images[0], 1.5f, images[1]);
    } else {
        moxLessS(images[0], 100, images[1]);
    }
}

// A table with a segment for each level: a histogram of all levels, or any curve.
struct Table {
    std::vector<int> keys, values;
    MoxLUT lut;

    explicit Table(int levels) : keys(static_cast<size_t>(levels) + 1), values(keys.size()) {
        for (int i = 0; i <= levels; ++i) {
            keys[static_cast<size_t>(i)] = i;
            values[static_cast<size_t>(i)] = levels - 1 - i;
        }
        lut = {levels + 1, keys.data(), values.data(), nullptr, 0};
    }
};

int levelsOf(const MoxImage *image) {
    return image->depth == MOX_DEPTH_8U ? 256 : 65536;
}

// Made once for each depth and use.
enum Use { COUNTS, NEGATIVE, SHARES };

MoxLUT *tableOf(const MoxImage *image, Use use) {
    static std::map<std::pair<int, Use>, std::unique_ptr<Table>> all;
    std::unique_ptr<Table> &table = all[{levelsOf(image), use}];
    if (!table) table = std::make_unique<Table>(levelsOf(image));
    return &table->lut;
}

void histogram(Images images) {
    MoxLUT *table = tableOf(images[0], COUNTS);
    moxComputeHisto(images[0], &table);
}

// What noise does not stand in for: neighbours that are alike, and neighbours that are the same.
enum Subject { PICTURE, FLAT };

struct DeleteImage {
    void operator()(MoxImage *image) const { moxDeallocate(image, MOX_FreeHeader | MOX_FreeData); }
};

unsigned drawn(Subject subject, int x, int y, unsigned noise) {
    if (subject == FLAT) return 0x5A5A;
    return static_cast<unsigned>(x * 37 + y * 23) + (noise >> 21);
}

// Drawn once for each size and depth.
template <Subject subject>
MoxImage *imageLike(const MoxImage *like) {
    static std::map<std::pair<int, unsigned>, std::unique_ptr<MoxImage, DeleteImage>> all;
    auto &image = all[{like->width, like->depth}];
    if (image) return image.get();
    image.reset(moxCreateImageHeader(1, 0, static_cast<int>(like->depth), "GRAY", "G", MOX_DATA_ORDER_PIXEL,
                                     MOX_ORIGIN_TL, 32, like->width, like->height, nullptr, nullptr, nullptr, nullptr));
    moxAllocateImage(image.get(), 0, 0);
    unsigned noise = 1;
    for (int y = 0; y < image->height; ++y) {
        auto *row = reinterpret_cast<uint8_t *>(image->imageData) + int64_t{y} * image->widthStep;
        for (int x = 0; x < image->width; ++x) {
            noise = noise * 1664525u + 1013904223u;
            const unsigned value = drawn(subject, x, y, noise);
            if (image->depth == MOX_DEPTH_8U) {
                row[x] = static_cast<uint8_t>(value >> 8);
            } else {
                reinterpret_cast<uint16_t *>(row)[x] = static_cast<uint16_t>(value);
            }
        }
    }
    return image.get();
}

template <Subject subject>
void histogramOf(Images images) {
    MoxImage *const drawing = imageLike<subject>(images[0]);
    histogram(&drawing);
}

void mapLevels(Images images) {
    MoxLUT *table = tableOf(images[0], NEGATIVE);
    moxContrastStretch(images[0], images[1], &table);
}

// Another curve for each of three channels.
void mapChannels(Images images) {
    static const std::unique_ptr<Table> tables[] = {std::make_unique<Table>(256), std::make_unique<Table>(256),
                                                    std::make_unique<Table>(256)};
    MoxLUT *lut[3];
    for (size_t channel = 0; channel < 3; ++channel) {
        lut[channel] = &tables[channel]->lut;
        lut[channel]->value[0] = static_cast<int>(channel);
    }
    moxContrastStretch(images[0], images[1], lut);
}

// As applications do it: the histogram of the image, then the map.
void equalize(Images images) {
    MoxLUT *table = tableOf(images[0], SHARES);
    moxComputeHisto(images[0], &table);
    moxHistoEqualize(images[0], images[1], &table);
}

const std::vector<int> SOME = {OWN_8U, OWN_16U, OWN_16S, OWN_32F};
const std::vector<int> LEVELS_OF_TABLES = {OWN_8U, OWN_16U};
const std::vector<int> FLOATS = {OWN_32F};
const Form BITS = {.depthIndex = OWN_1U};

Operation measure(const char *name, const std::vector<int> &at, void (*call)(Images), int sources = 1) {
    return {.name = name, .sources = sources, .at = at, .call = call, .measuresOnly = true};
}

Operation comparison(const char *name, const std::vector<int> &at, void (*call)(Images), int sources) {
    return {.name = name, .sources = sources, .at = at, .call = call, .destination = BITS};
}

Operation map(const char *name, void (*call)(Images)) {
    return {.name = name, .at = LEVELS_OF_TABLES, .call = call};
}

const Operation NORM_C = measure("norm-c", SOME, norm<MOX_NORM_C>);
const Operation NORM_L1 = measure("norm-l1", SOME, norm<MOX_NORM_L1>);
const Operation NORM_L2 = measure("norm-l2", SOME, norm<MOX_NORM_L2>);
const Operation NORM_C_TWO = measure("norm-c-of-difference", SOME, normOfDifference<MOX_NORM_C>, 2);
const Operation NORM_L1_TWO = measure("norm-l1-of-difference", SOME, normOfDifference<MOX_NORM_L1>, 2);
const Operation NORM_L2_TWO = measure("norm-l2-of-difference", SOME, normOfDifference<MOX_NORM_L2>, 2);
const Operation NORM_RELATIVE = measure("norm-l2-relative", SOME, normOfDifference<MOX_NORM_L2 + MOX_NORM_RELATIVE>, 2);
const Operation EXTREMA = measure("min-max", FLOATS, extrema);
const Operation MOMENTS = measure("moments", SOME, moments);
const Operation LESS = comparison("less", SOME, compare<moxLess>, 2);
const Operation EQUAL = comparison("equal", SOME, compare<moxEqual>, 2);
const Operation LESS_S = comparison("less-s", SOME, lessThanConstant, 1);
const Operation EQUAL_EPS = comparison("equal-eps", FLOATS, equalWithin, 2);
const Operation HISTOGRAM = measure("histogram", LEVELS_OF_TABLES, histogram);
const Operation HISTOGRAM_PICTURE = measure("histogram-of-picture", LEVELS_OF_TABLES, histogramOf<PICTURE>);
const Operation HISTOGRAM_FLAT = measure("histogram-of-one-level", LEVELS_OF_TABLES, histogramOf<FLAT>);
const Operation MAP = map("map", mapLevels);
const Operation MAP_CHANNELS = {.name = "map-of-each-channel", .at = {OWN_8U}, .call = mapChannels};
const Operation EQUALIZE = map("equalize", equalize);

// Nine tenths of the rate of reading, where caches or memory have the images.
Entry atReading(const Operation &operation) {
    constexpr Goal READING = {GOAL_SHARE, 0.9};
    return {.operation = operation, .goals = {{-1, 1024, READING}, {-1, 4096, READING}}};
}

// Times that a sample may take within the last-level cache, on a machine that is as wide as level v3.
EntryGoal within(int depth, double ns) {
    return {depth, 1024, {GOAL_NS_PER_SAMPLE, ns}};
}

Entry masked(const Operation &operation) {
    return {operation, "masked", {.masked = true}, {1024}, {{-1, 0, {GOAL_RATIO, 2}}}, true};
}

Entry tiled(const Operation &operation) {
    return {operation, "tiled", {.tile = 256}, {1024}, {{-1, 0, {GOAL_RATIO, 1.15}}}, true};
}

// One level may wait for its own counts; a picture seldom does.
Entry besidePicture() {
    return {HISTOGRAM_FLAT, "", {}, {1024}, {{-1, 0, {GOAL_RATIO, 1.05}}}, true, {}, &HISTOGRAM_PICTURE};
}

}  // namespace

extern const Family measuresFamily;
const Family measuresFamily = {
    "Measures",
    {
        atReading(NORM_C),
        atReading(NORM_L1),
        atReading(NORM_L2),
        atReading(NORM_C_TWO),
        atReading(NORM_L1_TWO),
        atReading(NORM_L2_TWO),
        {.operation = NORM_RELATIVE, .sizes = {1024}},
        atReading(EXTREMA),
        {.operation = MOMENTS, .goals = {within(OWN_8U, 0.2)}},
        atReading(LESS),
        atReading(EQUAL),
        atReading(LESS_S),
        atReading(EQUAL_EPS),
        {.operation = HISTOGRAM, .goals = {within(OWN_16U, 1)}},
        {.operation = HISTOGRAM_PICTURE, .goals = {within(OWN_8U, 0.45), within(OWN_16U, 1)}},
        besidePicture(),
        {.operation = MAP, .goals = {within(OWN_8U, 0.2)}},
        {.operation = MAP_CHANNELS, .layoutName = "rgb", .layout = {.channels = 3}, .goals = {within(OWN_8U, 0.2)}},
        {.operation = EQUALIZE},
        masked(NORM_C),
        masked(NORM_L2),
        masked(NORM_L2_TWO),
        masked(MOMENTS),
        masked(LESS),
        masked(LESS_S),
        masked(HISTOGRAM),
        masked(MAP),
        tiled(NORM_C),
        tiled(NORM_L2),
        tiled(NORM_L2_TWO),
        tiled(EXTREMA),
        tiled(MOMENTS),
        tiled(LESS),
        tiled(LESS_S),
        tiled(HISTOGRAM),
        tiled(MAP),
    },
};
