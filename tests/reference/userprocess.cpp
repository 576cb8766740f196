// What callbacks make of images, sample by sample.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/user.h"

namespace {

struct Bounds {
    int64_t low, high;
};

Bounds boundsOf(unsigned depth) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const int64_t values = int64_t{1} << bits;
    return depth & MOX_DEPTH_SIGN ? Bounds{-values / 2, values / 2 - 1} : Bounds{0, values - 1};
}

int numberOf(unsigned depth, uint32_t sample) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return static_cast<int8_t>(sample);
        case MOX_DEPTH_16S:
            return static_cast<int16_t>(sample);
        default:
            return static_cast<int>(sample);
    }
}

uint32_t lowBits(unsigned depth, uint32_t value) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    return bits == 32 ? value : value & ((1u << bits) - 1);
}

uint32_t realSample(unsigned depth, uint32_t sample, const std::function<float(float)> &function) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(function(std::bit_cast<float>(sample)));
    const Bounds bounds = boundsOf(depth);
    const float result = function(static_cast<float>(numberOf(depth, sample)));
    if (std::isnan(result)) return lowBits(depth, static_cast<uint32_t>(bounds.low));
    // As a float the largest number of 32 bits is one too large.
    if (result >= static_cast<float>(bounds.high)) return lowBits(depth, static_cast<uint32_t>(bounds.high));
    if (result <= static_cast<float>(bounds.low)) return lowBits(depth, static_cast<uint32_t>(bounds.low));
    return lowBits(depth, static_cast<uint32_t>(static_cast<int>(std::trunc(result))));
}

// What is alpha in either image is left out.
int channelCount(const TestImage &source, const TestImage &destination) {
    return std::min(source.layout().channelCount(), destination.layout().channelCount());
}

using Place = std::function<void(int channel, int i, int j)>;

// Rows from the top, in a row pixels, in a pixel channels; planes one after the other.
void walk(TestImage &source, TestImage &destination, const Place &place) {
    const std::vector<TestImage *> images = {&source, &destination};
    const TestLayout &layout = destination.layout();
    int width, height;
    refCommonSize(images, &width, &height);
    const bool planes = layout.order == MOX_DATA_ORDER_PLANE;
    const int channels = channelCount(source, destination);
    for (int plane = 0; plane < (planes ? channels : 1); ++plane) {
        for (int j = 0; j < height; ++j) {
            for (int i = 0; i < width; ++i) {
                if (!refMaskedIn(images, i, j)) continue;
                for (int channel = planes ? plane : 0; channel < (planes ? plane + 1 : channels); ++channel)
                    place(channel, i, j);
            }
        }
    }
}

uint32_t regionSample(const TestImage &image, int channel, int i, int j) {
    const TestLayout &layout = image.layout();
    return image.get(layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j);
}

void setRegionSample(const TestImage &image, TestBytes &bytes, int channel, int i, int j, uint32_t value) {
    const TestLayout &layout = image.layout();
    image.setIn(bytes, layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j, value);
}

}  // namespace

RefResult refUserProcess(TestImage &source, TestImage &destination, const std::function<int(int)> &function) {
    RefResult result = {destination.bytes(), {}};
    const unsigned depth = source.layout().depth;
    const Bounds bounds = boundsOf(depth);
    walk(source, destination, [&](int channel, int i, int j) {
        const int64_t value = function(numberOf(depth, regionSample(source, channel, i, j)));
        const int64_t stored = std::clamp(value, bounds.low, bounds.high);
        setRegionSample(destination, result.expected, channel, i, j, lowBits(depth, static_cast<uint32_t>(stored)));
    });
    return result;
}

RefResult refUserProcessFP(TestImage &source, TestImage &destination, const std::function<float(float)> &function) {
    RefResult result = {destination.bytes(), {}};
    const unsigned depth = source.layout().depth;
    walk(source, destination, [&](int channel, int i, int j) {
        setRegionSample(destination, result.expected, channel, i, j,
                        realSample(depth, regionSample(source, channel, i, j), function));
    });
    return result;
}

RefResult refUserProcessPixel(TestImage &source, TestImage &destination, const RefUserPixel &function) {
    const std::vector<TestImage *> images = {&source, &destination};
    RefResult result = {destination.bytes(), {}};
    const int channels = channelCount(source, destination);
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            std::vector<uint32_t> from, to;
            for (int channel = 0; channel < channels; ++channel) {
                from.push_back(regionSample(source, channel, i, j));
                to.push_back(regionSample(destination, channel, i, j));
            }
            function(from, to);
            for (int channel = 0; channel < channels; ++channel)
                setRegionSample(destination, result.expected, channel, i, j, to[static_cast<size_t>(channel)]);
        }
    }
    return result;
}
