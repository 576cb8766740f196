// PNG files read by libpng. What it reads may come from anywhere: every size is checked before memory is taken for it,
// and every fault of the file ends in a Failure.
#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "failure.h"
#include "picture.h"

namespace {

// 2^28 samples: 512 MiB of ours and at most 1 GiB of the library's. A file of a few bytes may claim any size.
constexpr std::uint64_t samplesLimit = std::uint64_t{1} << 28;

// What passes between the decoder and its caller. The decoder is left by longjmp, so everything that owns memory lives
// here.
struct Decoder {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::FILE *file = nullptr;
    Picture picture;
    std::vector<png_byte> bytes;
    std::vector<png_bytep> rows;
    char message[200] = "";
};

void onError(png_structp png, png_const_charp message) {
    auto *decoder = static_cast<Decoder *>(png_get_error_ptr(png));
    std::snprintf(decoder->message, sizeof decoder->message, "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

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
    decoder->picture.bits = bitonal ? 1 : (depth == 16 ? 16 : 8);
}

bool takeMemory(Decoder *decoder) {
    png_structp png = decoder->png;
    const png_uint_32 width = png_get_image_width(png, decoder->info);
    const png_uint_32 height = png_get_image_height(png, decoder->info);
    const int channels = png_get_channels(png, decoder->info);
    if (std::uint64_t{width} * height > samplesLimit / static_cast<unsigned>(channels)) return false;
    decoder->picture.width = static_cast<int>(width);
    decoder->picture.height = static_cast<int>(height);
    decoder->picture.channels = channels;
    const std::size_t rowBytes = png_get_rowbytes(png, decoder->info);
    decoder->bytes.resize(rowBytes * height);
    decoder->rows.resize(height);
    for (png_uint_32 y = 0; y < height; y++)
        decoder->rows[y] = decoder->bytes.data() + rowBytes * y;
    return true;
}

bool decode(Decoder *decoder) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_init_io(decoder->png, decoder->file);
    png_read_info(decoder->png, decoder->info);
    askForPlainSamples(decoder);
    png_set_interlace_handling(decoder->png);
    png_read_update_info(decoder->png, decoder->info);
    if (!takeMemory(decoder)) png_error(decoder->png, "the picture is larger than 268435456 samples");
    png_read_image(decoder->png, decoder->rows.data());
    png_read_end(decoder->png, nullptr);
    return true;
}

void widenSamples(Decoder *decoder) {
    const std::size_t count = static_cast<std::size_t>(decoder->picture.width) *
                              static_cast<std::size_t>(decoder->picture.height) *
                              static_cast<std::size_t>(decoder->picture.channels);
    decoder->picture.samples.resize(count);
    const png_byte *from = decoder->bytes.data();
    if (decoder->picture.bits == 16) {
        for (std::size_t i = 0; i < count; i++) {
            decoder->picture.samples[i] = static_cast<std::uint16_t>((from[2 * i] << 8) | from[2 * i + 1]);
        }
    } else {
        for (std::size_t i = 0; i < count; i++)
            decoder->picture.samples[i] = from[i];
    }
}

}  // namespace

Picture readPng(const std::string &name) {
    Decoder decoder;
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(name.c_str(), "rb"), std::fclose);
    if (!file) failErrno(name, errno);
    decoder.file = file.get();
    decoder.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &decoder, onError, onWarning);
    if (decoder.png) decoder.info = png_create_info_struct(decoder.png);
    bool done = false;
    try {
        done = decoder.info && decode(&decoder);
    } catch (const std::bad_alloc &) {
        std::snprintf(decoder.message, sizeof decoder.message, "not enough memory");
    }
    png_destroy_read_struct(&decoder.png, &decoder.info, nullptr);
    if (!done) fail(exitFile, name + ": cannot be read as a PNG picture: " + decoder.message);
    widenSamples(&decoder);
    return std::move(decoder.picture);
}
