// Files that appear whole or not at all.
#include "files.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "failure.h"
#include "scratch.h"

namespace fs = std::filesystem;

namespace {

// The temporary files of the moment, for when the user ends the tool in the middle of them: one for each thread that
// writes. A slot is free where its name is empty; the first character of a name is written last and cleared first,
// since a signal may come in between.
constexpr int pendingSlots = 256;
char pendingNames[pendingSlots][4096];
std::mutex pendingMutex;

extern "C" void removePending(int signal) {
    for (const char *name : pendingNames) {
        if (name[0]) ::unlink(name);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

char *setPending(const std::string &name) {
    if (name.size() >= sizeof pendingNames[0]) return nullptr;
    for (char *slot : pendingNames) {
        if (slot[0]) continue;
        std::memcpy(slot + 1, name.c_str() + 1, name.size());
        slot[0] = name[0];
        return slot;
    }
    return nullptr;
}

void clearPending(const std::string &name) {
    const std::lock_guard<std::mutex> lock(pendingMutex);
    for (char *slot : pendingNames) {
        if (name == slot) slot[0] = 0;
    }
}

// A new file beside the target. Its name is pending before it is there: there is no moment in which a signal would not
// remove it. Returns the descriptor, or -1 and errno.
int makeTemporary(const fs::path &folder, std::string *name) {
    const std::lock_guard<std::mutex> lock(pendingMutex);
    static std::mt19937_64 generator(std::random_device{}());
    constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    for (int attempt = 0; attempt < 100; attempt++) {
        std::string file = ".mox-";
        for (int i = 0; i < 10; i++)
            file += letters[generator() % (sizeof letters - 1)];
        *name = (folder / file).string();
        char *const slot = setPending(*name);
        const int descriptor = ::open(name->c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
        if (descriptor >= 0) return descriptor;
        if (slot) slot[0] = 0;
        if (errno != EEXIST) return -1;
    }
    return -1;
}

// A signal that is ignored stays ignored.
void catchEndingSignals() {
    static std::once_flag once;
    std::call_once(once, [] {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            if (std::signal(signal, removePending) == SIG_IGN) std::signal(signal, SIG_IGN);
        }
    });
}

}  // namespace

NewFile::~NewFile() {
    if (stream) std::fclose(stream);
    if (temporary.empty()) return;
    ::unlink(temporary.c_str());
    clearPending(temporary);
}

// What a name stands for: a new or a regular file, links resolved, or a pipe.
struct Target {
    std::string path;
    bool passes = false;  // not a place where a file can be
};

// A link is followed, so that the file it leads to is replaced and not the link. A device is refused: a rename would
// put a regular file in its place.
static Target resolveTarget(const std::string &name) {
    if (name.empty()) fail(exitFile, "the name of a file to write is empty");
    if (name == "-") return {name, true};
    std::error_code error;
    const fs::file_status status = fs::status(name, error);
    if (fs::is_directory(status)) fail(exitFile, name + ": is a folder");
    if (fs::is_fifo(status)) return {name, true};
    if (!fs::exists(status)) {
        if (fs::is_symlink(fs::symlink_status(name, error))) fail(exitFile, name + ": is a link that leads nowhere");
        return {name};
    }
    if (!fs::is_regular_file(status)) fail(exitFile, name + ": is neither a regular file nor a pipe");
    const fs::path resolved = fs::canonical(name, error);
    if (error) fail(exitFile, name + ": " + error.message());
    return {resolved.string()};
}

// At first only its owner may read it; a picture gets the rights that any new file of this user has.
static void setUsualRights(int descriptor, const std::string &target) {
    struct stat existing;
    mode_t rights;
    if (::stat(target.c_str(), &existing) == 0) {
        rights = static_cast<mode_t>(existing.st_mode & 0777);
    } else {
        // Asked for once: for a moment it is another one, for all threads.
        static const mode_t mask = [] {
            const mode_t usual = static_cast<mode_t>(::umask(0));
            ::umask(usual);
            return usual;
        }();
        rights = static_cast<mode_t>(0666 & ~mask);
    }
    if (::fchmod(descriptor, rights) != 0) failErrno(target, errno);
}

static void openStream(NewFile *file) {
    std::string temporary;
    const int descriptor = makeTemporary(fs::path(file->target).parent_path(), &temporary);
    if (descriptor < 0) failErrno(file->name, errno);
    file->temporary = temporary;
    file->stream = ::fdopen(descriptor, "w+b");
    if (!file->stream) {
        const int error = errno;
        ::close(descriptor);
        failErrno(file->name, error);
    }
    setUsualRights(descriptor, file->target);
}

void beginFile(NewFile *file, const std::string &name) {
    const Target target = resolveTarget(name);
    file->name = name == "-" ? "standard output" : name;
    file->target = target.path;
    catchEndingSignals();
    if (!target.passes) return openStream(file);
    file->stream = scratchStream();
    if (!file->stream) failErrno(file->name + ": no scratch file can be made for what goes there", errno);
}

void checkTarget(const std::string &name) {
    const Target target = resolveTarget(name);
    if (name == "-" && ::isatty(STDOUT_FILENO)) {
        fail(exitFile,
             "standard output is the screen, and a picture is to go there: name a file, or lead it into a pipe");
    }
    if (target.passes) return;
    fs::path folder = fs::path(target.path).parent_path();
    if (folder.empty()) folder = ".";
    if (::access(folder.string().c_str(), F_OK) != 0) failErrno(name + ": the folder " + folder.string(), errno);
    if (!fs::is_directory(folder)) fail(exitFile, name + ": " + folder.string() + " is no folder");
    if (::access(folder.string().c_str(), W_OK | X_OK) != 0) {
        failErrno(name + ": nothing can be written into the folder " + folder.string(), errno);
    }
}

// From the scratch file to where it goes.
static void passOn(NewFile *file, std::FILE *to) {
    std::rewind(file->stream);
    char piece[1 << 14];
    std::size_t got = 0;
    while ((got = std::fread(piece, 1, sizeof piece, file->stream)) > 0) {
        if (std::fwrite(piece, 1, got, to) != got) failErrno(file->name, errno);
    }
    if (std::ferror(file->stream) || std::fflush(to) != 0) failErrno(file->name, errno);
}

static void commitPassing(NewFile *file) {
    if (std::fflush(file->stream) != 0) failErrno(file->name + ": its scratch file", errno);
    if (file->target == "-") return passOn(file, stdout);
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> pipe(std::fopen(file->target.c_str(), "wb"), std::fclose);
    if (!pipe) failErrno(file->name, errno);
    passOn(file, pipe.get());
}

void commitFile(NewFile *file) {
    if (file->temporary.empty()) return commitPassing(file);
    std::FILE *const stream = file->stream;
    file->stream = nullptr;
    const bool written = std::fflush(stream) == 0 && !std::ferror(stream);
    const int writeError = errno;
    if (std::fclose(stream) != 0 && written) failErrno(file->name, errno);
    if (!written) failErrno(file->name, writeError);
    if (std::rename(file->temporary.c_str(), file->target.c_str()) != 0) failErrno(file->name, errno);
    clearPending(file->temporary);
    file->temporary.clear();
}

void writeText(const std::string &name, const std::string &text) {
    NewFile file;
    beginFile(&file, name);
    if (std::fwrite(text.data(), 1, text.size(), file.stream) != text.size()) failErrno(name, errno);
    commitFile(&file);
}
