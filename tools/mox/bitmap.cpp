// Bitmaps made and read by the library, and written to files.
#include "bitmap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "diffuse.h"
#include "failure.h"
#include "formats.h"
#include "image.h"
#include "memory.h"
#include "reports.h"

namespace {

struct DitherName {
    const char *name;
    int dither;
};
constexpr DitherName dithers[] = {{"none", MOX_DITHER_NONE},
                                  {"fs", MOX_DITHER_FS},
                                  {"jjh", MOX_DITHER_JJH},
                                  {"stuckey", MOX_DITHER_STUCKEY},
                                  {"bayer", MOX_DITHER_BAYER}};

// Where blue, green, red stand in a pixel of "BGR" and "BGRA".
int channelOfBitmap(int channel, int channels) {
    return channels > 2 && channel < 3 ? 2 - channel : channel;
}

// Rows of the image stand as they do in the bitmap.
Picture turned(const MoxImage *image) {
    Picture direct = pictureFromImage(image, 8);
    if (image->nChannels == 1 && image->origin == MOX_ORIGIN_TL) return direct;
    Picture picture = makePicture(direct.width, direct.height, direct.channels, direct.bits);
    for (int y = 0; y < picture.height; y++) {
        const int row = image->origin == MOX_ORIGIN_BL ? picture.height - 1 - y : y;
        for (int x = 0; x < picture.width; x++) {
            const std::uint16_t *from = pixelAt(&direct, x, row);
            std::uint16_t *to = pixelAt(&picture, x, y);
            for (int c = 0; c < picture.channels; c++)
                to[channelOfBitmap(c, picture.channels)] = from[c];
        }
    }
    return picture;
}

int usualBits(const MoxImage *image) {
    if (image->depth == MOX_DEPTH_1U) return 1;
    return image->nChannels == 1 ? 8 : image->alphaChannel != 0 ? 32 : 24;
}

// A bitmap with room for as much palette and pixels as there can be.
Bitmap emptyBitmap(const MoxImage *image, const BitmapForm &form, int bits) {
    const std::size_t palette = bits <= 8 ? std::size_t{4} << bits : 0;
    const std::uint64_t rowBytes =
        (static_cast<std::uint64_t>(image->width) * static_cast<unsigned>(bits) + 31) / 32 * 4;
    const std::uint64_t pixels = rowBytes * static_cast<std::uint64_t>(image->height);
    if (pixels > 0x7FFFFFFF) fail(exitOperation, "the bitmap is larger than 2 GB");
    checkMemory("the bitmap", pixels);
    Bitmap bitmap;
    bitmap.size = sizeof(BITMAPINFOHEADER) + palette + static_cast<std::size_t>(pixels);
    bitmap.bytes = std::make_unique<char[]>(bitmap.size);
    BITMAPINFOHEADER *header = bitmap.header();
    header->biSize = sizeof(BITMAPINFOHEADER);
    header->biWidth = image->width;
    header->biHeight = image->height;
    header->biPlanes = 1;
    header->biBitCount = static_cast<unsigned short>(bits);
    if (form.compressed) header->biCompression = bits == 4 ? BI_RLE4 : BI_RLE8;
    return bitmap;
}

void copyPalette(const Bitmap &source, const Bitmap &bitmap) {
    BITMAPINFOHEADER *header = bitmap.header();
    header->biClrUsed = std::min<unsigned>(source.header()->biClrUsed, 1u << header->biBitCount);
    std::memcpy(bitmap.bytes.get() + sizeof(BITMAPINFOHEADER), source.bytes.get() + sizeof(BITMAPINFOHEADER),
                std::size_t{4} * header->biClrUsed);
}

void takePalette(const std::string &name, const Bitmap &bitmap) {
    const Bitmap source = readBitmapFile(openInput(name));
    if (source.header()->biClrUsed == 0) fail(exitFile, name + ": has no palette");
    copyPalette(source, bitmap);
}

}  // namespace

const char *const ditherNames = "none, fs, jjh, stuckey or bayer";

int ditherFromName(const std::string &name) {
    for (const DitherName &entry : dithers) {
        if (name == entry.name) return entry.dither;
    }
    return 0;
}

bool isAllHidden(const Picture &picture) {
    const auto step = static_cast<std::size_t>(picture.channels);
    for (std::size_t i = step - 1; i < picture.samples.size(); i += step) {
        if (picture.samples[i] != 0) return false;
    }
    return true;
}

Picture translatedBitmap(const Bitmap &bitmap, int code, const std::string &what) {
    clearReports();
    int clone = 1;
    const ImagePtr image(moxTranslateDIB(bitmap.header(), &clone));
    if (!image) fail(static_cast<ExitCode>(code), what + ": " + reportsText());
    return turned(image.get());
}

Picture pictureFromBitmap(const Bitmap &bitmap, int code, const std::string &what) {
    Picture picture = translatedBitmap(bitmap, code, what);
    return picture.channels == 4 && isAllHidden(picture) ? withChannels(picture, 3) : picture;
}

int channelsOfBitmap(int channels, const BitmapForm &form) {
    if (form.bits == 1 && form.paletteKind == MOX_PALCONV_POPULATE) return 1;
    return channels == 2 ? 4 : channels;
}

// The image as a bitmap, with a palette that is there or one that the library makes.
static Bitmap converted(MoxImage *image, const BitmapForm &form, int bits, const Bitmap *palette) {
    Bitmap bitmap = emptyBitmap(image, form, bits);
    BITMAPINFOHEADER *header = bitmap.header();
    int kind = form.paletteKind;
    if (palette) {
        kind = MOX_PALCONV_NONE;
        copyPalette(*palette, bitmap);
    } else if (kind == MOX_PALCONV_NONE && bits <= 8) {
        takePalette(form.paletteFile, bitmap);
    }
    moxConvertToDIB(image, header, form.dither, kind);
    if (anyReport()) return {};
    bitmap.size = sizeof(BITMAPINFOHEADER) + std::size_t{4} * header->biClrUsed + header->biSizeImage;
    return bitmap;
}

static std::vector<PaletteColor> colorsOf(const Bitmap &bitmap) {
    const auto *entry = reinterpret_cast<const unsigned char *>(bitmap.bytes.get() + sizeof(BITMAPINFOHEADER));
    std::vector<PaletteColor> colors;
    for (unsigned i = 0; i < bitmap.header()->biClrUsed; i++, entry += 4)
        colors.push_back({entry[2], entry[1], entry[0]});
    return colors;
}

// The palette is that of the bitmap without any dithering; a picture in its colours has nothing left to be dithered.
static Bitmap diffusedBitmap(MoxImage *image, const BitmapForm &form, int bits) {
    BitmapForm plain = form;
    plain.compressed = false;
    plain.dither = MOX_DITHER_NONE;
    const Picture picture = withChannels(withBits(pictureFromImage(image, 8), 8), 3);
    const Bitmap first = converted(image, plain, bits, nullptr);
    if (!first.bytes || first.header()->biClrUsed == 0) return {};
    const ImagePtr result = imageFromPicture(diffused(picture, colorsOf(first)), MOX_DEPTH_8U, false);
    plain.compressed = form.compressed;
    return converted(result.get(), plain, bits, &first);
}

Bitmap bitmapFromImage(MoxImage *image, const BitmapForm &form) {
    const int bits = form.bits != 0 ? form.bits : usualBits(image);
    return form.diffuses && bits <= 8 ? diffusedBitmap(image, form, bits) : converted(image, form, bits, nullptr);
}
