// The table of operations, each with the constant that it is measured with.
#include "operations.h"

#include <algorithm>
#include <cstring>

namespace {

using Images = MoxImage *const *;

bool isFloat(Images images) {
    return images[0]->depth == MOX_DEPTH_32F;
}

void set(Images images) {
    if (isFloat(images)) {
        moxSetFP(images[0], 1.5f);
    } else {
        moxSet(images[0], 100);
    }
}

void addS(Images images) {
    if (isFloat(images)) {
        moxAddSFP(images[0], images[1], 1.5f);
    } else {
        moxAddS(images[0], images[1], 40);
    }
}

template <int flip>
void subtractS(Images images) {
    if (isFloat(images)) {
        moxSubtractSFP(images[0], images[1], 1.5f, flip);
    } else {
        moxSubtractS(images[0], images[1], 40, flip);
    }
}

void multiplyS(Images images) {
    if (isFloat(images)) {
        moxMultiplySFP(images[0], images[1], 1.5f);
    } else {
        moxMultiplyS(images[0], images[1], 3);
    }
}

template <void MOX_CALL operation(MoxImage *, MoxImage *)>
void one(Images images) {
    operation(images[0], images[1]);
}

template <void MOX_CALL operation(MoxImage *, MoxImage *, MoxImage *)>
void two(Images images) {
    operation(images[0], images[1], images[2]);
}

template <void MOX_CALL operation(MoxImage *, MoxImage *, int)>
void withBits(Images images) {
    operation(images[0], images[1], 0x55);
}

template <void MOX_CALL operation(MoxImage *, MoxImage *, unsigned)>
void shift(Images images) {
    operation(images[0], images[1], 3);
}

}  // namespace

const std::vector<Operation> &allOperations() {
    static const std::vector<Operation> operations = {
        {"copy", GROUP_MOVE, 1, false, EVERY, one<moxCopy>},
        {"set", GROUP_MOVE, 0, false, EVERY, set},
        {"exchange", GROUP_MOVE, 1, true, EVERY, one<moxExchange>},
        {"add", GROUP_TWO, 2, false, NUMBERS, two<moxAdd>},
        {"subtract", GROUP_TWO, 2, false, EVERY, two<moxSubtract>},
        {"multiply", GROUP_TWO, 2, false, NUMBERS, two<moxMultiply>},
        {"and", GROUP_TWO, 2, false, INTEGERS_AND_BITS, two<moxAnd>},
        {"or", GROUP_TWO, 2, false, INTEGERS_AND_BITS, two<moxOr>},
        {"xor", GROUP_TWO, 2, false, INTEGERS_AND_BITS, two<moxXor>},
        {"add-s", GROUP_CONSTANT, 1, false, NUMBERS, addS},
        {"subtract-s", GROUP_CONSTANT, 1, false, NUMBERS, subtractS<0>},
        {"subtract-from-s", GROUP_CONSTANT, 1, false, NUMBERS, subtractS<1>},
        {"multiply-s", GROUP_CONSTANT, 1, false, NUMBERS, multiplyS},
        {"and-s", GROUP_CONSTANT, 1, false, INTEGERS_AND_BITS, withBits<moxAndS>},
        {"or-s", GROUP_CONSTANT, 1, false, INTEGERS_AND_BITS, withBits<moxOrS>},
        {"xor-s", GROUP_CONSTANT, 1, false, INTEGERS_AND_BITS, withBits<moxXorS>},
        {"shift-left", GROUP_CONSTANT, 1, false, INTEGERS, shift<moxLShiftS>},
        {"shift-right", GROUP_CONSTANT, 1, false, INTEGERS, shift<moxRShiftS>},
        {"not", GROUP_CONSTANT, 1, false, INTEGERS_AND_BITS, one<moxNot>},
        {"square", GROUP_CONSTANT, 1, false, NUMBERS, one<moxSquare>},
        {"abs", GROUP_CONSTANT, 1, false, NUMBERS, one<moxAbs>},
    };
    return operations;
}

const Operation &findOperation(const char *name) {
    const auto &operations = allOperations();
    return *std::find_if(operations.begin(), operations.end(),
                         [&](const Operation &operation) { return std::strcmp(operation.name, name) == 0; });
}

bool supports(const Operation &operation, int depthIndex) {
    return std::find(operation.at.begin(), operation.at.end(), depthIndex) != operation.at.end();
}

// Vectors have saturating sums of 8 and 16 bits only, and no saturating products of 32 bits.
bool isSimple(const Operation &operation, int depthIndex) {
    if (depthIndex != OWN_32S) return true;
    static constexpr const char *SATURATING[] = {"add",    "subtract",        "multiply",   "add-s",
                                                 "square", "subtract-from-s", "subtract-s", "multiply-s"};
    return std::none_of(std::begin(SATURATING), std::end(SATURATING),
                        [&](const char *name) { return std::strcmp(name, operation.name) == 0; });
}

unsigned depthCode(int depthIndex) {
    static constexpr unsigned CODES[] = {MOX_DEPTH_1U,  MOX_DEPTH_8U,  MOX_DEPTH_8S, MOX_DEPTH_16U,
                                         MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};
    return CODES[depthIndex];
}

const char *depthName(int depthIndex) {
    static constexpr const char *NAMES[] = {"1U", "8U", "8S", "16U", "16S", "32S", "32F"};
    return NAMES[depthIndex];
}
