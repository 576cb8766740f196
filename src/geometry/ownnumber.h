// Float results that are no number. What a sum or product keeps of a NaN depends on the order in which its operands
// reach the processor, which is the compiler's choice and another one at each CPU level: computed samples have one NaN.
#pragma once

namespace {

// The value, or the quiet NaN 0x7FC00000.
[[gnu::always_inline]] inline float ownOneNaN(float value) {
    return value == value ? value : __builtin_nanf("");
}

}  // namespace
