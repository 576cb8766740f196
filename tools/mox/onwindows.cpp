// Functions of the C library as POSIX has them: these stand before those of Windows' library in the link.
#include <errno.h>
#include <stdio.h>

namespace {

// Pictures pass through the standard streams, and a line ends with one character everywhere.
struct BinaryStreams {
    BinaryStreams() {
        _setmode(_fileno(stdin), O_BINARY);
        _setmode(_fileno(stdout), O_BINARY);
        _setmode(_fileno(stderr), O_BINARY);
    }
} binaryStreams;

}  // namespace

extern "C" {

// Takes the place of a file that is there, in one step.
int rename(const char *from, const char *to) {
    if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return 0;
    const DWORD error = GetLastError();
    errno = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ENOENT
            : error == ERROR_NOT_SAME_DEVICE                               ? EXDEV
                                                                           : EACCES;
    return -1;
}

}  // extern "C"
