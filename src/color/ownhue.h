// The hue that HSV and HLS have in common, for kernel files. Samples are counted from 0, in double precision.
#pragma once

#include "color/ownpixels.h"

namespace {

template <class D>
constexpr double ownUnit = sizeof(typename D::Value) == 1   ? 0.00392156862745098
                           : sizeof(typename D::Value) == 2 ? 1.5259021896696422e-05
                                                            : 2.3283064370807974e-10;

template <class D>
[[gnu::always_inline]] inline double ownCount(typename D::Value sample) {
    return sizeof(typename D::Value) == 4 ? sample + OWN_HALF_RANGE : sample;
}

// A sample as a fraction of the largest.
template <class D>
[[gnu::always_inline]] inline double ownFraction(typename D::Value sample) {
    return ownCount<D>(sample) * ownUnit<D>;
}

template <class D>
struct OwnHue {
    [[gnu::always_inline]] OwnHue(double r_, double g_, double b_) {
        constexpr double base = sizeof(typename D::Value) == 4 ? OWN_HALF_RANGE : 0;
        r = r_ + base;
        g = g_ + base;
        b = b_ + base;
        const double larger = r > g ? r : g, smaller = r < g ? r : g;
        max = larger > b ? larger : b;
        min = smaller < b ? smaller : b;
        delta = max - min;
    }

    // As it is stored: of F for 360 degrees.
    [[gnu::always_inline]] double degrees() const {
        const double inverse = 1.0 / delta;
        const double first = (g - b) * 60.0 / delta;
        const double second = inverse * ((b - r) * 60.0) + 120.0;
        const double third = inverse * ((r - g) * 60.0) + 240.0;
        double hue = r == max ? first : g == max ? second : third;
        hue = hue < 0 ? hue + 360.0 : hue;
        hue = delta == 0 ? 0 : hue;
        return hue * ownFull<D> * 0.002777777777777778;
    }

    double r, g, b, max, min, delta;
};

// Truncated, at 32 bits with an offset added before.
template <class D>
[[gnu::always_inline]] inline typename D::Value ownStoreHue(double value, double offset) {
    if constexpr (sizeof(typename D::Value) == 4) return ownTruncate(value + offset);
    return static_cast<typename D::Value>(static_cast<int>(value));
}

}  // namespace
