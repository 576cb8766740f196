// Kernels of Fourier transforms, compiled once for each CPU level. Lanes never mix within a transform, so their number
// is a matter of speed alone.
#include <cstring>

#include "transform/ownbutterflies.h"
#include "transform/ownfft.h"

namespace OWN_LEVEL {
namespace {

// ---------------------------------------------------------------------------------------------------------- passes

template <int lanes, int radix, bool twiddled>
[[gnu::always_inline]] inline void butterflies(const OwnPoint<lanes> *in, OwnPoint<lanes> *out, int64_t step,
                                               int64_t stride, const float *twiddles) {
    for (int64_t q = 0; q < stride; ++q) {
        OwnPoint<lanes> a[radix];
        for (int j = 0; j < radix; ++j)
            a[j] = in[q + j * step];
        OwnButterfly<radix>::run(a);
        out[q] = a[0];
        for (int k = 1; k < radix; ++k) {
            if constexpr (twiddled) {
                out[q + k * stride] = ownTimes(a[k], twiddles[2 * k - 2], twiddles[2 * k - 1]);
            } else {
                out[q + k * stride] = a[k];
            }
        }
    }
}

// Stockham's pass: of sequences that are interleaved `stride` deep, each becomes `radix` shorter ones.
template <int lanes, int radix>
void pass(const OwnFftPass &p, const OwnPoint<lanes> *in, OwnPoint<lanes> *out) {
    const int64_t count = p.size / radix, step = count * p.stride;
    butterflies<lanes, radix, false>(in, out, step, p.stride, nullptr);
    const float *twiddles = p.twiddles;
    for (int64_t i = 1; i < count; ++i, twiddles += 2 * (radix - 1)) {
        butterflies<lanes, radix, true>(in + i * p.stride, out + i * radix * p.stride, step, p.stride, twiddles);
    }
}

template <int lanes>
void passAny(const OwnFftPass &p, const OwnPoint<lanes> *in, OwnPoint<lanes> *out) {
    const int64_t count = p.size / p.radix, step = count * p.stride;
    for (int64_t i = 0; i < count; ++i) {
        const float *twiddles = p.twiddles + (i - 1) * 2 * (p.radix - 1);
        for (int64_t q = 0; q < p.stride; ++q) {
            OwnPoint<lanes> a[OWN_LARGEST_RADIX];
            a[0] = in[q + i * p.stride];
            for (int j = 1; j < p.radix; ++j)
                a[j] = in[q + i * p.stride + j * step];
            ownAnyButterfly(a, p.radix, p.roots);
            OwnPoint<lanes> *to = out + q + i * p.radix * p.stride;
            to[0] = a[0];
            for (int k = 1; k < p.radix; ++k)
                to[k * p.stride] = i == 0 ? a[k] : ownTimes(a[k], twiddles[2 * k - 2], twiddles[2 * k - 1]);
        }
    }
}

template <int lanes>
void runPass(const OwnFftPass &p, const OwnPoint<lanes> *in, OwnPoint<lanes> *out) {
    switch (p.radix) {
        case 2:
            return pass<lanes, 2>(p, in, out);
        case 3:
            return pass<lanes, 3>(p, in, out);
        case 4:
            return pass<lanes, 4>(p, in, out);
        case 5:
            return pass<lanes, 5>(p, in, out);
        case 8:
            return pass<lanes, 8>(p, in, out);
        default:
            return passAny<lanes>(p, in, out);
    }
}

// From in to out, by way of work and out in turns.
template <int lanes>
void runPasses(const OwnFftPlan &plan, const OwnPoint<lanes> *in, OwnPoint<lanes> *out, OwnPoint<lanes> *work) {
    if (plan.passes == 0) {
        std::memcpy(out, in, static_cast<size_t>(plan.length) * sizeof(OwnPoint<lanes>));
        return;
    }
    for (int i = 0; i < plan.passes; ++i) {
        OwnPoint<lanes> *to = (plan.passes - i) % 2 != 0 ? out : work;
        runPass<lanes>(plan.pass[i], in, to);
        in = to;
    }
}

// Bluestein: with n k = (n^2 + k^2 - (k - n)^2) / 2 the transform is a convolution with a chirp, between two products
// with it. The transform back is one with the parts exchanged.
template <int lanes>
void convolve(const OwnFftPlan &plan, const OwnPoint<lanes> *in, OwnPoint<lanes> *out, OwnPoint<lanes> *work) {
    const OwnFftPlan &inner = *plan.inner;
    const int64_t n = plan.length, m = inner.length;
    OwnPoint<lanes> *a = work, *b = work + m, *c = work + 2 * m;
    for (int64_t i = 0; i < n; ++i)
        a[i] = ownTimes(in[i], plan.chirp[2 * i], plan.chirp[2 * i + 1]);
    std::memset(static_cast<void *>(a + n), 0, static_cast<size_t>(m - n) * sizeof *a);
    runPasses<lanes>(inner, a, b, c);
    for (int64_t i = 0; i < m; ++i) {
        const OwnPoint<lanes> product = ownTimes(b[i], plan.filter[2 * i], plan.filter[2 * i + 1]);
        b[i] = {product.im, product.re};
    }
    runPasses<lanes>(inner, b, a, c);
    for (int64_t i = 0; i < n; ++i) {
        const OwnPoint<lanes> back = {a[i].im, a[i].re};
        out[i] = ownTimes(back, plan.chirp[2 * i], plan.chirp[2 * i + 1]);
    }
}

template <int lanes>
void transform(const OwnFftPlan &plan, const float *in, float *out, float *work) {
    const auto run = plan.inner ? convolve<lanes> : runPasses<lanes>;
    run(plan, ownPoints<lanes>(in), ownPoints<lanes>(out), ownPoints<lanes>(work));
}

// ----------------------------------------------------------------------------------------------------- rows to points

template <int lanes>
void spread(const float *const *rows, int64_t n, float *points) {
    using Vector = typename OwnLanes<lanes>::Vector;
    int64_t x = 0;
    for (; x + lanes <= n; x += lanes) {
        Vector v[lanes];
        for (int r = 0; r < lanes; ++r)
            v[r] = ownLoadLoose<lanes>(rows[r] + x);
        ownTranspose<lanes>(v);
        for (int r = 0; r < lanes; ++r)
            *reinterpret_cast<Vector *>(points + (x + r) * 2 * lanes) = v[r];
    }
    for (; x < n; ++x) {
        for (int r = 0; r < lanes; ++r)
            points[x * 2 * lanes + r] = ownLoadLoose<1>(rows[r] + x);
    }
}

template <int lanes>
void gather(const float *points, int64_t n, float *const *rows, int count, float scale) {
    using Vector = typename OwnLanes<lanes>::Vector;
    int64_t x = 0;
    for (; x + lanes <= n; x += lanes) {
        Vector v[lanes];
        for (int r = 0; r < lanes; ++r)
            v[r] = *reinterpret_cast<const Vector *>(points + (x + r) * 2 * lanes) * scale;
        ownTranspose<lanes>(v);
        for (int r = 0; r < count; ++r)
            ownStoreLoose<lanes>(rows[r] + x, v[r]);
    }
    for (; x < n; ++x) {
        for (int r = 0; r < count; ++r)
            ownStoreLoose<1>(rows[r] + x, points[x * 2 * lanes + r] * scale);
    }
}

// ------------------------------------------------------------------------------------------------ two real sequences

// The spectra of the real sequences x and y at frequency k, where z is that of x + i y.
template <int lanes>
struct Pair {
    OwnPoint<lanes> x, y;
};
template <int lanes>
[[gnu::always_inline]] inline Pair<lanes> separate(const OwnPoint<lanes> *z, int length, int k) {
    if (k == 0) {
        Pair<lanes> first = {{z[0].re, {}}, {z[0].im, {}}};
        if (length % 2 == 0) {
            first.x.im = z[length / 2].re;
            first.y.im = z[length / 2].im;
        }
        return first;
    }
    const OwnPoint<lanes> a = z[k], b = z[length - k];
    return {{(a.re + b.re) * 0.5f, (a.im - b.im) * 0.5f}, {(a.im + b.im) * 0.5f, (b.re - a.re) * 0.5f}};
}

template <int lanes>
void split(const float *points, int length, float *middle, int64_t blockStep, int count) {
    using Vector = typename OwnLanes<lanes>::Vector;
    const OwnPoint<lanes> *z = ownPoints<lanes>(points);
    const int columns = (length + 1) / 2;
    const auto write = [&](int odd, const Vector *re, const Vector *im) {
        OwnPoint<lanes> *to = ownPoints<lanes>(middle) + odd;
        for (int r = 0; r < lanes && 2 * r + odd < count; ++r)
            to[2 * r] = {re[r], im[r]};
    };
    for (int first = 0; first < columns; first += lanes, middle += blockStep) {
        Vector xRe[lanes], xIm[lanes], yRe[lanes], yIm[lanes];
        for (int r = 0; r < lanes; ++r) {
            Pair<lanes> pair = {};
            if (first + r < columns) pair = separate(z, length, first + r);
            xRe[r] = pair.x.re, xIm[r] = pair.x.im, yRe[r] = pair.y.re, yIm[r] = pair.y.im;
        }
        ownTranspose<lanes>(xRe);
        ownTranspose<lanes>(xIm);
        write(0, xRe, xIm);
        ownTranspose<lanes>(yRe);
        ownTranspose<lanes>(yIm);
        write(1, yRe, yIm);
    }
}

// z = x + i y at frequency k and its mirror, out of points whose parts are exchanged, and into such.
template <int lanes>
[[gnu::always_inline]] inline void unite(OwnPoint<lanes> *z, int length, int k, const OwnPoint<lanes> &x,
                                         const OwnPoint<lanes> &y) {
    if (k == 0) {
        z[0] = {y.im, x.im};
        if (length % 2 == 0) z[length / 2] = {y.re, x.re};
        return;
    }
    z[k] = {x.re + y.im, x.im - y.re};
    z[length - k] = {y.im - x.re, x.im + y.re};
}

template <int lanes>
void join(const float *middle, int64_t blockStep, int count, float *points, int length) {
    using Vector = typename OwnLanes<lanes>::Vector;
    OwnPoint<lanes> *z = ownPoints<lanes>(points);
    const int columns = (length + 1) / 2;
    const auto read = [&](int odd, Vector *re, Vector *im) {
        const OwnPoint<lanes> *from = ownPoints<lanes>(middle) + odd;
        for (int r = 0; r < lanes; ++r) {
            const bool wanted = 2 * r + odd < count;
            re[r] = wanted ? from[2 * r].re : Vector{}, im[r] = wanted ? from[2 * r].im : Vector{};
        }
        ownTranspose<lanes>(re);
        ownTranspose<lanes>(im);
    };
    for (int first = 0; first < columns; first += lanes, middle += blockStep) {
        Vector xRe[lanes], xIm[lanes], yRe[lanes], yIm[lanes];
        read(0, xRe, xIm);
        read(1, yRe, yIm);
        const int n = columns - first < lanes ? columns - first : lanes;
        for (int r = 0; r < n; ++r)
            unite<lanes>(z, length, first + r, {xRe[r], xIm[r]}, {yRe[r], yIm[r]});
    }
}

// -------------------------------------------------------------------------------------------------- interleaved pairs

// Lanes of two vectors by turns, the first or second half of each; and of two vectors, the even or odd lanes.
template <bool second, class Vector, int... i>
[[gnu::always_inline]] inline Vector interleave(Vector a, Vector b, OwnIndices<i...>) {
    constexpr int n = sizeof...(i);
    return __builtin_shufflevector(a, b, ((second ? n / 2 : 0) + i / 2 + (i % 2 != 0 ? n : 0))...);
}
template <bool odd, class Vector, int... i>
[[gnu::always_inline]] inline Vector everySecond(Vector a, Vector b, OwnIndices<i...>) {
    return __builtin_shufflevector(a, b, (2 * i + (odd ? 1 : 0))...);
}

template <int lanes>
void pack(const float *point, float *pairs, float re, float im) {
    const OwnPoint<lanes> *p = ownPoints<lanes>(point);
    const auto a = p->re * re, b = p->im * im;
    if constexpr (lanes == 1) {
        ownStoreLoose<1>(pairs, a);
        ownStoreLoose<1>(pairs + 1, b);
    } else {
        using All = typename OwnCountTo<lanes>::Type;
        ownStoreLoose<lanes>(pairs, interleave<false>(a, b, All{}));
        ownStoreLoose<lanes>(pairs + lanes, interleave<true>(a, b, All{}));
    }
}

template <int lanes>
void unpack(const float *pairs, float *point, float re, float im) {
    OwnPoint<lanes> *p = ownPoints<lanes>(point);
    if constexpr (lanes == 1) {
        *p = {ownLoadLoose<1>(pairs + 1) * im, ownLoadLoose<1>(pairs) * re};
    } else {
        using All = typename OwnCountTo<lanes>::Type;
        const auto a = ownLoadLoose<lanes>(pairs), b = ownLoadLoose<lanes>(pairs + lanes);
        *p = {everySecond<true>(a, b, All{}) * im, everySecond<false>(a, b, All{}) * re};
    }
}

#define OWN_FFT_ROWS(lanes) \
    { lanes, transform<lanes>, spread<lanes>, gather<lanes>, split<lanes>, join<lanes>, pack<lanes>, unpack<lanes> }

}  // namespace

extern const OwnFftRows fftRows, fftThinRows;
const OwnFftRows fftRows = OWN_FFT_ROWS(OWN_LANES);
const OwnFftRows fftThinRows = OWN_FFT_ROWS(1);

}  // namespace OWN_LEVEL
