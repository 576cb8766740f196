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

}  // namespace

MoxImage *ownCombineMasks(MoxImage *maskA, MoxImage *maskB, MoxImage *maskC, OwnMaskState *state) {
    MoxImage *masks[3];
    int count = 0;
    for (MoxImage *mask : {maskA, maskB, maskC}) {
        if (mask) masks[count++] = mask;
    }
    *state = OWN_MASK_AS_IS;
    if (count == 0) return nullptr;
    if (count == 1) return masks[0];

    MaskSource sources[3];
    int width = INT32_MAX, height = INT32_MAX;
    for (int i = 0; i < count; ++i) {
        int w, h;
        const char *start = ownRoiStart(masks[i], 0, &w, &h, &sources[i].bitOffset);
        sources[i].start = reinterpret_cast<const uint8_t *>(start);
        sources[i].widthStep = masks[i]->widthStep;
        width = std::min(width, w);
        height = std::min(height, h);
    }
    *state = OWN_MASK_EMPTY;
    if (width == 0 || height == 0) return nullptr;

    *state = OWN_MASK_NO_MEMORY;
    MoxImage *combined = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", MOX_DATA_ORDER_PLANE, masks[0]->origin,
                                              8, width, height, nullptr, nullptr, nullptr, nullptr);
    if (!combined) return nullptr;
    moxAllocateImage(combined, 0, 0);
    if (!combined->imageData) {
        moxDeallocate(combined, MOX_FreeHeader);
        return nullptr;
    }
    for (int y = 0; y < height; ++y) {
        uint8_t *out = reinterpret_cast<uint8_t *>(combined->imageData) + static_cast<int64_t>(y) * combined->widthStep;
        combineRow(sources, count, y, out, width);
    }
    *state = OWN_MASK_TEMPORARY;
    return combined;
}
