// A workbench for tests of the tool.
#include "toolbench.h"

#include <fcntl.h>
#include <png.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace fs = std::filesystem;

void Bench::SetUp() {
    std::string pattern = (fs::temp_directory_path() / "mox-test-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder = pattern;
}

void Bench::TearDown() {
    std::error_code error;
    fs::remove_all(folder, error);
}

static std::string slurp(const std::string &name) {
    std::ifstream stream(name, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

static void redirect(const std::string &name, int descriptor) {
    const int file = ::open(name.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    if (file < 0 || ::dup2(file, descriptor) < 0) ::_exit(126);
    ::close(file);
}

Outcome Bench::run(const std::vector<std::string> &words, const std::function<void()> &prepare) const {
    const std::string outName = folder + "-out";
    const std::string errName = folder + "-err";
    std::vector<std::string> copies = {"mox"};
    copies.insert(copies.end(), words.begin(), words.end());
    std::vector<char *> arguments;
    for (std::string &word : copies)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    const pid_t child = ::fork();
    if (child == 0) {
        const int nothing = ::open("/dev/null", O_RDONLY);
        ::dup2(nothing, STDIN_FILENO);
        redirect(outName, STDOUT_FILENO);
        redirect(errName, STDERR_FILENO);
        if (::chdir(folder.c_str()) != 0) ::_exit(126);
        if (prepare) prepare();
        ::alarm(120);  // a tool that hangs is ended by a signal
        ::execv(MOX_TOOL_PATH, arguments.data());
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage = {};
    EXPECT_EQ(::wait4(child, &status, 0, &usage), child);
    Outcome outcome;
    outcome.peak = usage.ru_maxrss;
    if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
    outcome.out = slurp(outName);
    outcome.err = slurp(errName);
    fs::remove(outName);
    fs::remove(errName);
    return outcome;
}

std::string Bench::runWell(const std::vector<std::string> &words) const {
    const Outcome outcome = run(words);
    std::string line;
    for (const std::string &word : words)
        line += " " + word;
    EXPECT_EQ(outcome.code, 0) << line << "\n" << outcome.err;
    EXPECT_EQ(outcome.err, "") << line;
    return outcome.out;
}

Outcome Bench::runLine(const std::string &line) const {
    return run(split(line));
}

std::string Bench::runLineWell(const std::string &line) const {
    return runWell(split(line));
}

bool Bench::exists(const std::string &name) const {
    return fs::exists(path(name));
}

std::vector<std::string> Bench::files() const {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void Bench::writeBytes(const std::string &name, const std::string &bytes) const {
    std::ofstream stream(path(name), std::ios::binary);
    stream << bytes;
    ASSERT_TRUE(stream.good()) << name;
}

std::string Bench::readBytes(const std::string &name) const {
    return slurp(path(name));
}

static int colorTypeOf(const Png &picture) {
    if (picture.palette) return PNG_COLOR_TYPE_PALETTE;
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                             PNG_COLOR_TYPE_RGB_ALPHA};
    return types[picture.channels - 1];
}

// The palette of these tests: entry i is (i, 255 - i, 7 i).
static void writePalette(png_structp png, png_infop info, const Png &picture) {
    std::vector<png_color> colors(std::size_t{1} << picture.bits);
    for (std::size_t i = 0; i < colors.size(); i++) {
        colors[i] = {static_cast<png_byte>(i), static_cast<png_byte>(255 - i), static_cast<png_byte>(7 * i)};
    }
    png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
}

void Bench::write(const std::string &name, const Png &picture) const {
    std::FILE *file = std::fopen(path(name).c_str(), "wb");
    ASSERT_NE(file, nullptr) << name;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height),
                 picture.bits, colorTypeOf(picture), picture.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (picture.palette) writePalette(png, info, picture);
    png_byte hidden = 0;
    png_color_16 none = {};
    if (picture.transparent) png_set_tRNS(png, info, &hidden, 1, picture.palette ? nullptr : &none);
    png_write_info(png, info);
    png_set_packing(png);
    const std::size_t rowSamples = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.channels);
    const std::size_t bytes = picture.bits == 16 ? 2 : 1;
    std::vector<png_byte> pixels(rowSamples * bytes * static_cast<std::size_t>(picture.height));
    for (std::size_t i = 0; i < picture.samples.size(); i++) {
        if (bytes == 2) pixels[2 * i] = static_cast<png_byte>(picture.samples[i] >> 8);
        pixels[bytes * i + bytes - 1] = static_cast<png_byte>(picture.samples[i]);
    }
    std::vector<png_bytep> rows;
    for (int y = 0; y < picture.height; y++)
        rows.push_back(pixels.data() + static_cast<std::size_t>(y) * rowSamples * bytes);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

Png Bench::read(const std::string &name) const {
    Png picture;
    std::FILE *file = std::fopen(path(name).c_str(), "rb");
    EXPECT_NE(file, nullptr) << name;
    if (!file) return picture;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    picture.width = static_cast<int>(png_get_image_width(png, info));
    picture.height = static_cast<int>(png_get_image_height(png, info));
    picture.channels = png_get_channels(png, info);
    picture.bits = png_get_bit_depth(png, info);
    picture.palette = png_get_color_type(png, info) == PNG_COLOR_TYPE_PALETTE;
    png_set_packing(png);
    std::vector<png_byte> row(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.channels) * 2);
    for (int y = 0; y < picture.height; y++) {
        png_read_row(png, row.data(), nullptr);
        for (std::size_t i = 0; i < row.size() / 2; i++) {
            picture.samples.push_back(
                picture.bits == 16 ? static_cast<std::uint16_t>((row[2 * i] << 8) | row[2 * i + 1]) : row[i]);
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return picture;
}

Png randomPng(int width, int height, int channels, int bits, unsigned seed) {
    std::mt19937 generator(seed);
    Png picture;
    picture.width = width;
    picture.height = height;
    picture.channels = channels;
    picture.bits = bits;
    const int count = width * height * channels;
    for (int i = 0; i < count; i++)
        picture.samples.push_back(static_cast<std::uint16_t>(generator() & ((1u << bits) - 1)));
    return picture;
}

Png mapped(const Png &png, const std::function<int(int)> &change) {
    Png result = png;
    for (std::uint16_t &sample : result.samples)
        sample = static_cast<std::uint16_t>(change(sample));
    return result;
}

std::vector<std::string> split(const std::string &line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    std::string word;
    while (stream >> word)
        words.push_back(word);
    return words;
}

int clamped(long value, int high) {
    return static_cast<int>(std::clamp(value, 0L, static_cast<long>(high)));
}
