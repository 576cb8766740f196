// Files that appear whole or not at all.
#pragma once

#include <cstdio>
#include <string>

// A file on its way to its name: written beside the target, and moved there by commitFile. Destroyed before that, it
// leaves nothing behind, and what the target held stays.
struct NewFile {
    std::string name;       // as the user wrote it, for messages
    std::string target;     // links resolved
    std::string temporary;  // empty once the file is in place
    std::FILE *stream = nullptr;

    NewFile() = default;
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;
    ~NewFile();
};

// Throws Failure when the folder does not allow it or the target is something other than a regular file.
void beginFile(NewFile *file, const std::string &name);
void commitFile(NewFile *file);

void writeText(const std::string &name, const std::string &text);
