// The kernels of zoom. Bytes whose windows lie close together are taken from vectors by shuffles, the others one by
// one.
#include "geometry/ownscalelanes.h"

namespace {

// ------------------------------------------------------------------------------------------------- nearest neighbour

// The columns are those of bytes, of which so many are a sample.
template <class Value>
void pickEach(const uint8_t *src, uint8_t *to, const OwnScaleColumns &columns) {
    for (size_t i = 0; i < columns.n; i += sizeof(Value))
        __builtin_memcpy(to + i, src + columns.at[i], sizeof(Value));
}

#if defined(__AVX2__)
// 32 bytes from so many vectors.
template <size_t vectors>
[[gnu::always_inline]] inline void pickVectors(const uint8_t *src, uint8_t *to, const OwnScaleColumns &columns) {
    for (size_t k = 0; k < columns.n / 32; ++k) {
        __m256i v = ownPick(src, columns, vectors * k);
        for (size_t j = 1; j < vectors; ++j)
            v = _mm256_or_si256(v, ownPick(src, columns, vectors * k + j));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + 32 * k), v);
    }
}
#endif

template <class Value>
void pickSamples(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    uint8_t *to = static_cast<uint8_t *>(row);
#if defined(__AVX2__)
    if (columns.base && columns.step == 16) return pickVectors<1>(src, to, columns);
    if (columns.base && columns.step == 8) return pickVectors<2>(src, to, columns);
    if (columns.base) return pickVectors<4>(src, to, columns);
#endif
    pickEach<Value>(src, to, columns);
}

void copyRow(const void *const *rows, const OwnScalePlace &, uint8_t *out, size_t n) {
    __builtin_memcpy(out, rows[0], n);
}

template <class Value>
constexpr OwnScaleMethod nearestOf() {
    return {pickSamples<Value>, copyRow, 1, 1, 1, OWN_WEIGHTS_NONE, OWN_PICK_BYTES, nullptr, true};
}

// ---------------------------------------------------------------------------------------------------------- neighbours

#if defined(__AVX2__)
// Eight neighbours of one channel that lie close together, from a vector that begins with the first one's window.
template <class D>
struct Neighbours {
    static constexpr int bytes = sizeof(typename D::Value);
    __m256i samples, at;

    // False where their windows of so many pixels reach beyond a vector, or the vector beyond the row.
    [[gnu::always_inline]] inline bool find(const uint8_t *src, const OwnScaleColumns &columns, size_t i, int taps) {
        const int32_t first = columns.at[i], end = columns.at[columns.n - 1] + taps * bytes;
        if (columns.pixel != bytes || columns.at[i + 7] - first > (8 - taps) * bytes || end - first < 8 * bytes)
            return false;
        const __m128i *from = reinterpret_cast<const __m128i *>(src + first);
        if constexpr (bytes == 2) {
            samples = _mm256_cvtepu16_epi32(_mm_loadu_si128(from));
        } else {
            samples = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from));
        }
        at = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.at + i));
        at = _mm256_srli_epi32(_mm256_sub_epi32(at, _mm256_set1_epi32(first)), bytes / 2);
        return true;
    }
    // The k-th pixel of each window.
    [[gnu::always_inline]] inline __m256i tap(int k) const {
        return _mm256_permutevar8x32_epi32(samples, _mm256_add_epi32(at, _mm256_set1_epi32(k)));
    }
    [[gnu::always_inline]] inline OwnFloats number(int k) const {
        if constexpr (bytes == 2) return reinterpret_cast<OwnFloats>(_mm256_cvtepi32_ps(tap(k)));
        return reinterpret_cast<OwnFloats>(tap(k));
    }
};
#endif

// Calls eight(i) for eight samples from i on that it does, and one(i) for the others: for all where the first eight are
// not done.
template <class Eight, class One>
[[gnu::always_inline]] inline void forEachEight(size_t n, [[maybe_unused]] const Eight &eight, const One &one) {
#if defined(__AVX2__)
    if (eight(0)) {
        for (size_t i = 8; i < n; i += 8) {
            if (eight(i)) continue;
            for (size_t k = i; k < i + 8; ++k)
                one(k);
        }
        return;
    }
#endif
    for (size_t i = 0; i < n; ++i)
        one(i);
}

// ------------------------------------------------------------------------------------------------------------- linear

#if defined(__AVX2__)
// 16 samples at a time, in two halves of words.
template <size_t step>
[[gnu::always_inline]] inline void acrossPairs(const uint8_t *src, int16_t *to, const OwnScaleColumns &columns) {
    for (size_t k = 0; k < columns.n / 16; ++k) {
        __m256i low, high;
        if constexpr (step == 8) {
            const __m256i v = ownPick(src, columns, k), zero = _mm256_setzero_si256();
            low = _mm256_unpacklo_epi8(v, zero);
            high = _mm256_unpackhi_epi8(v, zero);
        } else {
            low = ownPick(src, columns, 2 * k);
            high = ownPick(src, columns, 2 * k + 1);
        }
        const __m256i *weights = reinterpret_cast<const __m256i *>(columns.pairs + 32 * k);
        low = _mm256_srai_epi32(_mm256_madd_epi16(low, _mm256_loadu_si256(weights)), 8);
        high = _mm256_srai_epi32(_mm256_madd_epi16(high, _mm256_loadu_si256(weights + 1)), 8);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + 16 * k), _mm256_packs_epi32(low, high));
    }
}
#endif

void acrossLinear8(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    int16_t *to = static_cast<int16_t *>(row);
#if defined(__AVX2__)
    if (columns.base && columns.step == 8) return acrossPairs<8>(src, to, columns);
    if (columns.base) return acrossPairs<4>(src, to, columns);
#endif
    for (size_t i = 0; i < columns.n; ++i) {
        const uint8_t *p = src + columns.at[i];
        to[i] = static_cast<int16_t>((p[0] * columns.pairs[2 * i] + p[columns.pixel] * columns.pairs[2 * i + 1]) >> 8);
    }
}

void downLinear8(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n) {
    const int16_t *r0 = static_cast<const int16_t *>(rows[0]), *r1 = static_cast<const int16_t *>(rows[1]);
    const int b = place.weight, a = 16384 - b;
#if defined(__AVX2__)
    const __m256i weights = _mm256_set1_epi32(a | b << 16);
    const auto words = [&](size_t i) {
        const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(r0 + i));
        const __m256i q = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(r1 + i));
        const __m256i low = _mm256_madd_epi16(_mm256_unpacklo_epi16(p, q), weights);
        const __m256i high = _mm256_madd_epi16(_mm256_unpackhi_epi16(p, q), weights);
        return _mm256_packs_epi32(_mm256_srai_epi32(low, 20), _mm256_srai_epi32(high, 20));
    };
    ownStoreAll<1>(out, n, [&](size_t i, uint8_t *to) {
        const __m256i v = _mm256_permute4x64_epi64(_mm256_packus_epi16(words(i), words(i + 16)), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), v);
    });
#elif defined(__SSE2__)
    const __m128i weights = _mm_set1_epi32(a | b << 16);
    const auto words = [&](size_t i) {
        const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i *>(r0 + i));
        const __m128i q = _mm_loadu_si128(reinterpret_cast<const __m128i *>(r1 + i));
        const __m128i low = _mm_madd_epi16(_mm_unpacklo_epi16(p, q), weights);
        const __m128i high = _mm_madd_epi16(_mm_unpackhi_epi16(p, q), weights);
        return _mm_packs_epi32(_mm_srai_epi32(low, 20), _mm_srai_epi32(high, 20));
    };
    ownStoreAll<1>(out, n, [&](size_t i, uint8_t *to) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to), _mm_packus_epi16(words(i), words(i + 8)));
    });
#else
    for (size_t i = 0; i < n; ++i) {
        const int v = (r0[i] * a + r1[i] * b) >> 20;
        out[i] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
    }
#endif
}

#if defined(__AVX2__)
// Two rows by the same shuffles, and what comes of them side by side as two words.
template <size_t step>
[[gnu::always_inline]] inline void bothPairs(const uint8_t *upper, const uint8_t *lower, __m256i down,
                                             const OwnScaleColumns &columns, uint8_t *out, size_t n) {
    const auto combine = [&](__m256i p, __m256i q, __m256i weights) {
        p = _mm256_srai_epi32(_mm256_madd_epi16(p, weights), 8);
        q = _mm256_slli_epi32(_mm256_srai_epi32(_mm256_madd_epi16(q, weights), 8), 16);
        return _mm256_srai_epi32(_mm256_madd_epi16(_mm256_blend_epi16(p, q, 0xAA), down), 20);
    };
    const auto words = [&](size_t k) {
        const __m256i *at = reinterpret_cast<const __m256i *>(columns.pairs + 32 * k);
        const __m256i first = _mm256_loadu_si256(at), second = _mm256_loadu_si256(at + 1);
        if constexpr (step == 8) {
            const __m256i p = ownPick(upper, columns, k), q = ownPick(lower, columns, k), zero = _mm256_setzero_si256();
            return _mm256_packs_epi32(combine(_mm256_unpacklo_epi8(p, zero), _mm256_unpacklo_epi8(q, zero), first),
                                      combine(_mm256_unpackhi_epi8(p, zero), _mm256_unpackhi_epi8(q, zero), second));
        } else {
            return _mm256_packs_epi32(
                combine(ownPick(upper, columns, 2 * k), ownPick(lower, columns, 2 * k), first),
                combine(ownPick(upper, columns, 2 * k + 1), ownPick(lower, columns, 2 * k + 1), second));
        }
    };
    ownStoreAll<1>(out, n, [&](size_t i, uint8_t *to) {
        const __m256i v = _mm256_packus_epi16(words(i / 16), words(i / 16 + 1));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), _mm256_permute4x64_epi64(v, 0xD8));
    });
}

void bothLinear8(const uint8_t *upper, const uint8_t *lower, const OwnScalePlace &place, const OwnScaleColumns &columns,
                 uint8_t *out, size_t n) {
    const int b = place.weight, a = 16384 - b;
    const __m256i down = _mm256_set1_epi32(a | b << 16);
    if (columns.step == 8) return bothPairs<8>(upper, lower, down, columns, out, n);
    bothPairs<4>(upper, lower, down, columns, out, n);
}
#else
constexpr OwnScaleBoth bothLinear8 = nullptr;
#endif

void acrossLinear16(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    int32_t *to = static_cast<int32_t *>(row);
    const auto eight = [&]([[maybe_unused]] size_t i) {
#if defined(__AVX2__)
        Neighbours<Own16U> samples;
        if (!samples.find(src, columns, i, 2)) return false;
        const __m256i pairs = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(columns.pairs + 2 * i));
        // The second weight is -1 just before a sample.
        const __m256i a = _mm256_and_si256(pairs, _mm256_set1_epi32(0xFFFF)), b = _mm256_srai_epi32(pairs, 16);
        const __m256i sum =
            _mm256_add_epi32(_mm256_mullo_epi32(samples.tap(0), a), _mm256_mullo_epi32(samples.tap(1), b));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + i), _mm256_srai_epi32(sum, 15));
        return true;
#else
        return false;
#endif
    };
    forEachEight(columns.n, eight, [&](size_t i) {
        const uint8_t *p = src + columns.at[i];
        const int32_t v = ownSampleOf<Own16U>(p) * columns.pairs[2 * i];
        to[i] = (v + ownSampleOf<Own16U>(p + columns.pixel) * columns.pairs[2 * i + 1]) >> 15;
    });
}

void downLinear16(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n) {
    const int32_t *r0 = static_cast<const int32_t *>(rows[0]), *r1 = static_cast<const int32_t *>(rows[1]);
    const int32_t b = place.weight, a = 16384 - b;
    ownStoreInts<Own16U>(out, n, [&](size_t i) {
        OwnInts p, q;
        __builtin_memcpy(&p, r0 + i, sizeof p);
        __builtin_memcpy(&q, r1 + i, sizeof q);
        return (p * a + q * b) >> 13;
    });
}

void acrossLinear32(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    float *to = static_cast<float *>(row);
    const float *a = columns.weights[0], *b = columns.weights[1];
    const auto eight = [&]([[maybe_unused]] size_t i) {
#if defined(__AVX2__)
        Neighbours<Own32F> samples;
        if (!samples.find(src, columns, i, 2)) return false;
        ownStoreFloats(to + i, samples.number(0) * ownLoadFloats(a + i) + samples.number(1) * ownLoadFloats(b + i));
        return true;
#else
        return false;
#endif
    };
    forEachEight(columns.n, eight, [&](size_t i) {
        const uint8_t *p = src + columns.at[i];
        to[i] = ownSampleOf<Own32F>(p) * a[i] + ownSampleOf<Own32F>(p + columns.pixel) * b[i];
    });
}

void downLinear32(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n) {
    const float *r0 = static_cast<const float *>(rows[0]), *r1 = static_cast<const float *>(rows[1]);
    const float b = place.f, a = 1.0f - b;
    ownStoreSamples<Own32F, false>(out, n,
                                   [&](size_t i) { return ownLoadFloats(r0 + i) * a + ownLoadFloats(r1 + i) * b; });
}

// -------------------------------------------------------------------------------------------------------------- cubic

// Newton's form of the polynomial through four samples.
template <class Number, class Weight>
[[gnu::always_inline]] inline Number newton(Number a, Number b, Number c, Number d, Weight t, Weight u, Weight v) {
    const Number d1 = b - a;
    const Number d2 = c - b - d1;
    const Number d3 = b - 2.0f * c + d - d2;
    return a + t * d1 + u * d2 + v * d3;
}

#if defined(__AVX2__)
// Of bytes the differences are whole numbers, and made as such.
template <bool split>
void acrossCubicPicked(const uint8_t *src, float *to, const OwnScaleColumns &columns) {
    const __m256i ones = _mm256_set1_epi16(1);
    // Four weights of a dword's bytes, the first at the bottom: a, then d1 = b - a, d2 = a - 2 b + c, and
    // d3 = -a + 3 b - 3 c + d.
    const __m256i first = _mm256_set1_epi32(0x000001FF), second = _mm256_set1_epi32(0x0001FE01);
    const __m256i third = _mm256_set1_epi32(0x01FD03FF);
    for (size_t k = 0; k < columns.n / 8; ++k) {
        const __m256i v = ownPickQuads<split>(src, columns, k);
        const auto difference = [&](__m256i weights) {
            return _mm256_cvtepi32_ps(_mm256_madd_epi16(_mm256_maddubs_epi16(v, weights), ones));
        };
        const auto weight = [&](int of) { return _mm256_loadu_ps(columns.weights[of] + 8 * k); };
        __m256 sum = _mm256_cvtepi32_ps(_mm256_and_si256(v, _mm256_set1_epi32(255)));
        sum = _mm256_add_ps(sum, _mm256_mul_ps(weight(0), difference(first)));
        sum = _mm256_add_ps(sum, _mm256_mul_ps(weight(1), difference(second)));
        sum = _mm256_add_ps(sum, _mm256_mul_ps(weight(2), difference(third)));
        _mm256_storeu_ps(to + 8 * k, sum);
    }
}
#endif

template <class D>
void acrossCubic(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    float *to = static_cast<float *>(row);
#if defined(__AVX2__)
    if constexpr (sizeof(typename D::Value) == 1) {
        if (columns.base && columns.split) return acrossCubicPicked<true>(src, to, columns);
        if (columns.base) return acrossCubicPicked<false>(src, to, columns);
    }
#endif
    const auto eight = [&]([[maybe_unused]] size_t i) {
#if defined(__AVX2__)
        if constexpr (sizeof(typename D::Value) > 1) {
            Neighbours<D> samples;
            if (!samples.find(src, columns, i, 4)) return false;
            const auto weight = [&](int of) { return ownLoadFloats(columns.weights[of] + i); };
            ownStoreFloats(to + i, newton(samples.number(0), samples.number(1), samples.number(2), samples.number(3),
                                          weight(0), weight(1), weight(2)));
            return true;
        }
#endif
        return false;
    };
    const int64_t pixel = columns.pixel;
    forEachEight(columns.n, eight, [&](size_t i) {
        const uint8_t *p = src + columns.at[i];
        const auto sample = [&](int64_t k) { return static_cast<float>(ownSampleOf<D>(p + k * pixel)); };
        to[i] = newton(sample(0), sample(1), sample(2), sample(3), columns.weights[0][i], columns.weights[1][i],
                       columns.weights[2][i]);
    });
}

template <class D>
void downCubic(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n) {
    const auto row = [&](int k, size_t i) { return ownLoadFloats(static_cast<const float *>(rows[k]) + i); };
    const float t = 1.0f + place.f, u = 0.5f * t * place.f, v = 0.33333334f * (place.f - 1.0f) * u;
    ownStoreSamples<D, true>(out, n,
                             [&](size_t i) { return newton(row(0, i), row(1, i), row(2, i), row(3, i), t, u, v); });
}

template <class D>
constexpr OwnScaleMethod cubicOf(OwnScalePick pick) {
    return {acrossCubic<D>, downCubic<D>, 4, 4, 4, OWN_WEIGHTS_NEWTON, pick};
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnZoomRows zoomRows;
const OwnZoomRows zoomRows = {
    {nearestOf<uint8_t>(), nearestOf<uint16_t>(), nearestOf<uint32_t>()},
    {{acrossLinear8, downLinear8, 2, 2, 2, OWN_WEIGHTS_PAIRS, OWN_PICK_PAIRS, bothLinear8},
     {acrossLinear16, downLinear16, 2, 4, 2, OWN_WEIGHTS_PAIRS, OWN_PICK_NONE},
     {acrossLinear32, downLinear32, 2, 4, 2, OWN_WEIGHTS_LINEAR, OWN_PICK_NONE}},
    {cubicOf<Own8U>(OWN_PICK_QUADS), cubicOf<Own16U>(OWN_PICK_NONE), cubicOf<Own32F>(OWN_PICK_NONE)}};
}  // namespace OWN_LEVEL
