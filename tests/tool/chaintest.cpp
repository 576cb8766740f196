// Options that hold from where they stand on, the border, and the names of everyday.
#include <cmath>

#include "toolbench.h"

namespace {

class Chain : public Bench {
  protected:
    void SetUp() override {
        Bench::SetUp();
        write("a.png", randomPng(40, 30, 3, 8, 1));
    }

    void expectError(const std::string &line, const std::string &message) {
        const Outcome outcome = runLine(line);
        EXPECT_EQ(outcome.code, 2) << line << "\n" << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << line << "\n" << outcome.err;
        EXPECT_FALSE(exists("out.png")) << line;
    }

    void expectSame(const std::string &line, const std::string &other) {
        runLineWell("run a.png " + line + " one.png");
        runLineWell("run a.png " + other + " other.png");
        EXPECT_EQ(readBytes("one.png") == readBytes("other.png"), true) << line << "\n" << other;
    }
};

bool within(int x, int y, int left, int top, int width, int height) {
    return x >= left && y >= top && x < left + width && y < top + height;
}

}  // namespace

TEST_F(Chain, ARegionHoldsFromWhereItStands) {
    runLineWell("run a.png not --roi 5,6,20,10 set 0 --roi none rshift-s 1 out.png");
    const Png before = read("a.png"), after = read("out.png");
    for (int y = 0; y < 30; y++) {
        for (int x = 0; x < 40; x++) {
            const auto i = static_cast<std::size_t>(y * 40 + x) * 3;
            ASSERT_EQ(after.samples[i], within(x, y, 5, 6, 20, 10) ? 0 : (255 - before.samples[i]) >> 1);
        }
    }
}

TEST_F(Chain, DepthChannelAndMaskHoldFromWhereTheyStand) {
    write("m.png", randomPng(40, 30, 1, 1, 2));
    expectSame("not --coi 2 set 0 --coi 0 rshift-s 1", "not --coi 2 set 0 --coi none rshift-s 1");
    // A gradient at eight bits, its negative at one: what went wrong where the depth held for all of it.
    expectSame("gradient-sobel 2 --depth 1u not", "gradient-sobel 2 not --depth 1u");
    runLineWell("run a.png gradient-sobel 2 middle.png");
    runLineWell("run middle.png --depth 1u not two.png");
    runLineWell("run a.png gradient-sobel 2 --depth 1u not one.png");
    EXPECT_EQ(read("one.png").samples, read("two.png").samples);
    runLineWell("run a.png --mask m.png set 0 --mask none not out.png");
    const Png mask = read("m.png"), before = read("a.png"), after = read("out.png");
    for (std::size_t i = 0; i < before.samples.size(); i++)
        ASSERT_EQ(after.samples[i], mask.samples[i / 3] ? 255 : 255 - before.samples[i]);
}

TEST_F(Chain, WhatWouldChangeNothingIsAnError) {
    expectError("run a.png --roi 1,1,9,9 out.png", "--roi: no operation follows it");
    expectError("run a.png --roi 1,1,9,9 out.png", "crop X Y WIDTH HEIGHT");
    expectError("run a.png not --coi 2 out.png", "--coi: no operation follows it");
    expectError("run a.png not out.png --depth 1u", "--depth: stands behind RESULT");
    expectError("run a.png add-s --depth 1u 40 out.png", "--depth: stands among the words of add-s");
    expectError("run a.png --coi 4 not out.png", "--coi 4: the picture has 3 channels");
    expectError("run a.png --roi 0,0,0,5 not out.png", "--roi: wants X and Y from 0 and a width and a height from 1");
    expectError("run a.png --roi -1,0,5,5 not out.png", "--roi: wants X and Y from 0");
    expectError("run a.png --border mirror not out.png", "--border: wants replicate, reflect, wrap or a number");
}

TEST_F(Chain, TheEdgeGoesOnByDefault) {
    write("white.png", mapped(read("a.png"), [](int) { return 255; }));
    runLineWell("run white.png blur 9 9 out.png");
    EXPECT_EQ(read("out.png").samples, read("white.png").samples);
    runLineWell("run white.png convolve-sep 4 1,2,1 1,2,1 blur 9 9 out.png");
    EXPECT_EQ(read("out.png").samples, read("white.png").samples);
    expectSame("--border 0 blur 9 9", "border-constant 0 blur 9 9");
    expectSame("--border 77 not blur 9 9", "not border-constant 77 blur 9 9");
    expectSame("--border wrap blur 9 9 --border replicate blur 3 3", "border-wrap blur 9 9 border-replicate blur 3 3");
    runLineWell("run white.png --border 0 blur 9 9 dark.png");
    EXPECT_LT(read("dark.png").samples[0], 255);
}

TEST_F(Chain, Crop) {
    for (const int channels : {1, 3, 4}) {
        const Png a = randomPng(40, 30, channels, 8, 3);
        write("a.png", a);
        for (const char *way : {"", "--tiles 8x8 ", "--planes "}) {
            runLineWell(std::string("run a.png ") + way + "crop 5 6 20 10 out.png");
            const Png out = read("out.png");
            ASSERT_EQ(out.width, 20);
            ASSERT_EQ(out.height, 10);
            for (int y = 0; y < 10; y++) {
                for (int i = 0; i < 20 * channels; i++)
                    ASSERT_EQ(out.samples[static_cast<std::size_t>(y * 20 * channels + i)],
                              a.samples[static_cast<std::size_t>(((y + 6) * 40 + 5) * channels + i)]);
            }
        }
    }
    EXPECT_NE(runLine("run a.png crop 21 0 20 10 out2.png").err.find("crop: 20 x 10 at 21,0 is not within"),
              std::string::npos);
    EXPECT_NE(runLine("run a.png --roi 0,0,5,5 crop 0 0 2 2 out2.png").err.find("crop: is for the whole picture"),
              std::string::npos);
    EXPECT_FALSE(exists("out2.png"));
}

TEST_F(Chain, EverydayNames) {
    const Png a = read("a.png");
    const auto expect = [&](const std::string &words, const std::function<int(int)> &change) {
        runLineWell("run a.png " + words + " out.png");
        EXPECT_EQ(read("out.png").samples, mapped(a, change).samples) << words;
    };
    expect("invert", [](int v) { return 255 - v; });
    expect("--depth 32f invert", [](int v) { return 255 - v; });
    expect("--depth 16s invert --depth 8u", [](int v) { return 255 - v; });
    expect("brightness 20", [](int v) { return clamped(v + 51, 255); });
    expect("brightness -20", [](int v) { return clamped(v - 51, 255); });
    expect("--depth 8s brightness 20", [](int v) { return clamped(v + 51, 255); });
    expect("contrast 1", [](int v) { return v; });
    expect("contrast 0", [](int) { return 128; });
    expect("contrast 2", [](int v) { return clamped(std::lround(2 * v - 127.5 + (v == 0 ? 0 : 1e-9)), 255); });
}

TEST_F(Chain, TransparentPicturesArePasted) {
    Png piece = randomPng(9, 7, 4, 8, 5);
    for (std::size_t i = 0; i < piece.samples.size(); i += 4)
        piece.samples[i + 3] = i % 8 == 0 ? 0 : 255;
    write("piece.png", piece);
    const Png a = read("a.png");
    for (const auto &[left, top] : std::vector<std::pair<int, int>>{{4, 5}, {-3, -2}, {36, 27}, {100, 0}}) {
        const std::string words = "paste " + std::to_string(left) + " " + std::to_string(top) + " piece.png";
        for (const char *way : {"", "--tiles 8x8 "}) {
            runLineWell("run a.png " + (way + words) + " out.png");
            const Png out = read("out.png");
            ASSERT_EQ(out.channels, 3);
            for (int y = 0; y < 30; y++) {
                for (int x = 0; x < 120; x++) {
                    const bool covered = within(x / 3, y, left, top, 9, 7);
                    const auto at = static_cast<std::size_t>(y * 120 + x);
                    const auto from = static_cast<std::size_t>(covered ? ((y - top) * 9 + x / 3 - left) * 4 : 0);
                    const bool shown = covered && piece.samples[from + 3] == 255;
                    ASSERT_EQ(out.samples[at],
                              shown ? piece.samples[from + static_cast<std::size_t>(x % 3)] : a.samples[at])
                        << words << " at " << x / 3 << ", " << y;
                }
            }
        }
    }
    const Outcome copied = runLine("run a.png copy piece.png out2.png");
    EXPECT_EQ(copied.code, 2);
    EXPECT_NE(copied.err.find("copy: piece.png is transparent in places"), std::string::npos) << copied.err;
    EXPECT_FALSE(exists("out2.png"));
    // Over shows what a transparent picture hides not, and within takes its opacity.
    runLineWell("run a.png in piece.png out.png");
    EXPECT_EQ(read("out.png").channels, 4);
    // Alpha stays alpha behind a composition.
    runLineWell("run piece.png over piece.png not out.png");
    EXPECT_EQ(read("out.png").samples[7], 255);
}

TEST_F(Chain, SoftEdgesAndFlatPictures) {
    write("light.png", mapped(randomPng(40, 30, 1, 8, 6), [](int) { return 100; }));
    write("b.png", randomPng(40, 30, 3, 8, 7));
    runLineWell("run a.png alpha light.png over b.png out.png");
    const Png a = read("a.png"), b = read("b.png"), out = read("out.png");
    ASSERT_EQ(out.channels, 4);
    for (std::size_t i = 0; i < a.samples.size(); i++)
        ASSERT_NEAR(out.samples[i / 3 * 4 + i % 3], (a.samples[i] * 100 + b.samples[i] * 155) / 255.0, 1.5);
    runLineWell("run a.png alpha light.png flatten 255,0,10 out.png");
    const Png flat = read("out.png");
    ASSERT_EQ(flat.channels, 3);
    constexpr int color[] = {255, 0, 10};
    for (std::size_t i = 0; i < a.samples.size(); i++)
        ASSERT_NEAR(flat.samples[i], (a.samples[i] * 100 + color[i % 3] * 155) / 255.0, 1.5);
}
