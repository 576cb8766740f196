// PNG files written by libpng.
#include <png.h>

#include <csetjmp>
#include <cstdio>

#include "failure.h"
#include "files.h"
#include "picture.h"

namespace {

// Everything that owns memory lives here, since the encoder is left by longjmp.
struct Encoder {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::FILE *stream = nullptr;
    const Picture *picture = nullptr;
    std::vector<png_byte> row;
    char message[200] = "";
};

void onError(png_structp png, png_const_charp message) {
    auto *encoder = static_cast<Encoder *>(png_get_error_ptr(png));
    std::snprintf(encoder->message, sizeof encoder->message, "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

int colorType(int channels) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                             PNG_COLOR_TYPE_RGB_ALPHA};
    return types[channels - 1];
}

// PNG stores 16 bits with the high byte first; a bit is handed over as a byte and packed by libpng.
void fillRow(Encoder *encoder, int y) {
    const Picture *picture = encoder->picture;
    const std::uint16_t *samples = pixelAt(picture, 0, y);
    const std::size_t count = static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->channels);
    for (std::size_t i = 0; i < count; i++) {
        if (picture->bits == 16) {
            encoder->row[2 * i] = static_cast<png_byte>(samples[i] >> 8);
            encoder->row[2 * i + 1] = static_cast<png_byte>(samples[i] & 0xFF);
        } else {
            encoder->row[i] = static_cast<png_byte>(samples[i]);
        }
    }
}

bool encode(Encoder *encoder) {
    if (setjmp(png_jmpbuf(encoder->png))) return false;
    const Picture *picture = encoder->picture;
    png_init_io(encoder->png, encoder->stream);
    png_set_IHDR(encoder->png, encoder->info, static_cast<png_uint_32>(picture->width),
                 static_cast<png_uint_32>(picture->height), picture->bits, colorType(picture->channels),
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(encoder->png, encoder->info);
    if (picture->bits == 1) png_set_packing(encoder->png);
    for (int y = 0; y < picture->height; y++) {
        fillRow(encoder, y);
        png_write_row(encoder->png, encoder->row.data());
    }
    png_write_end(encoder->png, nullptr);
    return true;
}

}  // namespace

void writePng(const Picture &picture, const std::string &name) {
    NewFile file;
    beginFile(&file, name);
    Encoder encoder;
    encoder.picture = &picture;
    encoder.stream = file.stream;
    encoder.row.resize(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.channels) *
                       (picture.bits == 16 ? 2 : 1));
    encoder.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &encoder, onError, onWarning);
    if (encoder.png) encoder.info = png_create_info_struct(encoder.png);
    const bool done = encoder.info && encode(&encoder);
    png_destroy_write_struct(&encoder.png, &encoder.info);
    if (!done) fail(exitFile, name + ": cannot be written: " + encoder.message);
    commitFile(&file);
}
