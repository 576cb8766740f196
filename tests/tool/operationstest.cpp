// What each operation computes, against formulas; and the depths.
#include <bit>
#include <cmath>

#include "reference/reference.h"
#include "table/examples.h"
#include "toolbench.h"

using Operations = Bench;

namespace {

struct OneCase {
    const char *words;
    std::function<int(int)> change;
};

// A sample computed in single precision on a scale from 0 to 1, and brought back.
std::function<int(int)> inFloat(const std::function<float(float)> &change) {
    return [change](int a) {
        const float value = change(static_cast<float>(a) / 255.0f);
        return clamped(std::lrint(static_cast<double>(value) * 255), 255);
    };
}

// What the tool adds to an operation: ways to write a constant, depths, chains. Constants by themselves come from the
// table of operations below.
const std::vector<OneCase> oneCases = {
    {"add-s 0x20", [](int a) { return clamped(a + 32, 255); }},
    {"and-s 0xE0", [](int a) { return a & 0xE0; }},
    {"and-s 0xFFFFFFF0", [](int a) { return a & 0xF0; }},
    {"or-s 0x0F", [](int a) { return a | 0x0F; }},
    {"rshift-s 4294967295", [](int) { return 0; }},
    {"set 77", [](int) { return 77; }},
    {"set 300", [](int) { return 255; }},
    {"--depth 32f set-fp 0.5", [](int) { return 128; }},
    {"--depth 32f add-sfp -.25", inFloat([](float a) { return a - 0.25f; })},
    {"--depth 32f square", inFloat([](float a) { return a * a; })},
    {"--depth 32f multiply-sfp 1e30 multiply-sfp 1e30 multiply-sfp 0",
     [](int) { return 0; }},  // no number becomes black
    {"--depth 8s abs", [](int a) { return clamped(128 + std::abs(a - 128), 255); }},
    {"--depth 8s add-s 20", [](int a) { return clamped(a + 20, 255); }},
    {"--depth 32s multiply-s 100 rshift-s 6", [](int a) { return clamped(a * 100 / 64, 255); }},
    {"--depth 32s subtract-s 300 add-s 300", [](int a) { return a; }},
    {"add-s 40 not rshift-s 1", [](int a) { return (255 - clamped(a + 40, 255)) >> 1; }},
};

// An operation of the table with constants, and the words that mean the same.
struct Wording {
    std::string words;
    RefCall call;
};

std::vector<Wording> wordingsOf(const RefOperation &op) {
    std::vector<Wording> plain;
    switch (op.constant) {
        case RefConstant::NONE:
            plain.push_back({"", op});
            break;
        case RefConstant::INTEGER:
            for (int value : {40, -40, 3, -1, 0, 200, -300})
                plain.push_back({std::to_string(value), {op, value}});
            break;
        case RefConstant::SHIFT:
            for (int value : {0, 1, 3, 9})
                plain.push_back({std::to_string(value), {op, value}});
            break;
        case RefConstant::REAL:
            for (const char *value : {"0.25", "-0.25", "1.5", "0"})
                plain.push_back({value, {op, 0, false, std::bit_cast<uint32_t>(std::stof(value))}});
            break;
    }
    std::vector<Wording> all = plain;
    for (Wording wording : plain) {
        if (!op.flips) break;
        wording.words.append(" flip");
        wording.call.flip = true;
        all.push_back(wording);
    }
    return all;
}

// The model on samples of a picture of 8 bits, or of one, as the tool brings them to a depth and back.
int modelled(const RefCall &call, unsigned depth, int a, int b) {
    const auto first = static_cast<uint32_t>(a), second = static_cast<uint32_t>(b);
    if (depth != MOX_DEPTH_32F) return static_cast<int>(refElement(call, depth, first, second));
    const auto real = [](int sample) { return std::bit_cast<uint32_t>(static_cast<float>(sample) / 255.0f); };
    const auto result = static_cast<double>(std::bit_cast<float>(refElement(call, depth, real(a), real(b))));
    return clamped(std::lrint(result * 255), 255);
}

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

class TableOperation : public Bench, public testing::WithParamInterface<Example> {};

std::vector<Example> elementWise() {
    std::vector<Example> found;
    for (const Example &example : allExamples()) {
        if (example.point) found.push_back(example);
    }
    return found;
}

INSTANTIATE_TEST_SUITE_P(Operations, TableOperation, testing::ValuesIn(elementWise()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(TableOperation, GivesWhatItsModelSays) {
    const RefOperation &op = *GetParam().point;
    const std::string name = toolName(GetParam());
    // Where a single source is a second picture, it takes the place of the first.
    const bool takesPicture = runWell({"list"}).find("  " + name + " PICTURE") != std::string::npos;
    EXPECT_TRUE(takesPicture || op.sources == 1);
    for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_32F}) {
        if (!op.accepts(depth)) continue;
        const int bits = depth == MOX_DEPTH_1U ? 1 : 8;
        const Png a = randomPng(37, 23, bits == 1 ? 1 : 3, bits, 11), b = randomPng(37, 23, a.channels, bits, 12);
        write("a.png", a);
        write("b.png", b);
        for (const Wording &wording : wordingsOf(op)) {
            std::string words = depth == MOX_DEPTH_32F ? "--depth 32f " : "";
            words.append(name).append(" ").append(wording.words);
            runLineWell(std::string("run a.png ").append(words).append(takesPicture ? " b.png" : "") + " out.png");
            const Png result = read("out.png");
            EXPECT_EQ(result.bits, bits);
            ASSERT_EQ(result.samples.size(), a.samples.size()) << words;
            for (std::size_t i = 0; i < a.samples.size(); i++) {
                const int first = takesPicture && op.sources == 1 ? b.samples[i] : a.samples[i];
                ASSERT_EQ(result.samples[i], modelled(wording.call, depth, first, b.samples[i]))
                    << words << " at " << i;
            }
        }
    }
}

TEST_F(Operations, Exchange) {
    write("a.png", randomPng(37, 23, 3, 8, 11));
    write("b.png", randomPng(37, 23, 3, 8, 12));
    runLineWell("run a.png exchange b.png out.png");
    EXPECT_EQ(read("out.png").samples, read("b.png").samples);
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
