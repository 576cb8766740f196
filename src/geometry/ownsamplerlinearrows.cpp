// Linear samples. Bytes are made with fractions of 14 bits, rows keeping 6 bits of theirs; other depths in double or
// float.
#include "geometry/ownsamplerplaces.h"

namespace {

constexpr int32_t ONE = 1 << 14;

template <class Fraction>
struct LinearPlaces : Places {
    Fraction fx[BLOCK], fy[BLOCK];
};

// The fraction behind a whole part, which is cut off, in float; of fixed point, rounded to its places. Both terms are
// exact, and so is the sum. It is above 1 where the last pixel is none of the floats.
template <class Fraction>
[[gnu::always_inline]] inline Fraction fractionOf(float value, int32_t whole, int32_t from) {
    const float part = value - static_cast<float>(whole) + static_cast<float>(whole - from);
    if constexpr (static_cast<Fraction>(0.5f) == 0) {
        return nearest(notAbove(part, 1.0f) * ONE);
    } else {
        return notAbove(part, 1.0f);
    }
}

// Positions in float, for bytes and floats.
template <class Fraction>
[[gnu::always_inline]] inline void locate(const Extent &extent, const OwnAnyF32 *position, int32_t *place,
                                          Fraction *fraction, size_t n) {
    const auto first = static_cast<float>(extent.first), last = static_cast<float>(extent.last);
    for (size_t i = 0; i < n; ++i) {
        const float value = notAbove(notBelow<float>(position[i], first), last);
        const int32_t whole = static_cast<int32_t>(value);
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

// Positions for fractions in double.
template <class Value, class Position>
[[gnu::always_inline]] inline void locateDouble(const Extent &extent, const Position *position, int32_t *place,
                                                double *fraction, size_t n) {
    const auto first = static_cast<Value>(extent.first), last = static_cast<Value>(extent.last);
    for (size_t i = 0; i < n; ++i) {
        const Value value = notAbove(notBelow<Value>(position[i], first), last);
        const int32_t whole = wholeOf(value);
        const int32_t from = notBelow(notAbove(whole, extent.last - 1), extent.first);
        place[i] = (from - extent.origin) * extent.step;
        fraction[i] = whole > from ? 1.0 : static_cast<double>(value) - from;
    }
}
[[gnu::always_inline]] inline void locate(const Extent &extent, const OwnAnyF32 *position, int32_t *place,
                                          double *fraction, size_t n) {
    locateDouble<float>(extent, position, place, fraction, n);
}
[[gnu::always_inline]] inline void locate(const Extent &extent, const AnyDouble *position, int32_t *place,
                                          double *fraction, size_t n) {
    locateDouble<double>(extent, position, place, fraction, n);
}

template <class Position, class Fraction>
[[gnu::always_inline]] inline size_t locateBlock(const OwnSampled &src, const void *x, const void *y, size_t done,
                                                 size_t n, LinearPlaces<Fraction> *places) {
    const size_t count = n - done < BLOCK ? n - done : BLOCK;
    locate(columnsOf(src), static_cast<const Position *>(x) + done, places->column, places->fx, count);
    locate(rowsOf(src), static_cast<const Position *>(y) + done, places->row, places->fy, count);
    return count;
}

// 8U.
template <class Position, int32_t rounding, int channels>
void linearBytes(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    for (size_t done = 0; done < n; done += BLOCK) {
        LinearPlaces<int32_t> places;
        const size_t count = locateBlock<Position>(src, x, y, done, n, &places);
        for (int c = 0; c < channels; ++c) {
            uint32_t quads[BLOCK];
            for (size_t i = 0; i < count; ++i) {
                const uint8_t *upper = placeOf(src, places, i) + c, *lower = upper + src.rowStep;
                quads[i] = upper[0] | uint32_t{upper[src.pixelStep]} << 8 | uint32_t{lower[0]} << 16 |
                           uint32_t{lower[src.pixelStep]} << 24;
            }
            for (size_t i = 0; i < count; ++i) {
                const int32_t fx = places.fx[i], fy = places.fy[i];
                const auto p = [&](int k) { return static_cast<int32_t>(quads[i] >> 8 * k & 255); };
                const int32_t upper = (p(0) * (ONE - fx) + p(1) * fx) >> 8;
                const int32_t lower = (p(2) * (ONE - fx) + p(3) * fx) >> 8;
                out[(done + i) * channels + static_cast<size_t>(c)] =
                    static_cast<uint8_t>((upper * (ONE - fy) + lower * fy + rounding) >> 20);
            }
        }
    }
}

// 16U and 32F, in a type of number.
template <class D, class Position, class Number, int channels>
void linearNumbers(const OwnSampled &src, const void *x, const void *y, uint8_t *out, size_t n) {
    using Value = typename D::Value;
    typename D::Sample *to = reinterpret_cast<typename D::Sample *>(out);
    for (size_t done = 0; done < n; done += BLOCK) {
        LinearPlaces<Number> places;
        const size_t count = locateBlock<Position>(src, x, y, done, n, &places);
        for (int c = 0; c < channels; ++c) {
            Value p[4][BLOCK];
            for (size_t i = 0; i < count; ++i) {
                const uint8_t *upper = placeOf(src, places, i) + c * static_cast<int>(sizeof(Value));
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
                    at[i * channels] = static_cast<Value>(value);
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
const OwnSampleLinearRows sampleLinearRows = {
    {FORMS(linearBytes < OwnAnyF32, 33), FORMS(linearNumbers < Own16U, OwnAnyF32, double),
     FORMS(linearNumbers < Own32F, OwnAnyF32, double)},
    FORMS(linearBytes < OwnAnyS32, 0x80000),
    FORMS(linearNumbers < Own32F, OwnAnyF32, float),
    FORMS(linearNumbers < Own16U, double, double),
};
}  // namespace OWN_LEVEL
