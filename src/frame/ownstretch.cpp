// Strided and masked rows: stretch by stretch, on rows gathered into a small scratch, under lanes that say which
// samples are stored.
#include <algorithm>
#include <cstring>

#include "frame/ownmove.h"
#include "frame/ownrowcall.h"

namespace {

// Scratch beyond this many bytes a pixel is not worth a row: channels are then processed one by one.
constexpr int WIDEST_PIXEL = OWN_SCRATCH_BYTES / 64;

struct alignas(64) Scratch {
    uint8_t rows[OWN_MAX_SPANS][OWN_SCRATCH_BYTES];
    uint8_t lanes[OWN_SCRATCH_BYTES + 128];
    uint8_t pixelBits[OWN_SCRATCH_BYTES / 8 + 8];
    uint8_t sampleBits[OWN_SCRATCH_BYTES / 8 + 64];
    uint8_t pattern[OWN_SCRATCH_BYTES / 8 + 64];
};

// A mask byte's bits, each repeated: eight pixels' worth of samples, the first on top.
template <int step>
struct SpreadTable {
    uint8_t bytes[256][4];
};
template <int step>
constexpr SpreadTable<step> makeSpreadTable() {
    SpreadTable<step> table = {};
    for (int bits = 0; bits < 256; ++bits) {
        for (int i = 0; i < 8 * step; ++i) {
            if ((bits >> (7 - i / step) & 1) != 0) {
                table.bytes[bits][i / 8] = static_cast<uint8_t>(table.bytes[bits][i / 8] | 128 >> i % 8);
            }
        }
    }
    return table;
}
template <int step>
void spread(const uint8_t *bits, uint8_t *out, int64_t pixels) {
    static constexpr SpreadTable<step> table = makeSpreadTable<step>();
    for (int64_t i = 0; i < pixels; i += 8, out += step)
        std::memcpy(out, table.bytes[bits[i / 8]], step);
}

// The bits of samples from those of pixels. Bits behind the last pixel are unspecified.
void spreadBits(const uint8_t *bits, int step, uint8_t *out, int64_t pixels) {
    switch (step) {
        case 2:
            return spread<2>(bits, out, pixels);
        case 3:
            return spread<3>(bits, out, pixels);
        case 4:
            return spread<4>(bits, out, pixels);
        default:
            break;
    }
    std::memset(out, 0, static_cast<size_t>((pixels * step + 7) / 8));
    int64_t sample = 0;
    for (int64_t i = 0; i < pixels; ++i) {
        const bool set = (bits[i / 8] >> (7 - i % 8) & 1) != 0;
        for (int c = 0; c < step; ++c, ++sample) {
            if (set) out[sample / 8] = static_cast<uint8_t>(out[sample / 8] | 128 >> sample % 8);
        }
    }
}

// Rows of a mask that is wider than this are as well expanded one by one.
constexpr int WIDEST_PACKED = 256;

bool maskRowsFollow(const OwnRows &rows) {
    return !rows.masked || (rows.mask.bit == 0 && rows.mask.rowStep * 8 == rows.width);
}

// Whole rows without padding are one row, as long as an int counts its pixels. Short rows of a mask are packed for it.
bool rowsAreOne(const OwnRows &rows) {
    if (rows.height == 1 || static_cast<int64_t>(rows.width) * rows.height > INT32_MAX) return false;
    if (!maskRowsFollow(rows) && (rows.width % 8 != 0 || rows.width > WIDEST_PACKED)) return false;
    for (int i = 0; i < rows.count; ++i) {
        const OwnSpan &span = rows.spans[i];
        if (span.rowStep != static_cast<int64_t>(rows.width) * span.step * span.bytes) return false;
    }
    return true;
}

class StretchRunner {
  public:
    StretchRunner(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant)
        : rows_(rows), kernel_(kernel), constant_(constant), move_(ownMoveRows()) {
        // Images of one pixel layout are processed through: all samples of the pixels, of which the channels of
        // interest are stored.
        const OwnSpan &dst = ownDestination(rows);
        through_ = dst.step > rows.channels && dst.step <= 4 * rows.channels && dst.step * dst.bytes <= WIDEST_PIXEL;
        for (int i = 0; i < rows.count; ++i) {
            through_ = through_ && rows.spans[i].step == dst.step && rows.spans[i].first == dst.first;
        }
        samples_ = through_ ? dst.step : rows.channels;
        bool allDirect = true;
        for (int i = 0; i < rows.count; ++i) {
            direct_[i] = through_ || ownIsContiguous(rows.spans[i], samples_);
            allDirect = allDirect && direct_[i];
        }
        const bool one = rowsAreOne(rows);
        width_ = one ? rows.width * rows.height : rows.width;
        height_ = one ? 1 : rows.height;
        packed_ = one && !maskRowsFollow(rows);
        size_ = ownSampleSize(dst.bytes);
        pixels_ = OWN_SCRATCH_BYTES / (dst.bytes * samples_) & ~7;
        // A kernel that reads the mask itself needs no scratch, if nobody else does.
        readsMask_ = rows.masked && !through_ && samples_ == 1 && kernel.underBits;
        if (readsMask_ && allDirect && !packed_ && rows.mask.bit == 0) pixels_ = width_;
        if (through_) makePattern();
        if (through_ && !rows.masked) makeLanes(nullptr, std::min(pixels_, width_));
    }

    void run() {
        for (int plane = 0; plane < rows_.planes; ++plane) {
            for (int row = 0; row < height_; ++row)
                runRow(plane, row);
        }
    }

  private:
    // The stored samples of a stretch that begins at a pixel: the bytes of eight pixels, again and again.
    void makePattern() {
        const int64_t bytes = (int64_t{std::min(pixels_, width_)} + 7) / 8 * samples_;
        const int first = ownDestination(rows_).first;
        std::memset(scratch_.pattern, 0, static_cast<size_t>(samples_));
        for (int pixel = first; pixel < samples_ * 8; pixel += samples_) {
            for (int i = pixel; i < pixel + rows_.channels; ++i)
                scratch_.pattern[i / 8] = static_cast<uint8_t>(scratch_.pattern[i / 8] | 128 >> i % 8);
        }
        for (int64_t done = samples_; done < bytes; done *= 2) {
            std::memcpy(scratch_.pattern + done, scratch_.pattern, static_cast<size_t>(std::min(done, bytes - done)));
        }
    }

    // Lanes for a stretch from the mask's bits (null for none) and the pattern.
    void makeLanes(const uint8_t *pixelBits, int64_t pixels) {
        const auto expand = move_.lanes[size_];
        if (pixelBits && !through_ && samples_ <= 4) {
            expand(pixelBits, samples_, scratch_.lanes, static_cast<size_t>(pixels));
            return;
        }
        const int64_t samples = pixels * samples_;
        const uint8_t *bits = scratch_.pattern;
        if (pixelBits) {
            spreadBits(pixelBits, samples_, scratch_.sampleBits, pixels);
            bits = scratch_.sampleBits;
            if (through_) {
                for (int64_t k = 0; k < (samples + 7) / 8; ++k)
                    scratch_.sampleBits[k] &= scratch_.pattern[k];
            }
        }
        expand(bits, 1, scratch_.lanes, static_cast<size_t>(samples));
    }

    // The mask's bits from pixel x of a row on. Those of packed rows are the bits of all rows, one after the other.
    const uint8_t *maskBits(int row, int64_t x, int64_t pixels) {
        const OwnSpan &mask = rows_.mask;
        if (!packed_) {
            const uint8_t *bits = mask.start + row * mask.rowStep + x / 8;
            if (mask.bit == 0) return bits;
            ownAlignBits(bits, mask.bit, scratch_.pixelBits, 0, pixels);
            return scratch_.pixelBits;
        }
        const int first = static_cast<int>(x) / rows_.width;
        int64_t column = x - int64_t{first} * rows_.width;
        const uint8_t *from = mask.start + first * mask.rowStep;
        for (int64_t done = 0; done < pixels; from += mask.rowStep, column = 0) {
            const int64_t count = std::min(pixels - done, rows_.width - column);
            uint8_t *to = scratch_.pixelBits + done / 8;
            if (mask.bit != 0) {
                ownAlignBits(from + column / 8, mask.bit, to, 0, count);
            } else {
                std::memcpy(to, from + column / 8, static_cast<size_t>(count / 8));
            }
            done += count;
        }
        return scratch_.pixelBits;
    }

    void runRow(int plane, int row) {
        uint8_t *at[OWN_MAX_SPANS];
        ownStartOfRow(rows_, plane, row, at);
        if (through_) {
            for (int i = 0; i < rows_.count; ++i)
                at[i] -= rows_.spans[i].first * rows_.spans[i].bytes;
        }
        for (int64_t x = 0; x < width_; x += pixels_) {
            const int64_t pixels = std::min<int64_t>(pixels_, width_ - x);
            const uint8_t *mask = rows_.masked ? maskBits(row, x, pixels) : nullptr;
            if (mask && !readsMask_) makeLanes(mask, pixels);
            runStretch(at, pixels, mask);
            for (int i = 0; i < rows_.count; ++i)
                at[i] += pixels * rows_.spans[i].step * rows_.spans[i].bytes;
        }
    }

    void runStretch(uint8_t *const *at, int64_t pixelCount, const uint8_t *mask) {
        const auto pixels = static_cast<size_t>(pixelCount);
        const bool masked = rows_.masked || through_;
        const int last = rows_.count - 1;
        uint8_t *to[OWN_MAX_SPANS];
        for (int i = 0; i <= last; ++i) {
            to[i] = direct_[i] ? at[i] : scratch_.rows[i];
            const bool read = i < last || masked || rows_.exchange;
            if (!direct_[i] && read) {
                move_.gather[size_](at[i], rows_.spans[i].step, rows_.channels, to[i], pixels);
            }
        }
        const size_t n = pixels * static_cast<size_t>(samples_);
        if (readsMask_) {
            ownCallUnderBits(kernel_.underBits, to, rows_.count, n, constant_, mask);
        } else if (masked) {
            ownCallMasked(kernel_.masked, to, rows_.count, n, constant_, scratch_.lanes);
        } else {
            ownCallPlain(kernel_.plain, to, rows_.count, n, constant_);
        }
        for (int i = rows_.exchange ? 0 : last; i <= last; ++i) {
            if (!direct_[i]) move_.scatter[size_](to[i], at[i], rows_.spans[i].step, rows_.channels, pixels);
        }
    }

    const OwnRows &rows_;
    const OwnRowForms &kernel_;
    const OwnConstant &constant_;
    const OwnMoveRows &move_;
    bool through_;
    bool direct_[OWN_MAX_SPANS];
    int width_, height_;  // of the rows, which may all be one
    bool packed_;         // they are, and those of the mask are packed
    bool readsMask_;      // the kernel does, without lanes
    int samples_;         // in a pixel of the scratch
    int pixels_;          // in a stretch, a multiple of 8
    OwnSampleSize size_;
    Scratch scratch_;
};

}  // namespace

void ownRunStretches(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant) {
    if (rows.channels == 1 || rows.channels * ownDestination(rows).bytes <= WIDEST_PIXEL) {
        StretchRunner(rows, kernel, constant).run();
        return;
    }
    OwnRows one = rows;
    one.channels = 1;
    for (int c = 0; c < rows.channels; ++c) {
        StretchRunner(one, kernel, constant).run();
        for (int i = 0; i < one.count; ++i) {
            one.spans[i].start += one.spans[i].bytes;
            one.spans[i].first += 1;
        }
    }
}
