// Row kernels of the box filter, compiled once for each CPU level, and for a rounding mode that is not the default:
// they run under chop. Integer sums wrap and may be added in any order: the columns of a small window are added
// directly, the sum of a wide one slides along the row. Float sums slide and are added one by one, a chain that does
// not get shorter; but rows have chains of their own, and several go side by side.
#include "filter/ownblur.h"

#include "frame/ownsample.h"
#include "frame/ownvector.h"

namespace OWN_LEVEL {
namespace {

template <class D>
struct SumOf {
    using Type = uint32_t;
};
template <>
struct SumOf<Own32F> {
    using Type = float;
};
template <class D>
using Sum = typename SumOf<D>::Type;

template <class D, class S = Sum<D>>
void add(const void *row_, void *sums_, size_t n) {
    const typename D::Sample *row = static_cast<const typename D::Sample *>(row_);
    auto *sums = static_cast<S *>(sums_);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] = static_cast<S>(sums[i] + static_cast<S>(row[i]));
}

template <class D, class S = Sum<D>>
void slide(const void *entering_, const void *leaving_, const void *before_, void *sums_, size_t n) {
    const typename D::Sample *entering = static_cast<const typename D::Sample *>(entering_);
    const typename D::Sample *leaving = static_cast<const typename D::Sample *>(leaving_);
    const auto *before = static_cast<const S *>(before_);
    auto *sums = static_cast<S *>(sums_);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] = static_cast<S>(before[i] + (static_cast<S>(entering[i]) - static_cast<S>(leaving[i])));
}

// ------------------------------------------------------------------------------------------------ sums of few columns

// The columns of a small window, or larger parts of a window: taps whose sums are its sums.
constexpr int MAX_TAPS = 16;

template <class S>
struct Taps {
    const S *at[MAX_TAPS];
    int count;
};

template <class S>
Taps<S> takeColumns(const S *sums, const OwnBlurWindow &w) {
    Taps<S> taps;
    taps.count = w.nCols;
    for (int k = 0; k < w.nCols; ++k)
        taps.at[k] = sums + static_cast<size_t>(k) * static_cast<size_t>(w.channels);
    return taps;
}

// Adds up the taps at i: `vectors` vectors side by side, all of which are read.
#if defined(__AVX2__)
constexpr size_t VECTOR_BYTES = 32;
#else
constexpr size_t VECTOR_BYTES = 16;
#endif
template <class S, size_t vectors>
[[gnu::always_inline]] inline void addTaps(const Taps<S> &taps, size_t i, void *sums) {
    typedef S Vector __attribute__((vector_size(VECTOR_BYTES)));
    typedef S Unaligned __attribute__((vector_size(VECTOR_BYTES), aligned(alignof(S)), may_alias));
    Vector sum[vectors] = {};
    for (int t = 0; t < taps.count; ++t) {
        const auto *at = reinterpret_cast<const Unaligned *>(taps.at[t] + i);
#pragma GCC unroll 4
        for (size_t k = 0; k < vectors; ++k)
            sum[k] += at[k];
    }
    __builtin_memcpy(sums, sum, sizeof sum);
}

// ------------------------------------------------------------------------------------------------------ window sums

// Sums are computed in segments. Each begins with a pixel and has whole vectors of whole pixels, of up to MAX_STEP
// channels: those that are summed side by side.
constexpr size_t SEGMENT = 960;
constexpr int MAX_STEP = 4;
static_assert(SEGMENT % 8 == 0 && SEGMENT % (8 * 3) == 0 && SEGMENT % 4 == 0);

// The sums of a row's first window, one for each of step channels.
template <class S, int step>
void sumFirst(const S *sums, int nCols, S *window) {
    S now[step] = {};
    for (int k = 0; k < nCols; ++k, sums += step) {
        for (int c = 0; c < step; ++c)
            now[c] += sums[c];
    }
    for (int c = 0; c < step; ++c)
        window[c] = now[c];
}

// out[i] = the window's sum at sample i of a segment; window holds the sums of its first pixel, and goes on to the
// pixel behind a whole segment.
template <class S, int step>
struct Slider {
    static void run(const S *sums, size_t span, S *window, S *out, size_t n) {
        S now[step];
        for (int c = 0; c < step; ++c)
            now[c] = window[c];
        for (size_t i = 0; i < n; i += step) {
            for (size_t c = 0; c < step; ++c) {
                out[i + c] = now[c];
                now[c] += sums[i + c + span] - sums[i + c];
            }
        }
        for (int c = 0; c < step; ++c)
            window[c] = now[c];
    }
};

#if defined(__AVX2__)
inline __m256i loadSums(const void *p) {
    return _mm256_loadu_si256(static_cast<const __m256i *>(p));
}
inline void storeSums(void *p, __m256i v) {
    _mm256_storeu_si256(static_cast<__m256i *>(p), v);
}

// The lanes of a vector moved up by some places, zeros below.
template <int places>
inline __m256i moveUp(__m256i v) {
    const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i from = _mm256_sub_epi32(lane, _mm256_set1_epi32(places));
    const __m256i inside = _mm256_cmpgt_epi32(from, _mm256_set1_epi32(-1));
    return _mm256_and_si256(_mm256_permutevar8x32_epi32(v, from), inside);
}

// Each channel's lanes added up from the lowest on: over doubling distances.
template <int step>
inline __m256i addUpLanes(__m256i v) {
    if constexpr (step < 3) {
        // Within the halves; then the lower one's sums onto the upper one.
        if constexpr (step == 1) v = _mm256_add_epi32(v, _mm256_slli_si256(v, 4));
        v = _mm256_add_epi32(v, _mm256_slli_si256(v, 8));
        const __m256i lower = _mm256_permute2x128_si256(v, v, 0x08);
        return _mm256_add_epi32(v, _mm256_shuffle_epi32(lower, step == 1 ? 0xFF : 0xEE));
    } else {
        v = _mm256_add_epi32(v, moveUp<step>(v));
        return step == 3 ? _mm256_add_epi32(v, moveUp<6>(v)) : v;
    }
}

// Eight sums at a time: their changes, added up within the vector, on top of the sums that the vector before ended
// with. Up to seven sums behind the last one are written.
template <int step>
struct Slider<uint32_t, step> {
    static void run(const uint32_t *sums, size_t span, uint32_t *window, uint32_t *out, size_t n) {
        uint32_t first[8];
        int32_t lastOf[8];  // the lane that holds the channel's last sum
        for (int i = 0; i < 8; ++i) {
            first[i] = window[i % step];
            lastOf[i] = 8 + i - step * (i / step + 1);
        }
        __m256i now = loadSums(first);
        const __m256i last = loadSums(lastOf);
        for (size_t i = 0; i < n; i += 8) {
            const __m256i change = _mm256_sub_epi32(loadSums(sums + i + span), loadSums(sums + i));
            const __m256i total = addUpLanes<step>(change);
            storeSums(out + i, _mm256_add_epi32(now, _mm256_sub_epi32(total, change)));
            now = _mm256_permutevar8x32_epi32(_mm256_add_epi32(now, total), last);
        }
        storeSums(first, now);
        for (int c = 0; c < step; ++c)
            window[c] = first[c];
    }
};
#elif defined(__SSE2__)
// The same, four sums at a time.
template <int step>
struct Slider<uint32_t, step> {
    static __m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }

    static void run(const uint32_t *sums, size_t span, uint32_t *window, uint32_t *out, size_t n) {
        // The lanes that hold each lane's channel's last sum.
        constexpr int last = step == 1 ? 0xFF : step == 2 ? 0xEE : step == 3 ? 0x79 : 0xE4;
        uint32_t first[4];
        for (int i = 0; i < 4; ++i)
            first[i] = window[i % step];
        __m128i now = load(first);
        for (size_t i = 0; i < n; i += 4) {
            const __m128i change = _mm_sub_epi32(load(sums + i + span), load(sums + i));
            __m128i total = change;
            if constexpr (step == 1) total = _mm_add_epi32(total, _mm_slli_si128(total, 4));
            if constexpr (step < 3) total = _mm_add_epi32(total, _mm_slli_si128(total, 8));
            if constexpr (step == 3) total = _mm_add_epi32(total, _mm_slli_si128(total, 12));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_add_epi32(now, _mm_sub_epi32(total, change)));
            now = _mm_shuffle_epi32(_mm_add_epi32(now, total), last);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i *>(first), now);
        for (int c = 0; c < step; ++c)
            window[c] = first[c];
    }
};
#endif

// ----------------------------------------------------------------------------------------------------------- averages

template <class D>
struct Average {
    using Value = typename D::Value;
    static Value of(uint32_t sum, float scale) {
        const float product = static_cast<float>(static_cast<int32_t>(sum)) * scale;
        return static_cast<Value>(static_cast<int32_t>(product));
    }
};
template <>
struct Average<Own32F> {
    static float of(float sum, float scale) { return sum * scale; }
};

// Single bits, in bytes: whether half of the window is set.
struct Bits : Own8U {};
template <>
struct Average<Bits> {
    static uint8_t of(uint32_t sum, float scale) {
        return static_cast<float>(static_cast<int32_t>(sum)) * scale < 0.5f ? 0 : 1;
    }
};

template <class D>
struct Wide : D {};
template <class D>
struct Average<Wide<D>> {
    static typename D::Value of(uint32_t sum, float scale) {
        const double product = static_cast<double>(static_cast<int32_t>(sum)) * static_cast<double>(scale);
        return static_cast<typename D::Value>(static_cast<int32_t>(product));
    }
};

// The window slides along the row, with the sums of all channels side by side.
template <class D, int step>
void averageSliding(const Sum<D> *sums, typename D::Sample *out, const OwnBlurWindow &w) {
    alignas(64) Sum<D> windows[SEGMENT + 8];
    Sum<D> first[step];
    const size_t n = w.width * step, span = static_cast<size_t>(w.nCols) * step;
    const float scale = w.scale;
    sumFirst<Sum<D>, step>(sums, w.nCols, first);
    for (size_t i = 0; i < n; i += SEGMENT) {
        const size_t count = n - i < SEGMENT ? n - i : SEGMENT;
        Slider<Sum<D>, step>::run(sums + i, span, first, windows, count);
        for (size_t k = 0; k < count; ++k)
            out[i + k] = Average<D>::of(windows[k], scale);
    }
}

// One channel after the other, whatever their number.
template <class D>
void averageInTurn(const Sum<D> *sums, typename D::Sample *out, const OwnBlurWindow &w) {
    const auto step = static_cast<size_t>(w.channels);
    const size_t n = w.width * step, span = static_cast<size_t>(w.nCols) * step;
    for (size_t c = 0; c < step; ++c) {
        Sum<D> now = {};
        for (size_t k = c; k < span; k += step)
            now += sums[k];
        for (size_t i = c; i < n; i += step) {
            out[i] = Average<D>::of(now, w.scale);
            now += sums[i + span] - sums[i];
        }
    }
}

// The columns of a small window are added for each sample anew.
template <class D>
void averageDirect(const uint32_t *sums, typename D::Sample *out, const OwnBlurWindow &w) {
    constexpr size_t block = 4 * VECTOR_BYTES / sizeof(*sums);
    alignas(64) uint32_t windows[SEGMENT + block];
    const Taps<uint32_t> taps = takeColumns(sums, w);
    const size_t n = w.width * static_cast<size_t>(w.channels);
    const float scale = w.scale;
    for (size_t i = 0; i < n; i += SEGMENT) {
        const size_t count = n - i < SEGMENT ? n - i : SEGMENT;
        for (size_t k = 0; k < count; k += block)
            addTaps<uint32_t, 4>(taps, i + k, windows + k);
        for (size_t k = 0; k < count; ++k)
            out[i + k] = Average<D>::of(windows[k], scale);
    }
}

template <class D>
void average(const void *sums_, void *out_, const OwnBlurWindow &window) {
    const auto *sums = static_cast<const Sum<D> *>(sums_);
    typename D::Sample *out = static_cast<typename D::Sample *>(out_);
    if (window.nCols <= OWN_BLUR_DIRECT) return averageDirect<D>(sums, out, window);
    switch (window.channels) {
        case 1:
            return averageSliding<D, 1>(sums, out, window);
        case 2:
            return averageSliding<D, 2>(sums, out, window);
        case 3:
            return averageSliding<D, 3>(sums, out, window);
        case MAX_STEP:
            return averageSliding<D, MAX_STEP>(sums, out, window);
        default:
            return averageInTurn<D>(sums, out, window);
    }
}

// ----------------------------------------------------------------------------------------------------- narrow windows

// sums[i] = four of the columns' sums, step apart.
void addFour(const uint16_t *columns, size_t step, uint16_t *sums, size_t n) {
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        sums[i] = static_cast<uint16_t>(columns[i] + columns[i + step] + columns[i + 2 * step] + columns[i + 3 * step]);
    }
}

// The digits of the window's width, to the base of four, say how many columns, and sums of 4, 16 and 64 of them, a
// window consists of.
Taps<uint16_t> takeParts(const uint16_t *sums, const OwnBlurWindow &w) {
    Taps<uint16_t> taps;
    taps.count = 0;
    size_t step = static_cast<size_t>(w.channels), at = 0;
    size_t n = (w.width + static_cast<size_t>(w.nCols) - 1) * step;
    int rest = w.nCols;
    for (int part = 0;; ++part) {
        for (int digit = part < OWN_BLUR_PARTS ? rest % 4 : rest; digit > 0; --digit, at += step)
            taps.at[taps.count++] = sums + at;
        rest = part < OWN_BLUR_PARTS ? rest / 4 : 0;
        if (rest == 0) return taps;
        n -= 3 * step;
        addFour(sums, step, w.parts[part], n);
        sums = w.parts[part];
        step *= 4;
    }
}

#if defined(OWN_HAS_VECTORS)
inline OwnVector divide(OwnVector sums, const OwnBlurDivision &by) {
    sums = OWN_VECTOR(subs, epu16)(sums, OWN_VECTOR(set1, epi16)(by.minus));
    sums = OWN_VECTOR(add, epi16)(sums, OWN_VECTOR(set1, epi16)(by.plus));
    sums = OWN_VECTOR(mulhi, epu16)(sums, OWN_VECTOR(set1, epi16)(static_cast<int16_t>(by.factor)));
    return OWN_VECTOR(srl, epi16)(sums, _mm_cvtsi32_si128(by.shift));
}

// Two vectors of 16-bit numbers as one of bytes.
inline OwnVector packBytes(OwnVector low, OwnVector high) {
#if defined(__AVX2__)
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
#else
    return _mm_packus_epi16(low, high);
#endif
}

constexpr size_t NARROW_BLOCK = 2 * sizeof(OwnVector);
inline void averageBlock(const Taps<uint16_t> &taps, size_t i, const OwnBlurDivision &by, char *out) {
    OwnVector sums[4];
    addTaps<uint16_t, 4>(taps, i, sums);
    for (OwnVector &sum : sums)
        sum = divide(sum, by);
    ownStore(out, packBytes(sums[0], sums[1]));
    ownStore(out + sizeof(OwnVector), packBytes(sums[2], sums[3]));
}
#else
constexpr size_t NARROW_BLOCK = 4 * VECTOR_BYTES / sizeof(uint16_t);
inline void averageBlock(const Taps<uint16_t> &taps, size_t i, const OwnBlurDivision &by, char *out) {
    uint16_t sums[NARROW_BLOCK];
    addTaps<uint16_t, 4>(taps, i, sums);
    for (size_t k = 0; k < NARROW_BLOCK; ++k) {
        const uint32_t rest = sums[k] > by.minus ? sums[k] - static_cast<uint32_t>(by.minus) : 0;
        const auto average = (rest + static_cast<uint32_t>(by.plus)) * by.factor >> 16 >> by.shift;
        out[k] = static_cast<char>(average);
    }
}
#endif

// Blocks read beyond the last sum, and write beyond the last sample but in a copy.
void averageNarrow(const void *sums_, void *out_, const OwnBlurWindow &window) {
    const auto *sums = static_cast<const uint16_t *>(sums_);
    auto *out = static_cast<char *>(out_);
    const bool direct = window.nCols <= OWN_BLUR_DIRECT;
    const Taps<uint16_t> taps = direct ? takeColumns(sums, window) : takeParts(sums, window);
    const OwnBlurDivision by = window.division;
    const size_t n = window.width * static_cast<size_t>(window.channels);
    size_t i = 0;
    for (; i + NARROW_BLOCK <= n; i += NARROW_BLOCK)
        averageBlock(taps, i, by, out + i);
    if (i == n) return;
    char last[NARROW_BLOCK];
    averageBlock(taps, i, by, last);
    __builtin_memcpy(out + i, last, n - i);
}

// ------------------------------------------------------------------------------------------------- rows side by side

struct FloatRows {
    const float *sums[OWN_BLUR_ROWS];
    OwnAnyF32 *out[OWN_BLUR_ROWS];
};

// What is left of a row, from sample i on, which is of the first channel; now are the sums of the windows there.
template <int step>
void finishRow(const float *sums, size_t span, const float *now_, float scale, OwnAnyF32 *out, size_t i, size_t n) {
    float now[step];
    for (int c = 0; c < step; ++c)
        now[c] = now_[c];
    for (; i < n; i += step) {
        for (size_t c = 0; c < step; ++c) {
            out[i + c] = now[c] * scale;
            now[c] += sums[i + c + span] - sums[i + c];
        }
    }
}

#if defined(__SSE2__)
// A vector takes four columns of four rows, or of two times four: a lane is a row then, and the window slides in all of
// them at once.
#if defined(__AVX2__)
using Rows = __m256;
#define OWN_ROWS(name) _mm256_##name
inline Rows loadRows(const float *const *rows, size_t x) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(rows[0] + x)), _mm_loadu_ps(rows[4] + x), 1);
}
inline void storeRows(OwnAnyF32 *const *rows, size_t x, Rows v) {
    _mm_storeu_ps(reinterpret_cast<float *>(rows[0] + x), _mm256_castps256_ps128(v));
    _mm_storeu_ps(reinterpret_cast<float *>(rows[4] + x), _mm256_extractf128_ps(v, 1));
}
#else
using Rows = __m128;
#define OWN_ROWS(name) _mm_##name
inline Rows loadRows(const float *const *rows, size_t x) {
    return _mm_loadu_ps(rows[0] + x);
}
inline void storeRows(OwnAnyF32 *const *rows, size_t x, Rows v) {
    _mm_storeu_ps(reinterpret_cast<float *>(rows[0] + x), v);
}
#endif
constexpr int ROWS_OF_VECTOR = sizeof(Rows) / sizeof(float);
constexpr int GROUPS = OWN_BLUR_ROWS / ROWS_OF_VECTOR;

// Rows to columns, or columns to rows.
[[gnu::always_inline]] inline void transpose(Rows *v) {
    const Rows a = OWN_ROWS(unpacklo_ps)(v[0], v[2]), b = OWN_ROWS(unpacklo_ps)(v[1], v[3]);
    const Rows c = OWN_ROWS(unpackhi_ps)(v[0], v[2]), d = OWN_ROWS(unpackhi_ps)(v[1], v[3]);
    v[0] = OWN_ROWS(unpacklo_ps)(a, b);
    v[1] = OWN_ROWS(unpackhi_ps)(a, b);
    v[2] = OWN_ROWS(unpacklo_ps)(c, d);
    v[3] = OWN_ROWS(unpackhi_ps)(c, d);
}

// Four columns from x on; now are the window's sums, of the channels in turn.
template <int step>
[[gnu::always_inline]] inline void slideFour(const FloatRows &rows, int firstRow, size_t x, size_t span, Rows scale,
                                             Rows *now, int channel) {
    Rows changes[4];
    for (int q = 0; q < 4; ++q) {
        const float *const *sums = rows.sums + firstRow + q;
        changes[q] = OWN_ROWS(sub_ps)(loadRows(sums, x + span), loadRows(sums, x));
    }
    transpose(changes);
    Rows averages[4];
    for (int q = 0; q < 4; ++q) {
        Rows &sum = now[(channel + q) % step];
        averages[q] = OWN_ROWS(mul_ps)(sum, scale);
        sum = OWN_ROWS(add_ps)(sum, changes[q]);
    }
    transpose(averages);
    for (int q = 0; q < 4; ++q)
        storeRows(rows.out + firstRow + q, x, averages[q]);
}

template <int step>
void slideRows(const FloatRows &rows, const OwnBlurWindow &w) {
    const size_t n = w.width * step, span = static_cast<size_t>(w.nCols) * step;
    alignas(64) float first[step][OWN_BLUR_ROWS] = {};
    for (size_t k = 0; k < span; k += step) {
        for (int c = 0; c < step; ++c) {
            for (int r = 0; r < OWN_BLUR_ROWS; ++r)
                first[c][r] += rows.sums[r][k + static_cast<size_t>(c)];
        }
    }
    // In a vector rows stand as they are loaded: the lower halves, then the upper ones.
    Rows now[GROUPS][step];
    for (int c = 0; c < step; ++c) {
        for (int g = 0; g < GROUPS; ++g)
            now[g][c] = OWN_ROWS(loadu_ps)(first[c] + g * ROWS_OF_VECTOR);
    }
    const Rows scale = OWN_ROWS(set1_ps)(w.scale);
    size_t i = 0;
    for (; i + 4 * step <= n; i += 4 * step) {
#pragma GCC unroll 4
        for (int part = 0; part < step; ++part) {
#pragma GCC unroll 2
            for (int g = 0; g < GROUPS; ++g)
                slideFour<step>(rows, g * ROWS_OF_VECTOR, i + 4 * static_cast<size_t>(part), span, scale, now[g],
                                4 * part);
        }
    }
    for (int g = 0; g < GROUPS; ++g) {
        for (int c = 0; c < step; ++c)
            OWN_ROWS(storeu_ps)(first[c] + g * ROWS_OF_VECTOR, now[g][c]);
    }
    for (int r = 0; r < OWN_BLUR_ROWS; ++r) {
        float last[step];
        for (int c = 0; c < step; ++c)
            last[c] = first[c][r];
        finishRow<step>(rows.sums[r], span, last, w.scale, rows.out[r], i, n);
    }
}
#endif

template <int step>
void averageRow(const float *sums, OwnAnyF32 *out, const OwnBlurWindow &w) {
    float first[step];
    sumFirst<float, step>(sums, w.nCols, first);
    finishRow<step>(sums, static_cast<size_t>(w.nCols) * step, first, w.scale, out, 0, w.width * step);
}

template <int step>
void averageFloatRows(FloatRows *rows, int64_t height, const OwnBlurWindow &w) {
#if defined(__SSE2__)
    // A few rows are quicker alone; more of them have the last one once more for each that is missing.
    if (height > 2) {
        for (int64_t r = height; r < OWN_BLUR_ROWS; ++r) {
            rows->sums[r] = rows->sums[height - 1];
            rows->out[r] = rows->out[height - 1];
        }
        return slideRows<step>(*rows, w);
    }
#endif
    for (int64_t r = 0; r < height; ++r)
        averageRow<step>(rows->sums[r], rows->out[r], w);
}

void averageFloats(const OwnBlurBand &band, const OwnBlurWindow &w) {
    FloatRows rows;
    for (int64_t r = 0; r < band.height; ++r) {
        rows.sums[r] = reinterpret_cast<const float *>(static_cast<const char *>(band.sums) + r * band.sumStep);
        rows.out[r] = reinterpret_cast<OwnAnyF32 *>(static_cast<char *>(band.out) + r * band.outStep);
    }
    switch (w.channels) {
        case 1:
            return averageFloatRows<1>(&rows, band.height, w);
        case 2:
            return averageFloatRows<2>(&rows, band.height, w);
        case 3:
            return averageFloatRows<3>(&rows, band.height, w);
        case MAX_STEP:
            return averageFloatRows<MAX_STEP>(&rows, band.height, w);
        default:
            for (int64_t r = 0; r < band.height; ++r)
                averageInTurn<Own32F>(rows.sums[r], rows.out[r], w);
    }
}

}  // namespace

extern const OwnBlurRows blurRows;
const OwnBlurRows blurRows = {
    {add<Own8U>, add<Own8U>, add<Own8S>, add<Own16U>, add<Own16S>, add<Own32S>, add<Own32F>},
    add<Own8U, uint16_t>,
    {slide<Own8U>, slide<Own8U>, slide<Own8S>, slide<Own16U>, slide<Own16S>, slide<Own32S>, slide<Own32F>},
    slide<Own8U, uint16_t>,
    {average<Bits>, average<Own8U>, average<Own8S>, average<Own16U>, average<Own16S>, average<Own32S>, nullptr},
    averageNarrow,
    {nullptr, average<Wide<Own8U>>, average<Wide<Own8S>>, nullptr, nullptr, nullptr, nullptr},
    averageFloats,
};

}  // namespace OWN_LEVEL
