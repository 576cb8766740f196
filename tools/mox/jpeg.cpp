// JPEG files, read and written by libjpeg.
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include <jpeglib.h>

#include <jerror.h>

#include "failure.h"
#include "formats.h"
#include "memory.h"

namespace {

// A file of a few bytes may ask for the whole picture to be gone through any number of times.
constexpr int mostScans = 1000;

// The codec is left by longjmp, so everything that owns memory lives in records that begin with this one.
struct Faults {
    jpeg_error_mgr manager = {};
    std::jmp_buf leave;
    char message[JMSG_LENGTH_MAX] = "";
};

template <typename Codec>
Faults *faultsOf(Codec codec) {
    return reinterpret_cast<Faults *>(codec->err);
}

void onError(j_common_ptr codec) {
    codec->err->format_message(codec, faultsOf(codec)->message);
    std::longjmp(faultsOf(codec)->leave, 1);
}

// Where the data is wrong the codec would go on and make up what is missing. Bytes between the parts and curious marks
// of other programs do no harm.
void onMessage(j_common_ptr codec, int level) {
    const int code = codec->err->msg_code;
    const bool harmless = code == JWRN_EXTRANEOUS_DATA || code == JWRN_ADOBE_XFORM || code == JWRN_JFIF_MAJOR;
    if (level < 0 && !harmless) onError(codec);
}

void onOutput(j_common_ptr) {}

void setFaults(Faults *faults) {
    jpeg_std_error(&faults->manager);
    faults->manager.error_exit = onError;
    faults->manager.emit_message = onMessage;
    faults->manager.output_message = onOutput;
}

struct Decoder {
    Faults faults;
    jpeg_decompress_struct codec = {};
    jpeg_progress_mgr progress = {};
    Input input;
    Form form;
    std::vector<JSAMPLE> bytes;

    Decoder() = default;
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
    ~Decoder() { jpeg_destroy_decompress(&codec); }
};

void onProgress(j_common_ptr codec) {
    if (!codec->is_decompressor) return;
    const auto *decompress = reinterpret_cast<j_decompress_ptr>(codec);
    if (decompress->input_scan_number <= mostScans) return;
    std::snprintf(faultsOf(codec)->message, JMSG_LENGTH_MAX, "it has more than %d scans", mostScans);
    std::longjmp(faultsOf(codec)->leave, 1);
}

[[noreturn]] void refuse(const Input &input, const std::string &fault) {
    fail(exitFile, input.name + ": cannot be read as a JPEG picture: " + fault);
}

bool readHeader(Decoder *decoder) {
    if (setjmp(decoder->faults.leave)) return false;
    jpeg_create_decompress(&decoder->codec);
    decoder->progress.progress_monitor = onProgress;
    decoder->codec.progress = &decoder->progress;
    jpeg_stdio_src(&decoder->codec, decoder->input.file.get());
    jpeg_read_header(&decoder->codec, TRUE);
    return true;
}

bool begin(Decoder *decoder) {
    if (setjmp(decoder->faults.leave)) return false;
    decoder->codec.out_color_space = decoder->form.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_start_decompress(&decoder->codec);
    return true;
}

bool readOne(Decoder *decoder) {
    if (setjmp(decoder->faults.leave)) return false;
    JSAMPROW row = decoder->bytes.data();
    jpeg_read_scanlines(&decoder->codec, &row, 1);
    if (decoder->codec.output_scanline == decoder->codec.output_height) jpeg_finish_decompress(&decoder->codec);
    return true;
}

struct Encoder {
    Faults faults;
    jpeg_compress_struct codec = {};
    std::vector<JSAMPLE> bytes;

    Encoder() = default;
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;
    ~Encoder() { jpeg_destroy_compress(&codec); }
};

bool start(Encoder *encoder, const Form &form, std::FILE *stream, int quality) {
    if (setjmp(encoder->faults.leave)) return false;
    jpeg_compress_struct *codec = &encoder->codec;
    jpeg_create_compress(codec);
    jpeg_stdio_dest(codec, stream);
    codec->image_width = static_cast<JDIMENSION>(form.width);
    codec->image_height = static_cast<JDIMENSION>(form.height);
    codec->input_components = form.channels;
    codec->in_color_space = form.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(codec);
    jpeg_set_quality(codec, quality, TRUE);
    jpeg_start_compress(codec, TRUE);
    return true;
}

bool writeOne(Encoder *encoder, bool last) {
    if (setjmp(encoder->faults.leave)) return false;
    JSAMPROW row = encoder->bytes.data();
    jpeg_write_scanlines(&encoder->codec, &row, 1);
    if (last) jpeg_finish_compress(&encoder->codec);
    return true;
}

// There is no alpha in the file: one that hides nothing may go, any other may not go without a word.
RowSource withoutAlpha(RowSource source, const std::string &name) {
    if (!hasAlpha(source.form.channels)) return source;
    const Form from = source.form;
    RowSource checked = source;
    checked.next = [next = std::move(source.next), from, name, y = 0](std::uint32_t *row) mutable {
        next(row);
        for (int x = 0; x < from.width; x++) {
            if (row[(x + 1) * from.channels - 1] == fullValue(from.bits)) continue;
            fail(exitFile, name + ": a JPEG picture has no transparency, and this one has it at " + std::to_string(x) +
                               ", " + std::to_string(y) + " (see: mox list, flatten)");
        }
        y++;
    };
    return withChannels(std::move(checked), from.channels - 1);
}

// What comes in several scans, as a progressive picture does, is put together in memory, two bytes a sample.
void checkScans(const Input &input, const jpeg_decompress_struct &codec) {
    if (!jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&codec))) return;
    std::uint64_t bytes = 0;
    for (int c = 0; c < codec.num_components; c++) {
        const jpeg_component_info &part = codec.comp_info[c];
        bytes += std::uint64_t{part.width_in_blocks} * part.height_in_blocks * sizeof(JBLOCK);
    }
    if (bytes <= pixelMemory() / 2) return;
    refuse(input, tooLargeText("what comes in several scans", bytes * 2));
}

}  // namespace

RowSource readJpeg(const Input &input) {
    const auto decoder = std::make_shared<Decoder>();
    decoder->input = input;
    setFaults(&decoder->faults);
    decoder->codec.err = &decoder->faults.manager;
    if (!readHeader(decoder.get())) refuse(input, decoder->faults.message);
    const jpeg_decompress_struct &codec = decoder->codec;
    const J_COLOR_SPACE space = codec.jpeg_color_space;
    if (space != JCS_GRAYSCALE && space != JCS_RGB && space != JCS_YCbCr)
        refuse(input, "its colours are for print (CMYK); gray and RGB are read");
    decoder->form = {0, 0, space == JCS_GRAYSCALE ? 1 : 3, 8, false};
    checkSize(input.name + ": cannot be read as a JPEG picture", codec.image_width, codec.image_height,
              decoder->form.channels);
    checkScans(input, codec);
    decoder->form.width = static_cast<int>(codec.image_width);
    decoder->form.height = static_cast<int>(codec.image_height);
    decoder->bytes.resize(samplesOfRow(decoder->form));
    return {decoder->form, [decoder, begun = false](std::uint32_t *row) mutable {
                const bool done = (begun || begin(decoder.get())) && readOne(decoder.get());
                if (!done) refuse(decoder->input, decoder->faults.message);
                begun = true;
                for (std::size_t i = 0; i < decoder->bytes.size(); i++)
                    row[i] = decoder->bytes[i];
            }};
}

void writeJpeg(RowSource source, NewFile *file, int quality) {
    source = withBits(withoutAlpha(std::move(source), file->name), 8);
    const Form form = source.form;
    if (form.width > JPEG_MAX_DIMENSION || form.height > JPEG_MAX_DIMENSION)
        fail(exitFile,
             file->name + ": a JPEG picture has at most " + std::to_string(JPEG_MAX_DIMENSION) + " pixels a side");
    Encoder encoder;
    setFaults(&encoder.faults);
    encoder.codec.err = &encoder.faults.manager;
    const auto check = [&](bool done) {
        if (!done) fail(exitFile, file->name + ": cannot be written: " + encoder.faults.message);
    };
    std::vector<std::uint32_t> row(samplesOfRow(form));
    encoder.bytes.resize(row.size());
    check(start(&encoder, form, file->stream, quality));
    for (int y = 0; y < form.height; y++) {
        source.next(row.data());
        for (std::size_t i = 0; i < row.size(); i++)
            encoder.bytes[i] = static_cast<JSAMPLE>(row[i]);
        check(writeOne(&encoder, y == form.height - 1));
    }
}
