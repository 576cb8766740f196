// Pixels by the caller's functions: of a sample, of one as a float, and of a whole pixel. Everything about layout is
// the library's: the function sees samples.
#include <algorithm>
#include <cstring>
#include <limits>

#include "frame/ownmeasure.h"

namespace {

// What a call runs over plain images, or shares of them. It gives false where the walk must end.
using UserRun = bool (*)(const OwnRows &rows, void *work);

// ----------------------------------------------------------------------------------------------------------- samples

// Samples stand at any address.
template <class Sample>
Sample load(const uint8_t *at) {
    Sample sample;
    std::memcpy(&sample, at, sizeof sample);
    return sample;
}

template <class Sample>
Sample clamped(int value) {
    constexpr int low = std::numeric_limits<Sample>::min(), high = std::numeric_limits<Sample>::max();
    return static_cast<Sample>(std::clamp(value, low, high));
}

// The nearest sample toward zero; the lowest one for what is no number. The largest of 32 bits is no float, and the
// limit becomes 2^31.
template <class Sample>
Sample clamped(float value) {
    if constexpr (std::is_same_v<Sample, float>) {
        return value;
    } else {
        constexpr Sample low = std::numeric_limits<Sample>::min(), high = std::numeric_limits<Sample>::max();
        if (!(value > static_cast<float>(low))) return low;
        return value < static_cast<float>(high) ? static_cast<Sample>(value) : high;
    }
}

bool maskBit(const uint8_t *row, int bit, int64_t x) {
    const int64_t at = bit + x;
    return (row[at / 8] >> (7 - at % 8) & 1) != 0;
}

// All samples of the rows, each before the next one is read. Value is what the function takes and returns.
template <class Sample, class Value>
bool runSamples(const OwnRows &rows, void *work) {
    const auto function = *static_cast<Value(MOX_CALL **)(Value)>(work);
    const OwnSpan &src = rows.spans[0], &dst = rows.spans[1];
    constexpr int64_t size = sizeof(Sample);
    for (int plane = 0; plane < rows.planes; ++plane) {
        for (int64_t y = 0; y < rows.height; ++y) {
            const uint8_t *from = src.start + plane * src.planeStep + y * src.rowStep;
            uint8_t *to = dst.start + plane * dst.planeStep + y * dst.rowStep;
            const uint8_t *mask = rows.masked ? rows.mask.start + y * rows.mask.rowStep : nullptr;
            for (int64_t x = 0; x < rows.width; ++x, from += src.step * size, to += dst.step * size) {
                if (mask && !maskBit(mask, rows.mask.bit, x)) continue;
                for (int64_t c = 0; c < rows.channels; ++c) {
                    const Value result = function(static_cast<Value>(load<Sample>(from + c * size)));
                    const Sample stored = clamped<Sample>(result);
                    std::memcpy(to + c * size, &stored, sizeof stored);
                }
            }
        }
    }
    return true;
}

template <class Value>
UserRun samplesOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return runSamples<uint8_t, Value>;
        case MOX_DEPTH_8S:
            return runSamples<int8_t, Value>;
        case MOX_DEPTH_16U:
            return runSamples<uint16_t, Value>;
        case MOX_DEPTH_16S:
            return runSamples<int16_t, Value>;
        case MOX_DEPTH_32S:
            return runSamples<int32_t, Value>;
        default:
            // Floats, which alone go to a function of floats.
            return runSamples<Value, Value>;
    }
}

// ------------------------------------------------------------------------------------------------------------ pixels

struct PixelWork {
    MoxUserFuncPixel function;
    MoxImage *src, *dst;  // the caller's own headers
    uint8_t *copies[2];   // in plane order: the processed samples of a pixel of each image
    const MoxStatus *status;
    bool failed;

    // False after a fault of the function.
    bool call(uint8_t *srcPixel, uint8_t *dstPixel) {
        function(src, srcPixel, dst, dstPixel);
        failed = *status != MOX_StatusNoError;
        return !failed;
    }
};

void gatherPixel(const uint8_t *from, const OwnSpan &span, int planes, uint8_t *to) {
    for (int64_t c = 0; c < planes; ++c)
        std::memcpy(to + c * span.bytes, from + c * span.planeStep, static_cast<size_t>(span.bytes));
}

void scatterPixel(const uint8_t *from, const OwnSpan &span, int planes, uint8_t *to) {
    for (int64_t c = 0; c < planes; ++c)
        std::memcpy(to + c * span.planeStep, from + c * span.bytes, static_cast<size_t>(span.bytes));
}

bool runPixels(const OwnRows &rows, void *work_) {
    auto &work = *static_cast<PixelWork *>(work_);
    const OwnSpan &src = rows.spans[0], &dst = rows.spans[1];
    for (int64_t y = 0; y < rows.height; ++y) {
        uint8_t *from = src.start + y * src.rowStep, *to = dst.start + y * dst.rowStep;
        const uint8_t *mask = rows.masked ? rows.mask.start + y * rows.mask.rowStep : nullptr;
        for (int64_t x = 0; x < rows.width; ++x) {
            const bool kept = mask && !maskBit(mask, rows.mask.bit, x);
            if (!kept && !work.copies[0] && !work.call(from, to)) return false;
            if (!kept && work.copies[0]) {
                gatherPixel(from, src, rows.planes, work.copies[0]);
                gatherPixel(to, dst, rows.planes, work.copies[1]);
                const bool goesOn = work.call(work.copies[0], work.copies[1]);
                scatterPixel(work.copies[1], dst, rows.planes, to);
                if (!goesOn) return false;
            }
            from += int64_t{src.step} * src.bytes;
            to += int64_t{dst.step} * dst.bytes;
        }
    }
    return true;
}

// ------------------------------------------------------------------------------------------------------------- walks

class UserProcess {
  public:
    UserProcess(const OwnCaller &caller, MoxImage *src, MoxImage *dst) : caller_(caller), src_(src), dst_(dst) {}
    ~UserProcess() { moxDeallocate(mask_, MOX_FreeHeader | MOX_FreeData); }
    UserProcess(const UserProcess &) = delete;
    UserProcess &operator=(const UserProcess &) = delete;

    // The tests that all three functions share, and the depths that one of them refuses.
    bool agree(bool hasFunction, bool takesFloats);
    // The common size and mask, which come behind.
    bool open();
    // Brings run over the images. False after a fault of a tile, or one that run has found.
    bool walk(UserRun run, void *work);

    int channels() const { return std::min(ownChannels(src_), ownChannels(dst_)); }
    bool refuse(MoxStatus status, const char *message) const {
        ownReport(caller_, status, message);
        return false;
    }

  private:
    bool channelsAgree() const;
    bool makeMask();
    bool runTile(const OwnTileGrid &grid, UserRun run, void *work);
    bool runArea(MoxImage *src, MoxImage *dst, MoxImage *mask, UserRun run, void *work) const;

    OwnCaller caller_;
    MoxImage *src_, *dst_;
    MoxImage *mask_ = nullptr;
    int width_ = 0, height_ = 0;
};

bool UserProcess::channelsAgree() const {
    const bool srcCoi = ownHasCoi(src_), dstCoi = ownHasCoi(dst_);
    if (srcCoi && !dstCoi && dst_->nChannels != 1)
        return refuse(MOX_StatusHeaderCoi, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    if (dstCoi && !srcCoi && src_->nChannels != 1)
        return refuse(MOX_StatusHeaderCoi, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
    if (!srcCoi && !dstCoi && src_->nChannels != dst_->nChannels)
        return refuse(MOX_StatusHeaderChannels, "srcImage->nChannels != dstImage->nChannels");
    return channels() != 0 || refuse(MOX_StatusHeaderChannels, "nChannels == 0");
}

bool UserProcess::agree(bool hasFunction, bool takesFloats) {
    if (!ownAcceptImage(caller_, src_) || !ownAcceptImage(caller_, dst_)) return false;
    if (src_->origin != dst_->origin) return refuse(MOX_StatusHeaderOrigin, "srcImage->origin != dstImage->origin");
    if (src_->dataOrder != dst_->dataOrder)
        return refuse(MOX_StatusHeaderOrder, "srcImage->dataOrder != dstImage->dataOrder");
    if (!hasFunction) return refuse(MOX_StatusBadArgument, "cbFunc == NULL");
    if (src_->depth != dst_->depth) return refuse(MOX_StatusHeaderDepth, "srcImage->depth != dstImage->depth");
    if (!channelsAgree()) return false;
    // Depths that are none of the seven are faults of the header.
    if (src_->depth == MOX_DEPTH_1U) return refuse(MOX_StatusHeaderDepth, "depth == MOX_DEPTH_1U");
    if (src_->depth == MOX_DEPTH_32F && !takesFloats) return refuse(MOX_StatusHeaderDepth, "depth == MOX_DEPTH_32F");
    return true;
}

bool UserProcess::open() {
    int64_t width = INT32_MAX, height = INT32_MAX;
    for (const MoxImage *image : {static_cast<const MoxImage *>(src_->maskROI), static_cast<const MoxImage *>(src_),
                                  static_cast<const MoxImage *>(dst_->maskROI), static_cast<const MoxImage *>(dst_)}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    }
    if (width < 1) return refuse(MOX_StatusHeaderRoiSize, "width <= 0");
    if (height < 1) return refuse(MOX_StatusHeaderRoiSize, "height <= 0");
    width_ = static_cast<int>(width);
    height_ = static_cast<int>(height);
    if (!ownAcceptMemory(caller_, {src_, dst_})) return false;
    return (!src_->maskROI && !dst_->maskROI) || makeMask() || refuse(MOX_StatusBacktrace, "while mask creating");
}

// The masks are copied: the function may do with the caller's what it likes.
bool UserProcess::makeMask() {
    mask_ = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "", "", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 4, width_, height_,
                                 nullptr, nullptr, nullptr, nullptr);
    if (!mask_) return false;
    moxAllocateImage(mask_, 0, 0);
    if (!mask_->imageData) return false;
    // As operands that nothing tells apart. Their regions keep what is beside them out of a flat run.
    const auto view = [](const MoxImage *mask, MoxROI *region) {
        OwnImageRect rect;
        ownImageRect(mask, &rect);
        *region = {0, static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.width),
                   static_cast<int>(rect.height)};
        MoxImage image = ownMaskAsImage(mask);
        image.dataOrder = MOX_DATA_ORDER_PIXEL;
        image.origin = MOX_ORIGIN_TL;
        image.roi = region;
        return image;
    };
    MoxROI regions[2];
    MoxImage first = view(src_->maskROI ? src_->maskROI : dst_->maskROI, &regions[0]);
    MoxImage second = view(dst_->maskROI ? dst_->maskROI : src_->maskROI, &regions[1]);
    moxAnd(&first, &second, mask_);
    return true;
}

bool UserProcess::runArea(MoxImage *src, MoxImage *dst, MoxImage *mask, UserRun run, void *work) const {
    MoxImage *const images[] = {src, dst};
    const int first[] = {ownFirstChannel(src), ownFirstChannel(dst)};
    OwnRows rows;
    ownSetRows(&rows, images, first, 2, channels(), mask);
    return run(rows, work);
}

bool UserProcess::runTile(const OwnTileGrid &grid, UserRun run, void *work) {
    const OwnShare &share = grid.share();
    OwnScratchImage to, mask;
    OwnSourceShare from;
    char *tile = nullptr;
    if (dst_->tileInfo) {
        tile = ownRequestTile(dst_, grid.column(), grid.row(), MOX_TileWrite);
        if (!tile) return refuse(MOX_StatusGeneral, "Error get tile to write");
        ownShareOfTile(dst_, share, tile, &to);
    } else {
        ownShareOfPlain(dst_, share, &to);
    }
    // A tile that is its own source is in hand already.
    const bool inPlace = src_ == dst_;
    bool done = inPlace || from.open(src_, share);
    if (done) {
        if (mask_) ownShareOfPlain(mask_, share, &mask);
        done = runArea(inPlace ? &to.header : from.header(), &to.header, mask_ ? &mask.header : nullptr, run, work);
    } else {
        refuse(MOX_StatusGeneral, "Error get tile to read");
    }
    if (tile) ownReleaseTile(dst_, grid.column(), grid.row(), tile);
    return done;
}

bool UserProcess::walk(UserRun run, void *work) {
    if (!src_->tileInfo && !dst_->tileInfo) return runArea(src_, dst_, mask_, run, work);
    for (OwnTileGrid grid(dst_->tileInfo ? dst_ : src_, width_, height_); grid.next();) {
        if (!runTile(grid, run, work)) return false;
    }
    return true;
}

// An old status is put aside for a walk that looks at it, and comes back if nothing fails.
class StatusAside {
  public:
    explicit StatusAside(MoxThreadContext *context) : context_(context), before_(context->status) {
        context->status = MOX_StatusNoError;
    }
    ~StatusAside() {
        if (context_->status == MOX_StatusNoError) context_->status = before_;
    }
    StatusAside(const StatusAside &) = delete;
    StatusAside &operator=(const StatusAside &) = delete;

  private:
    MoxThreadContext *context_;
    MoxStatus before_;
};

// Memory for the samples of two pixels.
class PixelCopies {
  public:
    ~PixelCopies() {
        moxFree(copies_[0]);
        moxFree(copies_[1]);
    }
    bool make(int bytes) {
        copies_[0] = moxMalloc(bytes);
        copies_[1] = copies_[0] ? moxMalloc(bytes) : nullptr;
        return copies_[1] != nullptr;
    }
    uint8_t *at(int i) const { return static_cast<uint8_t *>(copies_[i]); }

  private:
    void *copies_[2] = {};
};

}  // namespace

void MOX_CALL moxUserProcess(MoxImage *srcImage, MoxImage *dstImage, MoxUserFunc cbFunc) {
    UserProcess process(OWN_CALLER("moxUserProcess"), srcImage, dstImage);
    if (!process.agree(cbFunc != nullptr, false) || !process.open()) return;
    process.walk(samplesOf<int>(dstImage->depth), &cbFunc);
}

void MOX_CALL moxUserProcessFP(MoxImage *srcImage, MoxImage *dstImage, MoxUserFuncFP cbFunc) {
    UserProcess process(OWN_CALLER("moxUserProcessFP"), srcImage, dstImage);
    if (!process.agree(cbFunc != nullptr, true) || !process.open()) return;
    process.walk(samplesOf<float>(dstImage->depth), &cbFunc);
}

void MOX_CALL moxUserProcessPixel(MoxImage *srcImage, MoxImage *dstImage, MoxUserFuncPixel cbFunc) {
    UserProcess process(OWN_CALLER("moxUserProcessPixel"), srcImage, dstImage);
    if (!process.agree(cbFunc != nullptr, true) || !process.open()) return;
    PixelCopies copies;
    if (dstImage->dataOrder == MOX_DATA_ORDER_PLANE &&
        !copies.make(process.channels() * ownDepthBytes(dstImage->depth))) {
        process.refuse(MOX_StatusNoMemory, "No memory for temporal array");
        return;
    }
    MoxThreadContext *context = ownGetContext();
    const StatusAside aside(context);
    PixelWork work = {cbFunc, srcImage, dstImage, {copies.at(0), copies.at(1)}, &context->status, false};
    if (!process.walk(runPixels, &work) && work.failed) process.refuse(MOX_StatusBacktrace, "in cbFunc call");
}
