// Row kernels of the fixed filters, compiled once for each CPU level. Integers are summed down the columns first, and
// these sums along the row: a filter of 5 x 5 that is its own mirror image has three kinds of columns. Floats are
// rounded at each step, so their sums are formed in the order of the kernel, sample by sample of the window.
#include "filter/ownfixed.h"
#include "frame/ownsample.h"

namespace OWN_LEVEL {
namespace {

// Bits, in bytes.
struct OwnBits : Own8U {
    static constexpr int low = 0, high = 1;
};

// What sums are formed in: of 8-bit samples they fit 16 bits, all others wrap at 32.
template <size_t bytes>
struct SumOf {
    using Type = int32_t;
};
template <>
struct SumOf<1> {
    using Type = int16_t;
};
template <class D>
using Sum = typename SumOf<sizeof(typename D::Value)>::Type;

// The sums of a large kernel down the columns: of unsigned bytes they fit 16 bits without a sign, of signed ones with
// it.
template <class D>
struct WideSumOf {
    using Type = int32_t;
};
template <>
struct WideSumOf<OwnBits> {
    using Type = uint16_t;
};
template <>
struct WideSumOf<Own8U> {
    using Type = uint16_t;
};
template <>
struct WideSumOf<Own8S> {
    using Type = int16_t;
};

// Arithmetic that wraps.
template <class S>
S wrap(uint32_t value) {
    return static_cast<S>(value);
}
template <class V>
uint32_t word(V value) {
    return static_cast<uint32_t>(value);
}

template <class D, class S>
[[gnu::always_inline]] inline typename D::Value saturate(S sum) {
    using Value = typename D::Value;
    if constexpr (sizeof(Value) < 4) {
        constexpr S low = static_cast<S>(D::low), high = static_cast<S>(D::high);
        return static_cast<Value>(sum < low ? low : sum > high ? high : sum);
    } else {
        return static_cast<Value>(sum);
    }
}

template <class D>
const typename D::Sample *sourceRow(const OwnFixedRow &row, int r) {
    return static_cast<const typename D::Sample *>(static_cast<const void *>(row.rows[r]));
}
template <class S>
S *sumRow(const OwnFixedRow &row, int k) {
    return reinterpret_cast<S *>(row.sums + k * row.sumStep);
}
template <class D>
typename D::Sample *outRow(const OwnFixedRow &row) {
    return static_cast<typename D::Sample *>(static_cast<void *>(row.out));
}

// ----------------------------------------------------------------------------------------------------------- 3 x 3

// Down the columns.
template <class D, int above, int here, int under>
Sum<D> *sumColumns(const OwnFixedRow &row) {
    using S = Sum<D>;
    const auto *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2);
    S *sums = sumRow<S>(row, 0);
    const size_t n = row.n + 2 * row.channels;
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] = wrap<S>(word(above) * word(a[i]) + word(here) * word(b[i]) + word(under) * word(c[i]));
    return sums;
}

template <class D, int middle>
void vertical(const OwnFixedRow &row) {
    using S = Sum<D>;
    const S *sums = sumColumns<D, 1, middle, 1>(row);
    const S *right = sums + 2 * row.channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i)
        out[i] = saturate<D>(wrap<S>(word(sums[i]) - word(right[i])));
}

template <class D, int middle>
void horizontal(const OwnFixedRow &row) {
    using S = Sum<D>;
    const S *left = sumColumns<D, -1, 0, 1>(row);
    const S *here = left + row.channels, *right = here + row.channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i)
        out[i] = saturate<D>(wrap<S>(word(left[i]) + word(middle) * word(here[i]) + word(right[i])));
}

// The centre so many times, less the whole box.
template <class D, int times>
void lessBox(const OwnFixedRow &row) {
    using S = Sum<D>;
    const S *left = sumColumns<D, 1, 1, 1>(row);
    const S *here = left + row.channels, *right = here + row.channels;
    const auto *centre = sourceRow<D>(row, 1) + row.channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        const auto sum = wrap<S>(word(times) * word(centre[i]) - word(left[i]) - word(here[i]) - word(right[i]));
        if constexpr (times == 17) {
            // An eighth, halves to the even side.
            const auto even = wrap<S>(word(sum) + 3 + (word(sum) >> 3 & 1));
            out[i] = saturate<D>(static_cast<S>(even >> 3));
        } else {
            out[i] = saturate<D>(sum);
        }
    }
}

// A sixteenth, halves to the even side.
template <class D>
void gauss3(const OwnFixedRow &row) {
    using S = Sum<D>;
    const S *left = sumColumns<D, 1, 2, 1>(row);
    const S *here = left + row.channels, *right = here + row.channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        const auto sum = wrap<S>(word(left[i]) + 2 * word(here[i]) + word(right[i]));
        const auto even = wrap<S>(word(sum) + 7 + (word(sum) >> 4 & 1));
        out[i] = static_cast<typename D::Value>(even >> 4);
    }
}

// ----------------------------------------------------------------------------------------------------------- 5 x 5

template <class D>
void highPass5(const OwnFixedRow &row) {
    using S = Sum<D>;
    S *sums = sumRow<S>(row, 0);
    const auto *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2),
               *d = sourceRow<D>(row, 3), *e = sourceRow<D>(row, 4);
    const size_t channels = row.channels, n = row.n + 4 * channels;
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] = wrap<S>(word(a[i]) + word(b[i]) + word(c[i]) + word(d[i]) + word(e[i]));
    const auto *centre = c + 2 * channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        const uint32_t box = word(sums[i]) + word(sums[i + channels]) + word(sums[i + 2 * channels]) +
                             word(sums[i + 3 * channels]) + word(sums[i + 4 * channels]);
        out[i] = saturate<D>(wrap<S>(25 * word(centre[i]) - box));
    }
}

// The weights of a filter that is its own mirror image: of the outermost rows, those next to them and the middle one,
// in the outermost column, the one next to it and the middle one.
struct Weights {
    int of[3][3];  // [column][row]
};
constexpr Weights LAPLACIAN_5 = {{{-1, -3, -4}, {-3, 0, 6}, {-4, 6, 20}}};
constexpr Weights GAUSSIAN_5 = {{{2, 7, 12}, {7, 31, 52}, {12, 52, 127}}};
constexpr float GAUSSIAN_5_SCALE = 1.0f / 571;

// Sums down the three kinds of columns.
template <class D, class S, const Weights &weights>
void sumKinds(const OwnFixedRow &row) {
    const auto *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2),
               *d = sourceRow<D>(row, 3), *e = sourceRow<D>(row, 4);
    S *outer = sumRow<S>(row, 0), *next = sumRow<S>(row, 1), *middle = sumRow<S>(row, 2);
    const size_t n = row.n + 4 * row.channels;
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        const uint32_t far = word(a[i]) + word(e[i]), near = word(b[i]) + word(d[i]), here = word(c[i]);
        const auto sum = [&](const int(&of)[3]) {
            return wrap<S>(word(of[0]) * far + word(of[1]) * near + word(of[2]) * here);
        };
        outer[i] = sum(weights.of[0]);
        next[i] = sum(weights.of[1]);
        middle[i] = sum(weights.of[2]);
    }
}

template <class D>
void laplacian5(const OwnFixedRow &row) {
    using S = Sum<D>;
    sumKinds<D, S, LAPLACIAN_5>(row);
    const size_t channels = row.channels;
    const S *outer = sumRow<S>(row, 0), *next = sumRow<S>(row, 1) + channels,
            *middle = sumRow<S>(row, 2) + 2 * channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        out[i] = saturate<D>(wrap<S>(word(outer[i]) + word(outer[i + 4 * channels]) + word(next[i]) +
                                     word(next[i + 2 * channels]) + word(middle[i])));
    }
}

// The nearest integer to sum / 571, by a float product, whose magnitude is below 2^22: added to 1.5 x 2^23 it is
// rounded in place.
[[gnu::always_inline]] inline int32_t scaleGauss(int32_t sum) {
    constexpr float shifter = 12582912.0f;
    const float shifted = static_cast<float>(sum) * GAUSSIAN_5_SCALE + shifter;
    return static_cast<int32_t>(shifted - shifter);
}

template <class D>
void gauss5(const OwnFixedRow &row) {
    using S = typename WideSumOf<D>::Type;
    sumKinds<D, S, GAUSSIAN_5>(row);
    const size_t channels = row.channels;
    const S *outer = sumRow<S>(row, 0), *next = sumRow<S>(row, 1) + channels,
            *middle = sumRow<S>(row, 2) + 2 * channels;
    auto *out = outRow<D>(row);
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        const S outers = wrap<S>(word(outer[i]) + word(outer[i + 4 * channels]));
        const S nexts = wrap<S>(word(next[i]) + word(next[i + 2 * channels]));
        const auto sum = wrap<int32_t>(word(outers) + word(nexts) + word(middle[i]));
        out[i] = saturate<D>(scaleGauss(sum));
    }
}

// ---------------------------------------------------------------------------------------------------------- floats

template <int side>
struct Kernel {
    float of[side * side];
    float scale;
};
constexpr Kernel<3> KERNELS_3[] = {
    {{1, 0, -1, 1, 0, -1, 1, 0, -1}, 1},
    {{-1, -1, -1, 0, 0, 0, 1, 1, 1}, 1},
    {{1, 0, -1, 2, 0, -2, 1, 0, -1}, 1},
    {{-1, -2, -1, 0, 0, 0, 1, 2, 1}, 1},
    {{-1, -1, -1, -1, 8, -1, -1, -1, -1}, 1},
    {{1, 2, 1, 2, 4, 2, 1, 2, 1}, 1.0f / 16},
    {{-1, -1, -1, -1, 16, -1, -1, -1, -1}, 1.0f / 8},
};
constexpr Kernel<5> KERNELS_5[] = {
    {{-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}, 1},
    {{2, 7, 12, 7, 2, 7, 31, 52, 31, 7, 12, 52, 127, 52, 12, 7, 31, 52, 31, 7, 2, 7, 12, 7, 2}, GAUSSIAN_5_SCALE},
    {{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}, 1},
};
enum { PREWITT_V, PREWITT_H, SOBEL_V, SOBEL_H, LAPLACIAN_3, GAUSSIAN_3, SHARPEN_3 };
enum { LAPLACIAN, GAUSSIAN, HIGH_PASS };

template <int side>
constexpr const Kernel<side> &kernelOf(int which) {
    if constexpr (side == 3) {
        return KERNELS_3[which];
    } else {
        return KERNELS_5[which];
    }
}

// out = the products added to 0 one after the other, those with 0 as well, times the scale.
template <int side, int which>
void floats(const OwnFixedRow &row) {
    constexpr const auto &kernel = kernelOf<side>(which);
    const OwnAnyF32 *rows[side];
    for (int r = 0; r < side; ++r)
        rows[r] = sourceRow<Own32F>(row, r);
    auto *out = outRow<Own32F>(row);
    const size_t channels = row.channels;
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        float sum = 0;
#pragma GCC unroll 5
        for (size_t r = 0; r < side; ++r) {
#pragma GCC unroll 5
            for (size_t c = 0; c < side; ++c)
                sum += kernel.of[r * side + c] * rows[r][i + c * channels];
        }
        out[i] = kernel.scale == 1 ? sum : sum * kernel.scale;
    }
}

// ---------------------------------------------------------------------------------------------------------- by name

template <class D>
void prewittV(const OwnFixedRow &row) {
    vertical<D, 1>(row);
}
template <class D>
void prewittH(const OwnFixedRow &row) {
    horizontal<D, 1>(row);
}
template <class D>
void sobelV(const OwnFixedRow &row) {
    vertical<D, 2>(row);
}
template <class D>
void sobelH(const OwnFixedRow &row) {
    horizontal<D, 2>(row);
}
template <class D>
void laplacian3(const OwnFixedRow &row) {
    lessBox<D, 9>(row);
}
template <class D>
void sharpen3(const OwnFixedRow &row) {
    lessBox<D, 17>(row);
}

}  // namespace

#define OWN_OF_DEPTHS(f, ...) \
    { f<OwnBits>, f<Own8U>, f<Own8S>, f<Own16U>, f<Own16S>, f<Own32S>, __VA_ARGS__ }
extern const OwnFixedRows fixedRows;
const OwnFixedRows fixedRows = {{
    OWN_OF_DEPTHS(prewittV, floats<3, PREWITT_V>),
    OWN_OF_DEPTHS(prewittH, floats<3, PREWITT_H>),
    OWN_OF_DEPTHS(sobelV, floats<3, SOBEL_V>),
    OWN_OF_DEPTHS(sobelH, floats<3, SOBEL_H>),
    OWN_OF_DEPTHS(laplacian3, floats<3, LAPLACIAN_3>),
    OWN_OF_DEPTHS(laplacian5, floats<5, LAPLACIAN>),
    OWN_OF_DEPTHS(gauss3, floats<3, GAUSSIAN_3>),
    OWN_OF_DEPTHS(gauss5, floats<5, GAUSSIAN>),
    OWN_OF_DEPTHS(laplacian3, floats<3, LAPLACIAN_3>),
    OWN_OF_DEPTHS(highPass5, floats<5, HIGH_PASS>),
    OWN_OF_DEPTHS(sharpen3, floats<3, SHARPEN_3>),
}};
#undef OWN_OF_DEPTHS

}  // namespace OWN_LEVEL
