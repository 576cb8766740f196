// Linear samples. Bytes are made with fractions of 14 bits, rows keeping 6 bits of theirs; other depths in double or
// float.
#include "frame/ownvector.h"
#include "geometry/ownsamplerplaces.h"

namespace {

constexpr int32_t ONE = 1 << 14;

template <class Fraction>
struct LinearPlaces : Places {
    Fraction fx[BLOCK], fy[BLOCK];
};

// The fraction behind a whole part, which is cut off, in float; of fixed point, rounded to its places. Both terms are
// exact, and so is the sum. It is above 1 or below 0 where the last or the first pixel is none of the floats.
template <class Fraction>
[[gnu::always_inline]] inline Fraction fractionOf(float value, int32_t whole, int32_t from) {
    const float sum = value - static_cast<float>(whole) + static_cast<float>(whole - from);
    const float part = notBelow(notAbove(sum, 1.0f), 0.0f);
    if constexpr (static_cast<Fraction>(0.5f) == 0) {
        return nearest(part * ONE);
    } else {
        return part;
    }
}

// Positions in float, for bytes and floats.
template <class Fraction>
[[gnu::always_inline]] inline void locate(const Extent &extent, const OwnAnyF32 *position, int32_t *place,
                                          Fraction *fraction, size_t n) {
    const auto first = static_cast<float>(extent.first), last = static_cast<float>(extent.last);
    for (size_t i = 0; i < n; ++i) {
        const float value = notAbove(notBelow<float>(position[i], first), last);
        const int32_t whole = cutOf(value);
        const int32_t from = notBelow(notAbove(whole, extent.last - 1), extent.first);
        place[i] = (from - extent.origin) * extent.step;
        fraction[i] = fractionOf<Fraction>(value, whole, from);
    }
}

// Positions in 16.16.
[[gnu::always_inline]] inline void locate(const Extent &extent, const OwnAnyS32 *position, int32_t *place,
                                          int32_t *fraction, size_t n) {
    const int32_t most = 0x7FFF;
    const int32_t first = notAbove(extent.first, most) << 16;
    const int32_t last = extent.last > most ? INT32_MAX : extent.last << 16;
    for (size_t i = 0; i < n; ++i) {
        const int32_t value = notAbove(notBelow<int32_t>(position[i], first), last);
        const int32_t from = notBelow(notAbove(value >> 16, extent.last - 1), extent.first);
        const auto rest = static_cast<int32_t>(static_cast<uint32_t>(value) - (static_cast<uint32_t>(from) << 16));
        place[i] = (from - extent.origin) * extent.step;
        fraction[i] = notAbove(notBelow(rest >> 2, 0), ONE);
    }
}

// Positions for fractions in double. `positionAt(i)` reads the i-th: a template that took the pointer would forget that
// the address may be any.
template <class PositionAt>
[[gnu::always_inline]] inline void locateDouble(const Extent &extent, PositionAt positionAt, int32_t *place,
                                                double *fraction, size_t n) {
    const double first = extent.first, last = extent.last;
    for (size_t i = 0; i < n; ++i) {
        const double value = notAbove(notBelow<double>(positionAt(i), first), last);
        const int32_t whole = wholeOf(value);
        const int32_t from = notBelow(notAbove(whole, extent.last - 1), extent.first);
        place[i] = (from - extent.origin) * extent.step;
        fraction[i] = whole > from ? 1.0 : value - from;
    }
}
[[gnu::always_inline]] inline void locate(const Extent &extent, const OwnAnyF32 *position, int32_t *place,
                                          double *fraction, size_t n) {
    locateDouble(extent, [position](size_t i) { return static_cast<double>(position[i]); }, place, fraction, n);
}
[[gnu::always_inline]] inline void locate(const Extent &extent, const AnyDouble *position, int32_t *place,
                                          double *fraction, size_t n) {
    locateDouble(extent, [position](size_t i) { return static_cast<double>(position[i]); }, place, fraction, n);
}

template <class Position, class Fraction>
[[gnu::always_inline]] inline size_t locateBlock(const OwnSampled &src, const void *x, const void *y, size_t done,
                                                 size_t n, LinearPlaces<Fraction> *places) {
    const size_t count = n - done < BLOCK ? n - done : BLOCK;
    locate(columnsOf(src), static_cast<const Position *>(x) + done, places->column, places->fx, count);
    locate(rowsOf(src), static_cast<const Position *>(y) + done, places->row, places->fy, count);
    return places->settle(src, 2, count);
}

[[gnu::always_inline]] inline uint32_t pairOf(const uint8_t *pixel) {
    uint16_t pair;
    __builtin_memcpy(&pair, pixel, 2);
    return pair;
}

// The bytes of two pixels and the two below them, of one channel, as one number.
[[gnu::always_inline]] inline void gatherQuads(const OwnSampled &src, const Places &places, uint32_t *quads, size_t n) {
    const int64_t rowStep = src.rowStep, step = src.pixelStep;
#if defined(__SSE2__)
    if (step == 1) {
        for (size_t i = 0; i < n; ++i)
            quads[i] = pairOf(places.at(i)) | pairOf(places.at(i) + rowStep) << 16;
        return;
    }
#endif
    for (size_t i = 0; i < n; ++i) {
        const uint8_t *upper = places.at(i), *lower = upper + rowStep;
        quads[i] = upper[0] | uint32_t{upper[step]} << 8 | uint32_t{lower[0]} << 16 | uint32_t{lower[step]} << 24;
    }
}

#if defined(OWN_HAS_VECTORS)

// A lane of two words: 1 - f and f.
[[gnu::always_inline]] inline OwnVector weightsOf(const int32_t *fractions) {
    const OwnVector f = ownLoad(reinterpret_cast<const char *>(fractions));
    const OwnVector rest = OWN_VECTOR(sub, epi32)(OWN_VECTOR(set1, epi32)(ONE), f);
    return ownOr(rest, OWN_VECTOR(slli, epi32)(f, 16));
}

// The sums of both words' products, and those of rows with the fractions of their bytes cut to 6 bits.
[[gnu::always_inline]] inline OwnVector sumOf(OwnVector words, OwnVector weights) {
    return OWN_VECTOR(madd, epi16)(words, weights);
}
[[gnu::always_inline]] inline OwnVector rowOf(OwnVector words, OwnVector weights) {
    return OWN_VECTOR(srai, epi32)(sumOf(words, weights), 8);
}
template <int32_t rounding>
[[gnu::always_inline]] inline OwnVector between(OwnVector upper, OwnVector lower, OwnVector weights) {
    const OwnVector rows = ownOr(upper, OWN_VECTOR(slli, epi32)(lower, 16));
    return OWN_VECTOR(srai, epi32)(OWN_VECTOR(add, epi32)(sumOf(rows, weights), OWN_VECTOR(set1, epi32)(rounding)), 20);
}

// As many lanes of results as a vector has, from quads.
template <int32_t rounding>
[[gnu::always_inline]] inline OwnVector mergeLanes(const uint32_t *quads, const int32_t *fx, const int32_t *fy) {
    const OwnVector quad = ownLoad(reinterpret_cast<const char *>(quads));
    // Each pair of bytes as words.
#if defined(__AVX2__)
    const __m128i first = _mm_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1);
    const OwnVector upper = _mm256_shuffle_epi8(quad, _mm256_broadcastsi128_si256(first));
    const OwnVector lower = _mm256_shuffle_epi8(_mm256_srli_epi32(quad, 16), _mm256_broadcastsi128_si256(first));
#else
    const auto spread = [](OwnVector pair) {
        return ownAnd(ownOr(pair, _mm_slli_epi32(pair, 8)), _mm_set1_epi32(0x00FF00FF));
    };
    const OwnVector upper = spread(ownAnd(quad, _mm_set1_epi32(0xFFFF))), lower = spread(_mm_srli_epi32(quad, 16));
#endif
    const OwnVector across = weightsOf(fx);
    return between<rounding>(rowOf(upper, across), rowOf(lower, across), weightsOf(fy));
}

// A block of results as bytes.
template <int32_t rounding>
[[gnu::always_inline]] inline void mergeQuads(const uint32_t *quads, const int32_t *fx, const int32_t *fy, uint8_t *out,
                                              size_t n) {
    constexpr size_t lanes = sizeof(OwnVector) / 4;
    for (size_t i = 0; i < n; i += 4 * lanes) {
        OwnVector part[4];
        for (size_t k = 0; k < 4; ++k)
            part[k] = mergeLanes<rounding>(quads + i + k * lanes, fx + i + k * lanes, fy + i + k * lanes);
        OwnVector bytes = OWN_VECTOR(packus, epi16)(OWN_VECTOR(packs, epi32)(part[0], part[1]),
                                                    OWN_VECTOR(packs, epi32)(part[2], part[3]));
#if defined(__AVX2__)
        bytes = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#endif
        ownStore(reinterpret_cast<char *>(out + i), bytes);
    }
}

#else

template <int32_t rounding>
[[gnu::always_inline]] inline void mergeQuads(const uint32_t *quads, const int32_t *fx, const int32_t *fy, uint8_t *out,
                                              size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const auto p = [&](int k) { return static_cast<int32_t>(quads[i] >> 8 * k & 255); };
        const int32_t upper = (p(0) * (ONE - fx[i]) + p(1) * fx[i]) >> 8;
        const int32_t lower = (p(2) * (ONE - fx[i]) + p(3) * fx[i]) >> 8;
        out[i] = static_cast<uint8_t>((upper * (ONE - fy[i]) + lower * fy[i] + rounding) >> 20);
    }
}

#endif

// 8U, sample by sample: a block is computed whole, also where less of it is wanted.
template <class Position, int32_t rounding>
void linearBytes(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    LinearPlaces<int32_t> places;
    alignas(64) uint32_t quads[BLOCK];
    for (size_t done = 0, count; done < n; done += count) {
        count = locateBlock<Position>(src, x, y, done, n, &places);
        gatherQuads(src, places, quads, count);
        if (count == BLOCK) {
            mergeQuads<rounding>(quads, places.fx, places.fy, out + done, BLOCK);
            continue;
        }
        uint8_t block[BLOCK];
        for (size_t i = count; i < BLOCK; ++i)
            quads[i] = 0, places.fx[i] = places.fy[i] = 0;
        mergeQuads<rounding>(quads, places.fx, places.fy, block, BLOCK);
        __builtin_memcpy(out + done, block, count);
    }
}

#if defined(OWN_HAS_VECTORS)

[[gnu::always_inline]] inline __m128i loadFour(const uint8_t *p) {
    int word;
    __builtin_memcpy(&word, p, 4);
    return _mm_cvtsi32_si128(word);
}
[[gnu::always_inline]] inline __m128i loadEight(const uint8_t *p) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p));
}

// The words of two pixels that stand together, those of a channel in one lane. Three channels are read as four where
// there is memory behind them.
template <int channels, bool atEnd>
[[gnu::always_inline]] inline __m128i loadPair(const uint8_t *p) {
    __m128i first, second;
    if constexpr (channels == 3 && atEnd) {
        first = loadFour(p);
        second = _mm_srli_epi32(loadFour(p + 2), 8);
    } else {
        first = loadEight(p);
        second = _mm_srli_epi64(first, 8 * channels);
    }
    return _mm_unpacklo_epi8(_mm_unpacklo_epi8(first, second), _mm_setzero_si128());
}

template <int channels, int32_t rounding, bool atEnd>
[[gnu::always_inline]] inline int32_t mergePixel(const uint8_t *p, int64_t rowStep, uint32_t fx, uint32_t fy) {
    const auto weights = [](uint32_t f) { return _mm_set1_epi32(static_cast<int>(f * 0xFFFFu + ONE)); };
    const __m128i across = weights(fx);
    const __m128i upper = _mm_srai_epi32(_mm_madd_epi16(loadPair<channels, atEnd>(p), across), 8);
    const __m128i lower = _mm_srai_epi32(_mm_madd_epi16(loadPair<channels, atEnd>(p + rowStep), across), 8);
    const __m128i rows = _mm_or_si128(upper, _mm_slli_epi32(lower, 16));
    const __m128i sum = _mm_add_epi32(_mm_madd_epi16(rows, weights(fy)), _mm_set1_epi32(rounding));
    const __m128i words = _mm_packs_epi32(_mm_srai_epi32(sum, 20), sum);
    return _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
}

// Pixels of 3 or 4 bytes. Those of three are stored as four, each over the last byte of the one before, but for the
// last.
template <int channels, int32_t rounding, bool atEnd>
[[gnu::always_inline]] inline void mergePixels(const OwnSampled &src, const LinearPlaces<int32_t> &places, uint8_t *out,
                                               size_t n) {
    for (size_t i = 0; i < n; ++i, out += channels) {
        const int32_t pixel = mergePixel<channels, rounding, atEnd>(
            places.at(i), src.rowStep, static_cast<uint32_t>(places.fx[i]), static_cast<uint32_t>(places.fy[i]));
        if (channels == 4 || i + 1 < n) {
            __builtin_memcpy(out, &pixel, 4);
        } else {
            __builtin_memcpy(out, &pixel, channels);
        }
    }
}

template <class Position, int32_t rounding, int channels>
void linearPixels(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    LinearPlaces<int32_t> places;
    for (size_t done = 0, count; done < n; done += count) {
        count = locateBlock<Position>(src, x, y, done, n, &places);
        uint8_t *to = out + done * channels;
        if (channels == 3 && places.atEnd) {
            mergePixels<channels, rounding, true>(src, places, to, count);
        } else {
            mergePixels<channels, rounding, false>(src, places, to, count);
        }
    }
}

#else

template <class Position, int32_t rounding, int channels>
void linearPixels(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    LinearPlaces<int32_t> places;
    for (size_t done = 0, count; done < n; done += count) {
        count = locateBlock<Position>(src, x, y, done, n, &places);
        for (int c = 0; c < channels; ++c) {
            uint32_t quads[BLOCK];
            uint8_t block[BLOCK];
            gatherQuads(src, places, quads, count);
            mergeQuads<rounding>(quads, places.fx, places.fy, block, count);
            for (size_t i = 0; i < count; ++i)
                out[(done + i) * channels + static_cast<size_t>(c)] = block[i];
            ++places.base;
        }
    }
}

#endif

// 16U and 32F, in a type of number.
template <class D, class Position, class Number, int channels>
void linearNumbers(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    using Value = typename D::Value;
    typename D::Sample *to = reinterpret_cast<typename D::Sample *>(out);
    LinearPlaces<Number> places;
    for (size_t done = 0, count; done < n; done += count) {
        count = locateBlock<Position>(src, x, y, done, n, &places);
        for (int c = 0; c < channels; ++c) {
            Value p[4][BLOCK];
            for (size_t i = 0; i < count; ++i) {
                const uint8_t *upper = places.at(i) + c * static_cast<int>(sizeof(Value));
                const uint8_t *lower = upper + src.rowStep;
                __builtin_memcpy(&p[0][i], upper, sizeof(Value));
                __builtin_memcpy(&p[1][i], upper + src.pixelStep, sizeof(Value));
                __builtin_memcpy(&p[2][i], lower, sizeof(Value));
                __builtin_memcpy(&p[3][i], lower + src.pixelStep, sizeof(Value));
            }
            typename D::Sample *at = to + done * channels + c;
            for (size_t i = 0; i < count; ++i) {
                const Number a = p[0][i], b = p[1][i], d = p[2][i], e = p[3][i];
                const Number fx = places.fx[i], fy = places.fy[i];
                const Number upper = a * (1 - fx) + b * fx, lower = d * (1 - fx) + e * fx;
                const Number value = upper * (1 - fy) + lower * fy;
                if constexpr (sizeof(Value) == 2) {
                    at[i * channels] = static_cast<Value>(notAbove(notBelow(nearest(value), 0), 65535));
                } else {
                    at[i * channels] = ownOneNaN(static_cast<Value>(value));
                }
            }
        }
    }
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnSampleLinearRows sampleLinearRows;
#define FORMS(...) \
    { __VA_ARGS__, 1 >, __VA_ARGS__, 3 >, __VA_ARGS__, 4 > }
#define BYTES(...) \
    { linearBytes<__VA_ARGS__>, linearPixels<__VA_ARGS__, 3>, linearPixels<__VA_ARGS__, 4> }
const OwnSampleLinearRows sampleLinearRows = {
    {BYTES(OwnAnyF32, 33), FORMS(linearNumbers < Own16U, OwnAnyF32, double),
     FORMS(linearNumbers < Own32F, OwnAnyF32, double)},
    BYTES(OwnAnyS32, 0x80000),
    FORMS(linearNumbers < Own32F, OwnAnyF32, float),
    FORMS(linearNumbers < Own16U, AnyDouble, double),
};
}  // namespace OWN_LEVEL
