// Row kernels of normalised cross-correlation, compiled once for each CPU level. Some vectors of sums stay in registers
// while the whole template passes.
#include "filter/ownblocks.h"
#include "filter/ownxcorr.h"
#include "frame/ownsample.h"
#include "frame/ownvector.h"

namespace OWN_LEVEL {
namespace {

// ------------------------------------------------------------------------------------------------------------- samples

template <class D>
void toPairs(const void *row, size_t step, uint32_t *pairs, size_t n) {
    const typename D::Sample *samples = static_cast<const typename D::Sample *>(row);
    const auto low = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint16_t>(samples[i * step])); };
    for (size_t i = 0; i + 1 < n; ++i)
        pairs[i] = low(i) | low(i + 1) << 16;
    pairs[n - 1] = low(n - 1);
}

template <class D>
void toReals(const void *row, size_t step, double *reals, size_t n) {
    const typename D::Sample *samples = static_cast<const typename D::Sample *>(row);
    for (size_t i = 0; i < n; ++i)
        reals[i] = static_cast<double>(samples[i * step]);
}

// ------------------------------------------------------------------------------------------------------------ products

int32_t onePair(const OwnCorrField &field, size_t i) {
    const auto *taps = static_cast<const uint32_t *>(field.taps);
    int32_t sum = 0;
    for (int r = 0; r < field.nRows; ++r) {
        const auto *row = static_cast<const uint32_t *>(field.rows[r]) + i;
        for (size_t c = 0; c < field.columns; ++c, ++taps) {
            const auto product = [&](int shift) {
                return static_cast<int16_t>(row[2 * c] >> shift) * static_cast<int16_t>(*taps >> shift);
            };
            sum += product(0) + product(16);
        }
    }
    return sum;
}

void sumPairs(const OwnCorrField &field, int32_t *sums, size_t n) {
    const auto one = [&](size_t i) { sums[i] = onePair(field, i); };
#if defined(OWN_HAS_VECTORS)
    constexpr size_t lanes = sizeof(OwnVector) / 4;
    const auto block = [&]<size_t vectors>(size_t i) __attribute__((always_inline)) {
        OwnVector sum[vectors];
#pragma GCC unroll 8
        for (size_t k = 0; k < vectors; ++k)
            sum[k] = ownZero();
        const auto *taps = static_cast<const uint32_t *>(field.taps);
        for (int r = 0; r < field.nRows; ++r) {
            const auto *row = static_cast<const uint32_t *>(field.rows[r]) + i;
            for (size_t c = 0; c < field.columns; ++c, ++taps) {
                const OwnVector tap = OWN_VECTOR(set1, epi32)(static_cast<int>(*taps));
#pragma GCC unroll 8
                for (size_t k = 0; k < vectors; ++k) {
                    const auto *at = reinterpret_cast<const char *>(row + 2 * c + k * lanes);
                    sum[k] = OWN_VECTOR(add, epi32)(sum[k], OWN_VECTOR(madd, epi16)(ownLoad(at), tap));
                }
            }
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < vectors; ++k)
            ownStore(reinterpret_cast<char *>(sums + i + k * lanes), sum[k]);
    };
    ownInBlocks<lanes, 8>(n, block, one);
#else
    for (size_t i = 0; i < n; ++i)
        one(i);
#endif
}

#if defined(__AVX2__)
constexpr size_t DOUBLES = 4;
#else
constexpr size_t DOUBLES = 2;
#endif
typedef double Doubles __attribute__((vector_size(DOUBLES * sizeof(double))));

void sumReals(const OwnCorrField &field, double *sums, size_t n) {
    const auto block = [&]<size_t vectors>(size_t i) __attribute__((always_inline)) {
        Doubles sum[vectors] = {};
        const auto *taps = static_cast<const double *>(field.taps);
        for (int r = 0; r < field.nRows; ++r) {
            const auto *row = static_cast<const double *>(field.rows[r]) + i;
            for (size_t c = 0; c < field.columns; ++c, ++taps) {
#pragma GCC unroll 8
                for (size_t k = 0; k < vectors; ++k) {
                    Doubles samples;
                    __builtin_memcpy(&samples, row + c + k * DOUBLES, sizeof samples);
                    sum[k] += samples * *taps;
                }
            }
        }
        __builtin_memcpy(sums + i, sum, sizeof sum);
    };
    const auto one = [&](size_t i) {
        const auto *taps = static_cast<const double *>(field.taps);
        double sum = 0;
        for (int r = 0; r < field.nRows; ++r) {
            for (size_t c = 0; c < field.columns; ++c, ++taps)
                sum += static_cast<const double *>(field.rows[r])[i + c] * *taps;
        }
        sums[i] = sum;
    };
    ownInBlocks<DOUBLES, 8>(n, block, one);
}

// ------------------------------------------------------------------------------------------------------------ energies

[[gnu::always_inline]] inline int32_t squareOf(uint32_t pair) {
    return static_cast<int16_t>(pair) * static_cast<int16_t>(pair);
}

void enter(const uint32_t *pairs, int64_t *squares, size_t n) {
    for (size_t i = 0; i < n; ++i)
        squares[i] += squareOf(pairs[i]);
}

void leave(const uint32_t *pairs, int64_t *squares, size_t n) {
    for (size_t i = 0; i < n; ++i)
        squares[i] -= squareOf(pairs[i]);
}

void energies(const int64_t *squares, size_t columns, double *energies, size_t n) {
    int64_t sum = 0;
    for (size_t c = 0; c + 1 < columns; ++c)
        sum += squares[c];
    for (size_t i = 0; i < n; ++i) {
        sum += squares[i + columns - 1];
        energies[i] = static_cast<double>(sum);
        sum -= squares[i];
    }
}

void squares(const void *const *rows, int nRows, double *squares, size_t n) {
    for (size_t i = 0; i < n; ++i)
        squares[i] = 0;
    for (int r = 0; r < nRows; ++r) {
        const auto *row = static_cast<const double *>(rows[r]);
        for (size_t i = 0; i < n; ++i)
            squares[i] += row[i] * row[i];
    }
}

void realEnergies(const double *squares, size_t columns, double *energies, size_t n) {
    for (size_t i = 0; i < n; ++i)
        energies[i] = 0;
    for (size_t c = 0; c < columns; ++c) {
        for (size_t i = 0; i < n; ++i)
            energies[i] += squares[i + c];
    }
}

// -------------------------------------------------------------------------------------------------------------- stores

constexpr float SMALLEST = 1.1754943508222875e-38f;

// Sums by the root of both energies; the product of these is a float, but for samples of 32 bits.
[[gnu::always_inline]] inline double normalised(double sum, double energy, const OwnCorrScale &scale) {
    double root;
    bool counts;
    if (scale.wide) {
        const double product = energy * scale.energy;
        counts = product > static_cast<double>(SMALLEST);
        root = __builtin_sqrt(product);
    } else {
        const float product = static_cast<float>(energy) * static_cast<float>(scale.energy);
        counts = product > SMALLEST;
        root = static_cast<double>(__builtin_sqrtf(product));
    }
    return sum * (counts ? scale.full / root : scale.full);
}

// To the nearest integer, ties to even: where a double has no places behind the point.
[[gnu::always_inline]] inline double rounded(double value) {
    constexpr double whole = 0x1.8p52;
    return (value + whole) - whole;
}

template <class D>
void storeCorr(const double *sums, const double *energies, const OwnCorrScale &scale, void *out, size_t step,
               size_t n) {
    typename D::Sample *const to = static_cast<typename D::Sample *>(out);
    for (size_t i = 0; i < n; ++i) {
        const double value = normalised(sums[i], energies[i], scale);
        if constexpr (__is_same(D, Own32F)) {
            to[i * step] = static_cast<float>(value);
        } else if constexpr (__is_same(D, Own32S)) {
            const double whole = rounded(value);
            to[i * step] = whole >= 2147483647.0   ? 2147483647
                           : whole > -2147483648.0 ? static_cast<int32_t>(whole)
                                                   : INT32_MIN;
        } else {
            const double whole = rounded(value);
            const int32_t inside = whole >= 65535.0 ? 65535 : whole > -32768.0 ? static_cast<int32_t>(whole) : -32768;
            to[i * step] = static_cast<typename D::Value>(inside < D::low    ? D::low
                                                          : inside > D::high ? D::high
                                                                             : inside);
        }
    }
}

}  // namespace

extern const OwnCorrRows corrRows;
const OwnCorrRows corrRows = {
    {toPairs<Own8U>, toPairs<Own8U>, toPairs<Own8S>, nullptr, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, toReals<Own16U>, toReals<Own16S>, toReals<Own32S>, toReals<Own32F>},
    sumPairs,
    sumReals,
    enter,
    leave,
    energies,
    squares,
    realEnergies,
    {storeCorr<Own8U>, storeCorr<Own8U>, storeCorr<Own8S>, storeCorr<Own16U>, storeCorr<Own16S>, storeCorr<Own32S>,
     storeCorr<Own32F>},
};

}  // namespace OWN_LEVEL
