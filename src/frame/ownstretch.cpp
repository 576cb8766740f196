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
        for (int i = 0; i < rows.count; ++i)
            direct_[i] = through_ || ownIsContiguous(rows.spans[i], samples_);
        size_ = ownSampleSize(dst.bytes);
        pixels_ = OWN_SCRATCH_BYTES / (dst.bytes * samples_) & ~7;
        if (through_) makePattern();
        if (through_ && !rows.masked) makeLanes(nullptr, std::min<int64_t>(pixels_, rows.width));
    }

    void run() {
        for (int plane = 0; plane < rows_.planes; ++plane) {
            for (int row = 0; row < rows_.height; ++row)
                runRow(plane, row);
        }
    }

  private:
    // The stored samples of a stretch that begins at a pixel: the bytes of eight pixels, again and again.
    void makePattern() {
        const int64_t bytes = (std::min<int64_t>(pixels_, rows_.width) + 7) / 8 * samples_;
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

    void runRow(int plane, int row) {
        uint8_t *at[OWN_MAX_SPANS];
        ownStartOfRow(rows_, plane, row, at);
        if (through_) {
            for (int i = 0; i < rows_.count; ++i)
                at[i] -= rows_.spans[i].first * rows_.spans[i].bytes;
        }
        const uint8_t *maskRow = rows_.masked ? rows_.mask.start + row * rows_.mask.rowStep : nullptr;
        for (int64_t x = 0; x < rows_.width; x += pixels_) {
            const int64_t pixels = std::min<int64_t>(pixels_, rows_.width - x);
            if (maskRow) {
                const uint8_t *bits = maskRow + x / 8;
                if (rows_.mask.bit != 0) {
                    ownAlignBits(bits, rows_.mask.bit, scratch_.pixelBits, 0, pixels);
                    bits = scratch_.pixelBits;
                }
                makeLanes(bits, pixels);
            }
            runStretch(at, pixels);
            for (int i = 0; i < rows_.count; ++i)
                at[i] += pixels * rows_.spans[i].step * rows_.spans[i].bytes;
        }
    }

    void runStretch(uint8_t *const *at, int64_t pixelCount) {
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
        if (masked) {
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
    int samples_;  // in a pixel of the scratch
    int pixels_;   // in a stretch, a multiple of 8
    OwnSampleSize size_;
    Scratch scratch_;
};

// Whole rows without padding, under a mask without padding, are one row, as long as an int counts its pixels.
OwnRows joinRows(const OwnRows &rows) {
    OwnRows joined = rows;
    const auto follows = [&](const OwnSpan &span) {
        return span.rowStep == static_cast<int64_t>(rows.width) * span.step * span.bytes;
    };
    const int64_t pixels = static_cast<int64_t>(rows.width) * rows.height;
    const bool maskFollows = !rows.masked || (rows.mask.bit == 0 && rows.mask.rowStep * 8 == rows.width);
    if (pixels <= INT32_MAX && maskFollows && std::all_of(rows.spans, rows.spans + rows.count, follows)) {
        joined.width = static_cast<int>(pixels);
        joined.height = 1;
    }
    return joined;
}

}  // namespace

void ownRunStretches(const OwnRows &all, const OwnRowForms &kernel, const OwnConstant &constant) {
    const OwnRows rows = joinRows(all);
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
