// The commands and their options, as tables: the parser, the help, the completion of shells and the page for man are
// made from them and from nothing else.
#pragma once

#include <string>
#include <vector>

struct Option {
    const char *name;          // --roi
    const char *value;         // what follows it, X,Y,W,H; null for an option that stands alone
    const char *help;          // without a stop at its end
    const char *group = "";    // a heading in the help
    const char *choices = "";  // words that may follow it, for completion; FILE or FOLDER for names
    bool isStep = false;       // holds from where it stands on
};

struct CommandTable {
    const char *name;
    const char *usage;  // behind the name
    const char *help;
    std::vector<Option> options = {};
    const char *footer = "";
    const char *words = "";  // for completion, of what is no option: as choices, and OPERATION
};

const std::vector<CommandTable> &commandTables();
const CommandTable &commandTable(const std::string &name);

struct GivenOption {
    const Option *option;
    std::string value;
    std::size_t position;  // how many words stand before it
};

// What was typed behind a command's name.
struct Words {
    std::vector<std::string> words;
    std::vector<GivenOption> options;
    std::vector<std::string> behind;  // the words behind --
    bool split = false;               // there is a --
    bool help = false;                // --help or -h

    [[nodiscard]] const GivenOption *find(const std::string &name) const;
    [[nodiscard]] std::string valueOf(const std::string &name) const;  // empty where it was not given
};

// Throws Failure for an option that the command does not have, or that lacks its value.
Words parseWords(const CommandTable &table, const std::vector<std::string> &words);

std::string helpOf(const CommandTable &table);
std::string generalHelp();

// The nearest of the names, as in ", did you mean --roi?"; empty where none is near.
std::string suggestion(const std::string &word, const std::vector<std::string> &names);
