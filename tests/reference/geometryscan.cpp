// The pixels of a quadrangle: cut to a rectangle, then row by row between two chains of edges.
#include <algorithm>
#include <cmath>

#include "reference/geometry.h"

namespace {

using Polygon = std::vector<RefPoint>;

// Cuts off what lies below a bound (or, with below false, above it) of x (axis 0) or y (axis 1).
Polygon cut(const Polygon &polygon, size_t axis, double bound, bool below) {
    Polygon result;
    const auto inside = [&](const RefPoint &p) { return below ? p[axis] >= bound : p[axis] <= bound; };
    for (size_t i = 0; i < polygon.size(); ++i) {
        const RefPoint &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        if (inside(p)) result.push_back(p);
        if (inside(p) == inside(q)) continue;
        const double k = (bound - p[axis]) / (q[axis] - p[axis]);
        RefPoint crossing;
        crossing[axis] = bound;
        crossing[1 - axis] = p[1 - axis] + (q[1 - axis] - p[1 - axis]) * k;
        result.push_back(crossing);
    }
    return result;
}

Polygon withoutDuplicates(const Polygon &polygon) {
    Polygon result;
    for (const RefPoint &point : polygon) {
        if (result.empty() || point != result.back()) result.push_back(point);
    }
    while (result.size() > 1 && result.front() == result.back())
        result.pop_back();
    return result;
}

}  // namespace

std::vector<RefPoint> refClip(const RefQuad &quad, const RefRect &rect) {
    const double left = rect.left, top = rect.top, right = rect.right, bottom = rect.bottom;
    const RefBound bound = refBoundOf(quad);
    Polygon polygon(quad.begin(), quad.end());
    if (bound[2] < left || bound[0] > right || bound[3] < top || bound[1] > bottom) return {};
    if (bound[0] >= left && bound[2] <= right && bound[1] >= top && bound[3] <= bottom) return polygon;
    polygon = cut(polygon, 1, top, true);
    polygon = cut(polygon, 1, bottom, false);
    polygon = cut(polygon, 0, left, true);
    polygon = cut(polygon, 0, right, false);
    return withoutDuplicates(polygon);
}

// First and last pixel between two bounds, which count as on a pixel within 1e-14 of it.
static RefSpan spanBetween(int row, double left, double right) {
    double first = std::ceil(left), last = std::floor(right);
    if (1 - (first - left) < 1e-14) first -= 1;
    if (1 - (right - last) < 1e-14) last += 1;
    return {row, static_cast<int>(first), static_cast<int>(last)};
}

// Where a chain of edges, which leaves the top corner by that step, is at row y: on its first edge that is not
// horizontal and ends at y or below. False where the chain has met the other one.
static bool chainAt(const Polygon &polygon, size_t top, size_t step, int y, double *x) {
    const size_t count = polygon.size();
    size_t i = top;
    for (size_t edges = 0; edges < count; ++edges) {
        const RefPoint &from = polygon[i], &to = polygon[(i + step) % count];
        i = (i + step) % count;
        if (to[1] == from[1] || to[1] < y) continue;
        const double slope = (to[0] - from[0]) / (to[1] - from[1]);
        *x = from[0] + slope * (y - from[1]);
        return true;
    }
    return false;
}

std::vector<RefSpan> refScan(const std::vector<RefPoint> &polygon, bool clockwise) {
    if (polygon.empty()) return {};
    double least[2] = {polygon[0][0], polygon[0][1]}, most[2] = {polygon[0][0], polygon[0][1]};
    size_t top = 0;
    for (size_t i = 0; i < polygon.size(); ++i) {
        for (size_t axis = 0; axis < 2; ++axis) {
            least[axis] = std::min(least[axis], polygon[i][axis]);
            most[axis] = std::max(most[axis], polygon[i][axis]);
        }
        if (polygon[i][1] < polygon[top][1]) top = i;
    }
    for (size_t axis = 0; axis < 2; ++axis) {
        if (std::floor(most[axis]) - std::ceil(least[axis]) + 1 < 1) return {};
    }
    const int firstRow = static_cast<int>(std::ceil(least[1])), lastRow = static_cast<int>(std::floor(most[1]));
    if (polygon.size() == 1) {
        const int x = static_cast<int>(std::floor(polygon[0][0]));
        return {{firstRow, x, x}};
    }
    if (least[1] == most[1]) {
        const double x0 = polygon[0][0], x1 = polygon[1][0];
        return {
            {firstRow, static_cast<int>(std::ceil(std::min(x0, x1))), static_cast<int>(std::floor(std::max(x0, x1)))}};
    }
    std::vector<RefSpan> spans;
    for (int y = firstRow; y <= lastRow; ++y) {
        double backward, forward;
        if (!chainAt(polygon, top, polygon.size() - 1, y, &backward) || !chainAt(polygon, top, 1, y, &forward)) break;
        spans.push_back(clockwise ? spanBetween(y, backward, forward) : spanBetween(y, forward, backward));
    }
    return spans;
}
