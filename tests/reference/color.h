// The reference model of the colour models, of gray and of the colour twist: pixel by pixel, to be read as their
// definition.
//
//     const RefModel &model = refModel("moxRGB2HSV");
//     RefResult wanted = refConvertColors(model, source, destination);     // before the call, which renames headers
//     model.call(source.header(), destination.header());
//     EXPECT_TRUE(destination.holds(wanted.expected));
//
// Samples are bit patterns. Which channel is red is read from the header's channelSeq.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reference/reference.h"

// Three samples in the order of their model's name: red, green and blue; hue, saturation and value; ...
struct RefColor {
    uint32_t sample[3];
    bool operator==(const RefColor &other) const = default;
};

// One conversion between RGB and another model.
struct RefModel {
    const char *name;    // the exported function
    const char *kernel;  // the function that a refused depth is reported under
    const char *model;   // the model that is not RGB
    bool forward;        // from RGB
    std::vector<unsigned> depths;
    const char *depthMessage;
    void(MOX_CALL *call)(MoxImage *src, MoxImage *dst);
    RefColor (*convert)(unsigned depth, const RefColor &from);

    bool accepts(unsigned depth) const;
};
inline void PrintTo(const RefModel &model, std::ostream *out) {
    *out << model.name;
}

const std::vector<RefModel> &refModels();
const RefModel &refModel(const std::string &name);

RefColor refRGB2YUV(unsigned depth, const RefColor &rgb);
RefColor refYUV2RGB(unsigned depth, const RefColor &yuv);
// 8U between pixel order and plane order, which has numbers of its own.
RefColor refRGB2YUVMixed(const RefColor &rgb);
RefColor refYUV2RGBMixed(const RefColor &yuv);
RefColor refRGB2YCrCb(unsigned depth, const RefColor &rgb);
RefColor refYCrCb2RGB(unsigned depth, const RefColor &ycc);
RefColor refRGB2XYZ(unsigned depth, const RefColor &rgb);
RefColor refXYZ2RGB(unsigned depth, const RefColor &xyz);
RefColor refRGB2LUV(unsigned depth, const RefColor &rgb);
RefColor refLUV2RGB(unsigned depth, const RefColor &luv);
RefColor refRGB2HSV(unsigned depth, const RefColor &rgb);
RefColor refHSV2RGB(unsigned depth, const RefColor &hsv);
RefColor refRGB2HLS(unsigned depth, const RefColor &rgb);
RefColor refHLS2RGB(unsigned depth, const RefColor &hls);
RefColor refYCC2RGB(unsigned depth, const RefColor &ycc);

uint32_t refGrayOf(unsigned srcDepth, unsigned dstDepth, const RefColor &rgb);
RefColor refColorOf(unsigned srcDepth, unsigned dstDepth, uint32_t gray, const float weights[3]);

// The channel of an image that holds red (0), green (1) or blue (2), by its order and channelSeq.
int refColorChannel(TestImage &image, int color);

// Whole images: regions, masks, channels of interest and alpha play no part.
RefResult refConvertColors(const RefModel &model, TestImage &source, TestImage &destination);
RefResult refColorToGray(TestImage &source, TestImage &destination);
RefResult refGrayToColor(TestImage &source, TestImage &destination, const float weights[3]);

// The first three channels of the regions' common area, under the masks.
RefResult refApplyTwist(TestImage &source, TestImage &destination, const int entries[16], int scalingValue);
RefResult refApplyTwistFP(TestImage &source, TestImage &destination, const float entries[16]);

// A number as a sample of 32S or of an unsigned depth: cut to an integer, then the nearest that there is, or its low
// bits.
uint32_t refSaturated(unsigned depth, double value);
uint32_t refWrapped(unsigned depth, double value);
