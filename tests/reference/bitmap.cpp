// Bitmaps to images and back.
#include "reference/bitmap.h"

#include <bit>
#include <cstring>

#include "reference/reduce.h"

void RefBitmap::setUsualMasks() {
    if (bits == 16) {
        masks[0] = 0x7C00;
        masks[1] = 0x03E0;
        masks[2] = 0x001F;
        masks[3] = 0;
    } else {
        masks[0] = 0xFF0000;
        masks[1] = 0x00FF00;
        masks[2] = 0x0000FF;
        masks[3] = bits == 32 ? 0xFF000000 : 0;
    }
}

// The bits under a mask as 8 bits: narrower ones repeat themselves, of wider ones the high bits count.
static uint32_t widened(uint32_t pixel, uint32_t mask) {
    const int shift = std::countr_zero(mask), count = std::popcount(mask);
    const uint32_t value = (pixel & mask) >> shift;
    uint32_t result = 0;
    for (int bit = 7; bit >= 0; --bit) {
        // Bit 7 of the result is the highest bit of the value, and so on round.
        const int from = count - 1 - (7 - bit) % count;
        result |= (value >> from & 1) << bit;
    }
    return result;
}

// The highest bits of 8, as many as a mask has.
static uint32_t narrowed(uint32_t value, uint32_t mask) {
    if (mask == 0) return 0;
    const int shift = std::countr_zero(mask), count = std::popcount(mask);
    if (count <= 8) return value >> (8 - count) << shift;
    // Wider ones repeat the eight bits.
    uint64_t wide = 0;
    for (int bit = 0; bit < count; ++bit)
        wide |= uint64_t{value >> (7 - bit % 8) & 1} << (count - 1 - bit);
    return static_cast<uint32_t>(wide << shift);
}

uint32_t refColourOf(const RefBitmap &bitmap, uint32_t pixel) {
    if (bitmap.bits <= 8) {
        return 0xFF000000 | (pixel < bitmap.palette.size() ? bitmap.palette[pixel] & 0xFFFFFF : 0);
    }
    const uint32_t alpha = bitmap.masks[3] ? widened(pixel, bitmap.masks[3]) : 255;
    return alpha << 24 | widened(pixel, bitmap.masks[0]) << 16 | widened(pixel, bitmap.masks[1]) << 8 |
           widened(pixel, bitmap.masks[2]);
}

uint32_t refPixelOf(const RefBitmap &bitmap, uint32_t colour) {
    if (bitmap.bits <= 8) {
        RefPalette reached = bitmap.palette;
        if (reached.size() > 1u << bitmap.bits) reached.resize(1u << bitmap.bits);
        return static_cast<uint32_t>(refNearest(reached, colour));
    }
    return narrowed(colour >> 24, bitmap.masks[3]) | narrowed(colour >> 16 & 255, bitmap.masks[0]) |
           narrowed(colour >> 8 & 255, bitmap.masks[1]) | narrowed(colour & 255, bitmap.masks[2]);
}

// The row of a bitmap in memory that a row of the image in memory meets.
static int rowOf(const TestImage &image, const RefBitmap &bitmap, int y) {
    const bool imageTopDown = image.layout().origin == MOX_ORIGIN_TL;
    return imageTopDown == bitmap.topDown ? y : bitmap.rows - 1 - y;
}

static uint32_t sampleOf(uint32_t colour, char name) {
    const uint32_t red = colour >> 16 & 255, green = colour >> 8 & 255, blue = colour & 255;
    switch (name) {
        case 'R':
            return red;
        case 'G':
            return green;
        case 'B':
            return blue;
        default:
            return colour >> 24;
    }
}

static uint32_t grayOf(uint32_t colour) {
    return (54 * sampleOf(colour, 'R') + 183 * sampleOf(colour, 'G') + 19 * sampleOf(colour, 'B')) >> 8;
}

RefResult refFromBitmap(const RefBitmap &bitmap, TestImage &image) {
    const TestLayout &layout = image.layout();
    RefResult result = {image.bytes(), {}};
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            const uint32_t colour = refColourOf(bitmap, bitmap.at(x, rowOf(image, bitmap, y)));
            for (int channel = 0; channel < layout.channels; ++channel) {
                const uint32_t value =
                    layout.channels == 1 ? grayOf(colour) : sampleOf(colour, image.header()->channelSeq[channel]);
                image.setIn(result.expected, channel, x, y,
                            layout.depth == MOX_DEPTH_1U    ? value >> 7
                            : layout.depth == MOX_DEPTH_16U ? value * 257
                                                            : value);
            }
        }
    }
    return result;
}

static uint32_t eightBits(unsigned depth, uint32_t sample) {
    return depth == MOX_DEPTH_1U ? sample * 255 : depth == MOX_DEPTH_16U ? sample >> 8 : sample;
}

// Samples of 8 bits, channel after channel, row after row.
using Planes = std::vector<std::vector<uint32_t>>;

static Planes planesOf(TestImage &image) {
    const TestLayout &layout = image.layout();
    Planes planes;
    for (int channel = 0; channel < layout.channels; ++channel) {
        std::vector<uint32_t> plane;
        for (int y = 0; y < layout.height; ++y) {
            for (int x = 0; x < layout.width; ++x)
                plane.push_back(eightBits(layout.depth, image.get(channel, x, y)));
        }
        planes.push_back(plane);
    }
    return planes;
}

static std::vector<uint32_t> coloursOf(TestImage &image, const Planes &planes) {
    std::vector<uint32_t> colours;
    for (size_t i = 0; i < planes[0].size(); ++i) {
        uint32_t colour = planes.size() == 1 ? planes[0][i] * 0x010101u : 0;
        for (size_t channel = 0; planes.size() > 1 && channel < planes.size(); ++channel) {
            static const char names[] = "BGRA";
            const char *name = strchr(names, image.header()->channelSeq[channel]);
            colour |= planes[channel][i] << 8 * (name - names);
        }
        colours.push_back(colour);
    }
    return colours;
}

std::vector<uint32_t> refColours(TestImage &image) {
    return coloursOf(image, planesOf(image));
}

// The planes after the reduction to the levels of the bitmap; alpha has no part in a palette.
static Planes ditheredPlanes(TestImage &image, int bits, int dither) {
    const TestLayout &layout = image.layout();
    const unsigned depth = bits == 1 && layout.channels == 1 ? MOX_DEPTH_1U : MOX_DEPTH_8U;
    Planes planes;
    for (int channel = 0; channel < layout.channels; ++channel) {
        std::vector<double> samples;
        for (int y = 0; y < layout.height; ++y) {
            for (int x = 0; x < layout.width; ++x)
                samples.push_back(refReduceLoad(layout.depth, image.get(channel, x, y)));
        }
        std::vector<uint32_t> plane;
        for (double output :
             refReduceRows({0, dither, 1 << bits}, layout.depth, depth, samples, layout.width, layout.height)) {
            plane.push_back(eightBits(depth, refReduceStore(layout.depth, depth, output)));
        }
        planes.push_back(plane);
    }
    return planes;
}

std::vector<uint32_t> refToBitmap(TestImage &image, const RefBitmap &bitmap, int dither) {
    const TestLayout &layout = image.layout();
    const bool reduces = bitmap.bits <= 8 && layout.bits() > bitmap.bits && dither != MOX_DITHER_NONE;
    const Planes planes = reduces ? ditheredPlanes(image, bitmap.bits, dither) : planesOf(image);
    const std::vector<uint32_t> colours = coloursOf(image, planes);
    std::vector<uint32_t> pixels;
    for (int row = 0; row < bitmap.rows; ++row) {
        const size_t first = static_cast<size_t>(rowOf(image, bitmap, row)) * static_cast<size_t>(layout.width);
        for (size_t x = 0; x < static_cast<size_t>(layout.width); ++x)
            pixels.push_back(refPixelOf(bitmap, colours[first + x]));
    }
    return pixels;
}
