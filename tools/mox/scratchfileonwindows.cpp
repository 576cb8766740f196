// Scratch files on Windows: they have a name, and go when they are closed.
#include "scratchfile.h"

#include <algorithm>
#include <cerrno>

int openScratch(std::string *folder) {
    char place[MAX_PATH + 1], name[MAX_PATH + 1];
    *folder = "the folder of temporary files";
    errno = EACCES;
    if (GetTempPathA(sizeof place, place) == 0) return -1;
    *folder = place;
    if (GetTempFileNameA(place, "mox", 0, name) == 0) return -1;
    return _open(name, _O_RDWR | _O_CREAT | _O_TRUNC | _O_TEMPORARY | O_CLOEXEC, _S_IREAD | _S_IWRITE);
}

std::FILE *scratchStream() {
    std::string folder;
    const int descriptor = openScratch(&folder);
    if (descriptor < 0) return nullptr;
    std::FILE *const stream = _fdopen(descriptor, "w+b");
    if (!stream) _close(descriptor);
    return stream;
}

// A descriptor is one thread's, so that its position may be moved.
bool moveScratch(int descriptor, char *bytes, std::size_t count, std::uint64_t offset, bool write) {
    if (_lseeki64(descriptor, static_cast<__int64>(offset), SEEK_SET) < 0) return false;
    while (count > 0) {
        const auto part = static_cast<unsigned>(std::min<std::size_t>(count, 1 << 30));
        const int moved = write ? _write(descriptor, bytes, part) : _read(descriptor, bytes, part);
        if (moved == 0) errno = EIO;
        if (moved <= 0) return false;
        bytes += moved;
        count -= static_cast<std::size_t>(moved);
    }
    return true;
}

std::uint64_t freeSpace(int) {
    char place[MAX_PATH + 1];
    ULARGE_INTEGER free;
    if (GetTempPathA(sizeof place, place) == 0 || !GetDiskFreeSpaceExA(place, &free, nullptr, nullptr))
        return UINT64_MAX;
    return free.QuadPart;
}

std::uint64_t machineMemory() {
    MEMORYSTATUSEX status;
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : 0;
}
