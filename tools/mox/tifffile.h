// What reading and writing of TIFF files share: libtiff over a stream that is open, and its messages kept.
#pragma once

#include <cstdio>
#include <string>

#include <tiffio.h>

struct TiffHandle {
    TIFF *tiff = nullptr;

    TiffHandle() = default;
    TiffHandle(const TiffHandle &) = delete;
    TiffHandle &operator=(const TiffHandle &) = delete;
    ~TiffHandle();
};

// The stream stays open when the handle goes. Leaves null where it fails.
void openTiff(TiffHandle *handle, std::FILE *stream, const std::string &name, const char *mode);

// What the library said last in this thread, or nothing.
std::string tiffFault();
void tiffClearFault();
