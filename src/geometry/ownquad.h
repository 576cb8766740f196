// Rectangles, quadrangles, and the maps between them.
#pragma once

#include <cstdint>

#include "core/owncore.h"

// Corners of a region; the ends are included.
struct OwnCorners {
    int64_t left, top, right, bottom;
};

// The corners of a region, cut to the image; of one that no image cuts, at 0 alone. False for a region that is empty or
// lies outside. A null roi is the whole image, or a fault where there is none.
bool ownImageCorners(const MoxImage *image, OwnCorners *corners);
bool ownRoiCorners(const MoxROI *roi, OwnCorners *corners);

// Whether a map can be made from a region: it is at least two pixels wide and high.
inline bool ownHasArea(const OwnCorners &corners) {
    return corners.right - corners.left >= 1 && corners.bottom - corners.top >= 1;
}

// The sides of a quadrangle, whose corners are in the order of (left, top), (right, top), (right, bottom),
// (left, bottom), and the cross products of neighbouring ones.
struct OwnSides {
    double a, b, c, d;  // x0 - x3, x1 - x0, x3 - x2, x2 - x1
    double e, f, g, h;  // the same of y
    double t0, t1, t2, t3;
};
OwnSides ownSides(const double quad[4][2]);

// What is wrong with a quadrangle, or null. Both windings are legal.
const char *ownFindQuadFault(const OwnSides &sides);
const char *ownFindParallelogramFault(const OwnSides &sides);

// A point under the maps, and the maps that carry a rectangle's corners onto a quadrangle's.
void ownMapAffine(const double coeffs[6], double x, double y, double *to);
void ownMapBilinear(const double coeffs[8], double x, double y, double *to);
void ownMapPerspective(const double coeffs[9], double x, double y, double *to);
void ownFitAffine(const OwnCorners &corners, const double quad[4][2], double coeffs[6]);
void ownFitBilinear(const OwnCorners &corners, const double quad[4][2], double coeffs[8]);
void ownFitPerspective(const OwnCorners &corners, const double quad[4][2], double coeffs[9]);

// The maps that carry a quadrangle onto a rectangle, by which a destination finds what it is made of. The result is the
// quadrangle's orientation: true where it turns, in the order of its corners, like the hands of a clock, y pointing
// down.
bool ownInvertAffine(const OwnCorners &corners, const double quad[4][2], double coeffs[6]);
bool ownInvertPerspective(const OwnCorners &corners, const double quad[4][2], double coeffs[9]);

// That of a bilinear map is no map of its kind but the solution of a quadratic equation, or of a linear one where sides
// are parallel. At (x, y), with
//   s = m0 x + m1 y + m2,  t = m4 x + m6 y + m8,  u = m5 x + m7 y + m9
// it is
//   no sides parallel                X = s + r + m10 for the root r of s s - t, or s - r + m10; Y = m3 (X - m10) + u
//   top and bottom (OWN_BY_WIDTH)    X = t / s + m10, Y = u
//   left and right (OWN_BY_HEIGHT)   X = t, Y = u / s + m10
//   a parallelogram                  X = t, Y = u
enum OwnBilinearCase { OWN_BY_ROOT, OWN_BY_WIDTH, OWN_BY_HEIGHT, OWN_PARALLELOGRAM };
struct MoxInverseBilinear {
    double m[11];
    OwnBilinearCase form;
    bool addsRoot;
    bool orientation;
};
void ownInvertBilinear(const OwnCorners &corners, const double quad[4][2], MoxInverseBilinear *inverse);

// An angle in degrees, brought to 0 up to 360.
double ownNormalAngle(double angle);

// Sine and cosine of an angle in degrees.
void ownSineCosineOfDegrees(double angle, double *sine, double *cosine);
