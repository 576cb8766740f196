// Pictures that pass row by row.
#include "rows.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "failure.h"
#include "memory.h"

namespace {

constexpr std::uint64_t mostPixels = std::uint64_t{1} << 40;

// Of the memory for pixels, what a row of samples may take: there are several of them on the way.
constexpr std::uint64_t rowShare = 16;

std::uint32_t fromReal(std::uint32_t pattern, unsigned full) {
    const float value = std::bit_cast<float>(pattern);
    if (!(value > 0.0f)) return 0;  // also what is no number
    if (value >= 1.0f) return full;
    return static_cast<std::uint32_t>(std::lrint(static_cast<double>(value) * full));
}

std::uint32_t fromWhole(std::uint32_t pattern, unsigned full) {
    return static_cast<std::uint32_t>(std::clamp(static_cast<std::int32_t>(pattern), 0, static_cast<int>(full)));
}

// Three weights on whole numbers or on floats.
std::uint32_t grayOf(const std::uint32_t *pixel, const Form &form) {
    if (form.bits < 32) return (77u * pixel[0] + 150u * pixel[1] + 29u * pixel[2] + 128u) >> 8;
    if (form.real) {
        const auto real = [pixel](int c) { return static_cast<double>(std::bit_cast<float>(pixel[c])); };
        return std::bit_cast<std::uint32_t>(static_cast<float>((77 * real(0) + 150 * real(1) + 29 * real(2)) / 256));
    }
    const auto whole = [pixel](int c) { return std::int64_t{static_cast<std::int32_t>(pixel[c])}; };
    return static_cast<std::uint32_t>((77 * whole(0) + 150 * whole(1) + 29 * whole(2) + 128) >> 8);
}

std::uint32_t opaqueOf(const Form &form) {
    if (form.bits == 32 && form.real) return std::bit_cast<std::uint32_t>(1.0f);
    return fullValue(plainBits(form));
}

void convertPixel(const std::uint32_t *from, const Form &form, std::uint32_t *to, int channels) {
    const bool fromColor = form.channels > 2;
    if (channels <= 2) {
        to[0] = fromColor ? grayOf(from, form) : from[0];
    } else {
        for (int c = 0; c < 3; c++)
            to[c] = from[fromColor ? c : 0];
    }
    if (hasAlpha(channels)) to[channels - 1] = hasAlpha(form.channels) ? from[form.channels - 1] : opaqueOf(form);
}

// From 32 bits to 16.
RowSource plain(RowSource source) {
    const std::size_t count = samplesOfRow(source.form);
    const bool real = source.form.real;
    Form form = source.form;
    form.bits = 16;
    form.real = false;
    return {form, [next = std::move(source.next), count, real](std::uint32_t *row) {
                next(row);
                for (std::size_t i = 0; i < count; i++)
                    row[i] = real ? fromReal(row[i], 65535) : fromWhole(row[i], 65535);
            }};
}

}  // namespace

RowSource withBits(RowSource source, int bits) {
    if (source.form.bits == 32) source = plain(std::move(source));
    if (source.form.bits == bits) return source;
    const std::size_t count = samplesOfRow(source.form);
    const unsigned from = fullValue(source.form.bits), to = fullValue(bits);
    Form form = source.form;
    form.bits = bits;
    return {form, [next = std::move(source.next), count, from, to](std::uint32_t *row) {
                next(row);
                for (std::size_t i = 0; i < count; i++)
                    row[i] = rescale(row[i], from, to);
            }};
}

RowSource withChannels(RowSource source, int channels) {
    if (source.form.channels == channels) return source;
    if (source.form.bits < 8) source = withBits(std::move(source), 8);
    const Form from = source.form;
    Form form = from;
    form.channels = channels;
    auto buffer = std::make_shared<std::vector<std::uint32_t>>(samplesOfRow(from));
    return {form, [next = std::move(source.next), from, channels, buffer](std::uint32_t *row) {
                next(buffer->data());
                const std::uint32_t *pixel = buffer->data();
                for (int x = 0; x < from.width; x++, pixel += from.channels, row += channels)
                    convertPixel(pixel, from, row, channels);
            }};
}

RowSource rowsOf(const Picture &picture) {
    const Form form = {picture.width, picture.height, picture.channels, picture.bits, false};
    const std::size_t count = samplesOfRow(form);
    return {form, [next = picture.samples.data(), count](std::uint32_t *row) mutable {
                std::copy_n(next, count, row);
                next += count;
            }};
}

RowSource rowsOfOwned(Picture picture) {
    const auto owner = std::make_shared<Picture>(std::move(picture));
    RowSource rows = rowsOf(*owner);
    rows.next = [owner, next = std::move(rows.next)](std::uint32_t *row) { next(row); };
    return rows;
}

Picture pictureFromRows(RowSource source) {
    if (source.form.bits == 32) source = plain(std::move(source));
    const Form &form = source.form;
    Picture picture = makePicture(form.width, form.height, form.channels, form.bits);
    const std::size_t count = samplesOfRow(form);
    std::vector<std::uint32_t> row(count);
    for (int y = 0; y < form.height; y++) {
        source.next(row.data());
        std::uint16_t *to = pixelAt(&picture, 0, y);
        for (std::size_t i = 0; i < count; i++)
            to[i] = static_cast<std::uint16_t>(row[i]);
    }
    return picture;
}

void checkSize(const std::string &what, std::uint64_t width, std::uint64_t height, int channels) {
    const std::string picture = ": the picture, " + std::to_string(width) + " x " + std::to_string(height) + " with " +
                                std::to_string(channels) + (channels == 1 ? " channel" : " channels");
    if (width > 0x7FFFFFFF || height > 0x7FFFFFFF || width * height > mostPixels)
        fail(exitFile,
             what + picture + ", has more than 2147483647 pixels a side, or " + std::to_string(mostPixels) + " in all");
    const std::uint64_t rowBytes = 4 * width * static_cast<unsigned>(channels);
    if (rowBytes <= pixelMemory() / rowShare) return;
    fail(exitFile, what + picture + ", has rows for which --memory would have to allow " +
                       megabytes(boundFor(rowBytes * rowShare)));
}
