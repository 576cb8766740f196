// Row kernels that change the depth of whole numbers, compiled once for each CPU level.
#include "color/owndepthrows.h"

#include "color/owndepthforms.h"

namespace OWN_LEVEL {
namespace {

constexpr bool isSigned(int low) {
    return low < 0;
}

// The nearest number that a depth has.
template <class S, class T>
struct Clamped {
    explicit Clamped(const OwnConstant &) {}
    static constexpr size_t from = sizeof(typename S::Value), to = sizeof(typename T::Value);

    [[gnu::always_inline]] typename T::Value operator()(typename S::Value a) const {
        if constexpr (to == 4) {
            return a;
        } else {
            const int value = a;
            return static_cast<typename T::Value>(value < T::low ? T::low : value > T::high ? T::high : value);
        }
    }

#if defined(OWN_HAS_VECTORS)
    // Unsigned words first come down to what a byte holds.
    [[gnu::always_inline]] static OwnVector limit(OwnVector a) {
        if constexpr (isSigned(S::low)) {
            return a;
        } else {
            const OwnVector most = ownSplat<Own16U>(T::high);
            return OWN_VECTOR(sub, epi16)(a, OWN_VECTOR(subs, epu16)(a, most));
        }
    }
    // Left to the compiler, a block that is stored past the caches comes in vectors of half the width.
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(from == 1 && to == 4) {
        const OwnVector bytes = ownLoadPart<sizeof(OwnVector) / 4>(reinterpret_cast<const char *>(a));
#if defined(__AVX2__)
        return isSigned(S::low) ? _mm256_cvtepi8_epi32(ownNarrow(bytes)) : _mm256_cvtepu8_epi32(ownNarrow(bytes));
#else
        if constexpr (!isSigned(S::low)) return _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, ownZero()), ownZero());
        const OwnVector twice = _mm_unpacklo_epi8(bytes, bytes);
        return _mm_srai_epi32(_mm_unpacklo_epi16(twice, twice), 24);
#endif
    }
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(from == 2 && to == 1) {
        return ownInOrder2(ownPackBytes<isSigned(T::low)>(limit(ownLoadAt(a, 0)), limit(ownLoadAt(a, 1))));
    }
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(from == 4 && to == 1) {
        const OwnVector low = OWN_VECTOR(packs, epi32)(ownLoadAt(a, 0), ownLoadAt(a, 1));
        const OwnVector high = OWN_VECTOR(packs, epi32)(ownLoadAt(a, 2), ownLoadAt(a, 3));
        return ownInOrder4(ownPackBytes<isSigned(T::low)>(low, high));
    }
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(from == 4 && to == 2) {
        return ownInOrder2(ownPackWords<isSigned(T::low)>(ownLoadAt(a, 0), ownLoadAt(a, 1)));
    }
#endif
};

// The same place in a range of other width, the types being unsigned: what value takes off and bias puts on by
// exclusive or are the bits of signs.
template <class S, class T>
struct Placed {
    using From = typename S::Value;
    using To = typename T::Value;
    static constexpr int bits = 8 * sizeof(From), wanted = 8 * sizeof(To);

    explicit Placed(const OwnConstant &c) : from(static_cast<From>(c.value)), to(static_cast<To>(c.bias)) {
        if constexpr (wanted <= bits) to = static_cast<To>(to ^ from >> (bits - wanted));
    }
    [[gnu::always_inline]] To operator()(From a) const {
        if constexpr (wanted <= bits) {
            return static_cast<To>(static_cast<To>(a >> (bits - wanted)) ^ to);
        } else {
            constexpr auto repeat = static_cast<To>(static_cast<To>(~To{0}) / static_cast<From>(~From{0}));
            return static_cast<To>(static_cast<To>(static_cast<From>(a ^ from) * repeat) ^ to);
        }
    }
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(bits == 8 && wanted == 32) {
        const OwnVector bytes = ownLoadPart<sizeof(OwnVector) / 4>(reinterpret_cast<const char *>(a));
#if defined(__AVX2__)
        const OwnVector places = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5,
                                                  5, 6, 6, 6, 6, 7, 7, 7, 7);
        const OwnVector words = _mm256_shuffle_epi8(_mm256_broadcastq_epi64(ownNarrow(bytes)), places);
#else
        const OwnVector twice = _mm_unpacklo_epi8(bytes, bytes);
        const OwnVector words = _mm_unpacklo_epi16(twice, twice);
#endif
        return ownXor(ownXor(words, ownSplat<Own8U>(from)), ownSplat<T>(to));
    }
    // Shifted down with their sign, the upper parts of samples are packed as they are.
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(bits == 16 && wanted == 8) {
        const OwnVector low = OWN_VECTOR(srai, epi16)(ownLoadAt(a, 0), 8),
                        high = OWN_VECTOR(srai, epi16)(ownLoadAt(a, 1), 8);
        return ownXor(ownInOrder2(OWN_VECTOR(packs, epi16)(low, high)), ownSplat<T>(to));
    }
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(bits == 32 && wanted == 16) {
        const OwnVector low = OWN_VECTOR(srai, epi32)(ownLoadAt(a, 0), 16),
                        high = OWN_VECTOR(srai, epi32)(ownLoadAt(a, 1), 16);
        return ownXor(ownInOrder2(OWN_VECTOR(packs, epi32)(low, high)), ownSplat<T>(to));
    }
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const requires(bits == 32 && wanted == 8) {
        const auto top = [&](size_t k) { return OWN_VECTOR(srai, epi32)(ownLoadAt(a, k), 24); };
        const OwnVector low = OWN_VECTOR(packs, epi32)(top(0), top(1)), high = OWN_VECTOR(packs, epi32)(top(2), top(3));
        return ownXor(ownInOrder4(OWN_VECTOR(packs, epi16)(low, high)), ownSplat<T>(to));
    }
#endif
    From from;
    To to;
};

template <class D>
void copy(const void *a, const void *, void *d, size_t n, const OwnConstant &) {
    __builtin_memmove(d, a, n * sizeof(typename D::Value));
}

template <class S, class T>
constexpr OwnMixedForms converted = OwnDepthForms<S, T, Clamped<S, T>>::forms;
// What stays as it is.
struct Kept {
    explicit Kept(const OwnConstant &) {}
    template <class V>
    [[gnu::always_inline]] V operator()(V a) const {
        return a;
    }
};
template <class D>
constexpr OwnMixedForms converted<D, D> = {copy<D>, OwnDepthForms<D, D, Kept>::streamed, true};
template <class S, class T>
constexpr OwnMixedForms scaled = OwnDepthForms<S, T, Placed<S, T>>::forms;

}  // namespace

extern const OwnDepthRows depthRows;
const OwnDepthRows depthRows = {
#define CONVERTED(S) \
    { converted<S, Own8U>, converted<S, Own8S>, converted<S, Own16U>, converted<S, Own16S>, converted<S, Own32S> }
    .convert = {CONVERTED(Own8U), CONVERTED(Own8S), CONVERTED(Own16U), CONVERTED(Own16S), CONVERTED(Own32S)},
    .scale = {{scaled<Own8U, Own8U>, scaled<Own8U, Own16U>, scaled<Own8U, Own32U>},
              {scaled<Own16U, Own8U>, scaled<Own16U, Own16U>, scaled<Own16U, Own32U>},
              {scaled<Own32U, Own8U>, scaled<Own32U, Own16U>, {}}},
};

}  // namespace OWN_LEVEL
