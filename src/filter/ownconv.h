// Two-dimensional convolution: its row kernels, and the view of a kernel record that both kinds share.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// Accumulators, from the narrowest that a kernel's sums cannot leave.
enum OwnConvClass { OWN_CONV_16, OWN_CONV_32, OWN_CONV_FLOAT, OWN_CONV_CLASSES };

// How one kernel's results go into the accumulator of several. Of the squares, and of sums, the first kernel's are
// stored and the others' added.
enum OwnConvMerge {
    OWN_MERGE_STORE,
    OWN_MERGE_ADD,
    OWN_MERGE_STORE_SQUARE,
    OWN_MERGE_ADD_SQUARE,
    OWN_MERGE_MAX,
    OWN_MERGE_MIN,
    OWN_MERGES
};

// A coefficient and the row of samples that it multiplies. Of every second tap the next one is at hand as well, for
// instructions that take two: with its row, and with both coefficients side by side. The last tap of an odd number has
// one of 0 behind it.
struct OwnConvTap {
    const uint8_t *row, *next;
    int32_t value;
    float real;
    uint32_t pair;      // 16 bits each
    uint16_t bytePair;  // 8 bits each
};

// Output rows that a float kernel is run over side by side.
constexpr int OWN_CONV_ROWS = 4;

// A float kernel over that many output rows, which share the samples that they load.
struct OwnConvField {
    const uint8_t *const *rows;  // that of the first output row under the kernel's first row, and those below it
    size_t from;                 // bytes of a row before the kernel's first column
    size_t step;                 // bytes from a column to the next
    int nCols, nRows;
    const float *values;
};

// What becomes of the sums of a kernel on bytes.
struct OwnConvBytes {
    int shift;
    uint8_t high;  // the depth's highest value
};

using OwnConvStoreBytes = void (*)(const OwnConvTap *taps, size_t count, size_t from, const OwnConvBytes &how,
                                   void *out, size_t n);

// Sums over n samples of a row, from sample `from` of each tap's row on. Bits are bytes 0 and 1. Where an accumulator
// is of no use at a depth the entry is null.
struct OwnConvSums {
    // sums = the taps' products, added to 0 one after the other.
    void (*sum[OWN_CONV_CLASSES][OWN_DEPTHS])(const OwnConvTap *taps, size_t count, size_t from, void *sums, size_t n);

    // 16-bit sums of unsigned bytes (and bits), with coefficients of 8 bits.
    void (*sumBytes)(const OwnConvTap *taps, size_t count, size_t from, void *sums, size_t n);

    // A kernel alone, whose sums sumBytes can form: shifted, saturated and stored without being kept in between.
    // Adjacent pairs are of columns that follow one another, in samples side by side. Null where it is no quicker.
    OwnConvStoreBytes storeBytes[2];

    // out = the sums of OWN_CONV_ROWS rows of floats, outStep bytes apart. The kernel's rows are taken in pairs and
    // column by column within them.
    void (*sumField)(const OwnConvField &field, void *out, int64_t outStep, size_t n);
};

// What becomes of n sums.
struct OwnConvRows {
    // On sums in place: an arithmetic shift, the square in the accumulator's width, the absolute value.
    void (*shift[OWN_CONV_CLASSES])(void *sums, size_t n, int shift);
    void (*square[OWN_CONV_CLASSES])(void *sums, size_t n);
    void (*absolute[OWN_CONV_CLASSES])(void *sums, size_t n);

    // Sums of one kernel into the accumulator of several, which is 32-bit integers if all kernels are of the first
    // class and float otherwise; then its square root.
    void (*mergeInt[OWN_MERGES])(const void *sums, void *merged, size_t n);
    void (*mergeFloat[OWN_MERGES][OWN_CONV_CLASSES])(const void *sums, void *merged, size_t n);
    void (*rootInt)(void *merged, size_t n);
    void (*rootFloat)(void *merged, size_t n);

    // 16-bit sums of two kernels, whose squares' sum's root is left as 16-bit sums.
    void (*rootOfTwo)(const void *a, const void *b, void *roots, size_t n);

    // Saturated to the depth.
    void (*store[OWN_CONV_CLASSES][OWN_DEPTHS])(const void *sums, void *out, size_t n);
};

const OwnConvSums &ownConvSums();
const OwnConvRows &ownConvRows();

// MoxConvKernel and MoxConvKernelFP up to their values.
struct OwnConvKernel {
    int nCols, nRows;
    int anchorX, anchorY;
    const void *values;
};

// True if the kernel is none that the create functions make.
bool ownBadKernel(const OwnConvKernel &kernel);

inline OwnConvKernel ownConvKernel(const MoxConvKernel *kernel) {
    return {kernel->nCols, kernel->nRows, kernel->anchorX, kernel->anchorY, kernel->values};
}
inline OwnConvKernel ownConvKernel(const MoxConvKernelFP *kernel) {
    return {kernel->nCols, kernel->nRows, kernel->anchorX, kernel->anchorY, kernel->values};
}
