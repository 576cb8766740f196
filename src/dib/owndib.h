// The two directions of a conversion, behind the tests of the exports.
#pragma once

#include "dib/ownbitmap.h"

// Tests that follow one another: the first that fails gives the message.
struct OwnDibTest {
    bool fails;
    const char *message;
};

// Fills an image, whose fields have been tested and which may be without pixels yet, from a bitmap whose header has
// been. False after a report.
bool ownFillImage(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image);

// Fills a bitmap from an image; both headers and the arguments have been tested.
void ownFillBitmap(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image, int dither,
                   int paletteConversion);

// Where a pixel's blue, green, red and alpha stand among an image's channels, by the name of its channelSeq; -1 for
// none. A gray image has one channel for all three.
struct OwnChannelPlaces {
    int blue, green, red, alpha;
};
bool ownFindChannels(const MoxImage *image, OwnChannelPlaces *places);
