// Kernels of error diffusion. A pixel needs the errors of those before it in its row, so that a row by itself is one
// long chain. Rows can be done side by side, though, as long as each keeps some columns behind the one above it: lane i
// of a vector is row i of a band, and at step t it is at column t - lag x i. Errors reach the lane below by a shift;
// into the first lane come those of the last row of the band before. Every pixel's arithmetic is that of the plain
// order.
#include "color/owndith.h"
#include "color/ownpack.h"

// Vectors of eight samples are wider than what the baseline has: they never leave a function.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

namespace {

constexpr int LANES = OWN_BAND_ROWS;
typedef double Reals __attribute__((vector_size(8 * LANES)));
typedef int64_t Masks __attribute__((vector_size(8 * LANES)));
typedef float Floats __attribute__((vector_size(4 * LANES)));
typedef int32_t Words __attribute__((vector_size(4 * LANES)));
static_assert(LANES == 8);

// Steps whose samples are at hand at a time.
constexpr int STEPS = 256;

// A filter's weights, by column from -2 on; which of the rows above it has; what its sum is multiplied with.
struct FloydSteinberg {
    static constexpr int reach = 1, rows = 1;
    static constexpr double above[5] = {0, 1, 5, 3, 0}, twoAbove[5] = {}, left[2] = {0, 7};
    static constexpr double weight = 0.0625;
};
struct JarvisJudiceNinke {
    static constexpr int reach = 2, rows = 2;
    static constexpr double above[5] = {3, 5, 7, 5, 3}, twoAbove[5] = {1, 3, 5, 3, 1}, left[2] = {5, 7};
    static constexpr double weight = 0.020833333333333332;
};
struct Stucki {
    static constexpr int reach = 2, rows = 2;
    static constexpr double above[5] = {2, 4, 8, 4, 2}, twoAbove[5] = {1, 2, 4, 2, 1}, left[2] = {4, 8};
    static constexpr double weight = 0.023809523809523808;
};

// By the source's samples: how they are loaded, and what brings signed ones to the unsigned range.
struct Diffuse8 {
    typedef uint8_t Sample;
    static constexpr double bias = 0, range = 256;
};
struct Diffuse16 {
    typedef OwnAnyU16 Sample;
    static constexpr double bias = 0, range = 65536;
};
struct Diffuse32 {
    typedef OwnAnyS32 Sample;
    static constexpr double bias = 2147483648.0, range = 4294967296.0;
};

// What a value becomes: one of two, with a bit as result, or a multiple of the step by one threshold or by those of the
// noise.
enum Form { TO_BITS, TO_LEVELS, TO_LEVELS_BY_NOISE };

[[gnu::always_inline]] inline Reals toReals(const int32_t *words) {
    Words lanes;
    __builtin_memcpy(&lanes, words, sizeof lanes);
    return __builtin_convertvector(lanes, Reals);
}

[[gnu::always_inline]] inline Reals toReals(const float *floats) {
    Floats lanes;
    __builtin_memcpy(&lanes, floats, sizeof lanes);
    return __builtin_convertvector(lanes, Reals);
}

// Lane i is the one above it of lanes; into the first comes an error of the row above the band.
[[gnu::always_inline]] inline Reals shiftDown(const Reals &lanes, float first) {
    const Reals entering = {static_cast<double>(first)};
    return __builtin_shufflevector(entering, lanes, 0, 8, 9, 10, 11, 12, 13, 14);
}

// A bit for each lane of a mask, the first at the bottom.
[[gnu::always_inline]] inline uint8_t laneBits(const Masks &mask) {
#if defined(__AVX512DQ__)
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(mask));
#else
    unsigned bits = 0;
    for (int i = 0; i < LANES; ++i)
        bits |= static_cast<unsigned>(mask[i] & 1) << i;
    return static_cast<uint8_t>(bits);
#endif
}

// The nearest whole number, ties to even: the addition leaves no bits for a fraction. Its low bits are the number's.
constexpr double TO_WHOLE = 6755399441055744.0;

template <class S, class Filter, Form form>
class Diffuser {
  public:
    Diffuser(const OwnReduction &reduction, const OwnReduceBand &band)
        : reduction_(reduction), band_(band), width_(static_cast<int64_t>(band.width)) {}

    void run() {
        begin();
        const int64_t steps = width_ + LAG * (band_.rows - 1);
        for (int64_t from = 0; from < steps; from += STEPS) {
            const int64_t to = from + STEPS < steps ? from + STEPS : steps;
            load(from, to);
            // Between its ramps the band has all its lanes within the row.
            int64_t first = from > RAMP ? from : RAMP, last = to < width_ ? to : width_;
            if (first >= last) first = last = to;
            runSteps<true>(from, from, first);
            runSteps<false>(from, first, last);
            runSteps<true>(from, last, to);
            carryErrors(from, to);
            if constexpr (form == TO_BITS) {
                storeBits(to, to == steps);
            } else {
                store(from, to);
            }
        }
    }

  private:
    using Sample = typename S::Sample;
    static constexpr int REACH = Filter::reach;
    // The error to the upper right is two steps old, so that the shift does not wait for the step before.
    static constexpr int LAG = REACH + 2;
    static constexpr int RAMP = LAG * (LANES - 1);
    static constexpr int COLUMNS = 2 * REACH + 1;

    // Errors at hand, by age: of the row itself, and of the rows above from the column farthest right.
    struct State {
        Reals left[2];
        Reals above[COLUMNS];
        Reals twoAbove[COLUMNS];
    };

    void begin() {
        for (int k = 0; k < 2; ++k)
            state_.left[k] = Reals{};
        for (int k = 0; k < COLUMNS; ++k) {
            state_.above[k] = Reals{static_cast<double>(band_.above[REACH - 1 - k])};
            state_.twoAbove[k] = Reals{static_cast<double>(band_.twoAbove[REACH - 1 - k])};
        }
    }

    // Calls f(step within the chunk, column) for the steps of a row.
    template <class F>
    void forColumns(int row, int64_t from, int64_t to, F f) const {
        const int64_t behind = LAG * row;
        const int64_t first = from > behind ? from : behind, last = to < width_ + behind ? to : width_ + behind;
        for (int64_t t = first; t < last; ++t)
            f(t - from, t - behind);
    }

    void load(int64_t from, int64_t to) {
        for (int row = 0; row < band_.rows; ++row) {
            const Sample *src = static_cast<const Sample *>(band_.src[row]);
            forColumns(row, from, to, [&](int64_t k, int64_t x) { samples_[k * LANES + row] = src[x]; });
            if constexpr (form == TO_LEVELS_BY_NOISE) {
                const auto start = static_cast<uint64_t>(2 * (band_.y + row));
                forColumns(row, from, to, [&](int64_t k, int64_t x) {
                    const uint64_t entry = start + static_cast<uint64_t>(x) + reduction_.indices[x % OWN_NOISE_ENTRIES];
                    thresholds_[k * LANES + row] = reduction_.thresholds[entry % OWN_NOISE_ENTRIES];
                });
            }
        }
    }

    template <bool ramp>
    void runSteps(int64_t chunk, int64_t from, int64_t to) {
        State state = state_;
        const double full = reduction_.full, step = reduction_.step, half = full / 2;
        const double perUnit = reduction_.levels / S::range;
        for (int64_t t = from; t < to; ++t) {
            const int64_t k = t - chunk;
            enter(&state, t);
            const Reals v = toReals(samples_ + k * LANES) + S::bias + gather(state) * Filter::weight;
            Reals left;  // less the output
            if constexpr (form == TO_BITS) {
                const Masks isFull = v > half;
                left = isFull ? v - full : v;
                marks_[t - marked_] = laneBits(isFull);
            } else {
                Reals threshold = Reals{} + step * 0.5;
                if constexpr (form == TO_LEVELS_BY_NOISE) threshold = toReals(thresholds_ + k * LANES);
                const Reals low = (v * perUnit - 0.5 + TO_WHOLE - TO_WHOLE) * step;
                Reals output = v - low > threshold ? low + step : low;
                output = v < 0.0 ? Reals{} + 1e-07 : output;
                output = v >= full ? Reals{} + full : output;
                left = v - output;
                const Reals whole = output - S::bias + TO_WHOLE;
                const Words words = __builtin_convertvector(reinterpret_cast<Masks>(whole), Words);
                __builtin_memcpy(outputs_ + k * LANES, &words, sizeof words);
            }
            Floats errors = __builtin_convertvector(left, Floats);
            if constexpr (ramp) errors = withinRow(t) ? errors : Floats{};
            __builtin_memcpy(errors_ + k * LANES, &errors, sizeof errors);
            state.left[1] = state.left[0];
            state.left[0] = __builtin_convertvector(errors, Reals);
        }
        state_ = state;
    }

    // The errors of the rows above move one column on.
    [[gnu::always_inline]] void enter(State *state, int64_t t) const {
        if constexpr (Filter::rows > 1) {
            const Reals entering = shiftDown(state->above[LAG - 1], band_.twoAbove[t + REACH]);
            for (int k = COLUMNS - 1; k > 0; --k)
                state->twoAbove[k] = state->twoAbove[k - 1];
            state->twoAbove[0] = entering;
        }
        const Reals entering = shiftDown(state->left[1], band_.above[t + REACH]);
        for (int k = COLUMNS - 1; k > 0; --k)
            state->above[k] = state->above[k - 1];
        state->above[0] = entering;
    }

    // The weighted sum, in the order of memory.
    [[gnu::always_inline]] static Reals gather(const State &state) {
        Reals sum = {};
        if constexpr (Filter::rows > 1) {
            for (int k = 0; k < COLUMNS; ++k)
                sum += state.twoAbove[COLUMNS - 1 - k] * Filter::twoAbove[2 - REACH + k];
        }
        for (int k = 0; k < COLUMNS; ++k)
            sum += state.above[COLUMNS - 1 - k] * Filter::above[2 - REACH + k];
        for (int k = 2 - REACH; k < 2; ++k)
            sum += state.left[1 - k] * Filter::left[k];
        return sum;
    }

    // Lanes that are at a column of the row.
    [[gnu::always_inline]] Words withinRow(int64_t t) const {
        Words within;
        for (int lane = 0; lane < LANES; ++lane) {
            const int64_t x = t - LAG * lane;
            within[lane] = x >= 0 && x < width_ ? -1 : 0;
        }
        return within;
    }

    // The last rows are those above the next band. What is overwritten here has been read.
    void carryErrors(int64_t from, int64_t to) {
        const int last = band_.rows - 1;
        float *above = band_.above, *twoAbove = band_.twoAbove;
        if (Filter::rows > 1 && last > 0) {
            forColumns(last - 1, from, to, [&](int64_t k, int64_t x) { twoAbove[x] = errors_[k * LANES + last - 1]; });
        } else if (Filter::rows > 1) {
            forColumns(0, from, to, [&](int64_t, int64_t x) { twoAbove[x] = above[x]; });
        }
        forColumns(last, from, to, [&](int64_t k, int64_t x) { above[x] = errors_[k * LANES + last]; });
    }

    template <class D>
    void storeAs(int row, int64_t from, int64_t to) {
        D *dst = static_cast<D *>(band_.dst[row]);
        // Signed samples come out in their own range, of which the top bits are taken in the unsigned one.
        const uint32_t bias = reduction_.dropped == 0 ? 0 : static_cast<uint32_t>(S::bias);
        const int dropped = reduction_.dropped;
        forColumns(row, from, to, [&](int64_t k, int64_t x) {
            dst[x] = static_cast<D>((outputs_[k * LANES + row] ^ bias) >> dropped);
        });
    }

    void store(int64_t from, int64_t to) {
        for (int row = 0; row < band_.rows; ++row) {
            if (reduction_.dstBytes == 1) {
                storeAs<uint8_t>(row, from, to);
            } else if (reduction_.dstBytes == 2) {
                storeAs<OwnAnyU16>(row, from, to);
            } else {
                storeAs<OwnAnyU32>(row, from, to);
            }
        }
    }

    // Bits are stored as whole bytes, as far as all rows have come.
    void storeBits(int64_t to, bool end) {
        const int64_t done = end ? width_ : (to - LAG * (band_.rows - 1)) & ~int64_t{7};
        if (done <= marked_) return;
        for (int row = 0; row < band_.rows; ++row) {
            ownPackBits(marks_ + LAG * row, 7 - row, static_cast<size_t>(done - marked_),
                        static_cast<uint8_t *>(band_.dst[row]) + marked_ / 8);
        }
        __builtin_memmove(marks_, marks_ + (done - marked_), static_cast<size_t>(to - done));
        marked_ = done;
    }

    const OwnReduction &reduction_;
    const OwnReduceBand &band_;
    const int64_t width_;
    State state_;
    int64_t marked_ = 0;  // the column whose marks come first
    int32_t samples_[STEPS * LANES] = {};
    float thresholds_[form == TO_LEVELS_BY_NOISE ? STEPS * LANES : 1];
    float errors_[STEPS * LANES];
    uint32_t outputs_[form == TO_BITS ? 1 : STEPS * LANES];
    uint8_t marks_[form == TO_BITS ? STEPS + RAMP + 16 : 1];
};

template <class S, class Filter>
void diffuse(const OwnReduction &reduction, const OwnReduceBand &band) {
    if (reduction.dstBytes == 0) {
        Diffuser<S, Filter, TO_BITS>(reduction, band).run();
    } else if (reduction.thresholds) {
        Diffuser<S, Filter, TO_LEVELS_BY_NOISE>(reduction, band).run();
    } else {
        Diffuser<S, Filter, TO_LEVELS>(reduction, band).run();
    }
}

}  // namespace

namespace OWN_LEVEL {

extern const OwnDiffuseRows diffuseRows;
const OwnDiffuseRows diffuseRows = {
    {diffuse<Diffuse8, FloydSteinberg>, diffuse<Diffuse16, FloydSteinberg>, diffuse<Diffuse32, FloydSteinberg>},
    {diffuse<Diffuse8, JarvisJudiceNinke>, diffuse<Diffuse16, JarvisJudiceNinke>,
     diffuse<Diffuse32, JarvisJudiceNinke>},
    {diffuse<Diffuse8, Stucki>, diffuse<Diffuse16, Stucki>, diffuse<Diffuse32, Stucki>},
};

}  // namespace OWN_LEVEL
