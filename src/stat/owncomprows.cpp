// Row kernels of comparisons, compiled once for each CPU level: samples to bytes of ones or zeros, and these to bits.
#include "frame/ownvector.h"
#include "stat/owncomp.h"

namespace OWN_LEVEL {
namespace {

constexpr size_t BLOCK = 64;  // samples or pixels whose bits are made at a time

enum Kind { LESS, GREATER, EQUAL };

struct Less {
    static constexpr Kind kind = LESS;
    template <class T>
    [[gnu::always_inline]] static bool holds(T a, T b, float) {
        return a < b;
    }
};
struct Greater {
    static constexpr Kind kind = GREATER;
    template <class T>
    [[gnu::always_inline]] static bool holds(T a, T b, float) {
        return a > b;
    }
};
struct Equal {
    static constexpr Kind kind = EQUAL;
    template <class T>
    [[gnu::always_inline]] static bool holds(T a, T b, float) {
        return a == b;
    }
};
// A difference that is no number is not at or above eps.
struct Near {
    [[gnu::always_inline]] static bool holds(float a, float b, float eps) { return !(__builtin_fabsf(a - b) >= eps); }
};

template <class D>
[[gnu::always_inline]] inline typename D::Value constantOf(const OwnConstant &c) {
    if constexpr (static_cast<typename D::Value>(0.5f) != 0) {
        return c.real;
    } else {
        return static_cast<typename D::Value>(c.value);
    }
}

// Bytes 255 where the relation holds, 0 where it does not.
template <class D, class Relation, bool two>
[[gnu::always_inline]] inline void compare(const typename D::Sample *a, const typename D::Sample *b, size_t n,
                                           const OwnConstant &c, uint8_t *bytes) {
    const typename D::Value constant = constantOf<D>(c);
    float eps;
    __builtin_memcpy(&eps, &c.value, sizeof eps);
    for (size_t i = 0; i < n; ++i) {
        const typename D::Value other = two ? static_cast<typename D::Value>(b[i]) : constant;
        bytes[i] = Relation::holds(static_cast<typename D::Value>(a[i]), other, eps) ? 255 : 0;
    }
}

#if defined(OWN_HAS_VECTORS)
// The bits of a vector of such bytes, the first on top.
[[gnu::always_inline]] inline void packVector(OwnVector v, uint8_t *bits) {
#if defined(__AVX2__)
    const __m256i reversed = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1,
                                              0, 15, 14, 13, 12, 11, 10, 9, 8);
    const int word = _mm256_movemask_epi8(_mm256_shuffle_epi8(v, reversed));
    __builtin_memcpy(bits, &word, sizeof word);
#else
    // Eight bytes, each cut to its own bit, add up to the byte of their bits.
    const __m128i sums = _mm_sad_epu8(_mm_and_si128(v, _mm_set1_epi64x(0x0102040810204080)), _mm_setzero_si128());
    bits[0] = static_cast<uint8_t>(_mm_cvtsi128_si32(sums));
    bits[1] = static_cast<uint8_t>(_mm_extract_epi16(sums, 4));
#endif
}

// Lanes of ones where the relation holds. Processors compare signed samples: unsigned ones have their top bit changed.
template <class D, class Relation>
[[gnu::always_inline]] inline OwnVector compareVectors(OwnVector a, OwnVector b) {
    constexpr bool bytes = sizeof(typename D::Value) == 1;
    if constexpr (Relation::kind == EQUAL)
        return bytes ? OWN_VECTOR(cmpeq, epi8)(a, b) : OWN_VECTOR(cmpeq, epi16)(a, b);
    if constexpr (Relation::kind == LESS) return compareVectors<D, Greater>(b, a);
    if constexpr (static_cast<typename D::Value>(-1) > 0) {
        const OwnVector top = ownSplat<D>(bytes ? 0x80 : 0x8000);
        a = ownXor(a, top);
        b = ownXor(b, top);
    }
    return bytes ? OWN_VECTOR(cmpgt, epi8)(a, b) : OWN_VECTOR(cmpgt, epi16)(a, b);
}

// A vector of bytes, from one or two vectors of samples that compareAt(k) has compared.
template <class D, class Compare>
[[gnu::always_inline]] inline OwnVector compareToBytes(const Compare &compareAt) {
    if constexpr (sizeof(typename D::Value) == 1) {
        return compareAt(0);
    } else {
        const OwnVector packed = OWN_VECTOR(packs, epi16)(compareAt(0), compareAt(1));
#if defined(__AVX2__)
        return _mm256_permute4x64_epi64(packed, 0xD8);
#else
        return packed;
#endif
    }
}
#endif

// Bits of a block of bytes.
[[gnu::always_inline]] inline void pack(const uint8_t *bytes, uint8_t *bits) {
#if defined(OWN_HAS_VECTORS)
    for (size_t k = 0; k < BLOCK; k += sizeof(OwnVector))
        packVector(ownLoad(reinterpret_cast<const char *>(bytes + k)), bits + k / 8);
#else
    for (size_t k = 0; k < BLOCK; k += 8) {
        unsigned byte = 0;
        for (size_t i = 0; i < 8; ++i)
            byte |= bytes[k + i] & 128u >> i;
        bits[k / 8] = static_cast<uint8_t>(byte);
    }
#endif
}

// Bits for n pixels, a block at a time, by fill(from, count, bytes).
template <class Fill>
[[gnu::always_inline]] inline void packAll(size_t n, uint8_t *bits, const Fill &fill) {
    alignas(64) uint8_t bytes[BLOCK];
    size_t i = 0;
    for (; i + BLOCK <= n; i += BLOCK) {
        fill(i, BLOCK, bytes);
        pack(bytes, bits + i / 8);
    }
    if (i == n) return;
    __builtin_memset(bytes, 0, sizeof bytes);
    fill(i, n - i, bytes);
    uint8_t last[BLOCK / 8];
    pack(bytes, last);
    __builtin_memcpy(bits + i / 8, last, (n - i + 7) / 8);
}

template <class D, class Relation, bool two>
struct Samples {
    using Sample = typename D::Sample;

#if defined(OWN_HAS_VECTORS)
    // n is a number of whole vectors; two of them are a line of bytes.
    static void bitsOfVectors(const Sample *a, const Sample *b, size_t n, OwnVector constant, uint8_t *out) {
        constexpr size_t samples = sizeof(OwnVector) / sizeof(Sample);
        const auto packAt = [&](size_t i) {
            const auto compareAt = [&](size_t k) {
                const OwnVector u = ownLoad(reinterpret_cast<const char *>(a + i + k * samples));
                const OwnVector v = two ? ownLoad(reinterpret_cast<const char *>(b + i + k * samples)) : constant;
                return compareVectors<D, Relation>(u, v);
            };
            packVector(compareToBytes<D>(compareAt), out + i / 8);
        };
        size_t i = 0;
        for (; i + 2 * sizeof(OwnVector) <= n; i += 2 * sizeof(OwnVector)) {
            packAt(i);
            packAt(i + sizeof(OwnVector));
        }
        if (i < n) packAt(i);
    }
#endif

    static void bits(const void *a_, const void *b_, size_t n, const OwnConstant &c, uint8_t *out) {
        const Sample *a = static_cast<const Sample *>(a_), *b = static_cast<const Sample *>(b_);
        const OwnConstant constant = c;
#if defined(OWN_HAS_VECTORS)
        if constexpr (sizeof(typename D::Value) < 4) {
            const size_t whole = n / sizeof(OwnVector) * sizeof(OwnVector);
            bitsOfVectors(a, b, whole, ownSplat<D>(c.value), out);
            a += whole;
            b = two ? b + whole : nullptr;
            n -= whole;
            out += whole / 8;
        }
#endif
        packAll(n, out, [&](size_t i, size_t count, uint8_t *bytes) {
            compare<D, Relation, two>(a + i, two ? b + i : nullptr, count, constant, bytes);
        });
    }

    template <size_t channels>
    static void allOf(const Sample *a, const Sample *b, size_t n, const OwnConstant &c, uint8_t *out) {
        alignas(64) uint8_t each[BLOCK * channels];
        packAll(n, out, [&](size_t i, size_t count, uint8_t *bytes) {
            const size_t at = i * channels;
            compare<D, Relation, two>(a + at, two ? b + at : nullptr, count * channels, c, each);
            for (size_t k = 0; k < count; ++k) {
                uint8_t all = each[k * channels];
                for (size_t channel = 1; channel < channels; ++channel)
                    all &= each[k * channels + channel];
                bytes[k] = all;
            }
        });
    }

    static void pixelBits(const void *a_, const void *b_, size_t n, int channels, const OwnConstant &c, uint8_t *out) {
        const Sample *a = static_cast<const Sample *>(a_), *b = static_cast<const Sample *>(b_);
        const OwnConstant constant = c;
        if (channels == 2) return allOf<2>(a, b, n, constant, out);
        if (channels == 3) return allOf<3>(a, b, n, constant, out);
        if (channels == 4) return allOf<4>(a, b, n, constant, out);
        const auto samples = static_cast<size_t>(channels);
        packAll(n, out, [&](size_t i, size_t count, uint8_t *bytes) {
            for (size_t k = 0; k < count; ++k) {
                uint8_t each[BLOCK], all = 255;
                for (size_t done = 0; done < samples; done += BLOCK) {
                    const size_t part = samples - done < BLOCK ? samples - done : BLOCK;
                    const size_t at = (i + k) * samples + done;
                    compare<D, Relation, two>(a + at, two ? b + at : nullptr, part, constant, each);
                    for (size_t j = 0; j < part; ++j)
                        all &= each[j];
                }
                bytes[k] = all;
            }
        });
    }

    static constexpr OwnRelation relation = {bits, pixelBits};
};

// Relations of bits are logic on their bytes, by F::byte(a, b, value).
template <class F>
struct Bits {
    static void bits(const void *a_, const void *b_, size_t n, const OwnConstant &c, uint8_t *out) {
        const uint8_t *a = static_cast<const uint8_t *>(a_);
        const uint8_t *b = static_cast<const uint8_t *>(b_ ? b_ : a_);
        const auto value = static_cast<uint8_t>(0u - (c.value & 1));
        const size_t bytes = (n + 7) / 8;
        for (size_t k = 0; k < bytes; ++k)
            out[k] = static_cast<uint8_t>(F::byte(a[k], b[k], value));
        if (n % 8 != 0) out[bytes - 1] = static_cast<uint8_t>(out[bytes - 1] & 0xFF00 >> n % 8);
    }
    static constexpr OwnRelation relation = {bits, nullptr};
};
struct LessBits {
    static int byte(int a, int b, int) { return ~a & b; }
};
struct EqualBits {
    static int byte(int a, int b, int) { return ~(a ^ b); }
};
struct LessBit {
    static int byte(int a, int, int value) { return ~a & value; }
};
struct GreaterBit {
    static int byte(int a, int, int value) { return a & ~value; }
};
struct EqualBit {
    static int byte(int a, int, int value) { return ~(a ^ value); }
};

template <int value>
void setAll(const void *, const void *, size_t n, const OwnConstant &, uint8_t *out) {
    __builtin_memset(out, value, (n + 7) / 8);
    if (n % 8 != 0) out[n / 8] = static_cast<uint8_t>(value & 0xFF00 >> n % 8);
}
template <int value>
void setAllPixels(const void *, const void *, size_t n, int, const OwnConstant &c, uint8_t *out) {
    setAll<value>(nullptr, nullptr, n, c, out);
}

template <class D, class R>
constexpr OwnRelation two = Samples<D, R, true>::relation;
template <class D, class R>
constexpr OwnRelation one = Samples<D, R, false>::relation;

}  // namespace

// In the order 1U, 8U, 8S, 16U, 16S, 32S, 32F.
extern const OwnCompareRows compareRows;
const OwnCompareRows compareRows = {
    .less = {Bits<LessBits>::relation, two<Own8U, Less>, two<Own8S, Less>, two<Own16U, Less>, two<Own16S, Less>,
             two<Own32S, Less>, two<Own32F, Less>},
    .equal = {Bits<EqualBits>::relation, two<Own8U, Equal>, two<Own8U, Equal>, two<Own16U, Equal>, two<Own16U, Equal>,
              two<Own32S, Equal>, two<Own32F, Equal>},
    .near = two<Own32F, Near>,
    .lessS = {Bits<LessBit>::relation, one<Own8U, Less>, one<Own8S, Less>, one<Own16U, Less>, one<Own16S, Less>,
              one<Own32S, Less>, one<Own32F, Less>},
    .greaterS = {Bits<GreaterBit>::relation, one<Own8U, Greater>, one<Own8S, Greater>, one<Own16U, Greater>,
                 one<Own16S, Greater>, one<Own32S, Greater>, one<Own32F, Greater>},
    .equalS = {Bits<EqualBit>::relation, one<Own8U, Equal>, one<Own8U, Equal>, one<Own16U, Equal>, one<Own16U, Equal>,
               one<Own32S, Equal>, one<Own32F, Equal>},
    .nearS = one<Own32F, Near>,
    .always = {setAll<255>, setAllPixels<255>},
    .never = {setAll<0>, setAllPixels<0>},
};

}  // namespace OWN_LEVEL
