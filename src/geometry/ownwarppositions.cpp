// Positions along a row of a warp: how they begin, and how they go on where a row is divided.
#include <algorithm>
#include <cmath>

#include "core/owncpu.h"
#include "geometry/ownwarp.h"

OWN_DECLARE_LEVELS(OwnWarpRows, warpRows)

const OwnWarpRows &ownWarpRows() {
    static constexpr const OwnWarpRows *tables[] = OWN_LEVEL_TABLES(warpRows);
    return *tables[ownCpuLevel()];
}

namespace {

constexpr double UNIT = 65536;

// To 16.16; what 64 bits do not hold is nowhere near the source.
int64_t toFixed(double value) {
    const double scaled = std::rint(value * UNIT);
    return std::fabs(scaled) < 9e18 ? static_cast<int64_t>(scaled) : 0;
}

// A line of 16.16: the place of pixel x in a row, and the step. Sums wrap, so that large parts may cancel.
struct FixedLine {
    int64_t first, step;
};
FixedLine fixedLine(const double *c, int64_t x, int64_t y, int64_t bias) {
    const int64_t step = toFixed(c[0]);
    const auto origin = static_cast<uint64_t>(toFixed(static_cast<double>(y) * c[1] + c[2]));
    const uint64_t first =
        static_cast<uint64_t>(x) * static_cast<uint64_t>(step) + origin + static_cast<uint64_t>(bias);
    return {static_cast<int64_t>(first), step};
}

// The samplers take half a pixel beyond the source for all that lies further out.
void findLow(const OwnWarp &warp, float *low) {
    low[0] = static_cast<float>(warp.source.left) - 1;
    low[1] = static_cast<float>(warp.source.top) - 1;
}

void linearForms(const double *c, double x, double y, double *forms, int count) {
    for (int k = 0; k < count; ++k, c += 3)
        forms[k] = c[0] * x + c[1] * y + c[2];
}

// Whole fours first, then those of which the stretch takes a part.
void nextQuotients(const OwnWarp &warp, OwnWarpRow *row, int n, float *const *out) {
    const double *c = warp.map.c;
    const float step[] = {static_cast<float>(c[0]), static_cast<float>(c[3]), static_cast<float>(c[6])};
    float low[2];
    findLow(warp, low);
    const int end = row->taken + n, whole = end / 4;
    ownWarpRows().quotients(row->fours, step, low, out, static_cast<size_t>(whole));
    row->taken = end % 4;
    if (row->taken == 0) return;
    float started[] = {row->fours[0], row->fours[1], row->fours[2]};
    float *const rest[] = {out[0] + 4 * whole, out[1] + 4 * whole};
    ownWarpRows().quotients(started, step, low, rest, 1);
}

// Positions as floats, which begin so many places behind the start of their rows.
int nextSingles(const OwnWarp &warp, OwnWarpRow *row, int n, float *const *out) {
    if (warp.map.kind == OWN_PERSPECTIVE) {
        const int before = row->taken;
        nextQuotients(warp, row, n, out);
        return before;
    }
    const auto x = static_cast<double>(row->x), y = static_cast<double>(row->y);
    float low[2];
    findLow(warp, low);
    if (warp.map.kind == OWN_BILINEAR) {
        ownWarpRows().bilinear(warp.map.c, x, y, low, out, static_cast<size_t>(n));
    } else {
        ownWarpRows().inverse(warp.map.inverse, x, y, low, out, static_cast<size_t>(n));
    }
    return 0;
}

// The greatest float that is not above a whole number.
float singleNotAbove(int64_t value) {
    const auto single = static_cast<float>(value);
    return static_cast<double>(single) > static_cast<double>(value) ? std::nextafter(single, 0.0f) : single;
}

void nextOfCurves(const OwnWarp &warp, OwnWarpRow *row, int n, OwnWarpPositions *positions) {
    float *const out[] = {reinterpret_cast<float *>(positions->xs), reinterpret_cast<float *>(positions->ys)};
    const int first = nextSingles(warp, row, n, out);
    const float *const at[] = {out[0] + first, out[1] + first};
    positions->x = at[0];
    positions->y = at[1];
    if (warp.tests) {
        const OwnCorners &s = warp.source;
        const float rectangle[] = {static_cast<float>(s.left), static_cast<float>(s.top), singleNotAbove(s.right),
                                   singleNotAbove(s.bottom)};
        ownWarpRows().within(at, rectangle, positions->bits, static_cast<size_t>(n));
        positions->keep = positions->bits;
    }
    if (warp.sampling != OWN_SAMPLE_NEAREST) return;
    for (int k = 0; k < 2; ++k)
        ownWarpRows().nearest(at[k], positions->nearest[k], static_cast<size_t>(n));
    positions->x = positions->nearest[0];
    positions->y = positions->nearest[1];
}

void nextOfLines(const OwnWarp &warp, OwnWarpRow *row, int n, OwnWarpPositions *positions) {
    const OwnWarpRows &rows = ownWarpRows();
    const double *c = warp.map.c;
    const auto count = static_cast<size_t>(n);
    positions->x = positions->xs;
    positions->y = positions->ys;
    if (warp.sampling == OWN_SAMPLE_LINEAR_SINGLE) {
        float at[] = {static_cast<float>(row->at[0]), static_cast<float>(row->at[1])};
        const float step[] = {static_cast<float>(c[0]), static_cast<float>(c[3])};
        float *const out[] = {reinterpret_cast<float *>(positions->xs), reinterpret_cast<float *>(positions->ys)};
        rows.stepSingle(at, step, out, count);
        row->at[0] = static_cast<double>(at[0]);
        row->at[1] = static_cast<double>(at[1]);
        return;
    }
    double *const out[] = {reinterpret_cast<double *>(positions->xs), reinterpret_cast<double *>(positions->ys)};
    if (warp.sampling == OWN_SAMPLE_CUBIC_DOUBLE) {
        const double step[] = {c[0], c[3]};
        rows.stepDouble(row->at, step, out, count);
        return;
    }
    for (int k = 0; k < 2; ++k, c += 3) {
        if (warp.sampling == OWN_SAMPLE_LINEAR_DOUBLE) {
            rows.affine(c, static_cast<double>(row->x), static_cast<double>(row->y), out[k], count);
            continue;
        }
        const bool isNearest = warp.sampling == OWN_SAMPLE_NEAREST;
        const FixedLine line = fixedLine(c, row->x, row->y, isNearest ? 32768 : 0);
        const auto make = isNearest ? rows.fixedPixels : rows.fixed;
        make(line.first, line.step, reinterpret_cast<int32_t *>(k == 0 ? positions->xs : positions->ys), count);
    }
}

}  // namespace

void ownBeginWarpRow(const OwnWarp &warp, int64_t x, int64_t y, OwnWarpRow *row) {
    row->x = x - warp.originX;
    row->y = y - warp.originY;
    row->taken = 0;
    const auto atX = static_cast<double>(row->x), atY = static_cast<double>(row->y);
    double forms[3];
    if (warp.map.kind == OWN_AFFINE) linearForms(warp.map.c, atX, atY, row->at, 2);
    if (warp.map.kind == OWN_PERSPECTIVE) {
        linearForms(warp.map.c, atX, atY, forms, 3);
        for (int k = 0; k < 3; ++k)
            row->fours[k] = static_cast<float>(forms[k]);
    }
}

void ownNextPositions(const OwnWarp &warp, OwnWarpRow *row, int n, OwnWarpPositions *positions) {
    positions->keep = nullptr;
    if (warp.map.kind == OWN_AFFINE) {
        nextOfLines(warp, row, n, positions);
    } else {
        nextOfCurves(warp, row, n, positions);
    }
    row->x += n;
}

void ownNextFourPositions(const OwnWarp &warp, OwnWarpRow *rows, int n, OwnFourPositions *positions) {
    const double *c = warp.map.c;
    const auto count = static_cast<size_t>(n);
    const auto make = [&](auto number, auto kernel) {
        using Number = decltype(number);
        Number at[8], *out[8];
        const Number step[] = {static_cast<Number>(c[0]), static_cast<Number>(c[3])};
        for (int k = 0; k < 4; ++k) {
            at[k] = static_cast<Number>(rows[k].at[0]);
            at[4 + k] = static_cast<Number>(rows[k].at[1]);
            out[k] = reinterpret_cast<Number *>(positions->xs[k]);
            out[4 + k] = reinterpret_cast<Number *>(positions->ys[k]);
        }
        kernel(at, step, out, count);
        for (int k = 0; k < 4; ++k) {
            rows[k].at[0] = static_cast<double>(at[k]);
            rows[k].at[1] = static_cast<double>(at[4 + k]);
            rows[k].x += n;
        }
    };
    if (warp.sampling == OWN_SAMPLE_LINEAR_SINGLE) {
        make(0.0f, ownWarpRows().stepFourSingle);
    } else {
        make(0.0, ownWarpRows().stepFourDouble);
    }
}

bool ownFitsFixed(const OwnCorners &source) {
    return source.right < 32767 && source.bottom < 32767;
}

void ownWidePosition(const OwnWarp &warp, int64_t x, int64_t y, int64_t *position) {
    const OwnCorners &s = warp.source;
    const int64_t low[] = {s.left, s.top}, high[] = {s.right, s.bottom};
    for (int k = 0; k < 2; ++k) {
        const int64_t at = fixedLine(warp.map.c + 3 * k, x - warp.originX, y - warp.originY, 0).first;
        position[k] = std::clamp(at, low[k] << 16, high[k] << 16);
    }
}
