// The row kernels of arithmetic and logic, by depth. A depth that an operation does not have is null.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

struct OwnArithRows {
    // d = a op b. At depth 1 on bytes of eight samples.
    OwnRowForms add[OWN_DEPTHS];
    OwnRowForms subtract[OWN_DEPTHS];
    OwnRowForms multiply[OWN_DEPTHS];
    OwnRowForms bitAnd[OWN_DEPTHS];
    OwnRowForms bitOr[OWN_DEPTHS];
    OwnRowForms bitXor[OWN_DEPTHS];

    // d = a op value; bits repeat the value over the width that the kernel works in.
    OwnRowForms andS[OWN_DEPTHS];
    OwnRowForms orS[OWN_DEPTHS];
    OwnRowForms xorS[OWN_DEPTHS];
    OwnRowForms shiftLeft[OWN_DEPTHS];
    OwnRowForms shiftRight[OWN_DEPTHS];
    OwnRowForms multiplyS[OWN_DEPTHS];  // the value within the depth's range, 8S and 16S up to 128 and 32768

    // 8 and 16 bits: on samples with the bias added, which makes signed ones unsigned. The value is 0 to the largest
    // sample.
    OwnRowForms addUp[OWN_DEPTHS];      // a + value, up to the largest sample
    OwnRowForms takeDown[OWN_DEPTHS];   // a - value, down to 0
    OwnRowForms fromValue[OWN_DEPTHS];  // value - a, down to 0
    OwnRowForms fromAbove[OWN_DEPTHS];  // (largest sample + value) - a, up to the largest sample
    // 32 bits, signed and float.
    OwnRowForms addS[OWN_DEPTHS];          // a + value
    OwnRowForms subtractS[OWN_DEPTHS];     // a - value
    OwnRowForms subtractFrom[OWN_DEPTHS];  // value - a

    OwnRowForms square[OWN_DEPTHS];
    OwnRowForms absolute[OWN_DEPTHS];
};

const OwnArithRows &ownArithRows();

// The kernels of an operation for an image of a valid depth, which is as much as a compiler has to know.
inline const OwnRowForms &ownRowsOf(const OwnRowForms (&rows)[OWN_DEPTHS], const MoxImage *image) {
    const int index = ownDepthIndex(image->depth);
    return rows[index < 0 ? 0 : index];
}

// A value for the logic operations: of a bit's value bit 0 counts, and it is repeated over the byte.
inline OwnConstant ownLogicConstant(unsigned depth, int value) {
    const auto bits = static_cast<uint32_t>(value);
    return {depth == MOX_DEPTH_1U ? 0u - (bits & 1) : bits, 0, 0};
}
