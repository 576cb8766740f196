// Hue, lightness and saturation, compiled once for each CPU level.
#include "color/ownbyteparts.h"
#include "color/ownhuebytes.h"

namespace OWN_LEVEL {
namespace {

struct FromRgb {
    template <class D>
    [[gnu::always_inline]] static void f(double r, double g, double b, typename D::Value *hls) {
        constexpr double full = ownFull<D>;
        const OwnHue<D> hue(r, g, b);
        const double sum = hue.max + hue.min, lightness = 0.5 * sum;
        const double most = lightness <= full / 2 ? sum : 2 * full - sum;
        const double saturation = hue.delta == 0 ? 0 : hue.delta / most;
        hls[0] = ownStoreHue<D>(hue.degrees(), -2147483648.0);
        hls[1] = ownStoreHue<D>(lightness, -2147483648.0);
        hls[2] = ownStoreHue<D>(saturation * full, -2147483648.0);
    }
};

#if defined(OWN_HAS_VECTORS)
// max + min, or as much as it is below twice the largest, if that is less.
template <int half>
[[gnu::always_inline]] inline OwnVector mostOf(const OwnHueBytes &hue) {
    const OwnVector sum = ownPlus(ownWords<half>(hue.max), ownWords<half>(hue.min));
    return OWN_VECTOR(min, epi16)(sum, ownMinus(ownSplat<Own16U>(510), sum));
}
#endif

void fromRgbBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const auto at = [&](int row) { return static_cast<char *>(rows[row]) + i; };
    for (; i + sizeof(OwnVector) <= n; i += sizeof(OwnVector)) {
        OwnHueBytes hue(ownLoad(at(0)), ownLoad(at(1)), ownLoad(at(2)));
        hue.compute<0>(mostOf<0>(hue));
        hue.compute<1>(mostOf<1>(hue));
        hue.finish();
        // The mean, which the instruction rounds up.
        const OwnVector odd = ownAnd(ownXor(hue.max, hue.min), ownSplat<Own8U>(1));
        ownStore(at(3), hue.hue);
        ownStore(at(4), OWN_VECTOR(sub, epi8)(OWN_VECTOR(avg, epu8)(hue.max, hue.min), odd));
        ownStore(at(5), hue.saturation);
    }
#endif
    if (i < n) ownPixelsFrom<Own8U, FromRgb>(rows, i, n, operation);
}

struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(typename D::Value h, typename D::Value l, typename D::Value s,
                                         typename D::Value *rgb) {
        const double hue = ownCount<D>(h) * 360.0 * ownUnit<D>;
        const double lightness = ownFraction<D>(l), saturation = ownFraction<D>(s);
        const double m2 =
            lightness <= 0.5 ? (saturation + 1.0) * lightness : saturation + lightness - saturation * lightness;
        const double m1 = 2.0 * lightness - m2;
        const double red = hue + 120.0, blue = hue - 120.0;
        const bool gray = saturation == 0;
        rgb[0] = gray ? l : channel<D>(red > 360.0 ? red - 360.0 : red, m1, m2);
        rgb[1] = gray ? l : channel<D>(hue, m1, m2);
        rgb[2] = gray ? l : channel<D>(blue < 0 ? blue + 360.0 : blue, m1, m2);
    }

    template <class D>
    [[gnu::always_inline]] static typename D::Value channel(double x, double m1, double m2) {
        const double slope = x < 60.0 ? x : 240.0 - x;
        const double between = (m2 - m1) * slope * 0.016666666666666666 + m1;
        const double value = x < 60.0 ? between : x < 180.0 ? m2 : x < 240.0 ? between : m1;
        return ownStoreHue<D>(value * ownFull<D>, -2147483648.0);
    }
};

#if defined(OWN_HAS_VECTORS)

// Of bytes everything about the hue is a table for each channel: how far it is from m1 to m2, of 60; -1 where it is m2
// itself.
struct Slopes {
    double of[3][256];
};
constexpr double slopeOf(double x) {
    return x < 60.0 ? x : x < 180.0 ? -1.0 : x < 240.0 ? 240.0 - x : 0.0;
}
constexpr Slopes makeSlopes() {
    Slopes slopes = {};
    for (int i = 0; i < 256; ++i) {
        const double hue = i * 360.0 * ownUnit<Own8U>, red = hue + 120.0, blue = hue - 120.0;
        slopes.of[0][i] = slopeOf(red > 360.0 ? red - 360.0 : red);
        slopes.of[1][i] = slopeOf(hue);
        slopes.of[2][i] = slopeOf(blue < 0 ? blue + 360.0 : blue);
    }
    return slopes;
}
constexpr Slopes SLOPES = makeSlopes();

// The channels of as many pixels as a vector has bytes.
[[gnu::always_inline]] inline void spread(const uint8_t *h, const uint8_t *l, const uint8_t *s,
                                          uint8_t (*rgb)[sizeof(OwnVector)]) {
    constexpr double unit = ownUnit<Own8U>, sixtieth = 0.016666666666666666;
#if defined(__AVX2__)
    const __m256d units = _mm256_set1_pd(unit), half = _mm256_set1_pd(0.5), one = _mm256_set1_pd(1.0);
    for (size_t i = 0; i < sizeof(OwnVector); i += 4 * OWN_GROUPS) {
        __m256d channels[3][OWN_GROUPS];
        for (size_t k = 0; k < OWN_GROUPS; ++k) {
            const size_t at = i + 4 * k;
            const __m256d lightness = ownBytesToReals(l + at) * units, saturation = ownBytesToReals(s + at) * units;
            const __m256d dark = (saturation + one) * lightness;
            __m256d light = saturation + lightness;
            light = _mm256_sub_pd(light, saturation * lightness);
            const __m256d m2 = _mm256_blendv_pd(light, dark, _mm256_cmp_pd(lightness, half, _CMP_LE_OQ));
            const __m256d m1 = _mm256_sub_pd(lightness + lightness, m2), difference = _mm256_sub_pd(m2, m1);
            for (int c = 0; c < 3; ++c) {
                const __m256d slope = ownLookUp(SLOPES.of[c], h + at);
                const __m256d between = difference * slope * _mm256_set1_pd(sixtieth) + m1;
                channels[c][k] = _mm256_blendv_pd(between, m2, slope) * _mm256_set1_pd(255.0);
            }
        }
        for (int c = 0; c < 3; ++c)
            ownStoreTruncated(channels[c], rgb[c] + i);
    }
#else
    for (size_t i = 0; i < sizeof(OwnVector); ++i) {
        const double lightness = l[i] * unit, saturation = s[i] * unit;
        const double dark = (saturation + 1.0) * lightness, light = saturation + lightness - saturation * lightness;
        const double m2 = l[i] < 128 ? dark : light, m1 = lightness + lightness - m2;
        for (int c = 0; c < 3; ++c) {
            const double slope = SLOPES.of[c][h[i]], between = (m2 - m1) * slope * sixtieth + m1;
            rgb[c][i] = static_cast<uint8_t>(static_cast<int>((slope < 0 ? m2 : between) * 255.0));
        }
    }
#endif
}

#endif

void toRgbBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    constexpr size_t width = sizeof(OwnVector);
    const auto at = [&](int row) { return static_cast<uint8_t *>(rows[row]) + i; };
    for (; i + width <= n; i += width) {
        uint8_t rgb[3][width];
        spread(at(0), at(1), at(2), rgb);
        const auto load = [](const uint8_t *bytes) { return ownLoad(reinterpret_cast<const char *>(bytes)); };
        const OwnVector gray = OWN_VECTOR(cmpeq, epi8)(load(at(2)), ownZero()), lightness = load(at(1));
        for (int c = 0; c < 3; ++c)
            ownStore(reinterpret_cast<char *>(at(3 + c)), ownChoose(gray, lightness, load(rgb[c])));
    }
#endif
    if (i < n) ownPixelsFrom<Own8U, ToRgb>(rows, i, n, operation);
}

}  // namespace

extern const OwnModelRows hlsRows;
const OwnModelRows hlsRows = {
    {nullptr, fromRgbBytes, nullptr, ownPixels<Own16U, FromRgb>, nullptr, ownPixels<Own32S, FromRgb>},
    {nullptr, toRgbBytes, nullptr, ownPixels<Own16U, ToRgb>, nullptr, ownPixels<Own32S, ToRgb>},
};

}  // namespace OWN_LEVEL
