// Copying pixels, for applications.
#include "frame/owncopy.h"

void MOX_CALL moxCopy(MoxImage *srcImage, MoxImage *dstImage) {
    ownCopy(srcImage, dstImage);
}
