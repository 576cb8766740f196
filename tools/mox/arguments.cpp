// The command line.
#include "arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <utility>

#include "failure.h"
#include "options.h"

namespace {

std::string versionText() {
    const MoxLibVersion *version = moxGetLibVersion();
    return "mox " + std::to_string(version->major) + "." + std::to_string(version->minor) + "." +
           std::to_string(version->build) + " (library " + version->version + ")\n";
}

[[noreturn]] void missing(const CommandTable &table, const char *what) {
    fail(exitUsage, std::string(table.name) + ": " + what + " is missing: mox " + table.name + " " + table.usage +
                        " (see: mox " + table.name + " --help)");
}

// As many words as there are places for; the rest is one too many.
void checkCount(const CommandTable &table, const Words &words, std::size_t most) {
    if (words.split) fail(exitUsage, std::string(table.name) + ": -- has no meaning here");
    if (words.words.size() <= most) return;
    fail(exitUsage, std::string(table.name) + ": '" + words.words[most] + "' is one word too many: mox " + table.name +
                        " " + table.usage);
}

void understandInfo(const CommandTable &table, Words words, CommandLine *line) {
    line->pictures = std::move(words.words);
    line->pictures.insert(line->pictures.end(), words.behind.begin(), words.behind.end());
    if (line->pictures.empty()) missing(table, "PICTURE");
}

void understandCompare(const CommandTable &table, const Words &words, CommandLine *line) {
    checkCount(table, words, 2);
    if (words.words.size() < 2) missing(table, words.words.empty() ? "A" : "B");
    line->compare.first = words.words[0];
    line->compare.second = words.words[1];
    line->compare.output = words.valueOf("--output");
    if (words.find("--output")) {
        line->compare.form = outputForm(line->compare.output, "", 90);
        if (line->compare.form.format == Format::bmp)
            fail(exitUsage, "--output: " + line->compare.output + ": differences are not written as bitmaps");
    }
    const std::string gain = words.valueOf("--gain");
    if (gain.empty()) return;
    const auto [rest, error] = std::from_chars(gain.data(), gain.data() + gain.size(), line->compare.gain);
    const bool understood = error == std::errc() && rest == gain.data() + gain.size();
    if (!understood || line->compare.gain < 1 || line->compare.gain > 65535)
        fail(exitUsage, "--gain: wants a number from 1 to 65535, not '" + gain + "'");
}

void understandGallery(const CommandTable &table, const Words &words, CommandLine *line) {
    checkCount(table, words, 2);
    if (words.words.empty()) missing(table, "FOLDER");
    line->folder = words.words[0];
    if (words.words.size() > 1) line->picture = words.words[1];
}

CommandLine understand(const CommandTable &table, const Words &words) {
    CommandLine line;
    line.memory = memoryOf(words);
    const std::string name = table.name;
    if (name == "list") {
        checkCount(table, words, 0);
        line.command = Command::list;
        line.namesOnly = words.find("--names") != nullptr;
    } else if (name == "info") {
        line.command = Command::info;
        understandInfo(table, words, &line);
    } else if (name == "compare") {
        line.command = Command::compare;
        understandCompare(table, words, &line);
    } else if (name == "gallery") {
        line.command = Command::gallery;
        understandGallery(table, words, &line);
    } else if (name == "man") {
        checkCount(table, words, 0);
        line.command = Command::man;
    } else if (name == "completion") {
        checkCount(table, words, 1);
        if (words.words.empty()) missing(table, "SHELL");
        line.command = Command::completion;
        line.shell = words.words[0];
    } else {
        line.command = Command::run;
        line.run = understandRun(words);
    }
    return line;
}

}  // namespace

CommandLine parseCommandLine(int argc, char **argv) {
    std::vector<std::string> all(argv + std::min(argc, 1), argv + argc);
    if (all.empty()) fail(exitUsage, "no command is named (see: mox --help)");
    const std::string first = all.front();
    all.erase(all.begin());
    if (first == "--version" || first == "--help" || first == "-h") {
        std::fputs(first == "--version" ? versionText().c_str() : generalHelp().c_str(), stdout);
        return {};
    }
    if (first == "help") {
        std::fputs(all.empty() ? generalHelp().c_str() : helpOf(commandTable(all.front())).c_str(), stdout);
        return {};
    }
    const CommandTable &table = commandTable(first);
    const Words words = parseWords(table, all);
    if (words.help) {
        std::fputs(helpOf(table).c_str(), stdout);
        return {};
    }
    return understand(table, words);
}

RunRequest parseRunWords(const std::vector<std::string> &words) {
    return understandRun(parseWords(commandTable("run"), words));
}
