// The aligned allocators. Library scratch and user memory share them; image pixels come from the heap directly.
#include <climits>
#include <cstdlib>

#include "core/owncore.h"

namespace {

constexpr size_t ALIGNMENT = 32;
// Room to align the block and to keep the heap's own pointer in the word before it.
constexpr size_t OVERHEAD = ALIGNMENT - 1 + sizeof(void *);

void *allocate(int count, size_t itemSize) {
    if (count <= 0 || static_cast<size_t>(count) > INT_MAX / itemSize) return nullptr;
    void *base = std::malloc(static_cast<size_t>(count) * itemSize + OVERHEAD);
    if (!base) return nullptr;
    const auto address = (reinterpret_cast<uintptr_t>(base) + OVERHEAD) & ~uintptr_t{ALIGNMENT - 1};
    auto *block = reinterpret_cast<void **>(address);
    block[-1] = base;
    return block;
}

}  // namespace

void *MOX_CALL moxMalloc(int length) {
    return allocate(length, 1);
}

short *MOX_CALL moxwMalloc(int length) {
    return static_cast<short *>(allocate(length, sizeof(short)));
}

int *MOX_CALL moxiMalloc(int length) {
    return static_cast<int *>(allocate(length, sizeof(int)));
}

double *MOX_CALL moxdMalloc(int length) {
    return static_cast<double *>(allocate(length, sizeof(double)));
}

void MOX_CALL moxFree(void *memory) {
    if (memory) std::free(static_cast<void **>(memory)[-1]);
}

// One function under several names: floats are as wide as integers, and records are freed like any block.
OWN_ALIAS(float *MOX_CALL moxsMalloc(int), moxiMalloc);
OWN_ALIAS(void MOX_CALL moxDeleteROI(MoxROI *), moxFree);
OWN_ALIAS(void MOX_CALL moxDeleteTileInfo(MoxTileInfo *), moxFree);
