// TIFF files read by libtiff: strips or tiles, channels together or apart, whole numbers and floats. The file is gone
// through in bands, as high as its strips or tiles are.
#include "tifffile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "failure.h"
#include "formats.h"
#include "memory.h"

namespace {

// What a file may ask for at a time.
std::uint64_t largestPart() {
    return std::min(std::uint64_t{1} << 30, pixelMemory() / 4);
}

enum class Alpha { none, straight, multiplied };

struct Reader {
    TiffHandle handle;
    Input input;
    Form form;
    int bits = 8;          // a sample in the file
    int fileChannels = 1;  // in the file, which may have more than are read
    bool apart = false;    // a plane for each channel
    bool tiled = false;
    bool byLines = false;  // strips are too high to be read whole
    bool whiteIsZero = false;
    bool signedSamples = false;
    Alpha alpha = Alpha::none;
    std::uint32_t partWidth = 0, bandHeight = 0;
    std::uint16_t *palette[3] = {};
    std::size_t rowBytes = 0;                      // of a band's row, of one plane
    std::vector<std::vector<unsigned char>> band;  // for each plane
    std::vector<unsigned char> tile;
    int next = 0;
};

[[noreturn]] void refuse(const Input &input, const std::string &fault) {
    fail(exitFile, input.name + ": cannot be read as a TIFF picture: " + fault);
}

template <typename Value>
Value tagOr(TIFF *tiff, std::uint32_t tag, Value value) {
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

void readKind(Reader *reader) {
    TIFF *const tiff = reader->handle.tiff;
    std::uint16_t photometric = 0;
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric)) refuse(reader->input, "it does not tell its colours");
    const auto compression = tagOr<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    const int channels = reader->fileChannels;
    if (photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        photometric = PHOTOMETRIC_RGB;
    }
    reader->whiteIsZero = photometric == PHOTOMETRIC_MINISWHITE;
    int colors = 1;
    if (photometric == PHOTOMETRIC_RGB) {
        colors = 3;
    } else if (photometric == PHOTOMETRIC_PALETTE) {
        if (reader->bits > 8 || channels != 1) refuse(reader->input, "its palette is not for 1 to 8 bits");
        if (!TIFFGetField(tiff, TIFFTAG_COLORMAP, &reader->palette[0], &reader->palette[1], &reader->palette[2]))
            refuse(reader->input, "it has no palette");
    } else if (photometric != PHOTOMETRIC_MINISBLACK && !reader->whiteIsZero) {
        refuse(reader->input,
               "its colours are neither gray nor RGB nor a palette (" + std::to_string(photometric) + ")");
    }
    if (channels < colors) refuse(reader->input, "it has too few channels");
    std::uint16_t extras = 0, *kinds = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds);
    if (channels > colors && extras > 0 && kinds) {
        if (kinds[0] == EXTRASAMPLE_ASSOCALPHA) reader->alpha = Alpha::multiplied;
        if (kinds[0] == EXTRASAMPLE_UNASSALPHA) reader->alpha = Alpha::straight;
    }
    reader->form.channels = (reader->palette[0] ? 3 : colors) + (reader->alpha == Alpha::none ? 0 : 1);
}

void readSamples(Reader *reader) {
    TIFF *const tiff = reader->handle.tiff;
    reader->bits = tagOr<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    reader->fileChannels = tagOr<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    reader->apart = tagOr<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    const auto kind = tagOr<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    const int bits = reader->bits;
    const bool known = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 32;
    const bool real = kind == SAMPLEFORMAT_IEEEFP, plain = kind == SAMPLEFORMAT_UINT || kind == SAMPLEFORMAT_VOID;
    if (!known || (real && bits != 32)) refuse(reader->input, "it has " + std::to_string(bits) + " bits a sample");
    if (!real && !plain && !(kind == SAMPLEFORMAT_INT && bits == 32))
        refuse(reader->input, "its samples have signs, or are no numbers");
    if (reader->fileChannels < 1 || reader->fileChannels > 64)
        refuse(reader->input, "it has " + std::to_string(reader->fileChannels) + " channels");
    reader->form.real = real;
    reader->signedSamples = kind == SAMPLEFORMAT_INT;
    readKind(reader);
    reader->form.bits = std::max(bits, 8);
    if (bits == 1 && reader->form.channels == 1) reader->form.bits = 1;
    if (reader->palette[0]) reader->form.bits = 8;
}

// Strips that are too large are gone through by lines, where a line has all channels. libtiff still takes the bytes of
// a strip as they stand in the file.
void readLines(Reader *reader, std::uint64_t bandBytes) {
    TIFF *const tiff = reader->handle.tiff;
    if (reader->tiled || reader->apart || reader->rowBytes > largestPart())
        refuse(reader->input, tooLargeText("each of its parts", bandBytes * 4));
    std::uint64_t largest = 0;
    for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); strip++)
        largest = std::max<std::uint64_t>(largest, TIFFGetStrileByteCount(tiff, strip));
    if (largest > largestPart()) refuse(reader->input, tooLargeText("each of its parts", largest * 4));
    const tmsize_t line = TIFFScanlineSize(tiff);
    if (line < 1 || static_cast<std::uint64_t>(line) > reader->rowBytes)
        refuse(reader->input, "the size of its parts makes no sense");
    reader->byLines = true;
    reader->bandHeight = 1;
}

void readParts(Reader *reader) {
    TIFF *const tiff = reader->handle.tiff;
    std::uint32_t width = 0, height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    if (width < 1 || height < 1)
        refuse(reader->input, "its size is " + std::to_string(width) + " x " + std::to_string(height));
    checkSize(reader->input.name + ": cannot be read as a TIFF picture", width, height,
              std::max(reader->form.channels, reader->fileChannels));
    reader->form.width = static_cast<int>(width);
    reader->form.height = static_cast<int>(height);
    reader->tiled = TIFFIsTiled(tiff) != 0;
    reader->partWidth = width;
    if (reader->tiled) {
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &reader->partWidth);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &reader->bandHeight);
    } else {
        reader->bandHeight = std::min(tagOr<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, height), height);
    }
    if (reader->partWidth < 1 || reader->bandHeight < 1 || (reader->tiled && reader->partWidth % 16 != 0))
        refuse(reader->input, "the size of its parts makes no sense");
    const auto inPlane = static_cast<std::uint64_t>(reader->apart ? 1 : reader->fileChannels);
    const std::uint64_t across = (std::uint64_t{width} + reader->partWidth - 1) / reader->partWidth;
    const std::uint64_t rowBytes = (across * reader->partWidth * inPlane * static_cast<unsigned>(reader->bits) + 7) / 8;
    reader->rowBytes = static_cast<std::size_t>(rowBytes);
    const std::uint64_t bandBytes =
        rowBytes * reader->bandHeight * static_cast<unsigned>(reader->apart ? reader->fileChannels : 1);
    if (rowBytes > largestPart() || bandBytes > largestPart()) return readLines(reader, bandBytes);
    // What the library will write for a part is at most what there is room for.
    const tmsize_t part = reader->tiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
    if (part < 1 || static_cast<std::uint64_t>(part) > rowBytes * reader->bandHeight)
        refuse(reader->input, "the size of its parts makes no sense");
}

[[noreturn]] void refusePart(const Reader &reader) {
    const std::string fault = tiffFault();
    refuse(reader.input, fault.empty() ? "it is damaged" : fault);
}

void readStrip(Reader *reader, std::uint32_t y, std::uint32_t rows, std::uint16_t plane) {
    TIFF *const tiff = reader->handle.tiff;
    std::vector<unsigned char> &band = reader->band[plane];
    const auto wanted = static_cast<tmsize_t>(reader->rowBytes * rows);
    const std::uint32_t strip = TIFFComputeStrip(tiff, y, plane);
    if (TIFFReadEncodedStrip(tiff, strip, band.data(), wanted) != wanted) refusePart(*reader);
}

void readTiles(Reader *reader, std::uint32_t y, std::uint16_t plane) {
    TIFF *const tiff = reader->handle.tiff;
    reader->tile.resize(static_cast<std::size_t>(TIFFTileSize(tiff)));
    const auto tileRow = static_cast<std::size_t>(TIFFTileRowSize(tiff));
    for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(reader->form.width); x += reader->partWidth) {
        const std::uint32_t number = TIFFComputeTile(tiff, x, y, 0, plane);
        const auto size = static_cast<tmsize_t>(reader->tile.size());
        if (TIFFReadEncodedTile(tiff, number, reader->tile.data(), size) != size) refusePart(*reader);
        const std::size_t offset = x / reader->partWidth * tileRow;
        if (offset + tileRow > reader->rowBytes) refuse(reader->input, "the size of its parts makes no sense");
        for (std::uint32_t row = 0; row < reader->bandHeight; row++)
            std::memcpy(reader->band[plane].data() + row * reader->rowBytes + offset,
                        reader->tile.data() + row * tileRow, tileRow);
    }
}

void readBand(Reader *reader, std::uint32_t y) {
    tiffClearFault();
    const auto planes = static_cast<std::uint16_t>(reader->apart ? reader->fileChannels : 1);
    const std::uint32_t rows = std::min(reader->bandHeight, static_cast<std::uint32_t>(reader->form.height) - y);
    reader->band.resize(planes);
    for (std::uint16_t plane = 0; plane < planes; plane++) {
        reader->band[plane].resize(reader->rowBytes * reader->bandHeight);
        if (reader->byLines) {
            if (TIFFReadScanline(reader->handle.tiff, reader->band[plane].data(), y, plane) != 1) refusePart(*reader);
        } else if (reader->tiled) {
            readTiles(reader, y, plane);
        } else {
            readStrip(reader, y, rows, plane);
        }
    }
}

std::uint32_t sampleAt(const unsigned char *row, std::size_t index, int bits) {
    switch (bits) {
        case 8:
            return row[index];
        case 16: {
            std::uint16_t sample = 0;
            std::memcpy(&sample, row + 2 * index, sizeof sample);
            return sample;
        }
        case 32: {
            std::uint32_t sample = 0;
            std::memcpy(&sample, row + 4 * index, sizeof sample);
            return sample;
        }
        default: {
            const std::size_t first = index * static_cast<std::size_t>(bits);
            return (row[first / 8] >> (8 - static_cast<std::size_t>(bits) - first % 8)) & fullValue(bits);
        }
    }
}

std::uint32_t wideSample(const Reader &reader, std::uint32_t sample) {
    if (!reader.form.real && !reader.signedSamples && sample > 0x7FFFFFFF)
        refuse(reader.input, "a sample is larger than 2147483647");
    if (!reader.whiteIsZero) return sample;
    if (!reader.form.real) return 65535u - sample;
    return std::bit_cast<std::uint32_t>(1.0f - std::bit_cast<float>(sample));
}

// Colours that are multiplied by their opacity are divided by it.
void divide(const Reader &reader, std::uint32_t *pixel) {
    const int last = reader.form.channels - 1;
    for (int c = 0; c < last; c++) {
        if (reader.form.real) {
            const float alpha = std::bit_cast<float>(pixel[last]), color = std::bit_cast<float>(pixel[c]);
            if (alpha > 0) pixel[c] = std::bit_cast<std::uint32_t>(color / alpha);
        } else if (pixel[last] > 0 && reader.form.bits < 32) {
            const std::uint32_t full = fullValue(reader.form.bits);
            const std::uint64_t color = (std::uint64_t{pixel[c]} * full + pixel[last] / 2) / pixel[last];
            pixel[c] = static_cast<std::uint32_t>(std::min<std::uint64_t>(color, full));
        }
    }
}

void readRow(Reader *reader, std::uint32_t *row) {
    const auto y = static_cast<std::uint32_t>(reader->next++);
    if (y % reader->bandHeight == 0) readBand(reader, y);
    const std::size_t offset = reader->rowBytes * (y % reader->bandHeight);
    const int bits = reader->bits, channels = reader->form.channels;
    for (int x = 0; x < reader->form.width; x++, row += channels) {
        const auto pixel = static_cast<std::size_t>(x);
        const int taken = reader->palette[0] ? 1 : channels;
        for (int c = 0; c < taken; c++) {
            const auto channel = static_cast<std::size_t>(c);
            const std::size_t index =
                reader->apart ? pixel : pixel * static_cast<std::size_t>(reader->fileChannels) + channel;
            const unsigned char *from = reader->band[reader->apart ? channel : 0].data() + offset;
            const std::uint32_t sample = sampleAt(from, index, bits);
            if (bits == 32) {
                row[c] = wideSample(*reader, sample);
            } else {
                const std::uint32_t full = fullValue(bits),
                                    shown = reader->whiteIsZero && c == 0 ? full - sample : sample;
                row[c] = reader->palette[0] ? sample : rescale(shown, full, fullValue(reader->form.bits));
            }
        }
        if (reader->palette[0]) {
            const std::uint32_t index = row[0];
            for (int c = 0; c < 3; c++)
                row[c] = static_cast<std::uint32_t>(reader->palette[c][index] >> 8);
        }
        if (reader->alpha == Alpha::multiplied) divide(*reader, row);
    }
}

}  // namespace

RowSource readTiff(const Input &input) {
    const auto reader = std::make_shared<Reader>();
    reader->input = input;
    tiffClearFault();
    openTiff(&reader->handle, input.file.get(), input.name, "rm");
    if (!reader->handle.tiff) refuse(input, tiffFault());
    readSamples(reader.get());
    readParts(reader.get());
    return {reader->form, [reader](std::uint32_t *row) { readRow(reader.get(), row); }};
}
