// Kernels of reversal: whole vectors of pixels are turned round, and what is left at the end goes one by one.
#include "frame/ownsample.h"
#include "geometry/ownmirror.h"

namespace {

template <size_t bytes>
[[gnu::always_inline]] inline void reverseRest(const uint8_t *src, uint8_t *dst, size_t from, size_t n) {
    for (size_t i = from; i < n; ++i)
        __builtin_memcpy(dst + i * bytes, src + (n - 1 - i) * bytes, bytes);
}

// Vectors of so many lanes of a sample, turned round.
#if defined(__AVX2__)
constexpr size_t VECTOR = 32;
#else
constexpr size_t VECTOR = 16;
#endif
typedef uint8_t Bytes __attribute__((vector_size(VECTOR), aligned(1), may_alias));
typedef uint16_t Words __attribute__((vector_size(VECTOR), aligned(1), may_alias));
typedef uint32_t Doubles __attribute__((vector_size(VECTOR), aligned(1), may_alias));
typedef uint64_t Quads __attribute__((vector_size(VECTOR), aligned(1), may_alias));

template <class Lanes>
[[gnu::always_inline]] inline Lanes turnRound(Lanes v) {
    constexpr size_t bytes = sizeof(v[0]);
#if defined(__AVX2__)
    const __m256i whole = reinterpret_cast<__m256i>(v);
    if constexpr (bytes == 4) {
        return reinterpret_cast<Lanes>(_mm256_permutevar8x32_epi32(whole, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0)));
    } else {
        const __m128i order = bytes == 1 ? _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
                                         : _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
        const __m256i halves = _mm256_shuffle_epi8(whole, _mm256_broadcastsi128_si256(order));
        return reinterpret_cast<Lanes>(_mm256_permute4x64_epi64(halves, 0x4E));
    }
#elif defined(__SSE2__)
    __m128i whole = reinterpret_cast<__m128i>(v);
    if constexpr (bytes == 1) whole = _mm_or_si128(_mm_slli_epi16(whole, 8), _mm_srli_epi16(whole, 8));
    if constexpr (bytes <= 2) whole = _mm_shufflehi_epi16(_mm_shufflelo_epi16(whole, 0x1B), 0x1B);
    return reinterpret_cast<Lanes>(_mm_shuffle_epi32(whole, bytes <= 2 ? 0x4E : 0x1B));
#else
    Lanes turned;
    for (size_t k = 0; k < VECTOR / bytes; ++k)
        turned[k] = v[VECTOR / bytes - 1 - k];
    return turned;
#endif
}

template <class Lanes>
void reverseLanes(const uint8_t *src, uint8_t *dst, size_t n) {
    Lanes v;
    constexpr size_t bytes = sizeof(v[0]), lanes = VECTOR / bytes;
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        __builtin_memcpy(&v, src + (n - i - lanes) * bytes, VECTOR);
        v = turnRound(v);
        __builtin_memcpy(dst + i * bytes, &v, VECTOR);
    }
    reverseRest<bytes>(src, dst, i, n);
}

// Pixels of three bytes, five at a time. Each vector begins one byte before its pixels and ends one byte behind its
// place, which the pixel there overwrites.
void reverseThrees(const uint8_t *src, uint8_t *dst, size_t n) {
    size_t i = 0;
#if defined(__SSSE3__)
    const __m128i order = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0);
    for (; i + 6 <= n; i += 5) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + (n - i - 5) * 3 - 1));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i * 3), _mm_shuffle_epi8(v, order));
    }
#endif
    reverseRest<3>(src, dst, i, n);
}

void reverse(const uint8_t *src, uint8_t *dst, size_t n, size_t bytes) {
    switch (bytes) {
        case 1:
            return reverseLanes<Bytes>(src, dst, n);
        case 2:
            return reverseLanes<Words>(src, dst, n);
        case 3:
            return reverseThrees(src, dst, n);
        case 4:
            return reverseLanes<Doubles>(src, dst, n);
        case 6:
            return reverseRest<6>(src, dst, 0, n);
        case 8:
            return reverseRest<8>(src, dst, 0, n);
        case 12:
            return reverseRest<12>(src, dst, 0, n);
        case 16:
            return reverseRest<16>(src, dst, 0, n);
        default:
            for (size_t i = 0; i < n; ++i)
                __builtin_memcpy(dst + i * bytes, src + (n - 1 - i) * bytes, bytes);
    }
}

// Neighbouring bits change places, then pairs, then fours.
template <class Word>
[[gnu::always_inline]] inline Word turnBits(Word v) {
    v = ((v >> 1) & 0x5555555555555555) | ((v & 0x5555555555555555) << 1);
    v = ((v >> 2) & 0x3333333333333333) | ((v & 0x3333333333333333) << 2);
    return ((v >> 4) & 0x0F0F0F0F0F0F0F0F) | ((v & 0x0F0F0F0F0F0F0F0F) << 4);
}

void reverseBits(const uint8_t *src, uint8_t *dst, size_t n) {
    size_t i = 0;
    for (; i + VECTOR <= n; i += VECTOR) {
        Bytes v;
        __builtin_memcpy(&v, src + (n - i - VECTOR), VECTOR);
        const Quads turned = turnBits(reinterpret_cast<Quads>(turnRound(v)));
        __builtin_memcpy(dst + i, &turned, VECTOR);
    }
    for (; i < n; ++i)
        dst[i] = static_cast<uint8_t>(turnBits(uint64_t{src[n - 1 - i]}));
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnMirrorRows mirrorRows;
const OwnMirrorRows mirrorRows = {reverse, reverseBits};
}  // namespace OWN_LEVEL
