/*
 * The library as a C program sees it through its shared object: sizes and order of the records, names of one function,
 * and a call that goes all the way to the pixels.
 */
#include <stddef.h>
#include <stdio.h>

#include "mox.h"

static int failures = 0;

static void expect(int holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "not so: %s\n", what);
        failures++;
    }
}
#define EXPECT(test) expect((test) != 0, #test)

static void checkRecords(void) {
    EXPECT(sizeof(MoxROI) == 20);
    EXPECT(offsetof(MoxROI, coi) == 0);
    EXPECT(offsetof(MoxROI, height) == 16);
    EXPECT(offsetof(MoxTileInfo, callBack) == 0);
    EXPECT(offsetof(MoxTileInfo, id) == sizeof(void *));
    EXPECT(offsetof(MoxTileInfo, tileData) == 2 * sizeof(void *));
    EXPECT(offsetof(MoxTileInfo, width) == 3 * sizeof(void *));
    EXPECT(offsetof(MoxTileInfo, height) == 3 * sizeof(void *) + 4);
    EXPECT(sizeof(void *) != 4 || sizeof(MoxImage) == 112);
    EXPECT(offsetof(MoxImage, headerSize) == 0);
    EXPECT(offsetof(MoxImage, headerId) == 4);
    EXPECT(offsetof(MoxImage, nChannels) == 8);
    EXPECT(offsetof(MoxImage, alphaChannel) == 12);
    EXPECT(offsetof(MoxImage, depth) == 16);
    EXPECT(offsetof(MoxImage, colorModel) == 20);
    EXPECT(offsetof(MoxImage, channelSeq) == 24);
    EXPECT(offsetof(MoxImage, dataOrder) == 28);
    EXPECT(offsetof(MoxImage, origin) == 32);
    EXPECT(offsetof(MoxImage, align) == 36);
    EXPECT(offsetof(MoxImage, width) == 40);
    EXPECT(offsetof(MoxImage, height) == 44);
    EXPECT(offsetof(MoxImage, roi) == 48);
    EXPECT(offsetof(MoxImage, maskROI) == 48 + sizeof(void *));
    EXPECT(offsetof(MoxImage, imageId) == 48 + 2 * sizeof(void *));
    EXPECT(offsetof(MoxImage, tileInfo) == 48 + 3 * sizeof(void *));
    EXPECT(offsetof(MoxImage, imageSize) == 48 + 4 * sizeof(void *));
    EXPECT(offsetof(MoxImage, imageData) == 48 + 5 * sizeof(void *));
    EXPECT(offsetof(MoxImage, widthStep) == 48 + 6 * sizeof(void *));
    EXPECT(offsetof(MoxImage, borderMode) == 52 + 6 * sizeof(void *));
    EXPECT(offsetof(MoxImage, borderConst) == 68 + 6 * sizeof(void *));
    EXPECT(offsetof(MoxImage, imageDataBase) > offsetof(MoxImage, borderConst));
}

/* Compared when the test runs: to a compiler two functions are never one. On Windows a program sees the jumps of its
 * import library, one for each name. */
typedef void (*AnyFunction)(void);
static void checkAliases(void) {
#if !defined(_WIN32)
    AnyFunction volatile ints = (AnyFunction)moxiMalloc, floats = (AnyFunction)moxsMalloc;
    AnyFunction volatile memory = (AnyFunction)moxFree, roi = (AnyFunction)moxDeleteROI,
                         tile = (AnyFunction)moxDeleteTileInfo;
    EXPECT(ints == floats);
    EXPECT(memory == roi);
    EXPECT(memory == tile);
#endif
}

static void checkCall(void) {
    char model[4] = {'G', 'R', 'A', 'Y'};
    MoxImage *image;
    short sample[2] = {0, 0};
    image = moxCreateImageHeader(1, 0, (int)MOX_DEPTH_16S, model, "G", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, 8, 7, 5,
                                 NULL, NULL, NULL, NULL);
    EXPECT(image != NULL);
    if (!image) return;
    EXPECT(image->headerSize == (int)sizeof(MoxImage));
    moxAllocateImage(image, 1, 30000);
    moxAdd(image, image, image);
    moxGetPixel(image, 6, 4, sample);
    EXPECT(sample[0] == 32767);
    EXPECT(moxGetErrStatus() == MOX_StatusNoError);
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
}

int main(void) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(moxStdErrReport);
    checkRecords();
    checkAliases();
    checkCall();
    return failures == 0 ? 0 : 1;
}
