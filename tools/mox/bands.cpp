// Images worked on a band of rows at a time.
#include "bands.h"

#include <algorithm>
#include <cstdint>

#include "memory.h"

namespace {

constexpr int highestBand = 256;

// A sixteenth of the memory for what a pixel may take in four copies of 16 bytes.
int rowsOfBand(int width) {
    constexpr std::uint64_t share = 16, pixelBytes = 64;
    const std::uint64_t rows = pixelMemory() / share / pixelBytes / static_cast<std::uint64_t>(width);
    return static_cast<int>(std::clamp<std::uint64_t>(rows, 1, highestBand));
}

MoxROI wholeOr(const MoxROI *roi, const MoxImage *image) {
    return roi ? *roi : MoxROI{0, 0, 0, image->width, image->height};
}

MoxROI part(MoxROI roi, int y, int rows) {
    roi.yOffset += y;
    roi.height = std::min(rows, roi.height - y);
    return roi;
}

}  // namespace

RegionSize regionOf(const MoxImage *image) {
    const MoxROI *roi = image->roi;
    if (!roi) return {image->width, image->height};
    return {std::clamp(roi->width, 0, std::max(image->width - roi->xOffset, 0)),
            std::clamp(roi->height, 0, std::max(image->height - roi->yOffset, 0))};
}

void byBands(MoxImage *image, MoxImage *result, const std::function<void()> &work) {
    const RegionSize size = regionOf(image), other = regionOf(result);
    const bool empty = std::min({size.width, size.height, other.width, other.height}) == 0;
    if ((!image->tileInfo && !result->tileInfo) || empty) return work();
    const int rows = rowsOfBand(size.width), height = std::min(size.height, other.height);
    MoxROI *const imageRoi = image->roi, *const resultRoi = result->roi;
    MoxImage *const mask = image->maskROI;
    MoxROI *const maskRoi = mask ? mask->roi : nullptr;
    const MoxROI before = wholeOr(imageRoi, image), resultBefore = wholeOr(resultRoi, result);
    const MoxROI maskBefore = mask ? wholeOr(maskRoi, mask) : MoxROI{};
    for (int y = 0; y < height; y += rows) {
        MoxROI inImage = part(before, y, rows), inResult = part(resultBefore, y, rows),
               inMask = part(maskBefore, y, rows);
        if (mask && (inMask.yOffset >= mask->height || inMask.height < 1)) break;
        image->roi = &inImage;
        if (result != image) result->roi = &inResult;
        if (mask) mask->roi = &inMask;
        work();
    }
    image->roi = imageRoi;
    result->roi = resultRoi;
    if (mask) mask->roi = maskRoi;
}
