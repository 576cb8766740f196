// The gallery is complete, and each of its commands makes what it is said to have made.
#include <filesystem>
#include <set>
#include <sstream>

#include "toolbench.h"

using Gallery = Bench;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line))
        result.push_back(line);
    return result;
}

// All values of an attribute, as in src="...".
std::set<std::string> valuesOf(const std::string &html, const std::string &attribute) {
    std::set<std::string> values;
    const std::string sign = attribute + "=\"";
    for (std::size_t at = html.find(sign); at != std::string::npos; at = html.find(sign, at + 1)) {
        const std::size_t begin = at + sign.size();
        values.insert(html.substr(begin, html.find('"', begin) - begin));
    }
    return values;
}

// What operations have something to change in.
Png smooth(int width, int height) {
    Png picture = randomPng(width, height, 3, 8, 5);
    for (std::size_t i = 0; i < picture.samples.size(); i++) {
        const int x = static_cast<int>(i / 3) % width, y = static_cast<int>(i / 3) / width;
        const int slope = (x * (static_cast<int>(i % 3) + 1) + 2 * y) % 200;
        picture.samples[i] = static_cast<std::uint16_t>(20 + slope + picture.samples[i] % 16);
    }
    return picture;
}

}  // namespace

TEST_F(Gallery, ShowsEveryOperationAndNothingFromElsewhereNorWhatChangesNothing) {
    runWell({"gallery", "made/here"});
    const std::string html = readBytes("made/here/index.html");
    const std::set<std::string> anchors = valuesOf(html, "id");
    for (const std::string &name : linesOf(runWell({"list", "--names"}))) {
        EXPECT_TRUE(anchors.contains(name)) << name;
        EXPECT_NE(html.find("href=\"#" + name + "\""), std::string::npos) << name;
    }
    const std::set<std::string> images = valuesOf(html, "src");
    EXPECT_FALSE(images.empty());
    for (const std::string &image : images) {
        EXPECT_TRUE(exists("made/here/" + image)) << image;
        if (image.ends_with(".bmp")) {
            EXPECT_TRUE(readBytes("made/here/" + image).starts_with("BM")) << image;
        } else {
            EXPECT_GT(read("made/here/" + image).width, 0) << image;
        }
    }
    EXPECT_EQ(html.find("http"), std::string::npos);
    for (const auto &entry : fs::directory_iterator(path("made/here"))) {
        const std::string file = entry.path().filename().string();
        EXPECT_TRUE(file == "index.html" || file == "commands.txt" || images.contains(file)) << file << " is not shown";
    }
    for (const std::string &command : linesOf(readBytes("made/here/commands.txt"))) {
        const std::vector<std::string> words = split(command);
        if (!words.back().ends_with(".png")) continue;
        EXPECT_NE(read("made/here/" + words[2]).samples, read("made/here/" + words.back()).samples) << command;
    }
    // The README's pictures are copies of the gallery's.
    for (const auto &entry : fs::directory_iterator(MOX_SOURCE_FOLDER "/docs/gallery")) {
        const std::string file = entry.path().filename().string();
        fs::copy_file(entry.path(), path("copy.png"), fs::copy_options::overwrite_existing);
        EXPECT_EQ(read("copy.png").samples, read("made/here/" + file).samples) << "docs/gallery/" << file << " is another";
    }
}

TEST_F(Gallery, EachCommandMakesTheSameBytes) {
    write("mine.png", smooth(198, 132));
    runWell({"gallery", "gallery", "mine.png"});
    fs::copy(path("gallery"), folder, fs::copy_options::recursive);
    const std::string html = readBytes("index.html");
    const std::vector<std::string> commands = linesOf(readBytes("commands.txt"));
    EXPECT_GE(commands.size(), linesOf(runWell({"list", "--names"})).size()) << "an operation has no example";
    for (const std::string &command : commands) {
        EXPECT_NE(html.find("<pre>" + command + "</pre>"), std::string::npos) << command;
        std::vector<std::string> words = split(command);
        ASSERT_EQ(words.front(), "mox");
        words.erase(words.begin());
        const std::string result = words.back();
        const bool writes = result.ends_with(".png") || result.ends_with(".bmp");
        if (writes) fs::remove(path(result));
        const std::string printed = runWell(words);
        if (writes) {
            EXPECT_EQ(readBytes(result) == readBytes("gallery/" + result), true) << command;
        } else {
            EXPECT_NE(html.find(printed), std::string::npos) << command;
        }
    }
}

TEST_F(Gallery, OfAPicture) {
    for (const int bits : {1, 8, 16}) {
        for (const int channels : {1, 4}) {
            if (bits == 1 && channels > 1) continue;
            write("mine.png", randomPng(50, 90, channels, bits, 4));
            runWell({"gallery", "gallery", "mine.png"});
            const Png picture = read("gallery/picture.png");
            EXPECT_EQ(picture.channels, 3);
            EXPECT_EQ(picture.width, 50);
            EXPECT_EQ(picture.height, 90);
        }
    }
}

TEST_F(Gallery, OfALargePictureIsReduced) {
    write("mine.png", mapped(randomPng(1300, 30, 1, 8, 4), [](int) { return 99; }));
    runWell({"gallery", "gallery", "mine.png"});
    const Png picture = read("gallery/picture.png");
    EXPECT_EQ(picture.width, 434);
    EXPECT_EQ(picture.height, 10);
    EXPECT_EQ(picture.samples, mapped(picture, [](int) { return 99; }).samples);
}
