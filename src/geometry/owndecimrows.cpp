// The kernels of decimation, all in float.
#include "geometry/ownscalelanes.h"

namespace {

// ------------------------------------------------------------------------------------------------------- interpolation

// Along an axis with whole steps: samples as they are.
template <class D>
void acrossWhole(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    float *to = static_cast<float *>(row);
    for (size_t i = 0; i < columns.n; ++i)
        to[i] = static_cast<float>(ownSampleOf<D>(src + columns.at[i]));
}

template <class D, bool round>
void downWhole(const void *const *rows, const OwnScalePlace &, uint8_t *out, size_t n) {
    const float *row = static_cast<const float *>(rows[0]);
    ownStoreSamples<D, round>(out, n, [&](size_t i) { return ownLoadFloats(row + i); });
}

#if defined(__AVX2__)
// Byte k of four that a sample's window has, as floats.
template <int k>
[[gnu::always_inline]] inline __m256 picked(__m256i v) {
    const __m256i shifted = k == 0 ? v : _mm256_srli_epi32(v, 8 * k);
    return _mm256_cvtepi32_ps(k == 3 ? shifted : _mm256_and_si256(shifted, _mm256_set1_epi32(255)));
}
#endif

#if defined(__AVX2__)
// The sums of a sample's four bytes by its weights, of which those that are not there are 0.
template <int taps, bool split>
void acrossPicked(const uint8_t *src, float *to, const OwnScaleColumns &columns) {
    for (size_t k = 0; k < columns.n / 8; ++k) {
        const __m256i v = ownPickQuads<split>(src, columns, k);
        const auto weight = [&](int of) { return _mm256_loadu_ps(columns.weights[of] + 8 * k); };
        __m256 sum = _mm256_mul_ps(picked<0>(v), weight(0));
        sum = _mm256_add_ps(sum, _mm256_mul_ps(picked<1>(v), weight(1)));
        if constexpr (taps == 4) {
            sum = _mm256_add_ps(sum, _mm256_mul_ps(picked<2>(v), weight(2)));
            sum = _mm256_add_ps(sum, _mm256_mul_ps(picked<3>(v), weight(3)));
        }
        _mm256_storeu_ps(to + 8 * k, sum);
    }
}
#endif

template <class D>
void acrossLinear(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    float *to = static_cast<float *>(row);
    const float *a = columns.weights[0], *b = columns.weights[1];
#if defined(__AVX2__)
    if constexpr (sizeof(typename D::Value) == 1) {
        if (columns.base && columns.split) return acrossPicked<2, true>(src, to, columns);
        if (columns.base) return acrossPicked<2, false>(src, to, columns);
    }
#endif
    for (size_t i = 0; i < columns.n; ++i) {
        const uint8_t *p = src + columns.at[i];
        to[i] =
            static_cast<float>(ownSampleOf<D>(p)) * a[i] + static_cast<float>(ownSampleOf<D>(p + columns.pixel)) * b[i];
    }
    for (size_t i = 0; i < columns.lead; ++i)
        to[i] = static_cast<float>(ownSampleOf<D>(src + columns.at[i]));
}

template <class D>
void downLinear(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n) {
    const float *r0 = static_cast<const float *>(rows[0]), *r1 = static_cast<const float *>(rows[1]);
    const float b = place.f, a = 1.0f - b;
    if (place.alone) return downWhole<D, false>(rows, place, out, n);
    ownStoreSamples<D, false>(out, n, [&](size_t i) { return ownLoadFloats(r0 + i) * a + ownLoadFloats(r1 + i) * b; });
}

// Lagrange's polynomial through four samples; f, ff and fff are the powers of the fraction.
template <class Number, class Weight>
[[gnu::always_inline]] inline Number lagrange(Number a, Number b, Number c, Number d, Weight f, Weight ff, Weight fff) {
    const Number first = -2.0f * a - 3.0f * b + 6.0f * c - d;
    const Number second = 3.0f * a - 6.0f * b + 3.0f * c;
    const Number third = -a + 3.0f * b - 3.0f * c + d;
    return 0.16666667f * (6.0f * b + f * first + ff * second + fff * third);
}

#if defined(__AVX2__)
template <bool split>
void acrossCubicPicked(const uint8_t *src, float *to, const OwnScaleColumns &columns) {
    for (size_t k = 0; k < columns.n / 8; ++k) {
        const __m256i v = ownPickQuads<split>(src, columns, k);
        const auto weight = [&](int of) { return ownLoadFloats(columns.weights[of] + 8 * k); };
        ownStoreFloats(to + 8 * k, lagrange<OwnFloats>(picked<0>(v), picked<1>(v), picked<2>(v), picked<3>(v),
                                                       weight(0), weight(1), weight(2)));
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
    const auto weight = [&](int of, size_t i) { return columns.weights[of] + i; };
    const int64_t pixel = columns.pixel;
    for (size_t i = 0; i < columns.n; ++i) {
        // What lies before the row has no weight: the first pixel stands for it.
        const int64_t at = columns.at[i];
        const auto sample = [&](int64_t k) { return static_cast<float>(ownSampleOf<D>(src + at + k * pixel)); };
        to[i] = lagrange(sample(i < columns.lead ? 1 : 0), sample(1), sample(2), sample(3), *weight(0, i),
                         *weight(1, i), *weight(2, i));
    }
}

template <class D>
void downCubic(const void *const *rows, const OwnScalePlace &place, uint8_t *out, size_t n) {
    const auto row = [&](int k, size_t i) { return ownLoadFloats(static_cast<const float *>(rows[k]) + i); };
    const float f = place.f, ff = f * f, fff = ff * f;
    ownStoreSamples<D, true>(
        out, n, [&](size_t i) { return lagrange(row(0, i), row(1, i), row(2, i), row(3, i), f, ff, fff); });
}

// -------------------------------------------------------------------------------------------------------------- means

#if defined(__AVX2__)
// Eight means of two or three floats each that follow one another in the row, without a gap. False where they do not.
template <int width>
[[gnu::always_inline]] inline bool meansOfEight(const uint8_t *src, const OwnScaleColumns &columns, size_t i,
                                                float *to) {
    const auto load = [&](const int32_t *p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i)); };
    const __m256i step = _mm256_set1_epi32(4 * width), index = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i there = _mm256_add_epi32(_mm256_set1_epi32(columns.at[i]), _mm256_mullo_epi32(index, step));
    const __m256i same = _mm256_and_si256(_mm256_cmpeq_epi32(load(columns.at), there),
                                          _mm256_cmpeq_epi32(load(columns.count), _mm256_set1_epi32(width)));
    if (_mm256_movemask_epi8(same) != -1) return false;
    const float *from = reinterpret_cast<const float *>(src + columns.at[i]);
    __m256 v[width], tap[width];
    for (int k = 0; k < width; ++k)
        v[k] = _mm256_loadu_ps(from + 8 * k);
    if constexpr (width == 2) {
        const auto inOrder = [](__m256 w) {
            return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(w), 0xD8));
        };
        tap[0] = inOrder(_mm256_shuffle_ps(v[0], v[1], 0x88));
        tap[1] = inOrder(_mm256_shuffle_ps(v[0], v[1], 0xDD));
    } else {
        // Of each three, one vector's lanes are in no other's way.
        tap[0] = _mm256_blend_ps(_mm256_blend_ps(v[0], v[1], 0x92), v[2], 0x24);
        tap[1] = _mm256_blend_ps(_mm256_blend_ps(v[0], v[1], 0x24), v[2], 0x49);
        tap[2] = _mm256_blend_ps(_mm256_blend_ps(v[0], v[1], 0x49), v[2], 0x92);
        tap[0] = _mm256_permutevar8x32_ps(tap[0], _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5));
        tap[1] = _mm256_permutevar8x32_ps(tap[1], _mm256_setr_epi32(1, 4, 7, 2, 5, 0, 3, 6));
        tap[2] = _mm256_permutevar8x32_ps(tap[2], _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7));
    }
    __m256 sum = _mm256_mul_ps(tap[0], _mm256_loadu_ps(columns.weights[0] + i));
    if constexpr (width == 3) sum = _mm256_add_ps(sum, tap[1]);
    sum = _mm256_add_ps(sum, _mm256_mul_ps(tap[width - 1], _mm256_loadu_ps(columns.weights[1] + i)));
    _mm256_storeu_ps(to + i, sum);
    return true;
}
#endif

template <class D>
void acrossMeans(const uint8_t *src, void *row, const OwnScaleColumns &columns) {
    float *to = static_cast<float *>(row);
    const float *head = columns.weights[0], *tail = columns.weights[1];
#if defined(__AVX2__)
    if constexpr (sizeof(typename D::Value) == 1) {
        if (columns.base && columns.split) return acrossPicked<4, true>(src, to, columns);
        if (columns.base) return acrossPicked<4, false>(src, to, columns);
    }
#endif
    size_t i = 0;
#if defined(__AVX2__)
    if constexpr (sizeof(typename D::Value) == 4) {
        while (i < columns.n && (meansOfEight<3>(src, columns, i, to) || meansOfEight<2>(src, columns, i, to)))
            i += 8;
    }
#endif
    for (; i < columns.n; ++i) {
        const uint8_t *p = src + columns.at[i];
        const int32_t count = columns.count[i];
        float sum = static_cast<float>(ownSampleOf<D>(p)) * head[i];
        for (int32_t k = 1; k + 1 < count; ++k)
            sum += static_cast<float>(ownSampleOf<D>(p + k * columns.pixel));
        if (count > 1) sum += static_cast<float>(ownSampleOf<D>(p + (count - 1) * columns.pixel)) * tail[i];
        to[i] = sum;
    }
}

void addRow(const float *row, float weight, float *sum, size_t n) {
    for (size_t i = 0; i < n; i += OWN_LANES)
        ownStoreFloats(sum + i, ownLoadFloats(sum + i) + ownLoadFloats(row + i) * weight);
}

template <class D>
void endMeans(const float *sum, float scale, uint8_t *out, size_t n) {
    // What is below 0 by rounding is no more than a trifle below it, and sums of integers are not: cutting off is
    // rounding down.
    constexpr float half = sizeof(typename D::Value) == 4 ? 0.0f : 0.5f;
    ownStoreSamples<D, false>(out, n, [&](size_t i) {
        const OwnFloats mean = ownLoadFloats(sum + i) * scale;
        return sizeof(typename D::Value) == 4 ? mean : mean + half;
    });
}

// ------------------------------------------------------------------------------------------- means of whole pixels

template <int count, bool first>
void addRows(const uint8_t *const *rows, uint16_t *sums, size_t n) {
    const uint8_t *r0 = rows[0], *r1 = rows[count > 1 ? 1 : 0], *r2 = rows[count > 2 ? 2 : 0];
    for (size_t i = 0; i < n; ++i) {
        int sum = first ? r0[i] : sums[i] + r0[i];
        if (count > 1) sum += r1[i];
        if (count > 2) sum += r2[i];
        sums[i] = static_cast<uint16_t>(sum);
    }
}

void addBytes(const uint8_t *const *rows, int count, uint16_t *sums, size_t n, bool first) {
    if (count == 1) return first ? addRows<1, true>(rows, sums, n) : addRows<1, false>(rows, sums, n);
    if (count == 2) return first ? addRows<2, true>(rows, sums, n) : addRows<2, false>(rows, sums, n);
    first ? addRows<3, true>(rows, sums, n) : addRows<3, false>(rows, sums, n);
}

void halve(const uint8_t *upper, const uint8_t *lower, uint8_t *out, size_t pixels) {
    size_t i = 0;
#if defined(__AVX2__)
    const __m256i ones = _mm256_set1_epi8(1), half = _mm256_set1_epi16(2);
    const auto pairs = [&](const uint8_t *p) {
        return _mm256_maddubs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)), ones);
    };
    const auto means = [&](size_t k) {
        const __m256i sums = _mm256_add_epi16(pairs(upper + 2 * k), pairs(lower + 2 * k));
        return _mm256_srli_epi16(_mm256_add_epi16(sums, half), 2);
    };
    for (; i + 32 <= pixels; i += 32) {
        const __m256i v = _mm256_packus_epi16(means(i), means(i + 16));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + i), _mm256_permute4x64_epi64(v, 0xD8));
    }
#elif defined(__SSE2__)
    const __m128i low = _mm_set1_epi16(255), half = _mm_set1_epi16(2);
    const auto pairs = [&](const uint8_t *p) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        return _mm_add_epi16(_mm_and_si128(v, low), _mm_srli_epi16(v, 8));
    };
    const auto means = [&](size_t k) {
        const __m128i sums = _mm_add_epi16(pairs(upper + 2 * k), pairs(lower + 2 * k));
        return _mm_srli_epi16(_mm_add_epi16(sums, half), 2);
    };
    for (; i + 16 <= pixels; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(means(i), means(i + 8)));
#endif
    for (; i < pixels; ++i) {
        const int sum = upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1];
        out[i] = static_cast<uint8_t>((sum + 2) >> 2);
    }
}

[[gnu::always_inline]] inline uint8_t meanOf(uint32_t sum, float scale) {
    return static_cast<uint8_t>(static_cast<float>(static_cast<int32_t>(sum)) * scale + 0.5f);
}

// Boxes of a width that the compiler knows.
template <int width, int channels>
void endBoxesOf(const uint16_t *sums, float scale, uint8_t *out, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        for (int c = 0; c < channels; ++c) {
            uint32_t sum = 0;
            for (int k = 0; k < width; ++k)
                sum += sums[(i * width + static_cast<size_t>(k)) * channels + static_cast<size_t>(c)];
            out[i * channels + static_cast<size_t>(c)] = meanOf(sum, scale);
        }
    }
}

void endBoxes(const uint16_t *sums, int count, int channels, float scale, uint8_t *out, size_t pixels) {
    if (channels == 1 && count == 2) return endBoxesOf<2, 1>(sums, scale, out, pixels);
    if (channels == 1 && count == 3) return endBoxesOf<3, 1>(sums, scale, out, pixels);
    if (channels == 1 && count == 4) return endBoxesOf<4, 1>(sums, scale, out, pixels);
    if (channels == 3 && count == 2) return endBoxesOf<2, 3>(sums, scale, out, pixels);
    if (channels == 3 && count == 3) return endBoxesOf<3, 3>(sums, scale, out, pixels);
    if (channels == 3 && count == 4) return endBoxesOf<4, 3>(sums, scale, out, pixels);
    for (size_t i = 0; i < pixels; ++i, sums += count * channels) {
        for (int c = 0; c < channels; ++c) {
            uint32_t sum = 0;
            for (int k = 0; k < count; ++k)
                sum += sums[k * channels + c];
            out[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] = meanOf(sum, scale);
        }
    }
}

// ------------------------------------------------------------------------------------------------------------- tables

template <class D>
constexpr OwnScaleMethod linearOf(bool columns, bool rows) {
    const OwnScalePick pick = columns && sizeof(typename D::Value) == 1 ? OWN_PICK_QUADS : OWN_PICK_NONE;
    return {columns ? acrossLinear<D> : acrossWhole<D>,
            rows ? downLinear<D> : downWhole<D, false>,
            rows ? 2 : 1,
            4,
            columns ? 2 : 1,
            columns ? OWN_WEIGHTS_LINEAR : OWN_WEIGHTS_NONE,
            pick};
}
template <class D>
constexpr OwnScaleMethod cubicOf(bool columns, bool rows) {
    const OwnScalePick pick = columns && sizeof(typename D::Value) == 1 ? OWN_PICK_QUADS : OWN_PICK_NONE;
    return {columns ? acrossCubic<D> : acrossWhole<D>,
            rows ? downCubic<D> : downWhole<D, true>,
            rows ? 4 : 1,
            4,
            columns ? 4 : 1,
            columns ? OWN_WEIGHTS_POWERS : OWN_WEIGHTS_NONE,
            pick};
}
template <class D>
constexpr OwnScaleMethod meansOf() {
    return {acrossMeans<D>,
            nullptr,
            1,
            4,
            0,
            OWN_WEIGHTS_MEANS,
            sizeof(typename D::Value) == 1 ? OWN_PICK_QUADS : OWN_PICK_NONE};
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnDecimateRows decimateRows;
const OwnDecimateRows decimateRows = {
    {{linearOf<Own8U>(true, false), linearOf<Own16U>(true, false), linearOf<Own32F>(true, false)},
     {linearOf<Own8U>(false, true), linearOf<Own16U>(false, true), linearOf<Own32F>(false, true)},
     {linearOf<Own8U>(true, true), linearOf<Own16U>(true, true), linearOf<Own32F>(true, true)}},
    {{cubicOf<Own8U>(true, false), cubicOf<Own16U>(true, false), cubicOf<Own32F>(true, false)},
     {cubicOf<Own8U>(false, true), cubicOf<Own16U>(false, true), cubicOf<Own32F>(false, true)},
     {cubicOf<Own8U>(true, true), cubicOf<Own16U>(true, true), cubicOf<Own32F>(true, true)}},
    {meansOf<Own8U>(), meansOf<Own16U>(), meansOf<Own32F>()},
    addRow,
    {endMeans<Own8U>, endMeans<Own16U>, endMeans<Own32F>},
    addBytes,
    endBoxes,
    halve};
}  // namespace OWN_LEVEL
