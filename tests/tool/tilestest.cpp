// Served tile by tile, or in planes, a chain gives the very bytes that it gives in one piece.
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <sstream>

#include "toolbench.h"

namespace {

namespace fs = std::filesystem;

std::string named(std::string letter, const std::string &number) {
    return letter.append(number).append(".png");
}

class Tiles : public Bench {
  protected:
    void SetUp() override {
        Bench::SetUp();
        for (unsigned channels = 1; channels <= 4; channels++) {
            const std::string number = std::to_string(channels);
            write(named("a", number), randomPng(101, 89, static_cast<int>(channels), 8, channels));
            write(named("b", number), randomPng(101, 89, static_cast<int>(channels), 8, 10 + channels));
        }
        write("a0.png", randomPng(101, 89, 1, 1, 30));
        write("b0.png", randomPng(101, 89, 1, 1, 31));
        write("m.png", randomPng(101, 89, 1, 1, 40));
    }

    void expectSame(const std::string &line) {
        runLineWell("run " + line + " plain.pam");
        const std::string plain = readBytes("plain.pam");
        for (const char *way :
             {"--tiles 8x8", "--tiles 32x24", "--tiles 256x256", "--tiles 16x48 --planes", "--planes"}) {
            runLineWell("run " + line + " " + way + " tiled.pam");
            EXPECT_EQ(readBytes("tiled.pam") == plain, true) << line << " " << way;
        }
        expectSameFromDisk(line, plain);
    }

    // From scratch files, with room for a few rows of tiles: what has to see a picture whole says so. The list of these
    // stands in the guide.
    void expectSameFromDisk(const std::string &line, const std::string &plain) {
        const Outcome outcome = runLine("run " + line + " --memory 300K disk.pam");
        if (outcome.code == 0) {
            EXPECT_EQ(readBytes("disk.pam") == plain, true) << line << " --memory 300K";
        } else {
            EXPECT_EQ(outcome.code, 1) << line << "\n" << outcome.err;
            expectWholeOnly(line, outcome.err);
        }
    }

    static void expectWholeOnly(const std::string &line, const std::string &message) {
        const std::vector<std::string> words = split(line);
        const auto names = [&words](const char *name) {
            return std::find(words.begin(), words.end(), name) != words.end();
        };
        EXPECT_NE(message.find(" has to be in memory whole, which takes "), std::string::npos) << line << message;
        EXPECT_TRUE(std::any_of(std::begin(wholeOnly), std::end(wholeOnly), names)) << line << "\n" << message;
    }

    // The same for each of several pictures. Gives those that the chain is for.
    std::vector<std::string> expectSameOfMany(const std::string &chain, const std::vector<std::string> &pictures) {
        const auto runTo = [&](const std::string &to, const std::string &way, const std::vector<std::string> &names) {
            fs::remove_all(path(to));
            std::string line = "run --jobs 1 --format pam --out-dir " + to + " " + chain + " " + way + " --";
            for (const std::string &name : names)
                line += " " + name;
            const Outcome outcome = runLine(line);
            EXPECT_TRUE(outcome.code == 0 || outcome.code == 1) << outcome.err;
            return outcome.err;
        };
        const auto result = [](const std::string &to, const std::string &name) {
            return to + "/" + name.substr(0, name.size() - 4) + ".pam";
        };
        std::vector<std::string> taken;
        runTo("plain", "", pictures);
        std::copy_if(pictures.begin(), pictures.end(), std::back_inserter(taken),
                     [&](const std::string &name) { return exists(result("plain", name)); });
        if (taken.empty()) return taken;
        for (const std::string way : {"--tiles 8x8", "--tiles 32x24", "--tiles 256x256", "--tiles 16x48 --planes",
                                      "--planes", "--memory 300K"}) {
            // Noise goes to samples in their order, which planes change.
            if (chain.find("noise") != std::string::npos && way.ends_with("--planes")) continue;
            const std::string messages = runTo("other", way, taken);
            for (const std::string &name : taken) {
                const bool made = exists(result("other", name));
                if (made || !way.starts_with("--memory")) {
                    EXPECT_EQ(made && readBytes(result("other", name)) == readBytes(result("plain", name)), true)
                        << chain << " " << way << " " << name << "\n"
                        << messages;
                } else {
                    expectWholeOnly(chain, messages.substr(messages.find("\n  " + name + ": ")));
                }
            }
        }
        return taken;
    }

    static constexpr const char *wholeOnly[] = {"blur", "noise",      "zoom",         "remap",    "find",    "spectrum",
                                                "fft",  "filter-fft", "convolve-fft", "ifft",     "cosines", "dct",
                                                "idct", "dct-drop",   "wavelet",      "iwavelet", "to-bmp"};
};

// Words for each argument that an operation has.
std::string exampleOf(const std::string &usage, const std::string &picture, int samples) {
    static const std::map<std::string, std::string> examples = {
        {"VALUE", "33"},
        {"N", "2"},
        {"X", "5"},
        {"Y", "4"},
        {"LOW", "50"},
        {"HIGH", "200"},
        {"L,V,L,V,...", "0,255,100,0,255,255"},
        {"AXIS", "-1"},
        {"DEGREES", "120"},
        {"ACROSS", "0.25"},
        {"DOWN", "0.125"},
        {"RATIO", "2/3"},
        {"KIND", "cubic"},
        {"XMAP", "lens:0.4"},
        {"YMAP", "wave:5"},
        {"CORNERS", "3,2,30,4.5,27.25,19,6,17"},
        {"SIZE", "50x30"},
        {"WxH", "90x50"},
        {"SEED", "5"},
        {"[hue]", ""},
        {"[smooth]", "smooth"},
        {"[nearest]", "nearest"},
        {"R,G,B", "1,0.5,0.25"},
        {"M,M,...", "0.5,0.25,0,0,0,1,0,0,0,0.5,0.5,0.1"},
        {"W,W,...", "1,2,1"},
        {"[mark]", "mark"},
        {"NAME", "db2"},
        {"EPS", "0.5"},
        {"MIN", "0"},
        {"MAX", "1"},
        {"ZERO", "40"},
        {"ONE", "220"},
        {"[bits]", "bits"},
        {"[flip]", "flip"},
        {"[premultiplied]", "premultiplied"},
        {"OPACITY", "100"},
        {"ALPHA", "100"},
        {"DEPTH", "8u"},
        {"DITHER", "jjh"},
        {"LEVELS", "20"},
        {"NOISE", "20"},
        {"LIMIT", "20"},
        {"WIDTH", "40"},
        {"HEIGHT", "30"},
        {"PERCENT", "-20"},
        {"FACTOR", "1.5"},
        {"COLOR", "255,250,235"},
    };
    // Where a word means something else.
    static const std::map<std::string, std::string> others = {
        {"channel N", "1"}, {"zoom RATIO", "3/2"}, {"noise KIND", "gauss"}};
    std::istringstream stream(usage);
    std::string operation;
    std::string word;
    stream >> operation;
    std::string words = operation;
    while (stream >> word) {
        words += " ";
        if (word == "PICTURE") {
            words += picture;
        } else if (word == "V,V,...") {
            words += "1";
            for (int c = 1; c < samples; c++)
                words += ",1";
        } else if (const auto other = others.find(operation + " " + word); other != others.end()) {
            words += other->second;
        } else if (const auto example = examples.find(word); example != examples.end()) {
            words += example->second;
        } else {
            ADD_FAILURE() << "no example for the argument " << word;
        }
    }
    return words;
}

std::vector<std::string> usages(const std::string &list) {
    std::vector<std::string> result;
    std::istringstream stream(list);
    std::string line;
    while (std::getline(stream, line)) {
        if (!line.starts_with("  ")) continue;
        // Two spaces stand between usage and help.
        result.push_back(line.substr(2, line.find("  ", 2) - 2));
        while (result.back().ends_with(' '))
            result.back().pop_back();
    }
    return result;
}

}  // namespace

TEST_F(Tiles, EveryOperation) {
    const std::vector<std::string> all = usages(runWell({"list"}));
    ASSERT_EQ(all.size(), split(runWell({"list", "--names"})).size());
    for (const std::string &usage : all) {
        // Pictures that the same words are for go through in one run.
        std::map<std::string, std::vector<std::string>> pictures;
        for (const int channels : {0, 3, 4}) {
            const std::string second = named("b", channels == 4 ? "4" : "3");
            pictures[exampleOf(usage, second, std::max(channels, 1))].push_back(named("a", std::to_string(channels)));
        }
        for (auto &[words, names] : pictures) {
            // What refuses bits, or bytes, or all integers, says so with exit code 1, and takes pictures at some depth.
            for (const char *depth : {"", "--depth 32f ", "--depth 16s ", "--depth 1u "}) {
                const std::vector<std::string> taken = expectSameOfMany(depth + words, names);
                std::erase_if(names, [&taken](const std::string &name) {
                    return name == "a0.png" || std::find(taken.begin(), taken.end(), name) != taken.end();
                });
                if (names.empty()) break;
            }
            EXPECT_TRUE(names.empty()) << words;
        }
    }
}

TEST_F(Tiles, EveryDepth) {
    for (const char *depth : {"1u", "8u", "8s", "16u", "16s", "32s"}) {
        expectSame(std::string("a3.png --depth ") + depth + " add b3.png add-s 3 not");
        // Bits have no alpha, and what would lose some is refused.
        const char *const second = std::string(depth) == "1u" ? "b1.png" : "b2.png";
        expectSame(std::string("a2.png --depth ") + depth + " subtract " + second + " abs");
    }
    expectSame("a3.png --depth 32f add b3.png multiply-sfp 0.5");
    expectSame("a3.png --depth 32f --border 1 blur 3 5");
}

TEST_F(Tiles, RegionsMasksAndChannels) {
    for (const char *words : {"add-s 50", "add b3.png", "copy b3.png", "exchange b3.png", "set 9"}) {
        for (const char *limits : {"--roi 13,5,61,50", "--mask m.png", "--coi 2",
                                   "--mask m.png --roi 13,5,61,50 --coi 3", "--roi 13,5,61,50 --from 3,17"}) {
            expectSame(std::string("a3.png ") + limits + " " + words);
        }
    }
}

TEST_F(Tiles, BitsUnderRegionsAndMasks) {
    for (const char *words : {"xor b0.png", "copy b0.png", "exchange b0.png", "set 1", "set 0", "not"}) {
        for (const char *limits : {"--roi 13,5,61,50", "--mask m.png", "--mask m.png --roi 13,5,61,50",
                                   "--mask m.png --roi 13,5,61,50 --from 6,9"}) {
            expectSame(std::string("a0.png ") + limits + " " + words);
        }
    }
}
