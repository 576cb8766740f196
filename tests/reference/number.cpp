// Samples as numbers.
#include "reference/number.h"

#include <bit>

#include "mox.h"

int64_t refWhole(unsigned depth, uint32_t bits) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return static_cast<int8_t>(bits);
        case MOX_DEPTH_16S:
            return static_cast<int16_t>(bits);
        case MOX_DEPTH_32S:
            return static_cast<int32_t>(bits);
        default:
            return bits;
    }
}

long double refNumber(unsigned depth, uint32_t bits) {
    if (depth == MOX_DEPTH_32F) return static_cast<long double>(std::bit_cast<float>(bits));
    return static_cast<long double>(refWhole(depth, bits));
}
