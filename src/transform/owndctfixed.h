// The cosine transform of a block in 16-bit integers, for the kernel file. Both directions are products with a matrix
// of 16-bit coefficients and what these leave: sums in 32 bits, and between the two directions as many fractional bits
// as the block's largest sample leaves room for.
#pragma once

#include "frame/ownsample.h"
#include "transform/owndct.h"
#include "transform/ownturn.h"

namespace OWN_LEVEL {
namespace {

// Fractional bits of the coefficients: a row's are below sqrt(n) in their sum, and so far 32 bits hold sums.
constexpr int fixedBits(int n) {
    return n == 32 ? 13 : 14;
}

// Two coefficients side by side, the first one below: as integers, and what is left of them, with FINER bits more.
struct FixedPair {
    int32_t whole, rest;
};
constexpr int FINER = 11;

// For each pair of samples; of sums, and of samples.
template <int n>
struct FixedTable {
    FixedPair pairs[2][n][n / 2];
};
template <int n>
constexpr double coefficientOf(int k, int x) {
    constexpr double root = n == 4 ? 0.70710678118654752440 : n == 8 ? 0.5 : n == 16 ? 0.35355339059327376220 : 0.25;
    double c = 0, s = 0;
    ownTurn((2 * x + 1) * k % (4 * n), 4 * n, &c, &s);
    return k == 0 ? root * 0.70710678118654752440 : root * c;
}
constexpr int32_t nearest(double value) {
    return static_cast<int32_t>(value < 0 ? value - 0.5 : value + 0.5);
}
constexpr FixedPair fixedPair(double first, double second) {
    const int32_t a = nearest(first), b = nearest(second);
    const auto pair = [](int32_t low, int32_t high) {
        return static_cast<int32_t>((static_cast<uint32_t>(low) & 0xFFFF) | static_cast<uint32_t>(high) << 16);
    };
    return {pair(a, b), pair(nearest((first - a) * (1 << FINER)), nearest((second - b) * (1 << FINER)))};
}
template <int n>
constexpr FixedTable<n> makeFixedTable() {
    FixedTable<n> table = {};
    const auto c = [](int k, int x) { return coefficientOf<n>(k, x) * (1 << fixedBits(n)); };
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; j += 2) {
            table.pairs[0][i][j / 2] = fixedPair(c(i, j), c(i, j + 1));
            table.pairs[1][i][j / 2] = fixedPair(c(j, i), c(j + 1, i));
        }
    }
    return table;
}
template <int n>
constexpr FixedTable<n> FIXED_TABLE = makeFixedTable<n>();

#if defined(__SSE2__)
// Pairs of samples of eight columns, and sums over them.
#if defined(__AVX2__)
struct FixedSums {
    using Pairs = __m256i;
    __m256i all;
    static Pairs interleave(__m128i a, __m128i b) {
        return _mm256_set_m128i(_mm_unpackhi_epi16(a, b), _mm_unpacklo_epi16(a, b));
    }
    explicit FixedSums(int start) : all(_mm256_set1_epi32(start)) {}
    void add(const Pairs &pairs, int32_t coefficients) {
        all = _mm256_add_epi32(all, _mm256_madd_epi16(pairs, _mm256_set1_epi32(coefficients)));
    }
    void addRest(const FixedSums &rest) { all = _mm256_add_epi32(all, _mm256_srai_epi32(rest.all, FINER)); }
    __m128i shifted(__m128i count) const {
        const __m256i sums = _mm256_sra_epi32(all, count);
        return _mm_packs_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    }
};
#else
struct FixedSums {
    struct Pairs {
        __m128i low, high;
    };
    __m128i low, high;
    static Pairs interleave(__m128i a, __m128i b) { return {_mm_unpacklo_epi16(a, b), _mm_unpackhi_epi16(a, b)}; }
    explicit FixedSums(int start) : low(_mm_set1_epi32(start)), high(low) {}
    void add(const Pairs &pairs, int32_t coefficients) {
        const __m128i c = _mm_set1_epi32(coefficients);
        low = _mm_add_epi32(low, _mm_madd_epi16(pairs.low, c));
        high = _mm_add_epi32(high, _mm_madd_epi16(pairs.high, c));
    }
    void addRest(const FixedSums &rest) {
        low = _mm_add_epi32(low, _mm_srai_epi32(rest.low, FINER));
        high = _mm_add_epi32(high, _mm_srai_epi32(rest.high, FINER));
    }
    __m128i shifted(__m128i count) const {
        return _mm_packs_epi32(_mm_sra_epi32(low, count), _mm_sra_epi32(high, count));
    }
};
#endif

// Eight columns: out[i] = the sum over j of coefficients[i][j] in[j], shifted with rounding and saturated.
template <int n>
void fixedColumns(const FixedPair (*pairs)[n / 2], int16_t (*rows)[OWN_DCT_LARGEST], int shift) {
    FixedSums::Pairs in[n / 2];
    for (int j = 0; j < n / 2; ++j) {
        in[j] = FixedSums::interleave(_mm_load_si128(reinterpret_cast<const __m128i *>(rows[2 * j])),
                                      _mm_load_si128(reinterpret_cast<const __m128i *>(rows[2 * j + 1])));
    }
    const __m128i count = _mm_cvtsi32_si128(shift);
    for (int i = 0; i < n; ++i) {
        FixedSums sums(shift > 0 ? 1 << (shift - 1) : 0), rest(1 << (FINER - 1));
        for (int j = 0; j < n / 2; ++j) {
            sums.add(in[j], pairs[i][j].whole);
            rest.add(in[j], pairs[i][j].rest);
        }
        sums.addRest(rest);
        _mm_store_si128(reinterpret_cast<__m128i *>(rows[i]), sums.shifted(count));
    }
}

void transposeEight(const int16_t (*in)[OWN_DCT_LARGEST], int16_t (*out)[OWN_DCT_LARGEST]) {
    __m128i v[8], w[8];
    for (int r = 0; r < 8; ++r)
        v[r] = _mm_load_si128(reinterpret_cast<const __m128i *>(in[r]));
    for (int r = 0; r < 4; ++r) {
        w[2 * r] = _mm_unpacklo_epi16(v[r], v[r + 4]);
        w[2 * r + 1] = _mm_unpackhi_epi16(v[r], v[r + 4]);
    }
    for (int r = 0; r < 4; ++r) {
        v[2 * r] = _mm_unpacklo_epi16(w[r], w[r + 4]);
        v[2 * r + 1] = _mm_unpackhi_epi16(w[r], w[r + 4]);
    }
    for (int r = 0; r < 4; ++r) {
        w[2 * r] = _mm_unpacklo_epi16(v[r], v[r + 4]);
        w[2 * r + 1] = _mm_unpackhi_epi16(v[r], v[r + 4]);
    }
    for (int r = 0; r < 8; ++r)
        _mm_store_si128(reinterpret_cast<__m128i *>(out[r]), w[r]);
}
#else
template <int n>
void fixedColumns(const FixedPair (*pairs)[n / 2], int16_t (*rows)[OWN_DCT_LARGEST], int shift) {
    for (int x = 0; x < 8; ++x) {
        int16_t in[n];
        for (int j = 0; j < n; ++j)
            in[j] = rows[j][x];
        for (int i = 0; i < n; ++i) {
            // Sums wrap on their way, and end within 32 bits.
            uint32_t sum = shift > 0 ? 1u << (shift - 1) : 0, rest = 1u << (FINER - 1);
            const auto product = [&](int32_t pair, int j) {
                const auto c = static_cast<int16_t>(static_cast<uint32_t>(pair) >> (j % 2 * 16));
                return static_cast<uint32_t>(c * in[j]);
            };
            for (int j = 0; j < n; ++j) {
                sum += product(pairs[i][j / 2].whole, j);
                rest += product(pairs[i][j / 2].rest, j);
            }
            sum += static_cast<uint32_t>(static_cast<int32_t>(rest) >> FINER);
            const int32_t value = static_cast<int32_t>(sum) >> shift;
            rows[i][x] = static_cast<int16_t>(value < -32768 ? -32768 : value > 32767 ? 32767 : value);
        }
    }
}

void transposeEight(const int16_t (*in)[OWN_DCT_LARGEST], int16_t (*out)[OWN_DCT_LARGEST]) {
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c)
            out[r][c] = in[c][r];
    }
}
#endif

template <int n>
void fixedPass(OwnDctBlock *block, int width, bool inverse, int shift) {
    for (int x = 0; x < width; x += 8) {
        auto *rows = reinterpret_cast<int16_t(*)[OWN_DCT_LARGEST]>(&block->rows[0][x]);
        fixedColumns<n>(FIXED_TABLE<n>.pairs[inverse ? 1 : 0], rows, shift);
    }
}
void fixedPass(OwnDctBlock *block, int width, int height, bool inverse, int shift) {
    switch (height) {
        case 4:
            return fixedPass<4>(block, width, inverse, shift);
        case 8:
            return fixedPass<8>(block, width, inverse, shift);
        case 16:
            return fixedPass<16>(block, width, inverse, shift);
        default:
            return fixedPass<32>(block, width, inverse, shift);
    }
}

// Squares of 8: what lies beyond a width or height of 4 comes along.
void transposeBlock(const OwnDctBlock &in, OwnDctBlock *out, int width, int height) {
    for (int y = 0; y < height; y += 8) {
        for (int x = 0; x < width; x += 8) {
            transposeEight(reinterpret_cast<const int16_t(*)[OWN_DCT_LARGEST]>(&in.rows[y][x]),
                           reinterpret_cast<int16_t(*)[OWN_DCT_LARGEST]>(&out->rows[x][y]));
        }
    }
}

// Bits that the magnitude of every sample fits, 0 to 15; -32768 counts as 32767. Beyond a width of 4 are zeros.
int magnitudeBits(const OwnDctBlock &block, int width, int height) {
    uint32_t bits = 0;
#if defined(__SSE2__)
    __m128i all = _mm_setzero_si128();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; x += 8) {
            const __m128i v = _mm_load_si128(reinterpret_cast<const __m128i *>(&block.rows[y][x]));
            all = _mm_or_si128(all, _mm_xor_si128(v, _mm_srai_epi16(v, 15)));
        }
    }
    all = _mm_or_si128(all, _mm_srli_si128(all, 8));
    all = _mm_or_si128(all, _mm_srli_si128(all, 4));
    bits = static_cast<uint32_t>(_mm_cvtsi128_si32(all));
    bits = (bits | bits >> 16) & 0xFFFF;
#else
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int16_t v = block.rows[y][x];
            bits |= static_cast<uint16_t>(v ^ (v >> 15));
        }
    }
#endif
    return bits == 0 ? 0 : 32 - __builtin_clz(bits);
}

void fixedBlock(OwnDctBlock *block, int width, int height, bool inverse) {
    // Sums grow by sqrt(height) at most.
    const int growth = height == 4 ? 1 : height == 32 ? 3 : 2;
    const int fraction = 15 - growth - magnitudeBits(*block, width, height);
    OwnDctBlock turned;
    fixedPass(block, width, height, inverse, fixedBits(height) - fraction);
    transposeBlock(*block, &turned, width, height);
    fixedPass(&turned, height, width, inverse, fixedBits(width) + fraction);
    transposeBlock(turned, block, height, width);
}

}  // namespace
}  // namespace OWN_LEVEL
