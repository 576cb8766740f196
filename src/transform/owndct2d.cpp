// The engines of the two-dimensional cosine transform. In single precision a transform of any length is a Fourier
// transform of the samples in another order (Makhoul 1980): of two rows, then of two columns at a time, with vectors
// across them. Blocks of 8 x 8 have a transform of their own.
#include <algorithm>
#include <cmath>

#include "core/owncpu.h"
#include "transform/owndct.h"

OWN_DECLARE_LEVELS(OwnDctRows, dctRows)

const OwnDctRows &ownDctRows() {
    static constexpr const OwnDctRows *tables[] = OWN_LEVEL_TABLES(dctRows);
    return *tables[ownCpuLevel()];
}

namespace {

constexpr size_t TILE = 128;
constexpr int MOST_LANES = 16;

const float ZEROS[TILE] = {};

class Transform {
  public:
    explicit Transform(const OwnDct2D &job)
        : job_(job),
          fft_(ownFftRows()),
          rows_(ownDctRows()),
          lanes_(fft_.lanes),
          width_(job.width),
          height_(job.height),
          blocks_((int64_t{width_} + 2 * lanes_ - 1) / (2 * lanes_)),
          blockStep_(pointsAt(ownBlockPoints(height_))) {}

    bool prepare() {
        // A plan's scratch has at least as many points as its length.
        const int longest = std::max(width_, height_);
        const int64_t line = ownBlockPoints(longest);
        if (!ownFitsScratch(blocks_ * blockStep_ + pointsAt(2 * line + longest))) return false;
        if (!ownFindDctPlan(width_)) return false;
        alongColumn_ = ownFindDctPlan(height_);
        if (!alongColumn_) return false;
        alongRow_ = ownFindDctPlan(width_);
        if (!alongRow_) return false;
        const int64_t points = 2 * line + std::max(alongRow_->work, alongColumn_->work);
        middle_ = ownDctScratch(blocks_ * blockStep_ + pointsAt(points));
        if (!middle_) return false;
        first_ = middle_ + blocks_ * blockStep_;
        second_ = first_ + pointsAt(line);
        work_ = second_ + pointsAt(line);
        return true;
    }

    // The factors of frequency 0 and of the others. A forward transform's are applied at its end, an inverse one's at
    // its start; that of both directions together is with the columns' or the rows'.
    void run() {
        const double s = 1 / std::sqrt(static_cast<double>(width_) * height_);
        constexpr float half = 0.70710678118654752440f;
        constexpr float root = 1.41421356237309504880f;
        const auto first = static_cast<float>(s);
        const auto other = static_cast<float>(s * (job_.inverse ? 0.70710678118654752440 : 1.41421356237309504880));
        for (int y = 0; y < height_; y += 2 * lanes_)
            runRows(y, std::min(2 * lanes_, height_ - y), job_.inverse ? first : 1.0f, job_.inverse ? other : root);
        for (int64_t block = 0; block < blocks_; ++block)
            runColumns(block, job_.inverse ? 1.0f : first, job_.inverse ? half : other);
    }

  private:
    int64_t pointsAt(int64_t n) const { return n * 2 * lanes_; }

    // Of the sequences in `from`, which may be overwritten as soon as it has been read; gives where the result is.
    float *transform(const OwnFftPlan &plan, float *from, float *other, float first, float scale) {
        if (plan.cosines) {
            rows_.sum(plan, from, job_.inverse, first, scale, other);
            return other;
        }
        if (job_.inverse) {
            rows_.toSpectrum(from, plan.shift, plan.length, first, scale, other);
            fft_.transform(plan, other, from, work_);
            return from;
        }
        fft_.transform(plan, from, other, work_);
        rows_.fromSpectrum(other, plan.shift, plan.length, first, scale, from);
        return from;
    }

    void runRows(int y, int count, float first, float scale) {
        for (int64_t x = 0; x < width_; x += static_cast<int64_t>(TILE)) {
            const auto n = static_cast<size_t>(std::min<int64_t>(TILE, width_ - x));
            const float *rows[2 * MOST_LANES];
            ownLoadRows(job_.src, x, y, count, n, tile_, TILE, rows);
            std::fill(rows + count, rows + 2 * lanes_, ZEROS);
            const float *paired[2 * MOST_LANES];
            ownPairRows(rows, lanes_, paired);
            for (int part = 0; part < 2; ++part) {
                rows_.spread(paired + part * lanes_, x, static_cast<int64_t>(n), width_, !job_.inverse,
                             first_ + part * lanes_);
            }
        }
        const float *result = transform(*alongRow_, first_, second_, first, scale);
        rows_.turn(result, width_, job_.inverse, middle_, blockStep_, y, height_, count);
    }

    void runColumns(int64_t block, float first, float scale) {
        const float *result = transform(*alongColumn_, middle_ + block * blockStep_, second_, first, scale);
        const int64_t x = block * 2 * lanes_;
        const int64_t n = std::min<int64_t>(2 * lanes_, width_ - x);
        const auto store = ownSampleRows().store[job_.dst.depth];
        for (int64_t y = 0; y < height_; ++y) {
            const float *point = result + pointsAt(job_.inverse ? ownDctPlace(y, height_) : y);
            char *at = job_.dst.at(x, y);
            if (job_.dst.isFloats() && n == 2 * lanes_) {
                rows_.pairs(point, job_.inverse, reinterpret_cast<float *>(at));
                continue;
            }
            float samples[2 * MOST_LANES];
            rows_.pairs(point, job_.inverse, samples);
            store(samples, at, job_.dst.step, static_cast<size_t>(n));
        }
    }

    const OwnDct2D &job_;
    const OwnFftRows &fft_;
    const OwnDctRows &rows_;
    const int lanes_;
    const int width_, height_;
    const int64_t blocks_, blockStep_;
    const OwnFftPlan *alongRow_ = nullptr, *alongColumn_ = nullptr;
    float *middle_ = nullptr, *first_ = nullptr, *second_ = nullptr, *work_ = nullptr;
    alignas(64) float tile_[2 * MOST_LANES * TILE];
};

void transformEight(const OwnDct2D &job) {
    alignas(64) float copies[8 * 8], results[8 * 8];
    const float *in[8];
    float *out[8];
    if (job.src.isFloats()) {
        for (int r = 0; r < 8; ++r)
            in[r] = reinterpret_cast<const float *>(job.src.at(0, r));
    } else {
        ownLoadRows(job.src, 0, 0, 8, 8, copies, 8, in);
    }
    const bool direct = job.dst.isFloats();
    for (int r = 0; r < 8; ++r)
        out[r] = direct ? reinterpret_cast<float *>(job.dst.at(0, r)) : results + 8 * r;
    ownDctRows().eight(in, out, job.inverse);
    for (int r = 0; !direct && r < 8; ++r)
        ownSampleRows().store[job.dst.depth](out[r], job.dst.at(0, r), job.dst.step, 8);
}

}  // namespace

bool ownFloatDct2D(const OwnDct2D &job) {
    if (job.width == 8 && job.height == 8) {
        transformEight(job);
        return true;
    }
    Transform transform(job);
    if (!transform.prepare()) return false;
    transform.run();
    return true;
}

bool ownTakesFixedDct(const OwnDct2D &job) {
    const auto fits = [](int size) { return size == 4 || size == 8 || size == 16 || size == 32; };
    return fits(job.width) && fits(job.height) && job.src.bytes < 4 && job.dst.bytes < 4;
}

void ownFixedDct2D(const OwnDct2D &job) {
    OwnDctBlock block;
    // Squares of 8 are transposed: what lies beyond a size of 4 is 0.
    if (job.width == 4 || job.height == 4) block = {};
    const OwnFixedSamples &samples = ownFixedSamples();
    for (int y = 0; y < job.height; ++y)
        samples.load[job.src.depth](job.src.at(0, y), job.src.step, block.rows[y], job.width);
    ownDctRows().fixed(&block, job.width, job.height, job.inverse);
    for (int y = 0; y < job.height; ++y)
        samples.store[job.dst.depth](block.rows[y], job.dst.at(0, y), job.dst.step, job.width);
}
