// The one mask of an operation from those of its images.
#include <algorithm>
#include <cstring>

#include "frame/ownimage.h"
#include "frame/ownmove.h"

namespace {

// A mask's region: mask rows are combined from here.
struct MaskSource {
    const uint8_t *start;
    int bitOffset;
    int64_t widthStep;
};

void combineRow(const MaskSource *sources, int count, int64_t row, uint8_t *out, int width) {
    // The run of a row is cut into pieces that a small buffer holds.
    uint8_t piece[512], other[512];
    constexpr int64_t pieceBits = sizeof piece * 8;
    for (int64_t x = 0; x < width; x += pieceBits) {
        const int64_t bits = std::min<int64_t>(width - x, pieceBits);
        const int64_t bytes = (bits + 7) / 8;
        for (int i = 0; i < count; ++i) {
            const uint8_t *src = sources[i].start + row * sources[i].widthStep + x / 8;
            ownAlignBits(src, sources[i].bitOffset, i == 0 ? piece : other, 0, bits);
            if (i > 0) {
                for (int64_t k = 0; k < bytes; ++k)
                    piece[k] &= other[k];
            }
        }
        std::memcpy(out + x / 8, piece, static_cast<size_t>(bytes));
    }
}

// Those of the three that there are, and the size that they have in common.
struct MaskSet {
    MaskSet(const MoxImage *maskA, const MoxImage *maskB, const MoxImage *maskC) {
        const MoxImage *const all[] = {maskA, maskB, maskC};
        for (const MoxImage *mask : all) {
            if (!mask) continue;
            masks[count++] = mask;
            OwnImageRect rect;
            ownImageRect(mask, &rect);
            width = std::min(width, rect.width);
            height = std::min(height, rect.height);
        }
    }
    bool apart() const { return count > 1 && (width < 1 || height < 1); }

    const MoxImage *masks[3];
    int count = 0;
    int64_t width = INT32_MAX, height = INT32_MAX;
};

// A mask of the common size, without bits; null where memory runs out.
MoxImage *createMask(const MaskSet &set) {
    MoxImage *mask = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", MOX_DATA_ORDER_PLANE, set.masks[0]->origin,
                                          8, static_cast<int>(set.width), static_cast<int>(set.height), nullptr,
                                          nullptr, nullptr, nullptr);
    if (!mask) return nullptr;
    moxAllocateImage(mask, 0, 0);
    if (mask->imageData) return mask;
    moxDeallocate(mask, MOX_FreeHeader);
    return nullptr;
}

}  // namespace

bool ownMasksAreApart(const MoxImage *maskA, const MoxImage *maskB, const MoxImage *maskC) {
    return MaskSet(maskA, maskB, maskC).apart();
}

MoxImage *ownCombineMasks(MoxImage *maskA, MoxImage *maskB, MoxImage *maskC, OwnMaskState *state) {
    *state = OWN_MASK_AS_IS;
    const int count = (maskA ? 1 : 0) + (maskB ? 1 : 0) + (maskC ? 1 : 0);
    if (count < 2) return maskA ? maskA : maskB ? maskB : maskC;

    const MaskSet set(maskA, maskB, maskC);
    *state = set.apart() ? OWN_MASK_EMPTY : OWN_MASK_NO_MEMORY;
    MoxImage *combined = set.apart() ? nullptr : createMask(set);
    if (!combined) return nullptr;
    MaskSource sources[3];
    for (int i = 0; i < set.count; ++i) {
        int width, height;
        const char *start = ownRoiStart(set.masks[i], 0, &width, &height, &sources[i].bitOffset);
        sources[i].start = reinterpret_cast<const uint8_t *>(start);
        sources[i].widthStep = set.masks[i]->widthStep;
    }
    for (int64_t y = 0; y < set.height; ++y) {
        uint8_t *out = reinterpret_cast<uint8_t *>(combined->imageData) + y * combined->widthStep;
        combineRow(sources, set.count, y, out, static_cast<int>(set.width));
    }
    *state = OWN_MASK_TEMPORARY;
    return combined;
}

OwnCommonMask::OwnCommonMask(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    MoxImage *second = dst && dst->maskROI != src->maskROI ? dst->maskROI : nullptr;
    if (ownMasksAreApart(src->maskROI, second, nullptr)) return;
    if (ownAcceptMemory(caller, {src, dst})) image_ = ownCombineMasks(src->maskROI, second, nullptr, &state_);
}
