// Bitmap files made and taken apart for tests, without the tool's and the library's code.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct BitmapFile {
    int headerSize = 40;
    int width = 0;
    int height = 0;  // negative: from the top
    int bits = 24;
    int compression = 0;
    std::vector<std::uint32_t> masks;    // for compression 3
    std::vector<std::uint32_t> palette;  // 0xRRGGBB
    std::vector<std::uint32_t> words;    // a pixel each, the picture's top row first; 24 bits as 0xRRGGBB
    std::vector<int> stream;             // of compressed pixels, in place of words

    void setIndices(const std::vector<int> &indices);
    void setSamples(const std::vector<std::uint16_t> &samples);  // red, green, blue and at 32 bits alpha

    [[nodiscard]] std::string bytes() const;

    // The palette index of each pixel, the top row first; compressed ones are decoded.
    [[nodiscard]] std::vector<int> indices() const;
};

// Takes a file apart and expects its sizes to agree with one another and with the file's length.
BitmapFile parseBitmap(const std::string &bytes);
