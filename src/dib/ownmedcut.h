// A palette from an image's own colours, by median cut.
#pragma once

#include "dib/ownbitmap.h"

// Writes up to 1 << biBitCount entries, for a bitmap of up to 8 bits a pixel, and sets biClrUsed. The image has pixels
// in memory. 0 where memory failed or the bitmap has no palette; nothing is reported.
int ownMedianCutPalette(const OwnBitmap &bitmap, const MoxImage *image);
