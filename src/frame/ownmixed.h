// The frame of conversions: a source and a destination whose samples differ in size, or are bits. It makes no checks;
// it brings a kernel over the images, plain or tiled, under a mask, upside down, and from one order of channels to the
// other.
#pragma once

#include "frame/ownkernel.h"
#include "frame/ownrows.h"

// Runs the kernel over the rows of two spans of any sizes of sample. A source of bits serves every channel of the
// destination. Where a span steps over pixels and has planes all the same, its planes are the channels of its pixels.
void ownRunMixedRows(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant);

// What converts, and how far.
struct OwnConversion {
    MoxImage *src, *dst;
    MoxImage *mask;  // the combined one, or null
    int first[2];    // the first channel of each image, counted from 0
    int channels;    // 0 for as many as the destination processes
    bool whole;      // the whole of both images: regions mean nothing
    bool flips;      // the last row of the source is the first one of the destination
    bool asBytes;    // bits are copied by whole bytes
};

// Channels of interest, or all but alpha.
OwnConversion ownConversionOf(MoxImage *src, MoxImage *dst, MoxImage *mask);

// Runs it. Gives -1, or the index of the image whose tile was not delivered.
int ownConvert(const OwnConversion &conversion, const OwnMixedForms &kernel, const OwnConstant &constant);
