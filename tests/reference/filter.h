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
#include <functional>
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

// What the destination gets for pixel (i, j) of a channel of the covered area, counted from the corners of the regions,
// wherever no mask forbids it.
using RefPixel = std::function<uint32_t(int channel, int i, int j)>;
RefResult refOverArea(TestImage &source, TestImage &destination, const RefPixel &pixel);
// The source's sample at pixel (i, j) counted from its region's corner, inside the image or not.
uint32_t refSourceSample(const TestImage &source, int channel, int64_t i, int64_t j);

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

// Kernels of one row and of one column; one of them may be null.
RefResult refConvolveSep2D(TestImage &source, TestImage &destination, const RefKernel *xKernel,
                           const RefKernel *yKernel);
RefResult refConvolveSep2DFP(TestImage &source, TestImage &destination, const RefKernelFP *xKernel,
                             const RefKernelFP *yKernel);

// Correlation; exact has what the destination's covered samples would be without any rounding, in the order of
// refOverArea, channels last.
struct RefCorrelation {
    RefResult result;
    std::vector<long double> exact;
};
RefCorrelation refNormCrossCorr(TestImage &pattern, TestImage &source, TestImage &destination);
// What the destination holds is expected where it is off by no more than the arithmetic may be: a float by 4 units in
// its last place, an integer by being rounded the other way from the middle of two.
void refAcceptRounding(TestImage &source, TestImage &destination, const RefCorrelation &correlation, RefResult *wanted);

// Where both hold a NaN, the one that stands in the image is expected: payloads are nobody's to rely on.
void refAcceptNaNs(const TestImage &destination, RefResult *wanted);
