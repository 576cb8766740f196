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
void pair(const OwnProducts &p) {
    const auto aRe = take<D>(p.a), aIm = take<D>(p.a + p.aStep);
    const auto bRe = take<D>(p.b), bIm = take<D>(p.b + p.bStep);
    if constexpr (__is_same(D, Own32F)) {
        put<D>(p.d, aRe * bRe - aIm * bIm);
        put<D>(p.d + p.dStep, aRe * bIm + aIm * bRe);
    } else {
        put<D>(p.d, saturate<D>(int64_t{aRe} * bRe - int64_t{aIm} * bIm));
        put<D>(p.d + p.dStep, saturate<D>(sumOfProducts(aRe, bIm, aIm, bRe)));
    }
}

template <class D>
void pairs(const OwnProducts &at, size_t n) {
    OwnProducts p = at;
    for (size_t i = 0; i < n; ++i) {
        pair<D>(p);
        p.a += 2 * p.aStep;
        p.b += 2 * p.bStep;
        p.d += 2 * p.dStep;
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

// As many whole vectors as there are. The destination may be a source: both are read before it is written.
template <int lanes>
[[gnu::always_inline]] inline void vectors(OwnProducts *p, size_t *n) {
    typedef typename OwnLanes<lanes>::Vector Vector;
    for (; *n >= lanes / 2; *n -= lanes / 2) {
        Vector a, b;
        std::memcpy(&a, p->a, sizeof a);
        std::memcpy(&b, p->b, sizeof b);
        const Vector d = multiply<lanes>(a, b, typename OwnCountTo<lanes>::Type{});
        std::memcpy(p->d, &d, sizeof d);
        p->a += sizeof d;
        p->b += sizeof d;
        p->d += sizeof d;
    }
}

// Samples that follow one another.
void pairsOfFloats(const OwnProducts &at, size_t n) {
    if (at.aStep != 4 || at.bStep != 4 || at.dStep != 4) return pairs<Own32F>(at, n);
    OwnProducts p = at;
    vectors<OWN_LANES>(&p, &n);
    if constexpr (OWN_LANES > 8) vectors<8>(&p, &n);
    if constexpr (OWN_LANES > 4) vectors<4>(&p, &n);
    pairs<Own32F>(p, n);
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
