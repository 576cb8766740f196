// What a filter reads outside an image, and where it writes.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/filter.h"

static int64_t wrapped(int64_t value, int64_t size) {
    const int64_t rest = value % size;
    return rest < 0 ? rest + size : rest;
}

static int64_t reflected(int64_t value, int64_t size) {
    const int64_t rest = wrapped(value, 2 * size);
    return rest < size ? rest : 2 * size - 1 - rest;
}

static int clampedConstant(unsigned depth, int constant) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return constant < 1 ? 0 : 1;
        case MOX_DEPTH_8U:
            return std::clamp(constant, 0, 255);
        case MOX_DEPTH_8S:
            return std::clamp(constant, -128, 127);
        case MOX_DEPTH_16U:
            return std::clamp(constant, 0, 65535);
        case MOX_DEPTH_16S:
            return std::clamp(constant, -32768, 32767);
        default:
            return constant;
    }
}

static uint32_t constantSample(unsigned depth, int constant) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(static_cast<float>(constant));
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const uint32_t sample = static_cast<uint32_t>(constant);
    return bits == 32 ? sample : sample & ((1u << bits) - 1);
}

uint32_t refBorderSample(const TestImage &image, int channel, int64_t x, int64_t y, bool clampConst) {
    enum { TOP, BOTTOM, LEFT, RIGHT, INSIDE };
    const TestLayout &layout = image.layout();
    const MoxImage &header = *const_cast<TestImage &>(image).header();
    const int side = y < 0 ? TOP : y >= layout.height ? BOTTOM : x < 0 ? LEFT : x >= layout.width ? RIGHT : INSIDE;
    if (side != INSIDE) {
        const int constant = header.borderConst[side];
        switch (header.borderMode[side] & 3) {
            case MOX_BORDER_CONSTANT:
                return constantSample(layout.depth, clampConst ? clampedConstant(layout.depth, constant) : constant);
            case MOX_BORDER_REPLICATE:
                x = std::clamp<int64_t>(x, 0, layout.width - 1);
                y = std::clamp<int64_t>(y, 0, layout.height - 1);
                break;
            case MOX_BORDER_REFLECT:
                x = reflected(x, layout.width);
                y = reflected(y, layout.height);
                break;
            default:
                x = wrapped(x, layout.width);
                y = wrapped(y, layout.height);
                break;
        }
    }
    return image.get(channel, static_cast<int>(x), static_cast<int>(y));
}

int refInteger(unsigned depth, uint32_t sample) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return static_cast<int8_t>(sample);
        case MOX_DEPTH_16S:
            return static_cast<int16_t>(sample);
        default:
            return static_cast<int>(sample);
    }
}

RefResult refOverArea(TestImage &source, TestImage &destination, const RefPixel &pixel) {
    const std::vector<TestImage *> images = {&source, &destination};
    const TestLayout &layout = destination.layout();
    RefResult result = {destination.bytes(), {}};
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                destination.setIn(result.expected, layout.firstChannel() + channel, layout.regionX() + i,
                                  layout.regionY() + j, pixel(channel, i, j));
            }
        }
    }
    return result;
}

uint32_t refSourceSample(const TestImage &source, int channel, int64_t i, int64_t j) {
    const TestLayout &layout = source.layout();
    return refBorderSample(source, layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j, false);
}

void refAcceptNaNs(const TestImage &destination, RefResult *wanted) {
    const TestLayout &layout = destination.layout();
    if (layout.depth != MOX_DEPTH_32F) return;
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const uint32_t found = destination.get(channel, x, y);
                if (std::isnan(std::bit_cast<float>(found)) &&
                    std::isnan(std::bit_cast<float>(destination.getIn(wanted->expected, channel, x, y)))) {
                    destination.setIn(wanted->expected, channel, x, y, found);
                }
            }
        }
    }
}
