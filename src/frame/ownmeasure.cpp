// The measure frame. Samples are folded where they stand, if they are contiguous and all of them count; others come
// through a small scratch, where what the mask leaves out is 0.
#include "frame/ownmeasure.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "frame/ownmove.h"
#include "frame/ownpair.h"
#include "frame/ownrect.h"
#include "frame/ownrowcall.h"

namespace {

constexpr int MAX_IMAGES = 2;

// Set bits, by adding neighbours (Warren, Hacker's Delight): every byte becomes the number of its own.
uint64_t countSet(uint64_t w) {
    w -= w >> 1 & 0x5555555555555555u;
    w = (w & 0x3333333333333333u) + (w >> 2 & 0x3333333333333333u);
    w = (w + (w >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
    return w * 0x0101010101010101u >> 56;
}

int64_t countBits(const uint8_t *bits, int64_t count) {
    uint64_t set = 0;
    int64_t k = 0;
    for (; k + 8 <= count / 8; k += 8) {
        uint64_t word;
        std::memcpy(&word, bits + k, sizeof word);
        set += countSet(word);
    }
    for (; k < count / 8; ++k)
        set += countSet(bits[k]);
    if (count % 8 != 0) set += countSet(static_cast<uint64_t>(bits[k] & ownLastBits(0, count)));
    return static_cast<int64_t>(set);
}

// A part of the common region in plain images.
struct Area {
    MoxImage *images[MAX_IMAGES];
    MoxImage *mask;
    int64_t x, y;  // from the common region's corner
};

class MeasureRunner {
  public:
    explicit MeasureRunner(const OwnMeasure &measure) : measure_(measure), count_(measure.images[1] ? 2 : 1) {}

    OwnMeasureResult run() {
        for (int i = 0; i < count_; ++i) {
            if (measure_.images[i]->tileInfo) return runTiles(i);
        }
        Area area = {{measure_.images[0], measure_.images[1]}, measure_.mask, 0, 0};
        runArea(area, measure_.width, measure_.height);
        return OWN_MEASURE_DONE;
    }

  private:
    OwnMeasureResult runTiles(int tiled);
    bool runTile(int tiled, const OwnTileGrid &grid, char *tile);
    void runArea(const Area &area, int64_t width, int64_t height);
    void runChannels(const Area &area, int channel, int channels, int64_t width, int64_t height);
    void runRow(int64_t x, int64_t y, int64_t width);
    void foldStretch(const uint8_t *const *at, const uint8_t *maskBits, OwnFold *fold, int64_t pixels);
    void foldGathered();
    void foldBits(const uint8_t *const *at, const uint8_t *maskBits, OwnFold *fold, int64_t bits);

    const OwnMeasure &measure_;
    const int count_;

    // The channels at work.
    OwnSpan spans_[MAX_IMAGES];
    OwnSpan mask_;
    bool masked_;
    bool direct_;  // nothing needs a scratch
    int channels_;
    int channel_;

    // Stretches of several rows may be folded as one: what is in the scratch, and not folded yet.
    bool gathers_;
    OwnFold gathered_;

    uint8_t bits_[OWN_SCRATCH_BYTES + 8];
    alignas(64) uint8_t scratch_[MAX_IMAGES][OWN_SCRATCH_BYTES];
};

// ------------------------------------------------------------------------------------------------------------- tiles

OwnMeasureResult MeasureRunner::runTiles(int tiled) {
    MoxImage *image = measure_.images[tiled];
    OwnTileGrid grid(image, measure_.width, measure_.height);
    while (grid.next()) {
        char *tile = ownRequestTile(image, grid.column(), grid.row(), MOX_TileRead);
        if (!tile) return OWN_MEASURE_NO_TILE;
        const bool done = runTile(tiled, grid, tile);
        ownReleaseTile(image, grid.column(), grid.row(), tile);
        if (!done) return OWN_MEASURE_NO_ROWS;
    }
    return OWN_MEASURE_DONE;
}

bool MeasureRunner::runTile(int tiled, const OwnTileGrid &grid, char *tile) {
    const OwnShare &share = grid.share();
    OwnScratchImage own, mask;
    OwnSourceShare other;
    Area area = {{nullptr, nullptr}, nullptr, share.x, share.y};
    for (int i = 0; i < count_; ++i) {
        if (i == tiled) {
            ownShareOfTile(measure_.images[i], share, tile, &own);
            area.images[i] = &own.header;
        } else {
            if (!other.open(measure_.images[i], share)) return false;
            area.images[i] = other.header();
        }
    }
    if (measure_.mask) {
        ownShareOfPlain(measure_.mask, share, &mask);
        area.mask = &mask.header;
    }
    runArea(area, share.width, share.height);
    return true;
}

// -------------------------------------------------------------------------------------------------------------- rows

void MeasureRunner::runArea(const Area &area, int64_t width, int64_t height) {
    bool together = !measure_.apart;
    for (int i = 0; i < count_; ++i)
        together = together && area.images[i]->dataOrder == MOX_DATA_ORDER_PIXEL;
    // Lanes of a mask are made for pixels of up to four samples, and a scratch holds some of the widest pixels.
    const int most = area.mask ? 4 : OWN_SCRATCH_BYTES / 4 / OWN_FOLD_LANES;
    if (together && measure_.channels <= most) {
        runChannels(area, 0, measure_.channels, width, height);
        return;
    }
    for (int channel = 0; channel < measure_.channels; ++channel)
        runChannels(area, channel, 1, width, height);
}

void MeasureRunner::runChannels(const Area &area, int channel, int channels, int64_t width, int64_t height) {
    int unused[2];
    channel_ = channel;
    channels_ = channels;
    masked_ = area.mask != nullptr;
    if (masked_) mask_ = ownSpan(area.mask, 0, &unused[0], &unused[1]);
    direct_ = !masked_;
    bool joined = direct_ && measure_.anyRows;
    for (int i = 0; i < count_; ++i) {
        OwnSpan &span = spans_[i];
        span = ownSpan(area.images[i], measure_.first[i] + channel, &unused[0], &unused[1]);
        const bool bits = span.bytes == 0;
        direct_ = direct_ && (bits ? span.bit == 0 && width % 8 == 0 : span.step == channels);
        joined = joined && direct_ && span.rowStep == (bits ? width / 8 : width * channels * span.bytes);
    }
    if (joined) {
        width *= height;
        height = 1;
    }
    gathers_ = measure_.anyRows && !direct_ && spans_[0].bytes > 0;
    gathered_ = {};
    for (int64_t y = 0; y < height; ++y) {
        runRow(area.x, area.y + y, width);
        for (int i = 0; i < count_; ++i)
            spans_[i].start += spans_[i].rowStep;
        if (masked_) mask_.start += mask_.rowStep;
    }
    if (gathered_.samples > 0) foldGathered();
}

void MeasureRunner::runRow(int64_t x, int64_t y, int64_t width) {
    if (direct_) {
        const uint8_t *b = count_ > 1 ? spans_[1].start : nullptr;
        const auto samples = static_cast<size_t>(width * channels_);
        measure_.fold(measure_.state, {spans_[0].start, b, samples, 0, x, y, channels_, channel_, true});
        return;
    }
    const int bytes = spans_[0].bytes;
    const int64_t part =
        bytes == 0 ? OWN_SCRATCH_BYTES * 8 : OWN_SCRATCH_BYTES / (bytes * channels_) / OWN_FOLD_LANES * OWN_FOLD_LANES;
    const uint8_t *at[MAX_IMAGES] = {};
    for (int64_t done = 0; done < width; done += part) {
        const int64_t pixels = std::min(part, width - done);
        OwnFold fold = {};
        fold.x = x + done;
        fold.y = y;
        fold.channels = channels_;
        fold.channel = channel_;
        fold.endsRow = done + pixels == width;
        for (int i = 0; i < count_; ++i)
            at[i] = spans_[i].start + (bytes == 0 ? done / 8 : done * spans_[i].step * spans_[i].bytes);
        const uint8_t *maskBits = nullptr;
        if (masked_) {
            ownAlignBits(mask_.start + done / 8, mask_.bit, bits_, 0, pixels);
            maskBits = bits_;
            if (measure_.counts) fold.skipped = static_cast<size_t>((pixels - countBits(bits_, pixels)) * channels_);
        }
        if (bytes == 0) {
            foldBits(at, maskBits, &fold, pixels);
        } else {
            foldStretch(at, maskBits, &fold, pixels);
        }
    }
}

void MeasureRunner::foldStretch(const uint8_t *const *at, const uint8_t *maskBits, OwnFold *fold, int64_t pixels) {
    const OwnMoveRows &move = ownMoveRows();
    const auto bytes = static_cast<size_t>(spans_[0].bytes);
    const OwnSampleSize size = ownSampleSize(spans_[0].bytes);
    const auto samples = static_cast<size_t>(pixels * channels_);
    if ((gathered_.samples + samples) * bytes > OWN_SCRATCH_BYTES) foldGathered();
    const uint8_t *rows[MAX_IMAGES] = {};
    for (int i = 0; i < count_; ++i) {
        const OwnSpan &span = spans_[i];
        uint8_t *row = scratch_[i] + gathered_.samples * bytes;
        const bool contiguous = span.step == channels_;
        rows[i] = contiguous ? at[i] : row;
        if (!contiguous) move.gather[size](at[i], span.step, channels_, row, static_cast<size_t>(pixels));
        if (maskBits) {
            move.keep[size](rows[i], maskBits, channels_, row, static_cast<size_t>(pixels));
            rows[i] = row;
        } else if (gathers_ && contiguous) {
            std::memcpy(row, at[i], samples * bytes);
        }
    }
    if (gathers_) {
        if (gathered_.samples > 0) {
            gathered_.skipped += fold->skipped;
        } else {
            gathered_ = *fold;
        }
        gathered_.samples += samples;
        return;
    }
    fold->a = rows[0];
    fold->b = rows[1];
    fold->samples = samples;
    measure_.fold(measure_.state, *fold);
}

void MeasureRunner::foldGathered() {
    gathered_.a = scratch_[0];
    gathered_.b = count_ > 1 ? scratch_[1] : nullptr;
    measure_.fold(measure_.state, gathered_);
    gathered_ = {};
}

void MeasureRunner::foldBits(const uint8_t *const *at, const uint8_t *maskBits, OwnFold *fold, int64_t bits) {
    const int64_t bytes = (bits + 7) / 8;
    const uint8_t *rows[MAX_IMAGES] = {};
    for (int i = 0; i < count_; ++i) {
        ownAlignBits(at[i], spans_[i].bit, scratch_[i], 0, bits);
        if (maskBits) {
            for (int64_t k = 0; k < bytes; ++k)
                scratch_[i][k] &= maskBits[k];
        }
        scratch_[i][bytes - 1] &= ownLastBits(0, bits);
        rows[i] = scratch_[i];
    }
    fold->a = rows[0];
    fold->b = rows[1];
    fold->samples = static_cast<size_t>(bits);
    measure_.fold(measure_.state, *fold);
}

}  // namespace

bool OwnSourceShare::open(MoxImage *image, const OwnShare &share) {
    image_ = image;
    if (!image->tileInfo) {
        ownShareOfPlain(image, share, &scratch_);
        return true;
    }
    OwnImageRect rect;
    ownImageRect(image, &rect);
    const int64_t x = rect.x + share.x, y = rect.y + share.y;
    const int64_t width = image->tileInfo->width, height = image->tileInfo->height;
    // Pixels that are in memory are not asked for.
    const bool isOneTile = x / width == (x + share.width - 1) / width && y / height == (y + share.height - 1) / height;
    if (isOneTile && !image->imageData) {
        column_ = static_cast<int>(x / width);
        row_ = static_cast<int>(y / height);
        tile_ = ownRequestTile(image, column_, row_, MOX_TileRead);
        if (tile_) ownShareOfTile(image, share, tile_, &scratch_);
        return tile_ != nullptr;
    }
    int rowBytes = 0;
    rect_ = ownReadShare(image, share, &rowBytes);
    if (rect_) ownShareOfRect(image, share, rect_, rowBytes, &scratch_);
    return rect_ != nullptr;
}

OwnSourceShare::~OwnSourceShare() {
    if (tile_) ownReleaseTile(image_, column_, row_, tile_);
    ownFreeRect(rect_);
}

void ownMeasureSize(OwnMeasure *measure) {
    measure->width = measure->height = INT_MAX;
    for (const MoxImage *image : {measure->images[0], measure->images[1], measure->mask}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        measure->width = std::min(measure->width, rect.width);
        measure->height = std::min(measure->height, rect.height);
    }
}

OwnMeasureResult ownRunMeasure(const OwnMeasure &measure) {
    if (measure.width <= 0 || measure.height <= 0 || measure.channels <= 0) return OWN_MEASURE_DONE;
    return MeasureRunner(measure).run();
}
