// Kernels of error diffusion. A pixel needs the errors of those before it in its row, so that a row by itself is one
// long chain. Rows can be done side by side, though, as long as each keeps some columns behind the one above it: lane i
// of a vector is row i of a band, and at step t it is at column t - lag x i. Errors reach the lane below by a shift;
// into the first lane come those of the last row of the band before. Every pixel's arithmetic is that of the plain
// order.
#include "color/owndith.h"
#include "color/ownlanes.h"
#include "frame/ownpack.h"

namespace {

constexpr int LANES = OWN_LANES;
static_assert(OWN_BAND_ROWS % LANES == 0);

// Steps whose samples are at hand at a time.
constexpr int STEPS = 128;

// Steps whose bytes change places at a time.
constexpr int BLOCK = 16;

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

// A result is one of two, as a bit, or a multiple of the step. What differs between depths is in values and not in
// types: these loops are long to compile.
template <class Filter, bool toBits>
class Diffuser {
  public:
    Diffuser(const OwnReduction &reduction, const OwnReduceBand &band)
        : reduction_(reduction),
          band_(band),
          width_(static_cast<int64_t>(band.width)),
          bias_(reduction.size == OWN_4_BYTES ? 2147483648.0 : 0) {}

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
            if constexpr (toBits) {
                storeBits(to, to == steps);
            } else {
                store(from, to);
            }
        }
    }

  private:
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
        for (double &threshold : thresholds_)
            threshold = reduction_.step * 0.5;
    }

    // Calls f(step within the chunk, column) for the steps of a row.
    template <class F>
    void forColumns(int row, int64_t from, int64_t to, F f) const {
        const int64_t behind = LAG * row;
        const int64_t first = from > behind ? from : behind, last = to < width_ + behind ? to : width_ + behind;
        for (int64_t t = first; t < last; ++t)
            f(t - from, t - behind);
    }

    // Whether all lanes are within the row for a block of steps, and all of them rows of the band.
    bool isWholeBlock(int64_t from) const { return band_.rows == LANES && from >= RAMP && from + BLOCK <= width_; }

    // Calls whole(first step) and part(first step, last step) for blocks of steps.
    template <class Whole, class Part>
    void forBlocks(int64_t from, int64_t to, Whole whole, Part part) const {
        for (int64_t t = from; t < to; t += BLOCK) {
            if (isWholeBlock(t) && t + BLOCK <= to) {
                whole(t);
            } else {
                part(t, t + BLOCK < to ? t + BLOCK : to);
            }
        }
    }

    void loadBytes(int64_t chunk, int64_t from) {
        uint8_t rows[BLOCK * LANES], columns[BLOCK * LANES];
        for (int row = 0; row < LANES; ++row) {
            const uint8_t *src = static_cast<const uint8_t *>(band_.src[row]);
            __builtin_memcpy(rows + row * BLOCK, src + from - LAG * row, BLOCK);
        }
        ownTransposeBytes(rows, columns);
        int32_t *samples = samples_ + (from - chunk) * LANES;
        for (int i = 0; i < BLOCK * LANES; ++i)
            samples[i] = columns[i];
    }

    // Samples stand at any address.
    template <class Sample>
    void loadAs(int64_t chunk, int64_t from, int64_t to) {
        int32_t *samples = samples_ + (from - chunk) * LANES;
        for (int row = 0; row < band_.rows; ++row) {
            const char *src = static_cast<const char *>(band_.src[row]);
            forColumns(row, from, to, [&](int64_t k, int64_t x) {
                Sample sample;
                __builtin_memcpy(&sample, src + x * int64_t{sizeof sample}, sizeof sample);
                samples[k * LANES + row] = sample;
            });
        }
    }

    void load(int64_t from, int64_t to) {
        if (reduction_.size == OWN_1_BYTE) {
            const auto part = [&](int64_t first, int64_t last) { loadAs<uint8_t>(from, first, last); };
            if constexpr (LANES == BLOCK) {
                forBlocks(
                    from, to, [&](int64_t first) { loadBytes(from, first); }, part);
            } else {
                part(from, to);
            }
        } else if (reduction_.size == OWN_2_BYTES) {
            loadAs<uint16_t>(from, from, to);
        } else {
            loadAs<int32_t>(from, from, to);
        }
        if (!toBits && reduction_.thresholds) loadThresholds(from, to);
    }

    void loadThresholds(int64_t from, int64_t to) {
        for (int row = 0; row < band_.rows; ++row) {
            const auto start = static_cast<uint64_t>(2 * (band_.y + row));
            forColumns(row, from, to, [&](int64_t k, int64_t x) {
                const uint64_t entry = start + static_cast<uint64_t>(x) + reduction_.indices[x % OWN_NOISE_ENTRIES];
                thresholds_[k * LANES + row] = static_cast<double>(reduction_.thresholds[entry % OWN_NOISE_ENTRIES]);
            });
        }
    }

    template <bool ramp>
    void runSteps(int64_t chunk, int64_t from, int64_t to) {
        State state = state_;
        const OwnReals full = ownReals(reduction_.full), half = ownReals(reduction_.full / 2);
        const OwnReals step = ownReals(reduction_.step), toWhole = ownReals(OWN_TO_WHOLE);
        const OwnReals behind = ownLaneNumbers(LAG), width = ownReals(static_cast<double>(width_));
        const OwnReals weight = ownReals(Filter::weight), bias = ownReals(bias_);
        const OwnReals perUnit = ownReals(reduction_.levels / (reduction_.full + 1));
        for (int64_t t = from; t < to; ++t) {
            const int64_t k = t - chunk;
            enter(&state, t);
            const OwnReals v = ownToReals(samples_ + k * LANES) + bias + gather(state) * weight;
            OwnReals error;
            if constexpr (toBits) {
                const OwnMasks isFull = v > half;
                error = ownSelect(isFull, v - full, v);
                const unsigned bits = ownLaneBits(isFull);
                for (int i = 0; i < LANES / 8; ++i)
                    marks_[i][t - marked_] = static_cast<uint8_t>(bits >> 8 * i);
            } else {
                const OwnReals threshold = ownLoadReals(thresholds_ + k * LANES);
                const OwnReals low = (v * perUnit - ownReals(0.5) + toWhole - toWhole) * step;
                OwnReals output = ownSelect(v - low > threshold, low + step, low);
                output = ownSelect(ownReals(0) > v, ownReals(1e-07), output);
                output = ownSelect(v >= full, full, output);
                error = v - output;
                ownStoreLowWords(output - bias + toWhole, outputs_ + k * LANES);
            }
            if constexpr (ramp) {
                const OwnReals x = ownReals(static_cast<double>(t)) - behind;
                error = ownSelect(x >= ownReals(0), ownSelect(width > x, error, ownReals(0)), ownReals(0));
            }
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

    // An output's part that the destination keeps. Signed samples come out in their own range, and their top bits are
    // those of the unsigned one.
    template <class D>
    D kept(uint32_t output) const {
        const int dropped = reduction_.dropped;
        return static_cast<D>(dropped == 0 ? output : (output ^ static_cast<uint32_t>(bias_)) >> dropped);
    }

    void storeBytes(int64_t chunk, int64_t from) {
        uint8_t rows[BLOCK * LANES], columns[BLOCK * LANES];
        const uint32_t *outputs = outputs_ + (from - chunk) * LANES;
        for (int i = 0; i < BLOCK * LANES; ++i)
            rows[i] = kept<uint8_t>(outputs[i]);
        ownTransposeBytes(rows, columns);
        for (int row = 0; row < LANES; ++row) {
            uint8_t *dst = static_cast<uint8_t *>(band_.dst[row]);
            __builtin_memcpy(dst + from - LAG * row, columns + row * BLOCK, BLOCK);
        }
    }

    template <class D>
    void storeAs(int64_t chunk, int64_t from, int64_t to) {
        for (int row = 0; row < band_.rows; ++row) {
            char *dst = static_cast<char *>(band_.dst[row]);
            const uint32_t *outputs = outputs_ + (from - chunk) * LANES + row;
            forColumns(row, from, to, [&](int64_t k, int64_t x) {
                const D sample = kept<D>(outputs[k * LANES]);
                __builtin_memcpy(dst + x * int64_t{sizeof sample}, &sample, sizeof sample);
            });
        }
    }

    void store(int64_t from, int64_t to) {
        if (reduction_.dstBytes == 1) {
            const auto part = [&](int64_t first, int64_t last) { storeAs<uint8_t>(from, first, last); };
            if constexpr (LANES == BLOCK) {
                forBlocks(
                    from, to, [&](int64_t first) { storeBytes(from, first); }, part);
            } else {
                part(from, to);
            }
        } else if (reduction_.dstBytes == 2) {
            storeAs<uint16_t>(from, from, to);
        } else {
            storeAs<uint32_t>(from, from, to);
        }
    }

    // Bits are stored as whole bytes, as far as all rows have come.
    void storeBits(int64_t to, bool end) {
        const int64_t done = end ? width_ : (to - LAG * (band_.rows - 1)) & ~int64_t{7};
        if (done <= marked_) return;
        for (int row = 0; row < band_.rows; ++row) {
            ownPackBits(marks_[row / 8] + LAG * row, 7 - row % 8, static_cast<size_t>(done - marked_),
                        static_cast<uint8_t *>(band_.dst[row]) + marked_ / 8);
        }
        for (uint8_t *marks : marks_)
            __builtin_memmove(marks, marks + (done - marked_), static_cast<size_t>(to - done));
        marked_ = done;
    }

    const OwnReduction &reduction_;
    const OwnReduceBand &band_;
    const int64_t width_;
    const double bias_;  // brings signed samples to the unsigned range
    State state_;
    int64_t marked_ = 0;  // the column whose marks come first
    int32_t samples_[STEPS * LANES] = {};
    double thresholds_[toBits ? 1 : STEPS * LANES];
    float errors_[STEPS * LANES];
    uint32_t outputs_[toBits ? 1 : STEPS * LANES];
    uint8_t marks_[LANES / 8][toBits ? STEPS + RAMP + 16 : 1];
};

// As many rows of a band as there are lanes.
OwnReduceBand partOfBand(const OwnReduceBand &band, int first) {
    OwnReduceBand part = band;
    part.rows = band.rows - first < LANES ? band.rows - first : LANES;
    part.y = band.y + first;
    for (int row = 0; row < part.rows; ++row) {
        part.src[row] = band.src[first + row];
        part.dst[row] = band.dst[first + row];
    }
    return part;
}

template <class Filter>
void diffuse(const OwnReduction &reduction, const OwnReduceBand &band) {
    for (int first = 0; first < band.rows; first += LANES) {
        const OwnReduceBand part = partOfBand(band, first);
        if (reduction.dstBytes == 0) {
            Diffuser<Filter, true>(reduction, part).run();
        } else {
            Diffuser<Filter, false>(reduction, part).run();
        }
    }
}

}  // namespace

namespace OWN_LEVEL {

extern const OwnDiffuseRows diffuseRows;
const OwnDiffuseRows diffuseRows = {diffuse<FloydSteinberg>, diffuse<JarvisJudiceNinke>, diffuse<Stucki>};

}  // namespace OWN_LEVEL
