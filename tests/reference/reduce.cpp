// Error diffusion, ordered dither and their noise, sample by sample.
#include "reference/reduce.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

std::string refDescribe(const RefReduce &call) {
    return "dither " + std::to_string(call.dither) + " levels " + std::to_string(call.levels) + " noise " +
           std::to_string(call.noise);
}

static double scaleOf(unsigned depth) {
    return depth == MOX_DEPTH_8U ? 255.0 : depth == MOX_DEPTH_16U ? 65535.0 : 4294967295.0;
}

static int bitsOf(unsigned depth) {
    return static_cast<int>(depth & ~MOX_DEPTH_SIGN);
}

double refReduceLoad(unsigned srcDepth, uint32_t sample) {
    return srcDepth == MOX_DEPTH_32S ? static_cast<int32_t>(sample) + 2147483648.0 : sample;
}

uint32_t refReduceStore(unsigned srcDepth, unsigned dstDepth, double output) {
    if (dstDepth == MOX_DEPTH_32S) {
        return static_cast<uint32_t>(static_cast<int64_t>(std::rint(output + -2147483648.0)));
    }
    return static_cast<uint32_t>(static_cast<uint64_t>(std::rint(output)) >> (bitsOf(srcDepth) - bitsOf(dstDepth)));
}

namespace {

// A neighbour that is already finished: dy rows up, dx columns to the right, with its part of the divisor.
struct Tap {
    int dx, dy;
    double part;
};

// What a pixel gathers is what its neighbours scatter, seen from the other end; rows above first, in the order of
// memory.
const std::vector<Tap> tapsFS = {{-1, 1, 1}, {0, 1, 5}, {1, 1, 3}, {-1, 0, 7}};
const std::vector<Tap> tapsJJH = {{-2, 2, 1}, {-1, 2, 3}, {0, 2, 5}, {1, 2, 3}, {2, 2, 1},  {-2, 1, 3},
                                  {-1, 1, 5}, {0, 1, 7},  {1, 1, 5}, {2, 1, 3}, {-2, 0, 5}, {-1, 0, 7}};
const std::vector<Tap> tapsStuckey = {{-2, 2, 1}, {-1, 2, 2}, {0, 2, 4}, {1, 2, 2}, {2, 2, 1},  {-2, 1, 2},
                                      {-1, 1, 4}, {0, 1, 8},  {1, 1, 4}, {2, 1, 2}, {-2, 0, 4}, {-1, 0, 8}};

struct Filter {
    const std::vector<Tap> &taps;
    double weight;
};

Filter filterOf(int dither) {
    if (dither == MOX_DITHER_FS) return {tapsFS, 0.0625};
    if (dither == MOX_DITHER_JJH) return {tapsJJH, 0.020833333333333332};
    return {tapsStuckey, 0.023809523809523808};
}

struct Noise {
    std::vector<float> threshold;
    std::vector<int> index;
    float at(int x, int y) const {
        return threshold[static_cast<size_t>((2 * y + x + index[static_cast<size_t>(x & 1023)]) & 1023)];
    }
};

// The generator's state is part of what a call leaves behind, so the model leaves the same.
Noise drawNoise(const RefReduce &call, double step) {
    Noise noise;
    const double n = call.noise * 0.01;
    srand(1999);
    for (int i = 0; i < 1024; ++i) {
        const double spread = (rand() % 1024) * 0.0009765625 * 2.0 * n;
        noise.threshold.push_back(
            static_cast<float>(call.dither == MOX_DITHER_BAYER ? spread : (0.5 - n + spread) * step));
    }
    for (int i = 0; i < 1024; ++i)
        noise.index.push_back(rand() % 1024);
    return noise;
}

// The level at or below a value.
double lowLevel(double value, int levels, unsigned srcDepth) {
    return std::rint(levels * value * std::ldexp(1.0, -bitsOf(srcDepth)) - 0.5);
}

std::vector<double> diffuse(const RefReduce &call, unsigned srcDepth, unsigned dstDepth,
                            const std::vector<double> &samples, int width, int height) {
    const double scale = scaleOf(srcDepth), step = scale / call.levels;
    const Filter filter = filterOf(call.dither);
    const bool twoLevels = call.levels == 2 && dstDepth == MOX_DEPTH_1U;
    const Noise noise = call.noise != 0 ? drawNoise(call, step) : Noise();
    std::vector<float> errors(samples.size());
    std::vector<double> outputs(samples.size());
    auto place = [&](int x, int y) {
        return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            double gathered = 0;
            for (const Tap &tap : filter.taps) {
                const int fromX = x + tap.dx, fromY = y - tap.dy;
                if (fromX < 0 || fromX >= width || fromY < 0) continue;
                gathered += tap.part * static_cast<double>(errors[place(fromX, fromY)]);
            }
            const double v = samples[place(x, y)] + gathered * filter.weight;
            double output;
            if (twoLevels) {
                output = v > scale / 2 ? scale : 0.0;
            } else if (v >= scale) {
                output = scale;
            } else if (v < 0) {
                output = 1e-07;
            } else {
                const double low = lowLevel(v, call.levels, srcDepth) * step;
                const double threshold = call.noise != 0 ? static_cast<double>(noise.at(x, y)) : step * 0.5;
                output = v - low > threshold ? low + step : low;
            }
            outputs[place(x, y)] = output;
            errors[place(x, y)] = static_cast<float>(v - output);
        }
    }
    return outputs;
}

const int bayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

std::vector<double> order(const RefReduce &call, unsigned srcDepth, unsigned dstDepth,
                          const std::vector<double> &samples, int width, int height) {
    const double scale = scaleOf(srcDepth), step = scale / call.levels;
    const Noise noise = call.noise != 0 ? drawNoise(call, step) : Noise();
    std::vector<double> outputs(samples.size());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const size_t at = static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
            const double v = samples[at];
            double part = bayer[y & 3][x & 3] / 15.0;
            if (call.noise != 0) part = part - call.noise * 0.01 + static_cast<double>(noise.at(x, y));
            if (v >= scale) {
                outputs[at] = scale;
            } else if (dstDepth == MOX_DEPTH_1U) {
                outputs[at] = part * scale >= v ? 0.0 : scale;
            } else {
                const double low = lowLevel(v, call.levels, srcDepth) * step;
                outputs[at] = part * step >= v - low ? low : low + step;
            }
        }
    }
    return outputs;
}

}  // namespace

// Without dithering: the top bits, or with fewer levels the multiple of the step at or below.
static std::vector<double> truncate(const RefReduce &call, unsigned srcDepth, unsigned dstDepth,
                                    const std::vector<double> &samples) {
    const double scale = scaleOf(srcDepth);
    const int64_t most = dstDepth == MOX_DEPTH_32S ? 0x7FFFFFFF : int64_t{1} << bitsOf(dstDepth);
    if (call.levels >= most) return samples;
    std::vector<double> outputs;
    for (double sample : samples) {
        const int64_t multiple = static_cast<int64_t>(sample) * call.levels / static_cast<int64_t>(scale);
        outputs.push_back(static_cast<double>(multiple) * (scale / call.levels));
    }
    return outputs;
}

std::vector<double> refReduceRows(const RefReduce &call, unsigned srcDepth, unsigned dstDepth,
                                  const std::vector<double> &samples, int width, int height) {
    if (call.dither == MOX_DITHER_NONE) return truncate(call, srcDepth, dstDepth, samples);
    if (call.dither == MOX_DITHER_BAYER) return order(call, srcDepth, dstDepth, samples, width, height);
    return diffuse(call, srcDepth, dstDepth, samples, width, height);
}

struct ChannelPair {
    int from, to;
};

// A channel of interest is that of both images unless the other names its own.
static std::vector<ChannelPair> channelPairs(const TestLayout &source, const TestLayout &destination) {
    const int srcCoi = source.hasRoi ? source.roi.coi : 0, dstCoi = destination.hasRoi ? destination.roi.coi : 0;
    if (srcCoi > 0 || dstCoi > 0) {
        const int from = srcCoi > 0 ? srcCoi : dstCoi;
        const int to = dstCoi > 0 ? dstCoi : destination.channels == 1 ? 1 : srcCoi;
        if (to > destination.channels) return {};
        return {{from - 1, to - 1}};
    }
    std::vector<ChannelPair> pairs;
    for (int channel = 0; channel < destination.channelCount(); ++channel)
        pairs.push_back({channel, channel});
    return pairs;
}

RefResult refReduceBits(const RefReduce &call, TestImage &source, TestImage &destination) {
    const TestLayout &src = source.layout(), &dst = destination.layout();
    RefResult result = {destination.bytes(), {}};
    int width, height;
    refCommonSize({&source, &destination}, &width, &height);
    for (const auto &[from, channel] : channelPairs(src, dst)) {
        std::vector<double> samples;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                samples.push_back(refReduceLoad(src.depth, source.get(from, src.regionX() + x, src.regionY() + y)));
            }
        }
        const std::vector<double> outputs = refReduceRows(call, src.depth, dst.depth, samples, width, height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                if (!refMaskedIn({&source, &destination}, x, y)) continue;
                const double output =
                    outputs[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
                destination.setIn(result.expected, channel, dst.regionX() + x, dst.regionY() + y,
                                  refReduceStore(src.depth, dst.depth, output));
            }
        }
    }
    return result;
}
