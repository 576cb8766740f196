// Hue, lightness and saturation, compiled once for each CPU level.
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

}  // namespace

extern const OwnModelRows hlsRows;
const OwnModelRows hlsRows = {
    {nullptr, fromRgbBytes, nullptr, ownPixels<Own16U, FromRgb>, nullptr, ownPixels<Own32S, FromRgb>},
    {nullptr, ownPixels<Own8U, ToRgb>, nullptr, ownPixels<Own16U, ToRgb>, nullptr, ownPixels<Own32S, ToRgb>},
};

}  // namespace OWN_LEVEL
