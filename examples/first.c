/* Draws a gray ramp, turns a region of it negative, and shows it in letters. */
#include <mox.h>
#include <stdio.h>

int main(void) {
    /* Report on the standard error stream, and go on: the mode of a new thread may end the program. */
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);

    /* One channel of 8 bits, 64 x 9 pixels, rows aligned to 8 bytes; then memory for it, filled with 0. */
    MoxImage *image = moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8, 64,
                                           9, NULL, NULL, NULL, NULL);
    if (!image) return 1;
    moxAllocateImage(image, 1, 0);
    if (!image->imageData) return 1;

    for (int y = 0; y < image->height; y++) {
        for (int x = 0; x < image->width; x++) {
            unsigned char gray = (unsigned char)(x * 4);
            moxPutPixel(image, x, y, &gray);
        }
    }

    /* All channels of a region of 32 x 5 pixels. Every operation keeps to it as long as it is there. */
    image->roi = moxCreateROI(0, 16, 2, 32, 5);
    moxNot(image, image);

    for (int y = 0; y < image->height; y++) {
        const unsigned char *row = (const unsigned char *)image->imageData + y * image->widthStep;
        for (int x = 0; x < image->width; x++)
            putchar(" .:-=+*#%@"[row[x] * 10 / 256]);
        putchar('\n');
    }

    /* The header, its pixels and its region. */
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi);
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
