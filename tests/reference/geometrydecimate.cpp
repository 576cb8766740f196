// Decimation, one destination pixel at a time.
#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>

#include "reference/scaling.h"

namespace {

// One axis: so many samples, so many pixels, and the position of each pixel, which advances in floats.
struct Axis {
    int size, count;
    bool whole;  // the ratio is an integer
    float step;
    std::vector<float> positions;
};

Axis axisOf(int size, int dst, int src, int most) {
    Axis axis = {size,
                 refScaledCount(size, dst, src, most),
                 src % dst == 0,
                 static_cast<float>(src) / static_cast<float>(dst),
                 {}};
    return axis;
}

void placePixels(Axis *axis, bool nearest) {
    float position = nearest && !axis->whole ? 0.5f : 0.0f;
    for (int i = 0; i < axis->count; ++i, position += axis->step)
        axis->positions.push_back(position);
}

// The sample at an index of a row or a column.
using Line = std::function<float(int index)>;

float linear(const Line &line, const Axis &axis, int i) {
    const float position = axis.positions[static_cast<size_t>(i)];
    const int index = static_cast<int>(position);
    if (axis.whole || position < FLT_MIN) return line(index);
    const float f = position - static_cast<float>(index);
    return line(index) * (1.0f - f) + line(index + 1) * f;
}

float cubic(const Line &line, const Axis &axis, int i) {
    const float position = axis.positions[static_cast<size_t>(i)];
    int index = static_cast<int>(position);
    if (axis.whole) return line(index);
    float f = position - static_cast<float>(index);
    if (index >= axis.size - 2) {
        --index;
        f += 1.0f;
    }
    // There is no sample before the first one: its weight is 0 there.
    const float a = index == 0 ? 0.0f : line(index - 1);
    const float b = line(index), c = line(index + 1), d = line(index + 2);
    return 0.16666667f * (6.0f * b + f * (-2.0f * a - 3.0f * b + 6.0f * c - d) +
                          f * f * (3.0f * a - 6.0f * b + 3.0f * c) + f * f * f * (-a + 3.0f * b - 3.0f * c + d));
}

using Interpolation = float(const Line &line, const Axis &axis, int i);
float interpolated(const TestImage &source, int channel, const Axis &x, const Axis &y, int i, int j,
                   Interpolation *along) {
    const Line column = [&](int row) {
        return along([&](int index) { return refScaledNumber(source, channel, index, row); }, x, i);
    };
    return along(column, y, j);
}

// The part of a line that a cell covers: whole samples, and the shares of those that its boundaries split.
struct Cell {
    int first, end;        // the first sample's index, the last one's beyond which nothing counts
    float before, beyond;  // shares of the first sample, and of the one at end
};

std::vector<Cell> cellsOf(const Axis &axis) {
    std::vector<Cell> cells;
    float position = 0.0f, share = 1.0f;
    int first = 0;
    for (int i = 0; i < axis.count; ++i) {
        position += axis.step;
        const int end = static_cast<int>(position + 0.0001f);
        const float f = position - static_cast<float>(end);
        cells.push_back({first, end, share, end < axis.size ? f : 0.0f});
        first = end;
        share = 1.0f - f;
    }
    return cells;
}

float sumOf(const Line &line, const Cell &cell) {
    float sum = line(cell.first) * cell.before;
    for (int k = cell.first + 1; k < cell.end; ++k)
        sum += line(k);
    return cell.beyond != 0.0f ? sum + line(cell.end) * cell.beyond : sum;
}

float boxMean(const TestImage &source, int channel, const Cell &x, const Cell &y, float scale) {
    const Line column = [&](int row) {
        return sumOf([&](int index) { return refScaledNumber(source, channel, index, row); }, x);
    };
    return sumOf(column, y) * scale;
}

}  // namespace

RefResult refDecimate(TestImage &source, TestImage &destination, const RefRatio &ratio, int interpolate) {
    const TestLayout &from = source.layout(), &to = destination.layout();
    Axis x = axisOf(from.regionWidth(), ratio.xDst, ratio.xSrc, to.regionWidth());
    Axis y = axisOf(from.regionHeight(), ratio.yDst, ratio.ySrc, to.regionHeight());
    const bool super = interpolate == MOX_INTER_SUPER;
    const bool nearest = interpolate == MOX_INTER_NN || x.size < 4 || y.size < 4 ||
                         (!super && ((x.whole && y.whole) || from.depth == MOX_DEPTH_1U));
    placePixels(&x, nearest);
    placePixels(&y, nearest);
    const std::vector<Cell> columnCells = cellsOf(x), rowCells = cellsOf(y);
    const auto pixel = [&](int channel, int i, int j) {
        if (nearest) {
            const int column = static_cast<int>(x.positions[static_cast<size_t>(i)]);
            const int row = static_cast<int>(y.positions[static_cast<size_t>(j)]);
            return refScaledSample(source, channel, std::min(column, x.size - 1), std::min(row, y.size - 1));
        }
        const bool isFloat = from.depth == MOX_DEPTH_32F;
        if (super) {
            const float mean = boxMean(source, channel, columnCells[static_cast<size_t>(i)],
                                       rowCells[static_cast<size_t>(j)], 1.0f / (x.step * y.step));
            return refNumberAsSample(from.depth, isFloat ? mean : std::floor(mean + 0.5f));
        }
        if (interpolate == MOX_INTER_CUBIC) {
            const float value = interpolated(source, channel, x, y, i, j, cubic);
            return refNumberAsSample(from.depth, isFloat ? value : std::rint(value));
        }
        return refNumberAsSample(from.depth, interpolated(source, channel, x, y, i, j, linear));
    };
    return refScaled(destination, x.count, y.count, refDestinationMask(destination), pixel);
}
