// The mathematics of quadrangles, in doubles. Perspective maps are those of P. Heckbert, "Fundamentals of Texture
// Mapping and Image Warping" (1989): of a square onto a quadrangle, scaled to the rectangle.
#include "geometry/ownquad.h"

#include <algorithm>
#include <cmath>

#include "core/ownmath.h"

bool ownRoiCorners(const MoxROI *roi, OwnCorners *corners) {
    if (!roi || roi->width < 1 || roi->height < 1) return false;
    const int64_t right = int64_t{roi->xOffset} + roi->width - 1;
    const int64_t bottom = int64_t{roi->yOffset} + roi->height - 1;
    if (right < 0 || bottom < 0) return false;
    *corners = {std::max(roi->xOffset, 0), std::max(roi->yOffset, 0), right, bottom};
    return true;
}

bool ownImageCorners(const MoxImage *image, OwnCorners *corners) {
    if (!image->roi) {
        *corners = {0, 0, int64_t{image->width} - 1, int64_t{image->height} - 1};
        return true;
    }
    if (!ownRoiCorners(image->roi, corners)) return false;
    if (corners->left >= image->width || corners->top >= image->height) return false;
    corners->right = std::min<int64_t>(corners->right, image->width - 1);
    corners->bottom = std::min<int64_t>(corners->bottom, image->height - 1);
    return true;
}

OwnSides ownSides(const double quad[4][2]) {
    OwnSides s;
    s.a = quad[0][0] - quad[3][0];
    s.b = quad[1][0] - quad[0][0];
    s.c = quad[3][0] - quad[2][0];
    s.d = quad[2][0] - quad[1][0];
    s.e = quad[0][1] - quad[3][1];
    s.f = quad[1][1] - quad[0][1];
    s.g = quad[3][1] - quad[2][1];
    s.h = quad[2][1] - quad[1][1];
    s.t0 = s.c * s.e - s.a * s.g;
    s.t1 = s.a * s.f - s.e * s.b;
    s.t2 = s.b * s.h - s.f * s.d;
    s.t3 = s.d * s.g - s.c * s.h;
    return s;
}

const char *ownFindQuadFault(const OwnSides &sides) {
    const double products[] = {sides.t0, sides.t1, sides.t2, sides.t3};
    int positive = 0;
    for (const double product : products) {
        if (product == 0.0 || std::isnan(product)) return "Quadrangle is degenerate to triangle or length or point";
        positive += product > 0.0 ? 1 : 0;
    }
    return positive == 0 || positive == 4 ? nullptr : "Quadrangle is concave";
}

// Opposite sides are parallel to within an area of square pixels, whatever the quadrangle's size. Sides that run beyond
// numbers are not.
const char *ownFindParallelogramFault(const OwnSides &s) {
    constexpr double TOLERANCE = 1e-07;
    const bool parallel =
        std::fabs(s.c * s.f - s.b * s.g) <= TOLERANCE && std::fabs(s.e * s.d - s.a * s.h) <= TOLERANCE;
    return parallel ? nullptr : "Quadrangle is not parallelogram";
}

void ownMapAffine(const double c[6], double x, double y, double *to) {
    to[0] = c[0] * x + c[1] * y + c[2];
    to[1] = c[3] * x + c[4] * y + c[5];
}

void ownMapBilinear(const double c[8], double x, double y, double *to) {
    to[0] = c[0] * x * y + c[1] * x + c[2] * y + c[3];
    to[1] = c[4] * x * y + c[5] * x + c[6] * y + c[7];
}

void ownMapPerspective(const double c[9], double x, double y, double *to) {
    const double divisor = c[6] * x + c[7] * y + c[8];
    to[0] = (c[0] * x + c[1] * y + c[2]) / divisor;
    to[1] = (c[3] * x + c[4] * y + c[5]) / divisor;
}

namespace {

// A rectangle as the maps have it.
struct Frame {
    double left, top, right, bottom, width, height;
    explicit Frame(const OwnCorners &c)
        : left(static_cast<double>(c.left)),
          top(static_cast<double>(c.top)),
          right(static_cast<double>(c.right)),
          bottom(static_cast<double>(c.bottom)),
          width(right - left),
          height(bottom - top) {}
};

}  // namespace

void ownFitAffine(const OwnCorners &corners, const double quad[4][2], double coeffs[6]) {
    const Frame r(corners);
    for (int k = 0; k < 2; ++k) {
        double *c = coeffs + 3 * k;
        c[0] = (quad[1][k] - quad[0][k]) / r.width;
        c[1] = (quad[2][k] - quad[1][k]) / r.height;
        c[2] = quad[0][k] - r.left * c[0] - r.top * c[1];
    }
}

void ownFitBilinear(const OwnCorners &corners, const double quad[4][2], double coeffs[8]) {
    const Frame r(corners);
    // The area is a product of 32 bits, which wraps.
    const uint32_t area =
        static_cast<uint32_t>(corners.right - corners.left) * static_cast<uint32_t>(corners.bottom - corners.top);
    const double scale = 1.0 / static_cast<double>(static_cast<int32_t>(area));
    const OwnSides s = ownSides(quad);
    const double sides[2][4] = {{s.a, s.b, s.c, s.d}, {s.e, s.f, s.g, s.h}};
    for (int k = 0; k < 2; ++k) {
        const auto &[left, top, bottom, right] = sides[k];
        double *c = coeffs + 4 * k;
        c[0] = -(top + bottom) * scale;
        c[1] = (top * r.bottom + bottom * r.top) * scale;
        c[2] = (-left * r.right - right * r.left) * scale;
        c[3] = quad[0][k] - r.left * c[1] - r.top * c[2] - r.left * r.top * c[0];
    }
}

void ownFitPerspective(const OwnCorners &corners, const double quad[4][2], double coeffs[9]) {
    const Frame r(corners);
    const OwnSides s = ownSides(quad);
    const double scale = 1.0 / (s.c * s.h - s.d * s.g);
    const double ex = s.a + s.d, ey = s.e + s.h;
    const double p = (ex * s.h - ey * s.d) * scale, q = (ex * s.g - ey * s.c) * scale;
    const double rw = 1.0 / r.width, rh = 1.0 / r.height;
    double *c = coeffs;
    c[0] = (s.b + quad[1][0] * q) * rw;
    c[1] = (quad[3][0] * p - s.a) * rh;
    c[2] = quad[0][0] - r.left * c[0] - r.top * c[1];
    c[3] = (s.f + quad[1][1] * q) * rw;
    c[4] = (quad[3][1] * p - s.e) * rh;
    c[5] = quad[0][1] - r.left * c[3] - r.top * c[4];
    c[6] = q * rw;
    c[7] = p * rh;
    c[8] = 1.0 - r.left * c[6] - r.top * c[7];
}

bool ownInvertAffine(const OwnCorners &corners, const double quad[4][2], double coeffs[6]) {
    const Frame r(corners);
    const double x0 = quad[0][0], y0 = quad[0][1];
    const double dx01 = quad[1][0] - x0, dy01 = quad[1][1] - y0;
    const double dx12 = quad[2][0] - quad[1][0], dy12 = quad[2][1] - quad[1][1];
    const double area = dx01 * dy12 - dx12 * dy01;
    double *c = coeffs;
    c[0] = dy12 * r.width / area;
    c[1] = -dx12 * r.width / area;
    c[2] = r.left - c[1] * y0 - c[0] * x0;
    c[3] = -dy01 * r.height / area;
    c[4] = dx01 * r.height / area;
    c[5] = r.top - c[3] * x0 - c[4] * y0;
    return area > 0;
}

// The adjugate does as well as the inverse, since a common factor means nothing.
bool ownInvertPerspective(const OwnCorners &corners, const double quad[4][2], double coeffs[9]) {
    double forward[9];
    ownFitPerspective(corners, quad, forward);
    const auto [a, b, c, d, e, f, g, h, i] = forward;
    double *out = coeffs;
    out[0] = e * i - h * f;
    out[1] = h * c - b * i;
    out[2] = b * f - e * c;
    out[3] = g * f - d * i;
    out[4] = i * a - g * c;
    out[5] = c * d - f * a;
    out[6] = d * h - g * e;
    out[7] = g * b - h * a;
    out[8] = a * e - d * b;
    return ownSides(quad).t0 > 0;
}

void ownInvertBilinear(const OwnCorners &corners, const double quad[4][2], MoxInverseBilinear *inverse) {
    constexpr double PARALLEL = 1e-10;
    const Frame r(corners);
    const OwnSides q = ownSides(quad);
    const double x0 = quad[0][0], y0 = quad[0][1];
    const double sx = q.c + q.b, sy = q.g + q.f;
    const double p = q.c * q.f - q.b * q.g, o = q.d * q.e - q.h * q.a, s = q.a * q.f - q.b * q.e;
    const double pw = p / r.width, oh = o / r.height;
    const bool hasP = std::fabs(p) > PARALLEL, hasO = std::fabs(o) > PARALLEL;
    double *m = inverse->m;
    double start8 = 0, start9 = r.top;
    m[3] = 0;
    if (hasP && hasO) {
        const double k = 1 / (2 * pw);
        inverse->form = OWN_BY_ROOT;
        m[0] = -sy * k;
        m[1] = sx * k;
        m[2] = -s * k - (m[1] * y0 + m[0] * x0);
        m[3] = -pw / oh;
        m[4] = q.e * r.width / pw;
        m[5] = -sy / oh;
        m[6] = -q.a * r.width / pw;
        m[7] = sx / oh;
        m[10] = r.left;
    } else if (hasO) {
        inverse->form = OWN_BY_WIDTH;
        m[0] = sy;
        m[1] = -sx;
        m[2] = s - (m[1] * y0 + m[0] * x0);
        m[4] = -q.e * r.width;
        m[5] = -sy / oh;
        m[6] = q.a * r.width;
        m[7] = sx / oh;
        m[10] = r.left;
    } else if (hasP) {
        inverse->form = OWN_BY_HEIGHT;
        m[0] = sy;
        m[1] = -sx;
        m[2] = -(s + m[1] * y0 + m[0] * x0);
        m[4] = -sy / pw;
        m[5] = q.f * r.height;
        m[6] = sx / pw;
        m[7] = -q.b * r.height;
        m[10] = r.top;
        start8 = r.left;
        start9 = 0;
    } else {
        inverse->form = OWN_PARALLELOGRAM;
        m[0] = m[1] = m[2] = 0;
        m[4] = -q.e * r.width / s;
        m[5] = -q.f * r.height / s;
        m[6] = q.a * r.width / s;
        m[7] = q.b * r.height / s;
        m[10] = 0;
        start8 = r.left;
    }
    m[8] = start8 - (m[4] * x0 + m[6] * y0);
    m[9] = start9 - (m[5] * x0 + m[7] * y0);
    inverse->orientation = q.t0 > 0;
    inverse->addsRoot = inverse->orientation ? p > 0 : !(p >= 0);
}

double ownNormalAngle(double angle) {
    constexpr double PER_TURN = 1.0 / 360;
    double rest = angle - 360 * std::nearbyint(angle * PER_TURN);
    // So many turns that they are no longer counted exactly.
    if (std::fabs(rest) > 360) rest = std::fmod(angle, 360);
    return rest < 0 ? rest + 360 : rest;
}

void ownSineCosineOfDegrees(double angle, double *sine, double *cosine) {
    constexpr double RADIANS = 0.017453292519943295769;
    ownSineCosine(angle * RADIANS, sine, cosine);
}
