// Passes over memory with the widest vectors of a CPU level, by plain stores and by stores past the caches.
#include "limitrows.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace OWN_LEVEL {

namespace {

#if defined(__AVX512F__)
constexpr int WIDTH = 64;
#elif defined(__AVX2__)
constexpr int WIDTH = 32;
#else
constexpr int WIDTH = 16;
#endif
typedef long long Vector __attribute__((vector_size(WIDTH), may_alias));

Vector load(const uint8_t *from) {
    return *reinterpret_cast<const Vector *>(from);
}

void store(uint8_t *to, Vector v) {
    *reinterpret_cast<Vector *>(to) = v;
}

#if defined(__SSE2__)
void storeStreaming(uint8_t *to, Vector v) {
#if defined(__AVX512F__)
    _mm512_stream_si512(reinterpret_cast<__m512i *>(to), reinterpret_cast<__m512i>(v));
#elif defined(__AVX2__)
    _mm256_stream_si256(reinterpret_cast<__m256i *>(to), reinterpret_cast<__m256i>(v));
#else
    _mm_stream_si128(reinterpret_cast<__m128i *>(to), reinterpret_cast<__m128i>(v));
#endif
}
#endif

// A cache line in each step. What is written depends on everything that is read.
template <void (*put)(uint8_t *, Vector), int shape>
void pass(uint8_t *a, uint8_t *b, uint8_t *d, size_t n) {
    for (size_t line = 0; line < n; line += 64) {
        for (size_t i = line; i < line + 64; i += WIDTH) {
            if constexpr (shape == LIMIT_SWAP) {
                const Vector first = load(a + i), second = load(d + i);
                put(a + i, second);
                put(d + i, first);
                continue;
            }
            Vector v = Vector{} + 0x5A5A5A5A5A5A5A5A;  // some machines store zeros quicker than anything else
            if constexpr (shape == LIMIT_COPY || shape == LIMIT_KEEP_COPY) v = load(a + i);
            if constexpr (shape == LIMIT_JOIN || shape == LIMIT_KEEP_JOIN) v = load(a + i) ^ load(b + i);
            if constexpr (shape == LIMIT_KEEP_FILL) v = ~load(d + i);
            if constexpr (shape == LIMIT_KEEP_COPY || shape == LIMIT_KEEP_JOIN) v ^= load(d + i);
            put(d + i, v);
        }
    }
#if defined(__SSE2__)
    if constexpr (put != store) _mm_sfence();
#endif
}

// The sum is wanted by nobody, but it has to be made.
void keep(Vector sum) {
    __asm__ volatile("" : : "m"(sum));
}

template <int sources>
void passReading(uint8_t *a, uint8_t *b, uint8_t *, size_t n) {
    Vector sum = {}, other = {};
    for (size_t line = 0; line < n; line += 64) {
        for (size_t i = line; i < line + 64; i += WIDTH) {
            sum ^= load(a + i);
            if constexpr (sources == 2) other ^= load(b + i);
        }
    }
    keep(sum ^ other);
}

void readAll(const uint8_t *from, size_t n) {
    Vector sum = {};
    for (size_t i = 0; i < n; i += WIDTH)
        sum ^= load(from + i);
    keep(sum);
}

}  // namespace

extern const LimitRows limitRows;
const LimitRows limitRows = {
    .plain = {pass<store, LIMIT_FILL>, pass<store, LIMIT_COPY>, pass<store, LIMIT_JOIN>, pass<store, LIMIT_KEEP_FILL>,
              pass<store, LIMIT_KEEP_COPY>, pass<store, LIMIT_KEEP_JOIN>, pass<store, LIMIT_SWAP>, passReading<1>,
              passReading<2>},
#if defined(__SSE2__)
    .streaming = {pass<storeStreaming, LIMIT_FILL>, pass<storeStreaming, LIMIT_COPY>, pass<storeStreaming, LIMIT_JOIN>,
                  pass<storeStreaming, LIMIT_KEEP_FILL>, pass<storeStreaming, LIMIT_KEEP_COPY>,
                  pass<storeStreaming, LIMIT_KEEP_JOIN>, pass<storeStreaming, LIMIT_SWAP>, nullptr, nullptr},
#else
    .streaming = {},
#endif
    .read = readAll,
};

}  // namespace OWN_LEVEL
