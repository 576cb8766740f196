// Scan conversion. Polygons are cut side by side (Sutherland and Hodgman 1974) and walked from their top along two
// chains of edges. Everything found lies in the rectangle, whatever the roundings; what is no number finds nothing.
#include "geometry/ownscan.h"

#include <algorithm>
#include <cmath>

namespace {

// Cuts to one side: to at[axis] >= limit, or <= limit.
void cut(OwnPolygon *polygon, int axis, double limit, bool keepsAbove) {
    OwnPolygon result;
    result.count = 0;
    const auto inside = [&](const double *p) { return keepsAbove ? p[axis] >= limit : p[axis] <= limit; };
    const auto emit = [&](double x, double y) {
        // A convex polygon gains one vertex; roundings do not make room for more.
        if (result.count == 8) return;
        result.at[result.count][0] = x;
        result.at[result.count][1] = y;
        ++result.count;
    };
    if (polygon->count > 0) {
        polygon->at[polygon->count][0] = polygon->at[0][0];
        polygon->at[polygon->count][1] = polygon->at[0][1];
    }
    for (int i = 0; i < polygon->count; ++i) {
        const double *p = polygon->at[i], *q = polygon->at[i + 1];
        if (inside(p)) emit(p[0], p[1]);
        if (inside(p) == inside(q) || p[axis] == limit || q[axis] == limit) continue;
        const double k = (limit - p[axis]) / (q[axis] - p[axis]);
        double crossing[2] = {p[0] + (q[0] - p[0]) * k, p[1] + (q[1] - p[1]) * k};
        crossing[axis] = limit;
        emit(crossing[0], crossing[1]);
    }
    *polygon = result;
}

void removeDuplicates(OwnPolygon *polygon) {
    const auto equal = [&](int i, int k) {
        return polygon->at[i][0] == polygon->at[k][0] && polygon->at[i][1] == polygon->at[k][1];
    };
    int count = 0;
    for (int i = 0; i < polygon->count; ++i) {
        if (count > 0 && equal(count - 1, i)) continue;
        polygon->at[count][0] = polygon->at[i][0];
        polygon->at[count][1] = polygon->at[i][1];
        ++count;
    }
    while (count > 1 && equal(count - 1, 0))
        --count;
    polygon->count = count;
}

bool areNumbers(const double (*points)[2], int count) {
    for (int i = 0; i < count; ++i) {
        if (!std::isfinite(points[i][0]) || !std::isfinite(points[i][1])) return false;
    }
    return true;
}

void findBound(const double (*points)[2], int count, double *low, double *high) {
    for (int k = 0; k < 2; ++k) {
        low[k] = high[k] = points[0][k];
        for (int i = 1; i < count; ++i) {
            low[k] = std::min(low[k], points[i][k]);
            high[k] = std::max(high[k], points[i][k]);
        }
    }
}

// The next edge of a chain, horizontal ones passed over. False where the chains meet: every edge has been taken.
bool takeEdge(const OwnPolygon &polygon, int step, int *vertex, int *left, OwnScanEdge *edge, double *end) {
    for (;;) {
        if (*left == 0) return false;
        --*left;
        const double *p = polygon.at[*vertex];
        *vertex = (*vertex + step + polygon.count) % polygon.count;
        const double *q = polygon.at[*vertex];
        if (p[1] == q[1]) continue;
        *edge = {p[0], (q[0] - p[0]) / (q[1] - p[1]), p[1]};
        *end = q[1];
        return true;
    }
}

void addBand(OwnScan *scan, int64_t first, int64_t last, const OwnScanEdge &left, const OwnScanEdge &right) {
    first = std::max(first, scan->corners.top);
    last = std::min(last, scan->corners.bottom);
    if (first <= last && scan->count < 9) scan->bands[scan->count++] = {first, last, left, right};
}

// A polygon without height: its first two vertices are its ends, and nothing beyond them counts as near enough.
void scanLine(OwnScan *scan, const OwnPolygon &polygon) {
    const double y = polygon.at[0][1], x0 = polygon.at[0][0], x1 = polygon.at[polygon.count > 1 ? 1 : 0][0];
    if (std::floor(y) != y) return;
    const auto row = static_cast<int64_t>(y);
    addBand(scan, row, row, {std::ceil(std::min(x0, x1)), 0, y}, {std::floor(std::max(x0, x1)), 0, y});
}

}  // namespace

OwnPolygon ownClip(const double quad[4][2], const OwnCorners &corners) {
    OwnPolygon polygon;
    polygon.count = 0;
    if (!areNumbers(quad, 4)) return polygon;
    const double low[] = {static_cast<double>(corners.left), static_cast<double>(corners.top)};
    const double high[] = {static_cast<double>(corners.right), static_cast<double>(corners.bottom)};
    double least[2], most[2];
    findBound(quad, 4, least, most);
    for (int k = 0; k < 2; ++k) {
        if (most[k] < low[k] || least[k] > high[k]) return polygon;
    }
    for (int i = 0; i < 4; ++i)
        std::copy(quad[i], quad[i] + 2, polygon.at[i]);
    polygon.count = 4;
    if (least[0] >= low[0] && least[1] >= low[1] && most[0] <= high[0] && most[1] <= high[1]) return polygon;
    for (int axis = 1; axis >= 0; --axis) {
        cut(&polygon, axis, low[axis], true);
        cut(&polygon, axis, high[axis], false);
    }
    removeDuplicates(&polygon);
    // Quadrangles as large as numbers go have crossings that are none.
    if (!areNumbers(polygon.at, polygon.count)) polygon.count = 0;
    return polygon;
}

OwnScan ownScanPolygon(const OwnPolygon &polygon, const OwnCorners &corners, bool orientation) {
    OwnScan scan;
    scan.count = 0;
    scan.corners = corners;
    if (polygon.count == 0) return scan;
    double low[2], high[2];
    findBound(polygon.at, polygon.count, low, high);
    if (std::floor(high[1]) < std::ceil(low[1]) || std::floor(high[0]) < std::ceil(low[0])) return scan;
    if (high[1] == low[1]) {
        scanLine(&scan, polygon);
        return scan;
    }
    int top = 0;
    for (int i = 1; i < polygon.count; ++i) {
        if (polygon.at[i][1] < polygon.at[top][1]) top = i;
    }
    int backward = top, forward = top, left = polygon.count;
    OwnScanEdge a, b;
    double endA, endB;
    if (!takeEdge(polygon, -1, &backward, &left, &a, &endA) || !takeEdge(polygon, 1, &forward, &left, &b, &endB))
        return scan;
    for (auto row = static_cast<int64_t>(std::ceil(low[1]));;) {
        const double end = std::min(endA, endB);
        const auto last = static_cast<int64_t>(std::floor(end));
        addBand(&scan, row, last, orientation ? a : b, orientation ? b : a);
        row = std::max(row, last + 1);
        const bool endsA = endA <= end, endsB = endB <= end;
        if (endsA && !takeEdge(polygon, -1, &backward, &left, &a, &endA)) return scan;
        if (endsB && !takeEdge(polygon, 1, &forward, &left, &b, &endB)) return scan;
    }
}

bool ownScanRow(const OwnScan::Band &band, const OwnCorners &corners, int64_t y, int64_t *first, int64_t *last) {
    // Bounds that lie within a rounding of a pixel have it.
    constexpr double NEAR = 1e-14;
    const auto at = [&](const OwnScanEdge &edge) {
        return edge.start + edge.slope * (static_cast<double>(y) - edge.top);
    };
    const double left = at(band.left), right = at(band.right);
    double from = std::ceil(left), to = std::floor(right);
    if (1 - (from - left) < NEAR) from -= 1;
    if (1 - (right - to) < NEAR) to += 1;
    from = std::max(from, static_cast<double>(corners.left));
    to = std::min(to, static_cast<double>(corners.right));
    if (!(from <= to)) return false;
    *first = static_cast<int64_t>(from);
    *last = static_cast<int64_t>(to);
    return true;
}
