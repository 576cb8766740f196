// Products of packed spectra.
#pragma once

#include "core/owncore.h"
#include "frame/ownkernel.h"

// The samples of three images that are multiplied, and the bytes from one to the next in each of them.
struct OwnProducts {
    const char *a, *b;
    char *d;
    int64_t aStep, bStep, dStep;
};

struct OwnMpyRows {
    // n complex numbers: re = a.re b.re - a.im b.im, im = a.re b.im + a.im b.re.
    void (*pairs[OWN_DEPTHS])(const OwnProducts &at, size_t n);
    // One real number.
    void (*real[OWN_DEPTHS])(const OwnProducts &at);
};
const OwnMpyRows &ownMpyRows();
