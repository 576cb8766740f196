// Two pictures compared: the norms of their difference, the pixels that differ, and a picture of where they do.
#include "compare.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "failure.h"
#include "image.h"
#include "norms.h"
#include "reports.h"

namespace {

void checkReports() {
    if (anyReport()) fail(exitComparison, "compare: " + reportsText());
}

std::string sizeText(const Picture &picture) {
    return std::to_string(picture.width) + " x " + std::to_string(picture.height);
}

// Both at the larger number of bits and with the larger number of channels: nothing of either is lost.
void alignKinds(Picture *first, Picture *second) {
    const int bits = std::max(first->bits, second->bits);
    int channels = std::max(first->channels, second->channels);
    // Gray with alpha beside colour.
    if (channels == 3 && (hasAlpha(first->channels) || hasAlpha(second->channels))) channels = 4;
    for (Picture *picture : {first, second})
        *picture = withChannels(withBits(*picture, bits), channels);
}

Picture cropped(const Picture &picture, int width, int height) {
    Picture part = makePicture(width, height, picture.channels, picture.bits);
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(picture.channels);
    for (int y = 0; y < height; y++)
        std::copy_n(pixelAt(&picture, 0, y), count, pixelAt(&part, 0, y));
    return part;
}

// Alpha is compared as any other channel.
ImagePtr imageOf(const Picture &picture, unsigned depth) {
    ImagePtr image = imageFromPicture(picture, depth, false);
    image->alphaChannel = 0;
    return image;
}

// The bits of the pixels that are equal in all channels, counted.
long equalPixels(MoxImage *first, MoxImage *second) {
    const ImagePtr bits = makeImage(1, MOX_DEPTH_1U, false, first->width, first->height);
    moxEqual(first, second, bits.get());
    return std::lround(moxNorm(bits.get(), nullptr, MOX_NORM_L1));
}

// An alpha would hide what differs, so its difference is shown in the colours.
Picture withoutAlpha(const Picture &picture) {
    if (!hasAlpha(picture.channels)) return picture;
    Picture shown = makePicture(picture.width, picture.height, picture.channels - 1, picture.bits);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            const std::uint16_t *from = pixelAt(&picture, x, y);
            for (int c = 0; c < shown.channels; c++)
                pixelAt(&shown, x, y)[c] = std::max(from[c], from[shown.channels]);
        }
    }
    return shown;
}

// |A - B|. Samples of 32 bits have room for what is multiplied.
void writeDifference(const Picture &first, const Picture &second, const CompareRequest &request) {
    const bool bits = first.bits == 1;
    const unsigned depth = bits ? MOX_DEPTH_1U : MOX_DEPTH_32S;
    const ImagePtr a = imageOf(first, depth), b = imageOf(second, depth);
    if (bits) {
        moxXor(a.get(), b.get(), a.get());
    } else {
        moxSubtract(a.get(), b.get(), a.get());
        moxAbs(a.get(), a.get());
        moxMultiplyS(a.get(), a.get(), request.gain);
    }
    checkReports();
    writeRows(rowsOfOwned(withoutAlpha(pictureFromImage(a.get(), first.bits))), request.output, request.form);
}

Comparison compared(const CompareRequest &request) {
    if (!request.output.empty()) checkTarget(request.output);
    checkInput(request.second);
    Picture first = readPicture(request.first), second = readPicture(request.second);
    const std::string sizes = sizeText(first) + " and " + sizeText(second);
    const bool sameSize = first.width == second.width && first.height == second.height;
    alignKinds(&first, &second);
    if (!sameSize) {
        const int width = std::min(first.width, second.width), height = std::min(first.height, second.height);
        first = cropped(first, width, height);
        second = cropped(second, width, height);
    }
    const ImagePtr a = imageOf(first, naturalDepth(first)), b = imageOf(second, naturalDepth(second));
    clearReports();
    const long pixels = long{first.width} * first.height;
    const long different = pixels - equalPixels(a.get(), b.get());
    const std::string norms = normsText(a.get(), b.get());
    checkReports();

    Comparison comparison = {sameSize && different == 0, ""};
    if (!sameSize) comparison.text = "sizes differ, " + sizes + ": the common part is compared\n";
    comparison.text += std::to_string(different) + " of " + std::to_string(pixels) + " pixels differ; " +
                       channelsText(first.channels) + ", depth " + depthName(naturalDepth(first)) + "\n" + norms;
    if (!request.output.empty()) writeDifference(first, second, request);
    return comparison;
}

}  // namespace

Comparison comparePictures(const CompareRequest &request) {
    try {
        return compared(request);
    } catch (const Failure &failure) {
        if (failure.code == exitOperation) fail(exitComparison, failure.text);
        throw;
    } catch (const std::bad_alloc &) {
        fail(exitComparison, "not enough memory");
    }
}
