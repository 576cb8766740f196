// Pixels by the caller's functions, noise, the test image.
#include "rows.h"

namespace {

using Images = MoxImage *const *;

int MOX_CALL sample(int value) {
    return value + 1;
}
float MOX_CALL real(float value) {
    return value + 1;
}
// The first byte of a pixel.
void MOX_CALL pixel(MoxImage *, void *from, MoxImage *, void *to) {
    *static_cast<unsigned char *>(to) = *static_cast<unsigned char *>(from);
}

void samples(Images images) {
    moxUserProcess(images[0], images[1], sample);
}
void reals(Images images) {
    moxUserProcessFP(images[0], images[1], real);
}
void pixels(Images images) {
    moxUserProcessPixel(images[0], images[1], pixel);
}

void uniform(Images images) {
    MoxNoiseParam param = {MOX_NOISE_UNIFORM, 1, -20, 20, -0.1f, 0.1f};
    moxNoiseImage(images[0], &param);
}
void gaussian(Images images) {
    MoxNoiseParam param = {MOX_NOISE_GAUSSIAN, 1, 0, 10, 0.0f, 0.05f};
    moxNoiseImage(images[0], &param);
}
void testImage(Images images) {
    const MoxImage *like = images[0];
    MoxImage *made = moxCreateImageJaehne(static_cast<int>(like->depth), like->width, like->height);
    moxDeallocate(made, MOX_FreeHeader | MOX_FreeData);
}

const Operation SAMPLES = {.name = "user-process", .at = {OWN_8U, OWN_16S, OWN_32S}, .call = samples};
const Operation REALS = {.name = "user-process-fp", .at = {OWN_8U, OWN_32F}, .call = reals};
const Operation PIXELS = {.name = "user-process-pixel", .at = {OWN_8U, OWN_32F}, .call = pixels};
const Operation UNIFORM = {.name = "noise-uniform", .sources = 0, .at = NUMBERS, .call = uniform};
const Operation GAUSSIAN = {.name = "noise-gaussian", .sources = 0, .at = NUMBERS, .call = gaussian};
const Operation RINGS = {.name = "test-image", .sources = 0, .at = {OWN_1U, OWN_8U, OWN_32F}, .call = testImage};

Entry rgb(const Operation &operation) {
    Entry entry = {.operation = operation, .layoutName = "rgb", .layout = {.channels = 3}, .sizes = {256}};
    entry.operation.at = {OWN_8U};
    return entry;
}
Entry masked(const Operation &operation) {
    Entry entry = {.operation = operation, .layoutName = "masked", .layout = {.masked = true}, .sizes = {256}};
    entry.operation.at = {OWN_8U, OWN_32F};
    return entry;
}

}  // namespace

extern const Family synthFamily;
const Family synthFamily = {
    "Callbacks, noise and the test image",
    {
        {.operation = SAMPLES, .sizes = {256, 1024}},
        {.operation = REALS, .sizes = {256, 1024}},
        {.operation = PIXELS, .sizes = {256, 1024}},
        rgb(PIXELS),
        {.operation = UNIFORM, .sizes = {256, 1024}},
        {.operation = GAUSSIAN, .sizes = {256, 1024}},
        masked(GAUSSIAN),
        {.operation = RINGS, .sizes = {256, 1024}},
    },
};
