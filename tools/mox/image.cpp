// Between pictures and the library's images.
#include "image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

#include "failure.h"
#include "memory.h"

namespace {

struct DepthName {
    const char *name;
    unsigned depth;
};

constexpr DepthName depthNames[] = {{"1u", MOX_DEPTH_1U},   {"8u", MOX_DEPTH_8U},   {"8s", MOX_DEPTH_8S},
                                    {"16u", MOX_DEPTH_16U}, {"16s", MOX_DEPTH_16S}, {"32s", MOX_DEPTH_32S},
                                    {"32f", MOX_DEPTH_32F}};

constexpr int imageAlign = 32;

// The library counts the bytes of an image in memory with an int.
constexpr std::uint64_t largestImage = 0x7FFFFFFF;

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

namespace {

// Marks the images whose bytes are counted.
const char counted = 0;

std::string kindText(int channels, unsigned depth, int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height) + " with " + std::to_string(channels) +
           (channels == 1 ? " channel" : " channels") + " at depth " + depthName(depth);
}

}  // namespace

void ImageDeleter::operator()(MoxImage *image) const {
    if (image->imageId == &counted) {
        const bool planes = image->dataOrder == MOX_DATA_ORDER_PLANE;
        giveMemory(bytesOfImage(image->nChannels, image->depth, planes, image->width, image->height));
    }
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
}

std::uint64_t bytesOfImage(int channels, unsigned depth, bool planes, int width, int height) {
    const std::uint64_t samples = static_cast<std::uint64_t>(width) * static_cast<unsigned>(planes ? 1 : channels);
    const std::uint64_t rowBytes = ((samples * bitsOf(depth) + 7) / 8 + imageAlign - 1) / imageAlign * imageAlign;
    return rowBytes * static_cast<std::uint64_t>(height) * static_cast<unsigned>(planes ? channels : 1);
}

MoxImage *makeHeader(int channels, unsigned depth, bool planes, int width, int height, MoxTileInfo *tiles) {
    const bool color = channels > 2;
    MoxImage *const image = moxCreateImageHeader(channels, hasAlpha(channels) ? channels : 0, static_cast<int>(depth),
                                                 color ? "RGB" : "GRAY",
                                                 channels == 4 ? "RGBA"
                                                 : color       ? "RGB"
                                                               : "G",
                                                 planes ? MOX_DATA_ORDER_PLANE : MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL,
                                                 imageAlign, width, height, nullptr, nullptr, nullptr, tiles);
    if (!image) fail(exitOperation, "no image of " + kindText(channels, depth, width, height) + " can be made");
    return image;
}

ImagePtr makeImage(int channels, unsigned depth, bool planes, int width, int height, bool black) {
    const std::uint64_t bytes = bytesOfImage(channels, depth, planes, width, height);
    ImagePtr image;
    takeMemory("an image of " + kindText(channels, depth, width, height), bytes);
    try {
        if (bytes > largestImage) failMemory("an image of " + kindText(channels, depth, width, height), bytes);
        image.reset(makeHeader(channels, depth, planes, width, height, nullptr));
    } catch (const Failure &) {
        giveMemory(bytes);
        throw;
    }
    image->imageId = const_cast<char *>(&counted);
    if (depth == MOX_DEPTH_32F) {
        moxAllocateImageFP(image.get(), black ? 1 : 0, 0.0f);
    } else {
        moxAllocateImage(image.get(), black ? 1 : 0, 0);
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

// One row of samples, each through convert, to the image's memory.
template <typename Sample, typename Convert>
void storeSamples(MoxImage *image, int y, const std::uint32_t *row, Convert convert) {
    const bool planes = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const int channels = image->nChannels;
    const std::size_t step = sizeof(Sample) * static_cast<std::size_t>(planes ? 1 : channels);
    for (int c = 0; c < channels; c++) {
        char *to = sampleAddress(image, 0, y, c);
        for (int x = 0; x < image->width; x++)
            store(to + static_cast<std::size_t>(x) * step, static_cast<Sample>(convert(row[x * channels + c])));
    }
}

template <typename Sample, typename Convert>
void loadSamples(const MoxImage *image, int y, std::uint32_t *row, Convert convert) {
    const bool planes = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const int channels = image->nChannels;
    const std::size_t step = sizeof(Sample) * static_cast<std::size_t>(planes ? 1 : channels);
    for (int c = 0; c < channels; c++) {
        const char *from = sampleAddress(image, 0, y, c);
        for (int x = 0; x < image->width; x++)
            row[x * channels + c] =
                static_cast<std::uint32_t>(convert(load<Sample>(from + static_cast<std::size_t>(x) * step)));
    }
}

void storeBits(MoxImage *image, int y, const std::uint32_t *row, unsigned half) {
    char *to = image->imageData + static_cast<std::ptrdiff_t>(y) * image->widthStep;
    for (int x = 0; x < image->width; x += 8) {
        unsigned byte = 0;
        for (int bit = 0; bit < std::min(8, image->width - x); bit++)
            byte |= row[x + bit] >= half ? 0x80u >> bit : 0u;
        to[x / 8] = static_cast<char>(byte);
    }
}

void loadBits(const MoxImage *image, int y, std::uint32_t *row) {
    const char *from = image->imageData + static_cast<std::ptrdiff_t>(y) * image->widthStep;
    for (int x = 0; x < image->width; x++)
        row[x] = static_cast<std::uint32_t>((from[x / 8] >> (7 - x % 8)) & 1);
}

// Samples of the file, 0..full.
void storeRow(MoxImage *image, int y, const std::uint32_t *row, unsigned full) {
    const auto to8 = [full](std::uint32_t v) { return rescale(v, full, 255); };
    const auto to16 = [full](std::uint32_t v) { return rescale(v, full, 65535); };
    switch (image->depth) {
        case MOX_DEPTH_1U:
            return storeBits(image, y, row, (full + 1) / 2);
        case MOX_DEPTH_8U:
            return storeSamples<std::uint8_t>(image, y, row, to8);
        case MOX_DEPTH_8S:
            return storeSamples<std::int8_t>(image, y, row,
                                             [=](std::uint32_t v) { return static_cast<int>(to8(v)) - 128; });
        case MOX_DEPTH_16U:
            return storeSamples<std::uint16_t>(image, y, row, to16);
        case MOX_DEPTH_16S:
            return storeSamples<std::int16_t>(image, y, row,
                                              [=](std::uint32_t v) { return static_cast<int>(to16(v)) - 32768; });
        case MOX_DEPTH_32S:
            return storeSamples<std::int32_t>(image, y, row, [](std::uint32_t v) { return v; });
        default:
            return storeSamples<float>(
                image, y, row, [full](std::uint32_t v) { return static_cast<float>(v) / static_cast<float>(full); });
    }
}

unsigned clampedFloat(float value, unsigned full) {
    if (!(value > 0.0f)) return 0;  // also what is no number
    if (value >= 1.0f) return full;
    return static_cast<unsigned>(std::lrint(static_cast<double>(value) * full));
}

void loadRow(const MoxImage *image, int y, std::uint32_t *row, unsigned full) {
    switch (image->depth) {
        case MOX_DEPTH_1U:
            return loadBits(image, y, row);
        case MOX_DEPTH_8U:
            return loadSamples<std::uint8_t>(image, y, row, [](int v) { return v; });
        case MOX_DEPTH_8S:
            return loadSamples<std::int8_t>(image, y, row, [](int v) { return v + 128; });
        case MOX_DEPTH_16U:
            return loadSamples<std::uint16_t>(image, y, row, [](int v) { return v; });
        case MOX_DEPTH_16S:
            return loadSamples<std::int16_t>(image, y, row, [](int v) { return v + 32768; });
        case MOX_DEPTH_32S:
            return loadSamples<std::int32_t>(
                image, y, row, [full](std::int32_t v) { return std::clamp(v, 0, static_cast<std::int32_t>(full)); });
        default:
            return loadSamples<float>(image, y, row, [full](float v) { return clampedFloat(v, full); });
    }
}

// Rows of 32 bits whose samples are the image's own, or numbers for its floats.
void storeWide(MoxImage *image, int y, const std::uint32_t *row, bool real) {
    if (real || image->depth == MOX_DEPTH_32S) {
        storeSamples<std::uint32_t>(image, y, row, [](std::uint32_t v) { return v; });
    } else {
        storeSamples<float>(
            image, y, row, [](std::uint32_t v) { return static_cast<float>(static_cast<std::int32_t>(v)) / 65535.0f; });
    }
}

int pictureBits(unsigned depth, int bits) {
    if (depth == MOX_DEPTH_1U) return 1;
    if (bitsOf(depth) < 32) return static_cast<int>(bitsOf(depth));
    return std::max(bits, 8);
}

bool isWide(unsigned depth) {
    return depth == MOX_DEPTH_32S || depth == MOX_DEPTH_32F;
}

}  // namespace

unsigned naturalDepth(const Form &form) {
    if (form.bits == 32) return form.real ? MOX_DEPTH_32F : MOX_DEPTH_32S;
    if (form.bits == 1) return MOX_DEPTH_1U;
    return form.bits == 16 ? MOX_DEPTH_16U : MOX_DEPTH_8U;
}

unsigned naturalDepth(const Picture &picture) {
    return naturalDepth(rowsOf(picture).form);
}

ImageRows rowsForImage(RowSource source, unsigned depth) {
    // Numbers go to floats without a bound; the rest of what has 32 bits becomes 16 first.
    const bool wide = source.form.bits == 32 && isWide(depth) && !(source.form.real && depth == MOX_DEPTH_32S);
    if (!wide && source.form.bits == 32) source = withBits(std::move(source), 16);
    if (depth == MOX_DEPTH_1U) {
        source = withChannels(std::move(source), 1);
    } else if (!wide) {
        const int bits = std::max(source.form.bits, 8);
        source = withBits(std::move(source), bits);
    }
    return {std::move(source), wide};
}

void putRow(MoxImage *image, int y, const std::uint32_t *row, const ImageRows &rows) {
    if (rows.wide) {
        storeWide(image, y, row, rows.source.form.real);
    } else {
        storeRow(image, y, row, fullValue(rows.source.form.bits));
    }
}

ImagePtr imageFromRows(RowSource source, unsigned depth, bool planes) {
    ImageRows rows = rowsForImage(std::move(source), depth);
    const Form &form = rows.source.form;
    ImagePtr image = makeImage(form.channels, depth, planes, form.width, form.height, false);
    std::vector<std::uint32_t> row(samplesOfRow(form));
    for (int y = 0; y < form.height; y++) {
        rows.source.next(row.data());
        putRow(image.get(), y, row.data(), rows);
    }
    return image;
}

Form formOfImage(const MoxImage *image, int bits, bool exact) {
    const bool whole = exact && isWide(image->depth);
    return {image->width, image->height, image->nChannels, whole ? 32 : pictureBits(image->depth, bits),
            whole && image->depth == MOX_DEPTH_32F};
}

void takeRow(const MoxImage *image, int y, std::uint32_t *row, const Form &form) {
    if (form.bits == 32) {
        loadSamples<std::uint32_t>(image, y, row, [](std::uint32_t v) { return v; });
    } else {
        loadRow(image, y, row, fullValue(form.bits));
    }
}

static RowSource rowsAt(const MoxImage *image, const Form &form) {
    return {form, [image, form, y = 0](std::uint32_t *row) mutable { takeRow(image, y++, row, form); }};
}

RowSource rowsOfImage(const MoxImage *image, int bits) {
    return rowsAt(image, formOfImage(image, bits, false));
}

RowSource exactRowsOfImage(const MoxImage *image, int bits) {
    return rowsAt(image, formOfImage(image, bits, true));
}

// The library copies all channels where none of them is alpha.
static void copyAll(MoxImage *from, MoxImage *to) {
    const MoxImage fromBefore = *from, toBefore = *to;
    for (MoxImage *image : {from, to}) {
        image->roi = nullptr;
        image->maskROI = nullptr;
        image->alphaChannel = 0;
    }
    moxCopy(from, to);
    const auto restore = [](MoxImage *image, const MoxImage &before) {
        image->roi = before.roi;
        image->maskROI = before.maskROI;
        image->alphaChannel = before.alphaChannel;
    };
    restore(from, fromBefore);
    restore(to, toBefore);
}

ImagePtr wholeOf(MoxImage *image) {
    if (!image->tileInfo) return nullptr;
    ImagePtr whole = makeImage(image->nChannels, image->depth, image->dataOrder == MOX_DATA_ORDER_PLANE, image->width,
                               image->height, false);
    copyAll(image, whole.get());
    whole->roi = image->roi;
    whole->maskROI = image->maskROI;
    std::copy(std::begin(image->borderMode), std::end(image->borderMode), whole->borderMode);
    std::copy(std::begin(image->borderConst), std::end(image->borderConst), whole->borderConst);
    return whole;
}

void putWhole(const ImagePtr &whole, MoxImage *image) {
    copyAll(whole.get(), image);
}

ImagePtr imageFromPicture(const Picture &picture, unsigned depth, bool planes) {
    return imageFromRows(rowsOf(picture), depth, planes);
}

Picture pictureFromImage(const MoxImage *image, int bits) {
    return pictureFromRows(rowsOfImage(image, bits));
}
