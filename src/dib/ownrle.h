// The run-length codec of bitmaps with 8 and 4 bits a pixel.
#pragma once

#include "dib/ownbitmap.h"

// Compresses the bitmap's pixels in place, in the form that biCompression names; their row padding may decide where a
// literal ends. Where that does not make them smaller, biCompression becomes 0 and they stay. 1, or 0 after the report
// that memory failed.
int ownEncodeRLE(const OwnCaller &caller, const OwnBitmap &bitmap);

// A new buffer with the bitmap's rows uncompressed, for moxFree, or null after a report. Skipped pixels are 0.
uint8_t *ownDecodeRLE(const OwnCaller &caller, const OwnBitmap &bitmap);
