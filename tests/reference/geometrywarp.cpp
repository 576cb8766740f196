// Warps, pixel by pixel: the inverse maps, each kind's way along a row, what is within, and the smoothing of edges.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/ownmath.h"
#include "reference/geometry.h"

namespace {

// The sides of a quadrangle as differences of its corners.
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

struct Extent {
    double L, T, W, H;
    explicit Extent(const RefRect &rect)
        : L(rect.left), T(rect.top), W(rect.right - rect.left), H(rect.bottom - rect.top) {}
};

// From the plane of the quadrangle back to the rectangle.
RefCoeffs affineInverse(const RefRect &rect, const RefQuad &q) {
    const Extent r(rect);
    const double dx01 = q[1][0] - q[0][0], dy01 = q[1][1] - q[0][1];
    const double dx12 = q[2][0] - q[1][0], dy12 = q[2][1] - q[1][1];
    const double D = dx01 * dy12 - dx12 * dy01, x0 = q[0][0], y0 = q[0][1];
    RefCoeffs c = {};
    c[0] = dy12 * r.W / D;
    c[1] = -dx12 * r.W / D;
    c[2] = r.L - c[1] * y0 - c[0] * x0;
    c[3] = -dy01 * r.H / D;
    c[4] = dx01 * r.H / D;
    c[5] = r.T - c[3] * x0 - c[4] * y0;
    return c;
}

RefCoeffs perspectiveInverse(const RefRect &rect, const RefQuad &quad) {
    const RefCoeffs m = refTransform(RefMap::PERSPECTIVE, rect, quad);
    const double A = m[0], B = m[1], C = m[2], D = m[3], E = m[4], F = m[5], G = m[6], H = m[7], I = m[8];
    return {E * I - H * F, H * C - B * I, B * F - E * C, G * F - D * I, I * A - G * C,
            C * D - F * A, D * H - G * E, G * B - H * A, A * E - D * B};
}

struct BilinearInverse {
    double m[11] = {};
    int number = 0;
    bool plus;

    BilinearInverse(const RefRect &rect, const RefQuad &quad) {
        const Sides s(quad);
        const Extent r(rect);
        const double x0 = quad[0][0], y0 = quad[0][1];
        const double Sx = s.c + s.b, Sy = s.g + s.f, S = s.a * s.f - s.b * s.e;
        const double P = s.c * s.f - s.b * s.g, Q = s.d * s.e - s.h * s.a;
        const double Pw = P / r.W, Qh = Q / r.H, k = 1 / (2 * Pw);
        const bool hasP = std::fabs(P) > 1e-10, hasQ = std::fabs(Q) > 1e-10;
        number = hasP && hasQ ? 0 : hasQ ? 1 : hasP ? 2 : 3;
        plus = refIsClockwise(RefMap::BILINEAR, quad) ? P > 0 : !(P >= 0);
        double start8 = 0, start9 = r.T;
        if (number == 0) {
            m[0] = -Sy * k;
            m[1] = Sx * k;
            m[2] = -S * k - (m[1] * y0 + m[0] * x0);
            m[3] = -Pw / Qh;
            m[4] = s.e * r.W / Pw;
            m[6] = -s.a * r.W / Pw;
        }
        if (number == 1) {
            m[0] = Sy;
            m[1] = -Sx;
            m[2] = S - (m[1] * y0 + m[0] * x0);
            m[4] = -s.e * r.W;
            m[6] = s.a * r.W;
        }
        if (number < 2) {
            m[5] = -Sy / Qh;
            m[7] = Sx / Qh;
            m[10] = r.L;
        }
        if (number == 2) {
            m[0] = Sy;
            m[1] = -Sx;
            m[2] = -(S + m[1] * y0 + m[0] * x0);
            m[4] = -Sy / Pw;
            m[5] = s.f * r.H;
            m[6] = Sx / Pw;
            m[7] = -s.b * r.H;
            m[10] = r.T;
            start8 = r.L;
            start9 = 0;
        }
        if (number == 3) {
            m[4] = -s.e * r.W / S;
            m[5] = -s.f * r.H / S;
            m[6] = s.a * r.W / S;
            m[7] = s.b * r.H / S;
            start8 = r.L;
        }
        m[8] = start8 - (m[4] * x0 + m[6] * y0);
        m[9] = start9 - (m[5] * x0 + m[7] * y0);
    }

    RefPoint at(double x, double y) const {
        const double s = m[0] * x + m[1] * y + m[2], t = m[4] * x + m[6] * y + m[8], u = m[5] * x + m[7] * y + m[9];
        switch (number) {
            case 0: {
                const double root = std::sqrt(s * s - t), X = plus ? s + root : s - root, Y = m[3] * X + u;
                return {X + m[10], Y};
            }
            case 1:
                return {t / s + m[10], u};
            case 2:
                return {t, u / s + m[10]};
            default:
                return {t, u};
        }
    }
};

RefRect regionRect(const TestImage &image) {
    const TestLayout &layout = image.layout();
    return {layout.regionX(), layout.regionY(), layout.regionX() + layout.regionWidth() - 1,
            layout.regionY() + layout.regionHeight() - 1};
}

// Takes what a map says a pixel of the destination gets, channel by channel, and stores it where the destination's mask
// lets it.
struct Canvas {
    TestImage &source, &destination;
    RefResult result;
    RefRect area;

    Canvas(TestImage &from, TestImage &to)
        : source(from), destination(to), result{to.bytes(), {}}, area(regionRect(to)) {}
    // Whether the mask of the destination, and no other, lets a pixel be written.
    bool mayWrite(int x, int y) {
        if (!destination.mask()) return true;
        const TestLayout &mask = destination.mask()->layout();
        const int i = x - area.left, j = y - area.top;
        if (i >= mask.regionWidth() || j >= mask.regionHeight()) return false;
        return destination.mask()->get(0, mask.regionX() + i, mask.regionY() + j) != 0;
    }
    template <typename Sample>
    void write(int x, int y, const Sample &sample) {
        if (!mayWrite(x, y)) return;
        for (int channel = 0; channel < destination.layout().channelCount(); ++channel) {
            const RefSource from(source, source.layout().firstChannel() + channel);
            destination.setIn(result.expected, destination.layout().firstChannel() + channel, x, y, sample(from));
        }
    }
    double number(int channel, int x, int y) {
        const uint32_t sample = destination.getIn(result.expected, channel, x, y);
        return destination.layout().depth == MOX_DEPTH_32F ? static_cast<double>(refFloat(sample)) : sample;
    }
    static float refFloat(uint32_t bits) {
        float value;
        memcpy(&value, &bits, sizeof value);
        return value;
    }
};

int kindFor(const TestImage &source, int interpolate) {
    const TestLayout &layout = source.layout();
    return refKind(layout.depth, layout.regionWidth(), layout.regionHeight(), interpolate);
}

// A row of an affine map. Fixed positions are those of column 0 and so many steps, which are rounded once; others are
// exact at each pixel, or step from the row's first one.
void affineRow(Canvas &canvas, const RefCoeffs &c, int kind, const RefSpan &span) {
    const unsigned depth = canvas.source.layout().depth;
    const auto fixed = [](double value) { return static_cast<int64_t>(std::nearbyint(value * 65536)); };
    const int64_t half = kind == MOX_INTER_NN ? 32768 : 0;
    const double y = span.row;
    const int64_t rowX = fixed(y * c[1] + c[2]) + half, rowY = fixed(y * c[4] + c[5]) + half;
    double x = c[0] * span.first + c[1] * y + c[2], v = c[3] * span.first + c[4] * y + c[5];
    float singleX = static_cast<float>(x), singleY = static_cast<float>(v);
    for (int i = span.first; i <= span.last; ++i) {
        const int64_t fixedX = rowX + i * fixed(c[0]), fixedY = rowY + i * fixed(c[3]);
        canvas.write(i, span.row, [&](const RefSource &from) {
            if (kind == MOX_INTER_NN) return refNearestFixed(from, fixedX, fixedY);
            if (kind == MOX_INTER_CUBIC) return refCubic(from, x, v);
            if (depth == MOX_DEPTH_8U) return refLinearFixed(from, fixedX, fixedY);
            if (depth == MOX_DEPTH_32F) return refLinearSingle(from, singleX, singleY);
            return refLinearExact(from, c[0] * i + c[1] * y + c[2], c[3] * i + c[4] * y + c[5]);
        });
        x += c[0];
        v += c[3];
        singleX += static_cast<float>(c[0]);
        singleY += static_cast<float>(c[3]);
    }
}

// Positions of a row as floats.
struct FloatPoint {
    float x, y;
};
using FloatRow = std::vector<FloatPoint>;

// Three linear forms from the row's first pixel, in groups of four.
FloatRow perspectiveRow(const RefCoeffs &c, double first, double y, int count) {
    float start[3], step[3];
    for (size_t k = 0; k < 3; ++k) {
        start[k] = static_cast<float>(c[3 * k] * first + c[3 * k + 1] * y + c[3 * k + 2]);
        step[k] = static_cast<float>(c[3 * k]);
    }
    FloatRow row;
    for (int i = 0; i < count; ++i) {
        float form[3];
        for (size_t k = 0; k < 3; ++k)
            form[k] = start[k] + step[k] * static_cast<float>(i % 4);
        row.push_back({form[0] / form[2], form[1] / form[2]});
        if (i % 4 != 3) continue;
        for (size_t k = 0; k < 3; ++k)
            start[k] += 4.0f * step[k];
    }
    return row;
}

FloatRow bilinearRow(const BilinearInverse &inverse, int first, int y, int count) {
    FloatRow row;
    for (int i = 0; i < count; ++i) {
        const RefPoint p = inverse.at(first + i, y);
        row.push_back({static_cast<float>(p[0]), static_cast<float>(p[1])});
    }
    return row;
}

uint32_t sampleFloat(const RefSource &from, int kind, FloatPoint p) {
    switch (kind) {
        case MOX_INTER_NN:
            return refNearestEven(from, p.x, p.y);
        case MOX_INTER_LINEAR:
            return refLinearFloat(from, p.x, p.y);
        default:
            return refCubic(from, static_cast<double>(p.x), static_cast<double>(p.y));
    }
}

// One step along an edge: the pixel outside becomes a mixture of itself and the one inside, by their distances from the
// edge, which crosses at v between them.
void smoothPixel(Canvas &canvas, bool alongX, int major, double v, bool insideIsAbove) {
    if (v == std::floor(v)) return;
    const double n = insideIsAbove ? std::ceil(v) : std::floor(v), o = insideIsAbove ? std::floor(v) : std::ceil(v);
    const auto x = [&](double minor) { return alongX ? major : static_cast<int>(minor); };
    const auto y = [&](double minor) { return alongX ? static_cast<int>(minor) : major; };
    if (!canvas.mayWrite(x(o), y(o))) return;
    const TestLayout &layout = canvas.destination.layout();
    for (int k = 0; k < layout.channelCount(); ++k) {
        const int channel = layout.firstChannel() + k;
        const double mixed = canvas.number(channel, x(o), y(o)) * std::fabs(v - o) +
                             canvas.number(channel, x(n), y(n)) * std::fabs(v - n);
        uint32_t sample;
        const float single = static_cast<float>(mixed);
        memcpy(&sample, &single, sizeof sample);
        if (layout.depth != MOX_DEPTH_32F) sample = static_cast<uint32_t>(std::nearbyint(mixed));
        canvas.destination.setIn(canvas.result.expected, channel, x(o), y(o), sample);
    }
}

// Along the edges that are not parallel to an axis.
void smoothEdges(Canvas &canvas, const RefQuad &quad, bool clockwise) {
    const std::vector<RefPoint> polygon = refClip(quad, canvas.area);
    if (polygon.size() < 3) return;
    for (size_t i = 0; i < polygon.size(); ++i) {
        const RefPoint &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        const double dx = q[0] - p[0], dy = q[1] - p[1];
        if (dx == 0 || dy == 0) continue;
        const bool alongX = std::fabs(dx) >= std::fabs(dy);
        const size_t major = alongX ? 0 : 1, minor = 1 - major;
        const double slope = (q[minor] - p[minor]) / (q[major] - p[major]);
        // Clockwise, with y growing downward, the inside of an edge to the right is below it, of one downward to the
        // left.
        const bool insideIsAbove = alongX ? clockwise == (dx > 0) : clockwise != (dy > 0);
        const int first = static_cast<int>(std::ceil(std::min(p[major], q[major])));
        const int last = static_cast<int>(std::floor(std::max(p[major], q[major])));
        for (int step = first; step <= last; ++step)
            smoothPixel(canvas, alongX, step, p[minor] + slope * (step - p[major]), insideIsAbove);
    }
}

// The quadrangle lies in the destination.
void warpOnto(Canvas &canvas, RefMap map, const RefQuad &quad, int interpolate) {
    const RefRect rect = regionRect(canvas.source);
    const bool clockwise = refIsClockwise(map, quad);
    const std::vector<RefSpan> spans = refScan(refClip(quad, canvas.area), clockwise);
    const int kind = kindFor(canvas.source, interpolate);
    if (spans.empty()) return;
    for (const RefSpan &span : spans) {
        if (map == RefMap::AFFINE) {
            affineRow(canvas, affineInverse(rect, quad), kind, span);
            continue;
        }
        const int count = span.last - span.first + 1;
        const FloatRow row = map == RefMap::BILINEAR
                                 ? bilinearRow(BilinearInverse(rect, quad), span.first, span.row, count)
                                 : perspectiveRow(perspectiveInverse(rect, quad), span.first, span.row, count);
        for (int i = 0; i < count; ++i) {
            canvas.write(span.first + i, span.row,
                         [&](const RefSource &from) { return sampleFloat(from, kind, row[static_cast<size_t>(i)]); });
        }
    }
    if (!(interpolate & MOX_SMOOTH_EDGE) || canvas.source.layout().depth == MOX_DEPTH_1U) return;
    smoothEdges(canvas, quad, clockwise);
}

// The quadrangle lies in the source: all pixels of the region, counted from its corner.
void warpFrom(Canvas &canvas, RefMap map, const RefQuad &quad, int interpolate) {
    const RefRect rect = regionRect(canvas.source), &area = canvas.area;
    const int width = area.right - area.left + 1, height = area.bottom - area.top + 1;
    const RefCoeffs c = refTransform(map, {0, 0, width - 1, height - 1}, quad);
    const RefBound bound = refBoundOf(quad);
    const bool allWithin =
        bound[0] >= rect.left && bound[1] >= rect.top && bound[2] <= rect.right && bound[3] <= rect.bottom;
    const int kind = kindFor(canvas.source, interpolate);
    for (int j = 0; j < height; ++j) {
        FloatRow row;
        if (map == RefMap::PERSPECTIVE) row = perspectiveRow(c, 0, j, width);
        for (int i = 0; i < width; ++i) {
            FloatPoint p;
            if (map == RefMap::PERSPECTIVE) {
                p = row[static_cast<size_t>(i)];
            } else {
                const double x = i, y = j;
                p = {static_cast<float>(c[0] * x * y + c[1] * x + c[2] * y + c[3]),
                     static_cast<float>(c[4] * x * y + c[5] * x + c[6] * y + c[7])};
            }
            const bool within = p.x >= static_cast<float>(rect.left) && p.x <= static_cast<float>(rect.right) &&
                                p.y >= static_cast<float>(rect.top) && p.y <= static_cast<float>(rect.bottom);
            if (!within && !allWithin) continue;
            canvas.write(area.left + i, area.top + j,
                         [&](const RefSource &from) { return sampleFloat(from, kind, p); });
        }
    }
}

}  // namespace

bool refIsClockwise(RefMap map, const RefQuad &q) {
    const Sides s(q);
    if (map != RefMap::AFFINE) return s.c * s.e - s.a * s.g > 0;
    return (q[1][0] - q[0][0]) * (q[2][1] - q[1][1]) - (q[2][0] - q[1][0]) * (q[1][1] - q[0][1]) > 0;
}

RefResult refWarpAffine(TestImage &source, TestImage &destination, const RefCoeffs &coeffs, int interpolate) {
    Canvas canvas(source, destination);
    const RefQuad quad = refMappedQuad(RefMap::AFFINE, coeffs, regionRect(source));
    warpOnto(canvas, RefMap::AFFINE, quad, interpolate);
    return canvas.result;
}

RefResult refWarpQuad(RefMap map, TestImage &source, TestImage &destination, const RefQuad &quad, int warpFlag,
                      int interpolate) {
    Canvas canvas(source, destination);
    if (warpFlag == 0) {
        warpOnto(canvas, map, quad, interpolate);
    } else {
        warpFrom(canvas, map, quad, interpolate);
    }
    return canvas.result;
}

RefResult refRotate(TestImage &source, TestImage &destination, double angle, double xShift, double yShift,
                    int interpolate) {
    double a = angle - 360.0 * std::nearbyint(angle * (1.0 / 360.0));
    if (a < 0) a = a + 360.0;
    const bool right = a == 90 || a == 180 || a == 270;
    const bool whole = xShift == std::floor(xShift) && yShift == std::floor(yShift);
    if (!right || !whole || source.layout().tiled() || destination.layout().tiled()) {
        double s = a == 90 ? 1 : a == 270 ? -1 : 0, c = a == 180 ? -1 : 0;
        if (!right) ownSineCosine(a * (1.0 / 180.0) * 3.14159265358979323846, &s, &c);
        return refWarpAffine(source, destination, {c, s, xShift, -s, c, yShift}, interpolate);
    }
    Canvas canvas(source, destination);
    const RefRect rect = regionRect(source), &area = canvas.area;
    for (int y = rect.top; y <= rect.bottom; ++y) {
        for (int x = rect.left; x <= rect.right; ++x) {
            const double toX = a == 90 ? y + xShift : a == 180 ? xShift - x : xShift - y;
            const double toY = a == 90 ? yShift - x : a == 180 ? yShift - y : x + yShift;
            if (toX < area.left || toX > area.right || toY < area.top || toY > area.bottom) continue;
            canvas.write(static_cast<int>(toX), static_cast<int>(toY),
                         [&](const RefSource &from) { return from.at(x, y); });
        }
    }
    return canvas.result;
}
