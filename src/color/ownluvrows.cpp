// CIE L*u*v*, compiled once for each CPU level.
#include "color/ownwide.h"

namespace OWN_LEVEL {
namespace {

constexpr double DELTA = 1.0 / 100663296.0;
constexpr float BRIGHT = static_cast<double>(8.7f) > 8.7 ? 8.7f : 8.700001f;

// x to the power of 0.3333333432674408, which is 1/3 + DELTA, for x from 0.01 on: x^(1/3) exp(DELTA ln x). Only
// additions, products and conversions, so that every system has the same bits. The error is below two units of the last
// place.
//
// With r near x^(-1/3) and e = 1 - x r^3, the cube root is x r^2 (1 - e)^(-2/3), of which four terms of the series are
// enough for an e below 1e-4. DELTA is so small that ln x may have an error of 3e-8.
[[gnu::always_inline]] inline double rootOf(float x) {
    int32_t bits;
    __builtin_memcpy(&bits, &x, 4);

    const auto guess = static_cast<int32_t>(1419899392.0f - static_cast<float>(bits) * 0.33333334f);
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

struct ToRgb {
    template <class D>
    [[gnu::always_inline]] static void f(float l_, float u_, float v_, float *rgb) {
        const bool bright = l_ >= BRIGHT;  // the first float above 8.7
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

#if defined(OWN_HAS_VECTORS)

// Lane by lane: what might be rounded either way.
[[gnu::noinline]] OwnFloats rootsOneByOne(OwnFloats x) {
    float lanes[sizeof x / sizeof(float)];
    __builtin_memcpy(lanes, &x, sizeof x);
    for (float &lane : lanes)
        lane = static_cast<float>(rootOf(lane));
    __builtin_memcpy(&x, lanes, sizeof x);
    return x;
}

// Whether, in any lane, the bits that a float does not have are within 2^14 of half of its last place.
[[gnu::always_inline]] inline bool nearMiddle(const OwnWide &v) {
#if defined(__AVX2__)
    const __m256 low = _mm256_shuffle_ps(_mm256_castpd_ps(v.part[0]), _mm256_castpd_ps(v.part[1]), 0x88);
#else
    const __m128 low = _mm_shuffle_ps(_mm_castpd_ps(v.part[0]), _mm_castpd_ps(v.part[1]), 0x88);
#endif
    const OwnVector bits = reinterpret_cast<OwnVector>(low);
    const OwnVector moved = OWN_VECTOR(add, epi32)(bits, ownSplat<Own32S>((1 << 28) + (1 << 14)));
    const OwnVector apart = ownAnd(moved, ownSplat<Own32S>((1 << 29) - (1 << 15)));
    return OWN_VECTOR(movemask, epi8)(OWN_VECTOR(cmpeq, epi32)(apart, ownZero())) != 0;
}

// The floats that rootOf gives, by fewer terms: a logarithm of floats with an error of 1.1e-5, two terms of the series,
// and no square of u. That is below 2^14 units of a double's last place; where as much would decide on the rounding,
// rootOf is asked. Two vectors go side by side, as each step waits for the one before.
[[gnu::always_inline]] inline void findRoots(const OwnFloats *x, OwnFloats *roots) {
    OwnFloats r[2], logarithm[2];
    OWN_BOTH {
        const OwnInts bits = reinterpret_cast<OwnInts>(x[k]);
        r[k] = reinterpret_cast<OwnFloats>(ownToInts(1419899392.0f - ownToFloats(bits) * 0.33333334f));
    }
    for (int i = 0; i < 2; ++i) {
        OWN_BOTH r[k] = r[k] * (1.3333334f - 0.33333334f * (x[k] * r[k] * r[k] * r[k]));
    }
    OWN_BOTH {
        const OwnInts from = reinterpret_cast<OwnInts>(x[k]) - 0x3F3504F3, exponent = from >> 23;
        const OwnFloats t = reinterpret_cast<OwnFloats>((from & 0x7FFFFF) + 0x3F3504F3) - 1.0f;
        OwnFloats p = OwnFloats{} + 1.7513080e-1f;
        p = p * t - 2.7349889e-1f;
        p = p * t + 3.3734515e-1f;
        p = p * t - 4.9923357e-1f;
        p = p * t + 9.9991888e-1f;
        logarithm[k] = (ownToFloats(exponent) * 0.6931472f + p * t) * static_cast<float>(DELTA);
    }
    OwnWide result[2];
    for (int i = 0; i < 2; ++i) {
        const OwnWide u = ownWiden(logarithm[i]), wide = ownWiden(r[i]), wideX = ownWiden(x[i]);
        OWN_BOTH {
            const OwnReal root = wideX.part[k] * (wide.part[k] * wide.part[k]);
            const OwnReal e = 1.0 - root * wide.part[k];
            const OwnReal cube = root + root * (e * (2.0 / 3 + e * (5.0 / 9)));
            result[i].part[k] = cube + cube * u.part[k];
        }
    }
    OWN_BOTH roots[k] = __builtin_expect(nearMiddle(result[k]), 0) ? rootsOneByOne(x[k]) : ownNarrow(result[k]);
}

// x / 3 to the last bit: both differences are exact, and so no quotient comes near the middle of two numbers. What is
// infinite stays.
[[gnu::always_inline]] inline OwnReal third(OwnReal x) {
    const OwnReal q = x * 0.3333333333333333;
    const OwnReal rest = x - 2.0 * q - q;
    return q + (rest == rest ? rest : OwnReal{}) * 0.3333333333333333;
}

void fromRgb(void *const *rows, size_t n, const void *operation) {
    constexpr size_t lanes = sizeof(OwnFloats) / 4;
    size_t i = 0;
    for (; i + 2 * lanes <= n; i += 2 * lanes) {
        OwnFloats x[2], y[2], z[2], known[2], root[2];
        OWN_BOTH {
            const size_t at = i + static_cast<size_t>(k) * lanes;
            const OwnFloats r = ownFloatsAt(rows[0], at), g = ownFloatsAt(rows[1], at), b = ownFloatsAt(rows[2], at);
            x[k] = 0.412453f * r + 0.35758f * g + 0.180423f * b;
            y[k] = 0.212671f * r + 0.71516f * g + 0.072169f * b;
            z[k] = 0.019334f * r + 0.119193f * g + 0.950227f * b;
            known[k] = ((y[k] > 0.01f) & (y[k] <= 3.4028235e38f)) != 0 ? y[k] : OwnFloats{} + 1.0f;
        }
        findRoots(known, root);
        OWN_BOTH {
            const size_t at = i + static_cast<size_t>(k) * lanes;
            const OwnInts bright = y[k] > 0.01f, finite = y[k] <= 3.4028235e38f;
            const OwnFloats l = 116.0f * (finite ? root[k] : y[k]) - 16.0f;
            const OwnFloats d = 1.0f / (x[k] + 15.0f * y[k] + 3.0f * z[k]);
            const OwnFloats u = 13.0f * l * (4.0f * x[k] * d - 0.1978394091129303f);
            const OwnFloats v = 13.0f * l * (9.0f * y[k] * d - 0.47076964378356934f);
            ownPutFloats(rows[3], at, bright ? l : OwnFloats{});
            ownPutFloats(rows[4], at, bright ? u : OwnFloats{});
            ownPutFloats(rows[5], at, bright ? v : OwnFloats{});
        }
    }
    if (i < n) ownPixelsFrom<Own32F, FromRgb>(rows, i, n, operation);
}

void toRgb(void *const *rows, size_t n, const void *operation) {
    constexpr size_t lanes = sizeof(OwnFloats) / 4;
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const OwnFloats lightness = ownFloatsAt(rows[0], i);
        const OwnWide ls = ownWideAt(rows[0], i), us = ownWideAt(rows[1], i), vs = ownWideAt(rows[2], i);
        OwnWide red, green, blue;
        OWN_BOTH {
            const OwnReal l = ls.part[k], t = 1.0 / (13.0 * l), q = (l + 16.0) * 0.008620689655172414;
            const OwnReal y = q * q * q;
            const OwnReal u = us.part[k] * t + 0.19783940212891, v = vs.part[k] * t + 0.46834220078579;
            const OwnReal w = y / v, x = 2.25 * w * u, z = 3.0 * w - 5.0 * y - third(x);
            red.part[k] = 3.240479 * x - 1.53715 * y - 0.498535 * z;
            green.part[k] = -0.969256 * x + 1.875992 * y + 0.041556 * z;
            blue.part[k] = 0.055648 * x - 0.204043 * y + 1.057311 * z;
        }
        const OwnInts bright = lightness >= BRIGHT;
        ownPutFloats(rows[3], i, bright ? ownNarrow(red) : OwnFloats{});
        ownPutFloats(rows[4], i, bright ? ownNarrow(green) : OwnFloats{});
        ownPutFloats(rows[5], i, bright ? ownNarrow(blue) : OwnFloats{});
    }
    if (i < n) ownPixelsFrom<Own32F, ToRgb>(rows, i, n, operation);
}

#else

constexpr OwnPlaneKernel fromRgb = ownPixels<Own32F, FromRgb>, toRgb = ownPixels<Own32F, ToRgb>;

#endif

}  // namespace

extern const OwnModelRows luvRows;
const OwnModelRows luvRows = {
    {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, fromRgb},
    {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, toRgb},
};

}  // namespace OWN_LEVEL
