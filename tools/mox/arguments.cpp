// The command line.
#include "arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "failure.h"
#include "image.h"

namespace {

// What the parser fills for `mox run`, before it is understood.
struct RunWords {
    std::vector<std::string> words;
    std::string roi;
    std::string from;
    std::string tiles;
    std::string depth;
    int coi = 0;
    std::string mask;
    bool planes = false;
    bool noOutput = false;
    int bits = 0;
    bool rle = false;
    std::string palette;
    std::string dither;
};

constexpr int largestTileSide = 1 << 20;

void addRunArguments(CLI::App *app, RunWords *run) {
    app->add_option("words", run->words, "PICTURE OPERATION [ARGUMENT...] [OPERATION [ARGUMENT...]]... RESULT")
        ->type_name("")
        ->required();
    app->add_option("--roi", run->roi, "Work on this region only")->type_name("X,Y,W,H");
    app->add_option("--coi", run->coi, "Work on this channel only, counted from 1 (alpha is the last)")->type_name("N");
    app->add_option("--mask", run->mask, "Work only where this picture is light; it lies over PICTURE")
        ->type_name("FILE");
    app->add_option("--from", run->from, "Where the region begins in second pictures (as in PICTURE)")
        ->type_name("X,Y");
    app->add_option("--depth", run->depth, "Compute at depth 1u, 8u, 8s, 16u, 16s, 32s or 32f (as PICTURE)")
        ->type_name("DEPTH");
    app->add_option("--tiles", run->tiles, "Serve pictures to the library in tiles, sides multiples of 8")
        ->type_name("WxH");
    app->add_flag("--planes", run->planes, "Keep channels in planes, not interleaved");
    app->add_option("--bits", run->bits, "Bitmaps: 1, 4, 8, 16, 24 or 32 bits a pixel (as the picture needs)")
        ->type_name("N");
    app->add_flag("--rle", run->rle, "Bitmaps: run lengths, at 4 and 8 bits");
    app->add_option("--palette", run->palette, "Bitmaps: fixed, medcut, or the bitmap file whose palette is taken")
        ->type_name("PALETTE");
    app->add_option("--dither", run->dither, "Bitmaps: none, fs, jjh, stuckey or bayer (none)")->type_name("DITHER");
    app->add_flag("--no-output", run->noOutput, "Write no picture: there is no RESULT");
    app->footer(
        "Operations run one after the other, each on what the one before left. `mox list` tells them.\n"
        "A RESULT that ends in .bmp is a bitmap, any other a PNG picture.\n"
        "Example: mox run photo.png --roi 10,10,200,100 add-s 40 not result.png");
}

void addCompareArguments(CLI::App *app, CompareRequest *compare) {
    app->add_option("a", compare->first, "A PNG or .bmp file")->type_name("A")->required();
    app->add_option("b", compare->second, "The file that it is compared with")->type_name("B")->required();
    app->add_option("--output", compare->output, "Write a picture of the differences' absolute values")
        ->type_name("DIFF.png");
    app->add_option("--gain", compare->gain, "Multiply them in that picture, so that small ones show (1)")
        ->type_name("N")
        ->check(CLI::Range(1, 65535));
    app->footer("Exit codes: 0 equal, 1 different, 2 and 3 as for all commands, 4 the comparison failed.");
}

// count whole numbers with a mark between them.
bool parseNumbers(const std::string &text, char mark, int *numbers, int count) {
    const char *next = text.data();
    const char *const end = text.data() + text.size();
    for (int i = 0; i < count; i++) {
        if (i > 0 && (next == end || *next++ != mark)) return false;
        const auto [rest, error] = std::from_chars(next, end, numbers[i]);
        if (error != std::errc()) return false;
        next = rest;
    }
    return next == end;
}

void understandRegion(const RunWords &words, RunRequest *request) {
    if (!words.roi.empty()) {
        int n[4] = {};
        if (!parseNumbers(words.roi, ',', n, 4)) fail(exitUsage, "--roi: wants X,Y,W,H, not '" + words.roi + "'");
        request->roi = Region{n[0], n[1], n[2], n[3]};
    }
    if (!words.from.empty()) {
        int n[2] = {};
        if (!parseNumbers(words.from, ',', n, 2)) fail(exitUsage, "--from: wants X,Y, not '" + words.from + "'");
        request->from = Point{n[0], n[1]};
    }
}

void understandTiles(const RunWords &words, RunRequest *request) {
    if (words.tiles.empty()) return;
    int n[2] = {};
    if (!parseNumbers(words.tiles, 'x', n, 2)) fail(exitUsage, "--tiles: wants WxH, not '" + words.tiles + "'");
    for (const int side : n) {
        if (side < 8 || side > largestTileSide || side % 8 != 0) {
            fail(exitUsage, "--tiles: the sides of a tile are positive multiples of 8, not " + words.tiles);
        }
    }
    request->tiles = Size{n[0], n[1]};
}

void understandDepth(const RunWords &words, RunRequest *request) {
    if (words.depth.empty()) return;
    request->depth = depthFromName(words.depth);
    if (request->depth == 0)
        fail(exitUsage, "--depth: wants 1u, 8u, 8s, 16u, 16s, 32s or 32f, not '" + words.depth + "'");
}

void understandFiles(const RunWords &words, RunRequest *request) {
    request->words = words.words;
    request->input = request->words.front();
    request->words.erase(request->words.begin());
    if (words.noOutput) return;
    if (request->words.empty())
        fail(exitUsage, "RESULT is missing: mox run PICTURE [OPERATION [ARGUMENT...]] ... RESULT");
    request->output = request->words.back();
    request->words.pop_back();
    // Whoever forgets the last word would else find a file by the name of an operation.
    if (findOperation(request->output)) {
        fail(exitUsage, "the last word is the file to write, and '" + request->output + "' is an operation");
    }
    if (request->output.empty()) fail(exitUsage, "the name of the file to write is empty");
}

// Whether something of a bitmap's form was said is kept: it is to be of use.
void understandForm(const RunWords &words, RunRequest *request) {
    BitmapForm &form = request->form;
    constexpr int known[] = {0, 1, 4, 8, 16, 24, 32};
    if (std::find(std::begin(known), std::end(known), words.bits) == std::end(known)) {
        fail(exitUsage, "--bits: wants 1, 4, 8, 16, 24 or 32, not " + std::to_string(words.bits));
    }
    if (words.rle && words.bits != 4 && words.bits != 8) fail(exitUsage, "--rle: wants --bits 4 or --bits 8");
    form.bits = words.bits;
    form.compressed = words.rle;
    if (words.palette == "medcut") {
        form.paletteKind = MOX_PALCONV_MEDCUT;
    } else if (!words.palette.empty() && words.palette != "fixed") {
        form.paletteKind = MOX_PALCONV_NONE;
        form.paletteFile = words.palette;
    }
    if (!words.dither.empty()) form.dither = ditherFromName(words.dither);
    if (form.dither == 0)
        fail(exitUsage, std::string("--dither: wants ") + ditherNames + ", not '" + words.dither + "'");
    request->hasForm = words.bits != 0 || words.rle || !words.palette.empty() || !words.dither.empty();
}

RunRequest understandRun(const RunWords &words) {
    RunRequest request;
    understandFiles(words, &request);
    understandRegion(words, &request);
    understandTiles(words, &request);
    understandDepth(words, &request);
    understandForm(words, &request);
    if (words.coi < 0) fail(exitUsage, "--coi: channels are counted from 1");
    request.coi = words.coi;
    request.mask = words.mask;
    request.planes = words.planes;
    return request;
}

// The parser takes -.5 for an option and -0.5 for a number.
std::string withLeadingZero(const std::string &word) {
    const bool bareFraction = word.size() > 2 && word.starts_with("-.") && word[2] >= '0' && word[2] <= '9';
    return bareFraction ? "-0" + word.substr(1) : word;
}

// The parser wants the last word first.
std::vector<std::string> preparedWords(const std::vector<std::string> &words) {
    std::vector<std::string> prepared;
    std::transform(words.rbegin(), words.rend(), std::back_inserter(prepared), withLeadingZero);
    return prepared;
}

std::string versionText() {
    const MoxLibVersion *version = moxGetLibVersion();
    return "mox " + std::to_string(version->major) + "." + std::to_string(version->minor) + "." +
           std::to_string(version->build) + " (library " + version->version + ")";
}

constexpr const char *exitCodesText =
    "Exit codes: 0 done, 1 an operation failed, 2 the command line makes no sense, 3 a file cannot be read or "
    "written.\nOf compare: 0 equal, 1 different, 4 it failed.\n"
    "`mox run --help` tells the options of run, `mox list` the operations.";

}  // namespace

CommandLine parseCommandLine(int argc, char **argv) {
    CommandLine line;
    RunWords run;
    CLI::App app("Runs the operations of the MOX image library on PNG pictures and bitmaps.", "mox");
    app.require_subcommand(1);
    app.set_version_flag("--version", versionText, "Print the version and exit");
    app.footer(exitCodesText);
    CLI::App *list = app.add_subcommand("list", "Tell every operation with its arguments");
    list->add_flag("--names", line.namesOnly, "Only the names, one a line");
    CLI::App *info = app.add_subcommand("info", "Tell what a picture is");
    info->add_option("picture", line.picture, "A PNG or .bmp file")->type_name("PICTURE")->required();
    CLI::App *compare = app.add_subcommand("compare", "Tell how far two pictures differ; exit code 1 if they do");
    addCompareArguments(compare, &line.compare);
    CLI::App *runApp = app.add_subcommand("run", "Run operations on a picture and write the result");
    addRunArguments(runApp, &run);
    CLI::App *gallery =
        app.add_subcommand("gallery", "Write before-and-after pictures of every operation, and a page that shows them");
    gallery->add_option("folder", line.folder, "Where to write; made if it is not there")
        ->type_name("FOLDER")
        ->required();
    gallery->add_option("picture", line.picture, "A PNG or .bmp file to work on, in place of a scene drawn here")
        ->type_name("PICTURE");

    try {
        app.parse(preparedWords({argv + 1, argv + argc}));
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);  // prints help or version
            return line;
        }
        fail(exitUsage, std::string(error.what()) + " (see: mox --help)");
    }
    if (list->parsed()) line.command = Command::list;
    if (info->parsed()) line.command = Command::info;
    if (compare->parsed()) line.command = Command::compare;
    if (gallery->parsed()) line.command = Command::gallery;
    if (runApp->parsed()) {
        line.command = Command::run;
        line.run = understandRun(run);
    }
    return line;
}

RunRequest parseRunWords(const std::vector<std::string> &words) {
    RunWords run;
    CLI::App app;
    addRunArguments(&app, &run);
    try {
        app.parse(preparedWords(words));
    } catch (const CLI::ParseError &error) {
        fail(exitUsage, error.what());
    }
    return understandRun(run);
}
