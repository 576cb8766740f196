// Colour models, gray, and the colour twist. Pixels have three channels; a sample is one of them.
#include <cstring>

#include "rows.h"

namespace {

using Images = MoxImage *const *;

void name(MoxImage *image, const char *model, const char *sequence) {
    std::memcpy(image->colorModel, model, 4);
    std::memcpy(image->channelSeq, sequence, 4);
}

template <void(MOX_CALL *convert)(MoxImage *, MoxImage *)>
void fromRgb(Images images) {
    name(images[0], "RGB", "RGB");
    convert(images[0], images[1]);
}

struct Model {
    char name[4];
};
template <void(MOX_CALL *convert)(MoxImage *, MoxImage *), Model model>
void toRgb(Images images) {
    name(images[0], model.name, model.name);
    name(images[1], "RGB", "RGB");
    convert(images[0], images[1]);
}

void toGray(Images images) {
    name(images[0], "RGB", "RGB");
    name(images[1], "GRAY", "G\0\0");
    moxColorToGray(images[0], images[1]);
}
void fromGray(Images images) {
    name(images[0], "GRAY", "G\0\0");
    name(images[1], "RGB", "RGB");
    moxGrayToColor(images[0], images[1], 1, 1, 1);
}

void twist(Images images) {
    static constexpr int matrix[16] = {205, 38, 13, 2560, 26, 243, -13, -2048, -26, 51, 230, 1024, 0, 0, 0, 256};
    static MoxColorTwist *const record = moxCreateColorTwist(matrix, 8);
    moxApplyColorTwist(images[0], images[1], record, 0);
}
void twistByFloats(Images images) {
    static constexpr float matrix[16] = {0.80f,  0.15f, 0.05f, 10, 0.10f, 0.95f, -0.05f, -8,
                                         -0.10f, 0.20f, 0.90f, 4,  0,     0,     0,      1};
    moxColorTwistFP(images[0], images[1], matrix);
}

constexpr Layout RGB = {.channels = 3};
constexpr Layout MASKED = {.channels = 3, .masked = true};
const std::vector<int> BYTES = {OWN_8U}, ALL = {OWN_8U, OWN_16U, OWN_32S, OWN_32F},
                       INTEGER = {OWN_8U, OWN_16U, OWN_32S};

Entry colour(const char *name, const std::vector<int> &at, void (*call)(Images)) {
    return {.operation = {.name = name, .at = at, .call = call}, .layout = RGB, .sizes = {256, 1024}};
}

}  // namespace

extern const Family colorFamily;
const Family colorFamily = {
    "Colours",
    {
        colour("rgb-to-hsv", INTEGER, fromRgb<moxRGB2HSV>),
        colour("hsv-to-rgb", INTEGER, toRgb<moxHSV2RGB, Model{"HSV"}>),
        colour("rgb-to-hls", INTEGER, fromRgb<moxRGB2HLS>),
        colour("hls-to-rgb", INTEGER, toRgb<moxHLS2RGB, Model{"HLS"}>),
        colour("rgb-to-xyz", ALL, fromRgb<moxRGB2XYZ>),
        colour("xyz-to-rgb", ALL, toRgb<moxXYZ2RGB, Model{"XYZ"}>),
        colour("rgb-to-yuv", ALL, fromRgb<moxRGB2YUV>),
        colour("yuv-to-rgb", ALL, toRgb<moxYUV2RGB, Model{"YUV"}>),
        colour("rgb-to-ycrcb", ALL, fromRgb<moxRGB2YCrCb>),
        colour("ycrcb-to-rgb", ALL, toRgb<moxYCrCb2RGB, Model{"YCr"}>),
        colour("ycc-to-rgb", BYTES, toRgb<moxYCC2RGB, Model{"YCC"}>),
        colour("rgb-to-luv", {OWN_32F}, fromRgb<moxRGB2LUV>),
        colour("luv-to-rgb", {OWN_32F}, toRgb<moxLUV2RGB, Model{"LUV"}>),
        {.operation = {.name = "to-gray", .at = BYTES, .call = toGray, .destination = {.channels = 1}}, .layout = RGB},
        {.operation = {.name = "from-gray", .at = BYTES, .call = fromGray, .destination = {.channels = 3}},
         .goals = {{OWN_8U, 1024, {GOAL_SHARE, 0.9, 0.3}}, {OWN_8U, 4096, {GOAL_SHARE, 0.9, 0.3}}}},
        {.operation = {.name = "twist", .at = {OWN_8U, OWN_16U}, .call = twist}, .layout = RGB},
        {.operation = {.name = "twist", .at = BYTES, .call = twist},
         .layoutName = "masked",
         .layout = MASKED,
         .sizes = {1024}},
        {.operation = {.name = "twist-fp", .at = {OWN_8U, OWN_16U, OWN_32F}, .call = twistByFloats},
         .layout = RGB,
         .sizes = {256, 1024}},
    },
};
