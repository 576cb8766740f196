// Served tile by tile, or in planes, a chain gives the very bytes that it gives in one piece.
#include <sstream>

#include "toolbench.h"

namespace {

std::string named(std::string letter, const std::string &number) {
    return letter.append(number).append(".png");
}

class Tiles : public Bench {
  protected:
    void SetUp() override {
        Bench::SetUp();
        for (unsigned channels = 1; channels <= 4; channels++) {
            const std::string number = std::to_string(channels);
            write(named("a", number), randomPng(101, 67, static_cast<int>(channels), 8, channels));
            write(named("b", number), randomPng(101, 67, static_cast<int>(channels), 8, 10 + channels));
        }
        write("a0.png", randomPng(101, 67, 1, 1, 30));
        write("b0.png", randomPng(101, 67, 1, 1, 31));
        write("m.png", randomPng(101, 67, 1, 1, 40));
    }

    void expectSame(const std::string &line) {
        runLineWell("run " + line + " plain.png");
        const std::string plain = readBytes("plain.png");
        for (const char *way :
             {"--tiles 8x8", "--tiles 32x24", "--tiles 256x256", "--tiles 16x48 --planes", "--planes"}) {
            runLineWell("run " + line + " " + way + " tiled.png");
            EXPECT_EQ(readBytes("tiled.png") == plain, true) << line << " " << way;
        }
    }
};

// Words for each kind of argument that an operation has.
std::string exampleOf(const std::string &usage, const std::string &picture, int samples) {
    std::istringstream stream(usage);
    std::string words;
    std::string word;
    stream >> words;
    while (stream >> word) {
        if (word == "PICTURE") {
            words += " " + picture;
        } else if (word == "V,V,...") {
            words += " 1";
            for (int c = 1; c < samples; c++)
                words += ",1";
        } else if (word == "N" && words.starts_with("channel")) {
            words += " 1";
        } else if (word == "VALUE" || word == "N") {
            words += word == "N" ? " 2" : " 33";
        } else if (word == "X" || word == "Y") {
            words += word == "X" ? " 5" : " 4";
        } else if (word == "LOW" || word == "HIGH") {
            words += word == "LOW" ? " 50" : " 200";
        } else if (word == "L,V,L,V,...") {
            words += " 0,255,100,0,255,255";
        } else if (word == "AXIS" || word == "DEGREES") {
            words += word == "AXIS" ? " -1" : " 120";
        } else if (word == "R,G,B") {
            words += " 1,0.5,0.25";
        } else if (word == "M,M,...") {
            words += " 0.5,0.25,0,0,0,1,0,0,0,0.5,0.5,0.1";
        } else if (word == "W,W,...") {
            words += " 1,2,1";
        } else if (word == "[mark]") {
            words += " mark";
        } else if (word == "NAME") {
            words += " db2";  // a wavelet
        } else if (word == "EPS") {
            words += " 0.5";
        } else if (word == "MIN" || word == "MAX") {
            words += word == "MIN" ? " 0" : " 1";
        } else if (word == "ZERO" || word == "ONE") {
            words += word == "ZERO" ? " 40" : " 220";
        } else if (word == "[bits]") {
            words += " bits";
        } else if (word == "[flip]" || word == "[premultiplied]") {
            words += word == "[flip]" ? " flip" : " premultiplied";
        } else if (word == "OPACITY" || word == "ALPHA") {
            words += " 100";
        } else if (word == "DEPTH") {
            words += " 8u";
        } else if (word == "WIDTH" || word == "HEIGHT") {
            words += word == "WIDTH" ? " 40" : " 30";
        } else if (word == "PERCENT" || word == "FACTOR") {
            words += word == "PERCENT" ? " -20" : " 1.5";
        } else if (word == "COLOR") {
            words += " 255,250,235";
        } else if (word == "DITHER") {
            words += " jjh";
        } else if (word == "LEVELS" || word == "NOISE" || word == "LIMIT") {
            words += " 20";
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
        for (const int channels : {0, 3, 4}) {
            const std::string number = std::to_string(channels);
            const std::string words = exampleOf(usage, named("b", number), std::max(channels, 1));
            // What refuses bits, or bytes, or all integers, says so with exit code 1, and takes pictures at some depth.
            bool taken = false;
            for (const char *depth : {"", "--depth 32f ", "--depth 16s ", "--depth 1u "}) {
                const std::string line = named("a", number) + " " + depth + words;
                const Outcome outcome = runLine("run " + line + " plain.png");
                ASSERT_TRUE(outcome.code == 0 || outcome.code == 1) << outcome.err;
                taken = outcome.code == 0;
                if (taken) expectSame(line);
                if (taken || channels == 0) break;
            }
            EXPECT_TRUE(taken || channels == 0) << words;
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
