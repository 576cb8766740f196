// The float engine. Rows are real sequences, transformed two by two as one complex one; columns are complex, but for
// those of frequencies 0 and width / 2, which are real and make one complex sequence together. Blocks of rows, then of
// columns, are transposed so that a lane of a vector is a row or a column.
#include <algorithm>
#include <cstring>

#include "transform/ownfft.h"
#include "transform/ownfft2d.h"

namespace {

constexpr size_t TILE = 128;  // columns that are converted at a time
constexpr int MOST_LANES = 16;
// Columns are transformed a few blocks at a time before they are stored, so that whole cache lines are: at least so
// many blocks, or as many as make so many floats.
constexpr int64_t GROUP = 4;
constexpr int64_t GROUP_FLOATS = 1 << 18;

const float ZEROS[TILE] = {};

class Transform {
  public:
    explicit Transform(const OwnFft2D &job)
        : job_(job),
          kernels_(std::min(job.width, job.height) <= 2 ? ownFftThinRows() : ownFftRows()),
          lanes_(kernels_.lanes),
          width_(job.width),
          height_(job.height),
          columns_(width_ / 2 + width_ % 2),
          blocks_((columns_ + lanes_ - 1) / lanes_),
          pointFloats_(2 * lanes_),
          blockStep_(ownBlockPoints(height_) * pointFloats_) {}

    // Plans and scratch: everything that may fail.
    bool prepare() {
        // A plan's scratch has at least as many points as its length.
        const int64_t least = std::max(2 * ownBlockPoints(width_) + width_, ownBlockPoints(height_) + height_);
        if (!ownFitsScratch(blocks_ * blockStep_ + least * pointFloats_)) return false;
        // Of a full table the second plan may have pushed out the first.
        if (!ownFindFftPlan(width_)) return false;
        alongColumn_ = ownFindFftPlan(height_);
        if (!alongColumn_) return false;
        alongRow_ = ownFindFftPlan(width_);
        if (!alongRow_) return false;
        group_ = static_cast<int>(std::min<int64_t>(std::max(GROUP_FLOATS / blockStep_, GROUP), blocks_));
        const int64_t rowPoints = 2 * ownBlockPoints(width_) + alongRow_->work;
        const int64_t columnPoints = group_ * ownBlockPoints(height_) + alongColumn_->work;
        const int64_t middle = blocks_ * blockStep_;
        const int64_t edges = 4 * int64_t{height_};
        middle_ = ownFftScratch(middle + (std::max(rowPoints, columnPoints)) * pointFloats_ + edges + 16);
        if (!middle_) return false;
        scratch_ = middle_ + middle;
        edge_ = scratch_ + std::max(rowPoints, columnPoints) * pointFloats_;
        return true;
    }

    void run() {
        scale_ = job_.scaled ? 1.0f / (static_cast<float>(width_) * static_cast<float>(height_)) : 1.0f;
        if (job_.packed) {
            readSpectrum();
            writeRows();
        } else {
            readRows();
            writeSpectrum();
        }
    }

  private:
    int64_t pointsAt(int64_t n) const { return n * pointFloats_; }

    // ------------------------------------------------------------------------------------------------ rows of samples

    void readRows() {
        const int64_t line = pointsAt(ownBlockPoints(width_));
        float *points = scratch_, *spectrum = points + line, *work = spectrum + line;
        for (int y = 0; y < height_; y += 2 * lanes_) {
            const int count = std::min(2 * lanes_, height_ - y);
            spreadRows(y, count, points);
            kernels_.transform(*alongRow_, points, spectrum, work);
            kernels_.split(spectrum, width_, middle_ + pointsAt(y), blockStep_, count);
        }
    }

    void spreadRows(int y, int count, float *points) {
        for (int64_t x = 0; x < width_; x += static_cast<int64_t>(TILE)) {
            const auto n = static_cast<size_t>(std::min<int64_t>(TILE, width_ - x));
            const float *rows[2 * MOST_LANES];
            ownLoadRows(job_.src, x, y, count, n, tile_, TILE, rows);
            std::fill(rows + count, rows + 2 * lanes_, ZEROS);
            const float *paired[2 * MOST_LANES];
            ownPairRows(rows, lanes_, paired);
            kernels_.spread(paired, static_cast<int64_t>(n), points + pointsAt(x));
            kernels_.spread(paired + lanes_, static_cast<int64_t>(n), points + pointsAt(x) + lanes_);
        }
    }

    void writeRows() {
        const int64_t line = pointsAt(ownBlockPoints(width_));
        float *spectrum = scratch_, *points = spectrum + line, *work = points + line;
        for (int y = 0; y < height_; y += 2 * lanes_) {
            const int count = std::min(2 * lanes_, height_ - y);
            kernels_.join(middle_ + pointsAt(y), blockStep_, count, spectrum, width_);
            kernels_.transform(*alongRow_, spectrum, points, work);
            gatherRows(y, count, points);
        }
    }

    void gatherRows(int y, int count, const float *points) {
        const bool direct = job_.dst.isFloats();
        const auto store = ownSampleRows().store[job_.dst.depth];
        for (int64_t x = 0; x < width_; x += static_cast<int64_t>(TILE)) {
            const int64_t n = std::min<int64_t>(TILE, width_ - x);
            float *rows[2 * MOST_LANES];
            for (int r = 0; r < count; ++r) {
                rows[r] =
                    direct ? reinterpret_cast<float *>(job_.dst.at(x, y + r)) : tile_ + r * static_cast<int>(TILE);
            }
            float *paired[2 * MOST_LANES];
            std::fill(rows + count, rows + 2 * lanes_, nullptr);
            ownPairRows(rows, lanes_, paired);
            // Parts are exchanged: the first rows of pairs are the imaginary ones.
            kernels_.gather(points + pointsAt(x) + lanes_, n, paired, (count + 1) / 2, scale_);
            kernels_.gather(points + pointsAt(x), n, paired + lanes_, count / 2, scale_);
            for (int r = 0; !direct && r < count; ++r)
                store(rows[r], job_.dst.at(x, y + r), job_.dst.step, static_cast<size_t>(n));
        }
    }

    // ---------------------------------------------------------------------------------------------- columns of spectra

    void writeSpectrum() {
        float *work = scratch_ + group_ * blockStep_;
        for (int block = 0; block < blocks_; block += group_) {
            const int count = std::min(group_, blocks_ - block);
            for (int i = 0; i < count; ++i) {
                kernels_.transform(*alongColumn_, middle_ + (block + i) * blockStep_, scratch_ + i * blockStep_, work);
            }
            if (block == 0) storeEdges();
            for (int y = 0; y < height_; ++y)
                storePairs(block, count, y);
        }
    }

    // Pairs of a block of columns in one row. In the first block the first pair is not one.
    struct Share {
        int64_t x, pairs;
        int skipped;
    };
    Share shareOf(int block) const {
        const int first = block * lanes_, end = std::min(first + lanes_, columns_);
        const int skipped = block == 0 ? 1 : 0;
        return {2 * int64_t{first + skipped} - 1, end - first - skipped, skipped};
    }

    void storePairs(int block, int count, int y) {
        const OwnPlane &dst = job_.dst;
        const float im = job_.inverse ? -scale_ : scale_;
        for (int i = 0; i < count; ++i) {
            const Share share = shareOf(block + i);
            const float *point = scratch_ + i * blockStep_ + pointsAt(y);
            char *at = dst.at(share.x, y);
            if (dst.isFloats() && share.pairs == lanes_) {
                kernels_.pack(point, reinterpret_cast<float *>(at), scale_, im);
                continue;
            }
            float pairs[2 * MOST_LANES];
            kernels_.pack(point, pairs, scale_, im);
            ownSampleRows().store[dst.depth](pairs + 2 * share.skipped, at, dst.step,
                                             static_cast<size_t>(2 * share.pairs));
        }
    }

    bool hasLastColumn() const { return width_ % 2 == 0; }

    // The two real columns, from the first lane of the first block, which is the spectrum of one plus i times the
    // other.
    void storeEdges() {
        float *first = edge_, *last = edge_ + height_;
        const float im = job_.inverse ? -scale_ : scale_;
        for (int v = 0; 2 * v <= height_; ++v) {
            const float *a = scratch_ + pointsAt(v), *b = scratch_ + pointsAt(v == 0 ? 0 : height_ - v);
            const float aIm = a[lanes_], bIm = b[lanes_];
            const bool real = v == 0 || 2 * v == height_;
            const int at = v == 0 ? 0 : 2 * v - 1;
            first[at] = real ? a[0] * scale_ : (a[0] + b[0]) * 0.5f * scale_;
            last[at] = real ? aIm * scale_ : (aIm + bIm) * 0.5f * scale_;
            if (real) continue;
            first[at + 1] = (aIm - bIm) * 0.5f * im;
            last[at + 1] = (b[0] - a[0]) * 0.5f * im;
        }
        const auto store = ownSampleRows().store[job_.dst.depth];
        for (int y = 0; y < height_; ++y) {
            store(first + y, job_.dst.at(0, y), 1, 1);
            if (hasLastColumn()) store(last + y, job_.dst.at(width_ - 1, y), 1, 1);
        }
    }

    void readSpectrum() {
        float *work = scratch_ + group_ * blockStep_;
        for (int block = 0; block < blocks_; block += group_) {
            const int count = std::min(group_, blocks_ - block);
            for (int y = 0; y < height_; ++y)
                loadPairs(block, count, y);
            if (block == 0) loadEdges();
            for (int i = 0; i < count; ++i) {
                kernels_.transform(*alongColumn_, scratch_ + i * blockStep_, middle_ + (block + i) * blockStep_, work);
            }
        }
    }

    // A forward kernel is the inverse one of the conjugate spectrum, since the result is real.
    float conjugation() const { return job_.inverse ? 1.0f : -1.0f; }

    void loadPairs(int block, int count, int y) {
        const OwnPlane &src = job_.src;
        for (int i = 0; i < count; ++i) {
            const Share share = shareOf(block + i);
            float *point = scratch_ + i * blockStep_ + pointsAt(y);
            const char *at = src.at(share.x, y);
            if (src.isFloats() && share.pairs == lanes_) {
                kernels_.unpack(reinterpret_cast<const float *>(at), point, 1.0f, conjugation());
                continue;
            }
            float pairs[2 * MOST_LANES] = {};
            ownSampleRows().load[src.depth](at, src.step, pairs + 2 * share.skipped,
                                            static_cast<size_t>(2 * share.pairs));
            kernels_.unpack(pairs, point, 1.0f, conjugation());
        }
    }

    void loadEdges() {
        float *first = edge_, *last = edge_ + height_;
        const auto load = ownSampleRows().load[job_.src.depth];
        for (int y = 0; y < height_; ++y) {
            load(job_.src.at(0, y), 1, first + y, 1);
            last[y] = 0;
            if (hasLastColumn()) load(job_.src.at(width_ - 1, y), 1, last + y, 1);
        }
        const float sign = conjugation();
        for (int v = 0; 2 * v <= height_; ++v) {
            // Of points with exchanged parts.
            float *a = scratch_ + pointsAt(v), *b = scratch_ + pointsAt(v == 0 ? 0 : height_ - v);
            const int at = v == 0 ? 0 : 2 * v - 1;
            if (v == 0 || 2 * v == height_) {
                a[lanes_] = first[at];
                a[0] = last[at];
                continue;
            }
            const float firstIm = first[at + 1] * sign, lastIm = last[at + 1] * sign;
            a[lanes_] = first[at] - lastIm;
            a[0] = firstIm + last[at];
            b[lanes_] = first[at] + lastIm;
            b[0] = last[at] - firstIm;
        }
    }

    const OwnFft2D &job_;
    const OwnFftRows &kernels_;
    const int lanes_;
    const int width_, height_;
    const int columns_;  // pairs in a row, the two real columns being one
    const int blocks_;
    const int64_t pointFloats_, blockStep_;
    const OwnFftPlan *alongRow_ = nullptr, *alongColumn_ = nullptr;
    int group_ = 1;
    float scale_ = 1;
    float *middle_ = nullptr, *scratch_ = nullptr, *edge_ = nullptr;
    alignas(64) float tile_[2 * MOST_LANES * TILE];
};

}  // namespace

bool ownFloatFft2D(const OwnFft2D &job) {
    Transform transform(job);
    if (!transform.prepare()) return false;
    transform.run();
    return true;
}
