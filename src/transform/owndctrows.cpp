// Kernels of cosine transforms in single precision, compiled once for each CPU level.
#include "transform/ownbutterflies.h"
#include "transform/owndct.h"
#include "transform/owndctfixed.h"

namespace OWN_LEVEL {
namespace {

constexpr int LANES = OWN_LANES;
typedef OwnLanes<LANES>::Vector Vector;
typedef OwnPoint<LANES> Point;

int64_t place(int64_t x, int64_t length, bool ordered) {
    return !ordered ? x : x % 2 == 0 ? x / 2 : length - 1 - x / 2;
}

void spread(const float *const *rows, int64_t x, int64_t n, int64_t length, bool ordered, float *points) {
    const auto at = [&](int64_t column) { return points + place(column, length, ordered) * 2 * LANES; };
    int64_t i = 0;
    for (; i + LANES <= n; i += LANES) {
        Vector v[LANES];
        for (int r = 0; r < LANES; ++r)
            v[r] = ownLoadLoose<LANES>(rows[r] + i);
        ownTranspose<LANES>(v);
        for (int r = 0; r < LANES; ++r)
            *reinterpret_cast<Vector *>(at(x + i + r)) = v[r];
    }
    for (; i < n; ++i) {
        for (int r = 0; r < LANES; ++r)
            at(x + i)[r] = ownLoadLoose<1>(rows[r] + i);
    }
}

// With z the spectrum of a + i b, A and B those of the real sequences: the sums are the real parts of A and B, turned
// by the shift; at the mirrored frequency they are the imaginary ones, negated.
void fromSpectrum(const float *points, const float *shift, int64_t length, float first, float scale, float *out) {
    const Point *z = ownPoints<LANES>(points);
    Point *to = ownPoints<LANES>(out);
    to[0] = z[0] * first;
    for (int64_t k = 1; 2 * k <= length; ++k) {
        const Point p = z[k], q = z[length - k];
        const float c = shift[2 * k] * (scale * 0.5f), s = shift[2 * k + 1] * (scale * 0.5f);
        const Point re = {p.re + q.re, p.im + q.im}, im = {p.im - q.im, q.re - p.re};
        to[k] = re * c + im * s;
        to[length - k] = re * s - im * c;
    }
}

void toSpectrum(const float *points, const float *shift, int64_t length, float first, float scale, float *out) {
    const Point *x = ownPoints<LANES>(points);
    Point *to = ownPoints<LANES>(out);
    to[0] = {x[0].im * first, x[0].re * first};
    for (int64_t k = 1; 2 * k <= length; ++k) {
        const Point p = x[k], q = x[length - k];
        const float c = shift[2 * k] * scale, s = shift[2 * k + 1] * scale;
        // Real and imaginary parts of both sequences' spectra.
        const Point re = p * c + q * s, im = p * s - q * c;
        to[length - k] = {re.im - im.re, re.re + im.im};
        to[k] = {im.re + re.im, re.re - im.im};
    }
}

// Samples that mirror each other are added, or subtracted for odd frequencies.
void sumForward(const OwnFftPlan &plan, const Point *in, float first, float scale, Point *out) {
    const int length = plan.length, half = length / 2, columns = (length + 1) / 2;
    Point folded[2][(OWN_LONGEST_COSINES + 1) / 2];
    for (int n = 0; n < half; ++n) {
        const Point &a = in[place(n, length, true)], &b = in[place(length - 1 - n, length, true)];
        folded[0][n] = a + b;
        folded[1][n] = a - b;
    }
    // The middle one, whose cosines are 0 at odd frequencies.
    if (columns > half) folded[0][half] = in[place(half, length, true)];
    for (int k = 0; k < length; ++k) {
        const float *cosines = plan.cosines + k * columns;
        const Point *from = folded[k % 2];
        Point sum = from[0] * cosines[0];
        for (int n = 1; n < (k % 2 == 0 ? columns : half); ++n)
            sum = sum + from[n] * cosines[n];
        out[k] = sum * (k == 0 ? first : scale);
    }
}

void sumInverse(const OwnFftPlan &plan, const Point *in, float first, float scale, Point *out) {
    const int length = plan.length, columns = (length + 1) / 2;
    Point scaled[OWN_LONGEST_COSINES];
    for (int k = 0; k < length; ++k)
        scaled[k] = in[k] * (k == 0 ? first : 2 * scale);
    for (int n = 0; n < columns; ++n) {
        const float *cosines = plan.cosines + n;
        Point even = scaled[0], odd = {};
        for (int k = 2; k < length; k += 2)
            even = even + scaled[k] * cosines[k * columns];
        // The middle sample has no odd frequencies.
        if (2 * n + 1 == length) {
            out[place(n, length, true)] = {even.im, even.re};
            continue;
        }
        for (int k = 1; k < length; k += 2)
            odd = odd + scaled[k] * cosines[k * columns];
        const Point a = even + odd, b = even - odd;
        out[place(n, length, true)] = {a.im, a.re};
        out[place(length - 1 - n, length, true)] = {b.im, b.re};
    }
}

void sum(const OwnFftPlan &plan, const float *points, bool inverse, float first, float scale, float *out) {
    const auto run = inverse ? sumInverse : sumForward;
    run(plan, ownPoints<LANES>(points), first, scale, ownPoints<LANES>(out));
}

// The sequences of up to LANES columns, every second one from x on, as rows. Columns beyond the last one, which share
// points with it, are 0.
template <bool inverse>
[[gnu::always_inline]] inline void takeColumns(const Point *from, int64_t x, int64_t length, Vector *first,
                                               Vector *second) {
    for (int r = 0; r < LANES; ++r, x += 2) {
        if (x < length) {
            const Point &p = from[place(x, length, inverse)];
            first[r] = inverse ? p.im : p.re;
            second[r] = inverse ? p.re : p.im;
        } else {
            first[r] = second[r] = Vector{};
        }
    }
    ownTranspose<LANES>(first);
    ownTranspose<LANES>(second);
}

template <bool inverse>
void turnRows(const float *points, int64_t length, float *middle, int64_t blockStep, int64_t y, int64_t height,
              int count) {
    const Point *from = ownPoints<LANES>(points);
    for (int64_t x = 0; x < length; x += 2 * LANES, middle += blockStep) {
        for (int part = 0; part < 2; ++part) {
            Vector rows[2][LANES];
            takeColumns<inverse>(from, x + part, length, rows[0], rows[1]);
            float *to = middle + part * LANES;
            for (int r = 0; r < count; ++r)
                *reinterpret_cast<Vector *>(to + place(y + r, height, !inverse) * 2 * LANES) = rows[r % 2][r / 2];
        }
    }
}

void turn(const float *points, int64_t length, bool inverse, float *middle, int64_t blockStep, int64_t y,
          int64_t height, int count) {
    const auto run = inverse ? turnRows<true> : turnRows<false>;
    run(points, length, middle, blockStep, y, height, count);
}

template <bool second, int... i>
[[gnu::always_inline]] inline Vector interleave(Vector a, Vector b, OwnIndices<i...>) {
    return __builtin_shufflevector(a, b, ((second ? LANES / 2 : 0) + i / 2 + (i % 2 != 0 ? LANES : 0))...);
}

void pairs(const float *point, bool exchanged, float *out) {
    const Point *p = ownPoints<LANES>(point);
    const Vector a = exchanged ? p->im : p->re, b = exchanged ? p->re : p->im;
    using All = OwnCountTo<LANES>::Type;
    ownStoreLoose<LANES>(out, interleave<false>(a, b, All{}));
    ownStoreLoose<LANES>(out + LANES, interleave<true>(a, b, All{}));
}

// -------------------------------------------------------------------------------------------------------- 8 x 8 floats

constexpr int NARROW = LANES < 8 ? LANES : 8;
constexpr int HALVES = 8 / NARROW;
typedef OwnLanes<NARROW>::Vector Eight;  // or half of eight

// COSINES[k] = cos(k pi / 16). Evens and odds are folded as in any fast transform; then odd frequencies are plain sums
// of four products. Quicker ways have factors above 1 there, and with them errors above those of the plain sum.
constexpr float COSINES[] = {1.0f,
                             0.98078528040323044913f,
                             0.92387953251128675613f,
                             0.83146961230254523708f,
                             0.70710678118654752440f,
                             0.55557023301960222474f,
                             0.38268343236508977173f,
                             0.19509032201612826785f,
                             0.0f};
// cos((2n + 1)(2k + 1) pi / 16), which is the same for n and k exchanged.
constexpr float oddCosine(int n, int k) {
    const int turn = (2 * n + 1) * (2 * k + 1) % 32;
    const int half = turn > 16 ? 32 - turn : turn;
    return half > 8 ? -COSINES[16 - half] : COSINES[half];
}
[[gnu::always_inline]] inline void oddSums(const Eight *v, Eight *sums) {
    for (int k = 0; k < 4; ++k) {
        sums[k] = v[0] * oddCosine(0, k) + v[1] * oddCosine(1, k) + v[2] * oddCosine(2, k) + v[3] * oddCosine(3, k);
    }
}

// v[k] = the sum over n of v[n] cos((2n + 1) k pi / 16).
[[gnu::always_inline]] inline void eightSums(Eight *v) {
    Eight sums[4], differences[4], odd[4];
    for (int n = 0; n < 4; ++n) {
        sums[n] = v[n] + v[7 - n];
        differences[n] = v[n] - v[7 - n];
    }
    oddSums(differences, odd);
    const Eight s0 = sums[0] + sums[3], s1 = sums[1] + sums[2], d0 = sums[0] - sums[3], d1 = sums[1] - sums[2];
    v[0] = s0 + s1;
    v[2] = d0 * COSINES[2] + d1 * COSINES[6];
    v[4] = (s0 - s1) * COSINES[4];
    v[6] = d0 * COSINES[6] - d1 * COSINES[2];
    for (int k = 0; k < 4; ++k)
        v[2 * k + 1] = odd[k];
}

// v[n] = the sum over k of v[k] cos((2n + 1) k pi / 16).
[[gnu::always_inline]] inline void eightSamples(Eight *v) {
    const Eight frequencies[4] = {v[1], v[3], v[5], v[7]};
    Eight odd[4];
    oddSums(frequencies, odd);
    const Eight middle = v[4] * COSINES[4], s0 = v[0] + middle, s1 = v[0] - middle;
    const Eight d0 = v[2] * COSINES[2] + v[6] * COSINES[6], d1 = v[2] * COSINES[6] - v[6] * COSINES[2];
    const Eight even[4] = {s0 + d0, s1 + d1, s1 - d1, s0 - d0};
    for (int n = 0; n < 4; ++n) {
        v[n] = even[n] + odd[n];
        v[7 - n] = even[n] - odd[n];
    }
}

// 8 rows, each of one vector or two.
struct Square {
    Eight part[HALVES][8];
};

[[gnu::always_inline]] inline void transposeSquare(Square *square) {
    for (int h = 0; h < HALVES; ++h) {
        for (int r = 0; r < 8; r += NARROW)
            ownTranspose<NARROW>(square->part[h] + r);
    }
    if constexpr (HALVES == 2) {
        for (int r = 0; r < NARROW; ++r) {
            const Eight corner = square->part[1][r];
            square->part[1][r] = square->part[0][r + NARROW];
            square->part[0][r + NARROW] = corner;
        }
    }
}

// Factors of a row: 1 / 8 at frequency 0 of both directions, sqrt(2) / 8 at that of one, 2 / 8 elsewhere.
template <bool first>
[[gnu::always_inline]] inline void scaleRow(Eight *row, int half) {
    constexpr float corner = first ? 0.125f : 0.17677669529663688110f;
    constexpr float other = first ? 0.17677669529663688110f : 0.25f;
    Eight factors = Eight{} + other;
    if (half == 0) factors[0] = corner;
    *row = *row * factors;
}
[[gnu::always_inline]] inline void scaleSquare(Square *square) {
    for (int h = 0; h < HALVES; ++h) {
        scaleRow<true>(&square->part[h][0], h);
        for (int r = 1; r < 8; ++r)
            scaleRow<false>(&square->part[h][r], h);
    }
}

void eight(const float *const *in, float *const *out, bool inverse) {
    Square square;
    for (int r = 0; r < 8; ++r) {
        for (int h = 0; h < HALVES; ++h)
            square.part[h][r] = ownLoadLoose<NARROW>(in[r] + h * NARROW);
    }
    if (inverse) scaleSquare(&square);
    for (int direction = 0; direction < 2; ++direction) {
        for (auto &part : square.part) {
            if (inverse) {
                eightSamples(part);
            } else {
                eightSums(part);
            }
        }
        transposeSquare(&square);
    }
    if (!inverse) scaleSquare(&square);
    for (int r = 0; r < 8; ++r) {
        for (int h = 0; h < HALVES; ++h)
            ownStoreLoose<NARROW>(out[r] + h * NARROW, square.part[h][r]);
    }
}

}  // namespace

extern const OwnDctRows dctRows;
const OwnDctRows dctRows = {spread, fromSpectrum, toSpectrum, sum, turn, pairs, eight, fixedBlock};

}  // namespace OWN_LEVEL
