// Bitmap files: read, written, round and round; and the operations that make them. Files are built and taken apart here
// without the tool's code.
#include <cmath>
#include <filesystem>
#include <random>

#include "bitmapfile.h"
#include "toolbench.h"

using Bitmaps = Bench;

namespace {

// A ramp of grays with a step at each bit of the colours.
std::vector<std::uint32_t> colors(int count) {
    std::vector<std::uint32_t> palette;
    for (int i = 0; i < count; i++)
        palette.push_back(static_cast<std::uint32_t>(i * 0x010203 + 0x400000) & 0xFFFFFF);
    return palette;
}

std::vector<int> randomIndices(int count, int below, unsigned seed) {
    std::mt19937 generator(seed);
    std::vector<int> indices;
    for (int i = 0; i < count; i++)
        indices.push_back(static_cast<int>(generator() % static_cast<unsigned>(below)));
    return indices;
}

std::vector<std::uint16_t> samplesOf(const std::vector<int> &indices, const std::vector<std::uint32_t> &palette) {
    std::vector<std::uint16_t> samples;
    for (const int index : indices) {
        for (const int shift : {16, 8, 0})
            samples.push_back(palette[static_cast<std::size_t>(index)] >> shift & 255);
    }
    return samples;
}

}  // namespace

TEST_F(Bitmaps, PalettesOfEachSizeAreRead) {
    for (const int bits : {1, 4, 8}) {
        for (const bool topDown : {false, true}) {
            BitmapFile file;
            file.bits = bits;
            file.width = 13;
            file.height = topDown ? -5 : 5;
            file.palette = colors(1 << bits);
            const std::vector<int> indices = randomIndices(13 * 5, 1 << bits, 3);
            file.setIndices(indices);
            writeBytes("a.bmp", file.bytes());
            runLineWell("run a.bmp xor-s 0 out.png");
            const Png result = read("out.png");
            EXPECT_EQ(result.channels, 3);
            EXPECT_EQ(result.samples, samplesOf(indices, file.palette)) << bits << " bits";
        }
    }
}

TEST_F(Bitmaps, GraysAreRead) {
    for (const int bits : {1, 4, 8}) {
        for (const int entries : {1 << bits, bits > 1 ? 6 : 2}) {
            BitmapFile file;
            file.bits = bits;
            file.width = 21;
            file.height = 4;
            for (int i = 0; i < entries; i++)
                file.palette.push_back(static_cast<std::uint32_t>(i * 255 / (entries - 1)) * 0x010101);
            const std::vector<int> indices = randomIndices(21 * 4, entries, 4);
            file.setIndices(indices);
            writeBytes("a.bmp", file.bytes());
            runLineWell("run a.bmp xor-s 0 out.png");
            const Png result = read("out.png");
            EXPECT_EQ(result.channels, 1);
            EXPECT_EQ(result.bits, bits == 1 ? 1 : 8);
            for (std::size_t i = 0; i < indices.size(); i++) {
                const int gray = bits == 1 ? indices[i] : indices[i] * 255 / (entries - 1);
                ASSERT_EQ(result.samples[i], gray) << bits << " bits, " << entries << " entries";
            }
        }
    }
}

TEST_F(Bitmaps, ColoursOf24And32BitsAreRead) {
    for (const int bits : {24, 32}) {
        for (const bool topDown : {false, true}) {
            BitmapFile file;
            file.bits = bits;
            file.width = 7;
            file.height = topDown ? -3 : 3;
            const Png picture = randomPng(7, 3, bits / 8, 8, 5);
            file.setSamples(picture.samples);
            writeBytes("a.bmp", file.bytes());
            runLineWell("run a.bmp xor-s 0 out.png");
            EXPECT_EQ(read("out.png").channels, bits / 8);
            EXPECT_EQ(read("out.png").samples, picture.samples);
        }
    }
}

TEST_F(Bitmaps, AnAlphaThatIsZeroEverywhereIsNone) {
    BitmapFile file;
    file.bits = 32;
    file.width = 7;
    file.height = 3;
    Png picture = randomPng(7, 3, 4, 8, 5);
    for (std::size_t i = 3; i < picture.samples.size(); i += 4)
        picture.samples[i] = 0;
    file.setSamples(picture.samples);
    writeBytes("a.bmp", file.bytes());
    EXPECT_NE(runLineWell("info a.bmp").find("7 x 3, RGB, 8 bits"), std::string::npos);
}

TEST_F(Bitmaps, LaterHeadersAreRead) {
    for (const int header : {40, 52, 56, 108, 124}) {
        for (const int bits : {8, 16, 24, 32}) {
            BitmapFile file;
            file.headerSize = header;
            file.bits = bits;
            file.width = 5;
            file.height = 2;
            std::vector<std::uint16_t> expected;
            if (bits == 8) {
                file.palette = colors(256);
                const std::vector<int> indices = randomIndices(10, 256, 6);
                file.setIndices(indices);
                expected = samplesOf(indices, file.palette);
            } else if (bits == 16) {
                // 5, 6 and 5 bits, by masks; full and empty ones only, whose wider values are known.
                file.compression = 3;
                file.masks = {0xF800, 0x07E0, 0x001F};
                const std::uint32_t words[] = {0xF800, 0x07E0, 0x001F, 0xFFFF, 0};
                for (int i = 0; i < 10; i++) {
                    const std::uint32_t word = words[i % 5];
                    file.words.push_back(word);
                    for (const std::uint32_t mask : file.masks)
                        expected.push_back((word & mask) != 0 ? 255 : 0);
                }
            } else {
                const Png picture = randomPng(5, 2, bits / 8, 8, 7);
                file.setSamples(picture.samples);
                expected = picture.samples;
            }
            writeBytes("a.bmp", file.bytes());
            runLineWell("run a.bmp xor-s 0 out.png");
            EXPECT_EQ(read("out.png").samples, expected) << header << " bytes, " << bits << " bits";
        }
    }
}

TEST_F(Bitmaps, RunLengthsAreRead) {
    // Two rows of five: three times 1, then a literal 2, 3 (padded as all are of three up), here as runs of one.
    BitmapFile file;
    file.bits = 8;
    file.compression = 1;
    file.width = 5;
    file.height = 2;
    file.palette = colors(256);
    file.stream = {3, 1, 1, 2, 1, 3, 0, 0, 0, 5, 9, 8, 7, 6, 5, 0, 0, 0, 0, 1};
    writeBytes("a.bmp", file.bytes());
    runLineWell("run a.bmp xor-s 0 out.png");
    EXPECT_EQ(read("out.png").samples, samplesOf({9, 8, 7, 6, 5, 1, 1, 1, 2, 3}, file.palette));
}

TEST_F(Bitmaps, WhatIsWrittenIsWhatWasRead) {
    struct Kind {
        int channels, bits, fileBits;
    };
    for (const Kind kind : {Kind{1, 1, 1}, Kind{1, 8, 8}, Kind{3, 8, 24}, Kind{4, 8, 32}}) {
        const Png picture = randomPng(37, 23, kind.channels, kind.bits, 8);
        write("a.png", picture);
        runLineWell("run a.png out.bmp");
        const BitmapFile file = parseBitmap(readBytes("out.bmp"));
        EXPECT_EQ(file.bits, kind.fileBits);
        EXPECT_EQ(file.width, 37);
        EXPECT_EQ(file.height, 23);
        runLineWell("run out.bmp back.png");
        EXPECT_EQ(read("back.png").channels, kind.channels);
        EXPECT_EQ(read("back.png").bits, kind.bits);
        EXPECT_EQ(read("back.png").samples, picture.samples) << kind.fileBits << " bits";
    }
}

TEST_F(Bitmaps, WhatABitmapHasNoFormFor) {
    const Png veiled = randomPng(9, 6, 2, 8, 9);
    write("veiled.png", veiled);
    runLineWell("run veiled.png xor-s 0 out.bmp");
    runLineWell("run out.bmp xor-s 0 back.png");
    ASSERT_EQ(read("back.png").channels, 4);
    for (std::size_t i = 0; i < veiled.samples.size() / 2; i++) {
        for (std::size_t c = 0; c < 4; c++)
            ASSERT_EQ(read("back.png").samples[4 * i + c], veiled.samples[2 * i + (c == 3 ? 1 : 0)]);
    }
    const Png deep = randomPng(9, 6, 3, 16, 9);
    write("deep.png", deep);
    runLineWell("run deep.png xor-s 0 OUT.BMP");
    runLineWell("run OUT.BMP xor-s 0 back.png");
    EXPECT_EQ(read("back.png").samples, mapped(deep, [](int v) { return v >> 8; }).samples);
}

TEST_F(Bitmaps, EachFormOfAFile) {
    write("a.png", randomPng(50, 31, 3, 8, 10));
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        for (const char *palette : {"fixed", "medcut"}) {
            for (const char *dither : {"none", "fs", "jjh", "stuckey", "bayer"}) {
                runLineWell("run a.png to-bmp --bits " + std::to_string(bits) + " --palette " + palette + " --dither " +
                            dither + " out.bmp");
                const BitmapFile file = parseBitmap(readBytes("out.bmp"));
                EXPECT_EQ(file.bits, bits);
                EXPECT_LE(file.palette.size(), bits <= 8 ? std::size_t{1} << bits : 0);
                runLineWell("run a.png to-bmp --bits " + std::to_string(bits) + " --palette " + palette + " --dither " +
                            dither + " direct.png");
                runLineWell("run out.bmp xor-s 0 back.png");
                EXPECT_EQ(read("back.png").samples, read("direct.png").samples) << bits << palette << dither;
            }
        }
    }
}

TEST_F(Bitmaps, CompressedFilesHoldTheSamePixels) {
    // Broad stripes, and one row of noise for literals.
    Png picture = randomPng(61, 20, 1, 8, 11);
    for (std::size_t i = 61; i < picture.samples.size(); i++)
        picture.samples[i] = static_cast<std::uint16_t>(i / 9 % 7 * 36);
    write("a.png", picture);
    for (const int bits : {4, 8}) {
        const std::string form = "to-bmp --palette medcut --bits " + std::to_string(bits);
        runLineWell("run a.png " + form + " plain.bmp");
        runLineWell("run a.png " + form + " --rle small.bmp");
        const BitmapFile plain = parseBitmap(readBytes("plain.bmp")), small = parseBitmap(readBytes("small.bmp"));
        EXPECT_EQ(plain.compression, 0);
        EXPECT_EQ(small.compression, bits == 8 ? 1 : 2);
        EXPECT_LT(readBytes("small.bmp").size(), readBytes("plain.bmp").size());
        EXPECT_EQ(small.palette, plain.palette);
        EXPECT_EQ(small.indices(), plain.indices()) << bits << " bits";
    }
}

TEST_F(Bitmaps, ThePaletteOfAnotherFile) {
    BitmapFile other;
    other.bits = 4;
    other.width = other.height = 1;
    other.palette = {0x000000, 0xFF0000, 0xFFFFFF};
    other.setIndices({0});
    writeBytes("other.bmp", other.bytes());
    write("a.png", randomPng(30, 20, 3, 8, 12));
    runLineWell("run a.png to-bmp --bits 4 --palette other.bmp out.bmp");
    EXPECT_EQ(parseBitmap(readBytes("out.bmp")).palette, other.palette);
    runLineWell("run out.bmp xor-s 0 back.png");
    const Png result = read("back.png");
    for (std::size_t i = 0; i < result.samples.size(); i += 3) {
        const std::uint32_t color =
            static_cast<std::uint32_t>(result.samples[i] << 16 | result.samples[i + 1] << 8 | result.samples[i + 2]);
        ASSERT_TRUE(color == 0 || color == 0xFF0000 || color == 0xFFFFFF) << color;
    }
}

TEST_F(Bitmaps, BlackAndWhiteOfColours) {
    const Png gray = mapped(randomPng(40, 30, 1, 8, 13), [](int v) { return v / 2 + 60; });
    Png color = gray;
    color.channels = 3;
    color.samples.clear();
    for (const std::uint16_t sample : gray.samples)
        color.samples.insert(color.samples.end(), 3, sample);
    write("gray.png", gray);
    write("color.png", color);
    runLineWell("run gray.png to-bmp --bits 1 --dither fs gray.bmp");
    runLineWell("run color.png --bits 1 --dither fs xor-s 0 color.bmp");
    EXPECT_EQ(readBytes("gray.bmp"), readBytes("color.bmp"));
}

TEST_F(Bitmaps, FilesAsSecondPicturesAndMasks) {
    const Png picture = randomPng(20, 10, 3, 8, 14);
    write("a.png", picture);
    write("mask.png", randomPng(20, 10, 1, 1, 15));
    runLineWell("run a.png not second.bmp");
    runLineWell("run mask.png xor-s 0 mask.bmp");
    runLineWell("run a.png --mask mask.png not one.png");
    runLineWell("run a.png --mask mask.bmp copy second.bmp two.png");
    EXPECT_EQ(read("one.png").samples, read("two.png").samples);
}

TEST_F(Bitmaps, TilesAndPlanesMakeNoDifference) {
    write("a.png", randomPng(50, 31, 3, 8, 16));
    for (const char *words : {"reduce-bits 8u 3 fs 0", "reduce-bits 8u 5 jjh 30", "reduce-bits 1u 2 stuckey 0",
                              "reduce-bits 1u 2 bayer 20", "to-bmp --bits 4 --dither fs"}) {
        runLineWell(std::string("run a.png ") + words + " plain.png");
        for (const char *option : {"--tiles 16x8 ", "--planes ", "--tiles 8x16 --planes "}) {
            runLineWell(std::string("run a.png ") + option + words + " out.png");
            EXPECT_EQ(readBytes("out.png"), readBytes("plain.png")) << option << words;
        }
    }
}

TEST_F(Bitmaps, ReduceBitsByFormulas) {
    const Png picture = randomPng(33, 17, 1, 8, 17);
    write("a.png", picture);
    runLineWell("run a.png reduce-bits 1u 2 none 0 out.png");
    EXPECT_EQ(read("out.png").bits, 1);
    EXPECT_EQ(read("out.png").samples, mapped(picture, [](int v) { return v >> 7; }).samples);
    runLineWell("run a.png reduce-bits 8u 4 none 0 out.png");
    const auto step = [](int v) {
        constexpr int values[] = {0, 64, 128, 191, 255};
        return values[v * 4 / 255];
    };
    EXPECT_EQ(read("out.png").samples, mapped(picture, step).samples);
    runLineWell("run a.png reduce-bits 1u 2 bayer 0 out.png");
    constexpr int matrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    for (std::size_t i = 0; i < picture.samples.size(); i++) {
        const int v = picture.samples[i];
        const int threshold = matrix[i / 33 % 4][i % 33 % 4] * 17;
        ASSERT_EQ(read("out.png").samples[i], v > threshold || v == 255 ? 1 : 0) << i;
    }
    write("deep.png", randomPng(33, 17, 3, 16, 17));
    runLineWell("run deep.png reduce-bits 8u 256 none 0 out.png");
    EXPECT_EQ(read("out.png").bits, 8);
    EXPECT_EQ(read("out.png").samples, mapped(read("deep.png"), [](int v) { return v >> 8; }).samples);
}

TEST_F(Bitmaps, ReduceBitsKeepsTheMean) {
    Png flat = randomPng(64, 64, 1, 8, 18);
    for (const int gray : {20, 90, 128, 200}) {
        write("a.png", mapped(flat, [&](int) { return gray; }));
        for (const char *dither : {"fs", "jjh", "stuckey"}) {
            runLineWell(std::string("run a.png reduce-bits 1u 2 ") + dither + " 0 out.png");
            double sum = 0;
            for (const std::uint16_t sample : read("out.png").samples)
                sum += sample;
            EXPECT_NEAR(sum / (64 * 64) * 255, gray, 4) << dither;
        }
    }
}

TEST_F(Bitmaps, ReduceBitsWithinRegionMaskAndChannel) {
    const Png picture = randomPng(30, 20, 3, 8, 19);
    write("a.png", picture);
    write("mask.png", randomPng(30, 20, 1, 1, 20));
    runLineWell("run a.png --roi 5,4,12,9 --coi 2 --mask mask.png reduce-bits 8u 2 none 0 out.png");
    const Png result = read("out.png"), mask = read("mask.png");
    for (std::size_t i = 0; i < picture.samples.size(); i++) {
        const std::size_t x = i / 3 % 30, y = i / 90, channel = i % 3;
        const bool inside = x >= 5 && x < 17 && y >= 4 && y < 13 && channel == 1 && mask.samples[i / 3] == 1;
        const int reduced = picture.samples[i] == 255 ? 255 : picture.samples[i] >= 128 ? 128 : 0;
        ASSERT_EQ(result.samples[i], inside ? reduced : picture.samples[i]) << i;
    }
    // A channel alone becomes bits; without one the picture becomes gray.
    runLineWell("run a.png --coi 3 reduce-bits 1u 2 none 0 out.png");
    for (std::size_t i = 0; i < picture.samples.size() / 3; i++)
        ASSERT_EQ(read("out.png").samples[i], picture.samples[3 * i + 2] >> 7);
}

TEST_F(Bitmaps, WordsThatMakeNoSense) {
    write("a.png", randomPng(8, 8, 3, 8, 21));
    struct Case {
        const char *words;
        int code;
        const char *message;
    };
    const Case cases[] = {
        {"not --bits 5 out.bmp", 2, "--bits: wants 1, 4, 8, 16, 24 or 32, not '5'"},
        {"not --rle out.bmp", 2, "--rle: wants --bits 4 or --bits 8"},
        {"not --rle --bits 24 out.bmp", 2, "--rle: wants --bits 4 or --bits 8"},
        {"not --dither floyd out.bmp", 2, "--dither: wants none, fs, jjh, stuckey or bayer, not 'floyd'"},
        {"not --bits 8 out.png", 2, "none is made here (see: to-bmp)"},
        {"to-bmp --bits 8 --palette none.bmp out.bmp", 2, "--palette: 'none.bmp' is neither fixed nor medcut"},
        {"to-bmp --bits 8 --palette a.png out.bmp", 2, "--palette: a.png is no bitmap file"},
        {"reduce-bits 9u 2 fs 0 out.png", 2, "reduce-bits: DEPTH must be 1u, 8u, 8s, 16u, 16s, 32s or 32f, not '9u'"},
        {"reduce-bits 8u 2 floyd 0 out.png", 2, "reduce-bits: DITHER must be none, fs, jjh, stuckey or bayer"},
        {"reduce-bits 8u 2 fs out.png", 2, "reduce-bits: NOISE is missing"},
        {"reduce-bits 8u 1 fs 0 out.png", 2, "reduce-bits: LEVELS must be a whole number from 2, not '1'"},
        {"reduce-bits 8u 257 fs 0 out.png", 1, "moxReduceBits: You incorrectly have set an amount of levels"},
        {"reduce-bits 8u 2 fs 101 out.png", 2, "reduce-bits: NOISE must be a whole number from 0 to 100, not '101'"},
        {"reduce-bits 16u 2 fs 0 out.png", 1, "moxReduceBits: ((srcImage->depth& MOX_DEPTH_MASK) < "},
        {"--depth 8s reduce-bits 8u 2 fs 0 out.png", 1, "moxReduceBits: !( ( srcImage->depth == MOX_DEPTH_32S ) "},
        {"--depth 32f to-bmp out.bmp", 1, "moxConvertToDIB: ( (image->depth != 1) && "},
    };
    const std::vector<std::string> before = files();
    for (const Case &one : cases) {
        const Outcome outcome = runLine(std::string("run a.png ") + one.words);
        EXPECT_EQ(outcome.code, one.code) << one.words << "\n" << outcome.err;
        EXPECT_NE(outcome.err.find(one.message), std::string::npos) << outcome.err;
        EXPECT_EQ(files(), before) << one.words;
    }
}

// Means of blocks: what the eye sees of dots from afar.
static double blockError(const Png &a, const Png &b) {
    double sum = 0;
    long count = 0;
    for (int y = 0; y + 8 <= a.height; y += 8) {
        for (int x = 0; x + 8 <= a.width; x += 8) {
            for (int c = 0; c < 3; c++) {
                double difference = 0;
                for (int i = 0; i < 64; i++) {
                    const auto at = static_cast<std::size_t>(((y + i / 8) * a.width + x + i % 8) * 3 + c);
                    difference += a.samples[at] - b.samples[at];
                }
                sum += difference / 64 * (difference / 64);
                count++;
            }
        }
    }
    return std::sqrt(sum / static_cast<double>(count));
}

TEST_F(Bitmaps, DiffusionOverThePaletteItself) {
    Png picture = randomPng(128, 96, 3, 8, 21);
    for (std::size_t i = 0; i < picture.samples.size(); i++) {
        const std::size_t pixel = i / 3, x = pixel % 128, y = pixel / 128;
        picture.samples[i] = static_cast<std::uint16_t>(i % 3 == 0   ? x * 2
                                                        : i % 3 == 1 ? y * 255 / 95
                                                                     : 255 - x - y / 2);
    }
    write("a.png", picture);
    for (const char *palette : {"fixed", "medcut"}) {
        const std::string form = std::string(" --bits 4 --palette ") + palette;
        runLineWell("run a.png to-bmp" + form + " near.png");
        runLineWell("run a.png to-bmp" + form + " --dither fs even.png");
        runLineWell("run a.png to-bmp" + form + " --diffuse own.png");
        const double near = blockError(read("near.png"), picture), even = blockError(read("even.png"), picture);
        const double own = blockError(read("own.png"), picture);
        EXPECT_LT(own * 1.4, near) << palette;
        EXPECT_LT(own * 1.4, even) << palette;
        // The same picture in fewer bytes.
        runLineWell("run a.png to-bmp --rle --diffuse" + form + " b.bmp");
        runLineWell("run b.bmp b.png");
        EXPECT_EQ(read("b.png").samples, read("own.png").samples) << palette;
    }
    EXPECT_EQ(runLine("run a.png --diffuse --dither fs --bits 4 out.bmp").code, 2);
    EXPECT_EQ(runLine("run a.png --diffuse out.bmp").code, 2);
}
