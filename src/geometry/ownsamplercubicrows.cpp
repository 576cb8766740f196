// Cubic samples: the polynomial of third order through four pixels, along four rows and then between them. Bytes are
// made with tabulated weights of 14 bits, rows keeping 6 bits of fraction; other depths with exact weights.
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
        const int32_t from = notBelow(notAbove(wholeOf(value) - 1, extent.last - 3), extent.first);
        place[i] = (from - extent.origin) * extent.step;
        // The difference is exact, in float too, up to positions that leave no place for fractions.
        const Value part = value - static_cast<Value>(from);
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

// The weights of four pixels for f = t / 512, in units of 1 / 16384. Those of the last two are the first two's of the
// mirror image.
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
        weights.at[t][1] = weights.at[STEPS - t][2] = static_cast<int16_t>(inner);
    }
    return weights;
}
constexpr Weights weightTable = makeWeights();

// 8U.
template <class Position, int channels>
void cubicBytes(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    CubicPlaces<Position> places;
    for (size_t done = 0, count; done < n; done += count) {
        count = places.locateBlock(src, x, y, done, n);
        int32_t tx[BLOCK], ty[BLOCK];
        for (size_t i = 0; i < count; ++i) {
            tx[i] = nearest(places.fx[i] * 512);
            ty[i] = nearest(places.fy[i] * 512);
        }
        for (size_t i = 0; i < count; ++i) {
            const int16_t *w = weightTable.at[tx[i]], *q = weightTable.at[ty[i]];
            for (int c = 0; c < channels; ++c) {
                const uint8_t *p = places.at(i) + c;
                int32_t sum = 0x80000;
                for (int k = 0; k < 4; ++k, p += src.rowStep) {
                    const int64_t step = src.pixelStep;
                    sum += ((w[0] * p[0] + w[1] * p[step] + w[2] * p[2 * step] + w[3] * p[3 * step]) >> 8) * q[k];
                }
                *out++ = static_cast<uint8_t>(notAbove(notBelow(sum >> 20, 0), 255));
            }
        }
    }
}

template <class Number>
[[gnu::always_inline]] inline void makeWeights(Number f, Number *w) {
    const Number a = f - 1, b = f - 2, c = f - 3;
    w[0] = -(a * b * c) / 6;
    w[1] = f * b * c / 2;
    w[2] = -(f * a * c) / 2;
    w[3] = f * a * b / 6;
}
template <class Number>
[[gnu::always_inline]] inline Number sumOf(const Number *w, Number p0, Number p1, Number p2, Number p3) {
    return w[0] * p0 + w[1] * p1 + w[2] * p2 + w[3] * p3;
}

// 16U and 32F, in a type of number.
template <class D, class Position, class Number, int channels>
void cubicNumbers(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    using Value = typename D::Value;
    typename D::Sample *to = reinterpret_cast<typename D::Sample *>(out);
    CubicPlaces<Position> places;
    for (size_t done = 0, count; done < n; done += count) {
        count = places.locateBlock(src, x, y, done, n);
        for (size_t i = 0; i < count; ++i) {
            Number w[4], q[4];
            makeWeights(static_cast<Number>(places.fx[i]), w);
            makeWeights(static_cast<Number>(places.fy[i]), q);
            for (int c = 0; c < channels; ++c) {
                const uint8_t *row = places.at(i) + c * static_cast<int>(sizeof(Value));
                Number sums[4];
                for (int k = 0; k < 4; ++k, row += src.rowStep) {
                    Number p[4];
                    for (int j = 0; j < 4; ++j) {
                        Value sample;
                        __builtin_memcpy(&sample, row + int64_t{src.pixelStep} * j, sizeof sample);
                        p[j] = sample;
                    }
                    sums[k] = sumOf(w, p[0], p[1], p[2], p[3]);
                }
                const Number value = sumOf(q, sums[0], sums[1], sums[2], sums[3]);
                if constexpr (sizeof(Value) == 2) {
                    *to++ = static_cast<Value>(notAbove(notBelow(nearest(value), 0), 65535));
                } else {
                    *to++ = value;
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
const OwnSampleCubicRows sampleCubicRows = {
    {FORMS(cubicBytes < Single), FORMS(cubicNumbers < Own16U, Single, double),
     FORMS(cubicNumbers < Own32F, Single, float)},
    {FORMS(cubicBytes < Double), FORMS(cubicNumbers < Own16U, Double, double),
     FORMS(cubicNumbers < Own32F, Double, float)},
};
}  // namespace OWN_LEVEL
