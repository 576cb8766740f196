// Example calls: pixels by the caller's functions, noise, the test image.

#include <cstring>

#include "support/scene.h"
#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, PIXELS = Touches::PIXELS;

int MOX_CALL triple(int sample) {
    return static_cast<int>(3u * static_cast<unsigned>(sample) - 90u);
}

float MOX_CALL lower(float sample) {
    return sample * -0.75f + 150.25f;
}

int processed(const MoxImage *image) {
    if (image->roi && image->roi->coi != 0) return 1;
    return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

// Every byte of the pixel inverted.
void MOX_CALL invert(MoxImage *srcImage, void *srcPixel, MoxImage *dstImage, void *dstPixel) {
    const int channels = processed(srcImage) < processed(dstImage) ? processed(srcImage) : processed(dstImage);
    const int bytes = channels * static_cast<int>((dstImage->depth & ~MOX_DEPTH_SIGN) / 8);
    for (int i = 0; i < bytes; ++i)
        static_cast<unsigned char *>(dstPixel)[i] =
            static_cast<unsigned char>(~static_cast<unsigned char *>(srcPixel)[i]);
}

template <class Function>
Function orNone(Call &call, Function function) {
    return call.choice(0, 20) == 1 ? nullptr : function;
}

void noise(Call &call) {
    MoxNoiseParam param;
    param.noise = call.choice(MOX_NOISE_GAUSSIAN, 2);
    param.seed = static_cast<unsigned>(call.number(12345));
    param.lowInt = call.number(-20);
    param.highInt = call.number(60);
    param.lowFlt = call.real(-2.5f);
    param.highFlt = call.real(8.25f);
    if (call.choice(0, 3) == 1) {
        param.lowInt %= 300;
        param.highInt %= 300;
    }
    call.answers.push_back(moxNoiseImage(call.dst(), call.choice(0, 20) == 1 ? nullptr : &param));
}

template <auto init>
void start(Call &call) {
    MoxNoiseParam param = {7, 8, 9, 10, 11.0f, 12.0f};
    const auto low = call.number(-5), high = call.number(17);
    init(call.choice(0, 20) == 1 ? nullptr : &param, static_cast<unsigned>(call.number(3)), low, high);
    for (const double value : {double(param.noise), double(param.seed), double(param.lowInt), double(param.highInt),
                               double(param.lowFlt), double(param.highFlt)})
        call.answers.push_back(value);
}
void MOX_CALL uniformFloats(MoxNoiseParam *param, unsigned seed, int low, int high) {
    moxNoiseUniformInitFP(param, seed, static_cast<float>(low), static_cast<float>(high));
}
void MOX_CALL gaussianFloats(MoxNoiseParam *param, unsigned seed, int mean, int stDev) {
    moxNoiseGaussianInitFP(param, seed, static_cast<float>(mean), static_cast<float>(stDev));
}

void rings(Call &call) {
    const int choice = call.choice(1, 8);
    const unsigned depth = choice >= 0 && choice < 7 ? allDepths[choice] : static_cast<unsigned>(choice);
    const int width = call.size(33);
    MoxImage *image = moxCreateImageJaehne(static_cast<int>(depth), width, call.size(20));
    call.answers.push_back(image ? 1 : 0);
    if (!image) return;
    uint32_t sum = 0;
    for (int i = 0; i < image->imageSize; ++i)
        sum = sum * 31 + static_cast<unsigned char>(image->imageData[i]);
    call.answers.push_back(sum);
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
}

}  // namespace

std::vector<Example> userExamples() {
    return {
        {"moxUserProcess",
         PIXELS,
         2,
         [](Call &c) { moxUserProcess(c.src(), c.dst(), orNone<MoxUserFunc>(c, triple)); },
         {.tool = "curve"}},
        {"moxUserProcessFP",
         PIXELS,
         2,
         [](Call &c) { moxUserProcessFP(c.src(), c.dst(), orNone<MoxUserFuncFP>(c, lower)); },
         {.tool = "curve"}},
        {"moxUserProcessPixel",
         PIXELS,
         2,
         [](Call &c) { moxUserProcessPixel(c.src(), c.dst(), orNone<MoxUserFuncPixel>(c, invert)); },
         {.tool = "curve"}},
        {"moxNoiseUniformInit", NOTHING, 0, start<moxNoiseUniformInit>},
        {"moxNoiseUniformInitFP", NOTHING, 0, start<uniformFloats>},
        {"moxNoiseGaussianInit", NOTHING, 0, start<moxNoiseGaussianInit>},
        {"moxNoiseGaussianInitFP", NOTHING, 0, start<gaussianFloats>},
        {"moxNoiseImage",
         PIXELS,
         1,
         noise,
         {.releasesTiles = true, .byTiles = true, .tiles = TilesInHand::ONE, .tool = "noise"}},
        {"moxCreateImageJaehne", NOTHING, 0, rings},
    };
}
