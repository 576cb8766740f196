// Row kernels of moments, compiled once for each CPU level.
#include "stat/owndoubles.h"
#include "stat/ownstat.h"

namespace OWN_LEVEL {
namespace {

template <class D>
void momentsPlain(const void *a_, size_t from, size_t n, OwnMomentSums *sums) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    for (size_t i = from; i < n; ++i) {
        const auto x = static_cast<int64_t>(i);
        int64_t term = a[i];
        for (int m = 0; m < 4; ++m, term *= x)
            sums->whole[m] += term;
    }
}

#if defined(OWN_HAS_VECTORS)
// Blocks of 16 samples in 32-bit lanes.
constexpr size_t blockVectors = 64 / sizeof(OwnVector);
struct Block {
    OwnVector v[blockVectors];
};

#if defined(__AVX2__)
template <class D>
[[gnu::always_inline]] inline Block loadBlock(const typename D::Sample *at) {
    Block block;
    for (size_t k = 0; k < blockVectors; ++k) {
        const void *half = at + 8 * k;
        if constexpr (sizeof(typename D::Value) == 1) {
            const __m128i bytes = _mm_loadl_epi64(static_cast<const __m128i *>(half));
            block.v[k] =
                static_cast<typename D::Value>(-1) < 0 ? _mm256_cvtepi8_epi32(bytes) : _mm256_cvtepu8_epi32(bytes);
        } else {
            const __m128i words = _mm_loadu_si128(static_cast<const __m128i *>(half));
            block.v[k] =
                static_cast<typename D::Value>(-1) < 0 ? _mm256_cvtepi16_epi32(words) : _mm256_cvtepu16_epi32(words);
        }
    }
    return block;
}
#else
// A lane's sample is shifted down from its top half, with its sign where it has one.
template <class D>
[[gnu::always_inline]] inline Block loadBlock(const typename D::Sample *at) {
    constexpr bool isSigned = static_cast<typename D::Value>(-1) < 0;
    const char *bytes = reinterpret_cast<const char *>(at);
    OwnVector words[2];
    if constexpr (sizeof(typename D::Value) == 1) {
        const OwnVector v = ownLoad(bytes);
        const OwnVector low = _mm_unpacklo_epi8(ownZero(), v), high = _mm_unpackhi_epi8(ownZero(), v);
        words[0] = isSigned ? _mm_srai_epi16(low, 8) : _mm_srli_epi16(low, 8);
        words[1] = isSigned ? _mm_srai_epi16(high, 8) : _mm_srli_epi16(high, 8);
    } else {
        words[0] = ownLoad(bytes);
        words[1] = ownLoad(bytes + 16);
    }
    Block block;
    for (size_t k = 0; k < 4; ++k) {
        const OwnVector v =
            k % 2 == 0 ? _mm_unpacklo_epi16(ownZero(), words[k / 2]) : _mm_unpackhi_epi16(ownZero(), words[k / 2]);
        block.v[k] = isSigned ? _mm_srai_epi32(v, 16) : _mm_srli_epi32(v, 16);
    }
    return block;
}
#endif

template <class D>
struct MomentLane {
    using Type = uint32_t;
};
template <>
struct MomentLane<Own8S> {
    using Type = int32_t;
};
template <>
struct MomentLane<Own16S> {
    using Type = int32_t;
};

// From running sums to sums of squares and cubes: u (u + 1) / 2 is half of u^2 + u, and so on.
[[gnu::always_inline]] inline void fromRunning(int64_t first, int64_t *second, int64_t *third) {
    *second = 2 * *second - first;
    if (third) *third = 6 * *third - 3 * *second - 2 * first;
}

// The sums of lane^m times the lane, for m below powers: by running sums as well.
template <int powers, class Lane>
[[gnu::always_inline]] inline void addPowers(const Lane (&lanes)[16], int64_t (&sums)[4]) {
    int64_t running[4] = {};
    for (int lane = 15; lane > 0; --lane) {
        int64_t v = lanes[lane];
        for (int m = 0; m < powers; ++m)
            running[m] = v = running[m] + v;
    }
    running[0] += lanes[0];
    fromRunning(running[1], &running[2], &running[3]);
    for (int m = 0; m < powers; ++m)
        sums[m] = running[m];
}

// Sums of running sums, with no product: after N blocks the sample of block j has been added N - j = u times to the
// second, u (u + 1) / 2 times to the third and u (u + 1) (u + 2) / 6 times to the last, from which the sums of powers
// of u follow, and of i = 16 (N - u) + lane. The longest stretch is that whose last sums fit 32 bits.
template <class D>
void moments(const void *a_, size_t n, OwnMomentSums *sums) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const size_t blocks = n / 16;
    Block running[4] = {};
    for (size_t j = 0; j < blocks; ++j) {
        const Block block = loadBlock<D>(a + 16 * j);
        for (size_t k = 0; k < blockVectors; ++k) {
            OwnVector v = block.v[k];
            for (Block &sum : running)
                sum.v[k] = v = OWN_VECTOR(add, epi32)(sum.v[k], v);
        }
    }
    typename MomentLane<D>::Type lanes[4][16];
    __builtin_memcpy(lanes, running, sizeof lanes);
    // i = c + lane - 16 u.
    int64_t u0[4], u1[4], u2[4], u3[4];
    addPowers<4>(lanes[0], u0);
    addPowers<3>(lanes[1], u1);
    addPowers<2>(lanes[2], u2);
    addPowers<1>(lanes[3], u3);
    fromRunning(u1[0], &u2[0], &u3[0]);
    fromRunning(u1[1], &u2[1], nullptr);
    const auto c = static_cast<int64_t>(16 * blocks);
    const int64_t v1 = u0[1] - 16 * u1[0], v2 = u0[2] - 32 * u1[1] + 256 * u2[0],
                  v3 = u0[3] - 48 * u1[2] + 768 * u2[1] - 4096 * u3[0];
    sums->whole[0] = u0[0];
    sums->whole[1] = c * u0[0] + v1;
    sums->whole[2] = c * (c * u0[0] + 2 * v1) + v2;
    sums->whole[3] = c * (c * (c * u0[0] + 3 * v1) + 3 * v2) + v3;
    momentsPlain<D>(a, 16 * blocks, n, sums);
}
#else
template <class D>
void moments(const void *a, size_t n, OwnMomentSums *sums) {
    *sums = {};
    momentsPlain<D>(a, 0, n, sums);
}
#endif

// In double precision, eight samples side by side, the same at every level. What there is no sample for adds 0.
template <class D>
void momentsReal(const void *a_, size_t n, OwnMomentSums *sums) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    double lanes[4][8] = {};
    typename D::Value rest[8] = {};
    __builtin_memcpy(rest, a + n / 8 * 8, n % 8 * sizeof *rest);
#if defined(OWN_HAS_VECTORS)
    constexpr size_t wide = sizeof(Doubles) / sizeof(double), vectors = 8 / wide;
    static constexpr double places[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    Doubles sum[4][vectors], x[vectors];
    for (size_t v = 0; v < vectors; ++v) {
        x[v] = OWN_VECTOR(loadu, pd)(places + v * wide);
        for (auto &power : sum)
            power[v] = OWN_VECTOR(setzero, pd)();
    }
    const auto add = [&](const typename D::Sample *samples) {
        for (size_t v = 0; v < vectors; ++v) {
            Doubles term = loadDoubles<D>(samples + v * wide);
            for (auto &power : sum) {
                power[v] = OWN_VECTOR(add, pd)(power[v], term);
                term = OWN_VECTOR(mul, pd)(term, x[v]);
            }
            x[v] = OWN_VECTOR(add, pd)(x[v], OWN_VECTOR(set1, pd)(8));
        }
    };
    for (size_t i = 0; i + 8 <= n; i += 8)
        add(a + i);
    add(rest);
    __builtin_memcpy(lanes, sum, sizeof lanes);
#else
    for (size_t i = 0; i < n / 8 * 8 + 8; ++i) {
        double term = static_cast<double>(i < n / 8 * 8 ? a[i] : rest[i % 8]);
        for (auto &power : lanes) {
            power[i % 8] += term;
            term *= static_cast<double>(i);
        }
    }
#endif
    for (int m = 0; m < 4; ++m) {
        const auto &lane = lanes[m];
        sums->real[m] = ((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]));
    }
}

// The longest stretches: a lane's last sum is that of the largest sample times (N + 3)! / (N - 1)! / 4!.
constexpr size_t most8 = 16 * 140, most16 = 16 * 33, mostReal = 4096;

}  // namespace

// In the order 1U, 8U, 8S, 16U, 16S, 32S, 32F.
extern const OwnMomentRows momentRows;
const OwnMomentRows momentRows = {
    .sums = {{nullptr, 0},
             {moments<Own8U>, most8},
             {moments<Own8S>, most8},
             {moments<Own16U>, most16},
             {moments<Own16S>, most16},
             {momentsReal<Own32S>, mostReal},
             {momentsReal<Own32F>, mostReal}},
};

}  // namespace OWN_LEVEL
