// Decimation with blur, over a part of the source that is in memory. Rows of values are kept as long as destination
// rows lie between them; sums of columns slide from one to the next where they are exact.
#include "geometry/owndext.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/owncpu.h"
#include "frame/ownmove.h"

OWN_DECLARE_LEVELS(OwnDextRows, dextRows)

const OwnDextRows &ownDextRows() {
    static constexpr const OwnDextRows *tables[] = OWN_LEVEL_TABLES(dextRows);
    return *tables[ownCpuLevel()];
}

namespace {

constexpr int MOST_TAPS = 4;

// Sums up to this are exact in float, whatever their order.
constexpr int64_t MOST_EXACT = int64_t{1} << 24;

int64_t inLines(int64_t bytes) {
    return (bytes + 63) / 64 * 64;
}

// Memory of one call, freed on every path.
class Memory {
  public:
    Memory() = default;
    ~Memory() { moxFree(block_); }
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;
    uint8_t *take(int64_t bytes) {
        if (bytes <= INT_MAX) block_ = moxMalloc(static_cast<int>(bytes));
        return static_cast<uint8_t *>(block_);
    }

  private:
    void *block_ = nullptr;
};

class Runner {
  public:
    Runner(const OwnDext &dext, const OwnDextSource &source, const MoxImage *dst, const MoxImage *mask, int64_t x,
           int64_t y, int channels)
        : dext_(dext), source_(source), kernels_(ownDextRows()), firstColumn_(x), firstRow_(y) {
        int unused[2];
        dst_ = ownSpan(dst, ownFirstChannel(dst), &width_, &height_);
        masked_ = mask != nullptr;
        if (mask) mask_ = ownSpan(mask, 0, &unused[0], &unused[1]);
        const bool planar = dst_.planeStep != 0;
        planes_ = planar ? channels : 1;
        channels_ = planar ? 1 : channels;
        need_ = ownDextNeed(dext.columns, dext.taps, x, width_);
        sums_ = (need_.to - need_.from - 1) * source.span.step + channels_;
        form_ = dext.taps == 4 ? 2 : dext.taps - 1;
        const int64_t most = dst_.bytes == 0 ? 1 : dst_.bytes == 1 ? 255 : 65535;
        const int64_t across = std::min(dext.columns.size, dext.columns.length);
        const int64_t down = std::min(dext.rows.size, dext.rows.length);
        exact_ = dst_.bytes != 4 && across * down <= MOST_EXACT / most;
        accumulates_ = exact_ && dext.taps * across > 3 * (need_.to - need_.from) / width_;
    }

    bool run() {
        const int64_t values = inLines(int64_t{4} * width_ * channels_);
        const int64_t columns = inLines(4 * sums_), more = inLines(4 * (sums_ + source_.span.step));
        Memory memory;
        uint8_t *at = memory.take(columns + (accumulates_ ? more : 0) + values * (dext_.taps + 1));
        if (!at) return false;
        columns_ = at;
        at += columns;
        accumulated_ = reinterpret_cast<uint32_t *>(at);
        if (accumulates_) at += more;
        for (int k = 0; k < dext_.taps; ++k, at += values)
            values_[k] = reinterpret_cast<float *>(at);
        row_ = at;
        for (int plane = 0; plane < planes_; ++plane) {
            summed_ = {0, 0};
            std::fill(places_, places_ + MOST_TAPS, int64_t{-1});
            for (int y = 0; y < height_; ++y)
                runRow(plane, y);
        }
        return true;
    }

  private:
    void runRow(int plane, int y) {
        const float *rows[MOST_TAPS];
        const int64_t base = dext_.rows.base[firstRow_ + y];
        for (int k = 0; k < dext_.taps; ++k)
            rows[k] = valuesOf(plane, base + k);
        const float fraction = dext_.rows.fraction[firstRow_ + y];
        const auto n = static_cast<size_t>(int64_t{width_} * channels_);
        uint8_t *to = dst_.start + plane * dst_.planeStep + y * dst_.rowStep;
        const bool direct = !masked_ && dst_.bytes > 0 && dst_.step == channels_;
        if (dst_.bytes == 0) {
            kernels_.storeBits(rows, fraction, row_, n);
        } else {
            kernels_.store[ownSampleSize(dst_.bytes)][form_](rows, fraction, direct ? to : row_, n);
        }
        if (!direct) put(to, y);
    }

    // The scratch row into the destination, under the mask.
    void put(uint8_t *to, int y) const {
        OwnRows rows;
        rows.spans[0] = {row_, 0, 0, channels_, 0, dst_.bytes, 0};
        rows.spans[1] = dst_;
        rows.spans[1].start = to;
        rows.count = 2;
        rows.masked = masked_;
        if (masked_) {
            rows.mask = mask_;
            rows.mask.start += y * mask_.rowStep;
        }
        rows.exchange = false;
        rows.width = width_;
        rows.height = 1;
        rows.channels = channels_;
        rows.planes = 1;
        rows.whole = 0;
        ownRunRows(rows, ownMoveRows().copy[ownSampleSize(dst_.bytes)], {});
    }

    // The row of values at a place. Places go down the image, and those of one row of the destination are different
    // rows of the ring.
    const float *valuesOf(int plane, int64_t place) {
        const auto slot = static_cast<int>(place % dext_.taps);
        if (places_[slot] == place) return values_[slot];
        places_[slot] = place;
        const OwnDextWindow window = ownDextWindow(dext_.rows, place);
        sum(plane, window);
        const OwnDextAxis &axis = dext_.columns;
        OwnDextAcross across = {columns_,
                                source_.span.step,
                                need_.from,
                                axis.base + firstColumn_,
                                axis.fraction + firstColumn_,
                                axis.length,
                                axis.size,
                                window.to - window.from};
        if (accumulates_) {
            kernels_.accumulate(reinterpret_cast<const uint32_t *>(columns_), across.step, accumulated_,
                                static_cast<size_t>(sums_));
            across.columns = accumulated_;
        }
        const auto &kernel = accumulates_ ? kernels_.acrossAccumulated : exact_ ? kernels_.across : kernels_.acrossReal;
        kernel[form_](across, channels_, values_[slot], static_cast<size_t>(width_));
        return values_[slot];
    }

    const uint8_t *sourceRow(int plane, int64_t y, int *bit) const {
        const OwnSpan &span = source_.span;
        const uint8_t *row = span.start + plane * span.planeStep + (y - source_.y) * span.rowStep;
        const int64_t x = need_.from - source_.x;
        *bit = static_cast<int>((span.bit + x) % 8);
        return span.bytes == 0 ? row + (span.bit + x) / 8 : row + x * span.step * span.bytes;
    }

    // The sums of columns over the rows of a window.
    void sum(int plane, const OwnDextWindow &window) {
        const int64_t height = window.to - window.from;
        const bool slides = exact_ && window.from >= summed_.from && window.to >= summed_.to &&
                            window.from - summed_.from + (window.to - summed_.to) < height;
        if (slides) {
            for (int64_t y = summed_.from; y < window.from; ++y)
                takeRow(plane, y, true);
        } else {
            std::memset(columns_, 0, static_cast<size_t>(4 * sums_));
        }
        for (int64_t y = slides ? summed_.to : window.from; y < window.to; ++y)
            takeRow(plane, y, false);
        summed_ = window;
    }

    void takeRow(int plane, int64_t y, bool away) {
        int bit;
        const uint8_t *row = sourceRow(plane, y, &bit);
        const auto n = static_cast<size_t>(sums_);
        const OwnSampleSize size = ownSampleSize(dst_.bytes);
        auto *whole = reinterpret_cast<uint32_t *>(columns_);
        auto *real = reinterpret_cast<float *>(columns_);
        if (dst_.bytes == 0) {
            if (!exact_) return kernels_.addRealBits(row, bit, real, n);
            (away ? kernels_.subtractBits : kernels_.addBits)(row, bit, whole, n);
        } else if (!exact_) {
            kernels_.addReal[size](row, real, n);
        } else {
            (away ? kernels_.subtract : kernels_.add)[size](row, whole, n);
        }
    }

    const OwnDext &dext_;
    const OwnDextSource &source_;
    const OwnDextRows &kernels_;
    const int64_t firstColumn_, firstRow_;
    OwnSpan dst_, mask_;
    bool masked_;
    int width_, height_;
    int channels_, planes_;
    int form_;            // of kernels, by taps
    OwnDextWindow need_;  // columns of the source
    int64_t sums_;        // of all their samples
    bool exact_;          // in whole numbers
    bool accumulates_;    // sums of windows are differences
    uint8_t *columns_, *row_;
    uint32_t *accumulated_;
    float *values_[MOST_TAPS];
    int64_t places_[MOST_TAPS];
    OwnDextWindow summed_;  // the rows that the columns' sums are of
};

}  // namespace

bool ownRunDext(const OwnDext &dext, const OwnDextSource &source, const MoxImage *dst, const MoxImage *mask, int64_t x,
                int64_t y, int channels) {
    return Runner(dext, source, dst, mask, x, y, channels).run();
}
