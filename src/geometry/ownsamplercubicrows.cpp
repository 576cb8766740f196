// Cubic samples: the polynomial of third order through four pixels, along four rows and then between them. Bytes are
// made with tabulated weights of 14 bits, rows keeping 6 bits of fraction; other depths with exact weights.
#include "frame/ownvector.h"
#include "geometry/ownsamplerplaces.h"

namespace {

// What a position is read as.
struct Single {
    typedef OwnAnyF32 Stored;
    using Value = float;
};
struct Double {
    typedef AnyDouble Stored;
    using Value = double;
};

// The window begins a pixel before the position's, but stays within the region; f is counted from its first pixel on.
template <class Position>
[[gnu::always_inline]] inline void locate(const Extent &extent, const typename Position::Stored *position,
                                          int32_t *place, typename Position::Value *f, size_t n) {
    using Value = typename Position::Value;
    const auto first = static_cast<Value>(extent.first), last = static_cast<Value>(extent.last);
    for (size_t i = 0; i < n; ++i) {
        const Value value = notAbove(notBelow<Value>(position[i], first), last);
        const int32_t whole = wholeOf(value);
        const int32_t from = notBelow(notAbove(whole - 1, extent.last - 3), extent.first);
        place[i] = (from - extent.origin) * extent.step;
        // Both terms are exact, in float too, and so is the sum where it counts.
        const Value part = value - static_cast<Value>(whole) + static_cast<Value>(whole - from);
        f[i] = notAbove(notBelow(part, Value{0}), Value{3});
    }
}

template <class Position>
struct CubicPlaces : Places {
    typename Position::Value fx[BLOCK], fy[BLOCK];

    [[gnu::always_inline]] inline size_t locateBlock(const OwnSampled &src, const void *x, const void *y, size_t done,
                                                     size_t n) {
        using Stored = typename Position::Stored;
        const size_t count = n - done < BLOCK ? n - done : BLOCK;
        const Stored *xs = static_cast<const Stored *>(x), *ys = static_cast<const Stored *>(y);
        locate<Position>(columnsOf(src), xs + done, column, fx, count);
        locate<Position>(rowsOf(src), ys + done, row, fy, count);
        return settle(src, 4, count);
    }
};

// The weights of four pixels for f = t / 512, in units of 1 / 16384: of the first and third, then of the second and
// fourth. Those of the last two are the first two's of the mirror image.
constexpr int STEPS = 1536;
struct Weights {
    int16_t at[STEPS + 1][4];
};

// a / b to the nearest, ties to even; b is above 0 and even.
constexpr int64_t nearestRatio(int64_t a, int64_t b) {
    int64_t down = a / b;
    if (a % b < 0) --down;
    const int64_t twice = 2 * (a - down * b);
    return twice > b || (twice == b && down % 2 != 0) ? down + 1 : down;
}
constexpr Weights makeWeights() {
    Weights weights = {};
    for (int64_t t = 0; t <= STEPS; ++t) {
        const int64_t outer = nearestRatio(-(t - 512) * (t - 1024) * (t - 1536), 6 * 8192);
        const int64_t inner = nearestRatio(t * (t - 1024) * (t - 1536), 2 * 8192);
        weights.at[t][0] = weights.at[STEPS - t][3] = static_cast<int16_t>(outer);
        weights.at[t][2] = weights.at[STEPS - t][1] = static_cast<int16_t>(inner);
    }
    return weights;
}
constexpr Weights weightTable = makeWeights();

// Positions in the table of weights.
template <class Position>
[[gnu::always_inline]] inline void findSteps(const typename Position::Value *f, int32_t *steps, size_t n) {
    for (size_t i = 0; i < n; ++i)
        steps[i] = nearest(f[i] * 512);
}

#if defined(OWN_HAS_VECTORS)

// The sums of two products twice, of first and third pixels or rows, and of the others.
[[gnu::always_inline]] inline OwnVector sumOf(OwnVector outer, OwnVector outerWeights, OwnVector inner,
                                              OwnVector innerWeights) {
    return OWN_VECTOR(add, epi32)(OWN_VECTOR(madd, epi16)(outer, outerWeights),
                                  OWN_VECTOR(madd, epi16)(inner, innerWeights));
}
// Words of two rows side by side.
[[gnu::always_inline]] inline OwnVector joinRows(OwnVector low, OwnVector high) {
    return ownOr(ownAnd(low, OWN_VECTOR(set1, epi32)(0xFFFF)), OWN_VECTOR(slli, epi32)(high, 16));
}

// The windows of a block: the four bytes of each row, and the two pairs of weights in each direction.
struct Windows {
    uint32_t rows[4][BLOCK];
    uint32_t x[2][BLOCK], y[2][BLOCK];
};

[[gnu::always_inline]] inline void gatherWindows(const OwnSampled &src, const Places &places, const int32_t *tx,
                                                 const int32_t *ty, Windows *windows, size_t n) {
    const int64_t step = src.pixelStep;
    for (size_t i = 0; i < n; ++i) {
        const uint8_t *p = places.at(i);
        for (int k = 0; k < 4; ++k, p += src.rowStep) {
            if (step == 1) {
                __builtin_memcpy(&windows->rows[k][i], p, 4);
            } else {
                windows->rows[k][i] =
                    p[0] | uint32_t{p[step]} << 8 | uint32_t{p[2 * step]} << 16 | uint32_t{p[3 * step]} << 24;
            }
        }
        const int16_t *w = weightTable.at[tx[i]], *q = weightTable.at[ty[i]];
        __builtin_memcpy(&windows->x[0][i], w, 4);
        __builtin_memcpy(&windows->x[1][i], w + 2, 4);
        __builtin_memcpy(&windows->y[0][i], q, 4);
        __builtin_memcpy(&windows->y[1][i], q + 2, 4);
    }
}

// As many lanes of results as a vector has.
[[gnu::always_inline]] inline OwnVector mergeLanes(const Windows &windows, size_t i) {
    const auto load = [i](const uint32_t *row) { return ownLoad(reinterpret_cast<const char *>(row + i)); };
    const OwnVector bytes = OWN_VECTOR(set1, epi32)(0x00FF00FF);
    OwnVector rows[4];
    for (int k = 0; k < 4; ++k) {
        const OwnVector quad = load(windows.rows[k]);
        const OwnVector outer = ownAnd(quad, bytes), inner = ownAnd(OWN_VECTOR(srli, epi32)(quad, 8), bytes);
        rows[k] = OWN_VECTOR(srai, epi32)(sumOf(outer, load(windows.x[0]), inner, load(windows.x[1])), 8);
    }
    const OwnVector sum =
        sumOf(joinRows(rows[0], rows[2]), load(windows.y[0]), joinRows(rows[1], rows[3]), load(windows.y[1]));
    return OWN_VECTOR(srai, epi32)(OWN_VECTOR(add, epi32)(sum, OWN_VECTOR(set1, epi32)(0x80000)), 20);
}

[[gnu::always_inline]] inline void mergeWindows(const Windows &windows, uint8_t *out) {
    constexpr size_t lanes = sizeof(OwnVector) / 4;
    for (size_t i = 0; i < BLOCK; i += 4 * lanes) {
        OwnVector part[4];
        for (size_t k = 0; k < 4; ++k)
            part[k] = mergeLanes(windows, i + k * lanes);
        OwnVector bytes = OWN_VECTOR(packus, epi16)(OWN_VECTOR(packs, epi32)(part[0], part[1]),
                                                    OWN_VECTOR(packs, epi32)(part[2], part[3]));
#if defined(__AVX2__)
        bytes = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#endif
        ownStore(reinterpret_cast<char *>(out + i), bytes);
    }
}

// 8U, sample by sample: a block is computed whole, also where less of it is wanted.
template <class Position>
void cubicBytes(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    CubicPlaces<Position> places;
    Windows windows;
    int32_t tx[BLOCK], ty[BLOCK];
    for (size_t done = 0, count; done < n; done += count) {
        count = places.locateBlock(src, x, y, done, n);
        findSteps<Position>(places.fx, tx, count);
        findSteps<Position>(places.fy, ty, count);
        if (count < BLOCK) windows = {};
        gatherWindows(src, places, tx, ty, &windows, count);
        uint8_t block[BLOCK];
        mergeWindows(windows, count == BLOCK ? out + done : block);
        if (count < BLOCK) __builtin_memcpy(out + done, block, count);
    }
}

// Four pixels of a row, and the words of first and third pixels and of the others, a channel in each lane. Three
// channels are read as if there were four bytes more, where there is memory behind them.
template <int channels, bool atEnd>
[[gnu::always_inline]] inline __m128i loadRow(const uint8_t *p) {
    if constexpr (channels == 3 && atEnd) {
        int last;
        __builtin_memcpy(&last, p + 8, 4);
        return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(p)), _mm_cvtsi32_si128(last));
    } else {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    }
}

[[gnu::always_inline]] inline int wordsAt(const int16_t *weights) {
    int words;
    __builtin_memcpy(&words, weights, 4);
    return words;
}

// Rows in both halves of a vector, or one in each.
template <int channels>
[[gnu::always_inline]] inline OwnVector sumAcross(OwnVector row, OwnVector outerWeights, OwnVector innerWeights) {
    const OwnVector zero = ownZero();
#if defined(__AVX2__)
    const OwnVector pairs = _mm256_unpacklo_epi8(row, _mm256_bsrli_epi128(row, 2 * channels));
    const OwnVector inner = channels == 4 ? _mm256_unpackhi_epi8(pairs, zero)
                                          : _mm256_unpacklo_epi8(_mm256_bsrli_epi128(pairs, 2 * channels), zero);
#else
    const OwnVector pairs = _mm_unpacklo_epi8(row, _mm_srli_si128(row, 2 * channels));
    const OwnVector inner =
        channels == 4 ? _mm_unpackhi_epi8(pairs, zero) : _mm_unpacklo_epi8(_mm_srli_si128(pairs, 2 * channels), zero);
#endif
    const OwnVector outer = OWN_VECTOR(unpacklo, epi8)(pairs, zero);
    return OWN_VECTOR(srai, epi32)(sumOf(outer, outerWeights, inner, innerWeights), 8);
}

template <int channels, bool atEnd>
[[gnu::always_inline]] inline int32_t mergePixel(const uint8_t *p, int64_t rowStep, const int16_t *w,
                                                 const int16_t *q) {
    const OwnVector outer = OWN_VECTOR(set1, epi32)(wordsAt(w)), inner = OWN_VECTOR(set1, epi32)(wordsAt(w + 2));
    const auto row = [&](int k) { return loadRow<channels, atEnd>(p + k * rowStep); };
#if defined(__AVX2__)
    const auto two = [&](int k) { return _mm256_inserti128_si256(_mm256_castsi128_si256(row(k)), row(k + 1), 1); };
    const OwnVector upper = sumAcross<channels>(two(0), outer, inner);
    const OwnVector lower = sumAcross<channels>(two(2), outer, inner);
    const OwnVector weights =
        _mm256_blend_epi32(_mm256_set1_epi32(wordsAt(q)), _mm256_set1_epi32(wordsAt(q + 2)), 0xF0);
    const OwnVector both = _mm256_madd_epi16(joinRows(upper, lower), weights);
    const __m128i all = _mm_add_epi32(_mm256_castsi256_si128(both), _mm256_extracti128_si256(both, 1));
#else
    OwnVector rows[4];
    for (int k = 0; k < 4; ++k)
        rows[k] = sumAcross<channels>(row(k), outer, inner);
    const __m128i all = sumOf(joinRows(rows[0], rows[2]), _mm_set1_epi32(wordsAt(q)), joinRows(rows[1], rows[3]),
                              _mm_set1_epi32(wordsAt(q + 2)));
#endif
    const __m128i sum = _mm_srai_epi32(_mm_add_epi32(all, _mm_set1_epi32(0x80000)), 20);
    const __m128i words = _mm_packs_epi32(sum, sum);
    return _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
}

// Pixels of 3 or 4 bytes. Those of three are stored as four, each over the last byte of the one before, but for the
// last.
template <int channels, bool atEnd>
[[gnu::always_inline]] inline void mergePixels(const OwnSampled &src, const Places &places, const int32_t *tx,
                                               const int32_t *ty, uint8_t *out, size_t n) {
    for (size_t i = 0; i < n; ++i, out += channels) {
        const int32_t pixel =
            mergePixel<channels, atEnd>(places.at(i), src.rowStep, weightTable.at[tx[i]], weightTable.at[ty[i]]);
        if (channels == 4 || i + 1 < n) {
            __builtin_memcpy(out, &pixel, 4);
        } else {
            __builtin_memcpy(out, &pixel, channels);
        }
    }
}

template <class Position, int channels>
void cubicPixels(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    CubicPlaces<Position> places;
    int32_t tx[BLOCK], ty[BLOCK];
    for (size_t done = 0, count; done < n; done += count) {
        count = places.locateBlock(src, x, y, done, n);
        findSteps<Position>(places.fx, tx, count);
        findSteps<Position>(places.fy, ty, count);
        uint8_t *to = out + done * channels;
        if (channels == 3 && places.atEnd) {
            mergePixels<channels, true>(src, places, tx, ty, to, count);
        } else {
            mergePixels<channels, false>(src, places, tx, ty, to, count);
        }
    }
}

#else

template <class Position, int channels>
void cubicPixels(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    CubicPlaces<Position> places;
    int32_t tx[BLOCK], ty[BLOCK];
    for (size_t done = 0, count; done < n; done += count) {
        count = places.locateBlock(src, x, y, done, n);
        findSteps<Position>(places.fx, tx, count);
        findSteps<Position>(places.fy, ty, count);
        for (size_t i = 0; i < count; ++i) {
            const int16_t *w = weightTable.at[tx[i]], *q = weightTable.at[ty[i]];
            const int64_t step = src.pixelStep;
            for (int c = 0; c < channels; ++c) {
                const uint8_t *p = places.at(i) + c;
                int32_t rows[4];
                for (int k = 0; k < 4; ++k, p += src.rowStep)
                    rows[k] = (w[0] * p[0] + w[2] * p[step] + w[1] * p[2 * step] + w[3] * p[3 * step]) >> 8;
                const int32_t sum = rows[0] * q[0] + rows[1] * q[2] + rows[2] * q[1] + rows[3] * q[3] + 0x80000;
                *out++ = static_cast<uint8_t>(notAbove(notBelow(sum >> 20, 0), 255));
            }
        }
    }
}
template <class Position>
void cubicBytes(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    cubicPixels<Position, 1>(src, x, y, out, n);
}

#endif

// Exact weights, in a type of number.
template <class Number>
[[gnu::always_inline]] inline void makeWeights(Number f, Number (*w)[BLOCK], size_t i) {
    const Number a = f - 1, b = f - 2, c = f - 3;
    w[0][i] = -(a * b * c) / 6;
    w[1][i] = f * b * c / 2;
    w[2][i] = -(f * a * c) / 2;
    w[3][i] = f * a * b / 6;
}

// 16U and 32F, in a type of number: four rows at once, from the first pixel to the last.
template <class D, class Position, class Number, int channels>
void cubicNumbers(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    using Value = typename D::Value;
    typedef Number Rows __attribute__((vector_size(4 * sizeof(Number))));
    typename D::Sample *to = reinterpret_cast<typename D::Sample *>(out);
    CubicPlaces<Position> places;
    alignas(64) Number w[4][BLOCK], q[4][BLOCK];
    const int64_t rowStep = src.rowStep, step = src.pixelStep;
    for (size_t done = 0, count; done < n; done += count) {
        count = places.locateBlock(src, x, y, done, n);
        for (size_t i = 0; i < count; ++i) {
            makeWeights(static_cast<Number>(places.fx[i]), w, i);
            makeWeights(static_cast<Number>(places.fy[i]), q, i);
        }
        for (size_t i = 0; i < count; ++i) {
            for (int c = 0; c < channels; ++c) {
                const uint8_t *p = places.at(i) + c * static_cast<int>(sizeof(Value));
                const auto sample = [rowStep, step](const uint8_t *from, int k, int j) {
                    Value value;
                    __builtin_memcpy(&value, from + k * rowStep + j * step, sizeof value);
                    return static_cast<Number>(value);
                };
                const auto addColumn = [&](int j, Rows *sums) {
                    const Rows column = {sample(p, 0, j), sample(p, 1, j), sample(p, 2, j), sample(p, 3, j)};
                    *sums = j == 0 ? w[0][i] * column : *sums + w[j][i] * column;
                };
                Rows sums;
                for (int j = 0; j < 4; ++j)
                    addColumn(j, &sums);
                Number value = q[0][i] * sums[0];
                for (int k = 1; k < 4; ++k)
                    value = value + q[k][i] * sums[k];
                if constexpr (sizeof(Value) == 2) {
                    *to++ = static_cast<Value>(notAbove(notBelow(nearest(value), 0), 65535));
                } else {
                    *to++ = ownOneNaN(value);
                }
            }
        }
    }
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnSampleCubicRows sampleCubicRows;
#define FORMS(...) \
    { __VA_ARGS__, 1 >, __VA_ARGS__, 3 >, __VA_ARGS__, 4 > }
#define BYTES(Position) \
    { cubicBytes<Position>, cubicPixels<Position, 3>, cubicPixels<Position, 4> }
const OwnSampleCubicRows sampleCubicRows = {
    {BYTES(Single), FORMS(cubicNumbers < Own16U, Single, double), FORMS(cubicNumbers < Own32F, Single, float)},
    {BYTES(Double), FORMS(cubicNumbers < Own16U, Double, double), FORMS(cubicNumbers < Own32F, Double, float)},
};
}  // namespace OWN_LEVEL
