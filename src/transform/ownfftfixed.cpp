// The fixed-point engine: integer samples, twiddles with 14 fractional bits. Lengths are split by their prime factors
// (Cooley and Tukey 1965), a prime is a direct sum. It serves small images, so that the code is plain: all of the
// spectrum, though half of it mirrors the other.
#include <climits>
#include <cmath>
#include <cstring>

#include "transform/ownfft.h"
#include "transform/ownfft2d.h"
#include "transform/ownturn.h"

namespace {

constexpr int ONE = 1 << 14;
// Samples have 12 fractional bits on their way, so that what products cut off is not seen; those of 32 bits have none,
// so that the sum of all that fit into memory fits into 64 bits.
int64_t unitOf(int depth) {
    return depth == OWN_32S ? 1 : 1 << 12;
}

struct Complex {
    int64_t re, im;
};
struct Twiddle {
    int16_t re, im;  // e^(-2 pi i k / N)
};

// The upper part of x is multiplied exactly, the lower 16 bits are cut off. A factor of 0 or 1 is exact.
int64_t times(int64_t x, int t) {
    if (t == 0) return 0;
    if (t == ONE || t == -ONE) return t == ONE ? x : -x;
    return t * (x >> 16) * 4 + ((t * ((x & 0xFFFF) >> 1)) >> 13);
}
Complex times(const Complex &x, const Twiddle &t) {
    return {times(x.re, t.re) - times(x.im, t.im), times(x.re, t.im) + times(x.im, t.re)};
}

// One length's factors, twiddles and scratch.
struct Length {
    int n;
    const Twiddle *twiddles;  // n of them
    Complex *parts;           // n of them: the points of a butterfly
};

int smallestFactor(int n) {
    for (int p = 2; p <= n / p; ++p) {
        if (n % p == 0) return p;
    }
    return n;
}

// n points that stand `step` apart, to n contiguous ones. Depth of the recursion: the number of prime factors.
void transform(const Length &length, const Complex *in, int64_t step, int n, Complex *out) {
    if (n == 1) {
        *out = *in;
        return;
    }
    const int p = smallestFactor(n), m = n / p;
    for (int j = 0; j < p; ++j)
        transform(length, in + j * step, step * p, m, out + int64_t{j} * m);
    const int64_t turn = length.n / n;  // twiddles from one n-th of a turn to the next
    for (int k = 0; k < m; ++k) {
        for (int j = 0; j < p; ++j)
            length.parts[j] = times(out[int64_t{j} * m + k], length.twiddles[int64_t{j} * k * turn]);
        for (int q = 0; q < p; ++q) {
            Complex sum = length.parts[0];
            const int64_t next = int64_t{q} * m * turn;
            for (int64_t j = 1, index = next; j < p; ++j) {
                const Complex term = times(length.parts[j], length.twiddles[index]);
                sum.re += term.re;
                sum.im += term.im;
                index += next;
                if (index >= length.n) index -= length.n;
            }
            out[int64_t{q} * m + k] = sum;
        }
    }
}

const Twiddle *findTwiddles(int n) {
    MoxThreadContext *context = ownGetContext();
    void *(&tables)[32] = context->fftTables[1];
    int(&lengths)[32] = context->fftFurtherSizes[1];
    for (int i = 0; i < 32; ++i) {
        if (tables[i] && lengths[i] == n) return static_cast<const Twiddle *>(tables[i]);
    }
    auto *table = static_cast<Twiddle *>(static_cast<void *>(moxiMalloc(n)));
    if (!table) return nullptr;
    for (int k = 0; k < n; ++k) {
        double c, s;
        ownTurn(k, n, &c, &s);
        table[k] = {static_cast<int16_t>(std::lrint(c * ONE)), static_cast<int16_t>(std::lrint(-s * ONE))};
    }
    const int slot = context->fftRecord.words[1];
    context->fftRecord.words[1] = (slot + 1) % 32;
    moxFree(tables[slot]);
    tables[slot] = table;
    lengths[slot] = n;
    return table;
}

class Transform {
  public:
    explicit Transform(const OwnFft2D &job)
        : job_(job), width_(job.width), height_(job.height), unit_(unitOf(job.src.depth)) {}

    bool prepare() {
        const int64_t longest = width_ > height_ ? width_ : height_;
        const int64_t count = int64_t{width_} * height_, floats = (count + 3 * longest) * 4;
        if (!ownFitsScratch(floats)) return false;
        if (!findTwiddles(width_)) return false;
        column_ = {height_, findTwiddles(height_), nullptr};
        row_ = {width_, findTwiddles(width_), nullptr};
        if (!column_.twiddles || !row_.twiddles) return false;
        float *memory = ownFftScratch(floats);
        if (!memory) return false;
        points_ = static_cast<Complex *>(static_cast<void *>(memory));
        line_ = points_ + count;
        result_ = line_ + longest;
        row_.parts = column_.parts = result_ + longest;
        return true;
    }

    void run() {
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x)
                load(x, y);
        }
        if (job_.packed) mirror();
        for (int y = 0; y < height_; ++y)
            runLine(row_, points_ + int64_t{y} * width_, 1);
        for (int x = 0; x < width_; ++x)
            runLine(column_, points_ + x, width_);
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x)
                store(x, y);
        }
    }

  private:
    Complex &point(int64_t v, int64_t u) { return points_[v * width_ + u]; }

    // What stands at (x, y) of a packed spectrum.
    struct Place {
        int v, u;
        bool imaginary;
    };
    Place placeOf(int x, int y) const {
        const bool last = width_ % 2 == 0 && x == width_ - 1;
        if (x != 0 && !last) return {y, (x + 1) / 2, x % 2 == 0};
        const int u = x == 0 ? 0 : width_ / 2;
        if (y == 0) return {0, u, false};
        if (height_ % 2 == 0 && y == height_ - 1) return {height_ / 2, u, false};
        return {(y + 1) / 2, u, y % 2 == 0};
    }

    void load(int x, int y) {
        float sample;
        // Exact: samples of this engine have up to 16 bits, unless 32S is asked to be read by it.
        if (job_.src.depth == OWN_32S) {
            int32_t wide;
            std::memcpy(&wide, job_.src.at(x, y), sizeof wide);
            put(x, y, wide);
            return;
        }
        ownSampleRows().load[job_.src.depth](job_.src.at(x, y), 1, &sample, 1);
        put(x, y, static_cast<int64_t>(sample));
    }
    void put(int x, int y, int64_t sample) {
        const int64_t value = sample * unit_;
        if (!job_.packed) {
            point(y, x) = {value, 0};
            return;
        }
        const Place place = placeOf(x, y);
        Complex &to = point(place.v, place.u);
        if (place.imaginary) {
            to.im = value;
        } else {
            to = {value, 0};
        }
    }

    // The half that a packed spectrum leaves out: F(-v, -u) is the conjugate of F(v, u).
    void mirror() {
        for (int v = 0; v < height_; ++v) {
            const int from = v == 0 ? 0 : height_ - v;
            const auto conjugate = [&](int u, int mirrored) {
                point(v, u) = {point(from, mirrored).re, -point(from, mirrored).im};
            };
            for (int u = width_ / 2 + 1; u < width_; ++u)
                conjugate(u, width_ - u);
            if (v <= height_ / 2) continue;
            conjugate(0, 0);
            if (width_ % 2 == 0) conjugate(width_ / 2, width_ / 2);
        }
    }

    // The inverse kernel is the other one on exchanged parts.
    void runLine(const Length &length, Complex *points, int64_t step) {
        for (int i = 0; i < length.n; ++i) {
            const Complex &p = points[i * step];
            line_[i] = job_.inverse ? Complex{p.im, p.re} : p;
        }
        transform(length, line_, 1, length.n, result_);
        for (int i = 0; i < length.n; ++i) {
            const Complex &p = result_[i];
            points[i * step] = job_.inverse ? Complex{p.im, p.re} : p;
        }
    }

    void store(int x, int y) {
        int64_t value = point(y, x).re;
        if (!job_.packed) {
            const Place place = placeOf(x, y);
            const Complex &from = point(place.v, place.u);
            value = place.imaginary ? from.im : from.re;
        }
        const float scale = job_.scaled ? 1.0f / (static_cast<float>(width_) * static_cast<float>(height_)) : 1.0f;
        value = std::llrint(static_cast<double>(value) / static_cast<double>(unit_) * static_cast<double>(scale));
        value = value < INT32_MIN ? INT32_MIN : value > INT32_MAX ? INT32_MAX : value;
        if (job_.dst.depth == OWN_32S) {
            const auto wide = static_cast<int32_t>(value);
            std::memcpy(job_.dst.at(x, y), &wide, sizeof wide);
            return;
        }
        const auto sample = static_cast<float>(value);
        ownSampleRows().store[job_.dst.depth](&sample, job_.dst.at(x, y), 1, 1);
    }

    const OwnFft2D &job_;
    const int width_, height_;
    const int64_t unit_;
    Length row_ = {}, column_ = {};
    Complex *points_ = nullptr, *line_ = nullptr, *result_ = nullptr;
};

}  // namespace

bool ownFixedFft2D(const OwnFft2D &job) {
    Transform transform(job);
    if (!transform.prepare()) return false;
    transform.run();
    return true;
}
