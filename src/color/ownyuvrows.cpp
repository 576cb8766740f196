// Y and its differences U and V, compiled once for each CPU level.
#include "color/ownwide.h"
#include "color/ownwords.h"

namespace OWN_LEVEL {
namespace {

struct FromRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int r, int g, int b, typename D::Value *yuv) {
        constexpr int o = D::high / 2;
        const auto unsignedR = static_cast<unsigned>(r), unsignedG = static_cast<unsigned>(g);
        const unsigned y = 9798u * unsignedR + 19235u * unsignedG + 3736u * static_cast<unsigned>(b);
        yuv[0] = ownLimit<D>(static_cast<int>(y >> 15));
        yuv[1] = ownLimit<D>(((-4784 * r - 9437 * g + 14221 * b) >> 15) + o);
        yuv[2] = ownLimit<D>(((20218 * r - 16941 * g - 3277 * b) >> 15) + o);
    }
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] static void words(OwnVector r, OwnVector g, OwnVector b, OwnVector *yuv) {
        const OwnPairs pairs = ownPair(r, g, b);
        yuv[0] = ownWeigh<9798, 19235, 3736, 0, 15>(pairs);
        yuv[1] = ownPlus(ownWeigh<-4784, -9437, 14221, 0, 15>(pairs), 127);
        yuv[2] = ownPlus(ownWeigh<20218, -16941, -3277, 0, 15>(pairs), 127);
    }
#endif
};

struct FromRgb32S {
    template <class D>
    [[gnu::always_inline]] static void f(double r, double g, double b, int32_t *yuv) {
        yuv[0] = ownTruncate(0.299 * r + 0.587 * g + 0.114 * b);
        yuv[1] = ownTruncate(-0.146 * r - 0.288 * g + 0.434 * b);
        yuv[2] = ownTruncate(0.617 * r - 0.517 * g - 0.1 * b);
    }
};

struct FromRgb32F {
    template <class D>
    [[gnu::always_inline]] static void f(float r, float g, float b, float *yuv) {
        const double wideR = r, wideG = g, wideB = b;
        yuv[0] = 0.299f * r + 0.587f * g + 0.114f * b;
        yuv[1] = static_cast<float>(-0.146 * wideR - 0.288 * wideG + 0.434 * wideB);
        yuv[2] = static_cast<float>(0.617 * wideR - 0.517 * wideG - 0.1 * wideB);
    }
};

// Where a product is beyond 32 bits, the factor's multiple of 32768 stands outside of the shift.
template <class D>
[[gnu::always_inline]] inline void toRgb(int y, int u, int v, typename D::Value *rgb) {
    rgb[0] = ownLimit<D>(y + v + ((-31 * u + 4454 * v) >> 15));
    rgb[1] = ownLimit<D>(y + ((-12974 * u - 18949 * v) >> 15));
    rgb[2] = ownLimit<D>(y + 2 * u + ((1347 * u - 53 * v) >> 15));
}

#if defined(OWN_HAS_VECTORS)
[[gnu::always_inline]] inline void wordsToRgb(OwnVector y, OwnVector u, OwnVector v, OwnVector *rgb) {
    const OwnPairs pairs = ownPair(u, v, ownZero());
    rgb[0] = ownPlus(ownPlus(y, v), ownWeigh<-31, 4454, 0, 0, 15>(pairs));
    rgb[1] = ownPlus(y, ownWeigh<-12974, -18949, 0, 0, 15>(pairs));
    rgb[2] = ownPlus(ownPlus(y, ownPlus(u, u)), ownWeigh<1347, -53, 0, 0, 15>(pairs));
}
#endif

struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int y, int u, int v, typename D::Value *rgb) {
        toRgb<D>(y, u - D::high / 2, v - D::high / 2, rgb);
    }
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] static void words(OwnVector y, OwnVector u, OwnVector v, OwnVector *rgb) {
        wordsToRgb(y, ownPlus(u, -127), ownPlus(v, -127), rgb);
    }
#endif
};

struct ToRgb32S {
    template <class D>
    [[gnu::always_inline]] static void f(double y, double u, double v, int32_t *rgb) {
        rgb[0] = ownTruncate(y + 1.135920183 * v);
        rgb[1] = ownTruncate(y - 0.3959190767 * u - 0.5782887929 * v);
        rgb[2] = ownTruncate(y + 2.041101518 * u);
    }
};

struct ToRgb32F {
    template <class D>
    [[gnu::always_inline]] static void f(double y, double u, double v, float *rgb) {
        rgb[0] = static_cast<float>(y + 1.135920183 * v);
        rgb[1] = static_cast<float>(y - 0.3959190767 * u - 0.5782887929 * v);
        rgb[2] = static_cast<float>(y + 2.041101518 * u);
    }
};

// Between pixels and planes of bytes: the differences are those of Y itself.
struct MixedFromRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int r, int g, int b, uint8_t *yuv) {
        const int y = (9798 * r + 19235 * g + 3736 * b) >> 15;
        yuv[0] = ownLimit<D>(y);
        yuv[1] = ownLimit<D>(((16121 * (b - y)) >> 15) + 128);
        yuv[2] = ownLimit<D>(((28737 * (r - y)) >> 15) + 128);
    }
#if defined(OWN_HAS_VECTORS)
    // A product's upper half of twice the difference is the product shifted.
    [[gnu::always_inline]] static void words(OwnVector r, OwnVector g, OwnVector b, OwnVector *yuv) {
        const auto part = [](OwnVector difference, int factor) {
            const OwnVector times = ownSplat<Own16S>(static_cast<uint32_t>(factor));
            return ownPlus(OWN_VECTOR(mulhi, epi16)(ownPlus(difference, difference), times), 128);
        };
        yuv[0] = ownWeigh<9798, 19235, 3736, 0, 15>(ownPair(r, g, b));
        yuv[1] = part(ownMinus(b, yuv[0]), 16121);
        yuv[2] = part(ownMinus(r, yuv[0]), 28737);
    }
#endif
};
struct MixedToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(int y, int u, int v, uint8_t *rgb) {
        toRgb<D>(y, u - 128, v - 128, rgb);
    }
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] static void words(OwnVector y, OwnVector u, OwnVector v, OwnVector *rgb) {
        wordsToRgb(y, ownPlus(u, -128), ownPlus(v, -128), rgb);
    }
#endif
};

#if defined(OWN_HAS_VECTORS)

void fromFloats(void *const *rows, size_t n, const void *operation) {
    constexpr size_t lanes = sizeof(OwnFloats) / 4;
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const OwnFloats r = ownFloatsAt(rows[0], i), g = ownFloatsAt(rows[1], i), b = ownFloatsAt(rows[2], i);
        const OwnWide wideR = ownWideAt(rows[0], i), wideG = ownWideAt(rows[1], i), wideB = ownWideAt(rows[2], i);
        OwnWide u, v;
        OWN_BOTH {
            u.part[k] = -0.146 * wideR.part[k] - 0.288 * wideG.part[k] + 0.434 * wideB.part[k];
            v.part[k] = 0.617 * wideR.part[k] - 0.517 * wideG.part[k] - 0.1 * wideB.part[k];
        }
        ownPutFloats(rows[3], i, 0.299f * r + 0.587f * g + 0.114f * b);
        ownPutNarrow(rows[4], i, u);
        ownPutNarrow(rows[5], i, v);
    }
    if (i < n) ownPixelsFrom<Own32F, FromRgb32F>(rows, i, n, operation);
}

void toFloats(void *const *rows, size_t n, const void *operation) {
    constexpr size_t lanes = sizeof(OwnFloats) / 4;
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const OwnWide y = ownWideAt(rows[0], i), u = ownWideAt(rows[1], i), v = ownWideAt(rows[2], i);
        OwnWide r, g, b;
        OWN_BOTH {
            r.part[k] = y.part[k] + 1.135920183 * v.part[k];
            g.part[k] = y.part[k] - 0.3959190767 * u.part[k] - 0.5782887929 * v.part[k];
            b.part[k] = y.part[k] + 2.041101518 * u.part[k];
        }
        ownPutNarrow(rows[3], i, r);
        ownPutNarrow(rows[4], i, g);
        ownPutNarrow(rows[5], i, b);
    }
    if (i < n) ownPixelsFrom<Own32F, ToRgb32F>(rows, i, n, operation);
}

#else

constexpr OwnPlaneKernel fromFloats = ownPixels<Own32F, FromRgb32F>, toFloats = ownPixels<Own32F, ToRgb32F>;

#endif

}  // namespace

extern const OwnModelRows yuvRows, mixedYuvRows;
const OwnModelRows yuvRows = {
    {nullptr, ownWordPixels<FromRgb>, nullptr, ownPixels<Own16U, FromRgb>, nullptr, ownPixels<Own32S, FromRgb32S>,
     fromFloats},
    {nullptr, ownWordPixels<ToRgb>, nullptr, ownPixels<Own16U, ToRgb>, nullptr, ownPixels<Own32S, ToRgb32S>, toFloats},
};
const OwnModelRows mixedYuvRows = {
    {nullptr, ownWordPixels<MixedFromRgb>},
    {nullptr, ownWordPixels<MixedToRgb>},
};

}  // namespace OWN_LEVEL
