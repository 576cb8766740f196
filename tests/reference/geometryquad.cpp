// Quadrangles and maps, as their formulas stand.
#include <algorithm>
#include <cmath>

#include "reference/geometry.h"

bool refRegionRect(const MoxROI *roi, int imageWidth, int imageHeight, RefRect *rect) {
    if (!roi) {
        *rect = {0, 0, imageWidth - 1, imageHeight - 1};
        return true;
    }
    if (roi->width < 1 || roi->height < 1) return false;
    *rect = {roi->xOffset, roi->yOffset, roi->xOffset + roi->width - 1, roi->yOffset + roi->height - 1};
    if (rect->right < 0 || rect->bottom < 0) return false;
    rect->left = std::max(rect->left, 0);
    rect->top = std::max(rect->top, 0);
    if (imageWidth == 0) return true;
    if (rect->left >= imageWidth || rect->top >= imageHeight) return false;
    rect->right = std::min(rect->right, imageWidth - 1);
    rect->bottom = std::min(rect->bottom, imageHeight - 1);
    return true;
}

int refCoeffCount(RefMap map) {
    return map == RefMap::AFFINE ? 6 : map == RefMap::BILINEAR ? 8 : 9;
}

static std::array<double, 2> mapped(RefMap map, const RefCoeffs &c, double x, double y) {
    switch (map) {
        case RefMap::AFFINE:
            return {c[0] * x + c[1] * y + c[2], c[3] * x + c[4] * y + c[5]};
        case RefMap::BILINEAR:
            return {c[0] * x * y + c[1] * x + c[2] * y + c[3], c[4] * x * y + c[5] * x + c[6] * y + c[7]};
        default:
            return {(c[0] * x + c[1] * y + c[2]) / (c[6] * x + c[7] * y + c[8]),
                    (c[3] * x + c[4] * y + c[5]) / (c[6] * x + c[7] * y + c[8])};
    }
}

RefQuad refMappedQuad(RefMap map, const RefCoeffs &coeffs, const RefRect &rect) {
    return {mapped(map, coeffs, rect.left, rect.top), mapped(map, coeffs, rect.right, rect.top),
            mapped(map, coeffs, rect.right, rect.bottom), mapped(map, coeffs, rect.left, rect.bottom)};
}

RefBound refBoundOf(const RefQuad &quad) {
    RefBound bound = {quad[0][0], quad[0][1], quad[0][0], quad[0][1]};
    for (const auto &corner : quad) {
        for (size_t k = 0; k < 2; ++k) {
            bound[k] = std::min(bound[k], corner[k]);
            bound[k + 2] = std::max(bound[k + 2], corner[k]);
        }
    }
    return bound;
}

namespace {

// The four sides, from corner to corner.
struct Sides {
    double a, b, c, d, e, f, g, h;
    explicit Sides(const RefQuad &q)
        : a(q[0][0] - q[3][0]),
          b(q[1][0] - q[0][0]),
          c(q[3][0] - q[2][0]),
          d(q[2][0] - q[1][0]),
          e(q[0][1] - q[3][1]),
          f(q[1][1] - q[0][1]),
          g(q[3][1] - q[2][1]),
          h(q[2][1] - q[1][1]) {}
};

}  // namespace

const char *refQuadFault(RefMap map, const RefQuad &quad) {
    const Sides s(quad);
    const double turns[4] = {s.c * s.e - s.a * s.g, s.a * s.f - s.e * s.b, s.b * s.h - s.f * s.d,
                             s.d * s.g - s.c * s.h};
    int positive = 0;
    for (const double turn : turns) {
        if (turn == 0.0 || std::isnan(turn)) return "Quadrangle is degenerate to triangle or length or point";
        if (turn > 0.0) ++positive;
    }
    if (positive != 0 && positive != 4) return "Quadrangle is concave";
    const bool parallel = std::fabs(s.c * s.f - s.b * s.g) <= 1e-07 && std::fabs(s.e * s.d - s.a * s.h) <= 1e-07;
    if (map == RefMap::AFFINE && !parallel) return "Quadrangle is not parallelogram";
    return nullptr;
}

static RefCoeffs affineTransform(const RefRect &rect, const RefQuad &q) {
    const double W = rect.right - rect.left, H = rect.bottom - rect.top, L = rect.left, T = rect.top;
    RefCoeffs c = {};
    c[0] = (q[1][0] - q[0][0]) / W;
    c[1] = (q[2][0] - q[1][0]) / H;
    c[2] = q[0][0] - L * c[0] - T * c[1];
    c[3] = (q[1][1] - q[0][1]) / W;
    c[4] = (q[2][1] - q[1][1]) / H;
    c[5] = q[0][1] - L * c[3] - T * c[4];
    return c;
}

static RefCoeffs bilinearTransform(const RefRect &rect, const RefQuad &q) {
    const Sides s(q);
    const double L = rect.left, T = rect.top, R = rect.right, B = rect.bottom;
    const uint32_t area = static_cast<uint32_t>(rect.bottom - rect.top) * static_cast<uint32_t>(rect.right - rect.left);
    const double K = 1 / static_cast<double>(static_cast<int32_t>(area));
    RefCoeffs c = {};
    c[0] = -(s.b + s.c) * K;
    c[1] = (s.b * B + s.c * T) * K;
    c[2] = (-s.a * R - s.d * L) * K;
    c[3] = q[0][0] - L * c[1] - T * c[2] - L * T * c[0];
    c[4] = -(s.f + s.g) * K;
    c[5] = (s.f * B + s.g * T) * K;
    c[6] = (-s.e * R - s.h * L) * K;
    c[7] = q[0][1] - L * c[5] - T * c[6] - L * T * c[4];
    return c;
}

static RefCoeffs perspectiveTransform(const RefRect &rect, const RefQuad &q) {
    const Sides s(q);
    const double L = rect.left, T = rect.top;
    const double r = 1 / (s.c * s.h - s.d * s.g), ex = s.a + s.d, ey = s.e + s.h;
    const double p = (ex * s.h - ey * s.d) * r, t = (ex * s.g - ey * s.c) * r;
    const double rw = 1 / static_cast<double>(rect.right - rect.left);
    const double rh = 1 / static_cast<double>(rect.bottom - rect.top);
    const double x1 = q[1][0], y1 = q[1][1], x3 = q[3][0], y3 = q[3][1];
    RefCoeffs c = {};
    c[0] = (x1 - q[0][0] + x1 * t) * rw;
    c[1] = (x3 * p - s.a) * rh;
    c[3] = (y1 - q[0][1] + y1 * t) * rw;
    c[4] = (y3 * p - s.e) * rh;
    c[6] = t * rw;
    c[7] = p * rh;
    c[2] = q[0][0] - L * c[0] - T * c[1];
    c[5] = q[0][1] - L * c[3] - T * c[4];
    c[8] = 1 - L * c[6] - T * c[7];
    return c;
}

RefCoeffs refTransform(RefMap map, const RefRect &rect, const RefQuad &quad) {
    switch (map) {
        case RefMap::AFFINE:
            return affineTransform(rect, quad);
        case RefMap::BILINEAR:
            return bilinearTransform(rect, quad);
        default:
            return perspectiveTransform(rect, quad);
    }
}

void refRotateShift(double x, double y, double angle, double *xShift, double *yShift) {
    const double turns = std::nearbyint(angle * (1.0 / 360.0));
    double a = angle - 360.0 * turns;
    if (a < 0) a = a + 360.0;
    if (a == 0) return;
    if (a == 90) {
        *xShift += x - y;
        *yShift += y + x;
    } else if (a == 180) {
        *xShift += 2 * x;
        *yShift += 2 * y;
    } else if (a == 270) {
        *xShift += y + x;
        *yShift += y - x;
    } else {
        const double s = std::sin(a * (3.14159265358979323846 / 180.0));
        const double c = std::cos(a * (3.14159265358979323846 / 180.0));
        *xShift += x - c * x - s * y;
        *yShift += y - c * y + s * x;
    }
}
