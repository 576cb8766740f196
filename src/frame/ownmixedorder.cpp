// Pixels of three or four samples into planes and planes into pixels, on the way from one depth to another or as they
// are: a stretch at a time, so that every pixel is read once.
#include <algorithm>

#include "core/owncache.h"
#include "frame/ownmixedrun.h"
#include "frame/ownplanes.h"
#include "frame/ownrowcall.h"

namespace {

// As many cache lines, of which a stretch that is stored past the caches has whole ones.
constexpr int64_t LINE = 64, UNIT = 256;

class OrderRunner {
  public:
    OrderRunner(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant)
        : kernel_(kernel),
          constant_(constant),
          channels_(rows.planes),
          toPlanes_(rows.spans[0].step == rows.planes),
          src_(rows.spans[0]),
          dst_(rows.spans[1]),
          size_(ownSampleSize(dst_.bytes)),
          copy_(ownMoveRows().copy[size_]),
          width_(rows.width),
          height_(rows.height) {
        const int64_t samples = width_ * height_ * channels_;
        const int64_t all = std::max(rows.whole, samples * (src_.bytes + dst_.bytes));
        streaming_ = all >= ownStreamBounds().bytes && width_ * dst_.bytes >= 4 * UNIT;
        joinRows();
        // What is neither converted nor stored past the caches goes by no scratch.
        most_ = streaming_       ? UNIT
                : kernel_.copies ? width_
                                 : OWN_SCRATCH_BYTES / (std::max(src_.bytes, dst_.bytes) * channels_) & -UNIT;
    }

    void run() {
        for (int64_t row = 0; row < height_; ++row) {
            const uint8_t *src = src_.start + row * src_.rowStep;
            uint8_t *dst = dst_.start + row * dst_.rowStep;
            int64_t count = first(dst);
            for (int64_t x = 0; x < width_; x += count, count = most_) {
                count = std::min(count, width_ - x);
                const uint8_t *from = src + x * src_.step * src_.bytes;
                uint8_t *to = dst + x * dst_.step * dst_.bytes;
                if (toPlanes_) {
                    split(from, to, static_cast<size_t>(count));
                } else {
                    join(from, to, static_cast<size_t>(count));
                }
            }
        }
        if (streaming_) ownMoveRows().fence();
    }

  private:
    // Rows without padding between them are one.
    void joinRows() {
        if (src_.rowStep != width_ * src_.step * src_.bytes || dst_.rowStep != width_ * dst_.step * dst_.bytes) return;
        width_ *= height_;
        height_ = 1;
    }

    // Pixels of the first stretch: as many as bring the destination to a cache line, if pixels do.
    int64_t first(const uint8_t *dst) const {
        const int64_t toLine = -reinterpret_cast<intptr_t>(dst) & (LINE - 1), step = dst_.bytes * dst_.step;
        for (int64_t pixels = 1; streaming_ && toLine != 0 && pixels < LINE; ++pixels) {
            if (pixels * step % LINE == toLine) return pixels;
        }
        return most_;
    }

    void store(const void *from, uint8_t *to, size_t samples) const {
        (streaming_ ? copy_.streamed : copy_.plain)(from, nullptr, to, samples, {});
    }

    void split(const uint8_t *from, uint8_t *to, size_t n) {
        const void *pixels = from;
        const size_t samples = n * static_cast<size_t>(channels_);
        if (!kernel_.copies) {
            kernel_.plain(from, nullptr, results_, samples, constant_);
            pixels = results_;
        }
        void *planes[OWN_MAX_PLANES];
        for (int c = 0; c < channels_; ++c)
            planes[c] = streaming_ ? rows(c) : to + c * dst_.planeStep;
        ownPlaneMoves().split[size_][channels_ - 3](pixels, planes, n);
        for (int c = 0; streaming_ && c < channels_; ++c)
            store(planes[c], to + c * dst_.planeStep, n);
    }

    void join(const uint8_t *from, uint8_t *to, size_t n) {
        const void *planes[OWN_MAX_PLANES];
        for (int c = 0; c < channels_; ++c) {
            planes[c] = from + c * src_.planeStep;
            if (kernel_.copies) continue;
            kernel_.plain(planes[c], nullptr, rows(c), n, constant_);
            planes[c] = rows(c);
        }
        ownPlaneMoves().join[size_][channels_ - 3](planes, streaming_ ? results_ : to, n);
        if (streaming_) store(results_, to, n * static_cast<size_t>(channels_));
    }

    uint8_t *rows(int channel) { return rowsOf_ + channel * most_ * dst_.bytes; }

    const OwnMixedForms &kernel_;
    const OwnConstant &constant_;
    const int channels_;
    const bool toPlanes_;
    const OwnSpan &src_, &dst_;
    const OwnSampleSize size_;
    const OwnRowForms &copy_;
    int64_t width_, height_;
    bool streaming_;
    int64_t most_;  // pixels of a stretch
    alignas(64) uint8_t results_[OWN_SCRATCH_BYTES];
    alignas(64) uint8_t rowsOf_[OWN_SCRATCH_BYTES];
};

}  // namespace

bool ownChangesOrder(const OwnRows &rows) {
    const OwnSpan &src = rows.spans[0], &dst = rows.spans[1];
    if (rows.masked || rows.planes < 3 || rows.planes > OWN_MAX_PLANES || src.bytes == 0 || dst.bytes == 0)
        return false;
    return (src.step == rows.planes && dst.step == 1) || (src.step == 1 && dst.step == rows.planes);
}

void ownRunMixedOrder(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant) {
    OrderRunner(rows, kernel, constant).run();
}
