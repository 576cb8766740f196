// Pictures in memory: sizes, bits and channels changed.
#include "picture.h"

#include <algorithm>

#include "memory.h"
#include "rows.h"

Picture makePicture(int width, int height, int channels, int bits) {
    const std::uint64_t bytes = std::uint64_t{2} * static_cast<unsigned>(width) * static_cast<unsigned>(height) *
                                static_cast<unsigned>(channels);
    checkMemory("a picture of " + std::to_string(width) + " x " + std::to_string(height), bytes);
    Picture picture;
    picture.width = width;
    picture.height = height;
    picture.channels = channels;
    picture.bits = bits;
    picture.samples.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                           static_cast<std::size_t>(channels));
    return picture;
}

Picture withBits(const Picture &picture, int bits) {
    if (picture.bits == bits) return picture;
    Picture result = picture;
    result.bits = bits;
    const unsigned from = fullValue(picture.bits);
    const unsigned to = fullValue(bits);
    for (std::uint16_t &sample : result.samples)
        sample = static_cast<std::uint16_t>(rescale(sample, from, to));
    return result;
}

Picture withChannels(const Picture &picture, int channels) {
    if (picture.channels == channels) return picture;
    return pictureFromRows(withChannels(rowsOf(picture), channels));
}

static void averageBlock(const Picture &picture, int factor, int x, int y, std::uint16_t *result) {
    const int xEnd = std::min((x + 1) * factor, picture.width);
    const int yEnd = std::min((y + 1) * factor, picture.height);
    const auto count = static_cast<std::uint64_t>(xEnd - x * factor) * static_cast<std::uint64_t>(yEnd - y * factor);
    for (int c = 0; c < picture.channels; c++) {
        std::uint64_t sum = count / 2;
        for (int row = y * factor; row < yEnd; row++) {
            for (int column = x * factor; column < xEnd; column++)
                sum += pixelAt(&picture, column, row)[c];
        }
        result[c] = static_cast<std::uint16_t>(sum / count);
    }
}

Picture reducedTo(const Picture &picture, int limit) {
    const int longest = std::max(picture.width, picture.height);
    const int factor = (longest - 1) / limit + 1;
    if (factor <= 1) return picture;
    Picture result = makePicture((picture.width - 1) / factor + 1, (picture.height - 1) / factor + 1, picture.channels,
                                 picture.bits);
    for (int y = 0; y < result.height; y++) {
        for (int x = 0; x < result.width; x++)
            averageBlock(picture, factor, x, y, pixelAt(&result, x, y));
    }
    return result;
}

std::string channelsText(int channels) {
    const std::string base = channels > 2 ? "RGB" : "gray";
    return hasAlpha(channels) ? base + " with alpha" : base;
}
