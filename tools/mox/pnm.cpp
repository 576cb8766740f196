// Portable any-maps: bits, grays and colours in letters or bytes, and with alpha in a PAM. Simple enough to be read and
// written here.
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "failure.h"
#include "formats.h"

namespace {

struct Reader {
    Input input;
    Form form;
    int kind = 0;              // the digit behind P
    std::uint32_t maxval = 1;  // what stands for white
    bool wide = false;         // two bytes a sample
    std::vector<unsigned char> bytes;
};

[[noreturn]] void refuse(const Reader &reader, const std::string &fault) {
    fail(exitFile, reader.input.name + ": cannot be read as a PNM picture: " + fault);
}

[[noreturn]] void refuseEnd(const Reader &reader) {
    std::FILE *const file = reader.input.file.get();
    if (std::ferror(file)) failErrno(reader.input.name, errno);
    refuse(reader, "the file ends in the middle of it");
}

// A comment ends with its line.
int nextCharacter(const Reader &reader) {
    int c = std::getc(reader.input.file.get());
    if (c == '#') {
        while (c != '\n' && c != '\r' && c != EOF)
            c = std::getc(reader.input.file.get());
    }
    return c;
}

// The one character behind the digits is taken, too.
std::uint32_t nextNumber(const Reader &reader, const char *what) {
    int c = nextCharacter(reader);
    while (std::isspace(c))
        c = nextCharacter(reader);
    if (c == EOF) refuseEnd(reader);
    if (!std::isdigit(c)) refuse(reader, std::string(what) + " is not a number");
    std::uint32_t number = 0;
    while (std::isdigit(c)) {
        if (number > 200000000) refuse(reader, std::string(what) + " is too large");
        number = number * 10 + static_cast<std::uint32_t>(c - '0');
        c = nextCharacter(reader);
    }
    if (!std::isspace(c) && c != EOF) refuse(reader, std::string(what) + " is not a number");
    return number;
}

std::string nextLine(const Reader &reader) {
    std::string line;
    int c = 0;
    while ((c = std::getc(reader.input.file.get())) != '\n') {
        if (c == EOF) refuseEnd(reader);
        if (line.size() > 1000) refuse(reader, "a line of its header is too long");
        line += static_cast<char>(c);
    }
    return line;
}

struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;
};

std::uint32_t numberIn(const Reader &reader, const std::string &key, const std::string &text) {
    char *end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 10);
    if (end == text.c_str() || text.find('-') != std::string::npos || number > 2000000000) {
        refuse(reader, "its " + key + " is '" + text + "'");
    }
    return static_cast<std::uint32_t>(number);
}

// A line for each thing, in any order.
Size readPamHeader(Reader *reader) {
    Size size;
    nextLine(*reader);
    while (true) {
        const std::string line = nextLine(*reader);
        const std::size_t space = line.find_first_of(" \t");
        const std::string key = line.substr(0, space);
        const std::size_t begin = space == std::string::npos ? line.size() : line.find_first_not_of(" \t", space);
        const std::string value = begin == std::string::npos ? "" : line.substr(begin);
        if (key == "ENDHDR") return size;
        if (key == "WIDTH") size.width = numberIn(*reader, key, value);
        if (key == "HEIGHT") size.height = numberIn(*reader, key, value);
        if (key == "DEPTH") size.channels = numberIn(*reader, key, value);
        if (key == "MAXVAL") reader->maxval = numberIn(*reader, key, value);
    }
}

void readHeader(Reader *reader) {
    std::FILE *const file = reader->input.file.get();
    std::getc(file);
    reader->kind = std::getc(file) - '0';
    const bool bits = reader->kind == 1 || reader->kind == 4;
    Size size;
    if (reader->kind == 7) {
        size = readPamHeader(reader);
    } else {
        size.width = nextNumber(*reader, "its width");
        size.height = nextNumber(*reader, "its height");
        size.channels = reader->kind == 3 || reader->kind == 6 ? 3 : 1;
        if (!bits) reader->maxval = nextNumber(*reader, "its largest value");
    }
    if (size.width < 1 || size.height < 1)
        refuse(*reader, "its size is " + std::to_string(size.width) + " x " + std::to_string(size.height));
    if (size.channels < 1 || size.channels > 4)
        refuse(*reader, "it has " + std::to_string(size.channels) + " channels");
    if (reader->maxval < 1 || reader->maxval > 65535)
        refuse(*reader, "its largest value is " + std::to_string(reader->maxval) + ", and not from 1 to 65535");
    reader->wide = reader->maxval > 255;
    const bool bitonal = reader->maxval == 1 && size.channels == 1;
    reader->form = {0, 0, static_cast<int>(size.channels), bitonal ? 1 : reader->wide ? 16 : 8, false};
    checkSize(reader->input.name + ": cannot be read as a PNM picture", size.width, size.height, reader->form.channels);
    reader->form.width = static_cast<int>(size.width);
    reader->form.height = static_cast<int>(size.height);
}

std::size_t bytesOfRow(const Reader &reader) {
    const std::size_t count = samplesOfRow(reader.form);
    return reader.kind == 4 ? (count + 7) / 8 : count * (reader.wide ? 2 : 1);
}

// Told before the work where it can be told: letters may be more or fewer.
void checkLength(const Reader &reader) {
    const off_t begin = ftello(reader.input.file.get());
    if (reader.kind < 4 || begin < 0) return;
    const std::uint64_t bytes = std::uint64_t{bytesOfRow(reader)} * static_cast<unsigned>(reader.form.height);
    if (static_cast<std::uint64_t>(begin) + bytes > reader.input.size) refuseEnd(reader);
}

// In letters bits may follow one another with no space between them.
std::uint32_t nextLetterBit(const Reader &reader) {
    int c = nextCharacter(reader);
    while (std::isspace(c))
        c = nextCharacter(reader);
    if (c == EOF) refuseEnd(reader);
    if (c != '0' && c != '1') refuse(reader, "a bit is neither 0 nor 1");
    return c == '0' ? 1 : 0;
}

void readPacked(Reader *reader, std::uint32_t *row, std::size_t count) {
    const bool packed = reader->kind == 4;
    const std::size_t bytes = bytesOfRow(*reader);
    reader->bytes.resize(bytes);
    const unsigned char *from = reader->bytes.data();
    if (std::fread(reader->bytes.data(), 1, bytes, reader->input.file.get()) != bytes) refuseEnd(*reader);
    for (std::size_t i = 0; i < count; i++) {
        if (packed) {
            row[i] = ((from[i / 8] >> (7 - i % 8)) & 1u) ^ 1u;  // a bit that is set is black
        } else {
            row[i] = reader->wide ? static_cast<std::uint32_t>(from[2 * i] << 8 | from[2 * i + 1]) : from[i];
        }
    }
}

void readRow(Reader *reader, std::uint32_t *row) {
    const std::size_t count = samplesOfRow(reader->form);
    if (reader->kind >= 4) {
        readPacked(reader, row, count);
    } else {
        for (std::size_t i = 0; i < count; i++)
            row[i] = reader->kind == 1 ? nextLetterBit(*reader) : nextNumber(*reader, "a sample");
    }
    const unsigned full = fullValue(reader->form.bits);
    for (std::size_t i = 0; i < count; i++) {
        if (row[i] > reader->maxval) refuse(*reader, "a sample is larger than its largest value");
        row[i] = rescale(row[i], reader->maxval, full);
    }
}

// The kind that a picture becomes: 4 bits, 5 grays, 6 colours, 7 with alpha. What does not fit is refused rather than
// changed without a word.
int kindOf(const Form &form, const std::string &kind, const std::string &name) {
    const std::string what = channelsText(form.channels) + " of " + std::to_string(form.bits) + " bits";
    const auto refuseFor = [&](const char *text) {
        fail(exitFile, name + ": is for " + text + ", and the picture is " + what);
    };
    if (kind == "pam") return 7;
    if (hasAlpha(form.channels)) refuseFor("pictures without alpha (.pam has it)");
    if (kind == "pbm" && (form.channels != 1 || form.bits != 1)) refuseFor("bits (see: mox list, depth)");
    if (kind == "pgm" && form.channels != 1) refuseFor("grays (see: mox list, gray)");
    if (kind == "ppm" || form.channels == 3) return 6;
    return form.bits == 1 && kind != "pgm" ? 4 : 5;
}

std::string headerOf(const Form &form, int kind) {
    const std::string width = std::to_string(form.width), height = std::to_string(form.height);
    const std::string maxval = std::to_string(fullValue(form.bits));
    if (kind == 4) return "P4\n" + width + " " + height + "\n";
    if (kind < 7) return std::string(kind == 5 ? "P5\n" : "P6\n") + width + " " + height + "\n" + maxval + "\n";
    std::string type = form.bits == 1 ? "BLACKANDWHITE" : form.channels > 2 ? "RGB" : "GRAYSCALE";
    if (hasAlpha(form.channels)) type += "_ALPHA";
    return "P7\nWIDTH " + width + "\nHEIGHT " + height + "\nDEPTH " + std::to_string(form.channels) + "\nMAXVAL " +
           maxval + "\nTUPLTYPE " + type + "\nENDHDR\n";
}

void pack(const std::vector<std::uint32_t> &row, int kind, int bits, std::vector<unsigned char> *bytes) {
    bytes->clear();
    if (kind == 4) bytes->resize((row.size() + 7) / 8);
    for (std::size_t i = 0; i < row.size(); i++) {
        if (kind == 4) {
            if (row[i] == 0) (*bytes)[i / 8] = static_cast<unsigned char>((*bytes)[i / 8] | 0x80u >> (i % 8));
            continue;
        }
        if (bits == 16) bytes->push_back(static_cast<unsigned char>(row[i] >> 8));
        bytes->push_back(static_cast<unsigned char>(row[i]));
    }
}

}  // namespace

RowSource readPnm(const Input &input) {
    const auto reader = std::make_shared<Reader>();
    reader->input = input;
    readHeader(reader.get());
    checkLength(*reader);
    return {reader->form, [reader](std::uint32_t *row) { readRow(reader.get(), row); }};
}

void writePnm(RowSource source, NewFile *file, const std::string &wanted) {
    const int kind = kindOf(source.form, wanted, file->name);
    if (kind == 6) source = withChannels(std::move(source), 3);
    const Form form = source.form;
    const std::string header = headerOf(form, kind);
    std::vector<std::uint32_t> row(samplesOfRow(form));
    std::vector<unsigned char> bytes(header.begin(), header.end());
    const auto put = [&] {
        if (std::fwrite(bytes.data(), 1, bytes.size(), file->stream) != bytes.size()) failErrno(file->name, errno);
    };
    put();
    for (int y = 0; y < form.height; y++) {
        source.next(row.data());
        pack(row, kind, form.bits, &bytes);
        put();
    }
}
