// CIE L*u*v*, compiled once for each CPU level.
#include "color/ownpixels.h"

namespace OWN_LEVEL {
namespace {

// x to the power of 0.3333333432674408, which is 1/3 + DELTA, for x from 0.01 on: x^(1/3) exp(DELTA ln x). Only
// additions, products and conversions, so that every system has the same bits. The error is below two units of the last
// place.
//
// With r near x^(-1/3) and e = 1 - x r^3, the cube root is x r^2 (1 - e)^(-2/3), of which four terms of the series are
// enough for an e below 1e-4. DELTA is so small that ln x may have an error of 3e-8.
[[gnu::always_inline]] inline double rootOf(float x) {
    constexpr double DELTA = 1.0 / 100663296.0;
    int32_t bits;
    __builtin_memcpy(&bits, &x, 4);

    const auto guess = static_cast<int32_t>(1418472267.0f - static_cast<float>(bits) * 0.33333334f);
    float r;
    __builtin_memcpy(&r, &guess, 4);
    for (int i = 0; i < 2; ++i)
        r = r * (1.3333334f - 0.33333334f * (x * r * r * r));

    // x = m 2^exponent with m from sqrt(1 / 2) to sqrt(2).
    const int32_t from = bits - 0x3F3504F3, exponent = from >> 23;
    const int32_t mantissa = (from & 0x7FFFFF) + 0x3F3504F3;
    float m;
    __builtin_memcpy(&m, &mantissa, 4);
    const float t = m - 1.0f;
    float p = 7.0376836292e-2f;
    p = p * t - 1.1514610310e-1f;
    p = p * t + 1.1676998740e-1f;
    p = p * t - 1.2420140846e-1f;
    p = p * t + 1.4249322787e-1f;
    p = p * t - 1.6668057665e-1f;
    p = p * t + 2.0000714765e-1f;
    p = p * t - 2.4999993993e-1f;
    p = p * t + 3.3333331174e-1f;
    const float square = t * t;
    const float tail = p * (square * t) - 0.5f * square;
    const double logarithm = exponent * 0.6931471805599453 + (static_cast<double>(t) + static_cast<double>(tail));

    const double wide = r, root = static_cast<double>(x) * (wide * wide);
    const double e = 1.0 - root * wide;
    const double series = e * (2.0 / 3 + e * (5.0 / 9 + e * (40.0 / 81)));
    const double u = logarithm * DELTA;
    const double factor = u + 0.5 * (u * u);
    return root + root * (series + factor + series * factor);
}

struct FromRgb {
    template <class D>
    [[gnu::always_inline]] static void f(float r, float g, float b, float *luv) {
        const float x = 0.412453f * r + 0.35758f * g + 0.180423f * b;
        const float y = 0.212671f * r + 0.71516f * g + 0.072169f * b;
        const float z = 0.019334f * r + 0.119193f * g + 0.950227f * b;
        const bool bright = y > 0.01f, finite = y <= 3.4028235e38f;
        const float root = static_cast<float>(rootOf(bright && finite ? y : 1.0f));
        const float l = 116.0f * (finite ? root : y) - 16.0f;
        const float d = 1.0f / (x + 15.0f * y + 3.0f * z);
        luv[0] = bright ? l : 0;
        luv[1] = bright ? 13.0f * l * (4.0f * x * d - 0.1978394091129303f) : 0;
        luv[2] = bright ? 13.0f * l * (9.0f * y * d - 0.47076964378356934f) : 0;
    }
};

// x / 3 to the last bit: both differences are exact, and so no quotient comes near the middle of two numbers.
[[gnu::always_inline]] inline double third(double x) {
    constexpr double THIRD = 0.3333333333333333;
    const double q = x * THIRD;
    return q + (x - 2.0 * q - q) * THIRD;
}

struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(float l_, float u_, float v_, float *rgb) {
        const bool bright = l_ > 8.7;
        const double l = l_;
        const double t = 1.0 / (13.0 * l), q = (l + 16.0) * 0.008620689655172414;
        const double y = q * q * q;
        const double u = u_ * t + 0.19783940212891, v = v_ * t + 0.46834220078579;
        const double w = y / v, x = 2.25 * w * u, z = 3.0 * w - 5.0 * y - x / 3.0;
        const double red = 3.240479 * x - 1.53715 * y - 0.498535 * z;
        const double green = -0.969256 * x + 1.875992 * y + 0.041556 * z;
        const double blue = 0.055648 * x - 0.204043 * y + 1.057311 * z;
        rgb[0] = bright ? static_cast<float>(red) : 0;
        rgb[1] = bright ? static_cast<float>(green) : 0;
        rgb[2] = bright ? static_cast<float>(blue) : 0;
    }
};

}  // namespace

extern const OwnModelRows luvRows;
const OwnModelRows luvRows = {
    {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, ownPixels<Own32F, FromRgb>},
    {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, ownPixels<Own32F, ToRgb>},
};

}  // namespace OWN_LEVEL
