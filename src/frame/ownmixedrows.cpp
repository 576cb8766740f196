// Rows from samples of one size to samples of another, or from and to bits. Where a row is contiguous in both images
// and nothing is masked, the kernel runs straight on them; everything else goes by stretches through a small scratch.
#include <algorithm>
#include <cstring>

#include "core/owncache.h"
#include "frame/ownmixedrun.h"
#include "frame/ownmove.h"
#include "frame/ownrowcall.h"

namespace {

// As in the runner of equal samples.
constexpr int64_t SHORTEST_STREAM = 1024;

// Lanes of a mask are made for pixels of so many samples.
constexpr int MOST_LANES = 4;

int64_t bytesOf(const OwnSpan &span, int64_t samples) {
    return span.bytes == 0 ? (samples + 7) / 8 : samples * span.bytes;
}

bool isContiguous(const OwnSpan &span, int channels) {
    return span.bytes == 0 ? span.bit == 0 : span.step == channels;
}

class MixedRunner {
  public:
    MixedRunner(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant)
        : rows_(rows),
          kernel_(kernel),
          constant_(constant),
          move_(ownMoveRows()),
          src_(rows.spans[0]),
          dst_(rows.spans[1]) {}

    void run() {
        if (dst_.bytes == 0) return runToBits();
        if (!rows_.masked && isContiguous(src_, rows_.channels) && isContiguous(dst_, rows_.channels)) {
            return runContiguous();
        }
        size_ = ownSampleSize(dst_.bytes);
        pixels_ = OWN_SCRATCH_BYTES / (std::max(src_.bytes, dst_.bytes) * rows_.channels) & ~7;
        forEachRow([&](const uint8_t *src, uint8_t *dst, const uint8_t *mask) {
            for (int64_t x = 0; x < rows_.width; x += pixels_)
                runStretch(src, dst, mask, x, static_cast<size_t>(std::min<int64_t>(pixels_, rows_.width - x)));
        });
    }

  private:
    template <class Run>
    void forEachRow(const Run &run) const {
        for (int plane = 0; plane < rows_.planes; ++plane) {
            for (int row = 0; row < rows_.height; ++row) {
                const uint8_t *mask = rows_.masked ? rows_.mask.start + row * rows_.mask.rowStep : nullptr;
                run(src_.start + plane * src_.planeStep + row * src_.rowStep,
                    dst_.start + plane * dst_.planeStep + row * dst_.rowStep, mask);
            }
        }
    }

    // Whether a step of both images is as many samples and no more.
    bool follows(int64_t OwnSpan::*step, int64_t samples) const {
        return src_.*step == bytesOf(src_, samples) && dst_.*step == bytesOf(dst_, samples) &&
               (samples % 8 == 0 || (src_.bytes != 0 && dst_.bytes != 0));
    }

    bool shouldStream(int64_t samples, int64_t all) const {
        if (!kernel_.streamed || bytesOf(dst_, samples) < SHORTEST_STREAM || src_.start == dst_.start) return false;
        const int64_t bytes = std::max(rows_.whole, bytesOf(src_, all) + bytesOf(dst_, all));
        return bytes >= ownStreamBounds().bytes;
    }

    void runContiguous() const {
        int64_t n = int64_t{rows_.width} * rows_.channels;
        int height = rows_.height, planes = rows_.planes;
        const bool streaming = shouldStream(n, n * height * planes);
        if (height > 1 && follows(&OwnSpan::rowStep, n)) {
            n *= height;
            height = 1;
        }
        if (height == 1 && planes > 1 && follows(&OwnSpan::planeStep, n)) {
            n *= planes;
            planes = 1;
        }
        const OwnRow form = streaming ? kernel_.streamed : kernel_.plain;
        for (int plane = 0; plane < planes; ++plane) {
            for (int row = 0; row < height; ++row) {
                form(src_.start + plane * src_.planeStep + row * src_.rowStep, nullptr,
                     dst_.start + plane * dst_.planeStep + row * dst_.rowStep, static_cast<size_t>(n), constant_);
            }
        }
        if (streaming) move_.fence();
    }

    // The source's samples from pixel x of a row on, as the kernel wants them.
    const void *read(const uint8_t *src, int64_t x, size_t pixels) {
        if (src_.bytes == 0) {
            if (src_.bit == 0) return src + x / 8;
            ownAlignBits(src + x / 8, src_.bit, gathered_, 0, static_cast<int64_t>(pixels));
            return gathered_;
        }
        const uint8_t *at = src + x * src_.step * src_.bytes;
        if (src_.step == rows_.channels) return at;
        move_.gather[ownSampleSize(src_.bytes)](at, src_.step, rows_.channels, gathered_, pixels);
        return gathered_;
    }

    const uint8_t *maskBits(const uint8_t *mask, int64_t x, size_t pixels) {
        if (rows_.mask.bit == 0) return mask + x / 8;
        ownAlignBits(mask + x / 8, rows_.mask.bit, pixelBits_, 0, static_cast<int64_t>(pixels));
        return pixelBits_;
    }

    void runStretch(const uint8_t *src, uint8_t *dst, const uint8_t *mask, int64_t x, size_t pixels) {
        const size_t n = pixels * static_cast<size_t>(rows_.channels);
        const void *from = read(src, x, pixels);
        uint8_t *at = dst + x * dst_.step * dst_.bytes;
        const bool direct = dst_.step == rows_.channels;
        uint8_t *to = direct && !mask ? at : results_;
        kernel_.plain(from, nullptr, to, n, constant_);
        if (to == at) return;
        if (!mask) {
            move_.scatter[size_](results_, at, dst_.step, rows_.channels, pixels);
            return;
        }
        move_.lanes[size_](maskBits(mask, x, pixels), rows_.channels, lanes_, pixels);
        uint8_t *before = direct ? at : before_;
        if (!direct) move_.gather[size_](at, dst_.step, rows_.channels, before, pixels);
        move_.copy[size_].masked(results_, nullptr, before, n, {}, lanes_);
        if (!direct) move_.scatter[size_](before, at, dst_.step, rows_.channels, pixels);
    }

    // ---------------------------------------------------------------------------------------------------- to bits

    void runToBits() {
        pixels_ = OWN_SCRATCH_BYTES / src_.bytes & ~7;
        if (!rows_.masked && src_.step == 1 && dst_.bit == 0 && follows(&OwnSpan::rowStep, rows_.width)) {
            const auto n = static_cast<size_t>(int64_t{rows_.width} * rows_.height);
            kernel_.plain(src_.start, nullptr, dst_.start, n, constant_);
            return;
        }
        forEachRow([&](const uint8_t *src, uint8_t *dst, const uint8_t *mask) {
            if (mask) {
                writeMasked(src, dst, mask);
            } else {
                writeBits(src, dst);
            }
        });
    }

    // The bits up to the first whole byte, the whole bytes, and the bits behind them.
    void writeBits(const uint8_t *src, uint8_t *dst) {
        const int64_t width = rows_.width;
        int64_t x = 0;
        if (dst_.bit != 0) {
            x = std::min<int64_t>(width, 8 - dst_.bit);
            writePart(src, 0, dst, dst_.bit, x);
            ++dst;
        }
        const int64_t whole = (width - x) & ~int64_t{7}, part = src_.step == 1 ? whole : pixels_;
        for (int64_t done = 0; done < whole; done += part) {
            const auto pixels = static_cast<size_t>(std::min(part, whole - done));
            kernel_.plain(read(src, x + done, pixels), nullptr, dst + done / 8, pixels, constant_);
        }
        if (x + whole < width) writePart(src, x + whole, dst + whole / 8, 0, width - x - whole);
    }

    // Bits of one byte.
    void writePart(const uint8_t *src, int64_t x, uint8_t *dst, int bit, int64_t count) {
        uint8_t bits;
        kernel_.plain(read(src, x, static_cast<size_t>(count)), nullptr, &bits, static_cast<size_t>(count), constant_);
        const int kept = ~(ownFirstBits(bit) & ownLastBits(bit, count));
        *dst = static_cast<uint8_t>((*dst & kept) | (bits >> bit & ~kept));
    }

    void writeMasked(const uint8_t *src, uint8_t *dst, const uint8_t *mask) {
        for (int64_t x = 0; x < rows_.width; x += pixels_) {
            const int64_t pixels = std::min<int64_t>(pixels_, rows_.width - x);
            kernel_.plain(read(src, x, static_cast<size_t>(pixels)), nullptr, results_, static_cast<size_t>(pixels),
                          constant_);
            OwnRows stored = {};
            stored.spans[0].start = results_;
            stored.spans[0].step = 1;
            stored.spans[1] = dst_;
            stored.spans[1].start = dst + x / 8;
            stored.count = 2;
            stored.masked = true;
            stored.mask = rows_.mask;
            stored.mask.start = const_cast<uint8_t *>(mask) + x / 8;
            stored.width = static_cast<int>(pixels);
            stored.height = stored.channels = stored.planes = 1;
            ownRunRows(stored, move_.copy[OWN_1_BYTE], {});
        }
    }

    const OwnRows &rows_;
    const OwnMixedForms &kernel_;
    const OwnConstant &constant_;
    const OwnMoveRows &move_;
    const OwnSpan &src_, &dst_;
    OwnSampleSize size_ = OWN_1_BYTE;
    int pixels_ = 0;  // in a stretch, a multiple of 8
    alignas(64) uint8_t gathered_[OWN_SCRATCH_BYTES + 8];
    alignas(64) uint8_t results_[OWN_SCRATCH_BYTES + 8];
    alignas(64) uint8_t before_[OWN_SCRATCH_BYTES];
    alignas(64) uint8_t lanes_[OWN_SCRATCH_BYTES + 128];
    uint8_t pixelBits_[OWN_SCRATCH_BYTES + 8];
};

// Channels one by one, where a scratch is too small for pixels or their lanes: those of wide pixels, many of them under
// a mask, and those that all come from the same bits.
bool takesChannelsApart(const OwnRows &rows) {
    const OwnSpan &src = rows.spans[0], &dst = rows.spans[1];
    if (rows.channels == 1) return false;
    if (src.bytes == 0 || (rows.masked && rows.channels > MOST_LANES)) return true;
    if (!rows.masked && src.step == rows.channels && dst.step == rows.channels) return false;
    return rows.channels * std::max(src.bytes, dst.bytes) > OWN_SCRATCH_BYTES / 64;
}

// Planes on one side and pixels on the other.
bool isStepped(const OwnRows &rows) {
    return rows.planes > 1 && (rows.spans[0].step > 1 || rows.spans[1].step > 1);
}

void runChannels(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant) {
    if (!takesChannelsApart(rows)) {
        MixedRunner(rows, kernel, constant).run();
        return;
    }
    OwnRows part = rows;
    part.channels = 1;
    for (int c = 0; c < rows.channels; ++c) {
        MixedRunner(part, kernel, constant).run();
        for (int i = 0; i < 2; ++i)
            part.spans[i].start += part.spans[i].bytes;
    }
}

}  // namespace

void ownRunMixedRows(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant) {
    if (rows.width <= 0 || rows.height <= 0 || rows.channels <= 0) return;
    if (ownChangesOrder(rows)) return ownRunMixedOrder(rows, kernel, constant);
    if (!isStepped(rows)) return runChannels(rows, kernel, constant);
    // All planes of a row while its pixels are in the cache.
    OwnRows row = rows;
    row.height = 1;
    for (int y = 0; y < rows.height; ++y) {
        runChannels(row, kernel, constant);
        for (int i = 0; i < 2; ++i)
            row.spans[i].start += row.spans[i].rowStep;
        if (row.masked) row.mask.start += row.mask.rowStep;
    }
}
