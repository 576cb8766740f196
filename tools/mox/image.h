// Between pictures and the library's images.
#pragma once

#include <mox.h>

#include <memory>
#include <string>

#include "rows.h"

struct ImageDeleter {
    void operator()(MoxImage *image) const;
};
using ImagePtr = std::unique_ptr<MoxImage, ImageDeleter>;

struct RoiDeleter {
    void operator()(MoxROI *roi) const { moxDeleteROI(roi); }
};
using RoiPtr = std::unique_ptr<MoxROI, RoiDeleter>;

// "8u" and its like; 0 for a name that is none.
unsigned depthFromName(const std::string &name);
const char *depthName(unsigned depth);

// The depth in which nothing of the picture is lost: 1u, 8u or 16u, and at 32 bits 32s or 32f.
unsigned naturalDepth(const Form &form);
unsigned naturalDepth(const Picture &picture);

// A header with or without tiles, and no pixels. Throws Failure.
MoxImage *makeHeader(int channels, unsigned depth, bool planes, int width, int height, MoxTileInfo *tiles);

// The bytes of an image in memory, or more than there can be.
std::uint64_t bytesOfImage(int channels, unsigned depth, bool planes, int width, int height);

// An image with pixels, in memory, rows from the top; not black, they are whatever was there. Throws Failure when
// memory runs out.
ImagePtr makeImage(int channels, unsigned depth, bool planes, int width, int height, bool black = true);

// The picture at a depth of the library. Samples become
//   8u, 16u   0 black to 255 or 65535 white
//   8s, 16s   the same less half the range, so that middle gray is 0: -128..127, -32768..32767
//   32s       the picture's own values, 0..255 or 0..65535, with room on both sides
//   32f       0.0 black to 1.0 white
//   1u        1 for the lighter half, of a gray picture
// What has 32 bits in the file keeps its numbers at its own depth; at others it is as a picture of 16 bits, clamped,
// but whole numbers at 32f, 65535 being 1.0, which are not.
ImagePtr imageFromRows(RowSource source, unsigned depth, bool planes);
ImagePtr imageFromPicture(const Picture &picture, unsigned depth, bool planes);

// Row by row: what imageFromRows is made of.
struct ImageRows {
    RowSource source;
    bool wide;  // samples of 32 bits go in as they are
};
ImageRows rowsForImage(RowSource source, unsigned depth);
void putRow(MoxImage *image, int y, const std::uint32_t *row, const ImageRows &rows);

// And the others: the form that rows of an image have, and row y of one.
Form formOfImage(const MoxImage *image, int bits, bool exact);
void takeRow(const MoxImage *image, int y, std::uint32_t *row, const Form &form);

// The way back. 8-bit depths give 8 bits, 16-bit depths 16, depth 1u 1 bit, and the 32-bit depths the given bits,
// clamped.
RowSource rowsOfImage(const MoxImage *image, int bits);
Picture pictureFromImage(const MoxImage *image, int bits);

// The same, but of the 32-bit depths the samples themselves, for files that can hold them.
RowSource exactRowsOfImage(const MoxImage *image, int bits);

// All samples of an image that is served in tiles, in memory, for what has to see it so; null for one that is there.
// The region, channel of interest, mask and borders of the image are the copy's, too. Throws Failure where it is too
// large.
ImagePtr wholeOf(MoxImage *image);

// The way back, of all samples.
void putWhole(const ImagePtr &whole, MoxImage *image);

// The address of a sample of an image in memory, at any depth but 1u.
char *sampleAddress(const MoxImage *image, int x, int y, int channel);
