// Bitmap files that mean harm, or were cut: an error that says so, and never a crash.
#include <filesystem>
#include <random>

#include "bitmapfile.h"
#include "toolbench.h"

namespace {

class HostileBitmap : public Bench {
  protected:
    // Whatever the file holds, it is a picture or it is refused. A signal, or a report of a sanitizer, is neither.
    void expectOrderly(const std::string &bytes, const std::string &what) {
        writeBytes("evil.bmp", bytes);
        const Outcome outcome = run({"info", "evil.bmp"});
        if (outcome.code == 0) return;
        EXPECT_EQ(outcome.code, 3) << what << ": " << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("mox: evil.bmp: cannot be read as a ")) << what << ": " << outcome.err;
    }

    void expectRefused(const std::string &bytes, const std::string &message) {
        writeBytes("evil.bmp", bytes);
        const Outcome outcome = run({"run", "evil.bmp", "not", "out.png"});
        EXPECT_EQ(outcome.code, 3) << message;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err << "wanted: " << message;
        EXPECT_FALSE(exists("out.png")) << message;
    }
};

BitmapFile validBitmap(int bits, int compression) {
    BitmapFile file;
    file.bits = bits;
    file.compression = compression;
    file.width = 12;
    file.height = 6;
    if (bits <= 8) {
        for (int i = 0; i < 1 << bits; i++)
            file.palette.push_back(static_cast<std::uint32_t>(i * 0x030201));
    }
    for (int i = 0; i < 72; i++)
        file.words.push_back(static_cast<std::uint32_t>(i) * 2654435761u >> (32 - bits));
    if (compression == 1 || compression == 2) {
        for (int y = 0; y < 6; y++)
            file.stream.insert(file.stream.end(), {9, 0x12, 0, 3, 0x45, 0x67, compression == 1 ? 0x8 : 0, 0, 0, 0});
        if (compression == 2) {
            file.stream.clear();
            for (int y = 0; y < 6; y++)
                file.stream.insert(file.stream.end(), {9, 0x12, 0, 3, 0x45, 0x60, 0, 0});
        }
        file.stream.insert(file.stream.end(), {0, 1});
    }
    if (compression == 3) file.masks = {0xFF0000, 0xFF00, 0xFF};
    return file;
}

// A four-byte field of the file changed.
std::string with(std::string bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; i++)
        bytes[at + i] = static_cast<char>(value >> 8 * i);
    return bytes;
}

constexpr std::size_t fileSize = 2, offset = 10, headerSize = 14, width = 18, height = 22, planesAndBits = 26,
                      compression = 30, imageSize = 34, used = 46;

}  // namespace

TEST_F(HostileBitmap, TheValidOnesAreRead) {
    for (const auto &[bits, form] :
         std::vector<std::pair<int, int>>{{1, 0}, {4, 0}, {8, 0}, {16, 0}, {24, 0}, {32, 0}, {32, 3}, {8, 1}, {4, 2}}) {
        writeBytes("a.bmp", validBitmap(bits, form).bytes());
        EXPECT_NE(runLineWell("info a.bmp").find("12 x 6"), std::string::npos) << bits << " " << form;
    }
}

TEST_F(HostileBitmap, CutAnywhere) {
    for (const auto &[bits, form] : std::vector<std::pair<int, int>>{{4, 0}, {24, 0}, {4, 2}}) {
        const std::string whole = validBitmap(bits, form).bytes();
        for (std::size_t length = 2; length < whole.size(); length += length < 60 ? 1 : 23) {
            const std::string cut = whole.substr(0, length);
            expectRefused(cut, length < 54 ? "the file is too short" : "bytes, and has " + std::to_string(length));
            // The same, where the file's own length agrees.
            if (length >= 54 && form == 0) expectRefused(with(cut, fileSize, 0), "its pixels ");
            if (length >= 54) expectOrderly(with(cut, fileSize, 0), "cut to " + std::to_string(length));
        }
    }
}

TEST_F(HostileBitmap, SizesThatLie) {
    const std::string colors = validBitmap(24, 0).bytes(), indexed = validBitmap(8, 0).bytes(),
                      small = validBitmap(8, 1).bytes();
    expectRefused(with(colors, fileSize, 0x7FFFFFFF), "it is to have 2147483647 bytes, and has ");
    expectRefused(with(colors, offset, 20), "its pixels begin inside its header or palette");
    expectRefused(with(indexed, offset, 54), "its pixels begin inside its header or palette");
    expectRefused(with(colors, offset, 0xFFFFFFF0u), "its pixels begin behind its end");
    expectRefused(with(colors, offset, 60), "its pixels have 210 of 216 bytes");
    expectRefused(with(colors, headerSize, 12), "its header has 12 bytes");
    expectRefused(with(colors, headerSize, 0xFFFFFFFFu), "its header has 4294967295 bytes");
    expectRefused(with(colors, headerSize, 124), "its pixels begin inside its header or palette");
    expectRefused(with(colors, width, 0), "its size is 0 x 6");
    expectRefused(with(colors, width, 0x80000000u), "its size is -2147483648 x 6");
    expectRefused(with(colors, height, 0), "its size is 12 x 0");
    expectRefused(with(colors, width, 13), "its pixels have 216 of 240 bytes");
    expectRefused(with(colors, height, 0x80000000u), "has more than 2147483647 pixels a side");
    expectRefused(with(colors, height, 7), "its pixels have 216 of 252 bytes");
    expectRefused(with(colors, height, static_cast<std::uint32_t>(-7)), "its pixels have 216 of 252 bytes");
    expectRefused(with(colors, width, 0x7FFFFFFF), "has rows for which --memory would have to allow ");
    expectRefused(with(indexed, used, 257), "its pixels begin inside its header or palette");
    expectRefused(with(indexed, used, 0xFFFFFFFFu), "its pixels begin inside its header or palette");
    expectRefused(with(small, imageSize, 0x7FFFFFFF), "its pixels have ");
    expectRefused(with(small, imageSize, 7), "moxTranslateDIB: ");
}

TEST_F(HostileBitmap, TheLibrarysOwnMessage) {
    const std::string colors = validBitmap(24, 0).bytes();
    expectRefused(with(colors, planesAndBits, 24 << 16 | 2), "moxTranslateDIB: (dib->biPlanes != 1) (-5, ");
    expectRefused(with(colors, planesAndBits, 2 << 16 | 1), "moxTranslateDIB: dib->biBitCount is bad (-5, ");
    expectRefused(with(colors, compression, 4), "moxTranslateDIB: (dib->biCompression != 0) && ");
    expectRefused(with(colors, compression, 1), "moxTranslateDIB: (dib->biBitCount != 8) && (dib->biCompression == 1)");
    const std::string small = validBitmap(8, 1).bytes();
    expectRefused(with(small, height, static_cast<std::uint32_t>(-6)), "moxTranslateDIB: (dib->biHeight < 0) && ");
}

TEST_F(HostileBitmap, EveryFieldWithEveryOddValue) {
    const std::uint32_t values[] = {0,      1,     2,          3,          7,          8,          31,
                                    0xFF,   0x100, 0x7FFF,     0x8000,     0x10000,    0xFFFFFF,   0x7FFFFFFF,
                                    0xFFFF, 16,    0x80000000, 0xFFFFFFFF, 0xFFFFFFFA, 0x00200001, 0x00040001};
    for (const auto &[bits, form] : std::vector<std::pair<int, int>>{{4, 0}, {32, 3}, {8, 1}}) {
        const std::string whole = validBitmap(bits, form).bytes();
        for (const std::size_t at : {fileSize, offset, headerSize, width, height, planesAndBits, compression, imageSize,
                                     used, std::size_t{54}}) {
            for (const std::uint32_t value : values)
                expectOrderly(with(whole, at, value), std::to_string(at) + " is " + std::to_string(value));
        }
    }
}

TEST_F(HostileBitmap, BytesChanged) {
    std::mt19937 generator(80);
    for (const auto &[bits, form] : std::vector<std::pair<int, int>>{{1, 0}, {8, 1}, {4, 2}, {32, 3}}) {
        const std::string whole = validBitmap(bits, form).bytes();
        for (int round = 0; round < 60; round++) {
            std::string bytes = whole;
            for (int i = 0; i < 3; i++)
                bytes[2 + generator() % (bytes.size() - 2)] = static_cast<char>(generator());
            expectOrderly(bytes, "round " + std::to_string(round));
        }
        // Streams are taken at their word further in than headers.
        for (int round = 0; round < 60 && form != 0; round++) {
            std::string bytes = whole;
            const std::size_t pixels = whole.size() - static_cast<std::size_t>(validBitmap(bits, form).stream.size());
            if (form == 3) break;
            for (int i = 0; i < 3; i++)
                bytes[pixels + generator() % (bytes.size() - pixels)] = static_cast<char>(generator() % 14);
            expectOrderly(bytes, "stream, round " + std::to_string(round));
        }
    }
}

TEST_F(HostileBitmap, AFileThatOnlyBeginsLikeOne) {
    expectRefused("BM", "the file is too short");
    expectRefused("BM" + std::string(200, '\xFF'), "cannot be read as a bitmap: ");
    expectRefused("B", "is none of the pictures that can be read");
}
