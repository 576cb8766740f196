// The reference model of the transforms: sums as they are defined, in long double; slow, and to be read as the
// definition.
//
//     RefPlane plane = refReadPlane(source, channel, width, height);    // before the call
//     RefPlane packed = refRealFft(plane, MOX_FFT_FORWARD);
//     const RefBound bound = refFloatFftBound(plane, MOX_FFT_FORWARD);
//     moxRealFft2D(source.header(), destination.header(), MOX_FFT_FORWARD);
//     EXPECT_TRUE(refPlaneHolds(destination, channel, packed, bound));
//
// A transform's result is defined up to the rounding of its arithmetic, and so comes with a bound for the error. What
// is defined to the bit (products of spectra, wavelets) comes as storage, as in the rest of the model.
#pragma once

#include <vector>

#include "reference/number.h"
#include "reference/reference.h"

// Samples of one channel as numbers, rows one after the other.
struct RefPlane {
    int width = 0, height = 0;
    std::vector<long double> samples;

    RefPlane() = default;
    RefPlane(int planeWidth, int planeHeight)
        : width(planeWidth), height(planeHeight), samples(static_cast<size_t>(int64_t{planeWidth} * planeHeight)) {}
    long double &at(int x, int y) { return samples[place(x, y)]; }
    long double at(int x, int y) const { return samples[place(x, y)]; }
    size_t place(int x, int y) const { return static_cast<size_t>(int64_t{y} * width + x); }
    long double norm() const;     // the root of the sum of squares
    long double largest() const;  // the largest magnitude
};

// The bits of a number that a depth stores: nearest, ties to even, saturated.
uint32_t refStored(unsigned depth, long double value);

// The region's samples from its corner, channel from 0; at 32S as the floats that they are converted to.
RefPlane refReadPlane(const TestImage &image, int channel, int width, int height);

// How far a sample may be from the exact one: absolute, and a part of its magnitude.
struct RefBound {
    long double absolute = 0, relative = 0;
};
testing::AssertionResult refPlaneHolds(const TestImage &image, int channel, const RefPlane &wanted,
                                       const RefBound &bound);

// Real to packed, and packed to real.
RefPlane refRealFft(const RefPlane &real, int flags);
RefPlane refCcsFft(const RefPlane &packed, int flags);
RefPlane refFft(bool ccs, const RefPlane &plane, int flags);
// Which arithmetic the tests of flags, depths and sizes choose.
bool refFftIsFixedPoint(unsigned srcDepth, unsigned dstDepth, int flags, int width, int height);
RefBound refFloatFftBound(const RefPlane &plane, int flags);
RefBound refFixedFftBound(const RefPlane &plane, int flags);
// The same sum in single precision, as a direct sum would be written: what the error of a transform is held against.
RefPlane refDirectFloatFft(bool ccs, const RefPlane &plane, int flags);

// Spectra multiplied: the destination's whole storage.
TestBytes refMultiplySpectra(const TestImage &a, const TestImage &b, const TestImage &destination);

RefPlane refDct(const RefPlane &plane, int flags);
bool refDctIsFixedPoint(unsigned srcDepth, unsigned dstDepth, int width, int height);
RefBound refFloatDctBound(const RefPlane &plane);
RefBound refFixedDctBound(const RefPlane &plane);
RefPlane refDirectFloatDct(const RefPlane &plane, int flags);

// One filter of a wavelet kernel.
struct RefFilter {
    std::vector<float> taps;
    int offset = 0;
};
struct RefFilters {
    RefFilter low, high;
};
using RefFloats = std::vector<std::vector<float>>;  // rows

// The four parts: approximation, x, y and diagonal detail, each half as large, rounded up.
void refDecompose(const RefFilters &filters, const RefFloats &source, RefFloats parts[4]);
// Before the limits and the rounding of the store.
RefFloats refReconstruct(const RefFilters &filters, const RefFloats parts[4], int width, int height);
RefFloats refReadFloats(const TestImage &image);
