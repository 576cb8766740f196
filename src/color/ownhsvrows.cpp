// Hue, saturation and value, compiled once for each CPU level.
#include "color/ownbyteparts.h"
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

#if defined(OWN_HAS_VECTORS)

// Of bytes everything about the hue is a table: the fraction f in sectors where q is needed, 1 - f where it is t, and
// the first hue of each sector.
struct Fractions {
    double of[256];
};
constexpr double sixthsOf(int hue) {
    const double degrees = hue * 360.0 * ownUnit<Own8U>;
    return (degrees >= 360.0 ? 0.0 : degrees) * 0.016666666666666666;
}
constexpr Fractions makeFractions() {
    Fractions fractions = {};
    for (int hue = 0; hue < 256; ++hue) {
        const double sixths = sixthsOf(hue);
        const int sector = static_cast<int>(sixths - 0.5);
        const double fraction = sixths - sector;
        fractions.of[hue] = sector % 2 == 1 ? fraction : 1.0 - fraction;
    }
    return fractions;
}
constexpr Fractions FRACTIONS = makeFractions();

constexpr int firstOf(int sector) {
    int hue = 0;
    while (static_cast<int>(sixthsOf(hue) - 0.5) < sector)
        ++hue;
    return hue;
}

// p, and q or t, for as many pixels as a vector has bytes.
[[gnu::always_inline]] inline void blend(const uint8_t *h, const uint8_t *s, const uint8_t *v, uint8_t *p, uint8_t *m) {
    constexpr double unit = ownUnit<Own8U>;
#if defined(__AVX2__)
    const __m256d one = _mm256_set1_pd(1.0), units = _mm256_set1_pd(unit);
    for (size_t i = 0; i < sizeof(OwnVector); i += 4 * OWN_GROUPS) {
        __m256d lower[OWN_GROUPS], middle[OWN_GROUPS];
        for (size_t k = 0; k < OWN_GROUPS; ++k) {
            const size_t at = i + 4 * k;
            const __m256d saturation = ownBytesToReals(s + at) * units, value = ownBytesToReals(v + at);
            const __m256d part = ownLookUp(FRACTIONS.of, h + at) * saturation;
            lower[k] = _mm256_sub_pd(one, saturation);
            lower[k] = _mm256_mul_pd(lower[k], value);
            middle[k] = _mm256_sub_pd(one, part);
            middle[k] = _mm256_mul_pd(middle[k], value);
        }
        ownStoreTruncated(lower, p + i);
        ownStoreTruncated(middle, m + i);
    }
#else
    for (size_t i = 0; i < sizeof(OwnVector); ++i) {
        const double saturation = s[i] * unit, value = v[i];
        p[i] = static_cast<uint8_t>(static_cast<int>((1.0 - saturation) * value));
        m[i] = static_cast<uint8_t>(static_cast<int>((1.0 - FRACTIONS.of[h[i]] * saturation) * value));
    }
#endif
}

#endif

// Without saturation p, q and t come out as V.
void toRgbBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    constexpr size_t width = sizeof(OwnVector);
    const auto at = [&](int row) { return static_cast<uint8_t *>(rows[row]) + i; };
    for (; i + width <= n; i += width) {
        uint8_t lower[width], middle[width];
        blend(at(0), at(1), at(2), lower, middle);
        const auto load = [](const uint8_t *bytes) { return ownLoad(reinterpret_cast<const char *>(bytes)); };
        const auto store = [](uint8_t *bytes, OwnVector v) { ownStore(reinterpret_cast<char *>(bytes), v); };
        const OwnVector p = load(lower), m = load(middle), v = load(at(2));
        // The largest hue is the first one again.
        const OwnVector all = load(at(0)), last = ownSplat<Own8U>(255);
        const OwnVector hue = ownAndNot(all, OWN_VECTOR(cmpeq, epi8)(all, last));
        const auto from = [&](int first) {
            return OWN_VECTOR(cmpeq, epi8)(OWN_VECTOR(max, epu8)(hue, ownSplat<Own8U>(static_cast<uint32_t>(first))),
                                           hue);
        };
        const OwnVector from1 = from(firstOf(1)), from2 = from(firstOf(2)), from3 = from(firstOf(3)),
                        from4 = from(firstOf(4)), from5 = from(firstOf(5));
        store(at(3), ownChoose(from5, v, ownChoose(from4, m, ownChoose(from2, p, ownChoose(from1, m, v)))));
        store(at(4), ownChoose(from4, p, ownChoose(from3, m, ownChoose(from1, v, m))));
        store(at(5), ownChoose(from5, m, ownChoose(from3, v, ownChoose(from2, m, p))));
    }
#endif
    if (i < n) ownPixelsFrom<Own8U, ToRgb>(rows, i, n, operation);
}

}  // namespace

extern const OwnModelRows hsvRows;
const OwnModelRows hsvRows = {
    {nullptr, fromRgbBytes, nullptr, ownPixels<Own16U, FromRgb>, nullptr, ownPixels<Own32S, FromRgb>},
    {nullptr, toRgbBytes, nullptr, ownPixels<Own16U, ToRgb>, nullptr, ownPixels<Own32S, ToRgb>},
};

}  // namespace OWN_LEVEL
