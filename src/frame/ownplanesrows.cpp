// Pixels into rows and rows into pixels, compiled once for each CPU level.
#include "frame/ownpack.h"
#include "frame/ownplanes.h"

namespace OWN_LEVEL {
namespace {

// What the vectors below leave over, from pixel i on.
template <class D, int step>
void splitFrom(const void *pixels, void *const *rows, size_t i, size_t n) {
    using Sample = typename D::Sample;
    const Sample *src = static_cast<const Sample *>(pixels);
    Sample *row[step];
    for (int c = 0; c < step; ++c)
        row[c] = static_cast<Sample *>(rows[c]);
    for (; i < n; ++i) {
        for (int c = 0; c < step; ++c)
            row[c][i] = src[i * step + static_cast<size_t>(c)];
    }
}

template <class D, int step>
void joinFrom(const void *const *rows, void *pixels, size_t i, size_t n) {
    using Sample = typename D::Sample;
    Sample *dst = static_cast<Sample *>(pixels);
    const Sample *row[step];
    for (int c = 0; c < step; ++c)
        row[c] = static_cast<const Sample *>(rows[c]);
    for (; i < n; ++i) {
        for (int c = 0; c < step; ++c)
            dst[i * step + static_cast<size_t>(c)] = row[c][i];
    }
}

#if defined(__AVX2__)

// Vectors of two halves, each of 16 bytes with a turn of its own: three such vectors hold 3 x 16 bytes of pixels in
// their lower halves, and those that follow in the upper ones.
constexpr size_t HALF = 16, WHOLE = 32, LINE = 64;

inline __m256i load(const uint8_t *p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
}
inline __m256i loadHalves(const uint8_t *low, const uint8_t *high) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(low));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(first),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i *>(high)), 1);
}
template <int vectors>
[[gnu::always_inline]] inline void loadInHalves(const uint8_t *p, __m256i *v) {
    for (size_t k = 0; k < vectors; ++k)
        v[k] = loadHalves(p + k * HALF, p + (k + vectors) * HALF);
}
inline void store(uint8_t *p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v);
}
// Of several rows each is written a line at a time: stores that follow one another into a line leave together.
inline void storeLine(uint8_t *p, __m256i first, __m256i second) {
    store(p, first);
    store(p + WHOLE, second);
}

// Of any place within the 16 bytes each of three samples in turn stands there in just one of the three vectors. So a
// channel is one selection, from which a permutation makes a row, or into which it makes one.
template <int bytes>
struct Triples {
    static constexpr int samples = 16 / bytes;

    struct Order {
        alignas(WHOLE) uint8_t split[3][WHOLE], join[3][WHOLE];
        alignas(WHOLE) uint8_t stands[3][3][WHOLE];  // the places in a vector of a channel
    };
    static constexpr bool standsAt(int vector, int channel, int place) {
        return (samples * vector + place) % 3 == channel;
    }
    static constexpr Order make() {
        Order result = {};
        for (int at = 0; at < 32; ++at) {
            const int place = at % 16 / bytes, byte = at % bytes;
            for (int c = 0; c < 3; ++c) {
                result.split[c][at] = static_cast<uint8_t>((3 * place + c) % samples * bytes + byte);
                for (int k = 0; k < 3; ++k) {
                    if (!standsAt(k, c, place)) continue;
                    result.join[c][at] = static_cast<uint8_t>((samples * k + place) / 3 * bytes + byte);
                    result.stands[k][c][at] = 255;
                }
            }
        }
        return result;
    }
    static constexpr Order order = make();

    static __m256i at(const uint8_t *places) { return _mm256_load_si256(reinterpret_cast<const __m256i *>(places)); }

    // a, and b where the channel stands in the vector.
    template <int vector, int channel>
    [[gnu::always_inline]] static __m256i blend(__m256i a, __m256i b) {
        if constexpr (bytes == 4) {
            constexpr int half = standsAt(vector, channel, 0) | standsAt(vector, channel, 1) << 1 |
                                 standsAt(vector, channel, 2) << 2 | standsAt(vector, channel, 3) << 3;
            return _mm256_blend_epi32(a, b, half | half << 4);
        } else {
            return _mm256_blendv_epi8(a, b, at(order.stands[vector][channel]));
        }
    }

    template <int c>
    [[gnu::always_inline]] static __m256i channel(const __m256i *v) {
        return _mm256_shuffle_epi8(blend<2, c>(blend<1, c>(v[0], v[1]), v[2]), at(order.split[c]));
    }

    // The k-th vector of pixels, from channels permuted by join.
    template <int k>
    [[gnu::always_inline]] static __m256i pixels(const __m256i *channels) {
        return blend<k, 2>(blend<k, 1>(channels[0], channels[1]), channels[2]);
    }
};

template <int bytes>
size_t splitTriples(const uint8_t *src, void *const *rows, size_t n) {
    using T = Triples<bytes>;
    uint8_t *a = static_cast<uint8_t *>(rows[0]), *b = static_cast<uint8_t *>(rows[1]),
            *c = static_cast<uint8_t *>(rows[2]);
    size_t at = 0;
    for (; at + LINE <= n * bytes; at += LINE, src += 3 * LINE) {
        __m256i v[3], next[3];
        loadInHalves<3>(src, v);
        loadInHalves<3>(src + 3 * WHOLE, next);
        storeLine(a + at, T::template channel<0>(v), T::template channel<0>(next));
        storeLine(b + at, T::template channel<1>(v), T::template channel<1>(next));
        storeLine(c + at, T::template channel<2>(v), T::template channel<2>(next));
    }
    if (at + WHOLE <= n * bytes) {
        __m256i v[3];
        loadInHalves<3>(src, v);
        store(a + at, T::template channel<0>(v));
        store(b + at, T::template channel<1>(v));
        store(c + at, T::template channel<2>(v));
        at += WHOLE;
    }
    return at / bytes;
}

template <int bytes>
size_t joinTriples(const void *const *rows, uint8_t *dst, size_t n) {
    using T = Triples<bytes>;
    const uint8_t *row[3];
    for (int c = 0; c < 3; ++c)
        row[c] = static_cast<const uint8_t *>(rows[c]);
    size_t at = 0;
    for (; at + WHOLE <= n * bytes; at += WHOLE, dst += 3 * WHOLE) {
        __m256i channels[3];
        for (int c = 0; c < 3; ++c)
            channels[c] = _mm256_shuffle_epi8(load(row[c] + at), T::at(T::order.join[c]));
        const __m256i first = T::template pixels<0>(channels), second = T::template pixels<1>(channels),
                      third = T::template pixels<2>(channels);
        store(dst, _mm256_permute2x128_si256(first, second, 0x20));
        store(dst + WHOLE, _mm256_permute2x128_si256(third, first, 0x30));
        store(dst + 2 * WHOLE, _mm256_permute2x128_si256(second, third, 0x31));
    }
    return at / bytes;
}

// Each byte of a row three times.
struct Thrice {
    alignas(WHOLE) uint8_t places[3][WHOLE];

    constexpr Thrice() : places() {
        for (size_t at = 0; at < 3 * WHOLE; ++at)
            places[at / WHOLE][at % WHOLE] = static_cast<uint8_t>(at / 3 % HALF);
    }
};
size_t joinSame(const uint8_t *row, uint8_t *dst, size_t n) {
    static constexpr Thrice order;
    const auto places = [](size_t k) { return _mm256_load_si256(reinterpret_cast<const __m256i *>(order.places[k])); };
    size_t i = 0;
    for (; i + WHOLE <= n; i += WHOLE, dst += 3 * WHOLE) {
        const __m256i both = load(row + i), low = loadHalves(row + i, row + i),
                      high = loadHalves(row + i + HALF, row + i + HALF);
        store(dst, _mm256_shuffle_epi8(low, places(0)));
        store(dst + WHOLE, _mm256_shuffle_epi8(both, places(1)));
        store(dst + 2 * WHOLE, _mm256_shuffle_epi8(high, places(2)));
    }
    return i;
}

// Four vectors of pixels of four samples as channels. Each half has the samples of a channel side by side first; then
// groups of four bytes change places with those of the other vectors.
template <int bytes>
[[gnu::always_inline]] inline void splitQuad(const uint8_t *src, __m256i *channels) {
    const __m256i bytesTogether =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    const __m256i wordsTogether =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    __m256i v[4];
    loadInHalves<4>(src, v);
    for (__m256i &one : v) {
        if (bytes == 1) one = _mm256_shuffle_epi8(one, bytesTogether);
        if (bytes == 2) one = _mm256_shuffle_epi8(one, wordsTogether);
    }
    const __m256i low0 = _mm256_unpacklo_epi32(v[0], v[1]), low1 = _mm256_unpacklo_epi32(v[2], v[3]);
    const __m256i high0 = _mm256_unpackhi_epi32(v[0], v[1]), high1 = _mm256_unpackhi_epi32(v[2], v[3]);
    channels[0] = _mm256_unpacklo_epi64(low0, low1);
    channels[1] = _mm256_unpackhi_epi64(low0, low1);
    channels[2] = _mm256_unpacklo_epi64(high0, high1);
    channels[3] = _mm256_unpackhi_epi64(high0, high1);
}

template <int bytes>
size_t splitQuads(const uint8_t *src, void *const *rows, size_t n) {
    uint8_t *row[4];
    for (int c = 0; c < 4; ++c)
        row[c] = static_cast<uint8_t *>(rows[c]);
    size_t at = 0;
    for (; at + LINE <= n * bytes; at += LINE, src += 4 * LINE) {
        __m256i channels[4], next[4];
        splitQuad<bytes>(src, channels);
        splitQuad<bytes>(src + 4 * WHOLE, next);
        for (int c = 0; c < 4; ++c)
            storeLine(row[c] + at, channels[c], next[c]);
    }
    if (at + WHOLE <= n * bytes) {
        __m256i channels[4];
        splitQuad<bytes>(src, channels);
        for (int c = 0; c < 4; ++c)
            store(row[c] + at, channels[c]);
        at += WHOLE;
    }
    return at / bytes;
}

template <int bytes>
__m256i zipLow(__m256i a, __m256i b) {
    if constexpr (bytes == 1) return _mm256_unpacklo_epi8(a, b);
    if constexpr (bytes == 2) return _mm256_unpacklo_epi16(a, b);
    if constexpr (bytes == 4) return _mm256_unpacklo_epi32(a, b);
    if constexpr (bytes == 8) return _mm256_unpacklo_epi64(a, b);
}
template <int bytes>
__m256i zipHigh(__m256i a, __m256i b) {
    if constexpr (bytes == 1) return _mm256_unpackhi_epi8(a, b);
    if constexpr (bytes == 2) return _mm256_unpackhi_epi16(a, b);
    if constexpr (bytes == 4) return _mm256_unpackhi_epi32(a, b);
    if constexpr (bytes == 8) return _mm256_unpackhi_epi64(a, b);
}

template <int bytes>
size_t joinQuads(const void *const *rows, uint8_t *dst, size_t n) {
    const uint8_t *row[4];
    for (int c = 0; c < 4; ++c)
        row[c] = static_cast<const uint8_t *>(rows[c]);
    size_t at = 0;
    for (; at + WHOLE <= n * bytes; at += WHOLE, dst += 4 * WHOLE) {
        const __m256i a = load(row[0] + at), b = load(row[1] + at), c = load(row[2] + at), d = load(row[3] + at);
        const __m256i lowAB = zipLow<bytes>(a, b), lowCD = zipLow<bytes>(c, d);
        const __m256i highAB = zipHigh<bytes>(a, b), highCD = zipHigh<bytes>(c, d);
        const __m256i v0 = zipLow<2 * bytes>(lowAB, lowCD), v1 = zipHigh<2 * bytes>(lowAB, lowCD);
        const __m256i v2 = zipLow<2 * bytes>(highAB, highCD), v3 = zipHigh<2 * bytes>(highAB, highCD);
        store(dst, _mm256_permute2x128_si256(v0, v1, 0x20));
        store(dst + WHOLE, _mm256_permute2x128_si256(v2, v3, 0x20));
        store(dst + 2 * WHOLE, _mm256_permute2x128_si256(v0, v1, 0x31));
        store(dst + 3 * WHOLE, _mm256_permute2x128_si256(v2, v3, 0x31));
    }
    return at / bytes;
}

template <class D, int step>
size_t splitVectors(const void *pixels, void *const *rows, size_t n) {
    constexpr int bytes = sizeof(typename D::Value);
    const uint8_t *src = static_cast<const uint8_t *>(pixels);
    return step == 3 ? splitTriples<bytes>(src, rows, n) : splitQuads<bytes>(src, rows, n);
}
template <class D, int step>
size_t joinVectors(const void *const *rows, void *pixels, size_t n) {
    constexpr int bytes = sizeof(typename D::Value);
    uint8_t *dst = static_cast<uint8_t *>(pixels);
    if (bytes == 1 && step == 3 && rows[0] == rows[1] && rows[0] == rows[2])
        return joinSame(static_cast<const uint8_t *>(rows[0]), dst, n);
    return step == 3 ? joinTriples<bytes>(rows, dst, n) : joinQuads<bytes>(rows, dst, n);
}

#elif defined(__SSE2__)

// Without selections of bytes by their places. A riffle takes the samples of the first half of three or four vectors
// and those of the second in turn, so that the one at i comes to 2 i, modulo one less than their number; with n samples
// in a vector and k vectors the one at k i + c, of channel c, comes to i + n c by log2(n) riffles, and back by taking
// the even ones and the odd ones apart as often.
constexpr size_t WHOLE = 16;

inline __m128i load(const uint8_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}
inline void store(uint8_t *p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
}

template <int bytes>
[[gnu::always_inline]] inline __m128i zipLow(__m128i a, __m128i b) {
    if constexpr (bytes == 1) return _mm_unpacklo_epi8(a, b);
    if constexpr (bytes == 2) return _mm_unpacklo_epi16(a, b);
    if constexpr (bytes == 4) return _mm_unpacklo_epi32(a, b);
}
template <int bytes>
[[gnu::always_inline]] inline __m128i zipHigh(__m128i a, __m128i b) {
    if constexpr (bytes == 1) return _mm_unpackhi_epi8(a, b);
    if constexpr (bytes == 2) return _mm_unpackhi_epi16(a, b);
    if constexpr (bytes == 4) return _mm_unpackhi_epi32(a, b);
}
// The even samples of a vector before the odd ones.
template <int bytes>
[[gnu::always_inline]] inline __m128i apart(__m128i v) {
    if constexpr (bytes == 1) return _mm_packus_epi16(_mm_and_si128(v, _mm_set1_epi16(255)), _mm_srli_epi16(v, 8));
    if constexpr (bytes == 2) v = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xD8), 0xD8);
    return _mm_shuffle_epi32(v, 0xD8);
}

template <int bytes, int step>
[[gnu::always_inline]] inline void riffle(__m128i *v) {
    if constexpr (step == 3) {
        const __m128i first = zipLow<bytes>(v[0], _mm_unpackhi_epi64(v[1], v[1]));
        const __m128i second = zipLow<bytes>(_mm_unpackhi_epi64(v[0], v[0]), v[2]);
        v[2] = zipLow<bytes>(v[1], _mm_unpackhi_epi64(v[2], v[2]));
        v[0] = first;
        v[1] = second;
    } else {
        const __m128i second = zipHigh<bytes>(v[0], v[2]), third = zipLow<bytes>(v[1], v[3]);
        v[0] = zipLow<bytes>(v[0], v[2]);
        v[3] = zipHigh<bytes>(v[1], v[3]);
        v[1] = second;
        v[2] = third;
    }
}
template <int bytes>
[[gnu::always_inline]] inline void unriffle(__m128i *v) {
    const __m128i a = apart<bytes>(v[0]), b = apart<bytes>(v[1]), c = apart<bytes>(v[2]);
    v[0] = _mm_unpacklo_epi64(a, b);
    v[1] = _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(c), _mm_castsi128_pd(a), 2));
    v[2] = _mm_unpackhi_epi64(b, c);
}

template <class D, int step>
size_t splitVectors(const void *pixels, void *const *rows, size_t n) {
    constexpr int bytes = sizeof(typename D::Value);
    const uint8_t *src = static_cast<const uint8_t *>(pixels);
    uint8_t *row[step];
    for (int c = 0; c < step; ++c)
        row[c] = static_cast<uint8_t *>(rows[c]);
    size_t at = 0;
    for (; at + WHOLE <= n * bytes; at += WHOLE, src += step * WHOLE) {
        __m128i v[step];
        for (int k = 0; k < step; ++k)
            v[k] = load(src + static_cast<size_t>(k) * WHOLE);
        for (size_t samples = 1; samples < WHOLE / bytes; samples *= 2)
            riffle<bytes, step>(v);
        for (int c = 0; c < step; ++c)
            store(row[c] + at, v[c]);
    }
    return at / bytes;
}
template <class D, int step>
size_t joinVectors(const void *const *rows, void *pixels, size_t n) {
    constexpr int bytes = sizeof(typename D::Value);
    if (step == 3 && bytes == 2) return 0;  // sample by sample takes less
    uint8_t *dst = static_cast<uint8_t *>(pixels);
    const uint8_t *row[step];
    for (int c = 0; c < step; ++c)
        row[c] = static_cast<const uint8_t *>(rows[c]);
    size_t at = 0;
    for (; at + WHOLE <= n * bytes; at += WHOLE, dst += step * WHOLE) {
        __m128i v[step];
        for (int c = 0; c < step; ++c)
            v[c] = load(row[c] + at);
        if constexpr (step == 4) {
            // What was at i + n c comes to 4 i + c by as many riffles as four has twos.
            riffle<bytes, step>(v);
            riffle<bytes, step>(v);
        } else {
            for (size_t samples = 1; samples < WHOLE / bytes; samples *= 2)
                unriffle<bytes>(v);
        }
        for (int k = 0; k < step; ++k)
            store(dst + static_cast<size_t>(k) * WHOLE, v[k]);
    }
    return at / bytes;
}

#else

template <class D, int step>
size_t splitVectors(const void *, void *const *, size_t) {
    return 0;
}
template <class D, int step>
size_t joinVectors(const void *const *, void *, size_t) {
    return 0;
}

#endif

template <class D, int step>
void split(const void *pixels, void *const *rows, size_t n) {
    splitFrom<D, step>(pixels, rows, splitVectors<D, step>(pixels, rows, n), n);
}

template <class D, int step>
void join(const void *const *rows, void *pixels, size_t n) {
    joinFrom<D, step>(rows, pixels, joinVectors<D, step>(rows, pixels, n), n);
}

void packBits(const uint8_t *bytes, size_t n, uint8_t *bits) {
    ownPackBits(bytes, 0, n, bits);
}

}  // namespace

extern const OwnPlaneMoves planeMoves;
const OwnPlaneMoves planeMoves = {
    {{split<Own8U, 3>, split<Own8U, 4>}, {split<Own16U, 3>, split<Own16U, 4>}, {split<Own32U, 3>, split<Own32U, 4>}},
    {{join<Own8U, 3>, join<Own8U, 4>}, {join<Own16U, 3>, join<Own16U, 4>}, {join<Own32U, 3>, join<Own32U, 4>}},
    packBits,
};

}  // namespace OWN_LEVEL
