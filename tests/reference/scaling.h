// The reference model of changes of scale: slow, one destination pixel at a time, to be read as their definition.
//
//     const RefResult wanted = refZoom(source, destination, {3, 2, 5, 4}, MOX_INTER_LINEAR);    // before the call
//     moxZoom(source.header(), destination.header(), 3, 2, 5, 4, MOX_INTER_LINEAR);
//     EXPECT_TRUE(destination.holds(wanted.expected));
//
// Arguments are good ones: the refusals have their own tests.
#pragma once

#include <functional>

#include "reference/reference.h"

struct RefRatio {
    int xDst, xSrc, yDst, ySrc;
};

RefResult refDecimate(TestImage &source, TestImage &destination, const RefRatio &ratio, int interpolate);
// The core of moxZoom, and of moxResize but for super-sampling.
RefResult refZoom(TestImage &source, TestImage &destination, const RefRatio &ratio, int interpolate);
RefResult refDecimateBlur(TestImage &source, TestImage &destination, const RefRatio &ratio, int interpolate,
                          int xMaskSize, int yMaskSize);

// How many destination pixels there are along one axis: the whole part of the zoomed size, but no more than the
// region has.
int refScaledCount(int sourceSize, int dst, int src, int destinationSize);

// The sample at pixel (i, j) counted from the corner of the region, of a processed channel counted from 0.
uint32_t refScaledSample(const TestImage &image, int channel, int i, int j);
// The same as a number, whatever the depth.
float refScaledNumber(const TestImage &image, int channel, int i, int j);
// A float as a sample, clamped where the depth has integers.
uint32_t refNumberAsSample(unsigned depth, float number);

// What becomes of pixel (i, j) in a channel, wherever written says that it is written.
using RefScaledPixel = std::function<uint32_t(int channel, int i, int j)>;
using RefScaledMask = std::function<bool(int i, int j)>;
RefResult refScaled(TestImage &destination, int width, int height, const RefScaledMask &written,
                    const RefScaledPixel &pixel);
// The destination's mask alone.
RefScaledMask refDestinationMask(const TestImage &destination);

// Positions of the zoom core along one axis: index of the sample, and what lies between it and the position.
struct RefZoomPlace {
    int index;
    double position;
};
std::vector<RefZoomPlace> refZoomPlaces(int count, int size, double step);
// The window of four samples about a place, and how far the position is beyond its second one.
struct RefCubicPlace {
    int first;
    float beyond;
};
RefCubicPlace refCubicPlace(const RefZoomPlace &place, int size);
// Newton's form through four samples.
float refNewton(const float samples[4], float beyond);
