// Files that appear whole or not at all.
#include "files.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "failure.h"

namespace fs = std::filesystem;

namespace {

// The temporary file of the moment, for when the user ends the tool in the middle of it. One is written at a time.
char pendingName[4096];

extern "C" void removePending(int signal) {
    if (pendingName[0]) ::unlink(pendingName);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void setPending(const std::string &name) {
    pendingName[0] = 0;
    if (name.size() >= sizeof pendingName) return;
    std::memcpy(pendingName + 1, name.c_str() + 1, name.size());
    pendingName[0] = name[0];  // last, since a signal may come in between
}

// mkstemp, with no moment in which the file is there and a signal would not remove it. Returns the descriptor, or -1
// and errno.
int makeTemporary(std::string *pattern) {
    sigset_t ending;
    sigset_t before;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before);
    const int descriptor = ::mkstemp(pattern->data());
    const int error = errno;
    if (descriptor >= 0) setPending(*pattern);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return descriptor;
}

// A signal that is ignored stays ignored.
void catchEndingSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (std::signal(signal, removePending) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

}  // namespace

NewFile::~NewFile() {
    if (stream) std::fclose(stream);
    if (!temporary.empty()) ::unlink(temporary.c_str());
    pendingName[0] = 0;
}

// A link is followed, so that the file it leads to is replaced and not the link. A device or a pipe is refused: a
// rename would put a regular file in its place.
static std::string resolveTarget(const std::string &name) {
    std::error_code error;
    const fs::file_status status = fs::status(name, error);
    if (fs::is_directory(status)) fail(exitFile, name + ": is a folder");
    if (!fs::exists(status)) {
        if (fs::is_symlink(fs::symlink_status(name, error))) fail(exitFile, name + ": is a link that leads nowhere");
        return name;
    }
    if (!fs::is_regular_file(status)) fail(exitFile, name + ": is not a regular file");
    const fs::path resolved = fs::canonical(name, error);
    if (error) fail(exitFile, name + ": " + error.message());
    return resolved.string();
}

// mkstemp makes files that only their owner may read; a picture gets the rights that any new file of this user has.
static void setUsualRights(int descriptor, const std::string &target) {
    struct stat existing;
    mode_t rights;
    if (::stat(target.c_str(), &existing) == 0) {
        rights = existing.st_mode & 0777;
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        rights = 0666 & ~mask;
    }
    if (::fchmod(descriptor, rights) != 0) failErrno(target, errno);
}

void beginFile(NewFile *file, const std::string &name) {
    if (name.empty()) fail(exitFile, "the name of a file to write is empty");
    file->name = name;
    file->target = resolveTarget(name);
    catchEndingSignals();
    std::string pattern = (fs::path(file->target).parent_path() / ".mox-XXXXXX").string();
    const int descriptor = makeTemporary(&pattern);
    if (descriptor < 0) failErrno(name, errno);
    file->temporary = pattern;
    file->stream = ::fdopen(descriptor, "wb");
    if (!file->stream) {
        const int error = errno;
        ::close(descriptor);
        failErrno(name, error);
    }
    setUsualRights(descriptor, file->target);
}

void commitFile(NewFile *file) {
    std::FILE *const stream = file->stream;
    file->stream = nullptr;
    const bool written = std::fflush(stream) == 0 && !std::ferror(stream);
    const int writeError = errno;
    if (std::fclose(stream) != 0 && written) failErrno(file->name, errno);
    if (!written) failErrno(file->name, writeError);
    if (std::rename(file->temporary.c_str(), file->target.c_str()) != 0) failErrno(file->name, errno);
    file->temporary.clear();
}

void writeText(const std::string &name, const std::string &text) {
    NewFile file;
    beginFile(&file, name);
    if (std::fwrite(text.data(), 1, text.size(), file.stream) != text.size()) failErrno(name, errno);
    commitFile(&file);
}
