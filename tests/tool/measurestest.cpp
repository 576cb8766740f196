// Comparisons, measures, tone curves, and two pictures compared.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>

#include "toolbench.h"

namespace {

class Measures : public Bench {
  protected:
    void SetUp() override {
        Bench::SetUp();
        a = randomPng(61, 43, 3, 8, 5);
        b = mapped(a, [](int v) { return v % 3 == 0 ? v : v ^ 1; });
        write("a.png", a);
        write("b.png", b);
    }

    // The comparison's bits, against what holds in all channels.
    void expectBits(const std::string &words, const std::function<bool(int, int)> &holds) {
        runLineWell("run a.png " + words + " out.png");
        const Png bits = read("out.png");
        ASSERT_EQ(bits.bits, 1) << words;
        ASSERT_EQ(bits.samples.size() * 3, a.samples.size()) << words;
        int ones = 0;
        for (std::size_t i = 0; i < bits.samples.size(); i++) {
            bool all = true;
            for (std::size_t c = i * 3; c < i * 3 + 3; c++)
                all = all && holds(a.samples[c], b.samples[c]);
            ASSERT_EQ(bits.samples[i], all ? 1 : 0) << words << " at " << i;
            ones += all;
        }
        EXPECT_GT(ones, 0) << words << " never holds: nothing is tested";
    }

    Png a, b;
};

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line))
        result.push_back(line);
    return result;
}

}  // namespace

TEST_F(Measures, ComparisonsHoldInEveryChannel) {
    expectBits("less b.png", [](int x, int y) { return x < y; });
    expectBits("greater b.png", [](int x, int y) { return x > y; });
    expectBits("equal b.png", [](int x, int y) { return x == y; });
    expectBits("less-s 100", [](int x, int) { return x < 100; });
    expectBits("greater-s 99", [](int x, int) { return x > 99; });
    expectBits("rshift-s 7 equal-s 1", [](int x, int) { return x > 127; });
    expectBits("less-s 1000", [](int, int) { return true; });
    expectBits("--depth 32f less-sfp 0.5", [](int x, int) { return x < 128; });
    expectBits("--depth 32f greater-sfp 0.5", [](int x, int) { return x > 127; });
    expectBits("--depth 32f equal-fpeps b.png 0.003", [](int x, int y) { return x == y; });
    expectBits("--depth 32f equal-fpeps b.png 0.005", [](int, int) { return true; });
    expectBits("--depth 32f equal-sfpeps 0.5 0.3", [](int x, int) { return std::abs(x / 255.0 - 0.5) < 0.3; });
    expectBits("--depth 32f multiply-sfp 0 equal-sfp 0", [](int, int) { return true; });
}

TEST_F(Measures, WhatIsNotComparedIsBlack) {
    runLineWell("run a.png --roi 7,5,20,11 less-s 1000 out.png");
    const Png bits = read("out.png");
    for (int y = 0; y < 43; y++) {
        for (int x = 0; x < 61; x++) {
            const bool within = x >= 7 && x < 27 && y >= 5 && y < 16;
            ASSERT_EQ(bits.samples[static_cast<std::size_t>(y * 61 + x)], within ? 1 : 0);
        }
    }
}

TEST_F(Measures, StretchIsALineBetweenItsLevels) {
    runLineWell("run a.png stretch 50 200 out.png");
    EXPECT_EQ(read("out.png").samples,
              mapped(a, [](int v) { return clamped(std::lround((v - 50) * 255.0 / 150), 255); }).samples);
    runLineWell("run a.png stretch-points 64,255,128,0 out.png");
    EXPECT_EQ(read("out.png").samples, mapped(a, [](int v) {
                                           return v <= 64 ? 255 : clamped(std::lround((128 - v) * 255.0 / 64), 255);
                                       }).samples);
    const Png deep = randomPng(30, 20, 1, 16, 3);
    write("deep.png", deep);
    runLineWell("run deep.png stretch 1000 60000 out.png");
    EXPECT_EQ(read("out.png").samples,
              mapped(deep, [](int v) { return clamped(std::lround((v - 1000) * 65535.0 / 59000), 65535); }).samples);
}

TEST_F(Measures, EqualizeGivesEachLevelItsShare) {
    Png picture = randomPng(4, 1, 1, 8, 1);
    picture.samples = {10, 10, 20, 30};
    write("four.png", picture);
    runLineWell("run four.png equalize out.png");
    const Png result = read("out.png");
    for (std::size_t i = 0; i < 4; i++) {
        const int share = i < 2 ? 2 : i == 2 ? 3 : 4;
        EXPECT_NEAR(result.samples[i], 255 * share / 4.0, 1.0) << i;
    }
}

// Running sums of so many samples times 255 would leave 32 bits.
TEST_F(Measures, EqualizeOfALargePicture) {
    Png picture = mapped(randomPng(3000, 3000, 1, 8, 1), [](int v) { return 100 + v / 8; });
    write("large.png", picture);
    runLineWell("run large.png equalize out.png");
    const Png result = read("out.png");
    for (std::size_t i = 0; i < result.samples.size(); i += 977)
        ASSERT_NEAR(result.samples[i], (picture.samples[i] - 99) * 255 / 32.0, 2) << picture.samples[i];
}

TEST_F(Measures, HistogramIsDrawn) {
    Png picture = randomPng(8, 1, 1, 8, 1);
    picture.samples = {0, 0, 0, 0, 128, 128, 255, 8};
    write("few.png", picture);
    const std::string drawn = runLineWell("run few.png --no-output histogram");
    const std::vector<std::string> lines = linesOf(drawn);
    ASSERT_EQ(lines.size(), 13u) << drawn;
    EXPECT_EQ(lines[0], "  channel 1  gray       0 to   255, mean 64.88");
    EXPECT_EQ(lines[1], "  50.0% |#");
    // Half the peak, and a quarter of it, in steps of a third of a line.
    EXPECT_EQ(lines[5], "        |#");
    EXPECT_EQ(lines[6], "        |#" + std::string(31, ' ') + "#");
    EXPECT_EQ(lines[8], "        |# :" + std::string(29, ' ') + "#" + std::string(30, ' ') + ":");
    EXPECT_EQ(lines[11], "        +" + std::string(64, '-'));
    for (const std::string &line : lines)
        EXPECT_LE(line.size(), 80u);
    EXPECT_EQ(linesOf(runLineWell("run a.png --no-output histogram")).size(), 39u);
    EXPECT_EQ(linesOf(runLineWell("run a.png --no-output --coi 2 histogram")).size(), 13u);
    EXPECT_EQ(runLineWell("run a.png --no-output --roi 61,0,5,5 --coi 2 histogram"), "  channel 2  green  no pixels\n");
}

TEST_F(Measures, WhatIsPrintedDoesNotDependOnTiles) {
    for (const char *words : {"histogram", "norm", "norm-difference b.png", "moments",
                              "--coi 2 --roi 9,3,33,31 moments", "--depth 32f min-max-fp"}) {
        const std::string line = std::string("run a.png --no-output ") + words;
        const std::string plain = runLineWell(line);
        EXPECT_FALSE(plain.empty());
        EXPECT_EQ(runLineWell(line + " --tiles 16x8"), plain) << words;
        EXPECT_EQ(runLineWell(line + " --planes"), plain) << words;
    }
}

TEST_F(Measures, NumbersThatArePrinted) {
    Png picture = randomPng(3, 2, 1, 8, 1);
    picture.samples = {0, 0, 0, 0, 3, 4};
    write("few.png", picture);
    const std::string norms = runLineWell("run few.png --no-output norm");
    EXPECT_EQ(norms, "  C                  4\n  L1                 7\n  L2                 5\n");
    const std::string moments = runLineWell("run few.png --no-output moments");
    EXPECT_TRUE(moments.starts_with("gray\n  mass 7, centre 1.57143, 1\n")) << moments;
    EXPECT_EQ(runLineWell("run few.png --no-output --depth 32f subtract-sfp 0.5 min-max-fp"), "-0.5 to -0.484313726\n");
}

TEST_F(Measures, CompareTellsEqualFromDifferent) {
    EXPECT_EQ(
        runLineWell("compare a.png a.png"),
        "0 of 2623 pixels differ; RGB, depth 8u\n"
        "  C                  0  relative 0\n  L1                 0  relative 0\n  L2                 0  relative 0\n");
    const Outcome outcome = runLine("compare a.png b.png");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "");
    int differ = 0;
    double sum = 0, total = 0;
    for (std::size_t i = 0; i < a.samples.size(); i += 3) {
        bool same = true;
        for (std::size_t c = i; c < i + 3; c++) {
            same = same && a.samples[c] == b.samples[c];
            sum += std::abs(a.samples[c] - b.samples[c]);
            total += b.samples[c];
        }
        differ += !same;
    }
    const std::vector<std::string> lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], std::to_string(differ) + " of 2623 pixels differ; RGB, depth 8u");
    const std::vector<std::string> l1 = split(lines[2]);
    EXPECT_EQ(l1[1], std::to_string(static_cast<long>(sum)));
    EXPECT_NEAR(std::stod(l1[3]), sum / total, 1e-6);
}

TEST_F(Measures, CompareOfUnlikePictures) {
    Png alpha = randomPng(61, 43, 4, 8, 5);
    for (std::size_t i = 0; i < alpha.samples.size(); i++)
        alpha.samples[i] = i % 4 == 3 ? 255 : a.samples[i / 4 * 3 + i % 4];
    write("alpha.png", alpha);
    EXPECT_EQ(runLine("compare a.png alpha.png").code, 0) << "an opaque alpha is none";
    alpha.samples[7] = 254;
    write("alpha.png", alpha);
    EXPECT_TRUE(runLine("compare a.png alpha.png --output d.png").out.starts_with("1 of 2623"));
    EXPECT_EQ(read("d.png").samples[3], 1);
    write("deep.png", [this] {
        Png deep = mapped(a, [](int v) { return v * 257; });
        deep.bits = 16;
        return deep;
    }());
    EXPECT_EQ(runLine("compare a.png deep.png").code, 0);
    write("small.png", mapped(randomPng(10, 8, 1, 8, 1), [](int) { return 0; }));
    const Outcome outcome = runLine("compare small.png small.png");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out.find("relative"), std::string::npos) << "there is nothing to divide by";
    EXPECT_EQ(runLine("compare a.png small.png").code, 1);
    EXPECT_TRUE(
        runLine("compare a.png small.png").out.starts_with("sizes differ, 61 x 43 and 10 x 8: the common part"));
}

TEST_F(Measures, CompareWritesTheDifference) {
    EXPECT_EQ(runLine("compare a.png b.png --output d.png --gain 100").code, 1);
    const Png difference = read("d.png");
    ASSERT_EQ(difference.samples.size(), a.samples.size());
    for (std::size_t i = 0; i < a.samples.size(); i++)
        ASSERT_EQ(difference.samples[i], std::min(100 * std::abs(a.samples[i] - b.samples[i]), 255));
}

TEST_F(Measures, FaultsOfCompareAreNoDifference) {
    EXPECT_EQ(runLine("compare a.png nowhere.png").code, 3);
    EXPECT_EQ(runLine("compare a.png").code, 2);
    EXPECT_EQ(runLine("compare a.png b.png --gain 0").code, 2);
    EXPECT_EQ(runLine("compare a.png b.png --output nowhere/d.png").code, 3);
    writeBytes("text.png", "no picture");
    EXPECT_EQ(runLine("compare text.png a.png").code, 3);
}

TEST_F(Measures, ArgumentsThatMakeNoSense) {
    for (const char *words : {"stretch 200 50", "stretch 0 256", "stretch -1 9", "stretch-points 0,0",
                              "stretch-points 0,0,9", "stretch-points 9,0,9,1", "stretch-points 0,0,9,256"}) {
        EXPECT_EQ(runLine(std::string("run a.png ") + words + " out.png").code, 2) << words;
    }
    EXPECT_EQ(runLine("run a.png --depth 32f less-s 3 out.png").code, 1);
    EXPECT_EQ(runLine("run a.png less-sfp 3 out.png").code, 1);
    EXPECT_EQ(runLine("run a.png --depth 16s equalize out.png").code, 1);
    EXPECT_EQ(runLine("run a.png --depth 32f equal-sfpeps 1 0 out.png").code, 1);
    EXPECT_FALSE(exists("out.png"));
}
