// What the tool asks of POSIX and Windows' C library lacks. Built for Windows, every file of the tool begins with this.
#pragma once

#define NOMINMAX
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// Words that are nobody's any more.
#undef near
#undef far
#undef small

#include <fcntl.h>
#include <io.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

// Files are bytes, and no other process inherits them.
#define O_CLOEXEC (O_BINARY | O_NOINHERIT)

// The window is closed.
#define SIGHUP SIGBREAK

// Any folder may be entered, and to ask whether ends the process.
#undef X_OK
#define X_OK 0

// A new file has the rights of its folder.
inline int fchmod(int, unsigned) {
    return 0;
}
