// Zoom and resize, one destination pixel at a time, and what all changes of scale share.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/scaling.h"

int refScaledCount(int sourceSize, int dst, int src, int destinationSize) {
    return static_cast<int>(std::min<int64_t>(int64_t{sourceSize} * dst / src, destinationSize));
}

uint32_t refScaledSample(const TestImage &image, int channel, int i, int j) {
    const TestLayout &layout = image.layout();
    return image.get(layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j);
}

float refScaledNumber(const TestImage &image, int channel, int i, int j) {
    const uint32_t sample = refScaledSample(image, channel, i, j);
    return image.layout().depth == MOX_DEPTH_32F ? std::bit_cast<float>(sample) : static_cast<float>(sample);
}

uint32_t refNumberAsSample(unsigned depth, float number) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(number);
    const float most = static_cast<float>((1u << depth) - 1);
    return static_cast<uint32_t>(std::clamp(number, 0.0f, most));
}

RefResult refScaled(TestImage &destination, int width, int height, const RefScaledMask &written,
                    const RefScaledPixel &pixel) {
    const TestLayout &layout = destination.layout();
    RefResult result = {destination.bytes(), {}};
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!written(i, j)) continue;
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                destination.setIn(result.expected, layout.firstChannel() + channel, layout.regionX() + i,
                                  layout.regionY() + j, pixel(channel, i, j));
            }
        }
    }
    return result;
}

RefScaledMask refDestinationMask(const TestImage &destination) {
    const TestImage *mask = destination.mask();
    return [mask](int i, int j) {
        if (!mask) return true;
        const TestLayout &layout = mask->layout();
        return i < layout.regionWidth() && j < layout.regionHeight() && refScaledSample(*mask, 0, i, j) != 0;
    };
}

// Nearly a floor: what lies just below an integer counts as that integer.
std::vector<RefZoomPlace> refZoomPlaces(int count, int size, double step) {
    std::vector<RefZoomPlace> places;
    double position = 0;
    for (int i = 0; i < count; ++i, position += step) {
        const int index = static_cast<int>(std::rint(position - 0.49999));
        places.push_back({std::min(index, size - 1), position});
    }
    return places;
}

RefCubicPlace refCubicPlace(const RefZoomPlace &place, int size) {
    const int last = size - 1, index = place.index;
    if (index == last) return {index - 3, 2.0f};
    const int second = index == last - 1 ? index - 1 : index == 0 ? 1 : index;
    return {second - 1, static_cast<float>(place.position - second)};
}

float refNewton(const float samples[4], float beyond) {
    const float a = samples[0], b = samples[1], c = samples[2], d = samples[3], f = beyond;
    const float d1 = b - a, d2 = c - b - d1, d3 = b - 2.0f * c + d - d2;
    const float t = 1.0f + f, u = 0.5f * t * f, v = 0.33333334f * (f - 1.0f) * u;
    return a + t * d1 + u * d2 + v * d3;
}

namespace {

// One axis: so many samples, so many pixels, and the step from one pixel to the next.
struct Axis {
    int size;
    double zoomed;
    int count;
    double aligned() const { return zoomed > 1 ? (size - 1) / (zoomed - 1) : 0.0; }  // first and last samples line up
    double scaled() const { return size / zoomed; }
};

Axis axisOf(int size, int dst, int src, int most) {
    return {size, static_cast<double>(size) * dst / src, refScaledCount(size, dst, src, most)};
}

// The sample before a place and the one after it, and the second one's share.
struct LinearPlace {
    int first;
    int weight;    // of 16384
    float beyond;  // of 1, at floats
};

LinearPlace linearPlace(const RefZoomPlace &place, int size) {
    if (place.index == size - 1) return {place.index - 1, 16384, 1.0f};
    const double beyond = place.position - place.index;
    return {place.index, static_cast<int>(std::rint(beyond * 16384 - 0.49999)), static_cast<float>(beyond)};
}

// Two samples in fixed point: first along a row, then down the column, and never rounded.
uint32_t linearInteger(const TestImage &source, int channel, const LinearPlace &x, const LinearPlace &y) {
    const bool bytes = source.layout().depth == MOX_DEPTH_8U;
    int rows[2];
    for (int row = 0; row < 2; ++row) {
        const int before = static_cast<int>(refScaledSample(source, channel, x.first, y.first + row));
        const int after = static_cast<int>(refScaledSample(source, channel, x.first + 1, y.first + row));
        rows[row] = (before * (16384 - x.weight) + after * x.weight) >> (bytes ? 8 : 15);
    }
    return static_cast<uint32_t>((rows[0] * (16384 - y.weight) + rows[1] * y.weight) >> (bytes ? 20 : 13));
}

float mix(float before, float after, float beyond) {
    return before * (1.0f - beyond) + after * beyond;
}

uint32_t linearFloat(const TestImage &source, int channel, const LinearPlace &x, const LinearPlace &y) {
    float rows[2];
    for (int row = 0; row < 2; ++row) {
        rows[row] = mix(refScaledNumber(source, channel, x.first, y.first + row),
                        refScaledNumber(source, channel, x.first + 1, y.first + row), x.beyond);
    }
    return std::bit_cast<uint32_t>(mix(rows[0], rows[1], y.beyond));
}

uint32_t cubic(const TestImage &source, int channel, const RefCubicPlace &x, const RefCubicPlace &y) {
    float rows[4];
    for (int row = 0; row < 4; ++row) {
        float samples[4];
        for (int k = 0; k < 4; ++k)
            samples[k] = refScaledNumber(source, channel, x.first + k, y.first + row);
        rows[row] = refNewton(samples, x.beyond);
    }
    const float value = refNewton(rows, y.beyond);
    const unsigned depth = source.layout().depth;
    return refNumberAsSample(depth, depth == MOX_DEPTH_32F ? value : std::rint(value));
}

// The source's mask is brought to the scale of the result, by nearest neighbours; the destination's is taken as it is.
RefScaledMask maskOf(const TestImage &source, const TestImage &destination, const RefRatio &ratio, int width,
                     int height) {
    const RefScaledMask ofDestination = refDestinationMask(destination);
    const TestImage *mask = source.mask();
    if (!mask) return ofDestination;
    const Axis x = axisOf(mask->layout().regionWidth(), ratio.xDst, ratio.xSrc, width);
    const Axis y = axisOf(mask->layout().regionHeight(), ratio.yDst, ratio.ySrc, height);
    const auto columns = refZoomPlaces(x.count, x.size, x.scaled());
    const auto rows = refZoomPlaces(y.count, y.size, y.scaled());
    return [=](int i, int j) {
        return ofDestination(i, j) && i < x.count && j < y.count &&
               refScaledSample(*mask, 0, columns[static_cast<size_t>(i)].index, rows[static_cast<size_t>(j)].index) !=
                   0;
    };
}

}  // namespace

RefResult refZoom(TestImage &source, TestImage &destination, const RefRatio &ratio, int interpolate) {
    const TestLayout &from = source.layout(), &to = destination.layout();
    const Axis x = axisOf(from.regionWidth(), ratio.xDst, ratio.xSrc, to.regionWidth());
    const Axis y = axisOf(from.regionHeight(), ratio.yDst, ratio.ySrc, to.regionHeight());
    int kind = interpolate;
    if (from.depth == MOX_DEPTH_1U || x.size < 2 || y.size < 2) kind = MOX_INTER_NN;
    if (kind == MOX_INTER_CUBIC && (x.size < 4 || y.size < 4)) kind = MOX_INTER_LINEAR;
    const bool unaligned = kind == MOX_INTER_NN && !from.tiled() && !to.tiled();
    const auto columns = refZoomPlaces(x.count, x.size, unaligned ? x.scaled() : x.aligned());
    const auto rows = refZoomPlaces(y.count, y.size, unaligned ? y.scaled() : y.aligned());
    return refScaled(destination, x.count, y.count, maskOf(source, destination, ratio, x.count, y.count),
                     [&](int channel, int i, int j) {
                         const RefZoomPlace &column = columns[static_cast<size_t>(i)];
                         const RefZoomPlace &row = rows[static_cast<size_t>(j)];
                         if (kind == MOX_INTER_NN) return refScaledSample(source, channel, column.index, row.index);
                         if (kind == MOX_INTER_CUBIC)
                             return cubic(source, channel, refCubicPlace(column, x.size), refCubicPlace(row, y.size));
                         const LinearPlace across = linearPlace(column, x.size), down = linearPlace(row, y.size);
                         return from.depth == MOX_DEPTH_32F ? linearFloat(source, channel, across, down)
                                                            : linearInteger(source, channel, across, down);
                     });
}
