// Y, Cb and Cr, compiled once for each CPU level.
#include "color/ownwords.h"

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
#if defined(OWN_HAS_VECTORS)
    // A product's upper half of four times the difference is the product shifted.
    [[gnu::always_inline]] static void words(OwnVector r, OwnVector g, OwnVector b, OwnVector *result) {
        const auto part = [](OwnVector difference, int factor) {
            const OwnVector times = ownSplat<Own16S>(static_cast<uint32_t>(factor));
            const OwnVector value = ownPlus(OWN_VECTOR(mulhi, epi16)(ownShiftLeft(difference, 2), times), 128);
            return ownAnd(value, ownSplat<Own16U>(255));
        };
        result[0] = ownWeigh<4898, 9617, 1867, 8192, 14>(ownPair(r, g, b));
        result[1] = part(ownMinus(b, result[0]), 9246);
        result[2] = part(ownMinus(r, result[0]), 11686);
    }
#endif
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
using ToRgb16U = ToRgb<752669475, 568122915, 951306060>;

// A constant is a multiple of what the shift divides by, and a rest.
struct ToRgb8U : ToRgb<2928675, 2210595, 3701580> {
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] static void words(OwnVector y, OwnVector cb, OwnVector cr, OwnVector *rgb) {
        const OwnPairs pairs = ownPair(cb, cr, ownZero());
        rgb[0] = ownPlus(y, ownPlus(ownWeigh<0, 22970, 0, 4061, 14>(pairs), -179));
        rgb[1] = ownMinus(y, ownPlus(ownWeigh<5638, 11700, 0, 1245, 14>(pairs), -135));
        rgb[2] = ownPlus(y, ownPlus(ownWeigh<29032, 0, 0, 1204, 14>(pairs), -226));
    }
#endif
};

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
    {nullptr, ownWordPixels<FromRgb8U>, nullptr, ownPixels<Own16U, FromRgb16U>, nullptr, ownPixels<Own32S, FromRgb32S>,
     ownPixels<Own32F, FromRgb32F>},
    {nullptr, ownWordPixels<ToRgb8U>, nullptr, ownPixels<Own16U, ToRgb16U>, nullptr, ownPixels<Own32S, ToRgb32S>,
     ownPixels<Own32F, ToRgb32F>},
};

}  // namespace OWN_LEVEL
