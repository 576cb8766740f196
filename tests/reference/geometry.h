// The reference model of geometry: slow, pixel by pixel or formula by formula, to be read as its definition.
#pragma once

#include <array>
#include <vector>

#include "reference/reference.h"

// The destination of moxMirror.
RefResult refMirror(TestImage &source, TestImage &destination, int flipAxis);

// First and last pixel of a region, both included.
struct RefRect {
    int left, top, right, bottom;
};
// The region of an image of that size, or by itself where imageWidth is 0; false if it is rejected.
bool refRegionRect(const MoxROI *roi, int imageWidth, int imageHeight, RefRect *rect);

// Corners (left, top), (right, top), (right, bottom), (left, bottom), x before y.
using RefQuad = std::array<std::array<double, 2>, 4>;
// Smallest x and y, largest x and y.
using RefBound = std::array<double, 4>;

enum class RefMap { AFFINE, BILINEAR, PERSPECTIVE };
// Coefficients in their order: six, eight or nine.
using RefCoeffs = std::array<double, 9>;
int refCoeffCount(RefMap map);

RefQuad refMappedQuad(RefMap map, const RefCoeffs &coeffs, const RefRect &rect);
RefBound refBoundOf(const RefQuad &quad);
// What is wrong with a quadrangle that a map is to make, or null.
const char *refQuadFault(RefMap map, const RefQuad &quad);
RefCoeffs refTransform(RefMap map, const RefRect &rect, const RefQuad &quad);
void refRotateShift(double x, double y, double angle, double *xShift, double *yShift);

// A polygon's corner.
using RefPoint = std::array<double, 2>;
// What a rectangle leaves of a quadrangle.
std::vector<RefPoint> refClip(const RefQuad &quad, const RefRect &rect);
// The pixels of a polygon, row by row, of which some may have none; no row where it has no height or width in whole
// numbers. Clockwise is the winding with y growing downward.
struct RefSpan {
    int row, first, last;
};
std::vector<RefSpan> refScan(const std::vector<RefPoint> &polygon, bool clockwise);
bool refIsClockwise(RefMap map, const RefQuad &quad);

// Samples of one channel of an image between its pixels. Positions are pixels of the whole image, windows stay within
// the region.
struct RefSource {
    const TestImage &image;
    RefRect rect;
    int channel;
    RefSource(const TestImage &source, int sourceChannel);
    int width() const { return rect.right - rect.left + 1; }
    int height() const { return rect.bottom - rect.top + 1; }
    uint32_t at(int64_t x, int64_t y) const;  // positions beyond the region count as on its edge
    double number(int64_t x, int64_t y) const;
};
// The kind that is left of an interpolation for a source of that size.
int refKind(unsigned depth, int width, int height, int interpolate);

// Affine maps; positions of 16.16 bits, or exact ones. The nearest neighbour's have their half added already.
uint32_t refNearestFixed(const RefSource &source, int64_t x, int64_t y);
uint32_t refLinearFixed(const RefSource &source, int64_t x, int64_t y);  // 8 bits
uint32_t refLinearExact(const RefSource &source, double x, double y);    // 16 bits
uint32_t refLinearSingle(const RefSource &source, float x, float y);     // 32F
uint32_t refCubic(const RefSource &source, double x, double y);          // all depths but bits
// Bilinear and perspective maps: nearest neighbour to even, linear.
uint32_t refNearestEven(const RefSource &source, float x, float y);
uint32_t refLinearFloat(const RefSource &source, float x, float y);

// The weights of the four taps of 8-bit cubic samples at t / 512.
std::array<int, 4> refCubicWeights(int t);

// What becomes of the destination. The quadrangle lies in the destination with warpFlag 0, in the source with 1.
RefResult refWarpAffine(TestImage &source, TestImage &destination, const RefCoeffs &coeffs, int interpolate);
RefResult refWarpQuad(RefMap map, TestImage &source, TestImage &destination, const RefQuad &quad, int warpFlag,
                      int interpolate);
RefResult refRotate(TestImage &source, TestImage &destination, double angle, double xShift, double yShift,
                    int interpolate);
RefResult refRemap(TestImage &source, TestImage &xMap, TestImage &yMap, TestImage &destination, int interpolate);
