// The kernels of reversal.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/ownkernel.h"

struct OwnMirrorRows {
    // The n pixels of src, each of so many bytes, in reverse. The rows do not overlap.
    void (*reverse)(const uint8_t *src, uint8_t *dst, size_t n, size_t bytes);

    // The bits of n bytes in reverse: the last bit of src is the first of dst.
    void (*reverseBits)(const uint8_t *src, uint8_t *dst, size_t n);
};

const OwnMirrorRows &ownMirrorRows();
