// The frame of bit reduction. Plain images are worked through where they are, band by band of a few rows and in these
// channel by channel; what a kernel cannot use in place goes through scratch rows. Tiled images are worked through a
// row of tiles at a time, as strips as wide as the region, so that errors are carried as in a plain image.
#include "color/owndith.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/owncpu.h"
#include "frame/ownpair.h"

OWN_DECLARE_LEVELS(OwnPlainReduceRows, plainReduceRows)
OWN_DECLARE_LEVELS(OwnDiffuseRows, diffuseRows)

const OwnPlainReduceRows &ownPlainReduceRows() {
    static constexpr const OwnPlainReduceRows *tables[] = OWN_LEVEL_TABLES(plainReduceRows);
    return *tables[ownCpuLevel()];
}

const OwnDiffuseRows &ownDiffuseRows() {
    static constexpr const OwnDiffuseRows *tables[] = OWN_LEVEL_TABLES(diffuseRows);
    return *tables[ownCpuLevel()];
}

namespace {

// A strip of tiles is not to take more than this at a time, unless a band of rows does.
constexpr int64_t STRIP_BYTES = int64_t{64} << 20;

class Block {
  public:
    Block() = default;
    ~Block() { moxFree(data_); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    // True for no bytes as well.
    bool allocate(int64_t bytes) {
        if (bytes == 0) return true;
        data_ = bytes <= INT_MAX ? static_cast<uint8_t *>(moxMalloc(static_cast<int>(bytes))) : nullptr;
        return data_ != nullptr;
    }
    uint8_t *data() const { return data_; }

  private:
    uint8_t *data_ = nullptr;
};

// Rows of the region with their samples at hand: of a plain image, or read from a row of tiles. Rows of a span count
// from the strip's first.
struct Strip {
    int64_t y, height;
    OwnSpan src, dst;
    OwnSpan mask;
    bool masked;
};

// The share of a plain image that begins at a channel, also where the image has no region of its own.
OwnSpan channelSpan(const MoxImage *image, int channel) {
    int width, height;
    OwnSpan span = ownSpan(image, 0, &width, &height);
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    span.start += channel * (planar ? span.planeStep : span.bytes);
    span.first = planar ? 0 : channel;
    return span;
}

// From a channel to the next.
int64_t channelStep(const OwnSpan &span) {
    return span.planeStep != 0 ? span.planeStep : span.bytes;
}

OwnReduceFunction pickKernel(const OwnReduction &reduction) {
    const OwnPlainReduceRows &plain = ownPlainReduceRows();
    const OwnDiffuseRows &diffuse = ownDiffuseRows();
    switch (reduction.ditherType) {
        case MOX_DITHER_FS:
            return diffuse.floydSteinberg;
        case MOX_DITHER_JJH:
            return diffuse.jarvisJudiceNinke;
        case MOX_DITHER_STUCKEY:
            return diffuse.stucki;
        case MOX_DITHER_BAYER:
            return (reduction.dstBytes == 0 ? plain.orderBits : plain.orderLevels)[reduction.size];
        default:
            return (reduction.keepsAll ? plain.keepTop : plain.below)[reduction.size];
    }
}

class ReductionRunner {
  public:
    ReductionRunner(const OwnReduceImages &images, const OwnReduction &reduction)
        : images_(images), reduction_(reduction), kernel_(pickKernel(reduction)) {
        tiled_ = images.src->tileInfo || images.dst->tileInfo;
        srcBytes_ = ownDepthBytes(images.src->depth);
        errorRows_ = reduction.ditherType == MOX_DITHER_FS ? 1 : 2;
        if (reduction.ditherType == MOX_DITHER_NONE || reduction.ditherType == MOX_DITHER_BAYER) errorRows_ = 0;
    }

    OwnReduceResult run();

  private:
    OwnReduceResult runPlain();
    OwnReduceResult runStrips();
    OwnReduceResult runStripOfTiles(Strip *strip);
    int64_t stripRows() const;
    int64_t stripEnd(int64_t y) const;
    bool readTiles(const Strip &strip);
    void readTile(const Strip &strip, const MoxImage &part, const OwnShare &share, char *tile);
    bool writeTiles(const Strip &strip);
    void writeTile(const Strip &strip, const MoxImage &part, const OwnShare &share, char *tile);

    bool allocateErrors();
    bool allocateScratch(const Strip &strip);
    void runStrip(const Strip &strip);
    void runBand(const Strip &strip, int64_t y, int channel);
    void store(const Strip &strip, int64_t y, int channel, int rows);

    // Bytes of a row of the given number of samples.
    int64_t dstRowBytes(int64_t samples) const {
        return reduction_.dstBytes == 0 ? (samples + 7) / 8 : samples * reduction_.dstBytes;
    }

    const OwnReduceImages &images_;
    const OwnReduction &reduction_;
    OwnReduceFunction kernel_;
    bool tiled_;
    int srcBytes_;
    int errorRows_;
    int samples_ = 1;  // of a pixel that one pass takes together
    int passes_ = 0;
    int64_t errorStep_ = 0;  // floats
    bool gathers_ = false, stores_ = false;
    Block errors_, gathered_, results_, srcStrip_, dstStrip_;
};

OwnReduceResult ReductionRunner::run() {
    passes_ = images_.channels;
    if (!allocateErrors()) return OWN_REDUCE_NO_MEMORY;
    return tiled_ ? runStrips() : runPlain();
}

bool ReductionRunner::allocateErrors() {
    if (errorRows_ == 0) return true;
    errorStep_ = images_.width + 2 * OWN_ERROR_GUARD;
    const int64_t rowBytes = errorStep_ * static_cast<int64_t>(sizeof(float));
    const int64_t rows = int64_t{passes_} * errorRows_;
    if (rows > INT_MAX / rowBytes || !errors_.allocate(rows * rowBytes)) return false;
    std::memset(errors_.data(), 0, static_cast<size_t>(rows * rowBytes));
    return true;
}

OwnReduceResult ReductionRunner::runPlain() {
    Strip strip = {};
    strip.height = images_.height;
    strip.src = channelSpan(images_.src, images_.srcFirst);
    strip.dst = channelSpan(images_.dst, images_.dstFirst);
    if (images_.mask) {
        strip.mask = channelSpan(images_.mask, 0);
        strip.masked = true;
    }
    // Where every sample is by itself, pixels are processed through.
    if (reduction_.ditherType == MOX_DITHER_NONE && strip.src.step == passes_ && strip.dst.step == passes_ &&
        images_.width <= INT_MAX / passes_) {
        samples_ = passes_;
        passes_ = 1;
    }
    if (!allocateScratch(strip)) return OWN_REDUCE_NO_MEMORY;
    runStrip(strip);
    return OWN_REDUCE_DONE;
}

// ------------------------------------------------------------------------------------------------------ tiled images

// The rows of a strip, at most: those of a row of tiles, as far as a strip's memory goes.
int64_t ReductionRunner::stripRows() const {
    const MoxTileInfo *tiles = images_.dst->tileInfo ? images_.dst->tileInfo : images_.src->tileInfo;
    const int64_t rowBytes = images_.width * (srcBytes_ + std::max(reduction_.dstBytes, 1)) * passes_;
    const int64_t most = std::max<int64_t>(STRIP_BYTES / rowBytes / OWN_BAND_ROWS * OWN_BAND_ROWS, OWN_BAND_ROWS);
    return std::min<int64_t>({tiles->height, most, images_.height});
}

int64_t ReductionRunner::stripEnd(int64_t y) const {
    const MoxImage *image = images_.dst->tileInfo ? images_.dst : images_.src;
    OwnImageRect rect;
    ownImageRect(image, &rect);
    const int64_t tileHeight = image->tileInfo->height;
    const int64_t tileEnd = ((rect.y + y) / tileHeight + 1) * tileHeight - rect.y;
    return std::min({tileEnd, y + stripRows(), images_.height});
}

OwnReduceResult ReductionRunner::runStrips() {
    // A strip of a tiled image is planar, without padding but for whole bytes of bits.
    const int64_t rows = stripRows();
    const auto room = [&](const MoxImage *image, int64_t rowBytes) {
        if (!image->tileInfo) return int64_t{0};
        return rowBytes > INT_MAX / rows / passes_ ? INT64_MAX : rowBytes * rows * passes_;
    };
    if (!srcStrip_.allocate(room(images_.src, images_.width * srcBytes_)) ||
        !dstStrip_.allocate(room(images_.dst, dstRowBytes(images_.width)))) {
        return OWN_REDUCE_NO_MEMORY;
    }
    Strip strip = {};
    if (images_.mask) {
        strip.mask = channelSpan(images_.mask, 0);
        strip.masked = true;
    }
    for (int64_t y = 0; y < images_.height; y += strip.height) {
        strip.y = y;
        strip.height = stripEnd(y) - y;
        const OwnReduceResult result = runStripOfTiles(&strip);
        if (result != OWN_REDUCE_DONE) return result;
        if (strip.masked) strip.mask.start += strip.height * strip.mask.rowStep;
    }
    return OWN_REDUCE_DONE;
}

OwnReduceResult ReductionRunner::runStripOfTiles(Strip *strip) {
    const auto spanOfBuffer = [&](uint8_t *data, int bytes, int64_t rowBytes) {
        return OwnSpan{data, rowBytes, rowBytes * strip->height, 1, 0, bytes, 0};
    };
    const auto spanOfImage = [&](const MoxImage *image, int channel) {
        OwnSpan span = channelSpan(image, channel);
        span.start += strip->y * span.rowStep;
        return span;
    };
    if (images_.src->tileInfo) {
        strip->src = spanOfBuffer(srcStrip_.data(), srcBytes_, images_.width * srcBytes_);
        if (!readTiles(*strip)) return OWN_REDUCE_NO_SRC_TILE;
    } else {
        strip->src = spanOfImage(images_.src, images_.srcFirst);
    }
    Strip work = *strip;
    if (images_.dst->tileInfo) {
        strip->dst = spanOfBuffer(dstStrip_.data(), reduction_.dstBytes, dstRowBytes(images_.width));
        work = *strip;
        work.masked = false;
    } else {
        work.dst = spanOfImage(images_.dst, images_.dstFirst);
    }
    if (strip->y == 0 && !allocateScratch(work)) return OWN_REDUCE_NO_MEMORY;
    runStrip(work);
    return !images_.dst->tileInfo || writeTiles(*strip) ? OWN_REDUCE_DONE : OWN_REDUCE_NO_DST_TILE;
}

bool ReductionRunner::readTiles(const Strip &strip) {
    OwnScratchImage part;
    ownShareOfPlain(images_.src, {0, strip.y, images_.width, strip.height}, &part);
    OwnTileGrid grid(&part.header, images_.width, strip.height);
    while (grid.next()) {
        char *tile = ownRequestTile(images_.src, grid.column(), grid.row(), MOX_TileRead);
        if (!tile) return false;
        readTile(strip, part.header, grid.share(), tile);
        ownReleaseTile(images_.src, grid.column(), grid.row(), tile);
    }
    return true;
}

void ReductionRunner::readTile(const Strip &strip, const MoxImage &part, const OwnShare &share, char *tile) {
    OwnScratchImage scratch;
    ownShareOfTile(&part, share, tile, &scratch);
    const auto gather = ownMoveRows().gather[reduction_.size];
    for (int channel = 0; channel < images_.channels; ++channel) {
        const OwnSpan from = channelSpan(&scratch.header, images_.srcFirst + channel);
        uint8_t *to =
            strip.src.start + channel * strip.src.planeStep + share.y * strip.src.rowStep + share.x * srcBytes_;
        for (int64_t row = 0; row < share.height; ++row) {
            gather(from.start + row * from.rowStep, from.step, 1, to + row * strip.src.rowStep,
                   static_cast<size_t>(share.width));
        }
    }
}

bool ReductionRunner::writeTiles(const Strip &strip) {
    OwnScratchImage part;
    ownShareOfPlain(images_.dst, {0, strip.y, images_.width, strip.height}, &part);
    OwnTileGrid grid(&part.header, images_.width, strip.height);
    while (grid.next()) {
        char *tile = ownRequestTile(images_.dst, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) return false;
        writeTile(strip, part.header, grid.share(), tile);
        ownReleaseTile(images_.dst, grid.column(), grid.row(), tile);
    }
    return true;
}

void ReductionRunner::writeTile(const Strip &strip, const MoxImage &part, const OwnShare &share, char *tile) {
    OwnScratchImage scratch;
    ownShareOfTile(&part, share, tile, &scratch);
    OwnRows rows = {};
    rows.count = 2;
    rows.width = static_cast<int>(share.width);
    rows.height = static_cast<int>(share.height);
    rows.channels = rows.planes = 1;
    rows.masked = strip.masked;
    rows.mask = strip.mask;
    if (strip.masked) {
        const int64_t maskBits = strip.mask.bit + share.x;
        rows.mask.start += share.y * strip.mask.rowStep + maskBits / 8;
        rows.mask.bit = static_cast<int>(maskBits % 8);
    }
    for (int channel = 0; channel < images_.channels; ++channel) {
        OwnSpan from = strip.dst;
        from.start += channel * from.planeStep + share.y * from.rowStep;
        from.start += reduction_.dstBytes == 0 ? share.x / 8 : share.x * reduction_.dstBytes;
        from.bit = static_cast<int>(share.x % 8);
        rows.spans[0] = from;
        rows.spans[1] = channelSpan(&scratch.header, images_.dstFirst + channel);
        ownRunRows(rows, ownMoveRows().copy[ownSampleSize(reduction_.dstBytes)], {});
    }
}

// ------------------------------------------------------------------------------------------------------ rows at hand

// Scratch rows for a band, where the source's samples do not follow one another, or not every result is stored.
bool ReductionRunner::allocateScratch(const Strip &strip) {
    const int64_t rows = std::min<int64_t>(images_.height, OWN_BAND_ROWS), samples = images_.width * samples_;
    gathers_ = strip.src.step != samples_;
    stores_ = strip.masked || strip.dst.bytes == 0 || strip.dst.step != samples_;
    return gathered_.allocate(gathers_ ? rows * samples * srcBytes_ : 0) &&
           results_.allocate(stores_ ? rows * dstRowBytes(samples) : 0);
}

void ReductionRunner::runStrip(const Strip &strip) {
    for (int64_t y = 0; y < strip.height; y += OWN_BAND_ROWS) {
        for (int channel = 0; channel < passes_; ++channel)
            runBand(strip, y, channel);
    }
}

void ReductionRunner::runBand(const Strip &strip, int64_t y, int channel) {
    const int64_t samples = images_.width * samples_;
    OwnReduceBand band = {};
    band.rows = static_cast<int>(std::min<int64_t>(strip.height - y, OWN_BAND_ROWS));
    band.width = static_cast<size_t>(samples);
    band.y = strip.y + y;
    if (errorRows_ > 0) {
        auto *errors = reinterpret_cast<float *>(errors_.data()) + channel * errorRows_ * errorStep_;
        band.above = errors + OWN_ERROR_GUARD;
        band.twoAbove = band.above + (errorRows_ - 1) * errorStep_;
    }
    for (int row = 0; row < band.rows; ++row) {
        const uint8_t *src = strip.src.start + channel * channelStep(strip.src) + (y + row) * strip.src.rowStep;
        if (gathers_) {
            uint8_t *gathered = gathered_.data() + row * samples * srcBytes_;
            ownMoveRows().gather[reduction_.size](src, strip.src.step, 1, gathered, static_cast<size_t>(samples));
            src = gathered;
        }
        band.src[row] = src;
        band.dst[row] = stores_ ? results_.data() + row * dstRowBytes(samples)
                                : strip.dst.start + channel * channelStep(strip.dst) + (y + row) * strip.dst.rowStep;
    }
    kernel_(reduction_, band);
    if (stores_) store(strip, y, channel, band.rows);
}

void ReductionRunner::store(const Strip &strip, int64_t y, int channel, int count) {
    OwnRows rows = {};
    rows.count = 2;
    rows.width = static_cast<int>(images_.width);
    rows.height = count;
    rows.channels = samples_;
    rows.planes = 1;
    rows.spans[0] = {results_.data(), dstRowBytes(images_.width * samples_), 0, samples_, 0, reduction_.dstBytes, 0};
    rows.spans[1] = strip.dst;
    rows.spans[1].start += channel * channelStep(strip.dst) + y * strip.dst.rowStep;
    rows.masked = strip.masked;
    rows.mask = strip.mask;
    if (strip.masked) rows.mask.start += y * strip.mask.rowStep;
    ownRunRows(rows, ownMoveRows().copy[ownSampleSize(reduction_.dstBytes)], {});
}

}  // namespace

OwnReduceResult ownRunReduction(const OwnReduceImages &images, const OwnReduction &reduction) {
    return ReductionRunner(images, reduction).run();
}
