// Samples as numbers.
#pragma once

#include <cstdint>

// Of the depths of whole numbers.
int64_t refWhole(unsigned depth, uint32_t bits);
// Of all depths.
long double refNumber(unsigned depth, uint32_t bits);
