// Decimation with blur, one destination pixel at a time.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/scaling.h"

namespace {

struct Axis {
    int size, count, mask;
    double ratio, step;
};

Axis axisOf(int size, int dst, int src, int most, int mask) {
    Axis axis = {size, refScaledCount(size, dst, src, most), mask, static_cast<double>(src) / dst, 0.0};
    const double zoomed = static_cast<double>(dst) * size / src;
    if (dst == src) {
        axis.step = 1.0;
    } else if (zoomed > 1) {
        axis.step = (size - 1) / (zoomed - 1);
    }
    if (mask == 0) axis.mask = static_cast<int>(std::rint(axis.ratio + 1e-05));
    return axis;
}

// The neighbourhood about an index, without what lies outside.
struct Span {
    int first, end;
};

Span neighbours(const Axis &axis, int index) {
    const int64_t first = int64_t{index} - (axis.mask >> 1), end = first + axis.mask;
    return {static_cast<int>(std::max<int64_t>(first, 0)), static_cast<int>(std::min<int64_t>(end, axis.size))};
}

// Columns are summed first.
float meanAbout(const TestImage &source, int channel, const Axis &x, const Axis &y, int i, int j) {
    const Span columns = neighbours(x, i), rows = neighbours(y, j);
    float sum = 0.0f;
    for (int column = columns.first; column < columns.end; ++column) {
        float ofColumn = 0.0f;
        for (int row = rows.first; row < rows.end; ++row)
            ofColumn += refScaledNumber(source, channel, column, row);
        sum += ofColumn;
    }
    const float cells = static_cast<float>(columns.end - columns.first) * static_cast<float>(rows.end - rows.first);
    return sum / cells;
}

// Two or four means along an axis.
using MeanAt = std::function<float(int index)>;

float linear(const MeanAt &mean, const RefZoomPlace &place, int size) {
    const bool last = place.index == size - 1;
    const int first = last ? place.index - 1 : place.index;
    const float f = last ? 1.0f : static_cast<float>(place.position - place.index);
    return mean(first) * (1.0f - f) + mean(first + 1) * f;
}

float cubic(const MeanAt &mean, const RefZoomPlace &place, int size) {
    const RefCubicPlace window = refCubicPlace(place, size);
    float means[4];
    for (int k = 0; k < 4; ++k)
        means[k] = mean(window.first + k);
    return refNewton(means, window.beyond);
}

}  // namespace

RefResult refDecimateBlur(TestImage &source, TestImage &destination, const RefRatio &ratio, int interpolate,
                          int xMaskSize, int yMaskSize) {
    const TestLayout &from = source.layout(), &to = destination.layout();
    const Axis x = axisOf(from.regionWidth(), ratio.xDst, ratio.xSrc, to.regionWidth(), xMaskSize);
    const Axis y = axisOf(from.regionHeight(), ratio.yDst, ratio.ySrc, to.regionHeight(), yMaskSize);
    if (x.step == 0.0 || y.step == 0.0) return {destination.bytes(), {}};
    int kind = interpolate;
    if (from.depth == MOX_DEPTH_1U || (ratio.xDst == ratio.xSrc && ratio.yDst == ratio.ySrc)) kind = MOX_INTER_NN;
    if (x.size < 2 || y.size < 2) kind = MOX_INTER_NN;
    if (kind == MOX_INTER_CUBIC && (x.size < 4 || y.size < 4)) kind = MOX_INTER_LINEAR;
    const auto columns = refZoomPlaces(x.count, x.size, x.step);
    const auto rows = refZoomPlaces(y.count, y.size, y.step);
    return refScaled(destination, x.count, y.count, refDestinationMask(destination), [&](int channel, int i, int j) {
        const RefZoomPlace &column = columns[static_cast<size_t>(i)], &row = rows[static_cast<size_t>(j)];
        float value;
        if (kind == MOX_INTER_NN) {
            value = meanAbout(source, channel, x, y, column.index, row.index);
        } else {
            const auto along = kind == MOX_INTER_CUBIC ? cubic : linear;
            const MeanAt inRow = [&](int rowIndex) {
                return along([&](int index) { return meanAbout(source, channel, x, y, index, rowIndex); }, column,
                             x.size);
            };
            value = along(inRow, row, y.size);
        }
        return refNumberAsSample(from.depth, from.depth == MOX_DEPTH_32F ? value : std::floor(value + 0.5f));
    });
}
