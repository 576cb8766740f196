// Where in memory an image's region lies: checks, rectangles, starts, masks, bits.
#pragma once

#include <initializer_list>

#include "core/owncore.h"

// A region: ends are exclusive. Width and height may come out zero or negative where the region lies beyond the image.
struct OwnImageRect {
    int64_t x, xEnd, y, yEnd;
    int64_t height, width;
};

// Added to the fault of a header that is a mask's.
constexpr MoxStatus OWN_MASK_FAULT = -100;

// The first fault in depth, alphaChannel, dataOrder, origin and align, or 0.
MoxStatus ownFindFormatFault(const MoxImage *image);

// The first fault that the tests of a header find, in their order, or 0. Stores and reports nothing.
MoxStatus ownFindHeaderFault(const MoxImage *image);

// That test with the report "Incorrect Image"; false after a fault. Operations begin with it for each image.
bool ownAcceptImage(const OwnCaller &caller, const MoxImage *image);

// What no image in memory can have, although the tests of its header let it pass: sizes beyond an int of bytes, or of a
// tile, and rows longer than widthStep. The fault of the image, or that of its mask less 100, or 0.
MoxStatus ownFindExcess(const MoxImage *image);

// Refuses that with the report "Incorrect Image". This comes behind every test that an operation makes by name, since
// those say more, and before the first byte of pixels or masks is touched; the frames do it in the step that begins to
// touch them (OwnPoint::run, OwnPair, OwnCommonMask). Null images are passed over. False where the operation must not
// go on: also without a report, where a region is empty and there was nothing to do.
bool ownAcceptMemory(const OwnCaller &caller, std::initializer_list<const MoxImage *> images);

// The same for an operation on the whole of an image, to which its region and mask mean nothing.
bool ownAcceptPixels(const OwnCaller &caller, const MoxImage *image);

// The image's region, clipped at the right and lower edge but not clamped. The ends are left for the caller.
inline void ownImageRect(const MoxImage *image, OwnImageRect *rect) {
    *rect = {0, 0, 0, 0, image->height, image->width};
    if (const MoxROI *roi = image->roi) {
        rect->x = roi->xOffset;
        rect->y = roi->yOffset;
        const int64_t width = image->width - rect->x, height = image->height - rect->y;
        rect->width = roi->width < width ? roi->width : width;
        rect->height = roi->height < height ? roi->height : height;
    }
}

// The first byte of a plain image's sample.
inline char *ownSampleAt(const MoxImage *image, int channel, int64_t x, int64_t y) {
    const int64_t bits = ownDepthBits(image->depth);
    const int64_t rows = y * image->widthStep;
    if (image->dataOrder == MOX_DATA_ORDER_PLANE) {
        const int64_t plane = static_cast<int64_t>(image->height) * image->widthStep;
        return image->imageData + (channel * plane + x * bits / 8 + rows);
    }
    return image->imageData + ((channel + x * image->nChannels) * bits / 8 + rows);
}

// The first byte of the region in a channel; the width and height clipped and at least 0; the bit offset within the
// byte (of use at depth 1).
char *ownRoiStart(const MoxImage *image, int channel, int *width, int *height, int *bitOffset);

// True if the images may be treated as one run of their smallest imageSize. imageC may be null; alpha is the extra
// flag: true forbids it.
bool ownCanRunFlat(const MoxImage *imageA, const MoxImage *imageB, const MoxImage *imageC, bool alpha);

// Copies count bits within a row; offsets are below 8. Bits of the destination outside the run stay.
void ownCopyBits(const uint8_t *src, uint8_t *dst, int srcOffset, int dstOffset, int64_t count);

// out[k] = the 8 bits of src that stand 8 * k - dstOffset bits from srcOffset, for all bytes that a run of count bits
// at dstOffset touches. Bits outside the run are unspecified; no byte of src beyond the run is read. Offsets are
// below 8. src and out do not overlap.
void ownAlignBits(const uint8_t *src, int srcOffset, uint8_t *out, int dstOffset, int64_t count);

// The bits of the first and last byte that belong to a run of count bits at a bit offset.
inline uint8_t ownFirstBits(int offset) {
    return static_cast<uint8_t>(255 >> offset);
}
inline uint8_t ownLastBits(int offset, int64_t count) {
    return static_cast<uint8_t>(255 << (7 - (offset + count - 1) % 8));
}

enum OwnMaskState { OWN_MASK_AS_IS, OWN_MASK_TEMPORARY, OWN_MASK_NO_MEMORY, OWN_MASK_EMPTY };

// The one mask for an operation, or null. A temporary one (its pixel (0, 0) at the region corners) is freed by
// ownFreeMask.
MoxImage *ownCombineMasks(MoxImage *maskA, MoxImage *maskB, MoxImage *maskC, OwnMaskState *state);
inline void ownFreeMask(MoxImage *mask, OwnMaskState state) {
    if (state == OWN_MASK_TEMPORARY) moxDeallocate(mask, MOX_FreeHeader | MOX_FreeData);
}

// Whether several masks have nothing in common, as their sizes tell.
bool ownMasksAreApart(const MoxImage *maskA, const MoxImage *maskB, const MoxImage *maskC);

// The one mask of an operation on two images, the second of which may be null, held as long as this lives. The step
// with which such an operation begins to touch memory: see ownAcceptMemory.
class OwnCommonMask {
  public:
    OwnCommonMask(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst);
    ~OwnCommonMask() { ownFreeMask(image_, state_); }
    OwnCommonMask(const OwnCommonMask &) = delete;
    OwnCommonMask &operator=(const OwnCommonMask &) = delete;

    MoxImage *image() const { return image_; }
    // Nothing to do: the masks have nothing in common, or the images have been refused with a report.
    bool endsCall() const { return state_ == OWN_MASK_EMPTY; }
    bool lacksMemory() const { return state_ == OWN_MASK_NO_MEMORY; }

  private:
    MoxImage *image_ = nullptr;
    OwnMaskState state_ = OWN_MASK_EMPTY;
};

// A mask as an operand: its own mask means nothing, and neither does an alpha channel, which its one channel may be
// called.
inline MoxImage ownMaskAsImage(const MoxImage *mask) {
    MoxImage image = *mask;
    image.maskROI = nullptr;
    image.alphaChannel = 0;
    return image;
}

// Processed channels of an image: the coi alone, or all but alpha; the first of them; whether a coi is named.
inline bool ownHasCoi(const MoxImage *image) {
    return image->roi && image->roi->coi != 0;
}
inline int ownChannels(const MoxImage *image) {
    return ownHasCoi(image) ? 1 : image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}
inline int ownFirstChannel(const MoxImage *image) {
    return ownHasCoi(image) ? image->roi->coi - 1 : 0;
}
