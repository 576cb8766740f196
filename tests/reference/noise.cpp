// Noise and the test image, sample by sample.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/user.h"

RefGenerator::RefGenerator(uint32_t seed)
    : x(0x436cbae9), s1(seed), s2(s1 * 69069u + 1013904243u), s3(s2 * 69069u + 1013904243u), carry(1) {}

uint32_t RefGenerator::next() {
    x = x * 69069u + 1013904243u;
    uint32_t t = s2 - s3 - carry;
    carry = t >> 31;
    if (carry) t -= 18;
    s3 = s2;
    s2 = s1;
    s1 = t;
    return t + x;
}

double RefGenerator::deviate() {
    if (hasSpare) {
        hasSpare = false;
        return spare;
    }
    const double unit = std::bit_cast<double>(uint64_t{0x3dfffffffffffd09});
    for (;;) {
        const double u = static_cast<int32_t>(next()) * unit;
        const double w = static_cast<int32_t>(next()) * unit;
        const double q = u * u + w * w;
        if (q >= 1.0 || q == 0.0) continue;
        const double f = static_cast<double>(std::sqrt(-2.0L * std::log(static_cast<long double>(q)) / q));
        hasSpare = true;
        spare = f * u;
        return f * w;
    }
}

namespace {

struct Bounds {
    int64_t low, high;
};

Bounds boundsOf(unsigned depth) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const int64_t values = int64_t{1} << bits;
    return depth & MOX_DEPTH_SIGN ? Bounds{-values / 2, values / 2 - 1} : Bounds{0, values - 1};
}

int64_t numberOf(unsigned depth, uint32_t sample) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return static_cast<int8_t>(sample);
        case MOX_DEPTH_16S:
            return static_cast<int16_t>(sample);
        case MOX_DEPTH_32S:
            return static_cast<int32_t>(sample);
        default:
            return sample;
    }
}

uint32_t saturated(unsigned depth, double value) {
    const Bounds bounds = boundsOf(depth);
    const double stored = std::clamp(value, static_cast<double>(bounds.low), static_cast<double>(bounds.high));
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const uint32_t number = static_cast<uint32_t>(static_cast<int64_t>(stored));
    return bits == 32 ? number : number & ((1u << bits) - 1);
}

// Two results for one sample, mostly the same.
struct Noisy {
    uint32_t expected, other;
};

// Where a region is set to one value, without any generator.
bool isFilled(unsigned depth, const MoxNoiseParam &param, uint32_t *value) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    if (param.noise != MOX_NOISE_UNIFORM || bits == 32) return false;
    const int64_t most = (int64_t{1} << bits) - 1;
    const int64_t low = std::min(param.lowInt, param.highInt), high = std::max(param.lowInt, param.highInt);
    const Bounds bounds = boundsOf(depth);
    if (low >= most) {
        *value = saturated(depth, static_cast<double>(bounds.high));
    } else if (high <= -most) {
        *value = saturated(depth, static_cast<double>(bounds.low));
    } else {
        return false;
    }
    return true;
}

uint32_t uniformInteger(unsigned depth, uint32_t sample, const MoxNoiseParam &param, uint32_t random) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    int64_t low = std::min(param.lowInt, param.highInt), high = std::max(param.lowInt, param.highInt);
    if (bits < 32) {
        const int64_t most = (int64_t{1} << bits) - 1;
        low = std::max(low, -most);
        high = std::min(high, most);
    }
    const double scale = static_cast<double>(high - low) * 0x1p-32;
    const int64_t added = static_cast<int64_t>(random * scale);
    // 32 bits wrap before anything saturates.
    const int32_t sum = static_cast<int32_t>(static_cast<uint32_t>(numberOf(depth, sample) + low + added));
    return saturated(depth, sum);
}

uint32_t uniformFloat(uint32_t sample, const MoxNoiseParam &param, uint32_t random) {
    const float low = std::min(param.lowFlt, param.highFlt), high = std::max(param.lowFlt, param.highFlt);
    const double scale = static_cast<double>((high - low) * 0x1p-32f);
    const double sum = static_cast<double>(std::bit_cast<float>(sample)) + static_cast<double>(low) + random * scale;
    return std::bit_cast<uint32_t>(static_cast<float>(sum));
}

double gaussianSum(unsigned depth, uint32_t sample, const MoxNoiseParam &param, double deviate) {
    if (depth == MOX_DEPTH_32F) {
        return static_cast<double>(std::bit_cast<float>(sample)) + static_cast<double>(param.lowFlt) +
               deviate * static_cast<double>(param.highFlt);
    }
    return static_cast<double>(numberOf(depth, sample)) + param.lowInt + std::trunc(deviate * param.highInt);
}

Noisy gaussian(unsigned depth, uint32_t sample, const MoxNoiseParam &param, double deviate) {
    const auto stored = [&](double number) {
        const double sum = gaussianSum(depth, sample, param, number);
        return depth == MOX_DEPTH_32F ? std::bit_cast<uint32_t>(static_cast<float>(sum)) : saturated(depth, sum);
    };
    const uint32_t expected = stored(deviate), more = stored(deviate * (1 + 0x1p-50));
    return {expected, more != expected ? more : stored(deviate * (1 - 0x1p-50))};
}

// Tile by tile, in a tile plane by plane or pixel by pixel.
using Place = std::function<void(int channel, int x, int y)>;
void walk(TestImage &image, const Place &place) {
    const std::vector<TestImage *> images = {&image};
    const TestLayout &layout = image.layout();
    int width, height;
    refCommonSize(images, &width, &height);
    const int left = layout.regionX(), top = layout.regionY();
    const int tileWidth = layout.tiled() ? layout.tileWidth : left + width;
    const int tileHeight = layout.tiled() ? layout.tileHeight : top + height;
    const bool planes = layout.order == MOX_DATA_ORDER_PLANE;
    const int channels = layout.channelCount();
    for (int tileY = 0; tileY < top + height; tileY += tileHeight) {
        for (int tileX = 0; tileX < left + width; tileX += tileWidth) {
            for (int plane = 0; plane < (planes ? channels : 1); ++plane) {
                for (int y = std::max(top, tileY); y < std::min(top + height, tileY + tileHeight); ++y) {
                    for (int x = std::max(left, tileX); x < std::min(left + width, tileX + tileWidth); ++x) {
                        if (!refMaskedIn(images, x - left, y - top)) continue;
                        for (int channel = planes ? plane : 0; channel < (planes ? plane + 1 : channels); ++channel)
                            place(layout.firstChannel() + channel, x, y);
                    }
                }
            }
        }
    }
}

}  // namespace

RefNoise refNoise(TestImage &image, const MoxNoiseParam &param) {
    RefNoise result = {image.bytes(), image.bytes()};
    const unsigned depth = image.layout().depth;
    RefGenerator generator(param.seed);
    uint32_t filled = 0;
    const bool fill = isFilled(depth, param, &filled);
    walk(image, [&](int channel, int x, int y) {
        const uint32_t sample = image.get(channel, x, y);
        Noisy value = {filled, filled};
        if (!fill && param.noise == MOX_NOISE_GAUSSIAN) {
            value = gaussian(depth, sample, param, generator.deviate());
        } else if (!fill) {
            value.expected = depth == MOX_DEPTH_32F ? uniformFloat(sample, param, generator.next())
                                                    : uniformInteger(depth, sample, param, generator.next());
            value.other = value.expected;
        }
        image.setIn(result.expected, channel, x, y, value.expected);
        image.setIn(result.other, channel, x, y, value.other);
    });
    return result;
}

TestBytes refAcceptOther(const TestImage &image, const RefNoise &wanted) {
    TestBytes expected = wanted.expected;
    const TestLayout &layout = image.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const uint32_t other = image.getIn(wanted.other, channel, x, y);
                if (image.get(channel, x, y) == other) image.setIn(expected, channel, x, y, other);
            }
        }
    }
    return expected;
}

namespace {

uint32_t waveSample(unsigned depth, double s) {
    const auto whole = [](double value, uint32_t mask) {
        return static_cast<uint32_t>(static_cast<int64_t>(value)) & mask;
    };
    switch (depth) {
        case MOX_DEPTH_1U:
            return whole((s + 1) * 0.99999, 1);
        case MOX_DEPTH_8U:
            return whole((s + 1) * 127.99999, 0xFF);
        case MOX_DEPTH_8S:
            return whole(s * 127.99999, 0xFF);
        case MOX_DEPTH_16U:
            return whole((s + 1) * 32767.99999, 0xFFFF);
        case MOX_DEPTH_16S:
            return whole(s * 32767.99999, 0xFFFF);
        case MOX_DEPTH_32S:
            return whole(s * 2147483647.99999, 0xFFFFFFFF);
        default:
            return std::bit_cast<uint32_t>(static_cast<float>((s + 1) * 0.49999));
    }
}

}  // namespace

std::vector<RefJaehneSample> refJaehne(unsigned depth, int width, int height) {
    std::vector<RefJaehneSample> samples;
    const double cx = (width - 1) * 0.5, cy = (height - 1) * 0.5;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double distance = (x - cx) * (x - cx) + (y - cy) * (y - cy);
            const double p = distance * 6.283185307179586 / static_cast<double>(4 * int64_t{height});
            const double s = static_cast<double>(std::sin(static_cast<long double>(p)));
            const uint32_t expected = waveSample(depth, s), more = waveSample(depth, s + 0x1p-52);
            samples.push_back({expected, more != expected ? more : waveSample(depth, s - 0x1p-52)});
        }
    }
    return samples;
}
