// Pictures and words that mean harm, or nothing: an error, and never a crash.
#include <zlib.h>

#include <filesystem>
#include <random>

#include "toolbench.h"

namespace {

class Hostile : public Bench {
  protected:
    // Whatever the file holds, it is a picture or it is refused. A signal, or a report of a sanitizer, is neither.
    void expectOrderly(const std::string &bytes, const std::string &what) {
        writeBytes("evil.png", bytes);
        const Outcome outcome = run({"run", "evil.png", "not", "out.png"});
        if (outcome.code != 0) {
            EXPECT_EQ(outcome.code, 3) << what << ": " << outcome.err;
            EXPECT_TRUE(outcome.err.starts_with("mox: evil.png: cannot be read as a PNG picture: ") ||
                        outcome.err.starts_with("mox: evil.png: is none of the pictures that can be read: PNG"))
                << what << ": " << outcome.err;
        }
    }

    void expectRefused(const std::string &bytes, const std::string &what) {
        writeBytes("evil.png", bytes);
        std::filesystem::remove(path("out.png"));
        const Outcome outcome = run({"run", "evil.png", "not", "out.png"});
        EXPECT_EQ(outcome.code, 3) << what << ": " << outcome.err;
        EXPECT_FALSE(exists("out.png")) << what;
    }

    std::string validFile(int channels, int bits, bool interlaced = false) {
        Png picture = randomPng(20, 14, channels, bits, 9);
        picture.interlaced = interlaced;
        write("valid.png", picture);
        return readBytes("valid.png");
    }
};

std::string bigEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>((value >> shift) & 0xFF);
    return bytes;
}

std::string chunk(const std::string &type, const std::string &data) {
    const std::string body = type + data;
    const uLong sum = crc32(0, reinterpret_cast<const Bytef *>(body.data()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<std::uint32_t>(data.size())) + body + bigEndian(static_cast<std::uint32_t>(sum));
}

std::string deflated(const std::string &data) {
    uLongf length = compressBound(static_cast<uLong>(data.size()));
    std::string bytes(length, '\0');
    compress(reinterpret_cast<Bytef *>(bytes.data()), &length, reinterpret_cast<const Bytef *>(data.data()),
             static_cast<uLong>(data.size()));
    bytes.resize(length);
    return bytes;
}

const std::string signature = "\x89PNG\r\n\x1a\n";

// A file with right check sums, whatever the header claims.
std::string fileOf(std::uint32_t width, std::uint32_t height, int bits, int type, int interlace,
                   const std::string &rows) {
    std::string header = bigEndian(width) + bigEndian(height);
    for (const int byte : {bits, type, 0, 0, interlace})
        header += static_cast<char>(byte);
    return signature + chunk("IHDR", header) + chunk("IDAT", deflated(rows)) + chunk("IEND", "");
}

}  // namespace

TEST_F(Hostile, CutAnywhere) {
    const std::string whole = validFile(3, 8);
    for (std::size_t length = 0; length + 12 < whole.size(); length += length < 80 ? 1 : 37) {
        expectRefused(whole.substr(0, length), "cut to " + std::to_string(length));
    }
}

TEST_F(Hostile, BytesChanged) {
    std::mt19937 generator(77);
    for (const bool interlaced : {false, true}) {
        const std::string whole = validFile(4, 16, interlaced);
        for (int round = 0; round < 60; round++) {
            std::string bytes = whole;
            for (int i = 0; i < 3; i++)
                bytes[generator() % bytes.size()] = static_cast<char>(generator());
            expectOrderly(bytes, "round " + std::to_string(round));
        }
    }
}

TEST_F(Hostile, HeadersThatLie) {
    const std::string rows(2000, '\0');
    const std::uint32_t sizes[] = {0, 1, 5, 20000, 65536, 1000000, 0x7FFFFFFF, 0x80000000u, 0xFFFFFFFFu};
    for (const std::uint32_t width : sizes) {
        for (const std::uint32_t height : sizes) {
            expectOrderly(fileOf(width, height, 8, 2, 0, rows), std::to_string(width) + " x " + std::to_string(height));
        }
    }
    for (int bits = 0; bits <= 32; bits = bits < 2 ? bits + 1 : bits * 2) {
        for (int type = 0; type <= 7; type++) {
            for (int interlace = 0; interlace <= 2; interlace++) {
                expectOrderly(fileOf(9, 7, bits, type, interlace, rows),
                              std::to_string(bits) + " bits of type " + std::to_string(type));
            }
        }
    }
}

TEST_F(Hostile, TooLargeIsRefusedBeforeMemoryIsTaken) {
    expectRefused(fileOf(100000, 100000, 16, 6, 0, "x"), "80 GB");
    writeBytes("evil.png", fileOf(1000000, 1000000, 8, 0, 1, "x"));
    EXPECT_NE(run({"info", "evil.png"}).err.find("the file is too short for a picture of 1000000 x 1000000"),
              std::string::npos);
}

TEST_F(Hostile, PaletteIndicesBeyondThePalette) {
    std::string header = bigEndian(4) + bigEndian(1);
    for (const int byte : {8, 3, 0, 0, 0})
        header += static_cast<char>(byte);
    const std::string rows = std::string("\0\0\1\xC8\xFF", 5);
    const std::string file = signature + chunk("IHDR", header) + chunk("PLTE", std::string("\1\2\3\4\5\6", 6)) +
                             chunk("IDAT", deflated(rows)) + chunk("IEND", "");
    expectOrderly(file, "two entries");
    const std::string without = signature + chunk("IHDR", header) + chunk("IDAT", deflated(rows)) + chunk("IEND", "");
    expectRefused(without, "no palette");
}

TEST_F(Hostile, Rubbish) {
    std::mt19937 generator(78);
    for (int round = 0; round < 20; round++) {
        std::string bytes = round % 2 ? signature : "";
        for (int i = 0; i < round * 40; i++)
            bytes += static_cast<char>(generator());
        expectRefused(bytes, "round " + std::to_string(round));
    }
}

TEST_F(Hostile, Words) {
    write("a.png", randomPng(20, 14, 3, 8, 9));
    const std::vector<std::string> parts = {
        "",           "-",        "--",         "-1",           "0x",
        "%s%n",       "add-s",    "copy",       "a.png",        "--roi",
        "--roi=,,,",  "--tiles=", "--coi=",     "--mask=a.png", "flip",
        "1,2,3",      "not",      "run",        "--depth",      "\xff\xfe",
        "get-pixel",  "0",        "--from=9,9", "-2147483648",  "--roi=2147483647,2147483647,2147483647,2147483647",
        "--tiles=8x8"};
    std::mt19937 generator(79);
    for (int round = 0; round < 150; round++) {
        std::vector<std::string> words = {"run", "a.png"};
        const auto count = generator() % 6;
        for (unsigned i = 0; i < count; i++)
            words.push_back(parts[generator() % parts.size()]);
        words.emplace_back(round % 3 ? "out.png" : "--no-output");
        const Outcome outcome = run(words);
        EXPECT_GE(outcome.code, 0);
        EXPECT_LE(outcome.code, 3) << outcome.err;
        EXPECT_EQ(outcome.err.starts_with("mox: "), outcome.code > 0) << outcome.err;
        EXPECT_EQ(read("a.png").width, 20);
    }
}
