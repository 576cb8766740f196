// The reference model of the neighbourhood filters: slow, pixel by pixel, to be read as their definition.
//
//     RefResult wanted = refBlur(source, destination, {5, 3, 2, 1});      // before the call
//     moxBlur(source.header(), destination.header(), 5, 3, 2, 1);
//     refAcceptNaNs(destination, &wanted);
//     EXPECT_TRUE(destination.holds(wanted.expected, wanted.unspecified));
//
// Borders are read from the header, not from the layout, so that tests may set them by hand. unspecified marks samples
// whose value is not defined: a float beyond the integers that is rounded to one, the root of a sum that has wrapped,
// the larger of a number and a NaN.
#pragma once

#include <cstdint>
#include <vector>

#include "reference/reference.h"

struct RefWindow {
    int nCols = 1, nRows = 1;
    int anchorX = 0, anchorY = 0;
};

// A kernel as the caller gives it: rows from the top, not mirrored.
struct RefKernel {
    RefWindow window;
    std::vector<int> values;
    int nShiftR = 0;
};
struct RefKernelFP {
    RefWindow window;
    std::vector<float> values;
};

// A sample at any place of the plane, by the rules of the side that answers there. With clampConst the border constants
// are limited to the depth, without it they are cut to its bits.
uint32_t refBorderSample(const TestImage &image, int channel, int64_t x, int64_t y, bool clampConst);

// A sample's bit pattern as an integer, at integer depths.
int refInteger(unsigned depth, uint32_t sample);

RefResult refBlur(TestImage &source, TestImage &destination, const RefWindow &window);

// 0, 1 or 2: accumulates in 16 bits, in 32, in float.
int refKernelClass(const RefKernel &kernel, unsigned depth);
RefResult refConvolve2D(TestImage &source, TestImage &destination, const std::vector<RefKernel> &kernels, int method);
RefResult refConvolve2DFP(TestImage &source, TestImage &destination, const std::vector<RefKernelFP> &kernels,
                          int method);

enum class RefRank { MAX, MIN, MEDIAN };
RefResult refRank(TestImage &source, TestImage &destination, RefRank rank, const RefWindow &window);
RefResult refFixed(TestImage &source, TestImage &destination, int filter);
RefResult refColorMedian(TestImage &source, TestImage &destination, const RefWindow &window);

enum class RefMorph { ERODE, DILATE, OPEN, CLOSE };
RefResult refMorphology(TestImage &source, TestImage &destination, RefMorph morph, int n);

// Where both hold a NaN, the one that stands in the image is expected: payloads are nobody's to rely on.
void refAcceptNaNs(const TestImage &destination, RefResult *wanted);
