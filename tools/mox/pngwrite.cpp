// PNG files written by libpng.
#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "failure.h"
#include "formats.h"

namespace {

// Everything that owns memory lives here, since the encoder is left by longjmp.
struct Encoder {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::FILE *stream = nullptr;
    Form form;
    std::vector<png_byte> bytes;
    char message[200] = "";

    Encoder() = default;
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;
    ~Encoder() { png_destroy_write_struct(&png, &info); }
};

void onError(png_structp png, png_const_charp message) {
    auto *encoder = static_cast<Encoder *>(png_get_error_ptr(png));
    std::snprintf(encoder->message, sizeof encoder->message, "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep bytes, std::size_t count) {
    auto *encoder = static_cast<Encoder *>(png_get_io_ptr(png));
    if (std::fwrite(bytes, 1, count, encoder->stream) != count) png_error(png, std::strerror(errno));
}

void onFlush(png_structp) {}

int colorType(int channels) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                             PNG_COLOR_TYPE_RGB_ALPHA};
    return types[channels - 1];
}

bool writeHeader(Encoder *encoder) {
    if (setjmp(png_jmpbuf(encoder->png))) return false;
    const Form &form = encoder->form;
    png_set_write_fn(encoder->png, encoder, onWrite, onFlush);
    png_set_user_limits(encoder->png, 0x7FFFFFFF, 0x7FFFFFFF);
    png_set_IHDR(encoder->png, encoder->info, static_cast<png_uint_32>(form.width),
                 static_cast<png_uint_32>(form.height), form.bits, colorType(form.channels), PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(encoder->png, encoder->info);
    if (form.bits == 1) png_set_packing(encoder->png);
    return true;
}

bool writeRow(Encoder *encoder, bool last) {
    if (setjmp(png_jmpbuf(encoder->png))) return false;
    png_write_row(encoder->png, encoder->bytes.data());
    if (last) png_write_end(encoder->png, nullptr);
    return true;
}

// PNG stores 16 bits with the high byte first; a bit is handed over as a byte and packed by libpng.
void narrow(const std::vector<std::uint32_t> &row, int bits, png_byte *to) {
    for (const std::uint32_t sample : row) {
        if (bits == 16) *to++ = static_cast<png_byte>(sample >> 8);
        *to++ = static_cast<png_byte>(sample);
    }
}

}  // namespace

void writePng(const RowSource &source, NewFile *file) {
    Encoder encoder;
    encoder.form = source.form;
    encoder.stream = file->stream;
    encoder.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &encoder, onError, onWarning);
    if (encoder.png) encoder.info = png_create_info_struct(encoder.png);
    if (!encoder.info) fail(exitOperation, "not enough memory");
    const auto check = [&](bool done) {
        if (!done) fail(exitFile, file->name + ": cannot be written: " + encoder.message);
    };
    std::vector<std::uint32_t> row(samplesOfRow(source.form));
    encoder.bytes.resize(row.size() * 2);
    check(writeHeader(&encoder));
    for (int y = 0; y < source.form.height; y++) {
        source.next(row.data());
        narrow(row, source.form.bits, encoder.bytes.data());
        check(writeRow(&encoder, y == source.form.height - 1));
    }
}
