// Noise, compiled once for each CPU level. The generator is a short serial chain and runs by itself, a batch of words
// at a time; what makes numbers of the words, and adds them, are loops over whole vectors.
#include "core/ownseries.h"
#include "frame/ownsample.h"
#include "synth/ownnoise.h"

namespace OWN_LEVEL {
namespace {

// ---------------------------------------------------------------------------------------------------------- generator

constexpr uint32_t FACTOR = 69069, SUMMAND = 1013904243;

// x after k + 1 steps is x factor[k] + summand[k].
constexpr int LEAP = 64;
struct Leaps {
    uint32_t factor[LEAP], summand[LEAP];
};
constexpr Leaps makeLeaps() {
    Leaps leaps = {};
    uint32_t factor = 1, summand = 0;
    for (int k = 0; k < LEAP; ++k) {
        factor *= FACTOR;
        summand = summand * FACTOR + SUMMAND;
        leaps.factor[k] = factor;
        leaps.summand[k] = summand;
    }
    return leaps;
}

// t = s2 - s3 - carry, and the new carry is its sign; 18 less where it is set. The newest of the lags takes the place
// of the oldest, so that three steps are a round.
[[gnu::always_inline]] inline void step(uint32_t middle, uint32_t *oldest, uint32_t *carry) {
    const uint32_t t = (middle - *oldest) - *carry;
    *carry = t >> 31;
    *oldest = t - 18 * *carry;
}

void drawWords(OwnNoiseGenerator *generator, uint32_t *words) {
    uint32_t s1 = generator->s1, s2 = generator->s2, s3 = generator->s3, carry = generator->carry;
    for (int i = 0; i < OWN_NOISE_WORDS; i += 3) {
        step(s2, &s3, &carry);
        words[i] = s3;
        step(s1, &s2, &carry);
        words[i + 1] = s2;
        step(s3, &s1, &carry);
        words[i + 2] = s1;
    }
    generator->s1 = s1, generator->s2 = s2, generator->s3 = s3, generator->carry = carry;

    static constexpr Leaps leaps = makeLeaps();
    uint32_t x = generator->x;
    for (int i = 0; i < OWN_NOISE_WORDS; i += LEAP) {
        for (int k = 0; k < LEAP; ++k)
            words[i + k] += x * leaps.factor[k] + leaps.summand[k];
        x = x * leaps.factor[LEAP - 1] + leaps.summand[LEAP - 1];
    }
    generator->x = x;
}

// ------------------------------------------------------------------------------------------------------------ numbers

// Where a kind of noise keeps its numbers: small ones beside small samples, so that sums stay narrow.
inline int16_t *numbersOf(OwnNoise *noise, int16_t) {
    return noise->shorts;
}
inline int32_t *numbersOf(OwnNoise *noise, int32_t) {
    return noise->ints;
}
inline double *numbersOf(OwnNoise *noise, double) {
    return noise->reals;
}

// The sum of two numbers, of which the first one's payload is kept where both are none.
[[gnu::always_inline]] inline double sum(double a, double b) {
    return a + (a != a ? a : b);
}

template <class D>
[[gnu::always_inline]] inline typename D::Value clamped(int32_t value) {
    const int32_t above = value > D::low ? value : D::low;
    return static_cast<typename D::Value>(above < D::high ? above : D::high);
}

// Toward zero, for what is below 2^52. A processor has no vector instruction for it everywhere.
[[gnu::always_inline]] inline double truncated(double value) {
    constexpr double UNIT = 0x1p52;
    const double size = value < 0 ? -value : value;
    const double nearest = (size + UNIT) - UNIT;
    const double below = nearest - (nearest > size ? 1.0 : 0.0);
    return value < 0 ? -below : below;
}

// Even numbers: a word's share of the span.
template <class D>
struct Uniform {
    using Number = int32_t;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        const uint32_t low = static_cast<uint32_t>(noise->low), span = noise->span;
        for (int i = 0; i < OWN_NOISE_WORDS; ++i)
            numbers[i] = static_cast<Number>(low + static_cast<uint32_t>(uint64_t{words[i]} * span >> 32));
        return OWN_NOISE_WORDS;
    }
    static typename D::Value add(typename D::Value sample, Number number, double) {
        return clamped<D>(sample + number);
    }
};

template <class D>
struct SmallUniform {
    using Number = int16_t;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        const uint32_t low = static_cast<uint32_t>(noise->low), span = noise->span;
        for (int i = 0; i < OWN_NOISE_WORDS; ++i)
            numbers[i] = static_cast<Number>(low + static_cast<uint32_t>(uint64_t{words[i]} * span >> 32));
        return OWN_NOISE_WORDS;
    }
    static typename D::Value add(typename D::Value sample, Number number, double) {
        return clamped<D>(static_cast<int16_t>(sample + number));
    }
};
template <>
struct Uniform<Own8U> : SmallUniform<Own8U> {};
template <>
struct Uniform<Own8S> : SmallUniform<Own8S> {};

// A word as a number, by way of a signed one.
[[gnu::always_inline]] inline double wordAsReal(uint32_t word) {
    return static_cast<double>(static_cast<int32_t>(word ^ 0x80000000u)) + 2147483648.0;
}

// Spans of 32 bits: the product is rounded to a double before it is cut, and the sum is one modulo 2^32.
template <>
struct Uniform<Own32S> {
    using Number = int32_t;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        const uint32_t low = static_cast<uint32_t>(noise->low);
        const double scale = noise->span * 0x1p-32;
        for (int i = 0; i < OWN_NOISE_WORDS; ++i) {
            const double part = wordAsReal(words[i]) * scale;
            const bool large = part >= 2147483648.0;
            const auto whole = static_cast<uint32_t>(static_cast<int32_t>(part - (large ? 2147483648.0 : 0.0)));
            numbers[i] = static_cast<Number>(low + whole + (large ? 0x80000000u : 0u));
        }
        return OWN_NOISE_WORDS;
    }
    static int32_t add(int32_t sample, Number number, double) {
        return static_cast<int32_t>(static_cast<uint32_t>(sample) + static_cast<uint32_t>(number));
    }
};

template <>
struct Uniform<Own32F> {
    using Number = double;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        const double scale = noise->scale;
        for (int i = 0; i < OWN_NOISE_WORDS; ++i)
            numbers[i] = wordAsReal(words[i]) * scale;
        return OWN_NOISE_WORDS;
    }
    static float add(float sample, Number number, double bias) {
        return static_cast<float>(sum(sum(static_cast<double>(sample), bias), number));
    }
};

// --------------------------------------------------------------------------------------------------------- Gaussian

// Just below 2^-31.
constexpr double UNIT = 0x1.ffffffffffd09p-32;

[[gnu::always_inline]] inline double signedUnit(uint32_t word) {
    return static_cast<double>(static_cast<int32_t>(word)) * UNIT;
}

constexpr int PAIRS = OWN_NOISE_WORDS / 2;
constexpr int ROUND_PAIRS = 8;  // deviates are made for so many pairs at a time

// The pairs of words whose point lies within the circle and beside its centre, in order; their number.
int keepPairs(const uint32_t *words, uint32_t *kept) {
    uint32_t within[PAIRS];
    for (int i = 0; i < PAIRS; ++i) {
        const double u = signedUnit(words[2 * i]), w = signedUnit(words[2 * i + 1]);
        const double q = u * u + w * w;
        within[i] = q < 1.0 && q != 0.0 ? 1 : 0;
    }
    int count = 0;
    for (int i = 0; i < PAIRS; ++i) {
        __builtin_memcpy(kept + 2 * count, words + 2 * i, 2 * sizeof *words);
        count += static_cast<int>(within[i]);
    }
    return count;
}

// Normal deviates, two for each pair (Marsaglia's polar method; Knuth, "The Art of Computer Programming", 3.4.1).
int drawDeviates(const uint32_t *words, double *deviates) {
    alignas(64) uint32_t kept[2 * (PAIRS + ROUND_PAIRS)];
    const int count = keepPairs(words, kept);
    for (int i = 2 * count; i < 2 * (count + ROUND_PAIRS); ++i)
        kept[i] = 0x40000000;
    for (int i = 0; i < count; i += ROUND_PAIRS) {
        for (int k = i; k < i + ROUND_PAIRS; ++k) {
            const double u = signedUnit(kept[2 * k]), w = signedUnit(kept[2 * k + 1]);
            const double q = u * u + w * w;
            const double f = __builtin_sqrt(-2 * ownLogarithm(q) / q);
            deviates[2 * k] = f * w;
            deviates[2 * k + 1] = f * u;
        }
    }
    return 2 * count;
}

constexpr int MOST_DEVIATES = OWN_NOISE_WORDS + 2 * ROUND_PAIRS;

template <bool first, class A, class B>
struct Choice {
    using Type = A;
};
template <class A, class B>
struct Choice<false, A, B> {
    using Type = B;
};

// Numbers beyond the limits lead to the ends of the depth from every sample.
template <class D>
struct Gaussian {
    using Number = typename Choice<sizeof(typename D::Value) == 1, int16_t, int32_t>::Type;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        constexpr double LIMIT = 4.0 * (1 << 8 * sizeof(typename D::Value));
        alignas(64) double deviates[MOST_DEVIATES];
        const int count = drawDeviates(words, deviates);
        const double mean = noise->bias, scale = noise->scale;
        for (int i = 0; i < count; ++i) {
            const double value = truncated(deviates[i] * scale) + mean;
            const double above = value > -LIMIT ? value : -LIMIT;
            numbers[i] = static_cast<Number>(static_cast<int32_t>(above < LIMIT ? above : LIMIT));
        }
        return count;
    }
    static typename D::Value add(typename D::Value sample, Number number, double) {
        return clamped<D>(static_cast<Number>(sample + number));
    }
};

// All sums are integers that a double holds.
template <>
struct Gaussian<Own32S> {
    using Number = double;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        alignas(64) double deviates[MOST_DEVIATES];
        const int count = drawDeviates(words, deviates);
        const double mean = noise->bias, scale = noise->scale;
        for (int i = 0; i < count; ++i)
            numbers[i] = truncated(deviates[i] * scale) + mean;
        return count;
    }
    static int32_t add(int32_t sample, Number number, double) {
        const double value = static_cast<double>(sample) + number;
        const double above = value > -2147483648.0 ? value : -2147483648.0;
        return static_cast<int32_t>(above < 2147483647.0 ? above : 2147483647.0);
    }
};

template <>
struct Gaussian<Own32F> {
    using Number = double;
    static int make(OwnNoise *noise, const uint32_t *words, Number *numbers) {
        alignas(64) double deviates[MOST_DEVIATES];
        const int count = drawDeviates(words, deviates);
        const double scale = noise->scale;
        for (int i = 0; i < count; ++i)
            numbers[i] = deviates[i] * scale;
        return count;
    }
    static float add(float sample, Number number, double bias) { return Uniform<Own32F>::add(sample, number, bias); }
};

// --------------------------------------------------------------------------------------------------------------- rows

template <class D, class Kind>
struct Noise {
    using Sample = typename D::Sample;
    using Number = typename Kind::Number;

    static OwnNoise *of(const OwnConstant &constant) {
        return static_cast<OwnNoise *>(const_cast<void *>(constant.table));
    }

    // A batch may come out empty.
    static void refill(OwnNoise *noise) {
        alignas(64) uint32_t words[OWN_NOISE_WORDS];
        while (noise->next == noise->count) {
            drawWords(&noise->generator, words);
            noise->count = Kind::make(noise, words, numbersOf(noise, Number{}));
            noise->next = 0;
        }
    }

    static void plain(const void *, const void *, void *d_, size_t n, const OwnConstant &constant) {
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        OwnNoise *noise = of(constant);
        const double bias = noise->bias;
        for (size_t i = 0; i < n;) {
            refill(noise);
            const Number *numbers = numbersOf(noise, Number{}) + noise->next;
            const size_t left = static_cast<size_t>(noise->count - noise->next);
            const size_t count = n - i < left ? n - i : left;
            OWN_ELEMENTWISE
            for (size_t k = 0; k < count; ++k)
                d[i + k] = Kind::add(d[i + k], numbers[k], bias);
            i += count;
            noise->next += static_cast<int>(count);
        }
    }

    // By blocks, for each of which the numbers are laid out under its lanes first.
    static void masked(const void *, const void *, void *d_, size_t n, const OwnConstant &constant,
                       const void *lanes_) {
        constexpr size_t BLOCK = 64;
        const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        OwnNoise *noise = of(constant);
        const double bias = noise->bias;
        for (size_t i = 0; i < n; i += BLOCK) {
            const size_t count = n - i < BLOCK ? n - i : BLOCK;
            Number spread[BLOCK];
            for (size_t k = 0; k < count; ++k) {
                refill(noise);
                spread[k] = numbersOf(noise, Number{})[noise->next];
                noise->next += lanes[i + k] != 0 ? 1 : 0;
            }
            OWN_ELEMENTWISE
            for (size_t k = 0; k < count; ++k)
                d[i + k] = ownSelect<D>(lanes[i + k], Kind::add(d[i + k], spread[k], bias), d[i + k]);
        }
    }

    static constexpr OwnRowForms forms = {plain, masked, nullptr};
};

}  // namespace

extern const OwnNoiseRows noiseRows;
const OwnNoiseRows noiseRows = {
    {{},
     Noise<Own8U, Uniform<Own8U>>::forms,
     Noise<Own8S, Uniform<Own8S>>::forms,
     Noise<Own16U, Uniform<Own16U>>::forms,
     Noise<Own16S, Uniform<Own16S>>::forms,
     Noise<Own32S, Uniform<Own32S>>::forms,
     Noise<Own32F, Uniform<Own32F>>::forms},
    {{},
     Noise<Own8U, Gaussian<Own8U>>::forms,
     Noise<Own8S, Gaussian<Own8S>>::forms,
     Noise<Own16U, Gaussian<Own16U>>::forms,
     Noise<Own16S, Gaussian<Own16S>>::forms,
     Noise<Own32S, Gaussian<Own32S>>::forms,
     Noise<Own32F, Gaussian<Own32F>>::forms},
};

}  // namespace OWN_LEVEL
