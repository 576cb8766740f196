// Gray from colour, compiled once for each CPU level.
#include "color/ownwords.h"

namespace OWN_LEVEL {
namespace {

[[gnu::always_inline]] inline unsigned weighted(unsigned r, unsigned g, unsigned b) {
    return 54 * r + 183 * g + 18 * b;
}

// Signed samples without the low bits that a sum of 32 bits has no room for.
[[gnu::always_inline]] inline int weightedHigh(int r, int g, int b, int dropped) {
    return 109 * (r >> dropped) + 366 * (g >> dropped) + 37 * (b >> dropped);
}

// 8 and 16 bits. Of a bit the top one of a byte counts: the byte's own.
template <int shift>
struct Gray {
    template <class S, class D>
    [[gnu::always_inline]] static typename D::Value f(unsigned r, unsigned g, unsigned b) {
        return static_cast<typename D::Value>(weighted(r, g, b) >> shift);
    }
};

template <int shift>
struct GrayOfSigned {
    template <class S, class D>
    [[gnu::always_inline]] static typename D::Value f(int r, int g, int b) {
        const int gray = weightedHigh(r, g, b, 11) >> shift;
        return static_cast<typename D::Value>(gray < 0 ? 0 : gray);
    }
};
struct BitOfSigned {
    template <class S, class D>
    [[gnu::always_inline]] static uint8_t f(int r, int g, int b) {
        return weightedHigh(r, g, b, 10) >= 0x20000000 ? 255 : 0;
    }
};

template <class S, class D, class F>
void run(void *const *rows, size_t n, const void *) {
    using Sample = typename S::Sample;
    const Sample *r = static_cast<const Sample *>(rows[0]), *g = static_cast<const Sample *>(rows[1]),
                 *b = static_cast<const Sample *>(rows[2]);
    typename D::Sample *gray = static_cast<typename D::Sample *>(rows[3]);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        gray[i] = F::template f<S, D>(r[i], g[i], b[i]);
}

// 8 bits to 8 bits: the sum fits a word.
void grayOfBytes(void *const *rows, size_t n, const void *operation) {
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    constexpr size_t width = sizeof(OwnVector);
    const OwnVector red = ownSplat<Own16U>(54), green = ownSplat<Own16U>(183), blue = ownSplat<Own16U>(18);
    const auto gray = [&](OwnVector r, OwnVector g, OwnVector b) {
        const OwnVector sum = ownPlus(ownPlus(OWN_VECTOR(mullo, epi16)(r, red), OWN_VECTOR(mullo, epi16)(g, green)),
                                      OWN_VECTOR(mullo, epi16)(b, blue));
        return OWN_VECTOR(srli, epi16)(sum, 8);
    };
    for (; i + width <= n; i += width) {
        const OwnVector r = ownLoad(static_cast<const char *>(rows[0]) + i),
                        g = ownLoad(static_cast<const char *>(rows[1]) + i),
                        b = ownLoad(static_cast<const char *>(rows[2]) + i);
        const OwnVector low = gray(ownWords<0>(r), ownWords<0>(g), ownWords<0>(b));
        const OwnVector high = gray(ownWords<1>(r), ownWords<1>(g), ownWords<1>(b));
        ownStore(static_cast<char *>(rows[3]) + i, OWN_VECTOR(packus, epi16)(low, high));
    }
#endif
    void *rest[4];
    for (int k = 0; k < 4; ++k)
        rest[k] = static_cast<char *>(rows[k]) + i;
    if (i < n) run<Own8U, Own8U, Gray<8>>(rest, n - i, operation);
}

}  // namespace

extern const OwnGrayRows grayRows;
const OwnGrayRows grayRows = {{
    {},
    {grayOfBytes, grayOfBytes, nullptr, run<Own8U, Own16U, Gray<0>>},
    {},
    {run<Own16U, Own8U, Gray<16>>, run<Own16U, Own8U, Gray<16>>, nullptr, run<Own16U, Own16U, Gray<8>>},
    {},
    {run<Own32S, Own8U, BitOfSigned>, run<Own32S, Own8U, GrayOfSigned<21>>, nullptr,
     run<Own32S, Own16U, GrayOfSigned<13>>},
    {},
}};

}  // namespace OWN_LEVEL
