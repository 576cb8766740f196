// Geometry: mirror images, warps, rotation, scaling.
#include <cmath>

#include "rows.h"

namespace {

using Images = MoxImage *const *;

template <int flipAxis>
void mirror(Images images) {
    moxMirror(images[0], images[1], flipAxis);
}

// 17 degrees about the middle, a little smaller.
template <int interpolate>
void warpAffine(Images images) {
    const double middle = images[0]->width / 2.0, s = 0.9 * std::sin(0.2967), c = 0.9 * std::cos(0.2967);
    double coeffs[2][3] = {{c, s, middle - c * middle - s * middle}, {-s, c, middle + s * middle - c * middle}};
    moxWarpAffine(images[0], images[1], coeffs, interpolate);
}

// Most of the picture, tilted.
using WarpQuad = void(MOX_CALL *)(MoxImage *, MoxImage *, double (*)[2], int, int);
template <WarpQuad warp, int interpolate>
void warpQuad(Images images) {
    const double w = images[0]->width, h = images[0]->height;
    double quad[4][2] = {{0.12 * w, 0.05 * h}, {0.82 * w, 0.14 * h}, {0.98 * w, 0.9 * h}, {0.03 * w, 0.82 * h}};
    warp(images[0], images[1], quad, 0, interpolate);
}

template <int angle>
void rotate(Images images) {
    const double right = images[1]->width - 1, bottom = images[1]->height - 1;
    moxRotate(images[0], images[1], angle, angle == 90 ? 0 : right, angle == 270 ? 0 : bottom, MOX_INTER_NN);
}

const std::vector<int> WARPED = {OWN_8U, OWN_16U, OWN_32F};
const Operation AFFINE_NEAREST = {.name = "warp-affine-nearest", .at = WARPED, .call = warpAffine<MOX_INTER_NN>};
const Operation AFFINE_LINEAR = {.name = "warp-affine-linear", .at = WARPED, .call = warpAffine<MOX_INTER_LINEAR>};
const Operation AFFINE_CUBIC = {.name = "warp-affine-cubic", .at = WARPED, .call = warpAffine<MOX_INTER_CUBIC>};
const Operation PERSPECTIVE_LINEAR = {
    .name = "warp-perspective-linear", .at = WARPED, .call = warpQuad<moxWarpPerspectiveQ, MOX_INTER_LINEAR>};
const Operation BILINEAR_LINEAR = {
    .name = "warp-bilinear-linear", .at = WARPED, .call = warpQuad<moxWarpBilinearQ, MOX_INTER_LINEAR>};

const std::vector<int> SIZES_OF_SAMPLES = {OWN_1U, OWN_8U, OWN_16U, OWN_32F};
const Operation COLUMNS = {.name = "mirror-columns", .at = SIZES_OF_SAMPLES, .call = mirror<1>};
const Operation ROWS = {.name = "mirror-rows", .at = SIZES_OF_SAMPLES, .call = mirror<0>};
const Operation BOTH = {.name = "mirror-both", .at = SIZES_OF_SAMPLES, .call = mirror<-1>};

const Operation ROTATE_90 = {.name = "rotate-90", .at = SIZES_OF_SAMPLES, .call = rotate<90>};
const Operation ROTATE_180 = {.name = "rotate-180", .at = SIZES_OF_SAMPLES, .call = rotate<180>};
const Operation ROTATE_270 = {.name = "rotate-270", .at = SIZES_OF_SAMPLES, .call = rotate<270>};

template <int to, int from, int interpolate>
void resize(Images images) {
    moxResize(images[0], images[1], to, from, to, from, interpolate);
}
template <int to, int from, int interpolate>
void decimate(Images images) {
    moxDecimate(images[0], images[1], to, from, to, from, interpolate);
}

// Twice as large, and smaller: the unit is a sample of the source.
const Form TWICE = {.scale = 2}, HALF = {.scale = 0.5}, THIRD = {.scale = 1.0 / 3}, TWO_THIRDS = {.scale = 2.0 / 3};
const Operation TWICE_NEAREST = {
    .name = "resize-2-nearest", .at = WARPED, .call = resize<2, 1, MOX_INTER_NN>, .destination = TWICE};
const Operation TWICE_LINEAR = {
    .name = "resize-2-linear", .at = WARPED, .call = resize<2, 1, MOX_INTER_LINEAR>, .destination = TWICE};
const Operation TWICE_CUBIC = {
    .name = "resize-2-cubic", .at = WARPED, .call = resize<2, 1, MOX_INTER_CUBIC>, .destination = TWICE};
const Operation HALF_LINEAR = {
    .name = "resize-half-linear", .at = WARPED, .call = resize<1, 2, MOX_INTER_LINEAR>, .destination = HALF};
const Operation HALF_MEAN = {
    .name = "decimate-half-super", .at = WARPED, .call = decimate<1, 2, MOX_INTER_SUPER>, .destination = HALF};
const Operation THIRD_MEAN = {
    .name = "decimate-third-super", .at = WARPED, .call = decimate<1, 3, MOX_INTER_SUPER>, .destination = THIRD};
const Operation TWO_THIRDS_MEAN = {.name = "decimate-two-thirds-super",
                                   .at = WARPED,
                                   .call = decimate<2, 3, MOX_INTER_SUPER>,
                                   .destination = TWO_THIRDS};

// A map for images of a size: positions that wander within the image.
MoxImage *mapOf(const MoxImage *image, bool down) {
    static MoxImage *maps[2] = {};
    MoxImage *&map = maps[down ? 1 : 0];
    if (map && map->width == image->width && map->height == image->height) return map;
    moxDeallocate(map, MOX_FreeHeader | MOX_FreeData);
    map = moxCreateImageHeader(1, 0, static_cast<int>(MOX_DEPTH_32F), "GRAY", "G", MOX_DATA_ORDER_PIXEL, image->origin,
                               4, image->width, image->height, nullptr, nullptr, nullptr, nullptr);
    moxAllocateImageFP(map, 0, 0);
    for (int y = 0; y < map->height; ++y) {
        float *row = reinterpret_cast<float *>(map->imageData + static_cast<ptrdiff_t>(y) * map->widthStep);
        for (int x = 0; x < map->width; ++x) {
            const double position = down ? y + 5 * std::cos(x / 31.0) : x + 6 * std::sin(y / 23.0);
            const double last = (down ? map->height : map->width) - 1.001;
            row[x] = static_cast<float>(position < 0 ? 0 : position > last ? last : position);
        }
    }
    return map;
}
template <int interpolate>
void remap(Images images) {
    moxRemap(images[0], mapOf(images[1], false), mapOf(images[1], true), images[1], interpolate);
}
const Operation REMAP_NEAREST = {.name = "remap-nearest", .at = WARPED, .call = remap<MOX_INTER_NN>};
const Operation REMAP_LINEAR = {.name = "remap-linear", .at = WARPED, .call = remap<MOX_INTER_LINEAR>};
const Operation REMAP_CUBIC = {.name = "remap-cubic", .at = WARPED, .call = remap<MOX_INTER_CUBIC>};

template <int from, int size, int interpolate>
void decimateBlur(Images images) {
    moxDecimateBlur(images[0], images[1], 1, from, 1, from, interpolate, size, size);
}
const Operation HALF_BLUR = {
    .name = "decimate-half-blur", .at = WARPED, .call = decimateBlur<2, 0, MOX_INTER_NN>, .destination = HALF};
const Operation HALF_WIDE_BLUR = {.name = "decimate-half-blur-9-linear",
                                  .at = WARPED,
                                  .call = decimateBlur<2, 9, MOX_INTER_LINEAR>,
                                  .destination = HALF};

Entry rgb(const Operation &operation) {
    Entry entry = {.operation = operation, .layoutName = "rgb", .layout = {.channels = 3}, .sizes = {1024}};
    entry.operation.at = {OWN_8U, OWN_16U};
    return entry;
}

}  // namespace

extern const Family geometryFamily;
const Family geometryFamily = {
    "Geometry",
    {
        {.operation = COLUMNS, .goals = {{OWN_1U, 1024, {GOAL_NS_PER_SAMPLE, 0.03}}}},
        {.operation = ROWS},
        {.operation = BOTH},
        rgb(COLUMNS),
        {.operation = AFFINE_NEAREST, .sizes = {1024}},
        {.operation = AFFINE_LINEAR, .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 1.5}}}},
        {.operation = AFFINE_CUBIC, .sizes = {256, 1024}, .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 4}}}},
        {.operation = PERSPECTIVE_LINEAR, .sizes = {256, 1024}, .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 2.5}}}},
        {.operation = BILINEAR_LINEAR, .sizes = {256, 1024}},
        {.operation = ROTATE_90, .goals = {{OWN_1U, 1024, {GOAL_NS_PER_SAMPLE, 0.1}}}},
        {.operation = ROTATE_180, .sizes = {1024}},
        {.operation = ROTATE_270, .sizes = {1024}},
        rgb(AFFINE_NEAREST),
        rgb(AFFINE_LINEAR),
        rgb(AFFINE_CUBIC),
        rgb(PERSPECTIVE_LINEAR),
        rgb(ROTATE_90),
        {.operation = TWICE_NEAREST, .sizes = {1024}},
        {.operation = TWICE_LINEAR, .sizes = {256, 1024}, .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 1}}}},
        {.operation = TWICE_CUBIC, .sizes = {256, 1024}, .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 3.6}}}},
        {.operation = HALF_LINEAR, .sizes = {1024}},
        {.operation = HALF_MEAN, .sizes = {1024}},
        {.operation = THIRD_MEAN, .sizes = {1020}},
        {.operation = TWO_THIRDS_MEAN, .sizes = {1020}},
        rgb(TWICE_NEAREST),
        rgb(TWICE_LINEAR),
        rgb(TWICE_CUBIC),
        rgb(THIRD_MEAN),
        {.operation = REMAP_NEAREST, .sizes = {1024}},
        {.operation = REMAP_LINEAR, .sizes = {256, 1024}, .goals = {{OWN_8U, 1024, {GOAL_NS_PER_SAMPLE, 2.5}}}},
        {.operation = REMAP_CUBIC, .sizes = {256, 1024}},
        {.operation = HALF_BLUR, .sizes = {1024}},
        {.operation = HALF_WIDE_BLUR, .sizes = {1024}},
        rgb(REMAP_LINEAR),
        rgb(REMAP_CUBIC),
        rgb(HALF_BLUR),
    },
};
