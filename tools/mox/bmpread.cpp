// Bitmap files. The library is never told how long a bitmap is, so every size that the header claims is held against
// the file first.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "bitmap.h"
#include "failure.h"
#include "formats.h"
#include "memory.h"

namespace {

constexpr std::size_t fileHeaderBytes = 14;
constexpr std::size_t headerBytes = sizeof(BITMAPINFOHEADER);
constexpr std::size_t maskBytes = 12;
static_assert(headerBytes == 40);

[[noreturn]] void refuse(const std::string &name, const std::string &fault) {
    fail(exitFile, name + ": cannot be read as a bitmap: " + fault);
}

// As many bytes as there are, at most count.
std::vector<unsigned char> readBytes(const Input &input, std::uint64_t offset, std::uint64_t count) {
    std::FILE *const file = input.file.get();
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::min(count, input.size)));
    if (fseeko(file, static_cast<off_t>(offset), SEEK_SET) != 0) failErrno(input.name, errno);
    const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), file);
    if (std::ferror(file)) failErrno(input.name, errno);
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
    checkSize(name + ": cannot be read as a bitmap", static_cast<std::uint64_t>(header.biWidth), height, channels);
}

// Bytes of the pixels: of compressed ones all there are, unless the header names fewer.
std::uint64_t pixelBytes(const BITMAPINFOHEADER &header, std::uint64_t there) {
    if (header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4) {
        return header.biSizeImage != 0 ? header.biSizeImage : there;
    }
    const std::uint64_t rowBytes = (static_cast<std::uint64_t>(header.biWidth) * header.biBitCount + 31) / 32 * 4;
    return rowBytes * static_cast<std::uint64_t>(std::llabs(header.biHeight));
}

// head has the first bytes of a file of that size.
Layout findParts(const std::string &name, const std::vector<unsigned char> &head, std::uint64_t size,
                 const BITMAPINFOHEADER &header) {
    Layout layout = {};
    const std::uint32_t claimed = number(head, 2);
    if (claimed > size)
        refuse(name, "it is to have " + std::to_string(claimed) + " bytes, and has " + std::to_string(size));
    layout.end = claimed != 0 ? claimed : size;
    layout.hasMasks = header.biCompression == BI_BITFIELDS && (header.biBitCount == 16 || header.biBitCount == 32);
    layout.masks = fileHeaderBytes + headerBytes;
    layout.palette = fileHeaderBytes + header.biSize;
    if (layout.hasMasks) layout.palette = std::max<std::uint64_t>(layout.palette, layout.masks + maskBytes);
    const bool indexed = header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8;
    if (indexed) layout.entries = header.biClrUsed != 0 ? header.biClrUsed : std::uint64_t{1} << header.biBitCount;
    layout.pixels = number(head, 10);
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

// Header, masks and palette from the file's front, and room for so many bytes of pixels.
Bitmap frontOf(const std::vector<unsigned char> &bytes, BITMAPINFOHEADER header, const Layout &layout,
               std::uint64_t pixels) {
    const std::size_t masks = layout.hasMasks ? maskBytes : 0, palette = 4 * static_cast<std::size_t>(layout.entries);
    Bitmap bitmap;
    bitmap.size = headerBytes + masks + palette + static_cast<std::size_t>(pixels);
    bitmap.bytes = std::make_unique<char[]>(bitmap.size);
    header.biSize = headerBytes;
    header.biSizeImage = static_cast<unsigned>(pixels);
    // Colours that are but a hint for displays of few of them have no place here.
    header.biClrUsed = static_cast<unsigned>(layout.entries);
    std::memcpy(bitmap.bytes.get(), &header, headerBytes);
    char *to = bitmap.bytes.get() + headerBytes;
    std::memcpy(to, bytes.data() + layout.masks, masks);
    std::memcpy(to + masks, bytes.data() + layout.palette, palette);
    return bitmap;
}

// A file's front, checked.
struct Front {
    std::vector<unsigned char> bytes;  // up to the pixels
    BITMAPINFOHEADER header = {};
    Layout layout = {};
};

Front readFront(const Input &input) {
    const std::string &name = input.name;
    Front front;
    front.bytes = readBytes(input, 0, fileHeaderBytes + headerBytes);
    if (front.bytes.size() < fileHeaderBytes + headerBytes) refuse(name, "the file is too short");
    if (front.bytes[0] != 'B' || front.bytes[1] != 'M') refuse(name, "it does not begin with BM");
    BITMAPINFOHEADER &header = front.header;
    std::memcpy(&header, front.bytes.data() + fileHeaderBytes, sizeof header);
    if (!isKnownHeader(header.biSize)) {
        refuse(name, "its header has " + std::to_string(header.biSize) + " bytes; known are 40, 52, 56, 108 and 124");
    }
    checkPicture(name, header);
    front.layout = findParts(name, front.bytes, input.size, header);
    const std::uint64_t end = front.layout.palette + 4 * front.layout.entries;
    if (end > pixelMemory() / 4) refuse(name, tooLargeText("its palette", 4 * end));
    front.bytes = readBytes(input, 0, end);
    if (front.bytes.size() != end) refuse(name, "the file has become shorter");
    return front;
}

// Pixels from a place in the file to behind the front of a bitmap.
Bitmap withPixels(const Input &input, const Front &front, const BITMAPINFOHEADER &header, std::uint64_t offset,
                  std::uint64_t count) {
    Bitmap bitmap = frontOf(front.bytes, header, front.layout, count);
    const std::vector<unsigned char> pixels = readBytes(input, offset, count);
    if (pixels.size() != count) refuse(input.name, "the file has become shorter");
    std::memcpy(bitmap.bytes.get() + bitmap.size - count, pixels.data(), pixels.size());
    return bitmap;
}

Bitmap wholeBitmap(const Input &input, const Front &front) {
    const BITMAPINFOHEADER &header = front.header;
    const std::uint64_t pixels = static_cast<std::uint64_t>(header.biWidth) *
                                 static_cast<std::uint64_t>(std::llabs(header.biHeight)) *
                                 (header.biBitCount <= 8 ? 3 : 9);
    const std::uint64_t bytes = 2 * front.layout.pixelBytes + pixels;
    if (bytes > pixelMemory() || front.layout.pixelBytes > 0x7FFFFFFF)
        refuse(input.name, tooLargeText("what is compressed or a palette", bytes));
    return withPixels(input, front, header, front.layout.pixels, front.layout.pixelBytes);
}

// Rows that follow one another in the picture do so in the file, from either end.
struct SliceReader {
    Input input;
    Front front;
    std::uint64_t rowBytes = 0;
    int height = 0;
    int rows = 0;  // of a slice
    Picture slice;
    int next = 0;
};

void readSlice(SliceReader *reader, int y) {
    BITMAPINFOHEADER header = reader->front.header;
    const int count = std::min(reader->rows, reader->height - y);
    const bool upward = header.biHeight > 0;
    const auto first = static_cast<std::uint64_t>(upward ? reader->height - y - count : y);
    header.biHeight = upward ? count : -count;
    const Bitmap bitmap =
        withPixels(reader->input, reader->front, header, reader->front.layout.pixels + first * reader->rowBytes,
                   reader->rowBytes * static_cast<unsigned>(count));
    reader->slice = translatedBitmap(bitmap, exitFile, reader->input.name + ": cannot be read as a bitmap");
}

// An alpha that hides all is none.
bool hidesAll(SliceReader *reader) {
    for (int y = 0; y < reader->height; y += reader->rows) {
        readSlice(reader, y);
        if (!isAllHidden(reader->slice)) return false;
    }
    return true;
}

RowSource slicedRows(const Input &input, Front front) {
    constexpr std::uint64_t share = 32;
    const auto reader = std::make_shared<SliceReader>();
    reader->input = input;
    reader->front = std::move(front);
    reader->height = std::abs(reader->front.header.biHeight);
    reader->rowBytes = reader->front.layout.pixelBytes / static_cast<unsigned>(reader->height);
    const std::uint64_t rows = std::max<std::uint64_t>(pixelMemory() / share / reader->rowBytes, 1);
    reader->rows = static_cast<int>(std::min<std::uint64_t>(rows, static_cast<unsigned>(reader->height)));
    readSlice(reader.get(), 0);
    const Form form = {reader->slice.width, reader->height, reader->slice.channels, reader->slice.bits, false};
    RowSource source = {form, [reader](std::uint32_t *row) {
                            const int y = reader->next++, inSlice = y % reader->rows;
                            if (inSlice == 0) readSlice(reader.get(), y);
                            const auto count = static_cast<std::size_t>(reader->slice.width) *
                                               static_cast<std::size_t>(reader->slice.channels);
                            std::copy_n(pixelAt(&reader->slice, 0, inSlice), count, row);
                        }};
    return form.channels == 4 && hidesAll(reader.get()) ? withChannels(std::move(source), 3) : source;
}

}  // namespace

Bitmap readBitmapFile(const Input &input) {
    return wholeBitmap(input, readFront(input));
}

RowSource readBitmapRows(const Input &input) {
    constexpr std::uint64_t share = 16;
    Front front = readFront(input);
    const unsigned compression = front.header.biCompression;
    const bool compressed = compression == BI_RLE8 || compression == BI_RLE4;
    const bool known = compression == BI_RGB || compression == BI_BITFIELDS;
    if (known && !compressed && front.layout.pixelBytes > pixelMemory() / share)
        return slicedRows(input, std::move(front));
    return rowsOfOwned(
        pictureFromBitmap(wholeBitmap(input, front), exitFile, input.name + ": cannot be read as a bitmap"));
}
