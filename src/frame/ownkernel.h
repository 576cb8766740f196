// What row kernels are made of: their types, and the means to write one as a plain loop over samples. Kernel files are
// compiled once for each CPU level, so everything with code in it is unnamed or in the level's namespace.
#pragma once

#include <cstddef>
#include <cstdint>

// A kernel file is compiled with -fno-trapping-math behind all flags that would undo it: without it a loop on floats
// under a mask becomes no vectors.
#if defined(OWN_LEVEL) && defined(__GNUC__) && !defined(__clang__) && __GNUC__ > 11
#if !defined(__NO_TRAPPING_MATH__) || !defined(__NO_MATH_ERRNO__)
#error "Kernels heed floating-point exceptions here: see mox_kernel_numbers in cmake/levels.cmake."
#endif
#endif

// The constants of a row: what a kernel does with them is between it and the operation that picked it.
struct OwnConstant {
    uint32_t value;  // in the element's width
    uint32_t bias;   // added without carry to signed samples, to handle them as unsigned ones
    float real;
    const void *table = nullptr;
};

// A row kernel: d[i] = f(a[i], b[i], constant) for n samples. b is null for unary kernels, a as well for those that
// only write. d may be a or b.
using OwnRow = void (*)(const void *a, const void *b, void *d, size_t n, const OwnConstant &constant);

// The same under a mask of lanes as wide as the destination's samples: all ones where d[i] is stored, 0 where it stays.
// On bytes the lanes act bit by bit.
using OwnMaskedRow = void (*)(const void *a, const void *b, void *d, size_t n, const OwnConstant &constant,
                              const void *lanes);

// That under the bits of a mask, the first bit on top of a byte and each for one sample.
using OwnRowUnderBits = void (*)(const void *a, const void *b, void *d, size_t n, const OwnConstant &constant,
                                 const uint8_t *bits);

// Rows of bits, each from a bit of its first byte on, counted from the top.
struct OwnBitRun {
    const uint8_t *at;
    int bit;
    int64_t rowStep;
};

// A row kernel on height rows of count bits, those of each image at a bit of their own: what lies beside the bits in
// the first and last byte of a row of d stays. A source may be d's own rows at the same bit; one that the kernel does
// not use is any other of the three.
struct OwnBitRows {
    OwnBitRun a, b;
    uint8_t *d;
    int bit;
    int64_t rowStep;
    int64_t count;
    int height;
};
using OwnBitKernel = void (*)(const OwnBitRows &rows, const OwnConstant &constant);

// The forms of one kernel. The streamed form stores past the caches, for runs that they could not keep; d must not be a
// source, and whoever ran it orders the stores with OwnMoveRows::fence. Null where the plain form does as well, as is
// the bit form of kernels that are not for bits, and the form under bits where lanes do as well.
struct OwnRowForms {
    OwnRow plain;
    OwnMaskedRow masked;
    OwnRow streamed;
    OwnBitKernel bits = nullptr;
    OwnRowUnderBits underBits = nullptr;
};

// A kernel from samples of one size to samples of another. Bits stand in whole bytes, the first on top: those of a
// source begin with a byte, and so do those that are written, of which the ones behind the last sample are 0. d may be
// a where samples are of one size. Streamed forms are as in OwnRowForms, null to bits.
struct OwnMixedForms {
    OwnRow plain;
    OwnRow streamed;
    bool copies = false;  // samples stay what they are
};

// The tables of the levels that this build has, in the order of OwnCpuLevel.
#define OWN_DECLARE_LEVEL(level, Table, name) \
    namespace level {                         \
    extern const Table name;                  \
    }
#if !defined(OWN_HAS_LEVELS)
#define OWN_DECLARE_LEVELS(Table, name) OWN_DECLARE_LEVEL(ownBase, Table, name)
#define OWN_LEVEL_TABLES(name) \
    { &ownBase::name }
#elif OWN_HAS_LEVELS == 1
#define OWN_DECLARE_LEVELS(Table, name)     \
    OWN_DECLARE_LEVEL(ownBase, Table, name) \
    OWN_DECLARE_LEVEL(ownV3, Table, name)
#define OWN_LEVEL_TABLES(name) \
    { &ownBase::name, &ownV3::name }
#else
#define OWN_DECLARE_LEVELS(Table, name)     \
    OWN_DECLARE_LEVEL(ownBase, Table, name) \
    OWN_DECLARE_LEVEL(ownV3, Table, name)   \
    OWN_DECLARE_LEVEL(ownV4, Table, name)
#define OWN_LEVEL_TABLES(name) \
    { &ownBase::name, &ownV3::name, &ownV4::name }
#endif
