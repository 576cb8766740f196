// The kernels of quarter turns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/ownkernel.h"

// Bytes of source rows that bits are turned from at a time.
constexpr size_t OWN_BIT_BLOCK = 16;

struct OwnRotateRows {
    // Turns pixels of so many bytes (1, 2, 3, 4, 6, 8, 12 or 16) over: row x of dst, of `columns`, gets the pixels x of
    // all rows of src. Steps are in bytes, and may be negative. What streams is stored past the caches.
    void (*transpose)(const uint8_t *src, int64_t srcStep, uint8_t *dst, int64_t dstStep, size_t columns, size_t rows,
                      size_t bytes, bool streams);

    // The same for bits: from rows of 16 bytes that follow one another, a multiple of 16 of them, to 128 rows.
    void (*transposeBits)(const uint8_t *src, uint8_t *dst, size_t dstStep, size_t rows);
};
const OwnRotateRows &ownRotateRows();
