// Dithering, and bitmaps in and out.
#include <cmath>
#include <cstring>
#include <map>
#include <memory>

#include "rows.h"

namespace {

using Images = MoxImage *const *;

// The destination's buffer as an image of bits.
template <int dither>
void toBits(Images images) {
    MoxImage bits = *images[1];
    bits.depth = MOX_DEPTH_1U;
    bits.widthStep = (bits.width + 255) / 256 * 32;
    bits.imageSize = bits.widthStep * bits.height;
    moxReduceBits(images[0], &bits, 0, dither, 2);
}

template <int dither>
void toLevels(Images images) {
    moxReduceBits(images[0], images[1], 0, dither, 15);
}

// What random bytes do not stand in for. A drawing has flat steps with runs; a photograph has slopes and a little
// noise.
enum Subject { DRAWING, PHOTOGRAPH };

uint8_t drawn(Subject subject, int x, int y, int channel) {
    const double slope = std::sin(x * 0.011 + channel) + std::sin(y * 0.017 - channel) + std::sin((x + y) * 0.005);
    const auto value = static_cast<int>(128 + 40 * slope);
    if (subject == DRAWING) return static_cast<uint8_t>(value / 32 * 32);
    const unsigned noise = static_cast<unsigned>(x * 7919 + y * 104729 + channel * 31) * 2654435761u >> 28;
    return static_cast<uint8_t>(value + static_cast<int>(noise) - 8);
}

struct DeleteImage {
    void operator()(MoxImage *image) const { moxDeallocate(image, MOX_FreeHeader | MOX_FreeData); }
};
using Drawn = std::unique_ptr<MoxImage, DeleteImage>;

// Drawn once for each size.
MoxImage *picture(Subject subject, int channels, int size) {
    static std::map<std::pair<int, int>, Drawn> all;
    Drawn &image = all[{subject * 4 + channels, size}];
    if (image) return image.get();
    image.reset(moxCreateImageHeader(channels, 0, MOX_DEPTH_8U, channels == 1 ? "GRAY" : "RGB",
                                     channels == 1 ? "GRAY" : "BGR", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_BL, 32, size,
                                     size, nullptr, nullptr, nullptr, nullptr));
    moxAllocateImage(image.get(), 0, 0);
    for (int y = 0; y < size; ++y) {
        auto *row = reinterpret_cast<uint8_t *>(image->imageData) + int64_t{y} * image->widthStep;
        for (int i = 0; i < size * channels; ++i)
            row[i] = drawn(subject, i / channels, y, i % channels);
    }
    return image.get();
}

// A bitmap with room for every form of a size, and its header set.
BITMAPINFOHEADER *bitmap(int size, int bits, unsigned compression) {
    static std::map<std::pair<int, unsigned>, std::vector<char>> all;
    std::vector<char> &bytes = all[{size, static_cast<unsigned>(bits) * 4 + compression}];
    const size_t needed = sizeof(BITMAPINFOHEADER) + 1024 + static_cast<size_t>(size) * static_cast<size_t>(size) * 4;
    if (bytes.empty()) bytes.resize(needed);
    auto *header = reinterpret_cast<BITMAPINFOHEADER *>(bytes.data());
    *header = {};
    header->biSize = sizeof *header;
    header->biWidth = header->biHeight = size;
    header->biPlanes = 1;
    header->biBitCount = static_cast<unsigned short>(bits);
    header->biCompression = compression;
    return header;
}

MoxImage named(const MoxImage *image) {
    MoxImage copy = *image;
    std::memcpy(copy.channelSeq, copy.nChannels == 1 ? "GRAY" : "BGR", 4);
    return copy;
}

// The row's own image, three channels of bytes.
void toBitmap24(Images images) {
    MoxImage image = named(images[0]);
    moxConvertToDIB(&image, bitmap(image.width, 24, BI_RGB), MOX_DITHER_NONE, MOX_PALCONV_NONE);
}

void fromBitmap24(Images images) {
    MoxImage image = named(images[1]);
    moxConvertFromDIB(bitmap(image.width, 24, BI_RGB), &image);
}

template <Subject subject>
void encode(Images images) {
    const int size = images[0]->width;
    moxConvertToDIB(picture(subject, 1, size), bitmap(size, 8, BI_RLE8), MOX_DITHER_NONE, MOX_PALCONV_POPULATE);
}

// The stream is made once, and stays.
template <Subject subject>
void decode(Images images) {
    static std::map<int, std::vector<char>> streams;
    std::vector<char> &stream = streams[images[0]->width];
    if (stream.empty()) {
        const int size = images[0]->width;
        BITMAPINFOHEADER *header = bitmap(size, 8, BI_RLE8);
        moxConvertToDIB(picture(subject, 1, size), header, MOX_DITHER_NONE, MOX_PALCONV_POPULATE);
        const char *begin = reinterpret_cast<const char *>(header);
        stream.assign(begin, begin + sizeof *header + 1024 + header->biSizeImage);
    }
    MoxImage image = named(images[1]);
    moxConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER *>(stream.data()), &image);
}

// A palette of 256 colours by median cut, and each pixel's nearest of them.
void medianCut(Images images) {
    const int size = images[0]->width;
    moxConvertToDIB(picture(PHOTOGRAPH, 3, size), bitmap(size, 8, BI_RGB), MOX_DITHER_NONE, MOX_PALCONV_MEDCUT);
}

const std::vector<int> BYTES = {OWN_8U};
// Bits are an eighth of the bytes that they are made from.
constexpr double BITS_OF_BYTES = 0.125;

const Operation DITHERS[] = {
    {"fs-to-bits", GROUP_FILTER, 1, false, BYTES, toBits<MOX_DITHER_FS>, BITS_OF_BYTES},
    {"jjh-to-bits", GROUP_FILTER, 1, false, BYTES, toBits<MOX_DITHER_JJH>, BITS_OF_BYTES},
    {"stuckey-to-bits", GROUP_FILTER, 1, false, BYTES, toBits<MOX_DITHER_STUCKEY>, BITS_OF_BYTES},
    {"bayer-to-bits", GROUP_FILTER, 1, false, BYTES, toBits<MOX_DITHER_BAYER>, BITS_OF_BYTES},
    {"none-to-bits", GROUP_FILTER, 1, false, BYTES, toBits<MOX_DITHER_NONE>, BITS_OF_BYTES},
    {"fs-to-15-levels", GROUP_FILTER, 1, false, BYTES, toLevels<MOX_DITHER_FS>},
    {"bayer-to-15-levels", GROUP_FILTER, 1, false, BYTES, toLevels<MOX_DITHER_BAYER>},
};
const Operation COPIES[] = {
    {"to-bitmap-24", GROUP_FILTER, 1, false, BYTES, toBitmap24},
    {"from-bitmap-24", GROUP_FILTER, 1, false, BYTES, fromBitmap24},
};
const Operation ENCODE_DRAWING = {"encode-drawing", GROUP_FILTER, 1, false, BYTES, encode<DRAWING>};
const Operation ENCODE_PHOTOGRAPH = {"encode-photograph", GROUP_FILTER, 1, false, BYTES, encode<PHOTOGRAPH>};
const Operation DECODE_DRAWING = {"decode-drawing", GROUP_FILTER, 1, false, BYTES, decode<DRAWING>};
const Operation MEDIAN_CUT = {"median-cut-256", GROUP_FILTER, 1, false, BYTES, medianCut};

// One GB of pixels a second on a drawing, 300 MB on a photograph.
constexpr double DRAWING_NS = 1, PHOTOGRAPH_NS = 3.4, DIFFUSION_NS = 6;

void addRow(const Operation &operation, int size, Goal goal, std::vector<Row> *rows) {
    Row row = makeRow("Dithering and bitmaps", operation, "", OWN_8U, size);
    row.goal = goal;
    rows->push_back(row);
}

}  // namespace

void addBitmapRows(std::vector<Row> *rows) {
    for (const Operation &operation : DITHERS) {
        const bool diffuses = &operation == &DITHERS[0];
        for (const int size : SIZES)
            addRow(operation, size, diffuses ? Goal{GOAL_NS_PER_SAMPLE, DIFFUSION_NS} : Goal{}, rows);
    }
    for (const Operation &operation : COPIES) {
        for (const int size : SIZES) {
            Row row = makeRow("Dithering and bitmaps", operation, "rgb", OWN_8U, size);
            row.layout.channels = 3;
            rows->push_back(row);
        }
    }
    addRow(ENCODE_DRAWING, 1024, {GOAL_NS_PER_SAMPLE, DRAWING_NS}, rows);
    addRow(DECODE_DRAWING, 1024, {GOAL_NS_PER_SAMPLE, DRAWING_NS}, rows);
    addRow(ENCODE_PHOTOGRAPH, 1024, {GOAL_NS_PER_SAMPLE, PHOTOGRAPH_NS}, rows);
    addRow(MEDIAN_CUT, 1024, {}, rows);
}
