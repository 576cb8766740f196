// The run-length streams of bitmaps, by their definition: what a stream draws, and how rows are written.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What a decoder makes of a stream. fault is 0, or the kinds of fault that may be reported for it: where a stream
// breaks two rules at one place, either may be named.
struct RefDrawn {
    enum Fault { NONE = 0, HEIGHT_OR_WIDTH = 1, WIDTH = 2, DELTA = 4, HEIGHT = 8, ANY = 15 };
    int fault = NONE;
    std::vector<int> pixels;  // row after row in memory order; -1 where nothing was drawn
};

RefDrawn refDrawStream(int bits, int width, int height, const std::vector<uint8_t> &stream);

// "Incorrect format of BI_RLE8 DIB (...)": the part for one fault.
const char *refFaultText(int fault);

// One row of 8-bit pixels, end of row included. pixels may hold more than width: what lies behind the row in memory.
std::vector<uint8_t> refEncodeRow8(const std::vector<uint8_t> &pixels, size_t first, size_t width);
// A whole bitmap of 8-bit rows with their padding.
std::vector<uint8_t> refEncode8(const std::vector<uint8_t> &rows, int width, int height);

// Whether a stream writes a row of 4-bit pixels by the rules, as far as these fix the bytes: empty if so, else what is
// wrong. *used is set to the bytes up to and with the end of the row.
std::string refCheckRow4(const std::vector<int> &pixels, const uint8_t *stream, size_t size, size_t *used);
