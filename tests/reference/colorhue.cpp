// Hue, lightness, value and saturation; and the table of scanned pictures' colours; one colour at a time.
#include <algorithm>
#include <cmath>

#include "reference/color.h"

namespace {

constexpr double DEGREE = 0.002777777777777778, SIXTIETH = 0.016666666666666666;

double scaleOf(unsigned depth) {
    return depth == MOX_DEPTH_8U ? 255.0 : depth == MOX_DEPTH_16U ? 65535.0 : 4294967295.0;
}
// What a full scale is divided by, as a factor.
double partOf(unsigned depth) {
    return depth == MOX_DEPTH_8U    ? 0.00392156862745098
           : depth == MOX_DEPTH_16U ? 1.5259021896696422e-05
                                    : 2.3283064370807974e-10;
}

// A sample as a number from 0 to the full scale.
double load(unsigned depth, uint32_t sample) {
    return depth == MOX_DEPTH_32S ? static_cast<int32_t>(sample) + 2147483648.0 : sample;
}

// And back: the narrow depths keep an integer's low bits.
uint32_t store(unsigned depth, double value, double offset32) {
    return depth == MOX_DEPTH_32S ? refSaturated(depth, value + offset32) : refWrapped(depth, value);
}

struct Range {
    double r, g, b, most, least, delta;
    Range(unsigned depth, const RefColor &rgb)
        : r(load(depth, rgb.sample[0])), g(load(depth, rgb.sample[1])), b(load(depth, rgb.sample[2])) {
        most = std::max({r, g, b});
        least = std::min({r, g, b});
        delta = most - least;
    }
    double hue() const {
        if (delta == 0) return 0;
        double hue;
        if (r == most) {
            hue = ((g - b) * 60.0) / delta;
        } else if (g == most) {
            hue = (1.0 / delta) * ((b - r) * 60.0) + 120.0;
        } else {
            hue = (1.0 / delta) * ((r - g) * 60.0) + 240.0;
        }
        return hue < 0 ? hue + 360.0 : hue;
    }
};

}  // namespace

RefColor refRGB2HSV(unsigned depth, const RefColor &rgb) {
    const Range range(depth, rgb);
    const double scale = scaleOf(depth), saturation = range.most == 0 ? 0.0 : range.delta / range.most;
    return {{store(depth, range.hue() * scale * DEGREE, -2147483648.5), store(depth, saturation * scale, -2147483648.5),
             store(depth, range.most, -2147483648.5)}};
}

RefColor refHSV2RGB(unsigned depth, const RefColor &hsv) {
    const bool wide = depth == MOX_DEPTH_32S;
    const uint32_t value = hsv.sample[2];
    if (hsv.sample[1] == (wide ? 0x80000000u : 0u)) return {{value, value, value}};
    double degrees =
        wide ? load(depth, hsv.sample[0]) * 8.38190317349087e-08 : load(depth, hsv.sample[0]) * 360.0 * partOf(depth);
    if (degrees >= 360.0) degrees = 0;
    // Not a floor: from half a sector on f goes beyond 1, and what comes of it with it.
    const double h = degrees * SIXTIETH;
    const int sector = static_cast<int>(h - 0.5);
    const double f = h - sector, s = load(depth, hsv.sample[1]) * partOf(depth), v = load(depth, value);
    auto result = [&](double x) { return wide ? refSaturated(depth, x + -2147483648.0 + -0.5) : refWrapped(depth, x); };
    const uint32_t p = result((1.0 - s) * v), q = result((1.0 - f * s) * v), t = result((1.0 - (1.0 - f) * s) * v);
    switch (sector) {
        case 0:
            return {{value, t, p}};
        case 1:
            return {{q, value, p}};
        case 2:
            return {{p, value, t}};
        case 3:
            return {{p, q, value}};
        case 4:
            return {{t, p, value}};
        default:
            return {{value, p, q}};
    }
}

RefColor refRGB2HLS(unsigned depth, const RefColor &rgb) {
    const Range range(depth, rgb);
    const double scale = scaleOf(depth), sum = range.most + range.least, lightness = 0.5 * sum;
    double saturation = 0;
    if (range.delta != 0) {
        saturation = lightness <= scale / 2 ? range.delta / sum : range.delta / (2 * scale - sum);
    }
    return {{store(depth, range.hue() * scale * DEGREE, -2147483648.0), store(depth, lightness, -2147483648.0),
             store(depth, saturation * scale, -2147483648.0)}};
}

RefColor refHLS2RGB(unsigned depth, const RefColor &hls) {
    const double scale = scaleOf(depth), part = partOf(depth);
    const double h = load(depth, hls.sample[0]) * 360.0 * part, l = load(depth, hls.sample[1]) * part,
                 s = load(depth, hls.sample[2]) * part;
    if (s == 0) return {{hls.sample[1], hls.sample[1], hls.sample[1]}};
    const double m2 = l <= 0.5 ? (s + 1.0) * l : s + l - s * l, m1 = 2.0 * l - m2;
    auto channel = [&](double x) {
        double value = m1;
        if (x < 60.0) {
            value = (m2 - m1) * x * SIXTIETH + m1;
        } else if (x < 180.0) {
            value = m2;
        } else if (x < 240.0) {
            value = (m2 - m1) * (240.0 - x) * SIXTIETH + m1;
        }
        return store(depth, value * scale, -2147483648.0);
    };
    return {{channel(h + 120.0 > 360.0 ? h + 120.0 - 360.0 : h + 120.0), channel(h),
             channel(h - 120.0 < 0 ? h - 120.0 + 360.0 : h - 120.0)}};
}

// The last entry is reached by the index 361 alone.
static const uint8_t yccTable[362] = {
    0,   1,   1,   2,   3,   4,   4,   5,   6,   6,   7,   8,   9,   9,   10,  11,  12,  12,  13,  14,  14,  15,  16,
    17,  17,  18,  19,  19,  20,  21,  22,  22,  23,  24,  25,  25,  26,  27,  27,  28,  29,  30,  30,  31,  32,  32,
    33,  34,  35,  35,  36,  37,  38,  38,  39,  40,  40,  41,  42,  43,  43,  44,  45,  45,  46,  47,  48,  48,  49,
    50,  51,  51,  52,  53,  53,  54,  55,  56,  56,  57,  58,  58,  59,  60,  61,  61,  62,  63,  64,  64,  65,  66,
    66,  67,  68,  69,  69,  70,  71,  71,  72,  73,  74,  74,  75,  76,  77,  77,  78,  79,  79,  80,  81,  82,  82,
    83,  84,  84,  85,  86,  87,  87,  88,  89,  90,  90,  91,  92,  92,  93,  94,  95,  95,  96,  97,  97,  98,  99,
    100, 100, 101, 102, 103, 103, 104, 105, 105, 106, 107, 108, 108, 109, 110, 110, 111, 112, 113, 113, 114, 115, 116,
    116, 117, 118, 118, 119, 120, 121, 121, 122, 123, 123, 124, 125, 126, 126, 127, 128, 129, 129, 130, 131, 131, 132,
    133, 134, 134, 135, 136, 136, 137, 138, 139, 139, 140, 141, 142, 142, 143, 144, 144, 145, 146, 147, 147, 148, 149,
    149, 150, 151, 152, 152, 153, 154, 155, 155, 156, 157, 157, 158, 159, 160, 160, 161, 162, 162, 163, 164, 165, 165,
    166, 167, 167, 168, 169, 170, 170, 171, 172, 173, 173, 174, 175, 175, 176, 177, 178, 178, 179, 180, 180, 181, 182,
    183, 183, 184, 185, 186, 186, 187, 188, 188, 189, 190, 191, 191, 192, 193, 193, 194, 195, 196, 196, 197, 198, 199,
    199, 200, 201, 201, 202, 203, 204, 204, 205, 206, 206, 207, 208, 209, 209, 210, 211, 212, 212, 213, 214, 214, 215,
    216, 217, 217, 218, 219, 219, 220, 221, 222, 222, 223, 224, 225, 225, 226, 227, 227, 228, 229, 230, 230, 231, 232,
    232, 233, 234, 235, 235, 236, 237, 238, 238, 239, 240, 240, 241, 242, 243, 243, 244, 245, 245, 246, 247, 248, 248,
    249, 250, 251, 251, 252, 253, 253, 254, 255, 255, 255, 255, 255, 255, 255, 255, 0};

RefColor refYCC2RGB(unsigned, const RefColor &ycc) {
    const int y = static_cast<int>(ycc.sample[0]), c1 = static_cast<int>(ycc.sample[1]),
              c2 = static_cast<int>(ycc.sample[2]);
    auto entry = [](int index) -> uint32_t { return yccTable[index < 0 ? 0 : index > 361 ? 360 : index]; };
    return {{entry((22256 * y + 29844 * c2 - 4088627) >> 14),
             entry((22256 * y - 7050 * c1 - 15190 * c2 + 3180809) >> 14),
             entry((22256 * y + 36338 * c1 - 5668739) >> 14)}};
}
