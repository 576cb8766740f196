// TIFF files written by libtiff: strips, deflated, at 1, 8, 16 and 32 bits.
#include "tifffile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "failure.h"
#include "formats.h"

namespace {

void setTags(TIFF *tiff, const Form &form) {
    const bool color = form.channels > 2;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(form.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(form.height));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.channels);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT,
                 form.bits < 32 ? SAMPLEFORMAT_UINT
                 : form.real    ? SAMPLEFORMAT_IEEEFP
                                : SAMPLEFORMAT_INT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, color ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (hasAlpha(form.channels)) {
        const std::uint16_t straight = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &straight);
    }
    if (TIFFIsCODECConfigured(COMPRESSION_ADOBE_DEFLATE)) {
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        if (form.bits >= 8)
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, form.real ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
}

void pack(const std::vector<std::uint32_t> &row, int bits, unsigned char *to) {
    if (bits == 1) std::fill_n(to, (row.size() + 7) / 8, static_cast<unsigned char>(0));
    for (std::size_t i = 0; i < row.size(); i++) {
        const auto half = static_cast<std::uint16_t>(row[i]);
        if (bits == 1) {
            if (row[i] != 0) to[i / 8] = static_cast<unsigned char>(to[i / 8] | 0x80u >> (i % 8));
        } else if (bits == 8) {
            to[i] = static_cast<unsigned char>(row[i]);
        } else if (bits == 16) {
            std::memcpy(to + 2 * i, &half, sizeof half);
        } else {
            std::memcpy(to + 4 * i, &row[i], sizeof row[i]);
        }
    }
}

}  // namespace

void writeTiff(const RowSource &source, NewFile *file) {
    const Form form = source.form;
    tiffClearFault();
    errno = 0;
    TiffHandle handle;
    // Offsets of 32 bits end at 4 GB; how large the file will be is not known before.
    constexpr std::uint64_t largestUsual = 4000000000;
    const std::uint64_t all =
        std::uint64_t{samplesOfRow(form)} * static_cast<unsigned>(form.bits) / 8 * static_cast<unsigned>(form.height);
    openTiff(&handle, file->stream, file->name, all > largestUsual ? "w8" : "w");
    const auto check = [&](bool done) {
        if (done) return;
        const std::string fault = tiffFault();
        fail(exitFile, file->name +
                           ": cannot be written: " + (errno != 0 ? std::strerror(errno) + std::string("; ") : "") +
                           (fault.empty() ? "libtiff does not say why" : fault));
    };
    check(handle.tiff != nullptr);
    setTags(handle.tiff, form);
    std::vector<std::uint32_t> row(samplesOfRow(form));
    std::vector<unsigned char> bytes(row.size() * 4);
    for (int y = 0; y < form.height; y++) {
        source.next(row.data());
        pack(row, form.bits, bytes.data());
        errno = 0;
        check(TIFFWriteScanline(handle.tiff, bytes.data(), static_cast<std::uint32_t>(y), 0) == 1);
    }
    check(TIFFFlush(handle.tiff) == 1);
}
