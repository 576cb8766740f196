/* A bitmap of 24 bits as a screen or a file gives it becomes an image, and the image a bitmap of sixteen
 * colours. */
#if defined(_WIN32)
#include <windows.h> /* the records of bitmaps; elsewhere mox.h has them */
#endif
#include <mox.h>
#include <stdio.h>
#include <stdlib.h>

enum { width = 32, height = 8 };

/* A bitmap in one block: header, palette, pixels. Its rows are padded to 4 bytes. */
static BITMAPINFOHEADER *makeBitmap(int bits, unsigned colours) {
    const size_t rowBytes = (width * (size_t)bits + 31) / 32 * 4;
    BITMAPINFOHEADER *bitmap = calloc(1, sizeof *bitmap + colours * 4 + rowBytes * height);
    if (!bitmap) return NULL;
    bitmap->biSize = sizeof *bitmap;
    bitmap->biWidth = width;
    bitmap->biHeight = -height; /* the top row first */
    bitmap->biPlanes = 1;
    bitmap->biBitCount = (unsigned short)bits;
    return bitmap;
}

int main(void) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);

    /* Blue grows to the right, green downwards. */
    BITMAPINFOHEADER *screen = makeBitmap(24, 0);
    if (!screen) return 1;
    unsigned char *pixel = (unsigned char *)(screen + 1);
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++, pixel += 3) {
            pixel[0] = (unsigned char)(x * 255 / (width - 1));
            pixel[1] = (unsigned char)(y * 255 / (height - 1));
        }
    }

    /* An image over the bitmap's own pixels: what is done to one is seen in the other. */
    int copied = 0;
    MoxImage *image = moxTranslateDIB(screen, &copied);
    if (!image) return 1;
    printf("%d x %d, channels %.4s, %s\n", image->width, image->height, image->channelSeq,
           copied ? "a copy" : "the bitmap's own pixels");

    /* Four bits a pixel, in colours that are chosen for this image. The palette has room for as many as four bits can
     * name. */
    BITMAPINFOHEADER *small = makeBitmap(4, 16);
    if (!small) return 1;
    moxConvertToDIB(image, small, MOX_DITHER_NONE, MOX_PALCONV_MEDCUT);
    const unsigned char *entry = (const unsigned char *)(small + 1);
    for (unsigned i = 0; i < small->biClrUsed; i++)
        printf("colour %2u: blue %3d, green %3d, red %3d\n", i, entry[4 * i], entry[4 * i + 1], entry[4 * i + 2]);

    /* The pixels stand behind as many colours as there are in the end. */
    const unsigned char *row = entry + 4 * small->biClrUsed;
    for (int y = 0; y < height; y++, row += width / 2) {
        for (int x = 0; x < width; x++)
            putchar("0123456789abcdef"[row[x / 2] >> (x % 2 ? 0 : 4) & 15]);
        putchar('\n');
    }

    /* The image has no pixels of its own to free. */
    moxDeallocateHeader(image);
    free(screen);
    free(small);
    return moxGetErrStatus() == MOX_StatusNoError ? 0 : 1;
}
