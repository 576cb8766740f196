// The text of a status.
#include "core/owncore.h"

namespace {

// Header faults are stored once, as a mask's; the image's own text begins behind "Mask. ".
constexpr int MASK_PREFIX = 6;
constexpr int MASK_OFFSET = -100;

struct StatusText {
    MoxStatus status;
    const char *text;
};

constexpr StatusText texts[] = {
    {0, "No Error"},
    {-1, "Backtrace"},
    {-3, "Internal error (bad state)"},
    {-4, "Insufficient memory"},
    {-5, "Bad argument"},
    {-6, "Unsupported function"},
    {-7, "Iteration convergence failed"},
    {-8, "Autotrace call"},
    {-22, "Null pointer to callback function"},
    {-23, "Incorrect size of the tile"},
    {-26, "Mask image is taled"},
    {-27, "Null pointer"},
    {-28, "Incorrect vector length"},
    {-29, "Incorrect filter structure content"},
    {-30, "Incorrect transform kernel content"},
    {-31, "Incorrect filter ofset value"},
};

constexpr StatusText headerTexts[] = {
    {-9, "Mask. Null pointer to an image header"},
    {-10, "Mask. Incorrect image size"},
    {-11, "Mask. Incorrect offset of ROI of the image"},
    {-12, "Mask. Image must be tiled or must have nonzero data pointer"},
    {-13, "Mask. Incorrect widthStep of the image"},
    {-14, "Mask. Incorrect Color model or channel sequence of the image"},
    {-15, "Mask. Incorrect number of channels in the image"},
    {-16, "Mask. Number of channels for 1U depth image must be one"},
    {-17, "Mask. Incorrect depth value in the image header"},
    {-18, "Mask. Incorrect alpha channel number in the image header"},
    {-19, "Mask. Incorrect data order value in the image header"},
    {-20, "Mask. Incorrect data origin value in the image header"},
    {-21, "Mask. Incorrect data alignment value in the image header"},
    {-24, "Mask. Incorrect COI of the image"},
    {-25, "Mask. Incorrect size of ROI in the image header"},
};

// A mask is never null where its header is looked at, and these two never had an entry of their own.
constexpr bool hasMaskText(MoxStatus status) {
    return status != MOX_StatusHeaderNull && status != MOX_StatusHeaderBitChannels;
}

}  // namespace

const char *MOX_CALL moxErrorStr(MoxStatus status) {
    for (const StatusText &entry : texts) {
        if (entry.status == status) return entry.text;
    }
    for (const StatusText &entry : headerTexts) {
        if (entry.status == status) return entry.text + MASK_PREFIX;
        if (entry.status + MASK_OFFSET == status && hasMaskText(entry.status)) return entry.text;
    }
    return "Unknown error or status code";
}
