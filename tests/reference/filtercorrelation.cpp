// Normalised correlation with a template.
#include <bit>
#include <cfloat>
#include <cmath>

#include "reference/filter.h"

static long double numberOf(unsigned depth, uint32_t sample) {
    if (depth == MOX_DEPTH_32F) return static_cast<long double>(std::bit_cast<float>(sample));
    return refInteger(depth, sample);
}

// What a perfect match gives.
static long double fullScale(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return 255;
        case MOX_DEPTH_8S:
            return 127;
        case MOX_DEPTH_16U:
            return 65535;
        case MOX_DEPTH_16S:
            return 32767;
        case MOX_DEPTH_32S:
            return 2147483647;
        default:
            return 1;
    }
}

static uint32_t stored(unsigned depth, long double value) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(static_cast<float>(value));
    const auto sample = static_cast<uint32_t>(std::llrint(value));
    const unsigned bits = depth & ~MOX_DEPTH_SIGN;
    return bits == 32 ? sample : sample & ((1u << bits) - 1);
}

// The middle of the template lies over pixel (i, j).
static long double correlation(const TestImage &pattern, const TestImage &source, unsigned depth, int channel, int i,
                               int j) {
    const TestLayout &layout = pattern.layout();
    const int width = layout.regionWidth(), height = layout.regionHeight();
    long double products = 0, energy = 0, patternEnergy = 0;
    for (int v = 0; v < height; ++v) {
        for (int u = 0; u < width; ++u) {
            const long double t = numberOf(
                layout.depth, pattern.get(layout.firstChannel() + channel, layout.regionX() + u, layout.regionY() + v));
            const long double s =
                numberOf(layout.depth, refSourceSample(source, channel, i - (width >> 1) + u, j - (height >> 1) + v));
            products += t * s;
            energy += s * s;
            patternEnergy += t * t;
        }
    }
    const long double e = energy * patternEnergy;
    return e > static_cast<long double>(FLT_MIN) ? products * (fullScale(depth) / std::sqrt(e))
                                                 : products * fullScale(depth);
}

RefCorrelation refNormCrossCorr(TestImage &pattern, TestImage &source, TestImage &destination) {
    const unsigned depth = destination.layout().depth;
    RefCorrelation wanted;
    wanted.result = refOverArea(source, destination, [&](int channel, int i, int j) {
        wanted.exact.push_back(correlation(pattern, source, depth, channel, i, j));
        return stored(depth, wanted.exact.back());
    });
    return wanted;
}

// The single precision of energies and roots, seen from the full scale; at 32 bits that of double sums.
static long double slackOf(unsigned depth) {
    return fullScale(depth) * (depth == MOX_DEPTH_32S ? 1e-12L : 1.8e-7L);
}

static bool isRounded(unsigned depth, uint32_t found, long double exact) {
    if (depth != MOX_DEPTH_32F) {
        const auto value = static_cast<long double>(refInteger(depth, found));
        return std::fabs(value - exact) <= 0.5L + slackOf(depth);
    }
    const float value = std::bit_cast<float>(found), nearest = static_cast<float>(exact);
    const auto unit = static_cast<long double>(std::nextafter(std::fabs(nearest), INFINITY) - std::fabs(nearest));
    return std::fabs(static_cast<long double>(value) - exact) <= 4 * unit + 1e-14L;
}

void refAcceptRounding(TestImage &source, TestImage &destination, const RefCorrelation &correlation,
                       RefResult *wanted) {
    const TestLayout &layout = destination.layout();
    size_t next = 0;
    refOverArea(source, destination, [&](int channel, int i, int j) {
        const int at = layout.firstChannel() + channel, x = layout.regionX() + i, y = layout.regionY() + j;
        const uint32_t found = destination.get(at, x, y);
        if (isRounded(layout.depth, found, correlation.exact[next++]))
            destination.setIn(wanted->expected, at, x, y, found);
        return found;
    });
}
