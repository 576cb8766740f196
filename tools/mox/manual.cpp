// Completion for shells and the page for man, from the tables of commands and operations.
#include "manual.h"

#include <sstream>

#include <mox.h>

#include "formats.h"
#include "operations.h"
#include "options.h"

namespace {

std::string operationNames() {
    std::string names;
    for (const Family *family : families()) {
        for (const Operation &operation : family->operations)
            names.append(names.empty() ? "" : " ").append(operation.name);
    }
    return names;
}

std::string commandNames() {
    std::string names;
    for (const CommandTable &table : commandTables())
        names.append(table.name).append(" ");
    return names + "--help --version";
}

// Words that stand for others, taken out of a list and told apart.
struct Choices {
    std::string words;
    bool files = false;
    bool folders = false;
};

Choices choicesOf(const char *list) {
    Choices choices;
    std::istringstream stream(list);
    std::string word;
    while (stream >> word) {
        if (word == "FILE") {
            choices.files = true;
        } else if (word == "FOLDER") {
            choices.folders = true;
        } else {
            choices.words.append(choices.words.empty() ? "" : " ")
                .append(word == "OPERATION" ? operationNames() : word);
        }
    }
    return choices;
}

// One answer of the shell function: words and names of files that begin as what was typed.
std::string reply(const Choices &choices) {
    std::string text = "COMPREPLY=( $(compgen -W \"" + choices.words + "\" -- \"$word\")";
    if (choices.files) text += " $(compgen -f -- \"$word\")";
    if (choices.folders && !choices.files) text += " $(compgen -d -- \"$word\")";
    return text + " )";
}

std::string optionNames(const CommandTable &table) {
    std::string names;
    for (const Option &option : table.options)
        names.append(option.name).append(" ");
    return names + "--help";
}

std::string bashCommand(const CommandTable &table) {
    std::string text = std::string("        ").append(table.name).append(")\n            case \"$before\" in\n");
    for (const Option &option : table.options) {
        if (!option.value) continue;
        text.append("                ").append(option.name).append(") ");
        text.append(reply(choicesOf(option.choices))).append("; return ;;\n");
    }
    Choices choices = choicesOf(table.words);
    text.append("            esac\n            case \"$word\" in\n                -*) ");
    text.append(reply({optionNames(table), false, false})).append(" ;;\n                *) ");
    return text.append(reply(choices)).append(" ;;\n            esac ;;\n");
}

std::string bashCompletion() {
    std::string text =
        "# Completion of mox for bash. Written by `mox completion bash`.\n_mox() {\n    local "
        "word=\"${COMP_WORDS[COMP_CWORD]}\" "
        "before=\"${COMP_WORDS[COMP_CWORD-1]}\"\n    COMPREPLY=()\n    if [ \"$COMP_CWORD\" -eq 1 ]; then\n        " +
        reply({commandNames(), false, false}) + "\n        return\n    fi\n    case \"${COMP_WORDS[1]}\" in\n";
    for (const CommandTable &table : commandTables())
        text += bashCommand(table);
    return text + "    esac\n}\ncomplete -o filenames -F _mox mox\n";
}

// In man, a dash is a hyphen and a line that begins with a dot is a command unless they are escaped.
std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n')) result += "\\&";
            result += c;
        }
    }
    return result;
}

void addTagged(std::string *page, const std::string &tag, const std::string &text) {
    page->append(".TP\n.B ").append(escaped(tag)).append("\n").append(escaped(text)).append("\n");
}

void addCommand(std::string *page, const CommandTable &table) {
    std::string title = std::string("mox ").append(table.name).append(" ").append(table.usage);
    page->append(".SS ").append(escaped(title.substr(0, title.find('\n')))).append("\n");
    if (title.find('\n') != std::string::npos)
        page->append(".nf\n").append(escaped(title.substr(title.find("mox", 4)))).append("\n.fi\n.PP\n");
    page->append(escaped(table.help)).append(".\n").append(escaped(table.footer));
    const char *group = "";
    for (const Option &option : table.options) {
        if (std::string(group) != option.group) {
            group = option.group;
            page->append(".PP\n").append(escaped(group)).append(":\n");
        }
        std::string tag = option.name;
        if (option.value) tag.append(" ").append(option.value);
        addTagged(page, tag, option.help);
    }
}

}  // namespace

std::string completionFor(const std::string &shell) {
    if (shell == "bash") return bashCompletion();
    if (shell != "zsh") return "";
    return "#compdef mox\n# Completion of mox for zsh. Written by `mox completion zsh`.\nautoload -Uz bashcompinit && "
           "bashcompinit\n" +
           bashCompletion();
}

std::string manPage() {
    std::string page =
        ".TH MOX 1\n.SH NAME\nmox \\- operations of the MOX image library on pictures\n.SH SYNOPSIS\n.B mox\n.I "
        "COMMAND ...\n"
        ".SH DESCRIPTION\nPictures are read, worked on by operations one after the other, and written: whole or not at "
        "all.\n"
        "Kinds of files: " +
        escaped(formatsText()) + ".\n.SH COMMANDS\n";
    for (const CommandTable &table : commandTables())
        addCommand(&page, table);
    page += ".SH OPERATIONS\n";
    for (const Family *family : families()) {
        page.append(".SS ").append(escaped(family->title)).append("\n");
        for (const Operation &operation : family->operations)
            addTagged(&page, usageOf(operation), operation.help);
    }
    return page +
           ".SH EXIT STATUS\n0 done, 1 an operation failed, 2 the command line makes no sense, 3 a file cannot be read "
           "or\n"
           "written. Of compare: 0 equal, 1 different, 4 it failed.\n";
}
