/* mox.h is the first and only thing that this file includes: it must stand on its own as C99. */
#include "mox.h"

int moxHeaderAsC(const MoxImage *image);

int moxHeaderAsC(const MoxImage *image) {
    return moxCheckImageHeader(image) == MOX_StatusNoError && image->depth == MOX_DEPTH_32S;
}
