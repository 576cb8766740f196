// The scaler frame. A destination is cut into areas: its tiles, and within these, or a plain image, as many columns as
// tables are made for at a time. Positions go on from each area to the next, so that nothing depends on how it was cut.
#include "geometry/ownscale.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "frame/ownborder.h"
#include "frame/ownmove.h"
#include "frame/ownpair.h"
#include "frame/ownplanes.h"
#include "frame/ownrect.h"
#include "geometry/ownscalecolumns.h"

namespace {

// Samples of a destination row that tables are made for at a time, and pixels of a source row that are copied for them
// where rows do not come as they stand.
constexpr int64_t MOST_SAMPLES = 65536, MOST_PIXELS = 65536;
// So many pixels that nothing comes from are not copied between others.
constexpr int64_t WIDEST_GAP = 256;
// Rows of a tiled source that are read at a time.
constexpr int64_t MOST_ROWS = 64;
// Source rows that are asked for ahead have so many bytes.
constexpr int64_t SHORTEST_AHEAD = 512;

// Rows of the source's region, contiguous samples each, between two columns: as they stand, or copied.
class SourceRows {
  public:
    explicit SourceRows(MoxImage *image, int channels) : image_(image), channels_(channels) {
        ownImageRect(image, &rect_);
        const bool pixels = image->dataOrder == MOX_DATA_ORDER_PIXEL;
        inPlace_ = !image->tileInfo && image->depth != MOX_DEPTH_1U && (!pixels || channels == image->nChannels);
        if (inPlace_) {
            int width, height;
            span_ = ownSpan(image, ownFirstChannel(image), &width, &height);
        }
    }
    ~SourceRows() { ownFreeRect(band_); }
    SourceRows(const SourceRows &) = delete;
    SourceRows &operator=(const SourceRows &) = delete;

    bool inPlace() const { return inPlace_; }

    // From here on columns x to x + width; row has room for them where they are copied.
    void open(int64_t x, int64_t width, uint8_t *row) {
        x_ = x;
        width_ = width;
        row_ = row;
        bandEnd_ = bandFirst_ = 0;
    }

    // Null where a tile was not delivered, or memory for a part of the image is missing.
    const uint8_t *row(int plane, int64_t y) {
        if (inPlace_) return rowInPlace(plane, y);
        const MoxImage *image = image_;
        int64_t x = rect_.x + x_;
        if (image->tileInfo) {
            if ((y < bandFirst_ || y >= bandEnd_) && !readBand(y)) return nullptr;
            image = &bandImage_.header;
            x = 0;
            y -= bandFirst_;
        } else {
            y += rect_.y;
        }
        OwnRowSource source;
        ownSetRowSource(&source, image, ownFirstChannel(image) + plane, channels_);
        if (const uint8_t *there = ownRowInPlace(source, x, y, width_)) return there;
        ownBorderRow(source, x, y, width_, row_);
        return row_;
    }

    // A processor reads ahead within a memory page: rows that are wanted next are asked for earlier.
    void askFor(int plane, int64_t y) const {
        const int64_t bytes = width_ * channels_ * span_.bytes;
        if (!inPlace_ || bytes < SHORTEST_AHEAD) return;
        const uint8_t *row = rowInPlace(plane, y);
        for (int64_t at = 0; at < bytes; at += 64)
            __builtin_prefetch(row + at);
    }

  private:
    const uint8_t *rowInPlace(int plane, int64_t y) const {
        return span_.start + plane * span_.planeStep + y * span_.rowStep + x_ * span_.step * span_.bytes;
    }

    // Rows from y on that lie in one row of tiles.
    bool readBand(int64_t y) {
        ownFreeRect(band_);
        const int64_t height = image_->tileInfo->height;
        const int64_t rows = std::min({height - (rect_.y + y) % height, rect_.height - y, MOST_ROWS});
        const OwnShare share = {x_, y, width_, rows};
        int rowBytes = 0;
        band_ = ownReadShare(image_, share, &rowBytes);
        bandFirst_ = y;
        bandEnd_ = band_ ? y + rows : y;
        if (band_) ownShareOfRect(image_, share, band_, rowBytes, &bandImage_);
        return band_ != nullptr;
    }

    MoxImage *image_;
    OwnImageRect rect_;
    int channels_;
    bool inPlace_;
    OwnSpan span_ = {};  // where rows stand
    int64_t x_ = 0, width_ = 0;
    uint8_t *row_ = nullptr;
    char *band_ = nullptr;
    OwnScratchImage bandImage_;
    int64_t bandFirst_ = 0, bandEnd_ = 0;
};

bool bitAt(const MoxImage *mask, const OwnImageRect &rect, int64_t x, int64_t y) {
    const int64_t column = rect.x + x;
    const char *row = mask->imageData + (rect.y + y) * mask->widthStep;
    return (row[column / 8] >> (7 - column % 8) & 1) != 0;
}

// Bits of a destination row: those of the destination's mask where the source's has its own.
class MaskRows {
  public:
    explicit MaskRows(const OwnScale &scale) : mask_(scale.mask), source_(scale.sourceMask) {
        if (mask_) ownImageRect(mask_, &rect_);
        if (source_.image) ownImageRect(source_.image, &sourceRect_);
    }
    bool any() const { return mask_ || source_.image; }

    // The columns of an area; at has room for their places in the source's mask.
    void open(int64_t x, int64_t width, int32_t *at, uint8_t *bits, OwnScaleAxis *columns) {
        x_ = x;
        width_ = width;
        at_ = at;
        bits_ = bits;
        for (int64_t i = 0; source_.image && i < width; ++i)
            at[i] = x + i < source_.width ? columns->next(columns).first : -1;
    }

    // The bits of row y, which comes from row sourceY of the source's mask. False where none is set.
    bool row(int64_t y, int64_t sourceY) {
        const auto bytes = static_cast<size_t>((width_ + 7) / 8);
        std::memset(bits_, 0, bytes + 1);
        if (mask_) {
            const int64_t width = std::min(width_, rect_.width - x_);
            if (width <= 0 || y >= rect_.height) return false;
            const int64_t column = rect_.x + x_;
            const char *from = mask_->imageData + (rect_.y + y) * mask_->widthStep + column / 8;
            ownAlignBits(reinterpret_cast<const uint8_t *>(from), static_cast<int>(column % 8), bits_, 0, width);
            if (width % 8 != 0) bits_[width / 8] = static_cast<uint8_t>(bits_[width / 8] & ownLastBits(0, width));
        } else {
            std::memset(bits_, 255, bytes);
        }
        if (!source_.image) return true;
        if (y >= source_.height) return false;
        for (int64_t i = 0; i < width_; ++i) {
            if (at_[i] < 0 || !bitAt(source_.image, sourceRect_, at_[i], sourceY))
                bits_[i / 8] = static_cast<uint8_t>(bits_[i / 8] & ~(128 >> i % 8));
        }
        return true;
    }

  private:
    const MoxImage *mask_;
    const OwnScaledMask &source_;
    OwnImageRect rect_, sourceRect_;
    int64_t x_ = 0, width_ = 0;
    int32_t *at_ = nullptr;
    uint8_t *bits_ = nullptr;
};

// The axes of an area, which leave it where the next one begins.
struct Axes {
    OwnScaleAxis pixels, mask;
};

class Scaler {
  public:
    explicit Scaler(const OwnScale &scale)
        : scale_(scale),
          method_(*scale.method),
          bits_(scale.dst->depth == MOX_DEPTH_1U),
          bytes_(bits_ ? 1 : ownDepthBytes(scale.dst->depth)),
          planar_(scale.dst->dataOrder == MOX_DATA_ORDER_PLANE),
          channels_(planar_ ? 1 : ownChannels(scale.dst)),
          planes_(planar_ ? ownChannels(scale.dst) : 1),
          source_(scale.src, channels_),
          maskRows_(scale) {}
    ~Scaler() { moxFree(memory_); }
    Scaler(const Scaler &) = delete;
    Scaler &operator=(const Scaler &) = delete;

    OwnScaleResult run();

  private:
    OwnScaleResult runTiles();
    OwnScaleResult runShare(const OwnShare &share, MoxImage *to, Axes *columns, const Axes &rows, Axes *rowsEnd);
    OwnScaleResult runArea(const OwnShare &area, int64_t x, const Axes &rows, Axes *rowsEnd);
    int64_t takeColumns(OwnScaleAxis *axis, int64_t most);
    bool allocate(int64_t width);
    bool makeRow(int plane, const OwnScalePlace &place, uint8_t *out);
    bool makeMeans(int plane, const OwnScalePlace &place, uint8_t *out);
    bool makeBoxes(int plane, const OwnScalePlace &place, uint8_t *out);
    void askForNext(OwnScaleAxis rows, const OwnScalePlace &place) const;
    const uint8_t *ringRow(int plane, int64_t y);
    void store(int plane, int64_t x, int64_t y, int64_t width);

    const OwnScale &scale_;
    const OwnScaleMethod &method_;
    bool bits_;
    int bytes_;  // of a sample
    bool planar_;
    int channels_, planes_;
    SourceRows source_;
    MaskRows maskRows_;

    // Of all areas.
    OwnScalePlace *places_ = nullptr;
    int64_t mostColumns_ = 0;
    OwnRows rows_;  // of the share at hand

    // Of the area at hand.
    uint8_t *memory_ = nullptr;
    int64_t firstPixel_ = 0, pixels_ = 0;  // of the source
    OwnScaleColumns columns_ = {};
    size_t samples_ = 0;
    int64_t ringBytes_ = 0;
    int64_t *held_ = nullptr;
    uint8_t *ring_ = nullptr, *out_ = nullptr, *packed_ = nullptr, *maskBits_ = nullptr, *sourceRow_ = nullptr;
    int32_t *maskAt_ = nullptr;
    float *sum_ = nullptr;
    uint16_t *boxes_ = nullptr;
};

OwnScaleResult Scaler::run() {
    if (channels_ == 0 || planes_ == 0) return OWN_SCALE_DONE;
    const int64_t width = scale_.dst->tileInfo ? scale_.dst->tileInfo->width : scale_.width;
    mostColumns_ = std::clamp<int64_t>(MOST_SAMPLES / channels_, 1, std::min(width, scale_.width));
    places_ = static_cast<OwnScalePlace *>(
        moxMalloc(static_cast<int>(mostColumns_ * static_cast<int64_t>(sizeof(OwnScalePlace)))));
    if (!places_) return OWN_SCALE_NO_MEMORY;
    OwnScaleResult result;
    if (scale_.dst->tileInfo) {
        result = runTiles();
    } else {
        const OwnShare share = {0, 0, scale_.width, scale_.height};
        OwnScratchImage to;
        ownShareOfPlain(scale_.dst, share, &to);
        Axes columns = {scale_.columns, scale_.sourceMask.columns};
        Axes rows = {scale_.rows, scale_.sourceMask.rows}, end;
        result = runShare(share, &to.header, &columns, rows, &end);
    }
    moxFree(places_);
    return result;
}

OwnScaleResult Scaler::runTiles() {
    MoxImage *dst = scale_.dst;
    const Axes firstColumn = {scale_.columns, scale_.sourceMask.columns};
    Axes columns = firstColumn, rows = {scale_.rows, scale_.sourceMask.rows}, rowsEnd = rows;
    for (OwnTileGrid grid(dst, scale_.width, scale_.height); grid.next();) {
        const OwnShare &share = grid.share();
        if (share.x == 0) {
            columns = firstColumn;
            if (share.y > 0) rows = rowsEnd;
        }
        char *tile = ownRequestTile(dst, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) return OWN_SCALE_NO_TILE;
        OwnScratchImage to;
        ownShareOfTile(dst, share, tile, &to);
        const OwnScaleResult result = runShare(share, &to.header, &columns, rows, &rowsEnd);
        ownReleaseTile(dst, grid.column(), grid.row(), tile);
        if (result != OWN_SCALE_DONE) return result;
    }
    return OWN_SCALE_DONE;
}

OwnScaleResult Scaler::runShare(const OwnShare &share, MoxImage *to, Axes *columns, const Axes &rows, Axes *rowsEnd) {
    MoxImage *const images[] = {to, to};
    const int first[] = {ownFirstChannel(to), ownFirstChannel(to)};
    ownSetRows(&rows_, images, first, 2, ownChannels(to), nullptr);
    rows_.channels = channels_;
    rows_.planes = 1;
    rows_.masked = maskRows_.any();
    for (int64_t x = 0; x < share.width;) {
        OwnShare area = {share.x + x, share.y, 0, share.height};
        area.width = takeColumns(&columns->pixels, std::min(mostColumns_, share.width - x));
        if (!allocate(area.width)) return OWN_SCALE_NO_MEMORY;
        source_.open(firstPixel_, pixels_, sourceRow_);
        maskRows_.open(area.x, area.width, maskAt_, maskBits_, &columns->mask);
        const OwnScaleResult result = runArea(area, x, rows, rowsEnd);
        if (result != OWN_SCALE_DONE) return result;
        x += area.width;
    }
    return OWN_SCALE_DONE;
}

// The places of the next columns, as many as are wanted and lie close enough together.
int64_t Scaler::takeColumns(OwnScaleAxis *axis, int64_t most) {
    int64_t n = 0, end = 0;
    while (n < most) {
        const OwnScaleAxis before = *axis;
        const OwnScalePlace place = axis->next(axis);
        if (n == 0) firstPixel_ = std::max(place.first, 0);
        const int64_t placeEnd = std::max<int64_t>(end, int64_t{place.first} + place.count);
        const bool far = placeEnd - firstPixel_ > MOST_PIXELS || place.first - end > WIDEST_GAP;
        if (n > 0 && far && !source_.inPlace()) {
            *axis = before;
            break;
        }
        end = placeEnd;
        places_[n++] = place;
    }
    pixels_ = end - firstPixel_;
    return n;
}

// Everything that an area needs, in one block.
bool Scaler::allocate(int64_t width) {
    moxFree(memory_);
    memory_ = nullptr;
    int64_t size = 0;
    const auto add = [&](int64_t bytes) {
        const int64_t at = size;
        size += (bytes + 63) / 64 * 64 + 64;
        return at;
    };
    constexpr auto block = static_cast<int64_t>(OWN_SCALE_BLOCK);
    // What is only moved goes by bytes.
    const int unitBytes = method_.moves ? 1 : bytes_;
    const int64_t units = int64_t{channels_} * (bytes_ / unitBytes);
    const int64_t samples = width * units, n = (samples + block - 1) / block * block;
    const bool means = !method_.down;
    const int64_t sourceBytes = pixels_ * channels_ * bytes_;
    if (n > INT_MAX / 64 || sourceBytes > INT_MAX / 4 || planes_ > INT_MAX / 64) return false;

    const int64_t rows = int64_t{planes_} * method_.rows;
    ringBytes_ = (n * method_.bytes + 63) / 64 * 64 + 64;
    if (rows > INT_MAX / ringBytes_) return false;
    const int64_t tables = add(ownColumnBytes(method_, static_cast<size_t>(n)));
    const int64_t held = add(rows * static_cast<int64_t>(sizeof(*held_))), ring = add(rows * ringBytes_);
    const int64_t out = add(n * unitBytes), packed = add(n / 8 + 8);
    const int64_t maskBits = add(width / 8 + 8), maskAt = add(scale_.sourceMask.image ? 4 * width : 0);
    const int64_t sourceRow = add(source_.inPlace() ? 0 : sourceBytes + 16);
    const int64_t sum = add(means ? 4 * n : 0), boxes = add(scale_.box > 0 ? 2 * sourceBytes + 64 : 0);
    if (size > INT_MAX) return false;
    memory_ = static_cast<uint8_t *>(moxMalloc(static_cast<int>(size)));
    if (!memory_) return false;
    held_ = reinterpret_cast<int64_t *>(memory_ + held);
    std::fill_n(held_, rows, -1);
    ring_ = memory_ + ring;
    out_ = memory_ + out;
    packed_ = memory_ + packed;
    maskBits_ = memory_ + maskBits;
    maskAt_ = reinterpret_cast<int32_t *>(memory_ + maskAt);
    sourceRow_ = memory_ + sourceRow;
    sum_ = reinterpret_cast<float *>(memory_ + sum);
    boxes_ = reinterpret_cast<uint16_t *>(memory_ + boxes);

    samples_ = static_cast<size_t>(samples);
    if (scale_.box == 0) {
        const OwnColumnSource from = {firstPixel_, pixels_, static_cast<int>(units), unitBytes};
        ownMakeColumns(method_, places_, static_cast<size_t>(width), from, memory_ + tables, &columns_);
    }
    return true;
}

OwnScaleResult Scaler::runArea(const OwnShare &area, int64_t x, const Axes &rows, Axes *rowsEnd) {
    const OwnSpan dst = rows_.spans[1];
    const bool direct = !rows_.masked && dst.bytes > 0 && dst.step == channels_;
    const bool asksAhead = scale_.rows.step > 1;
    Axes axes = rows;
    for (int64_t y = 0; y < area.height; ++y) {
        const OwnScalePlace place = axes.pixels.next(&axes.pixels);
        if (rows_.masked) {
            const OwnScaledMask &mask = scale_.sourceMask;
            const bool inMask = mask.image && area.y + y < mask.height;
            const int64_t maskY = inMask ? axes.mask.next(&axes.mask).first : 0;
            if (!maskRows_.row(area.y + y, maskY)) continue;
        }
        if (asksAhead && y + 1 < area.height) askForNext(axes.pixels, place);
        for (int plane = 0; plane < planes_; ++plane) {
            uint8_t *there = dst.start + plane * dst.planeStep + y * dst.rowStep + x * dst.step * dst.bytes;
            if (!makeRow(plane, place, direct ? there : out_)) return OWN_SCALE_NO_SOURCE;
            if (!direct) store(plane, x, y, area.width);
        }
    }
    *rowsEnd = axes;
    return OWN_SCALE_DONE;
}

// The rows of the next window that this one does not have.
void Scaler::askForNext(OwnScaleAxis rows, const OwnScalePlace &place) const {
    const OwnScalePlace next = rows.next(&rows);
    const int64_t end = int64_t{next.first} + std::min(next.count, 4);
    for (int64_t y = std::max<int64_t>(next.first, int64_t{place.first} + place.count); y < end; ++y) {
        for (int plane = 0; plane < planes_; ++plane)
            source_.askFor(plane, y);
    }
}

// A source row, resampled along.
const uint8_t *Scaler::ringRow(int plane, int64_t y) {
    const int64_t slot = int64_t{plane} * method_.rows + y % method_.rows;
    uint8_t *row = ring_ + slot * ringBytes_;
    if (held_[slot] == y) return row;
    const uint8_t *from = source_.row(plane, y);
    if (!from) return nullptr;
    method_.across(from, row, columns_);
    held_[slot] = y;
    return row;
}

bool Scaler::makeRow(int plane, const OwnScalePlace &place, uint8_t *out) {
    if (scale_.box > 0) return makeBoxes(plane, place, out);
    if (!method_.down) return makeMeans(plane, place, out);
    // Windows that have no row in common need no ring.
    if (method_.both && columns_.base && source_.inPlace() && scale_.rows.step >= 2) {
        method_.both(source_.row(plane, place.first), source_.row(plane, int64_t{place.first} + 1), place, columns_,
                     out, samples_);
        return true;
    }
    const void *rows[4];
    for (int k = 0; k < method_.rows; ++k) {
        // A row before the first has no weight, and one behind a window of one row is not looked at.
        const int64_t y = std::max(place.first + std::min(k, place.count - 1), 0);
        rows[k] = ringRow(plane, y);
        if (!rows[k]) return false;
    }
    method_.down(rows, place, out, samples_);
    return true;
}

bool Scaler::makeMeans(int plane, const OwnScalePlace &place, uint8_t *out) {
    std::fill_n(sum_, columns_.n, 0.0f);
    for (int32_t k = 0; k < place.count; ++k) {
        const uint8_t *row = ringRow(plane, int64_t{place.first} + k);
        if (!row) return false;
        const float weight = k == 0 ? place.f : k + 1 == place.count ? place.g : 1.0f;
        ownDecimateRows().addRow(reinterpret_cast<const float *>(row), weight, sum_, columns_.n);
    }
    ownDecimateRows().endMeans[ownScaleDepth(scale_.dst->depth)](sum_, scale_.scale, out, samples_);
    return true;
}

// Sums of bytes stay within 16 bits down the columns. Rows that are copied come one at a time.
bool Scaler::makeBoxes(int plane, const OwnScalePlace &place, uint8_t *out) {
    const OwnDecimateRows &kernels = ownDecimateRows();
    const size_t pixels = samples_ / static_cast<size_t>(channels_);
    const int32_t atOnce = source_.inPlace() ? 3 : 1;
    const uint8_t *rows[3];
    for (int32_t k = 0; k < place.count; k += atOnce) {
        const int32_t count = std::min(atOnce, place.count - k);
        for (int32_t i = 0; i < count; ++i) {
            rows[i] = source_.row(plane, int64_t{place.first} + k + i);
            if (!rows[i]) return false;
        }
        if (place.count == 2 && count == 2 && scale_.box == 2 && channels_ == 1) {
            kernels.halve(rows[0], rows[1], out, pixels);
            return true;
        }
        kernels.addBytes(rows, count, boxes_, static_cast<size_t>(pixels_ * channels_), k == 0);
    }
    kernels.endBoxes(boxes_, scale_.box, channels_, scale_.scale, out, pixels);
    return true;
}

// The row at hand, to where it belongs.
void Scaler::store(int plane, int64_t x, int64_t y, int64_t width) {
    OwnRows one = rows_;
    OwnSpan &from = one.spans[0], &to = one.spans[1];
    from = {out_, 0, 0, channels_, 0, to.bytes, 0};
    to.start += plane * to.planeStep + y * to.rowStep;
    if (bits_) {
        for (size_t i = 0; i < samples_; ++i)
            out_[i] = static_cast<uint8_t>(out_[i] << 7);
        ownPlaneMoves().packBits(out_, samples_, packed_);
        from.start = packed_;
        to.start += (to.bit + x) / 8;
        to.bit = static_cast<int>((to.bit + x) % 8);
    } else {
        to.start += x * to.step * to.bytes;
    }
    if (one.masked) one.mask = {maskBits_, 0, 0, 1, 0, 0, 0};
    one.width = static_cast<int>(width);
    one.height = 1;
    ownRunRows(one, ownMoveRows().copy[ownSampleSize(to.bytes)], {});
}

}  // namespace

int ownScaleDepth(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_1U:
        case MOX_DEPTH_8U:
            return OWN_SCALE_8U;
        case MOX_DEPTH_16U:
            return OWN_SCALE_16U;
        case MOX_DEPTH_32F:
            return OWN_SCALE_32F;
        default:
            return -1;
    }
}

OwnScaleResult ownRunScale(const OwnScale &scale) {
    return Scaler(scale).run();
}
