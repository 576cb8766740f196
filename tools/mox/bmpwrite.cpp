// Bitmap files written, whole or by slices.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

#include "bitmap.h"
#include "failure.h"
#include "files.h"
#include "image.h"
#include "memory.h"
#include "reports.h"

namespace {

constexpr std::size_t fileHeaderBytes = 14;

void put(NewFile *file, const void *bytes, std::size_t count) {
    if (std::fwrite(bytes, 1, count, file->stream) != count) failErrno(file->name, errno);
}

void putFileHeader(NewFile *file, std::uint64_t front, std::uint64_t pixels) {
    unsigned char head[fileHeaderBytes] = {'B', 'M'};
    const auto number = [&](std::size_t at, std::uint64_t value) {
        for (std::size_t i = 0; i < 4; i++)
            head[at + i] = static_cast<unsigned char>(value >> (8 * i));
    };
    if (fileHeaderBytes + front + pixels > 0xFFFFFFFF) fail(exitFile, file->name + ": a bitmap has at most 4 GB");
    number(2, fileHeaderBytes + front + pixels);
    number(10, fileHeaderBytes + front);
    put(file, head, sizeof head);
}

// What a pixel becomes depends on nothing but itself.
bool isLocal(const BitmapForm &form) {
    const bool indexed = form.bits != 0 && form.bits <= 8;
    return !form.compressed && !form.diffuses && form.dither == MOX_DITHER_NONE &&
           !(indexed && form.paletteKind == MOX_PALCONV_MEDCUT);
}

Picture nextRows(RowSource *rows, int count) {
    RowSource part = {rows->form, [rows](std::uint32_t *row) { rows->next(row); }};
    part.form.height = count;
    return pictureFromRows(std::move(part));
}

Bitmap bitmapFromPicture(const Picture &picture, const BitmapForm &form, const std::string &name) {
    const ImagePtr image = imageFromPicture(picture, naturalDepth(picture), false);
    clearReports();
    Bitmap bitmap = bitmapFromImage(image.get(), form);
    if (!bitmap.bytes) fail(exitOperation, name + ": cannot be made a bitmap: " + reportsText());
    return bitmap;
}

}  // namespace

void writeBitmapFile(const Bitmap &bitmap, const std::string &name) {
    NewFile file;
    beginFile(&file, name);
    const std::size_t pixels = bitmap.header()->biSizeImage;
    putFileHeader(&file, bitmap.size - pixels, pixels);
    put(&file, bitmap.bytes.get(), bitmap.size);
    commitFile(&file);
}

void writeBitmapRows(RowSource rows, const BitmapForm &form, const std::string &name) {
    constexpr std::uint64_t share = 16;
    const int channels = channelsOfBitmap(rows.form.channels, form);
    rows = withChannels(std::move(rows), channels);
    const std::uint64_t samples = samplesOfRow(rows.form);
    const int height = rows.form.height;
    const auto most = std::max<std::uint64_t>(pixelMemory() / share / (2 * samples), 1);
    if (!isLocal(form) || most >= static_cast<std::uint64_t>(height)) {
        const std::uint64_t bytes = 5 * samples * static_cast<unsigned>(height);
        checkMemory(name + ": a bitmap with dithering, run lengths or a palette from its own colours", bytes);
        return writeBitmapFile(bitmapFromPicture(nextRows(&rows, height), form, name), name);
    }
    NewFile file;
    beginFile(&file, name);
    std::uint64_t front = 0, rowBytes = 0;
    for (int y = 0; y < height; y += static_cast<int>(most)) {
        const int count = static_cast<int>(std::min<std::uint64_t>(most, static_cast<unsigned>(height - y)));
        const Bitmap slice = bitmapFromPicture(nextRows(&rows, count), form, name);
        BITMAPINFOHEADER header = *slice.header();
        if (y == 0) {
            rowBytes = header.biSizeImage / static_cast<unsigned>(count);
            front = slice.size - header.biSizeImage;
            const std::uint64_t pixels = rowBytes * static_cast<unsigned>(height);
            putFileHeader(&file, front, pixels);
            header.biHeight = height;
            header.biSizeImage = static_cast<unsigned>(pixels);
            put(&file, &header, sizeof header);
            put(&file, slice.bytes.get() + sizeof header, static_cast<std::size_t>(front) - sizeof header);
        }
        // The last row comes first in the file.
        const std::uint64_t at = fileHeaderBytes + front + rowBytes * static_cast<unsigned>(height - y - count);
        if (fseeko(file.stream, static_cast<off_t>(at), SEEK_SET) != 0) failErrno(name, errno);
        put(&file, slice.bytes.get() + front, static_cast<std::size_t>(rowBytes) * static_cast<unsigned>(count));
    }
    commitFile(&file);
}
