/* The smallest application: an image of 200s plus itself saturates. */
#include <mox.h>

int main(void) {
    MoxImage *image = moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", 0, 0, 8, 20, 10, 0, 0, 0, 0);
    moxAllocateImage(image, 1, 200);
    moxAdd(image, image, image);
    return (unsigned char)image->imageData[0] == 255 && moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
