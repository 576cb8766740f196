// Pictures larger than the memory that the tool may take: the same bytes by way of scratch files, within the bound, and
// what cannot be done so in plain words.
#include <sys/resource.h>
#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <jpeglib.h>

#include "toolbench.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool measuresMemory = false;
#elif defined(__has_feature)
constexpr bool measuresMemory = !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool measuresMemory = true;
#endif

class Memory : public Bench {
  protected:
    // Both with all the memory there is, and from scratch files.
    void expectSame(const std::string &line, const std::string &ending, const std::string &memory = "600K") {
        runLineWell("run " + line + " whole." + ending);
        runLineWell("run " + line + " --memory " + memory + " disk." + ending);
        EXPECT_EQ(readBytes("disk." + ending) == readBytes("whole." + ending), true) << line << " " << ending;
    }

    void expectTooLarge(const std::string &line, const std::string &what) {
        const std::vector<std::string> before = files();
        const Outcome outcome = runLine("run " + line + " out.png");
        EXPECT_EQ(outcome.code, 1) << line << "\n" << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("mox: " + what)) << outcome.err;
        EXPECT_NE(outcome.err.find(" has to be in memory whole, which takes "), std::string::npos) << outcome.err;
        EXPECT_EQ(files(), before) << line;
    }

    // Channels together in strips of so many rows, deflated, or apart.
    void writeTiff(const std::string &name, const Png &picture, unsigned rows, bool apart) const {
        TIFF *tiff = TIFFOpen(path(name).c_str(), "w");
        ASSERT_NE(tiff, nullptr);
        const auto width = static_cast<unsigned>(picture.width), channels = static_cast<unsigned>(picture.channels);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<unsigned>(picture.height));
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, apart ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
        for (unsigned plane = 0; plane < (apart ? channels : 1); plane++) {
            for (unsigned y = 0; y < static_cast<unsigned>(picture.height); y++) {
                std::vector<unsigned char> row;
                for (unsigned i = 0; i < width * channels; i++) {
                    if (apart && i % channels != plane) continue;
                    row.push_back(static_cast<unsigned char>(picture.samples[y * width * channels + i]));
                }
                ASSERT_EQ(TIFFWriteScanline(tiff, row.data(), y, static_cast<std::uint16_t>(plane)), 1);
            }
        }
        TIFFClose(tiff);
    }

    // Gray, in several scans.
    void writeProgressiveJpeg(const std::string &name, const Png &picture) const {
        std::FILE *file = std::fopen(path(name).c_str(), "wb");
        ASSERT_NE(file, nullptr);
        jpeg_compress_struct codec = {};
        jpeg_error_mgr faults = {};
        codec.err = jpeg_std_error(&faults);
        jpeg_create_compress(&codec);
        jpeg_stdio_dest(&codec, file);
        codec.image_width = static_cast<JDIMENSION>(picture.width);
        codec.image_height = static_cast<JDIMENSION>(picture.height);
        codec.input_components = 1;
        codec.in_color_space = JCS_GRAYSCALE;
        jpeg_set_defaults(&codec);
        jpeg_simple_progression(&codec);
        jpeg_start_compress(&codec, TRUE);
        for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); y++) {
            std::vector<JSAMPLE> row;
            for (std::size_t x = 0; x < static_cast<std::size_t>(picture.width); x++)
                row.push_back(static_cast<JSAMPLE>(picture.samples[y * static_cast<std::size_t>(picture.width) + x]));
            JSAMPROW rows[] = {row.data()};
            jpeg_write_scanlines(&codec, rows, 1);
        }
        jpeg_finish_compress(&codec);
        jpeg_destroy_compress(&codec);
        std::fclose(file);
    }

    // A gray picture that no memory of this process is taken for.
    void writeLarge(const std::string &name, int side) const {
        std::ofstream stream(path(name), std::ios::binary);
        stream << "P5\n" << side << " " << side << "\n255\n";
        std::string row(static_cast<std::size_t>(side), '\0');
        unsigned state = 1;
        for (int y = 0; y < side; y++) {
            for (char &sample : row) {
                state = state * 1664525 + 1013904223;
                sample = static_cast<char>((state >> 28) + static_cast<unsigned>(y / 32));
            }
            stream << row;
        }
    }
};

}  // namespace

TEST_F(Memory, StaysWithinItsBound) {
    writeLarge("large.pgm", 6000);
    const std::string chain = "run large.pgm blur 5 5 --depth 16u decimate 1/2 super ";
    const Outcome disk = runLine(chain + "--memory 32M disk.pgm");
    ASSERT_EQ(disk.code, 0) << disk.err;
    const Outcome whole = runLine(chain + "--memory 2G whole.pgm");
    ASSERT_EQ(whole.code, 0) << whole.err;
    EXPECT_EQ(readBytes("disk.pgm") == readBytes("whole.pgm"), true);
    if (!measuresMemory) return;
    EXPECT_LE(disk.peak, 32 * 1024);
    EXPECT_GE(whole.peak, 100 * 1024) << "the measure measures nothing";
    // Where one image is small, or both go through the library at once.
    for (const char *words : {"exchange large.pgm", "--depth 32f less-sfp 0.4", "resize 100x80", "rotate 20"}) {
        const Outcome outcome = runLine(std::string("run large.pgm --no-output --memory 32M ") + words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_LE(outcome.peak, 32 * 1024) << words;
    }
}

TEST_F(Memory, EveryKindOfFile) {
    for (const int channels : {1, 3, 4}) {
        for (const int bits : {1, 8, 16}) {
            if (bits == 1 && channels > 1) continue;
            const bool small = bits == 1;
            write("a.png", randomPng(small ? 1201 : 251, small ? 803 : 203, channels, bits, 5));
            for (const char *ending : {"png", "tif", "pam", "bmp"})
                expectSame("a.png mirror 1", ending);
            if (channels < 4) expectSame("a.png not", "jpg");
            for (const char *ending : {"tif", "pam"}) {
                runLineWell(std::string("run a.png a.") + ending);
                expectSame(std::string("a.") + ending + " not", "png");
            }
        }
    }
}

TEST_F(Memory, SamplesOf32Bits) {
    write("a.png", randomPng(251, 203, 3, 16, 5));
    runLineWell("run a.png --depth 32f multiply-sfp 3 a.tif");
    expectSame("a.tif convolve-smooth subtract-sfp 0.25", "tif");
    expectSame("a.png --depth 32s multiply-s 1000 add-s -77 convert 16s", "tif");
    expectSame("a.png --planes --depth 32f square scale-fp 8u 0 1", "pam");
}

TEST_F(Memory, InterlacedRowsByWayOfAFile) {
    for (const int channels : {1, 3}) {
        for (const int bits : {8, 16}) {
            Png picture = randomPng(237, 211, channels, bits, 7);
            write("plain.png", picture);
            picture.interlaced = true;
            write("interlaced.png", picture);
            runLineWell("run plain.png plain.pam");
            runLineWell("run interlaced.png --memory 300K out.pam");
            EXPECT_EQ(readBytes("out.pam") == readBytes("plain.pam"), true) << channels << " " << bits;
        }
    }
}

TEST_F(Memory, StripsOfAnyHeight) {
    const auto expectRefused = [&](const std::string &name, const std::string &what) {
        const Outcome outcome = runLine("run " + name + " --memory 600K out.pam");
        EXPECT_EQ(outcome.code, 3) << outcome.err;
        EXPECT_EQ(outcome.err.find("mox: " + name + ": cannot be read as a " + what), 0u) << outcome.err;
        EXPECT_NE(outcome.err.find(" has to be in memory whole, which takes "), std::string::npos) << outcome.err;
    };
    for (const int channels : {1, 3}) {
        // Few levels: the bytes of the one strip fit, its samples do not.
        const Png picture = mapped(randomPng(301, 403, channels, 8, 4), [](int v) { return v & 1; });
        writeTiff("one.tif", picture, 403, false);
        expectSame("one.tif not", "pam");
        writeTiff("some.tif", picture, 50, channels == 3);
        expectSame("some.tif not", "pam");
    }
    const Png picture = randomPng(301, 403, 3, 8, 4);
    writeTiff("apart.tif", picture, 403, true);
    expectRefused("apart.tif", "TIFF picture: each of its parts");
    writeTiff("noisy.tif", picture, 403, false);
    expectRefused("noisy.tif", "TIFF picture: each of its parts");
    writeProgressiveJpeg("scans.jpg", randomPng(401, 603, 1, 8, 4));
    expectRefused("scans.jpg", "JPEG picture: what comes in several scans");
    expectSame("scans.jpg not", "pam", "2M");
}

TEST_F(Memory, BitmapsBySlices) {
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        write("a.png", randomPng(bits == 1 ? 1201 : 301, bits == 1 ? 803 : 207,
                                 bits == 32  ? 4
                                 : bits == 1 ? 1
                                             : 3,
                                 bits == 1 ? 1 : 8, 3));
        const std::string form = " --bits " + std::to_string(bits);
        runLineWell("run a.png" + form + " a.bmp");
        if (bits == 8) runLineWell("run a.png --palette medcut" + form + " a8.bmp");
        // Read by slices, and written so.
        expectSame("a.bmp mirror 0", "pam");
        expectSame("a.png mirror 1" + form, "bmp");
    }
    expectSame("a.png --bits 8 --palette a8.bmp", "bmp", "700K");
    // An alpha that hides everything is none.
    Png hidden = randomPng(301, 207, 4, 8, 3);
    for (std::size_t i = 3; i < hidden.samples.size(); i += 4)
        hidden.samples[i] = 0;
    write("hidden.png", hidden);
    runLineWell("run hidden.png hidden.bmp");
    expectSame("hidden.bmp not", "png");
    EXPECT_EQ(read("disk.png").channels, 3);
}

TEST_F(Memory, MasksRegionsAndSecondPictures) {
    write("a.png", randomPng(301, 207, 3, 8, 1));
    write("b.png", randomPng(280, 230, 4, 8, 2));
    write("c.png", randomPng(280, 230, 3, 16, 2));
    write("m.png", randomPng(290, 150, 1, 1, 3));
    for (const char *words :
         {"add-s 30", "blur 5 3", "to-hsv", "gray", "tint 0.3,0.5,1", "hue 100", "channel 2", "brightness 20",
          "contrast 1.5", "over b.png", "paste 20 30 b.png", "crop 10 20 250 170", "rotate 20", "resize 333x260"}) {
        expectSame(std::string("a.png ") + words, "png");
        const std::string first = split(words)[0];
        if (first == "crop" || first == "paste" || first == "over") continue;
        expectSame(std::string("a.png --roi 13,9,271,185 ") + words, "png");
        expectSame(std::string("a.png --mask m.png --roi 13,9,271,185 ") + words, "png");
        expectSame(std::string("a.png --mask m.png --tiles 32x8 ") + words, "png");
    }
    expectSame("a.png --from 7,5 --roi 13,9,241,185 add c.png exchange a.png", "png");
}

TEST_F(Memory, InfoAndCompare) {
    write("a.png", randomPng(301, 207, 3, 8, 1));
    write("b.png", randomPng(290, 220, 4, 16, 2));
    EXPECT_EQ(runLineWell("info --memory 400K a.png b.png"), runLineWell("info a.png b.png"));
    for (const char *pair : {"a.png b.png", "a.png a.png", "b.png a.png"}) {
        const std::string line = std::string("compare ") + pair;
        const Outcome whole = runLine(line + " --output whole.png"),
                      disk = runLine(line + " --memory 800K --output d.png");
        EXPECT_EQ(disk.code, whole.code) << disk.err;
        EXPECT_EQ(disk.out, whole.out);
        EXPECT_EQ(readBytes("d.png") == readBytes("whole.png"), true) << pair;
    }
}

TEST_F(Memory, ManyPicturesShareIt) {
    for (int i = 0; i < 4; i++)
        write("p" + std::to_string(i) + ".png", randomPng(301, 207, 3, 8, static_cast<unsigned>(i)));
    const std::string pictures = " -- p0.png p1.png p2.png p3.png";
    EXPECT_EQ(runLine("run --out-dir whole blur 3 3" + pictures).code, 0);
    EXPECT_EQ(runLine("run --out-dir disk --jobs 2 --memory 600K blur 3 3" + pictures).code, 0);
    for (int i = 0; i < 4; i++) {
        const std::string name = "/p" + std::to_string(i) + ".png";
        EXPECT_EQ(readBytes("disk" + name) == readBytes("whole" + name), true) << name;
    }
}

TEST_F(Memory, WhatHasToBeWholeSaysSo) {
    write("a.png", randomPng(301, 207, 3, 8, 1));
    write("bits.png", randomPng(3000, 2000, 1, 1, 1));
    expectTooLarge("a.png fft --memory 1M", "fft: an image of 301 x 207 with 3 channels at depth 32f has to be");
    expectTooLarge("a.png --depth 32f blur 3 3 --memory 700K", "blur: an image of 301 x 207");
    expectTooLarge("a.png noise gauss 1 0 5 --memory 300K", "noise: an image of 301 x 207");
    expectTooLarge("a.png zoom 2 nearest --memory 400K", "zoom: an image of ");
    expectTooLarge("a.png remap lens:0.1 lens:0.1 linear --memory 700K", "remap: a map of the picture's size");
    expectTooLarge("a.png --mask bits.png not --memory 500K", "--mask: an image of 3000 x 2000");
    expectTooLarge("a.png to-bmp --bits 8 --palette medcut --memory 500K", "to-bmp: ");
    const Outcome parts = runLine("run a.png not --memory 120K out.png");
    EXPECT_EQ(parts.code, 1);
    EXPECT_EQ(parts.err.find("mox: a picture of 301 x 207 takes "), 0u) << parts.err;
    const Outcome outcome = runLine("run a.png --bits 4 --palette medcut --memory 200K out.bmp");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("out.bmp: a bitmap with dithering, run lengths or a palette from its own colours has"),
              std::string::npos)
        << outcome.err;
    write("flat.png", mapped(randomPng(301, 207, 3, 8, 1), [](int v) { return v / 254; }));
    runLineWell("run flat.png --bits 8 --rle a.bmp");
    EXPECT_NE(runLine("run a.bmp --memory 200K out.png").err.find("a.bmp: cannot be read as a bitmap: "),
              std::string::npos);
    // The memory that is asked for is enough.
    runLineWell("run a.png fft ifft --memory 8M out.png");
}

TEST_F(Memory, AScratchFileThatHasNoPlace) {
    write("a.png", randomPng(301, 207, 3, 8, 1));
    const std::vector<std::string> before = files();
    const std::string scratch = folder;
    const auto expectRefused = [&](const std::function<void()> &prepare, const std::string &message) {
        const Outcome outcome = run(split("run a.png blur 3 3 --memory 200K out.png"), [&] {
            ::setenv("TMPDIR", scratch.c_str(), 1);
            prepare();
        });
        EXPECT_EQ(outcome.code, 3) << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
        EXPECT_EQ(files(), before);
    };
    for (const rlim_t bytes : {rlim_t{2000}, rlim_t{20000}, rlim_t{150000}}) {
        const auto smallFiles = [bytes] {
            const struct rlimit limit = {bytes, bytes};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        };
        expectRefused(smallFiles, "mox: the scratch file in " + scratch + ": File too large");
    }
    expectRefused([] { ::setenv("TMPDIR", "nowhere", 1); }, "no scratch file can be made in nowhere: No such file");
}

TEST_F(Memory, SizesThatMakeNoSense) {
    write("a.png", randomPng(9, 7, 3, 8, 1));
    for (const char *size :
         {"0", "99K", "-5M", "12X", "M", "5MBB", "5IB", "9999999BB", "1.5G", "99999999999999999999G", "9999999999G"}) {
        const Outcome outcome = runLine(std::string("run a.png not --memory ") + size + " out.png");
        EXPECT_EQ(outcome.code, 2) << size;
        EXPECT_NE(outcome.err.find("--memory: wants a size from 100K on, as 300M or 2G, not '"), std::string::npos)
            << outcome.err;
    }
    for (const char *size : {"100K", "102400", "5M", "3G", "500k", "500KB", "5MB", "3GiB", "5m"}) {
        runLineWell(std::string("run a.png not --memory ") + size + " out.png");
    }
}
