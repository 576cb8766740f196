/* Draws a disc, softens it, and shows where it begins and ends: the length of the gradient, by two kernels at once. */
#include <mox.h>
#include <stdio.h>

enum { width = 48, height = 18 };

static void show(const MoxImage *image) {
    for (int y = 0; y < height; y++) {
        const unsigned char *row = (const unsigned char *)image->imageData + y * image->widthStep;
        for (int x = 0; x < width; x++)
            putchar(" .:-=+*#%@"[row[x] * 10 / 256]);
        putchar('\n');
    }
}

int main(void) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);

    MoxImage *image = moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8,
                                           width, height, NULL, NULL, NULL, NULL);
    if (!image) return 1;
    moxAllocateImage(image, 1, 0);
    if (!image->imageData) return 1;
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            const unsigned char white = 255;
            if ((x - 40) * (x - 40) + 4 * (y - 9) * (y - 9) < 180) moxPutPixel(image, x, y, &white);
        }
    }

    /* A window looks beyond the image; here its last pixels go on there. In place is as good as into another image. */
    moxSetBorderMode(image, MOX_BORDER_REPLICATE, MOX_SIDE_ALL, 0);
    moxBlur(image, image, 5, 3, 2, 1);
    show(image);

    /* Both kernels have the anchor in their middle, and their sums are shifted right by 2. */
    const int across[] = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    const int down[] = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
    MoxConvKernel *kernels[] = {moxCreateConvKernel(3, 3, 1, 1, across, 2), moxCreateConvKernel(3, 3, 1, 1, down, 2)};
    if (!kernels[0] || !kernels[1]) return 1;
    moxConvolve2D(image, image, kernels, 2, MOX_COMBINE_SUMSQROOT);
    show(image);

    moxDeleteConvKernel(kernels[0]);
    moxDeleteConvKernel(kernels[1]);
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
