// The gallery: every operation shown at work. Each result is made by the very command that stands below it, run in the
// gallery's folder.
#include "gallery.h"

#include <mox.h>

#include <algorithm>
#include <filesystem>

#include "arguments.h"
#include "chain.h"
#include "examples.h"
#include "failure.h"
#include "files.h"
#include "page.h"
#include "scene.h"

namespace {

constexpr int sceneWidth = 480;
constexpr int sceneHeight = 320;
constexpr int longestSide = 640;
constexpr int shiftedBy = 2;

struct Gallery {
    std::string folder;
    Page page;
    std::string commands;
};

void makeFolder(const std::string &folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_directory(folder)) {
        fail(exitFile, folder + ": " + (error ? error.message() : std::string("is not a folder")));
    }
}

void addSource(Gallery *gallery, const char *file, const char *caption, const Picture &picture) {
    writePng(picture, (std::filesystem::path(gallery->folder) / file).string());
    gallery->page.sources.push_back({file, caption});
}

void writeSources(Gallery *gallery, const Picture &picture, const char *caption) {
    const int width = picture.width;
    const int height = picture.height;
    addSource(gallery, "picture.png", caption, picture);
    addSource(gallery, "discs.png", "Coloured lights on black.", drawDiscs(width, height, 1.0));
    addSource(gallery, "faint.png", "The same at half their strength.", drawDiscs(width, height, 0.5));
    addSource(gallery, "shifted.png", "The picture, two pixels to the right and down.",
              drawShifted(picture, shiftedBy));
    addSource(gallery, "piece.png", "A piece of the picture.",
              drawPiece(picture, width * 5 / 12, height / 16, std::max(width / 8, 1), std::max(height / 4, 1)));
    addSource(gallery, "negative.png", "The picture's negative.", drawNegative(picture));
    addSource(gallery, "hazy.png", "The picture in gray, through haze.", drawHazy(picture));
    addSource(gallery, "specks.png", "The picture with specks.", drawSpecks(picture));
    addSource(gallery, "stripes.png", "All bits or none.", drawStripes(width, height));
    addSource(gallery, "vignette.png", "Light in the middle.", drawVignette(width, height));
    addSource(gallery, "mask.png", "A mask, of one bit a pixel.", drawMask(width, height));
    addSource(gallery, "left.png", "One bit a pixel: left.", drawDisc(width, height, 0.37));
    addSource(gallery, "right.png", "And right.", drawDisc(width, height, 0.63));
    addSource(gallery, "striped.png", "The picture with stripes.", drawStriped(picture));
    addSource(gallery, "notches.png", "Where their frequencies are in a spectrum.", drawNotches(width, height));
    addSource(gallery, "ruby.png", "Red glass: a picture with alpha.", drawGlass(width, height, 0.37, {224, 17, 95}));
    addSource(gallery, "jade.png", "And green.", drawGlass(width, height, 0.63, {0, 168, 107}));
    addSource(gallery, "tiny.png", "Twelve by eight pixels.", drawTiny());
    addSource(gallery, "page.png", "A page, photographed askew.", drawPage(width, height));
    addSource(gallery, "tiles.png", "Light and dark squares.", drawChecks());
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text += " " + word;
    return text;
}

void addOnce(std::vector<std::string> *names, const std::string &name) {
    if (!name.empty() && std::find(names->begin(), names->end(), name) == names->end()) names->push_back(name);
}

// Runs an example and describes it. The result's name is only used if there is a result.
Card runExample(Gallery *gallery, const Example &example, const std::string &result) {
    std::vector<std::string> words = exampleWords(example, gallery->page.width, gallery->page.height);
    words.insert(words.begin(), example.input);
    if (std::find(words.begin(), words.end(), "--no-output") == words.end()) words.push_back(result);
    const RunRequest request = parseRunWords(words);
    Card card;
    card.caption = example.caption;
    card.command = "mox run" + joined(words);
    card.printed = runRequest(request, gallery->folder);
    card.result = request.output;
    addOnce(&card.inputs, request.input);
    for (const Step &step : request.steps)
        addOnce(&card.inputs, step.picture);
    gallery->commands += card.command + "\n";
    return card;
}

void addOperation(Gallery *gallery, const Operation &operation, Section *section) {
    int number = 0;
    for (const Example &example : operation.examples) {
        number++;
        std::string result = operation.name;
        if (number > 1) result.append("-").append(std::to_string(number));
        Card card = runExample(gallery, example, result + example.ending);
        card.title = usageOf(operation);
        if (number == 1) card.help = operation.help;
        section->cards.push_back(card);
    }
    gallery->page.operations++;
}

void addWays(Gallery *gallery, const std::vector<Way> &ways, const char *title, bool compact) {
    Section section{title, {}, compact};
    for (const Way &way : ways) {
        Card card = runExample(gallery, way.example, std::string(way.name) + way.example.ending);
        card.title = way.title;
        card.help = "";
        if (compact) card.inputs.clear();
        section.cards.push_back(card);
    }
    gallery->page.sections.push_back(section);
}

}  // namespace

void writeGallery(const std::string &folder, const std::string &picture) {
    Picture main;
    if (!picture.empty()) main = reducedTo(withChannels(withBits(readPicture(picture), 8), 3), longestSide);
    makeFolder(folder);
    if (picture.empty()) main = drawScene(sceneWidth, sceneHeight);
    Gallery gallery;
    gallery.folder = folder;
    gallery.page.version = moxGetLibVersion()->version;
    gallery.page.width = main.width;
    gallery.page.height = main.height;
    writeSources(&gallery, main, picture.empty() ? "The picture: a scene drawn by mox." : "The picture.");
    for (const Family *family : families()) {
        Section section{family->title, {}, false};
        for (const Operation &operation : family->operations)
            addOperation(&gallery, operation, &section);
        gallery.page.sections.push_back(section);
    }
    addWays(&gallery, bitmapWays(), "Bitmaps: colours, palettes and dithers", true);
    addWays(&gallery, ways(), "Regions, masks, channels, depths, tiles", false);
    writeText((std::filesystem::path(folder) / "commands.txt").string(), gallery.commands);
    writeText((std::filesystem::path(folder) / "index.html").string(), renderPage(gallery.page));
}
