// The reference model of geometry: slow, pixel by pixel or formula by formula, to be read as its definition.
#pragma once

#include <array>

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
