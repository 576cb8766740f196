// What tools/mox/functions.txt says: for every function of the library the words that call it, or why there are none.
#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "table/examples.h"
#include "toolbench.h"

namespace {

constexpr const char *toolFolder = MOX_SOURCE_FOLDER "/tools/mox";

std::string textOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> found(const std::string &text, const char *pattern) {
    const std::regex regex(pattern);
    std::set<std::string> all;
    for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i)
        all.insert(i->str(1));
    return all;
}

std::set<std::string> exportedNames() {
    return found(textOf(MOX_SOURCE_FOLDER "/src/exports.txt"), "(\\w+)");
}

// A function's name, and what stands behind the colon. A name that stands twice is a failure.
std::map<std::string, std::string> entries() {
    std::map<std::string, std::string> all;
    std::istringstream file(textOf(std::string(toolFolder) + "/functions.txt"));
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(": ");
        if (line.empty() || line.starts_with("#")) continue;
        EXPECT_NE(colon, std::string::npos) << line;
        for (const std::string &name : split(line.substr(0, colon)))
            EXPECT_TRUE(all.emplace(name, line.substr(colon + 2)).second) << name << " stands twice";
    }
    return all;
}

bool isReason(const std::string &text) {
    return text.starts_with("none. ");
}

// What the tool's own code calls, comments left out.
std::set<std::string> calledNames() {
    const std::string files = textOf(std::string(toolFolder) + "/CMakeLists.txt");
    std::set<std::string> called;
    for (const std::string &stem : found(files, "(\\w+)\\.cpp")) {
        for (const char *ending : {".cpp", ".h"}) {
            const std::string text = textOf(std::string(toolFolder) + "/" + stem + ending);
            called.merge(found(std::regex_replace(text, std::regex("//[^\n]*"), ""), "\\b(moxw?[A-Za-z0-9]+)\\b"));
        }
    }
    return called;
}

}  // namespace

using Functions = Bench;

TEST_F(Functions, EveryOneHasItsWordsOrAReason) {
    std::set<std::string> names;
    for (const auto &[name, text] : entries()) {
        names.insert(name);
        if (isReason(text)) {
            EXPECT_TRUE(text.ends_with(".") && split(text).size() > 4) << name << " has no reason: " << text;
        } else {
            EXPECT_FALSE(found(text, "`([^`]+)`").empty()) << name << " has no word: " << text;
        }
    }
    EXPECT_EQ(names, exportedNames());
}

TEST_F(Functions, TheWordsAreTheTools) {
    const std::string help = runWell({"--help"}) + runWell({"run", "--help"}) + runWell({"list", "--names"});
    std::set<std::string> words = found(help, "(?:^|\n) {0,2}(-?-?[a-z0-9-]+)(?= |\n)");
    const std::set<std::string> exported = exportedNames();
    words.insert(exported.begin(), exported.end());
    words.insert("mox_bench");
    for (const auto &[name, text] : entries()) {
        for (const std::string &word : found(text, "`([^`]+)`"))
            EXPECT_TRUE(words.contains(word)) << name << ": the tool knows no " << word;
    }
}

TEST_F(Functions, OnesWithWordsAreCalledAndTheOthersAreNot) {
    const std::set<std::string> called = calledNames();
    for (const auto &[name, text] : entries())
        EXPECT_EQ(called.contains(name), !isReason(text)) << name << ": " << text;
}

TEST_F(Functions, OperationsOnPixelsNameTheirOwnWord) {
    const std::map<std::string, std::string> all = entries();
    for (const Example &example : allExamples()) {
        const auto entry = all.find(example.name);
        if (example.touches != Touches::PIXELS || entry == all.end()) continue;
        EXPECT_TRUE(found(entry->second, "`([^`]+)`").contains(toolName(example)))
            << example.name << ": its word is " << toolName(example) << ", not in: " << entry->second;
    }
}
