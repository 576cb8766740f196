// Planes of numbers: read from images, compared with images.
#include <bit>
#include <cmath>
#include <cstdio>

#include "reference/transform.h"

long double RefPlane::norm() const {
    long double sum = 0;
    for (long double sample : samples)
        sum += sample * sample;
    return std::sqrt(sum);
}

long double RefPlane::largest() const {
    long double most = 0;
    for (long double sample : samples)
        most = std::max(most, std::fabs(sample));
    return most;
}

uint32_t refStored(unsigned depth, long double value) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(static_cast<float>(value));
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const bool isSigned = (depth & MOX_DEPTH_SIGN) != 0;
    const long double low = isSigned ? -std::ldexp(1.0L, bits - 1) : 0;
    const long double high = std::ldexp(1.0L, isSigned ? bits - 1 : bits) - 1;
    const long double rounded = std::nearbyint(value);
    const long double limited = rounded < low ? low : rounded > high ? high : rounded;
    const uint32_t all = bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
    return static_cast<uint32_t>(static_cast<int64_t>(limited)) & all;
}

RefPlane refReadPlane(const TestImage &image, int channel, int width, int height) {
    const TestLayout &layout = image.layout();
    RefPlane plane(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint32_t sample = image.get(channel, layout.regionX() + x, layout.regionY() + y);
            plane.at(x, y) = static_cast<float>(refNumber(layout.depth, sample));
        }
    }
    return plane;
}

testing::AssertionResult refPlaneHolds(const TestImage &image, int channel, const RefPlane &wanted,
                                       const RefBound &bound) {
    const TestLayout &layout = image.layout();
    for (int y = 0; y < wanted.height; ++y) {
        for (int x = 0; x < wanted.width; ++x) {
            const uint32_t sample = image.get(channel, layout.regionX() + x, layout.regionY() + y);
            const long double found = refNumber(layout.depth, sample), exact = wanted.at(x, y);
            const long double error = bound.absolute + bound.relative * std::fabs(exact);
            const long double low = refNumber(layout.depth, refStored(layout.depth, exact - error));
            const long double high = refNumber(layout.depth, refStored(layout.depth, exact + error));
            if (found >= low && found <= high) continue;
            char text[200];
            snprintf(text, sizeof text, "%.9g, expected %.12g within %.3g", static_cast<double>(found),
                     static_cast<double>(exact), static_cast<double>(error));
            return testing::AssertionFailure() << "channel " << channel << " of (" << x << ", " << y
                                               << ") of the region is " << text << " in " << layout.describe();
        }
    }
    return testing::AssertionSuccess();
}
