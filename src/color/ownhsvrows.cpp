// Hue, saturation and value, compiled once for each CPU level.
#include "color/ownhuebytes.h"

namespace OWN_LEVEL {
namespace {

struct FromRgb {
    template <class D>
    [[gnu::always_inline]] static void f(double r, double g, double b, typename D::Value *hsv) {
        const OwnHue<D> hue(r, g, b);
        const double saturation = hue.delta == 0 ? 0 : hue.delta / hue.max;
        hsv[0] = ownStoreHue<D>(hue.degrees(), -2147483648.5);
        hsv[1] = ownStoreHue<D>(saturation * ownFull<D>, -2147483648.5);
        hsv[2] = ownStoreHue<D>(hue.max, -2147483648.5);
    }
};

void fromRgbBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const auto at = [&](int row) { return static_cast<char *>(rows[row]) + i; };
    for (; i + sizeof(OwnVector) <= n; i += sizeof(OwnVector)) {
        OwnHueBytes hue(ownLoad(at(0)), ownLoad(at(1)), ownLoad(at(2)));
        hue.compute<0>(ownWords<0>(hue.max));
        hue.compute<1>(ownWords<1>(hue.max));
        hue.finish();
        ownStore(at(3), hue.hue);
        ownStore(at(4), hue.saturation);
        ownStore(at(5), hue.max);
    }
#endif
    if (i < n) ownPixelsFrom<Own8U, FromRgb>(rows, i, n, operation);
}

struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(typename D::Value h, typename D::Value s, typename D::Value v,
                                         typename D::Value *rgb) {
        const double saturation = ownFraction<D>(s), value = ownCount<D>(v);
        double degrees = sizeof(typename D::Value) == 4 ? ownCount<D>(h) * 8.38190317349087e-08
                                                        : ownCount<D>(h) * 360.0 * ownUnit<D>;
        degrees = degrees >= 360.0 ? 0.0 : degrees;
        const double sixths = degrees * 0.016666666666666666;
        const int sector = static_cast<int>(sixths - 0.5);
        const double fraction = sixths - sector;
        const typename D::Value p = store<D>((1.0 - saturation) * value),
                                q = store<D>((1.0 - fraction * saturation) * value),
                                t = store<D>((1.0 - (1.0 - fraction) * saturation) * value);
        const bool gray = s == (sizeof(typename D::Value) == 4 ? INT32_MIN : 0);
        rgb[0] = gray || sector == 0 || sector >= 5 ? v : sector == 1 ? q : sector == 4 ? t : p;
        rgb[1] = gray || sector == 1 || sector == 2 ? v : sector == 0 ? t : sector == 3 ? q : p;
        rgb[2] = gray || sector == 3 || sector == 4 ? v : sector == 2 ? t : sector >= 5 ? q : p;
    }

    template <class D>
    [[gnu::always_inline]] static typename D::Value store(double value) {
        if constexpr (sizeof(typename D::Value) == 4) return ownTruncate(value - 2147483648.0 - 0.5);
        return static_cast<typename D::Value>(static_cast<int>(value));
    }
};

}  // namespace

extern const OwnModelRows hsvRows;
const OwnModelRows hsvRows = {
    {nullptr, fromRgbBytes, nullptr, ownPixels<Own16U, FromRgb>, nullptr, ownPixels<Own32S, FromRgb>},
    {nullptr, ownPixels<Own8U, ToRgb>, nullptr, ownPixels<Own16U, ToRgb>, nullptr, ownPixels<Own32S, ToRgb>},
};

}  // namespace OWN_LEVEL
