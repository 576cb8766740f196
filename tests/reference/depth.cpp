// Changes of depth, and the threshold, sample by sample.
#include "reference/depth.h"

#include <algorithm>
#include <bit>
#include <cmath>

static int bitsOf(unsigned depth) {
    return static_cast<int>(depth & ~MOX_DEPTH_SIGN);
}

int64_t refLowest(unsigned depth) {
    return depth & MOX_DEPTH_SIGN ? -(int64_t{1} << (bitsOf(depth) - 1)) : 0;
}
int64_t refHighest(unsigned depth) {
    return refLowest(depth) + (int64_t{1} << bitsOf(depth)) - 1;
}

static int64_t numberOf(unsigned depth, uint32_t sample) {
    const int64_t value = sample;
    return value > refHighest(depth) ? value - (int64_t{1} << bitsOf(depth)) : value;
}
static uint32_t sampleOf(unsigned depth, int64_t number) {
    return static_cast<uint32_t>(number) & (0xFFFFFFFFu >> (32 - bitsOf(depth)));
}

uint32_t refConvertSample(unsigned srcDepth, unsigned dstDepth, uint32_t sample) {
    const int64_t number = numberOf(srcDepth, sample);
    if (dstDepth == MOX_DEPTH_1U) return number > 0;
    return sampleOf(dstDepth, std::clamp(number, refLowest(dstDepth), refHighest(dstDepth)));
}

uint32_t refScaleSample(unsigned srcDepth, unsigned dstDepth, uint32_t sample) {
    const int from = bitsOf(srcDepth), to = bitsOf(dstDepth);
    uint64_t u = static_cast<uint64_t>(numberOf(srcDepth, sample) - refLowest(srcDepth));
    if (to > from) {
        // The pattern of bits once more and once more.
        for (int bits = from; bits < to; bits *= 2)
            u = u << bits | u;
    } else {
        u >>= from - to;
    }
    return sampleOf(dstDepth, static_cast<int64_t>(u) + refLowest(dstDepth));
}

static double partOf(unsigned depth) {
    return bitsOf(depth) == 8    ? 0.00392156862745098
           : bitsOf(depth) == 16 ? 1.5259021896696422e-05
                                 : 2.3283064370807974e-10;
}

uint32_t refScaleToReal(unsigned srcDepth, uint32_t sample, float least, float most) {
    const double delta = static_cast<double>(most) - static_cast<double>(least), step = delta * partOf(srcDepth);
    const double offset = static_cast<double>(least) + step * static_cast<double>(-refLowest(srcDepth));
    return std::bit_cast<uint32_t>(static_cast<float>(static_cast<double>(numberOf(srcDepth, sample)) * step + offset));
}

uint32_t refScaleFromReal(unsigned dstDepth, uint32_t sample, float least, float most) {
    const double delta = static_cast<double>(most) - static_cast<double>(least);
    const double scale = static_cast<double>(refHighest(dstDepth) - refLowest(dstDepth)) / delta;
    const float x = std::bit_cast<float>(sample);
    if (std::isnan(x)) return sampleOf(dstDepth, refLowest(dstDepth));
    const double within = static_cast<double>(std::clamp(x, least, most)) - static_cast<double>(least);
    const double value = std::nearbyint(within * scale + static_cast<double>(refLowest(dstDepth)));
    return sampleOf(dstDepth, static_cast<int64_t>(std::clamp(value, static_cast<double>(refLowest(dstDepth)),
                                                              static_cast<double>(refHighest(dstDepth)))));
}

uint32_t refThresholdSample(unsigned srcDepth, unsigned dstDepth, uint32_t sample, int threshold) {
    const bool above = numberOf(srcDepth, sample) >= threshold;
    return sampleOf(dstDepth, above ? refHighest(dstDepth) : refLowest(dstDepth));
}

RefResult refConvert(TestImage &source, TestImage &destination) {
    const TestLayout &src = source.layout(), &dst = destination.layout();
    RefResult result = {destination.bytes(), {}};
    if (&source == &destination) return result;
    // From bits to bits whole bytes go, with what stands beyond the width.
    const bool bits = src.depth == MOX_DEPTH_1U;
    const int width = bits ? (src.width + 7) / 8 * 8 : src.width;
    for (int y = 0; y < src.height; ++y) {
        const int row = src.origin == dst.origin ? y : src.height - 1 - y;
        for (int x = 0; x < width; ++x) {
            for (int channel = 0; channel < dst.channels; ++channel) {
                const int from = dst.depth == MOX_DEPTH_1U && src.channels > 1 ? src.roi.coi - 1 : channel;
                destination.setIn(result.expected, channel, x, row,
                                  refConvertSample(src.depth, dst.depth, source.get(from, x, y)));
            }
        }
    }
    return result;
}

// Each processed sample from the one in its place.
template <typename Sample>
static RefResult overRegions(TestImage &source, TestImage &destination, Sample sample) {
    const TestLayout &src = source.layout(), &dst = destination.layout();
    RefResult result = {destination.bytes(), {}};
    int width, height;
    refCommonSize({&source, &destination}, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn({&source, &destination}, i, j)) continue;
            for (int channel = 0; channel < dst.channelCount(); ++channel) {
                const int from = src.channels == 1 ? 0 : src.firstChannel() + channel;
                destination.setIn(result.expected, dst.firstChannel() + channel, dst.regionX() + i, dst.regionY() + j,
                                  sample(source.get(from, src.regionX() + i, src.regionY() + j)));
            }
        }
    }
    return result;
}

RefResult refBitonalToGray(TestImage &source, TestImage &destination, int zero, int one) {
    return overRegions(source, destination,
                       [&](uint32_t bit) { return sampleOf(destination.layout().depth, bit ? one : zero); });
}

RefResult refScale(TestImage &source, TestImage &destination) {
    return overRegions(source, destination, [&](uint32_t sample) {
        return refScaleSample(source.layout().depth, destination.layout().depth, sample);
    });
}

RefResult refScaleFP(TestImage &source, TestImage &destination, float least, float most) {
    const unsigned from = source.layout().depth, to = destination.layout().depth;
    return overRegions(source, destination, [&](uint32_t sample) {
        return from == MOX_DEPTH_32F ? refScaleFromReal(to, sample, least, most)
                                     : refScaleToReal(from, sample, least, most);
    });
}

RefResult refThreshold(TestImage &source, TestImage &destination, int threshold) {
    return overRegions(source, destination, [&](uint32_t sample) {
        return refThresholdSample(source.layout().depth, destination.layout().depth, sample, threshold);
    });
}
