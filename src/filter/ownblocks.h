// Rows in blocks of vectors whose sums stay in registers. For kernels.
#pragma once

#include "frame/ownkernel.h"

namespace OWN_LEVEL {
namespace {

// Runs all of n by blocks of `most` vectors, then by single ones, the last of which overlaps the one before; rows
// shorter than a vector by one(i).
template <size_t lanes, size_t most, class Block, class One>
[[gnu::always_inline]] inline void ownInBlocks(size_t n, const Block &block, const One &one) {
    if (n < lanes) {
        for (size_t i = 0; i < n; ++i)
            one(i);
        return;
    }
    size_t i = 0;
    for (; i + lanes * most <= n; i += lanes * most)
        block.template operator()<most>(i);
    for (; i + lanes <= n; i += lanes)
        block.template operator()<1>(i);
    if (i < n) block.template operator()<1>(n - lanes);
}

}  // namespace
}  // namespace OWN_LEVEL
