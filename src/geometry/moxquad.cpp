// What a map makes of a region, and the map that makes it: quadrangles, bounds and coefficients. No pixel is touched.
#include <algorithm>
#include <cmath>

#include "frame/ownimage.h"
#include "geometry/ownquad.h"

namespace {

// A kind of map.
struct Map {
    void (*point)(const double *coeffs, double x, double y, double *to);
    void (*fit)(const OwnCorners &corners, const double quad[4][2], double *coeffs);
    bool parallel;  // it makes parallelograms alone
    const char *noArea;
};
const Map affine = {ownMapAffine, ownFitAffine, true, "srcImage Rectangle ROI is degenerate to length or point"};
const Map bilinear = {ownMapBilinear, ownFitBilinear, false, "image Rectangle ROI is degenerate to length or point"};
const Map perspective = {ownMapPerspective, ownFitPerspective, false, bilinear.noArea};

// Of what the corners are asked: an image, or a region by itself.
bool findCorners(const MoxImage *image, OwnCorners *corners) {
    return ownImageCorners(image, corners);
}
bool findCorners(const MoxROI *roi, OwnCorners *corners) {
    return ownRoiCorners(roi, corners);
}
bool accept(const OwnCaller &caller, const MoxImage *image) {
    return ownAcceptImage(caller, image);
}
bool accept(const OwnCaller &, const MoxROI *) {
    return true;
}

bool refuse(const OwnCaller &caller, const char *message) {
    ownReport(caller, MOX_StatusBadArgument, message);
    return false;
}

bool acceptArray(const OwnCaller &caller, const void *array, const char *message) {
    if (!array) ownReport(caller, MOX_StatusNullPointer, message);
    return array != nullptr;
}

template <typename Region>
bool makeQuad(const OwnCaller &caller, const Map &map, const Region *region, const double *coeffs, double quad[4][2]) {
    if (!accept(caller, region) || !acceptArray(caller, coeffs, "coeffs == 0")) return false;
    OwnCorners r;
    if (!findCorners(region, &r)) return refuse(caller, "Bad rect ROI");
    if (!acceptArray(caller, quad, "quad == 0")) return false;
    const int64_t points[4][2] = {{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
    for (int k = 0; k < 4; ++k)
        map.point(coeffs, static_cast<double>(points[k][0]), static_cast<double>(points[k][1]), quad[k]);
    return true;
}

// The caller is the function asked for the bound; the quadrangle is that of another one, which reports what it finds.
template <typename Region>
void makeBound(const OwnCaller &caller, const OwnCaller &quadCaller, const Map &map, const Region *region,
               const double *coeffs, double bound[2][2]) {
    if (!accept(caller, region)) return;
    double quad[4][2];
    if (!makeQuad(quadCaller, map, region, coeffs, quad)) {
        ownReport(caller, MOX_StatusBacktrace, "");
        return;
    }
    if (!acceptArray(caller, bound, "rect == 0")) return;
    for (int k = 0; k < 2; ++k) {
        bound[0][k] = std::min({quad[0][k], quad[1][k], quad[2][k], quad[3][k]});
        bound[1][k] = std::max({quad[0][k], quad[1][k], quad[2][k], quad[3][k]});
    }
}

template <typename Region>
void makeTransform(const OwnCaller &caller, const Map &map, const Region *region, double *coeffs,
                   const double quad[4][2]) {
    if (!accept(caller, region) || !acceptArray(caller, quad, "quad == 0")) return;
    const OwnSides sides = ownSides(quad);
    const char *fault = ownFindQuadFault(sides);
    if (!fault && map.parallel) fault = ownFindParallelogramFault(sides);
    OwnCorners corners;
    if (!fault && !findCorners(region, &corners)) fault = "Bad rect ROI";
    if (!fault && !ownHasArea(corners)) fault = map.noArea;
    if (fault) {
        refuse(caller, fault);
        return;
    }
    if (acceptArray(caller, coeffs, "coeffs == 0")) map.fit(corners, quad, coeffs);
}

double *flat(double (*coeffs)[3]) {
    return reinterpret_cast<double *>(coeffs);
}
double *flat(double (*coeffs)[4]) {
    return reinterpret_cast<double *>(coeffs);
}

}  // namespace

void MOX_CALL moxGetAffineQuad(MoxImage *image, double coeffs[2][3], double quad[4][2]) {
    makeQuad(OWN_CALLER("moxGetAffineQuad"), affine, image, flat(coeffs), quad);
}
void MOX_CALL moxGetAffineQuadROI(MoxROI *roi, double coeffs[2][3], double quad[4][2]) {
    makeQuad(OWN_CALLER("moxGetAffineQuadROI"), affine, roi, flat(coeffs), quad);
}
void MOX_CALL moxGetBilinearQuad(MoxImage *image, double coeffs[2][4], double quad[4][2]) {
    makeQuad(OWN_CALLER("moxGetBilinearQuad"), bilinear, image, flat(coeffs), quad);
}
void MOX_CALL moxGetBilinearQuadROI(MoxROI *roi, double coeffs[2][4], double quad[4][2]) {
    makeQuad(OWN_CALLER("moxGetBilinearQuadROI"), bilinear, roi, flat(coeffs), quad);
}
void MOX_CALL moxGetPerspectiveQuad(MoxImage *image, double coeffs[3][3], double quad[4][2]) {
    makeQuad(OWN_CALLER("moxGetPerspectiveQuad"), perspective, image, flat(coeffs), quad);
}
void MOX_CALL moxGetPerspectiveQuadROI(MoxROI *roi, double coeffs[3][3], double quad[4][2]) {
    makeQuad(OWN_CALLER("moxGetPerspectiveQuadROI"), perspective, roi, flat(coeffs), quad);
}

void MOX_CALL moxGetAffineBound(MoxImage *image, double coeffs[2][3], double rect[2][2]) {
    makeBound(OWN_CALLER("moxGetAffineBound"), OWN_CALLER("moxGetAffineQuad"), affine, image, flat(coeffs), rect);
}
void MOX_CALL moxGetAffineBoundROI(MoxROI *roi, double coeffs[2][3], double rect[2][2]) {
    makeBound(OWN_CALLER("moxGetAffineBoundROI"), OWN_CALLER("moxGetAffineQuadROI"), affine, roi, flat(coeffs), rect);
}
void MOX_CALL moxGetBilinearBound(MoxImage *image, double coeffs[2][4], double rect[2][2]) {
    makeBound(OWN_CALLER("moxGetBilinearBound"), OWN_CALLER("moxGetBilinearQuad"), bilinear, image, flat(coeffs), rect);
}
void MOX_CALL moxGetBilinearBoundROI(MoxROI *roi, double coeffs[2][4], double rect[2][2]) {
    makeBound(OWN_CALLER("moxGetBilinearBoundROI"), OWN_CALLER("moxGetBilinearQuadROI"), bilinear, roi, flat(coeffs),
              rect);
}
void MOX_CALL moxGetPerspectiveBound(MoxImage *image, double coeffs[3][3], double rect[2][2]) {
    makeBound(OWN_CALLER("moxGetPerspectiveBound"), OWN_CALLER("moxGetPerspectiveQuad"), perspective, image,
              flat(coeffs), rect);
}
void MOX_CALL moxGetPerspectiveBoundROI(MoxROI *roi, double coeffs[3][3], double rect[2][2]) {
    makeBound(OWN_CALLER("moxGetPerspectiveBoundROI"), OWN_CALLER("moxGetPerspectiveQuadROI"), perspective, roi,
              flat(coeffs), rect);
}

void MOX_CALL moxGetAffineTransform(MoxImage *image, double coeffs[2][3], double quad[4][2]) {
    makeTransform(OWN_CALLER("moxGetAffineTransform"), affine, image, flat(coeffs), quad);
}
void MOX_CALL moxGetAffineTransformROI(MoxROI *roi, double coeffs[2][3], double quad[4][2]) {
    makeTransform(OWN_CALLER("moxGetAffineTransformROI"), affine, roi, flat(coeffs), quad);
}
void MOX_CALL moxGetBilinearTransform(MoxImage *image, double coeffs[2][4], double quad[4][2]) {
    makeTransform(OWN_CALLER("moxGetBilinearTransform"), bilinear, image, flat(coeffs), quad);
}
void MOX_CALL moxGetBilinearTransformROI(MoxROI *roi, double coeffs[2][4], double quad[4][2]) {
    makeTransform(OWN_CALLER("moxGetBilinearTransformROI"), bilinear, roi, flat(coeffs), quad);
}
void MOX_CALL moxGetPerspectiveTransform(MoxImage *image, double coeffs[3][3], double quad[4][2]) {
    makeTransform(OWN_CALLER("moxGetPerspectiveTransform"), perspective, image, flat(coeffs), quad);
}
void MOX_CALL moxGetPerspectiveTransformROI(MoxROI *roi, double coeffs[3][3], double quad[4][2]) {
    makeTransform(OWN_CALLER("moxGetPerspectiveTransformROI"), perspective, roi, flat(coeffs), quad);
}

void MOX_CALL moxGetRotateShift(double xCenter, double yCenter, double angle, double *xShift, double *yShift) {
    const OwnCaller caller = OWN_CALLER("moxGetRotateShift");
    if (!acceptArray(caller, xShift, "xShift == 0") || !acceptArray(caller, yShift, "yShift == 0")) return;
    const double x = xCenter, y = yCenter, turned = ownNormalAngle(angle);
    if (turned == 0) return;
    // Right angles keep a centre of whole numbers on whole numbers.
    if (turned == 90) {
        *xShift += x - y;
        *yShift += y + x;
    } else if (turned == 180) {
        *xShift += 2 * x;
        *yShift += 2 * y;
    } else if (turned == 270) {
        *xShift += y + x;
        *yShift += y - x;
    } else {
        double s, c;
        ownSineCosineOfDegrees(turned, &s, &c);
        *xShift += x - c * x - s * y;
        *yShift += y - c * y + s * x;
    }
}
