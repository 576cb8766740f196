// Examples of the gallery that belong to no single operation.
#include "examples.h"

#include <cstdlib>
#include <sstream>

const std::vector<Way> &ways() {
    static const std::vector<Way> all = {
        {"way-chain",
         "A chain",
         {"Operations run one after the other: contrast, then only the three highest bits, then the negative.",
          "subtract-s 40 multiply-s 2 and-s 0xE0 not"}},
        {"way-roi",
         "A region of interest",
         {"--roi limits the work to a rectangle.", "--roi {w20},{h20},{w60},{h60} xor-s 0x80"}},
        {"way-coi", "A channel of interest", {"--coi limits it to one channel, here green.", "--coi 2 subtract-s 90"}},
        {"way-mask",
         "A mask",
         {"--mask limits it to the light pixels of another picture.", "--mask mask.png rshift-s 2"}},
        {"way-all",
         "Mask, region and channel at once",
         {"What is outside of any of the three stays.",
          "--mask mask.png --roi {w10},{h10},{w40},{h80} --coi 1 set 255"}},
        {"way-from",
         "Another place in the second picture",
         {"--from says where the region begins in the second picture: the middle goes to the corner.",
          "--roi {w2},{h3},{w30},{h30} --from {w35},{h35} copy negative.png"}},
        {"way-1u", "Depth 1u", {"One bit a sample: the lighter half is white.", "--depth 1u xor stripes.png"}},
        {"way-16s",
         "Depth 16s",
         {"Signed samples: a difference keeps its sign, with zero in the middle of the scale.",
          "--depth 16s subtract shifted.png multiply-s 3"}},
        {"way-32s",
         "Depth 32s",
         {"Room above white: what was multiplied by 100 and then brought back has lost nothing.",
          "--depth 32s multiply-s 100 subtract-s 6400 rshift-s 6"}},
        {"way-tiles",
         "Tiles",
         {"The library sees 32 x 24 pixels at a time. Nobody can tell from the result.",
          "--tiles 32x24 --mask mask.png add discs.png"}},
        {"way-planes",
         "Planes",
         {"One plane for each channel in place of interleaved ones: the same.", "--planes --coi 3 not"}},
    };
    return all;
}

std::vector<Way> bitmapWays() {
    struct Word {
        const char *word;
        const char *text;
    };
    constexpr Word sizes[] = {{"8", "256 colours"}, {"4", "16 colours"}, {"1", "2 colours"}};
    constexpr Word palettes[] = {{"fixed", "fixed"}, {"medcut", "of the picture"}};
    constexpr Word dithers[] = {{"none", "not dithered"},
                                {"fs", "Floyd and Steinberg"},
                                {"jjh", "Jarvis, Judice and Ninke"},
                                {"stuckey", "Stucki"},
                                {"bayer", "Bayer"}};
    std::vector<Way> all;
    for (const Word &size : sizes) {
        for (const Word &palette : palettes) {
            for (const Word &dither : dithers) {
                Way way;
                way.name = std::string("bmp-") + size.word + "-" + palette.word + "-" + dither.word;
                way.title = std::string(size.text) + ", " + palette.text;
                way.example.caption = std::string(dither.text) + ".";
                way.example.words = std::string("to-bmp --bits ") + size.word + " --palette " + palette.word +
                                    " --dither " + dither.word;
                all.push_back(way);
            }
        }
    }
    return all;
}

static std::string withNumbers(const std::string &word, int width, int height) {
    std::string result;
    std::size_t next = 0;
    while (next < word.size()) {
        if (word[next] != '{') {
            result += word[next++];
            continue;
        }
        const int side = word[next + 1] == 'w' ? width : height;
        const long percent = std::strtol(word.c_str() + next + 2, nullptr, 10);
        result += std::to_string(side * percent / 100);
        next = word.find('}', next) + 1;
    }
    return result;
}

std::vector<std::string> exampleWords(const Example &example, int width, int height) {
    std::vector<std::string> words;
    std::istringstream stream(example.words);
    std::string word;
    while (stream >> word)
        words.push_back(withNumbers(word, width, height));
    return words;
}
