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
// of the oldest, so that three steps are a round. `borrow` is the carry with its sign turned: all ones, or 0. The
// difference is kept apart from it, so that the chain from carry to carry is two instructions long.
[[gnu::always_inline]] inline void step(uint32_t middle, uint32_t *oldest, uint32_t *borrow) {
    uint32_t difference = middle - *oldest;
#if defined(__GNUC__)
    __asm__("" : "+r"(difference));
#endif
    const uint32_t t = difference + *borrow;
    *borrow = static_cast<uint32_t>(static_cast<int32_t>(t) >> 31);
    *oldest = t + (*borrow & (0u - 18u));
}

// The lags at work, and how far they have come with a batch of words.
class Chain {
  public:
    explicit Chain(const OwnNoiseGenerator &from) : s1_(from.s1), s2_(from.s2), s3_(from.s3), borrow_(0 - from.carry) {}

    // The next `count` words, a multiple of 3, as far as they go.
    [[gnu::always_inline]] void draw(uint32_t *words, int count) {
        const int end = at_ + count < OWN_NOISE_WORDS ? at_ + count : OWN_NOISE_WORDS;
        for (; at_ < end; at_ += 3) {
            step(s2_, &s3_, &borrow_);
            words[at_] = s3_;
            step(s1_, &s2_, &borrow_);
            words[at_ + 1] = s2_;
            step(s3_, &s1_, &borrow_);
            words[at_ + 2] = s1_;
        }
    }

    // The rest of the batch, with the congruential part added to all of it.
    void finish(OwnNoiseGenerator *generator, uint32_t *words) {
        draw(words, OWN_NOISE_WORDS);
        generator->s1 = s1_, generator->s2 = s2_, generator->s3 = s3_, generator->carry = 0 - borrow_;
        static constexpr Leaps leaps = makeLeaps();
        uint32_t x = generator->x;
        for (int i = 0; i < OWN_NOISE_WORDS; i += LEAP) {
            for (int k = 0; k < LEAP; ++k)
                words[i + k] += x * leaps.factor[k] + leaps.summand[k];
            x = x * leaps.factor[LEAP - 1] + leaps.summand[LEAP - 1];
        }
        generator->x = x;
    }

  private:
    uint32_t s1_, s2_, s3_, borrow_;
    int at_ = 0;
};

void drawWords(OwnNoise *noise) {
    Chain(noise->generator).finish(&noise->generator, noise->words);
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

// Toward zero, for what is below 2^52.
[[gnu::always_inline]] inline double truncated(double value) {
#if defined(__SSE4_1__)
    return __builtin_trunc(value);
#else
    constexpr double INTEGERS = 0x1p52;
    const double size = value < 0 ? -value : value;
    const double nearest = (size + INTEGERS) - INTEGERS;
    const double below = nearest - (nearest > size ? 1.0 : 0.0);
    return value < 0 ? -below : below;
#endif
}

// Even numbers: a word's share of the span.
template <class D>
struct Uniform {
    using Number = int32_t;
    static int make(OwnNoise *noise, Number *numbers) {
        drawWords(noise);
        const uint32_t *words = noise->words;
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
    static int make(OwnNoise *noise, Number *numbers) {
        drawWords(noise);
        const uint32_t *words = noise->words;
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
    static int make(OwnNoise *noise, Number *numbers) {
        drawWords(noise);
        const uint32_t *words = noise->words;
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
    static int make(OwnNoise *noise, Number *numbers) {
        drawWords(noise);
        const uint32_t *words = noise->words;
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
constexpr int ROUND_PAIRS = 8;   // factors are made for so many pairs at a time
constexpr int ROUND_WORDS = 21;  // and meanwhile so many words, of which a batch is then mostly drawn

// Pairs of words whose point lies within the circle and beside its centre, in order, the second word first; and the
// squares of their distances.
struct Pairs {
    alignas(64) uint32_t words[2 * (PAIRS + ROUND_PAIRS)];
    alignas(64) double squares[PAIRS + ROUND_PAIRS];
};

#if defined(__AVX2__)

// Where the words of the pairs that are kept come from, by the bits of four pairs: the pairs' as they stand, which are
// those of their squares as well, and with the words of each exchanged.
struct Places {
    alignas(32) uint32_t straight[16][8], exchanged[16][8];
};
constexpr Places makePlaces() {
    Places places = {};
    for (uint32_t bits = 0; bits < 16; ++bits) {
        uint32_t to = 0;
        for (uint32_t pair = 0; pair < 4; ++pair) {
            if ((bits >> pair & 1) == 0) continue;
            places.straight[bits][to] = places.exchanged[bits][to + 1] = 2 * pair;
            places.straight[bits][to + 1] = places.exchanged[bits][to] = 2 * pair + 1;
            to += 2;
        }
    }
    return places;
}

int keepPairs(const uint32_t *words, Pairs *kept) {
    static constexpr Places places = makePlaces();
    const __m256d unit = _mm256_set1_pd(UNIT), one = _mm256_set1_pd(1.0), zero = _mm256_setzero_pd();
    int count = 0;
    for (int i = 0; i < PAIRS; i += 4) {
        const __m256i four = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(words + 2 * i));
        const __m256d first = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(four)), unit);
        const __m256d second = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(four, 1)), unit);
        const __m256d sums = _mm256_hadd_pd(_mm256_mul_pd(first, first), _mm256_mul_pd(second, second));
        const __m256d squares = _mm256_permute4x64_pd(sums, 0xD8);
        const __m256d within =
            _mm256_and_pd(_mm256_cmp_pd(squares, one, _CMP_LT_OQ), _mm256_cmp_pd(squares, zero, _CMP_NEQ_OQ));
        const int bits = _mm256_movemask_pd(within);
        const __m256i straight = _mm256_load_si256(reinterpret_cast<const __m256i *>(places.straight[bits]));
        const __m256i exchanged = _mm256_load_si256(reinterpret_cast<const __m256i *>(places.exchanged[bits]));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(kept->words + 2 * count),
                            _mm256_permutevar8x32_epi32(four, exchanged));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(kept->squares + count),
                            _mm256_permutevar8x32_epi32(_mm256_castpd_si256(squares), straight));
        count += __builtin_popcount(static_cast<unsigned>(bits));
    }
    return count;
}

#else

int keepPairs(const uint32_t *words, Pairs *kept) {
    double squares[PAIRS];
    uint32_t within[PAIRS];
    for (int i = 0; i < PAIRS; ++i) {
        const double u = signedUnit(words[2 * i]), w = signedUnit(words[2 * i + 1]);
        squares[i] = u * u + w * w;
        within[i] = squares[i] < 1.0 && squares[i] != 0.0 ? 1 : 0;
    }
    int count = 0;
    for (int i = 0; i < PAIRS; ++i) {
        kept->words[2 * count] = words[2 * i + 1];
        kept->words[2 * count + 1] = words[2 * i];
        kept->squares[count] = squares[i];
        count += static_cast<int>(within[i]);
    }
    return count;
}

#endif

// Normal deviates, two for each pair (Marsaglia's polar method; Knuth, "The Art of Computer Programming", 3.4.1): a
// pair's words times its factor.
struct Deviates {
    Pairs pairs;
    alignas(64) double factors[2 * (PAIRS + ROUND_PAIRS)];

    [[gnu::always_inline]] double at(int i) const { return factors[i] * signedUnit(pairs.words[i]); }

    // From the words at hand; their number. The words of the next batch are drawn in between: their chain and the
    // divisions and roots do not wait for one another.
    int draw(OwnNoise *noise) {
        if (!noise->hasWords) drawWords(noise);
        noise->hasWords = true;
        const int count = keepPairs(noise->words, &pairs);
        for (int i = count; i < count + ROUND_PAIRS; ++i) {
            pairs.words[2 * i] = pairs.words[2 * i + 1] = 0;
            pairs.squares[i] = 0.5;
        }
        Chain chain(noise->generator);
        for (int i = 0; i < count; i += ROUND_PAIRS) {
            for (int k = i; k < i + ROUND_PAIRS; ++k) {
                const double q = pairs.squares[k];
                const double f = __builtin_sqrt(-2 * ownLogarithm(q) / q);
                factors[2 * k] = factors[2 * k + 1] = f;
            }
            chain.draw(noise->words, ROUND_WORDS);
        }
        chain.finish(&noise->generator, noise->words);
        return 2 * count;
    }
};

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
    static int make(OwnNoise *noise, Number *numbers) {
        constexpr double LIMIT = 4.0 * (1 << 8 * sizeof(typename D::Value));
        Deviates deviates;
        const int count = deviates.draw(noise);
        const double mean = noise->bias, scale = noise->scale, lowest = -LIMIT - mean, highest = LIMIT - mean;
        for (int i = 0; i < count; ++i) {
            const double value = deviates.at(i) * scale;
            const double above = value > lowest ? value : lowest;
            const double within = above < highest ? above : highest;
            numbers[i] = static_cast<Number>(static_cast<int32_t>(truncated(within) + mean));
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
    static int make(OwnNoise *noise, Number *numbers) {
        Deviates deviates;
        const int count = deviates.draw(noise);
        const double mean = noise->bias, scale = noise->scale;
        for (int i = 0; i < count; ++i)
            numbers[i] = truncated(deviates.at(i) * scale) + mean;
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
    static int make(OwnNoise *noise, Number *numbers) {
        Deviates deviates;
        const int count = deviates.draw(noise);
        const double scale = noise->scale;
        for (int i = 0; i < count; ++i)
            numbers[i] = deviates.at(i) * scale;
        return count;
    }
    static float add(float sample, Number number, double bias) { return Uniform<Own32F>::add(sample, number, bias); }
};

// --------------------------------------------------------------------------------------------------------------- rows

template <class D>
constexpr bool isReal(D) {
    return false;
}
constexpr bool isReal(Own32F) {
    return true;
}
inline bool isFinite(double value) {
    return value - value == 0;
}

template <class D, class Kind>
struct Noise {
    using Value = typename D::Value;
    using Number = typename Kind::Number;

    static OwnNoise *of(const OwnConstant &constant) {
        return static_cast<OwnNoise *>(const_cast<void *>(constant.table));
    }

    // A batch may come out empty.
    static void refill(OwnNoise *noise) {
        while (noise->next == noise->count) {
            noise->count = Kind::make(noise, numbersOf(noise, Number{}));
            noise->next = 0;
        }
    }

    // Memory that is added to next comes while words are drawn.
    static void ask(const typename D::Sample *a, size_t n) {
        const size_t bytes = (n < OWN_NOISE_WORDS ? n : OWN_NOISE_WORDS) * sizeof *a;
        for (size_t at = 0; at < bytes; at += 64)
            __builtin_prefetch(reinterpret_cast<const char *>(a) + at, 1);
    }

    static void plain(const void *a_, const void *, void *d_, size_t n, const OwnConstant &constant) {
        const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        OwnNoise *noise = of(constant);
        const double bias = noise->bias;
        for (size_t i = 0; i < n;) {
            if (noise->next == noise->count) ask(a + i, n - i);
            refill(noise);
            const Number *numbers = numbersOf(noise, Number{}) + noise->next;
            const size_t left = static_cast<size_t>(noise->count - noise->next);
            const size_t count = n - i < left ? n - i : left;
            if (isReal(D{}) && isFinite(noise->bias) && isFinite(noise->scale)) {
                // One operand of each sum at most is no number.
                OWN_ELEMENTWISE
                for (size_t k = 0; k < count; ++k)
                    d[i + k] = static_cast<Value>(static_cast<double>(a[i + k]) + bias + numbers[k]);
            } else {
                OWN_ELEMENTWISE
                for (size_t k = 0; k < count; ++k)
                    d[i + k] = Kind::add(a[i + k], numbers[k], bias);
            }
            i += count;
            noise->next += static_cast<int>(count);
        }
    }

    // By blocks, for each of which the numbers are laid out under its lanes first.
    static void masked(const void *a_, const void *, void *d_, size_t n, const OwnConstant &constant,
                       const void *lanes_) {
        constexpr size_t BLOCK = 64;
        const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
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
                d[i + k] = ownSelect<D>(lanes[i + k], Kind::add(a[i + k], spread[k], bias), d[i + k]);
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
