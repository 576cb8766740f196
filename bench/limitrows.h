// The passes of one vector width.
#pragma once

#include "limit.h"

using LimitRow = void (*)(uint8_t *a, uint8_t *b, uint8_t *d, size_t n);

// Null where there is no such pass. Lengths are multiples of 64.
struct LimitRows {
    LimitRow plain[LIMIT_SHAPES];
    LimitRow streaming[LIMIT_SHAPES];
    void (*read)(const uint8_t *from, size_t n);
};
