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

Entry bits(const char *name, void (*call)(Images)) {
    return {.operation = {.name = name, .at = BYTES, .call = call, .written = BITS_OF_BYTES}};
}

Entry bytes(const char *name, void (*call)(Images)) {
    return {.operation = {.name = name, .at = BYTES, .call = call}};
}

Entry rgb(const char *name, void (*call)(Images)) {
    return {.operation = {.name = name, .at = BYTES, .call = call}, .layoutName = "rgb", .layout = {.channels = 3}};
}

// Of one picture, with a time that a pixel may take, if there is one.
Entry ofPicture(const char *name, void (*call)(Images), double ns) {
    return {.operation = {.name = name, .at = BYTES, .call = call},
            .sizes = {1024},
            .goals = {{-1, 0, {GOAL_NS_PER_SAMPLE, ns}}}};
}

// One GB of pixels a second on a drawing, 300 MB on a photograph.
constexpr double DRAWING_NS = 1, PHOTOGRAPH_NS = 3.4, DIFFUSION_NS = 6;

Entry withGoal(Entry entry, double ns) {
    entry.goals = {{-1, 0, {GOAL_NS_PER_SAMPLE, ns}}};
    return entry;
}

}  // namespace

extern const Family bitmapFamily;
const Family bitmapFamily = {
    "Dithering and bitmaps",
    {
        withGoal(bits("fs-to-bits", toBits<MOX_DITHER_FS>), DIFFUSION_NS),
        bits("jjh-to-bits", toBits<MOX_DITHER_JJH>),
        bits("stuckey-to-bits", toBits<MOX_DITHER_STUCKEY>),
        bits("bayer-to-bits", toBits<MOX_DITHER_BAYER>),
        bits("none-to-bits", toBits<MOX_DITHER_NONE>),
        bytes("fs-to-15-levels", toLevels<MOX_DITHER_FS>),
        bytes("bayer-to-15-levels", toLevels<MOX_DITHER_BAYER>),
        rgb("to-bitmap-24", toBitmap24),
        rgb("from-bitmap-24", fromBitmap24),
        ofPicture("encode-drawing", encode<DRAWING>, DRAWING_NS),
        ofPicture("decode-drawing", decode<DRAWING>, DRAWING_NS),
        ofPicture("encode-photograph", encode<PHOTOGRAPH>, PHOTOGRAPH_NS),
        ofPicture("median-cut-256", medianCut, 0),
    },
};
