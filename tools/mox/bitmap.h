// Bitmaps: pictures in the device-independent format, in memory as the library takes them and in .bmp files.
#pragma once

#include <mox.h>

#include <cstddef>
#include <memory>
#include <string>

#include "picture.h"
#include "rows.h"

// Header, masks, palette and pixels, packed one behind the other.
struct Bitmap {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    [[nodiscard]] BITMAPINFOHEADER *header() const { return reinterpret_cast<BITMAPINFOHEADER *>(bytes.get()); }
};

// How a picture becomes a bitmap.
struct BitmapForm {
    int bits = 0;  // a pixel; 0 for as many as the picture needs
    bool compressed = false;
    int paletteKind = MOX_PALCONV_POPULATE;
    std::string paletteFile;  // of MOX_PALCONV_NONE: the bitmap whose palette is taken
    int dither = MOX_DITHER_NONE;
    bool diffuses = false;  // over the palette itself
};

// The dither of a name, or 0. ditherNames lists them for messages.
int ditherFromName(const std::string &name);
extern const char *const ditherNames;

// The file is read and its sizes are checked. Throws Failure.
struct Input;
Bitmap readBitmapFile(const Input &input);

// The picture of a file: read whole, or where it is large and not compressed by slices that are bitmaps of their own.
RowSource readBitmapRows(const Input &input);

// The way back: by slices, where neither palette nor dithering need the whole picture.
void writeBitmapRows(RowSource rows, const BitmapForm &form, const std::string &name);

// The file appears whole or not at all. Throws Failure.
void writeBitmapFile(const Bitmap &bitmap, const std::string &name);

// By the library, which reports faults: throws Failure with what and its words.
Picture pictureFromBitmap(const Bitmap &bitmap, int code, const std::string &what);

// The same without a look at alpha: many programs leave the fourth byte of a pixel 0 and mean an opaque picture, which
// pictureFromBitmap takes for one.
Picture translatedBitmap(const Bitmap &bitmap, int code, const std::string &what);
bool isAllHidden(const Picture &picture);

// The channels that a picture is to have. Bitmaps have alpha only with colours; and where there will be but black and
// white, colours become gray first, since grays can be dithered to these two.
int channelsOfBitmap(int channels, const BitmapForm &form);

// By the library, from an image of depth 1u, 8u or 16u. Null bytes where it refused, which has been reported.
Bitmap bitmapFromImage(MoxImage *image, const BitmapForm &form);
