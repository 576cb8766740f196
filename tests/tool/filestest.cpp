// Files of every kind, there and back; pipes; and what is seen before any work.
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>

#include "toolbench.h"

namespace {

// A TIFF file as it is asked for, written by its library.
struct Tiff {
    int width = 37;
    int height = 29;
    int channels = 1;
    int bits = 8;
    int format = SAMPLEFORMAT_UINT;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int extra = -1;  // kind of the last channel
    int tile = 0;    // its side, 0 for strips
    bool apart = false;
    int compression = COMPRESSION_NONE;
};

class Files : public Bench {
  protected:
    // Sample i of the picture, in reading order, is samples[i].
    void writeTiff(const std::string &name, const Tiff &form, const std::vector<std::uint32_t> &samples) {
        TIFF *tiff = TIFFOpen(path(name).c_str(), "w");
        ASSERT_NE(tiff, nullptr);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, form.width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, form.height);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.channels);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, form.format);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form.photometric);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.apart ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        if (form.extra >= 0) {
            const auto kind = static_cast<std::uint16_t>(form.extra);
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
        }
        if (form.tile > 0) {
            TIFFSetField(tiff, TIFFTAG_TILEWIDTH, form.tile);
            TIFFSetField(tiff, TIFFTAG_TILELENGTH, form.tile);
        } else {
            TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 7);
        }
        const int planes = form.apart ? form.channels : 1, inPlane = form.apart ? 1 : form.channels;
        const int stepX = form.tile > 0 ? form.tile : form.width, stepY = form.tile > 0 ? form.tile : 7;
        for (int plane = 0; plane < planes; plane++) {
            for (int y = 0; y < form.height; y += stepY) {
                for (int x = 0; x < form.width; x += stepX)
                    writePart(tiff, form, samples, x, y, stepX, stepY, plane, inPlane);
            }
        }
        TIFFClose(tiff);
    }

    // Brings a file into another kind and back to PNG, and expects the same samples.
    void expectThereAndBack(const std::string &ending, const Png &picture) {
        write("a.png", picture);
        runLineWell("run a.png there." + ending);
        runLineWell("run there." + ending + " back.png");
        const Png back = read("back.png");
        EXPECT_EQ(back.channels, picture.channels) << ending;
        EXPECT_EQ(back.bits, picture.bits) << ending;
        EXPECT_EQ(back.samples, picture.samples) << ending;
    }

  private:
    static void writePart(TIFF *tiff, const Tiff &form, const std::vector<std::uint32_t> &samples, int left, int top,
                          int width, int height, int plane, int inPlane) {
        const int rowBytes = (width * inPlane * form.bits + 7) / 8;
        std::vector<unsigned char> bytes(static_cast<std::size_t>(rowBytes * height));
        for (int y = 0; y < std::min(height, form.height - top); y++) {
            for (int x = 0; x < std::min(width, form.width - left); x++) {
                for (int c = 0; c < inPlane; c++) {
                    const int from = ((y + top) * form.width + x + left) * form.channels + (form.apart ? plane : c);
                    put(&bytes[static_cast<std::size_t>(y * rowBytes)], x * inPlane + c, form.bits,
                        samples[static_cast<std::size_t>(from)]);
                }
            }
        }
        const auto size = static_cast<tmsize_t>(bytes.size());
        if (form.tile > 0) {
            TIFFWriteEncodedTile(tiff,
                                 TIFFComputeTile(tiff, static_cast<std::uint32_t>(left),
                                                 static_cast<std::uint32_t>(top), 0, static_cast<std::uint16_t>(plane)),
                                 bytes.data(), size);
        } else {
            const int rows = std::min(height, form.height - top);
            TIFFWriteEncodedStrip(
                tiff, TIFFComputeStrip(tiff, static_cast<std::uint32_t>(top), static_cast<std::uint16_t>(plane)),
                bytes.data(), rowBytes * rows);
        }
    }

    static void put(unsigned char *row, int index, int bits, std::uint32_t sample) {
        if (bits >= 8) {
            std::memcpy(row + index * bits / 8, &sample, static_cast<std::size_t>(bits / 8));
            return;
        }
        const int first = index * bits;
        row[first / 8] = static_cast<unsigned char>(row[first / 8] | sample << (8 - bits - first % 8));
    }
};

std::vector<std::uint32_t> samplesFor(const Tiff &form, unsigned seed) {
    std::mt19937 generator(seed);
    std::vector<std::uint32_t> samples;
    for (int i = 0; i < form.width * form.height * form.channels; i++)
        samples.push_back(
            static_cast<std::uint32_t>(form.bits == 32 ? generator() >> 1 : generator() & ((1u << form.bits) - 1)));
    return samples;
}

}  // namespace

TEST_F(Files, EveryKindThereAndBack) {
    for (const int bits : {1, 8, 16}) {
        for (int channels = 1; channels <= 4; channels++) {
            if (bits == 1 && channels > 1) continue;
            const Png picture = randomPng(37, 29, channels, bits, static_cast<unsigned>(bits + channels));
            for (const char *ending : {"tif", "tiff", "pam", "PNG"})
                expectThereAndBack(ending, picture);
            if (channels == 1 || channels == 3) expectThereAndBack("pnm", picture);
            if (channels == 1 && bits > 1) expectThereAndBack("pgm", picture);
            if (channels == 3) expectThereAndBack("ppm", picture);
            if (bits == 1) expectThereAndBack("pbm", picture);
        }
    }
}

TEST_F(Files, TiffOfEveryShapeIsRead) {
    for (const int bits : {1, 2, 4, 8, 16}) {
        for (const int channels : {1, 3}) {
            if (bits < 8 && channels > 1) continue;
            for (const int tile : {0, 16, 32}) {
                for (const bool apart : {false, true}) {
                    Tiff form;
                    form.bits = bits;
                    form.channels = channels;
                    form.photometric = channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
                    form.tile = tile;
                    form.apart = apart;
                    form.compression = tile == 16 ? COMPRESSION_LZW : COMPRESSION_NONE;
                    const std::vector<std::uint32_t> samples = samplesFor(form, 3);
                    writeTiff("a.tif", form, samples);
                    runLineWell("run a.tif out.png");
                    const Png result = read("out.png");
                    ASSERT_EQ(result.samples.size(), samples.size());
                    const std::uint32_t step = bits == 2 ? 85 : bits == 4 ? 17 : 1;
                    for (std::size_t i = 0; i < samples.size(); i++)
                        ASSERT_EQ(result.samples[i], samples[i] * step)
                            << bits << " bits, tile " << tile << " at " << i;
                }
            }
        }
    }
}

TEST_F(Files, TiffWhoseZeroIsWhite) {
    Tiff form;
    form.photometric = PHOTOMETRIC_MINISWHITE;
    const std::vector<std::uint32_t> samples = samplesFor(form, 5);
    writeTiff("a.tif", form, samples);
    runLineWell("run a.tif out.png");
    const Png result = read("out.png");
    for (std::size_t i = 0; i < samples.size(); i++)
        ASSERT_EQ(result.samples[i], 255 - samples[i]);
}

TEST_F(Files, TiffOf32BitsStaysExact) {
    for (const int format : {SAMPLEFORMAT_IEEEFP, SAMPLEFORMAT_INT, SAMPLEFORMAT_UINT}) {
        Tiff form;
        form.bits = 32;
        form.format = format;
        const std::vector<std::uint32_t> samples = samplesFor(form, 7);
        writeTiff("a.tif", form, samples);
        runLineWell("run a.tif --tiles 16x16 out.tif");
        TIFF *tiff = TIFFOpen(path("out.tif").c_str(), "r");
        ASSERT_NE(tiff, nullptr);
        std::vector<std::uint32_t> row(static_cast<std::size_t>(form.width));
        for (int y = 0; y < form.height; y++) {
            ASSERT_EQ(TIFFReadScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0), 1);
            for (int x = 0; x < form.width; x++)
                ASSERT_EQ(row[static_cast<std::size_t>(x)], samples[static_cast<std::size_t>(y * form.width + x)]);
        }
        TIFFClose(tiff);
        const bool real = format == SAMPLEFORMAT_IEEEFP;
        const std::string told = runLineWell("info a.tif");
        EXPECT_NE(told.find(real ? "32 bits a sample (floats); depth 32f" : "(whole numbers); depth 32s"),
                  std::string::npos)
            << told;
    }
}

TEST_F(Files, NumbersThatNoDepthHoldsAreRefused) {
    Tiff form;
    form.bits = 32;
    std::vector<std::uint32_t> samples = samplesFor(form, 7);
    samples.back() = 0x80000000u;
    writeTiff("a.tif", form, samples);
    const Outcome outcome = runLine("run a.tif out.tif");
    EXPECT_EQ(outcome.code, 3);
    EXPECT_NE(outcome.err.find("a sample is larger than 2147483647"), std::string::npos) << outcome.err;
    EXPECT_FALSE(exists("out.tif"));
}

TEST_F(Files, JpegIsNearAndItsQualityIsHeeded) {
    Png smooth = randomPng(64, 48, 3, 8, 1);
    for (std::size_t i = 0; i < smooth.samples.size(); i++)
        smooth.samples[i] = static_cast<std::uint16_t>(i / 3 % 64 * 3 + i % 3 * 20);
    write("a.png", smooth);
    runLineWell("run a.png --quality 95 fine.jpg");
    runLineWell("run a.png --quality 5 coarse.JPEG");
    EXPECT_GT(readBytes("fine.jpg").size(), readBytes("coarse.JPEG").size());
    runLineWell("run fine.jpg back.png");
    const Png back = read("back.png");
    ASSERT_EQ(back.samples.size(), smooth.samples.size());
    for (std::size_t i = 0; i < smooth.samples.size(); i++)
        ASSERT_NEAR(back.samples[i], smooth.samples[i], 8) << i;
    write("gray.png", randomPng(20, 10, 1, 1, 2));
    runLineWell("run gray.png gray.jpg");
    runLineWell("run gray.jpg gray-back.png");
    EXPECT_EQ(read("gray-back.png").channels, 1);
}

TEST_F(Files, TransparencyIsNotLostInSilence) {
    Png picture = randomPng(9, 7, 4, 8, 1);
    write("a.png", picture);
    const Outcome outcome = runLine("run a.png out.jpg");
    EXPECT_EQ(outcome.code, 3);
    EXPECT_NE(outcome.err.find("has no transparency, and this one has it at "), std::string::npos) << outcome.err;
    EXPECT_FALSE(exists("out.jpg"));
    EXPECT_NE(runLine("run a.png out.ppm").err.find("(.pam has it)"), std::string::npos);
    for (std::size_t i = 3; i < picture.samples.size(); i += 4)
        picture.samples[i] = 255;
    write("a.png", picture);
    runLineWell("run a.png out.jpg");
}

TEST_F(Files, ADashIsStandardInputAndOutput) {
    const Png picture = randomPng(33, 21, 3, 8, 4);
    write("a.png", picture);
    const auto pipeline = [&](const std::string &command) {
        const std::string line = "cd " + folder + " && " + command;
        return std::system(line.c_str());
    };
    const std::string tool = MOX_TOOL_PATH;
    EXPECT_EQ(pipeline("cat a.png | " + tool + " run - not - | " + tool + " run - not out.png"), 0);
    EXPECT_EQ(read("out.png").samples, picture.samples);
    EXPECT_EQ(pipeline(tool + " run a.png --format ppm - | " + tool + " run - --format tif - | cat > out.tif"), 0);
    runLineWell("run out.tif out.png");
    EXPECT_EQ(read("out.png").samples, picture.samples);
    // What is printed does not stand in the picture.
    EXPECT_EQ(pipeline(tool + " run a.png get-pixel 0 0 - 2>told.txt >out.png"), 0);
    EXPECT_EQ(read("out.png").samples, picture.samples);
    EXPECT_EQ(split(readBytes("told.txt")).size(), 1u);
    EXPECT_FALSE(exists("-"));
    const Outcome twice = runLine("run - copy - out2.png");
    EXPECT_EQ(twice.code, 2);
    EXPECT_NE(twice.err.find("only once"), std::string::npos);
    EXPECT_NE(runLine("run - out2.png").err.find("standard input: cannot be read as a picture: it is empty"),
              std::string::npos);
}

TEST_F(Files, NamedPipesWork) {
    const Png picture = randomPng(33, 21, 3, 8, 4);
    write("a.png", picture);
    for (const char *name : {"in", "out"})
        ASSERT_EQ(::mkfifo(path(name).c_str(), 0600), 0);
    const std::string line = "cd " + folder + " && (cat a.png > in & cat out > b.png & " + std::string(MOX_TOOL_PATH) +
                             " run in not --format png out; wait)";
    EXPECT_EQ(std::system(line.c_str()), 0);
    EXPECT_EQ(read("b.png").samples, mapped(picture, [](int v) { return 255 - v; }).samples);
}

TEST_F(Files, EndingsThatNobodyKnows) {
    write("a.png", randomPng(9, 7, 3, 8, 1));
    const std::vector<std::string> before = files();
    for (const char *name : {"out.gif", "out.webp", "out", "out.png.bak", "out."}) {
        const Outcome outcome = runLine(std::string("run nowhere.png not ") + name);
        EXPECT_EQ(outcome.code, 2) << name;
        EXPECT_NE(outcome.err.find(std::string(name) + ": what kind of file is this to be?"), std::string::npos);
    }
    EXPECT_EQ(runLine("run a.png not --format gif out.png").code, 2);
    EXPECT_EQ(runLine("compare a.png a.png --output diff.gif").code, 2);
    EXPECT_EQ(files(), before);
    runLineWell("run a.png --format png anything");
    EXPECT_EQ(read("anything").width, 9);
}

TEST_F(Files, WhatCanBeSeenIsSeenBeforeAnyWork) {
    write("a.png", randomPng(9, 7, 3, 8, 1));
    // A chain that would be refused by the library, had it begun.
    const auto expectBefore = [&](const std::string &line, int code, const std::string &message) {
        const Outcome outcome = runLine("run a.png add-sfp 1 " + line);
        EXPECT_EQ(outcome.code, code) << line << "\n" << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << line << "\n" << outcome.err;
    };
    expectBefore("nowhere/out.png", 3, "nowhere/out.png: the folder nowhere: No such file");
    expectBefore("a.png/out.png", 3, "a.png");
    expectBefore("add nowhere.png out.png", 3, "nowhere.png: No such file");
    expectBefore("--mask nowhere.png not out.png", 3, "nowhere.png: No such file");
    expectBefore("to-bmp --palette med out.bmp", 2, "--palette: 'med' is neither fixed nor medcut");
    expectBefore("blur 0 0 out.png", 2, "blur: X must be a whole number from 1, not '0' (blur X Y)");
    expectBefore("mirror 2 out.png", 2, "mirror: AXIS must be a whole number from -1 to 1, not '2'");
    expectBefore("erode 0 out.png", 2, "erode: N must be a whole number from 1, not '0'");
    expectBefore("median-filter 3 0 out.png", 2, "median-filter: Y must be a whole number from 1");
    expectBefore("gradient-sobel 5 out.png", 2, "gradient-sobel: N must be a whole number from 0 to 4");
    expectBefore("zoom 1/2 linear out.png", 2, "zoom: RATIO must be 1 or more, not '1/2'");
    expectBefore("decimate 3 super out.png", 2, "decimate: RATIO must be 1 or less, not '3'");
    expectBefore("zoom 2 super out.png", 2, "zoom: KIND must be nearest, linear or cubic, not 'super'");
    expectBefore("resize 30 out.png", 2, "resize: SIZE must be two sides, like 640x480, not '30'");
    expectBefore("warp 1,2,3 out.png", 2, "warp: CORNERS are four points");
    expectBefore("upright 9x9 1,2,3 out.png", 2, "upright: CORNERS are four points");
    expectBefore("remap lens:1 warp:1 linear out.png", 2, "remap: YMAP must be like lens:0.3");
    expectBefore("noise pink 1 2 3 out.png", 2, "noise: KIND is uniform or gauss");
    expectBefore("wavelet nobody out.png", 2, "no wavelet is called 'nobody'");
    expectBefore("curve 1,2,3 out.png", 2, "curve: two points are needed");
    expectBefore("flatten 1,2 out.png", 2, "flatten: COLOR must be one or three numbers");
    expectBefore("channel 5 out.png", 2, "channel: N must be a whole number from 1 to 4");
    expectBefore("get-pixel -1 0 out.png", 2, "get-pixel: X must be a whole number from 0");
    expectBefore("blur 3 3", 2, "RESULT is missing, the file to write; '3' belongs to an operation");
    expectBefore("copy a.png", 2, "RESULT is missing");
    expectBefore("--quality 50 out.png", 2, "--quality: is for JPEG pictures");
    EXPECT_NE(runLine("run").err.find("PICTURE is missing: mox run PICTURE"), std::string::npos);
    EXPECT_NE(runLine("run a.png --dept 1u not out.png").err.find("did you mean --depth? (see: mox run --help)"),
              std::string::npos);
    EXPECT_NE(runLine("run a.png blurr 3 3 out.png").err.find("did you mean blur?"), std::string::npos);
}

// Their lowest 32 bits are sizes as any.
TEST_F(Files, SizesAndRatiosThatNoIntHoldsAreRefused) {
    write("a.png", randomPng(9, 7, 3, 8, 1));
    const auto expect = [&](const std::string &line, const std::string &message) {
        const Outcome outcome = runLine("run a.png " + line + " out.png");
        EXPECT_EQ(outcome.code, 2) << line << "\n" << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << line << "\n" << outcome.err;
    };
    expect("resize 4294967297x5", "resize: SIZE must be two sides, like 640x480, not '4294967297x5'");
    expect("resize 5x-4294967291", "resize: SIZE must be two sides");
    expect("upright 4294967312x16 0,0,8,0,8,6,0,6", "upright: SIZE must be two sides from 2 on, like 640x480, not '4");
    expect("zoom 4294967298 linear", "zoom: RATIO must be like 8 or 3/2, not '4294967298'");
    expect("zoom 3/4294967298 linear", "zoom: RATIO must be like 8 or 3/2, not '3/4294967298'");
    expect("testimage 4294967312x16", "testimage: 4294967312x16 is no size");
    for (const char *line : {"resize 5x4x", "resize 5x", "resize x5", "zoom 3/ linear", "zoom 3/2/ linear"})
        expect(line, "must be");
    runLineWell("run a.png resize 5x4 zoom 3/2 linear out.png");
    EXPECT_EQ(read("out.png").width, 7);
    EXPECT_EQ(read("out.png").height, 6);
}

TEST_F(Files, TruncatedIsSaidInWords) {
    write("a.png", randomPng(40, 40, 3, 8, 1));
    for (const char *ending : {"png", "jpg", "tif", "ppm", "bmp"}) {
        runLineWell(std::string("run a.png whole.") + ending);
        const std::string whole = readBytes(std::string("whole.") + ending);
        writeBytes(std::string("cut.") + ending, whole.substr(0, whole.size() / 2));
        const Outcome outcome = runLine(std::string("run cut.") + ending + " out.png");
        EXPECT_EQ(outcome.code, 3) << ending;
        EXPECT_TRUE(outcome.err.starts_with(std::string("mox: cut.") + ending + ": cannot be read as a "))
            << outcome.err;
        EXPECT_FALSE(exists("out.png")) << ending;
    }
    EXPECT_NE(runLine("run cut.png out.png").err.find("the file ends in the middle of it"), std::string::npos);
}

TEST_F(Files, DamagedFilesOfEachKindEndInGoodOrder) {
    std::mt19937 generator(81);
    write("a.png", randomPng(40, 24, 3, 8, 1));
    write("alpha.png", randomPng(40, 24, 4, 16, 1));
    write("bits.png", randomPng(40, 24, 1, 1, 1));
    const std::vector<std::pair<std::string, std::string>> kinds = {
        {"a.png", "jpg"}, {"a.png", "tif"},     {"alpha.png", "tif"}, {"bits.png", "tif"},
        {"a.png", "ppm"}, {"alpha.png", "pam"}, {"bits.png", "pbm"}};
    for (const auto &[source, ending] : kinds) {
        runLineWell("run " + source + " whole." + ending);
        const std::string whole = readBytes("whole." + ending);
        for (int round = 0; round < 60; round++) {
            std::string bytes = whole;
            if (round % 3 == 0) bytes.resize(generator() % bytes.size());
            // The beginning and the end, where headers and folders of tags are, get more than their share.
            for (int i = 0; i < 3 && !bytes.empty(); i++) {
                const std::size_t most = std::min<std::size_t>(bytes.size(), 200);
                const std::size_t at = i == 0   ? generator() % most
                                       : i == 1 ? bytes.size() - 1 - generator() % most
                                                : generator() % bytes.size();
                bytes[at] = static_cast<char>(generator());
            }
            writeBytes("evil", bytes);
            const Outcome outcome = runLine("run evil out.png");
            EXPECT_TRUE(outcome.code == 0 || outcome.code == 3 || outcome.code == 1)
                << ending << " round " << round << ": " << outcome.code << " " << outcome.err;
            EXPECT_EQ(outcome.err.starts_with("mox: evil: ") || outcome.code == 1, outcome.code != 0) << outcome.err;
        }
    }
}
