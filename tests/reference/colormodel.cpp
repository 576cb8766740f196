// Colour models that are linear in red, green and blue or nearly so, one colour at a time.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/color.h"

uint32_t refSaturated(unsigned depth, double value) {
    const double lowest = depth == MOX_DEPTH_32S ? -2147483648.0 : 0.0;
    const double highest = depth == MOX_DEPTH_32S ? 2147483647.0 : depth == MOX_DEPTH_16U ? 65535.0 : 255.0;
    return static_cast<uint32_t>(static_cast<int64_t>(std::clamp(value, lowest, highest)));
}

uint32_t refWrapped(unsigned depth, double value) {
    return static_cast<uint32_t>(static_cast<int64_t>(value)) & (depth == MOX_DEPTH_8U ? 0xFFu : 0xFFFFu);
}

namespace {

float real(uint32_t sample) {
    return std::bit_cast<float>(sample);
}
double number(uint32_t sample) {
    return static_cast<int32_t>(sample);
}

RefColor reals(float a, float b, float c) {
    return {{std::bit_cast<uint32_t>(a), std::bit_cast<uint32_t>(b), std::bit_cast<uint32_t>(c)}};
}
RefColor rounded(double a, double b, double c) {
    return reals(static_cast<float>(a), static_cast<float>(b), static_cast<float>(c));
}
RefColor numbers(double a, double b, double c) {
    return {{refSaturated(MOX_DEPTH_32S, a), refSaturated(MOX_DEPTH_32S, b), refSaturated(MOX_DEPTH_32S, c)}};
}

// Integers at 8U and 16U, limited to the range or cut to its bits.
uint32_t limit(unsigned depth, int64_t value) {
    return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, depth == MOX_DEPTH_8U ? 255 : 65535));
}
RefColor limited(unsigned depth, int64_t a, int64_t b, int64_t c) {
    return {{limit(depth, a), limit(depth, b), limit(depth, c)}};
}
uint32_t low(unsigned depth, int64_t value) {
    return static_cast<uint32_t>(value) & (depth == MOX_DEPTH_8U ? 0xFFu : 0xFFFFu);
}
RefColor cut(unsigned depth, int64_t a, int64_t b, int64_t c) {
    return {{low(depth, a), low(depth, b), low(depth, c)}};
}

struct Integers {
    int64_t a, b, c;
    explicit Integers(const RefColor &color) : a(color.sample[0]), b(color.sample[1]), c(color.sample[2]) {}
};
struct Reals {
    float a, b, c;
    explicit Reals(const RefColor &color)
        : a(real(color.sample[0])), b(real(color.sample[1])), c(real(color.sample[2])) {}
};
struct Numbers {
    double a, b, c;
    Numbers(unsigned depth, const RefColor &color)
        : a(depth == MOX_DEPTH_32F ? static_cast<double>(real(color.sample[0])) : number(color.sample[0])),
          b(depth == MOX_DEPTH_32F ? static_cast<double>(real(color.sample[1])) : number(color.sample[1])),
          c(depth == MOX_DEPTH_32F ? static_cast<double>(real(color.sample[2])) : number(color.sample[2])) {}
};

}  // namespace

RefColor refRGB2YUV(unsigned depth, const RefColor &rgb) {
    if (depth == MOX_DEPTH_8U || depth == MOX_DEPTH_16U) {
        const auto [r, g, b] = Integers(rgb);
        const int64_t middle = depth == MOX_DEPTH_8U ? 127 : 32767;
        return limited(depth, (9798 * r + 19235 * g + 3736 * b) >> 15,
                       ((-4784 * r - 9437 * g + 14221 * b) >> 15) + middle,
                       ((20218 * r - 16941 * g - 3277 * b) >> 15) + middle);
    }
    const auto [r, g, b] = Numbers(depth, rgb);
    const double u = -0.146 * r - 0.288 * g + 0.434 * b, v = 0.617 * r - 0.517 * g - 0.1 * b;
    if (depth == MOX_DEPTH_32S) return numbers(0.299 * r + 0.587 * g + 0.114 * b, u, v);
    const auto [fr, fg, fb] = Reals(rgb);
    return reals(0.299f * fr + 0.587f * fg + 0.114f * fb, static_cast<float>(u), static_cast<float>(v));
}

RefColor refRGB2YUVMixed(const RefColor &rgb) {
    const auto [r, g, b] = Integers(rgb);
    const int64_t y = (9798 * r + 19235 * g + 3736 * b) >> 15;
    return limited(MOX_DEPTH_8U, y, ((16121 * (b - y)) >> 15) + 128, ((28737 * (r - y)) >> 15) + 128);
}

static RefColor integersYUV2RGB(unsigned depth, const RefColor &yuv, int64_t middle) {
    const auto [y, a, b] = Integers(yuv);
    const int64_t u = a - middle, v = b - middle;
    return limited(depth, y + ((-31 * u + 37222 * v) >> 15), y + ((-12974 * u - 18949 * v) >> 15),
                   y + ((66883 * u - 53 * v) >> 15));
}

RefColor refYUV2RGBMixed(const RefColor &yuv) {
    return integersYUV2RGB(MOX_DEPTH_8U, yuv, 128);
}

RefColor refYUV2RGB(unsigned depth, const RefColor &yuv) {
    if (depth == MOX_DEPTH_8U) return integersYUV2RGB(depth, yuv, 127);
    if (depth == MOX_DEPTH_16U) return integersYUV2RGB(depth, yuv, 32767);
    const auto [y, u, v] = Numbers(depth, yuv);
    const double r = y + 1.135920183 * v, g = y - 0.3959190767 * u - 0.5782887929 * v, b = y + 2.041101518 * u;
    return depth == MOX_DEPTH_32S ? numbers(r, g, b) : rounded(r, g, b);
}

RefColor refRGB2YCrCb(unsigned depth, const RefColor &rgb) {
    if (depth == MOX_DEPTH_8U) {
        const auto [r, g, b] = Integers(rgb);
        const int64_t y = (4898 * r + 9617 * g + 1867 * b + 8192) >> 14;
        return cut(depth, y, ((b - y) * 9246 + 0x200000) >> 14, ((r - y) * 11686 + 0x200000) >> 14);
    }
    if (depth == MOX_DEPTH_16U) {
        const auto [r, g, b] = Integers(rgb);
        return cut(depth, (4899 * r + 9617 * g + 1868 * b + 8192) >> 14,
                   (-2765 * r - 5427 * g + 8192 * b + 0x20000000) >> 14,
                   (8192 * r - 6860 * g - 1332 * b + 0x20000000) >> 14);
    }
    if (depth == MOX_DEPTH_32S) {
        const auto [r, g, b] = Numbers(depth, rgb);
        return numbers(0.299 * r + 0.587 * g + 0.114 * b, -0.1687359 * r - 0.331264 * g + 0.5 * b,
                       0.5 * r - 0.41868759 * g - 0.08131241 * b);
    }
    const auto [r, g, b] = Reals(rgb);
    return reals(0.299f * r + 0.587f * g + 0.114f * b, -0.1687359f * r - 0.331264f * g + 0.5f * b + 0.5f,
                 0.5f * r - 0.41868759f * g - 0.08131241f * b + 0.5f);
}

RefColor refYCrCb2RGB(unsigned depth, const RefColor &ycc) {
    if (depth == MOX_DEPTH_8U || depth == MOX_DEPTH_16U) {
        const auto [y, cb, cr] = Integers(ycc);
        const bool bytes = depth == MOX_DEPTH_8U;
        return limited(depth, y + ((22970 * cr - (bytes ? 2928675 : 752669475)) >> 14),
                       y - ((5638 * cb + 11700 * cr - (bytes ? 2210595 : 568122915)) >> 14),
                       y + ((29032 * cb - (bytes ? 3701580 : 951306060)) >> 14));
    }
    if (depth == MOX_DEPTH_32S) {
        const auto [y, cb, cr] = Numbers(depth, ycc);
        return numbers(y + 1.4019999991573 * cr, y - 0.34413629776123 * cb - 0.71413631643017 * cr,
                       y + 1.7720000660742 * cb);
    }
    const auto [y, cb, cr] = Reals(ycc);
    const float r = y + 1.402f * cr - 0.701f, g = y - 0.3441363f * cb - 0.7141363f * cr + 0.5291363f,
                b = y + 1.772f * cb - 0.886f;
    return reals(r < 0 ? 0 : r, g < 0 ? 0 : g, b < 0 ? 0 : b);
}

RefColor refRGB2XYZ(unsigned depth, const RefColor &rgb) {
    if (depth == MOX_DEPTH_8U || depth == MOX_DEPTH_16U) {
        const auto [r, g, b] = Integers(rgb);
        const int64_t x = (6758 * r + 5859 * g + 2956 * b + 8192) >> 14,
                      y = (3484 * r + 11717 * g + 1182 * b + 8192) >> 14,
                      z = (317 * r + 1953 * g + 15569 * b + 8192) >> 14;
        return cut(depth, x, y, limit(depth, z));
    }
    if (depth == MOX_DEPTH_32S) {
        const auto [r, g, b] = Numbers(depth, rgb);
        return numbers(0.412453 * r + 0.35758 * g + 0.180423 * b + -106394929.85651207,
                       0.212671 * r + 0.71516 * g + 0.072169 * b,
                       0.019334 * r + 0.119193 * g + 0.950227 * b + 190597763.694592);
    }
    const auto [r, g, b] = Reals(rgb);
    return reals(0.412453f * r + 0.35758f * g + 0.180423f * b, 0.212671f * r + 0.71516f * g + 0.072169f * b,
                 0.019334f * r + 0.119193f * g + 0.950227f * b);
}

RefColor refXYZ2RGB(unsigned depth, const RefColor &xyz) {
    if (depth == MOX_DEPTH_8U || depth == MOX_DEPTH_16U) {
        // The wider depth drops its low bytes first.
        const int down = depth == MOX_DEPTH_8U ? 0 : 8, shift = depth == MOX_DEPTH_8U ? 14 : 6;
        const auto [fullX, fullY, fullZ] = Integers(xyz);
        const int64_t x = fullX >> down, y = fullY >> down, z = fullZ >> down;
        return limited(depth, (53092 * x - 25185 * y - 8168 * z + 8192) >> shift,
                       (-15880 * x + 30736 * y + 681 * z + 8192) >> shift,
                       (912 * x - 3343 * y + 17323 * z + 8192) >> shift);
    }
    if (depth == MOX_DEPTH_32S) {
        const auto [x, y, z] = Numbers(depth, xyz);
        return numbers(3.2404813432005 * x - 1.5371515162713 * y - 0.49853632616889 * z + 439790694.0994415,
                       -0.96925494999657 * x + 1.8759900014899 * y + 0.041555926558293 * z - 111044279.08821273,
                       0.055646639135177 * x - 0.20404133836651 * y + 1.0573110696453 * z - 195600605.13649487);
    }
    const auto [x, y, z] = Reals(xyz);
    return reals(3.240479f * x - 1.53715f * y - 0.498535f * z, -0.969256f * x + 1.875992f * y + 0.041556f * z,
                 0.055648f * x - 0.204043f * y + 1.057311f * z);
}

RefColor refRGB2LUV(unsigned depth, const RefColor &rgb) {
    const auto [x, y, z] = Reals(refRGB2XYZ(depth, rgb));
    if (!(y > 0.01f)) return {};
    // The power alone is one of doubles.
    const float root = static_cast<float>(std::pow(static_cast<double>(y), 0.3333333432674408));
    const float l = 116.0f * root - 16.0f;
    const float d = 1.0f / (x + 15.0f * y + 3.0f * z);
    return reals(l, 13.0f * l * (4.0f * x * d - 0.1978394091129303f),
                 13.0f * l * (9.0f * y * d - 0.47076964378356934f));
}

// The thresholds and the white points differ on purpose: the way there and back does not end where it began.
RefColor refLUV2RGB(unsigned depth, const RefColor &luv) {
    const auto [l, a, b] = Numbers(depth, luv);
    if (!(l > 8.7)) return {};
    const double t = 1.0 / (13.0 * l), q = (l + 16.0) * 0.008620689655172414, y = q * q * q;
    const double u = a * t + 0.19783940212891, v = b * t + 0.46834220078579, w = y / v;
    const double x = 2.25 * w * u, z = 3.0 * w - 5.0 * y - x / 3.0;
    return rounded(3.240479 * x - 1.53715 * y - 0.498535 * z, -0.969256 * x + 1.875992 * y + 0.041556 * z,
                   0.055648 * x - 0.204043 * y + 1.057311 * z);
}
