// Operations that go through images a band of rows at a time, where the library or the tool would else take all of them
// at once.
#pragma once

#include <mox.h>

#include <functional>

struct RegionSize {
    int width, height;
};

// What of an image's region lies in it.
RegionSize regionOf(const MoxImage *image);

// Where pixels are not in memory, work sees one band of the region after the other, in both images and under the first
// one's mask; else all at once. It is for what becomes of a pixel by itself. The two images may be the same.
void byBands(MoxImage *image, MoxImage *result, const std::function<void()> &work);
