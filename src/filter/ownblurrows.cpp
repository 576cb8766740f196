// Row kernels of the box filter, compiled once for each CPU level, and for a rounding mode that is not the default:
// they run under chop. The sum of a window slides along the row: integer sums wrap and may be added in any order, float
// sums are added one by one.
#include "filter/ownblur.h"

#include "frame/ownsample.h"

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

template <class D>
void add(const void *row_, void *sums_, size_t n) {
    const typename D::Sample *row = static_cast<const typename D::Sample *>(row_);
    auto *sums = static_cast<Sum<D> *>(sums_);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] += static_cast<Sum<D>>(row[i]);
}

template <class D>
void slide(const void *entering_, const void *leaving_, void *sums_, size_t n) {
    const typename D::Sample *entering = static_cast<const typename D::Sample *>(entering_);
    const typename D::Sample *leaving = static_cast<const typename D::Sample *>(leaving_);
    auto *sums = static_cast<Sum<D> *>(sums_);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] += static_cast<Sum<D>>(entering[i]) - static_cast<Sum<D>>(leaving[i]);
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

// Eight sums at a time: their changes, added up within the vector over doubling distances, on top of the sums that the
// vector before ended with. Up to seven sums behind the last one are written.
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
            __m256i total = _mm256_add_epi32(change, moveUp<step>(change));
            if constexpr (2 * step < 8) total = _mm256_add_epi32(total, moveUp<2 * step>(total));
            if constexpr (4 * step < 8) total = _mm256_add_epi32(total, moveUp<4 * step>(total));
            storeSums(out + i, _mm256_add_epi32(now, _mm256_sub_epi32(total, change)));
            now = _mm256_permutevar8x32_epi32(_mm256_add_epi32(now, total), last);
        }
        storeSums(first, now);
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

template <class D, int step>
void averageSideBySide(const Sum<D> *sums, typename D::Sample *out, const OwnBlurWindow &w) {
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

template <class D>
void average(const void *sums_, void *out_, const OwnBlurWindow &window) {
    const auto *sums = static_cast<const Sum<D> *>(sums_);
    typename D::Sample *out = static_cast<typename D::Sample *>(out_);
    switch (window.channels) {
        case 1:
            return averageSideBySide<D, 1>(sums, out, window);
        case 2:
            return averageSideBySide<D, 2>(sums, out, window);
        case 3:
            return averageSideBySide<D, 3>(sums, out, window);
        case MAX_STEP:
            return averageSideBySide<D, MAX_STEP>(sums, out, window);
        default:
            return averageInTurn<D>(sums, out, window);
    }
}

}  // namespace

extern const OwnBlurRows blurRows;
const OwnBlurRows blurRows = {
    {add<Own8U>, add<Own8U>, add<Own8S>, add<Own16U>, add<Own16S>, add<Own32S>, add<Own32F>},
    {slide<Own8U>, slide<Own8U>, slide<Own8S>, slide<Own16U>, slide<Own16S>, slide<Own32S>, slide<Own32F>},
    {average<Bits>, average<Own8U>, average<Own8S>, average<Own16U>, average<Own16S>, average<Own32S>, average<Own32F>},
    {nullptr, average<Wide<Own8U>>, average<Wide<Own8S>>, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace OWN_LEVEL
