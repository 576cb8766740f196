// mox.h is the first and only thing that this file includes: it must stand on its own as C++.
#include "mox.h"

int moxHeaderAsCpp(const MoxImage *image);

int moxHeaderAsCpp(const MoxImage *image) {
    return moxCheckImageHeader(image) == MOX_StatusNoError && image->depth == MOX_DEPTH_32S;
}
