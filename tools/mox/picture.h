// Pictures as they lie in a file: rows from the top, channels interleaved, one integer a sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Picture {
    int width = 0;
    int height = 0;
    int channels = 0;  // 1 gray, 2 gray and alpha, 3 RGB, 4 RGB and alpha
    int bits = 8;      // 1, 8 or 16; 1 is gray without alpha
    std::vector<std::uint16_t> samples;
};

// 1, 255 or 65535: white, and an alpha that hides.
constexpr unsigned fullValue(int bits) {
    return (1u << bits) - 1u;
}

constexpr bool hasAlpha(int channels) {
    return channels % 2 == 0;
}

Picture makePicture(int width, int height, int channels, int bits);

inline std::uint16_t *pixelAt(Picture *picture, int x, int y) {
    return picture->samples.data() +
           (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture->width) + static_cast<std::size_t>(x)) *
               static_cast<std::size_t>(picture->channels);
}

inline const std::uint16_t *pixelAt(const Picture *picture, int x, int y) {
    return picture->samples.data() +
           (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture->width) + static_cast<std::size_t>(x)) *
               static_cast<std::size_t>(picture->channels);
}

// value of 0..from scaled to 0..to, rounded to nearest.
constexpr unsigned rescale(unsigned value, unsigned from, unsigned to) {
    return (value * to + from / 2) / from;
}

// The same picture with other bits (1 becomes 8 when there is more than one channel to keep).
Picture withBits(const Picture &picture, int bits);

// The same picture with other channels: gray is weighted 77 : 150 : 29 of 256, alpha is dropped, or added as opaque.
Picture withChannels(const Picture &picture, int channels);

// Averages blocks so that neither side is longer than limit; a small picture stays as it is.
Picture reducedTo(const Picture &picture, int limit);

// "RGB with alpha", "gray", ...
std::string channelsText(int channels);

// Reads a file of any kind that is known. Throws Failure.
Picture readPicture(const std::string &name);

// Writes at the picture's own bits, whole or not at all. Throws Failure.
void writePng(const Picture &picture, const std::string &name);
