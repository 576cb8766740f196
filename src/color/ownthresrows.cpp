// Row kernels of thresholds, to samples and to bits, and from bits, compiled once for each CPU level.
#include "color/owndepthforms.h"
#include "color/owndepthrows.h"

namespace OWN_LEVEL {
namespace {

template <class D, class To>
struct AtOrAbove {
    explicit AtOrAbove(const OwnConstant &c)
        : threshold(static_cast<typename D::Value>(c.value)), bias(static_cast<To>(c.bias)) {}
    [[gnu::always_inline]] To operator()(typename D::Value a) const {
        return static_cast<To>((a >= threshold ? static_cast<To>(~To{0}) : To{0}) ^ bias);
    }
    typename D::Value threshold;
    To bias;
};

template <class S, class T>
constexpr OwnMixedForms atOrAbove = OwnDepthForms<S, T, AtOrAbove<S, typename T::Value>>::forms;

// ------------------------------------------------------------------------------------------------------------ to bits

#if defined(OWN_HAS_VECTORS)

// Bytes of ones where samples are below the threshold, as many as a vector has.
template <class D>
[[gnu::always_inline]] inline OwnVector bytesBelow(const typename D::Sample *a, OwnVector threshold) {
    const auto load = [&](size_t k) { return ownLoadAt(a, k); };
    if constexpr (__is_same(D, Own8U)) {
        // What saturated subtraction leaves of the difference is 0 from the threshold on.
        return ownNot(OWN_VECTOR(cmpeq, epi8)(OWN_VECTOR(subs, epu8)(threshold, load(0)), ownZero()));
    } else if constexpr (__is_same(D, Own8S)) {
        return OWN_VECTOR(cmpgt, epi8)(threshold, load(0));
    } else if constexpr (__is_same(D, Own16U)) {
        const auto atOrAbove = [&](size_t k) {
            return OWN_VECTOR(cmpeq, epi16)(OWN_VECTOR(subs, epu16)(threshold, load(k)), ownZero());
        };
        return ownNot(ownInOrder2(OWN_VECTOR(packs, epi16)(atOrAbove(0), atOrAbove(1))));
    } else if constexpr (__is_same(D, Own16S)) {
        const auto below = [&](size_t k) { return OWN_VECTOR(cmpgt, epi16)(threshold, load(k)); };
        return ownInOrder2(OWN_VECTOR(packs, epi16)(below(0), below(1)));
    } else {
        const auto below = [&](size_t k) { return OWN_VECTOR(cmpgt, epi32)(threshold, load(k)); };
        const OwnVector low = OWN_VECTOR(packs, epi32)(below(0), below(1));
        const OwnVector high = OWN_VECTOR(packs, epi32)(below(2), below(3));
        return ownInOrder4(OWN_VECTOR(packs, epi16)(low, high));
    }
}

// A bit for each such byte, set where it is 0, the first on top.
[[gnu::always_inline]] inline void storeBits(OwnVector below, uint8_t *bits) {
#if defined(__AVX2__)
    const __m256i reversed = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1,
                                              0, 15, 14, 13, 12, 11, 10, 9, 8);
    const int word = ~_mm256_movemask_epi8(_mm256_shuffle_epi8(below, reversed));
    __builtin_memcpy(bits, &word, sizeof word);
#else
    // Eight bytes, each cut to its own bit, add up to the byte of their bits.
    const __m128i own = _mm_set1_epi64x(0x0102040810204080);
    const __m128i sums = _mm_sad_epu8(_mm_andnot_si128(below, own), _mm_setzero_si128());
    bits[0] = static_cast<uint8_t>(_mm_cvtsi128_si32(sums));
    bits[1] = static_cast<uint8_t>(_mm_extract_epi16(sums, 4));
#endif
}

#endif

template <class D>
void toBits(const void *a_, const void *, void *d, size_t n, const OwnConstant &c) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const auto threshold = static_cast<typename D::Value>(c.value);
    uint8_t *bits = static_cast<uint8_t *>(d);
    size_t i = 0;
#if defined(OWN_HAS_VECTORS)
    const OwnVector all = ownSplat<D>(c.value);
    for (; i + sizeof(OwnVector) <= n; i += sizeof(OwnVector))
        storeBits(bytesBelow<D>(a + i, all), bits + i / 8);
#endif
    for (; i < n; i += 8) {
        unsigned byte = 0;
        for (size_t k = i; k < i + 8 && k < n; ++k)
            byte |= a[k] >= threshold ? 128u >> (k - i) : 0u;
        bits[i / 8] = static_cast<uint8_t>(byte);
    }
}

// ---------------------------------------------------------------------------------------------------------- from bits

template <class D>
struct FromBits {
    using Value = typename D::Value;
    using Sample = typename D::Sample;

    static void loop(const uint8_t *bits, Sample *d, size_t n, Value one, Value zero) {
        for (size_t i = 0; i < n; ++i)
            d[i] = (bits[i / 8] >> (7 - i % 8) & 1) != 0 ? one : zero;
    }

#if defined(OWN_HAS_VECTORS)
    static constexpr size_t step = sizeof(OwnVector) / sizeof(Value);

    // Lanes of ones for as many bits from bit i on, where a vector of lanes begins.
    [[gnu::always_inline]] static OwnVector lanes(const uint8_t *bits, size_t i) {
        const uint8_t *at = bits + i / 8;
        if constexpr (sizeof(Value) == 4) {
            // A byte has eight lanes, or twice four.
#if defined(__AVX2__)
            const OwnVector own = _mm256_setr_epi32(128, 64, 32, 16, 8, 4, 2, 1);
#else
            const OwnVector own = i % 8 == 0 ? _mm_setr_epi32(128, 64, 32, 16) : _mm_setr_epi32(8, 4, 2, 1);
#endif
            return OWN_VECTOR(cmpeq, epi32)(ownAnd(OWN_VECTOR(set1, epi32)(*at), own), own);
        } else if constexpr (sizeof(Value) == 2) {
#if defined(__AVX2__)
            short word;
            __builtin_memcpy(&word, at, sizeof word);
            const OwnVector own =
                _mm256_setr_epi16(128, 64, 32, 16, 8, 4, 2, 1, -32768, 16384, 8192, 4096, 2048, 1024, 512, 256);
#else
            const short word = *at;
            const OwnVector own = _mm_setr_epi16(128, 64, 32, 16, 8, 4, 2, 1);
#endif
            return OWN_VECTOR(cmpeq, epi16)(ownAnd(OWN_VECTOR(set1, epi16)(word), own), own);
        } else {
            const OwnVector own = OWN_VECTOR(set1, epi64x)(0x0102040810204080);
#if defined(__AVX2__)
            int word;
            __builtin_memcpy(&word, at, sizeof word);
            const __m256i places = _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303);
            const OwnVector spread = _mm256_shuffle_epi8(_mm256_set1_epi32(word), places);
#else
            short word;
            __builtin_memcpy(&word, at, sizeof word);
            const __m128i pairs = _mm_unpacklo_epi8(_mm_set1_epi16(word), _mm_set1_epi16(word));
            const OwnVector spread =
                _mm_unpacklo_epi64(_mm_shufflelo_epi16(pairs, 0x00), _mm_shufflelo_epi16(pairs, 0x55));
#endif
            return OWN_VECTOR(cmpeq, epi8)(ownAnd(spread, own), own);
        }
    }

    [[gnu::always_inline]] static void run(const uint8_t *bits, Sample *d, size_t n, const OwnConstant &c) {
        const OwnVector one = ownSplat<D>(c.value), zero = ownSplat<D>(c.bias);
        size_t i = 0;
        for (; i + step <= n; i += step)
            ownStore(reinterpret_cast<char *>(d + i), ownChoose(lanes(bits, i), one, zero));
        if (i < n) {
            // From whole bytes on.
            const size_t last = i & ~size_t{7};
            loop(bits + last / 8, d + last, n - last, static_cast<Value>(c.value), static_cast<Value>(c.bias));
        }
    }
#else
    [[gnu::always_inline]] static void run(const uint8_t *bits, Sample *d, size_t n, const OwnConstant &c) {
        loop(bits, d, n, static_cast<Value>(c.value), static_cast<Value>(c.bias));
    }
#endif

    static void plain(const void *a, const void *, void *d, size_t n, const OwnConstant &c) {
        const OwnConstant constant = c;
        run(static_cast<const uint8_t *>(a), static_cast<Sample *>(d), n, constant);
    }
    // Whole cache lines of the destination begin with a byte of bits, or else all of it is stored as usual.
    static void streamed(const void *a, const void *, void *d_, size_t n, const OwnConstant &c) {
        const uint8_t *bits = static_cast<const uint8_t *>(a);
        Sample *d = static_cast<Sample *>(d_);
        const OwnConstant constant = c;
        if ((-reinterpret_cast<uintptr_t>(d_) & 63) / sizeof(Value) % 8 != 0) return run(bits, d, n, constant);
        ownStreamRow<Sample>(
            d_, n, [&](size_t i, size_t count) { run(bits + i / 8, d + i, count, constant); },
            [&](size_t i, void *values) {
                run(bits + i / 8, static_cast<Sample *>(values), OWN_STREAM_BLOCK / sizeof(Value), constant);
            });
    }
    static constexpr OwnMixedForms forms = {plain, streamed};
};

}  // namespace

extern const OwnThresholdRows thresholdRows;
const OwnThresholdRows thresholdRows = {
#define AT_OR_ABOVE(S) \
    { atOrAbove<S, Own8U>, atOrAbove<S, Own16U>, atOrAbove<S, Own32U> }
    .samples = {AT_OR_ABOVE(Own8U), AT_OR_ABOVE(Own8S), AT_OR_ABOVE(Own16U), AT_OR_ABOVE(Own16S), AT_OR_ABOVE(Own32S)},
    .bits = {{toBits<Own8U>, nullptr},
             {toBits<Own8S>, nullptr},
             {toBits<Own16U>, nullptr},
             {toBits<Own16S>, nullptr},
             {toBits<Own32S>, nullptr}},
    .fromBits = {FromBits<Own8U>::forms, FromBits<Own16U>::forms, FromBits<Own32U>::forms},
};

}  // namespace OWN_LEVEL
