// What each operation computes, against formulas; and the depths.
#include <cmath>

#include "toolbench.h"

using Operations = Bench;

namespace {

struct OneCase {
    const char *words;
    std::function<int(int)> change;
};

struct PairCase {
    const char *name;
    std::function<int(int, int)> combine;
};

// A sample computed in single precision on a scale from 0 to 1, and brought back.
std::function<int(int)> inFloat(const std::function<float(float)> &change) {
    return [change](int a) {
        const float value = change(static_cast<float>(a) / 255.0f);
        return clamped(std::lrint(static_cast<double>(value) * 255), 255);
    };
}

const std::vector<OneCase> oneCases = {
    {"add-s 40", [](int a) { return clamped(a + 40, 255); }},
    {"add-s -40", [](int a) { return clamped(a - 40, 255); }},
    {"add-s 0x20", [](int a) { return clamped(a + 32, 255); }},
    {"subtract-s 100", [](int a) { return clamped(a - 100, 255); }},
    {"subtract-s -100", [](int a) { return clamped(a + 100, 255); }},
    {"subtract-s 200 flip", [](int a) { return clamped(200 - a, 255); }},
    {"multiply-s 3", [](int a) { return clamped(a * 3, 255); }},
    {"multiply-s -1", [](int) { return 0; }},
    {"and-s 0xE0", [](int a) { return a & 0xE0; }},
    {"and-s 0xFFFFFFF0", [](int a) { return a & 0xF0; }},
    {"or-s 0x0F", [](int a) { return a | 0x0F; }},
    {"xor-s -1", [](int a) { return 255 - a; }},
    {"lshift-s 3", [](int a) { return (a << 3) & 255; }},
    {"lshift-s 9", [](int) { return 0; }},
    {"rshift-s 3", [](int a) { return a >> 3; }},
    {"rshift-s 4294967295", [](int) { return 0; }},
    {"not", [](int a) { return 255 - a; }},
    {"square", [](int a) { return clamped(a * a, 255); }},
    {"abs", [](int a) { return a; }},
    {"set 77", [](int) { return 77; }},
    {"set 300", [](int) { return 255; }},
    {"--depth 32f set-fp 0.5", [](int) { return 128; }},
    {"--depth 32f add-sfp 0.25", inFloat([](float a) { return a + 0.25f; })},
    {"--depth 32f add-sfp -.25", inFloat([](float a) { return a - 0.25f; })},
    {"--depth 32f subtract-sfp 0.5", inFloat([](float a) { return a - 0.5f; })},
    {"--depth 32f subtract-sfp 1 flip", [](int a) { return 255 - a; }},
    {"--depth 32f multiply-sfp 1.5", inFloat([](float a) { return a * 1.5f; })},
    {"--depth 32f square", inFloat([](float a) { return a * a; })},
    {"--depth 32f multiply-sfp 1e30 multiply-sfp 1e30 multiply-sfp 0",
     [](int) { return 0; }},  // no number becomes black
    {"--depth 8s abs", [](int a) { return clamped(128 + std::abs(a - 128), 255); }},
    {"--depth 8s add-s 20", [](int a) { return clamped(a + 20, 255); }},
    {"--depth 32s multiply-s 100 rshift-s 6", [](int a) { return clamped(a * 100 / 64, 255); }},
    {"--depth 32s subtract-s 300 add-s 300", [](int a) { return a; }},
    {"add-s 40 not rshift-s 1", [](int a) { return (255 - clamped(a + 40, 255)) >> 1; }},
};

const std::vector<PairCase> pairCases = {
    {"add", [](int a, int b) { return clamped(a + b, 255); }},
    {"subtract", [](int a, int b) { return clamped(a - b, 255); }},
    {"multiply", [](int a, int b) { return clamped(a * b, 255); }},
    {"and", [](int a, int b) { return a & b; }},
    {"or", [](int a, int b) { return a | b; }},
    {"xor", [](int a, int b) { return a ^ b; }},
    {"copy", [](int, int b) { return b; }},
    {"exchange", [](int, int b) { return b; }},
};

}  // namespace

TEST_F(Operations, OnOnePicture) {
    const Png picture = randomPng(37, 23, 3, 8, 11);
    write("a.png", picture);
    for (const OneCase &one : oneCases) {
        runLineWell(std::string("run a.png ") + one.words + " out.png");
        const Png result = read("out.png");
        EXPECT_EQ(result.channels, 3);
        EXPECT_EQ(result.samples, mapped(picture, one.change).samples) << one.words;
    }
}

TEST_F(Operations, OnTwoPictures) {
    const Png a = randomPng(37, 23, 3, 8, 11);
    const Png b = randomPng(37, 23, 3, 8, 12);
    write("a.png", a);
    write("b.png", b);
    for (const PairCase &pair : pairCases) {
        runLineWell(std::string("run a.png ") + pair.name + " b.png out.png");
        const Png result = read("out.png");
        ASSERT_EQ(result.samples.size(), a.samples.size());
        for (std::size_t i = 0; i < a.samples.size(); i++) {
            ASSERT_EQ(result.samples[i], pair.combine(a.samples[i], b.samples[i])) << pair.name << " at " << i;
        }
    }
}

TEST_F(Operations, OnTwoPicturesOfBits) {
    const Png a = randomPng(37, 23, 1, 1, 11);
    const Png b = randomPng(37, 23, 1, 1, 12);
    write("a.png", a);
    write("b.png", b);
    const std::vector<PairCase> cases = {{"add", [](int p, int q) { return p | q; }},
                                         {"subtract", [](int p, int q) { return p & ~q; }},
                                         {"multiply", [](int p, int q) { return p & q; }},
                                         {"xor", [](int p, int q) { return p ^ q; }},
                                         {"copy", [](int, int q) { return q; }}};
    for (const PairCase &pair : cases) {
        runLineWell(std::string("run a.png ") + pair.name + " b.png out.png");
        const Png result = read("out.png");
        EXPECT_EQ(result.bits, 1);
        for (std::size_t i = 0; i < a.samples.size(); i++) {
            ASSERT_EQ(result.samples[i], pair.combine(a.samples[i], b.samples[i])) << pair.name << " at " << i;
        }
    }
}

TEST_F(Operations, SecondPictureIsBroughtToTheFirst) {
    write("a.png", mapped(randomPng(5, 4, 3, 8, 1), [](int) { return 0; }));
    Png gray = randomPng(5, 4, 1, 8, 2);
    write("gray.png", gray);
    runLineWell("run a.png copy gray.png out.png");
    const Png result = read("out.png");
    for (std::size_t i = 0; i < result.samples.size(); i++)
        ASSERT_EQ(result.samples[i], gray.samples[i / 3]);

    write("deep.png", mapped(randomPng(5, 4, 3, 16, 3), [](int v) { return v / 257 * 257; }));
    runLineWell("run a.png copy deep.png out.png");
    EXPECT_EQ(read("out.png").bits, 8);
    EXPECT_EQ(read("out.png").samples, mapped(read("deep.png"), [](int v) { return v / 257; }).samples);
}

TEST_F(Operations, ColourBecomesGrayByWeight) {
    Png color = randomPng(1, 1, 3, 8, 1);
    color.samples = {200, 100, 50};
    write("color.png", color);
    write("gray.png", randomPng(1, 1, 1, 8, 1));
    runLineWell("run gray.png copy color.png out.png");
    EXPECT_EQ(read("out.png").samples, std::vector<std::uint16_t>{(77 * 200 + 150 * 100 + 29 * 50 + 128) / 256});
}

TEST_F(Operations, EveryDepthKeepsThePicture) {
    const Png picture = randomPng(37, 23, 3, 8, 5);
    write("a.png", picture);
    for (const char *depth : {"8u", "8s", "32s", "16u", "16s", "32f"}) {
        const std::string nothing = std::string(depth) == "32f" ? "add-sfp 0" : "xor-s 0";
        runLineWell(std::string("run a.png --depth ") + depth + " " + nothing + " out.png");
        const Png result = read("out.png");
        const bool deep = std::string(depth).starts_with("16");
        EXPECT_EQ(result.bits, deep ? 16 : 8) << depth;
        EXPECT_EQ(result.samples, mapped(picture, [deep](int v) { return deep ? v * 257 : v; }).samples) << depth;
    }
}

TEST_F(Operations, DeepPicturesStayDeep) {
    const Png picture = randomPng(37, 23, 3, 16, 6);
    write("a.png", picture);
    for (const char *words : {"xor-s 0", "--depth 16s xor-s 0", "--depth 32s xor-s 0", "--depth 32f add-sfp 0"}) {
        runLineWell(std::string("run a.png ") + words + " out.png");
        EXPECT_EQ(read("out.png").bits, 16) << words;
        EXPECT_EQ(read("out.png").samples, picture.samples) << words;
    }
    runLineWell("run a.png --depth 8u xor-s 0 out.png");
    EXPECT_EQ(read("out.png").samples, mapped(picture, [](int v) { return (v * 255 + 32767) / 65535; }).samples);
}

TEST_F(Operations, DepthOfOneBit) {
    Png picture = randomPng(4, 1, 1, 8, 1);
    picture.samples = {0, 127, 128, 255};
    write("a.png", picture);
    runLineWell("run a.png --depth 1u not out.png");
    EXPECT_EQ(read("out.png").bits, 1);
    EXPECT_EQ(read("out.png").samples, (std::vector<std::uint16_t>{1, 1, 0, 0}));
}

TEST_F(Operations, Pixels) {
    write("a.png", randomPng(8, 8, 3, 8, 1));
    EXPECT_EQ(runLineWell("run a.png --no-output put-pixel 3 2 1,2,255 get-pixel 3 2"), "1,2,255\n");
    runLineWell("run a.png put-pixel 7 7 9,8,7 out.png");
    const Png result = read("out.png");
    EXPECT_EQ(std::vector<std::uint16_t>(result.samples.end() - 3, result.samples.end()),
              (std::vector<std::uint16_t>{9, 8, 7}));
    EXPECT_EQ(runLineWell("run a.png --depth 32f --no-output put-pixel 0 0 -1.5,0,1e10 get-pixel 0 0"),
              "-1.5,0,1e+10\n");
    EXPECT_EQ(runLineWell("run a.png --depth 16s --no-output put-pixel 0 0 -32768,0,32767 get-pixel 0 0"),
              "-32768,0,32767\n");
}
