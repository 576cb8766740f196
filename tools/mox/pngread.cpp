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

#include <unistd.h>

#include "failure.h"
#include "formats.h"
#include "memory.h"
#include "scratch.h"

namespace {

// The decoder is left by longjmp, so everything that owns memory lives here.
struct Decoder {
    Input input;
    png_structp png = nullptr;
    png_infop info = nullptr;
    Form form;
    std::size_t rowBytes = 0;
    int passes = 1;               // more than one where it is interlaced
    bool whole = false;           // all rows are in bytes, and not in a scratch file
    std::vector<png_byte> bytes;  // a row, or all of them
    int scratch = -1;             // of interlaced rows
    std::string folder;           // where that file is
    int next = 0;
    char message[200] = "";

    Decoder() = default;
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
    ~Decoder() {
        png_destroy_read_struct(&png, &info, nullptr);
        if (scratch >= 0) ::close(scratch);
    }
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
    decoder->passes = png_set_interlace_handling(png);
    png_read_update_info(png, decoder->info);
    decoder->form.channels = png_get_channels(png, decoder->info);
    decoder->rowBytes = png_get_rowbytes(png, decoder->info);
    return true;
}

[[noreturn]] void refuse(const Decoder &decoder, const std::string &fault) {
    fail(exitFile, decoder.input.name + ": cannot be read as a PNG picture: " + fault);
}

// A few bytes may tell of a picture that no memory has: at the utmost one byte becomes 1032.
void checkForm(const Decoder &decoder) {
    constexpr std::uint64_t mostInflated = 1032;
    checkSize(decoder.input.name + ": cannot be read as a PNG picture", static_cast<std::uint64_t>(decoder.form.width),
              static_cast<std::uint64_t>(decoder.form.height), decoder.form.channels);
    const std::uint64_t height = static_cast<std::uint64_t>(decoder.form.height);
    const std::uint64_t bytes = png_get_rowbytes(decoder.png, decoder.info) * height;
    if (bytes / mostInflated <= decoder.input.size) return;
    refuse(decoder, "the file is too short for a picture of " + std::to_string(decoder.form.width) + " x " +
                        std::to_string(decoder.form.height));
}

bool readOne(Decoder *decoder, png_bytep row) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_read_row(decoder->png, row, nullptr);
    return true;
}

// What follows the last row may be wrong, too.
bool readEnd(Decoder *decoder) {
    if (setjmp(png_jmpbuf(decoder->png))) return false;
    png_read_end(decoder->png, nullptr);
    return true;
}

void moveRow(Decoder *decoder, int y, bool write) {
    const std::uint64_t offset = std::uint64_t{decoder->rowBytes} * static_cast<unsigned>(y);
    auto *const row = reinterpret_cast<char *>(decoder->bytes.data());
    if (moveScratch(decoder->scratch, row, decoder->rowBytes, offset, write)) return;
    fail(exitFile,
         decoder->input.name + ": the scratch file in " + decoder->folder + " for it: " + std::strerror(errno));
}

// A pass has some rows, and some pixels of each; the others stay as they are.
void readPass(Decoder *decoder, int pass) {
    for (int y = 0; y < decoder->form.height; y++) {
        png_bytep row = decoder->bytes.data();
        if (decoder->whole) row += decoder->rowBytes * static_cast<std::size_t>(y);
        const bool hasPart =
            !decoder->whole && (pass == 0 || PNG_ROW_IN_INTERLACE_PASS(static_cast<unsigned>(y), pass));
        if (hasPart && pass > 0) moveRow(decoder, y, false);
        if (!readOne(decoder, row)) refuse(*decoder, decoder->message);
        if (hasPart) moveRow(decoder, y, true);
    }
}

// Interlaced rows are complete when all have been read.
void readPasses(Decoder *decoder) {
    const std::uint64_t all = std::uint64_t{decoder->rowBytes} * static_cast<unsigned>(decoder->form.height);
    decoder->whole = all <= largestWhole();
    if (decoder->whole) {
        decoder->bytes.resize(static_cast<std::size_t>(all));
    } else {
        decoder->scratch = openScratch(&decoder->folder);
        if (decoder->scratch < 0) failErrno("no scratch file can be made in " + decoder->folder, errno);
    }
    for (int pass = 0; pass < decoder->passes; pass++)
        readPass(decoder, pass);
    if (!readEnd(decoder)) refuse(*decoder, decoder->message);
}

const png_byte *nextRow(Decoder *decoder) {
    const int y = decoder->next++;
    if (decoder->passes == 1) {
        const bool last = decoder->next == decoder->form.height;
        if (!readOne(decoder, decoder->bytes.data()) || (last && !readEnd(decoder))) refuse(*decoder, decoder->message);
        return decoder->bytes.data();
    }
    if (y == 0) readPasses(decoder);
    if (decoder->whole) return decoder->bytes.data() + decoder->rowBytes * static_cast<std::size_t>(y);
    moveRow(decoder, y, false);
    return decoder->bytes.data();
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
    if (!readHeader(decoder.get())) refuse(*decoder, decoder->message);
    checkForm(*decoder);
    if (!beginRows(decoder.get())) refuse(*decoder, decoder->message);
    checkForm(*decoder);
    const Form form = decoder->form;
    decoder->bytes.resize(decoder->rowBytes);
    return {form, [decoder](std::uint32_t *row) {
                widen(nextRow(decoder.get()), samplesOfRow(decoder->form), decoder->form.bits, row);
            }};
}
