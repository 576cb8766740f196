// The commands and their options, as tables.
#include "options.h"

#include <algorithm>
#include <numeric>

#include "failure.h"
#include "operations.h"

namespace {

constexpr const char *exitCodesText =
    "Exit codes: 0 done, 1 an operation failed, 2 the command line makes no sense, 3 a file cannot be read or\n"
    "written. Of compare: 0 equal, 1 different, 4 it failed.\n";

constexpr const char *steps = "Steps of the chain: each holds from where it stands on, until it is said anew";
constexpr const char *files = "Files";
constexpr const char *many = "Many files";
constexpr const char *bitmaps = "Bitmaps that are made";
constexpr const char *ways = "Ways of working, which change nothing of the result";
constexpr const char *formatWords = "png jpg tif pnm pbm pgm ppm pam bmp";

Option memoryOption(const char *group) {
    return {"--memory", "SIZE",
            "Take no more for pictures, as in 300M or 2G: larger ones go through scratch files (half)", group,
            "300M 1G 4G"};
}

std::vector<Option> runOptions() {
    return {
        {"--roi", "X,Y,W,H", "Work on this region only, the rest stays (to cut it out: crop); none ends it", steps,
         "none", true},
        {"--coi", "N", "Work on this channel only, counted from 1, alpha being the last; 0 ends it", steps, "0 1 2 3 4",
         true},
        {"--mask", "FILE", "Work only where this picture is light; it lies over PICTURE; none ends it", steps, "FILE",
         true},
        {"--from", "X,Y", "Where the region begins in second pictures (as in PICTURE); none ends it", steps, "none",
         true},
        {"--depth", "DEPTH", "Compute at depth 1u, 8u, 8s, 16u, 16s, 32s or 32f (as PICTURE)", steps,
         "1u 8u 8s 16u 16s 32s 32f", true},
        {"--border", "KIND", "What is seen beyond the edges: replicate, reflect, wrap or a number (replicate)", steps,
         "replicate reflect wrap 0", true},
        {"--no-output", nullptr, "Write no picture: there is no RESULT", files},
        {"--format", "FORMAT", "What RESULT is, if its ending is not to tell; - is a PNG picture without it", files,
         formatWords},
        {"--quality", "N", "Of a JPEG picture, from 1 to 100 (90)", files},
        {"--out-dir", "FOLDER", "Write the results there, each by its picture's name", many, "FOLDER"},
        {"--jobs", "N", "Work on so many files at once (as many as there are processors)", many},
        {"--resume", nullptr, "Leave out pictures whose result is there and not older", many},
        {"--bits", "N", "1, 4, 8, 16, 24 or 32 bits a pixel (as the picture needs)", bitmaps, "1 4 8 16 24 32"},
        {"--rle", nullptr, "Run lengths, at 4 and 8 bits", bitmaps},
        {"--palette", "PALETTE", "fixed, medcut, or the bitmap file whose palette is taken (fixed)", bitmaps,
         "fixed medcut FILE"},
        {"--dither", "DITHER",
         "none, fs, jjh, stuckey or bayer: to even levels of each channel, as the library does it", bitmaps,
         "none fs jjh stuckey bayer"},
        {"--diffuse", nullptr,
         "To the palette's own colours, the errors spread to the neighbours, in place of --dither", bitmaps},
        {"--tiles", "WxH", "Serve pictures to the library in tiles, sides multiples of 8", ways},
        memoryOption(ways),
        {"--planes", nullptr, "Keep channels in planes, not interleaved", ways},
    };
}

std::vector<CommandTable> makeTables() {
    return {
        {"list", "", "Tell every operation with its arguments", {{"--names", nullptr, "Only the names, one a line"}}},
        {"info", "PICTURE...", "Tell what pictures are", {memoryOption("")}, "", "FILE"},
        {"compare",
         "A B",
         "Tell how far two pictures differ; exit code 1 if they do",
         {{"--output", "DIFF", "Write a picture of the differences' absolute values", "", "FILE"},
          {"--gain", "N", "Multiply them in that picture, so that small ones show (1)"},
          memoryOption("")},
         "Exit codes: 0 equal, 1 different, 2 and 3 as for all commands, 4 the comparison failed.\n",
         "FILE"},
        {"run",
         "PICTURE [OPERATION [ARGUMENT...]]... RESULT\n"
         "       mox run --out-dir FOLDER [OPERATION [ARGUMENT...]]... -- PICTURE...",
         "Run operations on a picture and write the result", runOptions(),
         "Operations run one after the other, each on what the one before left. `mox list` tells them.\n"
         "The ending of RESULT tells what it is: .png .jpg .tif .pnm .bmp and their like. - is standard input or "
         "output.\n"
         "Example: mox run photo.png --roi 10,10,200,100 add-s 40 --roi none not result.png\n",
         "OPERATION FILE"},
        {"completion", "SHELL", "Write what completes the words of mox in a shell, bash or zsh", {}, "", "bash zsh"},
        {"man", "", "Write the page for man, as in: mox man | man -l -"},
        {"gallery",
         "FOLDER [PICTURE]",
         "Write before-and-after pictures of every operation, and a page that shows them",
         {},
         "With PICTURE the examples run on that, in place of a scene drawn here.\n",
         "FOLDER FILE"},
    };
}

std::size_t distance(const std::string &a, const std::string &b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); i++) {
        std::size_t corner = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); j++) {
            const std::size_t changed = corner + (a[i] == b[j] ? 0 : 1);
            corner = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row[b.size()];
}

// A dash alone, and a dash before a number, begin no option.
bool isOption(const std::string &word) {
    if (word.size() < 2 || word[0] != '-') return false;
    return !(word[1] >= '0' && word[1] <= '9') && word[1] != '.';
}

std::string padded(const std::string &text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text + " ";
}

}  // namespace

const std::vector<CommandTable> &commandTables() {
    static const std::vector<CommandTable> all = makeTables();
    return all;
}

const CommandTable &commandTable(const std::string &name) {
    std::vector<std::string> names;
    for (const CommandTable &table : commandTables()) {
        if (name == table.name) return table;
        names.emplace_back(table.name);
    }
    if (findOperation(name))
        fail(exitUsage, "'" + name + "' is an operation: mox run PICTURE " + name + " ... RESULT (see: mox list)");
    fail(exitUsage, "there is no command '" + name + "'" + suggestion(name, names) + " (see: mox --help)");
}

const GivenOption *Words::find(const std::string &name) const {
    const auto found = std::find_if(options.rbegin(), options.rend(),
                                    [&](const GivenOption &given) { return name == given.option->name; });
    return found == options.rend() ? nullptr : &*found;
}

std::string Words::valueOf(const std::string &name) const {
    const GivenOption *given = find(name);
    return given ? given->value : "";
}

Words parseWords(const CommandTable &table, const std::vector<std::string> &words) {
    const std::string see = std::string(" (see: mox ") + table.name + " --help)";
    Words parsed;
    for (std::size_t i = 0; i < words.size(); i++) {
        const std::string &word = words[i];
        if (word == "--") {
            parsed.split = true;
            parsed.behind.assign(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end());
            return parsed;
        }
        if (!isOption(word)) {
            parsed.words.push_back(word);
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        if (name == "--help" || name == "-h") {
            parsed.help = true;
            continue;
        }
        const auto found = std::find_if(table.options.begin(), table.options.end(),
                                        [&](const Option &option) { return name == option.name; });
        if (found == table.options.end()) {
            std::vector<std::string> names;
            for (const Option &option : table.options)
                names.emplace_back(option.name);
            fail(exitUsage, std::string(table.name) + " has no option '" + name + "'" + suggestion(name, names) + see);
        }
        GivenOption given{&*found, "", parsed.words.size()};
        if (!found->value) {
            if (equals != std::string::npos) fail(exitUsage, name + ": no value belongs to it" + see);
        } else if (equals != std::string::npos) {
            given.value = word.substr(equals + 1);
        } else {
            if (i + 1 == words.size()) fail(exitUsage, name + ": " + found->value + " is missing behind it" + see);
            given.value = words[++i];
        }
        if (found->value && given.value.empty()) fail(exitUsage, name + ": " + found->value + " is empty" + see);
        parsed.options.push_back(given);
    }
    return parsed;
}

std::string helpOf(const CommandTable &table) {
    std::string text = std::string(table.help) + "\n\nUsage: mox " + table.name + " " + table.usage + "\n";
    const char *group = nullptr;
    for (const Option &option : table.options) {
        if (!group || std::string(group) != option.group) {
            group = option.group;
            text.append("\n").append(*group ? group : "Options").append(":\n");
        }
        std::string name = option.name;
        if (option.value) name.append(" ").append(option.value);
        text.append("  ").append(padded(name, 20)).append(option.help).append("\n");
    }
    return text + (*table.footer ? "\n" : "") + table.footer;
}

std::string generalHelp() {
    std::string text =
        "Runs the operations of the MOX image library on pictures.\n\nUsage: mox COMMAND ...\n\nCommands:\n";
    for (const CommandTable &table : commandTables())
        text.append("  ").append(padded(table.name, 12)).append(table.help).append("\n");
    text +=
        "\nOptions:\n  --help      This text; behind a command: its own\n  --version   Print the version and exit\n\n";
    return text + exitCodesText + "`mox run --help` tells the options of run, `mox list` the operations.\n";
}

std::string suggestion(const std::string &word, const std::vector<std::string> &names) {
    std::string best;
    std::size_t nearest = word.size() < 5 ? 2 : 3;
    for (const std::string &name : names) {
        const std::size_t far = distance(word, name);
        if (far < nearest) {
            nearest = far;
            best = name;
        }
    }
    for (const std::string &name : names) {
        if (best.empty() && word.size() >= 4 && name.find(word) != std::string::npos) best = name;
    }
    return best.empty() ? best : std::string("; did you mean ").append(best).append("?");
}
