// Products of packed spectra, compiled once for each CPU level.
#include <cstring>

#include "frame/ownsample.h"
#include "transform/ownlanes.h"
#include "transform/ownmpy.h"

namespace OWN_LEVEL {
namespace {

// A product of two 32-bit samples fits 64 bits, and so does the sum of two, but for the one that is 2^63.
template <class D>
typename D::Value saturate(int64_t value) {
    constexpr int64_t low = __is_same(D, Own32S) ? INT32_MIN : static_cast<int64_t>(D::low);
    constexpr int64_t high = __is_same(D, Own32S) ? INT32_MAX : static_cast<int64_t>(D::high);
    return static_cast<typename D::Value>(value < low ? low : value > high ? high : value);
}
template <>
[[maybe_unused]] int32_t saturate<Own32S>(int64_t value) {
    return static_cast<int32_t>(value < INT32_MIN ? INT32_MIN : value > INT32_MAX ? INT32_MAX : value);
}

template <class D>
typename D::Value take(const char *at) {
    return *reinterpret_cast<const typename D::Sample *>(at);
}
template <class D>
void put(char *at, typename D::Value value) {
    *reinterpret_cast<typename D::Sample *>(at) = value;
}

// a b + c d, where two products of -2^31 alone go beyond 64 bits: one less changes nothing that is stored.
int64_t sumOfProducts(int64_t a, int64_t b, int64_t c, int64_t d) {
    const int64_t first = a * b, second = c * d;
    return first == INT64_MAX / 2 + 1 && second == first ? INT64_MAX : first + second;
}

template <class D>
void pairs(const OwnProducts &at, size_t n) {
    const char *a = at.a, *b = at.b;
    char *d = at.d;
    for (size_t i = 0; i < n; ++i) {
        const auto aRe = take<D>(a), aIm = take<D>(a + at.aStep);
        const auto bRe = take<D>(b), bIm = take<D>(b + at.bStep);
        if constexpr (__is_same(D, Own32F)) {
            put<D>(d, aRe * bRe - aIm * bIm);
            put<D>(d + at.dStep, aRe * bIm + aIm * bRe);
        } else {
            put<D>(d, saturate<D>(int64_t{aRe} * bRe - int64_t{aIm} * bIm));
            put<D>(d + at.dStep, saturate<D>(sumOfProducts(aRe, bIm, aIm, bRe)));
        }
        a += 2 * at.aStep;
        b += 2 * at.bStep;
        d += 2 * at.dStep;
    }
}

template <int lanes, int... i>
[[gnu::always_inline]] inline typename OwnLanes<lanes>::Vector multiply(typename OwnLanes<lanes>::Vector a,
                                                                        typename OwnLanes<lanes>::Vector b,
                                                                        OwnIndices<i...>) {
    typedef typename OwnLanes<lanes>::Vector Vector;
    typedef uint32_t Bits __attribute__((vector_size(4 * lanes)));
    const Vector re = __builtin_shufflevector(a, a, (i & ~1)...), im = __builtin_shufflevector(a, a, (i | 1)...);
    const Vector other = __builtin_shufflevector(b, b, (i ^ 1)...);
    constexpr Bits signs = {(i % 2 == 0 ? 0x80000000u : 0u)...};
    const Vector product = im * other;
    return re * b + (Vector)((Bits)product ^ signs);
}

// The destination may be a source: of each vector both are read before it is written.
template <int lanes>
[[gnu::always_inline]] inline void multiply(const float *a, const float *b, float *d) {
    ownStoreLoose<lanes>(
        d, multiply<lanes>(ownLoadLoose<lanes>(a), ownLoadLoose<lanes>(b), typename OwnCountTo<lanes>::Type{}));
}

// Samples that follow one another. They never begin at an even one, so that accesses run across cache lines; what keeps
// the loads from waiting for both is to ask for the lines early.
void pairsOfFloats(const OwnProducts &at, size_t n) {
    constexpr size_t LINE = 16, AHEAD = 512;
    if (at.aStep != 4 || at.bStep != 4 || at.dStep != 4) return pairs<Own32F>(at, n);
    const auto *a = reinterpret_cast<const float *>(at.a), *b = reinterpret_cast<const float *>(at.b);
    auto *d = reinterpret_cast<float *>(at.d);
    size_t i = 0;
    for (; i + LINE <= 2 * n; i += LINE) {
        __builtin_prefetch(a + i + AHEAD);
        __builtin_prefetch(b + i + AHEAD);
        __builtin_prefetch(d + i + AHEAD, 1);
        for (size_t v = i; v < i + LINE; v += OWN_LANES)
            multiply<OWN_LANES>(a + v, b + v, d + v);
    }
    for (; i + 4 <= 2 * n; i += 4)
        multiply<4>(a + i, b + i, d + i);
    if (i < 2 * n) pairs<Own32F>({at.a + 4 * i, at.b + 4 * i, at.d + 4 * i, 4, 4, 4}, 1);
}

template <class D>
void real(const OwnProducts &p) {
    const auto a = take<D>(p.a), b = take<D>(p.b);
    if constexpr (__is_same(D, Own32F)) {
        put<D>(p.d, a * b);
    } else {
        put<D>(p.d, saturate<D>(int64_t{a} * b));
    }
}

}  // namespace

extern const OwnMpyRows mpyRows;
const OwnMpyRows mpyRows = {{nullptr, nullptr, pairs<Own8S>, nullptr, pairs<Own16S>, pairs<Own32S>, pairsOfFloats},
                            {nullptr, nullptr, real<Own8S>, nullptr, real<Own16S>, real<Own32S>, real<Own32F>}};

}  // namespace OWN_LEVEL
