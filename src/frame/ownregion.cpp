// Region helpers: where an image's region begins in memory, how much of it there is, and when a whole buffer is one
// run.
#include <algorithm>

#include "frame/ownimage.h"

char *ownRoiStart(const MoxImage *image, int channel, int *width, int *height, int *bitOffset) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    *width = static_cast<int>(std::max<int64_t>(rect.width, 0));
    *height = static_cast<int>(std::max<int64_t>(rect.height, 0));
    *bitOffset = static_cast<int>(rect.x % 8);
    if (!image->roi) return image->imageData;
    // A region that starts beyond the image has no bytes: it begins where the image does.
    if (*width == 0 || *height == 0) return image->imageData;

    return ownSampleAt(image, channel, rect.x, rect.y);
}

static bool regionIsWhole(const MoxImage *image) {
    const MoxROI *roi = image->roi;
    if (!roi) return true;
    // Of the channels none may be left beside the coi: only channel 1 of 1 is a run. A region that names no channel is
    // none, even where it covers an image of one channel.
    return roi->xOffset == 0 && roi->yOffset == 0 && roi->width >= image->width && roi->height >= image->height &&
           image->nChannels - (roi->coi > 0 ? 1 : 0) == 0;
}

bool ownCanRunFlat(const MoxImage *imageA, const MoxImage *imageB, const MoxImage *imageC, bool alpha) {
    // Of three images the sums are compared, so that two sizes on either side of the first one's pass as well: the run
    // then covers the smallest buffer.
    const auto differs = [&](int MoxImage::*field) {
        const int64_t a = imageA->*field, b = imageB->*field;
        return imageC ? 2 * a - b - imageC->*field != 0 : a != b;
    };
    return !alpha && !differs(&MoxImage::height) && !differs(&MoxImage::width) && !differs(&MoxImage::imageSize) &&
           !differs(&MoxImage::align) && regionIsWhole(imageA) && regionIsWhole(imageB) &&
           (!imageC || regionIsWhole(imageC));
}
