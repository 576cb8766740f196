// Rows of planes.
#include "frame/ownplanes.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/owncache.h"
#include "core/owncpu.h"
#include "frame/ownrows.h"

OWN_DECLARE_LEVELS(OwnPlaneMoves, planeMoves)

const OwnPlaneMoves &ownPlaneMoves() {
    static constexpr const OwnPlaneMoves *tables[] = OWN_LEVEL_TABLES(planeMoves);
    return *tables[ownCpuLevel()];
}

namespace {

constexpr int MAX_ROWS = OWN_MAX_PLANE_IMAGES * OWN_MAX_PLANES;

// What a stretch's rows take in all: what stays in the first cache beside the images. No stretch is longer than this
// many pixels.
constexpr int64_t SCRATCH_BYTES = 12288;

// What they take where a core's own caches do not hold the images: lines are fetched ahead only while a stretch is read
// or written, and short ones leave less time without.
constexpr int64_t FAR_BYTES = 4 << 20, FAR_SCRATCH_BYTES = SCRATCH_BYTES / 4;
constexpr int64_t LONGEST_STRETCH = 1024;
constexpr int64_t STRETCH_UNIT = 64;
constexpr int64_t CACHE_LINE = 64;

// Between rows: with equal places in pages of memory a processor takes a load for one of what was just stored.
constexpr int64_t GAP = 3 * CACHE_LINE;

// How the rows of an image come about.
enum Way {
    IN_PLACE,   // they stand by themselves
    SPLIT,      // pixels of 3 or 4 samples, all of them
    ONE_BY_ONE  // each row gathered and scattered by itself
};

struct Side {
    const OwnPlaneImage *of;
    Way way;
    bool bits;
    bool aside;    // written in place by way of the scratch: under a mask, or past the caches
    OwnSpan span;  // of channel 0
    OwnSampleSize size;
    int64_t channelStep;        // bytes from a channel to the next
    int rows;                   // in the scratch: those of the kernel, or all of a pixel
    int order[OWN_MAX_PLANES];  // the scratch's row of each of the kernel's
    uint8_t *scratch[OWN_MAX_PLANES];
    int64_t pixelBytes() const { return int64_t{span.step} * span.bytes; }
};

class PlaneRunner {
  public:
    PlaneRunner(const OwnPlanes &planes, OwnPlaneKernel kernel, const void *operation)
        : planes_(planes), kernel_(kernel), operation_(operation), move_(ownMoveRows()), moves_(ownPlaneMoves()) {
        width_ = planes.width;
        height_ = planes.height;
        int unused[2];
        if (planes.mask) mask_ = ownSpan(planes.mask, 0, &unused[0], &unused[1]);
        for (int i = 0; i < planes.count; ++i)
            setSide(planes.images[i], &sides_[i]);
        joinRows();
        streams_ = shouldStream();
        shareScratch();
    }

    void run() {
        for (int64_t y = 0; y < height_; ++y)
            runRow(y);
        if (streams_) move_.fence();
    }

  private:
    void setSide(const OwnPlaneImage &of, Side *side) const;
    void joinRows();
    int64_t bytesOfAll() const;
    bool shouldStream() const;
    void shareScratch();
    int64_t firstStretch(int64_t y) const;
    void runRow(int64_t y);
    void runStretch(int64_t x, int64_t y, int64_t pixels);
    void bring(const Side &side, const uint8_t *at, int64_t x, int64_t pixels);
    void putBack(const Side &side, uint8_t *at, int64_t x, int64_t pixels, const uint8_t *maskBits);
    void putPixels(const Side &side, uint8_t *at, int64_t pixels, const uint8_t *maskBits);
    void putRow(const Side &side, uint8_t *row, uint8_t *to, int64_t pixels, const uint8_t *maskBits);
    void putBits(uint8_t *row, uint8_t *to, int bit, int64_t pixels, const uint8_t *maskBits);
    void store(OwnSampleSize size, const uint8_t *row, uint8_t *to, int repeat, int64_t pixels,
               const uint8_t *maskBits);

    uint8_t *address(const Side &side, int64_t x, int64_t y) const {
        uint8_t *row = side.span.start + y * side.span.rowStep;
        return side.bits ? row + (side.span.bit + x) / 8 : row + x * side.pixelBytes();
    }

    const OwnPlanes &planes_;
    const OwnPlaneKernel kernel_;
    const void *operation_;
    const OwnMoveRows &move_;
    const OwnPlaneMoves &moves_;
    Side sides_[OWN_MAX_PLANE_IMAGES];
    OwnSpan mask_;
    int64_t width_, height_;
    int64_t stretch_;
    bool streams_;
    bool direct_;      // nothing needs the scratch
    uint8_t *pixels_;  // the scratch's pixels, on their way to an image
    uint8_t *before_;  // a row as the image has it

    uint8_t maskBits_[LONGEST_STRETCH / 8 + 8];
    alignas(64) uint8_t lanes_[LONGEST_STRETCH * 16 + 128];
    alignas(64) uint8_t scratch_[SCRATCH_BYTES + (MAX_ROWS + 2) * GAP];
};

void PlaneRunner::setSide(const OwnPlaneImage &of, Side *side) const {
    const MoxImage *image = of.image;
    int unused[2];
    side->of = &of;
    side->span = ownSpan(image, 0, &unused[0], &unused[1]);
    side->bits = image->depth == MOX_DEPTH_1U;
    side->size = ownSampleSize(side->span.bytes);
    side->channelStep = image->dataOrder == MOX_DATA_ORDER_PLANE ? side->span.planeStep : side->span.bytes;
    const int step = side->span.step;
    side->way = side->bits                                 ? ONE_BY_ONE
                : step == 1                                ? IN_PLACE
                : (step == 3 || step == 4) && of.count > 1 ? SPLIT
                                                           : ONE_BY_ONE;
    side->rows = side->way == SPLIT ? step : of.count;
    for (int k = 0; k < of.count; ++k)
        side->order[k] = side->way == SPLIT ? of.channels[k] : k;
}

// Rows without padding between them are one.
void PlaneRunner::joinRows() {
    if (planes_.mask || height_ == 1) return;
    for (int i = 0; i < planes_.count; ++i) {
        const OwnSpan &span = sides_[i].span;
        const bool follow = sides_[i].bits ? span.bit == 0 && span.rowStep * 8 == width_
                                           : span.rowStep == width_ * sides_[i].pixelBytes();
        if (!follow) return;
    }
    width_ *= height_;
    height_ = 1;
}

// What the operation passes over, but for bits.
int64_t PlaneRunner::bytesOfAll() const {
    int64_t bytes = 0;
    for (int i = 0; i < planes_.count; ++i) {
        const Side &side = sides_[i];
        if (!side.bits) bytes += width_ * height_ * side.span.bytes * std::max(side.rows, 1);
    }
    return bytes;
}

// Storing past the caches pays where they could not keep what is written, unless it was read before.
bool PlaneRunner::shouldStream() const {
    if (planes_.mask) return false;
    for (int i = 0; i < planes_.count; ++i) {
        const Side &side = sides_[i];
        for (int k = 0; k < planes_.count; ++k) {
            if (side.of->written && !sides_[k].of->written && sides_[k].span.start == side.span.start) return false;
        }
    }
    return bytesOfAll() >= ownStreamBounds().bytes;
}

// A row of the scratch for each that does not stand by itself; their length is what the scratch holds of all.
void PlaneRunner::shareScratch() {
    int64_t perPixel = 0, pixelBytes = 0, sampleBytes = 0;
    for (int i = 0; i < planes_.count; ++i) {
        Side &side = sides_[i];
        const int64_t bytes = std::max(side.span.bytes, 1);
        side.aside = side.of->written && (planes_.mask || streams_);
        if (side.way != IN_PLACE || side.aside) perPixel += bytes * side.rows;
        if (side.aside && side.way == SPLIT) pixelBytes = std::max(pixelBytes, side.pixelBytes());
        if (side.aside && side.way == ONE_BY_ONE && !side.bits) sampleBytes = std::max(sampleBytes, bytes);
    }
    perPixel += pixelBytes + sampleBytes;
    direct_ = perPixel == 0;
    const int64_t room = bytesOfAll() < FAR_BYTES ? SCRATCH_BYTES : FAR_SCRATCH_BYTES;
    const int64_t units = direct_ ? 0 : std::max<int64_t>(room / perPixel / STRETCH_UNIT, 1);
    stretch_ = direct_ ? INT32_MAX : std::min(LONGEST_STRETCH, units * STRETCH_UNIT);
    uint8_t *at = scratch_;
    const auto take = [&](int64_t bytes) {
        uint8_t *taken = at;
        if (bytes > 0) at += bytes * stretch_ + GAP;
        return taken;
    };
    if (direct_) return;
    pixels_ = take(pixelBytes);
    before_ = take(sampleBytes);
    for (int i = 0; i < planes_.count; ++i) {
        Side &side = sides_[i];
        if (side.way == IN_PLACE && !side.aside) continue;
        for (int k = 0; k < side.rows; ++k)
            side.scratch[k] = take(std::max(side.span.bytes, 1));
        for (int k = 1; side.of->equal && side.way == SPLIT && k < side.of->count; ++k)
            side.scratch[side.order[k]] = side.scratch[side.order[0]];
    }
}

// So many pixels that the stretches behind them begin with a cache line of what is stored past the caches.
int64_t PlaneRunner::firstStretch(int64_t y) const {
    if (!streams_) return stretch_;
    for (int i = 0; i < planes_.count; ++i) {
        const Side &side = sides_[i];
        if (!side.aside || side.way == ONE_BY_ONE) continue;
        auto at = reinterpret_cast<uintptr_t>(address(side, 0, y));
        if (side.way == IN_PLACE) at += static_cast<uintptr_t>(side.of->channels[0] * side.channelStep);
        for (int64_t pixels = 0; pixels < CACHE_LINE; ++pixels) {
            if ((at + static_cast<uintptr_t>(pixels * side.pixelBytes())) % CACHE_LINE == 0)
                return stretch_ - CACHE_LINE + pixels;
        }
    }
    return stretch_;
}

void PlaneRunner::runRow(int64_t y) {
    for (int64_t x = 0, most = firstStretch(y); x < width_; most = stretch_) {
        const int64_t pixels = std::min(most, width_ - x);
        runStretch(x, y, pixels);
        x += pixels;
    }
}

void PlaneRunner::runStretch(int64_t x, int64_t y, int64_t pixels) {
    void *rows[MAX_ROWS];
    void **row = rows;
    for (int i = 0; i < planes_.count; ++i) {
        const Side &side = sides_[i];
        uint8_t *at = address(side, x, y);
        // What a pixel has beside the rows that are written is read, to be written again.
        const bool keeps = side.way == SPLIT && side.rows > side.of->count;
        if (side.way != IN_PLACE && (!side.of->written || keeps)) bring(side, at, x, pixels);
        for (int k = 0; k < side.of->count; ++k) {
            const bool stands = side.way == IN_PLACE && !side.aside;
            *row++ = stands ? at + side.of->channels[k] * side.channelStep : side.scratch[side.order[k]];
        }
    }
    kernel_(rows, static_cast<size_t>(pixels), operation_);
    if (direct_) return;
    const uint8_t *maskBits = nullptr;
    if (planes_.mask) {
        const int64_t bit = mask_.bit + x;
        ownAlignBits(mask_.start + y * mask_.rowStep + bit / 8, static_cast<int>(bit % 8), maskBits_, 0, pixels);
        maskBits = maskBits_;
    }
    for (int i = 0; i < planes_.count; ++i) {
        const Side &side = sides_[i];
        if (side.of->written && (side.way != IN_PLACE || side.aside))
            putBack(side, address(side, x, y), x, pixels, maskBits);
    }
}

void PlaneRunner::bring(const Side &side, const uint8_t *at, int64_t x, int64_t pixels) {
    const auto n = static_cast<size_t>(pixels);
    if (side.way == SPLIT) {
        void *rows[OWN_MAX_PLANES];
        std::copy(side.scratch, side.scratch + side.rows, rows);
        moves_.split[side.size][side.span.step - 3](at, rows, n);
        return;
    }
    for (int k = 0; k < side.rows; ++k) {
        const uint8_t *from = at + side.of->channels[k] * side.channelStep;
        if (side.bits) {
            uint8_t bits[LONGEST_STRETCH / 8 + 8];
            ownAlignBits(from, static_cast<int>((side.span.bit + x) % 8), bits, 0, pixels);
            move_.lanes[OWN_1_BYTE](bits, 1, lanes_, n);
            std::memcpy(side.scratch[k], lanes_, n);
        } else {
            move_.gather[side.size](from, side.span.step, 1, side.scratch[k], n);
        }
    }
}

void PlaneRunner::putBack(const Side &side, uint8_t *at, int64_t x, int64_t pixels, const uint8_t *maskBits) {
    if (side.way == SPLIT) return putPixels(side, at, pixels, maskBits);
    for (int k = 0; k < side.rows; ++k) {
        uint8_t *to = at + side.of->channels[k] * side.channelStep;
        if (side.bits) {
            putBits(side.scratch[k], to, static_cast<int>((side.span.bit + x) % 8), pixels, maskBits);
        } else if (side.way == IN_PLACE) {
            store(side.size, side.scratch[k], to, 1, pixels, maskBits);
        } else {
            putRow(side, side.scratch[k], to, pixels, maskBits);
        }
    }
}

void PlaneRunner::putPixels(const Side &side, uint8_t *at, int64_t pixels, const uint8_t *maskBits) {
    const void *rows[OWN_MAX_PLANES];
    std::copy(side.scratch, side.scratch + side.rows, rows);
    const auto join = moves_.join[side.size][side.span.step - 3];
    join(rows, side.aside ? pixels_ : at, static_cast<size_t>(pixels));
    if (side.aside) store(side.size, pixels_, at, side.span.step, pixels, maskBits);
}

// A row of samples that stand apart. Those that the mask leaves out are written as they were.
void PlaneRunner::putRow(const Side &side, uint8_t *row, uint8_t *to, int64_t pixels, const uint8_t *maskBits) {
    const auto n = static_cast<size_t>(pixels);
    if (maskBits) {
        move_.gather[side.size](to, side.span.step, 1, before_, n);
        store(side.size, row, before_, 1, pixels, maskBits);
        row = before_;
    }
    move_.scatter[side.size](row, to, side.span.step, 1, n);
}

void PlaneRunner::putBits(uint8_t *row, uint8_t *to, int bit, int64_t pixels, const uint8_t *maskBits) {
    uint8_t bits[LONGEST_STRETCH / 8 + 8];
    moves_.packBits(row, static_cast<size_t>(pixels), bits);
    if (maskBits) {
        uint8_t before[LONGEST_STRETCH / 8 + 8];
        ownAlignBits(to, bit, before, 0, pixels);
        for (int64_t k = 0; k < (pixels + 7) / 8; ++k)
            bits[k] = static_cast<uint8_t>((bits[k] & maskBits[k]) | (before[k] & ~maskBits[k]));
    }
    ownCopyBits(bits, to, 0, bit, pixels);
}

// Contiguous samples, so many for each pixel: under the mask, or past the caches.
void PlaneRunner::store(OwnSampleSize size, const uint8_t *row, uint8_t *to, int repeat, int64_t pixels,
                        const uint8_t *maskBits) {
    const OwnRowForms &copy = move_.copy[size];
    const auto samples = static_cast<size_t>(pixels * repeat);
    if (maskBits) {
        move_.lanes[size](maskBits, repeat, lanes_, static_cast<size_t>(pixels));
        copy.masked(row, nullptr, to, samples, {}, lanes_);
    } else if (streams_) {
        copy.streamed(row, nullptr, to, samples, {});
    } else {
        copy.plain(row, nullptr, to, samples, {});
    }
}

}  // namespace

void ownSetPlaneSize(OwnPlanes *planes) {
    int64_t width = INT_MAX, height = INT_MAX;
    const auto limit = [&](const MoxImage *image) {
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    };
    for (int i = 0; i < planes->count; ++i)
        limit(planes->images[i].image);
    if (planes->mask) limit(planes->mask);
    planes->width = static_cast<int>(std::max<int64_t>(width, 0));
    planes->height = static_cast<int>(std::max<int64_t>(height, 0));
}

void ownRunPlanes(const OwnPlanes &planes, OwnPlaneKernel kernel, const void *operation) {
    if (planes.width <= 0 || planes.height <= 0) return;
    PlaneRunner(planes, kernel, operation).run();
}
