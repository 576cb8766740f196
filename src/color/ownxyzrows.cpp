// CIE XYZ, compiled once for each CPU level.
#include "color/ownwords.h"

namespace OWN_LEVEL {
namespace {

struct FromRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int r, int g, int b, typename D::Value *xyz) {
        xyz[0] = static_cast<typename D::Value>((6758 * r + 5859 * g + 2956 * b + 8192) >> 14);
        xyz[1] = static_cast<typename D::Value>((3484 * r + 11717 * g + 1182 * b + 8192) >> 14);
        xyz[2] = ownLimit<D>((317 * r + 1953 * g + 15569 * b + 8192) >> 14);
    }
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] static void words(OwnVector r, OwnVector g, OwnVector b, OwnVector *xyz) {
        const OwnPairs pairs = ownPair(r, g, b);
        xyz[0] = ownWeigh<6758, 5859, 2956, 8192, 14>(pairs);
        xyz[1] = ownWeigh<3484, 11717, 1182, 8192, 14>(pairs);
        xyz[2] = ownWeigh<317, 1953, 15569, 8192, 14>(pairs);
    }
#endif
};

struct FromRgb32S {
    template <class D>
    [[gnu::always_inline]] static void f(double r, double g, double b, int32_t *xyz) {
        xyz[0] = ownTruncate(0.412453 * r + 0.35758 * g + 0.180423 * b - 106394929.85651207);
        xyz[1] = ownTruncate(0.212671 * r + 0.71516 * g + 0.072169 * b);
        xyz[2] = ownTruncate(0.019334 * r + 0.119193 * g + 0.950227 * b + 190597763.694592);
    }
};

struct FromRgb32F {
    template <class D>
    [[gnu::always_inline]] static void f(float r, float g, float b, float *xyz) {
        xyz[0] = 0.412453f * r + 0.35758f * g + 0.180423f * b;
        xyz[1] = 0.212671f * r + 0.71516f * g + 0.072169f * b;
        xyz[2] = 0.019334f * r + 0.119193f * g + 0.950227f * b;
    }
};

// 16 bits lose their low byte, and 8 bits of the shift in its place.
struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int x, int y, int z, typename D::Value *rgb) {
        constexpr int dropped = D::high == 255 ? 0 : 8;
        x >>= dropped;
        y >>= dropped;
        z >>= dropped;
        rgb[0] = ownLimit<D>((53092 * x - 25185 * y - 8168 * z + 8192) >> (14 - dropped));
        rgb[1] = ownLimit<D>((-15880 * x + 30736 * y + 681 * z + 8192) >> (14 - dropped));
        rgb[2] = ownLimit<D>((912 * x - 3343 * y + 17323 * z + 8192) >> (14 - dropped));
    }
#if defined(OWN_HAS_VECTORS)
    // 53092 is 3 x 16384 + 3940, and the multiple stands outside of the shift.
    [[gnu::always_inline]] static void words(OwnVector x, OwnVector y, OwnVector z, OwnVector *rgb) {
        const OwnPairs pairs = ownPair(x, y, z);
        rgb[0] = ownPlus(ownPlus(x, ownPlus(x, x)), ownWeigh<3940, -25185, -8168, 8192, 14>(pairs));
        rgb[1] = ownWeigh<-15880, 30736, 681, 8192, 14>(pairs);
        rgb[2] = ownWeigh<912, -3343, 17323, 8192, 14>(pairs);
    }
#endif
};

struct ToRgb32S {
    template <class D>
    [[gnu::always_inline]] static void f(double x, double y, double z, int32_t *rgb) {
        rgb[0] = ownTruncate(3.2404813432005 * x - 1.5371515162713 * y - 0.49853632616889 * z + 439790694.0994415);
        rgb[1] = ownTruncate(-0.96925494999657 * x + 1.8759900014899 * y + 0.041555926558293 * z - 111044279.08821273);
        rgb[2] = ownTruncate(0.055646639135177 * x - 0.20404133836651 * y + 1.0573110696453 * z - 195600605.13649487);
    }
};

struct ToRgb32F {
    template <class D>
    [[gnu::always_inline]] static void f(float x, float y, float z, float *rgb) {
        rgb[0] = 3.240479f * x - 1.53715f * y - 0.498535f * z;
        rgb[1] = -0.969256f * x + 1.875992f * y + 0.041556f * z;
        rgb[2] = 0.055648f * x - 0.204043f * y + 1.057311f * z;
    }
};

}  // namespace

extern const OwnModelRows xyzRows;
const OwnModelRows xyzRows = {
    {nullptr, ownWordPixels<FromRgb>, nullptr, ownPixels<Own16U, FromRgb>, nullptr, ownPixels<Own32S, FromRgb32S>,
     ownPixels<Own32F, FromRgb32F>},
    {nullptr, ownWordPixels<ToRgb>, nullptr, ownPixels<Own16U, ToRgb>, nullptr, ownPixels<Own32S, ToRgb32S>,
     ownPixels<Own32F, ToRgb32F>},
};

}  // namespace OWN_LEVEL
