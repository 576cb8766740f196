/* Adds two RGB images where a mask allows it, and to one channel only. */
#include <mox.h>
#include <stdio.h>

enum { width = 12, height = 6 };

static MoxImage *makeImage(int channels, unsigned depth, int fill) {
    MoxImage *image =
        moxCreateImageHeader(channels, 0, (int)depth, channels == 3 ? "RGB" : "GRAY", channels == 3 ? "RGB" : "G",
                             MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 4, width, height, NULL, NULL, NULL, NULL);
    if (image) moxAllocateImage(image, 1, fill);
    return image;
}

static void show(MoxImage *image, int channel) {
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            unsigned char pixel[3];
            moxGetPixel(image, x, y, pixel);
            printf("%4d", pixel[channel]);
        }
        printf("\n");
    }
}

int main(void) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);

    MoxImage *a = makeImage(3, MOX_DEPTH_8U, 200);
    MoxImage *b = makeImage(3, MOX_DEPTH_8U, 40);
    MoxImage *mask = makeImage(1, MOX_DEPTH_1U, 0);
    if (!a || !b || !mask) return 1;

    /* A mask is an image of one bit a pixel: a triangle of ones. */
    for (int y = 0; y < height; y++) {
        const unsigned char one = 1;
        for (int x = 0; x <= 2 * y; x++)
            moxPutPixel(mask, x, y, &one);
    }

    /* The destination's mask. The masks of all images of a call are combined; here there is one. */
    a->maskROI = mask;
    moxAdd(a, b, a);
    printf("red, after adding under the mask:\n");
    show(a, 0);

    /* A channel of interest: as both images name theirs, they may differ. Sums are clamped: 240 + 40 is 255. */
    a->roi = moxCreateROI(1, 0, 0, width, height);
    b->roi = moxCreateROI(3, 0, 0, width, height);
    moxAdd(a, b, a);
    printf("red, after adding b's blue to it:\n");
    show(a, 0);
    printf("green, as before:\n");
    show(a, 1);

    moxDeallocate(a, MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi | MOX_FreeMask);
    moxDeallocate(b, MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi);
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
