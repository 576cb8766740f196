// Transforms in the tool: there and back, frequencies by a picture, blocks of cosines, wavelets by their names.
#include <algorithm>
#include <cstdlib>

#include "toolbench.h"

using Transforms = Bench;

namespace {

// The largest difference of two pictures' samples.
int difference(const Png &a, const Png &b) {
    int most = a.samples.size() == b.samples.size() ? 0 : 65536;
    for (std::size_t i = 0; most <= 65535 && i < a.samples.size(); i++)
        most = std::max(most, std::abs(a.samples[i] - b.samples[i]));
    return most;
}

Png flatPng(int width, int height, int channels, int sample) {
    Png png = randomPng(width, height, channels, 8, 1);
    std::fill(png.samples.begin(), png.samples.end(), static_cast<std::uint16_t>(sample));
    return png;
}

}  // namespace

TEST_F(Transforms, ThereAndBackIsThePicture) {
    const Png picture = randomPng(37, 24, 3, 8, 21);
    write("a.png", picture);
    for (const char *words : {"fft ifft", "dct idct", "--planes fft ifft", "--tiles 16x8 dct idct",
                              "--roi 3,2,21,13 fft ifft", "--coi 2 fft ifft", "--depth 32f fft ifft", "dct-drop 0"}) {
        runLineWell(std::string("run a.png ") + words + " out.png");
        EXPECT_EQ(read("out.png").samples, picture.samples) << words;
    }
}

TEST_F(Transforms, TheWayBackNeedsFloats) {
    write("a.png", randomPng(16, 12, 1, 8, 22));
    for (const char *words : {"ifft", "idct"}) {
        const Outcome outcome = runLine(std::string("run a.png ") + words + " out.png");
        EXPECT_NE(outcome.code, 0);
        EXPECT_NE(outcome.err.find("in the same chain"), std::string::npos) << outcome.err;
        EXPECT_FALSE(exists("out.png"));
    }
}

TEST_F(Transforms, ASpectrumOfOneLevelIsOnePoint) {
    write("a.png", flatPng(15, 10, 1, 90));
    runLineWell("run a.png spectrum out.png");
    const Png result = read("out.png");
    for (int i = 0; i < 15 * 10; i++)
        EXPECT_EQ(result.samples[static_cast<std::size_t>(i)], i == 5 * 15 + 7 ? 255 : 0) << i;
}

TEST_F(Transforms, FrequenciesAreKeptByWhite) {
    for (const auto &[width, height] : {std::pair{20, 14}, {21, 15}, {20, 15}}) {
        const Png picture = randomPng(width, height, 3, 8, 23);
        write("a.png", picture);
        write("white.png", flatPng(width, height, 1, 255));
        runLineWell("run a.png filter-fft white.png out.png");
        EXPECT_EQ(read("out.png").samples, picture.samples);

        // The mean alone is kept: every sample becomes it.
        Png middle = flatPng(width, height, 1, 0);
        middle.samples[static_cast<std::size_t>(height / 2 * width + width / 2)] = 255;
        write("middle.png", middle);
        runLineWell("run a.png filter-fft middle.png out.png");
        const Png flat = read("out.png");
        for (std::size_t i = 3; i < flat.samples.size(); i++)
            ASSERT_EQ(flat.samples[i], flat.samples[i % 3]);
    }
}

TEST_F(Transforms, FrequenciesOfAnotherSizeAreRefused) {
    write("a.png", randomPng(16, 12, 1, 8, 24));
    write("b.png", randomPng(12, 16, 1, 8, 25));
    const Outcome outcome = runLine("run a.png filter-fft b.png out.png");
    EXPECT_NE(outcome.code, 0);
    EXPECT_NE(outcome.err.find("same size"), std::string::npos) << outcome.err;
}

TEST_F(Transforms, BlocksKeepTheirMeans) {
    const Png picture = randomPng(16, 8, 1, 8, 26);
    write("a.png", picture);
    EXPECT_EQ(runLineWell("run a.png dct-drop 100000 out.png"), "kept 1.6 % of the coefficients\n");
    const Png result = read("out.png");
    for (int block = 0; block < 2; block++) {
        int sum = 0;
        for (int i = 0; i < 64; i++)
            sum += picture.samples[static_cast<std::size_t>(i / 8 * 16 + block * 8 + i % 8)];
        for (int i = 0; i < 64; i++) {
            const int sample = result.samples[static_cast<std::size_t>(i / 8 * 16 + block * 8 + i % 8)];
            EXPECT_LE(std::abs(sample * 64 - sum), 33);
        }
    }
}

TEST_F(Transforms, WaveletsHaveTheirNames) {
    const Png picture = flatPng(24, 16, 1, 100);
    write("a.png", picture);
    for (const char *name : {"haar", "db1", "db4", "db10", "sym4", "sym10", "coif1", "coif5", "vaidyanathan", "bior1.1",
                             "bior2.2", "bior3.9", "dual2.8", "dual3.1", "5-3", "9-7"}) {
        runLineWell(std::string("run a.png wavelet ") + name + " iwavelet " + name + " out.png");
        EXPECT_LE(difference(read("out.png"), picture), 1) << name;
    }
    for (const char *name : {"", "haar2", "db", "db0", "db11", "db4x", "sym3", "sym11", "coif6", "bior2.3", "bior2",
                             "bior2.", "bior2.2.2", "dual4.4", "97", "Haar"}) {
        const Outcome outcome = run({"run", "a.png", "wavelet", name, "no.png"});
        EXPECT_NE(outcome.code, 0) << name;
        EXPECT_NE(outcome.err.find("no wavelet is called"), std::string::npos) << name << outcome.err;
        EXPECT_FALSE(exists("no.png"));
    }
}

TEST_F(Transforms, BandsLieSideBySide) {
    // Haar's bands of a 2 x 2 picture: means and half differences, gray where they are 0.
    Png picture = flatPng(2, 2, 1, 0);
    picture.samples = {100, 60, 40, 20};
    write("a.png", picture);
    runLineWell("run a.png wavelet haar out.png");
    EXPECT_EQ(read("out.png").samples[0], 55);
}
