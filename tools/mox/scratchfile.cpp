// Scratch files on POSIX systems.
#include "scratchfile.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

int openScratch(std::string *folder) {
    const char *const said = std::getenv("TMPDIR");
    for (const char *place : {said && *said ? said : "/var/tmp", "/tmp"}) {
        *folder = place;
        std::string name = *folder + "/mox-XXXXXX";
        const int nameless = ::open(place, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (nameless >= 0) return nameless;
        const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
        if (descriptor >= 0) {
            ::unlink(name.c_str());
            return descriptor;
        }
        if (said && *said) break;
    }
    return -1;
}

std::FILE *scratchStream() {
    std::string folder;
    const int descriptor = openScratch(&folder);
    if (descriptor < 0) return nullptr;
    std::FILE *const stream = ::fdopen(descriptor, "w+b");
    if (!stream) ::close(descriptor);
    return stream;
}

bool moveScratch(int descriptor, char *bytes, std::size_t count, std::uint64_t offset, bool write) {
    while (count > 0) {
        const auto at = static_cast<off_t>(offset);
        const ssize_t moved = write ? ::pwrite(descriptor, bytes, count, at) : ::pread(descriptor, bytes, count, at);
        if (moved < 0 && errno == EINTR) continue;
        if (moved == 0) errno = EIO;
        if (moved <= 0) return false;
        bytes += moved;
        count -= static_cast<std::size_t>(moved);
        offset += static_cast<std::uint64_t>(moved);
    }
    return true;
}

std::uint64_t freeSpace(int descriptor) {
    struct statvfs status;
    if (::fstatvfs(descriptor, &status) != 0) return UINT64_MAX;
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

std::uint64_t machineMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES), pageBytes = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageBytes <= 0) return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageBytes);
}
