// Filters by rank, fixed filters and morphology, a window at a time.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "reference/filter.h"

// The samples of a window, rows first.
static std::vector<uint32_t> windowOf(const TestImage &source, int channel, int i, int j, const RefWindow &window) {
    std::vector<uint32_t> samples;
    for (int r = 0; r < window.nRows; ++r) {
        for (int c = 0; c < window.nCols; ++c)
            samples.push_back(refSourceSample(source, channel, i - window.anchorX + c, j - window.anchorY + r));
    }
    return samples;
}

RefResult refRank(TestImage &source, TestImage &destination, RefRank rank, const RefWindow &window) {
    const unsigned depth = source.layout().depth;
    return refOverArea(source, destination, [&](int channel, int i, int j) {
        std::vector<uint32_t> samples = windowOf(source, channel, i, j, window);
        std::sort(samples.begin(), samples.end(),
                  [&](uint32_t a, uint32_t b) { return refInteger(depth, a) < refInteger(depth, b); });
        if (rank == RefRank::MIN) return samples.front();
        if (rank == RefRank::MAX) return samples.back();
        if (depth == MOX_DEPTH_1U) {
            const auto ones = std::count(samples.begin(), samples.end(), 1u);
            const int enough = (window.nRows * window.nCols >> 1) + (window.nRows & window.nCols & 1);
            return ones >= enough ? 1u : 0u;
        }
        return samples[(samples.size() - 1) / 2];
    });
}

// ------------------------------------------------------------------------------------------------------ fixed filters

struct FixedKernel {
    int side;
    std::vector<int> values;
};

static const FixedKernel &fixedKernel(int filter) {
    static const FixedKernel kernels[] = {
        {3, {1, 0, -1, 1, 0, -1, 1, 0, -1}},
        {3, {-1, -1, -1, 0, 0, 0, 1, 1, 1}},
        {3, {1, 0, -1, 2, 0, -2, 1, 0, -1}},
        {3, {-1, -2, -1, 0, 0, 0, 1, 2, 1}},
        {3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}},
        {5, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}},
        {3, {1, 2, 1, 2, 4, 2, 1, 2, 1}},
        {5, {2, 7, 12, 7, 2, 7, 31, 52, 31, 7, 12, 52, 127, 52, 12, 7, 31, 52, 31, 7, 2, 7, 12, 7, 2}},
        {3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}},
        {5, {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
        {3, {-1, -1, -1, -1, 16, -1, -1, -1, -1}},
    };
    return kernels[filter];
}

static bool isUnsigned(unsigned depth) {
    return (depth & MOX_DEPTH_SIGN) == 0;
}

static int64_t lowest(unsigned depth) {
    return isUnsigned(depth) ? 0 : -(int64_t{1} << ((depth & ~MOX_DEPTH_SIGN) - 1));
}

static int64_t highest(unsigned depth) {
    const unsigned bits = depth & ~MOX_DEPTH_SIGN;
    return (int64_t{1} << (isUnsigned(depth) ? bits : bits - 1)) - 1;
}

// A sum of 32 bits, and what becomes of it; sums and what is added to them wrap.
static int64_t normalised(unsigned depth, int filter, int32_t sum) {
    const auto wrapped = [](int32_t a, int32_t b) {
        return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
    };
    switch (filter) {
        case MOX_FILTER_GAUSSIAN_3X3:
            return wrapped(sum, 7 + ((sum & 16) >> 4)) >> 4;
        case MOX_FILTER_GAUSSIAN_5X5:
            return std::llrint(static_cast<float>(sum) * (1.0f / 571.0f));
        case MOX_FILTER_SHARPEN_3X3:
            if (sum <= 0 && isUnsigned(depth)) return 0;
            return wrapped(sum, 3 + ((sum & 8) >> 3)) >> 3;
        default:
            return sum;
    }
}

static uint32_t fixedInteger(unsigned depth, int filter, const std::vector<uint32_t> &samples) {
    const FixedKernel &kernel = fixedKernel(filter);
    uint32_t sum = 0;
    for (size_t k = 0; k < samples.size(); ++k)
        sum += static_cast<uint32_t>(kernel.values[k]) * static_cast<uint32_t>(refInteger(depth, samples[k]));
    const int64_t value = normalised(depth, filter, static_cast<int32_t>(sum));
    const unsigned bits = depth & ~MOX_DEPTH_SIGN;
    const auto stored = static_cast<uint32_t>(std::clamp(value, lowest(depth), highest(depth)));
    return bits == 32 ? stored : stored & ((1u << bits) - 1);
}

static uint32_t fixedFloat(int filter, const std::vector<uint32_t> &samples) {
    const FixedKernel &kernel = fixedKernel(filter);
    float sum = 0;
    for (size_t k = 0; k < samples.size(); ++k) {
        const float product = static_cast<float>(kernel.values[k]) * std::bit_cast<float>(samples[k]);
        sum = sum + product;
    }
    if (filter == MOX_FILTER_GAUSSIAN_3X3) sum = sum * 0.0625f;
    if (filter == MOX_FILTER_GAUSSIAN_5X5) sum = sum * (1.0f / 571.0f);
    if (filter == MOX_FILTER_SHARPEN_3X3) sum = sum * 0.125f;
    return std::bit_cast<uint32_t>(sum);
}

RefResult refFixed(TestImage &source, TestImage &destination, int filter) {
    const unsigned depth = source.layout().depth;
    if (depth == MOX_DEPTH_1U && filter == MOX_FILTER_SHARPEN_3X3) return refPoint(refCopy, {&source, &destination});
    const int side = fixedKernel(filter).side;
    const RefWindow window = {side, side, side / 2, side / 2};
    return refOverArea(source, destination, [&](int channel, int i, int j) {
        const std::vector<uint32_t> samples = windowOf(source, channel, i, j, window);
        return depth == MOX_DEPTH_32F ? fixedFloat(filter, samples) : fixedInteger(depth, filter, samples);
    });
}

// ------------------------------------------------------------------------------------------------------ colour median

// The first of the pixels of a window whose distances to all others have the smallest sum.
static size_t innermost(unsigned depth, const std::array<std::vector<uint32_t>, 3> &channels) {
    const auto value = [&](int channel, size_t k) {
        const uint32_t sample = channels[static_cast<size_t>(channel)][k];
        return depth == MOX_DEPTH_32F ? static_cast<double>(std::bit_cast<float>(sample)) : refInteger(depth, sample);
    };
    size_t best = 0;
    double smallest = INFINITY;
    for (size_t p = 0; p < channels[0].size(); ++p) {
        double sum = 0;
        for (size_t q = 0; q < channels[0].size(); ++q) {
            double distance = 0;
            for (int channel = 0; channel < 3; ++channel)
                distance += std::fabs(value(channel, p) - value(channel, q));
            sum += distance;
        }
        if (sum < smallest) {
            smallest = sum;
            best = p;
        }
    }
    return best;
}

RefResult refColorMedian(TestImage &source, TestImage &destination, const RefWindow &window) {
    const unsigned depth = source.layout().depth;
    return refOverArea(source, destination, [&](int channel, int i, int j) {
        const std::array<std::vector<uint32_t>, 3> channels = {
            windowOf(source, 0, i, j, window), windowOf(source, 1, i, j, window), windowOf(source, 2, i, j, window)};
        return channels[static_cast<size_t>(channel)][innermost(depth, channels)];
    });
}

// ---------------------------------------------------------------------------------------------------------- morphology

namespace {

// Samples of one channel of an area that begins at (x, y).
struct Plane {
    int x, y, width, height;
    std::vector<uint32_t> samples;
    uint32_t at(int i, int j) const { return samples[static_cast<size_t>((j - y) * width + (i - x))]; }
};

}  // namespace

// The largest or smallest sample of the square of 2 n + 1 around each pixel of an area. What is read lies in the area
// or in the ring of one pixel around it; what is farther out is the ring's pixel nearest to it.
static Plane extremes(const Plane &from, int x, int y, int width, int height, int n, bool largest) {
    Plane to = {x, y, width, height, {}};
    for (int j = y; j < y + height; ++j) {
        for (int i = x; i < x + width; ++i) {
            uint32_t extreme = largest ? 0 : UINT32_MAX;
            for (int v = -n; v <= n; ++v) {
                for (int u = -n; u <= n; ++u) {
                    const uint32_t sample = from.at(std::clamp(i + u, from.x, from.x + from.width - 1),
                                                    std::clamp(j + v, from.y, from.y + from.height - 1));
                    extreme = largest ? std::max(extreme, sample) : std::min(extreme, sample);
                }
            }
            to.samples.push_back(extreme);
        }
    }
    return to;
}

RefResult refMorphology(TestImage &source, TestImage &destination, RefMorph morph, int n) {
    int width, height;
    refCommonSize({&source, &destination}, &width, &height);
    if (width <= 0 || height <= 0) return {destination.bytes(), {}};
    const bool twice = morph == RefMorph::OPEN || morph == RefMorph::CLOSE;
    const bool dilatesFirst = morph == RefMorph::DILATE || morph == RefMorph::CLOSE;
    // The first stage covers what the second one reads.
    const int wider = twice ? n : 0;
    std::vector<Plane> planes;
    for (int channel = 0; channel < source.layout().channelCount(); ++channel) {
        Plane ring = {-wider - 1, -wider - 1, width + 2 * wider + 2, height + 2 * wider + 2, {}};
        for (int j = ring.y; j < ring.y + ring.height; ++j) {
            for (int i = ring.x; i < ring.x + ring.width; ++i)
                ring.samples.push_back(refSourceSample(source, channel, i, j));
        }
        Plane plane = extremes(ring, -wider, -wider, width + 2 * wider, height + 2 * wider, n, dilatesFirst);
        if (twice) plane = extremes(plane, 0, 0, width, height, n, !dilatesFirst);
        planes.push_back(plane);
    }
    return refOverArea(source, destination,
                       [&](int channel, int i, int j) { return planes[static_cast<size_t>(channel)].at(i, j); });
}
