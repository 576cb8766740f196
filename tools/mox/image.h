// Between pictures and the library's images.
#pragma once

#include <mox.h>

#include <memory>
#include <string>

#include "picture.h"

struct ImageDeleter {
    void operator()(MoxImage *image) const { moxDeallocate(image, MOX_FreeHeader | MOX_FreeData); }
};
using ImagePtr = std::unique_ptr<MoxImage, ImageDeleter>;

struct RoiDeleter {
    void operator()(MoxROI *roi) const { moxDeleteROI(roi); }
};
using RoiPtr = std::unique_ptr<MoxROI, RoiDeleter>;

// "8u" and its like; 0 for a name that is none.
unsigned depthFromName(const std::string &name);
const char *depthName(unsigned depth);

// The depth in which nothing of the picture is lost: 1u, 8u or 16u.
unsigned naturalDepth(const Picture &picture);

// An image with pixels, in memory, rows from the top. Throws Failure when memory runs out.
ImagePtr makeImage(int channels, unsigned depth, bool planes, int width, int height);

// The picture at a depth of the library. Samples become
//   8u, 16u   0 black to 255 or 65535 white
//   8s, 16s   the same less half the range, so that middle gray is 0: -128..127, -32768..32767
//   32s       the picture's own values, 0..255 or 0..65535, with room on both sides
//   32f       0.0 black to 1.0 white
//   1u        1 for the lighter half, of a gray picture
ImagePtr imageFromPicture(const Picture &picture, unsigned depth, bool planes);

// The way back. 8-bit depths give 8 bits, 16-bit depths 16, depth 1u 1 bit, and the 32-bit depths the given bits,
// clamped.
Picture pictureFromImage(const MoxImage *image, int bits);

// The address of a sample of an image in memory, at any depth but 1u.
char *sampleAddress(const MoxImage *image, int x, int y, int channel);
