// Two images whose pixels are moved.
#include "frame/ownpair.h"

#include <algorithm>

#include "frame/ownrect.h"

OwnPair::~OwnPair() {
    ownFreeMask(mask_, maskState_);
}

// All three faults are reported, one after the other.
bool OwnPair::agree() {
    const auto refuse = [&](const char *message) { report(MOX_StatusBadArgument, message); };
    if (src_->depth != dst_->depth) refuse("srcImage->depth != dstImage->depth");
    if (src_->origin != dst_->origin) refuse("srcImage->origin != dstImage->origin");
    // The order has no meaning for a single channel.
    const bool single = src_->depth == MOX_DEPTH_1U || (src_->nChannels == 1 && dst_->nChannels == 1);
    if (!single && src_->dataOrder != dst_->dataOrder) refuse("srcImage->dataOrder != dstImage->dataOrder");
    return !failed_;
}

bool OwnPair::combineMasks() {
    MoxImage *second = dst_->maskROI != src_->maskROI ? dst_->maskROI : nullptr;
    if (exceeds_) return !ownMasksAreApart(src_->maskROI, second, nullptr);
    mask_ = ownCombineMasks(src_->maskROI, second, nullptr, &maskState_);
    if (maskState_ == OWN_MASK_NO_MEMORY) traceFailure();
    return maskState_ != OWN_MASK_NO_MEMORY && maskState_ != OWN_MASK_EMPTY;
}

// Steps along tiles find differing channels themselves, but are not begun with what cannot be in memory.
bool OwnPair::accept() {
    const bool tiled = src_->tileInfo || dst_->tileInfo;
    if ((!tiled || exceeds_) && ownChannels(src_) != ownChannels(dst_)) {
        report(MOX_StatusBadArgument,
               "Number of processed channels of srcImage != Number of processed channels of dstImage");
        if (tiled) traceFailure();
        return false;
    }
    failed_ = exceeds_ && !ownAcceptMemory(caller_, {src_, dst_});
    return !failed_;
}

bool OwnPair::open() {
    failed_ = !ownAcceptImage(caller_, src_) || !ownAcceptImage(caller_, dst_);
    if (failed_ || !agree()) return false;
    // The status word rules as well: while a fault of an earlier call stands in it, no pixels are moved.
    failed_ = moxGetErrStatus() < 0;
    if (failed_ || src_ == dst_) return false;
    if (ownChannels(src_) == 0 || ownChannels(dst_) == 0) return false;
    exceeds_ = ownFindExcess(src_) != MOX_StatusNoError || ownFindExcess(dst_) != MOX_StatusNoError;
    if (!combineMasks()) return false;

    width_ = height_ = INT32_MAX;
    for (const MoxImage *image : {src_, dst_, exceeds_ ? src_->maskROI : mask_, exceeds_ ? dst_->maskROI : nullptr}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width_ = std::min(width_, rect.width);
        height_ = std::min(height_, rect.height);
    }
    return width_ > 0 && height_ > 0 && accept();
}

void OwnPair::runPlain(const OwnRowForms (&kernels)[OWN_SAMPLE_SIZES], bool exchange) const {
    MoxImage *const images[] = {src_, dst_};
    const int first[] = {ownFirstChannel(src_), ownFirstChannel(dst_)};
    OwnRows rows;
    ownSetRows(&rows, images, first, 2, ownChannels(dst_), mask_);
    rows.exchange = exchange;
    ownRunRows(rows, kernels[ownSampleSize(ownDepthBytes(dst_->depth))], {});
}

MoxImage *OwnPair::maskShare(const OwnShare &share, OwnScratchImage *scratch) const {
    if (!mask_) return nullptr;
    ownShareOfPlain(mask_, share, scratch);
    return &scratch->header;
}

static void setShare(OwnScratchImage *scratch, int64_t x, int64_t y, const OwnShare &share) {
    scratch->header.maskROI = nullptr;
    scratch->roi.xOffset = static_cast<int>(x);
    scratch->roi.yOffset = static_cast<int>(y);
    scratch->roi.width = static_cast<int>(share.width);
    scratch->roi.height = static_cast<int>(share.height);
}

void ownShareOfPlain(const MoxImage *image, const OwnShare &share, OwnScratchImage *scratch) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    ownMakeScratch(image, scratch);
    setShare(scratch, rect.x + share.x, rect.y + share.y, share);
}

void ownShareOfTile(const MoxImage *image, const OwnShare &share, char *tileData, OwnScratchImage *scratch) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    const MoxTileInfo *tiles = image->tileInfo;
    ownMakeScratch(image, scratch);
    ownMakeTileHeader(image, &scratch->header);
    scratch->header.imageData = tileData;
    setShare(scratch, (rect.x + share.x) % tiles->width, (rect.y + share.y) % tiles->height, share);
}

void ownShareOfRect(const MoxImage *image, const OwnShare &share, char *data, int rowBytes, OwnScratchImage *scratch) {
    const int planes = image->dataOrder == MOX_DATA_ORDER_PLANE ? image->nChannels : 1;
    ownMakeScratch(image, scratch);
    MoxImage &header = scratch->header;
    header.tileInfo = nullptr;
    header.imageData = data;
    header.width = static_cast<int>(share.width);
    header.height = static_cast<int>(share.height);
    header.widthStep = rowBytes;
    header.imageSize = static_cast<int>(rowBytes * share.height * planes);
    setShare(scratch, 0, 0, share);
}

char *ownReadShare(MoxImage *image, const OwnShare &share, int *rowBytes) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    return ownGetRect(image, static_cast<int>(rect.x + share.x), static_cast<int>(rect.y + share.y),
                      static_cast<int>(share.width), static_cast<int>(share.height), rowBytes);
}

OwnTileGrid::OwnTileGrid(const MoxImage *image, int64_t width, int64_t height)
    : tileWidth_(image->tileInfo->width), tileHeight_(image->tileInfo->height) {
    ownImageRect(image, &rect_);
    rect_.xEnd = rect_.x + width;
    rect_.yEnd = rect_.y + height;
    row_ = rect_.y / tileHeight_;
    column_ = rect_.x / tileWidth_ - 1;
}

bool OwnTileGrid::next() {
    ++column_;
    if (column_ * tileWidth_ >= rect_.xEnd) {
        column_ = rect_.x / tileWidth_;
        ++row_;
    }
    if (row_ * tileHeight_ >= rect_.yEnd) return false;
    const int64_t x = std::max(rect_.x, column_ * tileWidth_), y = std::max(rect_.y, row_ * tileHeight_);
    const int64_t xEnd = std::min(rect_.xEnd, (column_ + 1) * tileWidth_);
    const int64_t yEnd = std::min(rect_.yEnd, (row_ + 1) * tileHeight_);
    share_ = {x - rect_.x, y - rect_.y, xEnd - x, yEnd - y};
    return true;
}
