// Kernels of positions. What steps is added up as the contract says, so that vectors reach across x and y or across
// the four pixels of a group; what is evaluated at each pixel is left to the compiler's vectors.
#include "frame/ownsample.h"
#include "geometry/ownwarp.h"

namespace {

constexpr int64_t INT_LOW = INT32_MIN, INT_HIGH = INT32_MAX;

// Whether a row of positions stays within 32 bits.
bool isNarrow(int64_t first, int64_t step, size_t n) {
    if (first < INT_LOW || first > INT_HIGH || step < INT_LOW || step > INT_HIGH) return false;
    const int64_t last = first + step * static_cast<int64_t>(n);
    return last >= INT_LOW && last <= INT_HIGH;
}

[[gnu::always_inline]] inline int64_t wide(int64_t first, int64_t step, size_t i) {
    return static_cast<int64_t>(static_cast<uint64_t>(first) + static_cast<uint64_t>(step) * i);
}

[[gnu::always_inline]] inline int32_t saturated(int64_t value, int64_t low, int64_t high) {
    return static_cast<int32_t>(value < low ? low : value > high ? high : value);
}

void fixed(int64_t first, int64_t step, int32_t *out, size_t n) {
    if (isNarrow(first, step, n)) {
        const auto start = static_cast<uint32_t>(first), add = static_cast<uint32_t>(step);
        for (size_t i = 0; i < n; ++i)
            out[i] = static_cast<int32_t>(start + add * static_cast<uint32_t>(i));
    } else {
        for (size_t i = 0; i < n; ++i)
            out[i] = saturated(wide(first, step, i), INT_LOW, INT_HIGH);
    }
}

void fixedPixels(int64_t first, int64_t step, int32_t *out, size_t n) {
    if (isNarrow(first, step, n)) {
        const auto start = static_cast<uint32_t>(first), add = static_cast<uint32_t>(step);
        for (size_t i = 0; i < n; ++i)
            out[i] = static_cast<int32_t>(start + add * static_cast<uint32_t>(i)) >> 16;
    } else {
        for (size_t i = 0; i < n; ++i)
            out[i] = saturated(wide(first, step, i) >> 16, -32768, 32767);
    }
}

void affine(const double *c, double x, double y, double *out, size_t n) {
    const double a = c[0], b = c[1] * y, d = c[2];
    for (size_t i = 0; i < n; ++i)
        out[i] = a * (x + static_cast<double>(static_cast<int32_t>(i))) + b + d;
}

template <class Number>
[[gnu::always_inline]] inline void step(Number *at, const Number *by, Number *const *out, size_t n) {
    Number x = at[0], y = at[1];
    const Number dx = by[0], dy = by[1];
    Number *xs = out[0], *ys = out[1];
    for (size_t i = 0; i < n; ++i) {
        xs[i] = x;
        ys[i] = y;
        x += dx;
        y += dy;
    }
    at[0] = x;
    at[1] = y;
}
void stepSingle(float *at, const float *by, float *const *out, size_t n) {
    step(at, by, out, n);
}
void stepDouble(double *at, const double *by, double *const *out, size_t n) {
    step(at, by, out, n);
}

// Four rows side by side. Columns of so many pixels are turned to rows.
template <class Number, size_t columns>
[[gnu::always_inline]] inline void stepFour(Number *at, const Number *by, Number *const *out, size_t n) {
    typedef Number Rows __attribute__((vector_size(16)));
    constexpr size_t lanes = 16 / sizeof(Number), groups = 8 / lanes;
    Rows now[groups], add[groups];
    for (size_t g = 0; g < groups; ++g) {
        for (size_t k = 0; k < lanes; ++k)
            now[g][k] = at[g * lanes + k];
        add[g] = Rows{} + by[g * lanes / 4];
    }
    for (size_t i = 0; i < n; i += columns) {
        for (size_t g = 0; g < groups; ++g) {
            Rows v[columns];
            for (size_t c = 0; c < columns; ++c) {
                v[c] = now[g];
                now[g] += add[g];
            }
            for (size_t k = 0; k < lanes; ++k) {
                for (size_t c = 0; c < columns; ++c)
                    out[g * lanes + k][i + c] = v[c][k];
            }
        }
    }
    for (size_t g = 0; g < groups; ++g) {
        for (size_t k = 0; k < lanes; ++k)
            at[g * lanes + k] = now[g][k];
    }
}
void stepFourSingle(float *at, const float *by, float *const *out, size_t n) {
    stepFour<float, 4>(at, by, out, n);
}
void stepFourDouble(double *at, const double *by, double *const *out, size_t n) {
    stepFour<double, 2>(at, by, out, n);
}

typedef float Four __attribute__((vector_size(16)));
typedef float AnyFour __attribute__((vector_size(16), aligned(4), may_alias));
typedef int32_t FourInts __attribute__((vector_size(16)));

[[gnu::always_inline]] inline Four atLeast(Four v, Four low) {
#if defined(__SSE2__)
    return _mm_max_ps(v, low);  // the second where the first is no number
#else
    return v > low ? v : low;
#endif
}

void quotients(float *at, const float *by, const float *low, float *const *out, size_t fours) {
    Four a, b, c, da, db, dc, lowX, lowY;
    const Four index = {0, 1, 2, 3};
    a = Four{} + at[0];
    b = Four{} + at[1];
    c = Four{} + at[2];
    lowX = Four{} + low[0];
    lowY = Four{} + low[1];
    da = (Four{} + by[0]) * index;
    db = (Four{} + by[1]) * index;
    dc = (Four{} + by[2]) * index;
    const Four ga = Four{} + 4 * by[0], gb = Four{} + 4 * by[1], gc = Four{} + 4 * by[2];
    for (size_t i = 0; i < fours; ++i) {
        const Four d = c + dc;
        *reinterpret_cast<AnyFour *>(out[0] + 4 * i) = atLeast((a + da) / d, lowX);
        *reinterpret_cast<AnyFour *>(out[1] + 4 * i) = atLeast((b + db) / d, lowY);
        a += ga;
        b += gb;
        c += gc;
    }
    at[0] = a[0];
    at[1] = b[0];
    at[2] = c[0];
}

// As a float that is not below low.
[[gnu::always_inline]] inline float stored(double value, float low) {
    const float single = static_cast<float>(value);
    return single > low ? single : low;
}

void bilinear(const double *c, double x, double y, const float *low, float *const *out, size_t n) {
    const double c0 = c[0], c1 = c[1], c2 = c[2] * y, c3 = c[3], c4 = c[4], c5 = c[5], c6 = c[6] * y, c7 = c[7];
    const float lowX = low[0], lowY = low[1];
    float *__restrict xs = out[0], *__restrict ys = out[1];
    for (size_t i = 0; i < n; ++i) {
        const double column = x + static_cast<double>(static_cast<int32_t>(i));
        xs[i] = stored(c0 * column * y + c1 * column + c2 + c3, lowX);
        ys[i] = stored(c4 * column * y + c5 * column + c6 + c7, lowY);
    }
}

// The solution by one of its forms, where the forms differ.
template <OwnBilinearCase form>
[[gnu::always_inline]] inline void solve(const MoxInverseBilinear &map, double x, double y, const float *low,
                                         float *const *out, size_t n) {
    const double *m = map.m;
    const double m0 = m[0], m1 = m[1] * y, m2 = m[2], m3 = m[3], m4 = m[4], m5 = m[5], m6 = m[6] * y, m7 = m[7] * y,
                 m8 = m[8], m9 = m[9], m10 = m[10];
    const double sign = map.addsRoot ? 1.0 : -1.0;
    const float lowX = low[0], lowY = low[1];
    float *__restrict xs = out[0], *__restrict ys = out[1];
    for (size_t i = 0; i < n; ++i) {
        const double column = x + static_cast<double>(static_cast<int32_t>(i));
        const double s = m0 * column + m1 + m2;
        const double t = m4 * column + m6 + m8;
        const double u = m5 * column + m7 + m9;
        double atX = t, atY = u;
        if constexpr (form == OWN_BY_ROOT) {
            atX = s + sign * __builtin_sqrt(s * s - t);
            atY = m3 * atX + u;
            atX += m10;
        } else if constexpr (form == OWN_BY_WIDTH) {
            atX = t / s + m10;
        } else if constexpr (form == OWN_BY_HEIGHT) {
            atY = u / s + m10;
        }
        xs[i] = stored(atX, lowX);
        ys[i] = stored(atY, lowY);
    }
}

void inverse(const MoxInverseBilinear &map, double x, double y, const float *low, float *const *out, size_t n) {
    switch (map.form) {
        case OWN_BY_ROOT:
            return solve<OWN_BY_ROOT>(map, x, y, low, out, n);
        case OWN_BY_WIDTH:
            return solve<OWN_BY_WIDTH>(map, x, y, low, out, n);
        case OWN_BY_HEIGHT:
            return solve<OWN_BY_HEIGHT>(map, x, y, low, out, n);
        default:
            return solve<OWN_PARALLELOGRAM>(map, x, y, low, out, n);
    }
}

// Rows of positions have room for a vector behind their end.
void nearest(const float *at, int32_t *out, size_t n) {
    constexpr float LIMIT = 2147483648.0f;
    for (size_t i = 0; i < n; i += 4) {
        Four v = *reinterpret_cast<const AnyFour *>(at + i);
        v = atLeast(v, Four{} - LIMIT);
#if defined(__SSE2__)
        // What is beyond becomes the least integer, of which all bits are turned.
        const __m128i beyond = reinterpret_cast<__m128i>(v >= LIMIT);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_xor_si128(_mm_cvtps_epi32(v), beyond));
#else
        for (size_t k = 0; k < 4; ++k)
            out[i + k] = v[k] < LIMIT ? static_cast<int32_t>(__builtin_rintf(v[k])) : INT32_MAX;
#endif
    }
}

void within(const float *const *at, const float *rectangle, uint8_t *bits, size_t n) {
    const float left = rectangle[0], top = rectangle[1], right = rectangle[2], bottom = rectangle[3];
    const float *xs = at[0], *ys = at[1];
    const FourInts weights[] = {{128, 64, 32, 16}, {8, 4, 2, 1}};
    for (size_t i = 0; i < n; i += 8) {
        FourInts set = {};
        for (size_t k = 0; k < 2; ++k) {
            const Four x = *reinterpret_cast<const AnyFour *>(xs + i + 4 * k);
            const Four y = *reinterpret_cast<const AnyFour *>(ys + i + 4 * k);
            set |= (x >= left) & (x <= right) & (y >= top) & (y <= bottom) & weights[k];
        }
        bits[i / 8] = static_cast<uint8_t>(set[0] | set[1] | set[2] | set[3]);
    }
}

template <class Number>
[[gnu::always_inline]] inline void extend(const Number *at, size_t n, Number *range) {
    Number low = range[0], high = range[1];
    for (size_t i = 0; i < n; ++i) {
        low = at[i] < low ? at[i] : low;
        high = at[i] > high ? at[i] : high;
    }
    range[0] = low;
    range[1] = high;
}
void extendFixed(const int32_t *at, size_t n, int32_t *range) {
    extend(at, n, range);
}
void extendSingle(const float *at, size_t n, float *range) {
    extend(at, n, range);
}
void extendDouble(const double *at, size_t n, double *range) {
    extend(at, n, range);
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnWarpRows warpRows;
const OwnWarpRows warpRows = {fixed,          fixedPixels,    affine,      stepSingle,   stepDouble,
                              stepFourSingle, stepFourDouble, quotients,   bilinear,     inverse,
                              nearest,        within,         extendFixed, extendSingle, extendDouble};
}  // namespace OWN_LEVEL
