// The kinds of files that are read and written.
#include "formats.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "failure.h"
#include "scratch.h"

namespace {

struct Kind {
    Format format;
    const char *name;
    std::vector<std::string> endings;  // the usual one first
};

const std::vector<Kind> &kinds() {
    static const std::vector<Kind> all = {
        {Format::png, "PNG", {"png"}},           {Format::jpeg, "JPEG", {"jpg", "jpeg"}},
        {Format::tiff, "TIFF", {"tif", "tiff"}}, {Format::pnm, "PNM", {"pnm", "pbm", "pgm", "ppm", "pam"}},
        {Format::bmp, "BMP", {"bmp"}},
    };
    return all;
}

std::string lowered(std::string word) {
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word;
}

// Behind the last dot of the last part; empty where there is none.
std::string endingIn(const std::string &name) {
    const std::size_t dot = name.rfind('.'), slash = name.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    return lowered(name.substr(dot + 1));
}

std::shared_ptr<std::FILE> owned(std::FILE *file) {
    return {file, std::fclose};
}

// All that comes, in a file that has no name.
std::shared_ptr<std::FILE> spooled(const std::string &name, int descriptor) {
    std::FILE *const scratch = scratchStream();
    if (!scratch) failErrno(name + ": no scratch file can be made for what comes through it", errno);
    std::shared_ptr<std::FILE> file = owned(scratch);
    std::vector<char> piece(1 << 16);
    while (true) {
        const ssize_t got = ::read(descriptor, piece.data(), piece.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failErrno(name, errno);
        if (got == 0) break;
        const auto count = static_cast<std::size_t>(got);
        if (std::fwrite(piece.data(), 1, count, scratch) != count) failErrno(name + ": its scratch file", errno);
    }
    if (std::fflush(scratch) != 0) failErrno(name + ": its scratch file", errno);
    return file;
}

struct stat statusOf(const std::string &name) {
    struct stat status;
    if (::stat(name.c_str(), &status) != 0) failErrno(name, errno);
    if (S_ISDIR(status.st_mode)) fail(exitFile, name + ": is a folder, not a picture");
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) fail(exitFile, name + ": is neither a file nor a pipe");
    return status;
}

std::shared_ptr<std::FILE> opened(const std::string &name) {
    if (name == "-") {
        if (::isatty(STDIN_FILENO)) fail(exitFile, "standard input is the keyboard, and a picture is to come from it");
        return spooled("standard input", STDIN_FILENO);
    }
    const bool pipe = S_ISFIFO(statusOf(name).st_mode);
    std::FILE *const stream = std::fopen(name.c_str(), "rb");
    if (!stream) failErrno(name, errno);
    std::shared_ptr<std::FILE> file = owned(stream);
    return pipe ? spooled(name, ::fileno(stream)) : file;
}

}  // namespace

Format formatOfBytes(const unsigned char *begin, std::size_t size) {
    using namespace std::string_view_literals;
    const auto is = [&](std::string_view mark) {
        return size >= mark.size() && std::memcmp(begin, mark.data(), mark.size()) == 0;
    };
    if (is("\x89PNG\r\n\x1a\n"sv)) return Format::png;
    if (is("\xFF\xD8\xFF"sv)) return Format::jpeg;
    if (is("II*\0"sv) || is("MM\0*"sv) || is("II+\0"sv) || is("MM\0+"sv)) return Format::tiff;
    if (is("BM"sv)) return Format::bmp;
    const bool pnm = size >= 3 && begin[0] == 'P' && begin[1] >= '1' && begin[1] <= '7';
    if (pnm && (std::isspace(begin[2]) || begin[2] == '#')) return Format::pnm;
    return Format::none;
}

Format formatFromWord(const std::string &word) {
    const std::string ending = lowered(word);
    for (const Kind &kind : kinds()) {
        if (std::find(kind.endings.begin(), kind.endings.end(), ending) != kind.endings.end()) return kind.format;
    }
    return Format::none;
}

Format formatOfName(const std::string &name) {
    return formatFromWord(endingIn(name));
}

const char *endingOf(Format format) {
    for (const Kind &kind : kinds()) {
        if (kind.format == format) return kind.endings[0].c_str();
    }
    return "";
}

std::string formatsText() {
    std::string text;
    for (const Kind &kind : kinds()) {
        text += std::string(text.empty() ? "" : ", ") + kind.name + " (";
        for (const std::string &ending : kind.endings)
            text += (ending == kind.endings[0] ? "." : " .") + ending;
        text += ")";
    }
    return text;
}

OutputForm outputForm(const std::string &name, const std::string &word, int quality) {
    OutputForm form;
    form.quality = quality;
    if (!word.empty()) {
        form.format = formatFromWord(word);
        form.kind = lowered(word);
        if (form.format == Format::none) fail(exitUsage, "--format: '" + word + "' is none of " + formatsText());
    } else if (name != "-") {
        form.format = formatOfName(name);
        form.kind = endingIn(name);
        struct stat status;
        if (form.format == Format::none && ::stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
            fail(exitFile, name + ": is a folder");
        if (form.format == Format::none) {
            fail(exitUsage, name + ": what kind of file is this to be? Its ending tells: " + formatsText() +
                                "; or --format FORMAT does");
        }
    }
    return form;
}

Input openInput(const std::string &name) {
    Input input;
    input.name = name == "-" ? "standard input" : name;
    input.file = opened(name);
    struct stat status;
    if (::fstat(::fileno(input.file.get()), &status) != 0) failErrno(input.name, errno);
    input.size = static_cast<std::uint64_t>(status.st_size);
    unsigned char begin[8] = {};
    std::rewind(input.file.get());
    const std::size_t got = std::fread(begin, 1, sizeof begin, input.file.get());
    if (got == 0) {
        if (std::ferror(input.file.get())) failErrno(input.name, errno);
        fail(exitFile, input.name + ": cannot be read as a picture: it is empty");
    }
    std::rewind(input.file.get());
    input.format = formatOfBytes(begin, got);
    if (input.format == Format::none) {
        fail(exitFile, input.name + ": is none of the pictures that can be read: " + formatsText());
    }
    return input;
}

void checkInput(const std::string &name) {
    if (name == "-" || S_ISFIFO(statusOf(name).st_mode)) return;
    openInput(name);
}

RowSource readRows(const Input &input) {
    switch (input.format) {
        case Format::jpeg:
            return readJpeg(input);
        case Format::tiff:
            return readTiff(input);
        case Format::pnm:
            return readPnm(input);
        case Format::bmp:
            return readBitmapRows(input);
        default:
            return readPng(input);
    }
}

RowSource readRows(const std::string &name) {
    return readRows(openInput(name));
}

Picture readPicture(const std::string &name) {
    return pictureFromRows(readRows(name));
}

void writeRows(RowSource source, const std::string &name, const OutputForm &form) {
    NewFile file;
    beginFile(&file, name);
    if (source.form.bits == 32 && form.format != Format::tiff) source = withBits(std::move(source), 16);
    switch (form.format) {
        case Format::jpeg:
            writeJpeg(std::move(source), &file, form.quality);
            break;
        case Format::tiff:
            writeTiff(source, &file);
            break;
        case Format::pnm:
            writePnm(std::move(source), &file, form.kind);
            break;
        default:
            writePng(source, &file);
            break;
    }
    commitFile(&file);
}

void writePng(const Picture &picture, const std::string &name) {
    writeRows(rowsOf(picture), name, {});
}
