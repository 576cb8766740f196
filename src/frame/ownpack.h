// Bytes into bits, and rows of bytes into columns, for kernel files.
#pragma once

#include "frame/ownsample.h"

namespace {

// The bits of a byte in reverse order.
struct OwnReversed {
    uint8_t bytes[256];
};
constexpr OwnReversed ownMakeReversed() {
    OwnReversed table = {};
    for (int value = 0; value < 256; ++value) {
        for (int bit = 0; bit < 8; ++bit) {
            if ((value >> bit & 1) != 0) table.bytes[value] = static_cast<uint8_t>(table.bytes[value] | 128 >> bit);
        }
    }
    return table;
}
constexpr OwnReversed ownReversed = ownMakeReversed();

// Packs one bit of each of n bytes, the one that left brings to the top; the first goes to a byte's top. The bits
// behind the last are 0.
inline void ownPackBits(const uint8_t *bytes, int left, size_t n, uint8_t *bits) {
    size_t i = 0;
#if defined(__AVX2__)
    // The bytes of eight pixels change places, since the mask has the first at the bottom.
    const __m256i reverse = _mm256_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F,  //
                                              0x0001020304050607);
    const __m128i count = _mm_cvtsi32_si128(left);
    for (; i + 32 <= n; i += 32) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes + i));
        const int mask = _mm256_movemask_epi8(_mm256_shuffle_epi8(_mm256_sll_epi16(v, count), reverse));
        __builtin_memcpy(bits + i / 8, &mask, 4);
    }
#elif defined(__SSE2__)
    const __m128i count = _mm_cvtsi32_si128(left);
    for (; i + 16 <= n; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + i));
        const int mask = _mm_movemask_epi8(_mm_sll_epi16(v, count));
        bits[i / 8] = ownReversed.bytes[mask & 255];
        bits[i / 8 + 1] = ownReversed.bytes[mask >> 8];
    }
#endif
    for (; i < n; i += 8) {
        unsigned byte = 0;
        for (size_t k = i; k < i + 8 && k < n; ++k)
            byte |= (static_cast<unsigned>(bytes[k]) << left & 128u) >> (k - i);
        bits[i / 8] = static_cast<uint8_t>(byte);
    }
}

// 16 rows of 16 bytes become 16 columns.
inline void ownTransposeBytes(const uint8_t *rows, uint8_t *columns) {
#if defined(__SSE2__)
    // Each pass deals the two halves out in turn, as a perfect shuffle of cards; four of them transpose.
    __m128i now[16], next[16];
    for (int i = 0; i < 16; ++i)
        now[i] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(rows) + i);
    for (int pass = 0; pass < 4; ++pass) {
        for (int i = 0; i < 8; ++i) {
            next[2 * i] = _mm_unpacklo_epi8(now[i], now[i + 8]);
            next[2 * i + 1] = _mm_unpackhi_epi8(now[i], now[i + 8]);
        }
        for (int i = 0; i < 16; ++i)
            now[i] = next[i];
    }
    for (int i = 0; i < 16; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(columns) + i, now[i]);
#else
    for (int i = 0; i < 16; ++i) {
        for (int k = 0; k < 16; ++k)
            columns[i * 16 + k] = rows[k * 16 + i];
    }
#endif
}

}  // namespace
