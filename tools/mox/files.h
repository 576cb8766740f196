// Files that appear whole or not at all.
#pragma once

#include <cstdio>
#include <string>

// A file on its way to its name: written beside the target, and moved there by commitFile. Destroyed before that, it
// leaves nothing behind, and what the target held stays. What goes to standard output or into a named pipe is written
// to a scratch file first, and follows from there when it is complete.
struct NewFile {
    std::string name;       // as the user wrote it, for messages
    std::string target;     // links resolved; - for standard output
    std::string temporary;  // empty once the file is in place, and for what has no place
    std::FILE *stream = nullptr;

    NewFile() = default;
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;
    ~NewFile();
};

// Throws Failure when the folder does not allow it or the target is neither a regular file nor a pipe.
void beginFile(NewFile *file, const std::string &name);
void commitFile(NewFile *file);

// As far as can be told beforehand whether beginFile would do. Throws Failure.
void checkTarget(const std::string &name);

void writeText(const std::string &name, const std::string &text);
