// The kernels that move samples: copy, fill, exchange, and what the frames need to bring any layout to contiguous rows.
#pragma once

#include "image/ownkernel.h"

// By bytes of a sample.
enum OwnSampleSize { OWN_1_BYTE, OWN_2_BYTES, OWN_4_BYTES, OWN_SAMPLE_SIZES };
constexpr OwnSampleSize ownSampleSize(int bytes) {
    return bytes == 4 ? OWN_4_BYTES : bytes == 2 ? OWN_2_BYTES : OWN_1_BYTE;
}

struct OwnMoveRows {
    OwnRowPair copy[OWN_SAMPLE_SIZES];      // d = a
    OwnRowPair fill[OWN_SAMPLE_SIZES];      // d = value
    OwnRowPair exchange[OWN_SAMPLE_SIZES];  // a and d change places: these write to a as well

    // count samples of each pixel of step samples, to and from a contiguous row.
    void (*gather[OWN_SAMPLE_SIZES])(const void *src, int step, int count, void *row, size_t pixels);
    void (*scatter[OWN_SAMPLE_SIZES])(const void *row, void *dst, int step, int count, size_t pixels);

    // Lanes of a masked kernel from bits, the first bit on top of a byte: all ones for a set bit. Up to 8 lanes beyond
    // n are written.
    void (*lanes[OWN_SAMPLE_SIZES])(const uint8_t *bits, void *lanes, size_t n);

    // out[k] = src[k] << left | src[k + 1] >> (8 - left), for left in 1..7.
    void (*shiftBits)(const uint8_t *src, int left, uint8_t *out, size_t n);

    // Copies without bringing the destination into the caches. Ends with a fence.
    void (*stream)(void *dst, const void *src, size_t bytes);
};

const OwnMoveRows &ownMoveRows();
