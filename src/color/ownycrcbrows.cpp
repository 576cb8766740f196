// Y, Cb and Cr, compiled once for each CPU level.
#include "color/ownpixels.h"

namespace OWN_LEVEL {
namespace {

struct FromRgb8U {
    template <class D>
    [[gnu::always_inline]] static void f(int r, int g, int b, uint8_t *result) {
        const int y = (4898 * r + 9617 * g + 1867 * b + 8192) >> 14;
        result[0] = static_cast<uint8_t>(y);
        result[1] = static_cast<uint8_t>(((b - y) * 9246 + 0x200000) >> 14);
        result[2] = static_cast<uint8_t>(((r - y) * 11686 + 0x200000) >> 14);
    }
};

struct FromRgb16U {
    template <class D>
    [[gnu::always_inline]] static void f(int r, int g, int b, uint16_t *result) {
        result[0] = static_cast<uint16_t>((4899 * r + 9617 * g + 1868 * b + 8192) >> 14);
        result[1] = static_cast<uint16_t>((-2765 * r - 5427 * g + 8192 * b + 0x20000000) >> 14);
        result[2] = static_cast<uint16_t>((8192 * r - 6860 * g - 1332 * b + 0x20000000) >> 14);
    }
};

struct FromRgb32S {
    template <class D>
    [[gnu::always_inline]] static void f(double r, double g, double b, int32_t *result) {
        result[0] = ownTruncate(0.299 * r + 0.587 * g + 0.114 * b);
        result[1] = ownTruncate(-0.1687359 * r - 0.331264 * g + 0.5 * b);
        result[2] = ownTruncate(0.5 * r - 0.41868759 * g - 0.08131241 * b);
    }
};

struct FromRgb32F {
    template <class D>
    [[gnu::always_inline]] static void f(float r, float g, float b, float *result) {
        result[0] = 0.299f * r + 0.587f * g + 0.114f * b;
        result[1] = -0.1687359f * r - 0.331264f * g + 0.5f * b + 0.5f;
        result[2] = 0.5f * r - 0.41868759f * g - 0.08131241f * b + 0.5f;
    }
};

template <int red, int green, int blue>
struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int y, int cb, int cr, typename D::Value *rgb) {
        rgb[0] = ownLimit<D>(y + ((22970 * cr - red) >> 14));
        rgb[1] = ownLimit<D>(y - ((5638 * cb + 11700 * cr - green) >> 14));
        rgb[2] = ownLimit<D>(y + ((29032 * cb - blue) >> 14));
    }
};
using ToRgb8U = ToRgb<2928675, 2210595, 3701580>;
using ToRgb16U = ToRgb<752669475, 568122915, 951306060>;

struct ToRgb32S {
    template <class D>
    [[gnu::always_inline]] static void f(double y, double cb, double cr, int32_t *rgb) {
        rgb[0] = ownTruncate(y + 1.4019999991573 * cr);
        rgb[1] = ownTruncate(y - 0.34413629776123 * cb - 0.71413631643017 * cr);
        rgb[2] = ownTruncate(y + 1.7720000660742 * cb);
    }
};

[[gnu::always_inline]] inline float atLeastZero(float value) {
    return value < 0 ? 0 : value;
}

struct ToRgb32F {
    template <class D>
    [[gnu::always_inline]] static void f(float y, float cb, float cr, float *rgb) {
        rgb[0] = atLeastZero(y + 1.402f * cr - 0.701f);
        rgb[1] = atLeastZero(y - 0.3441363f * cb - 0.7141363f * cr + 0.5291363f);
        rgb[2] = atLeastZero(y + 1.772f * cb - 0.886f);
    }
};

}  // namespace

extern const OwnModelRows yCrCbRows;
const OwnModelRows yCrCbRows = {
    {nullptr, ownPixels<Own8U, FromRgb8U>, nullptr, ownPixels<Own16U, FromRgb16U>, nullptr,
     ownPixels<Own32S, FromRgb32S>, ownPixels<Own32F, FromRgb32F>},
    {nullptr, ownPixels<Own8U, ToRgb8U>, nullptr, ownPixels<Own16U, ToRgb16U>, nullptr, ownPixels<Own32S, ToRgb32S>,
     ownPixels<Own32F, ToRgb32F>},
};

}  // namespace OWN_LEVEL
