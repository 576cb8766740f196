// Bitmap files. The library is never told how long a bitmap is, so every size that the header claims is held against
// the file first.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bitmap.h"
#include "failure.h"
#include "formats.h"

namespace {

constexpr std::size_t fileHeaderBytes = 14;
constexpr std::size_t headerBytes = sizeof(BITMAPINFOHEADER);
constexpr std::size_t maskBytes = 12;
static_assert(headerBytes == 40);

[[noreturn]] void refuse(const std::string &name, const std::string &fault) {
    fail(exitFile, name + ": cannot be read as a bitmap: " + fault);
}

std::vector<unsigned char> readWhole(const Input &input) {
    constexpr std::uint64_t most = std::uint64_t{1} << 31;
    if (input.size >= most) refuse(input.name, "the file is larger than 2 GB");
    std::vector<unsigned char> bytes(static_cast<std::size_t>(input.size));
    const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), input.file.get());
    if (std::ferror(input.file.get())) failErrno(input.name, errno);
    bytes.resize(got);
    return bytes;
}

std::uint32_t number(const std::vector<unsigned char> &bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; i++)
        value |= std::uint32_t{bytes[at + i]} << (8 * i);
    return value;
}

// Where the parts of a file are. Offsets and sizes are those claimed, until they have been checked.
struct Layout {
    std::uint64_t end;      // of what belongs to the bitmap
    std::uint64_t masks;    // where they are
    std::uint64_t palette;  // where it is
    std::uint64_t entries;
    std::uint64_t pixels;  // where they are
    std::uint64_t pixelBytes;
    bool hasMasks;
};

// Files may have been written with a later header, which begins with the same 40 bytes; masks follow these in any case.
bool isKnownHeader(std::uint32_t size) {
    return size == headerBytes || size == 52 || size == 56 || size == 108 || size == 124;
}

void checkPicture(const std::string &name, const BITMAPINFOHEADER &header) {
    const std::uint64_t height = static_cast<std::uint64_t>(std::llabs(header.biHeight));
    if (header.biWidth < 1 || height < 1) {
        refuse(name, "its size is " + std::to_string(header.biWidth) + " x " + std::to_string(header.biHeight));
    }
    const int channels = header.biBitCount == 32 ? 4 : 3;
    checkSize(name + ": cannot be read as a bitmap", static_cast<std::uint64_t>(header.biWidth), height, channels, 8);
}

// Bytes of the pixels: of compressed ones all there are, unless the header names fewer.
std::uint64_t pixelBytes(const BITMAPINFOHEADER &header, std::uint64_t there) {
    if (header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4) {
        return header.biSizeImage != 0 ? header.biSizeImage : there;
    }
    const std::uint64_t rowBytes = (static_cast<std::uint64_t>(header.biWidth) * header.biBitCount + 31) / 32 * 4;
    return rowBytes * static_cast<std::uint64_t>(std::llabs(header.biHeight));
}

Layout findParts(const std::string &name, const std::vector<unsigned char> &bytes, const BITMAPINFOHEADER &header) {
    Layout layout = {};
    const std::uint32_t claimed = number(bytes, 2);
    if (claimed > bytes.size()) {
        refuse(name, "it is to have " + std::to_string(claimed) + " bytes, and has " + std::to_string(bytes.size()));
    }
    layout.end = claimed != 0 ? claimed : bytes.size();
    layout.hasMasks = header.biCompression == BI_BITFIELDS && (header.biBitCount == 16 || header.biBitCount == 32);
    layout.masks = fileHeaderBytes + headerBytes;
    layout.palette = fileHeaderBytes + header.biSize;
    if (layout.hasMasks) layout.palette = std::max<std::uint64_t>(layout.palette, layout.masks + maskBytes);
    const bool indexed = header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8;
    if (indexed) layout.entries = header.biClrUsed != 0 ? header.biClrUsed : std::uint64_t{1} << header.biBitCount;
    layout.pixels = number(bytes, 10);
    if (layout.palette + 4 * layout.entries > layout.pixels)
        refuse(name, "its pixels begin inside its header or palette");
    if (layout.pixels > layout.end) refuse(name, "its pixels begin behind its end");
    const std::uint64_t there = layout.end - layout.pixels;
    layout.pixelBytes = pixelBytes(header, there);
    if (layout.pixelBytes > there) {
        refuse(name,
               "its pixels have " + std::to_string(there) + " of " + std::to_string(layout.pixelBytes) + " bytes");
    }
    if (layout.pixelBytes == 0) refuse(name, "it has no pixels");
    return layout;
}

Bitmap packed(const std::vector<unsigned char> &bytes, BITMAPINFOHEADER header, const Layout &layout) {
    const std::size_t masks = layout.hasMasks ? maskBytes : 0, palette = 4 * static_cast<std::size_t>(layout.entries);
    Bitmap bitmap;
    bitmap.size = headerBytes + masks + palette + static_cast<std::size_t>(layout.pixelBytes);
    bitmap.bytes = std::make_unique<char[]>(bitmap.size);
    header.biSize = headerBytes;
    header.biSizeImage = static_cast<unsigned>(layout.pixelBytes);
    // Colours that are but a hint for displays of few of them have no place here.
    header.biClrUsed = static_cast<unsigned>(layout.entries);
    std::memcpy(bitmap.bytes.get(), &header, headerBytes);
    char *to = bitmap.bytes.get() + headerBytes;
    std::memcpy(to, bytes.data() + layout.masks, masks);
    std::memcpy(to + masks, bytes.data() + layout.palette, palette);
    std::memcpy(to + masks + palette, bytes.data() + layout.pixels, static_cast<std::size_t>(layout.pixelBytes));
    return bitmap;
}

}  // namespace

Bitmap readBitmapFile(const Input &input) {
    const std::string &name = input.name;
    const std::vector<unsigned char> bytes = readWhole(input);
    if (bytes.size() < fileHeaderBytes + headerBytes) refuse(name, "the file is too short");
    if (bytes[0] != 'B' || bytes[1] != 'M') refuse(name, "it does not begin with BM");
    BITMAPINFOHEADER header;
    std::memcpy(&header, bytes.data() + fileHeaderBytes, sizeof header);
    if (!isKnownHeader(header.biSize)) {
        refuse(name, "its header has " + std::to_string(header.biSize) + " bytes; known are 40, 52, 56, 108 and 124");
    }
    checkPicture(name, header);
    return packed(bytes, header, findParts(name, bytes, header));
}
