// What the tool says about itself, about operations and about pictures.
#include <algorithm>
#include <cstdlib>

#include "table/examples.h"
#include "toolbench.h"

using Usage = Bench;

static std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> result;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        result.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return result;
}

TEST_F(Usage, HelpNamesEveryCommandAndExitCode) {
    const std::string text = runWell({"--help"});
    for (const char *word : {"list", "info", "compare", "run", "gallery", "--version", "Exit codes: 0",
                             "1 an operation", "2 the", "3 a file"}) {
        EXPECT_NE(text.find(word), std::string::npos) << word;
    }
}

TEST_F(Usage, HelpIsACommandToo) {
    EXPECT_EQ(runWell({"help"}), runWell({"--help"}));
    EXPECT_EQ(runWell({"help", "compare"}), runWell({"compare", "--help"}));
    EXPECT_EQ(run({"help", "nothing"}).code, 2);
}

TEST_F(Usage, HelpOfRunNamesEveryOption) {
    const std::string text = runWell({"run", "--help"});
    for (const char *word : {"--roi", "--coi", "--mask", "--from", "--depth", "--tiles", "--planes", "--bits", "--rle",
                             "--palette", "--dither", "--no-output"}) {
        EXPECT_NE(text.find(word), std::string::npos) << word;
    }
}

TEST_F(Usage, CompletionAndManualNameAllOfIt) {
    const std::string man = runWell({"man"}), bash = runWell({"completion", "bash"}),
                      zsh = runWell({"completion", "zsh"});
    EXPECT_TRUE(zsh.starts_with("#compdef mox\n"));
    std::string spaced = bash;
    std::replace(spaced.begin(), spaced.end(), '"', ' ');
    for (const std::string &name : lines(runWell({"list", "--names"}))) {
        std::string escaped;
        for (const char c : name)
            escaped += c == '-' ? std::string("\\-") : std::string(1, c);
        EXPECT_NE(man.find("\n.B " + escaped), std::string::npos) << name;
        EXPECT_NE(spaced.find(" " + name + " "), std::string::npos) << name;
    }
    for (const char *option : {"roi", "out\\-dir", "resume", "quality", "dither"})
        EXPECT_NE(man.find(std::string(".B \\-\\-") + option), std::string::npos) << option;
    writeBytes("complete",
               bash +
                   "\nCOMP_WORDS=(mox run a.png gradient-so); COMP_CWORD=3; _mox; echo \"${COMPREPLY[@]}\"\n"
                   "COMP_WORDS=(mox run a.png --depth 16); COMP_CWORD=4; _mox; echo \"${COMPREPLY[@]}\"\n");
    const std::string line = "bash " + path("complete") + " > " + path("told");
    EXPECT_EQ(std::system(line.c_str()), 0);
    EXPECT_EQ(readBytes("told"), "gradient-sobel\n16u 16s\n");
    EXPECT_EQ(runLine("completion fish").code, 2);
}

TEST_F(Usage, Version) {
    EXPECT_EQ(runWell({"--version"}), "mox 2.5.9 (library 2.5 Release SP1)\n");
}

TEST_F(Usage, ListTellsEveryOperationWithArgumentsAndHelp) {
    const std::string list = runWell({"list"});
    const std::vector<std::string> names = lines(runWell({"list", "--names"}));
    ASSERT_FALSE(names.empty());
    for (const std::string &name : names) {
        const auto all = lines(list);
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const std::string &line) { return line.starts_with("  " + name + " "); });
        ASSERT_NE(found, all.end()) << name;
        EXPECT_GT(split(*found).size(), 2u) << name << " has no explanation";
    }
    EXPECT_NE(list.find("subtract-s VALUE [flip]"), std::string::npos);
    EXPECT_NE(list.find("put-pixel X Y V,V,..."), std::string::npos);
}

TEST_F(Usage, ListHasEveryOperationOfTheLibrary) {
    const std::vector<std::string> names = lines(runWell({"list", "--names"}));
    for (const Example &example : allExamples()) {
        if (example.touches != Touches::PIXELS) continue;
        EXPECT_NE(std::find(names.begin(), names.end(), toolName(example)), names.end())
            << example.name << " has no entry " << toolName(example) << " in tools/mox/ops*.cpp";
    }
}

TEST_F(Usage, ListHasNoNameTwice) {
    std::vector<std::string> names = lines(runWell({"list", "--names"}));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

TEST_F(Usage, Info) {
    Png picture = randomPng(3, 1, 3, 8, 1);
    picture.samples = {10, 200, 0, 20, 100, 0, 60, 150, 255};
    write("a.png", picture);
    // Behind each channel's line stands its histogram.
    const std::vector<std::string> told = lines(runWell({"info", "a.png"}));
    ASSERT_EQ(told.size(), 1u + 3 * 13);
    EXPECT_EQ(told[0], "a.png: 3 x 1, RGB, 8 bits a sample; depth 8u");
    EXPECT_EQ(told[1], "  channel 1  red       10 to    60, mean 30.00");
    EXPECT_EQ(told[14], "  channel 2  green    100 to   200, mean 150.00");
    EXPECT_EQ(told[27], "  channel 3  blue       0 to   255, mean 85.00");
    EXPECT_EQ(told[28], "  66.7% |#");
    EXPECT_EQ(told[39], "         0" + std::string(60, ' ') + "255");
}

TEST_F(Usage, InfoOfOtherKinds) {
    write("bits.png", randomPng(9, 2, 1, 1, 1));
    EXPECT_NE(runWell({"info", "bits.png"}).find("9 x 2, gray, 1 bit a sample; depth 1u"), std::string::npos);
    write("deep.png", randomPng(4, 4, 4, 16, 1));
    const std::string text = runWell({"info", "deep.png"});
    EXPECT_NE(text.find("4 x 4, RGB with alpha, 16 bits a sample; depth 16u"), std::string::npos);
    EXPECT_NE(text.find("channel 4  alpha"), std::string::npos);
}

TEST_F(Usage, NothingAskedIsAnError) {
    const Outcome outcome = run({});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(outcome.err.starts_with("mox: "));
    EXPECT_EQ(outcome.out, "");
}
