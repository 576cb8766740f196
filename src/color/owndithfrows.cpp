// Kernels of error diffusion. A pixel needs the errors of those before it in its row, so that a row by itself is one
// long chain. Rows can be done side by side, though, as long as each keeps some columns behind the one above it: lane i
// of a vector is row i of a band, and at step t it is at column t - lag x i. Errors reach the lane below by a shift;
// into the first lane come those of the last row of the band before. Every pixel's arithmetic is that of the plain
// order.
#include "color/owndith.h"
#include "color/ownlanes.h"
#include "color/ownpack.h"

namespace {

constexpr int LANES = OWN_BAND_ROWS;
static_assert(LANES == 8);

// Steps whose samples are at hand at a time.
constexpr int STEPS = 256;

// A filter's weights, by column from -2 on; which of the rows above it has; what its sum is multiplied with.
struct FloydSteinberg {
    static constexpr int reach = 1, rows = 1;
    static constexpr double above[5] = {0, 1, 5, 3, 0}, left[2] = {0, 7};
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
        OwnReals left[2];
        OwnReals above[COLUMNS];
        OwnReals twoAbove[COLUMNS];
    };

    void begin() {
        for (int k = 0; k < 2; ++k)
            state_.left[k] = ownReals(0);
        for (int k = 0; k < COLUMNS; ++k) {
            state_.above[k] = ownShiftUp(ownReals(0), band_.above[REACH - 1 - k]);
            state_.twoAbove[k] = ownShiftUp(ownReals(0), band_.twoAbove[REACH - 1 - k]);
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
        const OwnReals full = ownReals(reduction_.full), half = ownReals(reduction_.full / 2);
        const OwnReals step = ownReals(reduction_.step), halfStep = ownReals(reduction_.step * 0.5);
        const OwnReals perUnit = ownReals(reduction_.levels / S::range), toWhole = ownReals(OWN_TO_WHOLE);
        const OwnReals weight = ownReals(Filter::weight), bias = ownReals(S::bias);
        for (int64_t t = from; t < to; ++t) {
            const int64_t k = t - chunk;
            enter(&state, t);
            const OwnReals v = ownToReals(samples_ + k * LANES) + bias + gather(state) * weight;
            OwnReals error;
            if constexpr (form == TO_BITS) {
                const OwnMasks isFull = v > half;
                error = ownSelect(isFull, v - full, v);
                marks_[t - marked_] = ownLaneBits(isFull);
            } else {
                const OwnReals threshold = form == TO_LEVELS_BY_NOISE ? ownToReals(thresholds_ + k * LANES) : halfStep;
                const OwnReals low = (v * perUnit - ownReals(0.5) + toWhole - toWhole) * step;
                OwnReals output = ownSelect(v - low > threshold, low + step, low);
                output = ownSelect(ownReals(0) > v, ownReals(1e-07), output);
                output = ownSelect(v >= full, full, output);
                error = v - output;
                ownStoreLowWords(output - bias + toWhole, outputs_ + k * LANES);
            }
            if constexpr (ramp) error = ownSelect(ownLanesWithin(t, LAG, width_), error, ownReals(0));
            state.left[1] = state.left[0];
            state.left[0] = ownRoundToFloats(error, errors_ + k * LANES);
        }
        state_ = state;
    }

    // The errors of the rows above move one column on.
    [[gnu::always_inline]] void enter(State *state, int64_t t) const {
        if constexpr (Filter::rows > 1) {
            const OwnReals entering = ownShiftUp(state->above[LAG - 1], band_.twoAbove[t + REACH]);
            for (int k = COLUMNS - 1; k > 0; --k)
                state->twoAbove[k] = state->twoAbove[k - 1];
            state->twoAbove[0] = entering;
        }
        const OwnReals entering = ownShiftUp(state->left[1], band_.above[t + REACH]);
        for (int k = COLUMNS - 1; k > 0; --k)
            state->above[k] = state->above[k - 1];
        state->above[0] = entering;
    }

    // The weighted sum, in the order of memory.
    [[gnu::always_inline]] static OwnReals gather(const State &state) {
        OwnReals sum = ownReals(0);
        if constexpr (Filter::rows > 1) {
            for (int k = 0; k < COLUMNS; ++k)
                sum = sum + state.twoAbove[COLUMNS - 1 - k] * ownReals(Filter::twoAbove[2 - REACH + k]);
        }
        for (int k = 0; k < COLUMNS; ++k)
            sum = sum + state.above[COLUMNS - 1 - k] * ownReals(Filter::above[2 - REACH + k]);
        for (int k = 2 - REACH; k < 2; ++k)
            sum = sum + state.left[1 - k] * ownReals(Filter::left[k]);
        return sum;
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
