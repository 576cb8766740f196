// Row kernels of the fixed filters, compiled once for each CPU level. Integers are summed down the columns first, and
// these sums along the row: a filter of 5 x 5 that is its own mirror image has three kinds of columns. Floats are
// rounded at each step, so their sums are formed in the order of the kernel, sample by sample of the window.
#include "filter/ownfixed.h"
#include "frame/ownsample.h"
#include "frame/ownvector.h"

namespace OWN_LEVEL {
namespace {

// Bits, in bytes.
struct OwnBits : Own8U {
    static constexpr int low = 0, high = 1;
};

template <class D>
constexpr bool isByte = sizeof(typename D::Value) == 1;
template <class D>
constexpr bool isUnsignedByte = __is_same(typename D::Value, uint8_t);

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

template <class D>
const typename D::Sample *sourceRow(const OwnFixedRow &row, int r) {
    return static_cast<const typename D::Sample *>(static_cast<const void *>(row.rows[r]));
}
template <class D>
Sum<D> *sumRow(const OwnFixedRow &row, int k) {
    return reinterpret_cast<Sum<D> *>(row.sums + k * row.sumStep);
}
template <class D>
typename D::Sample *outRow(const OwnFixedRow &row) {
    return static_cast<typename D::Sample *>(static_cast<void *>(row.out));
}

// ------------------------------------------------------------------------------------------ sums, one and in vectors

// What becomes of a sum. Halves go to the even side.
struct Whole {
    template <class S>
    static S of(S sum) {
        return sum;
    }
};
struct Eighth {
    template <class S>
    static S of(S sum) {
        return static_cast<S>((sum + 3 + (sum >> 3 & 1)) >> 3);
    }
    static int32_t of(int32_t sum) {
        const auto bits = static_cast<uint32_t>(sum);
        return static_cast<int32_t>(bits + 3 + (bits >> 3 & 1)) >> 3;
    }
};
struct Sixteenth {
    template <class S>
    static S of(S sum) {
        return static_cast<S>((sum + 7 + (sum >> 4 & 1)) >> 4);
    }
    static int32_t of(int32_t sum) {
        const auto bits = static_cast<uint32_t>(sum);
        return static_cast<int32_t>(bits + 7 + (bits >> 4 & 1)) >> 4;
    }
};

// One position: sums are formed in words that wrap.
struct One {
    size_t i;

    uint32_t operator()(const uint8_t *row) const { return row[i]; }
    uint32_t operator()(const int8_t *row) const { return static_cast<uint32_t>(row[i]); }
    uint32_t operator()(const OwnAnyU16 *row) const { return row[i]; }
    uint32_t operator()(const OwnAnyS16 *row) const { return static_cast<uint32_t>(row[i]); }
    uint32_t operator()(const OwnAnyS32 *row) const { return static_cast<uint32_t>(row[i]); }
    template <class S>
    void put(S *sums, uint32_t sum) const {
        sums[i] = static_cast<S>(sum);
    }
};

template <class D>
[[gnu::always_inline]] inline typename D::Value saturate(int32_t sum) {
    using Value = typename D::Value;
    if constexpr (sizeof(Value) == 4) {
        return static_cast<Value>(sum);
    } else {
        return static_cast<Value>(sum < D::low ? D::low : sum > D::high ? D::high : sum);
    }
}

#if defined(OWN_HAS_VECTORS)
constexpr size_t LANES = sizeof(OwnVector) / 2;
// Sums wrap; what becomes of them has a sign.
typedef uint16_t Shorts __attribute__((vector_size(sizeof(OwnVector))));
typedef int16_t SignedShorts __attribute__((vector_size(sizeof(OwnVector))));

inline Shorts widen(const uint8_t *at) {
    const __m128i *from = reinterpret_cast<const __m128i *>(at);
#if defined(__AVX2__)
    return (Shorts)_mm256_cvtepu8_epi16(_mm_loadu_si128(from));
#else
    return (Shorts)_mm_unpacklo_epi8(_mm_loadl_epi64(from), _mm_setzero_si128());
#endif
}
inline Shorts widen(const int8_t *at) {
    const __m128i *from = reinterpret_cast<const __m128i *>(at);
#if defined(__AVX2__)
    return (Shorts)_mm256_cvtepi8_epi16(_mm_loadu_si128(from));
#else
    const __m128i v = _mm_loadl_epi64(from);
    return (Shorts)_mm_srai_epi16(_mm_unpacklo_epi8(v, v), 8);
#endif
}

// As many positions as a vector of 16-bit sums has.
struct Several {
    size_t i;

    Shorts operator()(const int16_t *row) const { return (Shorts)ownLoad(reinterpret_cast<const char *>(row + i)); }
    Shorts operator()(const uint8_t *row) const { return widen(row + i); }
    Shorts operator()(const int8_t *row) const { return widen(row + i); }
    void put(int16_t *sums, Shorts sum) const { ownStore(reinterpret_cast<char *>(sums + i), (OwnVector)sum); }
};

// Two vectors of bytes' sums, saturated.
template <class D>
[[gnu::always_inline]] inline void storeBytes(typename D::Sample *out, Shorts low, Shorts high) {
    OwnVector a = (OwnVector)low, b = (OwnVector)high;
    if constexpr (D::high == 1) {
        a = OWN_VECTOR(min, epi16)(a, OWN_VECTOR(set1, epi16)(1));
        b = OWN_VECTOR(min, epi16)(b, OWN_VECTOR(set1, epi16)(1));
    }
    OwnVector bytes = D::low < 0 ? OWN_VECTOR(packs, epi16)(a, b) : OWN_VECTOR(packus, epi16)(a, b);
#if defined(__AVX2__)
    bytes = _mm256_permute4x64_epi64(bytes, 0xD8);
#endif
    ownStore(reinterpret_cast<char *>(out), bytes);
}
#endif

// Runs over n positions by step of them, the last of which overlap those before. False if there are not as many.
template <class Run>
[[gnu::always_inline]] inline bool bySteps(size_t n, size_t step, const Run &run) {
    if (n < step) return false;
    size_t i = 0;
    for (; i + step <= n; i += step)
        run(i);
    if (i < n) run(n - step);
    return true;
}

// sums[i] = sum(at), for the columns of n samples and so many beyond them; at(row) is the row's sample.
template <class D, class F>
[[gnu::always_inline]] inline void sumDown(Sum<D> *sums, size_t n, const F &sum) {
#if defined(OWN_HAS_VECTORS)
    if constexpr (isByte<D>) {
        const auto run = [&](size_t i) { ownStore(reinterpret_cast<char *>(sums + i), (OwnVector)sum(Several{i})); };
        if (bySteps(n, LANES, run)) return;
    }
#endif
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        sums[i] = static_cast<Sum<D>>(sum(One{i}));
}

// The row's output: what becomes of sum(at), saturated; at(row) is a sample or a sum.
template <class D, class Part, class F>
[[gnu::always_inline]] inline void sumAlong(const OwnFixedRow &row, const F &sum) {
    typename D::Sample *out = outRow<D>(row);
#if defined(OWN_HAS_VECTORS)
    if constexpr (isByte<D>) {
        const auto run = [&](size_t i) {
            storeBytes<D>(out + i, (Shorts)Part::of((SignedShorts)sum(Several{i})),
                          (Shorts)Part::of((SignedShorts)sum(Several{i + LANES})));
        };
        if (bySteps(row.n, 2 * LANES, run)) return;
    }
#endif
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i)
        out[i] = saturate<D>(Part::of(static_cast<int32_t>(sum(One{i}))));
}

// ----------------------------------------------------------------------------------------------------------- 3 x 3

template <class D, int middle>
void vertical(const OwnFixedRow &row) {
    const typename D::Sample *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2);
    Sum<D> *sums = sumRow<D>(row, 0);
    const Sum<D> *right = sums + 2 * row.channels;
    sumDown<D>(sums, row.n + 2 * row.channels, [&](auto at) { return at(a) + at(b) * middle + at(c); });
    sumAlong<D, Whole>(row, [&](auto at) { return at(sums) - at(right); });
}

template <class D, int middle>
void horizontal(const OwnFixedRow &row) {
    const typename D::Sample *above = sourceRow<D>(row, 0), *below = sourceRow<D>(row, 2);
    Sum<D> *left = sumRow<D>(row, 0);
    const Sum<D> *here = left + row.channels, *right = here + row.channels;
    sumDown<D>(left, row.n + 2 * row.channels, [&](auto at) { return at(below) - at(above); });
    sumAlong<D, Whole>(row, [&](auto at) { return at(left) + at(here) * middle + at(right); });
}

// The centre so many times, less the whole box.
template <class D, int times, class Part>
void lessBox(const OwnFixedRow &row) {
    const typename D::Sample *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2);
    const typename D::Sample *centre = b + row.channels;
    Sum<D> *left = sumRow<D>(row, 0);
    const Sum<D> *here = left + row.channels, *right = here + row.channels;
    sumDown<D>(left, row.n + 2 * row.channels, [&](auto at) { return at(a) + at(b) + at(c); });
    sumAlong<D, Part>(row, [&](auto at) { return at(centre) * times - at(left) - at(here) - at(right); });
}

template <class D>
void gauss3(const OwnFixedRow &row) {
    const typename D::Sample *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2);
    Sum<D> *left = sumRow<D>(row, 0);
    const Sum<D> *here = left + row.channels, *right = here + row.channels;
    sumDown<D>(left, row.n + 2 * row.channels, [&](auto at) { return at(a) + at(b) * 2 + at(c); });
    sumAlong<D, Sixteenth>(row, [&](auto at) { return at(left) + at(here) * 2 + at(right); });
}

// ----------------------------------------------------------------------------------------------------------- 5 x 5

template <class D>
void highPass5(const OwnFixedRow &row) {
    const typename D::Sample *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2),
                             *d = sourceRow<D>(row, 3), *e = sourceRow<D>(row, 4);
    const size_t channels = row.channels;
    const typename D::Sample *centre = c + 2 * channels;
    Sum<D> *sums = sumRow<D>(row, 0);
    sumDown<D>(sums, row.n + 4 * channels, [&](auto at) { return at(a) + at(b) + at(c) + at(d) + at(e); });
    sumAlong<D, Whole>(row, [&](auto at) {
        const auto box = at(sums) + at(sums + channels) + at(sums + 2 * channels) + at(sums + 3 * channels) +
                         at(sums + 4 * channels);
        return at(centre) * 25 - box;
    });
}

// Sums down the three kinds of columns: the outermost, those next to them, the middle one. The functions take the sums
// of the outermost rows, of those next to them, and the middle row.
template <class D, class Outer, class Next, class Middle>
[[gnu::always_inline]] inline void sumKinds(const OwnFixedRow &row, const Outer &outer, const Next &next,
                                            const Middle &middle) {
    const typename D::Sample *a = sourceRow<D>(row, 0), *b = sourceRow<D>(row, 1), *c = sourceRow<D>(row, 2),
                             *d = sourceRow<D>(row, 3), *e = sourceRow<D>(row, 4);
    const size_t n = row.n + 4 * row.channels;
    Sum<D> *outers = sumRow<D>(row, 0), *nexts = sumRow<D>(row, 1), *middles = sumRow<D>(row, 2);
    const auto run = [&]<class At>(At at) __attribute__((always_inline)) {
        const auto far = at(a) + at(e), near = at(b) + at(d), here = at(c);
        at.put(outers, outer(far, near, here));
        at.put(nexts, next(far, near, here));
        at.put(middles, middle(far, near, here));
    };
#if defined(OWN_HAS_VECTORS)
    if constexpr (isByte<D>) {
        if (bySteps(n, LANES, [&](size_t i) { run(Several{i}); })) return;
    }
#endif
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i)
        run(One{i});
}

template <class D>
void laplacian5(const OwnFixedRow &row) {
    sumKinds<D>(
        row, [](auto far, auto near, auto here) { return far * 0 - far - near * 3 - here * 4; },
        [](auto far, auto, auto here) { return here * 6 - far * 3; },
        [](auto far, auto near, auto here) { return here * 20 + near * 6 - far * 4; });
    const size_t channels = row.channels;
    const Sum<D> *outer = sumRow<D>(row, 0), *next = sumRow<D>(row, 1) + channels,
                 *middle = sumRow<D>(row, 2) + 2 * channels;
    sumAlong<D, Whole>(row, [&](auto at) {
        return at(outer) + at(outer + 4 * channels) + at(next) + at(next + 2 * channels) + at(middle);
    });
}

constexpr float GAUSSIAN_5_SCALE = 1.0f / 571;

// The nearest integer to sum / 571, by a float product, whose magnitude is below 2^22: added to 1.5 x 2^23 it is
// rounded in place.
[[gnu::always_inline]] inline int32_t scaleGauss(int32_t sum) {
    constexpr float shifter = 12582912.0f;
    const float shifted = static_cast<float>(sum) * GAUSSIAN_5_SCALE + shifter;
    return static_cast<int32_t>(shifted - shifter);
}

#if defined(OWN_HAS_VECTORS)
[[gnu::always_inline]] inline OwnVector scaleGauss(OwnVector sums) {
#if defined(__AVX2__)
    return _mm256_cvtps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(sums), _mm256_set1_ps(GAUSSIAN_5_SCALE)));
#else
    return _mm_cvtps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(sums), _mm_set1_ps(GAUSSIAN_5_SCALE)));
#endif
}

// Sums of 16-bit numbers without a sign, three of them, as 32-bit ones: a 571th, in 16 bits again.
[[gnu::always_inline]] inline Shorts gaussOf(Shorts a, Shorts b, Shorts c) {
    const OwnVector zero = ownZero(), va = (OwnVector)a, vb = (OwnVector)b, vc = (OwnVector)c;
    const OwnVector low = OWN_VECTOR(add, epi32)(
        OWN_VECTOR(unpacklo, epi16)(va, zero),
        OWN_VECTOR(add, epi32)(OWN_VECTOR(unpacklo, epi16)(vb, zero), OWN_VECTOR(unpacklo, epi16)(vc, zero)));
    const OwnVector high = OWN_VECTOR(add, epi32)(
        OWN_VECTOR(unpackhi, epi16)(va, zero),
        OWN_VECTOR(add, epi32)(OWN_VECTOR(unpackhi, epi16)(vb, zero), OWN_VECTOR(unpackhi, epi16)(vc, zero)));
    return (Shorts)OWN_VECTOR(packs, epi32)(scaleGauss(low), scaleGauss(high));
}
#endif

// Sums of 16 bits have a sign, or wrap: each column's, and those of two like columns, fit 16 bits without a sign if
// samples have none.
template <class D>
void gauss5(const OwnFixedRow &row) {
    sumKinds<D>(
        row, [](auto far, auto near, auto here) { return far * 2 + near * 7 + here * 12; },
        [](auto far, auto near, auto here) { return far * 7 + near * 31 + here * 52; },
        [](auto far, auto near, auto here) { return far * 12 + near * 52 + here * 127; });
    const size_t channels = row.channels;
    const Sum<D> *outer = sumRow<D>(row, 0), *next = sumRow<D>(row, 1) + channels,
                 *middle = sumRow<D>(row, 2) + 2 * channels;
    const Sum<D> *outer2 = outer + 4 * channels, *next2 = next + 2 * channels;
    typename D::Sample *out = outRow<D>(row);
#if defined(OWN_HAS_VECTORS)
    if constexpr (isUnsignedByte<D>) {
        const auto part = [&](Several at) { return gaussOf(at(outer) + at(outer2), at(next) + at(next2), at(middle)); };
        const auto run = [&](size_t i) { storeBytes<D>(out + i, part({i}), part({i + LANES})); };
        if (bySteps(row.n, 2 * LANES, run)) return;
    }
#endif
    OWN_ELEMENTWISE
    for (size_t i = 0; i < row.n; ++i) {
        if constexpr (isUnsignedByte<D>) {
            const auto outers = static_cast<uint16_t>(outer[i] + outer2[i]);
            const auto nexts = static_cast<uint16_t>(next[i] + next2[i]);
            out[i] = saturate<D>(scaleGauss(outers + nexts + static_cast<uint16_t>(middle[i])));
        } else {
            const One at = {i};
            out[i] = saturate<D>(
                scaleGauss(static_cast<int32_t>(at(outer) + at(outer2) + at(next) + at(next2) + at(middle))));
        }
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

// Floats, several vectors side by side: a chain of sums takes its time.
#if defined(OWN_HAS_VECTORS)
typedef float Floats __attribute__((vector_size(sizeof(OwnVector))));
constexpr size_t FLOATS = sizeof(OwnVector) / sizeof(float), CHAINS = 4;
#endif

// out = the products added to 0 one after the other, those with 0 as well, times the scale.
template <int side, int which>
void floats(const OwnFixedRow &row) {
    constexpr const auto &kernel = kernelOf<side>(which);
    const OwnAnyF32 *rows[side];
    for (int r = 0; r < side; ++r)
        rows[r] = sourceRow<Own32F>(row, r);
    Own32F::Sample *out = outRow<Own32F>(row);
    const size_t channels = row.channels;
#if defined(OWN_HAS_VECTORS)
    const auto run = [&]<size_t chains>(size_t i) {
        Floats sum[chains] = {};
#pragma GCC unroll 5
        for (size_t r = 0; r < side; ++r) {
#pragma GCC unroll 5
            for (size_t c = 0; c < side; ++c) {
                const Floats weight = Floats{} + kernel.of[r * side + c];
#pragma GCC unroll 4
                for (size_t k = 0; k < chains; ++k) {
                    Floats value;
                    __builtin_memcpy(&value, rows[r] + i + c * channels + k * FLOATS, sizeof value);
                    sum[k] += weight * value;
                }
            }
        }
#pragma GCC unroll 4
        for (size_t k = 0; k < chains; ++k) {
            if constexpr (kernel.scale != 1) sum[k] *= kernel.scale;
            __builtin_memcpy(out + i + k * FLOATS, &sum[k], sizeof sum[k]);
        }
    };
    size_t i = 0;
    for (; i + CHAINS * FLOATS <= row.n; i += CHAINS * FLOATS)
        run.template operator()<CHAINS>(i);
    const auto rest = [&](size_t k) { run.template operator()<1>(i + k); };
    if (i == row.n || bySteps(row.n - i, FLOATS, rest)) return;
#else
    size_t i = 0;
#endif
    for (; i < row.n; ++i) {
        float sum = 0;
        for (size_t r = 0; r < side; ++r) {
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
    lessBox<D, 9, Whole>(row);
}
template <class D>
void sharpen3(const OwnFixedRow &row) {
    lessBox<D, 17, Eighth>(row);
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
