// Pictures that pass row by row, from a file or into one, so that a file need not be in memory twice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "picture.h"

// What a row holds. A sample takes 32 bits in passing, whatever it takes in the file: a whole number, or at 32 bits the
// pattern of an int or, where real says so, of a float.
struct Form {
    int width = 0;
    int height = 0;
    int channels = 0;  // as in Picture
    int bits = 8;      // 1, 8, 16 or 32; 1 is gray without alpha
    bool real = false;
};

// next gives the rows one after the other, from the top, and is called height times at most. It throws Failure.
struct RowSource {
    Form form;
    std::function<void(std::uint32_t *row)> next;
};

inline std::size_t samplesOfRow(const Form &form) {
    return static_cast<std::size_t>(form.width) * static_cast<std::size_t>(form.channels);
}

// The bits that a picture has where it is not 32 of them: such a picture counts as one of 16, white being 65535 or 1.0.
inline int plainBits(const Form &form) {
    return form.bits == 32 ? 16 : form.bits;
}

// The same rows with other bits, 8 or 16 (1 stays 1 where it is asked for), rounded and clamped.
RowSource withBits(RowSource source, int bits);

// The same rows with other channels: gray is weighted 77 : 150 : 29 of 256, alpha is dropped, or added as opaque.
RowSource withChannels(RowSource source, int channels);

// The picture stays where it is while its rows are read.
RowSource rowsOf(const Picture &picture);
RowSource rowsOfOwned(Picture picture);

// At 16 bits where there are 32.
Picture pictureFromRows(RowSource source);

// Throws Failure in the name of the file where the picture is larger than any, or its rows than what memory is taken
// for.
void checkSize(const std::string &what, std::uint64_t width, std::uint64_t height, int channels);
