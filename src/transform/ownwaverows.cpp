// Row kernels of the wavelet transform, compiled once for each CPU level. Several vectors of sums stay in registers
// while all taps pass.
#include "frame/ownsample.h"
#include "transform/ownlanes.h"
#include "transform/ownwave.h"

namespace OWN_LEVEL {
namespace {

constexpr int LANES = OWN_LANES;
typedef OwnLanes<LANES>::Vector Vector;

template <int lanes, int vectors>
[[gnu::always_inline]] inline void sum(const OwnWaveSum &a, size_t k, typename OwnLanes<lanes>::Vector *sums) {
    for (int v = 0; v < vectors; ++v)
        sums[v] = typename OwnLanes<lanes>::Vector{};
    for (int64_t j = 0; j < a.count; ++j) {
        const float *samples = a.samples[j] + k;
        for (int v = 0; v < vectors; ++v)
            sums[v] = sums[v] + ownLoadLoose<lanes>(samples + v * lanes) * a.taps[j];
    }
}

template <int lanes, int vectors, bool two>
[[gnu::always_inline]] inline void block(const OwnWaveSum &a, const OwnWaveSum &b, float *out, size_t k) {
    typename OwnLanes<lanes>::Vector sums[vectors];
    sum<lanes, vectors>(a, k, sums);
    if constexpr (two) {
        typename OwnLanes<lanes>::Vector more[vectors];
        sum<lanes, vectors>(b, k, more);
        for (int v = 0; v < vectors; ++v)
            sums[v] = sums[v] + more[v];
    }
    for (int v = 0; v < vectors; ++v)
        ownStoreLoose<lanes>(out + k + v * lanes, sums[v]);
}

template <bool two>
[[gnu::always_inline]] inline void run(const OwnWaveSum &a, const OwnWaveSum &b, float *out, size_t n) {
    size_t k = 0;
    for (; k + 4 * LANES <= n; k += 4 * LANES)
        block<LANES, 4, two>(a, b, out, k);
    for (; k + LANES <= n; k += LANES)
        block<LANES, 1, two>(a, b, out, k);
    for (; k < n; ++k)
        block<1, 1, two>(a, b, out, k);
}

void filter(const OwnWaveSum &a, float *out, size_t n) {
    run<false>(a, a, out, n);
}
void join(const OwnWaveSum &a, const OwnWaveSum &b, float *out, size_t n) {
    run<true>(a, b, out, n);
}

void load(const uint8_t *row, float *even, float *odd, size_t n) {
    for (size_t k = 0; k < n; ++k) {
        even[k] = static_cast<float>(row[2 * k]);
        odd[k] = static_cast<float>(row[2 * k + 1]);
    }
}

[[gnu::always_inline]] inline uint8_t rounded(float value) {
    constexpr float shifter = 12582912.0f;
    const float above = value > 0.0f ? value : 0.0f;
    const float within = above < 255.0f ? above : 255.0f;
    return static_cast<uint8_t>(static_cast<int32_t>((within + shifter) - shifter));
}

typedef int32_t Ints __attribute__((vector_size(4 * LANES)));
typedef uint16_t Pairs __attribute__((vector_size(2 * LANES)));

[[gnu::always_inline]] inline Ints roundedLanes(Vector value) {
    constexpr float shifter = 12582912.0f, zero = 0.0f, most = 255.0f;
    const Vector above = value > zero ? value : Vector{} + zero;
    const Vector within = above < most ? above : Vector{} + most;
    return __builtin_convertvector((within + shifter) - shifter, Ints);
}

void store(const float *even, const float *odd, uint8_t *row, size_t n) {
    size_t k = 0;
    for (; k + LANES <= n; k += LANES) {
        const Ints a = roundedLanes(ownLoadLoose<LANES>(even + k)), b = roundedLanes(ownLoadLoose<LANES>(odd + k));
        // Bytes are in the order of memory on every processor that has vectors here.
        const Pairs pairs = __builtin_convertvector(a | b << 8, Pairs);
        __builtin_memcpy(row + 2 * k, &pairs, sizeof pairs);
    }
    for (; k < n; ++k) {
        row[2 * k] = rounded(even[k]);
        row[2 * k + 1] = rounded(odd[k]);
    }
}

}  // namespace

extern const OwnWaveRows waveRows;
const OwnWaveRows waveRows = {load, filter, join, store};

}  // namespace OWN_LEVEL
