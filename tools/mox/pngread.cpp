// PNG files read by libpng. What it reads may come from anywhere: every size is checked before memory is taken for it,
// and every fault of the file ends in a Failure.
#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "failure.h"
#include "formats.h"

namespace {

// The decoder is left by longjmp, so everything that owns memory lives here.
struct Decoder {
    Input input;
    png_structp png = nullptr;
    png_infop info = nullptr;
    Form form;
    std::size_t rowBytes = 0;
    bool interlaced = false;
    std::vector<png_byte> bytes;  // a row, or all of them where they come interlaced
    std::vector<png_bytep> rows;
    int next = 0;
    char message[200] = "";

    Decoder() = default;
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
    ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }
};

void onError(png_structp png, png_const_charp message) {
    auto *decoder = static_cast<Decoder *>(png_get_error_ptr(png));
    std::snprintf(decoder->message, sizeof decoder->message, "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onRead(png_structp png, png_bytep to, std::size_t count) {
    auto *decoder = static_cast<Decoder *>(png_get_io_ptr(png));
    std::FILE *const file = decoder->input.file.get();
    if (std::fread(to, 1, count, file) == count) return;
    png_error(png, std::ferror(file) ? std::strerror(errno) : "the file ends in the middle of it (Read Error)");
}

// One form for all colour types: gray or RGB, alpha or none, one byte or two a sample.
void askForPlainSamples(Decoder *decoder) {
    png_structp png = decoder->png;
    const int type = png_get_color_type(png, decoder->info);
    const int depth = png_get_bit_depth(png, decoder->info);
    const bool transparent = png_get_valid(png, decoder->info, PNG_INFO_tRNS) != 0;
    const bool bitonal = type == PNG_COLOR_TYPE_GRAY && depth == 1 && !transparent;
    if (type == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (bitonal) png_set_packing(png);
    if (type == PNG_COLOR_TYPE_GRAY && depth < 8 && !bitonal) png_set_expand_gray_1_2_4_to_8(png);
    if (transparent) png_set_tRNS_to_alpha(png);
    decoder->form.bits = bitonal ? 1 : (depth == 16 ? 16 : 8);
}

bool readHeader(Decoder *decoder) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_structp png = decoder->png;
    png_set_read_fn(png, decoder, onRead);
    png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
    png_read_info(png, decoder->info);
    decoder->form.width = static_cast<int>(png_get_image_width(png, decoder->info));
    decoder->form.height = static_cast<int>(png_get_image_height(png, decoder->info));
    decoder->form.channels = png_get_channels(png, decoder->info);
    decoder->form.bits = png_get_bit_depth(png, decoder->info);
    return true;
}

// From here on memory is taken for rows.
bool beginRows(Decoder *decoder) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_structp png = decoder->png;
    askForPlainSamples(decoder);
    decoder->interlaced = png_set_interlace_handling(png) > 1;
    png_read_update_info(png, decoder->info);
    decoder->form.channels = png_get_channels(png, decoder->info);
    decoder->rowBytes = png_get_rowbytes(png, decoder->info);
    return true;
}

void checkForm(const Decoder &decoder) {
    checkSize(decoder.input.name + ": cannot be read as a PNG picture", static_cast<std::uint64_t>(decoder.form.width),
              static_cast<std::uint64_t>(decoder.form.height), decoder.form.channels, decoder.form.bits);
}

bool readAll(Decoder *decoder) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_read_image(decoder->png, decoder->rows.data());
    png_read_end(decoder->png, nullptr);
    return true;
}

// What follows the last row may be wrong, too.
bool readOne(Decoder *decoder) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_read_row(decoder->png, decoder->bytes.data(), nullptr);
    if (decoder->next == decoder->form.height - 1) png_read_end(decoder->png, nullptr);
    return true;
}

[[noreturn]] void refuse(const Decoder &decoder) {
    fail(exitFile, decoder.input.name + ": cannot be read as a PNG picture: " + decoder.message);
}

const png_byte *nextRow(Decoder *decoder) {
    const std::size_t rowBytes = decoder->rowBytes;
    if (!decoder->interlaced) {
        if (!readOne(decoder)) refuse(*decoder);
        decoder->next++;
        return decoder->bytes.data();
    }
    if (decoder->next == 0) {
        const auto height = static_cast<std::size_t>(decoder->form.height);
        decoder->bytes.resize(rowBytes * height);
        for (std::size_t y = 0; y < height; y++)
            decoder->rows.push_back(decoder->bytes.data() + rowBytes * y);
        if (!readAll(decoder)) refuse(*decoder);
    }
    return decoder->rows[static_cast<std::size_t>(decoder->next++)];
}

void widen(const png_byte *from, std::size_t count, int bits, std::uint32_t *row) {
    if (bits == 16) {
        for (std::size_t i = 0; i < count; i++)
            row[i] = static_cast<std::uint32_t>((from[2 * i] << 8) | from[2 * i + 1]);
    } else {
        for (std::size_t i = 0; i < count; i++)
            row[i] = from[i];
    }
}

}  // namespace

RowSource readPng(const Input &input) {
    const auto decoder = std::make_shared<Decoder>();
    decoder->input = input;
    decoder->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, decoder.get(), onError, onWarning);
    if (decoder->png) decoder->info = png_create_info_struct(decoder->png);
    if (!decoder->info) fail(exitOperation, "not enough memory");
    if (!readHeader(decoder.get())) refuse(*decoder);
    checkForm(*decoder);
    if (!beginRows(decoder.get())) refuse(*decoder);
    checkForm(*decoder);
    const Form form = decoder->form;
    if (!decoder->interlaced) decoder->bytes.resize(decoder->rowBytes);
    return {form, [decoder](std::uint32_t *row) {
                widen(nextRow(decoder.get()), samplesOfRow(decoder->form), decoder->form.bits, row);
            }};
}
