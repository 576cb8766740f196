// The run of an operation with opacities behind its tests: the working size, the one mask, plain or tiled.
#include <algorithm>
#include <climits>

#include "arith/ownalpha.h"
#include "arith/ownalphatiles.h"
#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnAlphaRows, alphaRows)

const OwnAlphaRows &ownAlphaRows() {
    static constexpr const OwnAlphaRows *tables[] = OWN_LEVEL_TABLES(alphaRows);
    return *tables[ownCpuLevel()];
}

namespace {

struct Size {
    int64_t width = INT_MAX, height = INT_MAX;
    void limit(const MoxImage *image) {
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    }
};

// A mask as an image of the working size, without the mask and the alpha that it may have. A region keeps the rows
// apart, which need not be of one length.
struct MaskOperand {
    MoxImage header;
    MoxROI roi;
    MaskOperand(const MoxImage *mask, const Size &size) : header(ownMaskAsImage(mask)) {
        OwnImageRect rect;
        ownImageRect(mask, &rect);
        roi = {0, static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(size.width),
               static_cast<int>(size.height)};
        header.roi = &roi;
    }
};

// The mask of a call: one of those given, or several merged. Masks are tested with the images that have them.
class Mask {
  public:
    Mask(const OwnCaller &caller, MoxImage *const *masks, int count, const Size &size) {
        if (count == 1) image_ = masks[0];
        if (count < 2) return;
        merged_ = image_ = create(masks[0], size);
        fails_ = !merged_;
        if (fails_) {
            ownReport(caller, MOX_StatusNoMemory, "No working memory");
            return;
        }
        const OwnNestedCalls calls;
        MaskOperand merged(merged_, size), first(masks[0], size);
        for (int i = 1; i < count; ++i) {
            MaskOperand next(masks[i], size);
            moxAnd(i == 1 ? &first.header : &merged.header, &next.header, &merged.header);
        }
        fails_ = calls.failed();
        if (fails_) ownReport(caller, MOX_StatusBacktrace, "Bad masks for images");
    }
    ~Mask() { moxDeallocate(merged_, MOX_FreeHeader | MOX_FreeData); }
    Mask(const Mask &) = delete;
    Mask &operator=(const Mask &) = delete;

    MoxImage *image() const { return image_; }
    bool fails() const { return fails_; }

  private:
    static MoxImage *create(const MoxImage *like, const Size &size) {
        MoxImage *mask = moxCreateImageHeader(like->nChannels, like->alphaChannel, static_cast<int>(like->depth),
                                              like->colorModel, like->channelSeq, like->dataOrder, like->origin,
                                              like->align, static_cast<int>(size.width), static_cast<int>(size.height),
                                              nullptr, nullptr, nullptr, nullptr);
        if (mask) moxAllocateImage(mask, 0, 0);
        if (mask && mask->imageData) return mask;
        moxDeallocate(mask, MOX_FreeHeader);
        return nullptr;
    }

    MoxImage *image_ = nullptr, *merged_ = nullptr;
    bool fails_ = false;
};

const MoxImage *findMaster(const OwnAlphaCall &call) {
    for (int i = 0; i < call.count; ++i) {
        if (call.images[i] && call.images[i]->tileInfo) return call.images[i];
    }
    return nullptr;
}

class TiledRun {
  public:
    TiledRun(const OwnAlphaCall &call, const MoxImage *master, MoxImage *mask, const Size &size)
        : call_(call), master_(*master), size_(size) {
        const MoxTileInfo *tiles = master->tileInfo;
        session_ = ownTileSessionCreate(call.count + 1, tiles->width, tiles->height);
        for (int i = 0; i < call.count; ++i)
            slots_[i] = ownTileSessionAdd(session_, call.images[i], i < call.written ? MOX_TileWrite : MOX_TileRead);
        maskSlot_ = ownTileSessionAdd(session_, mask, MOX_TileRead);
    }
    ~TiledRun() { ownTileSessionDestroy(session_); }
    TiledRun(const TiledRun &) = delete;
    TiledRun &operator=(const TiledRun &) = delete;

    // Blocks lie within the master's tiles.
    void run() {
        const MoxTileInfo *tiles = master_.tileInfo;
        OwnImageRect rect;
        ownImageRect(&master_, &rect);
        int64_t height = tiles->height - rect.y % tiles->height;
        for (int64_t y = 0; y < size_.height; y += height, height = tiles->height) {
            int64_t width = tiles->width - rect.x % tiles->width;
            for (int64_t x = 0; x < size_.width; x += width, width = tiles->width) {
                if (!runBlock(x, y, std::min(width, size_.width - x), std::min(height, size_.height - y))) return;
            }
        }
    }

    void report() const {
        const MoxStatus status = ownTileSessionStatus(session_);
        if (status == MOX_StatusNoError) return;
        if (status == MOX_StatusGeneral) {
            ownReport(call_.caller, status, "ERROR in Tiling callBack");
        } else if (status == MOX_StatusNoMemory) {
            ownReport(call_.caller, status, "No working memory");
        } else if (moxGetErrStatus() >= 0 ||
                   ownReport(call_.caller, MOX_StatusBacktrace, "Internal tiling error") == MOX_StatusNoError) {
            ownReport(call_.caller, MOX_StatusInternal, "Internal tiling error");
        }
    }

  private:
    bool runBlock(int64_t x, int64_t y, int64_t width, int64_t height) {
        if (!session_) return false;
        ownTileSessionSetRect(session_, x, y, width, height);
        MoxImage *views[OWN_ALPHA_IMAGES];
        for (int i = 0; i < call_.count; ++i)
            views[i] = ownTileSessionAcquire(session_, slots_[i]);
        MoxImage *mask = ownTileSessionAcquire(session_, maskSlot_);
        const bool all = ownTileSessionStatus(session_) == MOX_StatusNoError;
        if (all) call_.function(call_.operation, views, mask, static_cast<int>(width), static_cast<int>(height));
        ownTileSessionReleaseAll(session_);
        return all;
    }

    const OwnAlphaCall &call_;
    const MoxImage &master_;
    const Size size_;
    MoxTileSession *session_;
    int slots_[OWN_ALPHA_IMAGES], maskSlot_;
};

}  // namespace

void ownRunAlpha(const OwnAlphaCall &call) {
    Size size;
    MoxImage *masks[OWN_ALPHA_IMAGES];
    int maskCount = 0;
    for (int i = 0; i < call.count; ++i) {
        if (call.images[i]) size.limit(call.images[i]);
        if (!call.masked[i] || !call.masked[i]->maskROI) continue;
        masks[maskCount++] = call.masked[i]->maskROI;
        size.limit(call.masked[i]->maskROI);
    }
    if (size.width < 1 || size.height < 1) return;
    MoxImage *const *of = call.images;
    if (!ownAcceptMemory(call.caller, {of[0], of[1], of[2], of[3], of[4], of[5]})) return;
    const Mask mask(call.caller, masks, maskCount, size);
    if (mask.fails()) return;
    const MoxImage *master = findMaster(call);
    if (!master) {
        call.function(call.operation, call.images, mask.image(), static_cast<int>(size.width),
                      static_cast<int>(size.height));
        return;
    }
    TiledRun tiled(call, master, mask.image(), size);
    tiled.run();
    tiled.report();
}
