// The kernels that move samples: copy, fill, exchange, and what the frames need to bring any layout to contiguous rows.
#pragma once

#include "frame/ownkernel.h"

// By bytes of a sample, whose binary logarithm the value is.
enum OwnSampleSize { OWN_1_BYTE, OWN_2_BYTES, OWN_4_BYTES, OWN_SAMPLE_SIZES };
constexpr OwnSampleSize ownSampleSize(int bytes) {
    return bytes == 4 ? OWN_4_BYTES : bytes == 2 ? OWN_2_BYTES : OWN_1_BYTE;
}

struct OwnMoveRows {
    OwnRowForms copy[OWN_SAMPLE_SIZES];      // d = a
    OwnRowForms fill[OWN_SAMPLE_SIZES];      // d = value
    OwnRowForms exchange[OWN_SAMPLE_SIZES];  // a and d change places: these write to a as well

    // count samples of each pixel of step samples, to and from a contiguous row.
    void (*gather[OWN_SAMPLE_SIZES])(const void *src, int step, int count, void *row, size_t pixels);
    void (*scatter[OWN_SAMPLE_SIZES])(const void *row, void *dst, int step, int count, size_t pixels);

    // Lanes of a masked kernel from bits, the first bit on top of a byte: all ones for a set bit, each repeated 1 to 4
    // times for the samples of a pixel. Lanes for up to 8 bits beyond the count are written.
    void (*lanes[OWN_SAMPLE_SIZES])(const uint8_t *bits, int repeat, void *lanes, size_t count);

    // The same lanes put to use: row = a where the pixel's bit is set, 0 elsewhere, over count pixels.
    void (*keep[OWN_SAMPLE_SIZES])(const void *a, const uint8_t *bits, int repeat, void *row, size_t count);

    // out[k] = src[k] << left | src[k + 1] >> (8 - left), for left in 1..7.
    void (*shiftBits)(const uint8_t *src, int left, uint8_t *out, size_t n);

    // Orders what streamed kernels have stored before whatever comes next.
    void (*fence)();
};

const OwnMoveRows &ownMoveRows();
