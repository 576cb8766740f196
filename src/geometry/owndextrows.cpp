// Kernels of decimation with blur: sums of columns, means of windows, and what lies between them.
#include "frame/ownsample.h"
#include "geometry/owndext.h"
#include "geometry/ownnumber.h"

namespace {

template <class D, class Sum>
void add(const uint8_t *row, Sum *columns, size_t n) {
    const typename D::Sample *samples = reinterpret_cast<const typename D::Sample *>(row);
    for (size_t i = 0; i < n; ++i)
        columns[i] += static_cast<Sum>(samples[i]);
}
template <class D>
void subtract(const uint8_t *row, uint32_t *columns, size_t n) {
    const typename D::Sample *samples = reinterpret_cast<const typename D::Sample *>(row);
    for (size_t i = 0; i < n; ++i)
        columns[i] -= samples[i];
}

[[gnu::always_inline]] inline unsigned bitAt(const uint8_t *row, size_t at) {
    return row[at / 8] >> (7 - at % 8) & 1u;
}
template <class Sum>
void addBits(const uint8_t *row, int bit, Sum *columns, size_t n) {
    for (size_t i = 0; i < n; ++i)
        columns[i] += static_cast<Sum>(bitAt(row, i + static_cast<size_t>(bit)));
}
void subtractBits(const uint8_t *row, int bit, uint32_t *columns, size_t n) {
    for (size_t i = 0; i < n; ++i)
        columns[i] -= bitAt(row, i + static_cast<size_t>(bit));
}

// Running sums of so many samples side by side, as far as whole columns go.
template <size_t lag>
size_t accumulateColumns(const uint32_t *columns, uint32_t *out, size_t n) {
    uint32_t sums[lag] = {};
    size_t i = 0;
    for (; i + lag <= n; i += lag) {
        for (size_t c = 0; c < lag; ++c)
            out[i + lag + c] = sums[c] += columns[i + c];
    }
    return i;
}

void accumulate(const uint32_t *columns, int step, uint32_t *out, size_t n) {
    const auto lag = static_cast<size_t>(step);
    for (size_t i = 0; i < lag; ++i)
        out[i] = 0;
    size_t i = lag == 1   ? accumulateColumns<1>(columns, out, n)
               : lag == 3 ? accumulateColumns<3>(columns, out, n)
               : lag == 4 ? accumulateColumns<4>(columns, out, n)
                          : 0;
    for (; i < n; ++i)
        out[i + lag] = out[i] + columns[i];
}

// Means of whole windows are made of so many at a time.
constexpr int64_t MOST = 256;

// out[i] is what stands at i, i + step, ... in columns, added up in this order.
template <class Sum>
[[gnu::always_inline]] inline void addUp(const Sum *columns, size_t step, size_t size, Sum *out, size_t n) {
    for (size_t i = 0; i < n; ++i)
        out[i] = 0;
    for (size_t j = 0; j < size; ++j) {
        const Sum *column = columns + j * step;
        for (size_t i = 0; i < n; ++i)
            out[i] += column[i];
    }
}

// The sum of a window of columns, of one channel; and the sums of the windows from n neighbouring values on.
struct Whole {
    using Sum = uint32_t;
    [[gnu::always_inline]] static float sum(const uint32_t *columns, int64_t step, int64_t from, int64_t to) {
        uint32_t all = 0;
        for (int64_t j = from; j < to; ++j)
            all += columns[j * step];
        return static_cast<float>(static_cast<int32_t>(all));
    }
    static void sums(const uint32_t *columns, size_t step, size_t size, float *out, size_t n) {
        uint32_t all[MOST];
        addUp(columns, step, size, all, n);
        for (size_t i = 0; i < n; ++i)
            out[i] = static_cast<float>(static_cast<int32_t>(all[i]));
    }
};
struct Accumulated {
    using Sum = uint32_t;
    [[gnu::always_inline]] static float sum(const uint32_t *columns, int64_t step, int64_t from, int64_t to) {
        return static_cast<float>(static_cast<int32_t>(columns[to * step] - columns[from * step]));
    }
    static void sums(const uint32_t *columns, size_t step, size_t size, float *out, size_t n) {
        for (size_t i = 0; i < n; ++i)
            out[i] = static_cast<float>(static_cast<int32_t>(columns[i + size * step] - columns[i]));
    }
};
struct Real {
    using Sum = float;
    [[gnu::always_inline]] static float sum(const float *columns, int64_t step, int64_t from, int64_t to) {
        float all = 0;
        for (int64_t j = from; j < to; ++j)
            all += columns[j * step];
        return all;
    }
    static void sums(const float *columns, size_t step, size_t size, float *out, size_t n) {
        addUp(columns, step, size, out, n);
    }
};

// What lies between the values at 1, 2 or 4 places: the first, a line, a polynomial of third order in Newton's form,
// whose f is counted from the second place on.
template <int taps>
[[gnu::always_inline]] inline float between(const float *at, float f) {
    if constexpr (taps == 1) {
        return at[0];
    } else if constexpr (taps == 2) {
        return at[0] * (1 - f) + at[1] * f;
    } else {
        const float d1 = at[1] - at[0];
        const float d2 = at[2] - at[1] - d1;
        const float d3 = at[1] - 2 * at[2] + at[3] - d2;
        const float t = 1 + f, u = 0.5f * t * f, v = 0.33333334f * (f - 1) * u;
        return at[0] + t * d1 + u * d2 + v * d3;
    }
}

// The pixels i to end - 1, one by one.
template <class From, int taps>
float *acrossEach(const OwnDextAcross &by, int channels, float *out, size_t i, size_t end) {
    const auto *columns = static_cast<const typename From::Sum *>(by.columns);
    const int64_t half = by.size >> 1, step = by.step;
    for (; i < end; ++i) {
        int64_t from[taps], to[taps];
        float cells[taps];
        for (int k = 0; k < taps; ++k) {
            const int64_t first = by.base[i] + k - half, last = first + by.size;
            from[k] = (first > 0 ? first : 0) - by.origin;
            to[k] = (last < by.width ? last : by.width) - by.origin;
            cells[k] = static_cast<float>((to[k] - from[k]) * by.rows);
        }
        for (int c = 0; c < channels; ++c) {
            float means[taps];
            for (int k = 0; k < taps; ++k)
                means[k] = From::sum(columns + c, step, from[k], to[k]) / cells[k];
            *out++ = between<taps>(means, by.fraction[i]);
        }
    }
    return out;
}

// The same for pixels whose windows are whole, by the means of all windows from the first one's on, count values.
template <class From, int taps>
float *acrossTogether(const OwnDextAcross &by, int channels, float *out, size_t i, size_t end, size_t count) {
    const int64_t half = by.size >> 1, step = by.step, first = by.base[i];
    const auto *columns = static_cast<const typename From::Sum *>(by.columns) + (first - half - by.origin) * step;
    const auto cells = static_cast<float>(by.size * by.rows);
    float means[MOST];
    From::sums(columns, static_cast<size_t>(step), static_cast<size_t>(by.size), means, count);
    for (size_t k = 0; k < count; ++k)
        means[k] /= cells;
    const auto pick = [&](const int samples) {
        for (; i < end; ++i) {
            const float *at = means + (by.base[i] - first) * step, fraction = by.fraction[i];
            for (int c = 0; c < samples; ++c) {
                float own[taps];
                for (int k = 0; k < taps; ++k)
                    own[k] = at[k * step + c];
                *out++ = between<taps>(own, fraction);
            }
        }
    };
    channels == 1 ? pick(1) : pick(channels);
    return out;
}

// The windows of neighbouring pixels overlap: where that is enough, all between the first and the last are made by
// vectors. Those that the region cuts are at both ends.
template <class From, int taps>
void across(const OwnDextAcross &by, int channels, float *out, size_t n) {
    constexpr int64_t SPARE = 4;  // a window made among others costs so much less
    const int64_t half = by.size >> 1, most = MOST / by.step - taps;
    size_t whole = 0, cut = n;
    while (whole < n && by.base[whole] < half)
        ++whole;
    while (cut > whole && by.base[cut - 1] + taps - 1 - half + by.size > by.width)
        --cut;
    out = acrossEach<From, taps>(by, channels, out, 0, whole);
    for (size_t i = whole, end; i < cut; i = end) {
        for (end = i + 1; end < cut && by.base[end] - by.base[i] <= most;)
            ++end;
        const int64_t values = (by.base[end - 1] - by.base[i] + taps - 1) * by.step + channels;
        if (values <= MOST && values <= SPARE * taps * channels * static_cast<int64_t>(end - i)) {
            out = acrossTogether<From, taps>(by, channels, out, i, end, static_cast<size_t>(values));
        } else {
            out = acrossEach<From, taps>(by, channels, out, i, end);
        }
    }
    acrossEach<From, taps>(by, channels, out, cut, n);
}

template <int taps>
[[gnu::always_inline]] inline float betweenRows(const float *const *rows, size_t i, float fraction) {
    float at[taps];
    for (int k = 0; k < taps; ++k)
        at[k] = rows[k][i];
    return between<taps>(at, fraction);
}

template <class D, int taps>
void store(const float *const *rows, float fraction, uint8_t *out, size_t n) {
    using Value = typename D::Value;
    typename D::Sample *to = reinterpret_cast<typename D::Sample *>(out);
    for (size_t i = 0; i < n; ++i) {
        const float value = betweenRows<taps>(rows, i, fraction);
        if constexpr (sizeof(Value) == 4) {
            to[i] = ownOneNaN(value);
        } else {
            constexpr auto most = static_cast<float>(D::high);
            const float atLeast = value > 0 ? value : 0, clamped = atLeast < most ? atLeast : most;
            to[i] = static_cast<Value>(static_cast<int32_t>(clamped + 0.5f));
        }
    }
}

void storeBits(const float *const *rows, float, uint8_t *out, size_t n) {
    for (size_t i = 0; i < n; i += 8) {
        const size_t count = n - i < 8 ? n - i : 8;
        unsigned bits = 0;
        for (size_t k = 0; k < count; ++k)
            bits |= (rows[0][i + k] >= 0.5f ? 128u : 0u) >> k;
        *out++ = static_cast<uint8_t>(bits);
    }
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnDextRows dextRows;
const OwnDextRows dextRows = {
    {add<Own8U, uint32_t>, add<Own16U, uint32_t>},
    {subtract<Own8U>, subtract<Own16U>},
    addBits<uint32_t>,
    subtractBits,
    {add<Own8U, float>, add<Own16U, float>, add<Own32F, float>},
    addBits<float>,
    accumulate,
    {across<Whole, 1>, across<Whole, 2>, across<Whole, 4>},
    {across<Accumulated, 1>, across<Accumulated, 2>, across<Accumulated, 4>},
    {across<Real, 1>, across<Real, 2>, across<Real, 4>},
    {{store<Own8U, 1>, store<Own8U, 2>, store<Own8U, 4>},
     {store<Own16U, 1>, store<Own16U, 2>, store<Own16U, 4>},
     {store<Own32F, 1>, store<Own32F, 2>, store<Own32F, 4>}},
    storeBits,
};
}  // namespace OWN_LEVEL
