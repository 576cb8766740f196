// Between pictures and the library's images.
#include "image.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "failure.h"

namespace {

struct DepthName {
    const char *name;
    unsigned depth;
};

constexpr DepthName depthNames[] = {{"1u", MOX_DEPTH_1U},   {"8u", MOX_DEPTH_8U},   {"8s", MOX_DEPTH_8S},
                                    {"16u", MOX_DEPTH_16U}, {"16s", MOX_DEPTH_16S}, {"32s", MOX_DEPTH_32S},
                                    {"32f", MOX_DEPTH_32F}};

constexpr int imageAlign = 32;

unsigned bitsOf(unsigned depth) {
    return depth & ~MOX_DEPTH_SIGN;
}

}  // namespace

unsigned depthFromName(const std::string &name) {
    for (const DepthName &entry : depthNames) {
        if (name == entry.name) return entry.depth;
    }
    return 0;
}

const char *depthName(unsigned depth) {
    for (const DepthName &entry : depthNames) {
        if (depth == entry.depth) return entry.name;
    }
    return "?";
}

unsigned naturalDepth(const Picture &picture) {
    if (picture.bits == 1) return MOX_DEPTH_1U;
    return picture.bits == 16 ? MOX_DEPTH_16U : MOX_DEPTH_8U;
}

ImagePtr makeImage(int channels, unsigned depth, bool planes, int width, int height) {
    const bool color = channels > 2;
    ImagePtr image(moxCreateImageHeader(channels, hasAlpha(channels) ? channels : 0, static_cast<int>(depth),
                                        color ? "RGB" : "GRAY",
                                        channels == 4 ? "RGBA"
                                        : color       ? "RGB"
                                                      : "G",
                                        planes ? MOX_DATA_ORDER_PLANE : MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, imageAlign,
                                        width, height, nullptr, nullptr, nullptr, nullptr));
    if (!image) fail(exitOperation, "no image of this size can be made");
    if (depth == MOX_DEPTH_32F) {
        moxAllocateImageFP(image.get(), 1, 0.0f);
    } else {
        moxAllocateImage(image.get(), 1, 0);
    }
    if (!image->imageData) fail(exitOperation, "not enough memory for the image");
    return image;
}

char *sampleAddress(const MoxImage *image, int x, int y, int channel) {
    const auto bytes = static_cast<std::ptrdiff_t>(bitsOf(image->depth) / 8);
    const std::ptrdiff_t rowOffset = static_cast<std::ptrdiff_t>(y) * image->widthStep;
    if (image->dataOrder == MOX_DATA_ORDER_PLANE) {
        const std::ptrdiff_t planeBytes = static_cast<std::ptrdiff_t>(image->widthStep) * image->height;
        return image->imageData + channel * planeBytes + rowOffset + x * bytes;
    }
    return image->imageData + rowOffset + (static_cast<std::ptrdiff_t>(x) * image->nChannels + channel) * bytes;
}

namespace {

template <typename Sample>
void store(char *address, Sample value) {
    std::memcpy(address, &value, sizeof value);
}

template <typename Sample>
Sample load(const char *address) {
    Sample value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

// A sample of the file, 0..full, to the library's memory.
void storeSample(char *address, unsigned depth, unsigned sample, unsigned full) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return store(address, static_cast<std::uint8_t>(rescale(sample, full, 255)));
        case MOX_DEPTH_8S:
            return store(address, static_cast<std::int8_t>(static_cast<int>(rescale(sample, full, 255)) - 128));
        case MOX_DEPTH_16U:
            return store(address, static_cast<std::uint16_t>(rescale(sample, full, 65535)));
        case MOX_DEPTH_16S:
            return store(address, static_cast<std::int16_t>(static_cast<int>(rescale(sample, full, 65535)) - 32768));
        case MOX_DEPTH_32S:
            return store(address, static_cast<std::int32_t>(sample));
        default:
            return store(address, static_cast<float>(sample) / static_cast<float>(full));
    }
}

unsigned clampedFloat(float value, unsigned full) {
    if (!(value > 0.0f)) return 0;  // also what is no number
    if (value >= 1.0f) return full;
    return static_cast<unsigned>(std::lrint(static_cast<double>(value) * full));
}

unsigned loadSample(const char *address, unsigned depth, unsigned full) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return load<std::uint8_t>(address);
        case MOX_DEPTH_8S:
            return static_cast<unsigned>(load<std::int8_t>(address) + 128);
        case MOX_DEPTH_16U:
            return load<std::uint16_t>(address);
        case MOX_DEPTH_16S:
            return static_cast<unsigned>(load<std::int16_t>(address) + 32768);
        case MOX_DEPTH_32S:
            return static_cast<unsigned>(std::clamp(load<std::int32_t>(address), 0, static_cast<std::int32_t>(full)));
        default:
            return clampedFloat(load<float>(address), full);
    }
}

void storeBits(const Picture &gray, MoxImage *image) {
    const unsigned half = (fullValue(gray.bits) + 1) / 2;
    for (int y = 0; y < gray.height; y++) {
        char *row = image->imageData + static_cast<std::ptrdiff_t>(y) * image->widthStep;
        for (int x = 0; x < gray.width; x++) {
            if (pixelAt(&gray, x, y)[0] >= half) row[x / 8] = static_cast<char>(row[x / 8] | (0x80 >> (x % 8)));
        }
    }
}

void loadBits(const MoxImage *image, Picture *picture) {
    for (int y = 0; y < picture->height; y++) {
        const char *row = image->imageData + static_cast<std::ptrdiff_t>(y) * image->widthStep;
        for (int x = 0; x < picture->width; x++) {
            pixelAt(picture, x, y)[0] = static_cast<std::uint16_t>((row[x / 8] >> (7 - x % 8)) & 1);
        }
    }
}

int pictureBits(unsigned depth, int bits) {
    if (depth == MOX_DEPTH_1U) return 1;
    if (bitsOf(depth) < 32) return static_cast<int>(bitsOf(depth));
    return std::max(bits, 8);
}

}  // namespace

ImagePtr imageFromPicture(const Picture &picture, unsigned depth, bool planes) {
    if (depth == MOX_DEPTH_1U) {
        ImagePtr image = makeImage(1, depth, planes, picture.width, picture.height);
        storeBits(withChannels(picture, 1), image.get());
        return image;
    }
    const Picture source = withBits(picture, std::max(picture.bits, 8));
    const unsigned full = fullValue(source.bits);
    ImagePtr image = makeImage(source.channels, depth, planes, source.width, source.height);
    for (int y = 0; y < source.height; y++) {
        for (int x = 0; x < source.width; x++) {
            const std::uint16_t *pixel = pixelAt(&source, x, y);
            for (int c = 0; c < source.channels; c++) {
                storeSample(sampleAddress(image.get(), x, y, c), depth, pixel[c], full);
            }
        }
    }
    return image;
}

Picture pictureFromImage(const MoxImage *image, int bits) {
    Picture picture = makePicture(image->width, image->height, image->nChannels, pictureBits(image->depth, bits));
    if (image->depth == MOX_DEPTH_1U) {
        loadBits(image, &picture);
        return picture;
    }
    const unsigned full = fullValue(picture.bits);
    for (int y = 0; y < picture.height; y++) {
        for (int x = 0; x < picture.width; x++) {
            std::uint16_t *pixel = pixelAt(&picture, x, y);
            for (int c = 0; c < picture.channels; c++) {
                pixel[c] = static_cast<std::uint16_t>(loadSample(sampleAddress(image, x, y, c), image->depth, full));
            }
        }
    }
    return picture;
}
