// The point frame.
#include "frame/ownpoint.h"

#include <algorithm>
#include <climits>

#include "frame/ownmove.h"
#include "frame/ownrows.h"
#include "frame/owntile.h"

const OwnPointMessages ownPointTwoSources = {
    {"(srcImageA->depth != dstImage->depth)", "(srcImageB->depth != dstImage->depth)"},
    {"(srcImageA->dataOrder != dstImage->dataOrder)", "(srcImageB->dataOrder != dstImage->dataOrder)"},
    nullptr,
    {"(nChSrcA != nChDst)", "(nChSrcB != nChDst)"},
    {"(srcImageA->tileInfo->tileData == 0)", "(srcImageB->tileInfo->tileData == 0)",
     "(dstImage->tileInfo->tileData == 0)"},
};

const OwnPointMessages ownPointOneSource = {
    {"(srcImage->depth != dstImage->depth)", nullptr},
    {"(srcImage->dataOrder != dstImage->dataOrder)", nullptr},
    nullptr,
    {"(nChSrc != nChDst)", nullptr},
    {"(srcImage->tileInfo->tileData == 0)", "(dstImage->tileInfo->tileData == 0)", nullptr},
};

OwnPoint::OwnPoint(const OwnCaller &caller, MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage)
    : caller_(caller), messages_(ownPointTwoSources) {
    add(srcImageA);
    add(srcImageB);
    add(dstImage);
}

OwnPoint::OwnPoint(const OwnCaller &caller, MoxImage *srcImage, MoxImage *dstImage, const OwnPointMessages &messages)
    : caller_(caller), messages_(messages) {
    add(srcImage);
    add(dstImage);
}

OwnPoint::~OwnPoint() {
    ownFreeMask(mask_, maskState_);
}

bool OwnPoint::open() {
    for (int i = 0; i < count_; ++i) {
        if (!ownAcceptImage(caller_, images_[i])) return false;
    }
    if (!checkAgreement()) return false;
    channels_ = ownChannels(destination());
    for (int i = 0; i < count_; ++i) {
        first_[i] = ownFirstChannel(images_[i]);
        alpha_ = alpha_ || images_[i]->alphaChannel != 0;
        tiled_ = tiled_ || images_[i]->tileInfo;
        exceeds_ = exceeds_ || ownFindExcess(images_[i]) != MOX_StatusNoError;
    }
    return combineMasks();
}

bool OwnPoint::checkAgreement() const {
    const MoxImage *dst = destination();
    const int sources = count_ - 1;
    const auto agree = [&](const char *const *messages, auto property) {
        for (int i = 0; i < sources; ++i) {
            if (property(images_[i]) == property(dst)) continue;
            refuse(messages[i]);
            return false;
        }
        return true;
    };
    const auto depth = [](const MoxImage *image) { return image->depth; };
    const auto order = [](const MoxImage *image) { return image->dataOrder; };
    const auto nChannels = [](const MoxImage *image) { return image->nChannels; };
    return agree(messages_.depth, depth) && agree(messages_.order, order) &&
           (!messages_.nChannels || agree(&messages_.nChannels, nChannels)) && agree(messages_.channels, ownChannels);
}

bool OwnPoint::combineMasks() {
    MoxImage *third = count_ > 2 ? images_[2]->maskROI : nullptr;
    // What cannot be in memory is not touched: run refuses it, behind the tests that the operation makes of its own.
    if (exceeds_) return !ownMasksAreApart(images_[0]->maskROI, images_[1]->maskROI, third);
    mask_ = ownCombineMasks(images_[0]->maskROI, images_[1]->maskROI, third, &maskState_);
    if (maskState_ == OWN_MASK_NO_MEMORY) ownReport(caller_, MOX_StatusNoMemory, "Out of memory");
    return maskState_ != OWN_MASK_NO_MEMORY && maskState_ != OWN_MASK_EMPTY;
}

// What a cell of the walk, or the whole call on plain images, needs to know.
struct OwnPoint::Cell {
    const OwnPoint &point;
    const OwnRowForms &kernel;
    const OwnConstant &constant;
    int64_t whole;  // bytes of each image that the call passes over, where it does so tile by tile

    void run(MoxImage *const *images, const MoxImage *mask) const {
        const int count = point.count_;
        MoxImage *third = count > 2 ? images[2] : nullptr;
        if (!mask && ownCanRunFlat(images[0], images[1], third, point.alpha_)) {
            runFlat(images);
            return;
        }
        OwnRows rows;
        ownSetRows(&rows, images, point.first_, count, point.channels_, mask);
        rows.whole = whole;
        ownRunRows(rows, kernel, constant);
    }

    // The whole buffers, row padding included, as far as the smallest of them goes. An imageSize beyond an image's own
    // rows is not believed: they are all that an application promises.
    void runFlat(MoxImage *const *images) const {
        uint8_t *at[OWN_MAX_SPANS];
        int64_t size = INT_MAX;
        for (int i = 0; i < point.count_; ++i) {
            const MoxImage *image = images[i];
            const int planes = image->dataOrder == MOX_DATA_ORDER_PLANE ? image->nChannels : 1;
            at[i] = reinterpret_cast<uint8_t *>(image->imageData);
            size = std::min({size, int64_t{image->imageSize}, int64_t{image->widthStep} * image->height * planes});
        }
        const OwnSampleSize sample = ownSampleSize(ownDepthBytes(images[0]->depth));
        // A shift: a division would take as long as all checks.
        ownRunFlat(at, point.count_, static_cast<size_t>(size >> sample), 1 << sample, whole, kernel, constant);
    }
};

void OwnPoint::run(const OwnRowForms &kernel, const OwnConstant &constant) {
    if (exceeds_) {
        ownAcceptMemory(caller_, {images_[0], images_[1], count_ > 2 ? images_[2] : nullptr});
        return;
    }
    Cell cell = {*this, kernel, constant, 0};
    if (!tiled_) {
        cell.run(images_, mask_);
        return;
    }
    // More than caches hold is enough to know, and the tiles of an image may add up to more than 64 bits count.
    OwnImageRect rect;
    ownImageRect(destination(), &rect);
    // Beside the image it is empty, with a size below 0.
    const int64_t pixelBytes = std::min<int64_t>(int64_t{channels_} * ownDepthBytes(destination()->depth), 16);
    cell.whole = std::clamp<int64_t>(rect.width * rect.height, 0, INT_MAX) * pixelBytes;
    const auto runCell = [](void *operation, MoxImage *const *images, MoxImage *mask) {
        static_cast<const Cell *>(operation)->run(images, mask);
    };
    const int refused = ownWalkTiles(images_, count_, mask_, runCell, &cell);
    if (refused >= 0) refuse(messages_.tile[refused]);
}
