// What scratch files ask of the system: a file without a name, any part of it, and how much there is of disk and
// memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// A file that has no name, in TMPDIR, or where large files that do not last belong. Gives the descriptor, or -1 and
// errno; folder is set in any case.
int openScratch(std::string *folder);

// The same as a stream; null and errno.
std::FILE *scratchStream();

// Reads or writes all of it, or gives false and errno.
bool moveScratch(int descriptor, char *bytes, std::size_t count, std::uint64_t offset, bool write);

// Bytes that may still be written where an open file is; all that can be counted where nobody tells.
std::uint64_t freeSpace(int descriptor);

// Bytes of memory that the machine has; 0 where nobody tells.
std::uint64_t machineMemory();
